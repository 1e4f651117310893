// The signed family: what goes over the wire, who signs it, and what bad servers and connections make of it.
#include "ApiPlatform.h"
#include "DVNetwork.h"
#include "DVRows.h"

#include <QFileInfo>
#include <QNetworkReply>
#include <QRegularExpression>

using Answer = DVFaultServer::Answer;
using Fault = DVFaultServer::Fault;
using Request = DVFaultServer::Request;

namespace {

// Whether a multipart body carries this one file.
void compareUpload(const Request &sent, const QByteArray &fileName, const QByteArray &type,
                   const QByteArray &content)
{
    const auto file = ApiPlatform::uploadedFile(sent);
    QCOMPARE(file.disposition, QByteArray("form-data; name=\"content\"; filename=\"/2.5/" + fileName + '"'));
    QCOMPARE(file.type, type);
    QVERIFY(file.content == content);
}

} // namespace

class tst_Signed : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QCoreApplication::setApplicationVersion(u"2.5"_qs); }
    void init();
    void cleanup() { m_device.reset(); }

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
    QString path(const QString &name) const { return m_device->path(name); }
    QString write(const QString &name, const QByteArray &content) const;
    void send(const QByteArray &operation, int authentication, const DVOutcome<> &result) const;
    static void download(const QString &file, int authentication, const DVOutcome<> &result,
                         double timeout = 20);
    void expectUsable();

    std::unique_ptr<NetworkDevice> m_device;
};

void tst_Signed::init()
{
    m_device = std::make_unique<NetworkDevice>();
    DVAPISession::sharedInstance().tokensFromDict({{u"accessToken"_qs, u"api-token"_qs},
                                                   {u"expiresIn"_qs, 3600},
                                                   {u"refreshToken"_qs, u"api-refresh"_qs},
                                                   {u"refreshExpiresIn"_qs, 7200}});
}

QString tst_Signed::write(const QString &name, const QByteArray &content) const
{
    NetworkDevice::write(path(name), content);
    return path(name);
}

void tst_Signed::send(const QByteArray &operation, int authentication, const DVOutcome<> &result) const
{
    const QVariantMap parameters{{u"a"_qs, u"x y&z"_qs}};
    const QString to = u"/path"_qs;
    const bool form = operation.endsWith("form");
    if (operation == "get")
        DVNetwork::getPath(to, authentication, DVServerApi, parameters, result.take());
    else if (operation.startsWith("post"))
        DVNetwork::postPath(to, form, authentication, DVServerApi, parameters, result.take());
    else if (operation.startsWith("put"))
        DVNetwork::putPath(to, form, authentication, DVServerApi, parameters, result.take());
    else if (operation == "download")
        download(path(u"file"_qs), authentication, result);
    else
        DVNetwork::postPath(to, authentication, DVImageAttachment{path(u"image.png"_qs)}, u"content"_qs,
                            result.take());
}

void tst_Signed::download(const QString &file, int authentication, const DVOutcome<> &result, double timeout)
{
    DVNetwork::downloadPath(u"/export"_qs, authentication,
                            {{u"retrievalType"_qs, u"PENDING"_qs}, {u"workflowStepUids[0]"_qs, u"s1"_qs}},
                            timeout, file, result.take());
}

// Whatever went wrong, the next request goes through.
void tst_Signed::expectUsable()
{
    m_device->server.clear();
    m_device->server.setUpload(DVFaultServer::Upload::Read);
    m_device->answer(Answer::of(200, "{\"a\":1}"));
    const DVOutcome<> result;
    DVNetwork::postPath(u"/next"_qs, false, DVAuthenticationApi, DVServerApi, {{u"b"_qs, 2}}, result.take());
    QTRY_COMPLETED(result);
    QCOMPARE(result->description(), QString());
    QCOMPARE(result->result.toObject(), (QJsonObject{{u"a"_qs, 1}}));
    QCOMPARE(m_device->server.requests().size(), 1);
}

