#include "InlineText.h"

#include "XmlCharacters.h"

#include <Placeholder.h>

#include <QList>

namespace {

struct Range
{
    qsizetype begin;
    qsizetype length;
};
using Ranges = QList<Range>;

// Placeholders outside elements are found in texts that have no element yet.
class Text
{
public:
    explicit Text(const QString &text) { m_text.content.append(text.toUtf8(), 0, true); }

    QStringView text() const { return m_text.text(); }
    // "%@", "%d", ...: what each printf-style placeholder ends in.
    QString conversions() const
    {
        QString result;
        for (const Placeholder &placeholder : placeholdersIn(m_text)) {
            if (placeholder.style == Placeholder::Format)
                result += placeholder.written.back();
        }
        return result;
    }
    // `conversions`: those that count.
    Ranges placeholders(QStringView conversions) const
    {
        Ranges ranges;
        bool isFormat = false;
        for (const Placeholder &placeholder : placeholdersIn(m_text)) {
            const bool isPrintf = placeholder.style == Placeholder::Format;
            if (placeholder.style == Placeholder::Literal ||
                (isPrintf && !conversions.contains(placeholder.written.back())))
                continue;
            isFormat = isFormat || isPrintf;
            ranges.append({placeholder.begin, placeholder.written.size()});
        }
        return isFormat ? withDoubledSigns(ranges) : ranges;
    }

private:
    // In a format "%%" makes one sign. Elsewhere it is two signs to show.
    Ranges withDoubledSigns(const Ranges &ranges) const
    {
        Ranges result;
        qsizetype from = 0;
        const auto addUntil = [&](qsizetype end) {
            const QStringView piece = text().first(end);
            for (qsizetype at = piece.indexOf(u"%%", from); at >= 0; at = piece.indexOf(u"%%", at + 2))
                result.append({at, 2});
        };
        for (const Range &range : ranges) {
            addUntil(range.begin);
            result.append(range);
            from = range.begin + range.length;
        }
        addUntil(text().size());
        return result;
    }

    CheckedText m_text;
};

QByteArray withElements(QStringView text, const Ranges &ranges)
{
    QByteArray result;
    qsizetype done = 0;
    int number = 0;
    for (const Range &range : ranges) {
        result += xmlContent(text.sliced(done, range.begin - done)) + "<ph id=\"" +
                  QByteArray::number(++number) + "\">" + xmlContent(text.sliced(range.begin, range.length)) +
                  "</ph>";
        done = range.begin + range.length;
    }
    return result + xmlContent(text.sliced(done));
}

} // namespace

QByteArray inlineXliff(const QString &text)
{
    return inlineXliff(text, text);
}

QByteArray inlineXliff(const QString &text, const QString &source)
{
    if (!text.contains(u'%'))
        return xmlContent(text);
    const Text checked(text);
    return withElements(checked.text(), checked.placeholders(Text(source).conversions()));
}
