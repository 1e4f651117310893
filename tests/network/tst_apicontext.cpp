// A picture with its strings, uploaded to a server, and the usage event that tells of it.
#include "ApiPlatform.h"
#include "DVApi.h"
#include "DVRows.h"

#include <QNetworkReply>

using Answer = DVFaultServer::Answer;

namespace {

const QByteArray png = QByteArrayLiteral("\x89PNG\r\n\x1a\n--not a boundary--\r\n\0\xff");

// The last "Context Capture" among the recorded events, without the properties of every event.
QVariantMap capturedEvent()
{
    QVariantMap found;
    const QJsonArray events = ApiPlatform::recordedEvents();
    for (const QJsonValue event : events) {
        if (event[u"event"].toString() != u"Context Capture")
            continue;
        const QVariantMap properties = event[u"properties"].toObject().toVariantMap();
        found = {{u"times"_qs, found.value(u"times"_qs).toInt() + 1}};
        for (const QString &name : {u"NumberOfStrings"_qs, u"Success"_qs, u"Error"_qs}) {
            if (properties.contains(name))
                found.insert(name, properties.value(name));
        }
    }
    return found;
}

QVariantMap failureEvent(int strings, const QString &error)
{
    return {{u"times"_qs, 1}, {u"NumberOfStrings"_qs, strings}, {u"Success"_qs, false}, {u"Error"_qs, error}};
}

} // namespace

class tst_ApiContext : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup() { m_platform.reset(); }

    void pictureAndBindings();
    void picturesThatAreNotSent_data();
    void picturesThatAreNotSent();
    void answersWithoutAContext_data();
    void answersWithoutAContext();
    void failedBindings();
    void identifiersThatNameNothing();
    void cancelledUpload_data();
    void cancelledUpload();
    void stringsAreLoggedForDebugging();

private:
    DVContextPicture picture(const QStringList &uids) const;
    void upload(const DVContextPicture &picture, const DVTransferPtr &transfer = {});

    std::unique_ptr<ApiPlatform> m_platform;
    DVOutcome<> m_outcome;
};

void tst_ApiContext::init()
{
    m_platform = std::make_unique<ApiPlatform>();
    ApiPlatform::recordEvents();
    DVState::shared().editionMode = false;
    m_outcome = {};
}

DVContextPicture tst_ApiContext::picture(const QStringList &uids) const
{
    DVContextPicture picture;
    for (const QString &uid : uids)
        picture.strings.append({u"key of "_qs + uid, uid, QRectF(1.5, 2, 30, 40)});
    picture.saveImage = [path = m_platform->path(u"picture.png"_qs)] {
        ApiPlatform::write(path, png);
        return path;
    };
    return picture;
}

void tst_ApiContext::upload(const DVContextPicture &picture, const DVTransferPtr &transfer)
{
    DVApi::uploadContext(picture, m_outcome.take(), transfer);
}

void tst_ApiContext::pictureAndBindings()
{
    m_platform->answer(ApiPlatform::success(R"({"contextUid":"c-1"})"));
    DVContextPicture shown = picture({u"abc[one]"_qs, {}, u"def"_qs});
    shown.strings[2].frame = QRectF(0, -7.25, 1e6, 0);
    upload(shown);
    QCOMPARE(m_outcome->calls, 0);
    QTRY_COMPLETED(m_outcome);
    QVERIFY(!m_outcome->error);
    QCOMPARE(m_platform->requestLines(),
             (QStringList{u"POST /context-api/v2/projects/p1/contexts Bearer api-token"_qs,
                          u"POST /context-api/v2/projects/p1/bindings Bearer api-token"_qs}));
    const auto file = ApiPlatform::uploadedFile(m_platform->requests().first());
    QVERIFY2(file.disposition.startsWith("form-data; name=\"content\"; filename=\"/"),
             file.disposition.constData());
    QVERIFY2(file.disposition.endsWith("/picture.png\""), file.disposition.constData());
    QCOMPARE(file.type, QByteArray("image/png"));
    QCOMPARE(file.content, png);
    QCOMPARE(m_platform->lastJsonBody(), QJsonDocument::fromJson(R"({"bindings":[
        {"contextUid":"c-1","stringHashcode":"abc","coordinates":{"top":2,"left":1.5,"height":40,"width":30}},
        {"contextUid":"c-1","stringHashcode":"def","coordinates":{"top":-7.25,"left":0,"height":0,"width":1000000}}
        ]})")
                                             .object());
    QCOMPARE(capturedEvent(),
             (QVariantMap{{u"times"_qs, 1}, {u"NumberOfStrings"_qs, 3}, {u"Success"_qs, true}}));
}

void tst_ApiContext::picturesThatAreNotSent_data()
{
    const DVRows<QStringList, bool, int, QString, QString> row("uids", "saved", "code", "description",
                                                               "event");
    row("without strings", {}, true, 404, u"No strings in screenshot"_qs, u"No strings in screenshot"_qs);
    row("without strings that the platform knows", {QString(), QString()}, true, 500,
        u"No string UIDs provided"_qs, u"No string UIDs"_qs);
    row("that could not be saved", {QString(), u"a"_qs}, false, 500, u"Screenshot could not be saved"_qs,
        u"Screenshot could not be saved"_qs);
}

