// Reads Qt's translation sources (.ts).
#pragma once

#include "Message.h"

#include <QByteArray>

#include <functional>
#include <optional>

struct TsMessages
{
    MessageFile file;
    int variantsLeftOut = 0; // length variants beyond the first
};

// Messages in the order of the file, obsolete ones included. `locale`: that of the numerus forms, in
// place of the one that the file names. `progress` (may be empty) is called now and then with the number
// of messages read. Takes untrusted files: nothing but an empty document type declaration is accepted.
std::optional<TsMessages> readTs(const QByteArray &document, const QString &locale, FormatError *error,
                                 const std::function<void(qsizetype)> &progress = {});

// The same document with blanks in place of "<!DOCTYPE TS>".
QByteArray withoutTsDocumentType(const QByteArray &document);
