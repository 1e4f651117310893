// The signed family: what goes over the wire, who signs it, and what bad servers and connections make of it.
#include "DVAPISession.h"
#include "DVCanaries.h"
#include "DVClock.h"
#include "DVFaultServer.h"
#include "DVFolders.h"
#include "DVNetwork.h"
#include "DVServerUrl.h"
#include "DVSession.h"
#include "DVState.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkReply>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

using Answer = DVFaultServer::Answer;
using Fault = DVFaultServer::Fault;
using Request = DVFaultServer::Request;

namespace {

constexpr int patience = 20000;

struct Result
{
    int count = 0;
    DVErrorOr error;
    QJsonValue json{QJsonValue::Undefined};

    QString domain() const { return error ? error->domain : QString(); }
    int code() const { return error ? error->code : 0; }
    QString description() const { return error ? error->description : QString(); }
};
using ResultPtr = std::shared_ptr<Result>;

DVJsonCompletion into(const ResultPtr &result)
{
    return [result](const DVErrorOr &error, const QJsonValue &json) {
        ++result->count;
        result->error = error;
        result->json = json;
    };
}

QByteArray multipart(const QByteArray &boundary, const QByteArray &field, const QByteArray &fileName,
                     const QByteArray &type, const QByteArray &content)
{
    return "--" + boundary + "\r\n" + "Content-Disposition: form-data; name=\"" + field + "\"; filename=\"" +
           fileName + "\"\r\n" + "Content-Type: " + type + "\r\n\r\n" + content + "\r\n" + "--" + boundary +
           "--\r\n";
}

QByteArray boundaryOf(const Request &request)
{
    return request.header("Content-Type").mid(qsizetype(qstrlen("multipart/form-data; boundary=")));
}

} // namespace

class tst_Signed : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QCoreApplication::setApplicationVersion(u"2.5"_qs); }
    void init();
    void cleanup();

    void requests_data();
    void requests();
    void userSignsAsTheSessionSays();
    void errorsOfASessionSendNothing_data();
    void errorsOfASessionSendNothing();
    void anExpiredTokenIsRefreshedWhileARequestIsBuilt();
    void boundaries();
    void bodies_data();
    void bodies();
    void uploads_data();
    void uploads();
    void filesThatCannotBeRead_data();
    void filesThatCannotBeRead();
    void redirects_data();
    void redirects();
    void cutUploads_data();
    void cutUploads();
    void aDeadIdleConnectionCostsNothing_data();
    void aDeadIdleConnectionCostsNothing();
    void badAnswers_data();
    void badAnswers();
    void downloads_data();
    void downloads();
    void downloadsKeepWhatTheyReplace();
    void downloadsFail_data();
    void downloadsFail();

private:
    QString path(const QString &name) const { return QString(m_folder->path() + u'/' + name); }
    QString write(const QString &name, const QByteArray &content) const;
    static QByteArray read(const QString &file);
    static void signInApi();
    void send(const QByteArray &operation, int authentication, const ResultPtr &result) const;
    void expectUsable();

    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<DVFaultServer> m_server;
};

void tst_Signed::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    m_server = std::make_unique<DVFaultServer>();
    DVFolders::setDocuments(path(u"documents"_qs));
    DVServerUrl::setEnvironment(1);
    DVServerUrl::setServers({{u"api"_qs, m_server->url()}, {u"sso"_qs, m_server->url()}});
    DVState::shared().analyticsEnabled = false;
    DVAPISession::sharedInstance() = {};
    DVClock::reset();
}

void tst_Signed::cleanup()
{
    DVHttpTransport::shutDown(1000);
    DVServerUrl::setServers({});
    DVFolders::setDocuments({});
    DVSession::sharedInstance().logOut();
    QCoreApplication::sendPostedEvents();
}

QString tst_Signed::write(const QString &name, const QByteArray &content) const
{
    QFile file(path(name));
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
        qFatal("cannot write %s", qPrintable(file.fileName()));
    return file.fileName();
}

QByteArray tst_Signed::read(const QString &file)
{
    QFile opened(file);
    return opened.open(QIODevice::ReadOnly) ? opened.readAll() : QByteArray();
}

void tst_Signed::signInApi()
{
    DVAPISession::sharedInstance().tokensFromDict({{u"accessToken"_qs, u"api-token"_qs},
                                                   {u"expiresIn"_qs, 3600},
                                                   {u"refreshToken"_qs, u"api-refresh"_qs},
                                                   {u"refreshExpiresIn"_qs, 7200}});
}

