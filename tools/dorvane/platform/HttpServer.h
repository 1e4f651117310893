// HttpServer: HTTP around the platform, with the limits that Qt HTTP Server 6.4 does not have.
#pragma once

#include "Answer.h"

#include <QAbstractHttpServer>
#include <QHttpServerRequest>

#include <functional>

// A request may have 16 MiB and take 30 s, and a hundred connections may be open. `log` is called with
// one line for each answer.
class HttpServer : public QAbstractHttpServer
{
    Q_OBJECT

public:
    using Handler = std::function<Answer(const QHttpServerRequest &)>;
    using Log = std::function<void(const QString &)>;

    HttpServer(Handler handler, Log log);

    // Returns the port, or 0 after `error` was set. Port 0 asks for a free one.
    quint16 listenOn(const QHostAddress &address, quint16 port, QString *error);

protected:
    bool handleRequest(const QHttpServerRequest &request, QTcpSocket *socket) override;
    void missingHandler(const QHttpServerRequest &request, QTcpSocket *socket) override;

private:
    void send(const Answer &answer, const QHttpServerRequest &request, QTcpSocket *socket);

    Handler m_handler;
    Log m_log;
};
