// A delivered file: the AES encryption of the gzip compression of an XLIFF document.
#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

// Applications read no larger document.
inline constexpr qint64 maximumDocumentSize = qint64(256) << 20;

// Null when applications can read the document; else why they cannot, with line and column.
QString xliffProblem(const QByteArray &document);

struct PackedDocument
{
    QByteArray file;
    int newPlaceholderElements = 0;
};
// What to do with Qt's placeholders that stand outside <ph> elements (see PlaceholderElements.h).
enum class LoosePlaceholders { Leave, PutIntoElements };

// Nothing, or null, after `error` was set.
std::optional<PackedDocument> packedDocument(const QByteArray &document, const QString &key,
                                             LoosePlaceholders placeholders, QString *error);
QByteArray documentFromDeliveredFile(const QByteArray &file, const QString &key, QString *error);

// Whether a gzip stream holds all of `inflated` as it was compressed: the library inflates damaged streams
// leniently.
bool isUndamaged(const QByteArray &gzip, const QByteArray &inflated);

// Whole files. Null, or false, after `error` was set; a failed write leaves the old file as it was.
// A pipe or a device is written to, and stays one.
QByteArray readWholeFile(const QString &path, QString *error);
bool writeWholeFile(const QString &path, const QByteArray &content, QString *error);
