// Secrets: what is taken out of texts, what is left alone, and where the library uses it.
#include "DVRecentEvents.h"
#include "DVRows.h"
#include "DVSecrets.h"
#include "DVState.h"

#include <QJsonArray>

#include <thread>
#include <vector>

namespace {

const QString redacted = DVSecrets::redacted;

// What takes the secrets out of a text.
using Cleaning = QString (*)(const QString &text);

QString token(int number)
{
    return QStringLiteral("token-number-%1-of-many").arg(number);
}

} // namespace

Q_DECLARE_METATYPE(Cleaning)

class tst_Secrets : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { DVSecrets::forgetAll(); }
    void cleanupTestCase() { DVSecrets::forgetAll(); }

    void names_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<bool>("isSecret");
        QTest::addColumn<bool>("isSecretParameter");
        for (const char *const name :
             {"access_token",     "accessToken",   "refresh_token", "refreshToken",
              "REFRESH-TOKEN",    "id_token",      "token",         "userSecret",
              "apiUserSecret",    "client_secret", "otaKey",        "password",
              "new_password",     "Passwd",        "Authorization", "Proxy-Authorization",
              "Cookie",           "Set-Cookie",    "X-Api-Key",     "code_verifier",
              "client_assertion", "issueText"})
            QTest::newRow(name) << QString::fromLatin1(name) << true << true;
        for (const char *const name :
             {"token_type", "expires_in", "refresh_expires", "client_id", "grant_type", "redirect_uri",
              "userIdentifier", "key", "", "hashcode", "secretary"})
            QTest::addRow("not \"%s\"", name) << QString::fromLatin1(name) << false << false;
        QTest::newRow("code: of an error in JSON, of a sign-in in a query") << u"code"_qs << false << true;
    }
    void names()
    {
        QFETCH(QString, name);
        QTEST(DVSecrets::isSecretName(name), "isSecret");
        QTEST(DVSecrets::isSecretParameter(name), "isSecretParameter");
    }

    void valuesInText_data()
    {
        const DVRows<QString, QString, QString> row("secret", "text", "clean");
        const QString plain = u"eyJhbGciOiJSUzI1NiJ9.e30.c2ln"_qs;
        row("alone", plain, plain, redacted);
        row("twice, in a sentence", plain, u"a " + plain + u", b " + plain + u"!",
            u"a " + redacted + u", b " + redacted + u"!");
        row("after what looks like its beginning", u"aab-secret"_qs, u"aaab-secret."_qs,
            u"a" + redacted + u".");
        row("cut off after sixteen characters", plain, u"near: " + plain.left(16), u"near: " + redacted);
        row("its first characters only", plain, u"eyJh..."_qs, u"eyJh..."_qs);
        const QString strange = u"p&\"w\\d+/=\u00e9 \U0001F511\n"_qs;
        row("percent-encoded", strange, u"?x=p%26%22w%5Cd%2B%2F%3D%C3%A9%20%F0%9F%94%91%0A&y"_qs,
            u"?x=" + redacted + u"&y");
        row("percent-encoded in lower case, in part", strange,
            u"?x=p%26%22w%5cd+/=%c3%a9%20%f0%9f%94%91%0a"_qs, u"?x=" + redacted);
        row("escaped as in JSON", strange, u"{\"x\":\"p&\\\"w\\\\d+\\/=\u00e9 \U0001F511\\n\"}"_qs,
            u"{\"x\":\"" + redacted + u"\"}");
        row("escaped in JSON by number", strange, u"\\u0070&\\u0022w\\\\d+/=\\u00e9 \\uD83D\\uDD11\\u000a"_qs,
            redacted);
        row("one that only begins like it", strange, u"p&\"w\\d+/=x"_qs, u"p&\"w\\d+/=x"_qs);
        row("five characters", u"admin"_qs, u"user admin, four adm"_qs, u"user " + redacted + u", four adm");
        row("four characters, which may be shown", u"abcd"_qs, u"abcd"_qs, u"abcd"_qs);
        row("a lone surrogate in the text", plain, QString(QChar(0xd83d)), QString(QChar(0xd83d)));
        row("a percent sign at the end", strange, u"100%"_qs, u"100%"_qs);
        const QString huge = QString(9000, u'x');
        row("one of nine thousand characters", huge, huge + u" y", redacted + u" y");
    }
    void valuesInText()
    {
        QFETCH(QString, secret);
        QFETCH(QString, text);
        QFETCH(QString, clean);
        QCOMPARE(DVSecrets::cleanText(text) == clean, secret.size() < 5 || text == clean);
        DVSecrets::remember(secret);
        QCOMPARE(DVSecrets::cleanText(text), clean);
        QCOMPARE(DVSecrets::cleanText(clean), clean);
    }

    void namedSecrets_data()
    {
        const DVRows<Cleaning, QString, QString> rows("cleaning", "text", "clean");
        Cleaning cleaning = &DVSecrets::cleanText;
        const auto row = [&](const char *name, const QString &before, const QString &secret,
                             const QString &after) {
            rows(name, cleaning, before + secret + after, before + redacted + after);
        };
        row("a header's scheme", u"sent Bearer "_qs, u"abcdefgh.ij"_qs, u" to it"_qs);
        row("a header", u"GET / HTTP/1.1\nCookie:"_qs, u" a=b; c=d"_qs, u"\nHost: h"_qs);
        row("a header of another scheme", u"authorization:"_qs, u" Basic dXNlcjpwYXNz"_qs, u""_qs);
        row("a query in a network error", u"Error transferring http://h/p?x=1&refresh_token="_qs,
            u"abc%2Bd"_qs, u"&client_id=p - server replied: Not Found"_qs);
        row("a code in a query", u"http://h/login/?code="_qs, u"xyz"_qs, u"&state=1"_qs);
        row("a code in a fragment", u"app://login/#code="_qs, u"xyz"_qs, u""_qs);
        row("a pair", u"using password="_qs, u"x1"_qs, u", user=y"_qs);
        row("a quoted pair", u"password=\""_qs, u"a b, c"_qs, u"\", user=y"_qs);
        row("a URL's password", u"Host https://ana:"_qs, u"p&s?s#w@rd"_qs, u"@h:8443/p not found"_qs);
        row("a URL's token without a user", u"<http://:"_qs, u"abc"_qs, u"@h>"_qs);
        row("JSON", u"got {\"a\": 1, \"access_token\": \""_qs, u"x\\\"y"_qs, u"\", \"code\": \"E\"}"_qs);
        const auto same = [&](const char *name, const QString &text) { rows(name, cleaning, text, text); };
        same("a sentence", u"Wrong password: it is too short"_qs);
        same("an exit code", u"failed with code=3"_qs);
        same("a bearer", u"The bearer of it"_qs);
        same("JSON without secrets", u"{\"code\": \"VALIDATION_ERROR\", \"errors\": []}"_qs);
        same("a port and a path with a sign", u"http://h:80/@x and http://[::1]:8080/a@b"_qs);
        same("a URL without a password", u"https://ana@h/ and https://ana:<redacted>@h/"_qs);
        same("what is clean", u"?token=<redacted>&x {\"token\":\"<redacted>\"}"_qs);
        same("nothing behind the sign", u"token="_qs);
        same("an open quote", u"\"token\":\""_qs);
        same("a backslash at the end", u"\"x\":\"\\"_qs);
        same("the signs alone", u"= : \":"_qs);

        cleaning = &DVSecrets::cleanForm;
        row("a form with a code for tokens", u"client_id=ios-sdk&code="_qs, u"abc"_qs,
            u"&grant_type=authorization_code"_qs);
        row("a form for a refresh", u"refresh_token="_qs, u"abc"_qs, u""_qs);
        row("a form, remembered, under any name", u"x="_qs, u"remembered%2Bsecret"_qs, u""_qs);
        rows("a form of events", cleaning, u"data=12345&x=1"_qs, u"data=<5 characters>&x=1"_qs);
        same("a form without pairs", u"code&token"_qs);

        cleaning = [](const QString &text) { return DVSecrets::cleanUrl(QUrl(text)); };
        row("a URL to log out", u"https://h/logout?refresh_token="_qs, u"abc"_qs, u"&client_id=p"_qs);
        row("a URL, remembered, in the path", u"https://h/"_qs, u"remembered%2Bsecret"_qs, u"/x"_qs);
        rows("a URL's password and fragment", cleaning, u"https://u:pw@h/p#access_token=abc"_qs,
             u"https://u@h/p"_qs);
    }
    void namedSecrets()
    {
        QFETCH(Cleaning, cleaning);
        QFETCH(QString, text);
        DVSecrets::remember(u"remembered+secret"_qs);
        QTEST(cleaning(text), "clean");
    }

    void jsonByNameAndValue()
    {
        DVSecrets::remember(u"remembered"_qs);
        const QJsonObject json{
            {u"response"_qs,
             QJsonObject{{u"code"_qs, u"OK"_qs},
                         {u"data"_qs, QJsonArray{QJsonObject{{u"refreshToken"_qs, u"x"_qs}, {u"n"_qs, 1}}}},
                         {u"echo"_qs, u"you sent remembered"_qs},
                         {u"remembered"_qs, true}}},
            {u"token"_qs, QJsonObject{{u"inner"_qs, u"x"_qs}}}};
        const QJsonObject clean{
            {u"response"_qs,
             QJsonObject{{u"code"_qs, u"OK"_qs},
                         {u"data"_qs, QJsonArray{QJsonObject{{u"refreshToken"_qs, redacted}, {u"n"_qs, 1}}}},
                         {u"echo"_qs, QString(u"you sent " + redacted)},
                         {redacted, true}}},
            {u"token"_qs, redacted}};
        QCOMPARE(DVSecrets::cleanJson(json).toObject(), clean);
        QJsonValue deep = u"bottom"_qs;
        for (int depth = 0; depth < 1000; ++depth)
            deep = QJsonArray{deep};
        QVERIFY(DVSecrets::cleanJson(deep).isArray());
    }

    void textWithoutSecretsIsNotCopied()
    {
        const QString text = u"nothing of interest"_qs;
        QCOMPARE(DVSecrets::cleanText(text).constData(), text.constData());
        DVSecrets::remember(u"something else"_qs);
        QCOMPARE(DVSecrets::cleanText(text).constData(), text.constData());
    }

    void theRegistryIsBounded()
    {
        DVSecrets::remember(u"the key of the configuration"_qs, DVSecrets::Lifetime::Lasting);
        for (int i = 0; i < 1000; ++i) {
            DVSecrets::remember(token(i));
            DVSecrets::remember(token(0)); // one in use stays
        }
        QCOMPARE(DVSecrets::cleanText(u"the key of the configuration"_qs), redacted);
        QCOMPARE(DVSecrets::cleanText(token(0)), redacted);
        QCOMPARE(DVSecrets::cleanText(token(999)), redacted);
        QCOMPARE(DVSecrets::cleanText(token(1000 - DVSecrets::maximumRemembered)),
                 token(1000 - DVSecrets::maximumRemembered));
    }

    void dictionariesAreRemembered()
    {
        DVSecrets::rememberIn({{u"access_token"_qs, u"first-secret"_qs},
                               {u"token_type"_qs, u"Bearer-type"_qs},
                               {u"response"_qs, QJsonObject{{u"refreshToken"_qs, u"second-secret"_qs}}},
                               {u"cookies"_qs, u"not-a-secret"_qs},
                               {u"token"_qs, QJsonArray{u"third-secret"_qs, 5}}});
        QCOMPARE(DVSecrets::cleanText(u"first-secret Bearer-type second-secret not-a-secret third-secret"_qs),
                 QString(redacted + u" Bearer-type " + redacted + u" not-a-secret " + redacted));
    }

    void theDeliveryKeyIsRemembered()
    {
        DVState::shared().setAesKey(u"MDEyMzQ1Njc4OWFiY2RlZg=="_qs);
        QCOMPARE(DVSecrets::cleanText(u"key MDEyMzQ1Njc4OWFiY2RlZg== used"_qs),
                 QString(u"key " + redacted + u" used"));
        DVState::shared().setAesKey({});
    }

    // Both come from servers. A search that is not linear does not end within the test's time.
    void hostileTextsAndSecretsTakeLinearTime()
    {
        for (int i = 0; i < DVSecrets::maximumRemembered; ++i)
            DVSecrets::remember(QString(QString(8000, u'a') + QString::number(i)));
        const QString clean = DVSecrets::cleanText(QString(1 << 20, u'a'));
        QVERIFY(!clean.contains(u"aaaaa"));
        const QString quotes = QString(1 << 19, u'"') + QString(1 << 19, u':') + QString(1 << 19, u'=');
        QCOMPARE(DVSecrets::cleanText(quotes), quotes);
        const QString open = u"\"token\":\""_qs.repeated(1 << 16);
        QVERIFY(!DVSecrets::cleanText(open).isEmpty());
    }

    void diagnosticsAreClean()
    {
        DVSecrets::remember(u"remembered"_qs);
        DVRecentEvents &events = DVRecentEvents::shared();
        events.noteError({u"dorvane.API"_qs, 500, u"no remembered here"_qs});
        QCOMPARE(events.lastError()->error.description, QString(u"no " + redacted + u" here"));
        DVDiagnostics::Delivery delivery;
        delivery.error = DVError{u"dorvane.network"_qs, 1, u"http://h/?otaKey=abc failed"_qs};
        events.noteDelivery(u"path"_qs, delivery);
        QCOMPARE(events.deliveries().value(u"path"_qs).error->description,
                 QString(u"http://h/?otaKey=" + redacted + u" failed"));
        events.clear();
    }

    void threads()
    {
        DVSecrets::remember(u"always there"_qs, DVSecrets::Lifetime::Lasting);
        std::atomic<int> missed = 0;
        std::vector<std::thread> workers;
        for (int worker = 0; worker < 4; ++worker) {
            workers.emplace_back([&missed, worker] {
                for (int i = 0; i < 500; ++i) {
                    DVSecrets::remember(token(worker * 1000 + i));
                    if (DVSecrets::cleanText(u"always there"_qs) != redacted)
                        ++missed;
                }
            });
        }
        for (auto &worker : workers)
            worker.join();
        QCOMPARE(missed.load(), 0);
    }
};

QTEST_GUILESS_MAIN(tst_Secrets)
#include "tst_secrets.moc"
