// A translator's session: what token endpoints answer, how requests are signed, what is kept and what is not.
#include "DVApi.h"
#include "DVCanaries.h"
#include "DVFakeKeychain.h"
#include "DVKeychain.h"
#include "DVNetwork.h"
#include "DVRows.h"
#include "DVSecrets.h"
#include "DVUrlParameters.h"
#include "DVUserDefaults.h"
#include "NetworkDevice.h"
#include "Signing.h"

#include <Dorvane/DVProxy.h>

#include <QNetworkReply>
#include <QSettings>

using Answer = DVFaultServer::Answer;

namespace {

constexpr QLatin1StringView tokenPath("/auth/realms/Dorvane/protocol/openid-connect/token");
constexpr QLatin1StringView logOutPath("/auth/realms/Dorvane/protocol/openid-connect/logout");

QByteArray json(const QJsonObject &object)
{
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

QString jwt(const QJsonObject &claims)
{
    constexpr auto form = QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals;
    return QString::fromLatin1("eyJhbGciOiJub25lIn0." + json(claims).toBase64(form) + ".c2lnbmVk");
}

QJsonObject claimsOf(const QString &who)
{
    return {{u"sub"_qs, who}, {u"email"_qs, QString(who % u"@example.invalid")}};
}

// An answer of the token endpoint; null for no refresh token.
Answer tokens(const QString &access, const QString &refresh, int expiresIn = 300)
{
    QJsonObject answer{{u"access_token"_qs, access},
                       {u"expires_in"_qs, expiresIn},
                       {u"refresh_expires_in"_qs, 1800},
                       {u"token_type"_qs, u"bearer"_qs}};
    if (!refresh.isNull())
        answer.insert(u"refresh_token", refresh);
    return Answer::of(200, json(answer));
}

QHash<QString, QString> form(const DVFaultServer::Request &request)
{
    return dv_getParametersFromString(QString::fromUtf8(request.body));
}

DVErrorOr sdkError(const QString &description)
{
    return DVError{u"dorvane.SDK"_qs, 401, description};
}
const DVErrorOr noToken = sdkError(u"No token found"_qs);
const DVErrorOr cancelledLogin = sdkError(u"Login cancelled by user"_qs);

Signing sign()
{
    return Signing(DVSession::sharedInstance());
}

} // namespace

// Host applications write such classes, in namespaces of their own.
namespace shop {
class DVAppetize : public QObject
{
    Q_OBJECT

public:
    enum Manner { Signs, SignsOtherwise, Fails, SignsLater, Drops, Keeps };
    Manner manner = Signs;
    QString accessToken;
    QList<DVProxyCompletion> kept;
    DVProxyRequest keptRequest;

    Q_INVOKABLE void getTokenFromProxyForRequest(const DVProxyRequest &request,
                                                 const DVProxyCompletion &withCompletion)
    {
        DVProxyRequest mine = request;
        switch (manner) {
        case Fails:
            return withCompletion(DVError{u"shop"_qs, 7, u"closed"_qs}, {});
        case SignsLater:
        case Keeps:
            keptRequest = mine;
            kept.append(withCompletion);
            return;
        case Drops:
            return;
        case SignsOtherwise:
            mine.setRawHeader("X-Visitor", accessToken.toLatin1());
            return withCompletion({}, accessToken);
        case Signs:
            mine.setRawHeader("Authorization", "Proxy " + mine.method());
            mine.setRawHeader("X-Broken", "a\r\nX-Injected: b");
            withCompletion({}, accessToken);
            withCompletion(DVError{u"shop"_qs, 8, u"twice"_qs}, {});
        }
    }
};
} // namespace shop

namespace {

class DVAppetizeLike : public QObject // a name that only begins as it should
{
    Q_OBJECT
};

} // namespace

namespace old {
class DVAppetize : public QObject // without the method
{
    Q_OBJECT
};
} // namespace old

class tst_Session : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QCoreApplication::setOrganizationName(u"tst-session"_qs); }
    void init();
    void cleanup();

    void tokenAnswers_data();
    void tokenAnswers();
    void tokenRequests();
    void failedExchangeKeepsWhatWasBefore();
    void claims_data();
    void claims();
    void authorizationPage();

    void liveTokenSignsBeforeTheCallReturns();
    void withoutTokenNothingIsSigned();
    void expiredTokenIsRefreshedFirst();
    void refreshKeepsTheOldRefreshToken();
    void expiredSignInOpensTheLoginScreen_data();
    void expiredSignInOpensTheLoginScreen();
    void loginScreenIsSharedByRequests();
    void failedRefreshOpensTheLoginScreen_data();
    void failedRefreshOpensTheLoginScreen();
    void refreshesAtTheSameTimeWithTokensForOneUse_data();
    void refreshesAtTheSameTimeWithTokensForOneUse();
    void shortLivedTokensSignWhatTheyCameFor();
    void logOutWhileRequestsWait_data();
    void logOutWhileRequestsWait();
    void requestsEndToEnd();

    void logOutClearsEverything();
    void logOutWithoutRefreshTokenSendsNothing();
    void logOutHoldsAtTheNextStart_data();
    void logOutHoldsAtTheNextStart();
    void aSignInBehindALogOutHoldsToo();
    void nextStartIsSignedIn();
    void lateKeychainSignsIn();
    void damagedKeychainItems_data();
    void damagedKeychainItems();
    void secretsStayOutOfLogAndFiles();

    void demonstrations_data();
    void demonstrations();
    void proxySigns_data();
    void proxySigns();
    void whatAProxySignsStaysWithItsServer();
    void proxyThatIsGone();

