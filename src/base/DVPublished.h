// DVPublished: an immutable value that one thread replaces and any thread reads without a lock.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <utility>

namespace DVEpoch {

// What one thread tells the writers. Slots are never freed, only handed on to later threads.
struct alignas(64) Slot
{
    std::atomic<uint64_t> epoch = 0; // 0: this thread reads nothing
    uint32_t depth = 0;              // of nested readings; only this thread touches it
    std::atomic<bool> inUse = true;
    Slot *next = nullptr;
};

extern std::atomic<uint64_t> current;
extern std::atomic<bool> readersNeedFence; // where the system has no membarrier
extern constinit thread_local Slot *slotOfThread
#if defined(__ELF__)
    __attribute__((tls_model("initial-exec")))
#endif
    ;
Slot *registerThread();
void fence();

} // namespace DVEpoch

// While a DVReading lives, nothing that was published when it began is destroyed. Beginning and
// ending one costs two stores to memory of this thread: no lock, no allocation (but once per
// thread). Readings nest. Do not keep one across anything that may block.
class DVReading
{
public:
    DVReading()
        : m_slot(DVEpoch::slotOfThread ? DVEpoch::slotOfThread : DVEpoch::registerThread())
    {
        if (m_slot->depth++ == 0) {
            m_slot->epoch.store(DVEpoch::current.load(std::memory_order_acquire), std::memory_order_release);
            // The writers' membarrier orders this store before the reads that follow; only the
            // compiler has to be kept from moving them.
            std::atomic_signal_fence(std::memory_order_seq_cst);
            if (DVEpoch::readersNeedFence.load(std::memory_order_relaxed))
                DVEpoch::fence();
        }
    }
    ~DVReading()
    {
        if (--m_slot->depth == 0)
            m_slot->epoch.store(0, std::memory_order_release);
    }
    DVReading(const DVReading &) = delete;
    DVReading &operator=(const DVReading &) = delete;

private:
    DVEpoch::Slot *const m_slot;
};

// Destroys what `retired` holds when the last reader that could see it has moved on: now, at a later
// call, or at dv_reclaimRetired(). Thread-safe.
void dv_retire(std::shared_ptr<const void> retired);
// Destroys what no reader can see any more. Returns how many values wait on.
int dv_reclaimRetired();

template<typename T> class DVPublished
{
public:
    DVPublished() = default;
    // A value that is being read lives on until it is no longer.
    ~DVPublished() { publish(nullptr); }
    DVPublished(const DVPublished &) = delete;
    DVPublished &operator=(const DVPublished &) = delete;

    // The value now published, or null. Valid while the calling thread holds a DVReading that began before.
    const T *read() const { return m_current.load(std::memory_order_acquire); }

    // One writer at a time.
    void publish(std::shared_ptr<const T> value)
    {
        m_current.store(value.get(), std::memory_order_release);
        auto old = std::exchange(m_owner, std::move(value));
        if (old)
            dv_retire(std::move(old));
    }

    // For the writer.
    const std::shared_ptr<const T> &owner() const { return m_owner; }

private:
    std::atomic<const T *> m_current = nullptr;
    std::shared_ptr<const T> m_owner;
};
