// Signing in to the stand-in for the platform: page, codes, tokens, log out, API credentials.
#include "PlatformProject.h"
#include <DVRows.h>

#include <QDirIterator>

#include <memory>

using namespace Qt::Literals::StringLiterals;

namespace {

const QByteArray pingPath = "/auth-api/v2/ping";

QString text(const QJsonObject &json, const QString &name)
{
    return json.value(name).toString();
}

QByteArray accessOf(const QJsonObject &tokens)
{
    return text(tokens, u"access_token"_qs).toLatin1();
}

QString refreshOf(const QJsonObject &tokens)
{
    return text(tokens, u"refresh_token"_qs);
}

// The status that it gets.
int ping(const PlatformPeer &peer, const QByteArray &token)
{
    return peer.get(pingPath, token).status;
}

QJsonObject claims(const QByteArray &token)
{
    return QJsonDocument::fromJson(
               QByteArray::fromBase64(token.split('.').value(1), QByteArray::Base64UrlEncoding))
        .object();
}

// Everything below a folder but project.json, where the secrets stand that people chose.
QByteArray allFiles(const QString &folder)
{
    QByteArray content;
    QDirIterator files(folder, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        QFile file(files.next());
        if (!file.fileName().endsWith(u"/project.json") && file.open(QIODevice::ReadOnly))
            content += file.fileName().toUtf8() + '\n' + file.readAll();
    }
    return content;
}

} // namespace

class tst_ServeSignIn : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { m_shared = std::make_unique<ServedPlatform>(); }
    // Takes what the shared server has logged, before its pipe is full.
    void cleanup() { QCoreApplication::processEvents(); }
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_qs)); }

    void thePageIsForPeople();
    void requestsThatAreRefused_data();
    void requestsThatAreRefused();
    void wrongPasswords_data();
    void wrongPasswords();
    void aSignInGivesTokens();
    void theStateComesBack();
    void aCodeIsGoodOnce();
    void aCodeThatHasExpired();
    void tokenRequestsThatAreRefused_data();
    void tokenRequestsThatAreRefused();
    void refreshing_data();
    void refreshing();
    void accessTokensExpire();
    void refreshTokensExpire();
    void loggingOut_data();
    void loggingOut();
    void apiCredentials();
    void tokensOfOneKindAreNotThoseOfAnother();
    void tokensOutliveTheServer();
    void whoLeavesTheProjectIsSignedOut();
    void damagedTokensSignEverybodyOut();
    void secretsStandInNoLogAndNoFile();
    void hostileForms_data();
    void hostileForms();
    void saysWhoCanSignIn();
    void refusesToStart_data();
    void refusesToStart();

private:
    std::unique_ptr<ServedPlatform> m_shared; // for what changes nothing
};

void tst_ServeSignIn::thePageIsForPeople()
{
    const PlatformProject folder;
    folder.setPeople({{u"name"_qs, u"Bed & <b>Breakfast</b> {{user}}"_qs}});
    const ServeProcess server(folder.path());
    const HttpAnswer answer = server.get(PlatformPeer::signInPath());
    QCOMPARE(answer.status, 200);
    QCOMPARE(answer.header("Content-Type"), QByteArray("text/html; charset=utf-8"));
    QCOMPARE(answer.header("Cache-Control"), QByteArray("no-store"));
    QVERIFY(answer.header("Content-Security-Policy").contains("default-src 'none'"));
    QVERIFY(answer.body.contains("<h1>Bed &amp; &lt;b&gt;Breakfast&lt;/b&gt; {{user}}</h1>"));
    QVERIFY(answer.body.contains("width=device-width"));
    for (const char *name : {"user", "password"}) {
        const QByteArray field(name);
        QVERIFY2(answer.body.contains(QByteArray("<label for=\"" + field + "\">")), name);
        QVERIFY2(answer.body.contains(QByteArray("<input id=\"" + field + "\" name=\"" + field + "\"")),
                 name);
    }
    QVERIFY(!answer.body.contains("wrong"));
    QVERIFY2(!answer.body.contains("src=") && !answer.body.contains("<script"), "it loads and runs nothing");
    // The form goes back to where the application asked, also behind a proxy that has the server below a
    // path.
    QVERIFY2(answer.body.contains("action=\"?response_type=code&amp;client_id=ios-sdk&amp;"
                                  "redirect_uri=dorvane.ios.sdk://login/\""),
             answer.body.constData());
    QCOMPARE(server.request("HEAD", PlatformPeer::signInPath()).status, 200);
}

