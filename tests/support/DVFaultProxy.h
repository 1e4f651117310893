// DVFaultProxy: a proxy on loopback that spoils one exchange between an HTTP client and a server.
#pragma once

#include <QByteArray>
#include <QByteArrayList>
#include <QString>

#include <memory>

// Plain TCP on a free port of 127.0.0.1, from a thread of its own, so that a test may block its main thread.
// Everything is passed on as it comes but what a rule says. HTTP/1.1 without pipelining. All members are
// thread-safe.
class DVFaultProxy
{
public:
    enum class Action {
        Pass,
        HoldRequest, // the server gets `bytes` of the request and nothing more; the client waits
        HoldAnswer,  // the server gets the request and answers; the client waits
        Reset,       // the server gets `bytes` of the request, then the client's connection is reset
        Replace // the server gets nothing; the client gets `answer`, and with `filling` so many blanks and
                // the end
    };
    struct Rule
    {
        QByteArray
            part; // stands in the request line; the next such request is spoiled, those after it are not
        Action action = Action::Pass;
        qint64 bytes = 0;
        QByteArray answer;
        qint64 filling = 0;
    };

    // Listening when the constructor returns.
    explicit DVFaultProxy(quint16 server);
    ~DVFaultProxy();
    Q_DISABLE_COPY_MOVE(DVFaultProxy)

    quint16 port() const;
    // For connections that come from now on.
    void setServer(quint16 port);
    // Replaces the one before, whether it was used or not.
    void setRule(const Rule &rule);

    // Blocks until the request of a Hold rule, or the server's answer to it, is held. False after the time.
    bool waitUntilHeld(int milliseconds = 20000) const;
    // "METHOD target" of every request that clients sent, oldest first.
    QByteArrayList requests() const;
    // Bytes of Replace that went into the client's connection.
    qint64 replaced() const;

private:
    struct State;
    struct Thread;
    std::shared_ptr<State> d;
    std::unique_ptr<Thread> m_thread;
};
