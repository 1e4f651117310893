#include "DVXliffDocument.h"

#include "DVTextMarks.h"

namespace {

using Kind = DVXliffDocument::Kind;

constexpr char16_t firstNonCharacter = 0xFFFE;

// What stands for a character that is no half of a pair; null when it stands for itself.
QString replacement(char16_t c, Kind kind)
{
    switch (c) {
    case u'&':
        return QStringLiteral("&amp;");
    case u'<':
        return QStringLiteral("&lt;");
    case u'>': // needed behind "]]" only (XML 1.0, 2.4), but then the rule has no exception
        return QStringLiteral("&gt;");
    case u'\r': // a reader makes a line feed of one that is not written as a reference (2.11)
        return QStringLiteral("&#13;");
    case u'\n': // and a space of white space in an attribute (3.3.3)
        return kind == Kind::Attribute ? QStringLiteral("&#10;") : QString();
    case u'\t':
        return kind == Kind::Attribute ? QStringLiteral("&#9;") : QString();
    case u'"':
        return kind == Kind::Attribute ? QStringLiteral("&quot;") : QString();
    default:
        if (dv_needsControlPicture(c))
            return QChar(dv_controlPicture(c));
        return c >= firstNonCharacter ? QString(QChar::ReplacementCharacter) : QString();
    }
}

bool isPairAt(QStringView text, qsizetype i)
{
    return text[i].isHighSurrogate() && i + 1 < text.size() && text[i + 1].isLowSurrogate();
}

void appendEscaped(QString &result, QStringView value, Kind kind)
{
    for (qsizetype i = 0; i < value.size(); ++i) {
        const QChar c = value[i];
        if (isPairAt(value, i)) {
            result += value.sliced(i++, 2);
            continue;
        }
        const QString instead =
            c.isSurrogate() ? QString(QChar::ReplacementCharacter) : replacement(c.unicode(), kind);
        if (instead.isNull())
            result += c;
        else
            result += instead;
    }
}

} // namespace

void DVXliffDocument::addValue(QStringView value, Kind kind)
{
    if (value.isEmpty())
        return;
    const qsizetype begin = m_text.size();
    m_text += value;
    // A surrogate pair may come in two halves.
    if (!m_values.isEmpty() && m_values.last().end == begin && m_values.last().kind == kind)
        m_values.last().end = m_text.size();
    else
        m_values.append({kind, begin, m_text.size()});
}

void DVXliffDocument::addDocument(const DVXliffDocument &other)
{
    const qsizetype offset = m_text.size();
    m_text += other.m_text;
    for (const Value &value : other.m_values)
        m_values.append({value.kind, value.begin + offset, value.end + offset});
}

QByteArray dv_escapedXliff(const DVXliffDocument &document)
{
    const QStringView text = document.text();
    QString result;
    result.reserve(text.size() + text.size() / 16);
    qsizetype from = 0;
    for (const auto &value : document.values()) {
        result += text.sliced(from, value.begin - from);
        appendEscaped(result, text.sliced(value.begin, value.end - value.begin), value.kind);
        from = value.end;
    }
    result += text.sliced(from);
    return result.toUtf8();
}
