// A translator's session: what token endpoints answer, how requests are signed, what is kept and what is not.
#include "DVApi.h"
#include "DVCanaries.h"
#include "DVClock.h"
#include "DVFakeKeychain.h"
#include "DVFaultServer.h"
#include "DVFolders.h"
#include "DVKeychain.h"
#include "DVNetwork.h"
#include "DVSecrets.h"
#include "DVServerUrl.h"
#include "DVSession.h"
#include "DVState.h"
#include "DVUrlParameters.h"
#include "DVUserDefaults.h"
#include "DVWrittenLog.h"
#include "Signing.h"

#include <Dorvane/DVProxy.h>

#include <QCoreApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QNetworkReply>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>

using Answer = DVFaultServer::Answer;

namespace {

constexpr int generousMs = 20000;
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
    return {{QStringLiteral("sub"), who}, {QStringLiteral("email"), QString(who % u"@example.invalid")}};
}

// An answer of the token endpoint, five minutes for requests and half an hour for refreshes.
QJsonObject tokenAnswer(const QString &access, const QString &refresh, int expiresIn = 300,
                        int refreshExpiresIn = 1800)
{
    QJsonObject answer{{QStringLiteral("access_token"), access},
                       {QStringLiteral("expires_in"), expiresIn},
                       {QStringLiteral("refresh_expires_in"), refreshExpiresIn},
                       {QStringLiteral("token_type"), QStringLiteral("bearer")}};
    if (!refresh.isNull())
        answer.insert(u"refresh_token", refresh);
    return answer;
}

QHash<QString, QString> form(const DVFaultServer::Request &request)
{
    return dv_getParametersFromString(QString::fromUtf8(request.body));
}

DVErrorOr sdkError(const QString &description)
{
    return DVError{QStringLiteral("dorvane.SDK"), 401, description};
}
const DVErrorOr noToken = sdkError(QStringLiteral("No token found"));
const DVErrorOr cancelledLogin = sdkError(QStringLiteral("Login cancelled by user"));

SigningPtr sign()
{
    return Signing::with(DVSession::sharedInstance());
}

#define COMPARE_SIGNED(signing, token)                                                                       \
    do {                                                                                                     \
        QTRY_COMPARE_WITH_TIMEOUT((signing)->completions, 1, generousMs);                                    \
        QCOMPARE((signing)->error, DVErrorOr());                                                             \
        QCOMPARE((signing)->header(), QByteArray("Bearer " token));                                          \
    } while (false)

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
            return withCompletion(DVError{QStringLiteral("shop"), 7, QStringLiteral("closed")}, {});
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
            withCompletion(DVError{QStringLiteral("shop"), 8, QStringLiteral("twice")}, {});
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
    void initTestCase();
    void cleanupTestCase() { DVWrittenLog::end(); }
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
    void droppedLoginScreenIsACancelledOne();
    void failedRefreshOpensTheLoginScreen_data();
    void failedRefreshOpensTheLoginScreen();
    void refreshesAtTheSameTimeWithTokensForOneUse_data();
    void refreshesAtTheSameTimeWithTokensForOneUse();
    void shortLivedTokensSignWhatTheyCameFor();
    void logOutWhileRefreshing();
    void requestsEndToEnd();

    void logOutClearsEverything();
    void logOutWithoutRefreshTokenSendsNothing();
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
    void signIn(const QJsonObject &answer);
    void signInAs(const QString &who) { signIn(tokenAnswer(jwt(claimsOf(who)), QStringLiteral("R1"))); }
    void expireAccess() { DVClock::advance(250 * 1000); } // 240 s, by the margin
    void expireAll() { DVClock::advance(1745 * 1000); }   // 1740 s
    void setAppetizeHost(bool present);

    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<DVFaultServer> m_server;
    std::shared_ptr<DVFakeKeychainState> m_keychain;
};

void tst_Session::initTestCase()
{
    DVWrittenLog::begin();
    QCoreApplication::setOrganizationName(QStringLiteral("tst-session"));
}

void tst_Session::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, m_folder->path());
    DVFolders::setDocuments(m_folder->path());
    DVUserDefaults::standard().reload();
    m_server = std::make_unique<DVFaultServer>();
    QVERIFY(DVServerUrl::setServers(
                {{QStringLiteral("api"), m_server->url()}, {QStringLiteral("sso"), m_server->url()}})
                .isNull());
    m_keychain = std::make_shared<DVFakeKeychainState>();
    DVKeychain::forget();
    dv_setKeychainService(std::make_unique<DVFakeKeychain>(m_keychain));
    auto &state = DVState::shared();
    state.analyticsEnabled = false;
    state.appLaunched = true;
    state.log = state.debug = true;
    state.setAppId(QStringLiteral("project"));
    DVWrittenLog::take();
}

void tst_Session::cleanup()
{
    session().setProxy(nullptr);
    session().setLoginForm({});
    session().setResetController({});
    session().setDeleteEdits({});
    session().setChanged({});
    session().setProxyTimeout(60000);
    session().logOut();
    DVHttpTransport::shutDown(1000);
    dv_setKeychainService(nullptr);
    DVKeychain::forget();
    DVServerUrl::setServers({});
    DVFolders::setDocuments({});
    DVClock::reset();
    DVState::shared().log = DVState::shared().debug = false;
}

