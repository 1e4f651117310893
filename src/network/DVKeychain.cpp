#include "DVKeychain.h"

#include "DVLog.h"
#include "DVMainQueue.h"

#include <QCoreApplication>
#include <QHash>
#include <QJsonDocument>
#include <QJsonObject>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <utility>

namespace {

struct Item
{
    quint64 stamp = 0; // changes when the item is saved or deleted: what was read before is then old
    bool known = false;
    bool reading = false;
    std::optional<QString> value; // none before it is known
    std::function<void(const QString &)> later;
};

struct Store
{
    std::unique_ptr<DVKeychainService> service;
    QHash<QString, Item> items; // by name in the service
    quint64 lastStamp = 0;
    bool said = false;

    Item &item(const DVKeychain::Query &query)
    {
        Item &found = items[query.service];
        if (found.stamp == 0)
            found.stamp = ++lastStamp;
        return found;
    }
};

Store &store()
{
    static auto *instance = new Store; // never destroyed, as all that is shared
    return *instance;
}

void sayMemoryOnly(const QString &why)
{
    if (!std::exchange(store().said, true))
        dv_logInfo(u"No use of the keychain, a sign-in is kept in memory only: " % why);
}

QString noAnswer()
{
    return QStringLiteral("it does not answer");
}

void sayNotDeleted(const QString &why)
{
    dv_logInfo(u"Could not delete from the keychain: " % why);
}

// Says on the main thread how a change ended, also when the service never says anything.
std::function<void(const DVErrorOr &)> watched(void (*sayFailure)(const QString &), DVKeychain::Done done)
{
    constexpr int patienceMs = 3000;
    const auto answered = std::make_shared<std::atomic<bool>>(false);
    DVMainQueue::postDelayed(patienceMs, [answered, sayFailure] {
        if (!*answered)
            sayFailure(noAnswer());
    });
    return [answered, sayFailure, done = std::move(done)](const DVErrorOr &error) {
        if (answered->exchange(true))
            return;
        if (error)
            DVMainQueue::post([sayFailure, why = error->description] { sayFailure(why); });
        else
            DVMainQueue::post(done);
    };
}

// For the item's change of just now.
DVKeychain::Done unlessChanged(const DVKeychain::Query &query, DVKeychain::Done done)
{
    return [name = query.service, stamp = store().item(query).stamp, done = std::move(done)] {
        if (done && store().items.value(name).stamp == stamp)
            done();
    };
}

// What stands in the service, so that a foreign or damaged value is told from ours.
QString archived(const QString &value)
{
    const QJsonObject archive{{QStringLiteral("version"), 1}, {QStringLiteral("text"), value}};
    return QString::fromUtf8(QJsonDocument(archive).toJson(QJsonDocument::Compact));
}

std::optional<QString> unarchived(const QString &key, const QString &archive)
{
    QJsonParseError failure;
    const QJsonObject object = QJsonDocument::fromJson(archive.toUtf8(), &failure).object();
    if (object.value(u"version") == 1 && object.value(u"text").isString())
        return object.value(u"text").toString();
    const QString fault = failure.error != QJsonParseError::NoError
                              ? failure.errorString()
                              : QStringLiteral("not an archive of ours");
    dv_logInfo(u"Unarchive of " % key % u" failed: " % fault);
    return {};
}

// One answer of the service, which comes on any thread.
struct Reading
{
    std::mutex mutex;
    std::condition_variable changed;
    bool answered = false;
    bool awaited = true; // false: the main thread has gone on
    DVErrorOr error;
    QString archive;
};

void finishReading(const QString &key, const DVKeychain::Query &query, quint64 stamp, const Reading &reading)
{
    Item &item = store().item(query);
    if (item.stamp != stamp)
        return;
    item.reading = false;
    if (reading.error)
        return sayMemoryOnly(reading.error->description);
    item.known = true;
    if (!reading.archive.isNull())
        item.value = unarchived(key, reading.archive);
}

void arriveLate(const QString &key, const DVKeychain::Query &query, quint64 stamp, const Reading &reading)
{
    finishReading(key, query, stamp, reading);
    Item &item = store().item(query);
    const auto later = item.stamp == stamp ? std::exchange(item.later, {}) : nullptr;
    if (const auto value = item.value; later && value)
        later(*value);
}

// Waits for the service, but not long.
void read(const QString &key, const DVKeychain::Query &query)
{
    Item &item = store().item(query);
    item.reading = true;
    const quint64 stamp = item.stamp;
    const auto reading = std::make_shared<Reading>();
    const auto done = [=](const DVErrorOr &error, const QString &archive) {
        const std::lock_guard lock(reading->mutex);
        if (std::exchange(reading->answered, true))
            return;
        reading->error = error;
        reading->archive = archive;
        if (reading->awaited)
            reading->changed.notify_one();
        else
            DVMainQueue::post([=] { arriveLate(key, query, stamp, *reading); });
    };
    store().service->read(query.service, query.account, done);
    std::unique_lock lock(reading->mutex);
    reading->changed.wait_until(
        lock, std::chrono::steady_clock::now() + std::chrono::milliseconds(DVKeychain::loadTimeoutMs),
        [&reading] { return reading->answered; });
    reading->awaited = false;
    const bool answered = reading->answered;
    lock.unlock(); // what follows writes to the log
    if (answered)
        finishReading(key, query, stamp, *reading);
    else
        sayMemoryOnly(noAnswer());
}

// A keychain serves all applications of a user.
QString application()
{
    const QString organization = QCoreApplication::organizationName();
    const QString name = QCoreApplication::applicationName();
    return organization.isEmpty() ? name : QString(organization % u'/' % name);
}

} // namespace

