// The stand-in for the platform, as a process, by the bytes on its connections.
#include "TestProject.h"
#include "ToolProcess.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLocale>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>

using namespace Qt::Literals::StringLiterals;

namespace {

const QByteArray frenchPath = "/projects/garden/1.0/fr-CA/strings.gz";

// Independent of the tool: openssl undoes the encryption, gzip the compression.
QByteArray opened(const QByteArray &delivered)
{
    const ToolRun decrypted = ToolRun::program(u"openssl"_qs,
                                               {u"enc"_qs, u"-d"_qs, u"-aes-128-ecb"_qs, u"-K"_qs,
                                                QString::fromLatin1(TestProject::keyBytes().toHex())},
                                               delivered);
    return decrypted.status == 0 ? ToolRun::program(u"gzip"_qs, {u"-dc"_qs}, decrypted.output).output
                                 : QByteArray();
}

QByteArray httpDate(const QDateTime &date)
{
    return QLocale::c().toString(date.toUTC(), u"ddd, dd MMM yyyy HH:mm:ss 'GMT'"_qs).toLatin1();
}

QDateTime fromHttpDate(const QByteArray &text)
{
    QDateTime date =
        QLocale::c().toDateTime(QString::fromLatin1(text), u"ddd, dd MMM yyyy HH:mm:ss 'GMT'"_qs);
    date.setTimeSpec(Qt::UTC);
    return date;
}

} // namespace

class tst_Serve : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_qs)); }

    void saysWhereItListens();
    void deliversThePackedDocument();
    void statuses_data();
    void statuses();
    void namesNeverBecomePaths_data();
    void namesNeverBecomePaths();
    void conditionalRequests_data();
    void conditionalRequests();
    void headHasNoBody();
    void aChangedFileIsAPublication();
    void publicationsWithinOneSecondDiffer();
    void aRestoredOldFileIsAPublication();
    void aBrokenDocumentIsNotPublished();
    void aDocumentThatNeverWasGoodIsAnError();
    void aMissingVersionListServesEveryVersion();
    void theProjectIsReadAgain();
    void trackKeepsEvents();
    void trackRefusesWhatItCannotRead_data();
    void trackRefusesWhatItCannotRead();
    void bigRequestsEnd();
    void garbageEndsTheConnection();
    void quietLogsNoRequests();
    void signalsEndIt_data();
    void signalsEndIt();
    void endsWithItsInput();
    void refusesToStart_data();
    void refusesToStart();
    void refusesAPortInUse();
};

void tst_Serve::saysWhereItListens()
{
    const TestProject folder;
    const ServeProcess server(folder.path());
    QVERIFY(server.port() != 0);
    const QByteArray base = "http://127.0.0.1:" + QByteArray::number(server.port());
    const QList<QByteArray> lines = server.ready().split('\n');
    QCOMPARE(lines.at(0), "Listening on " + base);
    const auto servers =
        QJsonDocument::fromJson(lines.at(1)).object().value(u"servers"_qs).toObject().toVariantMap();
    const QVariant whole = QString::fromLatin1(base);
    QCOMPARE(servers, (QVariantMap{{u"api"_qs, whole},
                                   {u"sso"_qs, whole},
                                   {u"delivery"_qs, whole},
                                   {u"deliveryCdn"_qs, QString::fromLatin1(base + "/projects")}}));

    const ServeProcess behindProxy(folder.path(), {u"--public-url"_qs, u"https://strings.example/dev/"_qs});
    QVERIFY(behindProxy.ready().startsWith("Listening on http://127.0.0.1:"));
    QVERIFY(behindProxy.ready().contains("\"deliveryCdn\":\"https://strings.example/dev/projects\""));
}

void tst_Serve::deliversThePackedDocument()
{
    const TestProject folder;
    folder.setProject({{u"expiresSeconds"_qs, 90}});
    const ServeProcess server(folder.path());
    const HttpAnswer answer = server.get(frenchPath);
    QCOMPARE(answer.status, 200);
    QCOMPARE(opened(answer.body), TestProject::document("Bonjour"));
    QCOMPARE(answer.header("Content-Type"), QByteArray("application/octet-stream"));
    QCOMPARE(answer.header("Last-Modified"), httpDate(TestProject::lastWeek()));
    const QDateTime date = fromHttpDate(answer.header("Date"));
    QVERIFY2(qAbs(date.secsTo(QDateTime::currentDateTimeUtc())) <= 5, answer.header("Date").constData());
    QCOMPARE(date.secsTo(fromHttpDate(answer.header("Expires"))), 90);
}

