#include "ProjectFolder.h"

#include <QDir>

#include <algorithm>

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
    if (project->deliveryKey != m_project.deliveryKey) {
        for (Entry &entry : m_entries) {
            entry.stamp.reset();
            entry.publishedStamp.reset();
        }
    }
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

QString ProjectFolder::localePath(const QString &locale) const
{
    return QStringLiteral("%1/%2.xlf").arg(m_path, locale);
}

std::optional<FileStamp> ProjectFolder::publishedStamp(const QString &locale) const
{
    const bool isTarget = m_published.path && m_project.targetLocales.contains(locale);
    return isTarget ? FileStamp::of(m_published.path(locale)) : std::nullopt;
}

ProjectFolder::Availability ProjectFolder::publication(const QString &locale, Publication *publication)
{
    Entry &entry = m_entries[locale];
    const auto stamp = FileStamp::of(localePath(locale));
    const auto published = publishedStamp(locale);
    if (!stamp && !published) {
        entry.stamp.reset();
        entry.publishedStamp.reset();
        return Unpublished;
    }
    if (entry.stamp != stamp || entry.publishedStamp != published) {
        const bool isOldFile = entry.good && entry.stamp == stamp;
        const Publication before = entry.current;
        entry.stamp = stamp;
        entry.publishedStamp = published;
        readLocale(locale, entry);
        if (isOldFile && before.file == entry.current.file)
            entry.current = before; // what changed there is not published yet
    }
    if (!entry.good)
        return stamp ? Unreadable : Unpublished;
    *publication = entry.current;
    return Available;
}

// Null without an error: there is nothing to deliver.
std::optional<PackedDocument> ProjectFolder::packed(const QString &locale, const Entry &entry,
                                                    QString *error) const
{
    std::optional<PackedDocument> result;
    const auto pack = [this, error](const QByteArray &document) {
        return packedDocument(document, m_project.deliveryKey, LoosePlaceholders::PutIntoElements, error);
    };
    if (entry.stamp) {
        const QByteArray document = readWholeFile(localePath(locale), error);
        result = error->isEmpty() ? pack(document) : std::nullopt;
    }
    if (!error->isEmpty() || !entry.publishedStamp)
        return result;
    const QByteArray document = m_published.document(locale);
    return document.isNull() ? result : pack(document);
}

void ProjectFolder::readLocale(const QString &locale, Entry &entry)
{
    const QString path = localePath(locale);
    QString error;
    const auto document = packed(locale, entry, &error);
    if (!document && error.isEmpty())
        return;
    if (!document) {
        m_log(QStringLiteral("%1 cannot be published: %2%3")
                  .arg(path, error,
                       entry.good ? QStringLiteral("; going on with the last good version") : QString()));
        return;
    }
    QDateTime modified = entry.stamp ? entry.stamp->modified : entry.publishedStamp->modified;
    if (entry.publishedStamp)
        modified = std::max(modified, entry.publishedStamp->modified);
    const bool isNew = !entry.good || document->file != entry.current.file;
    entry.current = {document->file, publicationTime(modified, entry.current.modified)};
    entry.good = true;
    if (isNew)
        m_log(QStringLiteral("published %1").arg(path));
    if (isNew && document->newPlaceholderElements > 0)
        m_log(QStringLiteral("placeholders in it put into <ph> elements: %1")
                  .arg(document->newPlaceholderElements));
}
