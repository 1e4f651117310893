#include "DVReplacedFile.h"

#include "DVFolders.h"
#include "DVLocaleIdentifiers.h"
#include "DVLog.h"
#include "DVNetwork.h"
#include "DVUserDefaults.h"
#include "DVVersion.h"

#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QJsonObject>
#include <QMutex>

#include <filesystem>

namespace {

// One record per file: {date key: seconds}.
QString keyForPath(const QString &path)
{
    return DVReplacedFile::datesKey(QFileInfo(path).fileName());
}

bool isOurs(const QString &path)
{
    return QFileInfo(path).absolutePath() == QFileInfo(DVFolders::dorvaneFiles()).absoluteFilePath();
}

void restoreDates(const QString &path)
{
    auto &defaults = DVUserDefaults::standard();
    const auto kept = defaults.objectForKey(keyForPath(path));
    if (!kept)
        return; // killed between the file and its dates: the dates in use are still the old file's
    const DVUserDefaults::Batch batch;
    for (auto date = kept->constBegin(); date != kept->constEnd(); ++date) {
        if (date->isDouble())
            defaults.setInteger(date.key(), date->toInteger());
        else
            defaults.removeKey(date.key());
    }
    defaults.removeKey(keyForPath(path));
}

// Under the mutex of the strings files. Never destroyed.
QHash<QString, int> &restores()
{
    static auto *counts = new QHash<QString, int>;
    return *counts;
}

// Both return why they failed, or nothing.
QString remove(const QString &path)
{
    QFile file(path);
    return file.remove() ? QString() : file.errorString();
}

// The dates first: killed in between, the next start finds the bad file again and comes back here.
// The rename takes the place of the bad file in one step.
QString putBack(const QString &path)
{
    restoreDates(path);
    std::error_code failure;
    std::filesystem::rename(dv_previousFilePath(path).toStdU16String(), path.toStdU16String(), failure);
    return failure ? QString::fromStdString(failure.message()) : QString();
}

} // namespace

QString DVReplacedFile::datesKey(const QString &fileName)
{
    return QString(u"DVReplaced-" + fileName);
}

void DVReplacedFile::forget(const QString &path, const DVFileIdentity &parsed)
{
    if (!isOurs(path))
        return;
    const QMutexLocker lock(&dv_stringsFilesMutex());
    const QString previous = dv_previousFilePath(path);
    if (QFile::exists(previous)) {
        if (DVFileIdentity::ofPath(path) != parsed)
            return;
        QFile::remove(previous);
    }
    if (DVUserDefaults::standard().objectForKey(keyForPath(path)))
        DVUserDefaults::standard().removeKey(keyForPath(path));
}

void DVReplacedFile::keepDates(const QString &path, const DVLocale &locale)
{
    auto &defaults = DVUserDefaults::standard();
    if (!QFile::exists(dv_previousFilePath(path)) || defaults.objectForKey(keyForPath(path)))
        return;
    QJsonObject dates;
    for (const auto property : DVStoredDates::properties) {
        const QString key = DVStoredDates::key(property, locale);
        const auto seconds = defaults.integerForKey(key);
        dates.insert(key, seconds ? QJsonValue(*seconds) : QJsonValue(QJsonValue::Null));
    }
    defaults.setObject(keyForPath(path), dates);
}

int DVReplacedFile::restoreCount(const QString &path)
{
    const QMutexLocker lock(&dv_stringsFilesMutex());
    return restores().value(path);
}

bool DVReplacedFile::deleteAndRestore(const QString &path, const DVFileIdentity &unparsable)
{
    if (!isOurs(path))
        return false;
    dv_logDebug(QStringLiteral("Deleting file"));
    QString failure;
    bool another = true;
    {
        const QMutexLocker lock(&dv_stringsFilesMutex());
        if (DVFileIdentity::ofPath(path) == unparsable) {
            ++restores()[path];
            another = QFile::exists(dv_previousFilePath(path));
            failure = another ? putBack(path) : remove(path);
            another = another && failure.isEmpty();
        }
    }
    if (!failure.isEmpty())
        dv_logDebug(QStringLiteral("Can't delete file: %1").arg(failure));
    return another;
}
