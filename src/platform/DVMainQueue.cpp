#include "DVMainQueue.h"

#include "DVClock.h"

#include <QCoreApplication>
#include <QEvent>
#include <QThread>
#include <QTimer>
#include <QTimerEvent>

#include <algorithm>
#include <atomic>
#include <deque>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

namespace {

using Work = std::function<void()>;

void runNext();
void releaseWaiting();

class Receiver final : public QObject
{
protected:
    bool event(QEvent *event) override
    {
        if (event->type() != QEvent::User)
            return QObject::event(event);
        runNext();
        return true;
    }

    // The first turn has passed.
    void timerEvent(QTimerEvent *event) override
    {
        killTimer(event->timerId());
        releaseWaiting();
    }
};

// The receiver is made by the first work and lives as long as the application object. Events are posted
// to it under the mutex, so that no other thread can post to one that has just gone; each announces one
// piece of work.
struct State
{
    std::mutex mutex;
    std::unique_ptr<Receiver> receiver;
    std::deque<Work> work;
    std::vector<Work> waitingForFirstTurn;
    bool firstTurnHasPassed = false;
    std::atomic<QThread *> mainThread = nullptr;

    bool haveReceiver()
    {
        QThread *thread = mainThread;
        if (!receiver && thread) {
            receiver = std::make_unique<Receiver>();
            receiver->moveToThread(thread);
        }
        return receiver != nullptr;
    }

    void postLocked(Work next)
    {
        if (!next || !haveReceiver())
            return;
        work.push_back(std::move(next));
        QCoreApplication::postEvent(receiver.get(), new QEvent(QEvent::User)); // the event queue owns it
    }
};

State &state()
{
    static auto *instance = new State; // never destroyed: threads may outlive static objects
    return *instance;
}

void runNext()
{
    Work next;
    {
        auto &s = state();
        const std::lock_guard lock(s.mutex);
        if (s.work.empty())
            return;
        next = std::move(s.work.front());
        s.work.pop_front();
    }
    next();
}

void releaseWaiting()
{
    auto &s = state();
    const std::lock_guard lock(s.mutex);
    s.firstTurnHasPassed = true;
    for (Work &work : std::exchange(s.waitingForFirstTurn, {}))
        s.postLocked(std::move(work));
}

// On the main thread, where the receiver stays while the application object does.
Receiver *receiverHere()
{
    auto &s = state();
    const std::lock_guard lock(s.mutex);
    return s.receiver.get();
}

// A timer event: QTimer::singleShot(0) is a posted event, which comes within the same turn.
void startFirstTurnTimer()
{
    if (auto *receiver = receiverHere())
        receiver->startTimer(0);
}

void startTimer(int milliseconds, Work work)
{
    if (auto *receiver = receiverHere())
        QTimer::singleShot(milliseconds, receiver, std::move(work));
}

void applicationEnds()
{
    auto &s = state();
    std::unique_lock lock(s.mutex);
    const auto receiver = std::move(s.receiver);
    const auto work = std::exchange(s.work, {});
    const auto waiting = std::exchange(s.waitingForFirstTurn, {});
    s.firstTurnHasPassed = false;
    s.mainThread = nullptr;
    lock.unlock(); // what the dropped work holds is destroyed without the lock
}

void applicationStarts()
{
    state().mainThread = QCoreApplication::instance()->thread();
    qAddPostRoutine(applicationEnds);
}
Q_COREAPP_STARTUP_FUNCTION(applicationStarts)

} // namespace

bool DVMainQueue::isMainThread()
{
    QThread *mainThread = state().mainThread;
    return mainThread && mainThread == QThread::currentThread();
}

void DVMainQueue::post(Work work)
{
    auto &s = state();
    const std::lock_guard lock(s.mutex);
    s.postLocked(std::move(work));
}

void DVMainQueue::postAfterFirstTurn(Work work)
{
    auto &s = state();
    const std::lock_guard lock(s.mutex);
    if (s.firstTurnHasPassed) {
        s.postLocked(std::move(work));
        return;
    }
    if (!s.mainThread)
        return;
    s.waitingForFirstTurn.push_back(std::move(work));
    // An event comes within the first turn; a timer that starts there fires in the second.
    if (s.waitingForFirstTurn.size() == 1)
        s.postLocked(startFirstTurnTimer);
}

void DVMainQueue::postDelayed(int milliseconds, Work work)
{
    const qint64 due = DVClock::monotonicNanoseconds() + qint64(std::max(milliseconds, 0)) * 1000000;
    post([due, work = std::move(work)]() mutable {
        const qint64 left = (due - DVClock::monotonicNanoseconds() + 999999) / 1000000;
        startTimer(int(std::max<qint64>(left, 0)), std::move(work));
    });
}
