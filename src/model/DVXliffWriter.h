// DVXliffWriter: string records as an XLIFF 1.2 document.
#pragma once

#include "DVString.h"

#include <Dorvane/DVError.h>

#include <QByteArray>
#include <QMap>

#include <functional>
#include <variant>

// What a document says besides its strings.
struct DVXliffHeader
{
    QString sourceLocale; // platform form
    QString targetLocale; // platform form
    QString stepUid;      // of the current workflow step; the phase of every unit
    QString stepName;

    // The form of the base locale that stands as a unit's source; null when there is none.
    std::function<DVStringPtr(const QString &key, const QString &plural)> baseForm;
};

// Class operations only. Main thread, as records are.
class DVXliffWriter
{
public:
    // By key: the form that could not be written, or, when the file could not, its group.
    using Failures = QMap<QString, std::variant<DVStringPtr, DVStringGroupPtr>>;

    // Replaces the file atomically. `failures` must be given. On a write error every entry is a failure.
    static DVErrorOr writeXliffFromStrings(const DVStringGroups &strings, const QString &toFile,
                                           const DVXliffHeader &header, Failures *failures);

    // The document as the records give it, not escaped: texts may hold anything. Keys and plural forms
    // are sorted. What goes into a file is dv_escapedXliff() of it.
    static QString xliffFromStrings(const DVStringGroups &strings, const DVXliffHeader &header,
                                    Failures *failures);
    // One unit; null when the form has no text or no uid.
    static QString xliffForString(const DVString &string, const QString &phase, const DVXliffHeader &header);
    // The text with each argument in a placeholder element, numbered from 1. Markers stay.
    static QString stringWithTagsForString(const DVString &string);
};

// The bytes of a document of DVXliffWriter's in which whatever would not parse is escaped: texts and keys
// read back as they were. Linear.
QByteArray dv_escapedXliff(const QString &document);
