// ProjectFolder: a folder with project.json and <locale>.xlf files, looked at anew at each question.
#pragma once

#include "FileStamp.h"
#include "Project.h"

#include <QDateTime>
#include <QHash>
#include <QString>

#include <functional>
#include <optional>

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

    const Project &project();

    enum Availability { Available, Unpublished, Unreadable };
    // `locale` must be one of the project's. `publication` is set when it is available.
    Availability publication(const QString &locale, Publication *publication);

private:
    struct Entry
    {
        std::optional<FileStamp> stamp;
        Publication current;
        bool good = false; // `current` holds something
    };

    QString projectPath() const { return m_path + QStringLiteral("/project.json"); }
    QString readProject();
    void readLocale(const QString &path, const FileStamp &stamp, Entry &entry);

    QString m_path;
    Log m_log;
    Project m_project;
    std::optional<FileStamp> m_projectStamp;
    QHash<QString, Entry> m_entries;
};
