#include "DVPluralForm.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace {

using enum DVPluralCategory;

constexpr bool between(qint64 value, qint64 first, qint64 last)
{
    return first <= value && value <= last;
}

// The integer rules of CLDR as the platform froze them, one function for each set of languages.
// Remainders take the sign of n, so a negative n meets no condition on a positive remainder. The few
// rules that look at v, the number with its fraction, are those of languages that count in fractions.

DVPluralCategory oneIsOne(qint64 n, float)
{
    return n == 1 ? One : Other;
}

DVPluralCategory zeroAndOneAreOne(qint64 n, float)
{
    return between(n, 0, 1) ? One : Other;
}

DVPluralCategory belowTwoIsOne(qint64, float v)
{
    return 0 <= v && v < 2 ? One : Other;
}

DVPluralCategory oneAndTwo(qint64 n, float)
{
    return n == 1 ? One : n == 2 ? Two : Other;
}

DVPluralCategory eastSlavic(qint64 n, float)
{
    if (n % 10 == 1 && n % 100 != 11)
        return One;
    if (between(n % 10, 2, 4) && !between(n % 100, 12, 14))
        return Few;
    // Reached by negative numbers only.
    if (n % 10 != 0 && n % 10 < 5 && !between(n % 100, 11, 14))
        return Other;
    return Many;
}

DVPluralCategory czech(qint64 n, float)
{
    return n == 1 ? One : between(n, 2, 4) ? Few : Other;
}

DVPluralCategory lithuanian(qint64 n, float)
{
    if (between(n % 100, 11, 19))
        return Other;
    return n % 10 == 1 ? One : n % 10 >= 2 ? Few : Other;
}

DVPluralCategory latvian(qint64 n, float)
{
    return n == 0 ? Zero : n % 10 == 1 && n % 100 != 11 ? One : Other;
}

DVPluralCategory macedonian(qint64 n, float)
{
    return n != 11 && n % 10 == 1 ? One : Other;
}

DVPluralCategory maltese(qint64 n, float)
{
    if (n == 1)
        return One;
    if (between(n % 100, 11, 19))
        return Many;
    return n == 0 || between(n % 100, 2, 10) ? Few : Other;
}

DVPluralCategory polish(qint64 n, float)
{
    if (n == 1)
        return One;
    return between(n % 10, 2, 4) && !between(n % 100, 12, 14) ? Few : Many;
}

DVPluralCategory romanian(qint64 n, float)
{
    if (n == 1)
        return One;
    return n == 0 || between(n % 100, 1, 19) ? Few : Other;
}

DVPluralCategory irish(qint64 n, float)
{
    if (between(n, 1, 2))
        return n == 1 ? One : Two;
    return between(n, 3, 6) ? Few : between(n, 7, 10) ? Many : Other;
}

DVPluralCategory scottishGaelic(qint64 n, float)
{
    if (n == 1 || n == 11)
        return One;
    if (n == 2 || n == 12)
        return Two;
    return between(n, 3, 19) ? Few : Other;
}

DVPluralCategory manx(qint64 n, float)
{
    return n % 20 == 0 || between(n % 10, 1, 2) ? One : Other;
}

DVPluralCategory hebrew(qint64 n, float)
{
    if (between(n, 1, 2))
        return n == 1 ? One : Two;
    return n != 0 && n % 10 == 0 ? Many : Other;
}

DVPluralCategory arabic(qint64 n, float)
{
    if (between(n, 0, 2))
        return std::array{Zero, One, Two}[size_t(n)];
    return between(n % 100, 3, 10) ? Few : between(n % 100, 0, 2) ? Other : Many;
}

DVPluralCategory welsh(qint64 n, float)
{
    return between(n, 0, 6) ? std::array{Zero, One, Two, Few, Other, Other, Many}[size_t(n)] : Other;
}

DVPluralCategory breton(qint64 n, float)
{
    const qint64 unit = n % 10;
    const qint64 tens = n % 100 / 10;
    const bool oddDecade = tens == 1 || tens == 7 || tens == 9;
    if (n != 0 && n % 1000000 == 0)
        return Many;
    if (oddDecade)
        return Other;
    return unit == 1 ? One : unit == 2 ? Two : between(unit, 3, 4) || unit == 9 ? Few : Other;
}

DVPluralCategory slovenian(qint64 n, float)
{
    const qint64 rest = n % 100;
    return rest == 1 ? One : rest == 2 ? Two : between(rest, 3, 4) ? Few : Other;
}

DVPluralCategory tachelhit(qint64 n, float v)
{
    return between(n, 2, 10) ? Few : 0 <= v && v <= 1 ? One : Other;
}

DVPluralCategory centralAtlasTamazight(qint64 n, float)
{
    return between(n, 0, 1) || between(n, 11, 99) ? One : Other;
}

DVPluralCategory colognian(qint64 n, float)
{
    return n == 0 ? Zero : n == 1 ? One : Other;
}

DVPluralCategory langi(qint64 n, float v)
{
    return n == 0 ? Zero : 0 < v && v < 2 ? One : Other;
}