void tst_Signed::requests_data()
{
    const DVRows<QByteArray, int, QByteArray, QByteArray, QByteArray> row("operation", "authentication",
                                                                          "line", "contentType", "body");
    const QByteArray json = "application/json;charset=UTF-8";
    const QByteArray form = "application/x-www-form-urlencoded";
    row("GET, unsigned", "get", 0, "GET /path?a=x%20y&z", "application/json", {});
    row("GET, signed", "get", 2, "GET /path?a=x%20y&z", "application/json", {});
    row("POST of JSON", "post json", 2, "POST /path", json, R"({"a":"x y&z"})");
    row("POST of a form", "post form", 2, "POST /path", form, "a=x%20y%26z");
    row("PUT of JSON", "put json", 2, "PUT /path", json, R"({"a":"x y&z"})");
    row("PUT of a form", "put form", 2, "PUT /path", form, "a=x%20y%26z");
    row("an unknown mode signs nothing", "put json", 3, "PUT /path", json, R"({"a":"x y&z"})");
}

void tst_Signed::requests()
{
    QFETCH(QByteArray, operation);
    QFETCH(int, authentication);
    m_device->answer(Answer::of(200, R"({"response":{"data":[]}})"));
    const DVOutcome<> result;
    send(operation, authentication, result);
    QCOMPARE(result->calls, 0); // never from inside the call
    QTRY_COMPLETED(result);
    QVERIFY(!result->error);
    QCOMPARE(result->result.toObject().value(u"response").toObject().value(u"data").toArray(), QJsonArray());
    QCOMPARE(m_device->server.requests().size(), 1);
    const Request request = m_device->server.requests().constFirst();
    QTEST(QByteArray(request.method + ' ' + request.target), "line");
    QTEST(request.header("Content-Type"), "contentType");
    QTEST(request.body, "body");
    QCOMPARE(request.header("User-Agent"), DVNetwork::userAgent().toUtf8());
    QCOMPARE(request.header("Authorization"),
             authentication == DVAuthenticationApi ? QByteArray("Bearer api-token") : QByteArray());
}

void tst_Signed::userSignsAsTheSessionSays()
{
    m_device->server.enqueue(Answer::of(200, R"({"access_token":"user-token","refresh_token":"user-refresh",)"
                                             R"("expires_in":300,"refresh_expires_in":1800})"));
    m_device->answer(Answer::of(200, "{}"));
    ApiPlatform::signIn();
    const DVOutcome<> result;
    send("get", DVAuthenticationUser, result);
    QCOMPARE(result->calls, 0);
    QTRY_COMPLETED(result);
    QCOMPARE(m_device->server.requests().constLast().header("Authorization"),
             QByteArray("Bearer user-token"));
}

void tst_Signed::errorsOfASessionSendNothing_data()
{
    const DVRows<QByteArray> row("operation");
    for (const char *const operation : {"get", "post json", "put json", "upload", "download"})
        row(operation, QByteArray(operation));
}

void tst_Signed::errorsOfASessionSendNothing()
{
    QFETCH(QByteArray, operation);
    DVAPISession::sharedInstance() = {};
    write(u"image.png"_qs, "png");
    for (const auto &[mode, why] : {std::pair(DVAuthenticationUser, u"No token found"_qs),
                                    std::pair(DVAuthenticationApi, u"User ID or Secret missing"_qs)}) {
        const DVOutcome<> result;
        send(operation, mode, result);
        QCOMPARE(result->calls, 0);
        QTRY_COMPLETED(result);
        QCOMPARE(result->error, (DVError{u"dorvane.SDK"_qs, 401, why}));
        QVERIFY(result->result.isUndefined() || operation == "download");
    }
    QCOMPARE(m_device->server.connectionCount(), 0);
}

