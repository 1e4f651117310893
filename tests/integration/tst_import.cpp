// dorvane import and export between Qt's own tools: what goes around comes back the same.
#include "ToolProcess.h"
#include <DVRows.h>

#include <DVStrace.h>
#include <DVTestFiles.h>

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>
#include <QTranslator>

#include <memory>
#include <vector>

using namespace Qt::Literals::StringLiterals;

namespace {

#if defined(__SANITIZE_ADDRESS__) || (defined(__has_feature) && __has_feature(address_sanitizer))
constexpr bool sanitized = true;
#else
constexpr bool sanitized = false;
#endif

// What a small application asks for.
struct Asked
{
    QByteArray context;
    QByteArray source;
    QByteArray comment;
    bool counts = false;
};

const QList<Asked> &questions()
{
    static const QList<Asked> list{
        {"Window", "Open", "", false},
        {"Door", "Open", "", false},
        {"Door", "Open", "shop", false},
        {"Window", "&File", "", false},
        {"Menu", "&File", "", false},
        {"Window", "50% of %1 & <b>%L2</b> \"quoted\" 'single'", "", false},
        {"Window", "Line\nfeed\ttab\\n", "", false},
        {"Window", "  spaces  ", "", false},
        {"Window", "\x1b[1mbold\x1b[0m \x01", "", false},
        {"Window", "carriage\r\nreturn", "", false},
        {"Window", "\xF0\x9F\x8C\xBB \xC3\xA9t\xC3\xA9 \xC2\xA0 \xE2\x80\x8F", "", false},
        {"Window", "%s costs %.2f", "", false},
        {"Window", "%n file(s)", "", true},
        {"Door", "%n file(s)", "", true},
        {"Door", "%Ln day(s) of %1", "", true},
        {"Window", "a ]]> <![CDATA[ &amp; -->", "", false},
        {"Fancy::Name<T>", "Deep", "a comment\nof two lines", false},
        {"", "No context", "", false},
        {"Window", QByteArray("Long ") + QByteArray(3000, 'x'), "", false},
    };
    return list;
}

QByteArray cppLiteral(const QByteArray &text)
{
    QByteArray result = "\"";
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x20 || c == '"' || c == '\\' || byte == 0x7F)
            result += '\\' + QByteArray::number(byte, 8).rightJustified(3, '0');
        else
            result += c;
    }
    return result + '"';
}

QByteArray applicationSource()
{
    QByteArray source = "#include <QCoreApplication>\nvoid ask(int n) {\n";
    for (const Asked &asked : questions()) {
        source += "    QCoreApplication::translate(" + cppLiteral(asked.context) + ", " +
                  cppLiteral(asked.source) + ", " + cppLiteral(asked.comment) + (asked.counts ? ", n" : "") +
                  ");\n";
    }
    return source + "}\n";
}

ToolRun qtTool(const char *name, const QStringList &arguments)
{
    return ToolRun::program(QStringLiteral(QT_TOOLS_DIR "/") + QString::fromLatin1(name), arguments);
}

// Every empty translation filled with a text of its own, as a translator would; some left unfinished.
QByteArray translated(const QByteArray &ts)
{
    QByteArray result;
    int number = 0;
    static const QByteArray empty = "<translation type=\"unfinished\"></translation>";
    static const QByteArray forms = "<translation type=\"unfinished\">\n";
    static const QByteArray form = "<numerusform></numerusform>";
    for (QByteArray line : ts.split('\n')) {
        line += '\n';
        const QByteArray text = "T" + QByteArray::number(++number) + " %1 &amp;x &quot; 100%";
        if (line.contains(empty) && number % 9 == 0)
            line.replace(empty,
                         QByteArray("<translation type=\"unfinished\">guess " + text + "</translation>"));
        else if (line.contains(empty) && number % 13 != 0)
            line.replace(empty, QByteArray("<translation>" + text + "</translation>"));
        line.replace(forms, "<translation>\n");
        line.replace(form, QByteArray("<numerusform>%n " + text + "</numerusform>"));
        result += line;
    }
    return result.chopped(1);
}

