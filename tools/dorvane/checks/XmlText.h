// XmlText: a text of a document as a reader sees it, and where each of its characters stands there.
#pragma once

#include "Finding.h"

#include <QByteArrayView>
#include <QString>

#include <vector>

// A value. Grows by pieces of the document, in their order.
class XmlText
{
public:
    const QString &text() const { return m_text; }

    // `bytes` of the document, which begin at `offset`: references are decoded and line ends made line
    // feeds (XML 1.0, 2.11 and 4.1), in a CDATA section the line ends only.
    void append(QByteArrayView bytes, qsizetype offset, bool isCData);

    // The bytes behind a range of UTF-16 units of the text, which `document` still holds.
    Place placeOf(qsizetype begin, qsizetype length, QByteArrayView document) const;

private:
    // From `index` of the text on, its characters stand one behind the other from `offset` on; or one
    // character stands there as `referenceLength` bytes.
    struct Run
    {
        qsizetype index = 0;
        qsizetype offset = 0;
        qsizetype referenceLength = 0;
    };
    // The bytes of the character (or, for a half, of its whole surrogate pair) at `index`.
    Place characterAt(qsizetype index, QByteArrayView document) const;

    QString m_text;
    std::vector<Run> m_runs;
};

// An attribute's value: references decoded, blanks made spaces (XML 1.0, 3.3.3).
QString xmlAttributeValue(QByteArrayView raw);