void tst_Session::signIn(const QJsonObject &answer)
{
    m_server->enqueue(Answer::of(200, json(answer)));
    bool completed = false;
    DVErrorOr error;
    session().getTokenWithCode(QStringLiteral("code"), false, [&](const DVErrorOr &failure) {
        error = failure;
        completed = true;
    });
    QTRY_VERIFY_WITH_TIMEOUT(completed, generousMs);
    QCOMPARE(error, DVErrorOr());
    m_server->clear();
}

void tst_Session::setAppetizeHost(bool present)
{
    QSettings settings;
    if (present)
        settings.setValue(QStringLiteral("appetize-host"), 0);
    else
        settings.remove(QStringLiteral("appetize-host"));
}

void tst_Session::tokenAnswers_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QString>("domain"); // null: signed in
    QTest::addColumn<QString>("description");
    QTest::addColumn<double>("expires"); // after now
    QTest::addColumn<double>("refreshExpires");

    const QString good;
    const QString auth = QStringLiteral("dorvane.auth");
    const QString wrong = QStringLiteral("Wrong token format");
    const auto answer = [](const char *expires, const char *refreshExpires,
                           const char *access = "\"A\"") -> QByteArray {
        return QByteArray("{\"access_token\":") + access +
               ",\"refresh_token\":\"R\",\"expires_in\":" + expires +
               ",\"refresh_expires_in\":" + refreshExpires + "}";
    };
    QTest::newRow("lifetimes count a minute less")
        << 200 << answer("300", "1800") << good << good << 240.0 << 1740.0;
    QTest::newRow("fractions") << 200 << answer("300.5", "1800") << good << good << 240.5 << 1740.0;
    QTest::newRow("texts that are numbers")
        << 200 << answer("\"300\"", "\"1800\"") << good << good << 240.0 << 1740.0;
    QTest::newRow("texts that are none count as 0")
        << 200 << answer("\"soon\"", "\"nan\"") << good << good << -60.0 << -60.0;
    QTest::newRow("what is not finite counts as 0")
        << 200 << answer("\"inf\"", "\"-inf\"") << good << good << -60.0 << -60.0;
    QTest::newRow("other types count as 0") << 200 << answer("{}", "true") << good << good << -60.0 << -60.0;
    QTest::newRow("negative") << 200 << answer("-10", "-1") << good << good << -70.0 << -61.0;
    QTest::newRow("huge ones end in some thousand years")
        << 200 << answer("1e300", "-1e300") << good << good << 1e11 - 60 << -1e11 - 60;
    QTest::newRow("no lifetime") << 200 << QByteArray("{\"access_token\":\"A\",\"refresh_expires_in\":1}")
                                 << auth << wrong << 0.0 << 0.0;
    QTest::newRow("no lifetime of the refresh token")
        << 200 << QByteArray("{\"access_token\":\"A\",\"expires_in\":1}") << auth << wrong << 0.0 << 0.0;
    QTest::newRow("no token") << 200 << QByteArray("{\"expires_in\":1,\"refresh_expires_in\":1}") << auth
                              << wrong << 0.0 << 0.0;
    QTest::newRow("a lifetime that is null") << 200 << answer("null", "1") << auth << wrong << 0.0 << 0.0;
    QTest::newRow("a token that is a number") << 200 << answer("1", "1", "7") << auth << wrong << 0.0 << 0.0;
    QTest::newRow("an empty token") << 200 << answer("1", "1", "\"\"") << auth << wrong << 0.0 << 0.0;
    QTest::newRow("a token that would end the header")
        << 200 << answer("1", "1", "\"A\\r\\nHost: b\"") << auth << wrong << 0.0 << 0.0;
    QTest::newRow("a token that is not ASCII")
        << 200 << answer("1", "1", "\"\xc3\xa4\"") << auth << wrong << 0.0 << 0.0;
    QTest::newRow("a token of a megabyte")
        << 200 << answer("1", "1", QByteArray('"' + QByteArray(1 << 20, 'A') + '"').constData()) << auth
        << wrong << 0.0 << 0.0;
    QTest::newRow("a list") << 200 << QByteArray("[1]") << auth << wrong << 0.0 << 0.0;
    QTest::newRow("nothing") << 200 << QByteArray() << auth << wrong << 0.0 << 0.0;
    QTest::newRow("not JSON") << 200 << QByteArray("<html>") << QStringLiteral("dorvane.SDK") << QString()
                              << 0.0 << 0.0;
    QTest::newRow("refused (RFC 6749, 5.2)")
        << 400 << QByteArray("{\"error\":\"invalid_grant\"}") << QStringLiteral("dorvane.API")
        << QStringLiteral("Server error") << 0.0 << 0.0;
}