QStringList answers(const QTranslator &translator)
{
    QStringList result;
    for (const Asked &asked : questions()) {
        for (int n = asked.counts ? 0 : -1; n < (asked.counts ? 201 : 0); ++n)
            result.append(QString::fromUtf8(asked.source) + u'|' + QString::number(n) + u'|' +
                          translator.translate(asked.context.constData(), asked.source.constData(),
                                               asked.comment.constData(), n));
    }
    return result;
}

} // namespace

class tst_Import : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        QTest::failOnWarning(QRegularExpression(u".*"_qs));
        m_folder = std::make_unique<QTemporaryDir>();
    }

    void roundTrip_data();
    void roundTrip();
    void makesAProject();
    void laterImports();
    void keepsWhatSomebodyWrote();
    void reportsConflicts();
    void reportsConflictsAcrossCalls();
    void reportsDuplicates();
    void printsNoControlCharacters();
    void severalAtOnce();
    void stringsFilesOfTheSourceLocale();
    void stringsFiles();
    void refuses_data();
    void refuses();
    void readsTheLocaleFrom_data();
    void readsTheLocaleFrom();
    void manyMessages();
    void killedWhileWriting_data();
    void killedWhileWriting();

private:
    QString path(const QString &name) const { return m_folder->filePath(name); }
    QString project() const { return path(u"garden"_qs); }
    QString write(const QString &name, const QByteArray &content) const
    {
        DVTestFiles::write(path(name), content);
        return path(name);
    }
    QByteArray content(const QString &name) const { return DVTestFiles::read(path(name)); }
    // Messages of one context, each "source" and "translation element".
    static QByteArray ts(const QByteArray &messages, const QByteArray &language = "fr")
    {
        return "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<!DOCTYPE TS>\n<TS version=\"2.1\" language=\"" +
               language + "\">\n<context>\n    <name>A</name>\n" + messages + "</context>\n</TS>\n";
    }
    static QByteArray message(const QByteArray &source, const QByteArray &translation)
    {
        return "    <message>\n        <source>" + source + "</source>\n        " + translation +
               "\n    </message>\n";
    }
    static QByteArray finished(const QByteArray &source, const QByteArray &text)
    {
        return message(source, "<translation>" + text + "</translation>");
    }
    ToolRun import(const QStringList &files, const QStringList &options = {}) const
    {
        return ToolRun::tool(QStringList{u"import"_qs} + files + QStringList{u"--into"_qs, project()} +
                             options);
    }
    // Of messages in app_fr.ts.
    ToolRun importFrench(const QByteArray &messages, const QStringList &options = {}) const
    {
        return import({write(u"app_fr.ts"_qs, ts(messages))}, options);
    }
    QByteArray frenchFile() const { return content(u"garden/fr.xlf"_qs); }
    ToolRun exportTo(const QString &file, const QStringList &options = {}) const
    {
        return ToolRun::tool(QStringList{u"export"_qs, project(), u"--to"_qs, path(file)} + options);
    }
    void compile(const QString &tsName, QTranslator *translator) const
    {
        const QString compiled = path(tsName + u".qm"_qs);
        const ToolRun released = qtTool("lrelease", {u"-silent"_qs, path(tsName), u"-qm"_qs, compiled});
        QVERIFY2(released.status == 0, released.errors.constData());
        QVERIFY(translator->load(compiled));
    }

    std::unique_ptr<QTemporaryDir> m_folder;
};

void tst_Import::roundTrip_data()
{
    const DVRows<QString> row("language");
    for (const char *language : {"fr", "pl", "ar", "ja", "lv", "cy", "he", "ru", "ga", "pt_BR", "mk"})
        row(language, QString::fromLatin1(language));
}

