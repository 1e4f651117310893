#include "DVCueMarkers.h"
#include "DVString.h"

#include <QElapsedTimer>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

DVStringPtr form(const QString &uid, const QString &category = {}, const QString &text = {})
{
    auto string = std::make_shared<DVString>();
    string->key = QStringLiteral("key");
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

} // namespace

class tst_String : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { QTest::failOnWarning(QRegularExpression(QStringLiteral("."))); }

    void extracting();
    void dynamicStringKeepsItsSpecifiers();
    void hash_data();
    void hash();
    void hashIsLowerCaseOfAnyCharacter();
    void hashOfHostileTexts();
    void chosenForm_data();
    void chosenForm();
    void laterFormReplacesEarlier();
    void uid_data();
    void uid();
    void sortedNames();
    void copies();
    void statusNames();
    void descriptions();
};

void tst_String::extracting()
{
    const auto plain = extracted(dv_stringWithCues(QStringLiteral("Hello")));
    QVERIFY(!plain.dynamic);
    QVERIFY(plain.argumentFormatSpecifiers.isEmpty());
    QCOMPARE(dv_stringShowingCues(plain.localizedFormat), QStringLiteral("[Hello]"));
    QCOMPARE(dv_stringShowingCues(plain.localizedHash), QStringLiteral("[hello]"));

    const auto dynamic = extracted(dv_stringWithCues(QStringLiteral("%1$@ of %d")));
    QVERIFY(dynamic.dynamic);
    QCOMPARE(dynamic.argumentFormatSpecifiers, (QStringList{QStringLiteral("%1$@"), QStringLiteral("%d")}));
    QCOMPARE(dv_stringShowingCues(dynamic.localizedFormat), QStringLiteral("[{%1$@} of {%d}]"));
    QCOMPARE(dv_stringShowingCues(dynamic.localizedHash), QStringLiteral("[{} of {}]"));

    const auto unmarked = extracted(QStringLiteral("%d of %D"));
    QVERIFY(!unmarked.dynamic);
    QCOMPARE(unmarked.localizedHash, QStringLiteral("%d of %d"));
    QVERIFY(extracted(QString()).localizedFormat.isNull());
}

void tst_String::dynamicStringKeepsItsSpecifiers()
{
    auto string = extracted(dv_stringWithCues(QStringLiteral("%d apples")));
    string.extractFormatFromString(dv_stringWithCues(QStringLiteral("%@ pears")));
    QCOMPARE(string.argumentFormatSpecifiers, QStringList{QStringLiteral("%d")});
    QCOMPARE(dv_stringShowingCues(string.localizedFormat), QStringLiteral("[{%@} pears]"));
    string.extractFormatFromString(dv_stringWithCues(QStringLiteral("Plums")));
    QVERIFY(string.dynamic);
    QCOMPARE(dv_stringShowingCues(string.localizedHash), QStringLiteral("[plums]"));
}

void tst_String::hash_data()
{
    QTest::addColumn<QString>("one");
    QTest::addColumn<QString>("other");
    QTest::addColumn<bool>("equal");

    QTest::newRow("case and specifier do not matter") << "TOTAL %@"
                                                      << "Total %.2f" << true;
    QTest::newRow("case beyond ASCII does not matter")
        << QStringLiteral("ÉTÉ ЛЕТО") << QStringLiteral("été лето") << true;
    QTest::newRow("the number of arguments does") << "Total %@"
                                                  << "Total %@%@" << false;
    QTest::newRow("the place of an argument does") << "Total %@ now"
                                                   << "Total now %@" << false;
    QTest::newRow("a blank does") << "Total"
                                  << "Total " << false;
    QTest::newRow("an argument is not its absence") << "Total%@"
                                                    << "Total" << false;
}

void tst_String::hash()
{
    QFETCH(QString, one);
    QFETCH(QString, other);
    const auto first = extracted(dv_stringWithCues(one));
    const auto second = extracted(dv_stringWithCues(other));
    QTEST(first.localizedHash == second.localizedHash, "equal");
    QCOMPARE(dv_localizedHash(first.localizedFormat, first.dynamic), first.localizedHash);
}

