// Texts put together at random from strings in strings are rebuilt as if the application had put them
// together from the other translations; and texts made to hurt are done with soon.
#include "DVViewStrings.h"
#include "ShownStrings.h"

#include "DVCueMarkers.h"
#include "DVState.h"

#include <QTest>

#include <ctime>
#include <random>
#include <vector>

using namespace Qt::Literals::StringLiterals;

namespace {

// A translation as its author sees it: texts, and places of arguments.
struct Part
{
    QString text;  // of a text, or the placeholder as it is written
    int place = 0; // of an argument; 0 for a text
};
using Translation = std::vector<Part>;

QString written(const Translation &translation)
{
    QString text;
    for (const Part &part : translation)
        text += part.place ? QString(u'{' % part.text % u'}') : part.text;
    return QString(u'[' % text % u']');
}

constexpr int countPlace = 100; // of "%n"

struct ComposedString
{
    QString key;
    bool known = true;
    // By category; of a string without plurals under an empty one.
    std::map<QString, Translation> before;
    std::map<QString, Translation> after;
    int arguments = 0;

    const Translation &now(const QString &category, bool isAfter) const
    {
        const auto &forms = isAfter && known ? after : before;
        const auto form = forms.find(category);
        return form != forms.end() ? form->second : forms.at(u"other"_qs);
    }
};

class Composer
{
public:
    explicit Composer(unsigned seed)
        : m_random(seed)
    {
        for (int i = 0; i < 30; ++i)
            m_strings.push_back(makeString(i));
    }

    ShownTexts texts(bool isAfter) const
    {
        ShownTexts texts;
        for (const ComposedString &string : m_strings) {
            for (const auto &[category, translation] : isAfter ? string.after : string.before) {
                if (string.known)
                    texts[category.isEmpty() ? string.key : QString(string.key % u'|' % category)] =
                        written(translation);
            }
        }
        return texts;
    }

    // The same text with the translations before and after.
    struct Shown
    {
        QString before;
        QString after;
    };
    Shown composed()
    {
        Shown shown = literal();
        for (int i = 0; i < 1 + below(3); ++i)
            shown = joined(joined(shown, composedString(0)), literal());
        return shown;
    }

private:
    int below(int limit) { return int(m_random() % unsigned(limit)); }
    bool oneIn(int n) { return below(n) == 0; }

    static Shown joined(const Shown &left, const Shown &right)
    {
        return {left.before + right.before, left.after + right.after};
    }
    QString word()
    {
        static const QStringList words{u"two"_qs, u"A & B"_qs,        u"<x>"_qs, u"\u00E9t\u00E9"_qs,
                                       u"%"_qs,   u"\"q\""_qs,        u"%1"_qs,  u"&amp;"_qs,
                                       u" "_qs,   u"\u0645\u0631"_qs, u"."_qs};
        return words.at(below(int(words.size())));
    }
    Shown literal()
    {
        const QString text = oneIn(3) ? QString() : word();
        return {text, text};
    }

    Translation translation(const QString &name, const QList<int> &places, int style)
    {
        Translation parts{{QString(name % u' ' % word()), 0}};
        for (const int place : places) {
            const QString number = QString::number(place);
            const QString placeholder = place == countPlace ? u"%n"_qs
                                        : style == 0        ? QString(u'%' % number)
                                        : style == 1        ? QString(u"%L" % number)
                                        : style == 2        ? QString(u'%' % number % u"$@")
                                                            : u"%@"_qs;
            parts.push_back({placeholder, place});
            parts.push_back({word(), 0});
        }
        return parts;
    }

    ComposedString makeString(int number)
    {
        ComposedString string;
        string.key = u"key %1"_qs.arg(number);
        string.known = !oneIn(8);
        string.arguments = below(4);
        const int style = below(4);
        QList<int> places;
        for (int i = 1; i <= string.arguments; ++i)
            places.append(i);
        QList<int> other = places; // another order, some twice; printf without numbers cannot say so
        std::shuffle(other.begin(), other.end(), m_random);
        if (!other.isEmpty() && oneIn(3))
            other.append(other.front());
        if (style == 3)
            other = places;
        const bool counted = oneIn(4);
        if (counted) {
            places.append(countPlace);
            other.prepend(countPlace);
        }
        const QStringList categories = counted ? QStringList{u"one"_qs, u"other"_qs} : QStringList{QString()};
        for (const QString &category : categories) {
            const QString name = QString(category % u"w" % QString::number(number) % u"w");
            string.before[category] = translation(name, places, style);
            if (category != u"one" || oneIn(2)) // a locale without that form
                string.after[category] = translation(QString(u"neu " % name), other, style);
        }
        return string;
    }

