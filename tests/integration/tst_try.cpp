// The application without windows, as a process, against the stand-in and against servers that misbehave.
#include "DVFaultServer.h"
#include "TestProject.h"
#include "ToolProcess.h"
#include "TryProcess.h"
#include <DVRows.h>

#include <QRegularExpression>
#include <QSaveFile>

#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace {

const QByteArray dynamicDocument =
    "<xliff version=\"1.2\"><file><body>\n"
    "<trans-unit id=\"1\" resname=\"Hello\"><source>Hello</source><target>Bonjour</target></trans-unit>\n"
    "<trans-unit id=\"2\" resname=\"to %1\"><source>to %1</source><target>\xC3\xA0 %1</target>"
    "</trans-unit>\n" // loose placeholders: the stand-in puts them into elements
    "<trans-unit id=\"4\" resname=\"Send %@\"><source>Send <ph>%@</ph></source><target>Envoyer "
    "<ph>%@</ph></target></trans-unit>\n"
    "<trans-unit id=\"3[one]\" resname=\"%n file(s)\"><source><ph>%n</ph> file</source><target><ph>%n</ph> "
    "fichier</target>"
    "</trans-unit>\n"
    "<trans-unit id=\"3[other]\" resname=\"%n file(s)\"><source><ph>%n</ph> "
    "files</source><target><ph>%n</ph> fichiers"
    "</target></trans-unit>\n</body></file></xliff>\n";

QList<QJsonObject> objects(const QByteArray &output)
{
    QList<QJsonObject> list;
    for (const QByteArray &line : output.trimmed().split('\n'))
        list.append(QJsonDocument::fromJson(line).object());
    return list;
}

QJsonObject startMembers(const QJsonObject &servers, QJsonObject options = {})
{
    options.insert(u"mode"_qs, u"DVOTAServing"_qs);
    options.insert(u"otaKey"_qs, Delivered::base64());
    options.insert(u"servers"_qs, servers);
    options.insert(u"analytics"_qs, false);
    return {{u"projectId"_qs, u"garden"_qs}, {u"options"_qs, options}};
}

QJsonObject startMembers(const ServeProcess &server, const QJsonObject &options = {})
{
    const QByteArray option = server.ready().split('\n').at(1);
    return startMembers(QJsonDocument::fromJson(option).object().value(u"servers"_qs).toObject(), options);
}

} // namespace

class tst_Try : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        QTest::failOnWarning(QRegularExpression(u".*"_qs));
        m_data = std::make_unique<QTemporaryDir>();
        m_project = std::make_unique<TestProject>();
    }

    void servesWhatWasPublished();
    void findsTheStringsOfAText();
    void beforeTheStartTheBundleAnswers();
    void aStartIsNoEventToWaitFor();
    void changesTheLocale();
    void followsTheDevice();
    void theStartHoldsTheApplication();
    void repliesKeepTheirOrder_data();
    void repliesKeepTheirOrder();
    void aTerminalWorks();
    void badLines_data();
    void badLines();
    void anOverlongLineIsOneBadLine();
    void projectLocalesNeedCredentials();
    void standardOutputHoldsRepliesOnly();
    void refusesWrongOptions_data();
    void refusesWrongOptions();

private:
    QString dataDir() const { return m_data->path(); }

    std::unique_ptr<QTemporaryDir> m_data;
    std::unique_ptr<TestProject> m_project;
};

