// The strings that made a text are found, and the text is rebuilt with other translations. Texts show their
// markers as [string] and {argument}.
#include "DVViewStrings.h"
#include "ShownStrings.h"

#include "DVCueMarkers.h"
#include "DVState.h"
#include "DVWrittenLog.h"

#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

QString showing(const QString &text)
{
    return dv_stringShowingCues(text);
}

DVViewStrings plain(const QString &shown)
{
    DVViewStrings strings;
    strings.originalString = marked(shown);
    strings.dorvaneStringsInString();
    return strings;
}

DVViewStrings rich(const QString &html)
{
    DVViewStrings strings;
    strings.originalString = u""_qs;
    strings.originalAttributedString = marked(html);
    strings.dorvaneStringsInString();
    return strings;
}

QStringList keysOf(const QList<DVStringPtr> &strings)
{
    QStringList keys;
    for (const DVStringPtr &string : strings)
        keys.append(string->key);
    return keys;
}

// "a, <key>; b": the values of each string, those that are strings in angle brackets.
QString valuesOf(const DVViewStrings &strings)
{
    QStringList all;
    for (const auto &values : strings.valuesForDorvaneStrings()) {
        QStringList texts;
        for (const DVStringValue &value : values) {
            const DVStringPtr *string = std::get_if<DVStringPtr>(&value);
            texts.append(string ? QString(u'<' % (*string)->key % u'>') : showing(std::get<QString>(value)));
        }
        all.append(texts.join(u", "_qs));
    }
    return all.join(u"; "_qs);
}

QString firstLevelOf(const DVViewStrings &strings)
{
    QStringList pieces;
    for (const DVEditionItem &item : strings.orderedFirstLevelStrings()) {
        const QString form = item.pluralForm.isNull() ? QString() : QString(u'|' % item.pluralForm);
        pieces.append(QString(item.targetString->key % form % u'@' % QString::number(item.location) % u'+' %
                              QString::number(item.length)));
    }
    return pieces.join(u' ');
}

// The columns of tests that rebuild a shown text after the translation changed, and what adds a row to them.
auto rebuildingRows()
{
    QTest::addColumn<QString>("before");
    QTest::addColumn<QString>("after");
    QTest::addColumn<QString>("shown");
    QTest::addColumn<QString>("expected");
    return [](const char *name, const QString &before, const QString &after, const QString &shown,
              const QString &expected) { QTest::newRow(name) << before << after << shown << expected; };
}

} // namespace

class TestViewStrings : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { DVState::shared().log = false; }
    void cleanup() { ShownStore::serveNothing(); }

    void finds_data();
    void finds();
    void rebuilds_data();
    void rebuilds();
    void rebuildsRichTexts_data();
    void rebuildsRichTexts();
    void theBaseStringsAnswerToo();
    void whatIsServedNoMoreStays();
    void oneStringWithItsValues();
    void anEditInPlaceKeepsTheValues();
    void formsOutliveTheirStore();
    void saysWhatItDoes();
};

