#include "DVNetworkThread.h"

#include "DVNameLookup.h"

#include <QCoreApplication>
#include <QHostAddress>
#include <QNetworkAccessManager>
#include <QNetworkProxyFactory>
#include <QSslConfiguration>

#include <chrono>
#include <utility>

namespace {

thread_local DVNetworkThread *threadOfOurs = nullptr;

// Servers on this device are reached directly; a proxy that the host set would not find them.
class ProxiesBeyondLoopback : public QNetworkProxyFactory
{
public:
    QList<QNetworkProxy> queryProxy(const QNetworkProxyQuery &query) override
    {
        const QString host = query.peerHostName();
        if (host == u"localhost" || QHostAddress(host).isLoopback())
            return {QNetworkProxy(QNetworkProxy::NoProxy)};
        return QNetworkProxyFactory::proxyForQuery(query);
    }
};

} // namespace

std::unique_ptr<QNetworkAccessManager> dv_makeNetworkManager()
{
    auto manager = std::make_unique<QNetworkAccessManager>();
    manager->setProxyFactory(new ProxiesBeyondLoopback); // the manager owns it
    return manager;
}

// Carries "there is work" into the thread's event loop; the work itself goes under our own lock.
class DVNetworkThread::Wakeup : public QObject
{
public:
    explicit Wakeup(DVNetworkThread &thread)
        : m_thread(thread)
    {}

    void customEvent(QEvent *) override { m_thread.runPosted(); }

private:
    DVNetworkThread &m_thread;
};

DVNetworkThread::DVNetworkThread()
    : m_wakeup(std::make_unique<Wakeup>(*this))
{
    setObjectName(QStringLiteral("dorvane-net"));
    m_wakeup->moveToThread(this);
}

DVNetworkThread::~DVNetworkThread() = default;

DVNetworkThread *DVNetworkThread::current()
{
    return threadOfOurs;
}

void DVNetworkThread::post(Work work)
{
    {
        const std::lock_guard lock(m_mutex);
        if (m_ending)
            return;
        m_work.push_back(std::move(work));
    }
    QCoreApplication::postEvent(m_wakeup.get(), new QEvent(QEvent::User)); // the event queue owns it
}

bool DVNetworkThread::end(int milliseconds)
{
    std::deque<Work> dropped;
    {
        const std::lock_guard lock(m_mutex);
        m_ending = true;
        dropped.swap(m_work);
    }
    dropped.clear(); // outside the lock: it destroys what callers captured
    quit();
    if (current() == this)
        return false;
    constexpr std::chrono::seconds forTls(5);
    std::unique_lock lock(m_mutex);
    m_changed.wait_for(lock, forTls, [this] { return m_hasTls; });
    if (m_changed.wait_for(lock, std::chrono::milliseconds(qMax(0, milliseconds)),
                           [this] { return m_ended; })) {
        lock.unlock();
        return wait();
    }
    m_leftBehind = true;
    return false;
}

// Its plugin, the TLS library and the certificates of the system, which the first request would load anyway.
void DVNetworkThread::loadTls()
{
    if (!isEnding())
        static_cast<void>(QSslConfiguration::defaultConfiguration());
    const std::lock_guard lock(m_mutex);
    m_hasTls = true;
    m_changed.notify_all();
}

void DVNetworkThread::run()
{
    threadOfOurs = this;
    loadTls();
    auto manager = dv_makeNetworkManager();
    auto names = std::make_unique<DVNameLookup>(*this);
    auto exchanges = std::make_unique<QObject>();
    DVNetworkContext context{*manager, *names, *exchanges};
    m_context = &context;
    if (!isEnding())
        exec();
    m_context = nullptr;
    stayIfLeftBehind();
    // One by one, because each may take its time.
    while (!exchanges->children().isEmpty()) {
        std::unique_ptr<QObject>(exchanges->children().constFirst()).reset();
        stayIfLeftBehind();
    }
    names.reset();
    manager.reset();
    const std::lock_guard lock(m_mutex);
    m_ended = true;
    m_changed.notify_all();
}

void DVNetworkThread::stayIfLeftBehind()
{
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [this] { return !m_leftBehind; });
}

void DVNetworkThread::runPosted()
{
    while (true) {
        Work work;
        {
            const std::lock_guard lock(m_mutex);
            if (m_work.empty() || !m_context)
                return;
            work = std::move(m_work.front());
            m_work.pop_front();
        }
        work(*m_context);
    }
}