void tst_Signed::send(const QByteArray &operation, int authentication, const ResultPtr &result) const
{
    const QVariantMap parameters{{u"a"_qs, u"x y&z"_qs}};
    const QString to = u"/path"_qs;
    if (operation == "get")
        DVNetwork::getPath(to, authentication, DVServerApi, parameters, into(result));
    else if (operation == "post json")
        DVNetwork::postPath(to, false, authentication, DVServerApi, parameters, into(result));
    else if (operation == "post form")
        DVNetwork::postPath(to, true, authentication, DVServerApi, parameters, into(result));
    else if (operation == "put json")
        DVNetwork::putPath(to, false, authentication, DVServerApi, parameters, into(result));
    else if (operation == "put form")
        DVNetwork::putPath(to, true, authentication, DVServerApi, parameters, into(result));
    else
        DVNetwork::postPath(to, authentication, DVImageAttachment{path(u"image.png"_qs)}, u"content"_qs,
                            into(result));
}

// Whatever went wrong, the next request goes through.
void tst_Signed::expectUsable()
{
    m_server->clear();
    m_server->setUpload(DVFaultServer::Upload::Read);
    m_server->setHandler([](const Request &) { return Answer::of(200, "{\"a\":1}"); });
    const auto result = std::make_shared<Result>();
    DVNetwork::postPath(u"/next"_qs, false, DVAuthenticationApi, DVServerApi, {{u"b"_qs, 2}}, into(result));
    QTRY_COMPARE_WITH_TIMEOUT(result->count, 1, patience);
    QCOMPARE(result->description(), QString());
    QCOMPARE(result->json.toObject(), (QJsonObject{{u"a"_qs, 1}}));
    QCOMPARE(m_server->requests().size(), 1);
}

void tst_Signed::requests_data()
{
    QTest::addColumn<QByteArray>("operation");
    QTest::addColumn<int>("authentication");
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<QByteArray>("contentType");
    QTest::addColumn<QByteArray>("body");
    const QByteArray json = "application/json;charset=UTF-8";
    const QByteArray form = "application/x-www-form-urlencoded";
    QTest::newRow("GET, unsigned") << QByteArray("get") << 0 << QByteArray("GET /path?a=x%20y&z")
                                   << QByteArray("application/json") << QByteArray();
    QTest::newRow("GET, signed") << QByteArray("get") << 2 << QByteArray("GET /path?a=x%20y&z")
                                 << QByteArray("application/json") << QByteArray();
    QTest::newRow("POST of JSON") << QByteArray("post json") << 2 << QByteArray("POST /path") << json
                                  << QByteArray(R"({"a":"x y&z"})");
    QTest::newRow("POST of a form") << QByteArray("post form") << 2 << QByteArray("POST /path") << form
                                    << QByteArray("a=x%20y%26z");
    QTest::newRow("PUT of JSON") << QByteArray("put json") << 2 << QByteArray("PUT /path") << json
                                 << QByteArray(R"({"a":"x y&z"})");
    QTest::newRow("PUT of a form") << QByteArray("put form") << 2 << QByteArray("PUT /path") << form
                                   << QByteArray("a=x%20y%26z");
    QTest::newRow("an unknown mode signs nothing")
        << QByteArray("put json") << 3 << QByteArray("PUT /path") << json << QByteArray(R"({"a":"x y&z"})");
}

void tst_Signed::requests()
{
    QFETCH(QByteArray, operation);
    QFETCH(int, authentication);
    signInApi();
    m_server->setHandler([](const Request &) { return Answer::of(200, R"({"response":{"data":[]}})"); });
    const auto result = std::make_shared<Result>();
    send(operation, authentication, result);
    QCOMPARE(result->count, 0); // never from inside the call
    QTRY_COMPARE_WITH_TIMEOUT(result->count, 1, patience);
    QVERIFY(!result->error);
    QCOMPARE(result->json.toObject().value(u"response").toObject().value(u"data").toArray(), QJsonArray());
    QCOMPARE(m_server->requests().size(), 1);
    const Request request = m_server->requests().constFirst();
    QTEST(QByteArray(request.method + ' ' + request.target), "line");
    QTEST(request.header("Content-Type"), "contentType");
    QTEST(request.body, "body");
    QCOMPARE(request.header("User-Agent"), DVNetwork::userAgent().toUtf8());
    QCOMPARE(request.header("Authorization"),
             authentication == DVAuthenticationApi ? QByteArray("Bearer api-token") : QByteArray());
}