void TestViewStrings::finds_data()
{
    QTest::addColumn<QString>("shown");
    QTest::addColumn<QStringList>("keys");
    QTest::addColumn<QString>("values");
    QTest::addColumn<QString>("firstLevel");

    QTest::newRow("a plain string") << u"[OK]"_qs << QStringList{u"ok"_qs} << u""_qs << u"ok@0+4"_qs;
    QTest::newRow("letter case does not matter")
        << u"[ok]"_qs << QStringList{u"ok"_qs} << u""_qs << u"ok@0+4"_qs;
    QTest::newRow("a label's own text around it")
        << u"Name: [OK]!"_qs << QStringList{u"ok"_qs} << u""_qs << u"ok@6+4"_qs;
    QTest::newRow("a mnemonic") << u"[&Save]"_qs << QStringList{u"save"_qs} << u""_qs << u"save@0+7"_qs;
    QTest::newRow("right to left") << u"\u202B[\u0645\u0631\u062D\u0628\u0627]\u202C"_qs
                                   << QStringList{u"hello"_qs} << u""_qs << u"hello@1+7"_qs;
    QTest::newRow("side by side, and the same one again")
        << u"[OK] / [&Save] / [OK]"_qs << QStringList{u"ok"_qs, u"save"_qs} << u"; "_qs
        << u"ok@0+4 save@7+7 ok@17+4"_qs;
    QTest::newRow("values of arguments, also an empty one")
        << u"[From {} to {Rome}]"_qs << QStringList{u"trip"_qs} << u", Rome"_qs << u"trip@0+19"_qs;
    QTest::newRow("the values of a string that is there twice are those where it was found first")
        << u"[In {Rome}] [In {Paris}]"_qs << QStringList{u"in"_qs} << u"Paris"_qs << u"in@0+11 in@12+12"_qs;
    QTest::newRow("a string in a string, and a text")
        << u"[From {[OK]} to {x}]"_qs << QStringList{u"ok"_qs, u"trip"_qs} << u"; <ok>, x"_qs
        << u"trip@0+20"_qs;
    QTest::newRow("an unknown string inside is a text in its place")
        << u"[From {[Nobody]} to {[OK]}]"_qs << QStringList{u"ok"_qs, u"trip"_qs} << u"; [Nobody], <ok>"_qs
        << u"trip@0+27"_qs;
    QTest::newRow("a string in a part of an argument")
        << u"[In {the [OK] city}]"_qs << QStringList{u"ok"_qs, u"in"_qs} << u"; the [OK] city"_qs
        << u"in@0+20"_qs;
    QTest::newRow("three deep") << u"[In {[In {[OK]}]}]"_qs << QStringList{u"ok"_qs, u"in"_qs} << u"; <ok>"_qs
                                << u"in@0+18"_qs;
    QTest::newRow("inside of an unknown one")
        << u"[Nobody {[OK]}]"_qs << QStringList{u"ok"_qs} << u""_qs << u""_qs;
    QTest::newRow("a plural form") << u"[{1} file]"_qs << QStringList{u"files"_qs} << u"1"_qs
                                   << u"files|one@0+10"_qs;
    QTest::newRow("the start cut off") << u"K] [OK]"_qs << QStringList{u"ok"_qs} << u""_qs << u"ok@4+4"_qs;
    QTest::newRow("the end cut off") << u"[OK] [&Sa"_qs << QStringList() << u""_qs << u""_qs;
    QTest::newRow("no markers") << u"OK"_qs << QStringList() << u""_qs << u""_qs;
    QTest::newRow("an empty text") << u""_qs << QStringList() << u""_qs << u""_qs;
    QTest::newRow("nothing but an empty string") << u"[]"_qs << QStringList() << u""_qs << u""_qs;
    QTest::newRow("ends before starts") << u"]OK["_qs << QStringList() << u""_qs << u""_qs;
}

void TestViewStrings::finds()
{
    ShownStore::serve({{u"ok"_qs, u"[OK]"_qs},
                       {u"save"_qs, u"[&Save]"_qs},
                       {u"hello"_qs, u"[\u0645\u0631\u062D\u0628\u0627]"_qs},
                       {u"in"_qs, u"[In {%1}]"_qs},
                       {u"trip"_qs, u"[From {%1} to {%2}]"_qs},
                       {u"files|one"_qs, u"[{%n} file]"_qs},
                       {u"files|other"_qs, u"[{%n} files]"_qs}});
    QFETCH(QString, shown);
    DVViewStrings strings = plain(shown);
    QTEST(keysOf(strings.dorvaneStrings()), "keys");
    QTEST(valuesOf(strings), "values");
    QTEST(firstLevelOf(strings), "firstLevel");
    QCOMPARE(strings.valuesForDorvaneStrings().size(), strings.dorvaneStrings().size());
    for (const DVEditionItem &item : strings.orderedFirstLevelStrings())
        QVERIFY(item.string().startsWith(QChar(DVCueMarker::stringStart)));
    const QString again = strings.newLocalizedString();
    if (shown == u"K] [OK]") // the start that is put back
        QCOMPARE(showing(again), u"[K] [OK]"_qs);
    else if (shown == u"[ok]") // as the string has it
        QCOMPARE(showing(again), u"[OK]"_qs);
    else
        QCOMPARE(showing(again), shown);
    strings.dorvaneStringsInString(); // not twice in the lists
    QTEST(keysOf(strings.dorvaneStrings()), "keys");
}

