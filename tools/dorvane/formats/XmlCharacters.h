// XML characters: what of a text can stand in an XML 1.0 document, and how.
#pragma once

#include "Message.h"

#include <QByteArray>

#include <optional>

// Null when the document is well-formed, within the limits of applications (docs/formats/xliff.md) and
// without a document type declaration; else what is wrong with it. Linear in the document, whatever it
// holds.
std::optional<FormatError> xmlProblem(const QByteArray &document);

// Escaped for an element's content or for an attribute's value in double quotes.
QByteArray xmlContent(QStringView text);
QByteArray xmlAttribute(QStringView text);

// XML 1.0 has no control characters but tab, line feed and carriage return. A key has their pictures
// (U+2400 to U+241F) in their place, and lookups know it.
QString withControlPictures(const QString &text);
QString withoutControlPictures(const QString &text);
bool hasControlCharacters(QStringView text); // that XML 1.0 has not

// Whether XML 1.0 has all its characters, apart from control characters: no half surrogate pair, neither
// U+FFFE nor U+FFFF.
bool isXmlText(QStringView text);

// The picture of "end of transmission", between the parts of a key with a context.
inline constexpr char16_t keySeparator = 0x2404;
