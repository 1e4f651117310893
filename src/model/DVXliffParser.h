// DVXliffParser: an XLIFF 1.2 document as records.
#pragma once

#include "DVString.h"

#include <Dorvane/DVError.h>

#include <QByteArrayView>
#include <QHash>

// For screens and tools that want records; the stores read into a DVStringTable instead. What was
// read up to a failure is returned all the same. `error` must be given.
class DVXliffParser
{
public:
    using Strings = QHash<QString, DVStringGroupPtr>;

    // `source` (may be null) receives the forms made from the source texts. Texts carry markers when
    // `needCues`. A group's status is set when a second form of its key is read.
    static Strings parseXliffData(QByteArrayView data, Strings *source, quint32 stringStatus,
                                  DVErrorOr *error, bool needCues);
    static Strings parseXliffData(QByteArrayView data, quint32 stringStatus, DVErrorOr *error, bool needCues);
    // Of a file that holds edits only: an empty target is a text that somebody has emptied, not one that is
    // missing.
    static Strings parseEditedStrings(QByteArrayView data, DVErrorOr *error, bool needCues);
};