void tst_Serve::statuses_data()
{
    QTest::addColumn<QByteArray>("method");
    QTest::addColumn<QByteArray>("target");
    QTest::addColumn<int>("status");

    const auto row = [](const char *name, const char *method, const QByteArray &target, int status) {
        QTest::newRow(name) << QByteArray(method) << target << status;
    };
    row("a known locale", "GET", frenchPath, 200);
    row("the forced form", "GET", frenchPath + "/force", 200);
    row("a query does not matter", "GET", frenchPath + "?a=b", 200);
    row("a percent-encoded letter is the letter", "GET", "/projects/garden/1.0/f%72-CA/strings.gz", 200);
    row("a version with a blank", "GET", "/projects/garden/2%200/fr-CA/strings.gz", 200);
    row("the address of the whole site in the request line", "GET", "http://example.com" + frenchPath, 200);
    row("the welcome page", "GET", "/", 200);
    row("an unknown project", "GET", "/projects/other/1.0/fr-CA/strings.gz", 404);
    row("an unknown version", "GET", "/projects/garden/1.1/fr-CA/strings.gz", 404);
    row("an unknown locale", "GET", "/projects/garden/1.0/de/strings.gz", 404);
    row("a locale without a file", "GET", "/projects/garden/1.0/pl/strings.gz", 404);
    row("the source locale without a file", "GET", "/projects/garden/1.0/en/strings.gz", 404);
    row("the device's form of a locale", "GET", "/projects/garden/1.0/fr_CA/strings.gz", 404);
    row("another letter case", "GET", "/projects/garden/1.0/FR-CA/strings.gz", 404);
    row("something behind the forced form", "GET", frenchPath + "/force/more", 404);
    row("something else than force", "GET", frenchPath + "/now", 404);
    row("an address that the REST API does not have", "GET", "/projects-api/v3/projects/garden", 404);
    row("PUT on a delivery", "PUT", frenchPath, 405);
    row("POST on a delivery", "POST", frenchPath, 405);
    row("DELETE on a forced delivery", "DELETE", frenchPath + "/force", 405);
    row("a method that does not exist", "FETCH", frenchPath, 405);
    row("GET on the analytics endpoint", "GET", "/track", 405);
}

void tst_Serve::statuses()
{
    QFETCH(QByteArray, method);
    QFETCH(QByteArray, target);
    const TestProject folder;
    const ServeProcess server(folder.path());
    const HttpAnswer answer = server.request(method, target);
    QTEST(answer.status, "status");
    QVERIFY2(fromHttpDate(answer.header("Date")).isValid(), "every answer is dated");
    QCOMPARE(!answer.header("Allow").isEmpty(), answer.status == 405);
    QCOMPARE(!answer.header("Expires").isEmpty(), answer.status == 200 && target != "/");
}

void tst_Serve::namesNeverBecomePaths_data()
{
    QTest::addColumn<QByteArray>("target");
    const auto row = [](const char *name, const QByteArray &target) { QTest::newRow(name) << target; };
    row("dots as the locale", "/projects/garden/1.0/../strings.gz");
    row("encoded dots", "/projects/garden/1.0/%2e%2e%2fsecret/strings.gz");
    row("an encoded slash", "/projects/garden/1.0/..%2Fsecret/strings.gz");
    row("a doubly encoded slash", "/projects/garden/1.0/..%252Fsecret/strings.gz");
    row("a backslash", "/projects/garden/1.0/..%5Csecret/strings.gz");
    row("dots as the version", "/projects/garden/../secret/strings.gz");
    row("an absolute path", "/projects/garden/1.0/%2Fetc%2Fpasswd/strings.gz");
    row("a zero byte", "/projects/garden/1.0/fr-CA%00/strings.gz");
    row("bytes that are no UTF-8", "/projects/garden/1.0/%C0%AE%C0%AE/strings.gz");
    row("percent signs that encode nothing", "/projects/garden/1.0/%zz%/strings.gz");
    row("placeholders of the log", "/projects/garden/1.0/%251%252%253/strings.gz");
    row("the project file", "/project.json");
    row("the project file by dots", "/projects/../project.json");
    row("two slashes at the start", "//projects/garden/1.0/secret/strings.gz");
    row("a very long name", "/projects/garden/1.0/" + QByteArray(100000, 'a') + "/strings.gz");
    row("ten thousand segments", "/projects" + QByteArray("/a").repeated(10000));
}

