// DVHttpTransport: sends requests from the library's one network thread.
#pragma once

#include <Dorvane/DVError.h>

#include <QByteArray>
#include <QNetworkRequest>

#include <functional>
#include <memory>

struct DVHttpRequest
{
    QByteArray method = "GET";
    QNetworkRequest request;
    QByteArray body;
};

struct DVHttpResponse
{
    int statusCode = 0; // 0: no answer
    QByteArray body;
    QList<QPair<QByteArray, QByteArray>> headers;

    // The header's value, names compared without case; null when absent.
    QByteArray header(const QByteArray &name) const;
};

// One QNetworkAccessManager in one thread, both made on first use, so that a start without a
// blocking download creates no network stack. No cache, no cookies; https never becomes http and
// Authorization never goes to another origin on a redirect; a body over the limit is an error; TLS is verified.
// Connection errors: domain "dorvane.network", code QNetworkReply::NetworkError. A status is not an error.
namespace DVHttpTransport {

inline constexpr qint64 maximumBodySize = qint64(256) << 20;

using Completion = std::function<void(const DVErrorOr &, const DVHttpResponse &)>;

// `onNetworkThread` (may be null) runs there with the answer, before `completion` runs on the main
// thread: for work that must not hold the main thread. A started request is given up after
// `inactivityTimeoutMs` without a byte (0: 60 s). Nothing is called after the application's end.
void send(DVHttpRequest request, Completion onNetworkThread, Completion completion, int inactivityTimeoutMs = 0);

// Blocks the caller, without an event loop, until the answer or the deadline. After the deadline the
// request is dead: it is aborted and its late answer is dropped. Callable on any thread but the network one.
DVErrorOr sendAndWait(DVHttpRequest request, double timeoutSeconds, DVHttpResponse *response);

// Aborts everything, ends the thread within `milliseconds`; nothing completes afterwards. Used at
// the application's end; a later request starts anew.
void shutDown(int milliseconds);

} // namespace DVHttpTransport
