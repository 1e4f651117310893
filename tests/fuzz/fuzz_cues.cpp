// Cue markers in any UTF-16: marking, walking arguments, finding pieces and stripping say the same as a
// plain reading of their rules, one character at a time. Input: a byte that chooses how the text is made
// (its lowest bit: UTF-16 units as they are, else an alphabet rich in markers; 0xA0: a
// text of few units is repeated until it is long, and what is not linear to it runs into the fuzzer's time
// limit), then the text.
#include "FuzzTarget.h"

#include <DVCueMarkers.h>
#include <DVString.h>

#include <vector>

namespace {

using namespace DVCueMarker;

constexpr QStringView conversions = u"@dDuUxXoOfeEgGcCsSpaAF";

bool isMarker(QChar c)
{
    return c == stringStart || c == stringEnd || c == argumentStart || c == argumentEnd;
}

QString madeText(FuzzInput &in, bool isRaw)
{
    constexpr char16_t rich[] = {stringStart, stringEnd, argumentStart, argumentEnd, u'%',   0xFF05,
                                 u'@',        u'd',      0xD800,        0xDC00,      0x0130, 0x00E9,
                                 0xFEFF,      u'\0',     u'x',          u'%'};
    QString text;
    while (!in.isEmpty()) {
        const auto value = quint16(in.number(isRaw ? 2 : 1));
        text.append(isRaw || value < 0x80 ? QChar(value) : QChar(rich[value % std::size(rich)]));
    }
    return text;
}

// ---- removing and showing ----

void checkStripping(const QString &text)
{
    QString expected;
    QString shown;
    for (const QChar c : text) {
        if (!isMarker(c))
            expected.append(c);
        shown.append(isMarker(c) ? DVCue::cueWithChar(c, 0).description().front() : c);
    }
    FUZZ_CHECK(dv_stringByRemovingCues(text) == expected);
    FUZZ_CHECK(dv_stringByRemovingCues(expected) == expected);
    FUZZ_CHECK(dv_stringShowingCues(text) == shown);
}

// ---- marking ----

QString markedByTheBook(const QString &text)
{
    if (text.startsWith(QChar(stringStart)))
        return text;
    QString result = QChar(stringStart);
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text[i] != u'%') {
            result += text[i];
        } else if (i + 2 < text.size() && text[i + 1] == u'%') {
            result += u"%%";
            ++i;
        } else {
            qsizetype end = i;
            while (end < text.size() && !conversions.contains(text[end]))
                ++end;
            if (end == text.size())
                break;
            result += QChar(argumentStart) + text.mid(i, end - i + 1) + QChar(argumentEnd);
            i = end;
        }
    }
    return QString(result + QChar(stringEnd));
}

void checkMarking(const QString &text)
{
    const QString marked = dv_stringWithCues(text);
    FUZZ_CHECK(marked == markedByTheBook(text));
    FUZZ_CHECK(dv_stringWithCues(marked) == marked);
}

// ---- walking arguments ----

QString walkedByTheBook(const QString &text, const DVArgumentReplacement &replacement)
{
    QString result;
    QString argument;
    bool inside = false;
    const auto close = [&] {
        if (!argument.isEmpty())
            result += replacement(argument).value_or(QString());
        result += QChar(argumentEnd);
        argument.clear();
        inside = false;
    };
    for (const QChar c : text) {
        if (inside && c == argumentEnd) {
            close();
        } else if (inside) {
            argument += c;
        } else {
            result += c;
            inside = c == argumentStart;
        }
    }
    if (inside)
        close();
    return result;
}

