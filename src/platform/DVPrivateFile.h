// DVPrivateFile: whole-file reads and atomic writes with mode 0600.
#pragma once

#include <Dorvane/DVError.h>

#include <QByteArray>
#include <QString>

namespace DVPrivateFile {

// Writes all of `data` beside the target, syncs it, and moves it into place, so that a kill leaves
// either the old file or the new one. Missing parents are created with mode 0700.
DVErrorOr write(const QString &path, const QByteArray &data);

// The whole file, or an error in the domain "dorvane.file". A file larger than `limit` bytes is an error.
DVErrorOr read(const QString &path, QByteArray *data, qint64 limit = qint64(1) << 30);

} // namespace DVPrivateFile
