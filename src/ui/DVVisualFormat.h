// DVVisualFormat: one line of visual format, such as "H:|-10-[field(>=44)]-(margin)-|", taken apart.
#pragma once

#include <Dorvane/DVError.h>

#include <QList>
#include <QString>

// What a number in a format or a metric may be at most: far beyond any screen, far below where sums overflow.
constexpr double dv_longestPoints = 1000000;

// A length: of a view, or of the gap before or after one.
struct DVLengthRule
{
    enum Relation { Equal, AtLeast, AtMost };

    Relation relation = Equal;
    double points = 0;
    QString name; // a metric, or for a view's length another view of the format's layout; null: `points`

    friend bool operator==(const DVLengthRule &, const DVLengthRule &) = default;
};

// Grammar, without blanks:
//   format = [ "H:" | "V:" ] [ "|" gap ] view { gap view } [ gap "|" ]
//   gap    = "" (none) | "-" (standard) | "-" number-or-name "-" | "-(" rule { "," rule } ")-"
//   view   = "[" name [ "(" rule { "," rule } ")" ] "]"
//   rule   = [ "==" | "<=" | ">=" ] ( number | name )
// Without "H:" or "V:" it is horizontal. "|" is the edge of the layout. Priorities ("@250") are not known.
struct DVVisualFormat
{
    struct View
    {
        QString key;
        QList<DVLengthRule> rules;
    };
    struct Gap
    {
        bool standard = false;
        QList<DVLengthRule> rules; // none, and not standard: the neighbours touch
    };

    Qt::Orientation orientation = Qt::Horizontal;
    bool fromEdge = false; // begins with "|"
    bool toEdge = false;   // ends with "|"
    QList<View> views;     // never empty
    QList<Gap> gaps;       // between neighbours, edges included

    // The error says what was expected at which character, counted from 1.
    static DVErrorOr parse(const QString &text, DVVisualFormat &format);
};

// "dorvane.SDK", 500, with the format that it is about.
DVError dv_visualFormatError(const QString &format, const QString &reason);
