#include "Connections.h"

#include <unistd.h>

namespace {

constexpr int maximumConnections = 100;
constexpr qint64 maximumRequestBytes = qint64(16) << 20;
constexpr int requestTimeMs = 30000;

} // namespace

Connection::Connection()
{
    // Connected before the HTTP server connects its own reader: bytes are counted before it takes them.
    connect(this, &QIODevice::readyRead, this, &Connection::countBytes);
    m_limit.setSingleShot(true);
    connect(&m_limit, &QTimer::timeout, this, [this] {
        abort();
        deleteLater();
    });
    m_limit.start(requestTimeMs);
}

void Connection::requestArrived()
{
    m_requestBytes = 0;
    m_limit.start(requestTimeMs);
}

void Connection::countBytes()
{
    m_requestBytes += bytesAvailable();
    if (m_requestBytes > maximumRequestBytes)
        refuse();
}

void Connection::refuse()
{
    // Only the readers: the HTTP server's clean-up and the count of connections stay.
    QObject::disconnect(this, &QIODevice::readyRead, nullptr, nullptr);
    connect(this, &QAbstractSocket::disconnected, this, &QObject::deleteLater);
    rollbackTransaction();
    readAll();
    write("HTTP/1.1 413 Content Too Large\r\nContent-Length: 0\r\nConnection: close\r\n\r\n");
    disconnectFromHost();
}

void Connections::incomingConnection(qintptr descriptor)
{
    auto connection = std::make_unique<Connection>();
    if (!connection->setSocketDescriptor(descriptor)) {
        ::close(int(descriptor));
        return;
    }
    if (m_open >= maximumConnections)
        return; // the socket closes the descriptor
    ++m_open;
    connect(connection.get(), &QObject::destroyed, this, [this] { --m_open; });
    addPendingConnection(connection.release()); // the HTTP server deletes it
}
