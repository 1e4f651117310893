#include "ProjectFolder.h"

#include "DeliveredFile.h"

#include <QDir>

namespace {

// HTTP dates have whole seconds, so a second publication within one second counts as a second later:
// nobody who holds the first is told that it is current.
QDateTime publicationTime(const QDateTime &fileModified, const QDateTime &before)
{
    const qint64 seconds = fileModified.toSecsSinceEpoch();
    const qint64 earliest = before.isValid() ? before.toSecsSinceEpoch() + 1 : seconds;
    return QDateTime::fromSecsSinceEpoch(std::max(seconds, earliest), Qt::UTC);
}

} // namespace

ProjectFolder::ProjectFolder(const QString &path, Log log)
    : m_path(QDir(path).absolutePath())
    , m_log(std::move(log))
{}

QString ProjectFolder::open()
{
    if (!QFileInfo(m_path).isDir())
        return QStringLiteral("there is no folder %1").arg(m_path);
    m_projectStamp = FileStamp::of(projectPath());
    if (!m_projectStamp)
        return QStringLiteral("%1 is missing; docs/formats/project-folder.md says what it holds")
            .arg(projectPath());
    return readProject();
}

QString ProjectFolder::readProject()
{
    QString error;
    const QByteArray json = readWholeFile(projectPath(), &error);
    if (!error.isEmpty())
        return error;
    const std::optional<Project> project = Project::fromJson(json, &error);
    if (!project)
        return QStringLiteral("%1: %2").arg(projectPath(), error);
    if (project->deliveryKey != m_project.deliveryKey)
        for (Entry &entry : m_entries)
            entry.stamp.reset();
    m_project = *project;
    return {};
}

const Project &ProjectFolder::project()
{
    if (const auto stamp = FileStamp::of(projectPath()); stamp != m_projectStamp) {
        m_projectStamp = stamp;
        const QString problem = stamp ? readProject() : QStringLiteral("%1 is gone").arg(projectPath());
        m_log(problem.isEmpty() ? QStringLiteral("project.json was read again")
                                : problem + QStringLiteral("; going on with what it said before"));
    }
    return m_project;
}

ProjectFolder::Availability ProjectFolder::publication(const QString &locale, Publication *publication)
{
    const QString path = QStringLiteral("%1/%2.xlf").arg(m_path, locale);
    Entry &entry = m_entries[locale];
    const auto stamp = FileStamp::of(path);
    if (!stamp) {
        entry.stamp.reset();
        return Unpublished;
    }
    if (entry.stamp != stamp)
        readLocale(path, *stamp, entry);
    if (!entry.good)
        return Unreadable;
    *publication = entry.current;
    return Available;
}

void ProjectFolder::readLocale(const QString &path, const FileStamp &stamp, Entry &entry)
{
    entry.stamp = stamp;
    QString error;
    const QByteArray document = readWholeFile(path, &error);
    std::optional<PackedDocument> packed;
    if (error.isEmpty())
        packed = packedDocument(document, m_project.deliveryKey, LoosePlaceholders::PutIntoElements, &error);
    if (!packed) {
        m_log(QStringLiteral("%1 cannot be published: %2%3")
                  .arg(path, error,
                       entry.good ? QStringLiteral("; going on with the last good version") : QString()));
        return;
    }
    entry.current = {packed->file, publicationTime(stamp.modified, entry.current.modified)};
    entry.good = true;
    m_log(QStringLiteral("published %1").arg(path));
    if (packed->newPlaceholderElements > 0)
        m_log(QStringLiteral("placeholders in it put into <ph> elements: %1")
                  .arg(packed->newPlaceholderElements));
}