void TestViewStrings::rebuilds_data()
{
    const auto row = rebuildingRows();
    row("a value stays in its place", u"[Total: {%d}]"_qs, u"[{%d} zusammen]"_qs, u"[Total: {5}]"_qs,
        u"[{5} zusammen]"_qs);
    row("only the marked part", u"[OK]"_qs, u"[Gut]"_qs, u"Name: [OK]!"_qs, u"Name: [Gut]!"_qs);
    row("twice, each with its own values", u"[In {%1}]"_qs, u"[Nach {%1}]"_qs, u"[In {a}] / [In {b}]"_qs,
        u"[Nach {a}] / [Nach {b}]"_qs);
    row("itself inside of itself", u"[In {%1}]"_qs, u"[{%1} nach]"_qs, u"[In {[In {x}]}]"_qs,
        u"[{[{x} nach]} nach]"_qs);
    row("twice inside of another, each with its own values", u"[{%1} of {%2}]"_qs, u"[{%2} de {%1}]"_qs,
        u"[{[{1} of {2}]} of {[{3} of {4}]}]"_qs, u"[{[{4} de {3}]} de {[{2} de {1}]}]"_qs);
    row("in a part of an argument", u"[In {%1}]"_qs, u"[Nach {%1}]"_qs, u"[In {the [In {x}] city}]"_qs,
        u"[Nach {the [Nach {x}] city}]"_qs);
    row("Qt's placeholders the other way round", u"[{%1} of {%2}]"_qs, u"[{%2} de {%1}]"_qs,
        u"[{a} of {b}]"_qs, u"[{b} de {a}]"_qs);
    row("found the other way round", u"[{%2} of {%1}]"_qs, u"[{%1} de {%2}]"_qs, u"[{b} of {a}]"_qs,
        u"[{a} de {b}]"_qs);
    row("one twice", u"[{%1} of {%2}]"_qs, u"[{%1}: {%2} de {%1}]"_qs, u"[{a} of {b}]"_qs,
        u"[{a}: {b} de {a}]"_qs);
    row("one of two only", u"[{%1} of {%2}]"_qs, u"[de {%2}]"_qs, u"[{a} of {b}]"_qs, u"[de {b}]"_qs);
    row("found twice", u"[{%1} and {%1}, {%2}]"_qs, u"[{%2}: {%1}]"_qs, u"[{a} and {a}, {b}]"_qs,
        u"[{b}: {a}]"_qs);
    row("a localized number is the same argument", u"[{%L1} of {%2}]"_qs, u"[{%2}/{%1}]"_qs,
        u"[{1,000} of {b}]"_qs, u"[{b}/{1,000}]"_qs);
    row("numbers of two digits", u"[{%1} {%12}]"_qs, u"[{%12} {%1}]"_qs, u"[{a} {b}]"_qs, u"[{b} {a}]"_qs);
    row("printf's numbers", u"[{%1$@} of {%2$d}]"_qs, u"[{%2$d} de {%1$@}]"_qs, u"[{a} of {2}]"_qs,
        u"[{2} de {a}]"_qs);
    row("printf without numbers, and then with them", u"[{%@} of {%d}]"_qs, u"[{%2$d} de {%1$@}]"_qs,
        u"[{a} of {2}]"_qs, u"[{2} de {a}]"_qs);
    row("printf with a width is no number", u"[{%5d} of {%3d}]"_qs, u"[{%3d} de {%5d}]"_qs,
        u"[{1} of {2}]"_qs, u"[{1} de {2}]"_qs);
    row("a count beside an argument", u"[{%n} files in {%1}]"_qs, u"[{%1}: {%n}]"_qs,
        u"[{3} files in {x}]"_qs, u"[{x}: {3}]"_qs);
    row("an empty value moves none", u"[{%@} of {%@}]"_qs, u"[{%@} de {%@}]"_qs, u"[{} of {b}]"_qs,
        u"[{} de {b}]"_qs);
    row("more arguments than values", u"[{%1} of {%2}]"_qs, u"[{%1} {%3} {%2}]"_qs, u"[{a} of {b}]"_qs,
        u"[{a} {} {b}]"_qs);
    row("arguments where there were none stay as they are", u"[One file]"_qs, u"[{%n} fichier]"_qs,
        u"[One file]"_qs, u"[{%n} fichier]"_qs);
    row("no arguments any more", u"[{%n} files]"_qs, u"[Dateien]"_qs, u"[{3} files]"_qs, u"[Dateien]"_qs);
    row("values that look like placeholders", u"[{%1} of {%2}]"_qs, u"[{%2} de {%1}]"_qs,
        u"[{%2} of {%1}]"_qs, u"[{%1} de {%2}]"_qs);
    row("a percent sign", u"[{%1}\uFF05 done]"_qs, u"[fait {%1}\uFF05]"_qs, u"[{5}\uFF05 done]"_qs,
        u"[fait {5}\uFF05]"_qs);
    row("what nobody knows, and what it holds, stays", u"[OK]"_qs, u"[Gut]"_qs, u"[Nobody {[OK]}] [OK]"_qs,
        u"[Nobody {[OK]}] [Gut]"_qs);
    row("markup is a text like any other", u"[OK]"_qs, u"[<b>&]"_qs, u"[OK]<i>"_qs, u"[<b>&]<i>"_qs);
}

