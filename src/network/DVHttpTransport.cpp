#include "DVHttpTransport.h"

#include "DVHttpExchange.h"
#include "DVNetworkThread.h"

#include "DVMainQueue.h"
#include "DVProcess.h"

#include <QCoreApplication>
#include <QSslSocket>

#include <atomic>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <cstdlib>
#include <mutex>

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr int defaultInactivityMs = 60'000;
constexpr auto longestExchange = std::chrono::minutes(10);
constexpr double longestWaitSeconds = 24 * 60 * 60;

struct Threads
{
    std::mutex mutex;
    std::unique_ptr<DVNetworkThread> thread;
    qint64 process = 0; // which started the thread
    bool endsWithApplication = false;
    std::atomic<qint64> requests = 0;
    std::atomic<int> generation = 0; // counts ends, so that completions posted before one are dropped

    // In the child of a fork() the thread is gone, and with it whoever could end it: its object stays for
    // ever.
    void forgetParentsThread()
    {
        if (thread && process != DVProcess::id())
            static_cast<void>(thread.release());
    }
};

Threads &threads()
{
    // Never destroyed: a thread left behind may still look at it.
    static Threads &shared = *new Threads;
    return shared;
}

// The rest of the library ends within the same 50 ms, so this is the network's share only.
constexpr int endMs = 15;

void endWithApplication()
{
    DVHttpTransport::shutDown(endMs);
    const std::lock_guard lock(threads().mutex);
    threads().endsWithApplication = false;
}

// Posts to the thread, which is started when there is none. False without an application object,
// when nobody would end the thread any more.
bool postToThread(DVNetworkThread::Work work)
{
    if (!QCoreApplication::instance() || QCoreApplication::closingDown())
        return false;
    Threads &all = threads();
    const std::lock_guard lock(all.mutex);
    all.forgetParentsThread();
    if (!all.thread) {
        all.thread = std::make_unique<DVNetworkThread>();
        all.thread->start();
        all.process = DVProcess::id();
        if (!std::exchange(all.endsWithApplication, true))
            qAddPostRoutine(endWithApplication);
    }
    ++all.requests;
    all.thread->post(std::move(work));
    return true;
}

// Posts to the thread that runs, if one does.
void postToRunningThread(DVNetworkThread::Work work)
{
    Threads &all = threads();
    const std::lock_guard lock(all.mutex);
    all.forgetParentsThread();
    if (all.thread)
        all.thread->post(std::move(work));
}

// The exchange may be over by then.
void abort(const DVTransferLinkPtr &transfer)
{
    postToRunningThread([transfer](DVNetworkContext &context) {
        const QObjectList exchanges = context.exchanges.children();
        for (QObject *exchange : exchanges)
            static_cast<DVHttpExchange *>(exchange)->cancelIfOf(transfer);
    });
}

DVError timedOut()
{
    return {QStringLiteral("dorvane.network"), QNetworkReply::TimeoutError,
            QStringLiteral("The request timed out.")};
}

// Where a blocked caller and the network thread meet. The first to settle it wins.
struct Meeting
{
    std::mutex mutex;
    std::condition_variable changed;
    bool settled = false;
    DVErrorOr error;
    DVHttpResponse response;

    bool isSettled()
    {
        const std::lock_guard lock(mutex);
        return settled;
    }

    void settle(const DVErrorOr &withError, DVHttpResponse withResponse)
    {
        const std::lock_guard lock(mutex);
        if (settled)
            return;
        settled = true;
        error = withError;
        response = std::move(withResponse);
        changed.notify_all();
    }
};

// Held by the work in the network thread: when that is dropped, the caller need not wait on.
struct Promise
{
    explicit Promise(std::shared_ptr<Meeting> with)
        : meeting(std::move(with))
    {}
    ~Promise() { meeting->settle(DVHttpTransport::canceled(), {}); }
    Q_DISABLE_COPY_MOVE(Promise)

    const std::shared_ptr<Meeting> meeting;
};