void tst_Signed::anExpiredTokenIsRefreshedWhileARequestIsBuilt()
{
    DVAPISession::sharedInstance().tokenExpiration = DVClock::now().addSecs(-1);
    const QByteArray content(100000, 'p');
    write(u"image.png"_qs, content);
    m_device->server.setHandler([](const Request &request) {
        if (request.target == "/auth-api/v2/authenticate/refresh")
            return Answer::of(200, R"({"response":{"data":{"accessToken":"fresh","expiresIn":3600,)"
                                   R"("refreshToken":"next","refreshExpiresIn":7200}}})");
        return Answer::of(200, "{}");
    });
    const DVOutcome<> result;
    send("upload", DVAuthenticationApi, result);
    QTRY_COMPLETED(result);
    QCOMPARE(result->description(), QString());
    QCOMPARE(m_device->server.requests().size(), 2);
    const Request request = m_device->server.requests().constLast();
    QCOMPARE(request.header("Authorization"), QByteArray("Bearer fresh"));
    compareUpload(request, "image.png", "image/png", content);
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
    const DVRows<QVariantMap, QStringList, QByteArray> row("parameters", "names",
                                                           "body"); // %1: a content
    const QByteArray a = "--B\r\nContent-Disposition: multipart/form-data; name=\"a\"\r\n\r\n";
    const QByteArray b = "--B\r\nContent-Disposition: multipart/form-data; name=\"b\"\r\n\r\n";
    const QByteArray file = "--B\r\nContent-Disposition: form-data; name=\"field\"; filename=\"/2.5/";
    const QByteArray bytes = "\"\r\nContent-Type: application/octet-stream\r\n\r\n%1\r\n";
    const QByteArray picture = "\"\r\nContent-Type: image/png\r\n\r\n%1\r\n";
    row("nothing", {}, {}, "--B--\r\n");
    row("parameters, in the order of their names", {{u"b"_qs, 2}, {u"a"_qs, u"\u00e9"_qs}}, {},
        a + "\xc3\xa9\r\n" + b + "2\r\n--B--\r\n");
    row("a picture and another file", {{u"a"_qs, 1}}, {u"one.png"_qs, u"two.xlf"_qs},
        a + "1\r\n" + file + "one.png" + picture + file + "two.xlf" + bytes + "--B--\r\n");
    row("a name that would end its header", {}, {u"a\"\r\nb.PNG"_qs},
        file + "a%22%0D%0Ab.PNG" + bytes + "--B--\r\n");
}

void tst_Signed::bodies()
{
    QFETCH(QVariantMap, parameters);
    QFETCH(QStringList, names);
    QFETCH(QByteArray, body);
    const QByteArray content = "\001 content\r\n\377";
    QStringList paths;
    for (const QString &name : names)
        paths.append(write(name, content));
    QByteArray made = "before";
    QString debug;
    QVERIFY(!DVNetwork::createBodyWithBoundary(u"B"_qs, parameters, paths, u"field"_qs, &made, &debug));
    QCOMPARE(made, QByteArray(body).replace("%1", content));
    QCOMPARE(debug, QString::fromUtf8(body).replace(u"%1"_qs, u"<file data>"_qs));
}

void tst_Signed::uploads_data()
{
    const DVRows<bool, QString, QByteArray, int> row("asImage", "name", "type", "size");
    row("a picture", true, u"shot.png"_qs, "image/png", 1000);
    row("a file", false, u"saveFile.xlf"_qs, "application/octet-stream", 1000);
    row("an empty file", false, u"a.xlf"_qs, "application/octet-stream", 0);
    row("a picture of 30 MB", true, u"shot.png"_qs, "image/png", (30 << 20));
}

void tst_Signed::uploads()
{
    QFETCH(bool, asImage);
    QFETCH(QString, name);
    QFETCH(QByteArray, type);
    QFETCH(int, size);
    QByteArray content(size, 'c');
    for (int i = 0; i < size; i += 997)
        content[i] = char(i / 997);
    const QString file = write(name, content);
    m_device->answer(Answer::of(200, "{}"));
    const DVOutcome<> result;
    const auto post = [&](const auto &attachment) {
        DVNetwork::postPath(u"/up"_qs, DVAuthenticationApi, attachment, u"content"_qs, result.take());
    };
    asImage ? post(DVImageAttachment{file}) : post(DVFileAttachment{file});
    QTRY_COMPLETED(result);
    QCOMPARE(result->description(), QString());
    QCOMPARE(m_device->server.requests().size(), 1);
    const Request request = m_device->server.requests().constFirst();
    QCOMPARE(request.method + ' ' + request.target, QByteArray("POST /up"));
    QCOMPARE(request.header("Authorization"), QByteArray("Bearer api-token"));
    QVERIFY(request.header("Content-Type").startsWith("multipart/form-data; boundary=Boundary-"));
    compareUpload(request, name.toUtf8(), type, content);
}

void tst_Signed::filesThatCannotBeRead_data()
{
    const DVRows<QString> row("name");
    row("missing", u"missing.png"_qs);
    row("a folder", u"."_qs);
    row("a device", u"/dev/zero"_qs);
}

