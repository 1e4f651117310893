// DVMarkupScanner: finds where an XML document can be cut, and what must not reach the parser.
#pragma once

#include <cstddef>
#include <string_view>

// XML parsers that are fed in pieces look for the end of a markup again with every piece. The scanner
// looks before the parser, so that the parser only ever sees whole markups of bounded size. It judges
// nothing else: malformed markup is passed on for the parser to refuse.
struct DVMarkupScan
{
    enum Problem { None, DocumentType, MarkupTooLong };

    Problem problem = None;
    // What stands before may be handed to the parser: it ends between markups, or inside a text or a
    // CDATA section where a cut does no harm. With a problem, where the markup at fault begins.
    std::size_t end = 0;
    bool insideCData = false; // state at `end`
};

// Full: no more bytes can be added, so a markup that fills the window and is still open is too long.
// Last: the document ends with the window.
enum class DVWindow { Full, Last };
// `window` begins where the last scan ended, with the state that it left.
DVMarkupScan dv_scanMarkup(std::string_view window, bool insideCData, DVWindow kind);