void tst_ServeSignIn::requestsThatAreRefused_data()
{
    const DVRows<QByteArray, QByteArray, int, QByteArray> row("method", "query", "status", "location");

    const QByteArray good = "response_type=code&client_id=ios-sdk&redirect_uri=dorvane.ios.sdk://login/";
    const auto without = [&good](const char *what, const char *instead) {
        return QByteArray(good).replace(what, instead);
    };
    const QByteArray none;
    row("no query", "GET", none, 400, none);
    row("another client", "GET", without("ios-sdk&", "web&"), 400, none);
    row("another client's redirection", "GET", without("dorvane.ios.sdk://login/", "https://example.com/"),
        400, none);
    row("a redirection that begins like the right one", "GET", good + "x", 400, none);
    row("a second redirection", "GET", good + "&redirect_uri=https://example.com/", 400, none);
    row("a password for another client's redirection", "POST",
        without("dorvane.ios.sdk://login/", "https://example.com/"), 400, none);
    row("another type of response", "GET", without("=code", "=token") + "&state=a%26b", 302,
        "dorvane.ios.sdk://login/?error=unsupported_response_type&state=a%26b");
    row("no type of response", "GET", without("response_type=code&", ""), 302,
        "dorvane.ios.sdk://login/?error=unsupported_response_type");
    row("PUT", "PUT", good, 405, none);
    row("DELETE", "DELETE", good, 405, none);
}

void tst_ServeSignIn::requestsThatAreRefused()
{
    QFETCH(QByteArray, method);
    QFETCH(QByteArray, query);
    QFETCH(QByteArray, location);
    auto &[folder, server, peer] = *m_shared;
    const QByteArray body =
        PlatformPeer::form({{"user", u"ana"_qs}, {"password", PlatformProject::password()}});
    const HttpAnswer answer =
        server.request(method, PlatformPeer::openIdPath("auth") + '?' + query,
                       "Content-Type: application/x-www-form-urlencoded\r\n", method == "POST" ? body : "");
    QTEST(answer.status, "status");
    QCOMPARE(answer.header("Location"), location);
    QVERIFY(!answer.body.contains("<form"));
}

void tst_ServeSignIn::wrongPasswords_data()
{
    const DVRows<QString, QString> row("user", "password");
    row("another password", u"ana"_qs, u"giardino"_qs);
    row("no password", u"ana"_qs, {});
    row("the beginning of it", u"ana"_qs, PlatformProject::password().chopped(1));
    row("something behind it", u"ana"_qs, PlatformProject::password() + u' ');
    row("another user's", u"ana"_qs, u"b"_qs);
    row("an unknown user", u"eve"_qs, PlatformProject::password());
    row("another letter case", u"Ana"_qs, PlatformProject::password());
    row("no user", {}, PlatformProject::password());
    row("API credentials", u"app"_qs, u"app secret"_qs);
    row("markup", u"<script>\"'&{{error}}"_qs, u"x"_qs);
}

void tst_ServeSignIn::wrongPasswords()
{
    QFETCH(QString, user);
    QFETCH(QString, password);
    auto &[folder, server, peer] = *m_shared;
    const QByteArray tokens = folder.received(u"tokens.json"_qs);
    const HttpAnswer answer = peer.signIn(user, password);
    QCOMPARE(answer.status, 403);
    QVERIFY(answer.header("Location").isEmpty());
    QVERIFY(answer.body.contains("role=\"alert\">The user name or the password is wrong.</div>"));
    QVERIFY(answer.body.contains(QByteArray("value=\"" + user.toHtmlEscaped().toUtf8() + "\"")));
    QVERIFY(!answer.body.contains("<script"));
    QVERIFY(password.size() < 3 || !answer.body.contains(password.toUtf8()));
    QCOMPARE(folder.received(u"tokens.json"_qs), tokens);
}

