#include "DVFaultProxy.h"

#include <QHostAddress>
#include <QTcpServer>
#include <QTcpSocket>
#include <QThread>

#include <chrono>
#include <condition_variable>
#include <mutex>

#include <sys/socket.h>

// Shared by the test's threads and the proxy's.
struct DVFaultProxy::State
{
    mutable std::mutex mutex;
    mutable std::condition_variable changed;
    Rule rule;
    QByteArrayList requests;
    quint16 port = 0;
    quint16 server = 0;
    qint64 replaced = 0;
    bool held = false;

    Rule takeRule(const QByteArray &line)
    {
        const std::lock_guard lock(mutex);
        requests.append(line);
        if (rule.action == Action::Pass || !line.contains(rule.part))
            return {};
        return std::exchange(rule, {});
    }
    void hold()
    {
        const std::lock_guard lock(mutex);
        held = true;
        changed.notify_all();
    }
    void addReplaced(qint64 bytes)
    {
        const std::lock_guard lock(mutex);
        replaced += bytes;
    }
    quint16 serverNow() const
    {
        const std::lock_guard lock(mutex);
        return server;
    }
};

namespace {

using Action = DVFaultProxy::Action;

// A client's connection and the one to the server; lives on the proxy's thread as a child of the first.
template<typename State> class Pair : public QObject
{
public:
    Pair(QTcpSocket *client, std::shared_ptr<State> state)
        : QObject(client)
        , m_state(std::move(state))
        , m_client(client)
    {
        connect(client, &QTcpSocket::readyRead, this, [this] { fromClient(m_client->readAll()); });
        connect(client, &QTcpSocket::disconnected, this, [this] {
            m_server.abort();
            m_client->deleteLater();
        });
        connect(client, &QTcpSocket::bytesWritten, this, [this](qint64 bytes) {
            if (m_rule.action == Action::Replace)
                m_state->addReplaced(bytes);
            fill();
        });
        connect(&m_server, &QTcpSocket::readyRead, this, [this] { fromServer(m_server.readAll()); });
        connect(&m_server, &QTcpSocket::disconnected, m_client, [this] { m_client->disconnectFromHost(); });
        connect(&m_server, &QTcpSocket::errorOccurred, m_client, [this] {
            if (m_server.state() != QAbstractSocket::ConnectedState)
                m_client->disconnectFromHost();
        });
        m_server.connectToHost(QHostAddress(QHostAddress::LocalHost), m_state->serverNow());
    }

private:
    void fromClient(const QByteArray &bytes)
    {
        if (std::exchange(m_answered, false)) {
            const QByteArrayList words = bytes.left(bytes.indexOf('\r')).split(' ');
            m_rule = m_state->takeRule(words.mid(0, 2).join(' '));
            m_left = m_rule.action == Action::Replace ? m_rule.filling : m_rule.bytes;
            m_request.clear();
        }
        if (m_rule.action == Action::Replace)
            return replace(bytes);
        const bool limited = m_rule.action == Action::HoldRequest || m_rule.action == Action::Reset;
        const QByteArray passed = limited ? bytes.left(m_left) : bytes;
        m_server.write(passed);
        if (!limited)
            return;
        m_left -= passed.size();
        if (m_left == 0 && m_rule.action == Action::HoldRequest)
            m_state->hold();
        else if (m_left == 0)
            reset();
    }
    // What is answered before the whole request was read would end in a reset.
    void replace(const QByteArray &bytes)
    {
        m_request += bytes;
        const qsizetype end = m_request.indexOf("\r\n\r\n");
        const QByteArray head = m_request.left(end).toLower();
        const QByteArray name = "\r\ncontent-length:";
        const qsizetype at = head.indexOf(name);
        const qsizetype value = at + name.size();
        const qsizetype length =
            at < 0 ? 0 : head.mid(value, head.indexOf('\r', value) - value).trimmed().toLongLong();
        if (end < 0 || m_request.size() < end + 4 + length)
            return;
        m_answered = true;
        m_client->write(m_rule.answer);
    }
    void fromServer(const QByteArray &bytes)
    {
        m_answered = true;
        if (m_rule.action == Action::HoldAnswer)
            m_state->hold();
        else
            m_client->write(bytes);
    }
    void reset()
    {
        const linger atOnce{.l_onoff = 1, .l_linger = 0};
        ::setsockopt(int(m_client->socketDescriptor()), SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
        m_client->abort();
    }
    // Little by little, as the client takes it.
    void fill()
    {
        if (m_rule.filling == 0 || m_client->bytesToWrite() > 0)
            return;
        const qint64 count = std::min<qint64>(m_left, 1 << 18);
        if (count > 0)
            m_client->write(QByteArray(count, ' '));
        else
            m_client->disconnectFromHost();
        m_left -= count;
    }

    const std::shared_ptr<State> m_state;
    QTcpSocket *const m_client;
    QTcpSocket m_server;
    DVFaultProxy::Rule m_rule;
    QByteArray m_request;   // so far, where it is replaced
    qint64 m_left = 0;      // bytes until the rule acts, or of the filling
    bool m_answered = true; // what the client sends next begins a request
};

} // namespace

struct DVFaultProxy::Thread
{
    explicit Thread(const std::shared_ptr<State> &state)
    {
        worker.moveToThread(&thread);
        thread.start();
        QMetaObject::invokeMethod(
            &worker, [this, state] { listen(state); }, Qt::BlockingQueuedConnection);
    }
    ~Thread()
    {
        QMetaObject::invokeMethod(
            &worker, [this] { server.reset(); }, Qt::BlockingQueuedConnection);
        thread.quit();
        thread.wait();
    }
    Q_DISABLE_COPY_MOVE(Thread)

    void listen(const std::shared_ptr<State> &state)
    {
        server = std::make_unique<QTcpServer>();
        QObject::connect(server.get(), &QTcpServer::newConnection, server.get(), [this, state] {
            while (QTcpSocket *client = server->nextPendingConnection())
                new Pair<State>(client, state); // owned by its socket
        });
        if (!server->listen(QHostAddress(QHostAddress::LocalHost)))
            qFatal("the proxy cannot listen");
        state->port = server->serverPort();
    }

    QThread thread;
    QObject worker;
    std::unique_ptr<QTcpServer> server;
};

DVFaultProxy::DVFaultProxy(quint16 server)
    : d(std::make_shared<State>())
{
    d->server = server;
    m_thread = std::make_unique<Thread>(d);
}

DVFaultProxy::~DVFaultProxy() = default;

quint16 DVFaultProxy::port() const
{
    return d->port;
}

void DVFaultProxy::setServer(quint16 port)
{
    const std::lock_guard lock(d->mutex);
    d->server = port;
}

void DVFaultProxy::setRule(const Rule &rule)
{
    const std::lock_guard lock(d->mutex);
    d->rule = rule;
    d->held = false;
    d->replaced = 0;
}

bool DVFaultProxy::waitUntilHeld(int milliseconds) const
{
    std::unique_lock lock(d->mutex);
    return d->changed.wait_for(lock, std::chrono::milliseconds(milliseconds), [this] { return d->held; });
}

QByteArrayList DVFaultProxy::requests() const
{
    const std::lock_guard lock(d->mutex);
    return d->requests;
}

qint64 DVFaultProxy::replaced() const
{
    const std::lock_guard lock(d->mutex);
    return d->replaced;
}
