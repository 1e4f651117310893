// DVLocaleStrings: every string of one locale that the library serves, its files and their dates.
#pragma once

#include "DVStringLayers.h"

#include <Dorvane/DVError.h>
#include <Dorvane/DVLocale.h>

#include <QDateTime>
#include <QHash>
#include <QList>
#include <QString>

#include <functional>
#include <memory>
#include <vector>

class DVBaseLocaleStrings;

// A strings file that a store has loaded.
struct DVLoadedFile
{
    QString path;
    DVStringTablePtr strings; // null: it holds none
};

enum class DVNeedsSync {
    UpToDate = 0,
    Missing = 1, // nothing usable on the device: download before serving
    Stale = 2,   // something usable exists: download in the background
};

// Main thread only; the tables that it holds may be read from any thread. Owned by shared_ptr, so
// that a download under way can tell whether its store still exists.
class DVLocaleStrings : public std::enable_shared_from_this<DVLocaleStrings>
{
public:
    static std::shared_ptr<DVLocaleStrings> localeStringsForLocale(const DVLocale &locale);
    virtual ~DVLocaleStrings();

    DVLocale locale() const { return m_locale; }
    const DVStringLayers &loadedStrings() const { return m_loadedStrings; }
    // Where they came from, the first to be asked first.
    const std::vector<DVLoadedFile> &loadedFiles() const { return m_loadedFiles; }
    // Strings changed in review and not yet saved to the platform.
    const DVStringLayers &dirtyStrings() const { return m_dirtyStrings; }

    // Loads the files in their order of precedence and gives the base store the source texts. Keeps
    // what was loaded before when there is nothing to load. Posts DorvaneStringsUpdatedNotification.
    bool loadStringsWithBaseLocaleStrings(DVBaseLocaleStrings *baseStrings);

    // Reads one XLIFF file and lays its tables over `intoDict` and, unless null, `source`. A file
    // below the folder of the library's files that was read completely and does not parse is
    // deleted, and the one that it replaced put back in its place with its dates.
    static bool loadStringsFromPath(const QString &path, DVStringLayers *intoDict, DVStringLayers *source,
                                    quint32 withStatus);

    // Null when the locale's identifier cannot be part of a path, or there is no such resource.
    virtual QString publishedFilePath() const;
    virtual QString pendingFilePath() const;
    virtual QString dirtyFilePath() const;
    QString packagedFilePath() const;

    // Whole seconds in UTC; invalid when none is stored.
    QDateTime dateForProperty(const QString &property) const;
    void setDate(const QDateTime &date, const QString &forProperty);
    QDateTime lastDownloadDate() const;
    void setLastDownloadDate(const QDateTime &date);
    QDateTime expirationDate() const;
    void setExpirationDate(const QDateTime &date);
    // Removes the bare keys "DVLastDownload" and "DVExpiration", which nothing writes; the dates of
    // this version and locale stay.
    static void clearDates();

    DVNeedsSync needsSync() const;

    // Where the strings are downloaded from; forced, whatever the state of caches.
    QString downloadUrl(bool force) const;

    // Downloads in the background. The completion runs on the main thread, when the new file is
    // parsed and a load of this store finds it ready.
    void pullFromProdForce(bool force, std::function<void(bool success)> withCompletion);
    // Downloads and holds the caller for at most `timeout` seconds; no event loop runs meanwhile.
    DVErrorOr pullSyncFromProdWithTimeout(double timeout);

    DVStringGroupPtr dorvaneStringGroupForKey(const QString &key) const;
    DVStringPtr dorvaneStringForKey(const QString &key, const QString &plural) const;
    // Null when there is no such string.
    QString localizedStringForKey(const QString &key, const QString &plural) const;
    QString localizedStringForKey(const QString &key) const;
    static DVStringPtr findLocalizedString(const QString &hash, const DVStringLayers &inDict);
    DVStringPtr dorvaneStringForLocalizedString(const QString &hash) const;
    // Key to text.
    QHash<QString, QString> stringsDictionary() const;

    // Locales with a published file for this version of the application; with a packaged file. By name.
    static QList<DVLocale> localesOnDevice();
    static QList<DVLocale> packagedLocales();

    // Called after each load, before the notification, so that lookups see the new strings first.
    static void setLoadObserver(std::function<void()> observer);

protected:
    explicit DVLocaleStrings(const DVLocale &locale);

    // A file of the library for a locale; null when its identifier cannot be part of a path.
    static QString filePath(const DVLocale &locale, QStringView suffix);
    void setLoadedStrings(DVStringLayers strings) { m_loadedStrings = std::move(strings); }

private:
    void storeDates(const QDateTime &expiration, const QDateTime &download);

    DVLocale m_locale;
    DVStringLayers m_loadedStrings;
    DVStringLayers m_dirtyStrings;
    std::vector<DVLoadedFile> m_loadedFiles;
};
