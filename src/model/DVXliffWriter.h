// DVXliffWriter: string records as an XLIFF 1.2 document.
#pragma once

#include "DVString.h"
#include "DVXliffDocument.h"

#include <Dorvane/DVError.h>

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

    // The form of the base locale that stands as a unit's source; null when there is none. May be empty
    // itself.
    std::function<DVStringPtr(const QString &key, const QString &plural)> baseForm;
};

// Class operations only. Main thread, as records are.
class DVXliffWriter
{
public:
    // By key: the form that could not be written, or, when the file could not, its group. A group without
    // any form stands for itself.
    using Failures = QMap<QString, std::variant<DVStringPtr, DVStringGroupPtr>>;

    // Replaces the file atomically, mode 0600. `failures` must be given. On a write error every entry is a
    // failure.
    static DVErrorOr writeXliffFromStrings(const DVStringGroups &strings, const QString &toFile,
                                           const DVXliffHeader &header, Failures *failures);

    // The document as the records give it, not escaped: texts may hold anything. Keys and plural forms
    // are sorted. A form is left out, and a failure, when it has no text or no uid, or when it or its
    // source is longer than DVXliffReader takes: with it the whole file would be unreadable.
    static QString xliffFromStrings(const DVStringGroups &strings, const DVXliffHeader &header,
                                    Failures *failures);
    // The same document, of which dv_escapedXliff() makes the bytes of a file.
    static DVXliffDocument documentFromStrings(const DVStringGroups &strings, const DVXliffHeader &header,
                                               Failures *failures);
    // One unit, not escaped; null when the form has no text or no uid.
    static QString xliffForString(const DVString &string, const QString &phase, const DVXliffHeader &header);
    // The text with each argument in a placeholder element, numbered from 1; not escaped. Markers stay.
    static QString stringWithTagsForString(const DVString &string);
};
