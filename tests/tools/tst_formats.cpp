// Files of translations: those of others, damaged ones and hostile ones.
#include "Keys.h"
#include "Merge.h"
#include "NumerusForms.h"
#include "OtherMessages.h"
#include "TsReader.h"
#include "TsWriter.h"
#include "XmlCharacters.h"
#include <DVRows.h>

#include <DVPluralForm.h>
#include <DVXliffReader.h>

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>
#include <QTranslator>

using namespace Qt::Literals::StringLiterals;

namespace {

// Every language of the library's table, of CLDR's, and of those that Qt has a rule for; a few with regions.
const char *const languages =
    "aa ab ay ba co ie ik oc qu rn sa sm af ak am an ar ars as asa ast az bal be bem bez bg bh bho bm bn bo "
    "br brx bs ca ce ceb cgg chr ckb cs "
    "cy da "
    "de doi dsb dv dz ee el en en_GB eo es es_MX et eu fa ff fi fil fo fr fr_CA fur fy ga gd gl gsw gu guw "
    "gv ha "
    "haw he hi hr hsb hu hy ia id ig in io is it iu iw ja jgo ji jmc jv ka kab kaj kcg kde kk kkj kl km kn "
    "ko ks "
    "ksb ksh ku kw ky la lag lb lg lij ln lo lt lv mas mg mgo mi mk ml mn mo mr ms mt my nah naq nb nd ne nl "
    "nn "
    "nnh no nr nso ny nyn om or os pa pap pcm pl prg ps pt pt_BR pt_PT rm ro rof ru rw rwk sah saq sat sc "
    "scn sd "
    "sdh se seh ses sg sh shi si sk sl sma smi smj smn sms sn so sq sr ss ssy st su sv sw syr ta te teo tg "
    "th ti "
    "tig tk tl tn to tr ts tt tzm ug uk ur uz ve vec vi vo vun wa wae wo xh xog yi yo zh zh_TW zu";

struct Difference
{
    const char *languages;
    bool (*appliesTo)(int n);
};

// The numbers for which an imported text comes out in another form than Qt's tools would choose. Each from
// the two rules by hand: Qt's numerus rule (as Linguist shows it) and the library's.
const QList<Difference> &differences()
{
    static const QList<Difference> list{
        {"am hi ln mg nso", [](int n) { return n == 0; }},
        {"pt pt_BR", [](int n) { return n == 0; }},
        {"aa ab as ay az ba co ia ie iw ji ka km kn la lo oc qu rn rw sd si tg to ug uz wo yi",
         [](int n) { return n == 1; }},
        {"hy", [](int n) { return n <= 1; }},
        {"br",
         [](int n) {
             const int tens = n % 100 / 10;
             return n == 0 || (n > 1 && n % 10 == 1 && tens != 1 && tens != 7 && tens != 9);
         }},
        {"cy", [](int n) { return n == 4 || n == 5; }},
        {"dv", [](int n) { return n == 2; }},
        {"gv", [](int n) { return n != 1 && (n % 20 == 0 || n % 10 == 1 || n % 10 == 2); }},
        {"is", [](int n) { return n > 1 && n % 10 == 1 && n % 100 != 11; }},
        {"ik mi sa sm", [](int n) { return n == 1 || n == 2; }},
        {"mk", [](int n) { return n == 11 || n % 10 == 2; }},
        {"mt", [](int n) { return n == 101; }},
    };
    return list;
}

bool differs(const QString &language, int n)
{
    for (const Difference &difference : differences()) {
        if (QString::fromLatin1(difference.languages).split(u' ').contains(language))
            return difference.appliesTo(n);
    }
    return false;
}

QByteArray contentOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool writeTo(const QString &path, const QByteArray &content)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(content) == content.size();
}

QByteArray run(const char *tool, const QStringList &arguments)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(QStringLiteral(QT_TOOLS_DIR "/") + QString::fromLatin1(tool), arguments);
    constexpr int patience = 120'000;
    const bool ended = process.waitForFinished(patience) && process.exitCode() == 0;
    return ended ? QByteArray() : process.readAll() + " (failed)";
}

// Numerus forms filled with their numbers.
QByteArray numbered(QByteArray ts)
{
    static const QByteArray empty = "<numerusform></numerusform>";
    int number = 0;
    for (qsizetype at = ts.indexOf(empty); at >= 0; at = ts.indexOf(empty, at))
        ts.replace(at, empty.size(),
                   QByteArray("<numerusform>form" + QByteArray::number(number++) + "</numerusform>"));
    return ts.replace(" type=\"unfinished\"", "");
}

