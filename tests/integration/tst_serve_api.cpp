// The REST API of the stand-in for the platform: whom it lets in, what it answers, what it refuses.
#include "PlatformProject.h"
#include "PlatformTexts.h"
#include <DVRows.h>

#include <QDir>
#include <QtEndian>

#include <memory>

#include <zlib.h>

using namespace Qt::Literals::StringLiterals;
using namespace PlatformTexts;

namespace {

const QByteArray importPath = "/files-api/v2/projects/garden/locales/fr-CA/content/import";
const QByteArray contextsPath = "/context-api/v2/projects/garden/contexts";
const QByteArray bindingsPath = "/context-api/v2/projects/garden/bindings";
const QByteArray issuesPath = "/issues-api/v2/projects/garden/issues";
const QByteArray submittedPath = "/workflows-strings-api/v2/projects/garden/submittedStrings";

QByteArray chunk(const QByteArray &type, const QByteArray &content)
{
    const QByteArray typed = type + content;
    QByteArray length(4, '\0');
    QByteArray sum(4, '\0');
    qToBigEndian(quint32(content.size()), length.data());
    qToBigEndian(quint32(crc32(0, reinterpret_cast<const Bytef *>(typed.constData()), uInt(typed.size()))),
                 sum.data());
    return length + typed + sum;
}

// Grey, eight bits, with `lines` as the compressed pixels.
QByteArray png(quint32 width, quint32 height, const QByteArray &pixels, const QByteArray &format)
{
    QByteArray header(8, '\0');
    qToBigEndian(width, header.data());
    qToBigEndian(height, header.data() + 4);
    return "\x89PNG\r\n\x1A\n" + chunk("IHDR", header + format) + chunk("IDAT", qCompress(pixels).mid(4)) +
           chunk("IEND", {});
}

const QByteArray greyFormat("\x08\x00\x00\x00\x00", 5);

QByteArray picture()
{
    return png(3, 2, QByteArray("\0abc\0def", 8), greyFormat);
}

QJsonObject parsed(const QByteArray &json)
{
    return QJsonDocument::fromJson(json).object();
}

QByteArray binding(const QByteArray &context, const QByteArray &hashcode,
                   const QByteArray &coordinates = R"({"top": 1.5, "left": 0, "height": 20, "width": 300})")
{
    return "{\"contextUid\": \"" + context + "\", \"stringHashcode\": \"" + hashcode +
           "\", \"coordinates\": " + coordinates + "}";
}
} // namespace

class tst_ServeApi : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { m_shared = std::make_unique<SignedInPlatform>(); }
    // Takes what the shared server has logged, before its pipe is full.
    void cleanup() { QCoreApplication::processEvents(); }
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_qs)); }

    void callersThatAreRefused_data();
    void callersThatAreRefused();
    void projectInfo();
    void workflowsOfEachUser();
    void workflowsOfTheProject();
    void issuesAreKept();
    void issuesThatAreRefused_data();
    void issuesThatAreRefused();
    void contextsAndBindings();
    void picturesThatAreRefused_data();
    void picturesThatAreRefused();
    void bindingsThatAreRefused_data();
    void bindingsThatAreRefused();
    void hostileJson_data();
    void hostileJson();

private:
    std::unique_ptr<SignedInPlatform> m_shared; // for what is refused
};

void tst_ServeApi::callersThatAreRefused_data()
{
    const DVRows<QByteArray, QByteArray, bool> row("method", "target", "isForUsers");

    row("the ping", "GET", "/auth-api/v2/ping", false);
    row("project information", "GET", "/projects-api/v2/projects/garden", false);
    row("workflows", "GET", "/workflows-strings-api/v2/projects/garden/workflows", true);
    row("submitting", "PUT", submittedPath, true);
    row("rejecting", "PUT", "/workflows-strings-api/v2/projects/garden/rejectedStrings", true);
    row("exports", "GET", "/files-api/v2/projects/garden/locales/fr-CA/content/export?" + published, false);
    row("imports", "POST", importPath, true);
    row("issues", "POST", issuesPath, true);
    row("contexts", "POST", contextsPath, false);
    row("bindings", "POST", bindingsPath, false);
}

