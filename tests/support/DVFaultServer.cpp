#include "DVFaultServer.h"

#include <QElapsedTimer>
#include <QHostAddress>
#include <QPointer>
#include <QTcpServer>
#include <QTcpSocket>
#include <QThread>
#include <QTimer>

#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>

#include <sys/socket.h>

namespace {

QByteArray headerIn(const DVFaultServer::Headers &headers, const QByteArray &name)
{
    for (const auto &[key, value] : headers) {
        if (key.compare(name, Qt::CaseInsensitive) == 0)
            return value;
    }
    return {};
}

QByteArray statusLineAndHeaders(const DVFaultServer::Answer &answer)
{
    QByteArray head = "HTTP/1.1 " + QByteArray::number(answer.status) + " Status\r\n";
    for (const auto &[key, value] : answer.headers)
        head += key + ": " + value + "\r\n";
    const bool endless = answer.fault == DVFaultServer::Fault::Endless;
    const bool bodyAllowed = answer.status != 304 && answer.status != 204;
    if (!endless && bodyAllowed && headerIn(answer.headers, "Content-Length").isNull() &&
        headerIn(answer.headers, "Transfer-Encoding").isNull())
        head += "Content-Length: " + QByteArray::number(answer.body.size()) + "\r\n";
    if (answer.close || endless)
        head += "Connection: close\r\n";
    return head + "\r\n";
}

QByteArray wholeAnswer(const DVFaultServer::Answer &answer)
{
    return answer.raw.isEmpty() ? statusLineAndHeaders(answer) + answer.body : answer.raw;
}

void reset(QTcpSocket *socket)
{
    const linger atOnce{.l_onoff = 1, .l_linger = 0};
    ::setsockopt(int(socket->socketDescriptor()), SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
    socket->abort();
}

} // namespace

// Shared by the test's threads and the server's.
struct DVFaultServer::State
{
    mutable std::mutex mutex;
    mutable std::condition_variable changed;
    std::deque<Answer> script;
    Handler handler;
    QList<Request> requests;
    int connections = 0;
    int disconnects = 0;
    quint16 port = 0;
    Upload upload = Upload::Read;
    qint64 uploadBytes = 0;

    Upload uploadAfter(qint64 bytes) const
    {
        const std::lock_guard lock(mutex);
        return bytes >= uploadBytes ? upload : Upload::Read;
    }

    Answer answerTo(const Request &request)
    {
        Handler current;
        {
            const std::lock_guard lock(mutex);
            requests.append(request);
            changed.notify_all();
            if (!script.empty()) {
                const Answer answer = script.front();
                script.pop_front();
                return answer;
            }
            current = handler;
        }
        return current ? current(request) : Answer::of(404);
    }

    template<typename Condition> bool wait(int milliseconds, Condition condition) const
    {
        std::unique_lock lock(mutex);
        return changed.wait_for(lock, std::chrono::milliseconds(milliseconds), condition);
    }
};

namespace {

// One client's connection; lives on the server's thread as a child of its socket.
class Connection : public QObject
{
public:
    using Respond = std::function<DVFaultServer::Answer(const DVFaultServer::Request &)>;
    using Upload = std::function<DVFaultServer::Upload(qint64 bytes)>;

    Connection(QTcpSocket *socket, int number, Respond respond, Upload upload)
        : QObject(socket)
        , m_socket(socket)
        , m_number(number)
        , m_respond(std::move(respond))
        , m_upload(std::move(upload))
    {
        connect(socket, &QTcpSocket::readyRead, this, [this] { read(); });
    }

    // Between two requests. One that is still waiting for its first is not: its client may be sending it.
    bool isIdle() const { return m_hasAnswered && !m_busy && m_input.isEmpty(); }

private:
    void read()
    {
        if (m_stalled)
            return;
        m_input += m_socket->readAll();
        DVFaultServer::Request request;
        if (!m_busy && takeRequest(&request)) {
            m_busy = true;
            const DVFaultServer::Answer answer = m_respond(request);
            QTimer::singleShot(answer.delayMs, this, [this, answer] { begin(answer); });
        } else if (!m_busy) {
            interruptUpload();
        }
    }