const QByteArray smallTs =
    "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<!DOCTYPE TS>\n<TS version=\"2.1\" language=\"pl\" "
    "sourcelanguage=\"en\">\n<context>\n    <name>A&lt;b&gt;</name>\n    <message>\n        <location "
    "filename=\"a.cpp\" line=\"+3\"/>\n        <source>a<byte value=\"x1b\"/> &amp;b %1</source>\n        "
    "<comment>c</comment><extracomment>e</extracomment>\n        <translation>\xC5\xBC %1</translation>\n    "
    "</message>\n    <message numerus=\"yes\">\n        <source>%n f</source>\n        <translation>\n       "
    "     "
    "<numerusform>%n plik</numerusform>\n            <numerusform>%n pliki</numerusform>\n            "
    "<numerusform variants=\"yes\"><lengthvariant>%n "
    "plik\xC3\xB3w</lengthvariant><lengthvariant>x</lengthvariant>"
    "</numerusform>\n        </translation>\n    </message>\n    <message "
    "id=\"an.id\"><source><![CDATA[<x>]]>"
    "</source><translation type=\"unfinished\">u</translation></message>\n</context>\n</TS>\n";

// Whatever was read becomes a file that applications read, with every served text in it.
QString mergedProblem(const QList<Message> &messages, const QString &locale)
{
    LocaleFile file = LocaleFile::empty(u"test"_qs, u"en"_qs, locale);
    mergeMessages(file, messages, {locale, ContextKeys::Auto, true});
    const QByteArray document = file.document();
    if (const auto problem = xmlProblem(document))
        return problem->what + u": "_qs + QString::fromUtf8(document);
    FormatError error;
    auto again = LocaleFile::parse(document, &error);
    if (!again)
        return error.what;
    const MergeResult second = mergeMessages(*again, messages, {locale, ContextKeys::Auto, true});
    return second.fresh + second.changed == 0 && again->document() == document
               ? QString()
               : u"imported again, it changes: "_qs + QString::fromUtf8(document);
}

// "key|category|text|note" of every form that a file would serve or wait for, sorted as in the file.
QStringList described(const LocaleFile &file)
{
    QStringList lines;
    for (const LocaleString &string : file.strings()) {
        for (auto form = string.forms.cbegin(); form != string.forms.cend(); ++form)
            lines.append(
                QStringList{string.key, string.source, form.key(), form.value().value_or(u"-"_qs)}.join(
                    u'|'));
    }
    return lines;
}

} // namespace

class tst_Formats : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_qs)); }

    void numerusFormsAgainstQt();
    void guideNamesEveryDifference();
    void filledCategoriesAreThoseThatLookupsAskFor();
    void everyPrefixOfATsFile();
    void damagedTsFiles();
    void damagedLocaleFiles();
    void languageOfAnotherFile_data();
    void languageOfAnotherFile();
    void hostileFiles_data();
    void hostileFiles();
    void xliffOfOthers_data();
    void xliffOfOthers();
    void placeholders_data();
    void placeholders();
    void keys_data();
    void keys();
    void translatorsOwnForms();
    void templateOfAnotherLanguage();
    void aTextThatGetsPluralForms();
};

