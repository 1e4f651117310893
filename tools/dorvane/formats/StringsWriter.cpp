#include "StringsWriter.h"

#include <algorithm>

namespace {

QString quoted(const QString &text)
{
    QString result(u'"');
    for (const QChar c : text) {
        switch (c.unicode()) {
        case u'"':
        case u'\\':
            result += u'\\';
            result += c;
            break;
        case u'\n':
            result += QLatin1StringView("\\n");
            break;
        case u'\r':
            result += QLatin1StringView("\\r");
            break;
        case u'\t':
            result += QLatin1StringView("\\t");
            break;
        default:
            result += c;
        }
    }
    return result + u'"';
}

// A comment cannot hold its own end.
QString comment(const LocaleString &string)
{
    QStringList texts;
    for (const XliffNote &note : string.notes) {
        if (note.from != u"unfinished")
            texts.append(QString(note.text).replace(QLatin1StringView("*/"), QLatin1StringView("* /")));
    }
    return texts.isEmpty() ? QString() : QStringLiteral("/* %1 */\n").arg(texts.join(u'\n'));
}

} // namespace

StringsExport stringsFileOf(const QList<LocaleString> &strings)
{
    QList<LocaleString> sorted = strings;
    std::sort(sorted.begin(), sorted.end(),
              [](const LocaleString &a, const LocaleString &b) { return a.key < b.key; });
    StringsExport result;
    QString text;
    for (const LocaleString &string : std::as_const(sorted)) {
        const QString form = string.isPlural() ? QStringLiteral("other") : QString();
        const std::optional<QString> target = string.forms.value(form);
        if (!target) {
            ++result.untranslated;
            continue;
        }
        text += comment(string) + quoted(string.key) + u" = " + quoted(*target) + u";\n\n";
        ++result.written;
        result.plurals += string.isPlural() ? 1 : 0;
    }
    result.document = text.toUtf8();
    return result;
}
