#include "XmlText.h"

#include <algorithm>

namespace {

struct Reference
{
    QString text;
    qsizetype length = 0; // in the document, from "&" to ";"
};

// XML's five entities and character references; no other can stand in a document without declarations.
Reference referenceAt(QByteArrayView bytes)
{
    const qsizetype end = bytes.indexOf(';');
    if (end < 0)
        return {QStringLiteral("&"), 1};
    const QByteArrayView name = bytes.sliced(1, end - 1);
    const auto character = [&](char16_t c) { return Reference{QString(QChar(c)), end + 1}; };
    if (name == "amp")
        return character(u'&');
    if (name == "lt")
        return character(u'<');
    if (name == "gt")
        return character(u'>');
    if (name == "quot")
        return character(u'"');
    if (name == "apos")
        return character(u'\'');
    const bool hexadecimal = name.startsWith("#x");
    bool isNumber = false;
    const uint code = name.sliced(hexadecimal ? 2 : qMin<qsizetype>(1, name.size()))
                          .toByteArray()
                          .toUInt(&isNumber, hexadecimal ? 16 : 10);
    if (!isNumber || code > QChar::LastValidCodePoint)
        return {QStringLiteral("&"), 1};
    QString text;
    for (const char16_t unit : QChar::fromUcs4(code))
        text += QChar(unit);
    return {text, end + 1};
}

qsizetype specialIn(QByteArrayView bytes, bool isCData)
{
    const auto found = std::find_if(bytes.begin(), bytes.end(),
                                    [isCData](char c) { return c == '\r' || (c == '&' && !isCData); });
    return found - bytes.begin();
}

qsizetype sequenceLength(char lead)
{
    const auto byte = uchar(lead);
    return byte < 0x80 ? 1 : byte < 0xE0 ? 2 : byte < 0xF0 ? 3 : 4;
}

// Qt takes a byte order mark away, which is a character here.
QString decoded(QByteArrayView bytes)
{
    const bool hasMark = bytes.startsWith("\xEF\xBB\xBF");
    return hasMark ? QString(QChar::ByteOrderMark % QString::fromUtf8(bytes.sliced(3)))
                   : QString::fromUtf8(bytes);
}

} // namespace

void XmlText::append(QByteArrayView bytes, qsizetype offset, bool isCData)
{
    while (!bytes.isEmpty()) {
        const qsizetype plain = specialIn(bytes, isCData);
        if (plain > 0) {
            m_runs.push_back({m_text.size(), offset, 0});
            m_text += decoded(bytes.first(plain));
        }
        bytes = bytes.sliced(plain);
        offset += plain;
        if (bytes.isEmpty())
            return;
        const Reference reference = bytes[0] == '\r'
                                        ? Reference{QStringLiteral("\n"), bytes.startsWith("\r\n") ? 2 : 1}
                                        : referenceAt(bytes);
        m_runs.push_back({m_text.size(), offset, reference.length});
        m_text += reference.text;
        bytes = bytes.sliced(reference.length);
        offset += reference.length;
    }
}

Place XmlText::characterAt(qsizetype index, QByteArrayView document) const
{
    auto run = std::upper_bound(m_runs.begin(), m_runs.end(), index,
                                [](qsizetype i, const Run &r) { return i < r.index; });
    if (run == m_runs.begin())
        return {};
    --run;
    if (run->referenceLength > 0)
        return {run->offset, run->referenceLength};
    qsizetype offset = run->offset;
    for (qsizetype i = run->index; offset < document.size();) {
        const qsizetype length = sequenceLength(document[offset]);
        i += length == 4 ? 2 : 1;
        if (i > index)
            return {offset, length};
        offset += length;
    }
    return {offset, 0};
}

Place XmlText::placeOf(qsizetype begin, qsizetype length, QByteArrayView document) const
{
    if (m_text.isEmpty())
        return {};
    if (begin >= m_text.size()) {
        const Place last = characterAt(m_text.size() - 1, document);
        return {last.begin + last.length, 0};
    }
    const Place first = characterAt(begin, document);
    if (length == 0)
        return {first.begin, 0};
    const Place last = characterAt(std::min(begin + length, m_text.size()) - 1, document);
    return {first.begin, last.begin + last.length - first.begin};
}

QString xmlAttributeValue(QByteArrayView raw)
{
    XmlText value;
    // Blanks that are written as such become spaces; those of references stay.
    QByteArray blanks = raw.toByteArray();
    blanks.replace("\r\n", " ");
    std::replace_if(
        blanks.begin(), blanks.end(), [](char c) { return c == '\t' || c == '\n' || c == '\r'; }, ' ');
    value.append(blanks, 0, false);
    return value.text();
}
