#include "DVLog.h"

#include "DVMainQueue.h"
#include "DVSecrets.h"
#include "DVState.h"
#include "DVUserDefaults.h"

#include <Dorvane/DVNotificationCenter.h>

#include <QLoggingCategory>

#include <atomic>

// Distributions switch debug output of every category off, so both of our levels are written as
// info and the switches of DVState decide alone.
Q_LOGGING_CATEGORY(lcDorvane, "dorvane", QtInfoMsg)

namespace {

std::atomic<bool> hostIsAppetize = false;

// An observer of "log" that looks a text up would otherwise be called again for what that lookup logs,
// and again, until the stack ends. Qt guards message handlers in the same way.
class Writing
{
public:
    Writing()
        : m_nested(std::exchange(s_active, true))
    {}
    ~Writing() { s_active = m_nested; }
    Q_DISABLE_COPY_MOVE(Writing)

    bool isNested() const { return m_nested; }
    static bool isActive() { return s_active; }

private:
    static thread_local bool s_active;
    const bool m_nested;
};
thread_local bool Writing::s_active = false;

void write(const QString &message, const std::atomic<bool> &levelIsOn)
{
    const bool notify = hostIsAppetize.load(std::memory_order_relaxed);
    if (!notify && !levelIsOn.load(std::memory_order_relaxed))
        return;
    const Writing writing;
    if (writing.isNested())
        return;
    const QString clean = DVSecrets::cleanText(message);
    if (notify)
        DVNotificationCenter::defaultCenter().postNotification(QStringLiteral("log"), nullptr,
                                                               {{QStringLiteral("msg"), clean}});
    else
        qCInfo(lcDorvane).noquote() << QString(QLatin1StringView("[DV] ") + clean);
}

} // namespace

void dv_logInfo(const QString &message)
{
    write(message, DVState::shared().log);
}

void dv_logDebug(const QString &message)
{
    write(message, DVState::shared().debug);
}

bool dv_wantsDebugLog()
{
    return DVState::shared().debug.load(std::memory_order_relaxed) ||
           hostIsAppetize.load(std::memory_order_relaxed);
}

void dv_logDebugDeferred(const QString &message)
{
    // A handler that looks a text up would be called again for it in a later turn, and so for ever.
    if (dv_wantsDebugLog() && !Writing::isActive())
        DVMainQueue::post([message] { dv_logDebug(message); });
}

void dv_refreshLogSink()
{
    hostIsAppetize.store(dv_hostSettingsContainAppetizeHost(), std::memory_order_relaxed);
}
