#include "DVCueMarkers.h"

#include "DVLog.h"

#include <QVarLengthArray>

#include <algorithm>

using namespace DVCueMarker;

namespace {

constexpr QStringView conversionCharacters = u"@dDuUxXoOfeEgGcCsSpaAF";

// The index behind the format specifier that begins with the "%" at `percent`; -1 when no conversion
// character follows.
qsizetype endOfSpecifier(QStringView text, qsizetype percent)
{
    for (qsizetype i = percent; i < text.size(); ++i) {
        if (conversionCharacters.contains(text[i]))
            return i + 1;
    }
    return -1;
}

// A "%%" that ends the text is no escape: it is dropped like any "%" that no conversion follows.
bool isEscapedPercent(QStringView text, qsizetype percent)
{
    return text.size() - percent > 2 && text[percent + 1] == u'%';
}

// Appends `text` with argument markers around its format specifiers.
void appendMarked(QString &marked, QStringView text)
{
    qsizetype position = 0;
    for (;;) {
        const qsizetype percent = text.indexOf(u'%', position);
        if (percent < 0)
            break;
        marked += text.sliced(position, percent - position);
        if (isEscapedPercent(text, percent)) {
            marked += u"%%";
            position = percent + 2;
            continue;
        }
        position = endOfSpecifier(text, percent);
        if (position < 0)
            return;
        marked += QChar(argumentStart) % text.sliced(percent, position - percent) % QChar(argumentEnd);
    }
    marked += text.sliced(position);
}

bool isDigit(QStringView text, qsizetype at)
{
    return at < text.size() && text[at] >= u'0' && text[at] <= u'9';
}

qsizetype behindAny(QStringView text, qsizetype at, QStringView characters)
{
    while (at < text.size() && characters.contains(text[at]))
        ++at;
    return at;
}

// The index behind a placeholder of Qt's that begins with the "%" at `percent`; -1 when there is none.
qsizetype endOfQtPlaceholder(QStringView text, qsizetype percent)
{
    qsizetype at = percent + 1;
    if (at < text.size() && text[at] == u'L')
        ++at;
    if (at < text.size() && text[at] == u'n')
        return at + 1;
    if (!isDigit(text, at) || (text[at] == u'0' && !isDigit(text, at + 1)))
        return -1;
    return isDigit(text, at + 1) ? at + 2 : at + 1;
}

// The index behind a printf-style specifier as the C standard has them, with positions ("%1$d") and without
// the flag " ", which makes an argument of "50% of"; -1 when there is none.
qsizetype endOfStrictSpecifier(QStringView text, qsizetype percent)
{
    constexpr QStringView digits = u"0123456789";
    qsizetype at = percent + 1;
    const qsizetype behindPosition = behindAny(text, at, digits);
    if (behindPosition > at && behindPosition < text.size() && text[behindPosition] == u'$')
        at = behindPosition + 1;
    at = behindAny(text, at, u"-+#0'");
    at = behindAny(text, at, u"0123456789*");
    if (at < text.size() && text[at] == u'.')
        at = behindAny(text, at + 1, u"0123456789*");
    at = behindAny(text, at, u"hlLqjzt");
    return at < text.size() && conversionCharacters.contains(text[at]) ? at + 1 : -1;
}

bool hasQtPlaceholder(QStringView text)
{
    for (qsizetype at = text.indexOf(u'%'); at >= 0; at = text.indexOf(u'%', at + 1)) {
        if (endOfStrictSpecifier(text, at) < 0 && endOfQtPlaceholder(text, at) >= 0)
            return true;
    }
    return false;
}

void appendMarkedAsQt(QString &marked, QStringView text)
{
    qsizetype position = 0;
    for (qsizetype percent = text.indexOf(u'%'); percent >= 0; percent = text.indexOf(u'%', position)) {
        marked += text.sliced(position, percent - position);
        const qsizetype end =
            std::max(endOfStrictSpecifier(text, percent), endOfQtPlaceholder(text, percent));
        position = std::max(end, percent + 1);
        const QStringView piece = text.sliced(percent, position - percent);
        if (end < 0)
            marked += piece;
        else
            marked += QChar(argumentStart) % piece % QChar(argumentEnd);
    }
    marked += text.sliced(position);
}

using Cues = QVarLengthArray<DVCue, 16>; // most labels show one string or two

Cues stringCues(QStringView text)
{
    Cues cues;
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text[i] == stringStart || text[i] == stringEnd)
            cues.push_back(DVCue::cueWithChar(text[i], i));
    }
    return cues;
}

// For each start cue, in order, its end and its depth. Empty when the cues are not balanced.
QList<DVEditionItem> matchedPairs(const Cues &cues)
{
    QList<DVEditionItem> items;
    items.reserve(cues.size() / 2);
    QVarLengthArray<qsizetype, 16> open; // indexes into items
    for (const DVCue &cue : cues) {
        if (cue.cueType == DVCue::StringStart) {
            open.push_back(items.size());
            items.push_back({{}, cue.position, 0, int(open.size())});
        } else if (open.empty()) {
            return {};
        } else {
            auto &item = items[open.back()];
            item.length = cue.position - item.location + 1;
            open.pop_back();
        }
    }
    return open.empty() ? items : QList<DVEditionItem>();
}

