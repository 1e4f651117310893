#include "XmlCharacters.h"

#include "ReadingProblem.h"

#include <DVTextMarks.h>
#include <DVXliffReader.h>

#include <QRegularExpression>

#include <algorithm>

namespace {

bool isControlPicture(char16_t c)
{
    return c >= dv_firstControlPicture && dv_needsControlPicture(char16_t(c - dv_firstControlPicture));
}

QByteArray escaped(QStringView text, bool inAttribute)
{
    QString result;
    result.reserve(text.size() + text.size() / 16);
    for (const QChar c : text) {
        switch (c.unicode()) {
        case u'&':
            result += QLatin1StringView("&amp;");
            break;
        case u'<':
            result += QLatin1StringView("&lt;");
            break;
        case u'>':
            result += QLatin1StringView("&gt;");
            break;
        case u'\r':
            result += QLatin1StringView("&#13;");
            break;
        default:
            if (inAttribute && (c == u'"' || c == u'\n' || c == u'\t'))
                result += QStringLiteral("&#%1;").arg(c.unicode());
            else
                result += c;
        }
    }
    return result.toUtf8();
}

} // namespace

std::optional<FormatError> xmlProblem(const QByteArray &document)
{
    const DVErrorOr error = DVXliffReader::read(document, false, [](const DVXliffUnit &) {});
    if (!error)
        return {};
    const ReadingProblem problem = ReadingProblem::of(*error);
    return FormatError{problem.message, {problem.line, problem.column}};
}

QByteArray xmlContent(QStringView text)
{
    return escaped(text, false);
}

QByteArray xmlAttribute(QStringView text)
{
    return escaped(text, true);
}

QString withControlPictures(const QString &text)
{
    if (!hasControlCharacters(text))
        return text;
    QString result = text;
    for (QChar &c : result) {
        if (dv_needsControlPicture(c.unicode()))
            c = QChar(dv_controlPicture(c.unicode()));
    }
    return result;
}

QString withoutControlPictures(const QString &text)
{
    QString result = text;
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (isControlPicture(text[i].unicode()))
            result[i] = QChar(char16_t(text[i].unicode() - dv_firstControlPicture));
    }
    return result;
}

bool hasControlCharacters(QStringView text)
{
    return std::any_of(text.cbegin(), text.cend(),
                       [](QChar c) { return dv_needsControlPicture(c.unicode()); });
}

bool isXmlText(QStringView text)
{
    constexpr char16_t firstNonCharacter = 0xFFFE;
    return text.isValidUtf16() &&
           std::none_of(text.cbegin(), text.cend(), [](QChar c) { return c.unicode() >= firstNonCharacter; });
}
