// Delivered files made and opened by the tool, held against openssl and gzip.
#include "Delivered.h"
#include <DVRows.h>
#include <DVTestFiles.h>

#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::Literals::StringLiterals;
using namespace Delivered;

namespace {

const QByteArray xliff =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<xliff version=\"1.2\"><file><body>\n"
    "<trans-unit id=\"1\" resname=\"Hello\"><source>Hello</source><target>Bonjour \xC3\xA9t\xC3\xA9 "
    "50%</target></trans-unit></body></file></xliff>\n";

QByteArray keyOf(int bytes)
{
    return QByteArray("0123456789abcdefghijklmnopqrstuv").left(bytes);
}

} // namespace

class tst_Pack : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_qs)); }

    void packsAndUnpacksAsOthersDo_data();
    void packsAndUnpacksAsOthersDo();
    void unpacksOtherContents();
    void putsPlaceholdersIntoElements_data();
    void putsPlaceholdersIntoElements();
    void packRefuses_data();
    void packRefuses();
    void unpackRefuses_data();
    void unpackRefuses();
    void keygenPrintsFreshKeys_data();
    void keygenPrintsFreshKeys();
    void commandsExplainThemselves_data();
    void commandsExplainThemselves();

private:
    QString path(const char *name) const { return m_folder.filePath(QString::fromLatin1(name)); }
    QString file(const char *name, const QByteArray &content) const
    {
        DVTestFiles::write(path(name), content);
        return path(name);
    }
    static QByteArray content(const QString &path) { return DVTestFiles::read(path); }

    QTemporaryDir m_folder;
};

void tst_Pack::packsAndUnpacksAsOthersDo_data()
{
    const DVRows<QByteArray, QStringList> row("key", "option");
    for (const int bytes : {16, 24})
        row(bytes == 16 ? "AES-128" : "AES-192", keyOf(bytes), {u"--key"_qs, base64(keyOf(bytes))});
    row("AES-256, the key in a file", keyOf(32),
        {u"--key-file"_qs, file("key", base64(keyOf(32)).toLatin1() + "\n")});
}

void tst_Pack::packsAndUnpacksAsOthersDo()
{
    QFETCH(QByteArray, key);
    QFETCH(QStringList, option);
    const ToolRun run =
        ToolRun::tool(QStringList{u"pack"_qs, file("in.xlf", xliff), path("out.gz")} + option);
    QVERIFY2(run.status == 0 && run.errors.isEmpty(), run.errors.constData());
    QVERIFY(decrypted(content(path("out.gz")), key).startsWith("\x1F\x8B"));
    QCOMPARE(opened(content(path("out.gz")), key), xliff);

    const QString theirs = file("in.gz", encrypted(compressed(xliff), key));
    const ToolRun back = ToolRun::tool(QStringList{u"unpack"_qs, theirs, path("out.xlf")} + option);
    QVERIFY2(back.status == 0 && back.errors.isEmpty(), back.errors.constData());
    QCOMPARE(content(path("out.xlf")), xliff);
}

// A document that is not compressed, and of several gzip members the first.
void tst_Pack::unpacksOtherContents()
{
    for (const QByteArray &inside : {xliff, QByteArray(compressed(xliff) + compressed("more"))}) {
        const QString packed = file("in.gz", encrypted(inside));
        QCOMPARE(ToolRun::tool({u"unpack"_qs, packed, path("out.xlf"), u"--key"_qs, base64()}).status, 0);
        QCOMPARE(content(path("out.xlf")), xliff);
    }
}

