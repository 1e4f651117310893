#include "DVMarkupScanner.h"

#include <cstring>

namespace {

using std::size_t;
using std::string_view;
constexpr size_t npos = string_view::npos;

class Scanner
{
public:
    explicit Scanner(string_view window)
        : m_window(window)
    {}

    DVMarkupScan scan(bool insideCData, DVWindow kind)
    {
        m_openCData = insideCData && !skipPast("]]>", 0);
        m_boundary = m_position;
        if (!m_openCData)
            walk();
        return kind == DVWindow::Full ? cutFull() : cutLast();
    }

private:
    // Until the window ends or something is found that must not pass.
    void walk()
    {
        for (;;) {
            const size_t open = m_window.find('<', m_position);
            if (open == npos)
                return;
            m_boundary = open;
            if (!skipMarkup(open)) {
                m_openMarkup = true;
                return;
            }
            if (m_result.problem != DVMarkupScan::None)
                return;
            m_boundary = m_position;
        }
    }

    bool skipMarkup(size_t open)
    {
        const string_view rest = m_window.substr(open);
        if (rest.size() < 2)
            return false;
        if (rest[1] == '?')
            return skipPast("?>", open + 2);
        if (rest[1] != '!')
            return skipTag(open + 1);
        if (rest.starts_with("<!--"))
            return skipPast("-->", open + 4);
        if (rest.starts_with("<![CDATA[")) {
            m_openCData = !skipPast("]]>", open + 9);
            return !m_openCData;
        }
        return skipDeclaration(rest, open);
    }

    bool skipDeclaration(string_view rest, size_t open)
    {
        constexpr string_view documentType = "<!DOCTYPE";
        constexpr size_t longestOpening = documentType.size();
        if (rest.starts_with(documentType)) {
            m_result.problem = DVMarkupScan::DocumentType;
            return true;
        }
        return rest.size() >= longestOpening && skipPast(">", open + 2);
    }

    bool skipTag(size_t from)
    {
        for (;;) {
            const size_t found = m_window.find_first_of(">\"'", from);
            if (found == npos)
                return false;
            if (m_window[found] == '>') {
                m_position = found + 1;
                return true;
            }
            const size_t closing = m_window.find(m_window[found], found + 1);
            if (closing == npos)
                return false;
            from = closing + 1;
        }
    }

    bool skipPast(string_view end, size_t from)
    {
        for (size_t found = m_window.find(end.back(), from); found != npos;
             found = m_window.find(end.back(), found + 1)) {
            if (found + 1 >= from + end.size() &&
                m_window.substr(found + 1 - end.size(), end.size()) == end) {
                m_position = found + 1;
                return true;
            }
        }
        return false;
    }

    DVMarkupScan cutLast()
    {
        m_result.end = m_result.problem == DVMarkupScan::None ? m_window.size() : m_boundary;
        return m_result;
    }

    DVMarkupScan cutFull()
    {
        m_result.end = m_boundary;
        if (m_result.problem != DVMarkupScan::None || m_boundary > 0)
            return m_result;
        if (m_openCData) {
            m_result.insideCData = true;
            m_result.end = cutInText();
        } else if (m_openMarkup) {
            m_result.problem = DVMarkupScan::MarkupTooLong;
        } else {
            cutLongText();
        }
        return m_result;
    }

    void cutLongText()
    {
        m_result.end = cutInText();
        const size_t reference = m_window.rfind('&');
        if (reference == npos || m_window.find(';', reference) < m_result.end)
            return;
        m_result.end = reference;
        if (reference == 0)
            m_result.problem = DVMarkupScan::MarkupTooLong;
    }

    // Not inside a character, a line end, or what may become "]]>".
    size_t cutInText() const
    {
        size_t end = m_window.size();
        while (end + 2 > m_window.size() && (m_window[end - 1] == ']' || m_window[end - 1] == '\r'))
            --end;
        while (end + 4 > m_window.size() && (m_window[end - 1] & 0xC0) == 0x80)
            --end;
        return (m_window[end - 1] & 0xC0) == 0xC0 ? end - 1 : end;
    }

    const string_view m_window;
    size_t m_position = 0; // behind the last markup
    size_t m_boundary = 0;
    bool m_openMarkup = false;
    bool m_openCData = false;
    DVMarkupScan m_result;
};

// Comments, instructions, CDATA sections and declarations may hold any of the characters that mean
// something in a tag.
bool holdsMoreThanTags(string_view window)
{
    for (const char mark : {'!', '?'}) {
        for (size_t found = window.find(mark, 1); found != npos; found = window.find(mark, found + 1)) {
            if (window[found - 1] == '<')
                return true;
        }
    }
    return false;
}

} // namespace

DVMarkupScan dv_scanMarkup(string_view window, bool insideCData, DVWindow kind)
{
    if (!insideCData && !holdsMoreThanTags(window)) {
        // No tag holds a "<", and so nothing is cut in two in front of one.
        const size_t last = kind == DVWindow::Full ? window.rfind('<') : window.size();
        if (last != npos && (last > 0 || kind == DVWindow::Last))
            return {DVMarkupScan::None, last, false};
    }
    return Scanner(window).scan(insideCData, kind);
}
