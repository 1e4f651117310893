// DVCapsules: a text as an editor shows it, each format argument one capsule that cannot be typed into.
#pragma once

#include "DVString.h"

#include <QList>
#include <QString>

// A stretch of text, or one capsule.
struct DVCapsuleRun
{
    QString text;
    QString capsuleKey;    // what the capsule says, before it is capitalised; null for text
    QString capsuleFormat; // of a capsule: the argument that it stands for, such as "%1$@"

    bool isCapsule() const { return !capsuleKey.isNull(); }
    friend bool operator==(const DVCapsuleRun &, const DVCapsuleRun &) = default;
};

// What a user interface turns into styled text.
struct DVCapsuleText
{
    QList<DVCapsuleRun> runs; // no empty text among them
    double size = 0;          // of the system font, in points; capsules stand a quarter of it below the line
    bool editing = false;     // capsules are coloured, else grey

    friend bool operator==(const DVCapsuleText &, const DVCapsuleText &) = default;
};

// Capsules have the key "variable" and, in order, the record's format specifiers; one that the record has
// no specifier for keeps what the text says. A record that is not dynamic gives its text.
DVCapsuleText dv_stringWithCapsulesWithSize(const DVString &string, double size, bool editing);

// Runs as they were edited, back in marked form.
struct DVMarkedUpText
{
    QString text; // begins and ends with the markers of a string, capsules between those of an argument
    int capsules = 0;

    friend bool operator==(const DVMarkedUpText &, const DVMarkedUpText &) = default;
};

// Markers in what was typed or pasted go: they would make arguments that no capsule stands for.
DVMarkedUpText dv_markedUpText(const QList<DVCapsuleRun> &runs);
