// One delivery tree behind four servers: what devices and other clients are told is the same.
#include "StaticSite.h"
#include "TestProject.h"
#include "WebServer.h"
#include <DVRows.h>

#include <QRandomGenerator>
#include <QSet>

#include <memory>

using namespace Qt::Literals::StringLiterals;
using namespace Delivered;

namespace {

const QByteArray frenchPath = "/projects/garden/1.0/fr-CA/strings.gz";
constexpr int expirySeconds = 7200;

// A device's clock stands right again at each run, and what it was told stays fresh for two hours.
QByteArray hoursLater(int hours)
{
    return "{\"do\":\"clock\",\"advanceMs\":" + QByteArray::number(hours * 3600000) + "}\n";
}

// That many bytes of text that does not compress.
QByteArray noise(QRandomGenerator &random, int size)
{
    QByteArray bytes(size / 4 * 3, '\0');
    random.fillRange(reinterpret_cast<quint32 *>(bytes.data()), bytes.size() / 4);
    return bytes.toBase64();
}

// The bytes that are delivered for French.
QByteArray packedAlone(const TestProject &project)
{
    const QString path = project.path() + u"/alone"_qs;
    const ToolRun run = ToolRun::tool(
        {u"pack"_qs, u"--no-check"_qs, project.frenchFile(), path, u"--key"_qs, Delivered::base64()});
    return run.status == 0 ? DVTestFiles::read(path) : QByteArray();
}

// A project, and a server that delivers it: `dorvane serve` over its folder, or one of the others over
// the tree that is made from it.
class Site
{
public:
    explicit Site(const QString &server, const QJsonObject &changes = {})
        : m_isTree(server != u"serve")
    {
        QJsonObject project = changes;
        project.insert(u"expiresSeconds"_qs, expirySeconds);
        m_project.setProject(project);
        publish("one");
        if (m_isTree)
            m_server = std::make_unique<WebServer>(server, m_project.path(), tree());
        else
            m_stand = std::make_unique<ServeProcess>(m_project.path());
    }

    const HttpPeer &peer() const { return m_isTree ? static_cast<const HttpPeer &>(*m_server) : *m_stand; }
    const TestProject &project() const { return m_project; }
    QString tree() const { return m_tree.path() + u"/tree"_qs; }
    WebServer *webServer() const { return m_server.get(); }

    void publish(const QByteArray &name) { publishDocument(StaticSite::document(name)); }
    // As a publisher would: the trees by the tool, each file by a rename.
    void publishDocument(const QByteArray &document)
    {
        m_project.write(u"fr-CA.xlf.new"_qs, document);
        QCOMPARE(
            rename(qPrintable(m_project.path() + u"/fr-CA.xlf.new"_qs), qPrintable(m_project.frenchFile())),
            0);
        pack();
    }
    // The publication is that old.
    void age(int seconds) { age({u"fr-CA"_qs}, seconds); }
    void age(const QJsonArray &locales, int seconds)
    {
        const QDateTime date = QDateTime::currentDateTimeUtc().addSecs(-seconds);
        for (const QJsonValue locale : locales) {
            const QString name = locale.toString();
            for (const QString &path :
                 QStringList{m_project.path() + u'/' + name + u".xlf"_qs, delivered(name)}) {
                QFile file(path);
                if (file.open(QIODevice::ReadWrite | QIODevice::ExistingOnly))
                    QVERIFY(file.setFileTime(date, QFileDevice::FileModificationTime));
            }
        }
    }
    // The delivered bytes, which are the same whoever delivers them.
    QByteArray file() const { return DVTestFiles::read(delivered()); }
    QDateTime modified() const
    {
        return QFileInfo(m_isTree ? delivered() : m_project.frenchFile()).lastModified().toUTC();
    }
    QByteArray start() const
    {
        return StaticSite::startCommandFor(peer().port(), {{u"analytics"_qs, false}});
    }

private:
    QString delivered(const QString &locale = u"fr-CA"_qs) const
    {
        return tree() + u"/projects/garden/1.0/"_qs + locale + u"/strings.gz"_qs;
    }
    void pack()
    {
        QFile::setPermissions(m_tree.path(), QFile::Permissions(0x7755));
        const ToolRun run = ToolRun::tool({u"pack"_qs, u"--tree"_qs, m_project.path(), tree(),
                                           u"--app-version"_qs, u"1.0"_qs, u"--app-version"_qs, u"2 0"_qs});
        QVERIFY2(run.status == 0, run.errors.constData());
    }