    void interruptUpload()
    {
        const DVFaultServer::Upload upload = m_upload(m_input.size());
        if (upload == DVFaultServer::Upload::Reset)
            return reset(m_socket);
        m_stalled = upload == DVFaultServer::Upload::Stall;
        if (m_stalled)
            m_socket->setReadBufferSize(1);
    }

    bool takeRequest(DVFaultServer::Request *request)
    {
        const qsizetype end = m_input.indexOf("\r\n\r\n");
        if (end < 0)
            return false;
        const QList<QByteArray> lines = m_input.left(end).replace("\r\n", "\n").split('\n');
        const QList<QByteArray> first = lines.value(0).split(' ');
        request->method = first.value(0);
        request->target = first.value(1);
        request->connection = m_number;
        for (const QByteArray &line : lines.mid(1)) {
            const qsizetype colon = line.indexOf(':');
            request->headers.append({line.left(colon).trimmed(), line.mid(colon + 1).trimmed()});
        }
        const qsizetype length = request->header("Content-Length").toLongLong();
        if (m_input.size() < end + 4 + length)
            return false;
        request->body = m_input.mid(end + 4, length);
        m_input.remove(0, end + 4 + length);
        return true;
    }

    void begin(const DVFaultServer::Answer &answer)
    {
        using Fault = DVFaultServer::Fault;
        switch (answer.fault) {
        case Fault::None:
            m_socket->write(wholeAnswer(answer));
            return finish(answer.close);
        case Fault::Silence:
            return;
        case Fault::Close:
            return m_socket->disconnectFromHost();
        case Fault::Reset:
            return reset(m_socket);
        case Fault::CutBody:
        case Fault::ResetInBody:
        case Fault::StallInBody:
            return sendHalf(answer);
        case Fault::Drip:
            return drip(wholeAnswer(answer), answer);
        case Fault::Endless:
            m_socket->write(statusLineAndHeaders(answer));
            connect(m_socket, &QTcpSocket::bytesWritten, this, [this, body = answer.body] { repeat(body); });
            return repeat(answer.body);
        }
    }

    void finish(bool close)
    {
        m_busy = false;
        m_hasAnswered = true;
        if (close)
            m_socket->disconnectFromHost();
        else if (!m_input.isEmpty())
            read();
    }

    void sendHalf(const DVFaultServer::Answer &answer)
    {
        m_socket->write(statusLineAndHeaders(answer) + answer.body.left(answer.body.size() / 2));
        m_socket->flush();
        if (answer.fault == DVFaultServer::Fault::CutBody)
            m_socket->disconnectFromHost();
        else if (answer.fault == DVFaultServer::Fault::ResetInBody)
            // A reset may overtake bytes that were sent; the client shall have seen the headers.
            QTimer::singleShot(50, this, [this] { reset(m_socket); });
    }

    void drip(const QByteArray &rest, const DVFaultServer::Answer &answer)
    {
        if (rest.isEmpty())
            return finish(answer.close);
        m_socket->write(rest.left(1));
        QTimer::singleShot(answer.intervalMs, this, [this, rest, answer] { drip(rest.mid(1), answer); });
    }

    void repeat(const QByteArray &body)
    {
        while (m_socket->state() == QAbstractSocket::ConnectedState && m_socket->bytesToWrite() < (1 << 20))
            m_socket->write(body);
    }

    QTcpSocket *const m_socket;
    const int m_number;
    const Respond m_respond;
    const Upload m_upload;
    bool m_stalled = false;
    QByteArray m_input;
    bool m_busy = false;
    bool m_hasAnswered = false;
};

} // namespace

// Lives on the server's thread.
class DVFaultServer::Worker : public QTcpServer
{
public:
    explicit Worker(std::shared_ptr<State> state)
        : m_state(std::move(state))
    {
        connect(this, &QTcpServer::newConnection, this, [this] { accept(); });
        listen(QHostAddress::LocalHost);
    }

    // From here on tests may use the server.
    void announce()
    {
        const std::lock_guard lock(m_state->mutex);
        m_state->port = serverPort();
        m_state->changed.notify_all();
    }