void tst_Import::roundTrip()
{
    QFETCH(QString, language);
    write(u"app/main.cpp"_qs, applicationSource());
    const ToolRun updated = qtTool("lupdate", {u"-silent"_qs, path(u"app"_qs), u"-ts"_qs,
                                               path(u"empty.ts"_qs), u"-target-language"_qs, language});
    QVERIFY2(updated.status == 0, updated.errors.constData());
    const QByteArray original = translated(content(u"empty.ts"_qs));
    QVERIFY(original.contains("<translation>T"));
    write(u"app.ts"_qs, original);
    QTranslator before;
    compile(u"app.ts"_qs, &before);
    const QStringList expected = answers(before);

    const ToolRun imported = import({path(u"app.ts"_qs)});
    QVERIFY2(imported.status == 0, imported.errors.constData());

    // Into the file that it came from: nothing changes.
    ToolRun exported = exportTo(u"same.ts"_qs, {u"--template"_qs, path(u"app.ts"_qs)});
    QVERIFY2(exported.status == 0, exported.errors.constData());
    QCOMPARE(content(u"same.ts"_qs), original);

    // Into a fresh file of lupdate's, and into one of our own making.
    exported = exportTo(u"merged.ts"_qs, {u"--template"_qs, path(u"empty.ts"_qs)});
    QVERIFY2(exported.status == 0, exported.errors.constData());
    exported = exportTo(u"own.ts"_qs);
    QVERIFY2(exported.status == 0, exported.errors.constData());
    for (const QString &name : {u"merged.ts"_qs, u"own.ts"_qs}) {
        const ToolRun converted = qtTool("lconvert", {path(name), u"-o"_qs, path(u"converted.ts"_qs)});
        QVERIFY2(converted.status == 0, converted.errors.constData());
        QTranslator after;
        compile(name, &after);
        const QStringList found = answers(after);
        for (qsizetype i = 0; i < expected.size(); ++i)
            QCOMPARE(found[i], expected[i]);
    }
    QCOMPARE(content(u"merged.ts"_qs), original);
}

void tst_Import::makesAProject()
{
    const ToolRun run = importFrench(finished("Hello %1", "Bonjour %1"));
    QCOMPARE(run.status, 0);
    QVERIFY(run.output.contains("1 new, 0 changed, 0 unchanged"));
    QVERIFY(run.output.contains(QByteArray("\nNext:\n  dorvane check " + project().toUtf8())));
    const QJsonObject made = QJsonDocument::fromJson(content(u"garden/project.json"_qs)).object();
    QCOMPARE(made[u"projectId"].toString(), u"garden"_qs);
    QCOMPARE(made[u"sourceLocale"].toString(), u"en"_qs);
    QCOMPARE(made[u"targetLocales"].toArray(), QJsonArray{u"fr"_qs});
    QCOMPARE(QByteArray::fromBase64(made[u"deliveryKey"].toString().toLatin1()).size(), 32);
    QVERIFY(frenchFile().contains("<target>Bonjour <ph id=\"1\">%1</ph></target>"));
    QCOMPARE(ToolRun::tool({u"check"_qs, project()}).status, 0);

    // A project that somebody wrote: only the locale is added, and nothing twice.
    const QByteArray own =
        "{ \"projectId\": \"x\", \"mine\": [1,2],\n  \"deliveryKey\": \"MDEyMzQ1Njc4OWFiY2RlZg==\","
        "\n  \"targetLocales\": [\"de\"] }\n";
    write(u"garden/project.json"_qs, own);
    QCOMPARE(import({path(u"app_fr.ts"_qs)}).status, 0);
    QCOMPARE(content(u"garden/project.json"_qs), QByteArray(own).replace("[\"de\"]", "[\"de\", \"fr\"]"));
    QCOMPARE(import({path(u"app_fr.ts"_qs)}).status, 0);
    QCOMPARE(content(u"garden/project.json"_qs), QByteArray(own).replace("[\"de\"]", "[\"de\", \"fr\"]"));
}

