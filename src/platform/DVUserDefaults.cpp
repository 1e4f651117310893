#include "DVUserDefaults.h"

#include "DVFolders.h"
#include "DVPrivateFile.h"

#include <QCoreApplication>
#include <QJsonDocument>
#include <QSettings>

#include <mutex>

namespace {

constexpr qint64 fileLimit = qint64(16) << 20;

// Integers and texts stand in the file as they are. JSON has no type for data, and an object must
// not be taken for one, so both are wrapped.
constexpr QLatin1StringView dataMember{"data"};
constexpr QLatin1StringView objectMember{"object"};

QString defaultsPath()
{
    const QString folder = DVFolders::dorvaneFiles();
    return folder.isEmpty() ? folder : QString(folder % u"/defaults.json");
}

QJsonObject readValues(const QString &path)
{
    QByteArray content;
    if (path.isEmpty() || DVPrivateFile::read(path, &content, fileLimit))
        return {};
    return QJsonDocument::fromJson(content).object();
}

} // namespace

// Two locks, so that a reader never waits for the disk: `writing` is held for a whole write,
// `mutex` only while the values are looked at. Taken in this order.
struct DVUserDefaults::Private
{
    std::mutex writing;
    std::mutex mutex;
    QString path;
    QJsonObject values;
    bool loaded = false;
    quint64 generation = 0; // of `values`
    quint64 written = 0;    // the generation that is in the file
    int batches = 0;

    QJsonValue value(const QString &key);
    void change(const QString &key, const QJsonValue &value);
    void write();

private:
    void load(); // with `mutex` held
};

void DVUserDefaults::Private::load()
{
    const QString current = defaultsPath();
    if (loaded && current == path)
        return;
    loaded = true;
    path = current;
    values = readValues(path);
    written = ++generation;
}

QJsonValue DVUserDefaults::Private::value(const QString &key)
{
    const std::lock_guard lock(mutex);
    load();
    return values.value(key);
}

// An undefined value removes the key.
void DVUserDefaults::Private::change(const QString &key, const QJsonValue &value)
{
    {
        const std::lock_guard lock(mutex);
        load();
        if (values.value(key) != value) {
            if (value.isUndefined())
                values.remove(key);
            else
                values.insert(key, value);
            ++generation;
        }
        if (batches > 0)
            return;
    }
    write();
}

// Does nothing when the file already holds the values; a write that failed is tried again by the next change.
// What would read as empty is not written: the file keeps what stands there.
void DVUserDefaults::Private::write()
{
    const std::lock_guard writer(writing);
    std::unique_lock lock(mutex);
    if (written == generation || path.isEmpty())
        return;
    const QJsonObject snapshot = values;
    const QString target = path;
    const quint64 snapshotGeneration = generation;
    lock.unlock();
    const QByteArray content = QJsonDocument(snapshot).toJson();
    if (content.size() > fileLimit || DVPrivateFile::write(target, content))
        return;
    lock.lock();
    if (target == path && written < snapshotGeneration)
        written = snapshotGeneration;
}

DVUserDefaults::DVUserDefaults()
    : d(new Private)
{}

DVUserDefaults::~DVUserDefaults()
{
    delete d;
}

DVUserDefaults &DVUserDefaults::standard()
{
    static auto *instance = new DVUserDefaults; // never destroyed: threads may outlive static objects
    return *instance;
}

std::optional<qint64> DVUserDefaults::integerForKey(const QString &key) const
{
    const QJsonValue value = d->value(key);
    // Both calls give their default for a number that is no 64-bit integer.
    if (!value.isDouble() || value.toInteger(0) != value.toInteger(1))
        return {};
    return value.toInteger();
}

std::optional<QString> DVUserDefaults::stringForKey(const QString &key) const
{
    const QJsonValue value = d->value(key);
    return value.isString() ? std::optional(value.toString()) : std::nullopt;
}

std::optional<QByteArray> DVUserDefaults::dataForKey(const QString &key) const
{
    const QJsonValue value = d->value(key)[dataMember];
    if (!value.isString())
        return {};
    auto decoded =
        QByteArray::fromBase64Encoding(value.toString().toLatin1(), QByteArray::AbortOnBase64DecodingErrors);
    return decoded ? std::optional(*decoded) : std::nullopt;
}

std::optional<QJsonObject> DVUserDefaults::objectForKey(const QString &key) const
{
    const QJsonValue value = d->value(key)[objectMember];
    return value.isObject() ? std::optional(value.toObject()) : std::nullopt;
}

void DVUserDefaults::setInteger(const QString &key, qint64 value)
{
    d->change(key, value);
}

void DVUserDefaults::setString(const QString &key, const QString &value)
{
    d->change(key, value);
}

void DVUserDefaults::setData(const QString &key, const QByteArray &value)
{
    d->change(key, QJsonObject{{dataMember, QString::fromLatin1(value.toBase64())}});
}

void DVUserDefaults::setObject(const QString &key, const QJsonObject &value)
{
    d->change(key, QJsonObject{{objectMember, value}});
}

void DVUserDefaults::removeKey(const QString &key)
{
    d->change(key, QJsonValue(QJsonValue::Undefined));
}

void DVUserDefaults::reload()
{
    const std::lock_guard writer(d->writing);
    const std::lock_guard lock(d->mutex);
    d->loaded = false;
}

DVUserDefaults::Batch::Batch()
{
    auto &values = *standard().d;
    const std::lock_guard lock(values.mutex);
    ++values.batches;
}

DVUserDefaults::Batch::~Batch()
{
    auto &values = *standard().d;
    {
        const std::lock_guard lock(values.mutex);
        if (--values.batches > 0)
            return;
    }
    values.write();
}

bool dv_hostSettingsContainAppetizeHost()
{
    return QCoreApplication::instance() && QSettings().contains(u"appetize-host"_qs);
}
