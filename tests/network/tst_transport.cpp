// The transport against servers that misbehave, and its end.
#include "DVFaultServer.h"
#include "DVHttpTransport.h"
#include "DVOutcome.h"
#include "DVRows.h"

#include <QElapsedTimer>
#include <QFile>
#include <QNetworkReply>
#include <QProcess>
#include <QTemporaryDir>
#include <QTemporaryFile>
#include <QTimer>

#include <cmath>
#include <limits>
#include <thread>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

using Answer = DVFaultServer::Answer;
using Fault = DVFaultServer::Fault;
using Request = DVFaultServer::Request;
using Arrival = DVOutcome<DVHttpResponse>;

namespace {

DVHttpRequest get(const QString &url)
{
    DVHttpRequest request;
    request.request.setUrl(QUrl(url));
    return request;
}

DVHttpRequest post(const QString &url, const QByteArray &body)
{
    DVHttpRequest request = get(url);
    request.method = "POST";
    request.body = body;
    request.request.setRawHeader("Content-Type", "text/plain");
    return request;
}

// Made with zlib alone, so that the decoding under test is not its own witness.
QByteArray gzip(const QByteArray &data)
{
    QByteArray output(data.size() + 1024, '\0');
    z_stream stream = {};
    deflateInit2(&stream, 9, Z_DEFLATED, 31, 8, Z_DEFAULT_STRATEGY);
    stream.next_in = reinterpret_cast<Bytef *>(const_cast<char *>(data.constData()));
    stream.avail_in = uInt(data.size());
    stream.next_out = reinterpret_cast<Bytef *>(output.data());
    stream.avail_out = uInt(output.size());
    deflate(&stream, Z_FINISH);
    output.resize(qsizetype(stream.total_out));
    deflateEnd(&stream);
    return output;
}

// What the probe prints is that it begins to end.
void expectQuickEnd(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start(program, arguments);
    QVERIFY(process.waitForReadyRead(generousMs));
    QElapsedTimer clock;
    clock.start();
    QVERIFY(process.waitForFinished(generousMs));
    QCOMPARE(process.exitStatus(), QProcess::NormalExit);
    QCOMPARE(process.exitCode(), 0);
    QVERIFY2(clock.elapsed() < 2500, qPrintable(QString::number(clock.elapsed())));
}

int codeOf(const DVErrorOr &error)
{
    return error ? error->code : 0;
}

} // namespace

class tst_Transport : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { DVHttpTransport::shutDown(1000); }

    void answersArriveInBothWays_data();
    void answersArriveInBothWays();
    void faultsBecomeErrors_data();
    void faultsBecomeErrors();
    void refusedUrls();
    void deadlineHolds_data();
    void deadlineHolds();
    void unusualTimes_data();
    void unusualTimes();
    void callersEventLoopStandsStillWhileWaiting();
    void inactivityEndsAStartedRequest();
    void contentCodings_data();
    void contentCodings();
    void tooLargeAnswers_data();
    void tooLargeAnswers();
    void redirects_data();
    void redirects();
    void everyHopStaysWithTheOrigin();
    void bodiesAreNeverSentTwice_data();
    void bodiesAreNeverSentTwice();
    void noCookiesComeBack();
    void uncleanHeadersAreNotSent();
    void manyRequestsAtOnceEachCompleteOnce();
    void shutDownIsQuickAndFinal_data();
    void shutDownIsQuickAndFinal();
    void shutDownFreesAWaitingThread();
    void processEnds_data();
    void processEnds();
    void processEndsWhileTheNameServerIsSilent();
    void processEndsWhileTlsIsLoaded();
};

void tst_Transport::answersArriveInBothWays_data()
{
    const DVRows<int, QByteArray> row("status", "body");
    row("plain success", 200, "hello");
    row("empty success", 200, {});
    row("not modified", 304, {});
    row("credentials wanted", 401, "who");
    row("not found", 404, "none");
    row("server failure", 500, "oops");
    row("a status nobody knows", 799, "what");
}