void tst_Import::laterImports()
{
    importFrench(finished("same", "pareil") + finished("edited", "avant") + finished("gone", "parti") +
                 finished("reopened", "fini"));
    const QByteArray before = frenchFile();
    const QByteArray output =
        importFrench(finished("same", "pareil") + finished("edited", "après") +
                     message("reopened", "<translation type=\"unfinished\">à revoir</translation>") +
                     message("new", "<translation type=\"unfinished\"></translation>") +
                     message("old", "<translation type=\"vanished\">vieux</translation>"))
            .output;
    QVERIFY2(output.contains("1 new, 1 changed, 2 unchanged, 1 not in these files any more (kept); "
                             "2 unfinished (not served); 1 vanished or obsolete (skipped)"),
             output.constData());
    const QByteArray after = frenchFile();
    QVERIFY(after.contains("<target>après</target>"));
    QVERIFY2(after.contains("<target>fini</target>"), "a translation is not lost to an unfinished one");
    QVERIFY(after.contains("<target>parti</target>"));
    QVERIFY(!after.contains("vieux"));
    // Nothing moved: the old file is the new one without what was added, but for the edited text.
    const qsizetype added = after.indexOf("      <trans-unit id=\"new-");
    QVERIFY(added > 0);
    QCOMPARE(after.first(added),
             QByteArray(before.first(before.indexOf("    </body>"))).replace("avant", "après"));
}

// Other tools' attributes and elements, notes and indentation in units that do not change.
void tst_Import::keepsWhatSomebodyWrote()
{
    write(u"app_fr.ts"_qs, ts(finished("a", "un") + finished("b", "deux")));
    const QByteArray own =
        "<?xml version=\"1.0\"?>\n<xliff version=\"1.2\"><file original='x' x:y=\"z\" "
        "xmlns:x=\"urn:x\"><body><!-- <trans-unit> -->\n"
        "\t<trans-unit id='1' resname='a' approved='yes'>\n\t\t<source>a</source><target "
        "state='final'>un</target>\n\t\t<note>mine</note><context-group>"
        "<context context-type='x-qt-context'>A</context></context-group>\n\t</trans-unit>\n"
        "\t<trans-unit id='2' resname='b' approved='no'><source>b</source><target>zwei"
        "</target><note>theirs</note></trans-unit>\n"
        "</body></file></xliff>\n";
    write(u"garden/fr.xlf"_qs, own);
    const ToolRun run = import({path(u"app_fr.ts"_qs)});
    QVERIFY2(run.output.contains("0 new, 1 changed, 1 unchanged"), run.output.constData());
    const QByteArray changed = own.left(own.indexOf("\t<trans-unit id='2'")) +
                               "\t<trans-unit id='2' resname='b' approved='no'>\n"
                               "\t  <source>b</source>\n\t  <target>deux</target>\n"
                               "\t  <context-group purpose=\"information\">\n"
                               "\t    <context context-type=\"x-qt-context\">A</context>\n"
                               "\t  </context-group>\n\t  <note>theirs</note>\n\t</trans-unit>\n"
                               "</body></file></xliff>\n";
    QCOMPARE(frenchFile(), changed);
}

void tst_Import::reportsConflicts()
{
    const QByteArray second = "</context>\n<context>\n    <name>B</name>\n";
    ToolRun run = importFrench(finished("Open", "Ouvrir") + second + finished("Open", "Ouvert"));
    QCOMPARE(run.status, 0);
    const QByteArray report = path(u"app_fr.ts"_qs).toUtf8() +
                              ":6:13: warning: \"Open\" has 2 different translations:\n"
                              "    A: \"Ouvrir\", line 6\n    B: \"Ouvert\", line 13\n  Each is kept";
    QVERIFY2(run.errors.contains(report), run.errors.constData());
    QVERIFY(frenchFile().contains("resname=\"A\u2404Open\""));
    QVERIFY(frenchFile().contains("resname=\"B\u2404Open\""));
    QVERIFY(!frenchFile().contains("resname=\"Open\""));

    run = import({path(u"app_fr.ts"_qs)}, {u"--contexts"_qs, u"never"_qs});
    QVERIFY2(run.errors.contains("The first one is used everywhere"), run.errors.constData());
    const QByteArray plain = frenchFile();
    QVERIFY(plain.sliced(plain.indexOf("resname=\"Open\"")).contains("<target>Ouvrir</target>"));
}