void tst_Serve::namesNeverBecomePaths()
{
    QFETCH(QByteArray, target);
    const TestProject folder;
    folder.write(u"../secret.xlf"_qs, TestProject::document("secret"));
    folder.write(u"secret.xlf"_qs, TestProject::document("secret"));
    const ServeProcess server(folder.path());
    const HttpAnswer answer = server.get(target);
    QCOMPARE(answer.status, 404);
    QVERIFY(!answer.body.contains(TestProject::keyBytes().toBase64()));
    QCOMPARE(server.get(frenchPath).status, 200);
}

void tst_Serve::conditionalRequests_data()
{
    QTest::addColumn<QByteArray>("target");
    QTest::addColumn<QByteArray>("since");
    QTest::addColumn<int>("status");

    const QDateTime published = TestProject::lastWeek();
    QTest::newRow("the publication's own date") << frenchPath << httpDate(published) << 304;
    QTest::newRow("a later date") << frenchPath << httpDate(published.addDays(1)) << 304;
    QTest::newRow("a second before") << frenchPath << httpDate(published.addSecs(-1)) << 200;
    QTest::newRow("no date at all") << frenchPath << QByteArray("yesterday") << 200;
    QTest::newRow("an empty date") << frenchPath << QByteArray("") << 200;
    QTest::newRow("the forced form") << frenchPath + "/force" << httpDate(published) << 200;
}

void tst_Serve::conditionalRequests()
{
    QFETCH(QByteArray, target);
    QFETCH(QByteArray, since);
    const TestProject folder;
    const ServeProcess server(folder.path());
    const HttpAnswer answer = server.get(target, "If-Modified-Since: " + since + "\r\n");
    QTEST(answer.status, "status");
    QCOMPARE(answer.body.isEmpty(), answer.status == 304);
    QVERIFY(fromHttpDate(answer.header("Date")) < fromHttpDate(answer.header("Expires")));
    QCOMPARE(answer.header("Content-Length").isEmpty(), answer.status == 304);
}

void tst_Serve::headHasNoBody()
{
    const TestProject folder;
    const ServeProcess server(folder.path());
    const HttpAnswer head = server.request("HEAD", frenchPath);
    QCOMPARE(head.status, 200);
    QCOMPARE(head.body, QByteArray());
    QCOMPARE(head.header("Content-Length").toLongLong(), server.get(frenchPath).body.size());
}

void tst_Serve::aChangedFileIsAPublication()
{
    const TestProject folder;
    const ServeProcess server(folder.path());
    const QByteArray before = server.get(frenchPath).header("Last-Modified");
    folder.publish("Salut", TestProject::lastWeek().addDays(1));
    const HttpAnswer after = server.get(frenchPath, "If-Modified-Since: " + before + "\r\n");
    QCOMPARE(after.status, 200);
    QCOMPARE(opened(after.body), TestProject::document("Salut"));
    QCOMPARE(after.header("Last-Modified"), httpDate(TestProject::lastWeek().addDays(1)));

    QVERIFY(QFile::remove(folder.frenchFile()));
    QCOMPARE(server.get(frenchPath).status, 404);
    folder.publish("Bonsoir");
    QCOMPARE(opened(server.get(frenchPath).body), TestProject::document("Bonsoir"));
}

// Whoever holds the first of them must not be told that it is current.
void tst_Serve::publicationsWithinOneSecondDiffer()
{
    const TestProject folder;
    const ServeProcess server(folder.path());
    for (const QByteArray &target : {QByteArray("un"), QByteArray("deux"), QByteArray("trois")}) {
        const QByteArray before = server.get(frenchPath).header("Last-Modified");
        folder.publish(target, TestProject::lastWeek());
        const HttpAnswer answer = server.get(frenchPath, "If-Modified-Since: " + before + "\r\n");
        QCOMPARE(answer.status, 200);
        QCOMPARE(opened(answer.body), TestProject::document(target));
        const QByteArray current = "If-Modified-Since: " + answer.header("Last-Modified") + "\r\n";
        QCOMPARE(server.get(frenchPath, current).status, 304);
    }
}