void tst_Transport::answersArriveInBothWays()
{
    QFETCH(int, status);
    QFETCH(QByteArray, body);
    DVFaultServer server;
    server.setHandler([&](const Request &) { return Answer::of(status, body, {{"X-Test", "a b"}}); });

    DVHttpResponse waited;
    QCOMPARE(DVHttpTransport::sendAndWait(get(server.url()), 5, &waited), DVErrorOr());
    QCOMPARE(waited.statusCode, status);
    QCOMPARE(waited.body, body);
    QCOMPARE(waited.header("x-test"), QByteArray("a b"));

    const Arrival arrival;
    DVHttpTransport::send(get(server.url()), {}, arrival.take());
    QCOMPARE(arrival->calls, 0);
    QTRY_COMPLETED(arrival);
    QVERIFY(!arrival->error);
    QCOMPARE(arrival->result.statusCode, status);
    QCOMPARE(arrival->result.body, body);
}

void tst_Transport::faultsBecomeErrors_data()
{
    const DVRows<Fault> row("fault");
    row("closed without an answer", Fault::Close);
    row("reset without an answer", Fault::Reset);
    row("cut in the body", Fault::CutBody);
    row("reset in the body", Fault::ResetInBody);
}

void tst_Transport::faultsBecomeErrors()
{
    QFETCH(Fault, fault);
    DVFaultServer server;
    server.setHandler([&](const Request &) { return Answer::failing(fault); });

    QElapsedTimer clock;
    clock.start();
    DVHttpResponse response;
    const DVErrorOr error = DVHttpTransport::sendAndWait(get(server.url()), 20, &response);
    QVERIFY(error);
    QCOMPARE(error->domain, u"dorvane.network"_qs);
    QVERIFY(error->code != QNetworkReply::TimeoutError);
    QVERIFY(!error->description.isEmpty());
    QVERIFY(clock.elapsed() < 10000);
    QCOMPARE(response.statusCode, 0);

    const Arrival arrival;
    DVHttpTransport::send(get(server.url()), {}, arrival.take());
    QTRY_COMPLETED(arrival);
    QVERIFY(arrival->error);
}

void tst_Transport::refusedUrls()
{
    const auto codeFor = [](const char *url) {
        return codeOf(DVHttpTransport::sendAndWait(get(QString::fromLatin1(url)), 10, nullptr));
    };
    for (const char *url :
         {"file:///etc/hostname", "qrc:/qt-project.org", "data:,x", "ftp://127.0.0.1/x", "x", ""})
        QCOMPARE(codeFor(url), int(QNetworkReply::ProtocolUnknownError));
    // Plain HTTP, and not to loopback.
    for (const char *url : {"http://192.0.2.1/x", "http://strings.test/x", "http://localhost.strings.test/"})
        QCOMPARE(codeFor(url), int(QNetworkReply::ProtocolInvalidOperationError));
}

void tst_Transport::deadlineHolds_data()
{
    const DVRows<Fault> row("fault");
    row("the server says nothing", Fault::Silence);
    row("the server drips a byte a second", Fault::Drip);
    row("the server stops in the body", Fault::StallInBody);
    row("the body never ends", Fault::Endless);
}

