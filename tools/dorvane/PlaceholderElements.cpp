#include "PlaceholderElements.h"

#include "QtPlaceholder.h"
#include "XmlScanner.h"

#include <algorithm>

namespace {

// Copies a document piece by piece.
class Rewriter
{
public:
    explicit Rewriter(QByteArrayView document)
        : m_document(document)
        , m_scanner(document)
    {
        m_result.reserve(document.size() + document.size() / 16);
    }

    QByteArray rewritten()
    {
        for (auto kind = m_scanner.next(); kind != XmlScanner::End; kind = m_scanner.next()) {
            if (kind == XmlScanner::Text)
                rewriteText({}, {});
            else if (kind == XmlScanner::CData)
                rewriteText("]]>", "<![CDATA[");
            else
                passTag(kind);
        }
        copyTo(m_document.size());
        return m_result;
    }
    int count() const { return m_count; }

private:
    void copyTo(qsizetype end)
    {
        m_result.append(m_document.sliced(m_copied, end - m_copied));
        m_copied = end;
    }

    void passTag(XmlScanner::Kind kind)
    {
        const int step = kind == XmlScanner::EndTag ? -1 : (kind == XmlScanner::EmptyTag ? 0 : 1);
        const QByteArrayView name = m_scanner.name();
        if (name == "source" || name == "target") {
            m_textDepth += step;
            m_ids = 0;
        } else if (name == "ph") {
            m_placeholderDepth += step;
        }
    }

    // `before` and `after` interrupt a CDATA section for the element.
    void rewriteText(QByteArrayView before, QByteArrayView after)
    {
        if (m_textDepth == 0 || m_placeholderDepth > 0)
            return;
        const QByteArrayView text = m_scanner.bytes();
        const qsizetype begin = m_scanner.place().begin;
        for (qsizetype at = text.indexOf('%'); at >= 0; at = text.indexOf('%', at)) {
            const qsizetype length = qtPlaceholderLength(text.sliced(at));
            if (length > 0)
                wrap(begin + at, length, before, after);
            at += std::max<qsizetype>(length, 1);
        }
    }
    void wrap(qsizetype begin, qsizetype length, QByteArrayView before, QByteArrayView after)
    {
        copyTo(begin);
        m_result.append(before);
        m_result.append("<ph id=\"q" + QByteArray::number(++m_ids) + "\">");
        copyTo(begin + length);
        m_result.append("</ph>");
        m_result.append(after);
        ++m_count;
    }

    QByteArrayView m_document;
    XmlScanner m_scanner;
    qsizetype m_copied = 0; // of the document, in the result
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