void tst_Signed::filesThatCannotBeRead()
{
    QFETCH(QString, name);
    const QString file = name.startsWith(u'/') ? name : path(name);
    const DVOutcome<> result;
    DVNetwork::postPath(u"/up"_qs, DVAuthenticationApi, DVFileAttachment{file}, u"file"_qs, result.take());
    QTRY_COMPLETED(result);
    QCOMPARE(result->domain(), u"dorvane.file"_qs);
    QVERIFY(result->description().contains(file));
    QCOMPARE(m_device->server.connectionCount(), 0);
    QByteArray body = "before";
    QString debug = u"before"_qs;
    QVERIFY(DVNetwork::createBodyWithBoundary(u"B"_qs, {}, {file}, u"file"_qs, &body, &debug));
    QCOMPARE(body, QByteArray("before"));
    QCOMPARE(debug, u"before"_qs);
    expectUsable();
}

void tst_Signed::redirects_data()
{
    // error: of which kind
    const DVRows<QByteArray, int, int, bool, QString> row("operation", "authentication", "status",
                                                          "elsewhere", "error");
    for (const QByteArray operation : {"post json", "put json", "upload"}) {
        const auto each = [&](const char *name, int authentication, int status, bool elsewhere,
                              const QString &error) {
            row(QByteArray(operation + name).constData(), operation, authentication, status, elsewhere,
                error);
        };
        each(" goes on after 307", 2, 307, false, {});
        each(" goes on after 308", 2, 308, false, {});
        each(" stays with its server", 0, 307, true, u"elsewhere"_qs);
        each(" stays with its server when signed", 2, 307, true, u"elsewhere"_qs);
        each(" is not delivered by a 303", 2, 303, false, u"not delivered"_qs);
        each(" does not even go elsewhere as a GET", 2, 303, true, u"elsewhere"_qs);
    }
    row("a signed GET goes on", "get", 2, 302, false, {});
    row("a signed GET stays with its server", "get", 2, 302, true, u"elsewhere"_qs);
    row("an unsigned GET goes anywhere", "get", 0, 302, true, {});
}

void tst_Signed::redirects()
{
    QFETCH(QByteArray, operation);
    QFETCH(int, authentication);
    QFETCH(int, status);
    QFETCH(bool, elsewhere);
    QFETCH(QString, error);
    const QByteArray content(200000, 'p');
    write(u"image.png"_qs, content);
    DVFaultServer other;
    other.setHandler([](const Request &) { return Answer::of(200, "{}"); });
    const QByteArray target = elsewhere ? other.url(u"/target"_qs).toUtf8() : QByteArray("/target");
    m_device->server.setHandler([&](const Request &request) {
        return request.target == "/target" ? Answer::of(200, "{}")
                                           : Answer::of(status, {}, {{"Location", target}});
    });
    const DVOutcome<> result;
    send(operation, authentication, result);
    QTRY_COMPLETED(result);
    if (error == u"elsewhere") {
        QCOMPARE(result->domain(), u"dorvane.network"_qs);
        QCOMPARE(result->code(), int(QNetworkReply::InsecureRedirectError));
        QCOMPARE(
            result->description(),
            u"The redirect from %1 to %2 was not followed: a signed request, or one with a body, stays with "
            "its server."_qs.arg(m_device->server.url(), other.url()));
        QCOMPARE(other.connectionCount(), 0);
        QCOMPARE(m_device->server.requests().size(), 1);
        return expectUsable();
    }
    if (!error.isEmpty()) {
        QCOMPARE(result->description(), u"The request was redirected and not delivered"_qs);
        return;
    }
    QCOMPARE(result->description(), QString());
    const Request first = m_device->server.requests().constFirst();
    const Request last = elsewhere ? other.requests().constLast() : m_device->server.requests().constLast();
    QCOMPARE(last.target, QByteArray("/target"));
    QCOMPARE(last.method, first.method);
    QCOMPARE(last.header("Authorization"), first.header("Authorization"));
    QCOMPARE(last.header("Content-Type"), first.header("Content-Type"));
    QVERIFY(last.body == first.body);
    if (operation == "upload")
        compareUpload(last, "image.png", "image/png", content);
}

