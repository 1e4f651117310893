// A picture with its strings, uploaded to a server, and the usage event that tells of it.
#include "ApiPlatform.h"
#include "DVApi.h"

#include <QNetworkReply>

using Answer = DVFaultServer::Answer;

namespace {

const QByteArray png = QByteArrayLiteral("\x89PNG\r\n\x1a\n--not a boundary--\r\n\0\xff");

// The last "Context Capture" among the recorded events, without the properties of every event.
QVariantMap capturedEvent()
{
    DVAnalytics::sharedInstance().drain();
    const QJsonDocument saved =
        QJsonDocument::fromJson(ApiPlatform::contentOf(DVAnalytics::sharedInstance().saveFilePath()));
    QVariantMap found;
    const QJsonArray events = saved.object().value(u"events").toArray();
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
    int m_calls = 0;
    DVErrorOr m_error;
};

void tst_ApiContext::init()
{
    m_platform = std::make_unique<ApiPlatform>();
    // Recorded, but not sent: that was done just now.
    QVERIFY(DVFolders::makePrivateFolder(DVFolders::dorvaneFiles()));
    QFile events(DVAnalytics::sharedInstance().saveFilePath());
    QVERIFY(events.open(QIODevice::WriteOnly));
    events.write("{\"lastSent\":" + QByteArray::number(DVClock::secondsSince1970(), 'f', 0) + '}');
    events.close();
    DVAnalytics::sharedInstance().forgetLoaded();
    DVState::shared().analyticsEnabled = true;
    DVState::shared().editionMode = false;
    m_calls = 0;
    m_error.reset();
}

DVContextPicture tst_ApiContext::picture(const QStringList &uids) const
{
    DVContextPicture picture;
    for (const QString &uid : uids)
        picture.strings.append({u"key of "_qs + uid, uid, QRectF(1.5, 2, 30, 40)});
    picture.saveImage = [path = m_platform->path(u"picture.png"_qs)] {
        QFile file(path);
        return file.open(QIODevice::WriteOnly) && file.write(png) == png.size() ? path : QString();
    };
    return picture;
}

void tst_ApiContext::upload(const DVContextPicture &picture, const DVTransferPtr &transfer)
{
    DVApi::uploadContext(
        picture,
        [this](const DVErrorOr &error) {
            ++m_calls;
            m_error = error;
        },
        transfer);
}

void tst_ApiContext::pictureAndBindings()
{
    m_platform->answer(ApiPlatform::success(R"({"contextUid":"c-1"})"));
    DVContextPicture shown = picture({u"abc[one]"_qs, {}, u"def"_qs});
    shown.strings[2].frame = QRectF(0, -7.25, 1e6, 0);
    upload(shown);
    QCOMPARE(m_calls, 0);
    QTRY_COMPARE(m_calls, 1);
    QVERIFY(!m_error);
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
    QTest::addColumn<QStringList>("uids");
    QTest::addColumn<bool>("saved");
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("description");
    QTest::addColumn<QString>("event");
    QTest::newRow("without strings") << QStringList() << true << 404 << u"No strings in screenshot"_qs
                                     << u"No strings in screenshot"_qs;
    QTest::newRow("without strings that the platform knows")
        << QStringList{QString(), QString()} << true << 500 << u"No string UIDs provided"_qs
        << u"No string UIDs"_qs;
    QTest::newRow("that could not be saved")
        << QStringList{QString(), u"a"_qs} << false << 500 << u"Screenshot could not be saved"_qs
        << u"Screenshot could not be saved"_qs;
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
    QCOMPARE(m_calls, 0);
    QTRY_COMPARE(m_calls, 1);
    QCOMPARE(m_error, (DVError{u"dorvane.SDK"_qs, code, description}));
    QCOMPARE(capturedEvent(), failureEvent(int(uids.size()), event));
    QCOMPARE(m_platform->requestLines(), QStringList());

    shown.saveImage = nullptr;
    upload(shown);
    QTRY_COMPARE(m_calls, 2);
    QCOMPARE(m_error->description, description);
}

void tst_ApiContext::answersWithoutAContext_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("answer");
    QTest::addColumn<QString>("description");
    const QString none = u"No Screenshot UID provided"_qs;
    QTest::newRow("no body") << 200 << QByteArray() << none;
    QTest::newRow("a list") << 200 << QByteArray("[]") << none;
    QTest::newRow("no envelope") << 200 << QByteArray(R"({"contextUid":"c-1"})") << none;
    QTest::newRow("no data") << 200 << QByteArray(R"({"response":{"code":"SUCCESS"}})") << none;
    QTest::newRow("data that is a text") << 200 << QByteArray(R"({"response":{"data":"c-1"}})") << none;
    QTest::newRow("no identifier") << 200 << QByteArray(R"({"response":{"data":{}}})") << none;
    QTest::newRow("an empty identifier")
        << 200 << QByteArray(R"({"response":{"data":{"contextUid":""}}})") << none;
    QTest::newRow("an identifier that is an object")
        << 200 << QByteArray(R"({"response":{"data":{"contextUid":{"a":1}}}})") << none;
    QTest::newRow("a refusal") << 413 << QByteArray(R"({"response":{"code":"MAX_SIZE","errors":[]}})")
                               << u"MAX_SIZE"_qs;
}