// At exit() the handlers that were registered last run first. The network stack and the TLS library register
// theirs when they are first used; the thread has to end before they run.
void endBeforeLibraries(bool secure)
{
    static std::once_flag plainUsed;
    static std::once_flag tlsUsed;
    std::call_once(plainUsed, [] { std::atexit(endWithApplication); });
    if (secure)
        std::call_once(tlsUsed, [] {
            QSslSocket::supportsSsl();
            std::atexit(endWithApplication);
        });
}

void startExchange(DVNetworkContext &context, const DVHttpRequest &request, steady_clock::time_point deadline,
                   int inactivityMs, DVHttpExchange::Finished finished)
{
    // Owned by the context, and by itself once it has finished.
    auto *exchange = new DVHttpExchange(context, request, std::move(finished));
    exchange->start(deadline, inactivityMs);
    endBeforeLibraries(request.request.url().scheme() == u"https");
}

} // namespace

QByteArray DVHttpResponse::header(const QByteArray &name) const
{
    for (const auto &[key, value] : headers) {
        if (key.compare(name, Qt::CaseInsensitive) == 0)
            return value;
    }
    return {};
}

void DVHttpTransport::send(DVHttpRequest request, Completion onNetworkThread, Completion completion,
                           int inactivityTimeoutMs)
{
    const int generation = threads().generation;
    const DVTransferLinkPtr transfer = request.transfer;
    if (transfer)
        transfer->setAbort([link = std::weak_ptr(transfer)] { abort(link.lock()); });
    auto finished = [=](const DVErrorOr &error, const DVHttpResponse &response) {
        if (onNetworkThread)
            onNetworkThread(error, response);
        DVMainQueue::post([=] {
            if (transfer)
                transfer->close();
            if (completion && threads().generation == generation)
                completion(error, response);
        });
    };
    const int inactivity = inactivityTimeoutMs > 0 ? inactivityTimeoutMs : defaultInactivityMs;
    postToThread([request = std::move(request), finished, inactivity](DVNetworkContext &context) {
        startExchange(context, request, steady_clock::now() + longestExchange, inactivity, finished);
    });
}

DVError DVHttpTransport::canceled()
{
    return {QStringLiteral("dorvane.network"), QNetworkReply::OperationCanceledError,
            QStringLiteral("The request was canceled.")};
}

DVErrorOr DVHttpTransport::sendAndWait(DVHttpRequest request, double timeoutSeconds, DVHttpResponse *response,
                                       Decode decode)
{
    if (!(timeoutSeconds > 0))
        return timedOut();
    if (DVNetworkThread::current())
        return canceled();
    const auto deadline =
        steady_clock::now() + milliseconds(std::llround(qMin(timeoutSeconds, longestWaitSeconds) * 1000));
    request.request.setPriority(QNetworkRequest::HighPriority);
    auto meeting = std::make_shared<Meeting>();
    auto finished = [promise = std::make_shared<Promise>(meeting),
                     decode = std::move(decode)](const DVErrorOr &error, DVHttpResponse answer) {
        if (!error && decode && !promise->meeting->isSettled())
            decode(&answer);
        promise->meeting->settle(error, std::move(answer));
    };
    const bool posted = postToThread(
        [request = std::move(request), deadline, finished = std::move(finished)](DVNetworkContext &context) {
            startExchange(context, request, deadline, 0, finished);
        });
    if (!posted)
        return canceled();
    std::unique_lock lock(meeting->mutex);
    meeting->changed.wait_until(lock, deadline, [&] { return meeting->settled; });
    if (!std::exchange(meeting->settled, true))
        return timedOut();
    if (!meeting->error && response)
        *response = std::move(meeting->response);
    return meeting->error;
}

void DVHttpTransport::shutDown(int milliseconds)
{
    Threads &all = threads();
    std::unique_ptr<DVNetworkThread> thread;
    {
        const std::lock_guard lock(all.mutex);
        all.forgetParentsThread();
        ++all.generation;
        thread.swap(all.thread);
    }
    if (thread && !thread->end(milliseconds))
        static_cast<void>(thread.release()); // left behind, see DVNetworkThread::end()
}

qint64 DVHttpTransport::requestCount()
{
    return threads().requests;
}

bool DVHttpTransport::isEnding()
{
    const DVNetworkThread *thread = DVNetworkThread::current();
    return thread && thread->isEnding();
}