void tst_Transport::deadlineHolds()
{
    QFETCH(Fault, fault);
    DVFaultServer server;
    server.setHandler([&](const Request &) { return Answer::failing(fault); });
    for (const int milliseconds : {150, 700}) {
        qint64 late = 0;
        // A busy machine may be late once.
        for (int attempt = 0; attempt < 3; ++attempt) {
            QElapsedTimer clock;
            clock.start();
            const DVErrorOr error =
                DVHttpTransport::sendAndWait(get(server.url()), milliseconds / 1000.0, nullptr);
            late = clock.elapsed() - milliseconds;
            // The body without end may reach the limit of its size first.
            if (fault == Fault::Endless && codeOf(error) == QNetworkReply::UnknownContentError)
                break;
            QCOMPARE(codeOf(error), int(QNetworkReply::TimeoutError));
            QVERIFY(late >= 0);
            if (late <= 50)
                break;
        }
        QVERIFY2(late <= 50, qPrintable(QString::number(late)));
    }
    // Connections that carried a request do not outlive the deadline.
    QSet<int> used;
    for (const Request &request : server.requests())
        used.insert(request.connection);
    QVERIFY(server.waitForDisconnects(int(used.size())));
}

void tst_Transport::unusualTimes_data()
{
    const DVRows<double, bool> row("seconds", "answered");
    row("zero", 0.0, false);
    row("negative", -3.0, false);
    row("minus infinity", -std::numeric_limits<double>::infinity(), false);
    row("not a number", std::nan(""), false);
    row("infinity", std::numeric_limits<double>::infinity(), true);
    row("the largest number", std::numeric_limits<double>::max(), true);
    row("2^63 seconds", 9223372036854775808.0, true);
}

void tst_Transport::unusualTimes()
{
    QFETCH(double, seconds);
    QFETCH(bool, answered);
    DVFaultServer server;
    server.enqueue(Answer::of(200, "x"));
    DVHttpResponse response;
    const DVErrorOr error = DVHttpTransport::sendAndWait(get(server.url()), seconds, &response);
    QCOMPARE(codeOf(error), answered ? 0 : int(QNetworkReply::TimeoutError));
    QCOMPARE(response.statusCode, answered ? 200 : 0);
    QCOMPARE(server.requests().size(), answered ? 1 : 0);
}

void tst_Transport::callersEventLoopStandsStillWhileWaiting()
{
    DVFaultServer server;
    server.enqueue(Answer::of(200, "x").delayed(200));
    bool ran = false;
    QTimer::singleShot(0, this, [&] { ran = true; });
    QVERIFY(!DVHttpTransport::sendAndWait(get(server.url()), 5, nullptr));
    QVERIFY(!ran);
    QTRY_VERIFY(ran);
}

void tst_Transport::inactivityEndsAStartedRequest()
{
    DVFaultServer server;
    server.enqueue(Answer::failing(Fault::Silence));
    const Arrival arrival;
    DVHttpTransport::send(get(server.url()), {}, arrival.take(), 1000);
    QTRY_COMPLETED(arrival);
    QCOMPARE(arrival->code(), int(QNetworkReply::TimeoutError));
    QVERIFY(server.waitForDisconnects(1));
}

void tst_Transport::contentCodings_data()
{
    const QByteArray text = "a text that is long enough to be worth coding, worth coding, worth coding";
    const QByteArray damaged = gzip(text).left(gzip(text).size() - 12);
    const DVRows<QByteArray, QByteArray, QByteArray, bool> row("coding", "sent", "expected", "fails");
    row("none", {}, text, text, false);
    row("gzip", "gzip", gzip(text), text, false);
    row("its old name, in capitals", "X-GZIP", gzip(text), text, false);
    row("identity and gzip", "identity, gzip", gzip(text), text, false);
    row("twice", "gzip, gzip", gzip(gzip(text)), text, false);
    row("not announced, so it stays", {}, gzip(text), gzip(text), false);
    row("announced by the name of the file only", "gzip", text, text, false);
    row("cut off", "gzip", damaged, {}, true);
    row("too many", "gzip,gzip,gzip,gzip,gzip", gzip(text), {}, true);
    const QByteArray bomb = gzip(QByteArray(qsizetype(64) << 20, 'x'));
    row("a bomb", "gzip", bomb, {}, true);
}