void tst_Formats::numerusFormsAgainstQt()
{
    const QStringList all = QString::fromLatin1(languages).split(u' ');
    const QTemporaryDir folder;
    const auto tsOf = [&folder](const QString &language) {
        return folder.filePath(u"app_"_qs + language + u".ts"_qs);
    };
    QVERIFY(writeTo(folder.filePath(u"a.cpp"_qs),
                    "#include <QObject>\nvoid f(int n) { QObject::tr(\"%n x\", \"\", n); }\n"));
    QStringList files;
    for (const QString &language : all) {
        files.append(tsOf(language));
        QVERIFY(writeTo(tsOf(language),
                        "<!DOCTYPE TS>\n<TS version=\"2.1\" language=\"" + language.toLatin1() + "\"/>\n"));
    }
    QCOMPARE(run("lupdate", QStringList{u"-silent"_qs, folder.filePath(u"a.cpp"_qs), u"-ts"_qs} + files),
             QByteArray());
    for (const QString &language : all) {
        const QByteArray ts = numbered(contentOf(tsOf(language)));
        QVERIFY2(ts.count("<numerusform>") == numerusCategories(language).size(), qPrintable(language));
        QVERIFY(writeTo(tsOf(language), ts));
    }
    QCOMPARE(run("lrelease", QStringList{u"-silent"_qs} + files), QByteArray());

    for (const QString &language : all) {
        QTranslator qt;
        QVERIFY(qt.load(folder.filePath(u"app_"_qs + language + u".qm"_qs)));
        FormatError error;
        const auto read = readTs(contentOf(tsOf(language)), {}, &error);
        QVERIFY2(read, qPrintable(error.what));
        LocaleFile file = LocaleFile::empty(u"test"_qs, u"en"_qs, language);
        mergeMessages(file, read->file.messages, {language, ContextKeys::Auto, false});
        const auto merged = LocaleFile::parse(file.document(), &error);
        QVERIFY2(merged, qPrintable(error.what));
        const DVPluralForm::Rule rule = DVPluralForm::ruleForLocale(DVLocale(language));
        for (int n = 0; n <= 200; ++n) {
            const QString category = dv_pluralCategoryName(rule(n, float(n)));
            const QString ours = merged->target(u"%n x"_qs, category);
            const QString theirs = qt.translate("QObject", "%n x", nullptr, n);
            QVERIFY2(!ours.isEmpty() && !theirs.isEmpty(),
                     qPrintable(u"%1, %2: \"%3\", Qt has \"%4\""_qs.arg(language).arg(n).arg(ours, theirs)));
            QVERIFY2((ours != theirs) == differs(language, n),
                     qPrintable(u"%1, %2: %3, Qt has %4"_qs.arg(language).arg(n).arg(ours, theirs)));
        }
    }
}

void tst_Formats::guideNamesEveryDifference()
{
    const QString guide =
        QString::fromUtf8(contentOf(QStringLiteral(DORVANE_SOURCE_DIR "/docs/guides/import-export.md")));
    QVERIFY(!guide.isEmpty());
    for (const Difference &difference : differences()) {
        for (const QString &language :
             QString::fromLatin1(difference.languages).split(u' ', Qt::SkipEmptyParts)) {
            const QRegularExpression row(u"^\\|[^|]*`"_qs + language.section(u'_', 0, 0) + u"`"_qs,
                                         QRegularExpression::MultilineOption);
            QVERIFY2(guide.contains(row), qPrintable(language));
        }
    }
}

void tst_Formats::filledCategoriesAreThoseThatLookupsAskFor()
{
    for (const QString &language : QString::fromLatin1(languages).split(u' ')) {
        QStringList present = numerusCategories(language);
        for (const FilledCategory &filled : filledCategories(language)) {
            QVERIFY2(present.contains(filled.from), qPrintable(language));
            QVERIFY2(!present.contains(filled.category), qPrintable(language));
            present.append(filled.category);
        }
        const DVPluralForm::Rule rule = DVPluralForm::ruleForLocale(DVLocale(language));
        for (int n = 0; n <= 2'000'000; n += n < 2000 ? 1 : 1000)
            QVERIFY2(present.contains(dv_pluralCategoryName(rule(n, float(n)))), qPrintable(language));
        QVERIFY2(present.contains(u"other"_qs), qPrintable(language));
    }
}

void tst_Formats::everyPrefixOfATsFile()
{
    for (qsizetype length = 0; length < smallTs.size() - 1; ++length) {
        FormatError error;
        QVERIFY2(!readTs(smallTs.first(length), {}, &error), smallTs.first(length).constData());
        QVERIFY(!error.what.isEmpty() && error.position.line > 0);
    }
    FormatError error;
    const auto whole = readTs(smallTs, {}, &error);
    QVERIFY(whole);
    QCOMPARE(whole->file.messages.size(), 3);
    QCOMPARE(whole->file.messages[0].source, u"a\x1b &b %1"_qs);
    QCOMPARE(whole->file.messages[1].forms.value(u"many"_qs), u"%n plików"_qs);
    QCOMPARE(whole->variantsLeftOut, 1);
    QCOMPARE(whole->file.messages[2].source, u"<x>"_qs);
    QCOMPARE(mergedProblem(whole->file.messages, u"pl"_qs), QString());
}