private:
    DVSession &session() { return DVSession::sharedInstance(); }
    void signIn(const QString &access = u"A1"_qs, const QString &refresh = u"R1"_qs, int expiresIn = 300);
    void signInAs(const QString &who) { signIn(jwt(claimsOf(who))); }
    // A login screen that is counted and says nothing yet.
    void countLoginScreens()
    {
        m_screens.clear();
        session().setLoginForm([this](const auto &done) { m_screens.append(done); });
    }
    void expireAccess() { DVClock::advance(250 * 1000); } // 240 s, by the margin
    void expireAll() { DVClock::advance(1745 * 1000); }   // 1740 s
    void setAppetizeHost(bool present);
    // As a new process would find it, once more signed in by what the keychain holds.
    void startAgain()
    {
        const auto items = m_keychain->items;
        session().logOut();
        m_keychain->items = items;
        DVUserDefaults::standard().removeKey(u"DVSignedOut"_qs);
        DVKeychain::forget();
    }

    // By what the disk and the keychain hold, as a new process is.
    bool signedInByStart()
    {
        session().forget();
        DVKeychain::forget();
        DVUserDefaults::standard().reload();
        return session().loadSavedCredentials();
    }

    std::unique_ptr<NetworkDevice> m_device;
    std::shared_ptr<DVFakeKeychainState> m_keychain;
    QList<std::function<void(bool)>> m_screens;
};

void tst_Session::init()
{
    m_device = std::make_unique<NetworkDevice>();
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, m_device->path());
    DVUserDefaults::standard().reload();
    m_keychain = std::make_shared<DVFakeKeychainState>();
    DVKeychain::forget();
    dv_setKeychainService(std::make_unique<DVFakeKeychain>(m_keychain));
    DVState::shared().log = DVState::shared().debug = true;
}

void tst_Session::cleanup()
{
    session().forget();
    session().setProxyTimeout(60000);
    m_device.reset();
    dv_setKeychainService(nullptr);
    DVKeychain::forget();
}

void tst_Session::signIn(const QString &access, const QString &refresh, int expiresIn)
{
    m_device->server.enqueue(tokens(access, refresh, expiresIn));
    const DVOutcome<> signedIn;
    session().getTokenWithCode(u"code"_qs, false, signedIn.take());
    QTRY_COMPLETED(signedIn);
    QCOMPARE(signedIn->error, DVErrorOr());
    m_device->server.clear();
}

void tst_Session::setAppetizeHost(bool present)
{
    QSettings settings;
    if (present)
        settings.setValue(u"appetize-host"_qs, 0);
    else
        settings.remove(u"appetize-host"_qs);
}

void tst_Session::tokenAnswers_data()
{
    const DVRows<QByteArray, double, double> row("body", "expires", "refreshExpires"); // after now
    const auto answer = [](const QByteArray &expires, const QByteArray &refreshExpires,
                           const QByteArray &access = "\"A\"") -> QByteArray {
        return R"({"access_token":)" + access + R"(,"refresh_token":"R","expires_in":)" + expires +
               R"(,"refresh_expires_in":)" + refreshExpires + "}";
    };
    row("lifetimes count a minute less", answer("300", "1800"), 240.0, 1740.0);
    row("fractions", answer("300.5", "1800"), 240.5, 1740.0);
    row("texts that are numbers", answer(R"("300")", R"("1800")"), 240.0, 1740.0);
    row("texts that are none count as 0", answer(R"("soon")", R"("nan")"), -60.0, -60.0);
    row("what is not finite counts as 0", answer(R"("inf")", R"("-inf")"), -60.0, -60.0);
    row("other types count as 0", answer("{}", "true"), -60.0, -60.0);
    row("negative", answer("-10", "-1"), -70.0, -61.0);
    row("huge ones end in some thousand years", answer("1e300", "-1e300"), 1e11 - 60, -1e11 - 60);
    const double wrong = qQNaN();
    row("no lifetime", R"({"access_token":"A","refresh_expires_in":1})", wrong, wrong);
    row("no lifetime of the refresh token", R"({"access_token":"A","expires_in":1})", wrong, wrong);
    row("no token", R"({"expires_in":1,"refresh_expires_in":1})", wrong, wrong);
    row("a lifetime that is null", answer("null", "1"), wrong, wrong);
    row("a token that is a number", answer("1", "1", "7"), wrong, wrong);
    row("an empty token", answer("1", "1", R"("")"), wrong, wrong);
    row("a token that would end the header", answer("1", "1", R"("A\r\nHost: b")"), wrong, wrong);
    row("a token that is not ASCII", answer("1", "1", "\"\xc3\xa4\""), wrong, wrong);
    row("a token of a megabyte", answer("1", "1", '"' + QByteArray(1 << 20, 'A') + '"'), wrong, wrong);
    row("a list", "[1]", wrong, wrong);
    row("nothing", {}, wrong, wrong);
}