// A later call brings another text for a source that another context has in the folder.
void tst_Import::reportsConflictsAcrossCalls()
{
    const auto imported = [this](const QByteArray &context, const QByteArray &translation) {
        const QByteArray document = ts(message("Quit", "<translation>" + translation + "</translation>"));
        write(u"app_fr.ts"_qs,
              QByteArray(document).replace("<name>A<", QByteArray("<name>" + context + "<")));
        return import({path(u"app_fr.ts"_qs)}).errors;
    };
    QCOMPARE(imported("W", "Quitter"), QByteArray());
    QCOMPARE(imported("W", "Fermer"), QByteArray()); // the same message, edited
    QCOMPARE(imported("X", "Fermer"), QByteArray());
    const QByteArray errors = imported("Y", "Sortir");
    const QByteArray report = ":6:13: warning: \"Quit\" has 2 different translations:\n"
                              "    X: \"Fermer\", in the folder\n    Y: \"Sortir\", line 6\n";
    QVERIFY2(errors.contains(report), errors.constData());
}

void tst_Import::reportsDuplicates()
{
    const ToolRun run =
        importFrench(finished("Open", "Ouvrir") + finished("Open", "Ouvert") + finished("Open", "Ouvrir"));
    QCOMPARE(run.status, 0);
    const QByteArray file = path(u"app_fr.ts"_qs).toUtf8();
    QCOMPARE(run.errors,
             QByteArray(file + ":10:13: warning: \"Open\" is a duplicate with another translation:\n    " +
                        file + ":6:13: \"Ouvrir\"\n    " + file +
                        ":10:13: \"Ouvert\"\n  The first one is kept. Remove one of them.\n"));
    QVERIFY2(run.output.contains("1 new, 0 changed, 0 unchanged; 1 duplicate (left out)"),
             run.output.constData());
    QVERIFY(frenchFile().contains("resname=\"Open\""));
}

// Nothing of a file's texts or of its name commands the terminal.
void tst_Import::printsNoControlCharacters()
{
    const QByteArray evil = "<byte value=\"x1b\"/>[2J\u202Ex\u2066\u009B";
    const QByteArray context = "</context><context><name>B" + evil + "</name>";
    const QString name = u"a\x1b[1m\u202Eb_fr.ts"_qs;
    write(name, ts(message("s" + evil, "<translation>a\u202E</translation>") + context +
                   message("s" + evil, "<translation>b</translation>") +
                   message("s" + evil, "<translation>c</translation>")));
    const ToolRun good = import({path(name)});
    QCOMPARE(good.status, 0);
    QVERIFY2(good.errors.contains("has 2 different translations"), good.errors.constData());
    QVERIFY2(good.errors.contains("is a duplicate"), good.errors.constData());
    write(name, "<html/>");
    const ToolRun bad = import({path(name)});
    QCOMPARE(bad.status, 1);
    for (const QByteArray &output : {good.output, good.errors, bad.errors}) {
        QVERIFY2(output.contains("\uFFFD"), output.constData());
        for (const char *c : {"\x1b", "\u202E", "\u2066", "\u009B"})
            QVERIFY2(!output.contains(c), c);
    }
}

void tst_Import::severalAtOnce()
{
    constexpr int imports = 4;
    std::vector<std::unique_ptr<QProcess>> processes;
    for (int i = 0; i < imports; ++i) {
        QByteArray messages;
        for (int k = 0; k < 500; ++k) {
            const QByteArray text = QByteArray::number(i) + '.' + QByteArray::number(k);
            messages += message("s" + text, "<translation>t" + text + "</translation>");
        }
        const QString file = write(u"c%1.ts"_qs.arg(i), ts(messages));
        processes.push_back(std::make_unique<QProcess>());
        processes.back()->start(QStringLiteral(DORVANE_TOOL), {u"import"_qs, file, u"--into"_qs, project()});
    }
    int made = 0;
    for (const auto &process : processes) {
        QVERIFY(process->waitForFinished(60000));
        QVERIFY2(process->exitCode() == 0, process->readAllStandardError().constData());
        made += process->readAllStandardOutput().contains("with a fresh delivery key") ? 1 : 0;
    }
    QCOMPARE(made, 1);
    QCOMPARE(frenchFile().count("<target>t"), imports * 500);
    QCOMPARE(QDir(project()).entryList(QDir::Files | QDir::Hidden, QDir::Name),
             QStringList({u"fr.xlf"_qs, u"project.json"_qs}));
}

