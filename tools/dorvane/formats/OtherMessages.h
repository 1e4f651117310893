// Messages of files that are not Qt's: XLIFF 1.2 documents and strings files.
#pragma once

#include "Message.h"

#include <QByteArray>
#include <QHash>

#include <optional>

// What of an XLIFF unit is the key of its text.
enum class XliffKeys {
    Auto,   // its resname, else its id in files made from strings files, else its source text
    Id,     //
    Source, //
};

// `locale`: that of numbered plural forms, in place of the one that the document names.
std::optional<MessageFile> readXliffMessages(const QByteArray &document, const QString &locale,
                                             XliffKeys keys, FormatError *error);

// `"key" = "text";`, sorted by key. `sources`: texts of the base language, where they are known.
std::optional<MessageFile> readStringsMessages(const QByteArray &document,
                                               const QHash<QString, QString> &sources, FormatError *error);
// Of the base language itself: each text is its own source.
std::optional<MessageFile> readBaseStringsMessages(const QByteArray &document, FormatError *error);
