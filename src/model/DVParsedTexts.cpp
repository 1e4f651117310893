#include "DVParsedTexts.h"

#include <QList>
#include <QString>

#include <algorithm>
#include <array>

using namespace Qt::Literals::StringLiterals;

namespace {

template<size_t Count> bool isOneOf(QStringView text, const std::array<QLatin1StringView, Count> &names)
{
    return std::any_of(names.begin(), names.end(),
                       [&](QLatin1StringView name) { return text.compare(name, Qt::CaseInsensitive) == 0; });
}

bool isModifier(QStringView text)
{
    static constexpr std::array names{"ctrl"_L1,   "control"_L1, "alt"_L1,    "shift"_L1,      "meta"_L1,
                                      "altgr"_L1,  "num"_L1,     "keypad"_L1, "cmd"_L1,        "command"_L1,
                                      "option"_L1, "win"_L1,     "super"_L1,  "groupswitch"_L1};
    return isOneOf(text, names);
}

// "F1" to "F35".
bool isFunctionKey(QStringView text)
{
    constexpr int last = 35;
    if (text.size() < 2 || text.size() > 3 || text.front().toUpper() != u'F' || text[1] < u'1' ||
        text[1] > u'9')
        return false;
    bool isNumber = false;
    const int number = text.sliced(1).toInt(&isNumber);
    return isNumber && number >= 1 && number <= last;
}

// Names of keys that are no words.
bool isKeyAbbreviation(QStringView text)
{
    static constexpr std::array names{
        "esc"_L1,        "ins"_L1,         "del"_L1,       "pgup"_L1,       "pgdown"_L1,       "pgdn"_L1,
        "backtab"_L1,    "capslock"_L1,    "caps lock"_L1, "numlock"_L1,    "num lock"_L1,     "sysreq"_L1,
        "scrolllock"_L1, "scroll lock"_L1, "page up"_L1,   "page down"_L1,  "print screen"_L1, "ctrl"_L1,
        "alt"_L1,        "meta"_L1,        "altgr"_L1,     "number lock"_L1};
    return isOneOf(text, names);
}

bool isKeyWord(QStringView text)
{
    static constexpr std::array names{
        "escape"_L1, "tab"_L1,     "backspace"_L1, "return"_L1, "enter"_L1, "insert"_L1, "delete"_L1,
        "pause"_L1,  "print"_L1,   "home"_L1,      "end"_L1,    "left"_L1,  "up"_L1,     "right"_L1,
        "down"_L1,   "space"_L1,   "menu"_L1,      "help"_L1,   "clear"_L1, "back"_L1,   "forward"_L1,
        "stop"_L1,   "refresh"_L1, "search"_L1,    "plus"_L1,   "minus"_L1, "comma"_L1,  "period"_L1,
        "select"_L1, "open"_L1,    "undo"_L1,      "redo"_L1};
    return isOneOf(text, names) || text.startsWith("media "_L1, Qt::CaseInsensitive) ||
           text.startsWith("volume "_L1, Qt::CaseInsensitive) ||
           text.startsWith("launch "_L1, Qt::CaseInsensitive);
}

bool isKey(QStringView text)
{
    return text.size() == 1 || isFunctionKey(text) || isKeyAbbreviation(text) || isKeyWord(text);
}

// Modifiers have names in every language.
bool mayBeModifier(QStringView text)
{
    return text.size() > 1 && std::all_of(text.begin(), text.end(), [](QChar c) { return c.isLetter(); });
}

// One combination of keys: with a modifier, or a key whose name is no word.
bool isCombination(QStringView text)
{
    if (isFunctionKey(text) || isKeyAbbreviation(text))
        return true;
    const qsizetype last = text.size() > 1 ? text.first(text.size() - 1).lastIndexOf(u'+') : -1;
    if (last < 0) // "Ctrl+", to which the host adds a key
        return text.endsWith(u'+') && isModifier(text.chopped(1).trimmed());
    const QStringView key = text.sliced(last + 1).trimmed();
    const auto modifiers = text.first(last).split(u'+');
    const auto all = [&](auto &&rule) {
        return std::all_of(modifiers.begin(), modifiers.end(),
                           [&](QStringView name) { return rule(name.trimmed()); });
    };
    if (all(isModifier))
        return isKey(key) || key.isEmpty();
    const bool hasSpaces = std::any_of(text.begin(), text.end(), [](QChar c) { return c.isSpace(); });
    return !hasSpaces && all(mayBeModifier) && (isKey(key) || isModifier(modifiers.front()));
}

bool isInBrackets(QStringView text, qsizetype *open)
{
    *open = text.lastIndexOf(u'(');
    return *open >= 0 && text.endsWith(u')');
}

bool isWildcard(QStringView pattern)
{
    const bool isPattern = std::none_of(pattern.begin(), pattern.end(), [](QChar c) {
        return c.isSpace() || c == u'(' || c == u')' || c == u'"';
    });
    return isPattern && (pattern == u"*" || pattern.startsWith(u"*.") || pattern.contains(u".*") ||
                         (pattern.contains(u'*') && pattern.contains(u'.')));
}

bool areWildcards(QStringView text)
{
    qsizetype count = 0;
    for (const QStringView part : text.split(u' ', Qt::SkipEmptyParts)) {
        for (const QStringView pattern : part.split(u';', Qt::SkipEmptyParts)) {
            if (!isWildcard(pattern))
                return false;
            ++count;
        }
    }
    return count > 0;
}

// What parts of a date or time are written with, and how often a letter may stand in a row.
bool isDateField(QChar letter, qsizetype length)
{
    switch (letter.unicode()) {
    case u'd':
    case u'M':
    case u't':
        return length <= 4;
    case u'y':
        return length == 2 || length == 4;
    case u'h':
    case u'H':
    case u'm':
    case u's':
        return length <= 2;
    case u'z':
        return length <= 3;
    default:
        return false;
    }
}

struct DateFields
{
    int fields = 0;
    int shortOnes = 0; // of one letter
    bool quoted = false;
    bool touching = false; // two without anything between, one of them of one letter: a word
};

bool isDateSeparator(QChar c)
{
    // Letters of other scripts are units: years, months and days in Chinese and Japanese.
    return c.isSpace() || QStringView(u".,:/-_()[]'\u2019\u2013|").contains(c) ||
           (c.unicode() > 0x2E7F && c.isLetter());
}

// The length of the field that begins at a place: of one letter, of "AP" or "ap"; 0 when none does.
qsizetype dateFieldAt(QStringView text, qsizetype at)
{
    const QStringView rest = text.sliced(at);
    if (rest.startsWith(u"AP") || rest.startsWith(u"ap"))
        return 2;
    if (rest.front() == u'a' || rest.front() == u'A')
        return 1;
    qsizetype length = 1;
    while (length < rest.size() && rest[length] == rest.front())
        ++length;
    return isDateField(rest.front(), length) ? length : 0;
}

// Skips a quoted literal; -1 when the quote stays open.
qsizetype behindQuote(QStringView text, qsizetype at)
{
    const qsizetype end = text.indexOf(u'\'', at + 1);
    return end < 0 ? -1 : end + 1;
}

bool readDateFields(QStringView text, DateFields *found)
{
    qsizetype before = 0; // length of the field that ends here
    for (qsizetype at = 0; at < text.size();) {
        const QChar c = text[at];
        if (c == u'\'' && behindQuote(text, at) > 0) {
            at = behindQuote(text, at);
            found->quoted = true;
            before = 0;
        } else if (isDateSeparator(c) || (c == u'T' && before > 0 && at + 1 < text.size()) ||
                   (c == u'Z' && found->fields > 2 && at + 1 == text.size())) {
            ++at;
            before = 0;
        } else if (const qsizetype length = dateFieldAt(text, at); length > 0) {
            found->touching = found->touching || (before > 0 && std::min(before, length) == 1);
            found->shortOnes += length == 1 ? 1 : 0;
            ++found->fields;
            before = length;
            at += length;
        } else {
            return false;
        }
    }
    return found->fields > 0;
}

// As strftime has them: "%d/%m/%Y".
bool isClockFormat(QStringView text)
{
    constexpr QStringView conversions = u"aAbBcdDeFHIjklmMnpPrRsSTuUVwWxXyYzZ";
    constexpr QStringView neverPrintf = u"bBHIjmMrRSTyYwWVkl";
    int count = 0;
    bool isClock = false;
    for (qsizetype at = 0; at < text.size(); ++at) {
        if (text[at] == u'%' && at + 1 < text.size() && conversions.contains(text[at + 1])) {
            isClock = isClock || neverPrintf.contains(text[at + 1]);
            ++count;
            ++at;
        } else if (!isDateSeparator(text[at])) {
            return false;
        }
    }
    return count > 1 && isClock;
}

bool hasPlaceholder(QStringView text)
{
    for (qsizetype at = text.indexOf(u'%'); at >= 0 && at + 1 < text.size();
         at = text.indexOf(u'%', at + 1)) {
        const QChar next = text[at + 1];
        if (next.isDigit() || next.isLetter() || next == u'@')
            return true;
    }
    return false;
}

} // namespace