    Shown argument(int depth)
    {
        if (depth > 3 || oneIn(2))
            return oneIn(6) ? Shown() : Shown{word(), word()};
        const Shown nested = composedString(depth + 1);
        return oneIn(3) ? joined(joined({u"in "_qs, u"in "_qs}, nested), composedString(depth + 1)) : nested;
    }

    // As the application formats it, with the markers that its texts carry.
    Shown composedString(int depth)
    {
        const ComposedString &string = m_strings.at(size_t(below(int(m_strings.size()))));
        const QString category = string.before.size() == 2 ? (oneIn(2) ? u"one"_qs : u"other"_qs) : QString();
        std::map<int, Shown> values;
        for (int place = 1; place <= string.arguments; ++place) {
            values[place] = argument(depth);
            if (values[place].before.isEmpty() ||
                !values[place].before.contains(QChar(DVCueMarker::stringStart)))
                values[place].after = values[place].before;
        }
        values[countPlace] = {u"7"_qs, u"7"_qs};
        const auto shown = [&](bool isAfter) {
            QString text;
            for (const Part &part : string.now(category, isAfter)) {
                const Shown value = part.place ? values.at(part.place) : Shown();
                text += part.place
                            ? marked(u"{"_qs) + (isAfter ? value.after : value.before) + marked(u"}"_qs)
                            : part.text;
            }
            return QString(marked(u"["_qs) + text + marked(u"]"_qs));
        };
        const QString before = shown(false);
        return {before, string.known ? shown(true) : before};
    }

    std::mt19937 m_random;
    std::vector<ComposedString> m_strings;
};

QString rebuiltPlain(const QString &text, const ShownTexts &texts)
{
    DVViewStrings strings;
    strings.originalString = text;
    strings.dorvaneStringsInString();
    ShownStore::serve(texts);
    return strings.newLocalizedString();
}

QString rebuiltRich(const QString &html, const ShownTexts &texts)
{
    DVViewStrings strings;
    strings.originalAttributedString = html;
    strings.dorvaneStringsInString();
    ShownStore::serve(texts);
    return strings.newLocalizedAttributedString();
}

} // namespace

class TestComposedTexts : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { DVState::shared().log = false; }
    void cleanup() { ShownStore::serveNothing(); }

    void rebuiltAsTheApplicationWould_data();
    void rebuiltAsTheApplicationWould();
    void textsThatHurt_data();
    void textsThatHurt();
    void argumentsRepeatedInsideEachOther();
};

void TestComposedTexts::rebuiltAsTheApplicationWould_data()
{
    QTest::addColumn<unsigned>("seed");
    for (unsigned seed = 1; seed <= 20; ++seed)
        QTest::addRow("seed %u", seed) << seed;
}

void TestComposedTexts::rebuiltAsTheApplicationWould()
{
    QFETCH(unsigned, seed);
    Composer composer(seed);
    const ShownTexts before = composer.texts(false);
    const ShownTexts after = composer.texts(true);
    for (int i = 0; i < 40; ++i) {
        const Composer::Shown shown = composer.composed();
        ShownStore::serve(before);
        QCOMPARE(dv_stringShowingCues(rebuiltPlain(shown.before, before)),
                 dv_stringShowingCues(shown.before));
        QCOMPARE(dv_stringShowingCues(rebuiltPlain(shown.before, after)), dv_stringShowingCues(shown.after));

        // The same as escaped text of an HTML document.
        const auto html = [](const QString &text) {
            return QString(u"<html><p class='a'>x <b>" % text.toHtmlEscaped() % u"</b></p></html>");
        };
        ShownStore::serve(before);
        QCOMPARE(dv_stringShowingCues(rebuiltRich(html(shown.before), before)),
                 dv_stringShowingCues(html(shown.before)));
        ShownStore::serve(before);
        QCOMPARE(dv_stringShowingCues(rebuiltRich(html(shown.before), after)),
                 dv_stringShowingCues(html(shown.after)));
    }
}

