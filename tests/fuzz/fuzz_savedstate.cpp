// The library's own saved files, as damage or another hand may leave them: a setting reads as what its JSON
// says or as absent, one that is set is found again and leaves the others alone, and the events of
// analytics keep their number through writing, reading and capping. Input: a byte that chooses the file,
// then its content.
#include "FuzzTarget.h"

#include <DVAnalyticsFile.h>
#include <DVFolders.h>
#include <DVUserDefaults.h>

#include <QDir>
#include <QFile>
#include <QJsonDocument>

#include <cmath>

namespace {

// ---- settings ----

void writeDefaults(const QByteArray &content)
{
    FUZZ_CHECK(DVFolders::makePrivateFolder(DVFolders::dorvaneFiles()));
    QFile file(QString(DVFolders::dorvaneFiles() + u"/defaults.json"));
    FUZZ_CHECK(file.open(QIODevice::WriteOnly) && file.write(content) == content.size());
    file.close();
    DVUserDefaults::standard().reload();
}

void checkValue(const QString &key, const QJsonValue &value)
{
    const auto &defaults = DVUserDefaults::standard();
    FUZZ_CHECK(defaults.stringForKey(key).has_value() == value.isString());
    if (value.isString())
        FUZZ_CHECK(defaults.stringForKey(key) == value.toString());
    const double number = value.toDouble(0.5);
    const bool isInteger = value.isDouble() && std::trunc(number) == number && std::abs(number) < 0x1p63;
    if (!value.isDouble() || std::abs(number) < 0x1p53)
        FUZZ_CHECK(defaults.integerForKey(key).has_value() == isInteger);
    if (const auto object = defaults.objectForKey(key))
        FUZZ_CHECK(value.toObject().value(QLatin1StringView("object")) == *object);
    if (const auto data = defaults.dataForKey(key))
        FUZZ_CHECK(value.toObject().value(QLatin1StringView("data")).isString());
}

void checkValues(const QJsonObject &values)
{
    for (auto it = values.begin(); it != values.end(); ++it)
        checkValue(it.key(), it.value());
}

void checkDefaults(const QByteArray &content)
{
    writeDefaults(content);
    const QJsonObject values = QJsonDocument::fromJson(content).object();
    checkValues(values);

    const QString text = QString::fromUtf8(content.left(200));
    const auto number = qint64(qHash(content, 0));
    auto &defaults = DVUserDefaults::standard();
    {
        const DVUserDefaults::Batch batch;
        defaults.setString(QStringLiteral("text"), text);
        defaults.setInteger(QStringLiteral("number"), number);
        defaults.setData(QStringLiteral("data"), content);
        defaults.setObject(QStringLiteral("object"), values);
        defaults.removeKey(QStringLiteral("removed"));
    }
    defaults.reload();
    FUZZ_CHECK(defaults.stringForKey(QStringLiteral("text")) == text);
    FUZZ_CHECK(defaults.integerForKey(QStringLiteral("number")) == number);
    FUZZ_CHECK(defaults.dataForKey(QStringLiteral("data")) == content);
    FUZZ_CHECK(defaults.objectForKey(QStringLiteral("object")) == values);
    FUZZ_CHECK(!defaults.stringForKey(QStringLiteral("removed")));
    QJsonObject others = values;
    for (const char *name : {"text", "number", "data", "object", "removed"})
        others.remove(QLatin1StringView(name));
    checkValues(others);
}

// ---- events ----

qint64 bytesOf(const DVAnalyticsRecord &record)
{
    qint64 bytes = 0;
    for (const QByteArray &event : record.events)
        bytes += event.size();
    return bytes;
}

void checkEvents(const QByteArray &content, int maximumEvents, qint64 maximumBytes)
{
    DVAnalyticsRecord record = DVAnalyticsRecord::fromJson(content);
    for (const QByteArray &event : std::as_const(record.events))
        FUZZ_CHECK(QJsonDocument::fromJson(event).isObject());
    const auto again = DVAnalyticsRecord::fromJson(record.toJson());
    FUZZ_CHECK(again.events == record.events && again.dropped == record.dropped);
    FUZZ_CHECK(again.lastSent.has_value() == record.lastSent.has_value());
    FUZZ_CHECK(QJsonDocument::fromJson(record.eventsJson()).isArray());

    const DVAnalyticsRecord before = record;
    record.cap(maximumEvents, maximumBytes);
    FUZZ_CHECK(record.events.size() <= maximumEvents && bytesOf(record) <= maximumBytes);
    FUZZ_CHECK(record.events == before.events.mid(before.events.size() - record.events.size()));
    const qint64 lost = before.events.size() - record.events.size();
    constexpr qint64 most = qint64(1) << 53;
    FUZZ_CHECK(record.dropped >= std::min(before.dropped + lost, most) && record.dropped <= most);
    const bool isNeeded = before.events.size() > maximumEvents || bytesOf(before) > maximumBytes;
    FUZZ_CHECK(isNeeded || lost == 0);
}

} // namespace

void fuzz_savedstate(QByteArrayView input)
{
    FuzzInput in(input);
    const quint8 choice = in.byte();
    const QByteArray content = in.rest().toByteArray();
    if (choice % 2)
        checkEvents(content, choice / 2, qint64(choice) * 16);
    else
        checkDefaults(content);
}