DVPluralCategory alwaysOther(qint64, float)
{
    return Other;
}

struct Languages
{
    DVPluralForm::Rule rule;
    std::u16string_view codes; // separated by blanks
};

constexpr std::array languagesByRule{
    Languages{oneIsOne, u"af asa ast bem bez bg bn brx ca cgg chr ckb da de dv ee el en eo es et "
                        u"eu fi fo fur fy gl gsw gu ha haw is it jgo jmc kaj kcg kk kkj kl ks ksb "
                        u"ku ky lb lg mas mgo ml mn mr nah nb nd ne nl nn nnh no nr ny nyn om or "
                        u"os pa pap ps pt rm rof rwk saq seh sn so sq ss ssy st sv sw syr ta te "
                        u"teo tig tk tn ts ur ve vo vun wae xh xog zu"},
    Languages{zeroAndOneAreOne, u"ak am bh fil guw hi ln mg nso ti tl wa"},
    Languages{belowTwoIsOne, u"ff fr kab"},
    Languages{oneAndTwo, u"iu kw naq se sma smi smj smn sms"},
    Languages{eastSlavic, u"be bs hr ru sh sr uk"},
    Languages{czech, u"cs sk"},
    Languages{lithuanian, u"lt"},
    Languages{latvian, u"lv"},
    Languages{macedonian, u"mk"},
    Languages{maltese, u"mt"},
    Languages{polish, u"pl"},
    Languages{romanian, u"ro mo"},
    Languages{irish, u"ga"},
    Languages{scottishGaelic, u"gd"},
    Languages{manx, u"gv"},
    Languages{hebrew, u"he"},
    Languages{arabic, u"ar"},
    Languages{welsh, u"cy"},
    Languages{breton, u"br"},
    Languages{slovenian, u"sl"},
    Languages{tachelhit, u"shi"},
    Languages{centralAtlasTamazight, u"tzm"},
    Languages{colognian, u"ksh"},
    Languages{langi, u"lag"},
};

// A code of two or three lower-case letters as one number, a byte for each; 0 for anything else.
constexpr quint32 packedCode(std::u16string_view code)
{
    if (code.size() < 2 || code.size() > 3)
        return 0;
    quint32 packed = 0;
    for (const char16_t letter : code) {
        if (letter < u'a' || letter > u'z')
            return 0;
        packed = packed << 8 | letter;
    }
    return packed;
}

struct Language
{
    quint32 code = 0;
    DVPluralForm::Rule rule = nullptr;
};

constexpr size_t languageCount()
{
    size_t count = 0;
    for (const Languages &languages : languagesByRule)
        count += size_t(std::ranges::count(languages.codes, u' ')) + 1;
    return count;
}

constexpr auto languagesByCode()
{
    std::array<Language, languageCount()> table;
    size_t next = 0;
    for (const auto &[rule, codes] : languagesByRule) {
        for (size_t begin = 0; begin < codes.size();) {
            const size_t end = std::min(codes.find(u' ', begin), codes.size());
            table[next++] = {packedCode(codes.substr(begin, end - begin)), rule};
            begin = end + 1;
        }
    }
    std::ranges::sort(table, {}, &Language::code);
    return table;
}

constexpr auto languages = languagesByCode();
static_assert(languages.front().code != 0, "every code has two or three lower-case letters");
static_assert(std::ranges::adjacent_find(languages, {}, &Language::code) == languages.end(),
              "a language has one rule");

const QString &categoryName(size_t index)
{
    using Names = std::array<QString, DVPluralCategoryCount>;
    // Never destroyed: lookups may come after the static objects are gone.
    static const auto &names = *new Names{
        QStringLiteral("zero"), QStringLiteral("one"),   QStringLiteral("two"), QStringLiteral("few"),
        QStringLiteral("many"), QStringLiteral("other"), QStringLiteral("none")};
    return names[std::min(index, names.size() - 1)];
}

} // namespace

QString dv_pluralCategoryName(DVPluralCategory category)
{
    return categoryName(size_t(category));
}

bool dv_pluralCategoryFromName(QStringView name, DVPluralCategory *category)
{
    for (size_t index = 0; index < DVPluralCategoryCount; ++index) {
        if (name == categoryName(index)) {
            *category = DVPluralCategory(index);
            return true;
        }
    }
    *category = None;
    return false;
}

DVPluralForm::Rule DVPluralForm::ruleForLocale(const DVLocale &locale)
{
    const QString language = locale.languageCode();
    const quint32 code = packedCode({QStringView(language).utf16(), size_t(language.size())});
    const auto found = std::ranges::lower_bound(languages, code, {}, &Language::code);
    return found != languages.end() && found->code == code ? found->rule : alwaysOther;
}

QString DVPluralForm::pluralFormForValue(const DVNumber &value, const DVLocale &withLocale)
{
    return dv_pluralCategoryName(ruleForLocale(withLocale)(value.integerValue(), value.floatValue()));
}