void tst_ServeApi::callersThatAreRefused()
{
    QFETCH(QByteArray, method);
    QFETCH(QByteArray, target);
    QFETCH(bool, isForUsers);
    auto &[folder, server, peer, token] = *m_shared;
    const QByteArray body = method == "GET" ? QByteArray() : QByteArray("{}");
    for (const QByteArray &header :
         {QByteArray(), QByteArray("Authorization: Bearer\r\n"), QByteArray("Authorization: Bearer abc\r\n"),
          QByteArray("Authorization: Basic YW5hOmdhcmRlbg==\r\n"),
          QByteArray("Authorization: Bearer " + QByteArray(60000, 'x') + "\r\n")}) {
        const HttpAnswer answer = server.request(method, target, header, body);
        QCOMPARE(answer.status, 401);
        QCOMPARE(PlatformPeer::code(answer), u"AUTHENTICATION_ERROR"_qs);
        QVERIFY(PlatformPeer::response(answer).value(u"errors"_qs).isArray());
        QVERIFY(answer.header("WWW-Authenticate").startsWith("Bearer"));
    }
    const QByteArray application = PlatformPeer::bearer(peer.applicationToken());
    QCOMPARE(server.request(method, target, application, body).status == 403, isForUsers);

    const QByteArray user = PlatformPeer::bearer(token);
    QVERIFY(server.request(method, target, user, body).status != 403);
    QCOMPARE(server.request("DELETE", target, user).status, 405);
    if (target.contains("garden")) {
        const QByteArray other = QByteArray(target).replace("garden", "other");
        QCOMPARE(server.request(method, other, user, body).status, 404);
    }
    if (target.contains("fr-CA")) {
        for (const char *locale : {"de", "en", "fr_CA", "..", "..%2F..%2Fsecret", "%00"})
            QCOMPARE(server.request(method, QByteArray(target).replace("fr-CA", locale), user, body).status,
                     404);
    }
}

void tst_ServeApi::projectInfo()
{
    auto [folder, server, peer] = ServedPlatform({{u"name"_qs, u"Garden diary"_qs}});
    for (const QByteArray &token : {peer.accessToken(), peer.applicationToken()}) {
        const HttpAnswer answer = peer.get("/projects-api/v2/projects/garden", token);
        QCOMPARE(answer.status, 200);
        QCOMPARE(PlatformPeer::code(answer), u"SUCCESS"_qs);
        const QJsonObject info = PlatformPeer::data(answer);
        QCOMPARE(info.value(u"projectId"_qs).toString(), u"garden"_qs);
        QCOMPARE(info.value(u"projectName"_qs).toString(), u"Garden diary"_qs);
        QCOMPARE(info.value(u"sourceLocaleId"_qs).toString(), u"en"_qs);
        QCOMPARE(info.value(u"sourceLocaleDescription"_qs).toString(), u"English"_qs);
        const QJsonArray locales = info.value(u"targetLocales"_qs).toArray();
        QCOMPARE(locales.size(), 2);
        QCOMPARE(locales.at(0).toObject(), (QJsonObject{{u"localeId"_qs, u"fr-CA"_qs},
                                                        {u"description"_qs, u"French (Canada)"_qs},
                                                        {u"enabled"_qs, true}}));
    }
}

