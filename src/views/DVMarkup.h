// DVMarkup: HTML as a label holds it, read and written at its source, which stays the host's but for the
// texts.
#pragma once

#include <QList>
#include <QString>

// A tag or a comment in a source.
struct DVMarkupTag
{
    qsizetype begin = 0;
    qsizetype end = 0;
    QStringView name; // of a tag, as it is written; empty for a comment
    enum Kind { Opens, Closes, Stands } kind = Stands;
};

namespace DVMarkup {

// From left to right. Linear; a "<" without its ">" is a text, and so is all that follows it.
QList<DVMarkupTag> tagsIn(QStringView html);

// The text of a source without its tags, its entities resolved, white space as it is.
QString textOf(QStringView html);

// The text of a source as it is shown.
QString plainText(const QString &html);

// A text as source. In a tag also with the quotation marks of attributes.
QString escaped(const QString &text, bool inTag = false);

// Whether tags and markers in it are closed inside of each other.
bool isBalanced(QStringView html);

// The tags before the first character of a piece (behind its start marker), and those that close what they
// leave open.
struct Around
{
    QString before;
    QString after;
};
Around aroundFirstCharacter(QStringView piece);

// A piece as one text in the format of its first character. Tags whose other half is outside of the piece
// stand behind it.
QString flattened(QStringView piece);

// A text with its line breaks where the source had them as tags.
bool breaksLines(QStringView html);

} // namespace DVMarkup
