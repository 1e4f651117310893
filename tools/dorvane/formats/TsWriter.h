// Writes Qt's translation sources (.ts).
#pragma once

#include "LocaleFile.h"
#include "Message.h"

#include <QByteArray>

#include <optional>

struct TsExport
{
    QByteArray document;
    int translated = 0;   // messages that the folder has a translation for
    int untranslated = 0; // the others
};

// All strings as a file of its own; contexts, comments and locations as far as the folder knows them.
TsExport tsOfStrings(const QList<LocaleString> &strings, const QString &locale, const QString &sourceLocale);

// A .ts file with the translations of the folder; whatever else stands in it stays to the byte, and so do
// messages that say the same already or that the folder has no translation for. A file of another
// language gives its messages only, not their translations. Nothing after `error` was set.
std::optional<TsExport> tsWithStrings(const QByteArray &ts, const QList<LocaleString> &strings,
                                      const QString &locale, FormatError *error);
