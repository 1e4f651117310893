#include "ElementSpans.h"

#include <QList>

namespace {

// Goes from markup to markup of a well-formed document.
class MarkupWalk
{
public:
    explicit MarkupWalk(QByteArrayView document)
        : m_document(document)
    {}

    // The next tag; comments, instructions and CDATA sections are passed over. Empty at the end.
    QByteArrayView nextTag()
    {
        for (;;) {
            const qsizetype begin = m_document.indexOf('<', m_position);
            if (begin < 0)
                return {};
            const QByteArrayView rest = m_document.sliced(begin);
            m_begin = begin;
            if (rest.startsWith("<!--"))
                m_position = endOf("-->", begin + 4);
            else if (rest.startsWith("<![CDATA["))
                m_position = endOf("]]>", begin);
            else if (rest.startsWith("<?"))
                m_position = endOf("?>", begin);
            else if (rest.startsWith("<!"))
                m_position = endOf(">", begin);
            else
                return rest.first(passTag() - begin);
        }
    }
    qsizetype begin() const { return m_begin; }
    qsizetype end() const { return m_position; }

private:
    qsizetype endOf(QByteArrayView mark, qsizetype from) const
    {
        const qsizetype found = m_document.indexOf(mark, from);
        return found < 0 ? m_document.size() : found + mark.size();
    }
    // A ">" in an attribute's value does not end the tag.
    qsizetype passTag()
    {
        char quote = '\0';
        for (m_position = m_begin; m_position < m_document.size();) {
            const char c = m_document[m_position++];
            if (quote != '\0')
                quote = c == quote ? '\0' : quote;
            else if (c == '"' || c == '\'')
                quote = c;
            else if (c == '>')
                break;
        }
        return m_position;
    }

    QByteArrayView m_document;
    qsizetype m_begin = 0;
    qsizetype m_position = 0;
};

} // namespace

QByteArrayView tagName(QByteArrayView tag)
{
    qsizetype end = 0;
    while (end < tag.size() && !QByteArrayView(" \t\r\n/>").contains(tag[end]))
        ++end;
    return tag.first(end);
}

QList<ElementSpan> elementSpans(QByteArrayView document, const QList<QByteArrayView> &names)
{
    QList<ElementSpan> spans;
    QList<qsizetype> open; // indexes of spans
    MarkupWalk walk(document);
    for (QByteArrayView tag = walk.nextTag(); !tag.isEmpty(); tag = walk.nextTag()) {
        const bool closes = tag.startsWith("</");
        const qsizetype name = names.indexOf(tagName(tag.sliced(closes ? 2 : 1)));
        if (name < 0)
            continue;
        if (!closes) {
            open.append(spans.size());
            spans.append({name, walk.begin(), walk.end()});
        }
        if ((closes || tag.endsWith("/>")) && !open.isEmpty())
            spans[open.takeLast()].end = walk.end();
    }
    return spans;
}

QByteArrayView firstTag(QByteArrayView element)
{
    return MarkupWalk(element).nextTag();
}
