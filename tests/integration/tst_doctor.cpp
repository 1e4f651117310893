// `dorvane doctor` in front of deliveries that are wrong in one way each.
#include "StaticSite.h"
#include "TestProject.h"

#include <DVFaultServer.h>

#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLocale>
#include <QRegularExpression>
#include <QTcpServer>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

using Answer = DVFaultServer::Answer;
using Request = DVFaultServer::Request;

QByteArray httpDate(qint64 secondsFromNow)
{
    const QDateTime date = QDateTime::currentDateTimeUtc().addSecs(secondsFromNow);
    return QLocale::c().toString(date, u"ddd, dd MMM yyyy hh:mm:ss 'GMT'"_qs).toLatin1();
}

QByteArray gzipped(const QByteArray &content)
{
    return ToolRun::program(u"gzip"_qs, {u"-c"_qs}, content).output;
}

QByteArray encrypted(const QByteArray &content)
{
    return ToolRun::program(u"openssl"_qs,
                            {u"enc"_qs, u"-aes-128-ecb"_qs, u"-K"_qs,
                             QString::fromLatin1(TestProject::keyBytes().toHex())},
                            content)
        .output;
}

const QByteArray &goodFile()
{
    static const QByteArray file = encrypted(gzipped(StaticSite::document("1")));
    return file;
}

void setHeader(Answer &answer, const QByteArray &name, const QByteArray &value)
{
    answer.headers.removeIf([&name](const auto &header) { return header.first == name; });
    if (!value.isNull())
        answer.headers.append({name, value});
}

// What a good server answers to a device.
Answer goodAnswer(const Request &request)
{
    static const QByteArray modified = httpDate(-86400);
    if (!request.target.startsWith("/projects/garden/1.0/fr-CA/strings.gz"))
        return Answer::of(404);
    const bool isCurrent =
        request.header("If-Modified-Since") == modified && !request.target.endsWith("/force");
    return Answer::of(isCurrent ? 304 : 200, isCurrent ? QByteArray() : goodFile(),
                      {{"Date", httpDate(0)}, {"Expires", httpDate(3600)}, {"Last-Modified", modified}});
}

bool isConditional(const Request &request)
{
    return !request.header("If-Modified-Since").isNull();
}

struct Diagnosis
{
    int status = -1;
    QStringList complaints; // "warn expiry", "FAIL date"
    QString advice;         // of all of them
    QMap<QString, QString> seen;
};

Diagnosis diagnosisOf(const QString &url, const QStringList &options = {})
{
    QStringList arguments{u"doctor"_qs,        url,       u"--project"_qs, u"garden"_qs,
                          u"--app-version"_qs, u"1.0"_qs, u"--json"_qs};
    if (!options.contains(u"--locale"_qs))
        arguments += {u"--locale"_qs, u"fr-CA"_qs};
    if (!options.contains(u"--key"_qs))
        arguments += {u"--key"_qs, QString::fromLatin1(TestProject::keyBytes().toBase64())};
    const ToolRun run = ToolRun::tool(arguments + options);
    Diagnosis diagnosis{run.status, {}, {}, {}};
    const QJsonArray steps =
        QJsonDocument::fromJson(run.output).object().value(QStringLiteral("steps")).toArray();
    for (const auto &step : steps) {
        const QString name = step[u"step"_qs].toString();
        diagnosis.seen.insert(name, step[u"seen"_qs].toString());
        if (const QString verdict = step[u"verdict"_qs].toString(); verdict != u"ok") {
            diagnosis.complaints += verdict + u' ' + name;
            diagnosis.advice += step[u"advice"_qs].toString() + u'\n';
        }
    }
    return diagnosis;
}

struct Fault
{
    const char *name;
    std::function<void(Answer &, const Request &)> change;
    QString expected; // complaints, separated by commas
    QString says;     // in what was seen or advised
};

