// Canaries: secrets in every place where exchanges carry them, none in what is logged, recorded or written.
#include "DVApi.h"
#include "DVCanaries.h"
#include "DVNetwork.h"
#include "DVRecentEvents.h"
#include "DVRows.h"
#include "DVSecrets.h"
#include "NetworkDevice.h"

#include <mutex>

using Answer = DVFaultServer::Answer;
using Request = DVFaultServer::Request;

namespace {

std::mutex outputMutex;
QByteArray output;

void collect(QtMsgType, const QMessageLogContext &, const QString &text)
{
    const std::lock_guard lock(outputMutex);
    output += text.toUtf8() + '\n';
}

QByteArray takeOutput()
{
    const std::lock_guard lock(outputMutex);
    return std::exchange(output, {});
}

} // namespace

class tst_Canaries : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void theSearchFindsThem_data();
    void theSearchFindsThem();
    void exchanges_data();
    void exchanges();
    void tokensThatServersEcho_data();
    void tokensThatServersEcho();
    void hostsThatAreNotThere();
    void events();

private:
    void expectNone(const QStringList &canaries);
    void waitFor(const int &count, int expected);
    DVJsonCompletion counted();

    const QString m_access = DVCanaries::canary(u"access"_qs);
    const QString m_refresh = DVCanaries::canary(u"refresh"_qs);
    const QString m_code = DVCanaries::canary(u"code"_qs);
    const QString m_secret = DVCanaries::canary(u"secret"_qs);
    const QString m_key = DVCanaries::canary(u"key"_qs);
    const QString m_password = DVCanaries::canary(u"password"_qs);
    const QString m_apiAccess = DVCanaries::canary(u"API-access"_qs);
    const QString m_apiRefresh = DVCanaries::canary(u"API-refresh"_qs);
    const QStringList m_all = {m_access, m_refresh,  m_code,      m_secret,
                               m_key,    m_password, m_apiAccess, m_apiRefresh};

    std::unique_ptr<NetworkDevice> m_device;
    QtMessageHandler m_handler = nullptr;
    int m_completions = 0;
    QStringList m_descriptions;
};

void tst_Canaries::init()
{
    m_device = std::make_unique<NetworkDevice>();
    m_handler = qInstallMessageHandler(collect);
    m_completions = 0;
    m_descriptions.clear();
    DVSecrets::forgetAll();
    DVState::shared().analyticsEnabled = true;
    DVState::shared().setAesKey(m_key);
    DVAnalytics::sharedInstance().forgetLoaded();
    takeOutput();
}

void tst_Canaries::cleanup()
{
    qInstallMessageHandler(m_handler);
    m_device.reset();
}

void tst_Canaries::expectNone(const QStringList &canaries)
{
    DVAnalytics::sharedInstance().drain();
    const auto lastError = DVRecentEvents::shared().lastError();
    QByteArray said = takeOutput();
    QVERIFY(!said.isEmpty() || !DVState::shared().debug);
    if (lastError)
        said += lastError->error.description.toUtf8();
    // Descriptions go to the host, who logs them.
    said += m_descriptions.join(u'\n').toUtf8();
    QCOMPARE(DVCanaries::found(m_device->path(), said, canaries), QStringList());
    for (const Request &request : m_device->server.requests()) {
        if (request.target == "/track") {
            const QByteArray data = QByteArray::fromPercentEncoding(request.body);
            QCOMPARE(DVCanaries::foundIn(data, canaries, u"events"_qs), QStringList());
        }
    }
}

DVJsonCompletion tst_Canaries::counted()
{
    return [this](const DVErrorOr &error, const QJsonValue &) {
        ++m_completions;
        if (error)
            m_descriptions.append(error->description);
    };
}

void tst_Canaries::theSearchFindsThem_data()
{
    const DVRows<QByteArray> row("text");
    const QByteArray secret = DVCanaries::canary(u"access"_qs).toUtf8();
    row("as it is", QByteArray("x" + secret + "y"));
    row("cut off", QByteArray("x" + secret.left(17)));
    for (const char *const before : {"", "a", "ab"})
        QTest::addRow("in base64 after \"%s\"", before) << QByteArray(before + secret + "b").toBase64();
    const QString text = QString::fromUtf8(secret);
    row("in UTF-16", QByteArray(reinterpret_cast<const char *>(text.utf16()), text.size() * 2));
}

