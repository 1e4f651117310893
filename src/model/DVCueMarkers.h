// Operations on texts that carry cue markers. All positions and lengths are UTF-16 units.
#pragma once

#include "DVCue.h"

#include <QList>
#include <QString>

#include <functional>
#include <optional>

// One marked piece found in a displayed text.
struct DVEditionItem
{
    QString string;         // the piece, markers included
    qsizetype location = 0; // range in the searched text
    qsizetype length = 0;
    int level = 0; // nesting depth, 1 for outermost
};

// The text with markers: string start, the text with each format specifier between argument
// markers, string end. A text that begins with a string start is returned as it is.
QString dv_stringWithCues(const QString &text);

// The text with the content of each argument replaced by what `replacement` returns for it (nothing:
// emptied). Not called for an empty argument. Markers are kept.
using DVArgumentReplacement = std::function<std::optional<QString>(const QString &argument)>;
QString dv_enumerateCuesUsingBlock(const QString &text, const DVArgumentReplacement &replacement);

// The marked pieces of a displayed text, rightmost first. Unbalanced or oddly ordered markers give
// an empty result. Linear in the text for texts with few levels; never worse than n log n.
QList<DVEditionItem> dv_localizedStringsInString(const QString &text);

// Markers as "[", "]", "{", "}": for log messages.
QString dv_stringShowingCues(const QString &text);
QString dv_stringByRemovingCues(const QString &text);