const QList<Fault> &faults()
{
    static const QList<Fault> list{
        {"nothing wrong", [](Answer &, const Request &) {}, {}, {}},
        {"no Date", [](Answer &a, const Request &) { setHeader(a, "Date", {}); },
         u"FAIL date,FAIL expiry,warn conditional"_qs, u"let the server send \"date\""_qs},
        {"a Date in another form",
         [](Answer &a, const Request &) { setHeader(a, "Date", "2026-01-01T00:00:00Z"); },
         u"FAIL date,FAIL expiry,warn conditional"_qs, u"is no date"_qs},
        {"a clock that is an hour ahead",
         [](Answer &a, const Request &) {
             setHeader(a, "Date", httpDate(3600));
             setHeader(a, "Expires", httpDate(7200));
         },
         u"warn date"_qs, u"ahead of"_qs},
        {"an Expires of the past", [](Answer &a, const Request &) { setHeader(a, "Expires", httpDate(-60)); },
         u"warn expiry"_qs, u"stale at once"_qs},
        {"no expiry at all", [](Answer &a, const Request &) { setHeader(a, "Expires", {}); },
         u"FAIL expiry,warn conditional"_qs, u"max-age"_qs},
        {"max-age instead of Expires",
         [](Answer &a, const Request &) {
             setHeader(a, "Expires", {});
             setHeader(a, "Cache-Control", "public, max-age=600");
         },
         {},
         u"fresh for 10 min"_qs},
        {"an expiry of a year",
         [](Answer &a, const Request &) { setHeader(a, "Expires", httpDate(31536000)); }, u"warn expiry"_qs,
         u"365 days"_qs},
        {"a 304 that does not renew the expiry",
         [](Answer &a, const Request &r) {
             if (isConditional(r))
                 setHeader(a, "Expires", {});
         },
         u"warn conditional"_qs, u"304, but"_qs},
        {"never a 304",
         [](Answer &a, const Request &r) {
             if (isConditional(r)) {
                 a.status = 200;
                 a.body = goodFile();
             }
         },
         u"warn conditional"_qs, u"answered 200"_qs},
        {"no Last-Modified", [](Answer &a, const Request &) { setHeader(a, "Last-Modified", {}); },
         u"warn last-modified"_qs, u"transfers the whole file"_qs},
        {"a cookie", [](Answer &a, const Request &) { setHeader(a, "Set-Cookie", "a=b"); },
         u"warn cookies"_qs, u"devices keep none"_qs},
        {"no address with /force",
         [](Answer &a, const Request &r) {
             if (r.target.endsWith("/force"))
                 a = Answer::of(404);
         },
         u"FAIL forced"_qs, u"map the address"_qs},
        {"an old file under /force",
         [](Answer &a, const Request &r) {
             if (r.target.endsWith("/force"))
                 a.body = encrypted(gzipped(StaticSite::document("0")));
         },
         u"warn forced"_qs, u"another file"_qs},
        {"only the address with /force",
         [](Answer &a, const Request &r) {
             if (!r.target.endsWith("/force"))
                 a = Answer::of(404);
         },
         u"FAIL plain"_qs, u"in the background"_qs},
        {"a project that is switched off", [](Answer &a, const Request &) { a = Answer::of(403); },
         u"FAIL plain,FAIL forced"_qs, u"switched off"_qs},
        {"a server that is ill", [](Answer &a, const Request &) { a = Answer::of(503); },
         u"FAIL plain,FAIL forced"_qs, u"the server is ill"_qs},
        {"compressed again on the way",
         [](Answer &a, const Request &) {
             if (!a.body.isEmpty())
                 a.body = gzipped(a.body);
             setHeader(a, "Content-Encoding", "gzip");
         },
         u"warn body"_qs, u"compression off"_qs},
        {"a page instead of a file",
         [](Answer &a, const Request &) {
             a.body = a.status == 200 ? QByteArray("<html>Welcome</html>") : a.body;
             setHeader(a, "Content-Type", "text/html; charset=utf-8");
         },
         u"warn body,FAIL decryption"_qs, u"like a page"_qs},
        {"an empty file", [](Answer &a, const Request &) { a.body.clear(); }, u"FAIL body"_qs, u"empty"_qs},
        {"cut short, a whole block",
         [](Answer &a, const Request &) { a.body = a.status == 200 ? a.body.chopped(16) : a.body; },
         u"FAIL decryption"_qs, u"does not open it"_qs},
        {"cut short, within a block",
         [](Answer &a, const Request &) { a.body = a.status == 200 ? a.body.chopped(5) : a.body; },
         u"FAIL decryption"_qs, u"AES blocks"_qs},
        {"a connection that ends in the body",
         [](Answer &a, const Request &) {
             if (a.status == 200)
                 a.fault = DVFaultServer::Fault::CutBody;
         },
         u"FAIL plain,FAIL forced"_qs, u"server's log"_qs},
        {"a gzip stream that was cut",
         [](Answer &a, const Request &) {
             static const QByteArray cut = encrypted(gzipped(StaticSite::document("1")).chopped(9));
             a.body = a.status == 200 ? cut : a.body;
         },
         u"FAIL inflation"_qs, u"damaged or cut"_qs},
        {"a document that was never compressed",
         [](Answer &a, const Request &) {
             static const QByteArray plain = encrypted(StaticSite::document("1"));
             a.body = a.status == 200 ? plain : a.body;
         },
         u"warn inflation"_qs, u"compress it"_qs},
        {"a document that is not well-formed",
         [](Answer &a, const Request &) {
             static const QByteArray broken = encrypted(gzipped("<xliff>\n</file>"));
             a.body = a.status == 200 ? broken : a.body;
         },
         u"FAIL document"_qs, u"(line 2, column"_qs},
        {"no XLIFF at all",
         [](Answer &a, const Request &) {
             static const QByteArray json = encrypted(gzipped("<strings/>"));
             a.body = a.status == 200 ? json : a.body;
         },
         u"FAIL document"_qs, u"no string in it"_qs},
        {"a mistake in the translations",
         [](Answer &a, const Request &) {
             static const QByteArray empty =
                 encrypted(gzipped(StaticSite::document("1").replace("adieu 1", "")));
             a.body = a.status == 200 ? empty : a.body;
         },
         u"warn check"_qs, u"empty-target"_qs},
        {"a redirect on this machine",
         [](Answer &a, const Request &r) {
             if (r.target.startsWith("/old"))
                 a = Answer::of(302, {}, {{"Location", r.target.mid(4)}});
         },
         u"warn answer"_qs, u"detour"_qs},
        {"a redirect to plain HTTP elsewhere",
         [](Answer &a, const Request &r) {
             a = Answer::of(302, {}, {{"Location", "http://strings.invalid" + r.target}});
         },
         u"warn answer,FAIL plain,FAIL forced"_qs, u"redirect to https"_qs},
    };
    return list;
}

} // namespace

