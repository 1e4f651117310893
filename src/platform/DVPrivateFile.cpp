#include "DVPrivateFile.h"

#include "DVFolders.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QSaveFile>
#include <QSet>

#include <algorithm>
#include <mutex>

#if defined(Q_OS_UNIX)
#include <fcntl.h>
#include <unistd.h>
#endif

namespace {

DVError fileError(const QString &path, QFileDevice::FileError code, const QString &reason)
{
    return {u"dorvane.file"_qs, int(code), path % u": " % reason};
}

DVError fileError(const QFileDevice &file)
{
    const auto code = file.error() == QFileDevice::NoError ? QFileDevice::WriteError : file.error();
    return fileError(file.fileName(), code, file.errorString());
}

// A rename is on the disk only when its folder is. A file system that cannot sync a folder says so
// with an error that changes nothing for us.
void syncFolder(const QString &path)
{
#if defined(Q_OS_UNIX)
    const int folder = open(QFile::encodeName(path).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder < 0)
        return;
    fsync(folder);
    close(folder);
#else
    Q_UNUSED(path)
#endif
}

// Whether this process writes into the folder for the first time.
bool isFirstWriteInto(const QString &folder)
{
    static std::mutex mutex;
    static auto *seen = new QSet<QString>; // never destroyed: threads may outlive static objects
    const std::lock_guard lock(mutex);
    const auto known = seen->size();
    seen->insert(folder);
    return seen->size() > known;
}

// A save that was killed leaves QSaveFile's temporary file: the name, a dot and six random characters.
bool isTemporaryOf(const QString &candidate, const QString &name)
{
    // Never destroyed: a thread left behind at the end may still save.
    static const auto *form = new QRegularExpression(u"\\A(.+)\\.[A-Za-z0-9]{6}\\z"_qs);
    const QString target = form->match(candidate).captured(1);
    if (target.isEmpty())
        return false;
    constexpr QStringView kinds[] = {u"_published.xlf", u"_pending.xlf", u"_edited.xlf", u"_discarded.xlf",
                                     u"_review.xlf"};
    const auto isOfKind = [&target](QStringView kind) { return target.endsWith(kind); };
    return target == name || target == u"defaults.json" || target == u"analytics" ||
           std::any_of(std::begin(kinds), std::end(kinds), isOfKind);
}

// Those of the last hour may belong to a process that is writing now.
void removeStaleTemporaries(const QString &folder, const QString &name)
{
    const QDateTime limit = QDateTime::currentDateTimeUtc().addSecs(-3600);
    const auto files =
        QDir(folder).entryInfoList(QDir::Files | QDir::Hidden | QDir::NoSymLinks, QDir::Unsorted);
    for (const QFileInfo &file : files) {
        if (isTemporaryOf(file.fileName(), name) && file.lastModified() < limit)
            QFile::remove(file.filePath());
    }
}

} // namespace

DVErrorOr DVPrivateFile::write(const QString &path, const QByteArray &data)
{
    const QString folder = QFileInfo(path).path();
    if (!DVFolders::makePrivateFolder(folder))
        return fileError(path, QFileDevice::OpenError, u"the folder cannot be made"_qs);
    if (isFirstWriteInto(folder))
        removeStaleTemporaries(folder, QFileInfo(path).fileName());
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return fileError(file);
    // QSaveFile takes over the mode of the file that it replaces, or the umask's. File systems
    // without modes refuse; their files are as private as they get.
    file.setPermissions(QFile::ReadOwner | QFile::WriteOwner);
    if (file.write(data) != data.size() || !file.flush()) {
        const DVError error = fileError(file);
        file.cancelWriting();
        return error;
    }
    if (!file.commit())
        return fileError(file);
    syncFolder(folder);
    return {};
}

DVErrorOr DVPrivateFile::read(const QString &path, QByteArray *data, qint64 limit)
{
    data->clear();
    const QFileInfo info(path);
    // Also keeps us away from pipes and devices, which may block for ever.
    if (!info.isFile())
        return fileError(path, QFileDevice::OpenError, u"no such file"_qs);
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return fileError(file);
    if (file.size() > limit)
        return fileError(path, QFileDevice::ResourceError, u"the file is too large"_qs);
    QByteArray content = file.readAll();
    if (file.error() != QFileDevice::NoError)
        return fileError(file);
    if (content.size() > limit)
        return fileError(path, QFileDevice::ResourceError, u"the file is too large"_qs);
    *data = std::move(content);
    return {};
}