void tst_Transport::contentCodings()
{
    QFETCH(QByteArray, coding);
    QFETCH(QByteArray, sent);
    DVFaultServer server;
    DVFaultServer::Headers headers;
    if (!coding.isNull())
        headers.append({"Content-Encoding", coding});
    server.enqueue(Answer::of(200, sent, headers));
    DVHttpResponse response;
    const DVErrorOr error = DVHttpTransport::sendAndWait(get(server.url()), 20, &response);
    QTEST(error.has_value(), "fails");
    QTEST(response.body, "expected");
    QCOMPARE(server.requests().constFirst().header("Accept-Encoding"), QByteArray("gzip"));
}

void tst_Transport::tooLargeAnswers_data()
{
    const DVRows<Answer, bool> row("answer", "fails");
    row("as large as allowed", Answer::of(200, QByteArray(1000, 'x')), false);
    row("one byte more", Answer::of(200, QByteArray(1001, 'x')), true);
    row("a length is announced that is too large",
        Answer::of(200, "short", {{"Content-Length", "99999999999999"}}), true);
    row("no length and no end", Answer::failing(Fault::Endless), true);
    Answer chunked;
    chunked.raw = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n7d0\r\n" + QByteArray(2000, 'x') +
                  "\r\n0\r\n\r\n";
    row("in chunks", chunked, true);
    const auto coded = [](qsizetype size) {
        return Answer::of(200, gzip(QByteArray(size, 'x')), {{"Content-Encoding", "gzip"}});
    };
    row("as large as allowed when decoded", coded(1000), false);
    row("one byte more when decoded", coded(1001), true);
}

void tst_Transport::tooLargeAnswers()
{
    QFETCH(Answer, answer);
    QFETCH(bool, fails);
    DVFaultServer server;
    server.enqueue(answer);
    DVHttpRequest request = get(server.url());
    request.maximumBodySize = 1000;
    const DVErrorOr error = DVHttpTransport::sendAndWait(request, 10, nullptr);
    QCOMPARE(error.has_value(), fails);
    if (fails && !answer.headers.contains({"Content-Encoding", "gzip"}))
        QCOMPARE(error->code, int(QNetworkReply::UnknownContentError));
}

void tst_Transport::redirects_data()
{
    // arrivesAs: method and body at the target
    const DVRows<int, QByteArray, QByteArray, int, QByteArray> row("status", "method", "location",
                                                                   "errorCode", "arrivesAs");
    const auto good = [&row](const QByteArray &method, std::initializer_list<int> statuses,
                             const QByteArray &arrivesAs) {
        for (const int status : statuses)
            row(qPrintable(u"a %1 after %2"_qs.arg(QString::fromLatin1(method)).arg(status)), status, method,
                "/target", 0, arrivesAs);
    };
    good("GET", {301, 302, 303, 307, 308}, "GET ");
    good("POST", {301, 302, 303}, "GET ");
    good("POST", {307, 308}, "POST body");
    good("PUT", {301, 302, 307}, "PUT body");
    good("PUT", {303}, "GET ");
    const int insecure = QNetworkReply::InsecureRedirectError;
    row("no target: the answer itself", 302, "GET", {}, 0, {});
    row("in a circle", 302, "GET", "/start", QNetworkReply::TooManyRedirectsError, {});
    row("to plain HTTP elsewhere", 302, "GET", "http://192.0.2.1/target", insecure, {});
    row("to a file", 302, "GET", "file:///etc/hostname", insecure, {});
    row("to data", 302, "GET", "data:,x", insecure, {});
    row("a POST to another origin", 307, "POST", "http://localhost:9/target", insecure, {});
}

