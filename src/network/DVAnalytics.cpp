#include "DVAnalytics.h"

#include "DVAnalyticsFile.h"
#include "DVClock.h"
#include "DVData.h"
#include "DVDevice.h"
#include "DVFolders.h"
#include "DVLog.h"
#include "DVMainQueue.h"
#include "DVNetwork.h"
#include "DVSecrets.h"
#include "DVSerialQueue.h"
#include "DVServerUrl.h"
#include "DVState.h"
#include "DVUserDefaults.h"
#include "DVVersion.h"

#include <QHash>
#include <QJsonDocument>
#include <QMutex>
#include <QUuid>

#include <atomic>
#include <deque>
#include <new>
#include <utility>

namespace {

constexpr double secondsBetweenSends = 300;
constexpr qint64 lockPatienceMs = 1000;
constexpr qint64 lockPatienceAtTheEndMs = 20;

struct Tracked
{
    QString name;
    QVariantMap parameters;
};

int loggingLevel(const DVState &state)
{
    return state.debug ? 2 : state.log ? 1 : 0;
}

QString modeName(const DVState &state)
{
    if (state.servingMode)
        return QStringLiteral("Serving");
    if (state.editionMode)
        return QStringLiteral("Edition");
    return state.screenshotMode ? QStringLiteral("Context") : QStringLiteral("Disabled");
}

void insertIfSet(QJsonObject &object, QLatin1StringView key, const QString &value)
{
    if (!value.isNull())
        object.insert(key, value);
}

// The properties of every event but "time".
QJsonObject standardProperties(const QString &deviceId)
{
    const DVState &state = DVState::shared();
    const QString userEmail = state.userEmail();
    QJsonObject properties{
        {QStringLiteral("Platform"), QStringLiteral("iOS")},
        {QStringLiteral("OSVersion"), DVDevice::systemVersion()},
        {QStringLiteral("Device"), DVDevice::deviceName()},
        {QStringLiteral("SDKVersion"), QString(dv_sdkVersion)},
        {QStringLiteral("SystemLanguage"), DVDevice::preferredLanguages().value(0)},
        {QStringLiteral("SystemRegionFormat"), DVDevice::currentLocale().identifier()},
        {QStringLiteral("LoggingLevel"), loggingLevel(state)},
        {QStringLiteral("LoggedIn"), userEmail.isNull() ? 0 : 1},
        {QStringLiteral("Mode"), modeName(state)},
        {QStringLiteral("uuid"), deviceId},
    };
    insertIfSet(properties, QLatin1StringView("projectId"), state.appId());
    insertIfSet(properties, QLatin1StringView("dorvaneLocale"), state.currentLocaleIdentifier());
    insertIfSet(properties, QLatin1StringView("User"), userEmail);
    insertIfSet(properties, QLatin1StringView("AppVersion"), dv_applicationVersion());
    return properties;
}

QByteArray eventJson(const Tracked &tracked, QJsonObject properties)
{
    for (auto parameter = tracked.parameters.cbegin(); parameter != tracked.parameters.cend(); ++parameter)
        properties.insert(parameter.key(), QJsonValue::fromVariant(parameter.value()));
    const QJsonObject event{{QStringLiteral("event"), tracked.name},
                            {QStringLiteral("properties"), properties}};
    return QJsonDocument(DVSecrets::cleanJson(event).toObject()).toJson(QJsonDocument::Compact);
}

// A last send in the future blocks as well: the clock may have been wrong then or be wrong now.
bool isDue(const DVAnalyticsRecord &record)
{
    return !record.events.isEmpty() &&
           !(record.lastSent && *record.lastSent - DVClock::secondsSince1970() > -secondsBetweenSends);
}

} // namespace

struct DVAnalytics::Private
{
    DVSerialQueue queue{"DVAnalytics"};

    // What the queue has not taken yet: the only thing that a caller of trackEvent touches.
    QMutex listMutex;
    std::deque<Tracked> list;
    qint64 droppedFromList = 0;
    bool takeIsQueued = false;