void tst_Canaries::theSearchFindsThem()
{
    QFETCH(QByteArray, text);
    QCOMPARE(DVCanaries::foundIn(text, {m_access}).size(), 1);
    QCOMPARE(DVCanaries::foundIn(text, {m_refresh}), QStringList());
    NetworkDevice::write(m_device->path(u".hidden"_qs), text);
    QCOMPARE(DVCanaries::found(m_device->path(), {}, {m_access}).size(), 1);
    QCOMPARE(DVCanaries::found(m_device->path(), {}, {m_access}, {u".hid"_qs}), QStringList());
    QCOMPARE(DVCanaries::found(m_device->path(), m_access.left(4).toUtf8(), {m_refresh}), QStringList());
}

void tst_Canaries::exchanges_data()
{
    const DVRows<bool, bool> row("debug", "fails");
    row("at debug level", true, false);
    row("at debug level, all failing", true, true);
    row("at info level, all failing", false, true);
}

// Each secret in each place where it belongs.
void tst_Canaries::exchanges()
{
    QFETCH(bool, debug);
    QFETCH(bool, fails);
    DVState::shared().log = true;
    DVState::shared().debug = debug;
    const int status = fails ? 500 : 200;
    const QJsonObject user{{u"access_token"_qs, m_access},
                           {u"refresh_token"_qs, m_refresh},
                           {u"id_token"_qs, m_access},
                           {u"expires_in"_qs, 300},
                           {u"refresh_expires_in"_qs, 600}};
    const QJsonObject api{{u"accessToken"_qs, m_apiAccess},
                          {u"refreshToken"_qs, m_apiRefresh},
                          {u"expiresIn"_qs, 10}, // so that later requests refresh
                          {u"refreshExpiresIn"_qs, 600}};
    m_device->server.setHandler([=](const Request &request) {
        if (request.target.startsWith("/auth/"))
            return Answer::of(status, QJsonDocument(user).toJson());
        if (request.target.startsWith("/auth-api/"))
            return Answer::of(
                status,
                QJsonDocument(QJsonObject{{u"response"_qs, QJsonObject{{u"data"_qs, api}}}}).toJson());
        return Answer::of(status, R"({"response":{"code":"X","data":{}}})");
    });
    auto &session = DVSession::sharedInstance();
    auto &apiSession = DVAPISession::sharedInstance();
    apiSession.userId = u"user"_qs;
    apiSession.userSecret = m_secret;
    session.getTokenWithCode(m_code, false, [this](const DVErrorOr &error) { counted()(error, {}); });
    waitFor(m_completions, 1);
    session.getTokenWithCode(m_refresh, true, [this](const DVErrorOr &error) { counted()(error, {}); });
    waitFor(m_completions, 2);
    int expected = 2;
    for (const int mode : {DVAuthenticationUser, DVAuthenticationApi, DVAuthenticationApi}) {
        const QVariantMap parameters{{u"password"_qs, m_password},
                                     {u"otaKey"_qs, m_key},
                                     {u"code"_qs, 5},
                                     {u"refresh_token"_qs, m_refresh}};
        DVNetwork::getPath(u"/get"_qs, mode, DVServerApi, parameters, counted());
        DVNetwork::postPath(u"/form"_qs, true, mode, DVServerApi, parameters, counted());
        DVNetwork::putPath(u"/json"_qs, false, mode, DVServerApi, parameters, counted());
        DVNetwork::downloadPath(u"/file"_qs, mode, parameters, 20, QString(m_device->path() + u"/file"),
                                [this](const DVErrorOr &error) { counted()(error, {}); });
        expected += 4;
        waitFor(m_completions, expected);
    }
    // The secrets did go where they belong.
    const auto sent = m_device->server.requests();
    QCOMPARE(std::count_if(sent.begin(), sent.end(),
                           [](const Request &request) { return request.target == "/json"; }),
             fails ? 0 : 3);
    QCOMPARE(std::any_of(sent.begin(), sent.end(),
                         [](const Request &request) { return request.target.endsWith("/refresh"); }),
             !fails);
    DVApi::logOutWithRefreshToken(m_refresh);
    const auto hasLoggedOut = [this] {
        const auto all = m_device->server.requests();
        return std::any_of(all.begin(), all.end(),
                           [](const Request &request) { return request.target.contains("/logout"); });
    };
    QTRY_VERIFY_WITH_TIMEOUT(hasLoggedOut(), generousMs);
    DVNetwork::getUrl(m_device->server.url(u"/last"_qs), counted());
    waitFor(m_completions, expected + 1);
    expectNone(m_all);
}