void tst_Transport::redirects()
{
    QFETCH(int, status);
    QFETCH(QByteArray, method);
    QFETCH(QByteArray, location);
    QFETCH(int, errorCode);
    QFETCH(QByteArray, arrivesAs);
    DVFaultServer server;
    DVFaultServer::Headers headers;
    if (!location.isNull())
        headers.append({"Location", location});
    server.setHandler([&](const Request &request) {
        return request.target == "/target" ? Answer::of(200, "there") : Answer::of(status, "moved", headers);
    });
    const QString url = server.url(u"/start"_qs);
    DVHttpRequest request = method == "GET" ? get(url) : post(url, "body");
    request.method = method;
    DVHttpResponse response;
    const DVErrorOr error = DVHttpTransport::sendAndWait(request, 10, &response);
    QCOMPARE(codeOf(error), errorCode);
    const auto requests = server.requests();
    QVERIFY(requests.size() <= 11);
    if (!arrivesAs.isNull()) {
        QCOMPARE(response.body, QByteArray("there"));
        QCOMPARE(requests.constLast().method + ' ' + requests.constLast().body, arrivesAs);
        QCOMPARE(response.methodChanged, requests.constLast().method != method);
    } else if (errorCode == 0) {
        QCOMPARE(response.statusCode, status);
    }
}

void tst_Transport::everyHopStaysWithTheOrigin()
{
    DVFaultServer other;
    DVFaultServer server;
    for (const bool isSigned : {true, false}) { // a signed GET; a POST that becomes a GET
        server.enqueue(Answer::of(isSigned ? 302 : 303, {}, {{"Location", "/same"}}));
        server.enqueue(Answer::of(302, {}, {{"Location", other.url(u"/other?code=x"_qs).toUtf8()}}));
        DVHttpRequest request = isSigned ? get(server.url()) : post(server.url(), "body");
        if (isSigned)
            request.request.setRawHeader("Authorization", "Bearer abc");
        const DVErrorOr error = DVHttpTransport::sendAndWait(request, 10, nullptr);
        QCOMPARE(codeOf(error), int(QNetworkReply::InsecureRedirectError));
        QVERIFY(!error->description.contains(u"code=x"));
    }
    QCOMPARE(server.requests().at(1).header("Authorization"), QByteArray("Bearer abc"));
    QCOMPARE(other.connectionCount(), 0);
}

void tst_Transport::bodiesAreNeverSentTwice_data()
{
    const DVRows<QByteArray, QByteArray, Fault> row("method", "body", "fault");
    // The network stack holds a PUT for safe to repeat (RFC 9110, 9.2.2).
    for (const QByteArray method : {"POST", "PUT"}) {
        row(QByteArray(method + " with a body, closed").constData(), method, "body", Fault::Close);
        row(QByteArray(method + " with a body, reset").constData(), method, "body", Fault::Reset);
        row(QByteArray(method + " with a large body, closed").constData(), method, QByteArray(1 << 20, 'x'),
            Fault::Close);
        row(QByteArray(method + " without a body, closed").constData(), method, {}, Fault::Close);
    }
}

void tst_Transport::bodiesAreNeverSentTwice()
{
    QFETCH(QByteArray, method);
    QFETCH(QByteArray, body);
    QFETCH(Fault, fault);
    DVFaultServer server;
    server.enqueue(Answer::of(200)); // there is a used connection then
    server.setHandler([&](const Request &) { return Answer::failing(fault); });
    QVERIFY(!DVHttpTransport::sendAndWait(get(server.url()), 10, nullptr));
    DVHttpRequest request = post(server.url(), body);
    request.method = method;
    QVERIFY(DVHttpTransport::sendAndWait(request, 10, nullptr));
    QCOMPARE(server.requests().size(), 2);
    QCOMPARE(server.requests().at(1).body, body);
    QCOMPARE(server.requests().at(1).connection, 1);
}

void tst_Transport::noCookiesComeBack()
{
    DVFaultServer server;
    server.setHandler([](const Request &) { return Answer::of(200, {}, {{"Set-Cookie", "a=b"}}); });
    QVERIFY(!DVHttpTransport::sendAndWait(get(server.url()), 10, nullptr));
    QVERIFY(!DVHttpTransport::sendAndWait(get(server.url()), 10, nullptr));
    QVERIFY(server.requests().at(1).header("Cookie").isNull());
}

