// The platform's project information, workflows and translations, asked of a server.
#include "ApiPlatform.h"
#include "DVApi.h"
#include "DVNetwork.h"

#include <QNetworkReply>

using Answer = DVFaultServer::Answer;

namespace {

// What a completion carried, how often.
template<typename Result> struct Outcome
{
    int calls = 0;
    DVErrorOr error;
    std::optional<Result> result;

    auto take()
    {
        return [this](const DVErrorOr &why, const std::optional<Result> &what) {
            ++calls;
            error = why;
            result = what;
        };
    }
};

const DVError serverError{u"dorvane.API"_qs, 500, u"Server error"_qs};

} // namespace

class tst_Api : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { m_platform = std::make_unique<ApiPlatform>(); }
    void cleanup() { m_platform.reset(); }

    void projectInfoIsAskedByWhoeverMayAsk_data();
    void projectInfoIsAskedByWhoeverMayAsk();
    void projectInfoIsKept();
    void workflowsAreListedAndKept();
    void answersThatCannotBeRead_data();
    void answersThatCannotBeRead();
    void nothingIsKeptForTheNextUser_data();
    void nothingIsKeptForTheNextUser();
    void namesInPathsAreEscaped();
    void translationsComeInTwoFiles_data();
    void translationsComeInTwoFiles();
    void cancelledDownloadsStop_data();
    void cancelledDownloadsStop();
    void downloadOutlivesItsCaller();

private:
    std::unique_ptr<ApiPlatform> m_platform;
};

void tst_Api::projectInfoIsAskedByWhoeverMayAsk_data()
{
    QTest::addColumn<bool>("review");
    QTest::addColumn<QString>("request");
    QTest::newRow("in review the translator")
        << true << u"GET /projects-api/v2/projects/p1 Bearer user-token"_qs;
    QTest::newRow("else the application") << false << u"GET /projects-api/v2/projects/p1 Bearer api-token"_qs;
}

void tst_Api::projectInfoIsAskedByWhoeverMayAsk()
{
    QFETCH(bool, review);
    DVState::shared().editionMode = review;
    m_platform->answer(
        ApiPlatform::success(R"({"projectName":"Shop","targetLocales":[{"localeId":"fr-CA"}]})"));
    Outcome<QJsonObject> outcome;
    DVApi::projectInfoWithCompletion(outcome.take());
    QCOMPARE(outcome.calls, 0);
    QTRY_COMPARE(outcome.calls, 1);
    QVERIFY(!outcome.error);
    QCOMPARE(outcome.result->value(u"projectName").toString(), u"Shop"_qs);
    QTEST(m_platform->requestLines().join(u'\n'), "request");
    QVERIFY(!DVSession::sharedInstance().projectInfo);
}

void tst_Api::projectInfoIsKept()
{
    m_platform->answer(ApiPlatform::success(R"({"projectName":"Shop"})"));
    Outcome<QJsonObject> first;
    DVApi::projectInfoForce(false, first.take());
    QTRY_COMPARE(first.calls, 1);

    m_platform->answer(ApiPlatform::success(R"({"projectName":"New shop"})"));
    Outcome<QJsonObject> kept;
    DVApi::projectInfoForce(false, kept.take());
    QCOMPARE(kept.calls, 0);
    QTRY_COMPARE(kept.calls, 1);
    QCOMPARE(kept.result->value(u"projectName").toString(), u"Shop"_qs);
    QCOMPARE(m_platform->requests().size(), 1);

    m_platform->answer(Answer::of(500, R"({"response":{"code":"VALIDATION_ERROR","errors":[]}})"));
    Outcome<QJsonObject> failed;
    DVApi::projectInfoForce(true, failed.take());
    QTRY_COMPARE(failed.calls, 1);
    QCOMPARE(failed.error, (DVError{u"dorvane.API"_qs, 500, u"VALIDATION_ERROR"_qs}));
    QVERIFY(!failed.result);
    QCOMPARE(DVSession::sharedInstance().projectInfo->value(u"projectName").toString(), u"Shop"_qs);

    m_platform->answer(ApiPlatform::success(R"({"projectName":"New shop"})"));
    Outcome<QJsonObject> forced;
    DVApi::projectInfoForce(true, forced.take());
    QTRY_COMPARE(forced.calls, 1);
    QCOMPARE(DVSession::sharedInstance().projectInfo->value(u"projectName").toString(), u"New shop"_qs);
    QCOMPARE(m_platform->requestLines().count(u"GET /projects-api/v2/projects/p1 Bearer user-token"_qs), 3);
}

