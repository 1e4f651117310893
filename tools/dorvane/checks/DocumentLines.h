// DocumentLines: lines, columns and excerpts of a document's bytes.
#pragma once

#include "Finding.h"

#include <QByteArrayView>
#include <QString>

#include <vector>

struct LinePosition
{
    qsizetype line = 1;
    qsizetype column = 1; // in characters
};

// A line to show, cut to what is around a place, with a line of blanks and carets to go below it. Neither
// holds a control character, and nothing that changes the direction of what stands behind it.
struct Excerpt
{
    QString line;
    QString carets;
};

// Keeps a view of the document. Quick when places come in their order, also in a document of one line.
class DocumentLines
{
public:
    explicit DocumentLines(QByteArrayView document);

    LinePosition positionOf(qsizetype offset) const;
    Excerpt excerptAt(const Place &place) const;

private:
    qsizetype lineOf(qsizetype offset) const; // from 0

    QByteArrayView m_document;
    std::vector<qsizetype> m_starts;
    mutable qsizetype m_lastOffset = 0; // of which the position was told last
    mutable LinePosition m_last;
};

// A text from a document for one line of a terminal: no control characters, at most `most` characters.
QString forTerminal(const QString &text, qsizetype most);
QString forTerminal(const QString &text); // the whole text