void tst_Transport::uncleanHeadersAreNotSent()
{
    DVFaultServer server;
    server.enqueue(Answer::of(200));
    DVHttpRequest request = get(server.url(u"/a b\r\nX-Path: 1"_qs));
    request.request.setRawHeader("X-Good", "1");
    request.request.setRawHeader("X-Bad", "1\r\nX-Injected: 1");
    DVHttpTransport::sendAndWait(request, 10, nullptr);
    for (const Request &seen : server.requests()) {
        QVERIFY(seen.header("X-Injected").isNull());
        QVERIFY(seen.header("X-Path").isNull());
        QCOMPARE(seen.header("X-Good"), QByteArray("1"));
    }
}

void tst_Transport::manyRequestsAtOnceEachCompleteOnce()
{
    DVFaultServer server;
    server.setHandler([](const Request &request) { return Answer::of(200, request.target); });
    QHash<QByteArray, int> completed;
    const int count = 60;
    for (int i = 0; i < count; ++i) {
        const QString path = u"/%1"_qs.arg(i);
        DVHttpTransport::send(
            get(server.url(path)), {},
            [&completed](const DVErrorOr &, const DVHttpResponse &response) { ++completed[response.body]; });
    }
    // Callers on other threads wait meanwhile.
    std::atomic<int> waited = 0;
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&] {
            DVHttpResponse response;
            if (!DVHttpTransport::sendAndWait(get(server.url(u"/w"_qs)), 10, &response))
                ++waited;
        });
    for (std::thread &thread : threads)
        thread.join();
    QCOMPARE(waited.load(), 4);
    QTRY_COMPARE(completed.size(), count);
    for (const int times : std::as_const(completed))
        QCOMPARE(times, 1);
}

void tst_Transport::shutDownIsQuickAndFinal_data()
{
    const DVRows<Fault> row("fault");
    row("silent server", Fault::Silence);
    row("dripping server", Fault::Drip);
    row("endless body", Fault::Endless);
    row("answers that have arrived but were not delivered", Fault::None);
}

void tst_Transport::shutDownIsQuickAndFinal()
{
    QFETCH(Fault, fault);
    DVFaultServer server;
    server.setHandler([&](const Request &) { return Answer::failing(fault, QByteArray(5000, 'x')); });
    const Arrival arrival;
    for (int i = 0; i < 12; ++i)
        DVHttpTransport::send(get(server.url()), {}, arrival.take());
    QVERIFY(server.waitForRequests(6));
    QElapsedTimer clock;
    clock.start();
    DVHttpTransport::shutDown(generousMs);
    // A busy machine gets some room, the minute of the requests does not fit in.
    QVERIFY2(clock.elapsed() < 2500, qPrintable(QString::number(clock.elapsed())));
    QVERIFY(server.waitForDisconnects(server.connectionCount()));
    QCoreApplication::processEvents();
    QCoreApplication::processEvents();
    QCOMPARE(arrival->calls, 0);

    // Later use starts anew.
    server.setHandler([](const Request &) { return Answer::of(200, "again"); });
    DVHttpResponse response;
    QVERIFY(!DVHttpTransport::sendAndWait(get(server.url()), 10, &response));
    QCOMPARE(response.body, QByteArray("again"));
}

void tst_Transport::shutDownFreesAWaitingThread()
{
    DVFaultServer server;
    server.enqueue(Answer::failing(Fault::Silence));
    DVErrorOr error;
    std::thread waiting([&] { error = DVHttpTransport::sendAndWait(get(server.url()), 60, nullptr); });
    QVERIFY(server.waitForRequests(1));
    QElapsedTimer clock;
    clock.start();
    DVHttpTransport::shutDown(generousMs);
    waiting.join();
    QVERIFY(clock.elapsed() < 5000);
    QCOMPARE(codeOf(error), int(QNetworkReply::OperationCanceledError));
}

