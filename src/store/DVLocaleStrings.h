// DVLocaleStrings: every string of one locale that the library serves, its files and their dates.
#pragma once

#include "DVPrivateExport.h"
#include "DVStringLayers.h"
#include "DVTransfer.h"
#include "DVXliffWriter.h"

#include <Dorvane/DVError.h>
#include <Dorvane/DVLocale.h>

#include <QDateTime>
#include <QHash>
#include <QList>
#include <QString>

#include <functional>
#include <memory>
#include <optional>
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

    // Strings changed in review and not yet saved to the platform. A record may be changed in place; lookups
    // on other threads see it when the strings are set again.
    const DVStringGroups &dirtyStrings() const { return m_dirtyStrings; }
    void setDirtyStrings(DVStringGroups strings);
    // The same, for lookups.
    const DVStringLayers &dirtyLayers() const { return m_dirtyLayers; }
    // Strings that the reviewer accepted and rejected. A key is in one of them.
    const DVStringGroups &acceptedStrings() const { return m_acceptedStrings; }
    void setAcceptedStrings(DVStringGroups strings) { m_acceptedStrings = std::move(strings); }
    const DVStringGroups &rejectedStrings() const { return m_rejectedStrings; }
    void setRejectedStrings(DVStringGroups strings) { m_rejectedStrings = std::move(strings); }

    // Loads the files in their order of precedence and gives the base store the source texts. Keeps
    // what was loaded before when there is nothing to load. In review also what saveDirty() saved: a dirty
    // string or a status that is here already stays as it is. Posts DorvaneStringsUpdatedNotification.
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
    QString discardedFilePath() const;
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

    // Another store has taken this one's place: whatever is still done with this one leaves the device alone,
    // where the edits and statuses are the other's, or gone with whoever signed out.
    void setRetired(bool retired) { m_isRetired = retired; }
    bool isRetired() const { return m_isRetired; }

    // Dirty strings, accepted and rejected ones with their reasons survive a restart from here on. What could
    // not be written is logged.
    void saveDirty();
    // Gives the strings here the statuses that saveDirty() saved.
    void loadDirtyStatuses();
    // Also the saved ones. Strings that were changed in place are as they were loaded.
    virtual void clearDirtyStrings();
    virtual void clearDirtyStatuses();
    // Clears both, but keeps the dirty strings as discardedStrings().
    virtual void discardEdits();
    // The latest text of each string that was discarded, until clearDiscardedStrings(). Records of their own.
    DVStringGroups discardedStrings() const;
    void clearDiscardedStrings();
    // Strings that the platform has taken: their texts are served as loaded ones until the next load.
    void keepSavedStrings(const DVStringGroups &strings);

    // Discards the edits, then downloads published and pending strings for review; a load reads them. A pull
    // of this store that is under way is cancelled: its answer would replace the newer one's.
    // Completes on the main thread, not from inside the call. `withCompletion` may be empty.
    using PullCompletion = std::function<void(const DVErrorOr &)>;
    virtual void pullWithCompletion(PullCompletion withCompletion, const DVTransferPtr &transfer = {});

    // What a document of this store's strings says besides them.
    DVXliffHeader xliffHeader() const;
    // Where xliffHeader() finds the base store; null when there is none.
    static void setBaseStringsSource(std::function<std::shared_ptr<DVBaseLocaleStrings>()> source);
    // Removes every edit, discarded edit, review file and status of all locales and versions from the device.
    static void removeReviewFromDevice();

    // Dirty strings come first in all of them, while editing is enabled or where it says so. A form keeps its
    // group, also when this store is gone.
    DVStringGroupPtr dorvaneStringGroupForKey(const QString &key) const;
    DORVANE_PRIVATE_EXPORT DVStringPtr dorvaneStringForKey(const QString &key, const QString &plural) const;
    // Null when there is no such string.
    QString localizedStringForKey(const QString &key, const QString &plural) const;
    QString localizedStringForKey(const QString &key) const;
    static DVStringPtr findLocalizedString(const QString &hash, const DVStringLayers &inDict);
    static DVStringPtr findLocalizedString(const QString &hash, const DVStringGroups &inDict);
    // Dirty first, enabled or not.
    DVStringPtr dorvaneStringForLocalizedString(const QString &hash) const;
    // Key to text. In review also the dirty keys.
    QHash<QString, QString> stringsDictionary() const;

    // Strings of interface files: those without plurals whose key holds a "." and a "-". Texts count without
    // markers and line feeds; of several keys with one text the first by name is found.
    void extractUIStrings();
    const QHash<QString, QString> &nibStrings() const; // text to key
    DORVANE_PRIVATE_EXPORT QString keyForIBString(const QString &text) const;

    // Locales with a published file for this version of the application; with a packaged file. By name.
    static QList<DVLocale> localesOnDevice();
    static QList<DVLocale> packagedLocales();

    // Called after each load, before the notification, so that lookups see the new strings first; and
    // whenever dirty strings change.
    static void setStringsObserver(std::function<void()> observer);

protected:
    explicit DVLocaleStrings(const DVLocale &locale);

    // A file of the library for a locale; null when its identifier cannot be part of a path.
    static QString filePath(const DVLocale &locale, QStringView suffix);
    void setLoadedStrings(DVStringLayers strings);
    static void notifyStringsObserver();
    // A pull has brought new files.
    virtual void noteReviewDownload();

private:
    void storeDates(const QDateTime &expiration, const QDateTime &download);
    void loadEdits(const DVBaseLocaleStrings *baseStrings);
    void addBaseForms(const DVBaseLocaleStrings &baseStrings);
    void saveEditedFile();
    void saveStatuses() const;
    void listDecided(const QString &key, const DVStringGroupPtr &record);
    void keepDiscarded();
    void publishDirtyStrings();
    void forgetLoadedRecord(const QString &key);
    QHash<QString, QString> uiStrings() const;

    DVLocale m_locale;
    DVStringLayers m_loadedStrings;
    DVStringGroups m_dirtyStrings;
    DVStringLayers m_dirtyLayers; // of m_dirtyStrings
    DVStringGroups m_acceptedStrings;
    DVStringGroups m_rejectedStrings;
    mutable std::optional<DVStringGroups> m_discardedStrings; // read once
    bool m_editedFileWasRead = false;                         // and what it holds is here
    bool m_editedFileIsUnread = false; // there is one, and the device would not give it
    mutable std::optional<QHash<QString, QString>> m_nibStrings; // text to key
    std::vector<DVLoadedFile> m_loadedFiles;
    DVTransferPtr m_pull; // under way
    bool m_isRetired = false;
};