void tst_ApiContext::answersWithoutAContext()
{
    QFETCH(int, status);
    QFETCH(QByteArray, answer);
    QFETCH(QString, description);
    m_platform->answer(Answer::of(status, answer));
    upload(picture({u"a"_qs}));
    QTRY_COMPARE(m_calls, 1);
    QCOMPARE(m_error, (DVError{u"dorvane.API"_qs, status == 200 ? 500 : status, description}));
    QCOMPARE(capturedEvent(), failureEvent(1, description));
    QCOMPARE(m_platform->requests().size(), 1);
}

void tst_ApiContext::failedBindings()
{
    upload(picture({u"a"_qs}));
    m_platform->server.setHandler({});
    // The token of the application, the picture, the bindings.
    m_platform->server.enqueue(
        ApiPlatform::success(R"({"accessToken":"api-token","expiresIn":300,)"
                             R"("refreshToken":"api-refresh","refreshExpiresIn":300})"));
    m_platform->server.enqueue(ApiPlatform::success(R"({"contextUid":"c-1"})"));
    m_platform->server.enqueue(Answer::of(500, R"({"response":{"code":"GENERAL_ERROR","errors":[]}})"));
    QTRY_COMPARE(m_calls, 1);
    QCOMPARE(m_error, (DVError{u"dorvane.API"_qs, 500, u"GENERAL_ERROR"_qs}));
    QCOMPARE(capturedEvent(), failureEvent(1, u"GENERAL_ERROR"_qs));
}

void tst_ApiContext::identifiersThatNameNothing()
{
    m_platform->answer(ApiPlatform::success(R"({"contextUid":"c-1"})"));
    upload(picture({u"[one]"_qs, u"[other]"_qs}));
    QTRY_COMPARE(m_calls, 1);
    QCOMPARE(m_error, (DVError{u"dorvane.API"_qs, 500, u"Bindings not created, unknown strings"_qs}));
    QCOMPARE(capturedEvent(), failureEvent(2, u"Bindings not created, unknown strings"_qs));
    QCOMPARE(m_platform->requests().size(), 1);
}

void tst_ApiContext::cancelledUpload_data()
{
    QTest::addColumn<int>("requestsBefore"); // that have arrived when the user cancels
    QTest::newRow("in the picture") << 1;
    QTest::newRow("in the bindings") << 2;
}

void tst_ApiContext::cancelledUpload()
{
    QFETCH(int, requestsBefore);
    bool signedIn = false;
    DVAPISession::sharedInstance().getTokenWithCompletion([&](const DVErrorOr &) { signedIn = true; });
    QTRY_VERIFY(signedIn);
    if (requestsBefore == 2)
        m_platform->server.enqueue(ApiPlatform::success(R"({"contextUid":"c-1"})"));
    m_platform->server.enqueue(Answer::failing(DVFaultServer::Fault::Silence));
    const auto transfer = std::make_shared<DVTransfer>();
    upload(picture({u"a"_qs}), transfer);
    QTRY_COMPARE(m_platform->requests().size(), requestsBefore);
    transfer->cancel();
    QTRY_COMPARE(m_calls, 1);
    QCOMPARE(m_error->code, int(QNetworkReply::OperationCanceledError));
    QCOMPARE(m_platform->requests().size(), requestsBefore);
    QCOMPARE(capturedEvent().value(u"Success"_qs), false);
}

void tst_ApiContext::stringsAreLoggedForDebugging()
{
    m_platform->answer(ApiPlatform::success(R"({"contextUid":"c-1"})"));
    m_platform->takeLog();
    upload(picture({u"a"_qs}));
    QTRY_COMPARE(m_calls, 1);
    QCOMPARE(m_platform->takeLog().filter(u"screenshot"_qs), QStringList());
    DVState::shared().debug = true;
    upload(picture({u"a"_qs}));
    QCOMPARE(
        m_platform->takeLog().filter(u"screenshot"_qs),
        QStringList{u"Took screenshot with strings (<DVScreenshotString key of a {{1.5, 2}, {30, 40}}>)"_qs});
    QTRY_COMPARE(m_calls, 2);
}

QTEST_GUILESS_MAIN(tst_ApiContext)
#include "tst_apicontext.moc"