bool dv_looksLikeShortcut(QStringView text)
{
    constexpr int mostCombinations = 4; // that Qt's key sequences have
    QStringView rest = text.trimmed();
    for (int i = 0; i < mostCombinations && !rest.isEmpty(); ++i) {
        const qsizetype comma = rest.indexOf(u", ");
        if (!isCombination(comma < 0 ? rest : rest.first(comma).trimmed()))
            return false;
        if (comma < 0)
            return true;
        rest = rest.sliced(comma + 2).trimmed();
    }
    return false;
}

bool dv_looksLikeFileFilter(QStringView text)
{
    text = text.trimmed();
    if (text.contains(u";;") || areWildcards(text))
        return true;
    qsizetype open = 0;
    return isInBrackets(text, &open) && areWildcards(text.sliced(open + 1).chopped(1));
}

bool dv_looksLikeDateFormat(QStringView text)
{
    text = text.trimmed();
    if (isClockFormat(text))
        return true;
    DateFields found;
    if (!readDateFields(text, &found) || found.touching)
        return false;
    return found.fields > 1 || found.shortOnes == 0 || found.quoted;
}

bool dv_looksLikeNumberFormat(QStringView text)
{
    static constexpr std::array<QStringView, 5> patterns{u"#,##", u"##0", u"#.#", u"0.0#", u"#0.0"};
    return std::any_of(patterns.begin(), patterns.end(),
                       [&](QStringView pattern) { return text.contains(pattern); });
}

bool dv_looksLikeAddress(QStringView text)
{
    if (std::any_of(text.begin(), text.end(), [](QChar c) { return c.isSpace(); }))
        return false;
    const qsizetype scheme = text.indexOf(u"://");
    const auto isOfScheme = [](QChar c) {
        return c.isLetterOrNumber() || c == u'+' || c == u'-' || c == u'.';
    };
    return (scheme > 0 && std::all_of(text.begin(), text.begin() + scheme, isOfScheme)) ||
           text.startsWith(u":/") || text.startsWith(u"qrc:/") || text.startsWith(u"mailto:") ||
           text.startsWith(u"www.");
}

bool dv_isForPrograms(QStringView text)
{
    if (text.size() < 2)
        return true;
    const bool hasLetter = std::any_of(text.begin(), text.end(), [](QChar c) {
        return c.isLetter() || c.isSurrogate(); // letters and signs beyond the Basic Multilingual Plane
    });
    if (!hasLetter && !hasPlaceholder(text))
        return true;
    return dv_looksLikeShortcut(text) || dv_looksLikeFileFilter(text) || dv_looksLikeDateFormat(text) ||
           dv_looksLikeNumberFormat(text) || dv_looksLikeAddress(text);
}
