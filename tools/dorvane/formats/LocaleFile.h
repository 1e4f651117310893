// LocaleFile: a locale's strings in a project folder (docs/formats/project-folder.md), as an XLIFF
// document that is changed where its strings change and is kept to the byte elsewhere.
#pragma once

#include "XliffUnits.h"

#include <QByteArray>
#include <QHash>
#include <QMap>
#include <QSet>

#include <optional>

// Everything that is known of one key.
struct LocaleString
{
    QString key;
    QString source;
    // Translations by CLDR's category, or one under the empty name. A category without a text is one
    // that waits for its translation. Never empty.
    QMap<QString, std::optional<QString>> forms;
    QMap<QString, QString> suggestions; // texts that are not served, likewise
    QList<XliffNote> notes;
    QList<XliffUse> uses;

    bool isPlural() const { return !forms.contains(QString()); }
};

class LocaleFile
{
public:
    enum Change { New, Changed, Unchanged };

    // Nothing after `error` was set.
    static std::optional<LocaleFile> parse(const QByteArray &document, FormatError *error);
    // Without strings. `original` names the application for people.
    static LocaleFile empty(const QString &original, const QString &sourceLocale, const QString &locale);

    // These tell of the document as it was read, whatever was put in since. Strings in its order.
    QList<LocaleString> strings() const;
    QStringList keys() const { return m_unitsOfKey.keys(); }
    bool has(const QString &key) const { return m_unitsOfKey.contains(key); }
    // What a category's unit of a key holds; null when there is none or it has no text.
    QString target(const QString &key, const QString &category) const;

    // Where the key's text is used, as far as it is noted.
    QList<XliffUse> uses(const QString &key) const;

    // Puts a string in, once for each key at most. A form without a translation keeps the one that is there;
    // notes of others stay. Units that say the same already stay as they are written.
    Change put(const LocaleString &string);
    void remove(const QString &key);

    // With all changes.
    QByteArray document() const;

private:
    struct Edit
    {
        qsizetype begin;
        qsizetype end;
        QByteArray text;
    };
    struct Place
    {
        qsizetype begin;
        qsizetype end;
        QByteArray indentation;
    };

    std::optional<XliffUnit> merged(const LocaleString &string, const QString &category,
                                    const XliffUnit *old) const;
    void replace(qsizetype unit, const XliffUnit &by);
    void insertBehind(qsizetype unit, const QList<XliffUnit> &units);
    void append(const QList<XliffUnit> &units, bool plural);
    void removeUnit(qsizetype unit);
    QByteArray indentationBefore(qsizetype position) const;

    QByteArray m_document;
    QList<XliffUnit> m_units;
    QList<Place> m_places; // of the units
    qsizetype m_bodyEnd = 0;
    QHash<QString, QList<qsizetype>> m_unitsOfKey;
    QList<Edit> m_edits;
    QByteArray m_appended;
};

// The identifier of a key's units, the same in every locale: letters that are easy to read, and a hash.
QString unitId(const QString &key);