void tst_Session::tokenAnswers()
{
    QFETCH(QByteArray, body);
    QFETCH(double, expires);
    QFETCH(double, refreshExpires);
    m_device->server.enqueue(Answer::of(200, body));
    const DVOutcome<QJsonObject> answered;
    DVApi::tokenWithCode(u"c"_qs, false, answered.take());
    QTRY_COMPLETED(answered);
    QJsonObject token = answered->result;
    if (qIsNaN(expires)) {
        QVERIFY(token.isEmpty());
        QCOMPARE(answered->error, (DVError{u"dorvane.auth"_qs, 500, u"Wrong token format"_qs}));
        return;
    }
    const double now = DVClock::secondsSince1970();
    const double tolerance = qMax(20.0, qAbs(expires) * 1e-6);
    QVERIFY(qAbs(token.take(u"expires").toDouble() - now - expires) < tolerance);
    QVERIFY(qAbs(token.take(u"refresh_expires").toDouble() - now - refreshExpires) < tolerance);
    // Everything else stays as it came.
    QCOMPARE(token, QJsonDocument::fromJson(body).object());
}

void tst_Session::tokenRequests()
{
    m_device->server.enqueue(Answer::of(400, R"({"error":"invalid_grant"})")); // RFC 6749, 5.2
    m_device->server.enqueue(Answer::of(200, "<html>"));
    const DVOutcome<QJsonObject> code;
    DVApi::tokenWithCode(u"a/b&c"_qs, false, code.take());
    QTRY_COMPLETED(code);
    QCOMPARE(code->error, (DVError{u"dorvane.API"_qs, 400, u"Server error"_qs}));
    const DVOutcome<QJsonObject> refresh;
    DVApi::tokenWithCode(u"r"_qs, true, refresh.take());
    QTRY_COMPLETED(refresh);
    QCOMPARE(refresh->domain(), u"dorvane.SDK"_qs);
    const auto requests = m_device->server.requests();
    for (const auto &request : requests) {
        QCOMPARE(request.method + ' ' + request.target, "POST " + QByteArray(tokenPath.data()));
        QCOMPARE(request.header("Content-Type"), QByteArray("application/x-www-form-urlencoded"));
        QVERIFY(request.header("Authorization").isNull());
    }
    using Form = QHash<QString, QString>;
    const QString redirect = u"dorvane.ios.sdk%3A%2F%2Flogin%2F"_qs;
    QCOMPARE(form(requests.at(0)), (Form{{u"client_id"_qs, u"ios-sdk"_qs},
                                         {u"redirect_uri"_qs, redirect},
                                         {u"grant_type"_qs, u"authorization_code"_qs},
                                         {u"code"_qs, u"a%2Fb%26c"_qs}}));
    QCOMPARE(form(requests.at(1)), (Form{{u"client_id"_qs, u"ios-sdk"_qs},
                                         {u"redirect_uri"_qs, redirect},
                                         {u"grant_type"_qs, u"refresh_token"_qs},
                                         {u"refresh_token"_qs, u"r"_qs}}));
}

void tst_Session::failedExchangeKeepsWhatWasBefore()
{
    signInAs(u"ada"_qs);
    const auto before = session().token();
    const auto savedBefore = m_keychain->items;
    session().projectInfo = QJsonObject();
    session().workflows = QList<DVWorkflowStep>();
    int failures = 0;
    for (const bool refresh : {false, true}) {
        m_device->server.enqueue(Answer::of(400));
        session().getTokenWithCode(u"x"_qs, refresh,
                                   [&](const DVErrorOr &error) { failures += error ? 1 : 100; });
    }
    QTRY_COMPARE_WITH_TIMEOUT(failures, 2, generousMs);
    QCOMPARE(session().token(), before);
    QCOMPARE(m_keychain->items, savedBefore);
    QVERIFY(DVState::shared().loggedIn);
    QCOMPARE(DVState::shared().userEmail(), u"ada@example.invalid"_qs);
    QVERIFY(session().projectInfo && session().workflows);
    signInAs(u"grace"_qs); // who has other rights
    QVERIFY(!session().projectInfo && !session().workflows);
}

