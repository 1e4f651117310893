// DVNameLookup: finds out whether a host name has addresses, before the network stack asks for them.
#pragma once

#include <QHash>
#include <QPointer>
#include <QString>

#include <functional>
#include <memory>
#include <vector>

class DVNetworkThread;

// The network stack waits, when the application ends, for every question to a name server; one that never
// answers then holds the process for ten seconds and more. So the first question is asked by a thread that
// can be left behind, and only a name that has just been found goes on to the network stack. Belongs to the
// network thread.
class DVNameLookup
{
public:
    using Answer = std::function<void(bool found)>;

    explicit DVNameLookup(DVNetworkThread &thread);
    // Nothing is answered any more.
    ~DVNameLookup();
    Q_DISABLE_COPY_MOVE(DVNameLookup)

    // `answer` comes later, unless `context` is gone by then; for an address, or none at all, it comes at
    // once.
    void find(const QString &host, QObject *context, Answer answer);

private:
    struct Mailbox;
    struct Waiting
    {
        QPointer<QObject> context;
        Answer answer;
    };
    bool ask(const QString &host);
    void answered(const QString &host, bool found);

    QHash<QString, std::vector<Waiting>> m_waiting; // by name; asked once however many wait
    const std::shared_ptr<Mailbox> m_mailbox;
};
