// DVSerialQueue: operations that run one at a time, in order, on a thread of their own.
#pragma once

#include <QtGlobal>

#include <atomic>
#include <functional>
#include <memory>

// The thread starts with the first operation. Adding costs one lock and one insertion, however slow
// the operations are. Thread-safe.
class DVSerialQueue
{
public:
    // `name` is the thread's name as debuggers show it (15 characters at most).
    explicit DVSerialQueue(const char *name);
    // Like finish(0).
    ~DVSerialQueue();
    Q_DISABLE_COPY_MOVE(DVSerialQueue)

    void addOperation(std::function<void()> operation);

    // True once finish() was called: long operations look at it and return early.
    bool isFinishing() const;

    // Lets operations run for at most `milliseconds`, then drops those that have not begun, ends
    // the thread and returns. An operation still running at the deadline is left behind: it must
    // touch nothing that ends with the application. Operations added later start a new thread,
    // for a second application object.
    void finish(int milliseconds);

    // Waits until everything added so far has run; for tests.
    void drain();

private:
    struct State;
    std::shared_ptr<State> d;
};