// Bytes changed, taken out and doubled at random: read or refused, and what is read is written well.
void tst_Formats::damagedTsFiles()
{
    QRandomGenerator random(1);
    const QByteArray marks = "<>&\"'/![]-?=; \n%\x01\xC3\xFF";
    int readable = 0;
    for (int round = 0; round < 4000; ++round) {
        QByteArray damaged = smallTs;
        for (int change = 0; change <= int(random.bounded(3)); ++change) {
            const auto at = qsizetype(random.bounded(quint32(damaged.size())));
            const auto length = qsizetype(random.bounded(12u));
            switch (random.bounded(4)) {
            case 0:
                damaged[at] = marks[qsizetype(random.bounded(quint32(marks.size())))];
                break;
            case 1:
                damaged.remove(at, length);
                break;
            case 2:
                damaged.insert(at,
                               damaged.mid(qsizetype(random.bounded(quint32(damaged.size()))), length * 8));
                break;
            default:
                damaged[at] = char(random.bounded(256));
            }
        }
        FormatError error;
        const auto read = readTs(damaged, {}, &error);
        if (!read) {
            QVERIFY2(!error.what.isEmpty(), damaged.constData());
            continue;
        }
        ++readable;
        QVERIFY2(mergedProblem(read->file.messages, u"pl"_qs).isNull(), damaged.constData());
        // A template of somebody else's, too.
        const LocaleString string{u"%n f"_qs, u"%n f"_qs, {{u"one"_qs, u"<1>"_qs}, {u"few"_qs, u"2"_qs}},
                                  {},         {},         {}};
        if (const auto exported = tsWithStrings(damaged, {string}, u"pl"_qs, &error))
            QVERIFY2(readTs(exported->document, {}, &error), exported->document.constData());
    }
    QVERIFY2(readable > 200, qPrintable(QString::number(readable)));
}

void tst_Formats::damagedLocaleFiles()
{
    FormatError error;
    const auto messages = readTs(smallTs, {}, &error);
    QVERIFY(messages);
    LocaleFile file = LocaleFile::empty(u"test"_qs, u"en"_qs, u"pl"_qs);
    mergeMessages(file, messages->file.messages, {u"pl"_qs, ContextKeys::Auto, true});
    const QByteArray good = file.document();
    QRandomGenerator random(2);
    int readable = 0;
    for (int round = 0; round < 2000; ++round) {
        QByteArray damaged = good;
        const auto at = qsizetype(random.bounded(quint32(damaged.size())));
        if (round % 2 == 0)
            damaged.remove(at, qsizetype(random.bounded(40u)));
        else
            damaged[at] = char(random.bounded(128));
        auto read = LocaleFile::parse(damaged, &error);
        if (!read)
            continue;
        ++readable;
        mergeMessages(*read, messages->file.messages, {u"pl"_qs, ContextKeys::Auto, true});
        QVERIFY2(!xmlProblem(read->document()), read->document().constData());
    }
    QVERIFY2(readable > 200, qPrintable(QString::number(readable)));
}

// A file of another language becomes one of this; nothing else of it is mistaken for that attribute.
void tst_Formats::languageOfAnotherFile_data()
{
    const DVRows<QByteArray, QByteArray> row("tag", "expected");
    row("beside the version", "<TS version=\"2.1\" language=\"pl\">",
        "<TS version=\"2.1\" language=\"fr_CA\">");
    row("on a line of its own", "<TS version='2.1'\n    language='pl'>",
        "<TS version='2.1'\n    language='fr_CA'>");
    row("after a comment that names the tag", "<!-- <TS language=\"de\"> --><TS language = \"pl\">",
        "<!-- <TS language=\"de\"> --><TS language = \"fr_CA\">");
}

void tst_Formats::languageOfAnotherFile()
{
    QFETCH(QByteArray, tag);
    QFETCH(QByteArray, expected);
    const QByteArray rest("<context><name>A</name></context></TS>\n");
    FormatError error;
    const auto written = tsWithStrings("<!DOCTYPE TS>\n" + tag + rest, {}, u"fr-CA"_qs, &error);
    QVERIFY2(written, qPrintable(error.what));
    QCOMPARE(written->document, "<!DOCTYPE TS>\n" + expected + rest);
}

