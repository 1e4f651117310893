#include "DocumentLines.h"

#include <QList>

#include <algorithm>

namespace {

constexpr qsizetype widest = 100; // columns of an excerpt
constexpr qsizetype before = 40;  // of them in front of the place, at least

bool continuesCharacter(char c)
{
    return (c & 0xC0) == 0x80;
}

qsizetype characterCount(QByteArrayView text)
{
    return text.size() - std::count_if(text.begin(), text.end(), continuesCharacter);
}

bool isDangerous(char32_t c)
{
    return c < 0x20 || (c >= 0x7F && c < 0xA0) || c == 0x200E || c == 0x200F || c == 0x061C ||
           (c >= 0x2028 && c <= 0x202E) || (c >= 0x2066 && c <= 0x2069) || c == 0xFEFF;
}

bool takesNoColumn(char32_t c)
{
    const auto category = QChar::category(c);
    return category == QChar::Mark_NonSpacing || category == QChar::Mark_Enclosing ||
           category == QChar::Other_Format;
}

// Unicode Standard Annex 11, in ranges wide enough for a caret.
int columnsOf(char32_t c)
{
    const bool isWide =
        (c >= 0x1100 && c <= 0x115F) || (c >= 0x2E80 && c <= 0xA4CF) || (c >= 0xAC00 && c <= 0xD7A3) ||
        (c >= 0xF900 && c <= 0xFAFF) || (c >= 0xFE30 && c <= 0xFE6F) || (c >= 0xFF00 && c <= 0xFF60) ||
        (c >= 0xFFE0 && c <= 0xFFE6) || (c >= 0x1F300 && c <= 0x1FAFF) || (c >= 0x20000 && c <= 0x3FFFD);
    return takesNoColumn(c) ? 0 : (isWide ? 2 : 1);
}

char32_t shown(char32_t c)
{
    return c == U'\t' ? U' ' : (isDangerous(c) ? U'\uFFFD' : c);
}

qsizetype width(const QList<uint> &text)
{
    qsizetype columns = 0;
    for (const uint c : text)
        columns += columnsOf(shown(c));
    return columns;
}

QString visible(const QList<uint> &text)
{
    QString result;
    for (const uint c : text) {
        const char32_t c32 = shown(c);
        result += QString::fromUcs4(&c32, 1);
    }
    return result;
}

} // namespace

DocumentLines::DocumentLines(QByteArrayView document)
    : m_document(document)
    , m_starts{0}
{
    for (qsizetype at = document.indexOf('\n'); at >= 0; at = document.indexOf('\n', at + 1))
        m_starts.push_back(at + 1);
}

qsizetype DocumentLines::lineOf(qsizetype offset) const
{
    return std::upper_bound(m_starts.begin(), m_starts.end(), offset) - m_starts.begin() - 1;
}

LinePosition DocumentLines::positionOf(qsizetype offset) const
{
    offset = std::clamp<qsizetype>(offset, 0, m_document.size());
    const qsizetype index = lineOf(offset);
    const bool goesOn = m_last.line == index + 1 && m_lastOffset <= offset;
    const qsizetype start = goesOn ? m_lastOffset : m_starts[size_t(index)];
    m_last = {index + 1,
              characterCount(m_document.sliced(start, offset - start)) + (goesOn ? m_last.column : 1)};
    m_lastOffset = offset;
    return m_last;
}

Excerpt DocumentLines::excerptAt(const Place &place) const
{
    const qsizetype offset = std::clamp<qsizetype>(place.begin, 0, m_document.size());
    const auto line = size_t(lineOf(offset));
    const qsizetype start = m_starts[line];
    const qsizetype end = line + 1 < m_starts.size() ? m_starts[line + 1] - 1 : m_document.size();
    // Four bytes are one character at most.
    const qsizetype from = std::max(start, offset - before * 4);
    const auto text = [this](qsizetype first, qsizetype last) {
        return QString::fromUtf8(m_document.sliced(first, last - first)).toUcs4();
    };
    QList<uint> head = text(from, offset);
    const qsizetype placeEnd = std::min(end, offset + place.length);
    QList<uint> body = text(offset, std::min(placeEnd, offset + widest * 4));
    QList<uint> tail = text(placeEnd, std::min(end, placeEnd + widest * 4));
    const bool cutsHead = from > start || head.size() > before;
    if (head.size() > before)
        head = head.last(before);
    if (from == start && !cutsHead)
        while (!head.isEmpty() && (head.constFirst() == ' ' || head.constFirst() == '\t'))
            head.removeFirst();
    body.resize(std::min(body.size(), widest - head.size()));
    const bool cutsTail = tail.size() > widest - head.size() - body.size();
    tail.resize(std::min(tail.size(), widest - head.size() - body.size()));
    while (!tail.isEmpty() && tail.constLast() == '\r')
        tail.removeLast();
    Excerpt excerpt;
    const QString ellipsis = QStringLiteral("...");
    excerpt.line = (cutsHead ? ellipsis : QString()) + visible(head) + visible(body) + visible(tail) +
                   (cutsTail ? ellipsis : QString());
    excerpt.carets = QString(width(head) + (cutsHead ? ellipsis.size() : 0), u' ') + u'^' +
                     QString(std::max<qsizetype>(0, width(body) - 1), u'~');
    return excerpt;
}

QString forTerminal(const QString &text, qsizetype most)
{
    QList<uint> characters = text.left(most * 2 + 2).toUcs4();
    const bool cuts = characters.size() > most;
    if (cuts)
        characters.resize(most);
    return visible(characters) + (cuts ? QStringLiteral("...") : QString());
}

QString forTerminal(const QString &text)
{
    return visible(text.toUcs4());
}