    QMutex timersMutex;
    QHash<QString, qint64> timers; // monotonic nanoseconds

    // Used on the queue. The lock is for an operation that a stalled disk keeps beyond finish().
    QMutex fileMutex;
    DVAnalyticsFile file{maximumEvents, maximumBytes};
    QString deviceId;

    std::atomic<bool> sending = false;

    void track(const QString &name, const QVariantMap &parameters);
    std::deque<Tracked> take(qint64 *dropped);
    void saveTracked();
    QByteArray assemble(const Tracked &tracked, const QJsonObject &standard);
    void ensureDeviceId();
    bool beginFile();
    void scheduleSend();
    void sendEvents();
    QByteArrayList takeEventsToSend();
    void sendCompleted(const QByteArrayList &events, bool failed);
};

void DVAnalytics::Private::track(const QString &name, const QVariantMap &parameters)
{
    {
        const QMutexLocker lock(&listMutex);
        list.push_back({name, parameters});
        if (list.size() > size_t(maximumEvents)) {
            list.pop_front();
            ++droppedFromList;
        }
        if (std::exchange(takeIsQueued, true))
            return;
    }
    queue.addOperation([this] { saveTracked(); });
}

std::deque<Tracked> DVAnalytics::Private::take(qint64 *dropped)
{
    const QMutexLocker lock(&listMutex);
    takeIsQueued = false;
    *dropped = std::exchange(droppedFromList, 0);
    return std::exchange(list, {});
}

// One write for everything that was tracked while the write before was under way.
void DVAnalytics::Private::saveTracked()
{
    qint64 dropped = 0;
    const std::deque<Tracked> tracked = take(&dropped);
    if (!DVState::shared().analyticsEnabled)
        return;
    bool due = false;
    {
        const QMutexLocker lock(&fileMutex);
        ensureDeviceId();
        const QJsonObject standard = standardProperties(deviceId);
        const bool canSend = beginFile();
        file.addDropped(dropped);
        for (const Tracked &event : tracked)
            file.append(assemble(event, standard));
        file.end();
        due = canSend && isDue(file.record());
    }
    if (due && !sending && !queue.isFinishing())
        scheduleSend();
}

QByteArray DVAnalytics::Private::assemble(const Tracked &tracked, const QJsonObject &standard)
{
    QJsonObject properties = standard;
    properties.insert(QLatin1StringView("time"), DVClock::secondsSince1970());
    if (tracked.name == QLatin1StringView("Launch")) {
        if (const qint64 dropped = file.takeDropped(); dropped > 0)
            properties.insert(QLatin1StringView("DroppedEvents"), dropped);
    }
    return eventJson(tracked, properties);
}

void DVAnalytics::Private::ensureDeviceId()
{
    if (!deviceId.isEmpty())
        return;
    const QString key = QStringLiteral("DVDevice");
    deviceId = DVUserDefaults::standard().stringForKey(key).value_or(QString());
    if (deviceId.isEmpty()) {
        deviceId = QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper();
        DVUserDefaults::standard().setString(key, deviceId);
    }
}

bool DVAnalytics::Private::beginFile()
{
    return file.begin(sharedInstance().saveFilePath(), [this](qint64 waited) {
        return waited < (queue.isFinishing() ? lockPatienceAtTheEndMs : lockPatienceMs);
    });
}

// The first request of a process waits until the first frame had its turn. Without an application
// object nothing is posted, and so nothing is sent.
void DVAnalytics::Private::scheduleSend()
{
    DVMainQueue::postAfterFirstTurn([this] { queue.addOperation([this] { sendEvents(); }); });
}