void tst_ServeApi::workflowsOfEachUser()
{
    auto [folder, server, peer] = ServedPlatform();
    const auto rights = [&peer = peer](const QByteArray &token) {
        QStringList all;
        const QJsonArray items =
            PlatformPeer::data(peer.get("/workflows-strings-api/v2/projects/garden/workflows", token))
                .value(u"items"_qs)
                .toArray();
        for (const QJsonValue step : items.at(0)[u"workflowSteps"_qs].toArray()) {
            const QJsonObject permissions = step[u"permissions"_qs].toObject();
            QString right = step[u"workflowStepUid"_qs].toString();
            for (const char *name : {"canTranslateStrings", "canSubmitStrings", "canRejectStrings"})
                right += permissions.value(QLatin1StringView(name)).toBool() ? u" yes"_qs : u" no"_qs;
            all.append(right);
        }
        return all;
    };
    QCOMPARE(rights(peer.accessToken()),
             (QStringList{u"translation yes yes no"_qs, u"review yes yes yes"_qs}));
    QCOMPARE(rights(peer.accessToken(u"bea"_qs, u"b"_qs)),
             (QStringList{u"translation no yes no"_qs, u"review no yes no"_qs}));
}

void tst_ServeApi::workflowsOfTheProject()
{
    const PlatformProject folder;
    const QJsonArray given = QJsonDocument::fromJson(R"([
        {"workflowName": "Short", "workflowUid": "w1", "workflowSteps": [
            {"workflowStepName": "Only", "workflowStepUid": "only", "workflowStepClass": "POST_EDIT",
             "permissions": {"canTranslateStrings": true, "canSubmitStrings": false, "canRejectStrings": true},
             "localePairs": [{"sourceLocaleId": "en", "targetLocaleId": "fr-CA"}]}]},
        {"workflowName": "Empty", "workflowUid": "w2", "workflowSteps": []}])")
                                 .array();
    folder.setPeople({{u"workflows"_qs, given}});
    const ServeProcess server(folder.path());
    const PlatformPeer peer(server);
    const QByteArray token = peer.accessToken();
    const QJsonObject data =
        PlatformPeer::data(peer.get("/workflows-strings-api/v2/projects/garden/workflows", token));
    QCOMPARE(data.value(u"items"_qs).toArray(), given);
    QVERIFY(importErrors(peer.import(token, unit("hello", "Bonsoir", "only"))).isEmpty());
    // Polish has no step.
    QVERIFY(importErrors(peer.import(token, unit("hello", "Cześć"), "pl"))
                .value(u"hello"_qs)
                .join(u' ')
                .contains(u"no workflow step"));
}

void tst_ServeApi::issuesAreKept()
{
    auto [folder, server, peer, token] = SignedInPlatform();
    QStringList uids;
    for (const QString &said : {u"Trop long.\n\"{}\" 👩‍🌾"_qs, QString()}) {
        const HttpAnswer answer = peer.send(
            "POST", issuesPath, token,
            {{u"string"_qs, QJsonObject{{u"hashcode"_qs, u"leaves[one]"_qs}, {u"localeId"_qs, u"fr-CA"_qs}}},
             {u"issueText"_qs, said},
             {u"issueSubTypeCode"_qs, u"DOES_NOT_FIT_SPACE"_qs},
             {u"issueTypeCode"_qs, u"TRANSLATION"_qs}});
        QCOMPARE(answer.status, 200);
        uids.append(PlatformPeer::data(answer).value(u"issueUid"_qs).toString());
    }
    QVERIFY(!uids.at(0).isEmpty() && uids.at(0) != uids.at(1));
    const QList<QJsonObject> lines = folder.receivedLines(u"issues.jsonl"_qs);
    QCOMPARE(lines.size(), 2);
    QCOMPARE(lines.at(0).value(u"issueText"_qs).toString(), u"Trop long.\n\"{}\" 👩‍🌾"_qs);
    QCOMPARE(lines.at(0).value(u"key"_qs).toString(), u"Leaves"_qs);
    QCOMPARE(lines.at(0).value(u"hashcode"_qs).toString(), u"leaves"_qs);
    QCOMPARE(lines.at(0).value(u"by"_qs).toString(), u"ana"_qs);
    QCOMPARE(lines.at(1).value(u"issueUid"_qs).toString(), uids.at(1));
}