void tst_Signed::userSignsAsTheSessionSays()
{
    m_server->enqueue(Answer::of(200, R"({"access_token":"user-token","refresh_token":"user-refresh",)"
                                      R"("expires_in":300,"refresh_expires_in":1800})"));
    m_server->setHandler([](const Request &) { return Answer::of(200, "{}"); });
    bool signedIn = false;
    DVSession::sharedInstance().getTokenWithCode(u"code"_qs, false,
                                                 [&](const DVErrorOr &error) { signedIn = !error; });
    QTRY_VERIFY_WITH_TIMEOUT(signedIn, patience);
    const auto result = std::make_shared<Result>();
    send("get", DVAuthenticationUser, result);
    QCOMPARE(result->count, 0);
    QTRY_COMPARE_WITH_TIMEOUT(result->count, 1, patience);
    QCOMPARE(m_server->requests().constLast().header("Authorization"), QByteArray("Bearer user-token"));
}

void tst_Signed::errorsOfASessionSendNothing_data()
{
    QTest::addColumn<QByteArray>("operation");
    for (const char *const operation : {"get", "post json", "put json", "upload", "download"})
        QTest::newRow(operation) << QByteArray(operation);
}

void tst_Signed::errorsOfASessionSendNothing()
{
    QFETCH(QByteArray, operation);
    write(u"image.png"_qs, "png");
    for (const int authentication : {DVAuthenticationUser, DVAuthenticationApi}) {
        const auto result = std::make_shared<Result>();
        if (operation == "download")
            DVNetwork::downloadPath(u"/path"_qs, authentication, {}, 20, path(u"file"_qs),
                                    [result](const DVErrorOr &error) {
                                        ++result->count;
                                        result->error = error;
                                    });
        else
            send(operation, authentication, result);
        QCOMPARE(result->count, 0);
        QTRY_COMPARE_WITH_TIMEOUT(result->count, 1, patience);
        QCOMPARE(result->domain(), u"dorvane.SDK"_qs);
        QCOMPARE(result->code(), 401);
        QCOMPARE(result->description(), authentication == DVAuthenticationUser
                                            ? u"No token found"_qs
                                            : u"User ID or Secret missing"_qs);
        QVERIFY(result->json.isUndefined());
    }
    QCOMPARE(m_server->connectionCount(), 0);
}

void tst_Signed::anExpiredTokenIsRefreshedWhileARequestIsBuilt()
{
    signInApi();
    DVAPISession::sharedInstance().tokenExpiration = DVClock::now().addSecs(-1);
    const QByteArray content(100000, 'p');
    write(u"image.png"_qs, content);
    m_server->setHandler([](const Request &request) {
        if (request.target == "/auth-api/v2/authenticate/refresh")
            return Answer::of(200, R"({"response":{"data":{"accessToken":"fresh","expiresIn":3600,)"
                                   R"("refreshToken":"next","refreshExpiresIn":7200}}})");
        return Answer::of(200, "{}");
    });
    const auto result = std::make_shared<Result>();
    send("upload", DVAuthenticationApi, result);
    QTRY_COMPARE_WITH_TIMEOUT(result->count, 1, patience);
    QCOMPARE(result->description(), QString());
    QCOMPARE(m_server->requests().size(), 2);
    const Request request = m_server->requests().constLast();
    QCOMPARE(request.header("Authorization"), QByteArray("Bearer fresh"));
    QCOMPARE(request.body, multipart(boundaryOf(request), "content", "/2.5/image.png", "image/png", content));
}

void tst_Signed::boundaries()
{
    static const QRegularExpression form(
        u"^Boundary-[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}$"_qs);
    const QString first = DVNetwork::generateBoundaryString();
    QVERIFY2(form.match(first).hasMatch(), qPrintable(first));
    QVERIFY(first != DVNetwork::generateBoundaryString());
}

