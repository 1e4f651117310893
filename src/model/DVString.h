// DVString and DVStringGroup: one text form of a key, and all forms of a key.
#pragma once

#include "DVPrivateExport.h"

#include <QHash>
#include <QList>
#include <QMap>
#include <QString>

#include <memory>
#include <optional>
#include <variant>

class DVStringGroup;
using DVStringGroupPtr = std::shared_ptr<DVStringGroup>;
using DVStringGroups = QMap<QString, DVStringGroupPtr>; // by key

// A record, shared by identity. Not thread-safe: records live on the main thread.
class DVString
{
public:
    QString key;        // as the host passes it to the lookup (the XLIFF resname)
    QString uid;        // the XLIFF trans-unit id, with its "[category]" suffix
    QString pluralForm; // "zero" ... "other"; null for a string without plurals
    std::weak_ptr<DVStringGroup> group;
    bool dynamic = false;    // the text holds at least one format argument
    bool fromBase = false;   // taken from the base-locale strings
    QString localizedFormat; // the text; with cue markers when they were needed at reading; null when there
                             // is none
    QString note;
    QString localizedHash; // comparison key of the text
    QList<QString> argumentFormatSpecifiers;

    // Takes the text, and from it the arguments and the hash. A string that is already dynamic
    // keeps its earlier list of specifiers.
    void extractFormatFromString(const QString &markedText);
    void recalculateHash();

    // A new record with everything but the group.
    std::shared_ptr<DVString> copy() const;
    DORVANE_PRIVATE_EXPORT QString description() const;
};
using DVStringPtr = std::shared_ptr<DVString>;

// What filled an argument of a string: a text of the host's, or another string.
using DVStringValue = std::variant<QString, DVStringPtr>;

// QString::toLower in a time that grows with the length of the text only.
QString dv_lowerCased(const QString &text);

// The comparison key of a text: lower-cased, and for a dynamic text with its arguments emptied.
QString dv_localizedHash(const QString &text, bool dynamic);

enum DVStringStatus : quint32 {
    DVStringStatusNone = 0,
    DVStringStatusPublished = 1,
    DVStringStatusAccepted = 2,
    DVStringStatusRejected = 3,
    DVStringStatusUntranslated = 4,
};
// "", "PUBLISHED", "ACCEPTED", "REJECTED", "UNTRANSLATED", else "UNKNOWN".
DORVANE_PRIVATE_EXPORT QString dv_stringStatusName(quint32 status);

class DVStringGroup : public std::enable_shared_from_this<DVStringGroup>
{
public:
    QString key;
    QHash<QString, DVStringPtr> pluralForms; // by category name, or "none"
    bool hasPlurals = false;                 // of the most recently added form
    QString rejectReason;
    QString rejectDescription;
    quint32 status = DVStringStatusNone;

    // The group must be owned by a shared_ptr: the form's link back to it is weak. A form that it replaces
    // lives as long as the group, which is all that dv_sharedForm() keeps alive.
    void addStringForm(const DVStringPtr &form);
    // A null name means "other" with plurals, else "none". Not strict: falls back to "other", then
    // to the first form in the categories' order of presentation.
    DORVANE_PRIVATE_EXPORT DVStringPtr stringForPluralForm(const QString &name, bool strict) const;
    // Identifier of the string without the "[category]" suffix; null without a form.
    QString uid() const;
    QList<QString> sortedPluralFormNames() const;
    // All forms: the categories in their order of presentation, then the form of a string without plurals,
    // then whatever else a file named.
    QList<DVStringPtr> sortedForms() const;

    // Forms are copied too; their links to a group are left empty.
    DVStringGroupPtr copy() const;
    QString description() const;

private:
    QList<DVStringPtr> m_replacedForms;
};

// A form of the group as it is handed out: it keeps its group, too, whatever becomes of the store. Not to be
// added to a group.
DVStringPtr dv_sharedForm(const DVStringGroupPtr &group, const DVStringPtr &form);
