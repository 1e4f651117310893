// The checks of `dorvane check` and `dorvane pack`, on documents that are wrong in one way each.
#include "TestProject.h"
#include "ToolProcess.h"
#include <DVRows.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

// One document for a unit, some units, or a <file> of them.
QByteArray documentOf(const QByteArray &content, const QByteArray &language = "fr")
{
    if (content.startsWith("<xliff") || content.startsWith("<?xml"))
        return content;
    const QByteArray file = content.startsWith("<file")
                                ? content
                                : "<file source-language=\"en\" target-language=\"" + language +
                                      "\"><body>\n" + content + "\n</body></file>";
    return "<?xml version=\"1.0\"?>\n<xliff version=\"1.2\">" + file + "</xliff>\n";
}

QByteArray unit(const QByteArray &source, const QByteArray &target, const QByteArray &form = {})
{
    return "<trans-unit id=\"1" + (form.isEmpty() ? form : '[' + form + ']') + "\" resname=\"key\"><source>" +
           source + "</source><target>" + target + "</target></trans-unit>";
}

// Plural forms of one key: "one=text;other=text", the source being "%n files" everywhere but in "one".
QByteArray forms(const QByteArray &list)
{
    QByteArray units;
    for (const QByteArray &entry : list.split(';')) {
        const qsizetype equals = entry.indexOf('=');
        const QByteArray form = entry.left(equals);
        units += unit(form == "one" ? "One file" : "<ph id=\"1\">%n</ph> files", entry.mid(equals + 1), form);
    }
    return units;
}

// "%1" between bars becomes a placeholder element: "Hello |%1|".
QByteArray withElements(const QByteArray &text)
{
    QByteArray result;
    const QByteArrayList pieces = text.split('|');
    for (qsizetype i = 0; i < pieces.size(); ++i)
        result += i % 2 == 0 ? pieces[i] : "<ph id=\"1\">" + pieces[i] + "</ph>";
    return result;
}

struct Found
{
    int status = -1;
    QList<QStringList> byFile; // "severity rule", in the tool's order

    QStringList findings() const { return byFile.value(0); }
};

Found findingsOf(const QStringList &paths, const QStringList &options = {})
{
    const ToolRun run = ToolRun::tool(QStringList{u"check"_qs, u"--format"_qs, u"json"_qs} + options + paths);
    Found found{run.status, {}};
    const QJsonArray files = QJsonDocument::fromJson(run.output).object().value(u"files"_qs).toArray();
    for (const auto &file : files) {
        QStringList findings;
        const QJsonArray list = file[u"findings"_qs].toArray();
        for (const auto &finding : list)
            findings += finding[u"severity"_qs].toString() + u' ' + finding[u"rule"_qs].toString();
        found.byFile += findings;
    }
    return found;
}

// The guide by rule: its section without the heading's mark.
QMap<QString, QString> guideSections()
{
    QFile file(QStringLiteral(DORVANE_SOURCE_DIR "/docs/guides/check.md"));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QMap<QString, QString> sections;
    const QStringList parts = QString::fromUtf8(file.readAll()).split(u"\n### "_qs).mid(1);
    for (const QString &part : parts)
        sections.insert(part.section(u'\n', 0, 0), part.section(u"\n## "_qs, 0, 0).trimmed());
    return sections;
}

// The first block of indented lines that is XML.
QByteArray exampleIn(const QString &section)
{
    QByteArray example;
    const QStringList lines = section.split(u'\n');
    for (const QString &line : lines) {
        const bool isXml =
            line.startsWith(u"    "_qs) && (!example.isEmpty() || line.startsWith(u"    <"_qs));
        if (isXml)
            example += line.mid(4).toUtf8() + '\n';
        else if (!example.isEmpty())
            break;
    }
    return example;
}

} // namespace

class tst_Check : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_qs)); }

    void everyRuleIsExplained();
    void examplesOfTheGuideAreFound_data();
    void examplesOfTheGuideAreFound();
    void findsWhatIsWrong_data();
    void findsWhatIsWrong();
    void pointsAtThePlace_data();
    void pointsAtThePlace();
    void readsAFolderWithItsProject();
    void readsFilesByTheirNames_data();
    void readsFilesByTheirNames();
    void exitStatus_data();
    void exitStatus();
    void writesSarif();
    void takesHostileTextsInItsStride_data();
    void takesHostileTextsInItsStride();
    void exampleProjectHasNoMistakes();
    void packRefusesMistakes();

