// The API credentials of a project: authenticated on the first request, refreshed, never asked of a user.
#include "DVAPISession.h"
#include "DVClock.h"
#include "DVFaultServer.h"
#include "DVFolders.h"
#include "DVNetwork.h"
#include "DVServerUrl.h"
#include "DVState.h"
#include "Signing.h"

#include <QCoreApplication>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QTest>

using Answer = DVFaultServer::Answer;

namespace {

constexpr int generousMs = 20000;

QByteArray answer(const char *access, const char *refresh, int expiresIn = 480, int refreshExpiresIn = 3660)
{
    return QByteArray("{\"response\":{\"code\":\"SUCCESS\",\"data\":{\"accessToken\":\"") + access +
           "\",\"refreshToken\":\"" + refresh + "\",\"expiresIn\":" + QByteArray::number(expiresIn) +
           ",\"refreshExpiresIn\":" + QByteArray::number(refreshExpiresIn) + "}}}";
}

SigningPtr sign()
{
    return Signing::with(DVAPISession::sharedInstance());
}

QByteArray sent(const DVFaultServer::Request &request)
{
    return request.method + ' ' + request.target + ' ' + request.body;
}

const QByteArray authenticates =
    "POST /auth-api/v2/authenticate {\"userIdentifier\":\"robot\",\"userSecret\":\"hush-hush\"}";
const QByteArray refreshesR1 = "POST /auth-api/v2/authenticate/refresh {\"refreshToken\":\"R1\"}";

} // namespace

class tst_ApiSession : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void credentialsAreNeeded_data();
    void credentialsAreNeeded();
    void firstRequestAuthenticates();
    void laterRequests_data();
    void laterRequests();
    void answers_data();
    void answers();
    void failurePassesOnAndKeepsTheTokens();
    void refreshesAtTheSameTimeWithTokensForOneUse();
    void shortLivedTokensSignWhatTheyCameFor();

private:
    DVAPISession &session() { return DVAPISession::sharedInstance(); }
    // A first request, which leaves A1 for 420 s and R1 for an hour.
    void authenticate();

    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<DVFaultServer> m_server;
};

void tst_ApiSession::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    DVFolders::setDocuments(m_folder->path());
    m_server = std::make_unique<DVFaultServer>();
    QVERIFY(DVServerUrl::setServers({{QStringLiteral("api"), m_server->url()}}).isNull());
    DVState::shared().analyticsEnabled = false;
    session() = {};
    session().userId = QStringLiteral("robot");
    session().userSecret = QStringLiteral("hush-hush");
}

void tst_ApiSession::cleanup()
{
    DVHttpTransport::shutDown(1000);
    DVServerUrl::setServers({});
    DVFolders::setDocuments({});
    DVClock::reset();
}

void tst_ApiSession::authenticate()
{
    m_server->enqueue(Answer::of(200, answer("A1", "R1")));
    const auto signing = sign();
    QTRY_COMPARE_WITH_TIMEOUT(signing->completions, 1, generousMs);
    QCOMPARE(signing->header(), QByteArray("Bearer A1"));
    m_server->clear();
}

void tst_ApiSession::credentialsAreNeeded_data()
{
    QTest::addColumn<QString>("id");
    QTest::addColumn<QString>("secret");
    QTest::newRow("none") << QString() << QString();
    QTest::newRow("no user") << QString() << QStringLiteral("s");
    QTest::newRow("no secret") << QStringLiteral("u") << QString();
}

void tst_ApiSession::credentialsAreNeeded()
{
    QFETCH(QString, id);
    QFETCH(QString, secret);
    session().userId = id;
    session().userSecret = secret;
    const auto signing = sign();
    QCOMPARE(signing->completions, 1);
    QCOMPARE(signing->error, DVErrorOr(DVError{QStringLiteral("dorvane.SDK"), 401,
                                               QStringLiteral("User ID or Secret missing")}));
    QVERIFY(signing->header().isNull());
}

