#include "DVPluralForm.h"
#include "DVRows.h"

#include <QSet>
#include <QTest>

#include <unicode/upluralrules.h>
#include <unicode/ures.h>

#include <array>
#include <limits>
#include <memory>

namespace {

using Predicate = bool (*)(int n);

// Numbers are values, usable where the compiler computes.
static_assert(DVNumber(1e300).integerValue() == std::numeric_limits<qint64>::max());
static_assert(DVNumber(-1e300).floatValue() == -std::numeric_limits<float>::infinity());
static_assert(DVNumber(~quint64(0)).integerValue() == std::numeric_limits<qint64>::max());
static_assert(DVNumber(-1.9).integerValue() == -1);
static_assert(DVNumber(std::numeric_limits<double>::quiet_NaN()).floatValue() == 0);

// Where the table and CLDR disagree, for whole numbers from 0 to 200, each read off CLDR's text of
// the rule. The test fails when a language or a number is missing here, and when one is too many.
// docs/plural-rules.md says the same for people.
struct Difference
{
    const char *codes;
    Predicate differs;
};

constexpr bool between(int n, int first, int last)
{
    return first <= n && n <= last;
}
bool isZero(int n)
{
    return n == 0;
}
bool isOne(int n)
{
    return n == 1;
}
bool isZeroOrOne(int n)
{
    return n <= 1;
}
bool isOneOrTwo(int n)
{
    return between(n, 1, 2);
}
// East Slavic "one" and "few"; everything else is "many" there.
bool isEastSlavicMany(int n)
{
    return n % 10 == 0 || n % 10 >= 5 || between(n % 100, 11, 14);
}
// CLDR's "one" of Filipino and its relatives.
bool isFilipinoOne(int n)
{
    return between(n, 1, 3) || (n % 10 != 4 && n % 10 != 6 && n % 10 != 9);
}
bool isBalticZero(int n)
{
    return n % 10 == 0 || between(n % 100, 11, 19);
}
bool endsInOne(int n)
{
    return n % 10 == 1 && n % 100 != 11;
}

constexpr std::array differences{
    // In the table.
    Difference{"bn gu pa pt zu", isZero},
    Difference{"bh", isZeroOrOne},
    Difference{"bs hr sh sr", isEastSlavicMany},
    Difference{"fil tl", [](int n) { return n > 1 && isFilipinoOne(n); }},
    Difference{"gv", [](int n) { return n % 10 == 2 || n % 20 == 0; }},
    Difference{"he", [](int n) { return n != 0 && n % 10 == 0; }},
    Difference{"is", [](int n) { return n != 1 && endsInOne(n); }},
    Difference{"kw",
               [](int n) {
                   const bool anyTwenty = n % 100 / 10 % 2 == 0;
                   return n == 0 || (n > 2 && anyTwenty && between(n % 10, 1, 3));
               }},
    Difference{"lv", [](int n) { return n != 0 && isBalticZero(n); }},
    Difference{"mk", [](int n) { return n != 11 && n % 100 == 11; }},
    Difference{"mt", [](int n) { return n % 100 == 2; }},
    // Not in the table: "other" for every number.
    Difference{"an az bal ce hu ia io ji ka lij sc scn sd sdh tr ug uz vec yi", isOne},
    Difference{"as bho doi fa hy kn pcm si", isZeroOrOne},
    Difference{"iw sat", isOneOrTwo},
    Difference{"dsb hsb", [](int n) { return between(n % 100, 1, 4); }},
    Difference{"ceb", isFilipinoOne},
    Difference{"prg", [](int n) { return isBalticZero(n) || endsInOne(n); }},
    Difference{"ars", [](int n) { return n < 3 || between(n % 100, 3, 99); }},
};

QStringList words(const char *text)
{
    return QString::fromLatin1(text).split(u' ');
}

Predicate expectedDifference(const QString &code)
{
    for (const auto &difference : differences) {
        if (words(difference.codes).contains(code))
            return difference.differs;
    }
    return [](int) { return false; };
}

QString selected(const QString &code, const DVNumber &number)
{
    return DVPluralForm::pluralFormForValue(number, DVLocale(code));
}

class IcuRules
{
public:
    explicit IcuRules(const QString &code)
        : m_rules(uplrules_open(code.toLatin1().constData(), &m_status), uplrules_close)
    {}
    QString select(double number)
    {
        std::array<UChar, 16> keyword;
        const int32_t length =
            uplrules_select(m_rules.get(), number, keyword.data(), int32_t(keyword.size()), &m_status);
        return U_SUCCESS(m_status) ? QString(reinterpret_cast<const QChar *>(keyword.data()), length)
                                   : QString();
    }

private:
    UErrorCode m_status = U_ZERO_ERROR;
    std::unique_ptr<UPluralRules, decltype(&uplrules_close)> m_rules;
};

// Every language for which ICU carries CLDR's rules.
QSet<QString> languagesOfCldr()
{
    UErrorCode status = U_ZERO_ERROR;
    const std::unique_ptr<UResourceBundle, decltype(&ures_close)> plurals(
        ures_openDirect(nullptr, "plurals", &status), ures_close);
    const std::unique_ptr<UResourceBundle, decltype(&ures_close)> locales(
        ures_getByKey(plurals.get(), "locales", nullptr, &status), ures_close);
    QSet<QString> codes;
    while (U_SUCCESS(status) && ures_hasNext(locales.get())) {
        const char *key = nullptr;
        ures_getNextString(locales.get(), nullptr, &key, &status);
        const QString code = QString::fromLatin1(key);
        if (!code.contains(u'_') && code != u"root")
            codes.insert(code);
    }
    return codes;
}

// Every language that has a rule here, found by asking for each possible code.
QSet<QString> languagesOfTable()
{
    const auto noRule = DVPluralForm::ruleForLocale(DVLocale());
    QSet<QString> codes;
    const auto tryCode = [&](const QString &code) {
        if (DVPluralForm::ruleForLocale(DVLocale(code)) != noRule)
            codes.insert(code);
    };
    for (char16_t first = u'a'; first <= u'z'; ++first) {
        for (char16_t second = u'a'; second <= u'z'; ++second) {
            const QString two = QString(QChar(first)) + QChar(second);
            tryCode(two);
            for (char16_t third = u'a'; third <= u'z'; ++third)
                tryCode(two + QChar(third));
        }
    }
    return codes;
}

} // namespace