bool startWasCutOff(const QString &text)
{
    return text.endsWith(QChar(stringEnd)) && !text.startsWith(QChar(stringStart));
}

QList<DVEditionItem> unbalanced(const QString &text)
{
    dv_logDebugLazily([&] {
        return QStringLiteral("Incorrect number of cues found in %1").arg(dv_stringShowingCues(text));
    });
    return {};
}

} // namespace

QString dv_stringWithCues(const QString &text)
{
    if (text.startsWith(QChar(stringStart)))
        return text;
    QString marked;
    marked.reserve(text.size() + 8);
    marked += QChar(stringStart);
    appendMarked(marked, text);
    marked += QChar(stringEnd);
    return marked;
}

QString dv_stringWithCuesOfQt(const QString &text)
{
    if (text.startsWith(QChar(stringStart)) || !hasQtPlaceholder(text))
        return dv_stringWithCues(text);
    QString marked;
    marked.reserve(text.size() + 8);
    marked += QChar(stringStart);
    appendMarkedAsQt(marked, text);
    marked += QChar(stringEnd);
    return marked;
}

QString dv_enumerateCuesUsingBlock(const QString &text, const DVArgumentReplacement &replacement)
{
    if (!text.contains(QChar(argumentStart)))
        return text;
    QString result;
    result.reserve(text.size());
    QStringView rest(text);
    for (;;) {
        const qsizetype start = rest.indexOf(argumentStart);
        if (start < 0)
            break;
        const qsizetype end = rest.indexOf(argumentEnd, start);
        const qsizetype argumentStop = end < 0 ? rest.size() : end;
        const QStringView argument = rest.sliced(start + 1, argumentStop - start - 1);
        result += rest.first(start + 1);
        if (!argument.isEmpty())
            result += replacement(argument.toString()).value_or(QString());
        result += QChar(argumentEnd);
        rest = end < 0 ? QStringView() : rest.sliced(end + 1);
    }
    result += rest;
    return result;
}

QList<DVTextRun> dv_runsInString(QStringView text)
{
    QList<DVTextRun> runs;
    const auto add = [&runs](QStringView run, bool isArgument) {
        if (!run.isEmpty())
            runs.append({run, isArgument});
    };
    while (!text.isEmpty()) {
        const qsizetype start = text.indexOf(argumentStart);
        add(start < 0 ? text : text.first(start), false);
        if (start < 0)
            break;
        text = text.sliced(start + 1);
        const qsizetype end = text.indexOf(argumentEnd);
        add(end < 0 ? text : text.first(end), true);
        text = end < 0 ? QStringView() : text.sliced(end + 1);
    }
    return runs;
}

QList<QStringView> dv_argumentsInString(QStringView text)
{
    QList<QStringView> arguments;
    for (;;) {
        const qsizetype start = text.indexOf(argumentStart);
        if (start < 0)
            return arguments;
        const qsizetype end = text.indexOf(argumentEnd, start);
        const qsizetype stop = end < 0 ? text.size() : end;
        arguments.append(text.sliced(start + 1, stop - start - 1));
        text = end < 0 ? QStringView() : text.sliced(end + 1);
    }
}

// The pieces end from the inside out, so one pass with the open starts at hand finds each piece's end and
// depth. Whoever removes matched pairs from a list instead pays for every removal.
QList<DVEditionItem> dv_localizedStringsInString(const QString &text)
{
    const auto cues = stringCues(text);
    if (cues.isEmpty())
        return {};
    if (cues.size() % 2 != 0)
        return startWasCutOff(text) ? dv_localizedStringsInString(QChar(stringStart) + text)
                                    : unbalanced(text);

    auto items = matchedPairs(cues);
    if (items.isEmpty())
        return unbalanced(text);
    for (auto &item : items)
        item.text = text;
    if (items.size() == 1) {
        items.front().location = 0;
        items.front().length = text.size();
        return items;
    }
    std::reverse(items.begin(), items.end());
    dv_logDebugLazily([&] {
        return QStringLiteral("%1 juxtaposed strings found in %2")
            .arg(QString::number(items.size()), dv_stringShowingCues(text));
    });
    return items;
}

QString dv_stringShowingCues(const QString &text)
{
    QString shown = text;
    shown.replace(QChar(argumentStart), u'{');
    shown.replace(QChar(argumentEnd), u'}');
    shown.replace(QChar(stringStart), u'[');
    shown.replace(QChar(stringEnd), u']');
    return shown;
}

QString dv_stringByRemovingCues(const QString &text)
{
    QString plain = text;
    for (const char16_t marker : {stringStart, stringEnd, argumentStart, argumentEnd})
        plain.remove(QChar(marker));
    return plain;
}
