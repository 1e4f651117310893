// Rules about the edges of a text: blanks, line feeds, and how a sentence ends.
#include "Rule.h"

#include <algorithm>
#include <array>

namespace {

bool isBlank(QChar c)
{
    return c.isSpace() && c != u'\n';
}

QStringView leadingBlanks(QStringView text)
{
    return text.first(std::find_if_not(text.begin(), text.end(), isBlank) - text.begin());
}

QStringView trailingBlanks(QStringView text)
{
    qsizetype begin = text.size();
    while (begin > 0 && isBlank(text[begin - 1]))
        --begin;
    return text.sliced(begin);
}

// Scripts that put no blanks between words, and punctuation that brings its own.
bool needsNoBlank(QChar c)
{
    return c.script() == QChar::Script_Han || c.script() == QChar::Script_Hiragana ||
           c.script() == QChar::Script_Katakana || (c >= u'\u3000' && c <= u'\u303F') ||
           (c >= u'\uFF00' && c <= u'\uFFEF');
}

QString described(qsizetype count)
{
    return count == 0 ? QStringLiteral("none") : QString::number(count);
}

void reportBlanks(const CheckContext &context, const CheckedUnit &unit, qsizetype inSource, Place place,
                  const QString &where)
{
    context.add(RuleId::Space, Severity::Warning, unit, place,
                QStringLiteral("blanks at the %1 differ from the source, which has %2")
                    .arg(where, described(inSource)));
}

void checkBlanks(const CheckContext &context, const CheckedUnit &unit)
{
    const QStringView source = unit.source.text();
    const QStringView target = unit.target.text();
    const qsizetype leading = leadingBlanks(target).size();
    const qsizetype trailing = trailingBlanks(target).size();
    if (const qsizetype expected = leadingBlanks(source).size(); expected != leading)
        reportBlanks(context, unit, expected, context.document.placeOf(unit.target, 0, leading),
                     QStringLiteral("beginning"));
    const qsizetype expected = trailingBlanks(source).size();
    if (expected != trailing && !(trailing == 0 && needsNoBlank(target.back())))
        reportBlanks(context, unit, expected,
                     context.document.placeOf(unit.target, target.size() - trailing, trailing),
                     QStringLiteral("end"));
}

void checkLineFeeds(const CheckContext &context, const CheckedUnit &unit)
{
    const QString &source = unit.source.text();
    const QString &target = unit.target.text();
    const qsizetype inSource = source.count(u'\n');
    const qsizetype inTarget = target.count(u'\n');
    const Place whole = context.document.placeOf(unit.target);
    const qsizetype escaped = target.indexOf(QStringLiteral("\\n"));
    if (escaped >= 0 && !source.contains(QStringLiteral("\\n")))
        return context.add(RuleId::LineFeeds, Severity::Warning, unit,
                           context.document.placeOf(unit.target, escaped, 2),
                           QStringLiteral("\"\\n\" is two characters here, not a line feed"));
    if (source.startsWith(u'\n') != target.startsWith(u'\n') ||
        source.endsWith(u'\n') != target.endsWith(u'\n'))
        return context.add(RuleId::LineFeeds, Severity::Warning, unit, whole,
                           QStringLiteral("a line feed at the beginning or the end differs from the source"));
    if (inSource != inTarget)
        context.add(RuleId::LineFeeds, Severity::Note, unit, whole,
                    QStringLiteral("line feeds: %1, in the source: %2")
                        .arg(described(inTarget), described(inSource)));
}

// The marks that end a sentence or announce something, each with what other scripts write for it.
enum class Mark { None, Period, Exclamation, Question, Colon, Ellipsis };

Mark endMark(QStringView text)
{
    constexpr std::array<QStringView, 5> marks{u".\u3002\uFF0E\u0964\u06D4\u0589\u1362\uFF61", u"!\uFF01",
                                               u"?\uFF1F\u061F\u037E;\u1367", u":\uFF1A", u"\u2026"};
    text = text.trimmed();
    if (text.isEmpty())
        return Mark::None;
    if (text.endsWith(u"...") || text.endsWith(u"\u3002\u3002\u3002"))
        return Mark::Ellipsis;
    const auto found =
        std::ranges::find_if(marks, [&](QStringView mark) { return mark.contains(text.back()); });
    return found == marks.end() ? Mark::None : Mark(found - marks.begin() + 1);
}

// Languages that end sentences without a mark, or whose texts seldom keep one.
bool endsWithoutMarks(const QString &language)
{
    constexpr std::array<QLatin1StringView, 4> languages{QLatin1StringView("th"), QLatin1StringView("lo"),
                                                         QLatin1StringView("km"), QLatin1StringView("my")};
    return std::ranges::find(languages, language) != languages.end();
}

} // namespace

void checkSpaces(const CheckContext &context, const CheckedUnit &unit)
{
    checkBlanks(context, unit);
    checkLineFeeds(context, unit);
}

void checkPunctuation(const CheckContext &context, const CheckedUnit &unit)
{
    const Mark source = endMark(unit.source.text());
    const Mark target = endMark(unit.target.text());
    // A Greek question ends in ";", and so may a line of code.
    if (source == target || (source != Mark::Question && unit.target.text().trimmed().endsWith(u';')) ||
        endsWithoutMarks(languageOf(context.locale)))
        return;
    const qsizetype end = unit.target.text().size();
    context.add(RuleId::Punctuation, Severity::Note, unit,
                context.document.placeOf(unit.target, end > 0 ? end - 1 : 0, 1),
                QStringLiteral("the source ends in \"%1\", the target in \"%2\"")
                    .arg(unit.source.text().trimmed().right(1), unit.target.text().trimmed().right(1)));
}
