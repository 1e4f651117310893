#include "PlaceholderElements.h"

#include <QByteArrayView>
#include <QString>

namespace {

bool isDigit(char c, char lowest)
{
    return c >= lowest && c <= '9';
}

// The length of the placeholder at the start of `text`, 0 when there is none.
qsizetype placeholderLength(QByteArrayView text)
{
    const auto at = [text](qsizetype i) { return i < text.size() ? text[i] : '\0'; };
    const qsizetype first = at(1) == 'L' ? 2 : 1;
    if (at(first) == 'n')
        return first + 1;
    if (!isDigit(at(first), '1'))
        return 0;
    return isDigit(at(first + 1), '0') ? first + 2 : first + 1;
}

// Copies a document piece by piece and knows where it is.
class Rewriter
{
public:
    explicit Rewriter(QByteArrayView document)
        : m_rest(document)
    {
        m_result.reserve(document.size() + document.size() / 16);
    }

    QByteArray rewritten()
    {
        while (!m_rest.isEmpty()) {
            if (m_rest.startsWith("<!--"))
                copy(lengthThrough("-->"));
            else if (m_rest.startsWith("<![CDATA["))
                rewriteText(lengthThrough("]]>"), "]]>", "<![CDATA[");
            else if (m_rest.startsWith("<?"))
                copy(lengthThrough("?>"));
            else if (m_rest.startsWith('<'))
                copyTag();
            else
                rewriteText(lengthBefore('<'), {}, {});
        }
        return m_result;
    }
    int count() const { return m_count; }

private:
    qsizetype lengthThrough(QByteArrayView end) const
    {
        const qsizetype position = m_rest.indexOf(end);
        return position < 0 ? m_rest.size() : position + end.size();
    }
    qsizetype lengthBefore(char end) const
    {
        const qsizetype position = m_rest.indexOf(end);
        return position < 0 ? m_rest.size() : position;
    }
    void copy(qsizetype length)
    {
        m_result.append(m_rest.first(length));
        m_rest = m_rest.sliced(length);
    }

    // A ">" in an attribute's value does not end the tag.
    qsizetype tagLength() const
    {
        char quote = '\0';
        for (qsizetype i = 0; i < m_rest.size(); ++i) {
            const char c = m_rest[i];
            if (quote != '\0')
                quote = c == quote ? '\0' : quote;
            else if (c == '"' || c == '\'')
                quote = c;
            else if (c == '>')
                return i + 1;
        }
        return m_rest.size();
    }
    void copyTag()
    {
        const QByteArrayView tag = m_rest.first(tagLength());
        const bool closes = tag.startsWith("</");
        const QByteArrayView name = nameIn(tag.sliced(closes ? 2 : 1));
        const int step = closes ? -1 : (tag.endsWith("/>") ? 0 : 1);
        if (name == "source" || name == "target") {
            m_textDepth += step;
            m_ids = 0;
        } else if (name == "ph") {
            m_placeholderDepth += step;
        }
        copy(tag.size());
    }
    static QByteArrayView nameIn(QByteArrayView tag)
    {
        qsizetype end = 0;
        while (end < tag.size() && !QByteArrayView(" \t\r\n/>").contains(tag[end]))
            ++end;
        return tag.first(end);
    }

    // `before` and `after` interrupt a CDATA section for the element.
    void rewriteText(qsizetype length, QByteArrayView before, QByteArrayView after)
    {
        if (m_textDepth == 0 || m_placeholderDepth > 0)
            return copy(length);
        const qsizetype end = m_rest.size() - length;
        while (m_rest.size() > end) {
            const QByteArrayView text = m_rest.first(m_rest.size() - end);
            const qsizetype percent = text.indexOf('%');
            copy(percent < 0 ? text.size() : percent);
            if (percent < 0)
                return;
            if (const qsizetype placeholder = placeholderLength(text.sliced(percent)))
                wrap(placeholder, before, after);
            else
                copy(1);
        }
    }
    void wrap(qsizetype length, QByteArrayView before, QByteArrayView after)
    {
        m_result.append(before);
        m_result.append("<ph id=\"q" + QByteArray::number(++m_ids) + "\">");
        copy(length);
        m_result.append("</ph>");
        m_result.append(after);
        ++m_count;
    }

    QByteArrayView m_rest;
    QByteArray m_result;
    int m_textDepth = 0;
    int m_placeholderDepth = 0;
    int m_ids = 0; // in this text; the prefix keeps them apart from those of the document's own elements
    int m_count = 0;
};

} // namespace

QByteArray withPlaceholderElements(const QByteArray &document, int *count)
{
    Rewriter rewriter(document);
    const QByteArray result = rewriter.rewritten();
    *count = rewriter.count();
    return result;
}