void tst_ApiSession::firstRequestAuthenticates()
{
    m_server->enqueue(Answer::of(200, answer("A1", "R1")));
    const QDateTime before = DVClock::now();
    const auto signing = sign();
    QCOMPARE(signing->completions, 0);
    QTRY_COMPARE_WITH_TIMEOUT(signing->completions, 1, generousMs);
    QCOMPARE(signing->error, DVErrorOr());
    QCOMPARE(signing->header(), QByteArray("Bearer A1"));
    const auto request = m_server->requests().constFirst();
    QCOMPARE(sent(request), authenticates);
    QVERIFY(request.header("Content-Type").startsWith("application/json"));
    QVERIFY(request.header("Authorization").isNull());
    const auto isAbout = [&before](const QDateTime &time, int seconds) {
        return time >= before.addSecs(seconds) && time < before.addSecs(seconds + 20);
    };
    QVERIFY(isAbout(session().tokenExpiration, 420));
    QVERIFY(isAbout(session().refreshTokenExpiration, 3600));
    // And is signed at once from now on.
    const auto next = sign();
    QCOMPARE(next->completions, 1);
    QCOMPARE(next->header(), QByteArray("Bearer A1"));
    QCOMPARE(m_server->requests().size(), 1);
}

void tst_ApiSession::laterRequests_data()
{
    QTest::addColumn<int>("after"); // seconds
    QTest::addColumn<QByteArray>("forgotten");
    QTest::addColumn<QByteArray>("request"); // empty: none
    QTest::newRow("the token is alive") << 400 << QByteArray() << QByteArray();
    QTest::newRow("it has expired") << 430 << QByteArray() << refreshesR1;
    QTest::newRow("the refresh token has expired, too") << 3610 << QByteArray() << authenticates;
    QTest::newRow("there is no refresh token") << 0 << QByteArray("refreshToken") << authenticates;
    QTest::newRow("its time is not known") << 0 << QByteArray("refreshTokenExpiration") << authenticates;
    QTest::newRow("the token's time is not known") << 0 << QByteArray("tokenExpiration") << authenticates;
}

void tst_ApiSession::laterRequests()
{
    QFETCH(int, after);
    QFETCH(QByteArray, forgotten);
    QFETCH(QByteArray, request);
    authenticate();
    DVClock::advance(qint64(after) * 1000);
    if (forgotten == "refreshToken")
        session().refreshToken = QString();
    if (forgotten == "refreshTokenExpiration")
        session().refreshTokenExpiration = {};
    if (forgotten == "tokenExpiration")
        session().tokenExpiration = {};
    m_server->enqueue(Answer::of(200, answer("A2", "R2")));
    const auto signing = sign();
    QTRY_COMPARE_WITH_TIMEOUT(signing->completions, 1, generousMs);
    QCOMPARE(signing->header(), request.isEmpty() ? QByteArray("Bearer A1") : QByteArray("Bearer A2"));
    const auto requests = m_server->requests();
    QCOMPARE(requests.isEmpty() ? QByteArray() : sent(requests.constFirst()), request);
}

void tst_ApiSession::answers_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<bool>("good");
    const auto data = [](const char *members) -> QByteArray {
        return QByteArray("{\"response\":{\"data\":{") + members + "}}}";
    };
    QTest::newRow("complete") << answer("A", "R") << true;
    QTest::newRow("lifetimes as texts")
        << data("\"accessToken\":\"A\",\"expiresIn\":\"300\",\"refreshExpiresIn\":\"1e999\"") << true;
    QTest::newRow("no lifetimes") << data("\"accessToken\":\"A\"") << true;
    QTest::newRow("huge and negative lifetimes")
        << data("\"accessToken\":\"A\",\"expiresIn\":1e300,\"refreshExpiresIn\":-1e300") << true;
    QTest::newRow("no token") << data("\"refreshToken\":\"R\"") << false;
    QTest::newRow("a token that is a number") << data("\"accessToken\":7") << false;
    QTest::newRow("a token that would end the header") << data("\"accessToken\":\"A\\r\\nB: C\"") << false;
    QTest::newRow("no data") << QByteArray("{\"response\":{}}") << false;
    QTest::newRow("data that is a list") << QByteArray("{\"response\":{\"data\":[]}}") << false;
    QTest::newRow("no response") << QByteArray("{}") << false;
    QTest::newRow("a list") << QByteArray("[]") << false;
    QTest::newRow("nothing") << QByteArray() << false;
    QTest::newRow("not JSON") << QByteArray("<html>") << false;
}