void tst_ServeSignIn::aSignInGivesTokens()
{
    const PlatformProject folder;
    const ServeProcess server(folder.path(), {u"--public-url"_qs, u"https://strings.example/dev/"_qs});
    const PlatformPeer peer(server);
    const QByteArray code = PlatformPeer::codeOf(peer.signIn());
    QVERIFY(code.size() >= 22);
    const HttpAnswer answer = peer.exchange(code);
    QCOMPARE(answer.status, 200);
    QCOMPARE(answer.header("Content-Type"), QByteArray("application/json"));
    QCOMPARE(answer.header("Cache-Control"), QByteArray("no-store"));
    const QJsonObject tokens = PlatformPeer::json(answer);
    QCOMPARE(text(tokens, u"token_type"_qs), u"Bearer"_qs);
    QCOMPARE(tokens.value(u"expires_in"_qs).toInteger(), 300);
    QCOMPARE(tokens.value(u"refresh_expires_in"_qs).toInteger(), 30 * 86400);
    QVERIFY(refreshOf(tokens).size() >= 22);

    const QByteArray access = accessOf(tokens);
    const QByteArrayList pieces = access.split('.');
    QCOMPARE(pieces.size(), 3);
    QCOMPARE(QByteArray::fromBase64(pieces.at(0), QByteArray::Base64UrlEncoding),
             QByteArray(R"({"alg":"HS256","typ":"JWT"})"));
    QCOMPARE(pieces.at(2).size(), 43); // 256 bits in base64
    const QJsonObject says = claims(access);
    QCOMPARE(text(says, u"name"_qs), u"Ana Gardener"_qs);
    QCOMPARE(text(says, u"email"_qs), u"ana@example.com"_qs);
    QCOMPARE(text(says, u"preferred_username"_qs), u"ana"_qs);
    QCOMPARE(text(says, u"aud"_qs), u"ios-sdk"_qs);
    QCOMPARE(text(says, u"iss"_qs), u"https://strings.example/dev/auth/realms/Dorvane"_qs);
    QVERIFY(!text(says, u"sub"_qs).isEmpty());
    const qint64 lifetime = says.value(u"exp"_qs).toInteger() - QDateTime::currentSecsSinceEpoch();
    QVERIFY2(lifetime > 240 && lifetime <= 300, QByteArray::number(lifetime).constData());

    const HttpAnswer ping = peer.get(pingPath, access);
    QCOMPARE(ping.status, 200);
    QCOMPARE(PlatformPeer::code(ping), u"SUCCESS"_qs);
    QCOMPARE(text(claims(peer.accessToken()), u"sub"_qs), text(says, u"sub"_qs));
    QVERIFY(text(claims(peer.accessToken(u"bea"_qs, u"b"_qs)), u"sub"_qs) != text(says, u"sub"_qs));
}

void tst_ServeSignIn::theStateComesBack()
{
    auto [folder, server, peer] = ServedPlatform();
    const QByteArray body =
        PlatformPeer::form({{"user", u"ana"_qs}, {"password", PlatformProject::password()}});
    const HttpAnswer answer = peer.postForm(PlatformPeer::signInPath() + "&state=%26code=x%0D%0Ay%20z", body);
    QCOMPARE(answer.status, 302);
    QVERIFY2(answer.header("Location").endsWith("&state=%26code%3Dx%0D%0Ay%20z"), answer.head.constData());
    QCOMPARE(answer.header("Location").count("code="), 1);
}

// RFC 6749, 4.1.2: whoever uses it again may have stolen it.
void tst_ServeSignIn::aCodeIsGoodOnce()
{
    auto [folder, server, peer] = ServedPlatform();
    const QByteArray code = PlatformPeer::codeOf(peer.signIn());
    const QJsonObject first = PlatformPeer::json(peer.exchange(code));
    const QByteArray access = accessOf(first);
    const QByteArray other = peer.accessToken();
    QCOMPARE(ping(peer, access), 200);

    const HttpAnswer second = peer.exchange(code);
    QCOMPARE(second.status, 400);
    QCOMPARE(text(PlatformPeer::json(second), u"error"_qs), u"invalid_grant"_qs);
    QCOMPARE(ping(peer, access), 401);
    QCOMPARE(peer.refresh(refreshOf(first)).status, 400);
    QCOMPARE(ping(peer, other), 200);
}

