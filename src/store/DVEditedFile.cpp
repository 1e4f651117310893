#include "DVEditedFile.h"

#include "DVApi.h"
#include "DVFolders.h"
#include "DVLog.h"
#include "DVPrivateFile.h"
#include "DVRecentEvents.h"
#include "DVReviewLocaleStrings.h"
#include "DVState.h"
#include "DVStringsFileName.h"
#include "DVXliffParser.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <filesystem>

namespace {

// What holds edits, or texts under review.
bool isOfAReview(const QString &fileName)
{
    const auto name = DVStringsFileName::parse(fileName);
    return (name && name->isSomebodysWork()) || DVReviewLocaleStrings::isReviewFile(fileName) ||
           fileName == DVApi::saveFileName;
}

// What a save that was killed leaves: the file's name, a dot and six characters.
QString withoutTemporaryEnding(const QString &fileName)
{
    constexpr qsizetype ending = 7;
    return fileName.size() > ending && fileName.at(fileName.size() - ending) == u'.'
               ? fileName.chopped(ending)
               : fileName;
}

void logUnreadable(const QString &path, const DVError &error)
{
    DVRecentEvents::shared().noteError(error);
    dv_logDebugLazily(
        [&] { return QStringLiteral("Error loading strings from %1: %2").arg(path, error.description); });
}

} // namespace

DVEditedFile::Result DVEditedFile::read(const QString &path, DVStringGroups *strings)
{
    if (path.isEmpty() || !QFileInfo::exists(path))
        return Result::Missing;
    dv_logDebugLazily([&] { return QString(u"Loading strings from " + path); });
    QByteArray document;
    if (const DVErrorOr error = DVPrivateFile::read(path, &document)) {
        logUnreadable(path, *error);
        return Result::Unread;
    }
    DVErrorOr error;
    const auto read =
        DVXliffParser::parseEditedStrings(document, &error, DVState::shared().stringsNeedCues());
    if (error) {
        logUnreadable(path, *error);
        return setAside(path) ? Result::SetAside : Result::Unread;
    }
    for (auto group = read.constBegin(); group != read.constEnd(); ++group) {
        if (!strings->contains(group.key()))
            strings->insert(group.key(), *group);
    }
    return Result::Read;
}

DVStringGroups DVEditedFile::translated(const DVStringGroups &strings)
{
    DVStringGroups result;
    for (auto entry = strings.begin(); entry != strings.end(); ++entry) {
        if (!*entry)
            continue;
        auto group = std::make_shared<DVStringGroup>(**entry);
        group->pluralForms.removeIf([](const auto &form) { return form.value() && form.value()->fromBase; });
        if (!group->pluralForms.isEmpty())
            result.insert(entry.key(), group);
    }
    return result;
}

QString DVEditedFile::damagedPath(const QString &path)
{
    return path + u".damaged";
}

bool DVEditedFile::setAside(const QString &path)
{
    const QString kept = damagedPath(path);
    std::error_code failure;
    std::filesystem::rename(path.toStdU16String(), kept.toStdU16String(), failure);
    if (failure)
        dv_logInfo(QStringLiteral("Edited strings that can't be read stay in %1: %2")
                       .arg(path, QString::fromStdString(failure.message())));
    else
        dv_logInfo(QString(u"Edited strings that can't be read are kept in " + kept));
    return !failure;
}

void DVEditedFile::remove(const QString &path)
{
    QFile file(path);
    if (!path.isEmpty() && file.exists() && !file.remove())
        dv_logDebugLazily(
            [&] { return QStringLiteral("Error deleting %1: %2").arg(path, file.errorString()); });
}

void DVEditedFile::removeAll()
{
    const QString path = DVFolders::dorvaneFiles();
    if (path.isEmpty())
        return; // QDir would take it for the current folder, which is the host's
    const QDir folder(path);
    const QStringList names = folder.entryList(QDir::Files | QDir::Hidden, QDir::Name);
    for (const QString &fileName : names) {
        if (isOfAReview(fileName) || isOfAReview(withoutTemporaryEnding(fileName)))
            remove(folder.filePath(fileName));
    }
}