void tst_Try::servesWhatWasPublished()
{
    m_project->write(u"fr-CA.xlf"_qs, dynamicDocument);
    const ServeProcess server(m_project->path());
    TryProcess host(dataDir());
    const QJsonObject started = host.ask(u"start"_qs, startMembers(server));
    QCOMPARE(started.value(u"reply"_qs), QJsonValue(u"start"_qs));
    QCOMPARE(started.value(u"launched"_qs), QJsonValue(true));
    QVERIFY(started.value(u"elapsedMs"_qs).isDouble());
    QCOMPARE(host.events(), 1);

    QCOMPARE(host.lookup(u"Hello"_qs), u"Bonjour"_qs);
    QCOMPARE(host.lookup(u"Nobody knows"_qs), u"Nobody knows"_qs);
    QCOMPARE(
        host.text(u"lookup"_qs, {{u"key"_qs, u"none"_qs}, {u"value"_qs, u"v"_qs}, {u"table"_qs, u"T"_qs}}),
        u"v"_qs);
    QCOMPARE(host.text(u"tr"_qs, {{u"context"_qs, u"Main"_qs}, {u"text"_qs, u"Hello"_qs}}), u"Bonjour"_qs);
    QCOMPARE(host.text(u"tr"_qs, {{u"text"_qs, u"Hello"_qs}}), u"Bonjour"_qs);
    const auto files = [&host](int n) {
        return host.text(u"tr"_qs,
                         {{u"context"_qs, u"Main"_qs}, {u"text"_qs, u"%n file(s)"_qs}, {u"n"_qs, n}});
    };
    QCOMPARE(files(1), u"1 fichier"_qs);
    QCOMPARE(files(7), u"7 fichiers"_qs);
    const QJsonObject key{{u"key"_qs, u"%n file(s)"_qs}};
    QJsonObject plural = key;
    plural.insert(u"number"_qs, 1);
    QCOMPARE(host.text(u"plural"_qs, plural), u"%n fichier"_qs);
    plural.insert(u"number"_qs, 2.5);
    QCOMPARE(host.text(u"plural"_qs, plural), u"%n fichiers"_qs);

    QCOMPARE(host.ask(u"locale"_qs),
             (QJsonObject{
                 {u"reply"_qs, u"locale"_qs}, {u"locale"_qs, u"fr_CA"_qs}, {u"baseLocale"_qs, u"en"_qs}}));
    const auto strings = [&host](const QString &which) {
        return host.ask(u"strings"_qs, {{u"which"_qs, which}}).value(u"strings"_qs).toObject();
    };
    QCOMPARE(strings(u"localized"_qs).value(u"to %1"_qs), QJsonValue(u"à %1"_qs));
    QCOMPARE(strings(u"base"_qs).value(u"to %1"_qs), QJsonValue(u"to %1"_qs));

    const QJsonObject state = host.ask(u"diagnostics"_qs);
    const QJsonObject value = state.value(u"diagnostics"_qs).toObject();
    QCOMPARE(value.value(u"start"_qs), QJsonValue(u"launched"_qs));
    QCOMPARE(value.value(u"servedLocale"_qs), QJsonValue(u"fr_CA"_qs));
    QCOMPARE(value.value(u"deliveries"_qs)[0][u"outcome"_qs], QJsonValue(u"fresh"_qs));
    QCOMPARE(value.value(u"files"_qs)[0][u"source"_qs], QJsonValue(u"overTheAir"_qs));
    QVERIFY(state.value(u"text"_qs).toString().startsWith(u"Dorvane "_qs));
    const QJsonObject origin = host.ask(u"diagnostics"_qs, key);
    QCOMPARE(origin.value(u"origin"_qs)[u"source"_qs], QJsonValue(u"overTheAir"_qs));
    QVERIFY(origin.value(u"text"_qs).toString().contains(u"over-the-air strings fr_CA"_qs));

    const double before = host.ask(u"clock"_qs).value(u"now"_qs).toDouble();
    const double after = host.ask(u"clock"_qs, {{u"advanceMs"_qs, 3600000}}).value(u"now"_qs).toDouble();
    QVERIFY2(after - before >= 3600 && after - before < 3660, qPrintable(QString::number(after - before)));
}

void tst_Try::findsTheStringsOfAText()
{
    m_project->write(u"fr-CA.xlf"_qs, dynamicDocument);
    const ServeProcess server(m_project->path());
    TryProcess host(dataDir());
    host.ask(u"start"_qs, startMembers(server, {{u"allowLocaleChange"_qs, true}}));
    const QString hello = host.lookup(u"Hello"_qs);
    QCOMPARE(hello, u"\u200BBonjour\u2062"_qs);
    const QString send = host.lookup(u"Send %@"_qs).replace(u"%@"_qs, hello);
    QCOMPARE(send, u"\u200BEnvoyer \u2063\u200BBonjour\u2062\u2064\u2062"_qs);
    const QString unknown = u"\u200BInconnu\u2062"_qs;

    const auto piece = [](const QString &text, const QJsonValue &key, int level) {
        return QJsonObject{{u"text"_qs, text}, {u"key"_qs, key}, {u"level"_qs, level}};
    };
    const QJsonArray pieces = host.ask(u"find"_qs, {{u"text"_qs, QString(hello + u", " + send + unknown)}})
                                  .value(u"pieces"_qs)
                                  .toArray();
    QCOMPARE(pieces, (QJsonArray{piece(unknown, {}, 1), piece(hello, u"Hello"_qs, 2),
                                 piece(send, u"Send %@"_qs, 1), piece(hello, u"Hello"_qs, 1)}));
    QCOMPARE(host.ask(u"find"_qs, {{u"text"_qs, u"no markers"_qs}}).value(u"pieces"_qs).toArray(),
             QJsonArray());
    const QString deep = QString(100000, QChar(0x200B)) + QString(100000, QChar(0x2062));
    QVERIFY(host.ask(u"find"_qs, {{u"text"_qs, deep}}).contains(u"error"_qs));
}

