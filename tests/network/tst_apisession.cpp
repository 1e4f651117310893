// The API credentials of a project: authenticated on the first request, refreshed, never asked of a user.
#include "DVRows.h"
#include "NetworkDevice.h"
#include "Signing.h"

using Answer = DVFaultServer::Answer;

namespace {

Answer tokens(const QByteArray &access, const QByteArray &refresh, int expiresIn = 480,
              int refreshExpiresIn = 3660)
{
    return Answer::of(200, R"({"response":{"code":"SUCCESS","data":{"accessToken":")" + access +
                               R"(","refreshToken":")" + refresh + R"(","expiresIn":)" +
                               QByteArray::number(expiresIn) + R"(,"refreshExpiresIn":)" +
                               QByteArray::number(refreshExpiresIn) + "}}}");
}

Signing sign()
{
    return Signing(DVAPISession::sharedInstance());
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
    void cleanup() { m_device.reset(); }

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

    std::unique_ptr<NetworkDevice> m_device;
};

void tst_ApiSession::init()
{
    m_device = std::make_unique<NetworkDevice>();
    session().userId = u"robot"_qs;
    session().userSecret = u"hush-hush"_qs;
}

void tst_ApiSession::authenticate()
{
    m_device->server.enqueue(tokens("A1", "R1"));
    const Signing signing = sign();
    QTRY_SIGNED(signing, "A1");
    m_device->server.clear();
}

void tst_ApiSession::credentialsAreNeeded_data()
{
    const DVRows<QString, QString> row("id", "secret");
    row("none", {}, {});
    row("no user", {}, u"s"_qs);
    row("no secret", u"u"_qs, {});
}

void tst_ApiSession::credentialsAreNeeded()
{
    QFETCH(QString, id);
    QFETCH(QString, secret);
    session().userId = id;
    session().userSecret = secret;
    const Signing signing = sign();
    QCOMPARE(signing->calls, 1);
    QTRY_REFUSED(signing, (DVError{u"dorvane.SDK"_qs, 401, u"User ID or Secret missing"_qs}));
}

void tst_ApiSession::firstRequestAuthenticates()
{
    m_device->server.enqueue(tokens("A1", "R1"));
    const QDateTime before = DVClock::now();
    const Signing signing = sign();
    QCOMPARE(signing->calls, 0);
    QTRY_SIGNED(signing, "A1");
    const auto request = m_device->server.requests().constFirst();
    QCOMPARE(sent(request), authenticates);
    QVERIFY(request.header("Content-Type").startsWith("application/json"));
    QVERIFY(request.header("Authorization").isNull());
    const auto isAbout = [&before](const QDateTime &time, int seconds) {
        return time >= before.addSecs(seconds) && time < before.addSecs(seconds + 20);
    };
    QVERIFY(isAbout(session().tokenExpiration, 420));
    QVERIFY(isAbout(session().refreshTokenExpiration, 3600));
    // And is signed at once from now on.
    const Signing next = sign();
    QCOMPARE(next->calls, 1);
    QTRY_SIGNED(next, "A1");
    QCOMPARE(m_device->server.requests().size(), 1);
}

void tst_ApiSession::laterRequests_data()
{
    // after: seconds; request: empty: none
    const DVRows<int, QByteArray, QByteArray> row("after", "forgotten", "request");
    row("the token is alive", 400, {}, {});
    row("it has expired", 430, {}, refreshesR1);
    row("the refresh token has expired, too", 3610, {}, authenticates);
    row("there is no refresh token", 0, "refreshToken", authenticates);
    row("its time is not known", 0, "refreshTokenExpiration", authenticates);
    row("the token's time is not known", 0, "tokenExpiration", authenticates);
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
    m_device->server.enqueue(tokens("A2", "R2"));
    const Signing signing = sign();
    QTRY_COMPLETED(signing);
    QCOMPARE(signing.header(), request.isEmpty() ? QByteArray("Bearer A1") : QByteArray("Bearer A2"));
    const auto requests = m_device->server.requests();
    QCOMPARE(requests.isEmpty() ? QByteArray() : sent(requests.constFirst()), request);
}

void tst_ApiSession::answers_data()
{
    const DVRows<QByteArray, bool> row("body", "good");
    const auto data = [](const QByteArray &members) -> QByteArray {
        return R"({"response":{"data":{)" + members + "}}}";
    };
    row("lifetimes as texts", data(R"("accessToken":"A","expiresIn":"300","refreshExpiresIn":"1e999")"),
        true);
    row("no lifetimes", data(R"("accessToken":"A")"), true);
    row("huge lifetimes", data(R"("accessToken":"A","expiresIn":1e300,"refreshExpiresIn":-1e300)"), true);
    row("no token", data(R"("refreshToken":"R")"), false);
    row("a token that is a number", data(R"("accessToken":7)"), false);
    row("a token that would end the header", data(R"("accessToken":"A\r\nB: C")"), false);
    row("no data", R"({"response":{}})", false);
    row("data that is a list", R"({"response":{"data":[]}})", false);
    row("no response", "{}", false);
    row("a list", "[]", false);
    row("nothing", {}, false);
    row("not JSON", "<html>", false);
}

void tst_ApiSession::answers()
{
    QFETCH(QByteArray, body);
    QFETCH(bool, good);
    m_device->answer(Answer::of(200, body));
    const Signing signing = sign();
    QTRY_COMPLETED(signing);
    QCOMPARE(!signing->error, good);
    QCOMPARE(signing.header(), good ? QByteArray("Bearer A") : QByteArray());
    QCOMPARE(m_device->server.requests().size(), 1);
    // Whatever it was, the next request is answered, too.
    const Signing next = sign();
    QTRY_COMPLETED(next);
    QCOMPARE(!next->error, good);
}

void tst_ApiSession::failurePassesOnAndKeepsTheTokens()
{
    authenticate();
    DVClock::advance(430 * 1000);
    m_device->server.enqueue(Answer::of(503, R"({"response":{"code":"MAINTENANCE"}})"));
    const Signing signing = sign();
    QTRY_COMPLETED(signing);
    QCOMPARE(signing->error, (DVError{u"dorvane.API"_qs, 503, u"MAINTENANCE"_qs}));
    QCOMPARE(session().refreshToken, u"R1"_qs);
    m_device->server.enqueue(Answer::of(
        200, R"({"response":{"data":{"accessToken":"A2","expiresIn":480,"refreshExpiresIn":3660}}})"));
    const Signing again = sign();
    QTRY_SIGNED(again, "A2");
    // An answer without a refresh token keeps the old one (RFC 6749, section 6).
    QCOMPARE(session().refreshToken, u"R1"_qs);
}

void tst_ApiSession::refreshesAtTheSameTimeWithTokensForOneUse()
{
    authenticate();
    DVClock::advance(430 * 1000);
    m_device->server.enqueue(tokens("A2", "R2"));
    m_device->server.enqueue(Answer::of(400, "{}").delayed(400));
    const Signing first = sign();
    const Signing second = sign();
    QTRY_SIGNED(first, "A2");
    QTRY_SIGNED(second, "A2");
}

void tst_ApiSession::shortLivedTokensSignWhatTheyCameFor()
{
    m_device->answer(tokens("A1", "R1", 10, 10));
    for (int requests = 1; requests <= 2; ++requests) {
        const Signing signing = sign();
        QTRY_SIGNED(signing, "A1");
        QCOMPARE(m_device->server.requests().size(), requests);
    }
}

QTEST_GUILESS_MAIN(tst_ApiSession)
#include "tst_apisession.moc"