private:
    QString file(const QString &name, const QByteArray &content) const
    {
        DVTestFiles::write(m_folder.filePath(name), content);
        return m_folder.filePath(name);
    }
    // Names that are no locale.
    QStringList files(const QList<QByteArray> &documents) const
    {
        QStringList paths;
        for (const QByteArray &document : documents)
            paths += file(u"document-%1.xlf"_qs.arg(paths.size()), document);
        return paths;
    }
    QTemporaryDir m_folder;
};

void tst_Check::everyRuleIsExplained()
{
    const QMap<QString, QString> sections = guideSections();
    const QString help = QString::fromUtf8(ToolRun::tool({u"check"_qs, u"--help"_qs}).output);
    static const QRegularExpression row(u"^  ([a-z-]+) +\\S"_qs, QRegularExpression::MultilineOption);
    QStringList rules;
    auto match = row.globalMatch(help.section(u"Rules:\n"_qs, 1));
    while (match.hasNext())
        rules += match.next().captured(1);
    rules.sort();
    QVERIFY2(rules.size() > 25, qPrintable(help));
    QCOMPARE(QStringList(sections.keys()), rules);
    for (const QString &rule : {u"space"_qs, u"language"_qs})
        QCOMPARE(QString::fromUtf8(ToolRun::tool({u"check"_qs, u"--explain"_qs, rule}).output).trimmed(),
                 sections.value(rule));
}

void tst_Check::examplesOfTheGuideAreFound_data()
{
    QTest::addColumn<QString>("rule");
    QTest::addColumn<QStringList>("findings");
    // These take another file, or a megabyte; they have tests of their own.
    const QStringList elsewhere{u"limit"_qs, u"untranslated"_qs, u"unknown-key"_qs, u"language"_qs};
    const QMap<QString, QString> sections = guideSections();
    QStringList rules;
    QList<QByteArray> documents;
    for (auto section = sections.begin(); section != sections.end(); ++section) {
        if (elsewhere.contains(section.key()))
            continue;
        rules += section.key();
        documents += documentOf(exampleIn(section.value()));
    }
    const QList<QStringList> found = findingsOf(files(documents)).byFile;
    for (qsizetype i = 0; i < rules.size(); ++i)
        QTest::addRow("%s", qPrintable(rules.at(i))) << rules.at(i) << found.value(i);
}

void tst_Check::examplesOfTheGuideAreFound()
{
    QFETCH(QString, rule);
    QFETCH(QStringList, findings);
    const QStringList others =
        findings.filter(QRegularExpression(QString(u"^\\w+ (?!"_qs % rule % u"$)"_qs)));
    QVERIFY2(!findings.isEmpty() && others.isEmpty(), qPrintable(findings.join(u'\n')));
}

