// Catalogue: the strings of one locale as the folder's XLIFF files have them.
#pragma once

#include "FileStamp.h"
#include "Project.h"

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QMap>
#include <QString>

#include <functional>
#include <optional>
#include <utility>

// By CLDR's category, "none" for a string without plurals. Texts are marked ones (MarkedText.h).
using FormTexts = QMap<QString, QString>;

struct CatalogueString
{
    QString hashcode; // the unit's id without "[one]"
    QString key;
    QString note;
    FormTexts sources;
    FormTexts targets; // empty texts too: not translated

    bool isPlural() const { return !sources.contains(QStringLiteral("none")); }
    // The source that a category is translated from: its own, or that of "other".
    QString sourceOf(const QString &category) const;
};

// Categories that are known and have a plural, in their order: "zero" to "other".
const QStringList &pluralCategories();

class Catalogue
{
public:
    // Nothing after `error` was set.
    static std::optional<Catalogue> of(const QByteArray &document, QString *error);

    const QList<CatalogueString> &strings() const { return m_strings; }
    // The first of that hashcode; null when there is none. Files made by hand may give one to several keys,
    // or none at all: those are served like the others, and cannot be changed here.
    const CatalogueString *find(const QString &hashcode) const;
    // Adds, without a translation, the strings of which neither hashcode nor key is there.
    void addMissing(const Catalogue &source, const QString &locale);

private:
    CatalogueString &stringOf(const QString &hashcode, const QString &key);

    QList<CatalogueString> m_strings; // in the order of the documents
    QHash<QString, qsizetype> m_firstOfHashcode;
    QHash<std::pair<QString, QString>, qsizetype> m_places; // of hashcode and key
};

// Reads the files of a folder when they are new.
class Catalogues
{
public:
    using Log = std::function<void(const QString &)>;

    Catalogues(const QString &folder, Log log);

    // Of a target locale: its own file, and what only the source locale's file has. A file that cannot be
    // read is reported once, and what it held before stays.
    const Catalogue &ofLocale(const QString &locale, const Project &project);

private:
    struct File
    {
        std::optional<FileStamp> stamp;
        Catalogue catalogue;
    };
    struct Entry
    {
        std::optional<FileStamp> stamp;
        std::optional<FileStamp> sourceStamp;
        bool isMade = false;
        Catalogue catalogue;
    };

    const File &file(const QString &locale);

    QString m_folder;
    Log m_log;
    QHash<QString, File> m_files;
    QHash<QString, Entry> m_entries;
};