void tst_Session::claims_data()
{
    const DVRows<QString, QJsonObject> row("token", "expected"); // empty: nothing
    const auto good = [&row](const char *name, const QString &value) {
        row(name, jwt({{u"s"_qs, value}}), {{u"s"_qs, value}});
    };
    const auto padded = [](const QByteArray &payload) {
        return QString(u"x." % QString::fromLatin1(payload.toBase64()) % u".y");
    };
    // For every length of the payload modulo 4.
    good("of one character", u"a"_qs);
    good("of two", u"ab"_qs);
    good("of three", u"abc"_qs);
    good("of four", u"abcd"_qs);
    // ">>>???" is "Pj4-Pz8_" in the URL alphabet, "Pj4+Pz8/" in the other.
    good("the URL alphabet", u">>>???~~~"_qs);
    good("beyond ASCII", u"\u00e4\U0001F331"_qs);
    row("the other alphabet, padded", padded(R"({"s":"?>?>"})"), {{u"s"_qs, u"?>?>"_qs}});
    row("two pieces", u"x.e30"_qs, {});
    row("opaque", u"4f1c9a2b"_qs, {});
    row("null", {}, {});
    row("dots only", u"..."_qs, {});
    row("a length that no base64 has", u"x.e30AA.y"_qs, {});
    row("not base64", u"x.{\"s\":1}.y"_qs, {});
    row("not ASCII", u"x.e3\u00e4.y"_qs, {});
    row("not JSON", padded("hello"), {});
    row("not UTF-8", padded("{\"s\":\"\xff\"}"), {});
    row("a list", padded("[1]"), {});
    row("100,000 levels deep",
        padded(QByteArray(R"({"a":)").repeated(100000) + '1' + QByteArray(100000, '}')), {});
    row("eight megabytes that are not base64", QString(u"x." % QString(8 << 20, u'!')), {});
}

void tst_Session::claims()
{
    QFETCH(QString, token);
    QFETCH(QJsonObject, expected);
    const auto claims = DVSession::userInfoFromToken(token);
    QCOMPARE(claims.value_or(QJsonObject()), expected);
    QCOMPARE(claims.has_value(), !expected.isEmpty() || token == u"x.e30");
}

void tst_Session::authorizationPage()
{
    QCOMPARE(DVSession::authorizationUrl(),
             QString(m_device->server.url() %
                     u"/auth/realms/Dorvane/protocol/openid-connect/auth?response_type=code&client_id=ios-sdk"
                     u"&redirect_uri=dorvane.ios.sdk://login/"));
}

void tst_Session::liveTokenSignsBeforeTheCallReturns()
{
    signIn();
    const Signing signing = sign();
    QCOMPARE(signing->calls, 1);
    QTRY_SIGNED(signing, "A1");
    QCOMPARE(m_device->server.requests().size(), 0);
}

void tst_Session::withoutTokenNothingIsSigned()
{
    countLoginScreens();
    const Signing signing = sign();
    QCOMPARE(signing->calls, 1);
    QTRY_REFUSED(signing, noToken);
    QCOMPARE(m_screens.size(), 0);
}

void tst_Session::expiredTokenIsRefreshedFirst()
{
    signIn(jwt(claimsOf(u"ada"_qs)), u"R1"_qs);
    expireAccess();
    m_device->server.enqueue(tokens(u"A2"_qs, u"R2"_qs));
    const Signing signing = sign();
    QCOMPARE(signing->calls, 0);
    QTRY_SIGNED(signing, "A2");
    QCOMPARE(form(m_device->server.requests().constFirst()).value(u"refresh_token"_qs), u"R1"_qs);
    // The next start finds the new one.
    DVKeychain::forget();
    const auto saved = DVKeychain::loadValueForKey(u"token"_qs);
    QVERIFY(saved);
    QCOMPARE(QJsonDocument::fromJson(saved->toUtf8()).object(), session().token());
    QVERIFY(!saved->contains(u'\n'));
}

void tst_Session::refreshKeepsTheOldRefreshToken()
{
    signIn();
    for (const auto &next : {u"A2"_qs, u"A3"_qs}) {
        expireAccess();
        m_device->server.enqueue(tokens(next, {}));
        const Signing signing = sign();
        QTRY_COMPLETED(signing);
        QCOMPARE(signing.header(), QByteArray("Bearer " + next.toLatin1()));
    }
    const auto requests = m_device->server.requests();
    QCOMPARE(requests.size(), 2);
    for (const auto &request : requests)
        QCOMPARE(form(request).value(u"refresh_token"_qs), u"R1"_qs);
}

void tst_Session::expiredSignInOpensTheLoginScreen_data()
{
    const DVRows<QByteArray, DVErrorOr> row("screen", "error");
    row("who signs in goes on", "signs in", {});
    row("who cancels does not", "cancels", cancelledLogin);
    row("a dropped screen is a cancelled one", "drops", cancelledLogin);
    row("a screen that lies brings no token", "lies", noToken);
    row("before the launch there is no screen", "too early", noToken);
    row("without a screen nobody can sign in", "none", noToken);
}

void tst_Session::expiredSignInOpensTheLoginScreen()
{
    QFETCH(QByteArray, screen);
    QFETCH(DVErrorOr, error);
    signIn();
    expireAll();
    DVState::shared().appLaunched = screen != "too early";
    if (screen != "none")
        session().setLoginForm([=, this](const std::function<void(bool)> &done) {
            if (screen == "drops")
                return;
            if (screen == "signs in")
                signIn(u"A2"_qs, u"R2"_qs);
            done(screen == "cancels");
            done(screen != "cancels"); // a second answer counts no more
        });
    const Signing signing = sign();
    QTRY_COMPLETED(signing);
    QCOMPARE(signing->error, error);
    QCOMPARE(signing.header(), error ? QByteArray() : QByteArray("Bearer A2"));
    // Nothing but log out takes the token away.
    QVERIFY(session().isLoggedIn());
    QVERIFY(!m_keychain->items.isEmpty());
}