void tst_Check::findsWhatIsWrong_data()
{
    const DVRows<QStringList, QStringList> row("findings", "expected");

    // All of them in one run: a process for each takes its time under a sanitizer.
    QList<const char *> names;
    QList<QByteArray> documents;
    QList<QStringList> expectations;
    const auto add = [&](const char *name, const QByteArray &language, const QByteArray &content,
                         const QString &expected) {
        names += name;
        documents += documentOf(content, language);
        expectations += expected.split(u", "_qs, Qt::SkipEmptyParts);
    };
    const auto text = [&add](const char *name, const QByteArray &source, const QByteArray &target,
                             const QString &expected) {
        add(name, "fr", unit(withElements(source), withElements(target)), expected);
    };
    // Arguments
    text("arguments in another order", "|%1| of |%2|", "|%2| de |%1|", {});
    text("a local number for a plain one", "|%1|", "|%L1|", {});
    text("numbers written where there were none", "|%d| in |%@|", "|%2$@| : |%1$d|", {});
    text("arguments taken in another order", "|%d| in |%@|", "|%@| : |%d|",
         u"error changed-placeholder, error changed-placeholder"_qs);
    text("another type", "|%d| b", "|%s| b", u"error changed-placeholder"_qs);
    text("the same type, written otherwise", "|%d| |%.1f|", "|%5i| |%g|", {});
    text("another number", "|%1| |%2|", "|%1| |%3|", u"error changed-placeholder"_qs);
    text("another style", "|%1| b", "|%1$@| b", u"error changed-placeholder"_qs);
    text("two of three are lost", "|%1||%2||%3|", "|%2|",
         u"error missing-placeholder, error missing-placeholder"_qs);
    text("elements that hold something else", "|{0}| and |{1}|", "|{1}| et |{0}|", {});
    text("one of those lost", "|{0}| and |{1}|", "|{1}|", u"error missing-placeholder"_qs);
    text("Qt's own outside an element, which pack mends", "|%1| b", "%1 b", u"note loose-placeholder"_qs);
    text("one that neither has in an element", "%d b", "%d b", u"warning loose-placeholder"_qs);
    text("a percent sign before a word that begins like a format", "100% done b", "100%d'accord b",
         u"note stray-percent"_qs);
    text("a percent sign in an element", "|%| b", "|%| b", {});
    text("two percent signs of a format", "|%d||%%|", "|%%||%d|", {});
    // Plural forms: by docs/plural-rules.md
    add("Polish with its three forms, and \"other\"", "pl",
        forms("one=plik;few=<ph id='1'>%n</ph>;many=<ph id='1'>%n</ph>;other=<ph id='1'>%n</ph>"), {});
    add("Polish without \"other\", which no whole number takes", "pl",
        forms("one=plik;few=<ph id='1'>%n</ph>;many=<ph id='1'>%n</ph>"), u"note missing-plural"_qs);
    add("Croatian as CLDR has it", "hr",
        forms("one=<ph id='1'>%n</ph>;few=<ph id='1'>%n</ph>;other=<ph id='1'>%n</ph>"),
        u"warning missing-plural"_qs);
    add("Czech with the form that fractions take", "cs",
        forms("one=soubor;few=<ph id='1'>%n</ph>;many=<ph id='1'>%n</ph>;other=<ph id='1'>%n</ph>"),
        u"note superfluous-plural"_qs);
    add("French \"one\" without the number, which is 0 too", "fr",
        "<trans-unit id='1[one]' resname='k'><source><ph id='1'>%n</ph> file</source><target>un</target>"
        "</trans-unit><trans-unit id='1[other]' resname='k'><source><ph id='1'>%n</ph> files</source>"
        "<target><ph id='1'>%n</ph></target></trans-unit>",
        u"note missing-placeholder"_qs);
    add("Russian \"one\" without the number, which is 21 too", "ru",
        "<trans-unit id='1[one]' resname='k'><source><ph id='1'>%n</ph> file</source><target>o</target>"
        "</trans-unit>" +
            forms("few=<ph id='1'>%n</ph>;many=<ph id='1'>%n</ph>;other=<ph id='1'>%n</ph>")
                .replace("resname=\"key\"", "resname=\"k\""),
        u"warning missing-placeholder"_qs);
    add("a form for many numbers without the number", "en", forms("one=One;other=Many"),
        u"error missing-placeholder"_qs);
    add("the number put into a form whose source has none", "fr",
        forms("one=<ph id='1'>%n</ph> f;other=<ph id='1'>%n</ph> f"), {});
    add("a name lost from the form for one", "en",
        "<trans-unit id='1[one]' resname='k'><source><ph id='1'>%1</ph> sent a file</source><target>A "
        "file</target></trans-unit><trans-unit id='1[other]' resname='k'><source><ph id='1'>%1</ph> sent "
        "<ph id='2'>%n</ph></source><target><ph id='1'>%1</ph> <ph id='2'>%n</ph></target></trans-unit>",
        u"error missing-placeholder"_qs);
    // Keys and units
    add("a key twice with one text", "fr", unit("a", "b") + unit("a", "b"), u"warning duplicate-key"_qs);
    add("a key with forms and without", "fr", unit("a", "b") + forms("one=c;other=<ph id='1'>%n</ph>"),
        u"warning duplicate-key"_qs);
    add("an identifier that ends in brackets", "fr", unit("a", "b", "0"), u"warning unknown-plural"_qs);
    add("no target", "fr", "<trans-unit id='1' resname='k'><source>a</source></trans-unit>",
        u"warning empty-target"_qs);
    add("a target of blanks", "fr", unit("a", " "), u"warning empty-target"_qs);
    add("nothing to translate", "fr", unit("", ""), {});
    add("a markup element in a text", "fr", unit("a <g id='1'>b</g>", "c <g id='1'>d</g>"),
        u"warning inline-element"_qs);
    // Markup
    text("balanced tags", "&lt;b&gt;a&lt;/b&gt;&lt;br&gt;b", "&lt;b&gt;c&lt;/b&gt;&lt;br/&gt;d", {});
    text("crossed tags", "&lt;b&gt;&lt;i&gt;a&lt;/i&gt;&lt;/b&gt;", "&lt;b&gt;&lt;i&gt;a&lt;/b&gt;&lt;/i&gt;",
         u"error markup"_qs);
    text("a part of a text that goes on", "&lt;b&gt;a", "&lt;b&gt;c", {});
    text("a tag lost", "&lt;b&gt;a&lt;/b&gt;", "c", u"warning markup"_qs);
    text("a tag translated", "&lt;b&gt;a&lt;/b&gt;", "&lt;gras&gt;c&lt;/gras&gt;", u"warning markup"_qs);
    text("angle brackets that are no tags", "a &lt; b &lt;none&gt;", "&lt;rien&gt; c &lt; d", {});
    text("a link with another address", "&lt;a href=\"x\"&gt;a&lt;/a&gt;", "&lt;a href='y'&gt;c&lt;/a&gt;",
         {});
    text("an entity whole", "a &amp;lt; b", "c &amp;lt; d", {});
    text("an entity without its semicolon", "a &amp;nbsp;b", "c &amp;nbsp d", u"warning entity"_qs);
    // The keyboard
    text("a mnemonic on another letter", "&amp;Save", "En&amp;registrer", {});
    text("two mnemonics", "&amp;Save", "&amp;En&amp;registrer", u"warning mnemonic"_qs);
    text("an ampersand that became a mnemonic", "Terms &amp; more", "&amp;Conditions",
         u"warning mnemonic"_qs);
    text("ampersands to show", "R&amp;D &amp;&amp; more", "R&amp;D et autres", {});
    text("another key sequence", "Ctrl+Shift+S", "Ctrl+Alt+S", u"note key-sequence"_qs);
    text("a sentence that names keys", "Press Ctrl+S", "Appuyez sur Ctrl+S", {});
    // Edges
    text("a blank lost at the beginning", " a", "b", u"warning space"_qs);
    text("a no-break space for a blank", "a ", "b&#xA0;", {});
    add("an ideographic colon, which needs no blank", "ja", unit("Name: ", "名前："), {});
    add("Japanese, which has no blanks between words", "ja", unit("Show ", "表示"), {});
    text("a line feed lost at the end", "a\n", "b", u"warning line-feeds"_qs);
    text("another number of line feeds", "a\nb", "c\nd\ne", u"note line-feeds"_qs);
    text("an ellipsis in three dots", "Open…", "Ouvrir...", {});
    add("marks of other scripts", "ar", unit("Why?", "لماذا؟"), {});
    add("a question in Greek", "el", unit("Why?", "Γιατί;"), {});
    add("Thai, which ends without a mark", "th", unit("Saved.", "บันทึกแล้ว"), {});
    add("the same text in the same language", "en-GB", unit("Save all changes", "Save all changes"), {});
    text("the same name", "OpenGL", "OpenGL", {});
    // Characters
    text("a zero width space", "a", "b&#x200B;c", u"warning cue-marker"_qs);
    text("markers in the source", "a&#x2063;", "b", u"error cue-marker"_qs);
    text("a replacement character", "a", "b&#xFFFD;c", u"error control-character"_qs);
    text("a byte order mark", "a", "&#xFEFF;b", u"warning control-character"_qs);
    text("direction controls in pairs", "a", "&#x2067;b &#x202A;c&#x202C;&#x2069;", {});
    text("direction controls that cross", "a", "&#x2067;&#x202A;b&#x2069;&#x202C;", u"warning bidi"_qs);
    text("an isolate that a line feed ends", "a\nb", "&#x2067;c\n&#x2069;d", u"warning bidi"_qs);
    // Documents
    add("a document type declaration", "fr", "<?xml version='1.0'?><!DOCTYPE xliff><xliff/>",
        u"error xml"_qs);
    add("bytes that are not UTF-8", "fr", unit("a", "\xE9t\xE9"), u"error xml"_qs);
    add("half of a surrogate pair", "fr", unit("a", "&#xD83D;"), u"error xml"_qs);
    add("another root", "fr", "<?xml version='1.0'?><html/>", u"error not-xliff"_qs);
    add("more than a megabyte of text", "fr", unit("a", QByteArray(1024 * 1024 + 1, 'b')), u"error limit"_qs);
    add("elements in a comment and in CDATA", "fr", unit("a<!-- <ph>%1</ph> -->", "<![CDATA[b <ph>]]>"), {});
    const QList<QStringList> found = findingsOf(files(documents)).byFile;
    QCOMPARE(found.size(), names.size());
    for (qsizetype i = 0; i < names.size(); ++i)
        row(names.at(i), found.at(i), expectations.at(i));
}

