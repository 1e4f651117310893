// ImportedUnits: what an uploaded XLIFF document says of strings.
#pragma once

#include "Catalogue.h"

#include <QByteArray>
#include <QMap>
#include <QString>
#include <QStringList>

#include <optional>

struct ImportedString
{
    FormTexts targets;
    QString targetLocale; // as its <file> names it
    QString step;         // the units' phase; empty when they name none
    QStringList problems; // of the document itself
};

using ImportedStrings = QMap<QString, ImportedString>; // by hashcode

// Nothing after `error` was set to why applications could not read the document.
std::optional<ImportedStrings> importedStrings(const QByteArray &document, QString *error);

// Where placeholders of the targets do not agree with those of the catalogue's sources, by hashcode.
QMap<QString, QStringList> placeholderProblems(const ImportedStrings &strings, const Catalogue &catalogue,
                                               const QString &sourceLocale, const QString &locale);
