#include "DVXmlEncoding.h"

#include <algorithm>

namespace {

using std::size_t;
using std::string_view;

// The value of the pseudo-attribute "encoding" of an XML declaration, or nothing.
string_view declaredEncoding(string_view document)
{
    if (!document.starts_with("<?xml"))
        return {};
    const string_view declaration = document.substr(0, document.find("?>"));
    const size_t name = declaration.find("encoding");
    const size_t open = name == string_view::npos ? name : declaration.find_first_of("\"'", name);
    if (open == string_view::npos)
        return {};
    return declaration.substr(open + 1, declaration.find(declaration[open], open + 1) - open - 1);
}

bool equalsIgnoringCase(string_view text, string_view lower)
{
    return std::equal(text.begin(), text.end(), lower.begin(), lower.end(),
                      [](char a, char b) { return (a >= 'A' && a <= 'Z' ? char(a | 0x20) : a) == b; });
}

} // namespace

bool dv_isUtf8Document(string_view documentStart)
{
    constexpr string_view byteOrderMark = "\xEF\xBB\xBF";
    if (documentStart.starts_with(byteOrderMark))
        documentStart.remove_prefix(byteOrderMark.size());
    const string_view first = documentStart.substr(0, 4);
    if (first.find('\0') != string_view::npos || first.starts_with("\xFE\xFF") ||
        first.starts_with("\xFF\xFE") || first == "\x4C\x6F\xA7\x94")
        return false;
    const string_view encoding = declaredEncoding(documentStart);
    return encoding.empty() || equalsIgnoringCase(encoding, "utf-8") ||
           equalsIgnoringCase(encoding, "utf8") || equalsIgnoringCase(encoding, "us-ascii") ||
           equalsIgnoringCase(encoding, "ascii");
}