void tst_Check::findsWhatIsWrong()
{
    QFETCH(QStringList, findings);
    QTEST(findings, "expected");
}

void tst_Check::pointsAtThePlace_data()
{
    const DVRows<QByteArray, QByteArray> row("document", "expected");

    row("the whole target",
        "<xliff version='1.2'><file target-language='fr'><body>\n"
        "  <trans-unit id='1' resname='Hi %1'><source>Hi <ph>%1</ph></source>\n"
        "    <target>Salut</target></trans-unit></body></file></xliff>",
        QByteArray("in.xlf:3:13: error: %1 of the source is missing (key \"Hi %1\") [missing-placeholder]\n"
                   "    3 | <target>Salut</target></trans-unit></body></file></xliff>\n"
                   "      |         ^~~~~\n1 error in 1 file\n"));
    // Five characters before the reference, and an ideograph takes two columns of a terminal.
    row("a reference behind wide characters, in a line with Windows' end",
        "<xliff version='1.2'><file target-language='ja'><body>\r\n"
        "<trans-unit id='1' resname='k'><source>a</source>\r\n"
        "<target>あ&lt;い&#x2062;う</target></trans-unit></body></file></xliff>",
        "in.xlf:3:15: error: U+2062 is a marker of review builds, copied with a text (key "
        "\"k\") [cue-marker]\n"
        "    3 | <target>あ&lt;い&#x2062;う</target></trans-unit></body></file></xliff>\n"
        "      |                 ^~~~~~~~\n1 error in 1 file\n");
    const QByteArray padding(200, 'x');
    const QByteArray start =
        "<xliff version='1.2'><file target-language='fr'><body><trans-unit id='1' resname='k'><source>";
    const QByteArray middle = "</source><target>";
    row("a long line is cut",
        start + padding + middle + padding + "&#xFFFD;" + padding +
            "</target></trans-unit></body></file></xliff>",
        "in.xlf:1:" + QByteArray::number(start.size() + middle.size() + 401) +
            ": error: U+FFFD stands where a character was lost in a conversion (key \"k\") "
            "[control-character]\n    1 | ..." +
            padding.left(40) + "&#xFFFD;" + padding.left(52) + "...\n      | " + QByteArray(43, ' ') +
            "^~~~~~~~\n1 error in 1 file\n");
    row("characters that would change the terminal are not written",
        "<xliff version='1.2'><file target-language='fr'><body>\n<trans-unit id='1' "
        "resname='k'><source>a</source>\n<target>\xE2\x80\xAE\xC2\x9B"
        "b</target></trans-unit></body></file></xliff>",
        "in.xlf:3:9: warning: U+202E has no partner in its paragraph; what is shown behind the "
        "text turns with it (key \"k\") [bidi]\n"
        "    3 | <target>\uFFFD\uFFFD"
        "b</target></trans-unit></body></file></xliff>\n      |         ^\n"
        "in.xlf:3:10: error: U+009B is a control character (key \"k\") [control-character]\n"
        "    3 | <target>\uFFFD\uFFFD"
        "b</target></trans-unit></body></file></xliff>\n      |          ^\n"
        "1 error, 1 warning in 1 file\n");
}

