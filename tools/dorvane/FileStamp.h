// FileStamp: tells whether a file is still the one that was read.
#pragma once

#include <QDateTime>
#include <QFileInfo>

#include <optional>

// Beside the modification time, which tools like "cp -p" carry over, the time of the last change of
// the file's record, which nobody can set.
struct FileStamp
{
    QDateTime modified;
    QDateTime recordChanged;
    qint64 size = 0;

    friend bool operator==(const FileStamp &, const FileStamp &) = default;

    // Nothing when there is no such file. Take it before reading: a file that changes meanwhile then
    // has another stamp the next time.
    static std::optional<FileStamp> of(const QString &path)
    {
        const QFileInfo info(path);
        if (!info.isFile())
            return {};
        return FileStamp{info.lastModified().toUTC(), info.metadataChangeTime().toUTC(), info.size()};
    }
};