void tst_Try::beforeTheStartTheBundleAnswers()
{
    const QTemporaryDir bundle;
    DVTestFiles::write(bundle.filePath(u"fr.lproj/Localizable.strings"_qs), "\"Hello\" = \"Allo\";\n");
    TryProcess host(dataDir(), {u"--bundle"_qs, bundle.path()});
    QCOMPARE(host.lookup(u"Hello"_qs), u"Allo"_qs);
    QCOMPARE(host.text(u"tr"_qs, {{u"context"_qs, u"Main"_qs}, {u"text"_qs, u"Hello"_qs}}), u"Hello"_qs);
    QCOMPARE(host.ask(u"locale"_qs), (QJsonObject{{u"reply"_qs, u"locale"_qs},
                                                  {u"locale"_qs, QJsonValue::Null},
                                                  {u"baseLocale"_qs, QJsonValue::Null}}));
    for (const QString &which : {u"localized"_qs, u"base"_qs})
        QCOMPARE(host.ask(u"strings"_qs, {{u"which"_qs, which}}).value(u"strings"_qs),
                 QJsonValue(QJsonValue::Null));

    QCOMPARE(host.ask(u"start"_qs, {{u"projectId"_qs, QJsonValue::Null}}).value(u"launched"_qs),
             QJsonValue(false));
    QCOMPARE(host.ask(u"start"_qs, {{u"projectId"_qs, u""_qs}}).value(u"launched"_qs), QJsonValue(true));
}

void tst_Try::aStartIsNoEventToWaitFor()
{
    const ServeProcess server(m_project->path());
    TryProcess host(dataDir());
    host.ask(u"start"_qs, startMembers(server));
    QCOMPARE(host.events(), 1);
    const QJsonObject wait{{u"event"_qs, u"stringsUpdated"_qs}, {u"timeoutMs"_qs, 20}};
    QCOMPARE(host.ask(u"wait"_qs, wait).value(u"waited"_qs), QJsonValue(false));

    // One that came on its own before anybody waited does count, once.
    host.ask(u"clock"_qs, {{u"advanceMs"_qs, 7200000}});
    m_project->publish("Salut");
    QCOMPARE(host.ask(u"foreground"_qs), (QJsonObject{{u"reply"_qs, u"foreground"_qs}}));
    for (int tries = 0; tries < 1000 && host.events() == 1; ++tries)
        host.ask(u"wait"_qs, {{u"ms"_qs, 10}});
    QCOMPARE(host.events(), 2);
    QCOMPARE(host.ask(u"wait"_qs, wait).value(u"waited"_qs), QJsonValue(true));
    QCOMPARE(host.ask(u"wait"_qs, wait).value(u"waited"_qs), QJsonValue(false));
    QCOMPARE(host.lookup(u"Hello"_qs), u"Salut"_qs);
}

void tst_Try::changesTheLocale()
{
    m_project->write(u"pl.xlf"_qs, TestProject::document("Cześć"));
    const ServeProcess server(m_project->path());
    TryProcess host(dataDir());
    host.ask(u"start"_qs, startMembers(server, {{u"allowLocaleChange"_qs, true}}));
    // The completion comes with the download; what was asked meanwhile is answered behind it.
    host.send(TryProcess::doing(u"setLocale"_qs, {{u"id"_qs, u"pl"_qs}}));
    host.send(TryProcess::doing(u"lookup"_qs, {{u"key"_qs, u"Hello"_qs}}));
    QCOMPARE(host.reply(), (QJsonObject{{u"reply"_qs, u"setLocale"_qs}, {u"success"_qs, true}}));
    QCOMPARE(host.reply().value(u"text"_qs), QJsonValue(u"\u200BCześć\u2062"_qs));
    QCOMPARE(host.ask(u"locale"_qs).value(u"locale"_qs), QJsonValue(u"pl"_qs));
    QCOMPARE(host.ask(u"setLocale"_qs, {{u"id"_qs, u"de"_qs}}).value(u"success"_qs), QJsonValue(false));

    TryProcess fixed(dataDir());
    fixed.ask(u"start"_qs, startMembers(server));
    QCOMPARE(fixed.ask(u"setLocale"_qs, {{u"id"_qs, u"pl"_qs}}).value(u"success"_qs), QJsonValue(false));
    QCOMPARE(fixed.lookup(u"Hello"_qs), u"Bonjour"_qs);
}