void tst_Check::pointsAtThePlace()
{
    QFETCH(QByteArray, document);
    const QString path = file(u"in.xlf"_qs, document);
    QByteArray output = ToolRun::tool({u"check"_qs, path}).output;
    output.replace(path.toUtf8(), "in.xlf");
    QTEST(output, "expected");
}

void tst_Check::readsAFolderWithItsProject()
{
    const TestProject project;
    project.write(u"en.xlf"_qs, documentOf(unit("a", "a").replace("\"key\"", "\"both\"") +
                                               unit("b", "b").replace("\"key\"", "\"base only\""),
                                           "en"));
    project.write(u"fr-CA.xlf"_qs, documentOf(unit("a", "c").replace("\"key\"", "\"both\"") +
                                                  unit("b", "d").replace("\"key\"", "\"French only\""),
                                              "fr-CA"));
    project.write(u"pl.xlf"_qs, documentOf(unit("a", "c").replace("\"key\"", "\"both\""), "cs"));
    // en, fr-CA, pl
    QCOMPARE(findingsOf({project.path()}).byFile,
             (QList<QStringList>{{},
                                 {u"warning untranslated"_qs, u"note unknown-key"_qs},
                                 {u"warning untranslated"_qs, u"error language"_qs}}));
    QCOMPARE(findingsOf({project.path()}, {u"--ignore"_qs, u"untranslated,unknown-key"_qs}).byFile,
             (QList<QStringList>{{}, {}, {u"error language"_qs}}));
    QCOMPARE(findingsOf({project.path() + u"/pl.xlf"_qs},
                        {u"--base"_qs, project.path() + u"/en.xlf"_qs, u"--only"_qs, u"untranslated"_qs})
                 .findings(),
             QStringList{u"warning untranslated"_qs});
    project.write(u"project.json"_qs, "{");
    const ToolRun broken = ToolRun::tool({u"check"_qs, project.path()});
    QCOMPARE(broken.status, 2);
    QVERIFY2(broken.errors.contains("project.json"), broken.errors.constData());
}