class tst_Doctor : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_qs)); }

    void findsTheFault_data();
    void findsTheFault();
    void findsWhatIsWrongWithTheQuestion_data();
    void findsWhatIsWrongWithTheQuestion();
    void silentServersCostAFewTimeouts_data();
    void silentServersCostAFewTimeouts();
    void findsNothingWrongWithAStaticServer();
    void findsNothingWrongWithServe();
    void writesLinesForPeople();
};

void tst_Doctor::findsTheFault_data()
{
    QTest::addColumn<qsizetype>("index");
    for (qsizetype i = 0; i < faults().size(); ++i)
        QTest::newRow(faults().at(i).name) << i;
}

void tst_Doctor::findsTheFault()
{
    QFETCH(qsizetype, index);
    const Fault &fault = faults().at(index);
    const bool isOld = qstrcmp(fault.name, "a redirect on this machine") == 0;
    DVFaultServer server;
    server.setHandler([&fault](const Request &request) {
        Answer answer = goodAnswer(request);
        fault.change(answer, request);
        return answer;
    });
    const Diagnosis diagnosis =
        diagnosisOf(server.url(isOld ? u"/old/projects"_qs : u"/projects"_qs), {u"--timeout"_qs, u"10"_qs});
    QCOMPARE(diagnosis.complaints.join(u','), fault.expected);
    QCOMPARE(diagnosis.status, fault.expected.contains(u"FAIL"_qs) ? 1 : 0);
    const QString said = diagnosis.advice + QStringList(diagnosis.seen.values()).join(u'\n');
    QVERIFY2(said.contains(fault.says, Qt::CaseInsensitive), qPrintable(said));
    // As a device: no cookies, no credentials. Four requests, each redirected at most once.
    const auto requests = server.requests();
    QVERIFY(requests.size() <= 8);
    for (const Request &request : requests)
        QVERIFY(request.header("Cookie").isNull() && request.header("Authorization").isNull());
}

