// XmlScanner: the tags and texts of a document that is known to be well-formed, with their places.
#pragma once

#include "Finding.h"

#include <QByteArrayView>
#include <QString>

#include <optional>

// Takes a document in UTF-8 that DVXliffReader has read to its end, and so holds no document type
// declaration. Comments and processing instructions are passed over. No copy is made.
class XmlScanner
{
public:
    enum Kind { StartTag, EmptyTag, EndTag, Text, CData, End };

    explicit XmlScanner(QByteArrayView document);

    Kind next();

    // Of what next() found. The content of a CDATA section is without its brackets.
    Place place() const { return m_place; }
    QByteArrayView bytes() const { return m_document.sliced(m_place.begin, m_place.length); }
    // Of a tag, with its prefix.
    QByteArrayView name() const { return m_name; }
    // The value of an attribute of a start tag, decoded; nothing when it is absent.
    std::optional<QString> attribute(QByteArrayView name) const;
    // Where that value stands in the document, between its quotes.
    std::optional<Place> attributePlace(QByteArrayView name) const;

private:
    bool skip(QByteArrayView opening, QByteArrayView closing);
    Kind found(Kind kind, qsizetype begin, qsizetype end, qsizetype next);
    Kind tag();
    qsizetype tagEnd() const;

    QByteArrayView m_document;
    qsizetype m_position = 0;
    Place m_place;
    QByteArrayView m_name;
};