void TestViewStrings::rebuilds()
{
    QFETCH(QString, before);
    QFETCH(QString, after);
    QFETCH(QString, shown);
    ShownStore::serve({{u"key"_qs, before}});
    const DVViewStrings strings = plain(shown);
    QCOMPARE(showing(strings.newLocalizedString()), shown);
    ShownStore::serve({{u"key"_qs, after}});
    QTEST(showing(strings.newLocalizedString()), "expected");
}

void TestViewStrings::rebuildsRichTexts_data()
{
    const auto row = rebuildingRows();
    row("the format around it stays", u"[Name]"_qs, u"[Nom]"_qs, u"<p><b>[Name]</b>: x</p>"_qs,
        u"<p><b>[Nom]</b>: x</p>"_qs);
    row("a translation of a text adds no markup", u"[Name]"_qs, u"[<i>A & B</i>]"_qs, u"<b>[Name]</b>"_qs,
        u"<b>[&lt;i&gt;A &amp; B&lt;/i&gt;]</b>"_qs);
    row("a text that was escaped is found", u"[1 < 2 & \"3\"]"_qs, u"[2 > 1]"_qs,
        u"<b>[1 &lt; 2 &amp; &quot;3&quot;]</b>"_qs, u"<b>[2 &gt; 1]</b>"_qs);
    row("entities by name and number", u"[\u00E9t\u00E9 \u2013 x]"_qs, u"[hiver]"_qs,
        u"<b>[&eacute;t&#233; &#x2013; x]</b>"_qs, u"<b>[hiver]</b>"_qs);
    row("a lone & is a text", u"[A & B]"_qs, u"[C & D]"_qs, u"<b>[A & B]</b>"_qs, u"<b>[C &amp; D]</b>"_qs);
    row("a string with markup gives its markup", u"[<b>Now</b> &amp; then]"_qs, u"[<i>Jetzt</i> &lt;]"_qs,
        u"[<b>Now</b> &amp; then]"_qs, u"[<i>Jetzt</i> &lt;]"_qs);
    row("its arguments stay as they were put in", u"[<b>{%1}</b> of {%2}]"_qs, u"[{%2}: <u>{%1}</u>]"_qs,
        u"[<b>{A &amp; B}</b> of {<i>c</i>}]"_qs, u"[{<i>c</i>}: <u>{A &amp; B}</u>]"_qs);
    row("a link with its address", u"[See <a href=\"{%1}\">this</a>]"_qs, u"[<a href='{%1}'>Da</a>]"_qs,
        u"[See <a href=\"{http://x/?a&amp;b}\">this</a>]"_qs, u"[<a href='{http://x/?a&amp;b}'>Da</a>]"_qs);
    row("a format inside of a value goes with it", u"[In {%1}, {%2}]"_qs, u"[{%2} in {%1}]"_qs,
        u"<p>[In {<b>Rome</b>}, {x}]</p>"_qs, u"<p>[{x} in {<b>Rome</b>}]</p>"_qs);
    row("the format of the first character", u"[Hello world]"_qs, u"[Hallo]"_qs, u"[<b>Hello</b> world]"_qs,
        u"[<b>Hallo</b>]"_qs);
    row("a later format goes", u"[Hello world]"_qs, u"[Hallo]"_qs, u"[Hello <b>world</b>]"_qs, u"[Hallo]"_qs);
    row("spread over elements", u"[Hello world]"_qs, u"[A & B]"_qs, u"<b>x[Hello </b><i>world] y</i>"_qs,
        u"<b>x[A &amp; B]</b><i> y</i>"_qs);
    row("spread, with a value", u"[In {%1}!]"_qs, u"[{%1}?]"_qs, u"<b>[In {Ro</b><i>me &amp;}!]</i>"_qs,
        u"<b>[{Rome &amp;}?]</b><i></i>"_qs);
    row("lines in elements", u"[One\nTwo]"_qs, u"[Eins\nZwei]"_qs, u"<p>[One<br/>Two]</p>"_qs,
        u"<p>[Eins<br/>Zwei]</p>"_qs);
    row("a title in a tag takes no quotation marks", u"[Tip]"_qs, u"[\"x\" onclick='y']"_qs,
        u"<img title='[Tip]'>"_qs, u"<img title='[&quot;x&quot; onclick=&#39;y&#39;]'>"_qs);
    row("nested: each as it was", u"[In {%1}]"_qs, u"[<{%1}>]"_qs, u"<p>[In {[In {<b>x</b>}]}]</p>"_qs,
        u"<p>[&lt;{[&lt;{<b>x</b>}&gt;]}&gt;]</p>"_qs);
    row("a < that begins no tag", u"[a < b]"_qs, u"[c]"_qs, u"<b>[a < b]</b>"_qs, u"<b>[c]</b>"_qs);
    row("a tag that never ends", u"[Name]"_qs, u"[Nom]"_qs, u"[Name] <b"_qs, u"[Nom] <b"_qs);
    row("a comment", u"[Name]"_qs, u"[Nom]"_qs, u"<!-- <b> -->[Na<!-- x -->me]"_qs, u"<!-- <b> -->[Nom]"_qs);
    row("nothing of ours: not a character changes", u"[Name]"_qs, u"[Nom]"_qs,
        u"<P>[Other<br>]</p>  &bogus;"_qs, u"<P>[Other<br>]</p>  &bogus;"_qs);
}