    bool m_isTree;
    TestProject m_project;
    QTemporaryDir m_tree;
    std::unique_ptr<WebServer> m_server;
    std::unique_ptr<ServeProcess> m_stand;
};

struct Question
{
    const char *name;
    const char *method;
    QByteArray target;
    QByteArray since; // of If-Modified-Since
    const char *reply;
};

// What a client can see of a reply, in the words of the table below.
QByteArray inWords(const HttpAnswer &answer, const Question &question, const Site &site)
{
    QByteArrayList words{QByteArray::number(answer.status)};
    if (answer.status / 100 == 2 && question.target == "/track")
        return "accepted"; // 200 with an answer, or 204
    if (answer.status == 400 || answer.status == 404)
        return "404"; // nginx calls a path malformed that leads out of its root
    if (answer.status == 200) {
        words += answer.header("Content-Type");
        words += answer.body == site.file() ? "file" : answer.body.isEmpty() ? "no body" : "another body";
        words += answer.header("Content-Length").toLongLong() == site.file().size() ? "" : "wrong length";
        words += answer.header("Last-Modified") == httpDate(site.modified()) ? "" : "wrong Last-Modified";
    }
    if (answer.status == 304 && !answer.header("Content-Length").isEmpty())
        words += "with a length";
    if (answer.status < 400 && !answer.header("Content-Encoding").isEmpty())
        words += "encoded as " + answer.header("Content-Encoding");
    const QDateTime date = fromHttpDate(answer.header("Date"));
    if (qAbs(date.secsTo(QDateTime::currentDateTimeUtc())) > 10)
        words += "without a Date";
    const QDateTime expires = fromHttpDate(answer.header("Expires"));
    const QByteArray maxAge = answer.header("Cache-Control").replace("max-age=", "");
    if (expires.isValid())
        words += QByteArray::number(date.secsTo(expires)) + " s";
    else if (!maxAge.isEmpty())
        words += maxAge + " s";
    if (answer.status == 405)
        words += answer.header("Allow");
    words.removeAll(QByteArray());
    return words.join(", ");
}

} // namespace

class tst_StaticServers : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_qs)); }

    void replies_data() { servers(); }
    void replies();
    void devices_data() { servers(); }
    void devices();
    void anyVersion_data() { servers(); }
    void anyVersion();
    void bigFile_data() { servers(); }
    void bigFile();
    void publishingNeverShowsHalfAFile_data() { servers(); }
    void publishingNeverShowsHalfAFile();
    void logsTellNothingAboutDevices_data() { servers(); }
    void logsTellNothingAboutDevices();

private:
    static void servers()
    {
        const DVRows<QString> row("server");
        for (const char *name : {"serve", "nginx", "apache", "caddy"})
            row(name, QString::fromLatin1(name));
    }
};

#define SITE(...)                                                                                            \
    QFETCH(QString, server);                                                                                 \
    if (server != u"serve" && WebServer::program(server).isNull()) {                                         \
        QVERIFY2(!qEnvironmentVariableIsSet("CI"), "this server is missing; scripts/setup brings it");       \
        QSKIP("this server is not installed; scripts/setup brings it");                                      \
    }                                                                                                        \
    Site site(server __VA_OPT__(, ) __VA_ARGS__);                                                            \
    QVERIFY2(site.peer().port() != 0, site.webServer() ? site.webServer()->complaints().constData() : "")

