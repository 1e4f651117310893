// DVXliffPlace: where in a document the parser stands, which is given the document in pieces.
#pragma once

#include <QtGlobal>

#include <libxml/parser.h>

#include <string_view>

struct DVXliffPlace
{
    struct Position
    {
        int line = 1;
        qint64 column = 1; // in characters, from 1
    };

    // Where the parser stands.
    Position position(xmlParserCtxt *parser) const;
    // Of a byte of the piece.
    Position positionAt(xmlParserCtxt *parser, size_t offset) const;
    void endPiece();

    std::string_view piece; // of the document, that the parser is reading
    size_t bytesAdded = 0;  // by us in front of it
    qint64 bytesParsed = 0;

private:
    qint64 consumedOfPiece(xmlParserCtxt *parser) const;

    qint64 pieceOffset = 0;        // in what the parser was given
    qint64 columnsBeforePiece = 0; // characters of the line that the piece begins in
};