void tst_Serve::aRestoredOldFileIsAPublication()
{
    const TestProject folder;
    const ServeProcess server(folder.path());
    const QByteArray before = server.get(frenchPath).header("Last-Modified");
    folder.publish("Ancien", TestProject::lastWeek().addDays(-30));
    const HttpAnswer answer = server.get(frenchPath, "If-Modified-Since: " + before + "\r\n");
    QCOMPARE(answer.status, 200);
    QCOMPARE(opened(answer.body), TestProject::document("Ancien"));
}

void tst_Serve::aBrokenDocumentIsNotPublished()
{
    const TestProject folder;
    ServeProcess server(folder.path());
    QCOMPARE(server.get(frenchPath).status, 200);
    folder.write(u"fr-CA.xlf"_qs, "<xliff>\n  <file></body>\n</xliff>");
    QCOMPARE(opened(server.get(frenchPath).body), TestProject::document("Bonjour"));
    QCOMPARE(
        server.get(frenchPath, "If-Modified-Since: " + httpDate(TestProject::lastWeek()) + "\r\n").status,
        304);
    const QByteArray log = server.logWith("304\n");
    QVERIFY2(log.contains("fr-CA.xlf cannot be published") && log.contains("(line 2, column "),
             log.constData());
    QCOMPARE(log.count("cannot be published"), 1);

    folder.publish("Salut");
    QCOMPARE(opened(server.get(frenchPath).body), TestProject::document("Salut"));
}

void tst_Serve::aDocumentThatNeverWasGoodIsAnError()
{
    const TestProject folder;
    folder.write(u"fr-CA.xlf"_qs, "<html></html>");
    const ServeProcess server(folder.path());
    QCOMPARE(server.get(frenchPath).status, 500);
    folder.publish("Bonjour");
    QCOMPARE(server.get(frenchPath).status, 200);
}

void tst_Serve::aMissingVersionListServesEveryVersion()
{
    const TestProject folder;
    folder.setProject({{u"versions"_qs, QJsonValue::Null}});
    const ServeProcess server(folder.path());
    QCOMPARE(server.get("/projects/garden/9.9%2Fx/fr-CA/strings.gz").status, 200);
    QCOMPARE(server.get("/projects/garden//fr-CA/strings.gz").status, 404);
}

void tst_Serve::theProjectIsReadAgain()
{
    const TestProject folder;
    ServeProcess server(folder.path());
    folder.setProject({{u"deliveryEnabled"_qs, false}});
    QCOMPARE(server.get(frenchPath).status, 403);
    QCOMPARE(server.get("/projects/other/1.0/fr-CA/strings.gz").status, 404);
    folder.write(u"project.json"_qs, "{\n \"projectId\": oops }");
    QCOMPARE(server.get(frenchPath).status, 403);
    QVERIFY(server.logWith("(line 2, column ").contains("going on with what it said before"));

    folder.setProject({{u"deliveryKey"_qs, QString::fromLatin1(QByteArray(32, 'k').toBase64())}});
    const HttpAnswer answer = server.get(frenchPath);
    QCOMPARE(answer.status, 200);
    QCOMPARE(opened(answer.body), QByteArray()); // the key of before does not open it
}