void tst_Session::tokenAnswers()
{
    QFETCH(int, status);
    QFETCH(QByteArray, body);
    QFETCH(QString, domain);
    QFETCH(QString, description);
    QFETCH(double, expires);
    QFETCH(double, refreshExpires);
    m_server->enqueue(Answer::of(status, body));
    bool completed = false;
    DVErrorOr error;
    QJsonObject token;
    DVApi::tokenWithCode(QStringLiteral("c"), false,
                         [&](const DVErrorOr &failure, const QJsonObject &answer) {
                             error = failure;
                             token = answer;
                             completed = true;
                         });
    QTRY_VERIFY_WITH_TIMEOUT(completed, generousMs);
    QCOMPARE(error ? error->domain : QString(), domain);
    if (error) {
        QVERIFY(token.isEmpty());
        QVERIFY2(error->description == description || description.isNull(), qPrintable(error->description));
        QVERIFY(domain != u"dorvane.auth" || error->code == 500);
        return;
    }
    const double now = DVClock::secondsSince1970();
    const double tolerance = qMax(20.0, qAbs(expires) * 1e-6);
    QVERIFY(qAbs(token.value(u"expires").toDouble() - now - expires) < tolerance);
    QVERIFY(qAbs(token.value(u"refresh_expires").toDouble() - now - refreshExpires) < tolerance);
    // Everything else stays as it came.
    token.remove(u"expires");
    token.remove(u"refresh_expires");
    QCOMPARE(token, QJsonDocument::fromJson(body).object());
}

void tst_Session::tokenRequests()
{
    m_server->setHandler([](const DVFaultServer::Request &) { return Answer::of(400); });
    const auto nothing = [](const DVErrorOr &, const QJsonObject &) {};
    DVApi::tokenWithCode(QStringLiteral("a/b&c"), false, nothing);
    QVERIFY(m_server->waitForRequests(1));
    DVApi::tokenWithCode(QStringLiteral("r"), true, nothing);
    QVERIFY(m_server->waitForRequests(2));
    const auto requests = m_server->requests();
    for (const auto &request : requests) {
        QCOMPARE(request.method, QByteArray("POST"));
        QCOMPARE(QString::fromLatin1(request.target), QString(tokenPath));
        QCOMPARE(request.header("Content-Type"), QByteArray("application/x-www-form-urlencoded"));
        QVERIFY(request.header("Authorization").isNull());
    }
    const QHash<QString, QString> always{
        {QStringLiteral("client_id"), QStringLiteral("ios-sdk")},
        {QStringLiteral("redirect_uri"), QStringLiteral("dorvane.ios.sdk%3A%2F%2Flogin%2F")}};
    auto code = always;
    code.insert(QStringLiteral("grant_type"), QStringLiteral("authorization_code"));
    code.insert(QStringLiteral("code"), QStringLiteral("a%2Fb%26c"));
    QCOMPARE(form(requests.at(0)), code);
    auto refresh = always;
    refresh.insert(QStringLiteral("grant_type"), QStringLiteral("refresh_token"));
    refresh.insert(QStringLiteral("refresh_token"), QStringLiteral("r"));
    QCOMPARE(form(requests.at(1)), refresh);
}

void tst_Session::failedExchangeKeepsWhatWasBefore()
{
    signInAs(QStringLiteral("ada"));
    const auto before = session().token();
    const auto savedBefore = m_keychain->items;
    session().projectInfo = QJsonObject();
    session().workflows = QList<DVWorkflowStep>();
    int failures = 0;
    for (const bool refresh : {false, true}) {
        m_server->enqueue(Answer::of(400));
        session().getTokenWithCode(QStringLiteral("x"), refresh,
                                   [&](const DVErrorOr &error) { failures += error ? 1 : 100; });
    }
    QTRY_COMPARE_WITH_TIMEOUT(failures, 2, generousMs);
    QCOMPARE(session().token(), before);
    QCOMPARE(m_keychain->items, savedBefore);
    QVERIFY(DVState::shared().loggedIn);
    QCOMPARE(DVState::shared().userEmail(), QStringLiteral("ada@example.invalid"));
    QVERIFY(session().projectInfo && session().workflows);
    signInAs(QStringLiteral("grace")); // who has other rights
    QVERIFY(!session().projectInfo && !session().workflows);
}