// The language that their keys are not written in: each text is its own source, in whichever order.
void tst_Import::stringsFilesOfTheSourceLocale()
{
    const QString english = write(u"en.lproj/Localizable.strings"_qs, "\"hello\" = \"Hello %@\";");
    const QString french = write(u"fr.lproj/Localizable.strings"_qs, "\"hello\" = \"Bonjour %@\";");
    for (const QStringList &files : {QStringList{english, french}, QStringList{french, english}}) {
        QDir(project()).removeRecursively();
        const ToolRun run = import(files);
        QVERIFY2(run.status == 0, run.errors.constData());
        const QByteArray source = "<source>Hello <ph id=\"1\">%@</ph></source>";
        QVERIFY(content(u"garden/en.xlf"_qs).contains(source));
        QVERIFY(content(u"garden/en.xlf"_qs).contains("<target>Hello <ph id=\"1\">%@</ph></target>"));
        QVERIFY(frenchFile().contains(source));
        QVERIFY(frenchFile().contains("<target>Bonjour <ph id=\"1\">%@</ph></target>"));
        const ToolRun checked = ToolRun::tool({u"check"_qs, project(), u"--werror"_qs});
        QVERIFY2(checked.status == 0, checked.output.constData());
    }
}

void tst_Import::stringsFiles()
{
    write(u"en.lproj/Localizable.strings"_qs, "\"count\" = \"%d of %@ (50%)\"; \"quit\" = \"Quit\";");
    write(u"fr.lproj/Localizable.strings"_qs,
          "/* x */ \"count\" = \"%1$d de %2$@\"; \"quit\" = \"Quitter \\\"\";");
    const ToolRun run =
        import({path(u"en.lproj/Localizable.strings"_qs), path(u"fr.lproj/Localizable.strings"_qs)});
    QVERIFY2(run.status == 0, run.errors.constData());
    const QByteArray written = frenchFile();
    QVERIFY(written.contains("<source><ph id=\"1\">%d</ph> of <ph id=\"2\">%@</ph> (50%)</source>"));
    QVERIFY(written.contains("<target><ph id=\"1\">%1$d</ph> de <ph id=\"2\">%2$@</ph></target>"));
    QVERIFY(written.contains("<source>Quit</source>"));
    QCOMPARE(exportTo(u"out/"_qs, {u"--format"_qs, u"strings"_qs}).status, 0);
    QCOMPARE(content(u"out/fr.lproj/Localizable.strings"_qs),
             QByteArray("\"count\" = \"%1$d de %2$@\";\n\n\"quit\" = \"Quitter \\\"\";\n\n"));
    QCOMPARE(exportTo(u"out/"_qs, {u"--format"_qs, u"xliff"_qs}).status, 0);
    QCOMPARE(content(u"out/garden_fr.xliff"_qs), written);
}

