// Writes strings files, `"key" = "text";`.
#pragma once

#include "LocaleFile.h"

#include <QByteArray>

struct StringsExport
{
    QByteArray document; // UTF-8, sorted by key
    int written = 0;
    int untranslated = 0; // left out
    int plurals = 0;      // of those written, given as their form "other": the format has no others
};

StringsExport stringsFileOf(const QList<LocaleString> &strings);
