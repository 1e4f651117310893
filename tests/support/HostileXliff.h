// Documents made to cost a reader more time or memory than their size. For tests and benchmarks.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

struct HostileDocument
{
    const char *name;
    bool isRead;                                  // to its end, without an error
    std::function<std::string(size_t size)> make; // of about that many bytes
};

namespace HostileXliff {

using std::string;

inline string times(const string &piece, size_t count)
{
    string result;
    result.reserve(piece.size() * count);
    for (size_t i = 0; i < count; ++i)
        result += piece;
    return result;
}

inline string inBody(const string &content)
{
    return "<xliff><file><body>" + content + "</body></file></xliff>";
}

inline string inTarget(const string &content)
{
    return inBody("<trans-unit id='1' resname='k'><target>" + content + "</target></trans-unit>");
}

inline string filled(const string &begin, const string &content, const string &end, size_t size)
{
    return begin + times(content, size / content.size() + 1) + end;
}

// One piece behind the other, each made of its number.
inline string numbered(size_t size, const std::function<string(const string &number)> &piece)
{
    string result;
    for (int i = 0; result.size() < size; ++i)
        result += piece(std::to_string(i));
    return result;
}

inline string nested(const string &begin, const string &content, const string &end, size_t depth)
{
    return times(begin, depth) + content + times(end, depth);
}

inline string withAttributes(size_t size)
{
    return "<a" + numbered(size, [](const string &i) { return " a" + i + "='x'"; }) + "/>";
}

inline string withNamespaces(size_t size)
{
    const string declared =
        "<a" + numbered(2000, [](const string &i) { return " xmlns:n" + i + "='u" + i + "'"; }) + ">";
    const string used = "<b" + numbered(2000, [](const string &i) { return " n" + i + ":a='x'"; }) + "/>";
    return nested(declared, times(used, size / 2000), "</a>", 8);
}

// One row after the other: a table, not a procedure.
// NOLINTNEXTLINE(readability-function-size): a list
inline std::vector<HostileDocument> all() // NOLINT(readability-function-size)
{
    return {
        {"one tag with more and more attributes", false, [](size_t n) { return inBody(withAttributes(n)); }},
        {"tags with as many attributes as may be", true,
         [](size_t n) { return inBody(times(withAttributes(2000), n / 2000)); }},
        {"tags with many namespaces and prefixes, deeply nested", true,
         [](size_t n) { return inBody(withNamespaces(n)); }},
        {"ever more namespaces in scope", false,
         [](size_t n) {
             return inBody(times("<a xmlns:p='u' xmlns:q='u' xmlns:r='u' xmlns:s='u' xmlns:t='u'>", n / 60));
         }},
        {"one endless attribute value", false,
         [](size_t n) { return inBody(filled("<a b='", "x", "'/>", n)); }},
        {"long attribute values with tag ends in them", true,
         [](size_t n) { return inBody(times("<a b='" + string(60'000, '>') + "'/>", n / 60'000 + 1)); }},
        {"attribute values full of references", true,
         [](size_t n) {
             return inBody(times("<a b='" + times("&amp;&#65;", 6'000) + "'/>", n / 60'000 + 1));
         }},
        {"one endless comment", false, [](size_t n) { return inBody(filled("<!--", "x", "-->", n)); }},
        {"an endless comment that looks like markup", false,
         [](size_t n) { return inBody(filled("<!--", "<a b='>\"", "-->", n)); }},
        {"long comments that look like markup", true,
         [](size_t n) { return inBody(times("<!--" + times("<a b='>\"", 8'000) + "-->", n / 64'000 + 1)); }},
        {"a comment that never ends", false, [](size_t n) { return filled("<a><!--", "- ", "", n); }},
        {"one endless instruction", false, [](size_t n) { return inBody(filled("<?x ", "?", "?>", n)); }},
        {"instructions with ever new names", false,
         [](size_t n) { return inBody(numbered(n, [](const string &i) { return "<?x" + i + "?>"; })); }},
        {"a long CDATA section where nothing is read", true,
         [](size_t n) { return inBody(filled("<![CDATA[", "]]x>", "]]>", n)); }},
        {"a long CDATA section that looks like markup", true,
         [](size_t n) { return inBody(filled("<![CDATA[", "<a b='&lt>", "]]>", n)); }},
        {"many CDATA sections", true, [](size_t n) { return inBody(filled("", "<![CDATA[]]>", "", n)); }},
        {"a CDATA section that never ends", false,
         [](size_t n) { return filled("<a><![CDATA[", "]", "", n); }},
        {"a target of CDATA that is too long", false,
         [](size_t n) { return inTarget(filled("<![CDATA[", "x", "]]>", n)); }},
        {"a target that is too long", false, [](size_t n) { return inTarget(filled("", "x", "", n)); }},
        {"a long text where nothing is read", true, [](size_t n) { return inBody(filled("", "x", "", n)); }},
        {"a long text of characters of four bytes", true,
         [](size_t n) { return inBody(filled("", "\xF0\x9F\x98\x80", "", n)); }},
        {"a long text of brackets", true, [](size_t n) { return inBody(filled("", "]] ]", "", n)); }},
        {"a long text of carriage returns", true, [](size_t n) { return inBody(filled("", "\r", "", n)); }},
        {"a long text of marks that a scanner stops at", true,
         [](size_t n) { return inBody(filled("", "!?\"'", "", n)); }},
        {"a reference for each character", true,
         [](size_t n) { return inBody(filled("", "&amp;&#233;", "", n)); }},
        {"references in targets", true,
         [](size_t n) {
             return inBody(times("<trans-unit id='1' resname='k'><target>" + times("&lt;", 9'000) +
                                     "</target></trans-unit>",
                                 n / 36'000 + 1));
         }},
        {"a reference that never ends", false, [](size_t n) { return inBody(filled("&#", "0", "", n)); }},
        {"ampersands only", false, [](size_t n) { return inBody(filled("", "&", "", n)); }},
        {"an entity that is not declared", false,
         [](size_t n) { return inBody(filled("", "&lol;", "", n)); }},
        {"ever deeper elements", false, [](size_t n) { return filled("", "<a>", "", n); }},
        {"elements as deep as may be, again and again", true,
         [](size_t n) { return inBody(times(nested("<a>", "", "</a>", 250), n / 1750 + 1)); }},
        {"one endless name", false, [](size_t n) { return inBody(filled("<", "n", "/>", n)); }},
        {"a name as long as a tag may be", false,
         [](size_t n) { return inBody(filled("<" + string(60'000, 'n') + "/>", " ", "", n)); }},
        {"ever new names", false,
         [](size_t n) { return inBody(numbered(n, [](const string &i) { return "<e" + i + "/>"; })); }},
        {"no tag ever ends", false, [](size_t n) { return filled("<a ", "b ", "", n); }},
        {"tag openings only", false, [](size_t n) { return filled("<a>", "<", "", n); }},
        {"tag ends only", true, [](size_t n) { return inBody(filled("", ">", "", n)); }},
        {"declarations that XML does not know", false,
         [](size_t n) { return inBody(filled("", "<!x>", "", n)); }},
        {"empty elements only", true, [](size_t n) { return inBody(filled("", "<a/>", "", n)); }},
        {"units without anything in them", true,
         [](size_t n) { return inBody(filled("", "<trans-unit resname='k'/>", "", n)); }},
        {"a note that swallows what follows", true,
         [](size_t n) {
             return inBody("<trans-unit resname='k'><note/></trans-unit>" + filled("", "<x>text</x>", "", n));
         }},
    };
}

} // namespace HostileXliff
