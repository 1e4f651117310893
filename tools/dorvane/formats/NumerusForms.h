// Numerus forms: how Qt's tools number the plural forms of a language, and which of CLDR's categories
// each stands for. docs/guides/import-export.md has the table and how it was found.
#pragma once

#include <QList>
#include <QString>
#include <QStringList>

// The category of each numerus form, in the order of a .ts file. One ("other") for languages that Qt's
// tools have no rule for. `locale` in any form ("fr_CA", "fr-CA").
QStringList numerusCategories(const QString &locale);

// A category that the library asks for and no numerus form stands for, and the one whose text is given
// to it: "other" at all events, since lookups fall back to it.
struct FilledCategory
{
    QString category;
    QString from;
};
QList<FilledCategory> filledCategories(const QString &locale);