void tst_String::hashIsLowerCaseOfAnyCharacter()
{
    const auto isSurrogate = [](char16_t c) { return c >= 0xD800 && c < 0xE000; };
    for (char16_t c = 1; c < 0xFFFF; ++c) {
        const QString text = u"aZ"_qs + QChar(c);
        if (!isSurrogate(c))
            QCOMPARE(dv_localizedHash(text, false), text.toLower());
    }
}

void tst_String::hashOfHostileTexts()
{
    const QString dotted = QString(1'000'000, QChar(u'\u0130')); // its lower case is two characters
    QElapsedTimer timer;
    timer.start();
    const QString hash = dv_localizedHash(u"\u00C9A"_qs + dotted + u"Z\U00010400", false);
    QVERIFY2(timer.elapsed() < 5000, "not linear"); // QString::toLower takes three times that
    QCOMPARE(hash, u"\u00E9a"_qs + u"i\u0307"_qs.repeated(1'000'000) + u"z\U00010428");
}

void tst_String::chosenForm_data()
{
    QTest::addColumn<QStringList>("held");
    QTest::addColumn<QString>("wanted");
    QTest::addColumn<QString>("strict");
    QTest::addColumn<QString>("notStrict");

    const QString null;
    const auto list = [](const char *names) {
        return QString::fromLatin1(names).split(u' ', Qt::SkipEmptyParts);
    };
    QTest::newRow("a form that is there") << list("one few other") << "few"
                                          << "few"
                                          << "few";
    QTest::newRow("a form that is missing falls back to other")
        << list("one other") << "few" << null << "other";
    QTest::newRow("without other, the first in order") << list("many two") << "few" << null << "two";
    QTest::newRow("no name means other") << list("one other") << null << "other"
                                         << "other";
    QTest::newRow("no name, and no other") << list("many one") << null << null << "one";
    QTest::newRow("no name without plurals means the single form") << list("none") << null << "none"
                                                                   << "none";
    QTest::newRow("a category of a string without plurals") << list("none") << "one" << null << "none";
    QTest::newRow("the kind of the last form decides: plural") << list("none other") << null << "other"
                                                               << "other";
    QTest::newRow("the kind of the last form decides: single") << list("other none") << null << "none"
                                                               << "none";
    QTest::newRow("names that are no category come last, in order")
        << list("zzz aaa none") << "few" << null << "none";
    QTest::newRow("names that are no category alone") << list("zzz aaa") << "few" << null << "aaa";
    QTest::newRow("an empty group") << list("") << "few" << null << null;
}

void tst_String::chosenForm()
{
    QFETCH(QStringList, held);
    QFETCH(QString, wanted);

    const auto group = groupOf(held);
    const auto uidOf = [](const DVStringPtr &string) { return string ? string->uid : QString(); };
    QTEST(uidOf(group->stringForPluralForm(wanted, true)), "strict");
    QTEST(uidOf(group->stringForPluralForm(wanted, false)), "notStrict");
}