void TestViewStrings::rebuildsRichTexts()
{
    QFETCH(QString, before);
    QFETCH(QString, after);
    QFETCH(QString, shown);
    ShownStore::serve({{u"key"_qs, before}});
    const DVViewStrings strings = rich(shown);
    ShownStore::serve({{u"key"_qs, after}});
    QTEST(showing(strings.newLocalizedAttributedString()), "expected");
}

void TestViewStrings::theBaseStringsAnswerToo()
{
    ShownStore::serve({{u"files|one"_qs, u"[{%n} fichier]"_qs}, {u"files|other"_qs, u"[{%n} fichiers]"_qs}});
    ShownStore::serveBase({{u"ok"_qs, u"[Fine]"_qs},
                           {u"files|one"_qs, u"[{%n} file]"_qs},
                           {u"files|other"_qs, u"[{%n} files]"_qs}});
    const DVViewStrings strings = plain(u"[Fine]: [{2} files] [{1} file]"_qs);
    QCOMPARE(firstLevelOf(strings), u"ok@0+6 files|other@8+11 files|one@20+10"_qs);
    QCOMPARE(showing(strings.newLocalizedString()), u"[Fine]: [{2} fichiers] [{1} fichier]"_qs);
    // A form that the other locale has not: the one that stands in for it.
    ShownStore::serve({{u"files|other"_qs, u"[{%n} \u30D5\u30A1\u30A4\u30EB]"_qs}}, u"ja"_qs);
    QCOMPARE(showing(strings.newLocalizedString()),
             u"[Fine]: [{2} \u30D5\u30A1\u30A4\u30EB] [{1} \u30D5\u30A1\u30A4\u30EB]"_qs);
}