void tst_Doctor::findsWhatIsWrongWithTheQuestion_data()
{
    QTest::addColumn<QString>("url"); // null: a good server
    QTest::addColumn<QStringList>("options");
    QTest::addColumn<QString>("expected");
    QTest::addColumn<QString>("says");

    QTcpServer closed;
    closed.listen(QHostAddress::LocalHost);
    const QString refused = QStringLiteral("http://127.0.0.1:%1/projects").arg(closed.serverPort());
    closed.close();

    QTest::newRow("plain HTTP elsewhere")
        << u"http://strings.example/projects"_qs << QStringList{} << u"FAIL url"_qs << u"https URL"_qs;
    QTest::newRow("no URL") << u"strings"_qs << QStringList{} << u"FAIL url"_qs << u"https URL"_qs;
    QTest::newRow("a name that nobody has")
        << u"https://no-such-host.invalid/projects"_qs << QStringList{} << u"FAIL name"_qs << u"slip"_qs;
    QTest::newRow("a port where nobody listens")
        << refused << QStringList{} << u"FAIL connection"_qs << u"listens"_qs;
    QTest::newRow("another key") << QString() << QStringList{u"--key"_qs, u"AAAAAAAAAAAAAAAAAAAAAA=="_qs}
                                 << u"FAIL decryption"_qs << u"does not open it"_qs;
    QTest::newRow("a key of another length")
        << QString() << QStringList{u"--key"_qs, u"AAAAAAAA"_qs} << u"FAIL key"_qs << u"6 bytes"_qs;
    QTest::newRow("a locale that no device chooses")
        << QString() << QStringList{u"--locale"_qs, u"xx-YY"_qs} << u"warn locale,FAIL plain,FAIL forced"_qs
        << u"no device"_qs;
    QTest::newRow("a locale that is none")
        << QString() << QStringList{u"--locale"_qs, u"../fr"_qs} << u"FAIL locale"_qs << u"like \"fr-CA\""_qs;
    QTest::newRow("a locale as devices write it")
        << QString() << QStringList{u"--locale"_qs, u"fr_CA"_qs} << QString() << u"fr-CA, project"_qs;
    QTest::newRow("a string that is there")
        << QString() << QStringList{u"--string"_qs, u"bye"_qs} << QString() << u"\"adieu 1\""_qs;
    QTest::newRow("a string that is not")
        << QString() << QStringList{u"--string"_qs, u"Bye"_qs} << u"FAIL string"_qs << u"letter by letter"_qs;
}

void tst_Doctor::findsWhatIsWrongWithTheQuestion()
{
    QFETCH(QString, url);
    QFETCH(QStringList, options);
    QFETCH(QString, says);
    DVFaultServer server;
    server.setHandler(goodAnswer);
    const Diagnosis diagnosis = diagnosisOf(url.isNull() ? server.url(u"/projects"_qs) : url, options);
    QTEST(diagnosis.complaints.join(u','), "expected");
    const QString said = diagnosis.advice + QStringList(diagnosis.seen.values()).join(u'\n');
    QVERIFY2(said.contains(says), qPrintable(said));
}