void tst_String::laterFormReplacesEarlier()
{
    auto group = std::make_shared<DVStringGroup>();
    group->addStringForm(form(QStringLiteral("first")));
    const auto second = form(QStringLiteral("second"));
    second->key = QStringLiteral("another key");
    group->addStringForm(second);
    QCOMPARE(group->pluralForms.size(), 1);
    QCOMPARE(group->stringForPluralForm({}, true), second);
    QCOMPARE(group->key, QStringLiteral("key"));
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

void tst_String::uid_data()
{
    QTest::addColumn<QStringList>("uids");
    QTest::addColumn<QString>("uid");

    QTest::newRow("of a single form") << QStringList{QStringLiteral("X")} << "X";
    QTest::newRow("cut at the category")
        << QStringList{QStringLiteral("X[one]"), QStringLiteral("X[other]")} << "X";
    QTest::newRow("cut at the first bracket") << QStringList{QStringLiteral("a[b[other]")} << "a";
    QTest::newRow("nothing but a category") << QStringList{QStringLiteral("[other]")} << "";
    QTest::newRow("of an empty group") << QStringList() << QString();
}

void tst_String::uid()
{
    QFETCH(QStringList, uids);
    auto group = std::make_shared<DVStringGroup>();
    for (const QString &uid : uids)
        group->addStringForm(form(uid, uid.contains(u"[one]") ? QStringLiteral("one") : QString()));
    QTEST(group->uid(), "uid");
    QCOMPARE(group->uid().isNull(), uids.isEmpty());
}

void tst_String::sortedNames()
{
    const auto order = QStringLiteral("zero one two few many other").split(u' ');
    QStringList backwards(order.rbegin(), order.rend());
    QCOMPARE(groupOf(backwards)->sortedPluralFormNames(), order);
    QCOMPARE(groupOf({QStringLiteral("few"), QStringLiteral("zzz"), QStringLiteral("one")})
                 ->sortedPluralFormNames(),
             (QStringList{QStringLiteral("one"), QStringLiteral("few")}));
    QVERIFY(groupOf({QStringLiteral("none")})->sortedPluralFormNames().isEmpty());
}

void tst_String::copies()
{
    auto group = groupOf({QStringLiteral("one"), QStringLiteral("other")});
    group->status = DVStringStatusRejected;
    group->rejectReason = QStringLiteral("reason");
    group->rejectDescription = QStringLiteral("description");
    const auto one = group->stringForPluralForm(QStringLiteral("one"), true);
    one->note = QStringLiteral("note");
    one->fromBase = true;
    one->extractFormatFromString(dv_stringWithCues(QStringLiteral("%d apple")));

    const auto copy = group->copy();
    QCOMPARE(copy->key, group->key);
    QCOMPARE(copy->status, quint32(DVStringStatusRejected));
    QCOMPARE(copy->rejectReason, QStringLiteral("reason"));
    QCOMPARE(copy->rejectDescription, QStringLiteral("description"));
    QVERIFY(copy->hasPlurals);
    QCOMPARE(copy->pluralForms.size(), 2);
    const auto copiedOne = copy->stringForPluralForm(QStringLiteral("one"), true);
    QVERIFY(copiedOne != one);
    QCOMPARE(copiedOne->description(), one->description());
    QCOMPARE(copiedOne->localizedHash, one->localizedHash);
    QCOMPARE(copiedOne->argumentFormatSpecifiers, one->argumentFormatSpecifiers);
    QCOMPARE(copiedOne->note, QStringLiteral("note"));
    QVERIFY(copiedOne->dynamic && copiedOne->fromBase);
    QVERIFY(copiedOne->group.expired());
    copiedOne->localizedFormat.clear();
    QVERIFY(!one->localizedFormat.isEmpty());
}

void tst_String::statusNames()
{
    QStringList names;
    for (quint32 status = 0; status < 6; ++status)
        names.append(dv_stringStatusName(status));
    QCOMPARE(names, QStringLiteral(",PUBLISHED,ACCEPTED,REJECTED,UNTRANSLATED,UNKNOWN").split(u','));
    QCOMPARE(dv_stringStatusName(~quint32(0)), QStringLiteral("UNKNOWN"));
}

void tst_String::descriptions()
{
    auto string =
        form(QStringLiteral("X[one]"), QStringLiteral("one"), dv_stringWithCues(QStringLiteral("%d apple")));
    QCOMPARE(string->description(), QStringLiteral("<DVString (key) [X[one]] [{%d} apple] (one)>"));
    auto group = std::make_shared<DVStringGroup>();
    group->addStringForm(string);
    QCOMPARE(group->description(),
             QStringLiteral("<DVStringGroup key {one: <DVString (key) [X[one]] [{%d} apple] (one)>}>"));
    string->pluralForm = QString();
    string->key = QStringLiteral("%1 %2");
    QCOMPARE(string->description(), QStringLiteral("<DVString (%1 %2) [X[one]] [{%d} apple]>"));
}

QTEST_GUILESS_MAIN(tst_String)
#include "tst_string.moc"