void tst_ServeApi::issuesThatAreRefused_data()
{
    const DVRows<QByteArray> row("body");
    const QByteArray good = R"({"string": {"hashcode": "hello", "localeId": "fr-CA"}, "issueText": "x",
                               "issueSubTypeCode": "GENERAL_ISSUE", "issueTypeCode": "TRANSLATION"})";
    const auto with = [&good](const char *what, const QByteArray &instead) {
        return QByteArray(good).replace(what, instead);
    };
    row("an unknown string", with("hello", "nothing"));
    row("an unknown locale", with("fr-CA", "de"));
    row("no string", with("\"string\"", "\"text\""));
    row("a string of another type", with(R"({"hashcode": "hello", "localeId": "fr-CA"})", "\"hello\""));
    row("a hashcode of another type", with("\"hello\"", "7"));
    row("no text", with("\"x\"", "null"));
    row("a text without end", with("\"x\"", '"' + QByteArray(10001, 'x') + '"'));
    row("no subtype", with("GENERAL_ISSUE", ""));
    row("another type", with("TRANSLATION", "COMPLAINT"));
    row("a list", "[]");
}

void tst_ServeApi::issuesThatAreRefused()
{
    QFETCH(QByteArray, body);
    auto &[folder, server, peer, token] = *m_shared;
    const HttpAnswer answer = server.request(
        "POST", issuesPath, PlatformPeer::bearer(token) + "Content-Type: application/json\r\n", body);
    QCOMPARE(answer.status, 400);
    QCOMPARE(PlatformPeer::code(answer), u"VALIDATION_ERROR"_qs);
    QVERIFY(folder.received(u"issues.jsonl"_qs).isEmpty());
}

void tst_ServeApi::contextsAndBindings()
{
    auto [folder, server, peer] = ServedPlatform();
    const QByteArray token = peer.applicationToken();
    const HttpAnswer answer = peer.upload(contextsPath, token, "content", picture());
    QCOMPARE(answer.status, 200);
    const QString uid = PlatformPeer::data(answer).value(u"contextUid"_qs).toString();
    QCOMPARE(folder.received(u"contexts/%1.png"_qs.arg(uid)), picture());

    const QByteArray context = uid.toLatin1();
    const HttpAnswer bound = peer.send(
        "POST", bindingsPath, token,
        parsed("{\"bindings\": [" + binding(context, "hello") + ", " + binding(context, "fresh") + "]}"));
    QCOMPARE(bound.status, 200);
    QCOMPARE(PlatformPeer::data(bound)[u"created"_qs][u"totalCount"_qs].toInt(), 2);
    const QList<QJsonObject> lines = folder.receivedLines(u"contexts/bindings.jsonl"_qs);
    QCOMPARE(lines.size(), 2);
    QCOMPARE(lines.at(0).value(u"contextUid"_qs).toString(), uid);
    QCOMPARE(lines.at(0).value(u"stringHashcode"_qs).toString(), u"hello"_qs);
    QCOMPARE(lines.at(0).value(u"coordinates"_qs).toObject(),
             (QJsonObject{{u"top"_qs, 1.5}, {u"left"_qs, 0}, {u"height"_qs, 20}, {u"width"_qs, 300}}));

    // Interlaced: four bytes a pixel; 5 by 3 pixels take part in six of the seven passes.
    const QByteArray interlaced("\x08\x06\x00\x00\x01", 5);
    const qsizetype bytes = (1 + 4) + (1 + 4) + 0 + (1 + 4) + (1 + 12) + 2 * (1 + 8) + (1 + 20);
    QCOMPARE(
        peer.upload(contextsPath, token, "content", png(5, 3, QByteArray(bytes, '\0'), interlaced)).status,
        200);
}

