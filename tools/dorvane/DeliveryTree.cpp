#include "DeliveryTree.h"

#include "DeliveredFile.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QSaveFile>
#include <QThread>

#include <algorithm>
#include <filesystem>

namespace {

constexpr auto readableByAll = QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup | QFile::ReadOther;
constexpr auto openToAll =
    readableByAll | QFile::ExeOwner | QFile::ExeGroup | QFile::ExeOther; // the server is another user

const QString fileName = QStringLiteral("strings.gz");

std::filesystem::path systemPath(const QString &path)
{
    return {path.toStdU16String()};
}

// Null on success. What it creates is open to the server's user, whatever the umask says.
QString makeFolder(const QString &path)
{
    if (QFileInfo(path).isDir())
        return {};
    QString problem = makeFolder(QFileInfo(path).path());
    if (problem.isEmpty() && !(QDir().mkdir(path) && QFile::setPermissions(path, openToAll)) &&
        !QFileInfo(path).isDir())
        problem = QStringLiteral("cannot create %1").arg(path);
    return problem;
}

// A run that was killed can leave some. The lock is held, so they are nobody's.
void removeUnfinishedFiles(const QString &folder)
{
    QDir directory(folder);
    const auto names = directory.entryList({fileName + QStringLiteral(".*")}, QDir::Files | QDir::Hidden);
    for (const QString &name : names)
        directory.remove(name);
}

// Whether files hold the document of `file`. Another release of zlib can have compressed it otherwise, so
// files that differ are opened; the versions mostly share one, which is opened once.
class Comparison
{
public:
    Comparison(const QByteArray &file, const QString &key)
        : m_file(file)
        , m_key(key)
    {}
    bool matches(const QString &path)
    {
        QString error;
        const QByteArray present = readWholeFile(path, &error);
        if (!error.isEmpty() || present == m_file)
            return error.isEmpty();
        if (present != m_lastPresent) {
            m_lastPresent = present;
            m_lastMatches = holdsSameDocument(present);
        }
        return m_lastMatches;
    }

private:
    bool holdsSameDocument(const QByteArray &present)
    {
        QString error;
        const QByteArray document = documentFromDeliveredFile(present, m_key, &error);
        if (error.isEmpty() && m_document.isNull())
            m_document = documentFromDeliveredFile(m_file, m_key, &error);
        return error.isEmpty() && document == m_document;
    }

    const QByteArray m_file;
    const QString m_key;
    QByteArray m_document;
    QByteArray m_lastPresent;
    bool m_lastMatches = false;
};

qint64 latestDate(const QStringList &paths)
{
    qint64 latest = 0;
    for (const QString &path : paths)
        if (const QFileInfo info(path); info.isFile())
            latest = std::max(latest, info.lastModified().toSecsSinceEpoch());
    return latest;
}

// HTTP dates count whole seconds: a publication within the second of the one before it would look
// the same to whoever holds that, so it waits for the next one.
qint64 dateAfter(qint64 before, bool *inTheFuture)
{
    constexpr int patienceSeconds = 2;
    const auto now = [] { return QDateTime::currentMSecsSinceEpoch(); };
    while (now() / 1000 <= before && before < now() / 1000 + patienceSeconds)
        QThread::msleep(ulong(1000 - now() % 1000));
    *inTheFuture = now() / 1000 <= before;
    return *inTheFuture ? before + 1 : now() / 1000;
}

QString writeDated(const QString &path, const QByteArray &content, qint64 date)
{
    QSaveFile file(path);
    // Flushed before it is dated: a write after that would date it anew.
    if (file.open(QIODevice::WriteOnly) && file.write(content) == content.size() && file.flush() &&
        file.setPermissions(readableByAll) &&
        file.setFileTime(QDateTime::fromSecsSinceEpoch(date), QFileDevice::FileModificationTime) &&
        file.commit())
        return {};
    return QStringLiteral("cannot write %1: %2").arg(path, file.errorString());
}

// Renames over what is there. False where the file system has no hard links.
bool linkInto(const QString &source, const QString &target)
{
    const auto temporary = systemPath(target + QStringLiteral(".link"));
    std::error_code error;
    std::filesystem::create_hard_link(systemPath(source), temporary, error);
    if (error)
        return false;
    std::filesystem::rename(temporary, systemPath(target), error);
    return !error;
}

} // namespace

