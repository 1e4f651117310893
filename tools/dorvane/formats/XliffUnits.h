// XLIFF units: a whole XLIFF 1.2 document as values, ours or somebody else's.
#pragma once

#include "Message.h"

#include <QByteArray>

#include <optional>

struct XliffNote
{
    QString from; // "developer", "translator", ...; may be empty
    QString text;
    friend bool operator==(const XliffNote &, const XliffNote &) = default;
};

// One place of the application where the text is used.
struct XliffUse
{
    QString context;
    QString comment;
    QString sourceFile;
    QString sourceLine;
    // Its translation was not finished here when another use of the same key had one; the texts that there
    // were, between U+2404.
    std::optional<QString> unfinished;
    friend bool operator==(const XliffUse &, const XliffUse &) = default;
};

// A <trans-unit>. Texts as they read: of inline elements what they hold, of an empty one its equiv-text.
struct XliffUnit
{
    QString id;
    std::optional<QString> resname;
    QString source;
    std::optional<QString> target; // nothing: there is no such element
    QString state;                 // of the target
    bool translate = true;
    bool approved = true; // false only where it says so
    QList<XliffNote> notes;
    QList<XliffUse> uses;
    QString original; // of the <file>
    QString context;  // of the enclosing groups, where they are those of a Qt context
    bool inPluralGroup = false;
    int lostElements = 0; // inline elements that stand for something and do not say what
    FilePosition position;
};

struct XliffDocument
{
    QString sourceLocale; // of the first <file>
    QString targetLocale;
    QString otherTargetLocale; // empty: all <file>s that say one say the same
    FilePosition otherTargetPosition;
    QList<XliffUnit> units;
};

// Takes untrusted documents.
std::optional<XliffDocument> readXliff(const QByteArray &document, FormatError *error);

// Names of what stands in a <context> of ours.
inline constexpr char16_t contextTypeOfContext[] = u"x-qt-context";
inline constexpr char16_t contextTypeOfComment[] = u"x-qt-comment";
inline constexpr char16_t contextTypeOfUnfinished[] = u"x-qt-unfinished";