void tst_Formats::hostileFiles_data()
{
    const DVRows<QByteArray> row("document");
    const auto ts = [](const QByteArray &content) {
        return QByteArray("<!DOCTYPE TS>\n<TS language=\"fr\"><context><name>A</name>" + content +
                          "</context></TS>");
    };
    QByteArray attributes;
    for (int i = 0; i < 200'000; ++i)
        attributes += " a" + QByteArray::number(i) + "=\"\"";
    row("200,000 attributes", ts("<message" + attributes + "/>"));
    row("a million levels", ts(QByteArray("<x>").repeated(1'000'000)));
    row("a name of 10 MB", ts("<" + QByteArray(10'000'000, 'x') + "/>"));
    row("entities of entities",
        QByteArray(
            "<!DOCTYPE TS [<!ENTITY a \"aaaaaaaaaa\"><!ENTITY b \"&a;&a;&a;&a;&a;&a;\">]><TS>&b;</TS>"));
    row("a second document type declaration", "<!DOCTYPE TS><!DOCTYPE TS [<!ENTITY a \"b\">]><TS/>");
    row("an unclosed comment of 20 MB", ts("<!--" + QByteArray(20'000'000, '-')));
    row("a text that is no UTF-8", ts("<message><source>\xC3\x28</source></message>"));
    row("a null character", ts(QByteArray("<message><source>a\0b</source></message>", 39)));
}

void tst_Formats::hostileFiles()
{
    QFETCH(QByteArray, document);
    QElapsedTimer timer;
    timer.start();
    FormatError error;
    QVERIFY(!readTs(document, {}, &error));
    QVERIFY(!error.what.isEmpty());
    constexpr qint64 hangMs = 20'000;
    QVERIFY2(timer.elapsed() < hangMs, qPrintable(QString::number(timer.elapsed())));
}

void tst_Formats::xliffOfOthers_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<XliffKeys>("keys");
    QTest::addColumn<QStringList>("strings"); // key|source|category|text
    const auto row = [](const char *name, const QByteArray &content, const QStringList &strings,
                        XliffKeys keys = XliffKeys::Auto) {
        QTest::newRow(name) << content << keys << strings;
    };
    const auto file = [](const QByteArray &units, const QByteArray &original = "app") {
        return QByteArray("<file original=\"" + original +
                          "\" source-language=\"en\" target-language=\"fr\"><body>" + units +
                          "</body></file>");
    };
    const QByteArray simple =
        "<trans-unit id=\"7\"><source>Open</source><target>Ouvrir</target></trans-unit>";
    row("a unit without a name: its source is the key", file(simple), {u"Open|Open||Ouvrir"_qs});
    row("the same by its id", file(simple), {u"7|Open||Ouvrir"_qs}, XliffKeys::Id);
    row("a name",
        file("<trans-unit id=\"7\" resname=\"menu.open\"><source>Open</source><target>Ouvrir</target>"
             "</trans-unit>"),
        {u"menu.open|Open||Ouvrir"_qs});
    row("the same by its source",
        file("<trans-unit id=\"7\" resname=\"x\"><source>Open</source></trans-unit>"), {u"Open|Open||-"_qs},
        XliffKeys::Source);
    row("ids of strings files", file(simple, "en.lproj/Localizable.strings"), {u"7|Open||Ouvrir"_qs});
    row("several files and groups",
        file(simple) +
            file("<group><group>" + QByteArray(simple).replace("Open", "Close") + "</group></group>", "b"),
        {u"Open|Open||Ouvrir"_qs, u"Close|Close||Ouvrir"_qs});
    row("inline elements, segments and other translations",
        file("<trans-unit id=\"1\"><source>a <g id=\"1\">b <x id=\"2\" equiv-text=\"%1\"/></g><bpt "
             "id=\"3\">&lt;b&gt;"
             "</bpt>c<ept id=\"3\">&lt;/b&gt;</ept><x id=\"4\" ctype=\"lb\"/></source><seg-source><mrk "
             "mtype=\"seg\">a"
             "</mrk></seg-source><target>A <mrk mtype=\"seg\" mid=\"0\">B</mrk> <ph id=\"5\">%1</ph></target>"
             "<alt-trans><source>z</source><target>Z</target></alt-trans></trans-unit>"),
        {u"a b %1<b>c</b>\n|a b %1<b>c</b>\n||A B %1"_qs});
    row("states that are not finished are not served",
        file("<trans-unit id=\"1\"><source>a</source><target "
             "state=\"needs-review-translation\">A</target></trans-unit>"
             "<trans-unit id=\"2\"><source>b</source><target state=\"new\">B</target></trans-unit>"
             "<trans-unit id=\"3\" approved=\"no\"><source>c</source><target "
             "state=\"translated\">C</target></trans-unit>"
             "<trans-unit id=\"4\" translate=\"no\"><source>d</source><target>D</target></trans-unit>"),
        {u"a|a||-"_qs, u"b|b||-"_qs, u"c|c||C"_qs});
    row("plural forms by category",
        file("<group restype=\"x-cldr-plurals\"><trans-unit id=\"n[one]\" resname=\"%n x\"><source>%n "
             "x</source>"
             "<target>%n un</target></trans-unit><trans-unit id=\"n[other]\" resname=\"%n x\"><source>%n "
             "x</source>"
             "<target>%n des</target></trans-unit></group>"),
        {u"%n x|%n x|one|%n un"_qs, u"%n x|%n x|other|%n des"_qs});
    row("plural forms by number, contexts and comments, as Qt's own tools write them",
        file("<group restype=\"x-trolltech-linguist-context\" resname=\"Win\"><group "
             "restype=\"x-gettext-plurals\">"
             "<trans-unit id=\"_msg1[0]\"><source>%n x</source><target>%n un</target></trans-unit>"
             "<trans-unit id=\"_msg1[1]\"><source>%n x</source><target>%n des</target></trans-unit></group>"
             "<trans-unit id=\"_msg2\"><source>Open</source><target>Ouvrir</target></trans-unit></group>"
             "<group restype=\"x-trolltech-linguist-context\" resname=\"Door\"><trans-unit id=\"_msg3\">"
             "<source>Open</source><target>Ouvert</target></trans-unit></group>"),
        {u"%n x|%n x|one|%n un"_qs, u"%n x|%n x|other|%n des"_qs, u"Win␄Open|Open||Ouvrir"_qs,
         u"Door␄Open|Open||Ouvert"_qs});
    row("brackets that are no plural form",
        file("<trans-unit id=\"a[0]\" resname=\"a[0]\"><source>x</source><target>X</target></trans-unit>"),
        {u"a[0]|x||X"_qs});
}

