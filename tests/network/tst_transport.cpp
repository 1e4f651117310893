// The transport against servers that misbehave, and its end.
#include "DVFaultServer.h"
#include "DVHttpTransport.h"

#include <QElapsedTimer>
#include <QNetworkReply>
#include <QProcess>
#include <QTemporaryFile>
#include <QTest>
#include <QTimer>

#include <cmath>
#include <limits>
#include <thread>

#include <unistd.h>
#include <zlib.h>

using Answer = DVFaultServer::Answer;
using Fault = DVFaultServer::Fault;

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

// An answer, or a failure, that arrived through the event loop.
struct Arrival
{
    bool arrived = false;
    DVErrorOr error;
    DVHttpResponse response;

    DVHttpTransport::Completion completion()
    {
        return [this](const DVErrorOr &withError, const DVHttpResponse &withResponse) {
            arrived = true;
            error = withError;
            response = withResponse;
        };
    }
};

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
    void otherProtocolsAreRefused();
    void plainHttpElsewhereIsRefused();
    void deadlineHolds_data();
    void deadlineHolds();
    void unusualTimes_data();
    void unusualTimes();
    void callersEventLoopStandsStillWhileWaiting();
    void lateAnswerIsDecodedForNobody();
    void inactivityEndsAStartedRequest();
    void contentCodings_data();
    void contentCodings();
    void tooLargeAnswers_data();
    void tooLargeAnswers();
    void decodedBodyCountsAgainstTheLimit();
    void redirects_data();
    void redirects();
    void signedRequestsStayWithTheirOrigin();
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
};

void tst_Transport::answersArriveInBothWays_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("body");
    QTest::newRow("plain success") << 200 << QByteArray("hello");
    QTest::newRow("empty success") << 200 << QByteArray();
    QTest::newRow("not modified") << 304 << QByteArray();
    QTest::newRow("bad request") << 400 << QByteArray("bad");
    QTest::newRow("credentials wanted") << 401 << QByteArray("who");
    QTest::newRow("forbidden") << 403 << QByteArray("no");
    QTest::newRow("not found") << 404 << QByteArray("none");
    QTest::newRow("gone") << 410 << QByteArray("gone");
    QTest::newRow("server failure") << 500 << QByteArray("oops");
    QTest::newRow("unavailable") << 503 << QByteArray("later");
    QTest::newRow("a status nobody knows") << 799 << QByteArray("what");
}

void tst_Transport::answersArriveInBothWays()
{
    QFETCH(int, status);
    QFETCH(QByteArray, body);
    DVFaultServer server;
    server.setHandler([&](const DVFaultServer::Request &) {
        return Answer::of(status, body, {{"X-Test", "a b"}});
    });

    DVHttpResponse waited;
    const DVErrorOr error = DVHttpTransport::sendAndWait(get(server.url()), 5, &waited);
    QVERIFY2(!error, error ? qPrintable(error->description) : "");
    QCOMPARE(waited.statusCode, status);
    QCOMPARE(waited.body, body);
    QCOMPARE(waited.header("x-test"), QByteArray("a b"));

    Arrival arrival;
    DVHttpTransport::send(get(server.url()), {}, arrival.completion());
    QVERIFY(!arrival.arrived);
    QTRY_VERIFY(arrival.arrived);
    QVERIFY(!arrival.error);
    QCOMPARE(arrival.response.statusCode, status);
    QCOMPARE(arrival.response.body, body);
}

void tst_Transport::faultsBecomeErrors_data()
{
    QTest::addColumn<Fault>("fault");
    QTest::newRow("closed without an answer") << Fault::Close;
    QTest::newRow("reset without an answer") << Fault::Reset;
    QTest::newRow("cut in the body") << Fault::CutBody;
    QTest::newRow("reset in the body") << Fault::ResetInBody;
}

void tst_Transport::faultsBecomeErrors()
{
    QFETCH(Fault, fault);
    DVFaultServer server;
    server.setHandler([&](const DVFaultServer::Request &) { return Answer::failing(fault); });

    QElapsedTimer clock;
    clock.start();
    DVHttpResponse response;
    const DVErrorOr error = DVHttpTransport::sendAndWait(get(server.url()), 20, &response);
    QVERIFY(error);
    QCOMPARE(error->domain, QStringLiteral("dorvane.network"));
    QVERIFY(error->code != QNetworkReply::TimeoutError);
    QVERIFY(!error->description.isEmpty());
    QVERIFY(clock.elapsed() < 10000);
    QCOMPARE(response.statusCode, 0);

    Arrival arrival;
    DVHttpTransport::send(get(server.url()), {}, arrival.completion());
    QTRY_VERIFY(arrival.arrived);
    QVERIFY(arrival.error);
}