void tst_Signed::bodies_data()
{
    QTest::addColumn<QVariantMap>("parameters");
    QTest::addColumn<QStringList>("names");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QString>("debug");
    QTest::newRow("nothing") << QVariantMap() << QStringList() << QByteArray("--B--\r\n") << u"--B--\r\n"_qs;
    QTest::newRow("parameters, in the order of their names")
        << QVariantMap{{u"b"_qs, 2}, {u"a"_qs, u"\u00e9"_qs}} << QStringList()
        << QByteArray("--B\r\nContent-Disposition: multipart/form-data; name=\"a\"\r\n\r\n\xc3\xa9\r\n"
                      "--B\r\nContent-Disposition: multipart/form-data; name=\"b\"\r\n\r\n2\r\n--B--\r\n")
        << u"--B\r\nContent-Disposition: multipart/form-data; name=\"a\"\r\n\r\n\u00e9\r\n"
           u"--B\r\nContent-Disposition: multipart/form-data; name=\"b\"\r\n\r\n2\r\n--B--\r\n"_qs;
    QTest::newRow("a picture and another file")
        << QVariantMap{{u"a"_qs, 1}} << QStringList{u"one.png"_qs, u"two.xlf"_qs}
        << QByteArray("--B\r\nContent-Disposition: multipart/form-data; name=\"a\"\r\n\r\n1\r\n"
                      "--B\r\nContent-Disposition: form-data; name=\"field\"; filename=\"/2.5/one.png\"\r\n"
                      "Content-Type: image/png\r\n\r\n\001one.png\377\r\n"
                      "--B\r\nContent-Disposition: form-data; name=\"field\"; filename=\"/2.5/two.xlf\"\r\n"
                      "Content-Type: application/octet-stream\r\n\r\n\001two.xlf\377\r\n--B--\r\n")
        << u"--B\r\nContent-Disposition: multipart/form-data; name=\"a\"\r\n\r\n1\r\n"
           u"--B\r\nContent-Disposition: form-data; name=\"field\"; filename=\"/2.5/one.png\"\r\n"
           u"Content-Type: image/png\r\n\r\n<file data>\r\n"
           u"--B\r\nContent-Disposition: form-data; name=\"field\"; filename=\"/2.5/two.xlf\"\r\n"
           u"Content-Type: application/octet-stream\r\n\r\n<file data>\r\n--B--\r\n"_qs;
    QTest::newRow("a name that would end its header")
        << QVariantMap() << QStringList{u"a\"\r\nb.PNG"_qs}
        << QByteArray("--B\r\nContent-Disposition: form-data; name=\"field\"; "
                      "filename=\"/2.5/a%22%0D%0Ab.PNG\"\r\nContent-Type: application/octet-stream\r\n\r\n"
                      "\001a\"\r\nb.PNG\377\r\n--B--\r\n")
        << u"--B\r\nContent-Disposition: form-data; name=\"field\"; "
           u"filename=\"/2.5/a%22%0D%0Ab.PNG\"\r\nContent-Type: application/octet-stream\r\n\r\n"
           u"<file data>\r\n--B--\r\n"_qs;
}

void tst_Signed::bodies()
{
    QFETCH(QVariantMap, parameters);
    QFETCH(QStringList, names);
    QStringList paths;
    for (const QString &name : names)
        paths.append(write(name, '\x01' + name.toUtf8() + '\xff'));
    QByteArray body = "before";
    QString debug;
    QVERIFY(!DVNetwork::createBodyWithBoundary(u"B"_qs, parameters, paths, u"field"_qs, &body, &debug));
    QTEST(body, "body");
    QTEST(debug, "debug");
}

void tst_Signed::uploads_data()
{
    QTest::addColumn<bool>("asImage");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("type");
    QTest::addColumn<int>("size");
    QTest::newRow("a picture") << true << u"shot.png"_qs << QByteArray("image/png") << 1000;
    QTest::newRow("a file") << false << u"saveFile.xlf"_qs << QByteArray("application/octet-stream") << 1000;
    QTest::newRow("an empty file") << false << u"a.xlf"_qs << QByteArray("application/octet-stream") << 0;
    QTest::newRow("a picture of 30 MB") << true << u"shot.png"_qs << QByteArray("image/png") << (30 << 20);
}