void tst_ApiSession::answers()
{
    QFETCH(QByteArray, body);
    QFETCH(bool, good);
    m_server->setHandler([body](const DVFaultServer::Request &) { return Answer::of(200, body); });
    const auto signing = sign();
    QTRY_COMPARE_WITH_TIMEOUT(signing->completions, 1, generousMs);
    QCOMPARE(!signing->error, good);
    QCOMPARE(signing->header(), good ? QByteArray("Bearer A") : QByteArray());
    QCOMPARE(m_server->requests().size(), 1);
    // Whatever it was, the next request is answered, too.
    const auto next = sign();
    QTRY_COMPARE_WITH_TIMEOUT(next->completions, 1, generousMs);
    QCOMPARE(!next->error, good);
}

void tst_ApiSession::failurePassesOnAndKeepsTheTokens()
{
    authenticate();
    DVClock::advance(430 * 1000);
    m_server->enqueue(Answer::of(503, QByteArrayLiteral("{\"response\":{\"code\":\"MAINTENANCE\"}}")));
    const auto signing = sign();
    QTRY_COMPARE_WITH_TIMEOUT(signing->completions, 1, generousMs);
    QCOMPARE(signing->error,
             DVErrorOr(DVError{QStringLiteral("dorvane.API"), 503, QStringLiteral("MAINTENANCE")}));
    QCOMPARE(session().refreshToken, QStringLiteral("R1"));
    m_server->enqueue(Answer::of(200, QByteArrayLiteral("{\"response\":{\"data\":{\"accessToken\":\"A2\","
                                                        "\"expiresIn\":480,\"refreshExpiresIn\":3660}}}")));
    const auto again = sign();
    QTRY_COMPARE_WITH_TIMEOUT(again->completions, 1, generousMs);
    QCOMPARE(again->header(), QByteArray("Bearer A2"));
    // An answer without a refresh token keeps the old one (RFC 6749, section 6).
    QCOMPARE(session().refreshToken, QStringLiteral("R1"));
}

void tst_ApiSession::refreshesAtTheSameTimeWithTokensForOneUse()
{
    authenticate();
    DVClock::advance(430 * 1000);
    m_server->enqueue(Answer::of(200, answer("A2", "R2")));
    m_server->enqueue(Answer::of(400, QByteArrayLiteral("{}")).delayed(400));
    const auto first = sign();
    const auto second = sign();
    QTRY_COMPARE_WITH_TIMEOUT(first->completions + second->completions, 2, generousMs);
    QCOMPARE(first->header(), QByteArray("Bearer A2"));
    QCOMPARE(second->header(), QByteArray("Bearer A2"));
}

void tst_ApiSession::shortLivedTokensSignWhatTheyCameFor()
{
    m_server->setHandler(
        [](const DVFaultServer::Request &) { return Answer::of(200, answer("A1", "R1", 10, 10)); });
    for (int requests = 1; requests <= 2; ++requests) {
        const auto signing = sign();
        QTRY_COMPARE_WITH_TIMEOUT(signing->completions, 1, generousMs);
        QCOMPARE(signing->header(), QByteArray("Bearer A1"));
        QCOMPARE(m_server->requests().size(), requests);
    }
}

QTEST_GUILESS_MAIN(tst_ApiSession)
#include "tst_apisession.moc"