void tst_Transport::otherProtocolsAreRefused()
{
    for (const char *url :
         {"file:///etc/hostname", "qrc:/qt-project.org", "data:,x", "ftp://127.0.0.1/x", "x", ""}) {
        const DVErrorOr error = DVHttpTransport::sendAndWait(get(QString::fromLatin1(url)), 10, nullptr);
        QCOMPARE(codeOf(error), int(QNetworkReply::ProtocolUnknownError));
    }
}

void tst_Transport::plainHttpElsewhereIsRefused()
{
    for (const char *url :
         {"http://192.0.2.1/x", "http://strings.test/x", "http://localhost.strings.test/"}) {
        const DVErrorOr error = DVHttpTransport::sendAndWait(get(QString::fromLatin1(url)), 10, nullptr);
        QCOMPARE(codeOf(error), int(QNetworkReply::ProtocolInvalidOperationError));
    }
}

void tst_Transport::deadlineHolds_data()
{
    QTest::addColumn<Fault>("fault");
    QTest::newRow("the server says nothing") << Fault::Silence;
    QTest::newRow("the server drips a byte a second") << Fault::Drip;
    QTest::newRow("the server stops in the body") << Fault::StallInBody;
    QTest::newRow("the body never ends") << Fault::Endless;
}

void tst_Transport::deadlineHolds()
{
    QFETCH(Fault, fault);
    DVFaultServer server;
    server.setHandler([&](const DVFaultServer::Request &) { return Answer::failing(fault); });
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
    for (const DVFaultServer::Request &request : server.requests())
        used.insert(request.connection);
    QVERIFY(server.waitForDisconnects(int(used.size())));
}