void tst_ApiContext::picturesThatAreNotSent()
{
    QFETCH(QStringList, uids);
    QFETCH(bool, saved);
    QFETCH(int, code);
    QFETCH(QString, description);
    QFETCH(QString, event);
    DVContextPicture shown = picture(uids);
    if (!saved)
        shown.saveImage = [] { return QString(); };
    upload(shown);
    QCOMPARE(m_outcome->calls, 0);
    QTRY_COMPLETED(m_outcome);
    QCOMPARE(m_outcome->error, (DVError{u"dorvane.SDK"_qs, code, description}));
    QCOMPARE(capturedEvent(), failureEvent(int(uids.size()), event));
    QCOMPARE(m_platform->requestLines(), QStringList());

    shown.saveImage = nullptr;
    upload(shown);
    QTRY_COMPARE(m_outcome->calls, 2);
    QCOMPARE(m_outcome->error->description, description);
}

void tst_ApiContext::answersWithoutAContext_data()
{
    const DVRows<int, QByteArray, QString> row("status", "answer", "description");
    const QString none = u"No Screenshot UID provided"_qs;
    row("no body", 200, {}, none);
    row("a list", 200, "[]", none);
    row("no envelope", 200, R"({"contextUid":"c-1"})", none);
    row("no data", 200, R"({"response":{"code":"SUCCESS"}})", none);
    row("data that is a text", 200, R"({"response":{"data":"c-1"}})", none);
    row("no identifier", 200, R"({"response":{"data":{}}})", none);
    row("an empty identifier", 200, R"({"response":{"data":{"contextUid":""}}})", none);
    row("an identifier that is an object", 200, R"({"response":{"data":{"contextUid":{"a":1}}}})", none);
    row("a refusal", 413, R"({"response":{"code":"MAX_SIZE","errors":[]}})", u"MAX_SIZE"_qs);
}

void tst_ApiContext::answersWithoutAContext()
{
    QFETCH(int, status);
    QFETCH(QByteArray, answer);
    QFETCH(QString, description);
    m_platform->answer(Answer::of(status, answer));
    upload(picture({u"a"_qs}));
    QTRY_COMPLETED(m_outcome);
    QCOMPARE(m_outcome->error, (DVError{u"dorvane.API"_qs, status == 200 ? 500 : status, description}));
    QCOMPARE(capturedEvent(), failureEvent(1, description));
    QCOMPARE(m_platform->requests().size(), 1);
}

void tst_ApiContext::failedBindings()
{
    ApiPlatform::signInApi();
    m_platform->server.enqueue(ApiPlatform::success(R"({"contextUid":"c-1"})"));
    m_platform->server.enqueue(Answer::of(500, R"({"response":{"code":"GENERAL_ERROR","errors":[]}})"));
    upload(picture({u"a"_qs}));
    QTRY_COMPLETED(m_outcome);
    QCOMPARE(m_outcome->error, (DVError{u"dorvane.API"_qs, 500, u"GENERAL_ERROR"_qs}));
    QCOMPARE(capturedEvent(), failureEvent(1, u"GENERAL_ERROR"_qs));
}

void tst_ApiContext::identifiersThatNameNothing()
{
    m_platform->answer(ApiPlatform::success(R"({"contextUid":"c-1"})"));
    upload(picture({u"[one]"_qs, u"[other]"_qs}));
    QTRY_COMPLETED(m_outcome);
    QCOMPARE(m_outcome->error,
             (DVError{u"dorvane.API"_qs, 500, u"Bindings not created, unknown strings"_qs}));
    QCOMPARE(capturedEvent(), failureEvent(2, u"Bindings not created, unknown strings"_qs));
    QCOMPARE(m_platform->requests().size(), 1);
}

void tst_ApiContext::cancelledUpload_data()
{
    // requestsBefore: that have arrived when the user cancels
    const DVRows<int> row("requestsBefore");
    row("in the picture", 1);
    row("in the bindings", 2);
}

void tst_ApiContext::cancelledUpload()
{
    QFETCH(int, requestsBefore);
    ApiPlatform::signInApi();
    if (requestsBefore == 2)
        m_platform->server.enqueue(ApiPlatform::success(R"({"contextUid":"c-1"})"));
    m_platform->server.enqueue(Answer::failing(DVFaultServer::Fault::Silence));
    const auto transfer = std::make_shared<DVTransfer>();
    upload(picture({u"a"_qs}), transfer);
    QTRY_COMPARE(m_platform->requests().size(), requestsBefore);
    transfer->cancel();
    QTRY_COMPLETED(m_outcome);
    QCOMPARE(m_outcome->error->code, int(QNetworkReply::OperationCanceledError));
    QCOMPARE(m_platform->requests().size(), requestsBefore);
    QCOMPARE(capturedEvent().value(u"Success"_qs), false);
}

void tst_ApiContext::stringsAreLoggedForDebugging()
{
    m_platform->answer(ApiPlatform::success(R"({"contextUid":"c-1"})"));
    m_platform->takeLog();
    upload(picture({u"a"_qs}));
    QTRY_COMPLETED(m_outcome);
    QCOMPARE(m_platform->takeLog().filter(u"screenshot"_qs), QStringList());
    DVState::shared().debug = true;
    upload(picture({u"a"_qs}));
    QCOMPARE(
        m_platform->takeLog().filter(u"screenshot"_qs),
        QStringList{u"Took screenshot with strings (<DVScreenshotString key of a {{1.5, 2}, {30, 40}}>)"_qs});
    QTRY_COMPARE(m_outcome->calls, 2);
}

QTEST_GUILESS_MAIN(tst_ApiContext)
#include "tst_apicontext.moc"
