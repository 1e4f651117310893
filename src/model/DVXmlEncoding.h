// Whether an XML document may be read as UTF-8.
#pragma once

#include <string_view>

// Told by the first bytes and the XML declaration. UTF-16, UTF-32 and EBCDIC show within four bytes. A
// declaration of anything that is no subset of UTF-8 is refused too: the parser would convert with
// tables that the host can replace.
bool dv_isUtf8Document(std::string_view documentStart);
