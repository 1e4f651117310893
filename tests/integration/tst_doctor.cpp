// `dorvane doctor` in front of deliveries that are wrong in one way each.
#include "StaticSite.h"
#include "TestProject.h"
#include <DVRows.h>

#include <DVFaultServer.h>

#include <QElapsedTimer>
#include <QRegularExpression>
#include <QTcpServer>

using namespace Qt::Literals::StringLiterals;
using namespace Delivered;

namespace {

using Answer = DVFaultServer::Answer;
using Request = DVFaultServer::Request;

QByteArray in(qint64 seconds)
{
    return httpDate(QDateTime::currentDateTimeUtc().addSecs(seconds));
}

const QByteArray &goodFile()
{
    static const QByteArray file = packed(StaticSite::document("1"));
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
    static const QByteArray modified = in(-86400);
    if (!request.target.startsWith("/projects/garden/1.0/fr-CA/strings.gz"))
        return Answer::of(404);
    const bool isCurrent =
        request.header("If-Modified-Since") == modified && !request.target.endsWith("/force");
    return Answer::of(isCurrent ? 304 : 200, isCurrent ? QByteArray() : goodFile(),
                      {{"Date", in(0)}, {"Expires", in(3600)}, {"Last-Modified", modified}});
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
        arguments += {u"--key"_qs, base64()};
    const ToolRun run = ToolRun::tool(arguments + options);
    Diagnosis diagnosis{run.status, {}, {}, {}};
    const QJsonArray steps = QJsonDocument::fromJson(run.output).object().value(u"steps"_qs).toArray();
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

using Change = std::function<void(Answer &, const Request &)>;

// A header that a faulty server sends, or leaves out when it is null.
Change header(const QByteArray &name, const QByteArray &value = {})
{
    return [=](Answer &answer, const Request &) { setHeader(answer, name, value); };
}
Change status(int code)
{
    return [code](Answer &answer, const Request &) { answer = Answer::of(code); };
}
Change file(const QByteArray &bytes)
{
    return [bytes](Answer &answer, const Request &) {
        if (answer.status == 200)
            answer.body = bytes;
    };
}

struct Fault
{
    const char *name;
    Change change;
    QString expected; // complaints, separated by commas
    QString says;     // in what was seen or advised
};

const QList<Fault> &faults()
{
    static const QList<Fault> list{
        {"nothing wrong", [](Answer &, const Request &) {}, {}, {}},
        {"no Date", header("Date"), u"FAIL date,FAIL expiry,warn conditional"_qs,
         u"let the server send \"date\""_qs},
        {"a Date in another form", header("Date", "2026-01-01T00:00:00Z"),
         u"FAIL date,FAIL expiry,warn conditional"_qs, u"is no date"_qs},
        {"a clock that is an hour ahead",
         [](Answer &a, const Request &) {
             setHeader(a, "Date", in(3600));
             setHeader(a, "Expires", in(7200));
         },
         u"warn date"_qs, u"ahead of"_qs},
        {"an Expires of the past", header("Expires", in(-60)), u"warn expiry"_qs, u"stale at once"_qs},
        {"no expiry at all", header("Expires"), u"FAIL expiry,warn conditional"_qs, u"max-age"_qs},
        {"max-age instead of Expires",
         [](Answer &a, const Request &) {
             setHeader(a, "Expires", {});
             setHeader(a, "Cache-Control", "public, max-age=600");
         },
         {},
         u"fresh for 10 min"_qs},
        {"an expiry of a year", [](Answer &a, const Request &) { setHeader(a, "Expires", in(31536000)); },
         u"warn expiry"_qs, u"365 days"_qs},
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
        {"no Last-Modified", header("Last-Modified"), u"warn last-modified"_qs,
         u"transfers the whole file"_qs},
        {"a cookie", header("Set-Cookie", "a=b"), u"warn cookies"_qs, u"devices keep none"_qs},
        {"no address with /force",
         [](Answer &a, const Request &r) {
             if (r.target.endsWith("/force"))
                 a = Answer::of(404);
         },
         u"FAIL forced"_qs, u"map the address"_qs},
        {"an old file under /force",
         [](Answer &a, const Request &r) {
             if (r.target.endsWith("/force"))
                 a.body = encrypted(compressed(StaticSite::document("0")));
         },
         u"warn forced"_qs, u"another file"_qs},
        {"only the address with /force",
         [](Answer &a, const Request &r) {
             if (!r.target.endsWith("/force"))
                 a = Answer::of(404);
         },
         u"FAIL plain"_qs, u"in the background"_qs},
        {"a project that is switched off", status(403), u"FAIL plain,FAIL forced"_qs, u"switched off"_qs},
        {"a server that is ill", status(503), u"FAIL plain,FAIL forced"_qs, u"the server is ill"_qs},
        {"compressed again on the way",
         [](Answer &a, const Request &) {
             if (!a.body.isEmpty())
                 a.body = compressed(a.body);
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
        {"cut short, a whole block", file(goodFile().chopped(16)), u"FAIL decryption"_qs,
         u"does not open it"_qs},
        {"cut short, within a block", file(goodFile().chopped(5)), u"FAIL decryption"_qs, u"AES blocks"_qs},
        {"a connection that ends in the body",
         [](Answer &a, const Request &) {
             if (a.status == 200)
                 a.fault = DVFaultServer::Fault::CutBody;
         },
         u"FAIL plain,FAIL forced"_qs, u"server's log"_qs},
        {"a gzip stream that was cut", file(encrypted(compressed(StaticSite::document("1")).chopped(9))),
         u"FAIL inflation"_qs, u"damaged or cut"_qs},
        {"a document that was never compressed", file(encrypted(StaticSite::document("1"))),
         u"warn inflation"_qs, u"compress it"_qs},
        {"a document that is not well-formed", file(packed("<xliff>\n</file>")), u"FAIL document"_qs,
         u"(line 2, column"_qs},
        {"no XLIFF at all", file(packed("<strings/>")), u"FAIL document"_qs, u"no string in it"_qs},
        {"a mistake in the translations",
         file(encrypted(compressed(StaticSite::document("1").replace("adieu 1", "")))), u"warn check"_qs,
         u"empty-target"_qs},
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
    const DVRows<qsizetype> row("index");
    for (qsizetype i = 0; i < faults().size(); ++i)
        row(faults().at(i).name, i);
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
    // url: null: a good server
    const DVRows<QString, QStringList, QString, QString> row("url", "options", "expected", "says");

    QTcpServer closed;
    closed.listen(QHostAddress::LocalHost);
    const QString refused = u"http://127.0.0.1:%1/projects"_qs.arg(closed.serverPort());
    closed.close();

    row("plain HTTP elsewhere", u"http://strings.example/projects"_qs, {}, u"FAIL url"_qs, u"https URL"_qs);
    row("no URL", u"strings"_qs, {}, u"FAIL url"_qs, u"https URL"_qs);
    row("a name that nobody has", u"https://no-such-host.invalid/projects"_qs, {}, u"FAIL name"_qs,
        u"slip"_qs);
    row("a port where nobody listens", refused, {}, u"FAIL connection"_qs, u"listens"_qs);
    row("another key", {}, {u"--key"_qs, u"AAAAAAAAAAAAAAAAAAAAAA=="_qs}, u"FAIL decryption"_qs,
        u"does not open it"_qs);
    row("a key of another length", {}, {u"--key"_qs, u"AAAAAAAA"_qs}, u"FAIL key"_qs, u"6 bytes"_qs);
    row("a locale that no device chooses", {}, {u"--locale"_qs, u"xx-YY"_qs},
        u"warn locale,FAIL plain,FAIL forced"_qs, u"no device"_qs);
    row("a locale that is none", {}, {u"--locale"_qs, u"../fr"_qs}, u"FAIL locale"_qs, u"like \"fr-CA\""_qs);
    row("a locale as devices write it", {}, {u"--locale"_qs, u"fr_CA"_qs}, {}, u"fr-CA, project"_qs);
    row("a string that is there", {}, {u"--string"_qs, u"bye"_qs}, {}, u"\"adieu 1\""_qs);
    row("a string that is not", {}, {u"--string"_qs, u"Bye"_qs}, u"FAIL string"_qs, u"letter by letter"_qs);
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
    const DVRows<int, QString> row("fault", "expected");
    row("silent from the beginning", int(DVFaultServer::Fault::Silence), u"FAIL answer"_qs);
    row("stops in the body", int(DVFaultServer::Fault::StallInBody), u"FAIL plain,FAIL forced"_qs);
    row("never ends", int(DVFaultServer::Fault::Endless), u"FAIL plain,FAIL forced"_qs);
    row("drips its header", int(DVFaultServer::Fault::Drip), u"FAIL answer"_qs);
    row("speaks something else", -1, u"FAIL answer"_qs);
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
    const Diagnosis diagnosis = diagnosisOf(u"http://127.0.0.1:%1/projects/"_qs.arg(serve.port()));
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