void TestViewStrings::whatIsServedNoMoreStays()
{
    ShownStore::serve({{u"ok"_qs, u"[OK]"_qs}, {u"in"_qs, u"[In {%1}]"_qs}});
    const DVViewStrings strings = plain(u"[In {[OK]}] [OK]"_qs);
    ShownStore::serve({{u"in"_qs, u"[Nach {%1}]"_qs}});
    QCOMPARE(showing(strings.newLocalizedString()), u"[Nach {[OK]}] [OK]"_qs);
    ShownStore::serveNothing();
    QCOMPARE(showing(strings.newLocalizedString()), u"[In {[OK]}] [OK]"_qs);
}

void TestViewStrings::oneStringWithItsValues()
{
    ShownStore::serve(
        {{u"ok"_qs, u"[OK]"_qs}, {u"in"_qs, u"[In {%1}]"_qs}, {u"other"_qs, u"[Other {%1}]"_qs}});
    const DVViewStrings strings = plain(u"[In {Rome}] [In {[OK]}]"_qs);
    ShownStore::serve(
        {{u"ok"_qs, u"[Gut]"_qs}, {u"in"_qs, u"[Nach {%1}]"_qs}, {u"other"_qs, u"[Else {%1}]"_qs}});
    const auto current = [](const QString &key) {
        return DVMainController::sharedInstance().localeStrings()->dorvaneStringForKey(key, {});
    };
    QCOMPARE(showing(strings.newLocalizedStringForDorvaneString(current(u"in"_qs))), u"[Nach {[Gut]}]"_qs);
    QCOMPARE(showing(strings.newLocalizedStringForDorvaneString(current(u"ok"_qs))), u"[Gut]"_qs);
    QCOMPARE(showing(strings.newLocalizedStringForDorvaneString(current(u"other"_qs))), u"[Else {%1}]"_qs);
    QCOMPARE(strings.newLocalizedStringForDorvaneString(nullptr), QString());
}

// The editor writes into the record that was found.
void TestViewStrings::anEditInPlaceKeepsTheValues()
{
    auto &state = DVState::shared();
    const auto enable = [&state](bool enabled) {
        state.editionMode = state.loggedIn = state.canTranslate = enabled;
    };
    enable(true);
    const auto disable = qScopeGuard([&] { enable(false); });
    ShownStore::serve({{u"pages"_qs, u"[{%1} of {%2}]"_qs}});
    const DVViewStrings strings = plain(u"[{a} of {b}]"_qs);
    const DVStringPtr record = strings.dorvaneStrings().front();
    record->dynamic = false;
    record->extractFormatFromString(marked(u"[{%2}, {%1}!]"_qs));
    QCOMPARE(showing(strings.newLocalizedString()), u"[{b}, {a}!]"_qs);

    const auto group = std::make_shared<DVStringGroup>();
    const auto edited = std::make_shared<DVString>();
    edited->key = u"pages"_qs;
    edited->extractFormatFromString(marked(u"[Edited {%1}]"_qs));
    group->addStringForm(edited);
    DVMainController::sharedInstance().localeStrings()->setDirtyStrings({{u"pages"_qs, group}});
    QCOMPARE(showing(strings.newLocalizedString()), u"[Edited {a}]"_qs);
}

