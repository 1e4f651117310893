// DVHttpTransport: sends requests from the library's one network thread.
#pragma once

#include "DVTransferLink.h"

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
    qint64 maximumBodySize = qint64(256) << 20; // of the answer; a larger one is an error
    // Makes `body` on the network thread, before the request is sent; may be null. An error completes the
    // request. For what costs more than the main thread has time for.
    std::function<DVErrorOr(QByteArray *body)> makeBody;
    DVTransferLinkPtr transfer; // progress and cancel of send(); may be null
    // Somebody's rights travel with it, in whatever header: it is treated as one with "Authorization".
    bool isSigned = false;
};

struct DVHttpResponse
{
    int statusCode = 0; // 0: no answer
    QByteArray body;
    QList<QPair<QByteArray, QByteArray>> headers;
    bool methodChanged = false; // a redirect made it a GET: the request's body did not get where this is from

    // The header's value, names compared without case; null when absent.
    QByteArray header(const QByteArray &name) const;
};

// One QNetworkAccessManager in one thread, both made on first use, so that a start without a
// blocking download creates no network stack. No cache, no cookies; at most ten redirects; https never
// becomes http, http to a host other than loopback is refused; TLS is verified. Bodies arrive with their gzip
// "Content-Encoding" undone. A request that is not a GET is sent at most once, and on a connection of its own
// when it is signed or makes its body; it, and a signed GET, follow redirects to the same origin only.
// Connection errors: domain "dorvane.network", code QNetworkReply::NetworkError. A status is not an error.
namespace DVHttpTransport {

using Completion = std::function<void(const DVErrorOr &, const DVHttpResponse &)>;

// `onNetworkThread` (may be null) runs there with the answer, before `completion` runs on the main
// thread: for work that must not hold the main thread. A started request is given up after
// `inactivityTimeoutMs` without progress (0: 60 s), and in any case after ten minutes. Nothing is called
// after the application's end, and nothing without an application object.
// With a transfer it is called on the main thread.
void send(DVHttpRequest request, Completion onNetworkThread, Completion completion,
          int inactivityTimeoutMs = 0);

// Blocks the caller, without an event loop, until the answer or the deadline. After the deadline the
// request is dead: it is aborted and its late answer is dropped. Callable on any thread but the network one.
// A time that is not above 0 sends nothing and has run out at once; more than a day counts as a day.
// `decode` (may be null) runs on the network thread, within the time, and may change the answer; it must not
// touch the caller, who may have left.
using Decode = std::function<void(DVHttpResponse *)>;
DVErrorOr sendAndWait(DVHttpRequest request, double timeoutSeconds, DVHttpResponse *response,
                      Decode decode = {});

// What a cancelled request completes with.
DVError canceled();

// Requests that this process has started.
qint64 requestCount();

// Aborts everything, ends the thread within `milliseconds`; nothing completes afterwards. Used at
// the application's end; a later request starts anew.
void shutDown(int milliseconds);

// On the network thread: shutDown() was called, so long work should return and write nothing.
bool isEnding();

} // namespace DVHttpTransport