// Every server gives this table.
void tst_StaticServers::replies()
{
    SITE();
    site.age(3600);
    const QDateTime published = site.modified();
    const char *file = "200, application/octet-stream, file, 7200 s";
    const char *current = "304, 7200 s";
    const Question questions[] = {
        {"a first download", "GET", frenchPath, {}, file},
        {"a first download at the launch", "GET", frenchPath + "/force", {}, file},
        {"asked with the date of the publication", "GET", frenchPath, httpDate(published), current},
        {"asked with a later date", "GET", frenchPath, httpDate(published.addSecs(60)), current},
        {"asked with an earlier date", "GET", frenchPath, httpDate(published.addSecs(-1)), file},
        {"asked with something that is no date", "GET", frenchPath, "yesterday", file},
        {"asked with an empty date", "GET", frenchPath, "", file},
        {"forced with the date of the publication", "GET", frenchPath + "/force", httpDate(published), file},
        {"the head alone", "HEAD", frenchPath, {}, "200, application/octet-stream, no body, 7200 s"},
        {"the head alone, forced",
         "HEAD",
         frenchPath + "/force",
         {},
         "200, application/octet-stream, no body, 7200 s"},
        {"the head of what is current", "HEAD", frenchPath, httpDate(published), current},
        {"with a query", "GET", frenchPath + "?a=b", {}, file},
        {"a version with a blank", "GET", "/projects/garden/2%200/fr-CA/strings.gz", {}, file},
        {"a version with a blank, forced", "GET", "/projects/garden/2%200/fr-CA/strings.gz/force", {}, file},
        {"a percent-encoded letter", "GET", "/projects/garden/1.0/f%72-CA/strings.gz", {}, file},
        {"a locale without strings", "GET", "/projects/garden/1.0/pl/strings.gz", {}, "404"},
        {"a locale without strings, forced", "GET", "/projects/garden/1.0/pl/strings.gz/force", {}, "404"},
        {"an unknown locale with a date", "GET", "/projects/garden/1.0/de/strings.gz", httpDate(published),
         "404"},
        {"a wrong version", "GET", "/projects/garden/9.9/fr-CA/strings.gz", {}, "404"},
        {"a wrong version, forced", "GET", "/projects/garden/9.9/fr-CA/strings.gz/force", {}, "404"},
        {"a wrong project", "GET", "/projects/other/1.0/fr-CA/strings.gz", {}, "404"},
        {"the device's form of a locale", "GET", "/projects/garden/1.0/fr_CA/strings.gz", {}, "404"},
        {"another letter case", "GET", "/projects/garden/1.0/FR-CA/strings.gz", {}, "404"},
        {"a pattern instead of a locale", "GET", "/projects/garden/1.0/fr-*/strings.gz", {}, "404"},
        {"something behind the forced form", "GET", frenchPath + "/force/more", {}, "404"},
        {"something else than force", "GET", frenchPath + "/now", {}, "404"},
        {"the folder of a locale", "GET", "/projects/garden/1.0/fr-CA/", {}, "404"},
        {"the folder of a version without a slash", "GET", "/projects/garden/1.0", {}, "404"},
        {"out of the tree", "GET", "/projects/garden/1.0/..%2F..%2F..%2F..%2Fsite/strings.gz", {}, "404"},
        {"an absolute path", "GET", "/projects/garden/1.0/%2Fetc%2Fpasswd/strings.gz", {}, "404"},
        {"the tree's lock file", "GET", "/.dorvane-pack.lock", {}, "404"},
        {"PUT on a delivery", "PUT", frenchPath, {}, "405, GET, HEAD"},
        {"POST on a delivery, forced", "POST", frenchPath + "/force", {}, "405, GET, HEAD"},
        {"DELETE on a delivery", "DELETE", frenchPath, {}, "405, GET, HEAD"},
        {"usage events", "POST", "/track", {}, "accepted"},
        {"reading usage events", "GET", "/track", {}, "405, POST"},
    };
    QByteArrayList wrong;
    for (const Question &question : questions) {
        QByteArray headers = "Accept-Encoding: gzip, br\r\n";
        if (!question.since.isNull())
            headers += "If-Modified-Since: " + question.since + "\r\n";
        const bool hasBody = QByteArray(question.method).startsWith('P');
        const QByteArray body = hasBody ? QByteArray("data=W10=") : QByteArray(); // base64 of []
        const HttpAnswer answer = site.peer().request(question.method, question.target, headers, body);
        if (const QByteArray words = inWords(answer, question, site); words != question.reply)
            wrong += question.name + (": " + words) + " instead of " + question.reply;
    }
    QVERIFY2(wrong.isEmpty(), wrong.join('\n').prepend('\n').constData());
}

