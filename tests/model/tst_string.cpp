// Records of strings: their texts, forms and hashes, and the capsules that an editor shows of them.
#include "DVCapsules.h"
#include "DVCueMarkers.h"
#include "DVRows.h"
#include "DVString.h"
#include "WrittenStrings.h"

#include <QElapsedTimer>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

DVStringPtr form(const QString &uid, const QString &category = {}, const QString &text = {})
{
    auto string = std::make_shared<DVString>();
    string->key = u"key"_qs;
    string->uid = uid;
    string->pluralForm = category;
    string->localizedFormat = text;
    return string;
}

DVStringGroupPtr groupOf(const QStringList &categories)
{
    auto group = std::make_shared<DVStringGroup>();
    for (const QString &category : categories)
        group->addStringForm(form(category, category == u"none" ? QString() : category));
    return group;
}

DVString extracted(const QString &text)
{
    DVString string;
    string.extractFormatFromString(text);
    return string;
}

QList<DVCapsuleRun> runsOf(const QStringList &shown)
{
    QList<DVCapsuleRun> runs;
    for (const QString &run : shown) {
        if (run.startsWith(u'('))
            runs.append({{}, u"variable"_qs, withMarkers(run.mid(1, run.size() - 2))});
        else
            runs.append({withMarkers(run), {}, {}});
    }
    return runs;
}

} // namespace