void tst_Check::readsFilesByTheirNames_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("language");
    QTest::addColumn<QStringList>("expected");
    const auto row = [](const char *title, const QString &name, const QByteArray &language,
                        const QString &expected) {
        QTest::newRow(title) << name << language << expected.split(u", "_qs, Qt::SkipEmptyParts);
    };
    row("the same", u"fr-CA.xlf"_qs, "fr-CA", {});
    row("the device's form", u"fr_CA.xlf"_qs, "fr-ca", {});
    row("a region that the document does not name", u"fr-CA.xlf"_qs, "fr", {});
    row("another region", u"fr-CA.xlf"_qs, "fr-FR", u"warning language"_qs);
    row("a script for a region", u"zh-TW.xlf"_qs, "zh-Hant", {});
    row("another language", u"fr.xlf"_qs, "pl", u"error language"_qs);
    row("no locale in the name", u"translations.xlf"_qs, "pl", {});
    row("three letters that are no language", u"xyq.xlf"_qs, "pl", {});
}

void tst_Check::readsFilesByTheirNames()
{
    QFETCH(QString, name);
    QFETCH(QByteArray, language);
    QTEST(findingsOf({file(name, documentOf(unit("a", "b"), language))}).findings(), "expected");
}

void tst_Check::exitStatus_data()
{
    const DVRows<QStringList, int, QByteArray> row("arguments", "status", "says");
    const QString warning = file(u"warning.xlf"_qs, documentOf(unit("a", "")));
    const QString note = file(u"note.xlf"_qs, documentOf(unit("a.", "b")));
    row("a warning", {warning}, 0, "1 warning in 1 file");
    row("a warning that counts", {warning, u"--werror"_qs}, 1, "1 warning");
    row("a note does not count", {note, u"--werror"_qs}, 0, "1 note");
    row("a rule that is ignored", {warning, u"--ignore"_qs, u"empty-target"_qs}, 0, "nothing wrong");
    row("several files", {warning, note}, 0, "in 2 files");
    row("a file that is not there, and one that is", {u"/nowhere/fr.xlf"_qs, note}, 2,
        "cannot read /nowhere/fr.xlf");
    row("only a file that is not there", {u"/nowhere/fr.xlf"_qs}, 2, "cannot read /nowhere/fr.xlf");
    row("a base that is not there", {note, u"--base"_qs, u"/nowhere/en.xlf"_qs}, 2, "/nowhere/en.xlf");
    QDir(m_folder.path()).mkdir(u"empty"_qs);
    row("a folder without documents", {m_folder.filePath(u"empty"_qs)}, 2, "there is no .xlf file");
    row("an unknown rule to look for", {note, u"--only"_qs, u"space,no-such-rule"_qs}, 2,
        "there is no rule \"no-such-rule\"");
    row("nothing to check", {}, 2, "FOLDER or FILE is missing");
    row("an unknown rule to explain", {u"--explain"_qs, u"x"_qs}, 2, "there is no rule \"x\"");
    row("an unknown format", {note, u"--format"_qs, u"xml"_qs}, 2, "--format is");
}

