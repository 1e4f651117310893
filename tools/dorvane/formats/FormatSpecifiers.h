// Format specifiers: the places of a text that stand for arguments.
#pragma once

#include <QList>
#include <QString>

struct FormatSpecifier
{
    qsizetype begin = 0;
    qsizetype length = 0;
    char16_t conversion = 0; // of a printf-style one; 0: Qt's
};

// Qt's placeholders (%1 to %99, %L1, %n, %Ln) and printf-style specifiers ("%@", "%1$d", "%.2f"), in order.
// The flag of a blank is not read: "50% of" has no argument. "%%" is one where there are other printf-style
// ones too: the text is a format then, and the two make one sign.
QList<FormatSpecifier> formatSpecifiersIn(QStringView text);
