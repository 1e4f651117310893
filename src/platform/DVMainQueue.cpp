#include "DVMainQueue.h"

#include "DVClock.h"

#include <QCoreApplication>
#include <QEvent>
#include <QMutex>
#include <QThread>
#include <QTimer>

#include <algorithm>
#include <atomic>
#include <memory>
#include <utility>
#include <vector>

namespace {

using Work = std::function<void()>;

struct WorkEvent final : QEvent
{
    explicit WorkEvent(Work w)
        : QEvent(QEvent::User)
        , work(std::move(w))
    {}
    Work work;
};

class Receiver final : public QObject
{
protected:
    bool event(QEvent *event) override
    {
        if (event->type() != QEvent::User)
            return QObject::event(event);
        static_cast<WorkEvent *>(event)->work();
        return true;
    }
};

// The receiver lives as long as the application object. Events are posted to it under the mutex,
// so that no other thread can post to one that has just gone.
struct State
{
    QMutex mutex;
    std::unique_ptr<Receiver> receiver;
    std::vector<Work> waitingForFirstTurn;
    bool firstTurnHasPassed = false;
    std::atomic<QThread *> mainThread = nullptr;

    void postLocked(Work work)
    {
        if (receiver)
            QCoreApplication::postEvent(receiver.get(),
                                        new WorkEvent(std::move(work))); // the event queue owns it
    }
};

State &state()
{
    static auto *instance = new State; // never destroyed: threads may outlive static objects
    return *instance;
}

void releaseWaiting()
{
    auto &s = state();
    const QMutexLocker lock(&s.mutex);
    s.firstTurnHasPassed = true;
    for (Work &work : std::exchange(s.waitingForFirstTurn, {}))
        s.postLocked(std::move(work));
}

void startTimer(int milliseconds, Work work)
{
    auto &s = state();
    QMutexLocker lock(&s.mutex);
    Receiver *receiver = s.receiver.get();
    lock.unlock(); // this is the main thread: the receiver stays
    if (receiver)
        QTimer::singleShot(milliseconds, receiver, std::move(work));
}

void applicationEnds()
{
    auto &s = state();
    QMutexLocker lock(&s.mutex);
    const auto receiver = std::move(s.receiver);
    const auto waiting = std::exchange(s.waitingForFirstTurn, {});
    s.firstTurnHasPassed = false;
    s.mainThread = nullptr;
    lock.unlock(); // what the dropped work holds is destroyed without the lock
}

void applicationStarts()
{
    auto *application = QCoreApplication::instance();
    auto &s = state();
    {
        const QMutexLocker lock(&s.mutex);
        s.receiver = std::make_unique<Receiver>();
        s.receiver->moveToThread(application->thread());
        s.mainThread = application->thread();
    }
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
    const QMutexLocker lock(&s.mutex);
    s.postLocked(std::move(work));
}

void DVMainQueue::postAfterFirstTurn(Work work)
{
    auto &s = state();
    const QMutexLocker lock(&s.mutex);
    if (s.firstTurnHasPassed) {
        s.postLocked(std::move(work));
        return;
    }
    if (!s.receiver)
        return;
    s.waitingForFirstTurn.push_back(std::move(work));
    // An event comes within the first turn; a timer that starts there fires in the second.
    if (s.waitingForFirstTurn.size() == 1)
        s.postLocked([] { startTimer(0, releaseWaiting); });
}

void DVMainQueue::postDelayed(int milliseconds, Work work)
{
    const qint64 due = DVClock::monotonicNanoseconds() + qint64(std::max(milliseconds, 0)) * 1000000;
    post([due, work = std::move(work)]() mutable {
        const qint64 left = (due - DVClock::monotonicNanoseconds() + 999999) / 1000000;
        startTimer(int(std::max<qint64>(left, 0)), std::move(work));
    });
}