void tst_Signed::uploads()
{
    QFETCH(bool, asImage);
    QFETCH(QString, name);
    QFETCH(QByteArray, type);
    QFETCH(int, size);
    signInApi();
    QByteArray content(size, 'c');
    for (int i = 0; i < size; i += 997)
        content[i] = char(i / 997);
    const QString file = write(name, content);
    m_server->setHandler([](const Request &) { return Answer::of(200, "{}"); });
    const auto result = std::make_shared<Result>();
    if (asImage)
        DVNetwork::postPath(u"/up"_qs, DVAuthenticationApi, DVImageAttachment{file}, u"content"_qs,
                            into(result));
    else
        DVNetwork::postPath(u"/up"_qs, DVAuthenticationApi, DVFileAttachment{file}, u"content"_qs,
                            into(result));
    QTRY_COMPARE_WITH_TIMEOUT(result->count, 1, patience);
    QCOMPARE(result->description(), QString());
    QCOMPARE(m_server->requests().size(), 1);
    const Request request = m_server->requests().constFirst();
    QCOMPARE(request.method + ' ' + request.target, QByteArray("POST /up"));
    QCOMPARE(request.header("Authorization"), QByteArray("Bearer api-token"));
    QVERIFY(request.header("Content-Type").startsWith("multipart/form-data; boundary=Boundary-"));
    QVERIFY(request.body ==
            multipart(boundaryOf(request), "content", "/2.5/" + name.toUtf8(), type, content));
}

void tst_Signed::filesThatCannotBeRead_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("missing") << u"missing.png"_qs;
    QTest::newRow("a folder") << u"."_qs;
    QTest::newRow("a device") << u"/dev/zero"_qs;
}

void tst_Signed::filesThatCannotBeRead()
{
    QFETCH(QString, name);
    signInApi();
    const QString file = name.startsWith(u'/') ? name : path(name);
    const auto result = std::make_shared<Result>();
    DVNetwork::postPath(u"/up"_qs, DVAuthenticationApi, DVFileAttachment{file}, u"file"_qs, into(result));
    QTRY_COMPARE_WITH_TIMEOUT(result->count, 1, patience);
    QCOMPARE(result->domain(), u"dorvane.file"_qs);
    QVERIFY(result->description().contains(file));
    QCOMPARE(m_server->connectionCount(), 0);
    QByteArray body = "before";
    QString debug = u"before"_qs;
    QVERIFY(DVNetwork::createBodyWithBoundary(u"B"_qs, {}, {file}, u"file"_qs, &body, &debug));
    QCOMPARE(body, QByteArray("before"));
    QCOMPARE(debug, u"before"_qs);
    expectUsable();
}

void tst_Signed::redirects_data()
{
    QTest::addColumn<QByteArray>("operation");
    QTest::addColumn<int>("authentication");
    QTest::addColumn<int>("status");
    QTest::addColumn<bool>("elsewhere");
    QTest::addColumn<QString>("error"); // of which kind
    for (const char *const operation : {"post json", "put json", "upload"}) {
        for (const int status : {307, 308})
            QTest::addRow("%s goes on after %d", operation, status)
                << QByteArray(operation) << 2 << status << false << QString();
        for (const int authentication : {0, 2})
            QTest::addRow("%s stays with its server, mode %d", operation, authentication)
                << QByteArray(operation) << authentication << 307 << true << u"elsewhere"_qs;
        QTest::addRow("%s is not delivered by a 303", operation)
            << QByteArray(operation) << 2 << 303 << false << u"not delivered"_qs;
        QTest::addRow("%s does not even go elsewhere as a GET", operation)
            << QByteArray(operation) << 2 << 303 << true << u"elsewhere"_qs;
    }
    QTest::newRow("a signed GET goes on") << QByteArray("get") << 2 << 302 << false << QString();
    QTest::newRow("a signed GET stays with its server")
        << QByteArray("get") << 2 << 302 << true << u"elsewhere"_qs;
    QTest::newRow("an unsigned GET goes anywhere") << QByteArray("get") << 0 << 302 << true << QString();
}