void tst_Import::refuses_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("document");
    QTest::addColumn<QByteArray>("says"); // after the file's path
    const auto row = [](const char *title, const char *name, const QByteArray &document, const char *says) {
        QTest::newRow(title) << QString::fromLatin1(name) << document << QByteArray(says);
    };
    row("an end that is missing", "a_fr.ts", ts(message("a", "<translation>b")), ":9:15: ");
    row("a document type declaration with entities", "a_fr.ts",
        "<!DOCTYPE TS [<!ENTITY a \"b\">]>\n<TS language=\"fr\"/>", ":1:1: ");
    row("another document type", "a_fr.ts", "<!DOCTYPE html>\n<TS language=\"fr\"/>", ":1:1: ");
    row("one with an address", "a_fr.ts",
        "<!DOCTYPE TS SYSTEM \"file:///etc/passwd\">\n<TS language=\"fr\"/>", ":1:1: ");
    row("another root element", "a_fr.ts", "<html/>", "this is no .ts file");
    row("a character that is none", "a_fr.ts", ts(message("<byte value=\"xzz\"/>", "")),
        "<byte value=\"xzz\"/> is no character");
    row("no language anywhere", "app.ts", "<TS><context/></TS>", "does not say which language it is in");
    row("nothing", "a_fr.ts", "", ":1:1: ");
    row("not UTF-8", "a_fr.ts", ts(message("\xFF", "")), ":7:");
    row("no strings file", "fr.strings", "\"a\" = ", "this is no strings file");
    row("an XLIFF document of two languages", "x.xlf",
        "<xliff version=\"1.2\"><file target-language=\"fr\"><body/></file>\n"
        "<file target-language=\"de\"><body/></file></xliff>",
        ":2:27: the document has files for fr and for de: make it one document for each language");
    for (const char *language : {"../../x", "C", "nonsense", "fr_FR.UTF-8"}) {
        QTest::addRow("the language \"%s\"", language)
            << u"a_fr.ts"_qs << ts(finished("a", "b"), language)
            << QByteArray("which is no locale identifier: say it with --locale, such as --locale fr");
    }
    row("XLIFF 2", "fr.xlf", "<xliff version=\"2.0\"/>", "save or export it as XLIFF 1.2");
    row("another kind of file", "fr.po", "msgid", "files that end in .ts, .strings, .xlf or .xliff");
    row("65 levels of tags too many", "a_fr.ts",
        "<TS language=\"fr\">" + QByteArray("<x>").repeated(400) + QByteArray("</x>").repeated(400) + "</TS>",
        ":1:");
}

void tst_Import::refuses()
{
    QFETCH(QString, name);
    QFETCH(QByteArray, document);
    QFETCH(QByteArray, says);
    write(name, document);
    const ToolRun run = import({path(name)});
    QCOMPARE(run.status, 1);
    QVERIFY2(run.errors.contains(path(name).toUtf8()), run.errors.constData());
    QVERIFY2(run.errors.contains(says), run.errors.constData());
    QVERIFY2(!QFileInfo::exists(project()), "nothing is made of a file that cannot be read");
}

void tst_Import::readsTheLocaleFrom_data()
{
    const DVRows<QString, QByteArray, QStringList, QString> row("name", "document", "options", "file");
    const QByteArray silent =
        "<TS><context><name>A</name><message><source>a</source></message></context></TS>";
    row("what the file says", u"app_de.ts"_qs, ts(message("a", ""), "fr_CA"), {}, u"fr-CA.xlf"_qs);
    row("the option before all", u"app_de.ts"_qs, ts(message("a", "")), {u"--locale"_qs, u"pt_BR"_qs},
        u"pt-BR.xlf"_qs);
    row("the name", u"my.app_zh_TW.ts"_qs, silent, {}, u"zh-TW.xlf"_qs);
    row("a name that is the language", u"pl.ts"_qs, silent, {}, u"pl.xlf"_qs);
    row("the folder of a strings file", u"pt_PT.lproj/Localizable.strings"_qs, "\"a\" = \"b\";", {},
        u"pt-PT.xlf"_qs);
    row("an XLIFF document", u"x.xliff"_qs,
        "<xliff><file target-language=\"nl\"><body><trans-unit id=\"1\">"
        "<source>a</source></trans-unit></body></file></xliff>",
        {}, u"nl.xlf"_qs);
}

void tst_Import::readsTheLocaleFrom()
{
    QFETCH(QString, name);
    QFETCH(QByteArray, document);
    QFETCH(QStringList, options);
    QFETCH(QString, file);
    write(name, document);
    const ToolRun run = import({path(name)}, options);
    QVERIFY2(run.status == 0, run.errors.constData());
    QVERIFY2(QFileInfo::exists(path(u"garden/"_qs + file)), run.output.constData());
}

