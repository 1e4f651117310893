#include "DVForegroundWatch.h"

#include "DVClock.h"
#include "DVDevice.h"

#include <Dorvane/DVNotificationCenter.h>

#include <QCoreApplication>
#include <QMetaObject>

#include <utility>

namespace {

constexpr qint64 minimumDistance = 60'000'000'000; // between two returns on a desktop

constexpr bool isDesktop =
#if defined(Q_OS_ANDROID) || defined(Q_OS_IOS)
    false;
#else
    true;
#endif

} // namespace

DVForegroundWatch::DVForegroundWatch()
{
    auto *application = QCoreApplication::instance();
    if (application->metaObject()->indexOfSignal("applicationStateChanged(Qt::ApplicationState)") < 0)
        return;
    connect(application, SIGNAL(applicationStateChanged(Qt::ApplicationState)), this,
            SLOT(applicationStateChanged(Qt::ApplicationState)));
}

void DVForegroundWatch::applicationStateChanged(Qt::ApplicationState state)
{
    if (state == Qt::ApplicationSuspended || state == Qt::ApplicationHidden)
        m_away = true;
    if (state != Qt::ApplicationActive)
        return;
    const bool wasAway = std::exchange(m_away, false);
    if (!std::exchange(m_launched, true) || !isReturn(wasAway))
        return;
    m_lastReturn = DVClock::monotonicNanoseconds();
    DVNotificationCenter::defaultCenter().postNotification(DVApplicationWillEnterForegroundNotification,
                                                           QCoreApplication::instance());
}

bool DVForegroundWatch::isReturn(bool wasAway)
{
    if (wasAway)
        return true;
    if (!isDesktop)
        return false;
    return m_lastReturn == 0 || DVClock::monotonicNanoseconds() - m_lastReturn >= minimumDistance;
}
