// The strings that made a text are found, and the text is rebuilt with other translations. Texts show their
// markers as [string] and {argument}.
#include "DVViewStrings.h"
#include "ShownStrings.h"

#include "DVCueMarkers.h"
#include "DVRows.h"
#include "DVState.h"

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

QString keysOf(const QList<DVStringPtr> &strings)
{
    QStringList keys;
    for (const DVStringPtr &string : strings)
        keys.append(string->key);
    return keys.join(u' ');
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

using FourTexts = DVRows<const char *, const char *, const char *, const char *>;

} // namespace

class TestViewStrings : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { DVState::shared().log = false; }
    void cleanup() { ShownStore::serveNothing(); }

    void finds_data()
    {
        const FourTexts row("shown", "keys", "values", "firstLevel");
        row("a plain string", "[OK]", "ok", "", "ok@0+4");
        row("letter case does not matter", "[ok]", "ok", "", "ok@0+4");
        row("a label's own text around it", "Name: [OK]!", "ok", "", "ok@6+4");
        row("a mnemonic", "[&Save]", "save", "", "save@0+7");
        row("right to left", "\u202B[\u0645\u0631\u062D\u0628\u0627]\u202C", "hello", "", "hello@1+7");
        row("side by side, and the same one again", "[OK] / [&Save] / [OK]", "ok save", "; ",
            "ok@0+4 save@7+7 ok@17+4");
        row("values of arguments, also an empty one", "[From {} to {Rome}]", "trip", ", Rome", "trip@0+19");
        row("the values of a string that is there twice are those where it was found first",
            "[In {Rome}] [In {Paris}]", "in", "Paris", "in@0+11 in@12+12");
        row("a string in a string, and a text", "[From {[OK]} to {x}]", "ok trip", "; <ok>, x", "trip@0+20");
        row("an unknown string inside is a text in its place", "[From {[Nobody]} to {[OK]}]", "ok trip",
            "; [Nobody], <ok>", "trip@0+27");
        row("a string in a part of an argument", "[In {the [OK] city}]", "ok in", "; the [OK] city",
            "in@0+20");
        row("three deep", "[In {[In {[OK]}]}]", "ok in", "; <ok>", "in@0+18");
        row("inside of an unknown one", "[Nobody {[OK]}]", "ok", "", "");
        row("a plural form", "[{1} file]", "files", "1", "files|one@0+10");
        row("the start cut off", "K] [OK]", "ok", "", "ok@4+4");
        row("the end cut off", "[OK] [&Sa", "", "", "");
        row("no markers", "OK", "", "", "");
        row("an empty text", "", "", "", "");
        row("nothing but an empty string", "[]", "", "", "");
        row("ends before starts", "]OK[", "", "", "");
    }

    void finds()
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
        // The start is put back, and letter case is as the string has it.
        const QString again = shown == u"K] [OK]" ? u"[K] [OK]"_qs : shown == u"[ok]" ? u"[OK]"_qs : shown;
        QCOMPARE(showing(strings.newLocalizedString()), again);
        strings.dorvaneStringsInString(); // not twice in the lists
        QTEST(keysOf(strings.dorvaneStrings()), "keys");
    }

    void rebuilds_data()
    {
        const FourTexts row("before", "after", "shown", "expected");
        row("a value stays in its place", "[Total: {%d}]", "[{%d} zusammen]", "[Total: {5}]",
            "[{5} zusammen]");
        row("only the marked part", "[OK]", "[Gut]", "Name: [OK]!", "Name: [Gut]!");
        row("twice, each with its own values", "[In {%1}]", "[Nach {%1}]", "[In {a}] / [In {b}]",
            "[Nach {a}] / [Nach {b}]");
        row("itself inside of itself", "[In {%1}]", "[{%1} nach]", "[In {[In {x}]}]", "[{[{x} nach]} nach]");
        row("twice inside of another, each with its own values", "[{%1} of {%2}]", "[{%2} de {%1}]",
            "[{[{1} of {2}]} of {[{3} of {4}]}]", "[{[{4} de {3}]} de {[{2} de {1}]}]");
        row("in a part of an argument", "[In {%1}]", "[Nach {%1}]", "[In {the [In {x}] city}]",
            "[Nach {the [Nach {x}] city}]");
        row("Qt's placeholders the other way round", "[{%1} of {%2}]", "[{%2} de {%1}]", "[{a} of {b}]",
            "[{b} de {a}]");
        row("found the other way round", "[{%2} of {%1}]", "[{%1} de {%2}]", "[{b} of {a}]", "[{a} de {b}]");
        row("one twice", "[{%1} of {%2}]", "[{%1}: {%2} de {%1}]", "[{a} of {b}]", "[{a}: {b} de {a}]");
        row("one of two only", "[{%1} of {%2}]", "[de {%2}]", "[{a} of {b}]", "[de {b}]");
        row("found twice", "[{%1} and {%1}, {%2}]", "[{%2}: {%1}]", "[{a} and {a}, {b}]", "[{b}: {a}]");
        row("a localized number is the same argument", "[{%L1} of {%2}]", "[{%2}/{%1}]", "[{1,000} of {b}]",
            "[{b}/{1,000}]");
        row("numbers of two digits", "[{%1} {%12}]", "[{%12} {%1}]", "[{a} {b}]", "[{b} {a}]");
        row("printf's numbers", "[{%1$@} of {%2$d}]", "[{%2$d} de {%1$@}]", "[{a} of {2}]", "[{2} de {a}]");
        row("printf without numbers, and then with them", "[{%@} of {%d}]", "[{%2$d} de {%1$@}]",
            "[{a} of {2}]", "[{2} de {a}]");
        row("printf with a width is no number", "[{%5d} of {%3d}]", "[{%3d} de {%5d}]", "[{1} of {2}]",
            "[{1} de {2}]");
        row("a count beside an argument", "[{%n} files in {%1}]", "[{%1}: {%n}]", "[{3} files in {x}]",
            "[{x}: {3}]");
        row("an empty value moves none", "[{%@} of {%@}]", "[{%@} de {%@}]", "[{} of {b}]", "[{} de {b}]");
        row("more arguments than values", "[{%1} of {%2}]", "[{%1} {%3} {%2}]", "[{a} of {b}]",
            "[{a} {} {b}]");
        row("arguments where there were none stay as they are", "[One file]", "[{%n} fichier]", "[One file]",
            "[{%n} fichier]");
        row("no arguments any more", "[{%n} files]", "[Dateien]", "[{3} files]", "[Dateien]");
        row("values that look like placeholders", "[{%1} of {%2}]", "[{%2} de {%1}]", "[{%2} of {%1}]",
            "[{%1} de {%2}]");
        row("a percent sign", "[{%1}\uFF05 done]", "[fait {%1}\uFF05]", "[{5}\uFF05 done]",
            "[fait {5}\uFF05]");
        row("what nobody knows, and what it holds, stays", "[OK]", "[Gut]", "[Nobody {[OK]}] [OK]",
            "[Nobody {[OK]}] [Gut]");
        row("markup is a text like any other", "[OK]", "[<b>&]", "[OK]<i>", "[<b>&]<i>");
    }

    void rebuilds()
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

    void rebuildsRichTexts_data()
    {
        const FourTexts row("before", "after", "shown", "expected");
        row("the format around it stays", "[Name]", "[Nom]", "<p><b>[Name]</b>: x</p>",
            "<p><b>[Nom]</b>: x</p>");
        row("a translation of a text adds no markup", "[Name]", "[<i>A & B</i>]", "<b>[Name]</b>",
            "<b>[&lt;i&gt;A &amp; B&lt;/i&gt;]</b>");
        row("a text that was escaped is found", "[1 < 2 & \"3\"]", "[2 > 1]",
            "<b>[1 &lt; 2 &amp; &quot;3&quot;]</b>", "<b>[2 &gt; 1]</b>");
        row("entities by name and number", "[\u00E9t\u00E9 \u2013 x]", "[hiver]",
            "<b>[&eacute;t&#233; &#x2013; x]</b>", "<b>[hiver]</b>");
        row("a lone & is a text", "[A & B]", "[C & D]", "<b>[A & B]</b>", "<b>[C &amp; D]</b>");
        row("a string with markup gives its markup", "[<b>Now</b> &amp; then]", "[<i>Jetzt</i> &lt;]",
            "[<b>Now</b> &amp; then]", "[<i>Jetzt</i> &lt;]");
        row("its arguments stay as they were put in", "[<b>{%1}</b> of {%2}]", "[{%2}: <u>{%1}</u>]",
            "[<b>{A &amp; B}</b> of {<i>c</i>}]", "[{<i>c</i>}: <u>{A &amp; B}</u>]");
        row("a link with its address", "[See <a href=\"{%1}\">this</a>]", "[<a href='{%1}'>Da</a>]",
            "[See <a href=\"{http://x/?a&amp;b}\">this</a>]", "[<a href='{http://x/?a&amp;b}'>Da</a>]");
        row("a format inside of a value goes with it", "[In {%1}, {%2}]", "[{%2} in {%1}]",
            "<p>[In {<b>Rome</b>}, {x}]</p>", "<p>[{x} in {<b>Rome</b>}]</p>");
        row("the format of the first character", "[Hello world]", "[Hallo]", "[<b>Hello</b> world]",
            "[<b>Hallo</b>]");
        row("a later format goes", "[Hello world]", "[Hallo]", "[Hello <b>world</b>]", "[Hallo]");
        row("spread over elements", "[Hello world]", "[A & B]", "<b>x[Hello </b><i>world] y</i>",
            "<b>x[A &amp; B]</b><i> y</i>");
        row("spread, with a value", "[In {%1}!]", "[{%1}?]", "<b>[In {Ro</b><i>me &amp;}!]</i>",
            "<b>[{Rome &amp;}?]</b><i></i>");
        row("lines in elements", "[One\nTwo]", "[Eins\nZwei]", "<p>[One<br/>Two]</p>",
            "<p>[Eins<br/>Zwei]</p>");
        row("a title in a tag takes no quotation marks", "[Tip]", "[\"x\" onclick='y']",
            "<img title='[Tip]'>", "<img title='[&quot;x&quot; onclick=&#39;y&#39;]'>");
        row("nested: each as it was", "[In {%1}]", "[<{%1}>]", "<p>[In {[In {<b>x</b>}]}]</p>",
            "<p>[&lt;{[&lt;{<b>x</b>}&gt;]}&gt;]</p>");
        row("a < that begins no tag", "[a < b]", "[c]", "<b>[a < b]</b>", "<b>[c]</b>");
        row("a tag that never ends", "[Name]", "[Nom]", "[Name] <b", "[Nom] <b");
        row("a comment", "[Name]", "[Nom]", "<!-- <b> -->[Na<!-- x -->me]", "<!-- <b> -->[Nom]");
        row("nothing of ours: not a character changes", "[Name]", "[Nom]", "<P>[Other<br>]</p>  &bogus;",
            "<P>[Other<br>]</p>  &bogus;");
    }

    void rebuildsRichTexts()
    {
        QFETCH(QString, before);
        QFETCH(QString, after);
        QFETCH(QString, shown);
        ShownStore::serve({{u"key"_qs, before}});
        const DVViewStrings strings = rich(shown);
        ShownStore::serve({{u"key"_qs, after}});
        QTEST(showing(strings.newLocalizedAttributedString()), "expected");
    }

    void theBaseStringsAnswerToo()
    {
        ShownStore::serve(
            {{u"files|one"_qs, u"[{%n} fichier]"_qs}, {u"files|other"_qs, u"[{%n} fichiers]"_qs}});
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

    void whatIsServedNoMoreStays()
    {
        ShownStore::serve({{u"ok"_qs, u"[OK]"_qs}, {u"in"_qs, u"[In {%1}]"_qs}});
        const DVViewStrings strings = plain(u"[In {[OK]}] [OK]"_qs);
        ShownStore::serve({{u"in"_qs, u"[Nach {%1}]"_qs}});
        QCOMPARE(showing(strings.newLocalizedString()), u"[Nach {[OK]}] [OK]"_qs);
        ShownStore::serveNothing();
        QCOMPARE(showing(strings.newLocalizedString()), u"[In {[OK]}] [OK]"_qs);
    }

    void oneStringWithItsValues()
    {
        ShownStore::serve(
            {{u"ok"_qs, u"[OK]"_qs}, {u"in"_qs, u"[In {%1}]"_qs}, {u"other"_qs, u"[Other {%1}]"_qs}});
        const DVViewStrings strings = plain(u"[In {Rome}] [In {[OK]}]"_qs);
        ShownStore::serve(
            {{u"ok"_qs, u"[Gut]"_qs}, {u"in"_qs, u"[Nach {%1}]"_qs}, {u"other"_qs, u"[Else {%1}]"_qs}});
        const auto current = [](const QString &key) {
            return DVMainController::sharedInstance().localeStrings()->dorvaneStringForKey(key, {});
        };
        QCOMPARE(showing(strings.newLocalizedStringForDorvaneString(current(u"in"_qs))),
                 u"[Nach {[Gut]}]"_qs);
        QCOMPARE(showing(strings.newLocalizedStringForDorvaneString(current(u"ok"_qs))), u"[Gut]"_qs);
        QCOMPARE(showing(strings.newLocalizedStringForDorvaneString(current(u"other"_qs))),
                 u"[Else {%1}]"_qs);
        QCOMPARE(strings.newLocalizedStringForDorvaneString(nullptr), QString());
    }

    // The editor writes into the record that was found.
    void anEditInPlaceKeepsTheValues()
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

    void formsOutliveTheirStore()
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

    void saysWhatItDoes()
    {
        ShownStore::serve({{u"in"_qs, u"[In {%1}]"_qs}, {u"ok"_qs, u"[OK]"_qs}});
        const HeardDebug heard;
        DVViewStrings strings = plain(u"[In {a}]"_qs);
        QVERIFY(DVWrittenLog::take().contains(
            u"Found string <DVString (in) [in] [In {%1}]> for localized string [In {a}]"_qs));
        QCOMPARE(showing(strings.description()),
                 u"<DVViewStrings string [In {a}] - view (none) - dorvaneStrings "
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
};

QTEST_MAIN(TestViewStrings)
#include "tst_viewstrings.moc"
