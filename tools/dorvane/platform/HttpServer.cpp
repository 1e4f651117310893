#include "HttpServer.h"

#include "Connections.h"

#include <DVHttpDate.h>

#include <QDateTime>
#include <QMetaEnum>

namespace {

constexpr qsizetype longestLoggedPath = 300;

QString logLine(const QHttpServerRequest &request, Answer::Status status)
{
    const auto method = QMetaEnum::fromType<QHttpServerRequest::Method>().valueToKey(int(request.method()));
    const QString path = request.url().path(QUrl::FullyEncoded);
    const QString shown =
        path.size() <= longestLoggedPath ? path : path.left(longestLoggedPath) + QStringLiteral("...");
    return QStringLiteral("%1 %2 %3")
        .arg(QString::fromLatin1(method).toUpper(), shown, QString::number(int(status)));
}

} // namespace

HttpServer::HttpServer(Handler handler, Log log)
    : m_handler(std::move(handler))
    , m_log(std::move(log))
{}

quint16 HttpServer::listenOn(const QHostAddress &address, quint16 port, QString *error)
{
    auto connections = std::make_unique<Connections>();
    if (!connections->listen(address, port)) {
        *error = connections->errorString();
        return 0;
    }
    bind(connections.get());
    return connections.release()->serverPort(); // owned by this object since bind()
}

bool HttpServer::handleRequest(const QHttpServerRequest &request, QTcpSocket *socket)
{
    static_cast<Connection *>(socket)->requestArrived();
    const Answer answer = m_handler(request);
    send(answer, request, socket);
    m_log(logLine(request, answer.status));
    return true;
}

void HttpServer::missingHandler(const QHttpServerRequest &, QTcpSocket *) {}

void HttpServer::send(const Answer &answer, const QHttpServerRequest &request, QTcpSocket *socket)
{
    const bool closing = request.value("Connection").compare("close", Qt::CaseInsensitive) == 0;
    QHttpServerResponder responder = makeResponder(request, socket);
    responder.writeStatusLine(answer.status);
    responder.writeHeader("Date", dv_httpHeaderString(QDateTime::currentDateTimeUtc()).toLatin1());
    for (const auto &[name, value] : answer.headers)
        responder.writeHeader(name, value);
    if (!answer.contentType.isEmpty()) {
        responder.writeHeader("Content-Type", answer.contentType);
        responder.writeHeader("Content-Length", QByteArray::number(answer.body.size()));
    }
    if (closing)
        responder.writeHeader("Connection", "close");
    const bool headOnly = request.method() == QHttpServerRequest::Method::Head;
    responder.writeBody(headOnly ? QByteArray() : answer.body);
    if (closing)
        socket->disconnectFromHost();
}
