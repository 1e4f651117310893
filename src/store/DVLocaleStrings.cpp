#include "DVLocaleStrings.h"

#include "DVBaseLocaleStrings.h"
#include "DVClock.h"
#include "DVFolders.h"
#include "DVLocaleIdentifiers.h"
#include "DVLog.h"
#include "DVMainQueue.h"
#include "DVNetwork.h"
#include "DVOtherVersions.h"
#include "DVRecentEvents.h"
#include "DVReplacedFile.h"
#include "DVServerUrl.h"
#include "DVState.h"
#include "DVTableFiles.h"
#include "DVUserDefaults.h"
#include "DVVersion.h"

#include <Dorvane/DVBundle.h>
#include <Dorvane/DVNotificationCenter.h>

#include <QDir>
#include <QFileInfo>
#include <QUrl>

namespace {

constexpr QLatin1StringView publishedSuffix("_published.xlf");
constexpr qsizetype longestLanguageCode = 3; // ISO 639-2

std::function<void()> &stringsObserver()
{
    static auto *observer = new std::function<void()>; // never destroyed: loads may come after main()
    return *observer;
}

// Files of a folder called PREFIX locale SUFFIX.
QList<DVLocale> localesOfFiles(const QString &folder, const QString &prefix, const QString &suffix)
{
    QList<DVLocale> locales;
    if (folder.isEmpty()) // would be the current one
        return locales;
    const QStringList names = QDir(folder).entryList({u'*' + suffix}, QDir::Files, QDir::Name);
    for (const QString &name : names) {
        if (!name.startsWith(prefix))
            continue;
        const DVLocale locale(name.mid(prefix.size(), name.size() - prefix.size() - suffix.size()));
        // A folder of the host may hold other files of the same kind: "notes.xlf" names no language.
        if (dv_isSafeLocaleIdentifier(locale.identifier()) &&
            locale.languageCode().size() <= longestLanguageCode)
            locales.append(locale);
    }
    return locales;
}

void logLoaded(const char *what, const DVLocaleStrings &strings)
{
    dv_logDebugLazily([&] {
        return QStringLiteral("%1 %2: %3 keys")
            .arg(QLatin1StringView(what), strings.locale().identifier())
            .arg(strings.loadedStrings().keyCount());
    });
}

} // namespace

std::shared_ptr<DVLocaleStrings> DVLocaleStrings::localeStringsForLocale(const DVLocale &locale)
{
    return std::shared_ptr<DVLocaleStrings>(new DVLocaleStrings(locale));
}

DVLocaleStrings::DVLocaleStrings(const DVLocale &locale)
    : m_locale(locale)
{}

DVLocaleStrings::~DVLocaleStrings() = default;

void DVLocaleStrings::setStringsObserver(std::function<void()> observer)
{
    stringsObserver() = std::move(observer);
}

void DVLocaleStrings::notifyStringsObserver()
{
    if (stringsObserver())
        stringsObserver()();
}

void DVLocaleStrings::setLoadedStrings(DVStringLayers strings)
{
    m_loadedStrings = std::move(strings);
    m_nibStrings.reset();
}

// Files

QString DVLocaleStrings::filePath(const DVLocale &locale, QStringView suffix)
{
    const QString folder = DVFolders::dorvaneFiles();
    if (folder.isEmpty() || !dv_isSafeLocaleIdentifier(locale.identifier()))
        return {};
    return folder + u'/' + dv_versionForNames() + u'_' + locale.identifier() + suffix;
}

QString DVLocaleStrings::publishedFilePath() const
{
    return filePath(m_locale, QString(publishedSuffix));
}

QString DVLocaleStrings::pendingFilePath() const
{
    return filePath(m_locale, u"_pending.xlf");
}

QString DVLocaleStrings::dirtyFilePath() const
{
    return filePath(m_locale, u"_edited.xlf");
}

QString DVLocaleStrings::discardedFilePath() const
{
    return filePath(m_locale, u"_discarded.xlf");
}

QString DVLocaleStrings::packagedFilePath() const
{
    if (!dv_isSafeLocaleIdentifier(m_locale.identifier()))
        return {};
    return DVBundle::mainBundle().pathForResource(m_locale.identifier(), QStringLiteral("xlf"));
}