void TestViewStrings::formsOutliveTheirStore()
{
    ShownStore::serve({{u"files|one"_qs, u"[{%n} file]"_qs}, {u"files|other"_qs, u"[{%n} files]"_qs}});
    auto store = DVMainController::sharedInstance().localeStrings();
    QList<DVStringPtr> forms{store->dorvaneStringForKey(u"files"_qs, u"one"_qs),
                             plain(u"[{1} file]"_qs).dorvaneStrings().value(0)};
    const auto group = std::make_shared<DVStringGroup>(*store->dorvaneStringGroupForKey(u"files"_qs));
    const auto edited = std::make_shared<DVString>();
    edited->key = u"files"_qs;
    edited->pluralForm = u"few"_qs;
    edited->extractFormatFromString(marked(u"[some files]"_qs));
    group->addStringForm(edited);
    store->setDirtyStrings({{u"files"_qs, group}});
    forms.append(plain(u"[some files]"_qs).dorvaneStrings().value(0));
    store->setDirtyStrings({});
    store.reset();
    ShownStore::serve({{u"files|one"_qs, u"[{%n} fichier]"_qs}});
    std::weak_ptr<DVStringGroup> edit = group;
    const_cast<DVStringGroupPtr &>(group).reset();
    for (const DVStringPtr &form : std::as_const(forms)) {
        QVERIFY(form);
        const DVStringGroupPtr kept = form->group.lock();
        QVERIFY(kept);
        QCOMPARE(kept->stringForPluralForm(form->pluralForm, true), form);
    }
    forms.clear();
    QVERIFY2(edit.expired(), "a form and its group keep each other");
}

void TestViewStrings::saysWhatItDoes()
{
    ShownStore::serve({{u"in"_qs, u"[In {%1}]"_qs}, {u"ok"_qs, u"[OK]"_qs}});
    DVState::shared().debug = true;
    DVWrittenLog::begin();
    const auto quiet = qScopeGuard([] {
        DVWrittenLog::end();
        DVState::shared().debug = false;
    });
    DVWrittenLog::take();
    DVViewStrings strings = plain(u"[In {a}]"_qs);
    QVERIFY(DVWrittenLog::take().contains(
        u"Found string <DVString (in) [in] [In {%1}]> for localized string [In {a}]"_qs));
    QCOMPARE(showing(strings.description()), u"<DVViewStrings string [In {a}] - view (none) - dorvaneStrings "
                                             "(<DVString (in) [in] [In {%1}]>)>"_qs);
    const auto ok = DVMainController::sharedInstance().localeStrings()->dorvaneStringForKey(u"ok"_qs, {});
    strings.newLocalizedStringForDorvaneString(ok);
    QVERIFY(DVWrittenLog::take().contains(
        u"Did not find values for dorvane string <DVString (ok) [ok] [OK]>"_qs));
    ShownStore::serve({{u"in"_qs, u"[{%1} to {%2}]"_qs}});
    strings.newLocalizedString();
    QVERIFY(DVWrittenLog::take().contains(
        u"Not enough values for dorvane string <DVString (in) [in] [{%1} to {%2}]> (index 1 values (a))"_qs));
    QCOMPARE(rich(u"<b>"_qs).description(),
             u"<DVViewStrings attributed string <b> - view (none) - dorvaneStrings ()>"_qs);
    QCOMPARE(DVViewStrings().description(), u"<DVViewStrings empty>"_qs);
}

QTEST_MAIN(TestViewStrings)
#include "tst_viewstrings.moc"
