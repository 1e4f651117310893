#include "DVSerialQueue.h"

#include "DVProcess.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <string>
#include <system_error>
#include <thread>
#include <utility>

#if defined(Q_OS_LINUX)
#include <pthread.h>
#endif

namespace {

using Operation = std::function<void()>;

// One thread and its operations. Shared with the thread: one that is left behind at a deadline
// keeps it alive and touches nothing else. Guarded by `mutex` but for `finishing`.
struct Worker
{
    std::mutex mutex;
    std::condition_variable wake;  // for the thread
    std::condition_variable moved; // for those who wait for it
    std::deque<Operation> operations;
    quint64 added = 0;
    quint64 done = 0;
    bool sleeping = false;
    bool ending = false; // the thread ends when it has nothing to do
    bool ended = false;
    std::atomic<bool> finishing = false;
    std::string name;
    const void *queue = nullptr; // which queue's; identity only

    bool end(std::chrono::steady_clock::time_point deadline, bool mayWait);
};

// Drops what has not begun at the deadline. Returns whether the thread has ended.
bool Worker::end(std::chrono::steady_clock::time_point deadline, bool mayWait)
{
    std::deque<Operation> dropped; // destroyed without the lock
    std::unique_lock lock(mutex);
    finishing = true;
    ending = true;
    wake.notify_one();
    if (mayWait)
        moved.wait_until(lock, deadline, [this] { return ended; });
    dropped.swap(operations);
    return ended;
}

thread_local const Worker *workerOfThisThread = nullptr;

void nameThisThread(const std::string &name)
{
#if defined(Q_OS_LINUX)
    pthread_setname_np(pthread_self(), name.c_str());
#else
    Q_UNUSED(name)
#endif
}

void run(const std::shared_ptr<Worker> &worker)
{
    nameThisThread(worker->name);
    workerOfThisThread = worker.get();
    std::unique_lock lock(worker->mutex);
    for (;;) {
        worker->sleeping = true;
        worker->wake.wait(lock, [&] { return !worker->operations.empty() || worker->ending; });
        worker->sleeping = false;
        if (worker->operations.empty())
            break;
        Operation operation = std::move(worker->operations.front());
        worker->operations.pop_front();
        lock.unlock();
        operation();
        operation = nullptr; // what it holds may take its time, too
        lock.lock();
        ++worker->done;
        worker->moved.notify_all();
    }
    worker->ended = true;
    worker->moved.notify_all();
    workerOfThisThread = nullptr;
}

} // namespace

struct DVSerialQueue::State
{
    std::mutex mutex; // taken before a worker's
    std::string name;
    std::shared_ptr<Worker> worker;
    std::thread thread;
    qint64 process = 0; // which started the thread
    std::atomic<bool> finishing = false;

    std::shared_ptr<Worker> current()
    {
        const std::lock_guard lock(mutex);
        forgetParentsThread();
        return worker;
    }
    void startWorker();
    void forgetParentsThread();
};

// In the child of a fork() the thread is gone: it can neither be joined nor detached, and what it held stays
// as it was in that moment.
void DVSerialQueue::State::forgetParentsThread()
{
    if (!worker || process == DVProcess::id())
        return;
    static_cast<void>(new std::thread(std::move(thread)));             // for ever
    static_cast<void>(new std::shared_ptr<Worker>(std::move(worker))); // its mutex may be held
    thread = std::thread();
    worker.reset();
}

// Without a thread the operations wait for the next attempt.
void DVSerialQueue::State::startWorker()
{
    forgetParentsThread();
    if (!worker) {
        worker = std::make_shared<Worker>();
        process = DVProcess::id();
        worker->name = name;
        worker->queue = this;
        finishing = false;
    }
    if (thread.joinable())
        return;
    try {
        thread = std::thread(run, worker);
    } catch (const std::system_error &) {
    }
}

DVSerialQueue::DVSerialQueue(const char *name)
    : d(std::make_shared<State>())
{
    d->name = std::string(name).substr(0, 15);
}

DVSerialQueue::~DVSerialQueue()
{
    finish(0);
}

void DVSerialQueue::addOperation(std::function<void()> operation)
{
    if (!operation)
        return;
    const std::lock_guard stateLock(d->mutex);
    d->startWorker();
    auto &worker = *d->worker;
    bool wake = false;
    {
        const std::lock_guard lock(worker.mutex);
        worker.operations.push_back(std::move(operation));
        ++worker.added;
        wake = std::exchange(worker.sleeping, false);
    }
    if (wake)
        worker.wake.notify_one();
}

bool DVSerialQueue::isFinishing() const
{
    // A thread that was left behind goes on seeing the end, also when the queue is in use again.
    if (workerOfThisThread && workerOfThisThread->queue == d.get())
        return workerOfThisThread->finishing;
    return d->finishing;
}

void DVSerialQueue::finish(int milliseconds)
{
    const auto deadline =
        std::chrono::steady_clock::now() + std::chrono::milliseconds(std::max(milliseconds, 0));
    std::unique_lock stateLock(d->mutex);
    d->forgetParentsThread();
    d->finishing = true;
    const auto worker = d->worker;
    const bool mayEnd = d->thread.joinable() && worker.get() != workerOfThisThread;
    stateLock.unlock();
    if (!worker)
        return;
    const bool ended = worker->end(deadline, mayEnd);

    stateLock.lock();
    if (d->worker != worker) // another call was faster
        return;
    d->worker.reset();
    std::thread thread = std::move(d->thread);
    stateLock.unlock();
    if (!thread.joinable())
        return;
    if (ended)
        thread.join();
    else
        thread.detach();
}

void DVSerialQueue::drain()
{
    const auto worker = d->current();
    if (!worker || worker.get() == workerOfThisThread)
        return;
    std::unique_lock lock(worker->mutex);
    worker->moved.wait(lock, [&, upTo = worker->added] { return worker->done >= upTo || worker->ended; });
}