void tst_Formats::xliffOfOthers()
{
    QFETCH(QByteArray, content);
    QFETCH(XliffKeys, keys);
    QFETCH(QStringList, strings);
    FormatError error;
    const auto read = readXliffMessages(
        "<?xml version=\"1.0\"?><xliff version=\"1.2\">" + content + "</xliff>", {}, keys, &error);
    QVERIFY2(read, qPrintable(error.what));
    QCOMPARE(read->locale, u"fr"_qs);
    LocaleFile file = LocaleFile::empty(u"test"_qs, u"en"_qs, u"fr"_qs);
    mergeMessages(file, read->messages, {u"fr"_qs, ContextKeys::Auto, false});
    const auto again = LocaleFile::parse(file.document(), &error);
    QVERIFY2(again, qPrintable(error.what));
    QCOMPARE(described(*again), strings);
}

void tst_Formats::placeholders_data()
{
    // served: as an application reads it, with markers around arguments
    const DVRows<QString, QString, QString> row("source", "target", "served");
    row("Qt's", u"%1 of %L2, %n, %Ln"_qs, u"%2 de %L1, %n, %Ln"_qs, u"{%2} de {%L1}, {%n}, {%Ln}"_qs);
    row("a percent sign to show", u"50% of it"_qs, u"50% de"_qs, u"50％ de"_qs);
    row("printf's", u"%s: %.2f %5d"_qs, u"%.2f %s"_qs, u"{%.2f} {%s}"_qs);
    row("an object, numbered", u"%@ and %@"_qs, u"%2$@ et %1$@"_qs, u"{%2$@} et {%1$@}"_qs);
    row("looks like printf in the translation only", u"a 10% solution"_qs, u"eine 10%ige %d"_qs,
        u"eine 10％ige ％d"_qs);
    row("a doubled sign of a format", u"%d%% done"_qs, u"%d%% fait"_qs, u"{%d}{%%} fait"_qs);
    row("a doubled sign elsewhere", u"100%%"_qs, u"100%%"_qs, u"100％％"_qs);
    row("markup and quotes", u"<b>%1</b>"_qs, u"<b>\"%1\"</b> & 'x'"_qs, u"<b>\"{%1}\"</b> & 'x'"_qs);
}