class tst_String : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { QTest::failOnWarning(QRegularExpression(u"."_qs)); }

    void extracting()
    {
        const auto plain = extracted(dv_stringWithCues(u"Hello"_qs));
        QVERIFY(!plain.dynamic);
        QVERIFY(plain.argumentFormatSpecifiers.isEmpty());
        QCOMPARE(dv_stringShowingCues(plain.localizedFormat), u"[Hello]"_qs);
        QCOMPARE(dv_stringShowingCues(plain.localizedHash), u"[hello]"_qs);

        const auto dynamic = extracted(dv_stringWithCues(u"%1$@ of %d"_qs));
        QVERIFY(dynamic.dynamic);
        QCOMPARE(dynamic.argumentFormatSpecifiers, (QStringList{u"%1$@"_qs, u"%d"_qs}));
        QCOMPARE(dv_stringShowingCues(dynamic.localizedFormat), u"[{%1$@} of {%d}]"_qs);
        QCOMPARE(dv_stringShowingCues(dynamic.localizedHash), u"[{} of {}]"_qs);

        const auto unmarked = extracted(u"%d of %D"_qs);
        QVERIFY(!unmarked.dynamic);
        QCOMPARE(unmarked.localizedHash, u"%d of %d"_qs);
        QVERIFY(extracted(QString()).localizedFormat.isNull());
    }

    void dynamicStringKeepsItsSpecifiers()
    {
        auto string = extracted(dv_stringWithCues(u"%d apples"_qs));
        string.extractFormatFromString(dv_stringWithCues(u"%@ pears"_qs));
        QCOMPARE(string.argumentFormatSpecifiers, QStringList{u"%d"_qs});
        QCOMPARE(dv_stringShowingCues(string.localizedFormat), u"[{%@} pears]"_qs);
        string.extractFormatFromString(dv_stringWithCues(u"Plums"_qs));
        QVERIFY(string.dynamic);
        QCOMPARE(dv_stringShowingCues(string.localizedHash), u"[plums]"_qs);
    }

    void hash_data()
    {
        const DVRows<QString, QString, bool> row("one", "other", "equal");
        row("case and specifier do not matter", "TOTAL %@", "Total %.2f", true);
        row("case beyond ASCII does not matter", "ÉTÉ ЛЕТО", "été лето", true);
        row("the number of arguments does", "Total %@", "Total %@%@", false);
        row("the place of an argument does", "Total %@ now", "Total now %@", false);
        row("a blank does", "Total", "Total ", false);
        row("an argument is not its absence", "Total%@", "Total", false);
    }
    void hash()
    {
        QFETCH(QString, one);
        QFETCH(QString, other);
        const auto first = extracted(dv_stringWithCues(one));
        const auto second = extracted(dv_stringWithCues(other));
        QTEST(first.localizedHash == second.localizedHash, "equal");
        QCOMPARE(dv_localizedHash(first.localizedFormat, first.dynamic), first.localizedHash);
    }

    void hashIsLowerCaseOfAnyCharacter()
    {
        const auto isSurrogate = [](char16_t c) { return c >= 0xD800 && c < 0xE000; };
        for (char16_t c = 1; c < 0xFFFF; ++c) {
            const QString text = u"aZ"_qs + QChar(c);
            if (!isSurrogate(c))
                QCOMPARE(dv_localizedHash(text, false), text.toLower());
        }
    }

    void hashOfHostileTexts()
    {
        const QString dotted = QString(1'000'000, QChar(u'\u0130')); // its lower case is two characters
        QElapsedTimer timer;
        timer.start();
        const QString hash = dv_localizedHash(u"\u00C9A"_qs + dotted + u"Z\U00010400", false);
        QVERIFY2(timer.elapsed() < 5000, "not linear"); // QString::toLower takes three times that
        QCOMPARE(hash, u"\u00E9a"_qs + u"i\u0307"_qs.repeated(1'000'000) + u"z\U00010428");
    }

    void chosenForm_data()
    {
        const DVRows<QStringList, QString, QString, QString> row("held", "wanted", "strict", "notStrict");
        const QString null;
        const auto list = [](const char *names) {
            return QString::fromLatin1(names).split(u' ', Qt::SkipEmptyParts);
        };
        row("a form that is there", list("one few other"), "few", "few", "few");
        row("a form that is missing falls back to other", list("one other"), "few", null, "other");
        row("without other, the first in order", list("many two"), "few", null, "two");
        row("no name means other", list("one other"), null, "other", "other");
        row("no name, and no other", list("many one"), null, null, "one");
        row("no name without plurals means the single form", list("none"), null, "none", "none");
        row("a category of a string without plurals", list("none"), "one", null, "none");
        row("the kind of the last form decides: plural", list("none other"), null, "other", "other");
        row("the kind of the last form decides: single", list("other none"), null, "none", "none");
        row("names that are no category come last, in order", list("zzz aaa none"), "few", null, "none");
        row("names that are no category alone", list("zzz aaa"), "few", null, "aaa");
        row("an empty group", list(""), "few", null, null);
    }
    void chosenForm()
    {
        QFETCH(QStringList, held);
        QFETCH(QString, wanted);

        const auto group = groupOf(held);
        const auto uidOf = [](const DVStringPtr &string) { return string ? string->uid : QString(); };
        QTEST(uidOf(group->stringForPluralForm(wanted, true)), "strict");
        QTEST(uidOf(group->stringForPluralForm(wanted, false)), "notStrict");
    }

    void laterFormReplacesEarlier()
    {
        auto group = std::make_shared<DVStringGroup>();
        group->addStringForm(form(u"first"_qs));
        const auto second = form(u"second"_qs);
        second->key = u"another key"_qs;
        group->addStringForm(second);
        QCOMPARE(group->pluralForms.size(), 1);
        QCOMPARE(group->stringForPluralForm({}, true), second);
        QCOMPARE(group->key, u"key"_qs);
        QCOMPARE(second->group.lock(), group);
        QVERIFY(!group->hasPlurals);

        group->addStringForm(nullptr);
        QCOMPARE(group->pluralForms.size(), 1);
        // Form and group refer to each other; neither keeps the other alive for ever.
        const std::weak_ptr<DVStringGroup> watchedGroup = group;
        group.reset();
        QVERIFY(watchedGroup.expired());
        QVERIFY(second->group.expired());
    }

    void uid_data()
    {
        const DVRows<QStringList, QString> row("uids", "uid");
        row("of a single form", {"X"}, "X");
        row("cut at the category", {"X[one]", "X[other]"}, "X");
        row("cut at the first bracket", {"a[b[other]"}, "a");
        row("nothing but a category", {"[other]"}, "");
        row("of an empty group", {}, {});
    }
    void uid()
    {
        QFETCH(QStringList, uids);
        auto group = std::make_shared<DVStringGroup>();
        for (const QString &uid : uids)
            group->addStringForm(form(uid, uid.contains(u"[one]") ? u"one"_qs : QString()));
        QTEST(group->uid(), "uid");
        QCOMPARE(group->uid().isNull(), uids.isEmpty());
    }

    void sortedNames()
    {
        const auto order = u"zero one two few many other"_qs.split(u' ');
        QStringList backwards(order.rbegin(), order.rend());
        QCOMPARE(groupOf(backwards)->sortedPluralFormNames(), order);
        QCOMPARE(groupOf({u"few"_qs, u"zzz"_qs, u"one"_qs})->sortedPluralFormNames(),
                 (QStringList{u"one"_qs, u"few"_qs}));
        QVERIFY(groupOf({u"none"_qs})->sortedPluralFormNames().isEmpty());
    }

    void copies()
    {
        auto group = groupOf({u"one"_qs, u"other"_qs});
        group->status = DVStringStatusRejected;
        group->rejectReason = u"reason"_qs;
        group->rejectDescription = u"description"_qs;
        const auto one = group->stringForPluralForm(u"one"_qs, true);
        one->note = u"note"_qs;
        one->fromBase = true;
        one->extractFormatFromString(dv_stringWithCues(u"%d apple"_qs));

        const auto copy = group->copy();
        QCOMPARE(copy->description(), group->description());
        QCOMPARE(copy->status, quint32(DVStringStatusRejected));
        QCOMPARE(copy->rejectReason + copy->rejectDescription, u"reasondescription"_qs);
        QVERIFY(copy->hasPlurals);
        const auto copiedOne = copy->stringForPluralForm(u"one"_qs, true);
        QVERIFY(copiedOne != one);
        QCOMPARE(copiedOne->localizedHash, one->localizedHash);
        QCOMPARE(copiedOne->argumentFormatSpecifiers, one->argumentFormatSpecifiers);
        QCOMPARE(copiedOne->note, u"note"_qs);
        QVERIFY(copiedOne->dynamic && copiedOne->fromBase && copiedOne->group.expired());
        copiedOne->localizedFormat.clear();
        QVERIFY(!one->localizedFormat.isEmpty());
    }

    void statusNames()
    {
        QStringList names;
        for (quint32 status = 0; status < 6; ++status)
            names.append(dv_stringStatusName(status));
        QCOMPARE(names, u",PUBLISHED,ACCEPTED,REJECTED,UNTRANSLATED,UNKNOWN"_qs.split(u','));
        QCOMPARE(dv_stringStatusName(~quint32(0)), u"UNKNOWN"_qs);
    }

    void descriptions()
    {
        auto string = form(u"X[one]"_qs, u"one"_qs, dv_stringWithCues(u"%d apple"_qs));
        QCOMPARE(string->description(), u"<DVString (key) [X[one]] [{%d} apple] (one)>"_qs);
        auto group = std::make_shared<DVStringGroup>();
        group->addStringForm(string);
        QCOMPARE(group->description(),
                 u"<DVStringGroup key {one: <DVString (key) [X[one]] [{%d} apple] (one)>}>"_qs);
        string->pluralForm = QString();
        string->key = u"%1 %2"_qs;
        QCOMPARE(string->description(), u"<DVString (%1 %2) [X[one]] [{%d} apple]>"_qs);
    }

    void capsules_data()
    {
        // shown: capsules in parentheses
        const DVRows<QString, QStringList> row("text", "shown");
        row("a text without arguments is one run", "[Hello]", {"Hello"});
        row("two arguments, two capsules with their specifiers", "[{%1$@} of {%d}!]",
            {"(%1$@)", " of ", "(%d)", "!"});
        row("capsules side by side", "[{%@}{%1}]", {"(%@)", "(%1)"});
        row("an empty argument is no capsule, and takes no specifier from the next", "[a{}b{%d}]",
            {"a", "b", "(%d)"});
        row("an argument of markers only has a specifier, and a capsule", "[{[]}{%d}]", {"([])", "(%d)"});
        row("an argument without an end", "[a{%d", {"a", "(%d)"});
        row("an empty text has no runs", "[]", {});
        row("nor has one that is not there", {}, {});
        row("a percent sign is text", "[50\uFF05 off]", {"50\uFF05 off"});
    }
    void capsules()
    {
        QFETCH(QString, text);
        QFETCH(QStringList, shown);
        const auto form = writtenForm(u"k"_qs, u"1"_qs, withMarkers(text));
        const auto result = dv_stringWithCapsulesWithSize(*form, 24, true);
        QCOMPARE(result.runs, runsOf(shown));
        QCOMPARE(result.size, 24.0);
        QVERIFY(result.editing);
        QVERIFY(!dv_stringWithCapsulesWithSize(*form, 16, false).editing);

        // What was not edited goes back as it was, and counts as many capsules as the record has specifiers:
        // an editor compares the two.
        const auto back = dv_markedUpText(result.runs);
        QCOMPARE(back.capsules, int(form->argumentFormatSpecifiers.size()));
        const auto again = writtenForm(u"k"_qs, u"1"_qs, back.text);
        QCOMPARE(again->argumentFormatSpecifiers, form->argumentFormatSpecifiers);
        QCOMPARE(dv_stringByRemovingCues(back.text), dv_stringByRemovingCues(form->localizedFormat));
    }

    void capsulesTakeTheRecordsSpecifiers_data()
    {
        const DVRows<QStringList, QStringList> row("specifiers", "shown");
        row("the record's, not the text's", {"%1$@", "%2$d"}, {"(%1$@)", " ", "(%2$d)"});
        row("the text's where the record has too few", {"%1$@"}, {"(%1$@)", " ", "(%d)"});
        row("or none", {}, {"(%@)", " ", "(%d)"});
        row("too many do no harm", {"%@", "%d", "%f"}, {"(%@)", " ", "(%d)"});
    }
    void capsulesTakeTheRecordsSpecifiers()
    {
        QFETCH(QStringList, specifiers);
        QFETCH(QStringList, shown);
        DVString string;
        string.localizedFormat = withMarkers(u"[{%@} {%d}]"_qs);
        string.dynamic = true;
        string.argumentFormatSpecifiers = specifiers;
        QCOMPARE(dv_stringWithCapsulesWithSize(string, 12, false).runs, runsOf(shown));
    }

    void textOfCapsules_data()
    {
        const DVRows<QStringList, QString, int> row("runs", "text", "capsules");
        row("nothing", {}, "[]", 0);
        row("text and capsules", {"Hi ", "(%@)", "!"}, "[Hi {%@}!]", 1);
        row("capsules moved, doubled and joined", {"(%d)", "(%@)", "(%d)"}, "[{%d}{%@}{%d}]", 3);
        row("text in several runs", {"a", "b"}, "[ab]", 0);
        row("pasted markers make no arguments", {"[a{%@}", "]}b"}, "[a%@b]", 0);
        row("line feeds and emoji stay", {"a\n\U0001F600"}, "[a\n\U0001F600]", 0);
    }
    void textOfCapsules()
    {
        QFETCH(QStringList, runs);
        QFETCH(QString, text);
        QFETCH(int, capsules);
        const auto back = dv_markedUpText(runsOf(runs));
        QCOMPARE(dv_stringShowingCues(back.text), text);
        QCOMPARE(back.capsules, capsules);
    }
};

QTEST_GUILESS_MAIN(tst_String)
#include "tst_string.moc"