void tst_Transport::unusualTimes_data()
{
    QTest::addColumn<double>("seconds");
    QTest::addColumn<bool>("answered");
    QTest::newRow("zero") << 0.0 << false;
    QTest::newRow("negative") << -3.0 << false;
    QTest::newRow("minus infinity") << -std::numeric_limits<double>::infinity() << false;
    QTest::newRow("not a number") << std::nan("") << false;
    QTest::newRow("infinity") << std::numeric_limits<double>::infinity() << true;
    QTest::newRow("the largest number") << std::numeric_limits<double>::max() << true;
    QTest::newRow("2^63 seconds") << 9223372036854775808.0 << true;
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

void tst_Transport::lateAnswerIsDecodedForNobody()
{
    DVFaultServer server;
    server.enqueue(Answer::of(200, "late").delayed(300));
    const auto decoded = std::make_shared<std::atomic<bool>>(false);
    DVHttpResponse response;
    const DVErrorOr error = DVHttpTransport::sendAndWait(get(server.url()), 0.1, &response,
                                                         [decoded](DVHttpResponse *) { *decoded = true; });
    QCOMPARE(codeOf(error), int(QNetworkReply::TimeoutError));
    QVERIFY(server.waitForDisconnects(1));
    QVERIFY(!DVHttpTransport::sendAndWait(get(server.url()), 5, nullptr)); // the thread has passed it
    QVERIFY(!*decoded);
    QCOMPARE(response.statusCode, 0);
}

void tst_Transport::inactivityEndsAStartedRequest()
{
    DVFaultServer server;
    server.enqueue(Answer::failing(Fault::Silence));
    Arrival arrival;
    DVHttpTransport::send(get(server.url()), {}, arrival.completion(), 200);
    QTRY_VERIFY(arrival.arrived);
    QCOMPARE(codeOf(arrival.error), int(QNetworkReply::TimeoutError));
    QVERIFY(server.waitForDisconnects(1));
}

void tst_Transport::contentCodings_data()
{
    const QByteArray text = "a text that is long enough to be worth coding, worth coding, worth coding";
    const QByteArray damaged = gzip(text).left(gzip(text).size() - 12);
    QTest::addColumn<QByteArray>("coding");
    QTest::addColumn<QByteArray>("sent");
    QTest::addColumn<QByteArray>("expected");
    QTest::addColumn<bool>("fails");
    QTest::newRow("none") << QByteArray() << text << text << false;
    QTest::newRow("gzip") << QByteArray("gzip") << gzip(text) << text << false;
    QTest::newRow("its old name, in capitals") << QByteArray("X-GZIP") << gzip(text) << text << false;
    QTest::newRow("identity and gzip") << QByteArray("identity, gzip") << gzip(text) << text << false;
    QTest::newRow("twice") << QByteArray("gzip, gzip") << gzip(gzip(text)) << text << false;
    QTest::newRow("not announced, so it stays") << QByteArray() << gzip(text) << gzip(text) << false;
    QTest::newRow("announced by the name of the file only") << QByteArray("gzip") << text << text << false;
    QTest::newRow("cut off") << QByteArray("gzip") << damaged << QByteArray() << true;
    QTest::newRow("too many") << QByteArray("gzip,gzip,gzip,gzip,gzip") << gzip(text) << QByteArray() << true;
    const QByteArray bomb = gzip(QByteArray(qsizetype(64) << 20, 'x'));
    QTest::newRow("a bomb") << QByteArray("gzip") << bomb << QByteArray() << true;
}

void tst_Transport::contentCodings()
{
    QFETCH(QByteArray, coding);
    QFETCH(QByteArray, sent);
    QFETCH(QByteArray, expected);
    QFETCH(bool, fails);
    DVFaultServer server;
    DVFaultServer::Headers headers;
    if (!coding.isNull())
        headers.append({"Content-Encoding", coding});
    server.enqueue(Answer::of(200, sent, headers));
    DVHttpResponse response;
    const DVErrorOr error = DVHttpTransport::sendAndWait(get(server.url()), 20, &response);
    QCOMPARE(error.has_value(), fails);
    QCOMPARE(response.body, expected);
    QCOMPARE(server.requests().constFirst().header("Accept-Encoding"), QByteArray("gzip"));
}

void tst_Transport::tooLargeAnswers_data()
{
    QTest::addColumn<Answer>("answer");
    QTest::addColumn<bool>("fails");
    QTest::newRow("as large as allowed") << Answer::of(200, QByteArray(1000, 'x')) << false;
    QTest::newRow("one byte more") << Answer::of(200, QByteArray(1001, 'x')) << true;
    QTest::newRow("a length is announced that is too large")
        << Answer::of(200, "short", {{"Content-Length", "99999999999999"}}) << true;
    QTest::newRow("no length and no end") << Answer::failing(Fault::Endless) << true;
    Answer chunked;
    chunked.raw = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n7d0\r\n" + QByteArray(2000, 'x') +
                  "\r\n0\r\n\r\n";
    QTest::newRow("in chunks") << chunked << true;
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
    QCOMPARE(codeOf(error), fails ? int(QNetworkReply::UnknownContentError) : 0);
}

void tst_Transport::decodedBodyCountsAgainstTheLimit()
{
    for (const int size : {1000, 1001}) {
        DVFaultServer server;
        server.enqueue(Answer::of(200, gzip(QByteArray(size, 'x')), {{"Content-Encoding", "gzip"}}));
        DVHttpRequest request = get(server.url());
        request.maximumBodySize = 1000;
        QCOMPARE(DVHttpTransport::sendAndWait(request, 10, nullptr).has_value(), size > 1000);
    }
}

void tst_Transport::redirects_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("method");
    QTest::addColumn<QByteArray>("location");
    QTest::addColumn<int>("errorCode");
    QTest::addColumn<QByteArray>("arrivesAs"); // method and body at the target
    const QByteArray here;
    for (const int status : {301, 302, 303, 307, 308})
        QTest::addRow("a GET goes on after %d", status)
            << status << QByteArray("GET") << QByteArray("/target") << 0 << QByteArray("GET ");
    for (const int status : {301, 302, 303})
        QTest::addRow("a POST becomes a GET after %d", status)
            << status << QByteArray("POST") << QByteArray("/target") << 0 << QByteArray("GET ");
    for (const int status : {301, 302, 307})
        QTest::addRow("a PUT stays one after %d", status)
            << status << QByteArray("PUT") << QByteArray("/target") << 0 << QByteArray("PUT body");
    QTest::newRow("a PUT becomes a GET after 303")
        << 303 << QByteArray("PUT") << QByteArray("/target") << 0 << QByteArray("GET ");
    for (const int status : {307, 308})
        QTest::addRow("a POST stays one after %d", status)
            << status << QByteArray("POST") << QByteArray("/target") << 0 << QByteArray("POST body");
    QTest::newRow("no target: the answer itself")
        << 302 << QByteArray("GET") << QByteArray() << 0 << QByteArray();
    QTest::newRow("in a circle") << 302 << QByteArray("GET") << QByteArray("/start")
                                 << int(QNetworkReply::TooManyRedirectsError) << QByteArray();
    QTest::newRow("to plain HTTP elsewhere")
        << 302 << QByteArray("GET") << QByteArray("http://192.0.2.1/target")
        << int(QNetworkReply::InsecureRedirectError) << QByteArray();
    QTest::newRow("to a file") << 302 << QByteArray("GET") << QByteArray("file:///etc/hostname")
                               << int(QNetworkReply::InsecureRedirectError) << QByteArray();
    QTest::newRow("to data") << 302 << QByteArray("GET") << QByteArray("data:,x")
                             << int(QNetworkReply::InsecureRedirectError) << QByteArray();
    QTest::newRow("a POST to another origin")
        << 307 << QByteArray("POST") << QByteArray("http://localhost:9/target")
        << int(QNetworkReply::InsecureRedirectError) << QByteArray();
}