QString DeliveryTree::nameProblem(const QString &name)
{
    const bool isPlain = std::none_of(name.begin(), name.end(), [](QChar character) {
        return character == u'/' || character == u'\\' || character < u' ' || character == u'\x7f';
    });
    if (name.isEmpty() || name.startsWith(u'.') || name.toUtf8().size() > 200 || !isPlain)
        return QStringLiteral("\"%1\" cannot name a folder of a delivery tree").arg(name);
    return {};
}

DeliveryTree::DeliveryTree(const QString &root, const QString &projectId, const QStringList &versions)
    : m_root(QDir(root).absolutePath())
    , m_projectId(projectId)
    , m_versions(versions)
{}

QString DeliveryTree::open()
{
    if (const QString problem = makeFolder(m_root); !problem.isEmpty())
        return problem;
    m_lock = std::make_unique<QLockFile>(m_root + QStringLiteral("/.dorvane-pack.lock"));
    m_lock->setStaleLockTime(0); // only a dead process loses it
    if (m_lock->tryLock(0))
        return {};
    if (m_lock->error() == QLockFile::LockFailedError)
        return QStringLiteral("another \"dorvane pack --tree\" is writing to %1").arg(m_root);
    return QStringLiteral("cannot write to %1").arg(m_root);
}

QString DeliveryTree::projectPath() const
{
    return m_root + QStringLiteral("/projects/") + m_projectId;
}

QString DeliveryTree::filePath(const QString &version, const QString &locale) const
{
    return QStringList{projectPath(), version, locale, fileName}.join(u'/');
}

std::optional<DeliveryTree::Published> DeliveryTree::publish(const QString &locale, const QByteArray &file,
                                                             const QString &key, QString *error)
{
    QStringList outdated;
    Published published;
    Comparison comparison(file, key);
    for (const QString &version : m_versions) {
        const QString path = filePath(version, locale);
        const bool isThere = QFileInfo(path).isFile();
        if (isThere && comparison.matches(path))
            continue;
        outdated += path;
        if (published.change != Change::Replaced)
            published.change = isThere ? Change::Replaced : Change::New;
    }
    published.versions = int(outdated.size());
    *error = outdated.isEmpty() ? QString() : write(outdated, file, &published);
    return error->isEmpty() ? std::optional(published) : std::nullopt;
}

QString DeliveryTree::write(const QStringList &paths, const QByteArray &file, Published *published) const
{
    QString problem;
    for (const QString &path : paths) {
        const QString folder = QFileInfo(path).path();
        if (problem = makeFolder(folder); !problem.isEmpty())
            return problem;
        removeUnfinishedFiles(folder);
    }
    const qint64 date = dateAfter(latestDate(paths), &published->inTheFuture);
    problem = writeDated(paths.constFirst(), file, date);
    for (qsizetype i = 1; i < paths.size() && problem.isEmpty(); ++i)
        if (!linkInto(paths.constFirst(), paths.at(i)))
            problem = writeDated(paths.at(i), file, date);
    return problem;
}

QStringList DeliveryTree::othersThan(const QStringList &locales) const
{
    QStringList others;
    for (const QString &version : m_versions) {
        const QDir folder(projectPath() + u'/' + version);
        const auto names = folder.entryList(QDir::Dirs | QDir::NoDotAndDotDot);
        for (const QString &name : names)
            if (!locales.contains(name) && QFileInfo(filePath(version, name)).isFile())
                others += QString(version + u'/' + name);
    }
    return others;
}

QString DeliveryTree::remove(const QString &versionAndLocale)
{
    const QString folder = projectPath() + u'/' + versionAndLocale;
    if (!QFile::remove(folder + u'/' + fileName))
        return QStringLiteral("cannot remove %1/%2").arg(folder, fileName);
    removeUnfinishedFiles(folder);
    QDir().rmdir(folder); // unless something that is not ours is in it
    return {};
}

QStringList DeliveryTree::otherVersions() const
{
    QStringList versions = QDir(projectPath()).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    for (const QString &version : m_versions)
        versions.removeAll(version);
    return versions;
}