void tst_Api::workflowsAreListedAndKept()
{
    // fy-NL is no locale of the platform's.
    m_platform->answer(ApiPlatform::success(R"({"totalCount":1,"items":[{
        "workflowName":"Standard","workflowUid":"w-1","workflowSteps":[
          {"workflowStepName":"Translation","workflowStepUid":"step-1","workflowStepClass":"TRANSLATION",
           "permissions":{"canTranslateStrings":true,"canSubmitStrings":true,"canRejectStrings":false},
           "localePairs":[{"sourceLocaleId":"en-US","targetLocaleId":"fr-CA"},
                          {"sourceLocaleId":"en-US","targetLocaleId":"fy-NL"}]},
          {"workflowStepName":"Review","workflowStepUid":"step-2"}]}]})"));
    Outcome<QList<DVWorkflowStep>> outcome;
    DVApi::projectWorkflowsForce(false, outcome.take());
    QTRY_COMPARE(outcome.calls, 1);
    QVERIFY(!outcome.error);

    DVWorkflowStep translation;
    translation.workflowName = u"Standard"_qs;
    translation.workflowUid = u"w-1"_qs;
    translation.name = u"Translation"_qs;
    translation.uid = u"step-1"_qs;
    translation.stepClass = u"TRANSLATION"_qs;
    translation.canTranslate = translation.canSubmit = true;
    translation.localePairs = {{DVLocale(u"en_US"_qs), DVLocale(u"fr_CA"_qs)}};
    DVWorkflowStep review;
    review.workflowName = u"Standard"_qs;
    review.workflowUid = u"w-1"_qs;
    review.name = u"Review"_qs;
    review.uid = u"step-2"_qs;
    const QList<DVWorkflowStep> steps{translation, review};
    QVERIFY(outcome.result == steps);

    Outcome<QList<DVWorkflowStep>> kept;
    DVApi::projectWorkflowsForce(false, kept.take());
    QTRY_COMPARE(kept.calls, 1);
    QVERIFY(kept.result == steps);
    DVApi::projectWorkflowsForce(true, {});
    QTRY_COMPARE(m_platform->requestLines(),
                 QStringList(2, u"GET /workflows-strings-api/v2/projects/p1/workflows Bearer user-token"_qs));
}

void tst_Api::answersThatCannotBeRead_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QString>("domain");
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("description");
    const auto row = [](const char *name, const QByteArray &body) {
        QTest::newRow(name) << 200 << body << u"dorvane.API"_qs << 500 << u"Server error"_qs;
    };
    row("no body", "");
    row("a list", "[]");
    row("an object that is no envelope", R"({"code":"SUCCESS","data":{}})");
    row("a response that is a text", R"({"response":"SUCCESS"})");
    row("a response that is null", R"({"response":null})");
    row("no data", R"({"response":{"code":"SUCCESS"}})");
    row("data that is null", R"({"response":{"code":"SUCCESS","data":null}})");
    row("data that is a list", R"({"response":{"code":"SUCCESS","data":[{}]}})");
    row("data that is a number", R"({"response":{"code":"SUCCESS","data":1}})");
    QTest::newRow("a list of not found")
        << 404 << QByteArray("[]") << u"dorvane.API"_qs << 500 << u"Server error"_qs;
    QTest::newRow("a list of errors")
        << 400 << QByteArray(R"({"response":{"code":"VALIDATION_ERROR","errors":[1,2]}})")
        << u"dorvane.SDK.server"_qs << 400 << u"2 errors"_qs;
    QTest::newRow("a page that is not found")
        << 404 << QByteArray() << u"dorvane.API"_qs << 404 << u"Server error"_qs;
}

