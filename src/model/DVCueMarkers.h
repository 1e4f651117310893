// Operations on texts that carry cue markers. All positions and lengths are UTF-16 units.
#pragma once

#include "DVCue.h"
#include "DVPrivateExport.h"
#include "DVString.h"

#include <QList>
#include <QString>

#include <functional>
#include <optional>

// One marked piece found in a displayed text. The text is shared: nested pieces overlap, and a copy
// of each would cost the square of a deeply nested text.
struct DVEditionItem
{
    QString text;           // the searched text
    qsizetype location = 0; // range in it
    qsizetype length = 0;
    int level = 0; // nesting depth, 1 for outermost
    // Of the string that made the piece, where somebody looked it up: its group, and the name of the form
    // whose text it is (null for a string without plurals).
    DVStringGroupPtr targetString = {};
    QString pluralForm = {};

    // The piece, markers included.
    QString string() const { return text.mid(location, length); }

    friend bool operator==(const DVEditionItem &, const DVEditionItem &) = default;
};

// The text with markers: string start, the text with each format specifier between argument
// markers, string end. A text that begins with a string start is returned as it is. A specifier
// reaches from "%" to the next conversion character; from a "%" that none follows, the text is dropped.
QString dv_stringWithCues(const QString &text);

// The same, but in a text with placeholders of Qt's ("%1" to "%99", "%L1", "%n", "%Ln"; not "%1$@" or "%1d",
// which printf knows) those are arguments beside the printf-style specifiers, and every other "%" is kept.
QString dv_stringWithCuesOfQt(const QString &text);

// The text with the content of each argument replaced by what `replacement` returns for it (nothing:
// emptied). Not called for an empty argument. Markers are kept; one that ends an argument is added where
// it is missing.
using DVArgumentReplacement = std::function<std::optional<QString>(const QString &argument)>;
DORVANE_PRIVATE_EXPORT QString dv_enumerateCuesUsingBlock(const QString &text,
                                                          const DVArgumentReplacement &replacement);

// A text between its argument markers, in order: what stands outside of arguments, and arguments. None is
// empty, and the argument markers are in none. An argument without an end marker reaches to the text's end.
struct DVTextRun
{
    QStringView text; // of the text that was given
    bool isArgument = false;
};
QList<DVTextRun> dv_runsInString(QStringView text);

// What the arguments of a text hold, in order, also those that hold nothing. An argument without an end
// marker reaches to the text's end.
DORVANE_PRIVATE_EXPORT QList<QStringView> dv_argumentsInString(QStringView text);

// The marked pieces of a displayed text, rightmost first. A text with a single piece is taken whole,
// with what stands around its markers. Where the first start marker was cut off it is put back, and
// ranges and pieces are those of the text with it. Unbalanced or oddly ordered markers give an empty
// result. Linear in the text.
DORVANE_PRIVATE_EXPORT QList<DVEditionItem> dv_localizedStringsInString(const QString &text);

// Markers as "[", "]", "{", "}": for log messages.
DORVANE_PRIVATE_EXPORT QString dv_stringShowingCues(const QString &text);
DORVANE_PRIVATE_EXPORT QString dv_stringByRemovingCues(const QString &text);