void tst_Session::loginScreenIsSharedByRequests()
{
    signIn();
    expireAll();
    countLoginScreens();
    const Signing first = sign();
    const Signing second = sign();
    QCOMPARE(m_screens.size(), 1);
    signIn(u"A2"_qs, u"R2"_qs);
    m_screens.constFirst()(false);
    QTRY_SIGNED(first, "A2");
    QTRY_SIGNED(second, "A2");
    // The screen still has its function, but it is closed.
    expireAll();
    const Signing third = sign();
    QCOMPARE(m_screens.size(), 2);
    m_screens.constLast()(true);
    QCOMPARE(third->error, cancelledLogin);
}

void tst_Session::failedRefreshOpensTheLoginScreen_data()
{
    const DVRows<bool> row("hasForm");
    row("and completes with the screen", true);
    row("or says that there is no token", false);
}

void tst_Session::failedRefreshOpensTheLoginScreen()
{
    QFETCH(bool, hasForm);
    signIn();
    const auto saved = m_keychain->items;
    expireAccess();
    m_device->server.enqueue(Answer::failing(DVFaultServer::Fault::Close));
    if (hasForm)
        countLoginScreens();
    const Signing signing = sign();
    if (hasForm) {
        QTRY_COMPARE_WITH_TIMEOUT(m_screens.size(), 1, generousMs);
        m_screens.constFirst()(true);
    }
    QTRY_REFUSED(signing, hasForm ? cancelledLogin : noToken);
    QCOMPARE(m_keychain->items, saved);
    // The refresh token is as good as before.
    m_device->server.enqueue(tokens(u"A2"_qs, u"R2"_qs));
    const Signing again = sign();
    QTRY_SIGNED(again, "A2");
}

void tst_Session::refreshesAtTheSameTimeWithTokensForOneUse_data()
{
    const DVRows<bool> row("refusalFirst");
    row("the refused one comes last", false);
    row("the refused one comes first", true);
}

// A provider that rotates refresh tokens takes each once (RFC 6749, 10.4).
void tst_Session::refreshesAtTheSameTimeWithTokensForOneUse()
{
    QFETCH(bool, refusalFirst);
    signIn();
    expireAccess();
    countLoginScreens();
    auto good = tokens(u"A2"_qs, u"R2"_qs);
    auto refusal = Answer::of(400, QByteArrayLiteral("{\"error\":\"invalid_grant\"}"));
    // The answers leave in this order, on connections of their own.
    m_device->server.enqueue(refusalFirst ? good.delayed(400) : good);
    m_device->server.enqueue(refusalFirst ? refusal : refusal.delayed(400));
    const Signing first = sign();
    const Signing second = sign();
    QTRY_SIGNED(first, "A2");
    QTRY_SIGNED(second, "A2");
    QCOMPARE(m_device->server.requests().size(), 2);
    QCOMPARE(m_screens.size(), 0);
    QCOMPARE(session().token()->value(u"refresh_token").toString(), u"R2"_qs);
}

void tst_Session::shortLivedTokensSignWhatTheyCameFor()
{
    signIn(u"A0"_qs, u"R0"_qs, 30);
    m_device->answer(tokens(u"A1"_qs, u"R1"_qs, 30));
    const Signing signing = sign();
    QTRY_SIGNED(signing, "A1");
    QCOMPARE(m_device->server.requests().size(), 1);
}

void tst_Session::logOutWhileRequestsWait_data()
{
    const DVRows<bool, bool> row("forScreen", "nextSignsIn");
    row("for a refresh, and nobody is there then", false, false);
    row("for a refresh, and somebody else is there then", false, true);
    row("for the login screen, and somebody else is there then", true, true);
}

void tst_Session::logOutWhileRequestsWait()
{
    QFETCH(bool, forScreen);
    QFETCH(bool, nextSignsIn);
    signInAs(u"ada"_qs);
    forScreen ? expireAll() : expireAccess();
    m_device->server.setHandler([](const DVFaultServer::Request &request) {
        if (QString::fromLatin1(request.target) != tokenPath)
            return Answer::of(204);
        return request.body.contains("grant_type=refresh_token") ? tokens(u"A2"_qs, u"R2"_qs).delayed(500)
                                                                 : tokens(u"B1"_qs, u"S1"_qs);
    });
    countLoginScreens();
    const Signing signing = sign();
    QVERIFY(forScreen || m_device->server.waitForRequests(1));
    session().logOut();
    if (nextSignsIn) {
        const DVOutcome<> signedIn;
        session().getTokenWithCode(u"code"_qs, false, signedIn.take());
        QTRY_COMPLETED(signedIn);
    }
    if (forScreen)
        m_screens.constFirst()(false);
    QTRY_REFUSED(signing, noToken);
    QCOMPARE(session().isLoggedIn(), nextSignsIn);
    QCOMPARE(session().accessToken(), nextSignsIn ? u"B1"_qs : QString());
    QCOMPARE(m_keychain->items.size(), nextSignsIn ? 1 : 0);
    QCOMPARE(m_screens.size(), forScreen ? 1 : 0);
}

