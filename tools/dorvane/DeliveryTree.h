// DeliveryTree: the folder that a static web server delivers translations from.
#pragma once

#include <QLockFile>
#include <QString>
#include <QStringList>

#include <memory>
#include <optional>

// ROOT/projects/<project>/<version>/<locale>/strings.gz, for one project and some versions. A version
// named `anyVersion` stands for every version without a folder of its own; the servers' configurations
// in docs/operating/ know it.
//
// Whoever downloads meanwhile gets the old file or the new one. The versions share one file on the disk
// (hard links) where the file system has them; nothing is ever written into a file that is in place.
class DeliveryTree
{
public:
    static QString anyVersion() { return QStringLiteral("any"); }

    // Null when `name` can be a folder of a tree on every server; else why not.
    static QString nameProblem(const QString &name);

    DeliveryTree(const QString &root, const QString &projectId, const QStringList &versions);

    // Makes the root folder and keeps other writers out for the life of this object. Null on success.
    QString open();

    enum class Change { None, Replaced, New };
    struct Published
    {
        Change change = Change::None;
        int versions = 0;         // in which a file was written
        bool inTheFuture = false; // dated so, because the file before it was
    };
    // Puts `file` in place for `locale` in every version. A file that holds the same document already,
    // opened with `key`, stays with its date, so that devices are told that theirs is current.
    // Nothing after `error` was set.
    std::optional<Published> publish(const QString &locale, const QByteArray &file, const QString &key,
                                     QString *error);

    // What the versions deliver beside `locales`, as "<version>/<locale>".
    QStringList othersThan(const QStringList &locales) const;
    // Takes one of them away. Null on success.
    QString remove(const QString &versionAndLocale);

    // Versions of the project that stand in the tree and are not written by this object.
    QStringList otherVersions() const;

private:
    QString projectPath() const;
    QString filePath(const QString &version, const QString &locale) const;
    QString write(const QStringList &paths, const QByteArray &file, Published *published) const;

    QString m_root;
    QString m_projectId;
    QStringList m_versions;
    std::unique_ptr<QLockFile> m_lock;
};
