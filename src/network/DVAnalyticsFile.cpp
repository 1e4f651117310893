#include "DVAnalyticsFile.h"

#include "DVFolders.h"
#include "DVPrivateFile.h"

#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLockFile>
#include <QThread>

#include <algorithm>
#include <utility>

namespace {

constexpr int emptyLockFileAgeMs = 500;

// Beyond this a double no longer counts one by one.
constexpr qint64 maximumCount = qint64(1) << 53;

qint64 countFromJson(const QJsonValue &value)
{
    const double count = value.toDouble();
    return count > 0 ? qint64(std::min(count, double(maximumCount))) : 0;
}

QByteArray compact(const QJsonObject &object)
{
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

// How many lost events the given one stands for: itself, and those that it was to report.
qint64 lossOf(const QByteArray &event)
{
    if (!event.contains("\"DroppedEvents\":"))
        return 1;
    const QJsonObject properties =
        QJsonDocument::fromJson(event).object()[QLatin1StringView("properties")].toObject();
    return 1 + countFromJson(properties[QLatin1StringView("DroppedEvents")]);
}

// Takes out of `events` and of `wanted` what both hold, one for one.
void cancelOut(QByteArrayList &events, QByteArrayList &wanted)
{
    if (events.isEmpty() || wanted.isEmpty())
        return;
    QHash<QByteArray, int> counts;
    for (const QByteArray &event : std::as_const(wanted))
        ++counts[event];
    QByteArrayList found;
    const auto isWanted = [&](const QByteArray &event) {
        const auto count = counts.find(event);
        if (count == counts.end() || *count == 0)
            return false;
        --*count;
        found.append(event);
        return true;
    };
    events.removeIf(isWanted);
    if (found.isEmpty())
        return;
    counts.clear();
    for (const QByteArray &event : std::as_const(found))
        ++counts[event];
    wanted.removeIf(isWanted);
}

} // namespace

DVAnalyticsRecord DVAnalyticsRecord::fromJson(const QByteArray &json)
{
    const QJsonObject object = QJsonDocument::fromJson(json).object();
    DVAnalyticsRecord record;
    const QJsonArray events = object[QLatin1StringView("events")].toArray();
    for (const QJsonValue event : events) {
        if (event.isObject())
            record.events.append(compact(event.toObject()));
    }
    record.dropped = countFromJson(object[QLatin1StringView("dropped")]);
    if (const QJsonValue lastSent = object[QLatin1StringView("lastSent")]; lastSent.isDouble())
        record.lastSent = lastSent.toDouble();
    return record;
}

QByteArray DVAnalyticsRecord::eventsJson() const
{
    return '[' + events.join(',') + ']';
}

QByteArray DVAnalyticsRecord::toJson() const
{
    QByteArray json = "{";
    if (dropped > 0)
        json += "\"dropped\":" + QByteArray::number(dropped) + ',';
    json += "\"events\":" + eventsJson();
    if (lastSent)
        json += ",\"lastSent\":" + QByteArray::number(*lastSent, 'f', 3);
    return json + '}';
}

void DVAnalyticsRecord::cap(int maximumEvents, qint64 maximumBytes)
{
    qint64 bytes = 0;
    for (const QByteArray &event : std::as_const(events))
        bytes += event.size();
    qsizetype excess = 0;
    while (events.size() - excess > maximumEvents || bytes > maximumBytes) {
        const QByteArray &oldest = events.at(excess++);
        bytes -= oldest.size();
        dropped = std::min(dropped + lossOf(oldest), maximumCount);
    }
    events.remove(0, excess);
}

DVAnalyticsFile::DVAnalyticsFile(int maximumEvents, qint64 maximumBytes)
    : m_maximumEvents(maximumEvents)
    , m_maximumBytes(maximumBytes)
{}

DVAnalyticsFile::~DVAnalyticsFile() = default;

bool DVAnalyticsFile::begin(const QString &path, const std::function<bool(qint64)> &mayWait)
{
    m_path = path;
    if (!takeLock(mayWait))
        return false;
    if (m_lock)
        read();
    apply();
    return true;
}

bool DVAnalyticsFile::takeLock(const std::function<bool(qint64)> &mayWait)
{
    m_lock.reset();
    if (m_path.isEmpty() || !DVFolders::makePrivateFolder(QFileInfo(m_path).path()))
        return true;
    auto lock = std::make_unique<QLockFile>(m_path + QStringLiteral(".lock"));
    // A kill between the making of a lock file and the writing into it leaves one that names nobody;
    // only its age tells then. A process that lives keeps its lock: the system's own lock guards it.
    lock->setStaleLockTime(emptyLockFileAgeMs);
    QElapsedTimer waiting;
    waiting.start();
    while (!lock->tryLock(0)) {
        if (lock->error() != QLockFile::LockFailedError)
            return true;
        if (!mayWait(waiting.elapsed()))
            return false;
        QThread::msleep(2);
    }
    QFile::setPermissions(lock->fileName(), QFile::ReadOwner | QFile::WriteOwner);
    m_lock = std::move(lock);
    return true;
}

void DVAnalyticsFile::read()
{
    QByteArray bytes;
    if (DVPrivateFile::read(m_path, &bytes, maximumFileSize))
        bytes.clear();
    if (bytes == m_fileBytes)
        return;
    m_file = DVAnalyticsRecord::fromJson(bytes);
    m_fileBytes = bytes;
}

bool DVAnalyticsFile::end()
{
    const bool saved = m_changes == Changes() || write();
    if (m_lock)
        m_lock->unlock();
    m_lock.reset();
    return saved;
}

bool DVAnalyticsFile::write()
{
    apply();
    const QByteArray bytes = m_record.toJson();
    if (!m_lock || DVPrivateFile::write(m_path, bytes)) {
        // What waits for a better disk is bounded too.
        DVAnalyticsRecord waiting{m_changes.added, 0, std::nullopt};
        waiting.cap(m_maximumEvents, m_maximumBytes);
        m_changes.added = waiting.events;
        m_changes.dropped += waiting.dropped;
        return false;
    }
    m_file = m_record;
    m_fileBytes = bytes;
    m_changes = {};
    return true;
}

void DVAnalyticsFile::apply()
{
    m_record = m_file;
    m_record.events += m_changes.added;
    QByteArrayList removed = m_changes.removed;
    cancelOut(m_record.events, removed);
    // Those not found were dropped while they were under way, and then arrived after all.
    m_record.dropped = std::max<qint64>(0, m_record.dropped + m_changes.dropped - removed.size());
    if (m_changes.lastSent)
        m_record.lastSent = std::max(m_record.lastSent.value_or(*m_changes.lastSent), *m_changes.lastSent);
    m_record.cap(m_maximumEvents, m_maximumBytes);
}

bool DVAnalyticsFile::hasUnsavedChanges() const
{
    return !(m_changes == Changes());
}

void DVAnalyticsFile::forget()
{
    m_fileBytes.clear();
    m_file = {};
    m_changes = {};
    m_record = {};
}

void DVAnalyticsFile::append(const QByteArray &event)
{
    m_changes.added.append(event);
}

void DVAnalyticsFile::addDropped(qint64 count)
{
    m_changes.dropped += count;
}

qint64 DVAnalyticsFile::takeDropped()
{
    const qint64 count = m_file.dropped + m_changes.dropped;
    m_changes.dropped -= count;
    return std::max<qint64>(0, count);
}

void DVAnalyticsFile::setLastSent(double secondsSince1970)
{
    m_changes.lastSent = secondsSince1970;
}

void DVAnalyticsFile::remove(const QByteArrayList &events)
{
    QByteArrayList sent = events;
    cancelOut(m_changes.added, sent);
    m_changes.removed += sent;
}
