// DVTableFiles: XLIFF files of the device and of the host as string tables.
#pragma once

#include "DVStringTable.h"

#include <Dorvane/DVError.h>

#include <QString>

#include <functional>

// What tells one content of a path from another: strings files are replaced by renaming, never rewritten.
struct DVFileIdentity
{
    quint64 device = 0;
    quint64 inode = 0;
    qint64 size = -1; // -1: no file
    qint64 modifiedNs = 0;

    static DVFileIdentity ofPath(const QString &path);
    friend bool operator==(const DVFileIdentity &, const DVFileIdentity &) = default;
};

struct DVFileTables
{
    DVStringTablePtr strings;
    DVStringTablePtr sources; // the source-language texts
    DVFileIdentity identity;  // of the file that they were read from
};

namespace DVTableFiles {

enum class Failure {
    None,
    Missing,   // no file at the path
    Unread,    // an error of the device, or a cancelled load: says nothing about the content
    Unparsable // read completely, and not XLIFF
};

// Reads and parses a file. A file that has not changed since its tables were made, and whose tables
// are still held by somebody, is not read again. Any thread.
Failure load(const QString &path, quint32 status, bool needCues, DVFileTables *tables, DVErrorOr *error);

// Parses the file on a thread of the library's own, then runs `then` on the main thread; a load()
// of the same file from inside `then` finds the tables ready. So a refresh does not hold the main
// thread. Dropped at the application's end.
void prepare(const QString &path, quint32 status, bool needCues, std::function<void()> then);

// Ends that thread, at the application's end.
void finish(int milliseconds);

} // namespace DVTableFiles