void tst_ServeSignIn::aCodeThatHasExpired()
{
    auto [folder, server, peer] = ServedPlatform({{u"tokens"_qs, QJsonObject{{u"codeSeconds"_qs, 0}}}});
    const HttpAnswer answer = peer.exchange(PlatformPeer::codeOf(peer.signIn()));
    QCOMPARE(answer.status, 400);
    QCOMPARE(text(PlatformPeer::json(answer), u"error"_qs), u"invalid_grant"_qs);
}

void tst_ServeSignIn::tokenRequestsThatAreRefused_data()
{
    // body: CODE and REFRESH stand for good ones
    const DVRows<QByteArray, QByteArray, QString> row("body", "contentType", "error");

    const QByteArray form = "application/x-www-form-urlencoded";
    const QByteArray code = "client_id=ios-sdk&redirect_uri=dorvane.ios.sdk%3A%2F%2Flogin%2F&code=CODE"
                            "&grant_type=authorization_code";
    const QByteArray refresh = "client_id=ios-sdk&refresh_token=REFRESH&grant_type=refresh_token";
    const auto with = [](QByteArray body, const char *what, const char *instead) {
        return body.replace(what, instead);
    };
    row("nothing is wrong with a code", code, form, {});
    row("nothing is wrong with a refresh token", refresh, form + ";charset=utf-8", {});
    row("another client", with(code, "ios-sdk&", "other&"), form, u"invalid_client"_qs);
    row("no client", with(refresh, "client_id", "client"), form, u"invalid_client"_qs);
    row("another redirection", with(code, "login%2F", ""), form, u"invalid_grant"_qs);
    row("an unknown code", with(code, "CODE", "abc"), form, u"invalid_grant"_qs);
    row("no code", with(code, "CODE", ""), form, u"invalid_request"_qs);
    row("an unknown refresh token", with(refresh, "REFRESH", "abc"), form, u"invalid_grant"_qs);
    row("no refresh token", with(refresh, "&refresh_token=REFRESH", ""), form, u"invalid_request"_qs);
    row("no grant", with(code, "grant_type", "grant"), form, u"invalid_request"_qs);
    row("another grant", with(code, "authorization_code", "password"), form, u"unsupported_grant_type"_qs);
    row("a field twice", code + "&code=CODE", form, u"invalid_request"_qs);
    row("JSON", "{\"grant_type\":\"refresh_token\"}", "application/json", u"invalid_request"_qs);
    row("no type", code, {}, u"invalid_request"_qs);
    row("nothing", "", form, u"invalid_client"_qs);
}

void tst_ServeSignIn::tokenRequestsThatAreRefused()
{
    QFETCH(QByteArray, body);
    QFETCH(QByteArray, contentType);
    QFETCH(QString, error);
    auto &[folder, server, peer] = *m_shared;
    body.replace("REFRESH", text(peer.tokens(), u"refresh_token"_qs).toLatin1());
    body.replace("CODE", PlatformPeer::codeOf(peer.signIn()));
    const QByteArray type = contentType.isEmpty() ? QByteArray() : "Content-Type: " + contentType + "\r\n";
    const HttpAnswer answer = server.request("POST", PlatformPeer::openIdPath("token"), type, body);
    QCOMPARE(answer.status, error.isEmpty() ? 200 : 400);
    QCOMPARE(text(PlatformPeer::json(answer), u"error"_qs), error);
    QCOMPARE(server.get(PlatformPeer::openIdPath("token")).status, 405);
}

void tst_ServeSignIn::refreshing_data()
{
    const DVRows<bool> row("rotates");
    row("a refresh token that stays", false);
    row("one for each use", true);
}