void tst_Api::answersThatCannotBeRead()
{
    QFETCH(int, status);
    QFETCH(QByteArray, body);
    QFETCH(QString, domain);
    QFETCH(int, code);
    QFETCH(QString, description);
    m_platform->answer(Answer::of(status, body));
    Outcome<QJsonObject> info;
    Outcome<QJsonObject> sessionInfo;
    Outcome<QList<DVWorkflowStep>> workflows;
    DVApi::projectInfoWithCompletion(info.take());
    DVApi::projectInfoForce(true, sessionInfo.take());
    DVApi::projectWorkflowsForce(true, workflows.take());
    QTRY_COMPARE(info.calls + sessionInfo.calls + workflows.calls, 3);
    const DVError error{domain, code, description};
    QCOMPARE(info.error, error);
    QCOMPARE(sessionInfo.error, error);
    QCOMPARE(workflows.error, error);
    QVERIFY(!info.result && !sessionInfo.result && !workflows.result);
    QVERIFY(!DVSession::sharedInstance().projectInfo && !DVSession::sharedInstance().workflows);
}

void tst_Api::nothingIsKeptForTheNextUser_data()
{
    QTest::addColumn<bool>("signedInAgain");
    QTest::newRow("the user logged out meanwhile") << false;
    QTest::newRow("another user signed in meanwhile") << true;
}

void tst_Api::nothingIsKeptForTheNextUser()
{
    QFETCH(bool, signedInAgain);
    m_platform->answer(ApiPlatform::success(R"({"items":[]})").delayed(300));
    Outcome<QJsonObject> info;
    Outcome<QList<DVWorkflowStep>> workflows;
    DVApi::projectInfoForce(true, info.take());
    DVApi::projectWorkflowsForce(true, workflows.take());
    QTRY_COMPARE(m_platform->requests().size(), 2);
    DVSession::sharedInstance().logOut();
    if (signedInAgain)
        ApiPlatform::signIn();
    QTRY_COMPARE(info.calls + workflows.calls, 2);
    QVERIFY(info.result && workflows.result);
    QVERIFY(!DVSession::sharedInstance().projectInfo && !DVSession::sharedInstance().workflows);
}

void tst_Api::namesInPathsAreEscaped()
{
    DVState::shared().setAppId(u"a b/c?#é"_qs);
    DVApi::projectInfoForce(true, {});
    DVApi::downloadStringsForLocale(DVLocale(u"../x"_qs), DVAuthenticationNone, m_platform->path(u"1"_qs),
                                    m_platform->path(u"2"_qs), {});
    QTRY_COMPARE(m_platform->requests().size(), 3);
    for (const auto &request : m_platform->requests())
        QVERIFY2(request.target.contains("/v2/projects/a%20b%2Fc%3F%23%C3%A9"), request.target.constData());
    QVERIFY(m_platform->requests().last().target.contains("/locales/..%2Fx/content/"));
}

void tst_Api::translationsComeInTwoFiles_data()
{
    QTest::addColumn<int>("authenticated");
    QTest::addColumn<QString>("step");
    QTest::addColumn<bool>("publishedFails");
    QTest::addColumn<bool>("pendingFails");
    QTest::addColumn<QString>("pendingRequest");
    const QString query = u"GET /files-api/v2/projects/p1/locales/de-DE/content/export?retrievalType=%1%2"_qs;
    const QString inStep = query.arg(u"PENDING"_qs, u"&workflowStepUids[0]=step-1 Bearer %1-token"_qs);
    QTest::newRow("by the translator, in a step")
        << int(DVAuthenticationUser) << u"step-1"_qs << false << false << inStep.arg(u"user"_qs);
    QTest::newRow("by the application, in a step")
        << int(DVAuthenticationApi) << u"step-1"_qs << false << false << inStep.arg(u"api"_qs);
    QTest::newRow("without a step") << int(DVAuthenticationUser) << QString() << false << false
                                    << query.arg(u"PENDING"_qs, u" Bearer user-token"_qs);
    QTest::newRow("the failure of the first is not told")
        << int(DVAuthenticationUser) << u"step-1"_qs << true << false << inStep.arg(u"user"_qs);
    QTest::newRow("that of the second is")
        << int(DVAuthenticationUser) << u"step-1"_qs << false << true << inStep.arg(u"user"_qs);
}

