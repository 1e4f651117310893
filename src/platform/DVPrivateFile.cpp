#include "DVPrivateFile.h"

#include "DVFolders.h"

#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

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

} // namespace

DVErrorOr DVPrivateFile::write(const QString &path, const QByteArray &data)
{
    const QString folder = QFileInfo(path).path();
    if (!DVFolders::makePrivateFolder(folder))
        return fileError(path, QFileDevice::OpenError, u"the folder cannot be made"_qs);
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