void tst_Try::followsTheDevice()
{
    m_project->setProject({{u"targetLocales"_qs, QJsonArray{u"fr-CA"_qs, u"pl-PL"_qs}}});
    m_project->write(u"pl-PL.xlf"_qs, TestProject::document("Cześć"));
    const ServeProcess server(m_project->path());
    TryProcess host(dataDir(), {u"--system-version"_qs, u"17.0"_qs});
    host.ask(u"start"_qs, startMembers(server));
    const QJsonObject polish{{u"languages"_qs, QJsonArray{u"pl-PL"_qs}}, {u"locale"_qs, u"pl_PL"_qs}};
    QCOMPARE(host.ask(u"deviceLocale"_qs, polish), (QJsonObject{{u"reply"_qs, u"deviceLocale"_qs}}));
    QCOMPARE(host.ask(u"locale"_qs).value(u"locale"_qs), QJsonValue(u"pl_PL"_qs));
    QCOMPARE(host.lookup(u"Hello"_qs), u"Cześć"_qs);
}

void tst_Try::theStartHoldsTheApplication()
{
    DVFaultServer silent;
    silent.setHandler([](const DVFaultServer::Request &) {
        return DVFaultServer::Answer::failing(DVFaultServer::Fault::Silence);
    });
    const QJsonObject servers{{u"deliveryCdn"_qs, silent.url(u"/projects"_qs)}};
    TryProcess host(dataDir());
    const QJsonObject started = host.ask(u"start"_qs, startMembers(servers, {{u"syncTimeout"_qs, 1}}));
    const int elapsed = started.value(u"elapsedMs"_qs).toInt();
    QVERIFY2(elapsed >= 1000 && elapsed < 3000, qPrintable(QString::number(elapsed)));
    QCOMPARE(started.value(u"launched"_qs), QJsonValue(true));
    QCOMPARE(silent.requests().constFirst().target,
             QByteArray("/projects/garden/1.0/fr-CA/strings.gz/force"));
    QCOMPARE(host.lookup(u"Hello"_qs), u"Hello"_qs);
}

void tst_Try::repliesKeepTheirOrder_data()
{
    const DVRows<bool> row("fromFile");
    row("a pipe that closes at once", false);
    row("a file", true);
}

void tst_Try::repliesKeepTheirOrder()
{
    QFETCH(bool, fromFile);
    QByteArray script = "{\"do\":\"wait\",\"ms\":50}\n{\"do\":\"none\"}\r\n{\"do\":\"wait\",\"ms\":0}\n";
    for (int i = 0; i < 2000; ++i)
        script += "{\"do\":\"lookup\",\"key\":\"k" + QByteArray::number(i) + "\"}\n";
    script += "{\"do\":\"lookup\",\"key\":\"no line end\"}";
    const QString file = m_data->filePath(u"script.jsonl"_qs);
    DVTestFiles::write(file, script);
    QProcess process;
    if (fromFile)
        process.setStandardInputFile(file);
    process.start(QStringLiteral(DORVANE_TOOL), {u"try"_qs, u"--data-dir"_qs, dataDir()});
    if (!fromFile) {
        process.write(script);
        process.closeWriteChannel();
    }
    QVERIFY(process.waitForFinished(30000));
    QCOMPARE(process.exitCode(), 0);
    const QList<QJsonObject> replies = objects(process.readAllStandardOutput());
    QCOMPARE(replies.size(), 2004);
    QCOMPARE(replies.at(0), (QJsonObject{{u"reply"_qs, u"wait"_qs}, {u"waited"_qs, true}}));
    QVERIFY(replies.at(1).contains(u"error"_qs));
    for (int i = 0; i < 2000; ++i)
        QCOMPARE(replies.at(i + 3).value(u"text"_qs).toString(), u"k%1"_qs.arg(i));
    QCOMPARE(replies.constLast().value(u"text"_qs), QJsonValue(u"no line end"_qs));
}