void tst_Transport::redirects()
{
    QFETCH(int, status);
    QFETCH(QByteArray, method);
    QFETCH(QByteArray, location);
    QFETCH(int, errorCode);
    QFETCH(QByteArray, arrivesAs);
    DVFaultServer server;
    server.setHandler([&](const DVFaultServer::Request &request) {
        if (request.target == "/target")
            return Answer::of(200, "there");
        return Answer::of(status, "moved",
                          location.isNull() ? DVFaultServer::Headers()
                                            : DVFaultServer::Headers{{"Location", location}});
    });
    DVHttpRequest request = method == "GET" ? get(server.url(QStringLiteral("/start")))
                                            : post(server.url(QStringLiteral("/start")), "body");
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

void tst_Transport::signedRequestsStayWithTheirOrigin()
{
    DVFaultServer other;
    DVFaultServer server;
    other.setHandler([](const DVFaultServer::Request &) { return Answer::of(200); });
    server.enqueue(Answer::of(302, {}, {{"Location", "/same"}}));
    server.enqueue(Answer::of(302, {}, {{"Location", other.url(QStringLiteral("/other?code=x")).toUtf8()}}));
    DVHttpRequest request = get(server.url());
    request.request.setRawHeader("Authorization", "Bearer abc");
    const DVErrorOr error = DVHttpTransport::sendAndWait(request, 10, nullptr);
    QCOMPARE(codeOf(error), int(QNetworkReply::InsecureRedirectError));
    QCOMPARE(error->description,
             QStringLiteral("The redirect from %1 to %2 was not followed: a signed request, or one with a "
                            "body, stays with its server.")
                 .arg(server.url(), other.url()));
    QCOMPARE(server.requests().at(1).header("Authorization"), QByteArray("Bearer abc"));
    QCOMPARE(other.connectionCount(), 0);
}

void tst_Transport::bodiesAreNeverSentTwice_data()
{
    QTest::addColumn<QByteArray>("method");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<Fault>("fault");
    // The network stack holds a PUT for safe to repeat (RFC 9110, 9.2.2).
    for (const char *const method : {"POST", "PUT"}) {
        for (const Fault fault : {Fault::Close, Fault::Reset}) {
            const char *const how = fault == Fault::Close ? "closed" : "reset";
            QTest::addRow("%s with a body, %s", method, how)
                << QByteArray(method) << QByteArray("body") << fault;
            QTest::addRow("%s with a large body, %s", method, how)
                << QByteArray(method) << QByteArray(1 << 20, 'x') << fault;
            QTest::addRow("%s without a body, %s", method, how)
                << QByteArray(method) << QByteArray() << fault;
        }
    }
}

void tst_Transport::bodiesAreNeverSentTwice()
{
    QFETCH(QByteArray, method);
    QFETCH(QByteArray, body);
    QFETCH(Fault, fault);
    DVFaultServer server;
    server.enqueue(Answer::of(200)); // there is a used connection then
    server.setHandler([&](const DVFaultServer::Request &) { return Answer::failing(fault); });
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
    server.setHandler([](const DVFaultServer::Request &) {
        return Answer::of(200, {}, {{"Set-Cookie", "a=b"}});
    });
    QVERIFY(!DVHttpTransport::sendAndWait(get(server.url()), 10, nullptr));
    QVERIFY(!DVHttpTransport::sendAndWait(get(server.url()), 10, nullptr));
    QVERIFY(server.requests().at(1).header("Cookie").isNull());
}

void tst_Transport::uncleanHeadersAreNotSent()
{
    DVFaultServer server;
    server.enqueue(Answer::of(200));
    DVHttpRequest request = get(server.url(QStringLiteral("/a b\r\nX-Path: 1")));
    request.request.setRawHeader("X-Good", "1");
    request.request.setRawHeader("X-Bad", "1\r\nX-Injected: 1");
    DVHttpTransport::sendAndWait(request, 10, nullptr);
    for (const DVFaultServer::Request &seen : server.requests()) {
        QVERIFY(seen.header("X-Injected").isNull());
        QVERIFY(seen.header("X-Path").isNull());
        QCOMPARE(seen.header("X-Good"), QByteArray("1"));
    }
}

void tst_Transport::manyRequestsAtOnceEachCompleteOnce()
{
    DVFaultServer server;
    server.setHandler([](const DVFaultServer::Request &request) { return Answer::of(200, request.target); });
    QHash<QByteArray, int> completed;
    const int count = 60;
    for (int i = 0; i < count; ++i) {
        const QString path = QStringLiteral("/%1").arg(i);
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
            if (!DVHttpTransport::sendAndWait(get(server.url(QStringLiteral("/w"))), 10, &response))
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
    QTest::addColumn<Fault>("fault");
    QTest::newRow("silent server") << Fault::Silence;
    QTest::newRow("dripping server") << Fault::Drip;
    QTest::newRow("endless body") << Fault::Endless;
    QTest::newRow("answers that have arrived but were not delivered") << Fault::None;
}

void tst_Transport::shutDownIsQuickAndFinal()
{
    QFETCH(Fault, fault);
    DVFaultServer server;
    server.setHandler(
        [&](const DVFaultServer::Request &) { return Answer::failing(fault, QByteArray(5000, 'x')); });
    Arrival arrival;
    for (int i = 0; i < 12; ++i)
        DVHttpTransport::send(get(server.url()), {}, arrival.completion());
    QVERIFY(server.waitForRequests(6));
    QElapsedTimer clock;
    clock.start();
    DVHttpTransport::shutDown(50);
    QVERIFY2(clock.elapsed() <= 50, qPrintable(QString::number(clock.elapsed())));
    QVERIFY(server.waitForDisconnects(server.connectionCount()));
    QCoreApplication::processEvents();
    QCoreApplication::processEvents();
    QVERIFY(!arrival.arrived);

    // Later use starts anew.
    server.setHandler([](const DVFaultServer::Request &) { return Answer::of(200, "again"); });
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
    DVHttpTransport::shutDown(50);
    waiting.join();
    QVERIFY(clock.elapsed() <= 100);
    QCOMPARE(codeOf(error), int(QNetworkReply::OperationCanceledError));
}

void tst_Transport::processEnds_data()
{
    QTest::addColumn<QString>("how");
    QTest::newRow("the application object is destroyed") << QStringLiteral("return");
    QTest::newRow("exit() from the event loop") << QStringLiteral("exit");
    QTest::newRow("a second application object, then return") << QStringLiteral("twice");
    QTest::newRow("requests after the application object") << QStringLiteral("after");
    QTest::newRow("work of ours takes long on the network thread") << QStringLiteral("stuck");
    QTest::newRow("exit() on another thread") << QStringLiteral("thread");
}

// A process with requests under way to a silent, a dripping and a secure server.
void tst_Transport::processEnds()
{
#if defined(DORVANE_THREAD_SANITIZER)
    QSKIP("The sanitizer ends a process that starts threads after it has forked.");
#endif
    QFETCH(QString, how);
    DVFaultServer server;
    server.setHandler([](const DVFaultServer::Request &request) {
        if (request.target == "/answer")
            return Answer::of(200);
        return Answer::failing(request.target == "/drip" ? Fault::Drip : Fault::Silence);
    });
    for (int i = 0; i < 5; ++i) {
        QProcess process;
        process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        QElapsedTimer clock;
        process.start(QStringLiteral(DORVANE_END_PROBE), {server.url(), how});
        QVERIFY(process.waitForReadyRead(20000)); // it says so when it begins to end
        clock.start();
        QVERIFY(process.waitForFinished(20000));
        QCOMPARE(process.exitStatus(), QProcess::NormalExit);
        QCOMPARE(process.exitCode(), 0);
        QVERIFY2(clock.elapsed() < 500, qPrintable(QString::number(clock.elapsed())));
    }
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

    QProcess process;
    process.start(u"unshare"_qs, inside(u"ip link set lo up && exec \"%1\" https://strings.test names"_qs.arg(
                                     QStringLiteral(DORVANE_END_PROBE))));
    QVERIFY(process.waitForReadyRead(20000));
    QElapsedTimer clock;
    clock.start();
    QVERIFY(process.waitForFinished(20000));
    QCOMPARE(process.exitStatus(), QProcess::NormalExit);
    QCOMPARE(process.exitCode(), 0);
    QVERIFY2(clock.elapsed() < 500, qPrintable(QString::number(clock.elapsed())));
}

QTEST_GUILESS_MAIN(tst_Transport)
#include "tst_transport.moc"