void tst_Session::claims_data()
{
    QTest::addColumn<QString>("token");
    QTest::addColumn<QJsonObject>("expected"); // empty: nothing

    // One character more each, for every length of the payload modulo 4.
    for (const auto &who :
         {QStringLiteral("a"), QStringLiteral("ab"), QStringLiteral("abc"), QStringLiteral("abcd")})
        QTest::addRow("claims of %s", qPrintable(who))
            << jwt({{QStringLiteral("s"), who}}) << QJsonObject{{QStringLiteral("s"), who}};
    // ">>>???" is "Pj4-Pz8_" in the URL alphabet, "Pj4+Pz8/" in the other.
    QTest::newRow("the URL alphabet") << jwt({{QStringLiteral("s"), QStringLiteral(">>>???~~~")}})
                                      << QJsonObject{{QStringLiteral("s"), QStringLiteral(">>>???~~~")}};
    QTest::newRow("the other alphabet, padded")
        << QString(u"x." % QString::fromLatin1(QByteArray("{\"s\":\"?>?>\"}").toBase64()) % u".y")
        << QJsonObject{{QStringLiteral("s"), QStringLiteral("?>?>")}};
    QTest::newRow("two pieces") << QStringLiteral("x.e30") << QJsonObject();
    QTest::newRow("beyond ASCII") << jwt({{QStringLiteral("s"), QStringLiteral("\u00e4\U0001F331")}})
                                  << QJsonObject{{QStringLiteral("s"), QStringLiteral("\u00e4\U0001F331")}};
    const auto nothing = QJsonObject();
    QTest::newRow("opaque") << QStringLiteral("4f1c9a2b") << nothing;
    QTest::newRow("null") << QString() << nothing;
    QTest::newRow("dots only") << QStringLiteral("...") << nothing;
    QTest::newRow("a length that no base64 has") << QStringLiteral("x.e30AA.y") << nothing;
    QTest::newRow("not base64") << QStringLiteral("x.{\"s\":1}.y") << nothing;
    QTest::newRow("not ASCII") << QStringLiteral("x.e3\u00e4.y") << nothing;
    QTest::newRow("not JSON") << QString(u"x." % QString::fromLatin1(QByteArray("hello").toBase64()) % u".y")
                              << nothing;
    QTest::newRow("not UTF-8")
        << QString(u"x." % QString::fromLatin1(QByteArray("{\"s\":\"\xff\"}").toBase64()) % u".y") << nothing;
    QTest::newRow("a list") << QString(u"x." % QString::fromLatin1(QByteArray("[1]").toBase64()) % u".y")
                            << nothing;
    QTest::newRow("100,000 levels deep")
        << QString(u"x." %
                   QString::fromLatin1(
                       QByteArray(QByteArray("{\"a\":").repeated(100000) + "1" + QByteArray(100000, '}'))
                           .toBase64()) %
                   u".y")
        << nothing;
    QTest::newRow("eight megabytes that are not base64")
        << QString(u"x." % QString(8 << 20, u'!')) << nothing;
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
             QString(m_server->url() %
                     u"/auth/realms/Dorvane/protocol/openid-connect/auth?response_type=code&client_id=ios-sdk"
                     u"&redirect_uri=dorvane.ios.sdk://login/"));
}

void tst_Session::liveTokenSignsBeforeTheCallReturns()
{
    signIn(tokenAnswer(QStringLiteral("A1"), QStringLiteral("R1")));
    const auto signing = sign();
    QCOMPARE(signing->completions, 1);
    COMPARE_SIGNED(signing, "A1");
    QCOMPARE(m_server->requests().size(), 0);
}

void tst_Session::withoutTokenNothingIsSigned()
{
    int opened = 0;
    session().setLoginForm([&opened](const auto &) { ++opened; });
    const auto signing = sign();
    QCOMPARE(signing->completions, 1);
    QCOMPARE(signing->error, noToken);
    QCOMPARE(opened, 0);
    QVERIFY(signing->header().isNull());
}

void tst_Session::expiredTokenIsRefreshedFirst()
{
    signIn(tokenAnswer(jwt(claimsOf(QStringLiteral("ada"))), QStringLiteral("R1")));
    expireAccess();
    m_server->enqueue(Answer::of(200, json(tokenAnswer(QStringLiteral("A2"), QStringLiteral("R2")))));
    const auto signing = sign();
    QCOMPARE(signing->completions, 0);
    COMPARE_SIGNED(signing, "A2");
    QCOMPARE(form(m_server->requests().constFirst()).value(QStringLiteral("refresh_token")),
             QStringLiteral("R1"));
    // The next start finds the new one.
    DVKeychain::forget();
    const auto saved = DVKeychain::loadValueForKey(QStringLiteral("token"));
    QVERIFY(saved);
    QCOMPARE(QJsonDocument::fromJson(saved->toUtf8()).object(), session().token());
    QVERIFY(!saved->contains(u'\n'));
}

void tst_Session::refreshKeepsTheOldRefreshToken()
{
    signIn(tokenAnswer(QStringLiteral("A1"), QStringLiteral("R1")));
    for (const auto &next : {QStringLiteral("A2"), QStringLiteral("A3")}) {
        expireAccess();
        m_server->enqueue(Answer::of(200, json(tokenAnswer(next, {}))));
        const auto signing = sign();
        QTRY_COMPARE_WITH_TIMEOUT(signing->completions, 1, generousMs);
        QCOMPARE(signing->header(), QByteArray("Bearer " + next.toLatin1()));
    }
    const auto requests = m_server->requests();
    QCOMPARE(requests.size(), 2);
    for (const auto &request : requests)
        QCOMPARE(form(request).value(QStringLiteral("refresh_token")), QStringLiteral("R1"));
}

void tst_Session::expiredSignInOpensTheLoginScreen_data()
{
    QTest::addColumn<bool>("launched");
    QTest::addColumn<bool>("hasForm");
    QTest::addColumn<bool>("cancels");
    QTest::addColumn<bool>("signsIn");
    QTest::addColumn<DVErrorOr>("error");
    QTest::newRow("who signs in goes on") << true << true << false << true << DVErrorOr();
    QTest::newRow("who cancels does not") << true << true << true << false << cancelledLogin;
    QTest::newRow("a screen that lies brings no token") << true << true << false << false << noToken;
    QTest::newRow("before the launch there is no screen") << false << true << false << true << noToken;
    QTest::newRow("without a screen nobody can sign in") << true << false << false << true << noToken;
}

