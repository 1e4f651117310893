// Merge: puts messages that were read from an application's files into a locale's file.
#pragma once

#include "Keys.h"
#include "LocaleFile.h"

#include <functional>

struct MergeOptions
{
    QString locale;
    ContextKeys contexts = ContextKeys::Auto;
    bool locations = false; // keep where in the sources a text stands
};

struct MergeResult
{
    int fresh = 0;
    int changed = 0;
    int unchanged = 0;
    int kept = 0;       // strings of the file that the messages know nothing of
    int unfinished = 0; // not served
    int obsolete = 0;   // skipped
    int duplicates = 0; // left out
    QStringList warnings;
};

// `progress` (may be empty) is called now and then with the number of keys that are in.
MergeResult mergeMessages(LocaleFile &file, const QList<Message> &messages, const MergeOptions &options,
                          const std::function<void(qsizetype)> &progress = {});
