#include "DVXliffPlace.h"

#include <algorithm>

using std::string_view;

namespace {

// Of UTF-8.
qint64 characterCount(string_view text)
{
    return std::count_if(text.begin(), text.end(), [](char c) { return (c & 0xC0) != 0x80; });
}

} // namespace

void DVXliffPlace::endPiece()
{
    const size_t lineStart = piece.rfind('\n');
    if (lineStart == string_view::npos)
        columnsBeforePiece += characterCount(piece);
    else
        columnsBeforePiece = characterCount(piece.substr(lineStart + 1));
    pieceOffset = bytesParsed;
    bytesAdded = 0;
    piece = {};
}

qint64 DVXliffPlace::consumedOfPiece(xmlParserCtxt *parser) const
{
    return xmlByteConsumed(parser) - pieceOffset - qint64(bytesAdded);
}

DVXliffPlace::Position DVXliffPlace::position(xmlParserCtxt *parser) const
{
    const qint64 consumed = consumedOfPiece(parser);
    if (consumed < 0) // in a piece before, of which it had kept a rest
        return {parser->input ? parser->input->line : 1, parser->input ? parser->input->col : 1};
    return positionAt(parser, size_t(consumed));
}

DVXliffPlace::Position DVXliffPlace::positionAt(xmlParserCtxt *parser, size_t offset) const
{
    const qint64 consumed = std::max<qint64>(0, consumedOfPiece(parser));
    const string_view before = piece.substr(0, offset);
    const string_view ahead = before.substr(std::min(size_t(consumed), before.size()));
    const int line =
        (parser->input ? parser->input->line : 1) + int(std::count(ahead.begin(), ahead.end(), '\n'));
    const size_t lineStart = before.rfind('\n');
    if (lineStart == string_view::npos)
        return {line, columnsBeforePiece + characterCount(before) + 1};
    return {line, characterCount(before.substr(lineStart + 1)) + 1};
}
