// A delivered file: the AES encryption of the gzip compression of an XLIFF document.
#pragma once

#include <QByteArray>
#include <QString>

// Applications read no larger document.
inline constexpr qint64 maximumDocumentSize = qint64(256) << 20;

// Null when applications can read the document; else why they cannot, with line and column.
QString xliffProblem(const QByteArray &document);

// Both return null after `error` was set.
QByteArray deliveredFileFromXliff(const QByteArray &document, const QString &key, QString *error);
QByteArray documentFromDeliveredFile(const QByteArray &file, const QString &key, QString *error);

// Whole files. Null, or false, after `error` was set; a failed write leaves the old file as it was.
QByteArray readWholeFile(const QString &path, QString *error);
bool writeWholeFile(const QString &path, const QByteArray &content, QString *error);