void tst_Try::aTerminalWorks()
{
    const int terminal = ::posix_openpt(O_RDWR | O_NOCTTY);
    QVERIFY(terminal >= 0 && ::grantpt(terminal) == 0 && ::unlockpt(terminal) == 0);
    QProcess process;
    process.setStandardInputFile(QString::fromLocal8Bit(::ptsname(terminal)));
    process.start(QStringLiteral(DORVANE_TOOL), {u"try"_qs, u"--data-dir"_qs, dataDir()});
    QVERIFY(process.waitForStarted());
    const QByteArray line = "{\"do\":\"lookup\",\"key\":\"typed\"}\n";
    QCOMPARE(::write(terminal, line.constData(), size_t(line.size())), line.size());
    while (!process.canReadLine())
        QVERIFY(process.waitForReadyRead(10000));
    QCOMPARE(objects(process.readLine()).constFirst().value(u"text"_qs), QJsonValue(u"typed"_qs));
    QCOMPARE(process.state(), QProcess::Running);
    QCOMPARE(::write(terminal, "\x04", 1), 1); // the end of the input, as typed
    QVERIFY(process.waitForFinished(10000));
    QCOMPARE(process.exitCode(), 0);
    ::close(terminal);
}

void tst_Try::badLines_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<QString>("reply"); // null: no command was recognised

    const auto row = [](const char *name, const QByteArray &line, const QString &reply = {}) {
        QTest::newRow(name) << line << reply;
    };
    row("nothing", "");
    row("no JSON", "start");
    row("half an object", "{\"do\":\"start\"");
    row("an array", "[\"start\"]");
    row("an object without a command", "{\"key\":\"Hello\"}");
    row("a command that is a number", "{\"do\":7}");
    row("an unknown command", "{\"do\":\"stop\"}");
    row("another letter case", "{\"do\":\"Start\"}");
    row("bytes that are no UTF-8", "{\"do\":\"\xFF\xFE\"}");
    row("a zero byte", QByteArray("{\"do\":\"start\"}\0", 15));
    row("deep nesting", QByteArray(100000, '['));
    row("a project id that is a number", "{\"do\":\"start\",\"projectId\":7}", u"start"_qs);
    row("options that are a list", "{\"do\":\"start\",\"projectId\":\"p\",\"options\":[1]}", u"start"_qs);
    row("a lookup without a key", "{\"do\":\"lookup\"}", u"lookup"_qs);
    row("a key that is a number", "{\"do\":\"lookup\",\"key\":1}", u"lookup"_qs);
    row("a translation of nothing", "{\"do\":\"tr\",\"context\":\"c\"}", u"tr"_qs);
    row("a count that is no whole number", "{\"do\":\"tr\",\"text\":\"t\",\"n\":1.5}", u"tr"_qs);
    row("a count beyond every integer", "{\"do\":\"tr\",\"text\":\"t\",\"n\":1e30}", u"tr"_qs);
    row("a plural without a number", "{\"do\":\"plural\",\"key\":\"k\"}", u"plural"_qs);
    row("a number in a text", "{\"do\":\"plural\",\"key\":\"k\",\"number\":\"1\"}", u"plural"_qs);
    row("no locale to change to", "{\"do\":\"setLocale\"}", u"setLocale"_qs);
    row("strings of nobody", "{\"do\":\"strings\",\"which\":\"all\"}", u"strings"_qs);
    row("languages in one text", "{\"do\":\"deviceLocale\",\"languages\":\"fr\"}", u"deviceLocale"_qs);
    row("a search for a number", "{\"do\":\"find\",\"text\":5}", u"find"_qs);
    row("a clock without limits", "{\"do\":\"clock\",\"advanceMs\":1e18}", u"clock"_qs);
    row("a wait for nothing", "{\"do\":\"wait\"}", u"wait"_qs);
    row("a wait for ever", "{\"do\":\"wait\",\"ms\":1e12}", u"wait"_qs);
    row("a wait for an event without a limit", "{\"do\":\"wait\",\"event\":\"stringsUpdated\"}", u"wait"_qs);
    row("a wait for an unknown event", "{\"do\":\"wait\",\"event\":\"rain\",\"timeoutMs\":1}", u"wait"_qs);
}