void tst_Transport::processEnds_data()
{
    const DVRows<QString> row("how");
    row("the application object is destroyed", u"return"_qs);
    row("exit() from the event loop", u"exit"_qs);
    row("a second application object, then return", u"twice"_qs);
    row("requests after the application object", u"after"_qs);
    row("work of ours takes long on the network thread", u"stuck"_qs);
    row("exit() on another thread", u"thread"_qs);
}

// A process with requests under way to a silent, a dripping and a secure server.
void tst_Transport::processEnds()
{
#if defined(DORVANE_THREAD_SANITIZER)
    QSKIP("The sanitizer ends a process that starts threads after it has forked.");
#endif
    QFETCH(QString, how);
    DVFaultServer server;
    server.setHandler([](const Request &request) {
        if (request.target == "/answer")
            return Answer::of(200);
        return Answer::failing(request.target == "/drip" ? Fault::Drip : Fault::Silence);
    });
    for (int i = 0; i < 5 && !QTest::currentTestFailed(); ++i)
        expectQuickEnd(QStringLiteral(DORVANE_END_PROBE), {server.url(), how});
}

// A thread of ours that loads libraries while the process unloads them crashes.
void tst_Transport::processEndsWhileTlsIsLoaded()
{
#if defined(DORVANE_THREAD_SANITIZER)
    QSKIP("The sanitizer ends a process that starts threads after it has forked.");
#endif
    const QTemporaryDir folder;
    const QString settings = folder.filePath(u"openssl.cnf"_qs); // which the library reads first
    QCOMPARE(::mkfifo(QFile::encodeName(settings).constData(), 0600), 0);
    DVFaultServer server;
    server.setHandler([](const Request &) { return Answer::failing(Fault::Silence); });
    QProcess process;
    auto environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"OPENSSL_CONF"_qs, settings);
    process.setProcessEnvironment(environment);
    process.start(QStringLiteral(DORVANE_END_PROBE), {server.url(), u"return"_qs});
    QVERIFY(process.waitForReadyRead(generousMs)); // it is ending
    QVERIFY(!process.waitForFinished(500));
    const int writer = ::open(QFile::encodeName(settings).constData(), O_WRONLY | O_NONBLOCK);
    QVERIFY2(writer >= 0, "nobody reads the settings");
    ::close(writer);
    QVERIFY(process.waitForFinished(generousMs));
    QCOMPARE(process.exitStatus(), QProcess::NormalExit);
    QCOMPARE(process.exitCode(), 0);
}

// In namespaces of its own, where the only name server takes questions and says nothing.
void tst_Transport::processEndsWhileTheNameServerIsSilent()
{
#if defined(DORVANE_THREAD_SANITIZER)
    QSKIP("The sanitizer ends a process that starts threads after it has forked.");
#endif
    const QStringList apart =
        geteuid() == 0 ? QStringList{u"-n"_qs, u"-m"_qs} : QStringList{u"-r"_qs, u"-n"_qs, u"-m"_qs};
    QTemporaryFile resolver;
    QVERIFY(resolver.open());
    resolver.write("nameserver 127.0.0.9\n");
    resolver.flush();
    const auto inside = [&](const QString &command) {
        const QString script = u"mount --bind \"$0\" /etc/resolv.conf && "_qs + command;
        return apart + QStringList{u"sh"_qs, u"-c"_qs, script, resolver.fileName()};
    };
    if (QProcess::execute(u"unshare"_qs, inside(u"ip link set lo up"_qs)) != 0)
        QSKIP("Namespaces are not allowed here.");

    expectQuickEnd(u"unshare"_qs,
                   inside(u"ip link set lo up && exec \"%1\" https://strings.test names"_qs.arg(
                       QStringLiteral(DORVANE_END_PROBE))));
}

QTEST_GUILESS_MAIN(tst_Transport)
#include "tst_transport.moc"