void TestComposedTexts::textsThatHurt_data()
{
    QTest::addColumn<QString>("text");
    const auto repeated = [](const QString &piece, qsizetype count) { return marked(piece).repeated(count); };
    const qsizetype megabyte = 500'000; // bytes, of UTF-16
    const qsizetype pieces = 20'000;
    QTest::newRow("only starts") << repeated(u"["_qs, megabyte);
    QTest::newRow("only ends") << repeated(u"]"_qs, megabyte);
    QTest::newRow("only arguments") << QString(repeated(u"{"_qs, megabyte) + marked(u"[In {]"_qs));
    QTest::newRow("all markers again and again") << repeated(u"[{}]"_qs, pieces);
    QTest::newRow("known strings side by side") << repeated(u"[In {x}]"_qs, pieces);
    QTest::newRow("a depth of 10,000, unknown")
        << QString(repeated(u"["_qs, 10'000) + repeated(u"]"_qs, 10'000));
    QTest::newRow("a depth of 10,000, known")
        << QString(repeated(u"[In {"_qs, 10'000) + repeated(u"}]"_qs, 10'000));
    QTest::newRow("a depth of 1,000, known")
        << QString(repeated(u"[In {"_qs, 1'000) + repeated(u"}]"_qs, 1'000));
    QTest::newRow("many strings in one argument")
        << QString(marked(u"[In {"_qs) + repeated(u"[In {x}]"_qs, pieces) + marked(u"}]"_qs));
    QTest::newRow("many arguments") << QString(marked(u"["_qs) + repeated(u"{x}"_qs, megabyte / 3) +
                                               marked(u"]"_qs));
    QTest::newRow("tags that never end")
        << QString(repeated(u"<a "_qs, megabyte / 3) + marked(u"[In {x}]"_qs));
    QTest::newRow("quotation marks that never end")
        << QString(repeated(u"<a href='>"_qs, megabyte / 10) + marked(u"[In {x}]"_qs));
    QTest::newRow("comments that never end")
        << QString(repeated(u"<!--"_qs, megabyte / 4) + marked(u"[In {x}]"_qs));
    QTest::newRow("open tags in strings") << repeated(u"<b>[In <i>{x}]"_qs, pieces);
    QTest::newRow("ampersands") << QString(marked(u"[In "_qs) + repeated(u"&"_qs, megabyte) +
                                           marked(u"{x}]"_qs));
    QTest::newRow("tags in one string")
        << QString(marked(u"[In "_qs) + repeated(u"<b>x</b>"_qs, megabyte / 8) + marked(u"{x}]"_qs));
}

// Twenty seconds of the processor are for sanitizers: what is not linear takes minutes.
void TestComposedTexts::textsThatHurt()
{
    QFETCH(QString, text);
    ShownStore::serve({{u"in"_qs, u"[In {%1}]"_qs}});
    const std::clock_t begin = std::clock();
    const QString plain = rebuiltPlain(text, {{u"in"_qs, u"[Nach {%1}{%1}]"_qs}});
    ShownStore::serve({{u"in"_qs, u"[In {%1}]"_qs}});
    const QString rich = rebuiltRich(text, {{u"in"_qs, u"[Nach {%1}{%1}]"_qs}});
    const auto seconds = double(std::clock() - begin) / CLOCKS_PER_SEC;
    QVERIFY2(seconds < 20, qPrintable(QString::number(seconds)));
    QVERIFY(plain.size() >= text.size());
    QVERIFY(plain.size() < (qsizetype(32) << 20));
    QVERIFY(rich.size() < (qsizetype(32) << 20));
}

// Each level doubles what is inside: 500 levels would be more than there is in the world.
void TestComposedTexts::argumentsRepeatedInsideEachOther()
{
    ShownStore::serve({{u"in"_qs, u"[In {%1}]"_qs}});
    const QString text = marked(QString(u"[In {"_qs.repeated(500) % u"x" % u"}]"_qs.repeated(500)));
    const QString rebuilt = rebuiltPlain(text, {{u"in"_qs, u"[{%1}{%1}]"_qs}});
    QVERIFY(rebuilt.size() < (qsizetype(32) << 20));
    QVERIFY(rebuilt.contains(u'x'));
}

QTEST_MAIN(TestComposedTexts)
#include "tst_composedtexts.moc"
