// DVFoundText: a displayed text cut into the strings that made it, and put together again from their
// current texts.
#pragma once

#include "DVNestedPieces.h"

// One marked piece.
struct DVFoundPiece
{
    DVNestedPiece piece;
    DVStringPtr string; // null: no string is known to have made it
    DVStringGroupPtr group;
    QString pluralForm;          // of the string
    QString foundFormat;         // the string's text when it was found: an edit changes the record itself
    QList<DVStringValue> values; // of its arguments
    enum Use {
        Text,  // the view shows the string's text as it is
        Source // the string's text is HTML
    } use = Text;
    bool inTag = false; // in an attribute
};

// A value. Main thread only, as the records are.
class DVFoundText
{
public:
    enum Kind { Plain, Html };

    DVFoundText() = default;
    static DVFoundText find(const QString &text, Kind kind);

    // What was searched: the text, but with a start marker that was cut off, and of HTML with the pieces in
    // one format whose strings are spread over several elements.
    const QString &text() const { return m_text; }
    // Rightmost first, and so a piece after those inside it.
    const QList<DVFoundPiece> &pieces() const { return m_pieces; }

    QString rebuilt() const;
    // One piece with another text of its string.
    QString rebuiltPiece(qsizetype piece, const DVString &string) const;

private:
    class Rebuilding;

    void search(const QString &text);
    void lookUp(DVFoundPiece &found) const;
    void lookUpAs(DVFoundPiece &found, const QString &text) const;
    QList<DVStringValue> nestedValues(const DVNestedPiece &piece) const;
    bool flattenSpreadPieces();

    QString m_text;
    Kind m_kind = Plain;
    QList<DVFoundPiece> m_pieces;
};
