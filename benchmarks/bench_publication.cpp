// What a reader pays for strings that may be replaced at any moment: one reading of a published value,
// on one and on two threads, while a writer publishes a hundred times a second.
#include "Allocations.h"
#include "Measure.h"

#include "DVPublished.h"

#include <QReadWriteLock>

#include <linux/seccomp.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

struct Snapshot
{
    int number = 0;
};

constexpr auto publicationInterval = std::chrono::milliseconds(10);

// The ways, each with read(), which uses the number of the present snapshot, and publish().

// The least there is: nobody ever frees what a reader may hold.
class Leaking
{
public:
    int read() const { return m_current.load(std::memory_order_acquire)->number; }
    void publish(int number)
    {
        m_all.push_back(std::make_unique<Snapshot>(Snapshot{number}));
        m_current.store(m_all.back().get(), std::memory_order_release);
    }

private:
    std::vector<std::unique_ptr<Snapshot>> m_all;
    std::atomic<const Snapshot *> m_current = nullptr;
};

class Ours
{
public:
    int read() const
    {
        const DVReading reading;
        return m_published.read()->number;
    }
    void publish(int number) { m_published.publish(std::make_shared<Snapshot>(Snapshot{number})); }

private:
    DVPublished<Snapshot> m_published;
};

class Locked
{
public:
    int read() const
    {
        const QReadLocker lock(&m_lock);
        return m_current->number;
    }
    void publish(int number)
    {
        auto next = std::make_shared<const Snapshot>(Snapshot{number});
        const QWriteLocker lock(&m_lock);
        m_current.swap(next);
    }

private:
    mutable QReadWriteLock m_lock;
    std::shared_ptr<const Snapshot> m_current;
};

class AtomicShared
{
public:
    int read() const { return m_current.load(std::memory_order_acquire)->number; }
    void publish(int number)
    {
        m_current.store(std::make_shared<const Snapshot>(Snapshot{number}), std::memory_order_release);
    }

private:
    std::atomic<std::shared_ptr<const Snapshot>> m_current;
};

// Publishes while it lives.
template<typename Way> class Writer
{
public:
    explicit Writer(Way &way)
        : m_thread([this, &way] {
            for (int number = 2; !m_stop; ++number) {
                std::this_thread::sleep_for(publicationInterval);
                way.publish(number);
            }
        })
    {}
    ~Writer()
    {
        m_stop = true;
        m_thread.join();
    }
    Writer(const Writer &) = delete;
    Writer &operator=(const Writer &) = delete;

private:
    std::atomic<bool> m_stop = false;
    std::thread m_thread;
};

template<typename Way> bool readAll(const Way &way, int readings)
{
    bool right = true;
    for (int i = 0; i < readings; ++i) {
        const int number = way.read();
        Measure::keep(number);
        right = right && number > 0;
    }
    return right;
}

// Nanoseconds from the moment when all readers are ready until the last is done.
template<typename Way> double timeOf(Way &way, int threads, int readings, std::atomic<bool> &right)
{
    const Writer<Way> writer(way);
    std::atomic<int> ready = 0;
    std::vector<std::thread> readers;
    readers.reserve(static_cast<size_t>(threads));
    std::vector<double> times(static_cast<size_t>(threads));
    for (double &time : times) {
        readers.emplace_back([&] {
            way.read(); // registers the thread
            ++ready;
            while (ready < threads)
                std::this_thread::yield();
            time = Measure::nanosecondsOf([&] {
                if (!readAll(way, readings))
                    right = false;
            });
        });
    }
    for (std::thread &reader : readers)
        reader.join();
    return *std::max_element(times.begin(), times.end());
}

template<typename Way>
Measure::Contestant contestant(const char *name, Way &way, int threads, int readings,
                               std::atomic<bool> &right)
{
    way.publish(1);
    return {name, {}, double(readings),
            {},   {}, [&way, threads, readings, &right] {
                return timeOf(way, threads, readings, right); }};
}

void measure(Measure::Report &report, int threads, double goal)
{
    constexpr int many = 5'000'000;
    constexpr int few = 500'000; // of the slow ways
    Leaking leaking;
    Ours ours;
    Locked locked;
    AtomicShared atomicShared;
    std::atomic<bool> right = true;
    report.section("one reading, " + std::to_string(threads) + (threads > 1 ? " threads" : " thread") +
                       ", 100 publications a second",
                   Measure::NanosecondsEach);
    const auto results = report.run({
        contestant("Dorvane's published snapshot", ours, threads, many, right),
        contestant("one acquire load, nothing ever freed (the limit)", leaking, threads, many, right),
        contestant("QReadWriteLock", locked, threads, few, right),
        contestant("std::atomic<std::shared_ptr>", atomicShared, threads, few, right),
    });
    report.check(right, "every reading finds a snapshot");
    char text[64];
    std::snprintf(text, sizeof text, "at most %.1f ns", goal);
    report.goalAtMost(text, results[0].median, goal);
}

enum Outcome { Killed, Unsupported, Wrong, Right };

// In a process of its own: readings where the kernel kills a thread that makes a system call.
void readWithoutTheSystem(bool alsoCallTheSystem, Outcome *outcome)
{
    Ours ours;
    ours.publish(1);
    ours.read(); // registers the thread, once in its life
    std::thread writer([&ours] {
        for (int number = 2; number < 20; ++number) {
            std::this_thread::sleep_for(publicationInterval);
            ours.publish(number);
        }
    });
    if (prctl(PR_SET_SECCOMP, SECCOMP_MODE_STRICT) != 0) {
        *outcome = Unsupported;
        _exit(0);
    }
    const long before = allocationsOfThread();
    const bool right = readAll(ours, 20'000'000) && allocationsOfThread() == before;
    if (alsoCallTheSystem)
        syscall(SYS_getppid);
    *outcome = right ? Right : Wrong;
    syscall(SYS_exit, 0); // of this thread; the writer ends by itself
}

Outcome outcomeWithoutTheSystem(bool alsoCallTheSystem)
{
    void *shared = mmap(nullptr, sizeof(Outcome), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (shared == MAP_FAILED)
        return Unsupported;
    auto *outcome = new (shared) Outcome(Killed);
    const pid_t child = fork();
    if (child == 0)
        readWithoutTheSystem(alsoCallTheSystem, outcome);
    waitpid(child, nullptr, 0);
    const Outcome result = *outcome;
    munmap(shared, sizeof(Outcome));
    return result;
}

void checkManners(Measure::Report &report)
{
    report.section("where every system call kills", Measure::NanosecondsEach);
    const Outcome outcome = outcomeWithoutTheSystem(false);
    if (outcome == Unsupported)
        return report.row("this kernel offers no strict seccomp; not looked at", 0, "");
    report.check(outcomeWithoutTheSystem(true) == Killed, "a system call is noticed");
    report.goalAtLeast("20,000,000 readings: no futex or other system call, no allocation", outcome == Right,
                       1);
}

} // namespace

int main(int argc, char **argv)
{
    Measure::Report report("reading what is published", argc, argv);
    measure(report, 1, 1);
    measure(report, 2, 1.5);
    checkManners(report);
    return report.finish();
}
