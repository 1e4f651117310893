#include "InlineText.h"

#include "XmlCharacters.h"

#include <Placeholder.h>

#include <algorithm>

namespace {

using Placeholders = std::vector<Placeholder>;

CheckedText asWritten(const QString &text)
{
    CheckedText checked;
    checked.content.append(text.toUtf8(), 0, true);
    return checked;
}

// "%%" is a placeholder where there are printf-style ones too: the text is a format then, and the two make
// one sign.
void leaveOutLiterals(Placeholders &placeholders)
{
    const bool isFormat =
        std::any_of(placeholders.cbegin(), placeholders.cend(),
                    [](const auto &placeholder) { return placeholder.style == Placeholder::Format; });
    std::erase_if(placeholders, [isFormat](const Placeholder &placeholder) {
        return placeholder.style == Placeholder::Literal && (!isFormat || placeholder.written.size() < 2);
    });
}

QByteArray withElements(QStringView text, const Placeholders &placeholders)
{
    QByteArray result;
    qsizetype done = 0;
    int number = 0;
    for (const Placeholder &placeholder : placeholders) {
        result += xmlContent(text.sliced(done, placeholder.begin - done)) + "<ph id=\"" +
                  QByteArray::number(++number) + "\">" + xmlContent(placeholder.written) + "</ph>";
        done = placeholder.begin + placeholder.written.size();
    }
    return result + xmlContent(text.sliced(done));
}

} // namespace

QByteArray inlineXliff(const QString &text)
{
    if (!text.contains(u'%'))
        return xmlContent(text);
    const CheckedText checked = asWritten(text);
    Placeholders placeholders = placeholdersIn(checked);
    leaveOutLiterals(placeholders);
    return withElements(checked.text(), placeholders);
}

QByteArray inlineXliff(const QString &text, const QString &source)
{
    if (!text.contains(u'%'))
        return xmlContent(text);
    const CheckedText checked = asWritten(text);
    const CheckedText checkedSource = asWritten(source);
    QString conversions;
    for (const Placeholder &placeholder : placeholdersIn(checkedSource)) {
        if (placeholder.style == Placeholder::Format)
            conversions += placeholder.written.back();
    }
    Placeholders placeholders = placeholdersIn(checked);
    std::erase_if(placeholders, [&conversions](const Placeholder &placeholder) {
        return placeholder.style == Placeholder::Format && !conversions.contains(placeholder.written.back());
    });
    leaveOutLiterals(placeholders);
    return withElements(checked.text(), placeholders);
}