void tst_ServeSignIn::refreshing()
{
    QFETCH(bool, rotates);
    auto [folder, server, peer] = ServedPlatform(
        {{u"tokens"_qs, QJsonObject{{u"rotateRefresh"_qs, rotates}, {u"refreshSeconds"_qs, 5000}}}});
    const QJsonObject first = peer.tokens();
    const QString firstRefresh = refreshOf(first);
    const HttpAnswer answer = peer.refresh(firstRefresh);
    QCOMPARE(answer.status, 200);
    const QJsonObject second = PlatformPeer::json(answer);
    QVERIFY(text(second, u"access_token"_qs) != text(first, u"access_token"_qs));
    QCOMPARE(refreshOf(second) != firstRefresh, rotates);
    const qint64 left = second.value(u"refresh_expires_in"_qs).toInteger();
    QVERIFY2(left > 4900 && left <= 5000, QByteArray::number(left).constData());
    QCOMPARE(ping(peer, accessOf(second)), 200);
    QCOMPARE(ping(peer, accessOf(first)), 200);
    QCOMPARE(peer.refresh(firstRefresh).status, rotates ? 400 : 200);
    QCOMPARE(peer.refresh(refreshOf(second)).status, 200);
}

void tst_ServeSignIn::accessTokensExpire()
{
    auto [folder, server, peer] = ServedPlatform({{u"tokens"_qs, QJsonObject{{u"accessSeconds"_qs, 1}}}});
    const QJsonObject tokens = peer.tokens();
    QCOMPARE(tokens.value(u"expires_in"_qs).toInteger(), 1);
    const QByteArray access = accessOf(tokens);
    QTRY_COMPARE_WITH_TIMEOUT(ping(peer, access), 401, 20000);
    QCOMPARE(peer.refresh(refreshOf(tokens)).status, 200);

    // For tests: expired when it is given out. The project is read again without a restart.
    folder.setPeople({{u"tokens"_qs, QJsonObject{{u"accessSeconds"_qs, -30}}}});
    QCOMPARE(ping(peer, peer.accessToken()), 401);
    folder.setPeople({});
    QCOMPARE(ping(peer, peer.accessToken()), 200);
}

void tst_ServeSignIn::refreshTokensExpire()
{
    auto [folder, server, peer] = ServedPlatform({{u"tokens"_qs, QJsonObject{{u"refreshSeconds"_qs, 0}}}});
    const QJsonObject tokens = peer.tokens();
    QCOMPARE(peer.refresh(refreshOf(tokens)).status, 400);
    QCOMPARE(ping(peer, accessOf(tokens)), 200);
}

void tst_ServeSignIn::loggingOut_data()
{
    // query: REFRESH stands for the token
    const DVRows<QByteArray, int, bool> row("query", "status", "ends");
    row("the project as the client", "refresh_token=REFRESH&client_id=garden", 204, true);
    row("the client of the other endpoints", "client_id=ios-sdk&refresh_token=REFRESH", 204, true);
    row("an unknown token", "refresh_token=abc&client_id=garden", 204, false);
    row("another client", "refresh_token=REFRESH&client_id=other", 400, false);
    row("no token", "client_id=garden", 400, false);
    row("nothing", "", 400, false);
}

void tst_ServeSignIn::loggingOut()
{
    QFETCH(QByteArray, query);
    QFETCH(bool, ends);
    auto [folder, server, peer] = ServedPlatform();
    const QJsonObject tokens = peer.tokens();
    const QByteArray refresh = refreshOf(tokens).toLatin1();
    const QByteArray access = accessOf(tokens);
    const QByteArray other = peer.accessToken();
    QTEST(server.get(PlatformPeer::openIdPath("logout") + '?' + query.replace("REFRESH", refresh)).status,
          "status");
    QCOMPARE(ping(peer, access), ends ? 401 : 200);
    QCOMPARE(peer.refresh(QString::fromLatin1(refresh)).status, ends ? 400 : 200);
    QCOMPARE(ping(peer, other), 200);
}