void tst_Canaries::waitFor(const int &count, int expected)
{
    QTRY_COMPARE_WITH_TIMEOUT(count, expected, generousMs);
}

void tst_Canaries::tokensThatServersEcho_data()
{
    // type: of answer; %1 is the token
    const DVRows<int, QByteArray> row("status", "type");
    row("as the error's code", 400, R"({"response":{"code":"bad %1","errors":[]}})");
    row("in the list of errors", 400,
        R"({"response":{"code":"X","errors":[{"message":"token %1 expired"}]}})");
    row("in an answer that succeeds", 200, R"({"response":{"data":{"you":"%1"}}})");
    row("as a member's name", 200, R"({"response":{"data":{"%1":1}}})");
    row("in a page", 502, "<html>%1</html>");
    row("in a redirect to itself", 302, "%1");
}

void tst_Canaries::tokensThatServersEcho()
{
    QFETCH(int, status);
    QFETCH(QByteArray, type);
    DVState::shared().log = DVState::shared().debug = true;
    DVAPISession::sharedInstance().tokensFromDict({{u"accessToken"_qs, m_apiAccess},
                                                   {u"expiresIn"_qs, 300},
                                                   {u"refreshToken"_qs, m_apiRefresh},
                                                   {u"refreshExpiresIn"_qs, 600}});
    m_device->server.setHandler([=](const Request &request) {
        if (request.target == "/track")
            return Answer::of(200);
        QByteArray body = type;
        const QByteArray token = request.header("Authorization").mid(qsizetype(qstrlen("Bearer ")));
        body.replace("%1", token);
        return Answer::of(status, body, {{"Location", "/again?state=" + token}});
    });
    DVNetwork::getPath(u"/get"_qs, DVAuthenticationApi, DVServerApi, {}, counted());
    DVNetwork::putPath(u"/put"_qs, false, DVAuthenticationApi, DVServerApi, {{u"a"_qs, 1}}, counted());
    waitFor(m_completions, 2);
    for (const Request &request : m_device->server.requests()) {
        if (request.target != "/track")
            QCOMPARE(request.header("Authorization"), QByteArray("Bearer " + m_apiAccess.toUtf8()));
    }
    expectNone({m_apiAccess, m_apiRefresh, m_key});
}

// The network stack's error texts hold URLs.
void tst_Canaries::hostsThatAreNotThere()
{
    DVState::shared().log = DVState::shared().debug = true;
    DVServerUrl::setServers({{u"api"_qs, u"https://127.0.0.1:1"_qs}, {u"sso"_qs, u"http://127.0.0.1:1"_qs}});
    const QVariantMap parameters{{u"code"_qs, m_code}, {u"refresh_token"_qs, m_refresh}};
    DVNetwork::getPath(u"/get"_qs, DVAuthenticationNone, DVServerApi, parameters, counted());
    DVNetwork::getPath(u"/get"_qs, DVAuthenticationNone, DVServerSso, parameters, counted());
    DVNetwork::getPath(u"/get"_qs, DVAuthenticationNone, 17, parameters, counted());
    DVNetwork::getUrl(QString(u"https://user:" + m_password + u"@127.0.0.1:1/#access_token=" + m_access),
                      counted());
    waitFor(m_completions, 4);
    QCOMPARE(m_descriptions.size(), 4);
    expectNone({m_code, m_refresh, m_password, m_access});
}

void tst_Canaries::events()
{
    DVSecrets::remember(m_access);
    DVAnalytics::trackEvent(u"Something"_qs, {{u"Error"_qs, QString(u"with " + m_access)},
                                              {u"Deep"_qs, QVariantMap{{u"list"_qs, QVariantList{m_access}}}},
                                              {u"password"_qs, m_password},
                                              {m_access, 1}});
    DVAnalytics::trackEvent(QString(u"Name " + m_access));
    const QJsonArray saved = NetworkDevice::recordedEvents();
    QCOMPARE(saved.size(), 2);
    QCOMPARE(saved.at(0).toObject().value(u"properties").toObject().value(u"Error").toString(),
             u"with <redacted>"_qs);
    expectNone({m_access, m_password});
}

QTEST_GUILESS_MAIN(tst_Canaries)
#include "tst_canaries.moc"