void tst_Pack::putsPlaceholdersIntoElements_data()
{
    QTest::addColumn<QByteArray>("unit");
    QTest::addColumn<QByteArray>("packed"); // null: the same

    const auto row = [](const char *name, const QByteArray &unit, const QByteArray &packed = {}) {
        QTest::newRow(name) << unit << packed;
    };
    row("in a source and in a target", "<source>%1!</source><target>a %1</target>",
        "<source><ph id=\"q1\">%1</ph>!</source><target>a <ph id=\"q1\">%1</ph></target>");
    row("several, counted in their text", "<target>%2 of %1</target>",
        "<target><ph id=\"q1\">%2</ph> of <ph id=\"q2\">%1</ph></target>");
    row("counts and local numbers", "<target>%n%Ln%L12</target>",
        "<target><ph id=\"q1\">%n</ph><ph id=\"q2\">%Ln</ph><ph id=\"q3\">%L12</ph></target>");
    row("two digits at most", "<target>%100</target>", "<target><ph id=\"q1\">%10</ph>0</target>");
    row("inside other inline elements", "<target>a<g id='1'>%1</g></target>",
        "<target>a<g id='1'><ph id=\"q1\">%1</ph></g></target>");
    row("in a CDATA section", "<target><![CDATA[<%1>]]></target>",
        "<target><![CDATA[<]]><ph id=\"q1\">%1</ph><![CDATA[>]]></target>");
    row("in an element of its own already", "<target><ph id=\"1\">%1</ph> <ph>%n</ph></target>");
    row("behind an empty element", "<target><ph id=\"1\"/>%1</target>",
        "<target><ph id=\"1\"/><ph id=\"q1\">%1</ph></target>");
    row("percent signs and other formats", "<target>100% of 5 % %@ %d %0 %L %% 50 %</target>");
    row("in a note", "<source>a</source><note>%1 is a name</note>");
    row("in an attribute that holds a tag's end", "<target><g id=\"a>%1\">b</g></target>");
    row("in a comment and in an instruction", "<target><!-- > %1 --><?x > %1 ?></target>");
}

void tst_Pack::putsPlaceholdersIntoElements()
{
    QFETCH(QByteArray, unit);
    QFETCH(QByteArray, packed);
    const auto whole = [](const QByteArray &content) {
        return QByteArray("<xliff version=\"1.2\"><file><body>\n<trans-unit id=\"1\" resname=\"%1\">" +
                          content + "</trans-unit>\n</body></file></xliff>");
    };
    const QString key = base64();
    const auto packedAndUnpacked = [&](const QStringList &options) {
        const QString in = file("in.xlf", whole(unit));
        ToolRun::tool(QStringList{u"pack"_qs, in, path("p.gz"), u"--key"_qs, key} + options);
        ToolRun::tool({u"unpack"_qs, path("p.gz"), path("p.xlf"), u"--key"_qs, key});
        return content(path("p.xlf"));
    };
    QCOMPARE(packedAndUnpacked({}), whole(packed.isNull() ? unit : packed));
    QCOMPARE(packedAndUnpacked({u"--as-is"_qs}), whole(unit));
}

void tst_Pack::packRefuses_data()
{
    QTest::addColumn<QByteArray>("document");
    QTest::addColumn<QStringList>("key");
    QTest::addColumn<int>("status");
    QTest::addColumn<QString>("says"); // a regular expression

    const QStringList good{u"--key"_qs, base64()};
    const auto keyRow = [](const char *name, const QStringList &key, const QString &says) {
        QTest::newRow(name) << xliff << key << 2 << says;
    };
    const auto documentRow = [&good](const char *name, const QByteArray &document, const QString &says) {
        QTest::newRow(name) << document << good << 1 << says;
    };
    keyRow("no key", {}, u"--key or --key-file"_qs);
    keyRow("two keys", good + QStringList{u"--key-file"_qs, u"x"_qs}, u"either --key or --key-file"_qs);
    keyRow("a key of 20 bytes", {u"--key"_qs, base64(keyOf(20))}, u"20 bytes; AES keys have 16, 24 or 32"_qs);
    keyRow("a key that is no base64", {u"--key"_qs, u"***"_qs}, u"not base64"_qs);
    keyRow("an empty key", {u"--key"_qs, u""_qs}, u"not base64"_qs);
    keyRow("a key file that is not there", {u"--key-file"_qs, u"/nowhere/key"_qs},
           u"cannot read the key file /nowhere/key"_qs);
    documentRow("an empty document", "", u"in.xlf is not readable XLIFF: .*\\(line 1, column \\d+\\)"_qs);
    documentRow("a tag that closes another", "<xliff>\n<file>\n</xliff>", u"\\(line 3, column \\d+\\)"_qs);
    documentRow("a document that stops", xliff.left(150), u"\\(line 3, column \\d+\\)"_qs);
    documentRow("a document type declaration", "<!DOCTYPE xliff>\n" + xliff,
                u"\\(line [12], column \\d+\\)"_qs);
    documentRow("another kind of document", "\n<html/>",
                u"root element is <html>, not <xliff> \\(line 2, column \\d+\\)"_qs);
    documentRow("XLIFF 2", "<xliff version=\"2.0\"/>", u"it is XLIFF 2.0; applications read XLIFF 1.2"_qs);
}

