#include "DVRecentEvents.h"

#include "DVClock.h"
#include "DVSecrets.h"

namespace {

// Diagnostics are shown and passed on as logs are.
DVError clean(const DVError &error)
{
    return {error.domain, error.code, DVSecrets::cleanText(error.description)};
}

} // namespace

DVRecentEvents &DVRecentEvents::shared()
{
    static auto *events = new DVRecentEvents;
    return *events;
}

void DVRecentEvents::noteError(const DVError &error)
{
    const QDateTime now = DVClock::now();
    const DVDiagnostics::Failure failure{clean(error), now};
    const QMutexLocker lock(&m_mutex);
    m_lastError = failure;
}

void DVRecentEvents::noteDelivery(const QString &path, DVDiagnostics::Delivery delivery)
{
    if (delivery.error) {
        delivery.error = clean(*delivery.error);
        noteError(*delivery.error);
    }
    delivery.when = DVClock::now();
    const QMutexLocker lock(&m_mutex);
    m_deliveries.insert(path, delivery);
}

std::optional<DVDiagnostics::Failure> DVRecentEvents::lastError() const
{
    const QMutexLocker lock(&m_mutex);
    return m_lastError;
}

QMap<QString, DVDiagnostics::Delivery> DVRecentEvents::deliveries() const
{
    const QMutexLocker lock(&m_mutex);
    return m_deliveries;
}

void DVRecentEvents::clear()
{
    const QMutexLocker lock(&m_mutex);
    m_lastError.reset();
    m_deliveries.clear();
}