// What devices show in the end, through all states of their files.
void tst_StaticServers::devices()
{
    SITE();
    site.age(3600);
    TryDevice device;
    QCOMPARE(device.texts(site.start() + lookupCommands()), edition(u"one"_qs));

    // Current for the time that the server said, then asked for and told that nothing changed.
    const QByteArray returns = "{\"do\":\"foreground\"}\n" + waitForUpdate;
    QCOMPARE(device.texts(site.start() + lookupCommands()), edition(u"one"_qs));
    QVERIFY2(!device.run().errors.contains("Response ["), device.run().errors.constData());
    QCOMPARE(device.texts(site.start() + hoursLater(5) + returns + lookupCommands()), edition(u"one"_qs));
    QVERIFY2(device.run().errors.contains("Response [304]"), device.run().errors.constData());

    // A publication reaches an application that was stale at its start, and one that comes back.
    site.publish("two");
    site.age(2400);
    QCOMPARE(
        device.texts(hoursLater(10) + site.start() + lookupCommands() + waitForUpdate + lookupCommands()),
        edition(u"one"_qs) + edition(u"two"_qs));
    site.publish("three");
    site.age(1200);
    QCOMPARE(device.texts(site.start() + hoursLater(15) + returns + lookupCommands()), edition(u"three"_qs));

    // The publication before it, published once more, is newer than what it replaces.
    site.publish("two");
    QCOMPARE(device.texts(site.start() + hoursLater(20) + returns + lookupCommands()), edition(u"two"_qs));

    // Where nothing is published nothing is shown, and nothing is stored.
    TryDevice other;
    QCOMPARE(other.texts(site.start() + lookupCommands(), u"9.9"_qs), nothing());
    QVERIFY(other.run().errors.contains("Response [404]"));
    const QByteArray polish =
        StaticSite::startCommandFor(site.peer().port(), {{u"forceLocale"_qs, u"pl"_qs}});
    QCOMPARE(other.texts(polish + lookupCommands()), nothing());
    QVERIFY(other.run().errors.contains("Response [404]"));
    QCOMPARE(other.files(), QStringList());
}

// A project without a list of versions serves every version.
void tst_StaticServers::anyVersion()
{
    SITE({{u"versions"_qs, QJsonValue()}});
    if (site.webServer()) {
        QVERIFY(QDir(site.tree() + u"/projects/garden/2 0"_qs).removeRecursively());
        QVERIFY(QFile::exists(site.tree() + u"/projects/garden/any/fr-CA/strings.gz"_qs));
    }
    for (const char *version : {"1.0", "2%200", "7.3.1-beta"})
        for (const char *force : {"", "/force"}) {
            const QByteArray target = QByteArray("/projects/garden/") + version + "/fr-CA/strings.gz" + force;
            QCOMPARE(site.peer().get(target).status, 200);
            QCOMPARE(site.peer().get(target).body, site.file());
        }
    QCOMPARE(site.peer().get("/projects/garden/7.3.1-beta/pl/strings.gz").status, 404);
    TryDevice device;
    QCOMPARE(device.texts(site.start() + lookupCommands(), u"11.0"_qs), edition(u"one"_qs));
}

void tst_StaticServers::bigFile()
{
    SITE();
    constexpr int strings = 4000;
    QRandomGenerator random(1);
    QByteArray document = "<xliff version=\"1.2\"><file><body>";
    for (int i = 0; i < strings; ++i)
        document += "<trans-unit resname=\"key" + QByteArray::number(i) + "\"><source>s</source><target>" +
                    noise(random, 600) + "</target></trans-unit>\n";
    site.publishDocument(document + "</body></file></xliff>");
    QVERIFY(site.file().size() > 1500000);
    QCOMPARE(site.peer().get(frenchPath).body, site.file());
    QCOMPARE(site.peer().get(frenchPath + "/force").body, site.file());
    TryDevice device;
    const QByteArray count = "{\"do\":\"lookup\",\"key\":\"key3999\"}\n";
    const QStringList texts =
        device.texts(StaticSite::startCommandFor(site.peer().port(),
                                                 {{u"syncTimeout"_qs, 30}, {u"logging"_qs, u"no"_qs}}) +
                     count);
    QCOMPARE(texts.size(), 1);
    QCOMPARE(texts.constFirst().size(), 600);
}