void tst_Api::translationsComeInTwoFiles()
{
    QFETCH(int, authenticated);
    QFETCH(QString, step);
    QFETCH(bool, publishedFails);
    QFETCH(bool, pendingFails);
    DVState::shared().setWorkflowStep(step, {});
    const Answer published = publishedFails ? Answer::failing(DVFaultServer::Fault::CutBody)
                                            : Answer::of(200, "the published ones").delayed(100);
    const Answer pending =
        pendingFails ? Answer::failing(DVFaultServer::Fault::CutBody) : Answer::of(200, "the pending ones");
    // Tokens first, so that the answers below are for the downloads.
    if (authenticated == DVAuthenticationApi) {
        bool signedIn = false;
        DVAPISession::sharedInstance().getTokenWithCompletion([&](const DVErrorOr &) { signedIn = true; });
        QTRY_VERIFY(signedIn);
    }
    m_platform->server.enqueue(published);
    m_platform->server.enqueue(pending);
    int calls = 0;
    DVErrorOr result;
    DVApi::downloadStringsForLocale(DVLocale(u"de_DE"_qs), authenticated, m_platform->path(u"pending"_qs),
                                    m_platform->path(u"published"_qs), [&](const DVErrorOr &error) {
                                        ++calls;
                                        result = error;
                                    });
    DVState::shared().setWorkflowStep(u"chosen-meanwhile"_qs, {});
    QTRY_COMPARE(calls, 1);
    QCOMPARE(bool(result), pendingFails);
    if (pendingFails)
        QCOMPARE(result->domain, u"dorvane.network"_qs);

    QFETCH(QString, pendingRequest);
    const QString signer = pendingRequest.section(u' ', 2);
    QCOMPARE(
        m_platform->requestLines(),
        (QStringList{u"GET /files-api/v2/projects/p1/locales/de-DE/content/export?retrievalType=PUBLISHED " +
                         signer,
                     pendingRequest}));
    QCOMPARE(ApiPlatform::contentOf(m_platform->path(u"published"_qs)),
             publishedFails ? QByteArray("(none)") : QByteArray("the published ones"));
    QCOMPARE(ApiPlatform::contentOf(m_platform->path(u"pending"_qs)),
             pendingFails ? QByteArray("(none)") : QByteArray("the pending ones"));
}

void tst_Api::cancelledDownloadsStop_data()
{
    QTest::addColumn<int>("requestsBefore"); // that have arrived when the user cancels
    QTest::newRow("before anything was sent") << 0;
    QTest::newRow("in the first file") << 1;
    QTest::newRow("in the second file") << 2;
}

void tst_Api::cancelledDownloadsStop()
{
    QFETCH(int, requestsBefore);
    if (requestsBefore == 2)
        m_platform->server.enqueue(Answer::of(200, "the published ones"));
    if (requestsBefore > 0)
        m_platform->server.enqueue(Answer::failing(DVFaultServer::Fault::StallInBody));
    const auto transfer = std::make_shared<DVTransfer>();
    int calls = 0;
    DVErrorOr result;
    DVApi::downloadStringsForLocale(
        DVLocale(u"de_DE"_qs), DVAuthenticationUser, m_platform->path(u"pending"_qs),
        m_platform->path(u"published"_qs),
        [&](const DVErrorOr &error) {
            ++calls;
            result = error;
        },
        transfer);
    if (requestsBefore > 0)
        QTRY_COMPARE(m_platform->requests().size(), requestsBefore);
    transfer->cancel();
    QTRY_COMPARE(calls, 1);
    QVERIFY(result);
    QCOMPARE(result->domain, u"dorvane.network"_qs);
    QCOMPARE(result->code, int(QNetworkReply::OperationCanceledError));
    QVERIFY(!QFile::exists(m_platform->path(u"pending"_qs)));
    QCOMPARE(QFile::exists(m_platform->path(u"published"_qs)), requestsBefore == 2);
    // The first may have been on its way when it was cancelled.
    QVERIFY(m_platform->requests().size() <= qMax(requestsBefore, 1));
}

void tst_Api::downloadOutlivesItsCaller()
{
    m_platform->server.enqueue(Answer::of(200, "the published ones").delayed(100));
    m_platform->server.enqueue(Answer::of(200, "the pending ones"));
    auto calls = std::make_shared<int>(0);
    DVApi::downloadStringsForLocale(
        DVLocale(u"de_DE"_qs), DVAuthenticationUser, m_platform->path(u"pending"_qs),
        m_platform->path(u"published"_qs), [calls](const DVErrorOr &) { ++*calls; },
        std::make_shared<DVTransfer>());
    QTRY_COMPARE(*calls, 1);
    QCOMPARE(ApiPlatform::contentOf(m_platform->path(u"pending"_qs)), QByteArray("the pending ones"));
}

QTEST_GUILESS_MAIN(tst_Api)
#include "tst_api.moc"
