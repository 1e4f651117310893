// DVHttpExchange: one request with its redirects, on the network thread.
#pragma once

#include "DVHttpTransport.h"

#include <QNetworkReply>
#include <QPointer>
#include <QTimer>

#include <chrono>
#include <functional>

struct DVNetworkContext;

// Deletes itself after `finished`, which is called once unless the exchange is destroyed before.
class DVHttpExchange final : public QObject
{
public:
    using Finished = std::function<void(const DVErrorOr &, DVHttpResponse)>;
    using Deadline = std::chrono::steady_clock::time_point;

    static constexpr int maximumRedirects = 10;

    // A child of the context's exchanges.
    DVHttpExchange(DVNetworkContext &context, DVHttpRequest request, Finished finished);
    ~DVHttpExchange() override;

    // Given up at `deadline`, and after `inactivityMs` (0: never) in which nothing arrived or left.
    void start(Deadline deadline, int inactivityMs);
    // Completes it as cancelled when it is the one that the transfer accompanies.
    void cancelIfOf(const DVTransferLinkPtr &transfer);

private:
    DVErrorOr makeBody();
    void find();
    void send();
    void connectReply();
    void restartInactivity();
    void readHeaders();
    void readBody();
    void replyFinished();
    void follow(const QUrl &target);
    DVErrorOr errorOfRedirect(const QUrl &target) const;
    void reportProgress(bool last = false);
    void fail(QNetworkReply::NetworkError code, const QString &description);
    void finish(const DVErrorOr &error);
    void dropReply();
    int statusCode() const;

    DVNetworkContext &m_context;
    // Of a request that has a connection of its own.
    const std::unique_ptr<QNetworkAccessManager> m_ownManager;
    DVHttpRequest m_request;
    Finished m_finished;
    QPointer<QNetworkReply> m_reply;
    DVHttpResponse m_response;
    QTimer m_inactivity;
    QTimer m_deadline;
    const bool m_staysWithOrigin;
    qint64 m_sent = 0;
    qint64 m_announced = -1; // bytes of the answer's body
    int m_redirects = 0;
    bool m_methodChanged = false;
};