void tst_Signed::redirects()
{
    QFETCH(QByteArray, operation);
    QFETCH(int, authentication);
    QFETCH(int, status);
    QFETCH(bool, elsewhere);
    QFETCH(QString, error);
    signInApi();
    const QByteArray content(200000, 'p');
    write(u"image.png"_qs, content);
    DVFaultServer other;
    other.setHandler([](const Request &) { return Answer::of(200, "{}"); });
    const QByteArray target = elsewhere ? other.url(u"/target"_qs).toUtf8() : QByteArray("/target");
    m_server->setHandler([&](const Request &request) {
        return request.target == "/target" ? Answer::of(200, "{}")
                                           : Answer::of(status, {}, {{"Location", target}});
    });
    const auto result = std::make_shared<Result>();
    send(operation, authentication, result);
    QTRY_COMPARE_WITH_TIMEOUT(result->count, 1, patience);
    if (error == u"elsewhere") {
        QCOMPARE(result->domain(), u"dorvane.network"_qs);
        QCOMPARE(result->code(), int(QNetworkReply::InsecureRedirectError));
        QVERIFY2(result->description().contains(m_server->url()) &&
                     result->description().contains(other.url()),
                 qPrintable(result->description()));
        QCOMPARE(other.connectionCount(), 0);
        QCOMPARE(m_server->requests().size(), 1);
        return expectUsable();
    }
    if (!error.isEmpty()) {
        QCOMPARE(result->description(), u"The request was redirected and not delivered"_qs);
        return;
    }
    QCOMPARE(result->description(), QString());
    const Request first = m_server->requests().constFirst();
    const Request last = elsewhere ? other.requests().constLast() : m_server->requests().constLast();
    QCOMPARE(last.target, QByteArray("/target"));
    QCOMPARE(last.method, first.method);
    QCOMPARE(last.header("Authorization"), first.header("Authorization"));
    QCOMPARE(last.header("Content-Type"), first.header("Content-Type"));
    QVERIFY(last.body == first.body);
    if (operation == "upload")
        QVERIFY(last.body == multipart(boundaryOf(last), "content", "/2.5/image.png", "image/png", content));
}

void tst_Signed::cutUploads_data()
{
    QTest::addColumn<QByteArray>("operation");
    QTest::addColumn<qint64>("after"); // bytes of the request; -1: all
    QTest::newRow("an upload, after its headers") << QByteArray("upload") << qint64(400);
    QTest::newRow("an upload, in its body") << QByteArray("upload") << qint64(3 << 20);
    QTest::newRow("an upload, instead of an answer") << QByteArray("upload") << qint64(-1);
    QTest::newRow("a PUT, instead of an answer") << QByteArray("put json") << qint64(-1);
    QTest::newRow("a POST, instead of an answer") << QByteArray("post json") << qint64(-1);
}

void tst_Signed::cutUploads()
{
    QFETCH(QByteArray, operation);
    QFETCH(qint64, after);
    signInApi();
    write(u"image.png"_qs, QByteArray(8 << 20, 'p'));
    if (after >= 0)
        m_server->setUpload(DVFaultServer::Upload::Reset, after);
    m_server->setHandler([](const Request &) { return Answer::failing(Fault::Reset); });
    const auto result = std::make_shared<Result>();
    send(operation, DVAuthenticationApi, result);
    QTRY_COMPARE_WITH_TIMEOUT(result->count, 1, patience);
    QCOMPARE(result->domain(), u"dorvane.network"_qs);
    QVERIFY(!result->description().isEmpty());
    QCOMPARE(m_server->requests().size(), after >= 0 ? 0 : 1);
    expectUsable();
}

void tst_Signed::aDeadIdleConnectionCostsNothing_data()
{
    QTest::addColumn<QByteArray>("operation");
    for (const char *const operation : {"post json", "put json", "upload"})
        QTest::newRow(operation) << QByteArray(operation);
}

// The connection of the request before dies on the way out: the next one must neither be lost in it nor be
// sent twice.
void tst_Signed::aDeadIdleConnectionCostsNothing()
{
    QFETCH(QByteArray, operation);
    signInApi();
    write(u"image.png"_qs, "png");
    m_server->setHandler([](const Request &request) {
        // To the client the connection is good for another request; to the server it is not.
        return request.method == "GET" ? Answer::of(200, "{}") : Answer::of(200, "{\"a\":2}");
    });
    const auto first = std::make_shared<Result>();
    send("get", DVAuthenticationApi, first);
    QTRY_COMPARE_WITH_TIMEOUT(first->count, 1, patience);
    const auto result = std::make_shared<Result>();
    send(operation, DVAuthenticationApi, result);
    m_server->closeIdleConnections();
    QTRY_COMPARE_WITH_TIMEOUT(result->count, 1, patience);
    QCOMPARE(result->description(), QString());
    QCOMPARE(m_server->requests().size(), 2);
    QVERIFY(m_server->requests().at(0).connection != m_server->requests().at(1).connection);
}

