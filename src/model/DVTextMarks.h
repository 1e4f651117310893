// What a string table looks for in the UTF-8 and UTF-16 of keys and texts.
#pragma once

#include "DVCue.h"

#include <string_view>

inline bool dv_isCue(char16_t c)
{
    using namespace DVCueMarker;
    return c == stringStart || c == stringEnd || c == argumentStart || c == argumentEnd;
}

// XML 1.0, and so XLIFF, has no control characters but tab, line feed and carriage return: their pictures
// (Unicode, "Control Pictures") stand in for the others.
inline bool dv_needsControlPicture(char16_t c)
{
    return c < u' ' && c != u'\t' && c != u'\n' && c != u'\r';
}
inline constexpr char16_t dv_firstControlPicture = 0x2400;
inline constexpr char16_t dv_controlPicture(char16_t c)
{
    return char16_t(dv_firstControlPicture + c);
}

// Whether the last argument has no end marker. Records close it (see dv_enumerateCuesUsingBlock), and
// a lookup has to give what the record says.
inline bool dv_endsInsideArgument(std::string_view text)
{
    constexpr std::string_view start = "\xE2\x81\xA3";
    constexpr std::string_view end = "\xE2\x81\xA4";
    if (text.find(start) == std::string_view::npos)
        return false;
    const auto lastEnd = text.rfind(end);
    return lastEnd == std::string_view::npos || lastEnd < text.rfind(start);
}

// U+2400 to U+241F: E2 90 80 to E2 90 9F.
inline bool dv_hasControlPicture(std::string_view key)
{
    for (auto at = key.find('\xE2'); at != std::string_view::npos; at = key.find('\xE2', at + 1)) {
        if (at + 2 < key.size() && key[at + 1] == '\x90' && (key[at + 2] & 0xE0) == 0x80)
            return true;
    }
    return false;
}