void tst_ServeSignIn::apiCredentials()
{
    auto [folder, server, peer] = ServedPlatform({{u"tokens"_qs, QJsonObject{{u"accessSeconds"_qs, 90}}}});
    const HttpAnswer answer = peer.authenticate();
    QCOMPARE(answer.status, 200);
    QCOMPARE(PlatformPeer::code(answer), u"SUCCESS"_qs);
    const QJsonObject tokens = PlatformPeer::data(answer);
    QCOMPARE(tokens.value(u"expiresIn"_qs).toInteger(), 90);
    QCOMPARE(tokens.value(u"refreshExpiresIn"_qs).toInteger(), 30 * 86400);
    QCOMPARE(ping(peer, text(tokens, u"accessToken"_qs).toLatin1()), 200);

    const QByteArray path = "/auth-api/v2/authenticate/refresh";
    const QJsonObject body{{u"refreshToken"_qs, text(tokens, u"refreshToken"_qs)}};
    const QJsonObject again = PlatformPeer::data(peer.send("POST", path, {}, body));
    QCOMPARE(ping(peer, text(again, u"accessToken"_qs).toLatin1()), 200);
    QCOMPARE(again.value(u"expiresIn"_qs).toInteger(), 90);

    for (const auto &[identifier, secret] :
         {std::pair(u"app"_qs, u"app"_qs), std::pair(u"other"_qs, u"app secret"_qs),
          std::pair(u"ana"_qs, PlatformProject::password()), std::pair(QString(), QString())}) {
        const HttpAnswer refused = peer.authenticate(identifier, secret);
        QCOMPARE(refused.status, 401);
        QCOMPARE(PlatformPeer::code(refused), u"AUTHENTICATION_ERROR"_qs);
    }
    QCOMPARE(peer.send("POST", path, {}, {{u"refreshToken"_qs, u"abc"_qs}}).status, 401);
    QCOMPARE(peer.send("POST", path, {}, {{u"refreshToken"_qs, 7}}).status, 400);
    QCOMPARE(peer.send("POST", "/auth-api/v2/authenticate", {}, {{u"userIdentifier"_qs, u"app"_qs}}).status,
             400);
}

void tst_ServeSignIn::tokensOfOneKindAreNotThoseOfAnother()
{
    auto [folder, server, peer] = ServedPlatform();
    const QJsonObject user = peer.tokens();
    const QJsonObject application = PlatformPeer::data(peer.authenticate());
    const QByteArray path = "/auth-api/v2/authenticate/refresh";
    QCOMPARE(ping(peer, refreshOf(user).toLatin1()), 401);
    QCOMPARE(peer.refresh(text(user, u"access_token"_qs)).status, 400);
    QCOMPARE(peer.refresh(text(application, u"refreshToken"_qs)).status, 400);
    QCOMPARE(peer.send("POST", path, {}, {{u"refreshToken"_qs, refreshOf(user)}}).status, 401);

    // Claims that somebody changed, and a signature that somebody left out.
    const QByteArrayList pieces = accessOf(user).split('.');
    const QByteArray none = QByteArray(R"({"alg":"none"})").toBase64(QByteArray::Base64UrlEncoding);
    const QByteArray bare = pieces.at(0) + '.' + pieces.at(1);
    const QByteArrayList forgeries{none + '.' + pieces.at(1) + '.', bare, bare + '.',
                                   bare + '.' + pieces.at(2) + 'A'};
    for (const QByteArray &forged : forgeries)
        QCOMPARE(ping(peer, forged), 401);
}

void tst_ServeSignIn::tokensOutliveTheServer()
{
    const PlatformProject folder;
    QJsonObject tokens;
    QByteArray application;
    {
        const ServeProcess server(folder.path());
        tokens = PlatformPeer(server).tokens();
        application = PlatformPeer(server).applicationToken();
    } // killed
    const ServeProcess server(folder.path());
    const PlatformPeer peer(server);
    QCOMPARE(ping(peer, accessOf(tokens)), 200);
    QCOMPARE(ping(peer, application), 200);
    QCOMPARE(peer.refresh(refreshOf(tokens)).status, 200);

    // And another server of the same folder sees at once who logged out.
    const ServeProcess second(folder.path());
    second.get(PlatformPeer::openIdPath("logout") +
               "?client_id=garden&refresh_token=" + refreshOf(tokens).toLatin1());
    QCOMPARE(ping(peer, accessOf(tokens)), 401);
}