void tst_Signed::badAnswers_data()
{
    QTest::addColumn<Answer>("answer");
    QTest::addColumn<QString>("domain");
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("description"); // its beginning
    QTest::newRow("no JSON") << Answer::of(200, "<html>") << u"dorvane.SDK"_qs
                             << int(QJsonParseError::IllegalValue) << u"Invalid JSON"_qs;
    QTest::newRow("no JSON, and a failure") << Answer::of(502, "<html>") << u"dorvane.SDK"_qs
                                            << int(QJsonParseError::IllegalValue) << u"Invalid JSON"_qs;
    QTest::newRow("JSON that is cut") << Answer::of(200, R"({"response":)") << u"dorvane.SDK"_qs
                                      << int(QJsonParseError::UnterminatedObject) << u"Invalid JSON"_qs;
    QTest::newRow("a failure without \"response\"")
        << Answer::of(500, R"({"error":"x"})") << u"dorvane.API"_qs << 500 << u"Server error"_qs;
    QTest::newRow("a 401 to a token that looks alive")
        << Answer::of(401, R"({"response":{"code":"AUTHENTICATION_ERROR","errors":[]}})") << u"dorvane.API"_qs
        << 401 << u"AUTHENTICATION_ERROR"_qs;
    QTest::newRow("a status word of a megabyte")
        << Answer::of(400, R"({"response":{"code":")" + QByteArray(1 << 20, 'x') + R"("}})")
        << u"dorvane.API"_qs << 400 << u"xxx"_qs;
    QTest::newRow("a list of errors") << Answer::of(400, R"({"response":{"code":"X","errors":[1,2,3]}})")
                                      << u"dorvane.SDK.server"_qs << 400 << u"3 errors"_qs;
    QTest::newRow("a failure without a body")
        << Answer::of(503) << u"dorvane.API"_qs << 503 << u"Server error"_qs;
    QTest::newRow("200 MB, announced")
        << Answer::of(200, "{", {{"Content-Length", "209715200"}}) << u"dorvane.network"_qs
        << int(QNetworkReply::UnknownContentError) << u"The answer is too large."_qs;
    QTest::newRow("one without an end")
        << Answer::failing(Fault::Endless, QByteArray(1 << 20, ' ')) << u"dorvane.network"_qs
        << int(QNetworkReply::UnknownContentError) << u"The answer is too large."_qs;
    QTest::newRow("cut in the body") << Answer::failing(Fault::CutBody, R"({"response":{"data":1}})")
                                     << u"dorvane.network"_qs << int(QNetworkReply::RemoteHostClosedError)
                                     << QString();
}

void tst_Signed::badAnswers()
{
    QFETCH(Answer, answer);
    QFETCH(QString, description);
    for (const QByteArray operation : {"get", "put json"}) {
        signInApi();
        m_server->clear();
        m_server->enqueue(answer);
        const auto result = std::make_shared<Result>();
        send(operation, DVAuthenticationApi, result);
        QTRY_COMPARE_WITH_TIMEOUT(result->count, 1, patience);
        QTEST(result->domain(), "domain");
        QTEST(result->code(), "code");
        QVERIFY2(result->description().startsWith(description), qPrintable(result->description()));
        QVERIFY(result->description().size() <= 1000);
        QCOMPARE(m_server->requests().size(), 1);
        expectUsable();
    }
}

void tst_Signed::downloads_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QString>("domain"); // of the error
    QTest::addColumn<QString>("description");
    QTest::addColumn<QByteArray>("file");
    const QByteArray before = "before";
    QTest::newRow("a file") << 200 << QByteArray("<xliff/>") << QString() << QString()
                            << QByteArray("<xliff/>");
    QTest::newRow("nothing") << 200 << QByteArray() << QString() << QString() << before;
    QTest::newRow("not found, with a page")
        << 404 << QByteArray("<html>") << u"dorvane.API"_qs << u"Server error"_qs << QByteArray("<html>");
    const QByteArray envelope = R"({"response":{"code":"AUTHORIZATION_ERROR","errors":[]}})";
    QTest::newRow("refused, in the envelope")
        << 403 << envelope << u"dorvane.API"_qs << u"AUTHORIZATION_ERROR"_qs << envelope;
    QTest::newRow("a failure with an array")
        << 500 << QByteArray("[1]") << u"dorvane.API"_qs << u"Server error"_qs << QByteArray("[1]");
    QTest::newRow("a failure without a body")
        << 500 << QByteArray() << u"dorvane.API"_qs << u"Server error"_qs << before;
}