void tst_Signed::cutUploads_data()
{
    // after: bytes of the request; -1: all
    const DVRows<QByteArray, qint64> row("operation", "after");
    row("an upload, after its headers", "upload", 400);
    row("an upload, in its body", "upload", qint64(3 << 20));
    row("an upload, instead of an answer", "upload", -1);
    row("a POST, instead of an answer", "post json", -1);
}

void tst_Signed::cutUploads()
{
    QFETCH(QByteArray, operation);
    QFETCH(qint64, after);
    write(u"image.png"_qs, QByteArray(8 << 20, 'p'));
    if (after >= 0)
        m_device->server.setUpload(DVFaultServer::Upload::Reset, after);
    m_device->answer(Answer::failing(Fault::Reset));
    const DVOutcome<> result;
    send(operation, DVAuthenticationApi, result);
    QTRY_COMPLETED(result);
    QCOMPARE(result->domain(), u"dorvane.network"_qs);
    QVERIFY(!result->description().isEmpty());
    QCOMPARE(m_device->server.requests().size(), after >= 0 ? 0 : 1);
    expectUsable();
}

void tst_Signed::aDeadIdleConnectionCostsNothing_data()
{
    const DVRows<QByteArray> row("operation");
    for (const char *const operation : {"post json", "put json", "upload"})
        row(operation, QByteArray(operation));
}

// The connection of the request before dies on the way out: the next one must neither be lost in it nor be
// sent twice.
void tst_Signed::aDeadIdleConnectionCostsNothing()
{
    QFETCH(QByteArray, operation);
    write(u"image.png"_qs, "png");
    // To the client the connection is good for another request; to the server it is not.
    m_device->answer(Answer::of(200, "{}"));
    const DVOutcome<> first;
    send("get", DVAuthenticationApi, first);
    QTRY_COMPLETED(first);
    const DVOutcome<> result;
    send(operation, DVAuthenticationApi, result);
    m_device->server.closeIdleConnections();
    QTRY_COMPLETED(result);
    QCOMPARE(result->description(), QString());
    QCOMPARE(m_device->server.requests().size(), 2);
    QVERIFY(m_device->server.requests().at(0).connection != m_device->server.requests().at(1).connection);
}

void tst_Signed::badAnswers_data()
{
    // description: its beginning
    const DVRows<Answer, QString, int, QString> row("answer", "domain", "code", "description");
    row("no JSON", Answer::of(200, "<html>"), u"dorvane.SDK"_qs, int(QJsonParseError::IllegalValue),
        u"Invalid JSON"_qs);
    row("a 401 to a token that looks alive",
        Answer::of(401, R"({"response":{"code":"AUTHENTICATION_ERROR","errors":[]}})"), u"dorvane.API"_qs,
        401, u"AUTHENTICATION_ERROR"_qs);
    row("a status word of a megabyte",
        Answer::of(400, R"({"response":{"code":")" + QByteArray(1 << 20, 'x') + R"("}})"), u"dorvane.API"_qs,
        400, u"xxx"_qs);
    row("a list of errors", Answer::of(400, R"({"response":{"code":"X","errors":[1,2,3]}})"),
        u"dorvane.SDK.server"_qs, 400, u"3 errors"_qs);
    row("one without an end", Answer::failing(Fault::Endless, QByteArray(1 << 20, ' ')),
        u"dorvane.network"_qs, int(QNetworkReply::UnknownContentError), u"The answer is too large."_qs);
    row("cut in the body", Answer::failing(Fault::CutBody, R"({"response":{"data":1}})"),
        u"dorvane.network"_qs, int(QNetworkReply::RemoteHostClosedError), {});
}

void tst_Signed::badAnswers()
{
    QFETCH(Answer, answer);
    QFETCH(QString, description);
    for (const QByteArray operation : {"get", "put json"}) {
        m_device->server.clear();
        m_device->server.enqueue(answer);
        const DVOutcome<> result;
        send(operation, DVAuthenticationApi, result);
        QTRY_COMPLETED(result);
        QTEST(result->domain(), "domain");
        QTEST(result->code(), "code");
        QVERIFY2(result->description().startsWith(description), qPrintable(result->description()));
        QVERIFY(result->description().size() <= 1000);
        QCOMPARE(m_device->server.requests().size(), 1);
        expectUsable();
    }
}