void tst_Session::expiredSignInOpensTheLoginScreen()
{
    QFETCH(bool, launched);
    QFETCH(bool, hasForm);
    QFETCH(bool, cancels);
    QFETCH(bool, signsIn);
    QFETCH(DVErrorOr, error);
    signIn(tokenAnswer(QStringLiteral("A1"), QStringLiteral("R1")));
    expireAll();
    DVState::shared().appLaunched = launched;
    if (hasForm)
        session().setLoginForm([=, this](const std::function<void(bool)> &done) {
            if (signsIn)
                signIn(tokenAnswer(QStringLiteral("A2"), QStringLiteral("R2")));
            done(cancels);
            done(!cancels); // a second answer counts no more
        });
    const auto signing = sign();
    QTRY_COMPARE_WITH_TIMEOUT(signing->completions, 1, generousMs);
    QCOMPARE(signing->error, error);
    QCOMPARE(signing->header(), error ? QByteArray() : QByteArray("Bearer A2"));
    // Nothing but log out takes the token away.
    QVERIFY(session().isLoggedIn());
    QVERIFY(!m_keychain->items.isEmpty());
}

void tst_Session::loginScreenIsSharedByRequests()
{
    signIn(tokenAnswer(QStringLiteral("A1"), QStringLiteral("R1")));
    expireAll();
    QList<std::function<void(bool)>> open;
    session().setLoginForm([&open](const auto &done) { open.append(done); });
    const auto first = sign();
    const auto second = sign();
    QCOMPARE(open.size(), 1);
    signIn(tokenAnswer(QStringLiteral("A2"), QStringLiteral("R2")));
    open.constFirst()(false);
    COMPARE_SIGNED(first, "A2");
    COMPARE_SIGNED(second, "A2");
    // The screen still has its function, but it is closed.
    expireAll();
    const auto third = sign();
    QCOMPARE(open.size(), 2);
    open.constLast()(true);
    QCOMPARE(third->error, cancelledLogin);
}

void tst_Session::droppedLoginScreenIsACancelledOne()
{
    signIn(tokenAnswer(QStringLiteral("A1"), QStringLiteral("R1")));
    expireAll();
    session().setLoginForm([](const auto &) {});
    const auto signing = sign();
    QTRY_COMPARE_WITH_TIMEOUT(signing->completions, 1, generousMs);
    QCOMPARE(signing->error, cancelledLogin);
}

void tst_Session::failedRefreshOpensTheLoginScreen_data()
{
    QTest::addColumn<bool>("hasForm");
    QTest::newRow("and completes with the screen") << true;
    QTest::newRow("or says that there is no token") << false;
}

void tst_Session::failedRefreshOpensTheLoginScreen()
{
    QFETCH(bool, hasForm);
    signIn(tokenAnswer(QStringLiteral("A1"), QStringLiteral("R1")));
    const auto saved = m_keychain->items;
    expireAccess();
    m_server->enqueue(Answer::failing(DVFaultServer::Fault::Close));
    int opened = 0;
    if (hasForm)
        session().setLoginForm([&opened](const std::function<void(bool)> &done) {
            ++opened;
            done(true);
        });
    const auto signing = sign();
    QTRY_COMPARE_WITH_TIMEOUT(signing->completions, 1, generousMs);
    QCOMPARE(signing->error, hasForm ? cancelledLogin : noToken);
    QCOMPARE(opened, hasForm ? 1 : 0);
    QCOMPARE(m_keychain->items, saved);
    // The refresh token is as good as before.
    m_server->enqueue(Answer::of(200, json(tokenAnswer(QStringLiteral("A2"), QStringLiteral("R2")))));
    const auto again = sign();
    COMPARE_SIGNED(again, "A2");
}

void tst_Session::refreshesAtTheSameTimeWithTokensForOneUse_data()
{
    QTest::addColumn<bool>("refusalFirst");
    QTest::newRow("the refused one comes last") << false;
    QTest::newRow("the refused one comes first") << true;
}

// A provider that rotates refresh tokens takes each once (RFC 6749, 10.4).
void tst_Session::refreshesAtTheSameTimeWithTokensForOneUse()
{
    QFETCH(bool, refusalFirst);
    signIn(tokenAnswer(QStringLiteral("A1"), QStringLiteral("R1")));
    expireAccess();
    int opened = 0;
    session().setLoginForm([&opened](const auto &) { ++opened; });
    auto good = Answer::of(200, json(tokenAnswer(QStringLiteral("A2"), QStringLiteral("R2"))));
    auto refusal = Answer::of(400, QByteArrayLiteral("{\"error\":\"invalid_grant\"}"));
    // The answers leave in this order, on connections of their own.
    m_server->enqueue(refusalFirst ? good.delayed(400) : good);
    m_server->enqueue(refusalFirst ? refusal : refusal.delayed(400));
    const auto first = sign();
    const auto second = sign();
    COMPARE_SIGNED(first, "A2");
    COMPARE_SIGNED(second, "A2");
    QCOMPARE(m_server->requests().size(), 2);
    QCOMPARE(opened, 0);
    QCOMPARE(session().token()->value(u"refresh_token").toString(), QStringLiteral("R2"));
}

