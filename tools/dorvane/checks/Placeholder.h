// Placeholder: where a text takes an argument.
#pragma once

#include "CheckedDocument.h"

#include <QStringView>

#include <vector>

// A value; points into the text that it was found in.
struct Placeholder
{
    // Numbered: Qt's %1 and %L1. Count: %n and %Ln. Format: printf-style, %@ and %1$d among them.
    // Literal: a percent sign to show. Other: what an element holds that is none of these.
    enum Style { Numbered, Count, Format, Literal, Other };
    // What a Format reads from its argument.
    enum Kind { None, Integer, Floating, Text, Object, Character, Pointer };

    Style style = Other;
    Kind kind = None;
    int number = 0;       // of the argument, from 1; 0: none
    bool ordered = false; // the number of a Format is its place in the text, none is written
    bool inElement = false;
    QStringView written;
    qsizetype begin = 0; // in the text

    // Whether both stand for the same argument.
    friend bool sameArgument(const Placeholder &a, const Placeholder &b)
    {
        return a.style == b.style && a.number == b.number && (a.style != Other || a.written == b.written);
    }
};

// More than a text can have; comparing them costs the square.
inline constexpr size_t mostPlaceholders = 200;

// The first mostPlaceholders of those in placeholder elements and those that look like one outside, in their
// order.
std::vector<Placeholder> placeholdersIn(const CheckedText &text);
