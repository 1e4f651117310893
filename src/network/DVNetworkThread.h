// DVNetworkThread: the one thread that owns network objects.
#pragma once

#include <QThread>

#include <atomic>
#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>

class DVNameLookup;
class QNetworkAccessManager;

// Reaches servers on this device directly. Network thread only.
std::unique_ptr<QNetworkAccessManager> dv_makeNetworkManager();

// What work finds on the thread.
struct DVNetworkContext
{
    QNetworkAccessManager &manager;
    DVNameLookup &names;
    QObject &exchanges; // parent of those under way; they end with it
};

// Work is run in order. A QObject only as far as QThread is one; all members are thread-safe.
class DVNetworkThread : public QThread
{
public:
    using Work = std::function<void(DVNetworkContext &)>;

    DVNetworkThread();
    ~DVNetworkThread() override;

    // Dropped, with what it captured, once the thread is told to end.
    void post(Work work);

    // Aborts what is under way, drops the rest, and waits for the thread's end for so long. False: it
    // is stuck in work of ours; then this object must live for ever. The thread destroys nothing
    // any more, because Qt may be going down by the time it comes back. While Qt's TLS is loaded, which is at
    // the thread's beginning and takes longer from a cold disk, it waits for that first, up to 5 seconds: a
    // process that ends meanwhile would crash.
    bool end(int milliseconds);
    // True once end() was called: long work looks at it and returns early.
    bool isEnding() const { return m_ending; }

    // The one that the calling thread is, or null.
    static DVNetworkThread *current();

protected:
    void run() override;

private:
    class Wakeup;
    void loadTls();
    void runPosted();
    void stayIfLeftBehind();

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<Work> m_work;
    DVNetworkContext *m_context = nullptr; // of the running thread only
    std::unique_ptr<Wakeup> m_wakeup;
    std::atomic<bool> m_ending = false;
    bool m_hasTls = false; // or needs none any more
    bool m_ended = false;
    bool m_leftBehind = false;
};