QList<DVLocale> DVLocaleStrings::localesOnDevice()
{
    return localesOfFiles(DVFolders::dorvaneFiles(), dv_versionForNames() + u'_', QString(publishedSuffix));
}

QList<DVLocale> DVLocaleStrings::packagedLocales()
{
    return localesOfFiles(DVBundle::mainBundle().bundlePath(), {}, QStringLiteral(".xlf"));
}

// Loading

bool DVLocaleStrings::loadStringsFromPath(const QString &path, DVStringLayers *intoDict,
                                          DVStringLayers *source, quint32 withStatus)
{
    if (path.isEmpty() || !QFileInfo::exists(path))
        return false;
    dv_logDebugLazily([&] { return QString(u"Loading strings from " + path); });
    DVFileTables tables;
    DVErrorOr error;
    const auto failure =
        DVTableFiles::load(path, withStatus, DVState::shared().stringsNeedCues(), &tables, &error);
    if (failure == DVTableFiles::Failure::None) {
        DVReplacedFile::forget(path, tables.identity);
        intoDict->layOver(tables.strings);
        if (source)
            source->layOver(tables.sources);
        return true;
    }
    if (error) {
        DVRecentEvents::shared().noteError(*error);
        dv_logDebugLazily([&] {
            return QStringLiteral("Error loading strings from %1: %2").arg(path, error->description);
        });
    }
    if (failure == DVTableFiles::Failure::Unparsable &&
        DVReplacedFile::deleteAndRestore(path, tables.identity))
        return loadStringsFromPath(path, intoDict, source, withStatus);
    return false;
}

bool DVLocaleStrings::loadStringsWithBaseLocaleStrings(DVBaseLocaleStrings *baseStrings)
{
    const bool review = DVState::shared().editionMode;
    DVStringLayers result;
    DVStringLayers sources;
    std::vector<DVLoadedFile> files;
    const auto load = [&](const QString &path, quint32 status) {
        const size_t before = result.tables().size();
        if (!loadStringsFromPath(path, &result, &sources, status))
            return false;
        const bool holdsStrings = result.tables().size() > before;
        files.insert(files.begin(), {path, holdsStrings ? result.tables().front() : nullptr});
        return true;
    };
    bool loaded = load(publishedFilePath(), DVStringStatusPublished);
    if (loaded)
        DVOtherVersions::removeSoon();
    if (review)
        loaded |= load(pendingFilePath(), DVStringStatusNone);
    if (!loaded)
        load(packagedFilePath(), DVStringStatusPublished);
    if (!result.isEmpty()) {
        setLoadedStrings(result);
        m_loadedFiles = std::move(files);
    }
    if (baseStrings)
        baseStrings->setSourceStrings(sources);
    if (review) {
        loadEdits(baseStrings);
        loadDirtyStatuses();
    }
    logLoaded("Loaded strings", *this);
    if (baseStrings)
        logLoaded("Base locale strings", *baseStrings);
    notifyStringsObserver();
    DVNotificationCenter::defaultCenter().postNotification(
        QStringLiteral("DorvaneStringsUpdatedNotification"), this);
    return true;
}

// Dates

QString DVStoredDates::key(const QString &property, const DVLocale &locale)
{
    return key(property, dv_versionForNames(), locale);
}

QString DVStoredDates::key(const QString &property, const QString &version, const DVLocale &locale)
{
    return property + u'-' + version + u'-' + dorvaneLocaleIdentifier(locale);
}

QDateTime DVLocaleStrings::dateForProperty(const QString &property) const
{
    const auto seconds = DVUserDefaults::standard().integerForKey(DVStoredDates::key(property, m_locale));
    if (!seconds || *seconds < 1)
        return {};
    return QDateTime::fromSecsSinceEpoch(*seconds, Qt::UTC);
}

void DVLocaleStrings::setDate(const QDateTime &date, const QString &forProperty)
{
    const QString key = DVStoredDates::key(forProperty, m_locale);
    if (date.isValid())
        DVUserDefaults::standard().setInteger(key, date.toMSecsSinceEpoch() / 1000);
    else
        DVUserDefaults::standard().removeKey(key);
}

