#include "DVPublished.h"

#include <limits>
#include <mutex>
#include <vector>

#if defined(__linux__)
#include <linux/membarrier.h>
#include <sys/syscall.h>
#include <unistd.h>
#endif

namespace DVEpoch {

std::atomic<uint64_t> current = 1;
std::atomic<bool> readersNeedFence = true;
constinit thread_local Slot *slotOfThread = nullptr;

namespace {

std::atomic<Slot *> slots = nullptr;

bool membarrier(int command)
{
#if defined(__linux__)
    return syscall(SYS_membarrier, command, 0, 0) == 0;
#else
    (void)command;
    return false;
#endif
}

constexpr int registerCommand =
#if defined(__linux__)
    MEMBARRIER_CMD_REGISTER_PRIVATE_EXPEDITED;
#else
    0;
#endif
constexpr int barrierCommand =
#if defined(__linux__)
    MEMBARRIER_CMD_PRIVATE_EXPEDITED;
#else
    0;
#endif

// Gives the slot back when its thread ends. A reading after that (from another thread_local's
// destructor) registers anew, and that slot is then never given back: a few bytes, no harm.
constinit thread_local bool slotIsReturned = false;

struct SlotReturn
{
    Slot *slot = nullptr;
    ~SlotReturn()
    {
        slotIsReturned = true;
        slotOfThread = nullptr;
        slot->inUse.store(false, std::memory_order_release);
    }
};

void returnAtThreadEnd(Slot *slot)
{
    if (slotIsReturned)
        return;
    static thread_local SlotReturn slotReturn{slot};
}

Slot *takeFreeSlot()
{
    for (Slot *slot = slots.load(std::memory_order_acquire); slot; slot = slot->next) {
        bool expected = false;
        if (slot->inUse.compare_exchange_strong(expected, true, std::memory_order_acq_rel))
            return slot;
    }
    return nullptr;
}

Slot *addSlot()
{
    auto *slot = new Slot; // owned by the list for the life of the process
    slot->next = slots.load(std::memory_order_relaxed);
    while (!slots.compare_exchange_weak(slot->next, slot, std::memory_order_release,
                                        std::memory_order_relaxed)) {
    }
    return slot;
}

bool chooseBarrier()
{
    const bool registered = membarrier(registerCommand);
    readersNeedFence.store(!registered, std::memory_order_relaxed);
    return registered;
}

// Orders every reader's announcement before our look at it. False when the system refuses what it
// granted before, as it does once a sandbox was entered.
bool barrierOnAllThreads()
{
    static const bool haveMembarrier = chooseBarrier();
    if (haveMembarrier)
        return membarrier(barrierCommand);
    fence();
    return true;
}

uint64_t oldestReading()
{
    uint64_t oldest = std::numeric_limits<uint64_t>::max();
    for (Slot *slot = slots.load(std::memory_order_acquire); slot; slot = slot->next) {
        const uint64_t epoch = slot->epoch.load(std::memory_order_acquire);
        if (epoch != 0 && epoch < oldest)
            oldest = epoch;
    }
    return oldest;
}

struct Retired
{
    uint64_t epoch; // readings that began in it or later cannot see the value
    std::shared_ptr<const void> value;
};

struct RetiredList
{
    std::mutex mutex;
    std::vector<Retired> values;
};

// Never destroyed: a thread may outlive the static objects.
RetiredList &retiredList()
{
    static auto *list = new RetiredList;
    return *list;
}

std::vector<Retired> takeUnseen(RetiredList &list)
{
    std::vector<Retired> unseen;
    if (!barrierOnAllThreads())
        return unseen; // memory is kept rather than taken from a reader
    const uint64_t oldest = oldestReading();
    std::erase_if(list.values, [&](Retired &retired) {
        if (retired.epoch > oldest)
            return false;
        unseen.push_back(std::move(retired));
        return true;
    });
    return unseen;
}

} // namespace

void fence()
{
#if defined(DORVANE_THREAD_SANITIZER)
    // The sanitizer knows no fences; a read-modify-write orders as strongly.
    static std::atomic<int> order = 0;
    order.fetch_add(1, std::memory_order_seq_cst);
#else
    std::atomic_thread_fence(std::memory_order_seq_cst);
#endif
}

Slot *registerThread()
{
    Slot *slot = takeFreeSlot();
    if (!slot)
        slot = addSlot();
    slot->depth = 0;
    slotOfThread = slot;
    returnAtThreadEnd(slot);
    return slot;
}

} // namespace DVEpoch

void dv_retire(std::shared_ptr<const void> retired)
{
    using namespace DVEpoch;
    auto &list = retiredList();
    std::vector<Retired> unseen; // destroyed outside the lock
    {
        const std::lock_guard lock(list.mutex);
        const uint64_t epoch = current.fetch_add(1, std::memory_order_acq_rel) + 1;
        list.values.push_back({epoch, std::move(retired)});
        unseen = takeUnseen(list);
    }
}

int dv_reclaimRetired()
{
    using namespace DVEpoch;
    auto &list = retiredList();
    std::vector<Retired> unseen;
    const std::lock_guard lock(list.mutex);
    if (!list.values.empty())
        unseen = takeUnseen(list);
    return int(list.values.size());
}
