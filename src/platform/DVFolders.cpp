#include "DVFolders.h"

#include "DVQtUse.h"

#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>
#include <QStringList>

#include <mutex>

namespace {

struct Replacement
{
    std::mutex mutex;
    QString documents;
};

Replacement &replacement()
{
    static auto *instance = new Replacement; // never destroyed: threads may outlive static objects
    return *instance;
}

QString replacedDocuments()
{
    auto &r = replacement();
    const std::lock_guard lock(r.mutex);
    return r.documents;
}

constexpr auto documentsLocation =
#if defined(Q_OS_IOS) || defined(Q_OS_ANDROID)
    QStandardPaths::DocumentsLocation;
#else
    QStandardPaths::AppDataLocation;
#endif

QString platformFolder(QStandardPaths::StandardLocation location)
{
    const DVQtUse use;
    return use ? QStandardPaths::writableLocation(location) : QString();
}

bool makeFolder(const QString &path)
{
    constexpr QFile::Permissions ownerOnly = QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner;
    // Somebody else may make it at the same time: what counts is that it is there.
    return QDir().mkdir(path, ownerOnly) || QFileInfo(path).isDir();
}

} // namespace

QString DVFolders::documents()
{
    const QString replaced = replacedDocuments();
    return replaced.isEmpty() ? platformFolder(documentsLocation) : replaced;
}

QString DVFolders::caches()
{
    const QString replaced = replacedDocuments();
    return replaced.isEmpty() ? platformFolder(QStandardPaths::CacheLocation)
                              : QString(replaced % u"/Caches");
}

QString DVFolders::dorvaneFiles()
{
    const QString folder = documents();
    return folder.isEmpty() ? folder : QString(folder % u"/Dorvane");
}

void DVFolders::setDocuments(const QString &path)
{
    auto &r = replacement();
    const std::lock_guard lock(r.mutex);
    r.documents = path;
}

bool DVFolders::makePrivateFolder(const QString &path)
{
    if (path.isEmpty())
        return false;
    QStringList missing;
    QString folder = QDir::cleanPath(QDir::current().absoluteFilePath(path));
    while (!QFileInfo::exists(folder)) {
        missing.prepend(folder);
        const QString parent = QFileInfo(folder).path();
        if (parent == folder)
            return false;
        folder = parent;
    }
    for (const QString &next : std::as_const(missing)) {
        if (!makeFolder(next))
            return false;
    }
    return QFileInfo(path).isDir();
}