void tst_Session::requestsEndToEnd()
{
    signIn();
    expireAccess();
    m_device->server.enqueue(tokens(u"A2"_qs, u"R2"_qs));
    m_device->server.enqueue(Answer::of(401, R"({"response":{"code":"AUTHENTICATION_ERROR"}})"));
    m_device->server.enqueue(Answer::of(200, R"({"response":{"data":{}}})"));
    const DVOutcome<> refused;
    DVApi::pingWithCompletion(refused.take());
    QCOMPARE(refused->calls, 0);
    QTRY_COMPLETED(refused);
    // The platform's refusal of a token that is alive goes to who asked, and changes nothing.
    QCOMPARE(refused->error, (DVError{u"dorvane.API"_qs, 401, u"AUTHENTICATION_ERROR"_qs}));
    const DVOutcome<> good;
    DVApi::pingWithCompletion(good.take());
    QTRY_COMPLETED(good);
    QCOMPARE(good->error, DVErrorOr());
    const auto requests = m_device->server.requests();
    QCOMPARE(requests.size(), 3);
    for (int i : {1, 2}) {
        QCOMPARE(requests.at(i).method + ' ' + requests.at(i).target, QByteArray("GET /auth-api/v2/ping"));
        QCOMPARE(requests.at(i).header("Authorization"), QByteArray("Bearer A2"));
    }
}

void tst_Session::logOutClearsEverything()
{
    QStringList told;
    signInAs(u"ada"_qs);
    auto &defaults = DVUserDefaults::standard();
    for (const auto &key : {u"DVWorkflowStep"_qs, u"DVLocale"_qs, u"DVStatuses"_qs, u"DVDevice"_qs})
        defaults.setString(key, u"x"_qs);
    DVKeychain::saveValue(u"7"_qs, u"userId"_qs);
    session().projectInfo = QJsonObject();
    session().workflows = QList<DVWorkflowStep>();
    session().setDeleteEdits([&] { told.append(u"edits"_qs); });
    session().setResetController([&] { told.append(u"reset"_qs); });
    session().setChanged([&] {
        QVERIFY(!DVState::shared().loggedIn);
        QVERIFY(DVState::shared().userEmail().isNull());
        told.append(u"changed"_qs);
    });
    session().logOut();
    QVERIFY(m_device->server.waitForRequests(1));
    const auto request = m_device->server.requests().constFirst();
    QCOMPARE(request.method, QByteArray("GET"));
    QVERIFY(request.header("Authorization").isNull());
    const QUrl url(QString::fromLatin1(request.target));
    QCOMPARE(url.path(), QString(logOutPath));
    // Not "ios-sdk": this end point wants the project.
    QCOMPARE(dv_getParameters(url),
             (QHash<QString, QString>{{u"refresh_token"_qs, u"R1"_qs}, {u"client_id"_qs, u"project"_qs}}));
    QCOMPARE(told, QStringList({u"edits"_qs, u"reset"_qs, u"changed"_qs}));
    QVERIFY(m_keychain->items.isEmpty());
    for (const auto &key : {u"DVWorkflowStep"_qs, u"DVLocale"_qs, u"DVStatuses"_qs})
        QVERIFY2(!defaults.stringForKey(key), qPrintable(key));
    QVERIFY(defaults.stringForKey(u"DVDevice"_qs));
    QVERIFY(!session().token() && !session().userInfo() && !session().projectInfo && !session().workflows);
    QVERIFY(session().accessToken().isNull());
}

void tst_Session::logOutWithoutRefreshTokenSendsNothing()
{
    signIn(u"A1"_qs, {});
    session().logOut();
    QVERIFY(!session().isLoggedIn());
    QVERIFY(m_keychain->items.isEmpty());
    // Requests leave in order: one more shows that there was none before.
    DVNetwork::getUrl(m_device->server.url(u"/after"_qs), [](const DVErrorOr &, const QJsonValue &) {});
    QVERIFY(m_device->server.waitForRequests(1));
    QCOMPARE(m_device->server.requests().constFirst().target, QByteArray("/after"));
}

void tst_Session::logOutHoldsAtTheNextStart_data()
{
    const DVRows<int, bool> row("answers", "nextSignsIn");
    row("a process killed before the keychain got to it", int(DVFakeKeychainState::Never), false);
    row("a keychain that fails", int(DVFakeKeychainState::Failing), false);
    row("one that does not take the next sign-in either", int(DVFakeKeychainState::Failing), true);
}