class tst_PluralForm : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { QTest::failOnWarning(QRegularExpression(QStringLiteral("."))); }

    void wholeNumbersAgainstCldr()
    {
        const QSet<QString> languages = languagesOfCldr() | languagesOfTable();
        QVERIFY(languages.size() > 200);
        QStringList surprises;
        for (const QString &code : languages) {
            IcuRules icu(code);
            const Predicate differs = expectedDifference(code);
            for (int n = 0; n <= 200; ++n) {
                const QString ours = selected(code, n);
                const QString theirs = icu.select(n);
                if ((ours != theirs) != differs(n))
                    surprises.append(
                        QStringLiteral("%1 %2: %3, CLDR %4").arg(code, QString::number(n), ours, theirs));
            }
        }
        surprises.sort();
        QCOMPARE(surprises.join(u'\n'), QString());
        for (const auto &difference : differences) {
            for (const QString &code : words(difference.codes))
                QVERIFY2(languages.contains(code), qPrintable(code));
        }
    }

    void fractionsAgainstCldr_data()
    {
        const DVRows<QString, std::function<bool(double)>> row("code", "differs");
        using Differs = std::function<bool(double)>;
        const Differs never = [](double) { return false; };
        row("French counts up to 2 as one", "fr", never);
        row("Fula counts up to 2 as one", "ff", never);
        row("Kabyle counts up to 2 as one", "kab", never);
        row("Tachelhit looks at whole numbers for few", "shi",
            Differs([](double v) { return 2 < v && v < 11 && v != int(v); }));
        row("Langi calls what is below 1 zero", "lag", Differs([](double v) { return 0 < v && v < 1; }));
    }
    void fractionsAgainstCldr()
    {
        QFETCH(QString, code);
        QFETCH(std::function<bool(double)>, differs);

        IcuRules icu(code);
        for (int quarters = 0; quarters <= 50; ++quarters) {
            const double v = quarters / 4.0; // exact in binary
            QVERIFY2((selected(code, v) != icu.select(v)) == differs(v), qPrintable(QString::number(v)));
        }
    }

    void chosenForms_data()
    {
        // forms: number and category, in turn
        const DVRows<QString, QString> row("code", "forms");
        row("English", "en", "1 one 0 other 2 other -1 other 1.5 one 1.99 one 2.5 other");
        row("Hindi: nought and one", "hi", "0 one 1 one 2 other 0.5 one 1.5 one -1 other -0.5 one");
        row("French: below two", "fr",
            "0 one 0.5 one 1 one 1.5 one 1.9 one 2 other 3 other -0.5 other -1 other");
        row("French: the number is taken in single precision", "fr", "1.9999999 one 1.99999999 other");
        row("Inuktitut: a dual", "iu", "1 one 2 two 3 other 0 other 12 other -2 other");
        row("Russian", "ru",
            "1 one 21 one 101 one 2 few 22 few 104 few 5 many 11 many 12 many 14 many 0 many 111 many");
        row("Russian: negative numbers", "ru", "-1 other -2 other -5 other -10 many -11 other -100 many");
        row("Czech", "cs", "0 other 1 one 2 few 4 few 5 other 22 other -2 other");
        row("Lithuanian", "lt",
            "1 one 21 one 11 other 2 few 9 few 12 other 19 other 10 other 20 other 22 few -1 other");
        row("Latvian", "lv", "0 zero 1 one 21 one 11 other 10 other 2 other 111 other");
        row("Maltese", "mt", "1 one 0 few 2 few 10 few 11 many 19 many 20 other 101 other 102 few 111 many");
        row("Polish", "pl", "1 one 22 few 2 few 12 many 0 many 21 many 5 many 112 many -2 many");
        row("Manx", "gv", "0 one 20 one 1 one 2 one 11 one 3 other 10 other 100 one 110 other -20 one");
        row("Hebrew", "he", "0 other 1 one 2 two 10 many 20 many 100 many 11 other -10 many");
        row("Arabic", "ar",
            "0 zero 1 one 2 two 3 few 10 few 11 many 99 many 100 other 102 other 103 few -5 many -100 other");
        row("Welsh", "cy", "0 zero 1 one 2 two 3 few 4 other 5 other 6 many 7 other 106 other -1 other");
        row("Breton", "br",
            "1 one 11 other 71 other 91 other 81 one 2 two 72 other 82 two 3 few 4 few 9 few 13 other "
            "79 other 99 other 0 other 1000000 many 3000000 many 1000001 one");
        row("Slovenian", "sl", "1 one 101 one 2 two 102 two 3 few 4 few 5 other 11 other 0 other -1 other");
        row("Langi", "lag", "0 zero 0.5 zero 1 one 1.9 one 2 other -0.5 zero -1 other");
        row("Colognian", "ksh", "0 zero 0.5 zero 1 one 2 other");
        row("Tachelhit below nought", "shi", "-0.5 other 0.5 one");
        row("out of range above: as the largest whole number", "ru", "1e300 many inf many");
        row("out of range below", "ru", "-1e300 other -inf other");
        row("infinity is no small number", "fr", "inf other -inf other");
        row("not a number reads as nought", "ar", "nan zero");
    }
    void chosenForms()
    {
        QFETCH(QString, code);
        QFETCH(QString, forms);

        const QStringList parts = forms.split(u' ');
        for (qsizetype i = 0; i + 1 < parts.size(); i += 2) {
            bool whole = false;
            const qint64 n = parts[i].toLongLong(&whole);
            const DVNumber number = whole ? DVNumber(n) : DVNumber(parts[i].toDouble());
            QCOMPARE(QString(parts[i] % u' ' % selected(code, number)),
                     QString(parts[i] % u' ' % parts[i + 1]));
        }
    }

    void codesAreLowerCaseAndShort()
    {
        const auto noRule = DVPluralForm::ruleForLocale(DVLocale());
        const auto hasRule = [&](const QString &code) {
            return DVPluralForm::ruleForLocale(DVLocale(code)) != noRule;
        };
        const QSet<QString> codes = languagesOfTable();
        for (const QString &code : codes) {
            QVERIFY2(!hasRule(code.toUpper()), qPrintable(code));
            QVERIFY2(!hasRule(code.left(1).toUpper() + code.mid(1)), qPrintable(code));
            QVERIFY2(!hasRule(code.left(1)), qPrintable(code));
            QVERIFY2(!hasRule(code.leftJustified(4, u'a')), qPrintable(code));
            QVERIFY2(!hasRule(u'a' + code.rightJustified(3, u'a')), qPrintable(code));
            QVERIFY2(!hasRule(QChar(0x100 + code[0].unicode()) + code.mid(1)),
                     qPrintable(code)); // same low byte
            QVERIFY2(!hasRule(u' ' + code), qPrintable(code));
            QVERIFY2(hasRule(code + QStringLiteral("_XX")), qPrintable(code));
        }
    }

    void identifiers_data()
    {
        const DVRows<QString, QString> row("identifier", "formOfTwo");
        row("a region, device form", "pl_PL", "few");
        row("a region, platform form", "pl-PL", "few");
        row("a script and a region", "sr_Latn_ME", "few");
        row("both signs", "sr-Latn_ME", "few");
        row("three letters", "shi-Tfng", "few");
        row("the name of a language", "polish", "other");
        row("no code before the sign", "_PL", "other");
        row("no identifier", "", "other");
    }
    void identifiers()
    {
        QFETCH(QString, identifier);
        QTEST(DVPluralForm::pluralFormForValue(2, DVLocale(identifier)), "formOfTwo");
    }

    void categoryNames()
    {
        const QStringList names = words("zero one two few many other none");
        for (int i = 0; i < DVPluralCategoryCount; ++i) {
            DVPluralCategory category{};
            QCOMPARE(dv_pluralCategoryName(DVPluralCategory(i)), names[i]);
            QVERIFY(dv_pluralCategoryFromName(names[i], &category));
            QCOMPARE(int(category), i);
        }
        for (const QString &unknown :
             {QString(), QStringLiteral("One"), QStringLiteral("ones"), QStringLiteral("fe")}) {
            auto category = DVPluralCategory::Few;
            QVERIFY(!dv_pluralCategoryFromName(unknown, &category));
            QCOMPARE(category, DVPluralCategory::None);
        }
    }
};

QTEST_GUILESS_MAIN(tst_PluralForm)
#include "tst_pluralform.moc"
