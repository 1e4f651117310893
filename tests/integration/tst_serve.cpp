// The stand-in for the platform, as a process, by the bytes on its connections.
#include "TestProject.h"
#include <DVRows.h>

#include <QTcpServer>

#include <csignal>
#include <memory>

using namespace Qt::Literals::StringLiterals;
using namespace Delivered;

namespace {

const QByteArray frenchPath = "/projects/garden/1.0/fr-CA/strings.gz";

} // namespace

class tst_Serve : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { m_shared = std::make_unique<ServedProject>(); }
    // Takes what the shared server has logged, before its pipe is full.
    void cleanup() { QCoreApplication::processEvents(); }
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_qs)); }

    void saysWhereItListens();
    void deliversThePackedDocument();
    void statuses_data();
    void statuses();
    void namesNeverBecomePaths_data();
    void namesNeverBecomePaths();
    void aChangedFileIsAPublication();
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

private:
    std::unique_ptr<ServedProject> m_shared; // for what changes nothing that is delivered
};

void tst_Serve::saysWhereItListens()
{
    auto [folder, server] = ServedProject();
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
    auto [folder, server] = ServedProject({{u"expiresSeconds"_qs, 90}});
    const HttpAnswer answer = server.get(frenchPath);
    QCOMPARE(answer.status, 200);
    QCOMPARE(opened(answer.body), TestProject::document("Bonjour"));
    QCOMPARE(answer.header("Content-Type"), QByteArray("application/octet-stream"));
    QCOMPARE(answer.header("Last-Modified"), httpDate(TestProject::lastWeek()));
    const QDateTime date = fromHttpDate(answer.header("Date"));
    QVERIFY2(qAbs(date.secsTo(QDateTime::currentDateTimeUtc())) <= 5, answer.header("Date").constData());
    QCOMPARE(date.secsTo(fromHttpDate(answer.header("Expires"))), 90);
}

// What is delivered, and what is not, stands in the table of tst_static_servers.
void tst_Serve::statuses_data()
{
    const DVRows<QByteArray, QByteArray, int> row("method", "target", "status");

    row("a known locale", "GET", frenchPath, 200);
    row("the address of the whole site in the request line", "GET", "http://example.com" + frenchPath, 200);
    row("the welcome page", "GET", "/", 200);
    row("the source locale without a file", "GET", "/projects/garden/1.0/en/strings.gz", 404);
    row("an address that the REST API does not have", "GET", "/projects-api/v3/projects/garden", 404);
    row("a method that does not exist", "FETCH", frenchPath, 405);
}

void tst_Serve::statuses()
{
    QFETCH(QByteArray, method);
    QFETCH(QByteArray, target);
    auto &[folder, server] = *m_shared;
    const HttpAnswer answer = server.request(method, target);
    QTEST(answer.status, "status");
    QVERIFY2(fromHttpDate(answer.header("Date")).isValid(), "every answer is dated");
    QCOMPARE(!answer.header("Allow").isEmpty(), answer.status == 405);
    QCOMPARE(!answer.header("Expires").isEmpty(), answer.status == 200 && target != "/");
}

void tst_Serve::namesNeverBecomePaths_data()
{
    const DVRows<QByteArray> row("target");
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
    auto &[folder, server] = *m_shared;
    folder.write(u"../secret.xlf"_qs, TestProject::document("secret"));
    folder.write(u"secret.xlf"_qs, TestProject::document("secret"));
    const HttpAnswer answer = server.get(target);
    QCOMPARE(answer.status, 404);
    QVERIFY(!answer.body.contains(key().toBase64()));
    QCOMPARE(server.get(frenchPath).status, 200);
}

// Whoever holds what was there before must not be told that it is current.
void tst_Serve::aChangedFileIsAPublication()
{
    auto [folder, server] = ServedProject();
    QByteArray last = server.get(frenchPath).header("Last-Modified");
    int publication = 0;
    // A day later, twice more within that second, and an old file that was restored.
    for (const int days : {1, 1, 1, -30}) {
        const QByteArray target = QByteArray::number(++publication);
        folder.publish(target, TestProject::lastWeek().addDays(days));
        const HttpAnswer answer = server.get(frenchPath, "If-Modified-Since: " + last + "\r\n");
        QCOMPARE(answer.status, 200);
        QCOMPARE(opened(answer.body), TestProject::document(target));
        last = answer.header("Last-Modified");
        if (publication == 1)
            QCOMPARE(last, httpDate(TestProject::lastWeek().addDays(days)));
        QCOMPARE(server.get(frenchPath, "If-Modified-Since: " + last + "\r\n").status, 304);
    }
    QVERIFY(QFile::remove(folder.frenchFile()));
    QCOMPARE(server.get(frenchPath).status, 404);
    folder.publish("Bonsoir");
    QCOMPARE(opened(server.get(frenchPath).body), TestProject::document("Bonsoir"));
}

void tst_Serve::aBrokenDocumentIsNotPublished()
{
    auto [folder, server] = ServedProject();
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
    auto [folder, server] = ServedProject({{u"versions"_qs, QJsonValue::Null}});
    QCOMPARE(server.get("/projects/garden/9.9%2Fx/fr-CA/strings.gz").status, 200);
    QCOMPARE(server.get("/projects/garden//fr-CA/strings.gz").status, 404);
}