void tst_Signed::downloads_data()
{
    // domain: of the error
    const DVRows<int, QByteArray, QString, QString, QByteArray> row("status", "body", "domain", "description",
                                                                    "file");
    const QByteArray before = "before";
    row("a file", 200, "<xliff/>", {}, {}, "<xliff/>");
    row("nothing", 200, {}, {}, {}, before);
    row("not found, with a page", 404, "<html>", u"dorvane.API"_qs, u"Server error"_qs, "<html>");
    const QByteArray envelope = R"({"response":{"code":"AUTHORIZATION_ERROR","errors":[]}})";
    row("refused, in the envelope", 403, envelope, u"dorvane.API"_qs, u"AUTHORIZATION_ERROR"_qs, envelope);
    row("a failure with an array", 500, "[1]", u"dorvane.API"_qs, u"Server error"_qs, "[1]");
    row("a failure without a body", 500, {}, u"dorvane.API"_qs, u"Server error"_qs, before);
}

void tst_Signed::downloads()
{
    QFETCH(int, status);
    QFETCH(QByteArray, body);
    QFETCH(QString, domain);
    const QString file = write(u"strings.xlf"_qs, "before");
    m_device->server.enqueue(Answer::of(status, body));
    const DVOutcome<> result;
    download(file, DVAuthenticationApi, result);
    QCOMPARE(result->calls, 0);
    QTRY_COMPLETED(result);
    QCOMPARE(result->domain(), domain);
    QTEST(result->description(), "description");
    QCOMPARE(result->code(), domain.isEmpty() ? 0 : status);
    QTEST(NetworkDevice::read(file), "file");
    QVERIFY(!QFileInfo::exists(dv_previousFilePath(file)));
    const Request request = m_device->server.requests().constFirst();
    QCOMPARE(request.method, QByteArray("GET"));
    QCOMPARE(QByteArray::fromPercentEncoding(request.target),
             QByteArray("/export?retrievalType=PENDING&workflowStepUids[0]=s1"));
    QCOMPARE(request.header("Authorization"), QByteArray("Bearer api-token"));
}

void tst_Signed::downloadsKeepWhatTheyReplace()
{
    const QString file = QString(DVFolders::dorvaneFiles() + u"/1.0-fr.xlf");
    for (const auto &[status, body] :
         QList<QPair<int, QByteArray>>{{200, "good"}, {500, "page"}, {500, "2"}}) {
        m_device->server.enqueue(Answer::of(status, body));
        const DVOutcome<> result;
        download(file, DVAuthenticationApi, result);
        QTRY_COMPLETED(result);
        QCOMPARE(NetworkDevice::read(file), body);
    }
    QCOMPARE(NetworkDevice::read(dv_previousFilePath(file)), QByteArray("good"));
}

void tst_Signed::downloadsFail_data()
{
    // code: -1: any
    const DVRows<Answer, QString, QString, int> row("answer", "file", "domain", "code");
    row("silence", Answer::failing(Fault::Silence), u"file"_qs, u"dorvane.network"_qs,
        int(QNetworkReply::TimeoutError));
    row("a stall", Answer::failing(Fault::StallInBody), u"file"_qs, u"dorvane.network"_qs,
        int(QNetworkReply::TimeoutError));
    row("a cut", Answer::failing(Fault::CutBody), u"file"_qs, u"dorvane.network"_qs,
        int(QNetworkReply::RemoteHostClosedError));
    row("no folder can be made", Answer::of(200, "strings"), u"file/below/a/file"_qs, u"dorvane.file"_qs, -1);
}

void tst_Signed::downloadsFail()
{
    QFETCH(Answer, answer);
    QFETCH(QString, file);
    QFETCH(int, code);
    write(u"file"_qs, "before");
    m_device->server.enqueue(answer);
    const DVOutcome<> result;
    download(path(file), DVAuthenticationApi, result, code == int(QNetworkReply::TimeoutError) ? 0.5 : 20);
    QTRY_COMPLETED(result);
    QTEST(result->domain(), "domain");
    if (code >= 0)
        QCOMPARE(result->code(), code);
    QCOMPARE(NetworkDevice::read(path(u"file"_qs)), QByteArray("before"));
    expectUsable();
}

QTEST_GUILESS_MAIN(tst_Signed)
#include "tst_signed.moc"