// Time is judged for growing with the square only: five times the messages may take at most twelve times as
// long.
void tst_Import::manyMessages()
{
    const auto importOf = [this](int count) {
        QByteArray messages;
        for (int i = 0; i < count; ++i) {
            // Half of them share their source with other contexts.
            const QByteArray number = QByteArray::number(i);
            messages += message("Message " + (i % 2 == 0 ? number : "x"),
                                "<translation>Traduction " + number + "</translation>");
            if (i % 2 == 0)
                messages += "</context><context><name>C" + number + "</name>";
        }
        write(u"big_fr.ts"_qs, ts(messages));
        QDir(project()).removeRecursively();
        QElapsedTimer timer;
        timer.start();
        const bool isGood = import({path(u"big_fr.ts"_qs)}).status == 0 &&
                            import({path(u"big_fr.ts"_qs)}).output.contains("0 new, 0 changed");
        return isGood ? std::max<qint64>(timer.elapsed(), 1) : -1;
    };
    constexpr int many = sanitized ? 10'000 : 50'000;
    const qint64 fifth = importOf(many / 5);
    qint64 whole = importOf(many);
    for (int i = 0; i < 3 && whole >= 12 * fifth; ++i) // again where a neighbour took the time
        whole = std::min(whole, importOf(many));
    QVERIFY(fifth > 0 && whole > 0);
    QVERIFY2(whole < 12 * fifth, qPrintable(u"%1 ms, %2 ms"_qs.arg(fifth).arg(whole)));
}

void tst_Import::killedWhileWriting_data()
{
    QTest::addColumn<QString>("calls");
    QTest::addColumn<QString>("fault");
    for (const char *calls : {"write,pwrite64", "rename,renameat,renameat2", "link,linkat,unlink,unlinkat",
                              "fsync,fdatasync", "ftruncate,chmod,fchmod"}) {
        QTest::addRow("killed at each %s", calls) << QString::fromLatin1(calls) << u"signal=SIGKILL"_qs;
        QTest::addRow("a full disk at each %s", calls) << QString::fromLatin1(calls) << u"error=ENOSPC"_qs;
    }
}

// The old file or the new one, never a half, at whichever call it happens; and the next import works.
void tst_Import::killedWhileWriting()
{
    QFETCH(QString, calls);
    QFETCH(QString, fault);
    if (sanitized)
        QSKIP("a sanitizer writes to pipes of its own, and waits for ever for what it could not write");
    if (!DVStrace::works())
        QSKIP("strace may not trace here");
    QCOMPARE(importFrench(finished("a", "avant")).status, 0);
    const QByteArray before = frenchFile();
    const QByteArray after = QByteArray(before).replace("avant", "après");
    write(u"app_fr.ts"_qs, ts(finished("a", "après")));
    constexpr int mostCalls = 50;
    int nth = 1;
    for (; nth < mostCalls; ++nth) {
        write(u"garden/fr.xlf"_qs, before);
        QStringList command = DVStrace::command(
            {QString(u"inject="_qs + calls + u':' + fault + u":when="_qs + QString::number(nth))},
            path(u"trace"_qs));
        command << QStringLiteral(DORVANE_TOOL) << u"import"_qs << path(u"app_fr.ts"_qs) << u"--into"_qs
                << project();
        const ToolRun run = ToolRun::program(command.takeFirst(), command);
        const QByteArray found = frenchFile();
        QVERIFY2(found == before || found == after, found.constData());
        if (run.status == 0 && !content(u"trace"_qs).contains("INJECTED"))
            break; // there is no call of that number
    }
    QVERIFY(nth < mostCalls);
    QCOMPARE(import({path(u"app_fr.ts"_qs)}).status, 0);
    QCOMPARE(frenchFile(), after);
}

QTEST_GUILESS_MAIN(tst_Import)
#include "tst_import.moc"