void checkWalking(const QString &text)
{
    const auto keep = [](const QString &argument) { return std::optional(argument); };
    const auto empty = [](const QString &) { return std::optional<QString>(); };
    const auto number = [](const QString &argument) {
        return std::optional(QString::number(argument.size()));
    };
    const QString kept = dv_enumerateCuesUsingBlock(text, keep);
    FUZZ_CHECK(kept == walkedByTheBook(text, keep));
    FUZZ_CHECK(dv_enumerateCuesUsingBlock(kept, keep) == kept);
    FUZZ_CHECK(dv_enumerateCuesUsingBlock(text, empty) == walkedByTheBook(text, empty));
    FUZZ_CHECK(dv_enumerateCuesUsingBlock(text, number) == walkedByTheBook(text, number));

    DVString string;
    string.extractFormatFromString(text);
    FUZZ_CHECK(string.localizedFormat == kept);
    const QString hash = string.localizedHash;
    string.extractFormatFromString(kept);
    FUZZ_CHECK(string.localizedFormat == kept && string.localizedHash == hash);
    FUZZ_CHECK(string.dynamic == !string.argumentFormatSpecifiers.isEmpty());
}

// ---- finding pieces ----

std::vector<DVCue> stringCuesOf(const QString &text)
{
    std::vector<DVCue> cues;
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text[i] == stringStart || text[i] == stringEnd)
            cues.push_back(DVCue::cueWithChar(text[i], i));
    }
    return cues;
}

bool isBalanced(const std::vector<DVCue> &cues)
{
    qsizetype depth = 0;
    for (const DVCue &cue : cues) {
        depth += cue.cueType == DVCue::StringStart ? 1 : -1;
        if (depth < 0)
            return false;
    }
    return depth == 0;
}

// From the inside out: the first end belongs to the start before it; both go, and so on.
QList<DVEditionItem> piecesByTheBook(const QString &text)
{
    auto cues = stringCuesOf(text);
    const bool startIsGone =
        cues.size() % 2 && text.endsWith(QChar(stringEnd)) && !text.startsWith(QChar(stringStart));
    if (startIsGone)
        return piecesByTheBook(QChar(stringStart) + text);
    if (!isBalanced(cues))
        return {};
    if (cues.size() == 2)
        return {{text, 0, text.size(), 1}};
    QList<DVEditionItem> items;
    qsizetype index = 0;
    int depth = 0;
    while (!cues.empty()) {
        do {
            ++index;
            ++depth;
        } while (cues[size_t(index)].cueType != DVCue::StringEnd);
        const auto start = cues.begin() + index - 1;
        items.append({text, start->position, (start + 1)->position - start->position + 1, depth});
        cues.erase(start, start + 2);
        index -= 2;
        depth -= 2;
    }
    std::sort(items.begin(), items.end(),
              [](const auto &a, const auto &b) { return a.location > b.location; });
    return items;
}

void checkFinding(const QString &text)
{
    const auto items = dv_localizedStringsInString(text);
    for (const auto &item : items) {
        FUZZ_CHECK(item.location >= 0 && item.length >= 2 && item.level >= 1);
        FUZZ_CHECK(item.location + item.length <= item.text.size());
    }
    constexpr size_t fewEnoughForTheBook = 2000; // which takes the square of them
    if (stringCuesOf(text).size() <= fewEnoughForTheBook)
        FUZZ_CHECK(items == piecesByTheBook(text));
}

// Without the comparisons, which take longer than what they compare with.
void runOnLongText(const QString &piece)
{
    constexpr qsizetype length = 1 << 15;
    const QString text = piece.repeated(length / std::max<qsizetype>(piece.size(), 1));
    const QString marked = dv_stringWithCues(text);
    FUZZ_CHECK(dv_stringByRemovingCues(text).size() <= text.size());
    FUZZ_CHECK(dv_stringShowingCues(text).size() == text.size());
    FUZZ_CHECK(dv_localizedStringsInString(text).size() <= text.size() / 2 + 1);
    dv_localizedStringsInString(marked);
    DVString string;
    string.extractFormatFromString(text);
    string.extractFormatFromString(marked);
}

} // namespace

void fuzz_cues(QByteArrayView input)
{
    FuzzInput in(input);
    const quint8 choice = in.byte();
    const QString text = madeText(in, choice & 1);
    constexpr qsizetype fewUnits = 3;
    if (choice == 0xA0 && text.size() <= fewUnits)
        return runOnLongText(text);
    checkStripping(text);
    checkMarking(text);
    checkWalking(text);
    checkFinding(text);
    checkFinding(dv_stringWithCues(text));
}