void tst_ServeApi::picturesThatAreRefused_data()
{
    const DVRows<QByteArray> row("content");
    const QByteArray good = picture();
    QByteArray damaged = good;
    damaged[40] = char(damaged[40] + 1);
    row("nothing", "");
    row("text", "not a picture");
    row("another format", QByteArray("GIF89a") + good);
    row("the signature only", good.first(8));
    row("half of it", good.first(good.size() / 2));
    row("all but its end", good.chopped(12));
    row("something behind its end", good + "<script>");
    row("a bit that changed", damaged);
    row("no pixels", png(0, 2, "", greyFormat));
    row("too few pixels", png(3, 2, QByteArray(7, '\0'), greyFormat));
    row("too many pixels", png(3, 2, QByteArray(9, '\0'), greyFormat));
    row("a bomb: few pixels, 512 MB of them", png(3, 2, QByteArray(512 << 20, '\0'), greyFormat));
    row("a bomb: more pixels than memory", png(0x7FFFFFFF, 0x7FFFFFFF, "", greyFormat));
    row("sizes beyond the format", png(0xFFFFFFFF, 1, "", greyFormat));
    row("a depth that there is not", png(3, 2, QByteArray("\0abc\0def", 8), QByteArray("\x07\0\0\0\0", 5)));
    row("a colour type that there is not", png(3, 2, "", QByteArray("\x08\x05\0\0\0", 5)));
    row("a chunk longer than the file",
        QByteArray("\x89PNG\r\n\x1A\n") + QByteArray("\xFF\xFF\xFF\xFF", 4) + "IHDR" + QByteArray(30, '\0'));
    row("another first chunk", QByteArray("\x89PNG\r\n\x1A\n") + chunk("IDAT", "x") + chunk("IEND", {}));
}

void tst_ServeApi::picturesThatAreRefused()
{
    QFETCH(QByteArray, content);
    auto &[folder, server, peer, token] = *m_shared;
    const auto kept = [path = QString(folder.path() + u"/received/contexts"_qs)] {
        return QDir(path).entryList(); // a QDir remembers what it listed
    };
    const QStringList before = kept();
    const HttpAnswer answer = peer.upload(contextsPath, token, "content", content);
    QCOMPARE(answer.status, 400);
    QCOMPARE(PlatformPeer::code(answer), u"VALIDATION_ERROR"_qs);
    QCOMPARE(kept(), before);
    QCOMPARE(peer.upload(contextsPath, token, "content", picture()).status, 200);
}

void tst_ServeApi::bindingsThatAreRefused_data()
{
    QTest::addColumn<QByteArray>("body"); // UID stands for a context
    const auto row = [](const char *name, const QByteArray &bindings) {
        QTest::newRow(name) << "{\"bindings\": " + bindings + "}";
    };
    const QByteArray good = binding("UID", "hello");
    row("none", "[]");
    row("no list", good);
    row("texts", "[\"x\"]");
    row("an unknown context", "[" + binding(QByteArray(32, 'a'), "hello") + "]");
    row("a path as context", "[" + binding("../../project", "hello") + "]");
    row("a path to a picture", "[" + binding("../contexts/UID", "hello") + "]");
    row("a zero byte", "[" + binding("UID\\u0000", "hello") + "]");
    row("an unknown string", "[" + binding("UID", "nothing") + "]");
    row("a good and a bad one", "[" + good + ", " + binding("UID", "nothing") + "]");
    row("no coordinates", "[{\"contextUid\": \"UID\", \"stringHashcode\": \"hello\"}]");
    row("coordinates that are texts",
        "[" + binding("UID", "hello", R"({"top": "1", "left": 0, "height": 2, "width": 3})") + "]");
    row("one coordinate less", "[" + binding("UID", "hello", R"({"top": 1, "left": 0, "height": 2})") + "]");
    row("a negative width",
        "[" + binding("UID", "hello", R"({"top": 1, "left": 0, "height": 2, "width": -3})") + "]");
    row("a coordinate without end",
        "[" + binding("UID", "hello", R"({"top": 1e300, "left": 0, "height": 2, "width": 3})") + "]");
    row("too many", "[" + QByteArray(good + ", ").repeated(10000) + good + "]");
}