void tst_ServeSignIn::whoLeavesTheProjectIsSignedOut()
{
    auto [folder, server, peer] = ServedPlatform();
    const QJsonObject tokens = peer.tokens();
    folder.setPeople({{u"users"_qs, QJsonArray()}});
    QCOMPARE(ping(peer, accessOf(tokens)), 401);
    QCOMPARE(peer.refresh(refreshOf(tokens)).status, 400);
    QCOMPARE(peer.signIn().status, 403);
}

void tst_ServeSignIn::damagedTokensSignEverybodyOut()
{
    auto [folder, server, peer] = ServedPlatform();
    const QByteArray access = peer.accessToken();
    folder.write(u"received/tokens.json"_qs, "{\"tokens\": [7, {}, {\"sha256\": 1}, \"x");
    QCOMPARE(ping(peer, access), 401);
    folder.write(u"received/tokens.json"_qs, "{\"tokens\": [7, {}, {\"sha256\": 1, \"expires\": []}]}");
    QCOMPARE(ping(peer, access), 401);
    QCOMPARE(ping(peer, {}), 401);
    QCOMPARE(ping(peer, peer.accessToken()), 200);
}

void tst_ServeSignIn::secretsStandInNoLogAndNoFile()
{
    auto [folder, server, peer] = ServedPlatform();
    peer.signIn(u"ana"_qs, u"a wrong one 4711"_qs);
    const QByteArray code = PlatformPeer::codeOf(peer.signIn());
    const QJsonObject tokens = PlatformPeer::json(peer.exchange(code));
    const QJsonObject application = PlatformPeer::data(peer.authenticate());
    const QByteArray refresh = refreshOf(tokens).toLatin1();
    peer.get(pingPath, accessOf(tokens));
    server.get(PlatformPeer::openIdPath("auth") + "?code=" + code + "&client_id=x");
    server.get(PlatformPeer::openIdPath("logout") + "?client_id=garden&refresh_token=" + refresh);
    const QByteArray said = server.logWith("logout 204\n") + server.ready();
    QVERIFY(said.contains("logout 204\n"));
    const QByteArray kept = allFiles(folder.path());
    QVERIFY(kept.contains("tokens.json"));
    const QByteArrayList secrets{PlatformProject::password().toUtf8(),
                                 "a wrong one 4711",
                                 "app secret",
                                 code,
                                 accessOf(tokens),
                                 refresh,
                                 text(application, u"accessToken"_qs).toLatin1(),
                                 text(application, u"refreshToken"_qs).toLatin1(),
                                 Delivered::key().toBase64()};
    for (const QByteArray &secret : secrets) {
        QVERIFY(secret.size() > 8);
        // A first piece of it is enough to find it where it was cut.
        for (const QByteArray &piece : {secret.first(8), secret.last(8)}) {
            QVERIFY2(piece.startsWith("eyJhb") || !said.contains(piece), piece.constData());
            QVERIFY2(piece.startsWith("eyJhb") || !kept.contains(piece), piece.constData());
        }
    }
    QVERIFY(!said.contains("eyJhb") && !kept.contains("eyJhb")); // how every such token begins
    QCOMPARE(QFileInfo(folder.path() + u"/received"_qs).permissions() &
                 (QFile::ReadGroup | QFile::ReadOther | QFile::ExeOther),
             QFile::Permissions());
    QCOMPARE(QFileInfo(folder.path() + u"/received/tokens.json"_qs).permissions() &
                 (QFile::ReadGroup | QFile::ReadOther),
             QFile::Permissions());
}