    void closeIdleConnections()
    {
        const QList<QTcpSocket *> sockets = findChildren<QTcpSocket *>();
        for (QTcpSocket *socket : sockets) {
            const QObjectList children = socket->children();
            for (const QObject *child : children) {
                // findChildren() cannot tell a class without meta-object from its base.
                const auto *connection = dynamic_cast<const Connection *>(child);
                if (connection && connection->isIdle())
                    socket->disconnectFromHost();
            }
        }
    }

private:
    void accept()
    {
        while (QTcpSocket *socket = nextPendingConnection()) {
            // The server may be half destroyed by then: only what it shares is touched.
            connect(socket, &QTcpSocket::disconnected, socket,
                    [state = m_state, socket] { ended(*state, socket); });
            const std::lock_guard lock(m_state->mutex);
            new Connection(
                socket, ++m_state->connections, // the socket owns it
                [state = m_state](const Request &request) { return state->answerTo(request); },
                [state = m_state](qint64 bytes) { return state->uploadAfter(bytes); });
        }
    }

    static void ended(State &state, QTcpSocket *socket)
    {
        socket->deleteLater();
        const std::lock_guard lock(state.mutex);
        ++state.disconnects;
        state.changed.notify_all();
    }

    const std::shared_ptr<State> m_state;
};

struct DVFaultServer::Thread : QThread
{
    std::shared_ptr<State> state;
    Worker *worker = nullptr; // of this thread; set while it runs

    void run() override
    {
        Worker server(state);
        worker = &server;
        server.announce();
        exec();
    }

    template<typename Work> void runBlocking(Work work)
    {
        QMetaObject::invokeMethod(worker, work, Qt::BlockingQueuedConnection);
    }
};

QByteArray DVFaultServer::Request::header(const QByteArray &name) const
{
    return headerIn(headers, name);
}

DVFaultServer::Answer DVFaultServer::Answer::of(int status, const QByteArray &body, const Headers &headers)
{
    Answer answer;
    answer.status = status;
    answer.body = body;
    answer.headers = headers;
    return answer;
}

DVFaultServer::Answer DVFaultServer::Answer::failing(Fault fault, const QByteArray &body)
{
    Answer answer = of(200, body);
    answer.fault = fault;
    return answer;
}

DVFaultServer::Answer DVFaultServer::Answer::delayed(int milliseconds) const
{
    Answer answer = *this;
    answer.delayMs = milliseconds;
    return answer;
}

DVFaultServer::DVFaultServer()
    : d(std::make_shared<State>())
    , m_thread(std::make_unique<Thread>())
{
    m_thread->state = d;
    m_thread->setObjectName(QStringLiteral("fault-server"));
    m_thread->start();
    d->wait(10000, [this] { return d->port != 0; });
}

DVFaultServer::~DVFaultServer()
{
    m_thread->quit();
    m_thread->wait();
}

quint16 DVFaultServer::port() const
{
    const std::lock_guard lock(d->mutex);
    return d->port;
}

QString DVFaultServer::url(const QString &path) const
{
    return QStringLiteral("http://127.0.0.1:") + QString::number(port()) + path;
}

void DVFaultServer::enqueue(const Answer &answer)
{
    const std::lock_guard lock(d->mutex);
    d->script.push_back(answer);
}

void DVFaultServer::setHandler(Handler handler)
{
    const std::lock_guard lock(d->mutex);
    d->handler = std::move(handler);
}

void DVFaultServer::setUpload(Upload upload, qint64 afterBytes)
{
    const std::lock_guard lock(d->mutex);
    d->upload = upload;
    d->uploadBytes = afterBytes;
}

QList<DVFaultServer::Request> DVFaultServer::requests() const
{
    const std::lock_guard lock(d->mutex);
    return d->requests;
}

void DVFaultServer::clear()
{
    const std::lock_guard lock(d->mutex);
    d->script.clear();
    d->handler = {};
    d->requests.clear();
}

bool DVFaultServer::waitForRequests(int count, int milliseconds) const
{
    return d->wait(milliseconds, [this, count] { return d->requests.size() >= count; });
}

bool DVFaultServer::waitForDisconnects(int count, int milliseconds) const
{
    return d->wait(milliseconds, [this, count] { return d->disconnects >= count; });
}

int DVFaultServer::connectionCount() const
{
    const std::lock_guard lock(d->mutex);
    return d->connections;
}

void DVFaultServer::closeIdleConnections()
{
    m_thread->runBlocking([worker = m_thread->worker] { worker->closeIdleConnections(); });
}

void DVFaultServer::stopListening()
{
    m_thread->runBlocking([worker = m_thread->worker] { worker->close(); });
}