void tst_ServeApi::bindingsThatAreRefused()
{
    QFETCH(QByteArray, body);
    auto &[folder, server, peer, token] = *m_shared;
    const QString uid = PlatformPeer::data(peer.upload(contextsPath, token, "content", picture()))
                            .value(u"contextUid"_qs)
                            .toString();
    const HttpAnswer answer = server.request(
        "POST", bindingsPath, PlatformPeer::bearer(token) + "Content-Type: application/json\r\n",
        body.replace("UID", uid.toLatin1()));
    QCOMPARE(answer.status, 400);
    QCOMPARE(PlatformPeer::code(answer), u"VALIDATION_ERROR"_qs);
    QVERIFY(folder.received(u"contexts/bindings.jsonl"_qs).isEmpty());
}

void tst_ServeApi::hostileJson_data()
{
    const DVRows<QByteArray, QByteArray> add("contentType", "body");
    const QByteArray json = "application/json";
    const auto row = [&json](const char *name, const QByteArray &body) {
        QTest::newRow(name) << json << body;
    };
    row("nothing", "");
    row("deep lists", QByteArray(100000, '['));
    row("deep objects", QByteArray("{\"a\":").repeated(100000));
    row("no object", "[]");
    row("a number", "7");
    row("half an object", R"({"localeId": "fr-CA", "strings": [)");
    row("no UTF-8", "{\"localeId\": \"\xff\xfe\"}");
    row("no locale", R"({"strings": []})");
    row("an unknown locale", R"({"localeId": "de", "strings": []})");
    row("a path as locale", R"({"localeId": "../../x", "strings": []})");
    row("strings that are texts", R"({"localeId": "fr-CA", "strings": ["hello"]})");
    row("strings in an object", R"({"localeId": "fr-CA", "strings": {"hashcode": "hello"}})");
    row("a hashcode that is a number",
        R"({"localeId": "fr-CA", "strings": [{"hashcode": 7, "currentWorkflowStepUid": "review"}]})");
    row("no step", R"({"localeId": "fr-CA", "strings": [{"hashcode": "hello"}]})");
    row("a step that is null",
        R"({"localeId": "fr-CA", "strings": [{"hashcode": "hello", "currentWorkflowStepUid": null}]})");
    row("a million strings",
        "{\"localeId\": \"fr-CA\", \"strings\": [" + QByteArray("{},").repeated(1000000) + "{}]}");
    add("a form", "application/x-www-form-urlencoded", "localeId=fr-CA");
    add("no type", {}, R"({"localeId": "fr-CA", "strings": []})");
}

void tst_ServeApi::hostileJson()
{
    QFETCH(QByteArray, contentType);
    QFETCH(QByteArray, body);
    auto &[folder, server, peer, token] = *m_shared;
    const QByteArray type = contentType.isEmpty() ? QByteArray() : "Content-Type: " + contentType + "\r\n";
    for (const QByteArray &target :
         {submittedPath, QByteArray("/workflows-strings-api/v2/projects/garden/rejectedStrings")}) {
        const HttpAnswer answer = server.request("PUT", target, PlatformPeer::bearer(token) + type, body);
        QCOMPARE(answer.status, 400);
        QVERIFY(!PlatformPeer::response(answer).value(u"errors"_qs).toArray().isEmpty());
        QVERIFY(answer.body.size() < 100000);
    }
    for (const QByteArray &target : {issuesPath, bindingsPath, QByteArray("/auth-api/v2/authenticate")})
        QCOMPARE(server.request("POST", target, PlatformPeer::bearer(token) + type, body).status, 400);
    QVERIFY(folder.received(u"statuses.jsonl"_qs).isEmpty());
}

QTEST_GUILESS_MAIN(tst_ServeApi)
#include "tst_serve_api.moc"