void tst_Serve::trackKeepsEvents()
{
    const TestProject folder;
    const ServeProcess server(folder.path());
    const QByteArray form = "Content-Type: application/x-www-form-urlencoded\r\n";
    const QByteArray events = "[{\"event\":\"Launch\",\"properties\":{\"n\":1}},{\"event\":\"\xC3\xA9\\n\"}]";
    const QByteArray data = "data=" + events.toBase64().toPercentEncoding();
    const HttpAnswer answer = server.request("POST", "/track", form, data);
    QCOMPARE(answer.status, 200);
    const auto response = QJsonDocument::fromJson(answer.body).object().value(u"response"_qs).toObject();
    QCOMPARE(response.value(u"code"_qs).toString(), u"SUCCESS"_qs);
    QCOMPARE(server.request("POST", "/track", form, "other=1&" + data).status, 200);

    const QList<QByteArray> lines = folder.received().trimmed().split('\n');
    QCOMPARE(lines.size(), 4);
    const QJsonArray expected = QJsonDocument::fromJson(events).array();
    for (qsizetype i = 0; i < lines.size(); ++i)
        QCOMPARE(QJsonDocument::fromJson(lines.at(i)).object(), expected.at(i % 2).toObject());
}

void tst_Serve::trackRefusesWhatItCannotRead_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::newRow("nothing") << QByteArray("");
    QTest::newRow("another field") << QByteArray("datum=W10=");
    QTest::newRow("no base64") << QByteArray("data=%7B%7D");
    QTest::newRow("no JSON") << "data=" + QByteArray("[{]").toBase64();
    QTest::newRow("an object") << "data=" + QByteArray("{}").toBase64();
    QTest::newRow("an array with a number") << "data=" + QByteArray("[{},7]").toBase64();
    QTest::newRow("deep nesting") << "data=" + QByteArray(100000, '[').toBase64();
}

void tst_Serve::trackRefusesWhatItCannotRead()
{
    QFETCH(QByteArray, body);
    const TestProject folder;
    const ServeProcess server(folder.path());
    const HttpAnswer answer = server.request("POST", "/track", {}, body);
    QCOMPARE(answer.status, 400);
    QVERIFY(QJsonDocument::fromJson(answer.body).object().value(u"response"_qs).isObject());
    QCOMPARE(folder.received(), QByteArray());
}

void tst_Serve::bigRequestsEnd()
{
    const TestProject folder;
    const ServeProcess server(folder.path());
    QCOMPARE(server.request("POST", "/track", {}, "data=" + QByteArray(20 << 20, 'A')).status, 413);
    QCOMPARE(server.get(frenchPath).status, 200);
}

void tst_Serve::garbageEndsTheConnection()
{
    const TestProject folder;
    const ServeProcess server(folder.path());
    QTcpSocket socket;
    socket.connectToHost(u"127.0.0.1"_qs, server.port());
    socket.write("\x16\x03\x01\x02 no HTTP at all\r\n\r\n");
    QVERIFY(socket.waitForDisconnected(5000) || socket.state() == QAbstractSocket::UnconnectedState);
    QCOMPARE(server.get(frenchPath).status, 200);
}

void tst_Serve::quietLogsNoRequests()
{
    const TestProject folder;
    ServeProcess loud(folder.path());
    loud.get(frenchPath);
    const QByteArray line = "GET " + frenchPath + " 200\n";
    QVERIFY(loud.logWith(line).contains(line));

    ServeProcess quiet(folder.path(), {u"--quiet"_qs});
    quiet.get(frenchPath);
    quiet.process().terminate();
    QVERIFY(quiet.process().waitForFinished(5000));
    QVERIFY(!quiet.process().readAllStandardError().contains(frenchPath));
}

void tst_Serve::signalsEndIt_data()
{
    QTest::addColumn<int>("signal");
    QTest::newRow("the terminal's interrupt") << SIGINT;
    QTest::newRow("the request to end") << SIGTERM;
}

void tst_Serve::signalsEndIt()
{
    QFETCH(int, signal);
    const TestProject folder;
    ServeProcess server(folder.path());
    QTcpSocket open; // a connection that says nothing holds nobody up
    open.connectToHost(u"127.0.0.1"_qs, server.port());
    QVERIFY(open.waitForConnected(5000));
    QCOMPARE(::kill(pid_t(server.process().processId()), signal), 0);
    // It takes milliseconds; a loaded machine gets some room, the 30 s of the open connection do not fit in.
    QVERIFY2(server.process().waitForFinished(3000), "it does not end soon");
    QCOMPARE(server.process().exitStatus(), QProcess::NormalExit);
    QCOMPARE(server.process().exitCode(), 0);
}

