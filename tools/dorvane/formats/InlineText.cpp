#include "InlineText.h"

#include "XmlCharacters.h"

namespace {

QByteArray withElements(QStringView text, const QList<FormatSpecifier> &specifiers)
{
    QByteArray result;
    qsizetype done = 0;
    int number = 0;
    for (const FormatSpecifier &specifier : specifiers) {
        result += xmlContent(text.sliced(done, specifier.begin - done)) + "<ph id=\"" +
                  QByteArray::number(++number) + "\">" +
                  xmlContent(text.sliced(specifier.begin, specifier.length)) + "</ph>";
        done = specifier.begin + specifier.length;
    }
    return result + xmlContent(text.sliced(done));
}

} // namespace

QByteArray inlineXliff(const QString &text)
{
    return withElements(text, formatSpecifiersIn(text));
}

QByteArray inlineXliff(const QString &text, const QString &source)
{
    QList<FormatSpecifier> specifiers = formatSpecifiersIn(text);
    if (specifiers.isEmpty())
        return xmlContent(text);
    QString conversions;
    for (const FormatSpecifier &specifier : formatSpecifiersIn(source))
        conversions += QChar(specifier.conversion);
    specifiers.removeIf([&conversions](const FormatSpecifier &specifier) {
        return specifier.conversion != 0 && !conversions.contains(QChar(specifier.conversion));
    });
    return withElements(text, specifiers);
}
