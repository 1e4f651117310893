// Connections: the sockets of the server, bounded in number, size and time.
#pragma once

#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>

class Connection : public QTcpSocket
{
    Q_OBJECT

public:
    Connection();

    // Called when a request has been read whole.
    void requestArrived();

private:
    void countBytes();
    void refuse();

    qint64 m_requestBytes = 0;
    QTimer m_limit;
};

class Connections : public QTcpServer
{
    Q_OBJECT

protected:
    void incomingConnection(qintptr descriptor) override;

private:
    int m_open = 0;
};