void tst_Doctor::silentServersCostAFewTimeouts_data()
{
    QTest::addColumn<int>("fault");
    QTest::addColumn<QString>("expected");
    QTest::newRow("silent from the beginning") << int(DVFaultServer::Fault::Silence) << u"FAIL answer"_qs;
    QTest::newRow("stops in the body")
        << int(DVFaultServer::Fault::StallInBody) << u"FAIL plain,FAIL forced"_qs;
    QTest::newRow("never ends") << int(DVFaultServer::Fault::Endless) << u"FAIL plain,FAIL forced"_qs;
    QTest::newRow("drips its header") << int(DVFaultServer::Fault::Drip) << u"FAIL answer"_qs;
    QTest::newRow("speaks something else") << -1 << u"FAIL answer"_qs;
}

void tst_Doctor::silentServersCostAFewTimeouts()
{
    QFETCH(int, fault);
    DVFaultServer server;
    server.setHandler([fault](const Request &) {
        Answer answer = Answer::failing(fault < 0 ? DVFaultServer::Fault::None : DVFaultServer::Fault(fault));
        if (fault < 0)
            answer.raw = "220 mail.example ESMTP\r\n\r\n";
        answer.intervalMs = 20;
        return answer;
    });
    QElapsedTimer time;
    time.start();
    const Diagnosis diagnosis = diagnosisOf(server.url(u"/projects"_qs), {u"--timeout"_qs, u"0.5"_qs});
    QTEST(diagnosis.complaints.join(u','), "expected");
    QCOMPARE(diagnosis.status, 1);
    QVERIFY(!diagnosis.seen.value(u"answer"_qs).isEmpty());
    QVERIFY2(time.elapsed() < 15000, qPrintable(QString::number(time.elapsed())));
}

void tst_Doctor::findsNothingWrongWithAStaticServer()
{
    StaticSite site;
    site.publish("1", 10);
    const QJsonObject start = QJsonDocument::fromJson(site.startCommand()).object();
    const QString url = start[u"options"_qs][u"servers"_qs][u"deliveryCdn"_qs].toString();
    const Diagnosis diagnosis = diagnosisOf(url, {u"--string"_qs, u"hello"_qs});
    QCOMPARE(diagnosis.complaints, QStringList());
    QCOMPARE(diagnosis.seen.value(u"string"_qs), u"\"bonjour 1\""_qs);
    QCOMPARE(diagnosis.seen.value(u"expiry"_qs), u"fresh for 60 min (Expires)"_qs);
    QCOMPARE(diagnosis.seen.value(u"document"_qs), u"2 keys"_qs);
}

void tst_Doctor::findsNothingWrongWithServe()
{
    const TestProject project;
    const ServeProcess serve(project.path());
    const Diagnosis diagnosis =
        diagnosisOf(QStringLiteral("http://127.0.0.1:%1/projects/").arg(serve.port()));
    QCOMPARE(diagnosis.complaints, QStringList());
    QCOMPARE(diagnosis.seen.value(u"key"_qs), u"AES-128"_qs);
    QVERIFY(diagnosis.seen.value(u"locale"_qs).contains(u"version \"1.0\""_qs));
}

void tst_Doctor::writesLinesForPeople()
{
    const ToolRun run = ToolRun::tool({u"doctor"_qs, u"http://strings.example"_qs, u"--project"_qs, u"p"_qs,
                                       u"--app-version"_qs, u"1"_qs, u"--locale"_qs, u"fr"_qs});
    QCOMPARE(run.status, 1);
    QCOMPARE(run.output,
             QByteArray("FAIL  url            \"http://strings.example\" is refused by applications "
                        "-- give an https URL (http is for this machine only: 127.0.0.1, [::1], "
                        "localhost) without user, query and fragment\n"));
    const ToolRun misused = ToolRun::tool({u"doctor"_qs, u"https://strings.example"_qs});
    QCOMPARE(misused.status, 2);
    QVERIFY(misused.errors.contains("--project is missing"));
}

QTEST_GUILESS_MAIN(tst_Doctor)
#include "tst_doctor.moc"
