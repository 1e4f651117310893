#include "DVNameLookup.h"

#include "DVNetworkThread.h"

#include <QHostAddress>

#include <mutex>
#include <system_error>
#include <thread>

#if defined(Q_OS_UNIX)
#include <netdb.h>
#include <sys/socket.h>
#endif

// How an answer finds the network thread, if that is still there.
struct DVNameLookup::Mailbox
{
    std::mutex mutex;
    DVNetworkThread *thread = nullptr;
    DVNameLookup *lookup = nullptr; // touched on the network thread only

    void deliver(const std::shared_ptr<Mailbox> &self, const QString &host, bool found)
    {
        const std::lock_guard lock(mutex);
        if (!thread)
            return;
        thread->post([self, host, found](DVNetworkContext &) {
            if (self->lookup)
                self->lookup->answered(host, found);
        });
    }
};

namespace {

#if defined(Q_OS_UNIX)
bool hasAddresses(const QByteArray &host)
{
    addrinfo hints = {};
    hints.ai_socktype = SOCK_STREAM;
    addrinfo *addresses = nullptr;
    const bool found = ::getaddrinfo(host.constData(), nullptr, &hints, &addresses) == 0;
    if (found)
        ::freeaddrinfo(addresses);
    return found;
}
#endif

} // namespace

DVNameLookup::DVNameLookup(DVNetworkThread &thread)
    : m_mailbox(std::make_shared<Mailbox>())
{
    m_mailbox->thread = &thread;
    m_mailbox->lookup = this;
}

DVNameLookup::~DVNameLookup()
{
    const std::lock_guard lock(m_mailbox->mutex);
    m_mailbox->thread = nullptr;
    m_mailbox->lookup = nullptr;
}

void DVNameLookup::find(const QString &host, QObject *context, Answer answer)
{
    if (host.isEmpty() || !QHostAddress(host).isNull())
        return answer(true);
    const bool alreadyAsked = m_waiting.contains(host);
    m_waiting[host].push_back({context, std::move(answer)});
    // Where it cannot be asked here, the network stack has to find out.
    if (!alreadyAsked && !ask(host))
        answered(host, true);
}

bool DVNameLookup::ask(const QString &host)
{
#if defined(Q_OS_UNIX)
    try {
        std::thread([mailbox = m_mailbox, host, name = host.toUtf8()] {
            mailbox->deliver(mailbox, host, hasAddresses(name));
        }).detach();
        return true;
    } catch (const std::system_error &) {
        return false; // no more threads
    }
#else
    Q_UNUSED(host)
    return false;
#endif
}

void DVNameLookup::answered(const QString &host, bool found)
{
    const std::vector<Waiting> waiting = m_waiting.take(host);
    for (const Waiting &one : waiting) {
        if (one.context)
            one.answer(found);
    }
}
