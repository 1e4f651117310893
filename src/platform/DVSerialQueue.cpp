#include "DVSerialQueue.h"

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
};

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
}

} // namespace

struct DVSerialQueue::State
{
    std::mutex mutex; // taken before a worker's
    std::string name;
    std::shared_ptr<Worker> worker;
    std::thread thread;
    std::atomic<bool> finishing = false;

    std::shared_ptr<Worker> current()
    {
        const std::lock_guard lock(mutex);
        return worker;
    }
    void startWorker();
};

// Without a thread the operations wait for the next attempt.
void DVSerialQueue::State::startWorker()
{
    if (!worker) {
        worker = std::make_shared<Worker>();
        worker->name = name;
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
    // The thread that was left behind goes on seeing the end, also when the queue is in use again.
    const auto worker = workerOfThisThread ? d->current() : nullptr;
    if (workerOfThisThread && worker.get() != workerOfThisThread)
        return true;
    return d->finishing;
}

void DVSerialQueue::finish(int milliseconds)
{
    const auto deadline =
        std::chrono::steady_clock::now() + std::chrono::milliseconds(std::max(milliseconds, 0));
    d->finishing = true;
    const auto worker = d->current();
    if (!worker)
        return;
    std::deque<Operation> dropped; // destroyed without a lock
    std::unique_lock lock(worker->mutex);
    worker->ending = true;
    worker->wake.notify_one();
    worker->moved.wait_until(lock, deadline, [&] { return worker->ended; });
    dropped.swap(worker->operations);
    const bool ended = worker->ended;
    lock.unlock();

    std::unique_lock stateLock(d->mutex);
    if (d->worker != worker)
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
