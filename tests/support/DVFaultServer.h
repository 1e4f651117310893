// DVFaultServer: an HTTP/1.1 server on loopback that misbehaves as a test tells it to.
#pragma once

#include <QByteArray>
#include <QList>
#include <QPair>
#include <QString>

#include <functional>
#include <memory>

// Plain TCP on a free port of 127.0.0.1, served from a thread of its own, so that a test may block
// its main thread. Connections are kept alive as HTTP/1.1 says. All members are thread-safe.
class DVFaultServer
{
public:
    using Headers = QList<QPair<QByteArray, QByteArray>>;

    struct Request
    {
        QByteArray method;
        QByteArray target; // path and query as sent
        Headers headers;
        QByteArray body;
        int connection = 0; // counted from 1; the same number means the same TCP connection

        // Names compared without case; null when absent.
        QByteArray header(const QByteArray &name) const;
    };

    enum class Fault {
        None,
        Silence,     // the request is read, nothing is ever answered
        Close,       // the connection is closed instead of an answer
        Reset,       // the same with a TCP reset
        CutBody,     // headers, half of the body, then closed
        ResetInBody, // headers, half of the body, then reset
        StallInBody, // headers, half of the body, then nothing
        Drip,        // every byte of the answer by itself, `intervalMs` apart
        Endless      // headers without a length, then the body again and again until the client goes
    };

    struct Answer
    {
        int status = 200;
        Headers headers; // besides Content-Length, which is added unless it is given here
        QByteArray body;
        Fault fault = Fault::None;
        int delayMs = 0;       // before the first byte
        int intervalMs = 1000; // of Drip
        bool close = false;    // the connection ends after the answer
        QByteArray raw;        // when not empty: sent instead of status, headers and body

        static Answer of(int status, const QByteArray &body = {}, const Headers &headers = {});
        static Answer failing(Fault fault, const QByteArray &body = QByteArrayLiteral("0123456789abcdef"));
        Answer delayed(int milliseconds) const;
    };

    // Runs on the server's thread.
    using Handler = std::function<Answer(const Request &)>;

    // Listening when the constructor returns.
    DVFaultServer();
    ~DVFaultServer();
    Q_DISABLE_COPY_MOVE(DVFaultServer)

    quint16 port() const;
    // "http://127.0.0.1:PORT" plus `path`.
    QString url(const QString &path = {}) const;

    // The next requests get these answers, in this order; then the handler's; without one, 404.
    void enqueue(const Answer &answer);
    void setHandler(Handler handler);

    // What becomes of a request of which so many bytes, headers included, came and not yet the whole.
    enum class Upload {
        Read,  // it is read to its end
        Reset, // the connection is reset
        Stall  // nothing more is read
    };
    void setUpload(Upload upload, qint64 afterBytes = 0);

    // The requests read so far, oldest first.
    QList<Request> requests() const;
    // Forgets requests, queued answers and the handler.
    void clear();
    // Blocks, without an event loop, until so many requests were read. False after the time.
    bool waitForRequests(int count, int milliseconds = 20000) const;
    // The same for the end of connections that clients closed (or aborted).
    bool waitForDisconnects(int count, int milliseconds = 20000) const;
    int connectionCount() const;

    // Closes idle connections (those between two requests), as a server does after its keep-alive time.
    void closeIdleConnections();
    // Stops listening: further connections are refused.
    void stopListening();

private:
    struct State;
    class Worker;
    std::shared_ptr<State> d;
    struct Thread;
    std::unique_ptr<Thread> m_thread;
};