void tst_Formats::placeholders()
{
    QFETCH(QString, source);
    QFETCH(QString, target);
    QFETCH(QString, served);
    Message message;
    message.source = source;
    message.forms.insert(QString(), target);
    LocaleFile file = LocaleFile::empty(u"test"_qs, u"en"_qs, u"fr"_qs);
    mergeMessages(file, {message}, {u"fr"_qs, ContextKeys::Auto, false});
    QString read;
    const auto error = DVXliffReader::read(file.document(), true, [&](const DVXliffUnit &unit) {
        QCOMPARE(QString::fromUtf8(unit.key.data(), qsizetype(unit.key.size())), source);
        read = QString::fromUtf8(unit.target.data(), qsizetype(unit.target.size()));
    });
    QVERIFY(!error);
    read.replace(u'\u2063', u'{').replace(u'\u2064', u'}').remove(u'\u200B').remove(u'\u2062');
    QCOMPARE(read, served);
    QCOMPARE(LocaleFile::parse(file.document(), nullptr)->target(source, {}), target);
}

void tst_Formats::keys_data()
{
    QTest::addColumn<QStringList>("messages"); // context|source|comment|id|text; an empty text is unfinished
    QTest::addColumn<ContextKeys>("contexts");
    QTest::addColumn<QStringList>("known"); // keys of the folder
    QTest::addColumn<QStringList>("keys");
    const auto row = [](const char *name, const QStringList &messages, const QStringList &expected,
                        ContextKeys contexts = ContextKeys::Auto, const QStringList &known = {}) {
        QTest::newRow(name) << messages << contexts << known << expected;
    };
    row("the same in two contexts", {u"A|Open|||x"_qs, u"B|Open|||x"_qs}, {u"Open"_qs});
    row("different in two contexts", {u"A|Open|||x"_qs, u"B|Open|||y"_qs}, {u"A␄Open"_qs, u"B␄Open"_qs});
    row("never", {u"A|Open|||x"_qs, u"B|Open|||y"_qs}, {u"Open"_qs}, ContextKeys::Never);
    row("always", {u"A|Open|||x"_qs, u"B|Open|||x"_qs}, {u"A␄Open"_qs, u"B␄Open"_qs}, ContextKeys::Always);
    row("comments in one context",
        {u"A|Open|c||x"_qs, u"A|Open|d||y"_qs, u"A|Open|||y"_qs, u"B|Open|c||x"_qs},
        {u"A␄Open␄c"_qs, u"A␄Open␄d"_qs, u"A␄Open"_qs, u"B␄Open"_qs});
    row("an unfinished one is no other translation", {u"A|Open|||x"_qs, u"B|Open|||"_qs}, {u"Open"_qs});
    row("an unfinished one among different ones has its own key",
        {u"A|Open|||x"_qs, u"B|Open|||y"_qs, u"C|Open|||"_qs}, {u"A␄Open"_qs, u"B␄Open"_qs, u"C␄Open"_qs});
    row("ids", {u"A|Open||id.a|x"_qs, u"A|Open||id.b|y"_qs}, {u"id.a"_qs, u"id.b"_qs}, ContextKeys::Always);
    row("a key with a context stays", {u"A|Open|||x"_qs, u"B|Open|||x"_qs}, {u"A␄Open"_qs, u"Open"_qs},
        ContextKeys::Auto, {u"A␄Open"_qs});
    row("no context", {u"|Open|||x"_qs, u"B|Open|||y"_qs}, {u"␄Open"_qs, u"B␄Open"_qs});
    row("control characters", {u"A|\x1b[m|||x"_qs, u"B|\x1b[m|||y"_qs}, {u"A␄␛[m"_qs, u"B␄␛[m"_qs});
}