void DVAnalytics::Private::sendEvents()
{
    if (!DVState::shared().analyticsEnabled || queue.isFinishing() || sending.exchange(true))
        return;
    const QByteArrayList events = takeEventsToSend();
    if (events.isEmpty()) {
        sending = false;
        return;
    }
    dv_logDebug(QStringLiteral("Sending analytics"));
    DVAnalyticsRecord batch;
    batch.events = events;
    const QVariantMap parameters{{QStringLiteral("data"), dv_base64EncodedString(batch.eventsJson())}};
    DVNetwork::postPath(
        QStringLiteral("/track"), true, DVServerDelivery, parameters,
        [this, events](const DVErrorOr &error, const QJsonValue &) {
            queue.addOperation([this, events, failed = error.has_value()] { sendCompleted(events, failed); });
        });
}

// What is due, with the pause already begun: a send that fails waits for its next turn too.
QByteArrayList DVAnalytics::Private::takeEventsToSend()
{
    const QMutexLocker lock(&fileMutex);
    if (!beginFile())
        return {};
    QByteArrayList events;
    if (isDue(file.record())) {
        events = file.record().events;
        file.setLastSent(DVClock::secondsSince1970());
    }
    file.end();
    return events;
}

void DVAnalytics::Private::sendCompleted(const QByteArrayList &events, bool failed)
{
    sending = false;
    if (failed)
        return;
    const QMutexLocker lock(&fileMutex);
    beginFile();
    file.remove(events);
    file.end();
}

DVAnalytics::DVAnalytics()
    : d(std::make_unique<Private>())
{}

DVAnalytics::~DVAnalytics() = default;

DVAnalytics &DVAnalytics::sharedInstance()
{
    // Never destroyed: an operation that a stalled disk holds may end after the process's statics.
    alignas(DVAnalytics) static std::byte storage[sizeof(DVAnalytics)];
    static auto *const instance = new (storage) DVAnalytics;
    return *instance;
}

void DVAnalytics::trackEvent(const QString &name, const QVariantMap &withParams)
{
    if (!DVState::shared().analyticsEnabled)
        return;
    dv_logDebugLazily([&] { return QString(u"Tracked event " + name); });
    sharedInstance().d->track(name, withParams);
}

void DVAnalytics::startEventTimer(const QString &name)
{
    Private &d = *sharedInstance().d;
    const QMutexLocker lock(&d.timersMutex);
    d.timers.insert(name, DVClock::monotonicNanoseconds());
}

void DVAnalytics::stopEventTimer(const QString &name, const QVariantMap &withParams)
{
    QVariantMap parameters = withParams;
    {
        Private &d = *sharedInstance().d;
        const QMutexLocker lock(&d.timersMutex);
        if (const auto start = d.timers.constFind(name); start != d.timers.cend())
            parameters.insert(QStringLiteral("duration"),
                              double(DVClock::monotonicNanoseconds() - *start) / 1e9);
    }
    trackEvent(name, parameters);
}

QString DVAnalytics::saveFilePath() const
{
    const QString folder = DVFolders::dorvaneFiles();
    return folder.isEmpty() ? QString() : QString(folder + u"/analytics");
}

std::optional<DVAnalytics::Status> DVAnalytics::status() const
{
    if (!d->fileMutex.tryLock())
        return std::nullopt;
    const Status status{d->file.record().events.size(), d->file.record().lastSent};
    d->fileMutex.unlock();
    return status;
}

void DVAnalytics::forgetLoaded()
{
    {
        const QMutexLocker lock(&d->listMutex);
        d->list.clear();
        d->droppedFromList = 0;
    }
    {
        const QMutexLocker lock(&d->timersMutex);
        d->timers.clear();
    }
    const QMutexLocker lock(&d->fileMutex);
    d->file.forget();
    d->deviceId.clear();
    d->sending = false;
}

void DVAnalytics::drain()
{
    d->queue.drain();
}

void DVAnalytics::finish(int milliseconds)
{
    if (d->fileMutex.tryLock()) {
        const bool unsaved = d->file.hasUnsavedChanges();
        d->fileMutex.unlock();
        if (unsaved)
            d->queue.addOperation([this] { d->saveTracked(); });
    }
    d->queue.finish(milliseconds);
    d->sending = false;
    const QMutexLocker lock(&d->listMutex);
    d->takeIsQueued = false;
}