void tst_Session::shortLivedTokensSignWhatTheyCameFor()
{
    signIn(tokenAnswer(QStringLiteral("A0"), QStringLiteral("R0"), 30));
    m_server->setHandler([](const DVFaultServer::Request &) {
        return Answer::of(200, json(tokenAnswer(QStringLiteral("A1"), QStringLiteral("R1"), 30)));
    });
    const auto signing = sign();
    COMPARE_SIGNED(signing, "A1");
    QCOMPARE(m_server->requests().size(), 1);
}

void tst_Session::logOutWhileRefreshing()
{
    signInAs(QStringLiteral("ada"));
    expireAccess();
    const QByteArray answer = json(tokenAnswer(QStringLiteral("A2"), QStringLiteral("R2")));
    m_server->setHandler([answer](const DVFaultServer::Request &request) {
        return QString::fromLatin1(request.target) == tokenPath ? Answer::of(200, answer).delayed(200)
                                                                : Answer::of(204);
    });
    int opened = 0;
    session().setLoginForm([&opened](const auto &) { ++opened; });
    const auto signing = sign();
    QVERIFY(m_server->waitForRequests(1));
    session().logOut();
    QTRY_COMPARE_WITH_TIMEOUT(signing->completions, 1, generousMs);
    QCOMPARE(signing->error, noToken);
    QVERIFY(!session().isLoggedIn());
    QVERIFY(m_keychain->items.isEmpty());
    QCOMPARE(opened, 0);
}

void tst_Session::requestsEndToEnd()
{
    signIn(tokenAnswer(QStringLiteral("A1"), QStringLiteral("R1")));
    expireAccess();
    m_server->enqueue(Answer::of(200, json(tokenAnswer(QStringLiteral("A2"), QStringLiteral("R2")))));
    m_server->enqueue(
        Answer::of(401, QByteArrayLiteral("{\"response\":{\"code\":\"AUTHENTICATION_ERROR\"}}")));
    m_server->enqueue(Answer::of(200, QByteArrayLiteral("{\"response\":{\"data\":{}}}")));
    QList<DVErrorOr> results;
    const auto ended = [&results](const DVErrorOr &error) { results.append(error); };
    DVApi::pingWithCompletion(ended);
    QCOMPARE(results.size(), 0);
    QTRY_COMPARE_WITH_TIMEOUT(results.size(), 1, generousMs);
    // The platform's refusal of a token that is alive goes to who asked, and changes nothing.
    QCOMPARE(results.at(0),
             DVErrorOr(DVError{QStringLiteral("dorvane.API"), 401, QStringLiteral("AUTHENTICATION_ERROR")}));
    DVApi::pingWithCompletion(ended);
    QTRY_COMPARE_WITH_TIMEOUT(results.size(), 2, generousMs);
    QCOMPARE(results.at(1), DVErrorOr());
    const auto requests = m_server->requests();
    QCOMPARE(requests.size(), 3);
    for (int i : {1, 2}) {
        QCOMPARE(requests.at(i).method + ' ' + requests.at(i).target, QByteArray("GET /auth-api/v2/ping"));
        QCOMPARE(requests.at(i).header("Authorization"), QByteArray("Bearer A2"));
    }
}

void tst_Session::logOutClearsEverything()
{
    QStringList told;
    signInAs(QStringLiteral("ada"));
    auto &defaults = DVUserDefaults::standard();
    for (const auto &key : {u"DVWorkflowStep"_qs, u"DVLocale"_qs, u"DVStatuses"_qs, u"DVDevice"_qs})
        defaults.setString(key, QStringLiteral("x"));
    DVKeychain::saveValue(QStringLiteral("7"), QStringLiteral("userId"));
    session().projectInfo = QJsonObject();
    session().workflows = QList<DVWorkflowStep>();
    session().setDeleteEdits([&] { told.append(QStringLiteral("edits")); });
    session().setResetController([&] { told.append(QStringLiteral("reset")); });
    session().setChanged([&] {
        QVERIFY(!DVState::shared().loggedIn);
        QVERIFY(DVState::shared().userEmail().isNull());
        told.append(QStringLiteral("changed"));
    });
    session().logOut();
    QVERIFY(m_server->waitForRequests(1));
    const auto request = m_server->requests().constFirst();
    QCOMPARE(request.method, QByteArray("GET"));
    QVERIFY(request.header("Authorization").isNull());
    const QUrl url(QString::fromLatin1(request.target));
    QCOMPARE(url.path(), QString(logOutPath));
    // Not "ios-sdk": this end point wants the project.
    QCOMPARE(dv_getParameters(url),
             (QHash<QString, QString>{{QStringLiteral("refresh_token"), QStringLiteral("R1")},
                                      {QStringLiteral("client_id"), QStringLiteral("project")}}));
    QCOMPARE(told,
             QStringList({QStringLiteral("edits"), QStringLiteral("reset"), QStringLiteral("changed")}));
    QVERIFY(m_keychain->items.isEmpty());
    for (const auto &key : {u"DVWorkflowStep"_qs, u"DVLocale"_qs, u"DVStatuses"_qs})
        QVERIFY2(!defaults.stringForKey(key), qPrintable(key));
    QVERIFY(defaults.stringForKey(u"DVDevice"_qs));
    QVERIFY(!session().token() && !session().userInfo() && !session().projectInfo && !session().workflows);
    QVERIFY(session().accessToken().isNull());
}