void tst_Try::badLines()
{
    QFETCH(QByteArray, line);
    QFETCH(QString, reply);
    const ToolRun run = ToolRun::tool({u"try"_qs, u"--data-dir"_qs, dataDir()},
                                      line + "\n{\"do\":\"lookup\",\"key\":\"k\"}\n");
    QCOMPARE(run.status, 0);
    const QList<QJsonObject> replies = objects(run.output);
    QCOMPARE(replies.size(), 2);
    QVERIFY2(!replies.at(0).value(u"error"_qs).toString().isEmpty(), run.output.constData());
    QCOMPARE(replies.at(0).value(u"reply"_qs).toString(), reply);
    QCOMPARE(replies.at(1).value(u"text"_qs), QJsonValue(u"k"_qs));
}

void tst_Try::anOverlongLineIsOneBadLine()
{
    const QByteArray start = "{\"do\":\"lookup\",\"key\":\"";
    const QByteArray script = start + QByteArray(30 << 20, 'x') + "\"}\n" + start + QByteArray(3 << 20, 'y') +
                              "\"}\n" + start + "z\"}\n";
    const ToolRun run = ToolRun::tool({u"try"_qs, u"--data-dir"_qs, dataDir()}, script);
    QCOMPARE(run.status, 0);
    const QList<QJsonObject> replies = objects(run.output);
    QCOMPARE(replies.size(), 3);
    QVERIFY(replies.at(0).value(u"error"_qs).toString().contains(u"longer than"_qs));
    QCOMPARE(replies.at(1).value(u"text"_qs).toString().size(), 3 << 20);
    QCOMPARE(replies.at(2).value(u"text"_qs), QJsonValue(u"z"_qs));
}

void tst_Try::projectLocalesNeedCredentials()
{
    TryProcess host(dataDir());
    const QJsonObject reply = host.ask(u"projectLocales"_qs);
    QCOMPARE(reply.value(u"reply"_qs), QJsonValue(u"projectLocales"_qs));
    const QJsonObject error{{u"domain"_qs, u"dorvane.SDK"_qs},
                            {u"code"_qs, 401},
                            {u"description"_qs, u"User ID or Secret missing"_qs}};
    QCOMPARE(reply.value(u"error"_qs).toObject(), error);
}

void tst_Try::standardOutputHoldsRepliesOnly()
{
    const ServeProcess server(m_project->path());
    const QJsonObject start =
        TryProcess::doing(u"start"_qs, startMembers(server, {{u"logging"_qs, u"DVLoggingDebug"_qs}}));
    const QByteArray script =
        QJsonDocument(start).toJson(QJsonDocument::Compact) + "\n{\"do\":\"lookup\",\"key\":\"Hello\"}\n";
    const ToolRun run = ToolRun::tool({u"try"_qs, u"--data-dir"_qs, dataDir(), u"--app-version"_qs, u"1.0"_qs,
                                       u"--languages"_qs, u"fr-CA"_qs, u"--locale"_qs, u"fr_CA"_qs},
                                      script);
    QVERIFY2(run.errors.contains("[DV] Starting up Dorvane v1.4.1\n"), run.errors.constData());
    QVERIFY2(run.errors.contains("[DV] Hello: \"Bonjour\" (from current locale strings)\n"),
             run.errors.constData());
    QVERIFY(!run.errors.contains(Delivered::key().toBase64()));
    for (const QJsonObject &line : objects(run.output))
        QVERIFY2(line.contains(u"reply"_qs) || line.contains(u"event"_qs), run.output.constData());
}

void tst_Try::refusesWrongOptions_data()
{
    const DVRows<QStringList, QByteArray> row("options", "says");
    row("a bundle that is not there", {u"--bundle"_qs, u"/nowhere"_qs}, "--bundle is no folder: /nowhere");
    row("a data folder that is a file", {u"--data-dir"_qs, QStringLiteral(DORVANE_TOOL)},
        "--data-dir is no folder");
    row("an argument", {u"script"_qs}, "\"script\" is one argument too many");
    row("an option without its value", {u"--locale"_qs}, "--locale");
}

void tst_Try::refusesWrongOptions()
{
    QFETCH(QStringList, options);
    QFETCH(QByteArray, says);
    const ToolRun run = ToolRun::tool(QStringList{u"try"_qs} + options);
    QCOMPARE(run.status, 2);
    QVERIFY2(run.errors.contains(says), run.errors.constData());
}

QTEST_GUILESS_MAIN(tst_Try)
#include "tst_try.moc"