void tst_Formats::keys()
{
    QFETCH(QStringList, messages);
    QFETCH(ContextKeys, contexts);
    QFETCH(QStringList, known);
    QList<Message> list;
    for (const QString &text : messages) {
        const QStringList parts = text.split(u'|');
        Message message;
        message.context = parts[0];
        message.source = parts[1];
        message.comment = parts[2];
        message.id = parts[3];
        message.state = parts[4].isEmpty() ? Message::Unfinished : Message::Finished;
        if (!parts[4].isEmpty())
            message.forms.insert(QString(), parts[4]);
        list.append(message);
    }
    QStringList found;
    const KeyedFile keyed =
        keyedMessages(list, contexts, [&known](const QString &key) { return known.contains(key); });
    for (const KeyedMessages &key : keyed.keys)
        found.append(key.key);
    QTEST(found, "keys");
    for (qsizetype i = 0; i < list.size(); ++i) {
        // A lookup finds the key: it is one of those that a message may have.
        const auto candidates = possibleKeys(list[i]);
        QVERIFY(std::any_of(candidates.begin(), candidates.end(),
                            [&found](const QString &key) { return found.contains(key); }));
    }
}

// A category that no numerus form has keeps the text that somebody gave it, and follows the form that it was
// copied from otherwise.
void tst_Formats::translatorsOwnForms()
{
    Message message;
    message.source = u"%n x"_qs;
    message.plural = true;
    message.forms = {{u"one"_qs, u"1 he"_qs}, {u"other"_qs, u"he"_qs}};
    const MergeOptions options{u"he"_qs, ContextKeys::Auto, false};
    LocaleFile file = LocaleFile::empty(u"test"_qs, u"en"_qs, u"he"_qs);
    mergeMessages(file, {message}, options);
    QByteArray document = file.document();
    const qsizetype two = document.indexOf("[two]");
    document.replace(document.indexOf("he</target>", two), 2, "pair");
    FormatError error;
    auto edited = LocaleFile::parse(document, &error);
    QVERIFY(edited);
    message.forms[u"other"_qs] = u"neu"_qs;
    mergeMessages(*edited, {message}, options);
    const auto after = LocaleFile::parse(edited->document(), &error);
    QVERIFY(after);
    QCOMPARE(after->target(u"%n x"_qs, u"other"_qs), u"neu"_qs);
    QCOMPARE(after->target(u"%n x"_qs, u"many"_qs), u"neu"_qs);
    QCOMPARE(after->target(u"%n x"_qs, u"two"_qs), u"pair"_qs);
    QCOMPARE(after->target(u"%n x"_qs, u"one"_qs), u"1 he"_qs);
}

void tst_Formats::templateOfAnotherLanguage()
{
    const LocaleString string{u"%n f"_qs, u"%n f"_qs, {{u"one"_qs, u"1"_qs}, {u"other"_qs, u"2"_qs}},
                              {},         {},         {}};
    FormatError error;
    const auto exported = tsWithStrings(smallTs, {string}, u"de-AT"_qs, &error);
    QVERIFY2(exported, qPrintable(error.what));
    const auto read = readTs(exported->document, {}, &error);
    QVERIFY2(read, qPrintable(error.what));
    QCOMPARE(read->file.locale, u"de-AT"_qs);
    QCOMPARE(read->file.messages[0].texts, QStringList{QString()});
    QCOMPARE(read->file.messages[0].state, Message::Unfinished);
    QCOMPARE(read->file.messages[1].texts, (QStringList{u"1"_qs, u"2"_qs}));
    QCOMPARE(read->file.messages[1].state, Message::Finished);
    QVERIFY(!exported->document.contains("plik"));
}

// A unit is put in and the one behind it taken out, at the same place.
void tst_Formats::aTextThatGetsPluralForms()
{
    const QByteArray before =
        "<xliff version=\"1.2\"><file><body>\n"
        "<trans-unit id=\"1[one]\" resname=\"k\"><source>k</source><target>un</target></trans-unit>\n"
        "<trans-unit id=\"2\" resname=\"k\"><source>k</source><target>vieux</target></trans-unit>\n"
        "</body></file></xliff>\n";
    FormatError error;
    auto file = LocaleFile::parse(before, &error);
    QVERIFY2(file, qPrintable(error.what));
    const LocaleString string{u"k"_qs, u"k"_qs, {{u"one"_qs, u"un"_qs}, {u"other"_qs, u"des"_qs}},
                              {},      {},      {}};
    QCOMPARE(file->put(string), LocaleFile::Changed);
    const auto after = LocaleFile::parse(file->document(), &error);
    QVERIFY2(after, qPrintable(error.what));
    QCOMPARE(described(*after), (QStringList{u"k|k|one|un"_qs, u"k|k|other|des"_qs}));
}

QTEST_GUILESS_MAIN(tst_Formats)
#include "tst_formats.moc"