void tst_Session::logOutWithoutRefreshTokenSendsNothing()
{
    signIn(tokenAnswer(QStringLiteral("A1"), {}));
    session().logOut();
    QVERIFY(!session().isLoggedIn());
    QVERIFY(m_keychain->items.isEmpty());
    // Requests leave in order: one more shows that there was none before.
    DVNetwork::getUrl(m_server->url(QStringLiteral("/after")), [](const DVErrorOr &, const QJsonValue &) {});
    QVERIFY(m_server->waitForRequests(1));
    QCOMPARE(m_server->requests().constFirst().target, QByteArray("/after"));
}

void tst_Session::nextStartIsSignedIn()
{
    int changes = 0;
    session().setChanged([&changes] { ++changes; });
    signInAs(QStringLiteral("ada"));
    QCOMPARE(changes, 1);
    const auto token = session().token();
    const auto items = m_keychain->items;
    session().logOut();
    QCOMPARE(changes, 2);
    m_keychain->items = items;
    DVKeychain::forget();
    QVERIFY(session().loadSavedCredentials());
    QCOMPARE(session().token(), token);
    QCOMPARE(session().userInfo(), std::optional(claimsOf(QStringLiteral("ada"))));
    QVERIFY(DVState::shared().loggedIn);
    QCOMPARE(DVState::shared().userEmail(), QStringLiteral("ada@example.invalid"));
    QCOMPARE(changes, 3);
    // From memory from now on.
    m_keychain->calls.clear();
    QVERIFY(session().loadSavedCredentials());
    QVERIFY(m_keychain->calls.isEmpty());
    // The same person with another token is no change.
    expireAccess();
    m_server->enqueue(Answer::of(
        200, json(tokenAnswer(QString(jwt(claimsOf(QStringLiteral("ada"))) % u"2"), QStringLiteral("R2")))));
    const auto signing = sign();
    QTRY_COMPARE_WITH_TIMEOUT(signing->completions, 1, generousMs);
    QCOMPARE(changes, 3);
}

void tst_Session::lateKeychainSignsIn()
{
    signInAs(QStringLiteral("ada"));
    const auto items = m_keychain->items;
    session().logOut();
    m_keychain->items = items;
    m_keychain->answers = DVFakeKeychainState::Held;
    DVKeychain::forget();
    int changes = 0;
    session().setChanged([&changes] { ++changes; });
    QVERIFY(!session().loadSavedCredentials());
    QVERIFY(!DVState::shared().loggedIn);
    m_keychain->release();
    QTRY_COMPARE_WITH_TIMEOUT(changes, 1, generousMs);
    QVERIFY(DVState::shared().loggedIn);
    QCOMPARE(DVState::shared().userEmail(), QStringLiteral("ada@example.invalid"));
    const auto signing = sign();
    QCOMPARE(signing->error, DVErrorOr());
}

void tst_Session::damagedKeychainItems_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("empty") << QStringLiteral("");
    QTest::newRow("not JSON") << QStringLiteral("nonsense");
    QTest::newRow("a list") << QStringLiteral("[]");
    QTest::newRow("an empty dictionary") << QStringLiteral("{}");
    QTest::newRow("a token that is a list") << QStringLiteral("{\"access_token\":[]}");
    QTest::newRow("a token that would end the header") << QStringLiteral("{\"access_token\":\"a\\nb\"}");
}

void tst_Session::damagedKeychainItems()
{
    QFETCH(QString, text);
    DVKeychain::saveValue(text, QStringLiteral("token"));
    DVKeychain::forget();
    QVERIFY(!session().loadSavedCredentials());
    QVERIFY(!session().token());
    QVERIFY(!DVState::shared().loggedIn);
}

void tst_Session::secretsStayOutOfLogAndFiles()
{
    const QString refresh = DVCanaries::canary(QStringLiteral("refresh"));
    const QString code = DVCanaries::canary(QStringLiteral("code"));
    const QString access = jwt({{QStringLiteral("sub"), DVCanaries::canary(QStringLiteral("access"))}});
    DVState::shared().analyticsEnabled = true;
    m_server->enqueue(Answer::of(200, json(tokenAnswer(access, refresh))));
    m_server->enqueue(
        Answer::of(400, QByteArray("{\"response\":{\"code\":\"" + refresh.toLatin1() + "\"}}")));
    int completions = 0;
    session().getTokenWithCode(code, false, [&](const DVErrorOr &) { ++completions; });
    QTRY_COMPARE_WITH_TIMEOUT(completions, 1, generousMs);
    // A server that repeats the token in its refusal.
    session().getTokenWithCode(refresh, true, [&](const DVErrorOr &) { ++completions; });
    QTRY_COMPARE_WITH_TIMEOUT(completions, 2, generousMs);
    const auto items = m_keychain->items;
    session().logOut();
    QVERIFY(m_server->waitForRequests(3));
    m_keychain->items = items;
    DVKeychain::forget();
    DVSecrets::forgetAll(); // as a new process knows none
    QVERIFY(session().loadSavedCredentials());
    const QString log = DVWrittenLog::take().join(u'\n');
    QVERIFY(log.contains(u"Saving credentials to keychain"));
    QVERIFY(log.contains(u"Loaded credentials from keychain \n{"));
    const QString payload = access.section(u'.', 1, 1);
    QCOMPARE(DVCanaries::found(m_folder->path(), log.toUtf8(), {code, refresh, payload}), QStringList());
    DVState::shared().analyticsEnabled = false;
}

