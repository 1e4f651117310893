// DVTransferLink: joins one request to the DVTransfer that accompanies it.
#pragma once

#include "DVTransfer.h"

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>

class DVTransferLink;
using DVTransferLinkPtr = std::shared_ptr<DVTransferLink>;

class DVTransferLink : public std::enable_shared_from_this<DVTransferLink>
{
public:
    // On the main thread. Null for a null transfer.
    static DVTransferLinkPtr of(const DVTransferPtr &transfer);

    bool isCancelled() const; // any thread

    // On the main thread. Called once, from cancel(); replaces what was to be called so far.
    void setAbort(std::function<void()> abort) { m_abort = std::move(abort); }
    // On the main thread, before the completion: nothing is called any more.
    void close();

    // From the request's thread. `last`: goes to the main thread in any case.
    void report(qint64 done, qint64 total, bool last = false);

private:
    explicit DVTransferLink(std::shared_ptr<DVTransfer::Private> transfer);
    friend class DVTransfer;
    void cancel();
    void deliver();

    const std::shared_ptr<DVTransfer::Private> m_transfer;
    std::function<void()> m_abort; // main thread
    bool m_isOpen = true;          // main thread

    // The request's thread.
    qint64 m_most = 0;
    std::chrono::steady_clock::time_point m_lastPost;

    std::atomic<qint64> m_done = 0;
    std::atomic<qint64> m_total = -1;
    std::atomic<bool> m_isPosted = false;
};
