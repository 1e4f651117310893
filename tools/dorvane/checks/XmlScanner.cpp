#include "XmlScanner.h"

#include "XmlText.h"

namespace {

bool isBlank(char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

qsizetype skipBlanks(QByteArrayView text, qsizetype from)
{
    while (from < text.size() && isBlank(text[from]))
        ++from;
    return from;
}

qsizetype nameEnd(QByteArrayView text, qsizetype from)
{
    while (from < text.size() && !isBlank(text[from]) && text[from] != '=' && text[from] != '/' &&
           text[from] != '>')
        ++from;
    return from;
}

} // namespace

XmlScanner::XmlScanner(QByteArrayView document)
    : m_document(document)
{
    if (m_document.startsWith("\xEF\xBB\xBF"))
        m_position = 3;
}

XmlScanner::Kind XmlScanner::next()
{
    while (skip("<!--", "-->") || skip("<?", "?>")) {
    }
    if (m_position >= m_document.size())
        return found(End, m_document.size(), m_document.size(), m_document.size());
    constexpr QByteArrayView opening("<![CDATA[");
    if (m_document.sliced(m_position).startsWith(opening)) {
        const qsizetype begin = m_position + opening.size();
        const qsizetype end = m_document.indexOf("]]>", begin);
        return found(CData, begin, end < 0 ? m_document.size() : end, end < 0 ? m_document.size() : end + 3);
    }
    if (m_document[m_position] == '<')
        return tag();
    const qsizetype end = m_document.indexOf('<', m_position);
    const qsizetype textEnd = end < 0 ? m_document.size() : end;
    return found(Text, m_position, textEnd, textEnd);
}

bool XmlScanner::skip(QByteArrayView opening, QByteArrayView closing)
{
    if (!m_document.sliced(m_position).startsWith(opening))
        return false;
    const qsizetype end = m_document.indexOf(closing, m_position + opening.size());
    m_position = end < 0 ? m_document.size() : end + closing.size();
    return true;
}

XmlScanner::Kind XmlScanner::found(Kind kind, qsizetype begin, qsizetype end, qsizetype next)
{
    m_place = {begin, end - begin};
    m_position = next;
    return kind;
}

// A ">" in an attribute's value does not end the tag.
qsizetype XmlScanner::tagEnd() const
{
    char quote = '\0';
    for (qsizetype i = m_position; i < m_document.size(); ++i) {
        const char c = m_document[i];
        if (quote != '\0')
            quote = c == quote ? '\0' : quote;
        else if (c == '"' || c == '\'')
            quote = c;
        else if (c == '>')
            return i + 1;
    }
    return m_document.size();
}

XmlScanner::Kind XmlScanner::tag()
{
    const qsizetype end = tagEnd();
    const QByteArrayView whole = m_document.sliced(m_position, end - m_position);
    const bool closes = whole.startsWith("</");
    const qsizetype nameBegin = closes ? 2 : 1;
    m_name = whole.sliced(nameBegin, nameEnd(whole, nameBegin) - nameBegin);
    return found(closes ? EndTag : (whole.endsWith("/>") ? EmptyTag : StartTag), m_position, end, end);
}

std::optional<QString> XmlScanner::attribute(QByteArrayView name) const
{
    const auto place = attributePlace(name);
    if (!place)
        return std::nullopt;
    return xmlAttributeValue(m_document.sliced(place->begin, place->length));
}

std::optional<Place> XmlScanner::attributePlace(QByteArrayView name) const
{
    const QByteArrayView tag = bytes();
    qsizetype at = skipBlanks(tag, 1 + m_name.size());
    while (at < tag.size() && tag[at] != '>' && tag[at] != '/') {
        const qsizetype end = nameEnd(tag, at);
        const QByteArrayView current = tag.sliced(at, end - at);
        const qsizetype opening = skipBlanks(tag, skipBlanks(tag, end) + 1);
        if (opening >= tag.size())
            break;
        const qsizetype closing = tag.indexOf(tag[opening], opening + 1);
        if (closing < 0)
            break;
        if (current == name)
            return Place{m_place.begin + opening + 1, closing - opening - 1};
        at = skipBlanks(tag, closing + 1);
    }
    return std::nullopt;
}