void tst_Pack::packRefuses()
{
    QFETCH(QByteArray, document);
    QFETCH(QStringList, key);
    QFETCH(QString, says);
    const QString out = file("kept.gz", "what was there before");
    const ToolRun run = ToolRun::tool(QStringList{u"pack"_qs, file("in.xlf", document), out} + key);
    QTEST(run.status, "status");
    QVERIFY2(QString::fromUtf8(run.errors).contains(QRegularExpression(says)), run.errors.constData());
    QCOMPARE(content(out), QByteArray("what was there before"));
}

void tst_Pack::unpackRefuses_data()
{
    const DVRows<QByteArray, QByteArray> row("packed", "says");

    const QByteArray gzip = compressed(xliff);
    QByteArray flipped = gzip;
    flipped[gzip.size() / 2] = char(flipped.at(gzip.size() / 2) ^ 0x10);
    row("made with another key", encrypted(gzip, keyOf(24)), "the key does not open it");
    row("cut short", encrypted(gzip).chopped(5), "the key does not open it");
    row("never packed", xliff, "the key does not open it");
    row("empty", "", "the key does not open it");
    row("neither gzip nor XLIFF inside", encrypted("hello"), "the key does not open it");
    row("a gzip stream with a wrong bit", encrypted(flipped), "damaged");
    row("a gzip stream that stops", encrypted(gzip.chopped(9)), "damaged");
}

void tst_Pack::unpackRefuses()
{
    QFETCH(QByteArray, packed);
    QFETCH(QByteArray, says);
    const QString out = file("kept.xlf", "what was there before");
    const ToolRun run = ToolRun::tool({u"unpack"_qs, file("in.gz", packed), out, u"--key"_qs, base64()});
    QCOMPARE(run.status, 1);
    QVERIFY2(run.errors.contains(says), run.errors.constData());
    QCOMPARE(content(out), QByteArray("what was there before"));
}

void tst_Pack::keygenPrintsFreshKeys_data()
{
    const DVRows<QStringList, int> row("options", "bytes");
    row("as it is", {}, 32);
    row("128 bits", {u"--bits"_qs, u"128"_qs}, 16);
    row("192 bits", {u"--bits"_qs, u"192"_qs}, 24);
}

void tst_Pack::keygenPrintsFreshKeys()
{
    QFETCH(QStringList, options);
    const QByteArray first = ToolRun::tool(QStringList{u"keygen"_qs} + options).output.trimmed();
    const QByteArray second = ToolRun::tool(QStringList{u"keygen"_qs} + options).output.trimmed();
    QTEST(int(QByteArray::fromBase64(first).size()), "bytes");
    QVERIFY(first != second);
}

void tst_Pack::commandsExplainThemselves_data()
{
    const DVRows<QStringList, int, QByteArray> row("arguments", "status", "says");

    row("no command", {}, 2, "Commands:");
    row("an unknown command", {u"pak"_qs}, 2, "there is no command \"pak\"");
    row("help", {u"--help"_qs}, 0, "Commands:");
    row("help for a command", {u"help"_qs, u"pack"_qs}, 0, "Usage: dorvane pack [options] IN.xlf OUT.gz\n");
    row("a command's help", {u"unpack"_qs, u"-h"_qs}, 0, "Usage: dorvane unpack [options] IN.gz OUT.xlf\n");
    row("help of import", {u"import"_qs, u"--help"_qs}, 0,
        "Usage: dorvane import [options] FILE [FILE...]\n");
    row("a missing argument", {u"pack"_qs, u"in"_qs}, 2, "OUT.gz is missing");
    row("a strange key length", {u"keygen"_qs, u"--bits"_qs, u"64"_qs}, 2, "--bits is 128");
    row("a file that is not there", {u"pack"_qs, u"/nowhere/a"_qs, u"b"_qs, u"--key"_qs, base64()}, 1,
        "cannot read /nowhere/a");
}

void tst_Pack::commandsExplainThemselves()
{
    QFETCH(QStringList, arguments);
    QFETCH(QByteArray, says);
    const ToolRun run = ToolRun::tool(arguments);
    QTEST(run.status, "status");
    QVERIFY2((run.status == 0 ? run.output : run.errors).contains(says), run.errors.constData());
}

QTEST_GUILESS_MAIN(tst_Pack)
#include "tst_pack.moc"
