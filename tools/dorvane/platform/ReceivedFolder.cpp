#include "ReceivedFolder.h"

#include "FolderLock.h"

#include <DVFolders.h>
#include <DVPrivateFile.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>

ReceivedFolder::ReceivedFolder(const QString &projectFolder, Log log)
    : m_path(QDir(projectFolder).absoluteFilePath(QStringLiteral("received")))
    , m_log(std::move(log))
{}

bool ReceivedFolder::change(const std::function<QString()> &work)
{
    QString problem;
    FolderLock lock;
    if (!DVFolders::makePrivateFolder(m_path))
        problem = QStringLiteral("cannot create %1").arg(m_path);
    else
        problem = lock.take(m_path, [] {});
    if (problem.isEmpty())
        problem = work();
    if (!problem.isEmpty())
        m_log(problem);
    return problem.isEmpty();
}

QString ReceivedFolder::write(const QString &name, const QByteArray &content) const
{
    const DVErrorOr error = DVPrivateFile::write(path(name), content);
    return error ? QStringLiteral("cannot write %1: %2").arg(path(name), error->description) : QString();
}

QString ReceivedFolder::append(const QString &name, const QList<QJsonObject> &lines) const
{
    QByteArray bytes;
    for (const QJsonObject &line : lines)
        bytes += QJsonDocument(line).toJson(QJsonDocument::Compact) + '\n';
    QFile file(path(name));
    bool isGood = DVFolders::makePrivateFolder(QFileInfo(file).path()) && file.open(QIODevice::ReadWrite);
    // A file system without modes refuses to set one, and that is no failure.
    if (isGood)
        file.setPermissions(QFile::ReadOwner | QFile::WriteOwner);
    // A process that was killed, or a disk that was full, may have left half a line.
    char last = '\n';
    if (isGood && file.size() > 0)
        isGood = file.seek(file.size() - 1) && file.getChar(&last) && file.seek(file.size());
    if (last != '\n')
        bytes.prepend('\n');
    if (isGood && file.write(bytes) == bytes.size() && file.flush())
        return {};
    return QStringLiteral("cannot write %1: %2").arg(file.fileName(), file.errorString());
}
