// ProjectFolder: a folder with project.json and <locale>.xlf files, looked at anew at each question.
#pragma once

#include "DeliveredFile.h"
#include "FileStamp.h"
#include "Project.h"

#include <QDateTime>
#include <QHash>
#include <QString>

#include <functional>
#include <optional>
#include <utility>

// What one locale delivers.
struct Publication
{
    QByteArray file;    // packed with the project's key
    QDateTime modified; // whole seconds, UTC; later than every publication of this locale before it
};

// A file that changes is a publication; one that cannot be read is reported once to `log`, and the
// last good state goes on being served. Files are read again only when their stamp changes.
class ProjectFolder
{
public:
    using Log = std::function<void(const QString &)>;

    ProjectFolder(const QString &path, Log log);

    // Reads project.json for the first time. Null on success, else what is wrong.
    QString open();

    // Reads it again when it changed.
    const Project &project();
    // As it was read last: what it holds stays where it is until project() is called.
    const Project &lastProject() const { return m_project; }

    // What was published on the platform itself. `path` says on which file of its own that depends for a
    // target locale, `document` gives what is delivered in place of the folder's file, null for that file.
    struct Published
    {
        std::function<QString(const QString &locale)> path;
        std::function<QByteArray(const QString &locale)> document;
    };
    void setPublished(Published published) { m_published = std::move(published); }

    enum Availability { Available, Unpublished, Unreadable };
    // `locale` must be one of the project's. `publication` is set when it is available.
    Availability publication(const QString &locale, Publication *publication);

private:
    struct Entry
    {
        std::optional<FileStamp> stamp;          // of the folder's file
        std::optional<FileStamp> publishedStamp; // of what was published here over it
        Publication current;
        bool good = false; // `current` holds something
    };

    QString projectPath() const { return m_path + QStringLiteral("/project.json"); }
    QString readProject();
    QString localePath(const QString &locale) const;
    std::optional<FileStamp> publishedStamp(const QString &locale) const;
    void readLocale(const QString &locale, Entry &entry);
    std::optional<PackedDocument> packed(const QString &locale, const Entry &entry, QString *error) const;

    QString m_path;
    Log m_log;
    Published m_published;
    Project m_project;
    std::optional<FileStamp> m_projectStamp;
    QHash<QString, Entry> m_entries;
};
