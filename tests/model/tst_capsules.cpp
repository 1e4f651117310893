#include "DVCapsules.h"
#include "WrittenStrings.h"

#include <DVCueMarkers.h>

#include <QTest>

namespace {

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

class tst_Capsules : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void runs_data();
    void runs();
    void specifiersOfTheRecordCount_data();
    void specifiersOfTheRecordCount();
    void wayBack_data();
    void wayBack();
};

void tst_Capsules::runs_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QStringList>("shown"); // capsules in parentheses
    QTest::newRow("a text without arguments is one run") << u"[Hello]"_qs << QStringList{u"Hello"_qs};
    QTest::newRow("two arguments, two capsules with their specifiers")
        << u"[{%1$@} of {%d}!]"_qs << QStringList{u"(%1$@)"_qs, u" of "_qs, u"(%d)"_qs, u"!"_qs};
    QTest::newRow("capsules side by side") << u"[{%@}{%1}]"_qs << QStringList{u"(%@)"_qs, u"(%1)"_qs};
    QTest::newRow("an empty argument is no capsule, and takes no specifier from the next")
        << u"[a{}b{%d}]"_qs << QStringList{u"a"_qs, u"b"_qs, u"(%d)"_qs};
    QTest::newRow("an argument of markers only has a specifier, and a capsule")
        << u"[{[]}{%d}]"_qs << QStringList{u"([])"_qs, u"(%d)"_qs};
    QTest::newRow("an argument without an end") << u"[a{%d"_qs << QStringList{u"a"_qs, u"(%d)"_qs};
    QTest::newRow("an empty text has no runs") << u"[]"_qs << QStringList();
    QTest::newRow("nor has one that is not there") << QString() << QStringList();
    QTest::newRow("a percent sign is text") << u"[50\uFF05 off]"_qs << QStringList{u"50\uFF05 off"_qs};
}

void tst_Capsules::runs()
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

void tst_Capsules::specifiersOfTheRecordCount_data()
{
    QTest::addColumn<QStringList>("specifiers");
    QTest::addColumn<QStringList>("shown");
    QTest::newRow("the record's, not the text's")
        << QStringList{u"%1$@"_qs, u"%2$d"_qs} << QStringList{u"(%1$@)"_qs, u" "_qs, u"(%2$d)"_qs};
    QTest::newRow("the text's where the record has too few")
        << QStringList{u"%1$@"_qs} << QStringList{u"(%1$@)"_qs, u" "_qs, u"(%d)"_qs};
    QTest::newRow("or none") << QStringList() << QStringList{u"(%@)"_qs, u" "_qs, u"(%d)"_qs};
    QTest::newRow("too many do no harm")
        << QStringList{u"%@"_qs, u"%d"_qs, u"%f"_qs} << QStringList{u"(%@)"_qs, u" "_qs, u"(%d)"_qs};
}

void tst_Capsules::specifiersOfTheRecordCount()
{
    QFETCH(QStringList, specifiers);
    QFETCH(QStringList, shown);
    DVString string;
    string.localizedFormat = withMarkers(u"[{%@} {%d}]"_qs);
    string.dynamic = true;
    string.argumentFormatSpecifiers = specifiers;
    QCOMPARE(dv_stringWithCapsulesWithSize(string, 12, false).runs, runsOf(shown));
}

void tst_Capsules::wayBack_data()
{
    QTest::addColumn<QStringList>("runs");
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("capsules");
    QTest::newRow("nothing") << QStringList() << u"[]"_qs << 0;
    QTest::newRow("text and capsules")
        << QStringList{u"Hi "_qs, u"(%@)"_qs, u"!"_qs} << u"[Hi {%@}!]"_qs << 1;
    QTest::newRow("capsules moved, doubled and joined")
        << QStringList{u"(%d)"_qs, u"(%@)"_qs, u"(%d)"_qs} << u"[{%d}{%@}{%d}]"_qs << 3;
    QTest::newRow("text in several runs") << QStringList{u"a"_qs, u"b"_qs} << u"[ab]"_qs << 0;
    QTest::newRow("pasted markers make no arguments")
        << QStringList{u"[a{%@}"_qs, u"]}b"_qs} << u"[a%@b]"_qs << 0;
    QTest::newRow("line feeds and emoji stay")
        << QStringList{u"a\n\U0001F600"_qs} << u"[a\n\U0001F600]"_qs << 0;
}

void tst_Capsules::wayBack()
{
    QFETCH(QStringList, runs);
    QFETCH(QString, text);
    QFETCH(int, capsules);
    const auto back = dv_markedUpText(runsOf(runs));
    QCOMPARE(dv_stringShowingCues(back.text), text);
    QCOMPARE(back.capsules, capsules);
}

QTEST_GUILESS_MAIN(tst_Capsules)
#include "tst_capsules.moc"
