#include "DVTransfer.h"

#include "DVTransferLink.h"

#include "DVMainQueue.h"

#include <utility>
#include <vector>

namespace {

constexpr auto pauseBetweenPosts = std::chrono::milliseconds(50);

} // namespace

struct DVTransfer::Private
{
    std::atomic<bool> isCancelled = false;
    Progress progress;
    std::vector<std::weak_ptr<DVTransferLink>> links; // of requests under way, and of some that are over
};

DVTransfer::DVTransfer(Progress progress)
    : d(std::make_shared<Private>())
{
    d->progress = std::move(progress);
}

DVTransfer::~DVTransfer() = default;

void DVTransfer::cancel()
{
    // An abort may let go of the last one who holds this object.
    const auto keep = d;
    if (keep->isCancelled.exchange(true))
        return;
    keep->progress = nullptr;
    const auto links = std::exchange(keep->links, {});
    for (const auto &weak : links) {
        if (const DVTransferLinkPtr link = weak.lock())
            link->cancel();
    }
}

bool DVTransfer::isCancelled() const
{
    return d->isCancelled;
}

DVTransferLink::DVTransferLink(std::shared_ptr<DVTransfer::Private> transfer)
    : m_transfer(std::move(transfer))
{}

DVTransferLinkPtr DVTransferLink::of(const DVTransferPtr &transfer)
{
    if (!transfer)
        return {};
    const DVTransferLinkPtr link(new DVTransferLink(transfer->d));
    auto &links = transfer->d->links;
    std::erase_if(links, [](const auto &weak) { return weak.expired(); });
    links.push_back(link);
    return link;
}

bool DVTransferLink::isCancelled() const
{
    return m_transfer->isCancelled;
}

void DVTransferLink::close()
{
    m_isOpen = false;
    m_abort = nullptr;
}

void DVTransferLink::cancel()
{
    if (const auto abort = std::exchange(m_abort, nullptr))
        abort();
}

void DVTransferLink::report(qint64 done, qint64 total, bool last)
{
    m_most = qMax(m_most, done); // a redirect sends the body again
    m_done = m_most;
    m_total = total < 0 ? total : qMax(total, m_most);
    const auto now = std::chrono::steady_clock::now();
    if (!last && now - m_lastPost < pauseBetweenPosts)
        return;
    if (m_isPosted.exchange(true))
        return;
    m_lastPost = now;
    DVMainQueue::post([link = shared_from_this()] { link->deliver(); });
}

void DVTransferLink::deliver()
{
    m_isPosted = false;
    const DVTransfer::Progress progress = m_transfer->progress; // it may cancel, which drops it
    if (m_isOpen && progress)
        progress(m_done, m_total);
}