void tst_Serve::endsWithItsInput()
{
    const TestProject folder;
    ServeProcess server(folder.path(), {u"--exit-with-stdin"_qs});
    server.process().write("this is read and ignored\n");
    QCOMPARE(server.get(frenchPath).status, 200);
    server.process().closeWriteChannel();
    QVERIFY(server.process().waitForFinished(5000));
    QCOMPARE(server.process().exitCode(), 0);
}

void tst_Serve::refusesToStart_data()
{
    QTest::addColumn<QByteArray>("project"); // null: no such file
    QTest::addColumn<QStringList>("options");
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("says");

    const QByteArray good =
        "{\"projectId\":\"p\",\"deliveryKey\":\"" + TestProject::keyBytes().toBase64() + "\"}";
    const auto without = [&good](const char *what, const char *instead) {
        return QByteArray(good).replace(what, instead);
    };
    const QStringList none;
    QTest::newRow("no project file") << QByteArray() << none << 1 << QByteArray("project.json is missing");
    QTest::newRow("no JSON") << QByteArray("{\n\"projectId\" 1}") << none << 1
                             << QByteArray("(line 2, column ");
    QTest::newRow("no object") << QByteArray("[]") << none << 1 << QByteArray("one JSON object");
    QTest::newRow("no project id") << without("projectId", "id") << none << 1
                                   << QByteArray("\"projectId\" is missing");
    QTest::newRow("no key") << without("deliveryKey", "key") << none << 1
                            << QByteArray("\"deliveryKey\" is missing");
    QTest::newRow("a key of 15 bytes") << without("MDEyMzQ1Njc4OWFiY2RlZg==", "MDEyMzQ1Njc4OWFiY2Rl") << none
                                       << 1 << QByteArray("15 bytes; AES keys have 16, 24 or 32");
    QTest::newRow("a locale that would be a path")
        << without("{", "{\"targetLocales\":[\"../fr\"],") << none << 1 << QByteArray("names \"../fr\"");
    QTest::newRow("locales in one text") << without("{", "{\"targetLocales\":\"fr\",") << none << 1
                                         << QByteArray("\"targetLocales\" must be a list of texts");
    QTest::newRow("half a second") << without("{", "{\"expiresSeconds\":0.5,") << none << 1
                                   << QByteArray("\"expiresSeconds\" must be a whole number");
    QTest::newRow("a port that is none")
        << good << QStringList{u"--port"_qs, u"70000"_qs} << 2 << QByteArray("--port");
    QTest::newRow("an address that is none")
        << good << QStringList{u"--listen"_qs, u"here"_qs} << 2 << QByteArray("--listen");
    QTest::newRow("a public address without a host")
        << good << QStringList{u"--public-url"_qs, u"strings"_qs} << 2 << QByteArray("--public-url");
    QTest::newRow("an unknown option")
        << good << QStringList{u"--fast"_qs} << 2 << QByteArray("Unknown option 'fast'");
    QTest::newRow("two folders") << good << QStringList{u"other"_qs} << 2
                                 << QByteArray("\"other\" is one argument too many");
    QTest::newRow("help is no error") << good << QStringList{u"--help"_qs} << 0 << QByteArray();
}

void tst_Serve::refusesToStart()
{
    QFETCH(QByteArray, project);
    QFETCH(QStringList, options);
    QFETCH(QByteArray, says);
    const QTemporaryDir folder;
    QFile file(folder.filePath(u"project.json"_qs));
    if (!project.isNull())
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(project) == project.size());
    file.close();
    const ToolRun run = ToolRun::tool(QStringList{u"serve"_qs, folder.path()} + options);
    QTEST(run.status, "status");
    QVERIFY2(run.errors.contains(says), run.errors.constData());
    QCOMPARE(run.errors.isEmpty(), run.status == 0);
}

void tst_Serve::refusesAPortInUse()
{
    const TestProject folder;
    QTcpServer other;
    QVERIFY(other.listen(QHostAddress::LocalHost));
    const ToolRun run =
        ToolRun::tool({u"serve"_qs, folder.path(), u"--port"_qs, QString::number(other.serverPort())});
    QCOMPARE(run.status, 1);
    QVERIFY2(run.errors.contains("cannot listen on 127.0.0.1 port"), run.errors.constData());
}

QTEST_GUILESS_MAIN(tst_Serve)
#include "tst_serve.moc"