void tst_Session::demonstrations_data()
{
    QTest::addColumn<bool>("host");
    QTest::addColumn<QByteArray>("proxy");
    QTest::addColumn<bool>("isDemo");
    QTest::newRow("the proxy in a demonstration's host") << true << QByteArray("shop") << true;
    QTest::newRow("the proxy elsewhere") << false << QByteArray("shop") << false;
    QTest::newRow("the host without a proxy") << true << QByteArray() << false;
    QTest::newRow("another class") << true << QByteArray("like") << false;
    QTest::newRow("a proxy without the method") << true << QByteArray("old") << true;
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
    const auto signing = sign();
    if (proxy != "shop" || !isDemo) {
        QTRY_COMPARE_WITH_TIMEOUT(signing->completions, 1, generousMs);
        QCOMPARE(signing->error, noToken);
    }
}

void tst_Session::proxySigns_data()
{
    using shop::DVAppetize;
    QTest::addColumn<int>("manner");
    QTest::addColumn<DVErrorOr>("error");
    QTest::newRow("at once") << int(DVAppetize::Signs) << DVErrorOr();
    QTest::newRow("later") << int(DVAppetize::SignsLater) << DVErrorOr();
    QTest::newRow("or says why not") << int(DVAppetize::Fails)
                                     << DVErrorOr(
                                            DVError{QStringLiteral("shop"), 7, QStringLiteral("closed")});
    QTest::newRow("or drops the completion") << int(DVAppetize::Drops) << noToken;
    QTest::newRow("or never calls it") << int(DVAppetize::Keeps) << noToken;
}

void tst_Session::proxySigns()
{
    QFETCH(int, manner);
    QFETCH(DVErrorOr, error);
    setAppetizeHost(true);
    shop::DVAppetize proxy;
    proxy.manner = shop::DVAppetize::Manner(manner);
    proxy.accessToken = jwt(claimsOf(QStringLiteral("visitor")));
    session().setProxy(&proxy);
    session().setProxyTimeout(manner == shop::DVAppetize::Keeps ? 50 : generousMs);
    const auto signing = sign();
    if (manner == shop::DVAppetize::SignsLater) {
        QCOMPARE(signing->completions, 0);
        proxy.keptRequest.setRawHeader("Authorization", "Proxy GET");
        // From another thread, although it should not.
        std::thread([&proxy] { proxy.kept.constFirst()({}, proxy.accessToken); }).join();
        QCOMPARE(signing->completions, 0);
    }
    QTRY_COMPARE_WITH_TIMEOUT(signing->completions, 1, generousMs);
    QCOMPARE(signing->error, error);
    QCOMPARE(signing->header(), error ? QByteArray() : QByteArray("Proxy GET"));
    QVERIFY(!signing->request->request.hasRawHeader("X-Broken"));
    QCOMPARE(DVState::shared().userEmail(), error ? QString() : QStringLiteral("visitor@example.invalid"));
}

void tst_Session::whatAProxySignsStaysWithItsServer()
{
    setAppetizeHost(true);
    shop::DVAppetize proxy;
    proxy.manner = shop::DVAppetize::SignsOtherwise;
    proxy.accessToken = QStringLiteral("visitor-token");
    session().setProxy(&proxy);
    DVFaultServer other;
    m_server->enqueue(
        Answer::of(302, {}, {{"Location", other.url(QStringLiteral("/elsewhere")).toLatin1()}}));
    DVErrorOr result;
    DVApi::pingWithCompletion([&result](const DVErrorOr &error) { result = error; });
    QTRY_VERIFY_WITH_TIMEOUT(result, generousMs);
    QCOMPARE(result->code, int(QNetworkReply::InsecureRedirectError));
    QCOMPARE(m_server->requests().constFirst().header("X-Visitor"), QByteArray("visitor-token"));
    QCOMPARE(other.connectionCount(), 0);
}

void tst_Session::proxyThatIsGone()
{
    setAppetizeHost(true);
    auto proxy = std::make_unique<shop::DVAppetize>();
    proxy->manner = shop::DVAppetize::Keeps;
    session().setProxy(proxy.get());
    const auto signing = sign();
    proxy.reset();
    QTRY_COMPARE_WITH_TIMEOUT(signing->completions, 1, generousMs);
    QCOMPARE(signing->error, noToken);
    QVERIFY(!session().isDemo());
    QTRY_VERIFY_WITH_TIMEOUT(!DVState::shared().loggedIn, generousMs);
}

QTEST_GUILESS_MAIN(tst_Session)
#include "tst_session.moc"