QDateTime DVLocaleStrings::lastDownloadDate() const
{
    return dateForProperty(DVStoredDates::lastDownload);
}
void DVLocaleStrings::setLastDownloadDate(const QDateTime &date)
{
    setDate(date, DVStoredDates::lastDownload);
}
QDateTime DVLocaleStrings::expirationDate() const
{
    return dateForProperty(DVStoredDates::expiration);
}
void DVLocaleStrings::setExpirationDate(const QDateTime &date)
{
    setDate(date, DVStoredDates::expiration);
}

void DVLocaleStrings::clearDates()
{
    const DVUserDefaults::Batch batch;
    DVUserDefaults::standard().removeKey(DVStoredDates::lastDownload);
    DVUserDefaults::standard().removeKey(DVStoredDates::expiration);
}

DVNeedsSync DVLocaleStrings::needsSync() const
{
    const QString published = publishedFilePath();
    if (!published.isEmpty() && QFileInfo::exists(published)) {
        const QDateTime expiration = expirationDate();
        if (!expiration.isValid())
            return DVNeedsSync::Missing;
        dv_logDebugLazily(
            [&] { return QString(u"Cached strings expiration date " + expiration.toString(Qt::ISODate)); });
        return DVClock::now() >= expiration ? DVNeedsSync::Stale : DVNeedsSync::UpToDate;
    }
    if (!packagedFilePath().isEmpty()) {
        dv_logDebug(QStringLiteral("Packaged strings found for this locale"));
        return DVNeedsSync::Stale;
    }
    dv_logDebug(QStringLiteral("No local strings, downloading synchronously"));
    return DVNeedsSync::Missing;
}

// Downloads

QString DVLocaleStrings::downloadUrl(bool force) const
{
    return QStringLiteral("%1/%2/%3/%4/strings.gz%5")
        .arg(DVServerUrl::baseUrlForServer(DVServerDeliveryCdn),
             QString::fromLatin1(QUrl::toPercentEncoding(DVState::shared().appId())), dv_versionForUrls(),
             QString::fromLatin1(QUrl::toPercentEncoding(dorvaneLocaleIdentifier(m_locale))),
             force ? QStringLiteral("/force") : QString());
}

void DVLocaleStrings::storeDates(const QDateTime &expiration, const QDateTime &download)
{
    const DVUserDefaults::Batch batch;
    DVReplacedFile::keepDates(publishedFilePath(), m_locale);
    if (expiration.isValid())
        setExpirationDate(expiration);
    if (download.isValid())
        setLastDownloadDate(download);
}

void DVLocaleStrings::pullFromProdForce(bool force, std::function<void(bool)> withCompletion)
{
    const QString path = publishedFilePath();
    if (path.isEmpty()) {
        DVMainQueue::post([then = std::move(withCompletion)] {
            if (then)
                then(false);
        });
        return;
    }
    const bool needCues = DVState::shared().stringsNeedCues();
    const int restores = DVReplacedFile::restoreCount(path);
    DVNetwork::downloadFileAtURL(
        downloadUrl(force), path, lastDownloadDate(),
        [self = shared_from_this(), path, needCues, restores,
         then = std::move(withCompletion)](const DVErrorOr &error, const DVHttpResponse &,
                                           const QDateTime &expiration, const QDateTime &download) {
            if (!error && DVReplacedFile::restoreCount(path) == restores)
                self->storeDates(expiration, download);
            const bool success = !error;
            if (!then)
                return;
            if (success)
                DVTableFiles::prepare(path, DVStringStatusPublished, needCues, [then] { then(true); });
            else
                then(false);
        });
}

DVErrorOr DVLocaleStrings::pullSyncFromProdWithTimeout(double timeout)
{
    const QString path = publishedFilePath();
    if (path.isEmpty())
        return DVError{QStringLiteral("dorvane.SDK"), 500, QStringLiteral("Invalid locale identifier")};
    QDateTime download;
    QDateTime expiration;
    const DVErrorOr error =
        DVNetwork::syncDownloadProdUrl(downloadUrl(true), timeout, path, &download, &expiration);
    if (!error)
        storeDates(expiration, download);
    return error;
}