DVKeychainService::~DVKeychainService() = default;

void dv_setKeychainService(std::unique_ptr<DVKeychainService> service)
{
    store().service = std::move(service);
}

bool DVKeychain::saveValue(const QString &value, const QString &forKey, const QString &forAccessGroup,
                           Done done)
{
    const Query query = getKeychainQuery(forKey, forAccessGroup);
    store().items[query.service] = {++store().lastStamp, true, false, value, {}};
    if (const auto &service = store().service)
        service->write(query.service, query.account, archived(value),
                       watched(&sayMemoryOnly, unlessChanged(query, std::move(done))));
    else
        sayMemoryOnly(QStringLiteral("the application has none"));
    return true;
}

std::optional<QString> DVKeychain::loadValueForKey(const QString &key, const QString &forAccessGroup,
                                                   std::function<void(const QString &)> later)
{
    const Query query = getKeychainQuery(key, forAccessGroup);
    if (!store().service && !store().item(query).known) {
        sayMemoryOnly(QStringLiteral("the application has none"));
        return {};
    }
    if (!store().item(query).known && !store().item(query).reading)
        read(key, query);
    Item &item = store().item(query);
    if (item.reading)
        item.later = std::move(later);
    return item.value;
}

bool DVKeychain::deleteValueForKey(const QString &key, const QString &forAccessGroup, Done done)
{
    const Query query = getKeychainQuery(key, forAccessGroup);
    const bool had = store().item(query).value.has_value();
    store().items[query.service] = {++store().lastStamp, true, false, {}, {}};
    if (const auto &service = store().service)
        service->remove(query.service, query.account,
                        watched(&sayNotDeleted, unlessChanged(query, std::move(done))));
    return had;
}

DVKeychain::Query DVKeychain::getKeychainQuery(const QString &key, const QString &forAccessGroup)
{
    const QString group = forAccessGroup.isEmpty() ? QString() : getFullAppleIdentifier(forAccessGroup);
    const QString service = application() % u"/Dorvane/" % key % (group.isEmpty() ? u""_qs : u'@' % group);
    return {service, key, group};
}

QString DVKeychain::getFullAppleIdentifier(const QString &group)
{
    const QString seed = getBundleSeedIdentifier();
    return seed.isNull() || group.contains(seed) ? group : QString(seed % u'.' % group);
}

QString DVKeychain::getBundleSeedIdentifier()
{
    return {}; // the service's interface does not tell an item's attributes
}

void DVKeychain::forget()
{
    store().items.clear();
    store().said = false;
}