void tst_Session::logOutHoldsAtTheNextStart()
{
    QFETCH(int, answers);
    QFETCH(bool, nextSignsIn);
    signInAs(u"ada"_qs);
    const auto items = m_keychain->items;
    m_keychain->answers = DVFakeKeychainState::Answers(answers);
    session().logOut();
    QVERIFY(m_device->server.waitForRequests(1)); // the platform is told
    if (nextSignsIn)
        signInAs(u"grace"_qs);
    QCoreApplication::processEvents();
    m_keychain->items = items;
    m_keychain->answers = DVFakeKeychainState::AtOnce;
    QVERIFY(!signedInByStart() && !DVState::shared().loggedIn);
    QVERIFY(m_keychain->items.isEmpty());
    signInAs(u"grace"_qs);
    QCoreApplication::processEvents(); // where the keychain's answer arrives
    QVERIFY(signedInByStart());
    QCOMPARE(DVState::shared().userEmail(), u"grace@example.invalid"_qs);
}

// The process ends before it hears that the keychain has taken it.
void tst_Session::aSignInBehindALogOutHoldsToo()
{
    signInAs(u"ada"_qs);
    m_keychain->answers = DVFakeKeychainState::Failing;
    session().logOut();
    QVERIFY(m_device->server.waitForRequests(1));
    m_keychain->answers = DVFakeKeychainState::Never;
    signInAs(u"grace"_qs);
    const auto token = session().token();
    m_keychain->answers = DVFakeKeychainState::AtOnce;
    QVERIFY(signedInByStart());
    QCOMPARE(session().token(), token);
    QVERIFY(signedInByStart());
}

void tst_Session::nextStartIsSignedIn()
{
    int changes = 0;
    session().setChanged([&changes] { ++changes; });
    signInAs(u"ada"_qs);
    QCOMPARE(changes, 1);
    const auto token = session().token();
    startAgain();
    QCOMPARE(changes, 2);
    QVERIFY(session().loadSavedCredentials());
    QCOMPARE(session().token(), token);
    QCOMPARE(session().userInfo(), std::optional(claimsOf(u"ada"_qs)));
    QVERIFY(DVState::shared().loggedIn);
    QCOMPARE(DVState::shared().userEmail(), u"ada@example.invalid"_qs);
    QCOMPARE(changes, 3);
    // From memory from now on.
    m_keychain->calls.clear();
    QVERIFY(session().loadSavedCredentials());
    QVERIFY(m_keychain->calls.isEmpty());
    // The same person with another token is no change.
    expireAccess();
    m_device->server.enqueue(tokens(QString(jwt(claimsOf(u"ada"_qs)) % u"2"), u"R2"_qs));
    const Signing signing = sign();
    QTRY_COMPLETED(signing);
    QCOMPARE(changes, 3);
}

void tst_Session::lateKeychainSignsIn()
{
    signInAs(u"ada"_qs);
    startAgain();
    m_keychain->answers = DVFakeKeychainState::Held;
    int changes = 0;
    session().setChanged([&changes] { ++changes; });
    QVERIFY(!session().loadSavedCredentials());
    QVERIFY(!DVState::shared().loggedIn);
    m_keychain->release();
    QTRY_COMPARE_WITH_TIMEOUT(changes, 1, generousMs);
    QVERIFY(DVState::shared().loggedIn);
    QCOMPARE(DVState::shared().userEmail(), u"ada@example.invalid"_qs);
    const Signing signing = sign();
    QCOMPARE(signing->error, DVErrorOr());
}

void tst_Session::damagedKeychainItems_data()
{
    const DVRows<QString> row("text");
    row("empty", u""_qs);
    row("not JSON", u"nonsense"_qs);
    row("a list", u"[]"_qs);
    row("an empty dictionary", u"{}"_qs);
    row("a token that is a list", u"{\"access_token\":[]}"_qs);
    row("a token that would end the header", u"{\"access_token\":\"a\\nb\"}"_qs);
}

void tst_Session::damagedKeychainItems()
{
    QFETCH(QString, text);
    DVKeychain::saveValue(text, u"token"_qs);
    DVKeychain::forget();
    QVERIFY(!session().loadSavedCredentials());
    QVERIFY(!session().token());
    QVERIFY(!DVState::shared().loggedIn);
}

void tst_Session::secretsStayOutOfLogAndFiles()
{
    const QString refresh = DVCanaries::canary(u"refresh"_qs);
    const QString code = DVCanaries::canary(u"code"_qs);
    const QString access = jwt({{u"sub"_qs, DVCanaries::canary(u"access"_qs)}});
    DVState::shared().analyticsEnabled = true;
    m_device->server.enqueue(tokens(access, refresh));
    m_device->server.enqueue(Answer::of(400, R"({"response":{"code":")" + refresh.toLatin1() + R"("}})"));
    const DVOutcome<> signedIn;
    session().getTokenWithCode(code, false, signedIn.take());
    QTRY_COMPLETED(signedIn);
    // A server that repeats the token in its refusal.
    const DVOutcome<> refused;
    session().getTokenWithCode(refresh, true, refused.take());
    QTRY_COMPLETED(refused);
    startAgain();
    QVERIFY(m_device->server.waitForRequests(3));
    DVSecrets::forgetAll(); // as a new process knows none
    QVERIFY(session().loadSavedCredentials());
    const QString log = DVWrittenLog::take().join(u'\n');
    QVERIFY(log.contains(u"Saving credentials to keychain"));
    QVERIFY(log.contains(u"Loaded credentials from keychain \n{"));
    const QString payload = access.section(u'.', 1, 1);
    QCOMPARE(DVCanaries::found(m_device->path(), log.toUtf8(), {code, refresh, payload}), QStringList());
}