// Publications of some locales while somebody downloads without a pause: every body is one of the files
// that were published. Apache takes the length of a file before it opens it, so a rename in between gives
// the new file in the old length, or an early end; devices must be able to tell.
void tst_StaticServers::publishingNeverShowsHalfAFile()
{
    constexpr int locales = 5;
    QJsonArray names{u"fr-CA"_qs};
    for (int i = 1; i < locales; ++i)
        names += QString(u"aa-"_qs + QString::number(100 + i));
    SITE({{u"targetLocales"_qs, names}, {u"versions"_qs, QJsonArray{u"1.0"_qs, u"1.1"_qs}}});

    QRandomGenerator random(2);
    QSet<QByteArray> published;
    QSet<QByteArray> seen;
    int downloads = 0;
    int ended = 0;
    const auto downloadOne = [&] {
        const QByteArray locale = names.at(random.bounded(locales)).toString().toLatin1();
        const QByteArray version = random.bounded(2) ? "1.0" : "1.1";
        const HttpAnswer answer =
            site.peer().get("/projects/garden/" + version + '/' + locale + "/strings.gz/force");
        ++downloads;
        if (answer.status == 200)
            seen += answer.body;
        else if (server == u"apache" && answer.status == 0)
            ++ended;
        else
            QCOMPARE(answer.status, 200);
    };
    for (const int size : {120000, 60000, 90000}) {
        const QByteArray document = StaticSite::document(noise(random, size));
        for (const QJsonValue name : names)
            site.project().write(name.toString() + u".xlf.new"_qs, document);
        const bool first = published.isEmpty();
        for (const QJsonValue name : names) {
            const QString path = site.project().path() + u'/' + name.toString() + u".xlf"_qs;
            QCOMPARE(rename(qPrintable(path + u".new"_qs), qPrintable(path)), 0);
            if (!first)
                downloadOne();
        }
        if (site.webServer()) {
            site.age(names, 3600); // else the tool waits until the clock's next second
            QProcess pack;
            pack.start(QStringLiteral(DORVANE_TOOL),
                       {u"pack"_qs, u"--tree"_qs, u"--no-check"_qs, site.project().path(), site.tree()});
            while (pack.state() != QProcess::NotRunning && !pack.waitForFinished(2))
                if (!first)
                    downloadOne();
            QCOMPARE(pack.exitCode(), 0);
        }
        for (int i = 0; i < 30; ++i)
            downloadOne();
        published += packedAlone(site.project());
    }
    QCOMPARE(published.size(), 3);
    QVERIFY(seen.contains(published));
    const QSet<QByteArray> cut = seen - published;
    qInfo("%d downloads, %d ended early, %d cut", downloads, ended, int(cut.size()));
    for (const QByteArray &body : cut) {
        QVERIFY2(server == u"apache", "a body is none of the files that were published");
        QVERIFY2(opened(body).isEmpty(), "a device would take it for a publication");
    }
}

// Who asked is nobody's business; what was asked for is the operator's.
void tst_StaticServers::logsTellNothingAboutDevices()
{
    SITE();
    site.peer().get(frenchPath,
                    "User-Agent: secret-agent\r\nX-Forwarded-For: 192.0.2.77\r\nReferer: http://r/\r\n");
    site.peer().get("/projects/garden/1.0/xx/strings.gz/force");
    const auto log = [&site] { return site.webServer() ? site.webServer()->log() : QByteArray(); };
    if (!site.webServer())
        QSKIP("it logs to standard error, for development");
    QTRY_VERIFY_WITH_TIMEOUT(log().contains("/projects/garden/1.0/xx/strings.gz/force"), 10000);
    QTRY_VERIFY_WITH_TIMEOUT(log().contains(frenchPath), 10000);
    QVERIFY(log().contains("200") && log().contains("404"));
    for (const char *secret : {"secret-agent", "192.0.2.77", "http://r/", "remote_ip"})
        QVERIFY2(!log().contains(secret), log().constData());
}

QTEST_GUILESS_MAIN(tst_StaticServers)
#include "tst_static_servers.moc"