void tst_ServeSignIn::hostileForms_data()
{
    const DVRows<QByteArray> row("body");
    row("nothing", "");
    row("a huge field", "user=ana&password=" + QByteArray(8 << 20, 'x'));
    row("a hundred thousand fields", QByteArray("user=ana&").repeated(100000));
    row("only separators", QByteArray(60000, '&'));
    row("only equals signs", QByteArray(60000, '='));
    row("escapes that are none", "user=%zz%&password=%u0041%");
    row("no UTF-8", "user=%ff%c0%ae&password=\xff\xfe");
    row("zero bytes", QByteArray("user=ana%00&password=gar\0den", 26));
    row("two passwords", "user=ana&password=x&password=y");
    row("JSON", "{\"user\":\"ana\"}");
}

void tst_ServeSignIn::hostileForms()
{
    QFETCH(QByteArray, body);
    auto &[folder, server, peer] = *m_shared;
    for (const QByteArray &target : {PlatformPeer::signInPath(), PlatformPeer::openIdPath("token"),
                                     PlatformPeer::openIdPath("logout")}) {
        const HttpAnswer answer = peer.postForm(target, body);
        QVERIFY2(answer.status == 400 || answer.status == 403, QByteArray::number(answer.status).constData());
        QVERIFY(answer.header("Location").isEmpty());
    }
    QCOMPARE(ping(peer, peer.accessToken()), 200);
}

void tst_ServeSignIn::saysWhoCanSignIn()
{
    const PlatformProject folder;
    ServeProcess server(folder.path());
    const QByteArray said = server.logWith("Can sign in");
    QVERIFY2(said.contains("\"ana\", \"bea\", the API credentials \"app\"."), said.constData());
    const TestProject plain;
    ServeProcess lonely(plain.path());
    QVERIFY(lonely.logWith("Nobody can sign in").contains("Nobody can sign in"));
}

void tst_ServeSignIn::refusesToStart_data()
{
    const DVRows<QJsonObject, QByteArray> row("changes", "says");
    const auto parsed = [](const char *json) { return QJsonDocument::fromJson(json).object(); };
    row("users that are no list", parsed(R"({"users": {"ana": "x"}})"),
        "\"users\" must be a list of objects");
    row("a user without a password", parsed(R"({"users": [{"user": "ana"}]})"),
        "\"users\" entry 1: \"password\" is missing");
    row("a password of another type", parsed(R"({"users": [{"user": "ana", "password": 7}]})"),
        "\"users\" entry 1: \"password\" must be a text");
    row("a user twice",
        parsed(R"({"users": [{"user": "a", "password": "x"}, {"user": "a", "password": "y"}]})"),
        "\"users\" entry 2: \"user\" is there twice");
    row("a permission of another type",
        parsed(R"({"users": [{"user": "a", "password": "x", "permissions": {"canSubmitStrings": 1}}]})"),
        "\"canSubmitStrings\" must be true or false");
    row("credentials without a secret", parsed(R"({"apiCredentials": [{"userIdentifier": "a"}]})"),
        "\"apiCredentials\" entry 1: \"userSecret\" is missing");
    row("half a second", parsed(R"({"tokens": {"accessSeconds": 0.5}})"),
        "\"accessSeconds\" must be a whole number");
    row("a step without a uid", parsed(R"({"workflows": [{"workflowName": "w", "workflowUid": "w",
                       "workflowSteps": [{"workflowStepName": "s"}]}]})"),
        "\"workflows\" entry 1: \"workflowSteps\" entry 1: \"workflowStepUid\" is missing");
    row("a step twice", parsed(R"({"workflows": [{"workflowName": "w", "workflowUid": "w", "workflowSteps": [
                       {"workflowStepName": "s", "workflowStepUid": "u"},
                       {"workflowStepName": "t", "workflowStepUid": "u"}]}]})"),
        "\"workflowStepUid\" is there twice");
}

void tst_ServeSignIn::refusesToStart()
{
    QFETCH(QJsonObject, changes);
    QFETCH(QByteArray, says);
    const TestProject folder;
    folder.setProject(changes);
    const ToolRun run = ToolRun::tool({u"serve"_qs, folder.path()});
    QCOMPARE(run.status, 1);
    QVERIFY2(run.errors.contains(says), run.errors.constData());
}

QTEST_GUILESS_MAIN(tst_ServeSignIn)
#include "tst_serve_signin.moc"