void tst_Signed::downloads()
{
    QFETCH(int, status);
    QFETCH(QByteArray, body);
    QFETCH(QString, domain);
    signInApi();
    const QString file = write(u"strings.xlf"_qs, "before");
    m_server->enqueue(Answer::of(status, body));
    const auto result = std::make_shared<Result>();
    DVNetwork::downloadPath(u"/export"_qs, DVAuthenticationApi,
                            {{u"retrievalType"_qs, u"PENDING"_qs}, {u"workflowStepUids[0]"_qs, u"s1"_qs}}, 20,
                            file, [result](const DVErrorOr &error) {
                                ++result->count;
                                result->error = error;
                            });
    QCOMPARE(result->count, 0);
    QTRY_COMPARE_WITH_TIMEOUT(result->count, 1, patience);
    QCOMPARE(result->domain(), domain);
    QTEST(result->description(), "description");
    QCOMPARE(result->code(), domain.isEmpty() ? 0 : status);
    QTEST(read(file), "file");
    QVERIFY(!QFileInfo::exists(dv_previousFilePath(file)));
    const Request request = m_server->requests().constFirst();
    QCOMPARE(request.method, QByteArray("GET"));
    QCOMPARE(QByteArray::fromPercentEncoding(request.target),
             QByteArray("/export?retrievalType=PENDING&workflowStepUids[0]=s1"));
    QCOMPARE(request.header("Authorization"), QByteArray("Bearer api-token"));
}

void tst_Signed::downloadsKeepWhatTheyReplace()
{
    signInApi();
    const QString file = QString(DVFolders::dorvaneFiles() + u"/1.0-fr.xlf");
    for (const auto &[status, body] :
         QList<QPair<int, QByteArray>>{{200, "good"}, {500, "page"}, {500, "2"}}) {
        m_server->enqueue(Answer::of(status, body));
        const auto result = std::make_shared<Result>();
        DVNetwork::downloadPath(u"/export"_qs, DVAuthenticationApi, {}, 20, file,
                                [result](const DVErrorOr &) { ++result->count; });
        QTRY_COMPARE_WITH_TIMEOUT(result->count, 1, patience);
        QCOMPARE(read(file), body);
    }
    QCOMPARE(read(dv_previousFilePath(file)), QByteArray("good"));
}

void tst_Signed::downloadsFail_data()
{
    QTest::addColumn<Answer>("answer");
    QTest::addColumn<QString>("file");
    QTest::addColumn<QString>("domain");
    QTest::addColumn<int>("code"); // -1: any
    QTest::newRow("silence") << Answer::failing(Fault::Silence) << u"file"_qs << u"dorvane.network"_qs
                             << int(QNetworkReply::TimeoutError);
    QTest::newRow("a stall") << Answer::failing(Fault::StallInBody) << u"file"_qs << u"dorvane.network"_qs
                             << int(QNetworkReply::TimeoutError);
    QTest::newRow("a cut") << Answer::failing(Fault::CutBody) << u"file"_qs << u"dorvane.network"_qs
                           << int(QNetworkReply::RemoteHostClosedError);
    QTest::newRow("no folder can be made")
        << Answer::of(200, "strings") << u"file/below/a/file"_qs << u"dorvane.file"_qs << -1;
}

void tst_Signed::downloadsFail()
{
    QFETCH(Answer, answer);
    QFETCH(QString, file);
    QFETCH(int, code);
    signInApi();
    write(u"file"_qs, "before");
    m_server->enqueue(answer);
    const auto result = std::make_shared<Result>();
    DVNetwork::downloadPath(u"/export"_qs, DVAuthenticationApi, {}, 0.5, path(file),
                            [result](const DVErrorOr &error) {
                                ++result->count;
                                result->error = error;
                            });
    QTRY_COMPARE_WITH_TIMEOUT(result->count, 1, patience);
    QTEST(result->domain(), "domain");
    if (code >= 0)
        QCOMPARE(result->code(), code);
    QCOMPARE(read(path(u"file"_qs)), QByteArray("before"));
    expectUsable();
}

QTEST_GUILESS_MAIN(tst_Signed)
#include "tst_signed.moc"
