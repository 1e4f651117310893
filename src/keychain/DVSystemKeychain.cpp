#include "DVSystemKeychain.h"

#include "DVBusGuard.h"

#include <qt6keychain/keychain.h>

#include <QCoreApplication>
#include <QEvent>
#include <QThread>

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <utility>

namespace {

// QtKeychain's queue of jobs lives in the thread that used it first. So this thread is made once, and started
// again where another application object follows.
class KeychainThread : public QObject
{
public:
    KeychainThread()
    {
        m_thread.setObjectName(QStringLiteral("DVKeychain"));
        moveToThread(&m_thread);
    }

    // What `work` holds is destroyed on the keychain's thread.
    void run(std::function<void()> work)
    {
        {
            const std::lock_guard lock(m_mutex);
            m_work.push_back(std::move(work));
        }
        QCoreApplication::postEvent(this, new QEvent(QEvent::User)); // the event queue owns it
        m_thread.start();                                            // unless it runs
    }

    void changeBegins()
    {
        const std::lock_guard lock(m_mutex);
        ++m_changes;
    }
    void changeEnds()
    {
        const std::lock_guard lock(m_mutex);
        --m_changes;
        m_changed.notify_all();
    }

    void finish(int milliseconds)
    {
        constexpr int toQuitMs = 50;
        std::unique_lock lock(m_mutex);
        m_changed.wait_until(lock, std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds),
                             [this] { return m_changes == 0; });
        lock.unlock();
        m_thread.quit();
        m_thread.wait(toQuitMs);
    }

protected:
    // One event for each piece of work.
    void customEvent(QEvent *) override
    {
        std::unique_lock lock(m_mutex);
        const auto work = std::move(m_work.front());
        m_work.pop_front();
        lock.unlock();
        work();
    }

private:
    QThread m_thread;
    std::mutex m_mutex;
    std::deque<std::function<void()>> m_work;
    std::condition_variable m_changed;
    int m_changes = 0; // not yet in the keychain
};

KeychainThread &thread()
{
    static auto *instance = new KeychainThread; // never destroyed: it may wait for a dead service
    return *instance;
}

DVErrorOr errorOf(const QKeychain::Job &job)
{
    if (job.error() == QKeychain::NoError || job.error() == QKeychain::EntryNotFound)
        return {};
    const QString text = job.errorString();
    return DVError{QStringLiteral("dorvane.keychain"), int(job.error()),
                   text.isEmpty() ? QStringLiteral("the system's keychain failed") : text};
}

// On the keychain's thread. QtKeychain destroys a job that has finished.
template<typename Job>
void startJob(std::unique_ptr<Job> job, const QString &account, std::function<void(const Job &)> finished)
{
    dv_surviveEndOfBus();
    job->setInsecureFallback(false); // never in clear
    job->setKey(account);
    const Job &started = *job;
    QObject::connect(job.get(), &QKeychain::Job::finished, job.get(),
                     [&started, finished = std::move(finished)] { finished(started); });
    job.release()->start();
}

} // namespace

void DVSystemKeychain::read(const QString &service, const QString &account,
                            std::function<void(const DVErrorOr &, const QString &)> done)
{
    using Job = QKeychain::ReadPasswordJob;
    thread().run([=] {
        startJob<Job>(std::make_unique<Job>(service), account, [done](const Job &job) {
            const bool found = job.error() == QKeychain::NoError;
            done(errorOf(job), found ? job.textData() : QString());
        });
    });
}

void DVSystemKeychain::write(const QString &service, const QString &account, const QString &value,
                             std::function<void(const DVErrorOr &)> done)
{
    using Job = QKeychain::WritePasswordJob;
    thread().changeBegins();
    thread().run([=] {
        auto job = std::make_unique<Job>(service);
        job->setTextData(value);
        startJob<Job>(std::move(job), account, [done](const Job &finished) {
            done(errorOf(finished));
            thread().changeEnds();
        });
    });
}

void DVSystemKeychain::remove(const QString &service, const QString &account,
                              std::function<void(const DVErrorOr &)> done)
{
    using Job = QKeychain::DeletePasswordJob;
    thread().changeBegins();
    thread().run([=] {
        startJob<Job>(std::make_unique<Job>(service), account, [done](const Job &finished) {
            done(errorOf(finished));
            thread().changeEnds();
        });
    });
}

void DVSystemKeychain::finish(int milliseconds)
{
    thread().finish(milliseconds);
}