void tst_Serve::theProjectIsReadAgain()
{
    auto [folder, server] = ServedProject();
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
    auto [folder, server] = ServedProject();
    const QByteArray form = "Content-Type: application/x-www-form-urlencoded\r\n";
    const QByteArray events = "[{\"event\":\"Launch\",\"properties\":{\"n\":1}},{\"event\":\"\xC3\xA9\\n\"}]";
    const QByteArray data = "data=" + events.toBase64().toPercentEncoding();
    const HttpAnswer answer = server.request("POST", "/track", form, data);
    QCOMPARE(answer.status, 200);
    const auto response = QJsonDocument::fromJson(answer.body).object().value(u"response"_qs).toObject();
    QCOMPARE(response.value(u"code"_qs).toString(), u"SUCCESS"_qs);
    QCOMPARE(server.request("POST", "/track", form, "other=1&" + data).status, 200);

    const QList<QByteArray> lines = folder.received(u"events.jsonl"_qs).trimmed().split('\n');
    QCOMPARE(lines.size(), 4);
    const QJsonArray expected = QJsonDocument::fromJson(events).array();
    for (qsizetype i = 0; i < lines.size(); ++i)
        QCOMPARE(QJsonDocument::fromJson(lines.at(i)).object(), expected.at(i % 2).toObject());
}

void tst_Serve::trackRefusesWhatItCannotRead_data()
{
    const DVRows<QByteArray> row("body");
    row("nothing", "");
    row("another field", "datum=W10=");
    row("no base64", "data=%7B%7D");
    row("no JSON", "data=" + QByteArray("[{]").toBase64());
    row("an object", "data=" + QByteArray("{}").toBase64());
    row("an array with a number", "data=" + QByteArray("[{},7]").toBase64());
    row("deep nesting", "data=" + QByteArray(100000, '[').toBase64());
}

void tst_Serve::trackRefusesWhatItCannotRead()
{
    QFETCH(QByteArray, body);
    auto &[folder, server] = *m_shared;
    const HttpAnswer answer = server.request("POST", "/track", {}, body);
    QCOMPARE(answer.status, 400);
    QVERIFY(QJsonDocument::fromJson(answer.body).object().value(u"response"_qs).isObject());
    QCOMPARE(folder.received(u"events.jsonl"_qs), QByteArray());
}

void tst_Serve::bigRequestsEnd()
{
    auto &[folder, server] = *m_shared;
    QCOMPARE(server.request("POST", "/track", {}, "data=" + QByteArray(20 << 20, 'A')).status, 413);
    QCOMPARE(server.get(frenchPath).status, 200);
}

void tst_Serve::garbageEndsTheConnection()
{
    auto &[folder, server] = *m_shared;
    QTcpSocket socket;
    socket.connectToHost(u"127.0.0.1"_qs, server.port());
    socket.write("\x16\x03\x01\x02 no HTTP at all\r\n\r\n");
    QVERIFY(socket.waitForDisconnected(20000) || socket.state() == QAbstractSocket::UnconnectedState);
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
    QVERIFY(quiet.process().waitForFinished(20000));
    QVERIFY(!quiet.process().readAllStandardError().contains(frenchPath));
}

void tst_Serve::signalsEndIt_data()
{
    const DVRows<int> row("signal");
    row("the terminal's interrupt", SIGINT);
    row("the request to end", SIGTERM);
}

void tst_Serve::signalsEndIt()
{
    QFETCH(int, signal);
    auto [folder, server] = ServedProject();
    QTcpSocket open; // a connection that says nothing holds nobody up
    open.connectToHost(u"127.0.0.1"_qs, server.port());
    QVERIFY(open.waitForConnected(5000));
    QCOMPARE(::kill(pid_t(server.process().processId()), signal), 0);
    // It takes milliseconds; a loaded machine gets some room, the 30 s of the open connection do not fit in.
    QVERIFY2(server.process().waitForFinished(15000), "it does not end soon");
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
    QVERIFY(server.process().waitForFinished(20000));
    QCOMPARE(server.process().exitCode(), 0);
}

void tst_Serve::refusesToStart_data()
{
    // project: null: no such file
    const DVRows<QByteArray, QStringList, int, QByteArray> row("project", "options", "status", "says");

    const QByteArray good = "{\"projectId\":\"p\",\"deliveryKey\":\"" + key().toBase64() + "\"}";
    const auto without = [&good](const char *what, const char *instead) {
        return QByteArray(good).replace(what, instead);
    };
    const QStringList none;
    row("no project file", {}, none, 1, "project.json is missing");
    row("no JSON", "{\n\"projectId\" 1}", none, 1, "(line 2, column ");
    row("no object", "[]", none, 1, "one JSON object");
    row("no project id", without("projectId", "id"), none, 1, "\"projectId\" is missing");
    row("no key", without("deliveryKey", "key"), none, 1, "\"deliveryKey\" is missing");
    row("a key of 15 bytes", without("MDEyMzQ1Njc4OWFiY2RlZg==", "MDEyMzQ1Njc4OWFiY2Rl"), none, 1,
        "15 bytes; AES keys have 16, 24 or 32");
    row("a locale that would be a path", without("{", "{\"targetLocales\":[\"../fr\"],"), none, 1,
        "names \"../fr\"");
    row("locales in one text", without("{", "{\"targetLocales\":\"fr\","), none, 1,
        "\"targetLocales\" must be a list of texts");
    row("half a second", without("{", "{\"expiresSeconds\":0.5,"), none, 1,
        "\"expiresSeconds\" must be a whole number");
    row("a port that is none", good, {u"--port"_qs, u"70000"_qs}, 2, "--port");
    row("an address that is none", good, {u"--listen"_qs, u"here"_qs}, 2, "--listen");
    row("a public address without a host", good, {u"--public-url"_qs, u"strings"_qs}, 2, "--public-url");
    row("an unknown option", good, {u"--fast"_qs}, 2, "Unknown option 'fast'");
    row("two folders", good, {u"other"_qs}, 2, "\"other\" is one argument too many");
    row("help is no error", good, {u"--help"_qs}, 0, {});
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