void tst_Session::demonstrations_data()
{
    const DVRows<bool, QByteArray, bool> row("host", "proxy", "isDemo");
    row("the proxy in a demonstration's host", true, "shop", true);
    row("the proxy elsewhere", false, "shop", false);
    row("the host without a proxy", true, {}, false);
    row("another class", true, "like", false);
    row("a proxy without the method", true, "old", true);
}

void tst_Session::demonstrations()
{
    QFETCH(bool, host);
    QFETCH(QByteArray, proxy);
    QFETCH(bool, isDemo);
    setAppetizeHost(host);
    shop::DVAppetize shop;
    old::DVAppetize old;
    DVAppetizeLike like;
    const QHash<QByteArray, QObject *> proxies{{"shop", &shop}, {"old", &old}, {"like", &like}};
    session().setProxy(proxies.value(proxy));
    QCOMPARE(session().isDemo(), isDemo);
    QCOMPARE(session().isLoggedIn(), isDemo);
    QCOMPARE(bool(DVState::shared().loggedIn), isDemo);
    const Signing signing = sign();
    if (proxy != "shop" || !isDemo) {
        QTRY_COMPLETED(signing);
        QCOMPARE(signing->error, noToken);
    }
}

void tst_Session::proxySigns_data()
{
    using shop::DVAppetize;
    const DVRows<int, DVErrorOr> row("manner", "error");
    row("at once", int(DVAppetize::Signs), {});
    row("later", int(DVAppetize::SignsLater), {});
    row("or says why not", int(DVAppetize::Fails), DVErrorOr(DVError{u"shop"_qs, 7, u"closed"_qs}));
    row("or drops the completion", int(DVAppetize::Drops), noToken);
    row("or never calls it", int(DVAppetize::Keeps), noToken);
}

void tst_Session::proxySigns()
{
    QFETCH(int, manner);
    QFETCH(DVErrorOr, error);
    setAppetizeHost(true);
    shop::DVAppetize proxy;
    proxy.manner = shop::DVAppetize::Manner(manner);
    proxy.accessToken = jwt(claimsOf(u"visitor"_qs));
    session().setProxy(&proxy);
    session().setProxyTimeout(manner == shop::DVAppetize::Keeps ? 50 : generousMs);
    const Signing signing = sign();
    if (manner == shop::DVAppetize::SignsLater) {
        QCOMPARE(signing->calls, 0);
        proxy.keptRequest.setRawHeader("Authorization", "Proxy GET");
        // From another thread, although it should not.
        std::thread([&proxy] { proxy.kept.constFirst()({}, proxy.accessToken); }).join();
        QCOMPARE(signing->calls, 0);
    }
    QTRY_COMPLETED(signing);
    QCOMPARE(signing->error, error);
    QCOMPARE(signing.header(), error ? QByteArray() : QByteArray("Proxy GET"));
    QVERIFY(!signing.request->request.hasRawHeader("X-Broken"));
    QCOMPARE(DVState::shared().userEmail(), error ? QString() : u"visitor@example.invalid"_qs);
}

void tst_Session::whatAProxySignsStaysWithItsServer()
{
    setAppetizeHost(true);
    shop::DVAppetize proxy;
    proxy.manner = shop::DVAppetize::SignsOtherwise;
    proxy.accessToken = u"visitor-token"_qs;
    session().setProxy(&proxy);
    DVFaultServer other;
    m_device->server.enqueue(Answer::of(302, {}, {{"Location", other.url(u"/elsewhere"_qs).toLatin1()}}));
    const DVOutcome<> result;
    DVApi::pingWithCompletion(result.take());
    QTRY_COMPLETED(result);
    QCOMPARE(result->code(), int(QNetworkReply::InsecureRedirectError));
    QCOMPARE(m_device->server.requests().constFirst().header("X-Visitor"), QByteArray("visitor-token"));
    QCOMPARE(other.connectionCount(), 0);
}

void tst_Session::proxyThatIsGone()
{
    setAppetizeHost(true);
    auto proxy = std::make_unique<shop::DVAppetize>();
    proxy->manner = shop::DVAppetize::Keeps;
    session().setProxy(proxy.get());
    const Signing signing = sign();
    proxy.reset();
    QTRY_REFUSED(signing, noToken);
    QVERIFY(!session().isDemo());
    QTRY_VERIFY_WITH_TIMEOUT(!DVState::shared().loggedIn, generousMs);
}

QTEST_GUILESS_MAIN(tst_Session)
#include "tst_session.moc"
