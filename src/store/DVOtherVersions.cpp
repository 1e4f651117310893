#include "DVOtherVersions.h"

#include "DVReplacedFile.h"
#include "DVStringsFileName.h"

#include "DVFolders.h"
#include "DVLog.h"
#include "DVMainQueue.h"
#include "DVUserDefaults.h"
#include "DVVersion.h"

#include <Dorvane/DVLocale.h>

#include <QDir>
#include <QFile>
#include <QStringList>

#include <utility>

namespace {

QString &doneFor()
{
    static auto *folderAndVersion = new QString; // never destroyed, as all that a late caller may meet
    return *folderAndVersion;
}

QStringList filesOfOtherVersions(const QDir &folder)
{
    const QString version = dv_versionForNames();
    QStringList names = folder.entryList(QDir::Files | QDir::NoSymLinks, QDir::Name);
    names.removeIf([&version](const QString &fileName) {
        const auto name = DVStringsFileName::parse(fileName);
        return !name || name->version == version || name->isSomebodysWork();
    });
    return names;
}

void removeDates(const QStringList &files)
{
    auto &defaults = DVUserDefaults::standard();
    const DVUserDefaults::Batch batch;
    for (const QString &file : files) {
        const auto name = DVStringsFileName::parse(file);
        if (!name || name->kind != DVStringsFileName::Kind::Published || name->previous)
            continue;
        for (const auto property : DVStoredDates::properties)
            defaults.removeKey(DVStoredDates::key(property, name->version, DVLocale(name->locale)));
        defaults.removeKey(DVReplacedFile::datesKey(file));
    }
}

} // namespace

void DVOtherVersions::removeSoon()
{
    const QString now = QString(DVFolders::dorvaneFiles() + u'\n' + dv_versionForNames());
    if (std::exchange(doneFor(), now) != now)
        DVMainQueue::postAfterFirstTurn(removeNow);
}

// The dates go first: killed in between, the files are found again by the next start, and the version that
// they belong to asks for new ones.
void DVOtherVersions::removeNow()
{
    const QString path = DVFolders::dorvaneFiles();
    if (path.isEmpty())
        return; // QDir would take it for the current folder, which is the host's
    const QDir folder(path);
    const QStringList names = filesOfOtherVersions(folder);
    if (names.isEmpty())
        return;
    removeDates(names);
    for (const QString &name : names) {
        QFile file(folder.filePath(name));
        if (file.remove())
            dv_logDebugLazily([&] { return QString(u"Deleted a file of another version: " + name); });
        else
            dv_logDebugLazily([&] { return QString(u"Can't delete file: " + file.errorString()); });
    }
}
