// Placeholders in texts that QML asks for by key.
#include "DVQuickText.h"

#include <QLocale>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

class tst_QuickText : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void values_data();
    void values();
};

void tst_QuickText::values_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QVariantList>("values");
    QTest::addColumn<QString>("expected");
    const QVariantList twelve{1, 2, 3, 4, 5, 6, 7, 8, 9, u"ten"_qs, u"eleven"_qs, u"twelve"_qs};
    QTest::newRow("in any order") << u"%2 and %1"_qs << QVariantList{u"a"_qs, u"b"_qs} << u"b and a"_qs;
    QTest::newRow("twice") << u"%1%1"_qs << QVariantList{u"a"_qs} << u"aa"_qs;
    QTest::newRow("a value that looks like a placeholder")
        << u"%1 %2"_qs << QVariantList{u"%2"_qs, u"b"_qs} << u"%2 b"_qs;
    QTest::newRow("two digits") << u"%12 %10"_qs << twelve << u"twelve ten"_qs;
    QTest::newRow("more placeholders than values stay") << u"%1 %2"_qs << QVariantList{u"a"_qs} << u"a %2"_qs;
    QTest::newRow("a percent sign, zero and the end are no placeholders")
        << u"100% of %0 %L %1 %"_qs << QVariantList{u"a"_qs} << u"100% of %0 %L a %"_qs;
    QTest::newRow("a doubled percent sign") << u"%%1"_qs << QVariantList{u"a"_qs} << u"%a"_qs;
    QTest::newRow("nothing is given") << u"%1 %n"_qs << QVariantList() << u"%1 %n"_qs;
    QTest::newRow("digits of other scripts are text")
        << u"%\u0661"_qs << QVariantList{u"a"_qs} << u"%\u0661"_qs;
    QTest::newRow("a count is not ours to fill in") << u"%n of %1"_qs << QVariantList{7} << u"%n of 7"_qs;
    QTest::newRow("numbers in German writing")
        << u"%1 %L1 %L2 %L3"_qs << QVariantList{12345, 0.5, 1e6} << u"12345 12.345 0,5 1.000.000"_qs;
    QTest::newRow("text in German writing stays") << u"%L1"_qs << QVariantList{u"12345"_qs} << u"12345"_qs;
    QTest::newRow("infinity is not a whole number") << u"%1"_qs << QVariantList{qInf()} << u"inf"_qs;
}

void tst_QuickText::values()
{
    QFETCH(QString, text);
    QFETCH(QVariantList, values);
    QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
    QTEST(dv_textWithValues(text, values), "expected");
}

QTEST_APPLESS_MAIN(tst_QuickText)
#include "tst_quick_text.moc"