void tst_Check::exitStatus()
{
    QFETCH(QStringList, arguments);
    QFETCH(QByteArray, says);
    const ToolRun run = ToolRun::tool(QStringList{u"check"_qs} + arguments);
    QTEST(run.status, "status");
    const QByteArray said = run.output + run.errors;
    QVERIFY2(said.contains(says), said.constData());
    QVERIFY(!run.output.contains('\033'));
    QVERIFY2(!said.contains(" in 0 files"), said.constData());
}

// The members that SARIF 2.1.0 requires of a log, a run, a tool and a result (3.13 to 3.27).
void tst_Check::writesSarif()
{
    const QString path = file(u"sarif.xlf"_qs, documentOf(unit("a", "")));
    const ToolRun run = ToolRun::tool({u"check"_qs, path, u"--format"_qs, u"sarif"_qs});
    const QJsonObject log = QJsonDocument::fromJson(run.output).object();
    QCOMPARE(log.value(u"version"_qs).toString(), u"2.1.0"_qs);
    const QJsonValue first = log.value(u"runs"_qs)[0];
    const QJsonValue driver = first[u"tool"_qs][u"driver"_qs];
    QCOMPARE(driver[u"name"_qs].toString(), u"dorvane"_qs);
    const QJsonValue result = first[u"results"_qs][0];
    QCOMPARE(result[u"level"_qs].toString(), u"warning"_qs);
    QVERIFY(!result[u"message"_qs][u"text"_qs].toString().isEmpty());
    QCOMPARE(driver[u"rules"_qs][result[u"ruleIndex"_qs].toInt()][u"id"_qs], result[u"ruleId"_qs]);
    const QJsonValue place = result[u"locations"_qs][0][u"physicalLocation"_qs];
    QCOMPARE(place[u"artifactLocation"_qs][u"uri"_qs].toString(), path);
    QCOMPARE(place[u"region"_qs][u"startLine"_qs].toInt(), 3);
}

void tst_Check::takesHostileTextsInItsStride_data()
{
    const DVRows<QByteArray> row("content");
    static constexpr qsizetype many = 100000;
    const auto text = [](const QByteArray &piece) {
        const QByteArray whole = piece.repeated(many);
        return unit(whole, whole + "x");
    };
    row("tags that never end", text("&lt;"));
    row("tags", text("&lt;b&gt;"));
    row("ampersands", text("&amp;a"));
    row("placeholders", text("%1"));
    row("elements", text("<ph>%@</ph>"));
    row("isolates", text("\u2066"));
    row("line feeds", text("\n"));
    row("a key again and again", forms("one=<ph>%n</ph>").repeated(many / 4));
}

// Nothing here may take the square of the text's length: then these would take minutes.
void tst_Check::takesHostileTextsInItsStride()
{
    QFETCH(QByteArray, content);
    const ToolRun run = ToolRun::tool(
        {u"check"_qs, file(u"hostile.xlf"_qs, documentOf(content)), u"--format"_qs, u"json"_qs});
    QVERIFY(run.status == 0 || run.status == 1);
}

void tst_Check::exampleProjectHasNoMistakes()
{
    for (const char *folder : {"/examples/project", "/examples/project-update"}) {
        const ToolRun run = ToolRun::tool(
            {u"check"_qs, QStringLiteral(DORVANE_SOURCE_DIR) + QLatin1StringView(folder), u"--werror"_qs});
        QVERIFY2(run.status == 0, run.output.constData());
    }
}

void tst_Check::packRefusesMistakes()
{
    const QString in = file(u"fr.xlf"_qs, documentOf(unit(withElements("Hi |%1|"), "Salut") +
                                                     unit("b", "").replace("\"key\"", "\"other\"")));
    const QString out = m_folder.filePath(u"out.gz"_qs);
    const QStringList arguments{u"pack"_qs, in, out, u"--key"_qs, Delivered::base64()};
    const ToolRun refused = ToolRun::tool(arguments);
    QCOMPARE(refused.status, 1);
    QVERIFY2(refused.errors.contains("fr.xlf:3:") && refused.errors.contains("[missing-placeholder]") &&
                 refused.errors.contains("[empty-target]") && refused.errors.contains("--no-check"),
             refused.errors.constData());
    QVERIFY(!QFile::exists(out));
    const ToolRun packed = ToolRun::tool(arguments + QStringList{u"--no-check"_qs});
    QCOMPARE(packed.status, 0);
    QVERIFY(QFile::exists(out));
}

QTEST_GUILESS_MAIN(tst_Check)
#include "tst_check.moc"
