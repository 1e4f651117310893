// The platform's project information, workflows and translations, asked of a server.
#include "ApiPlatform.h"
#include "DVApi.h"
#include "DVNetwork.h"
#include "DVRows.h"

#include <QNetworkReply>

using Answer = DVFaultServer::Answer;

namespace {

using Info = DVOutcome<std::optional<QJsonObject>>;
using Workflows = DVOutcome<std::optional<QList<DVWorkflowStep>>>;

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
    void workflowsWithoutAListAreNotKept_data();
    void workflowsWithoutAListAreNotKept();
    void answersThatCannotBeRead_data();
    void answersThatCannotBeRead();
    void nothingIsKeptForTheNextUser_data();
    void nothingIsKeptForTheNextUser();
    void namesInPathsAreEscaped();
    void translationsComeInTwoFiles_data();
    void translationsComeInTwoFiles();
    void cancelledDownloadsStop_data();
    void cancelledDownloadsStop();

private:
    void download(const DVOutcome<> &outcome, int authenticated = DVAuthenticationUser,
                  const DVTransferPtr &transfer = {})
    {
        DVApi::downloadStringsForLocale(DVLocale(u"de_DE"_qs), authenticated, m_platform->path(u"pending"_qs),
                                        m_platform->path(u"published"_qs), outcome.take(), transfer);
    }
    QByteArray content(const QString &name) const { return ApiPlatform::read(m_platform->path(name)); }

    std::unique_ptr<ApiPlatform> m_platform;
};

void tst_Api::projectInfoIsAskedByWhoeverMayAsk_data()
{
    const DVRows<bool, QString> row("review", "request");
    row("in review the translator", true, u"GET /projects-api/v2/projects/p1 Bearer user-token"_qs);
    row("else the application", false, u"GET /projects-api/v2/projects/p1 Bearer api-token"_qs);
}

void tst_Api::projectInfoIsAskedByWhoeverMayAsk()
{
    QFETCH(bool, review);
    DVState::shared().editionMode = review;
    m_platform->answer(
        ApiPlatform::success(R"({"projectName":"Shop","targetLocales":[{"localeId":"fr-CA"}]})"));
    const Info info;
    DVApi::projectInfoWithCompletion(info.take());
    QCOMPARE(info->calls, 0);
    QTRY_COMPLETED(info);
    QVERIFY(!info->error);
    QCOMPARE(info->result->value(u"projectName").toString(), u"Shop"_qs);
    QTEST(m_platform->requestLines().join(u'\n'), "request");
    QVERIFY(!DVSession::sharedInstance().projectInfo);
}

void tst_Api::projectInfoIsKept()
{
    const auto ask = [this](bool force, const Answer &answer) {
        m_platform->answer(answer);
        const Info info;
        DVApi::projectInfoForce(force, info.take());
        [&] {
            QCOMPARE(info->calls, 0);
            QTRY_COMPLETED(info);
        }();
        return info;
    };
    const auto kept = [] {
        return DVSession::sharedInstance().projectInfo->value(u"projectName").toString();
    };
    const Answer newer = ApiPlatform::success(R"({"projectName":"New shop"})");
    ask(false, ApiPlatform::success(R"({"projectName":"Shop"})"));
    QCOMPARE(ask(false, newer)->result->value(u"projectName").toString(), u"Shop"_qs);
    QCOMPARE(m_platform->requests().size(), 1);
    const Info failed = ask(true, Answer::of(500, R"({"response":{"code":"VALIDATION_ERROR","errors":[]}})"));
    QCOMPARE(failed->error, (DVError{u"dorvane.API"_qs, 500, u"VALIDATION_ERROR"_qs}));
    QVERIFY(!failed->result);
    QCOMPARE(kept(), u"Shop"_qs);
    ask(true, newer);
    QCOMPARE(kept(), u"New shop"_qs);
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
    const Workflows outcome;
    DVApi::projectWorkflowsForce(false, outcome.take());
    QTRY_COMPLETED(outcome);
    QVERIFY(!outcome->error);

    const QList<DVWorkflowStep> steps = outcome->result.value_or(QList<DVWorkflowStep>());
    QCOMPARE(steps.size(), 2);
    QCOMPARE(steps.first().workflowName, u"Standard"_qs);
    QCOMPARE(steps.first().uid, u"step-1"_qs);
    QVERIFY(steps.first().localePairs ==
            (QList{DVWorkflowStep::LocalePair{DVLocale(u"en_US"_qs), DVLocale(u"fr_CA"_qs)}}));
    QCOMPARE(steps.last().uid, u"step-2"_qs);

    const Workflows kept;
    DVApi::projectWorkflowsForce(false, kept.take());
    QTRY_COMPLETED(kept);
    QVERIFY(kept->result == steps);
    DVApi::projectWorkflowsForce(true, {});
    QTRY_COMPARE(m_platform->requestLines(),
                 QStringList(2, u"GET /workflows-strings-api/v2/projects/p1/workflows Bearer user-token"_qs));
}

void tst_Api::workflowsWithoutAListAreNotKept_data()
{
    const DVRows<QByteArray> row("data");
    row("no items", "{}");
    row("items that are null", R"({"items":null})");
    row("items that are an object", R"({"items":{}})");
}

void tst_Api::workflowsWithoutAListAreNotKept()
{
    QFETCH(QByteArray, data);
    m_platform->answer(ApiPlatform::success(data));
    const Workflows broken;
    DVApi::projectWorkflowsForce(false, broken.take());
    QTRY_COMPLETED(broken);
    QCOMPARE(broken->error, serverError);
    QVERIFY(!broken->result);

    m_platform->answer(ApiPlatform::success(R"({"items":[]})")); // a project without workflows
    const Workflows asked;
    DVApi::projectWorkflowsForce(false, asked.take());
    QTRY_COMPLETED(asked);
    QVERIFY(!asked->error);
    QVERIFY(asked->result && asked->result->isEmpty());
}

void tst_Api::answersThatCannotBeRead_data()
{
    const DVRows<int, QByteArray, DVError> row("status", "body", "error");
    row("no body", 200, "", serverError);
    row("a list", 200, "[]", serverError);
    row("an object that is no envelope", 200, R"({"code":"SUCCESS","data":{}})", serverError);
    row("a response that is a text", 200, R"({"response":"SUCCESS"})", serverError);
    row("a response that is null", 200, R"({"response":null})", serverError);
    row("no data", 200, R"({"response":{"code":"SUCCESS"}})", serverError);
    row("data that is null", 200, R"({"response":{"code":"SUCCESS","data":null}})", serverError);
    row("data that is a list", 200, R"({"response":{"code":"SUCCESS","data":[{}]}})", serverError);
    row("data that is a number", 200, R"({"response":{"code":"SUCCESS","data":1}})", serverError);
    row("a list of not found", 404, "[]", serverError);
    row("a list of errors", 400, R"({"response":{"code":"VALIDATION_ERROR","errors":[1,2]}})",
        {u"dorvane.SDK.server"_qs, 400, u"2 errors"_qs});
    row("a page that is not found", 404, "", {u"dorvane.API"_qs, 404, u"Server error"_qs});
}

void tst_Api::answersThatCannotBeRead()
{
    QFETCH(int, status);
    QFETCH(QByteArray, body);
    QFETCH(DVError, error);
    m_platform->answer(Answer::of(status, body));
    const Info info;
    const Info sessionInfo;
    const Workflows workflows;
    DVApi::projectInfoWithCompletion(info.take());
    DVApi::projectInfoForce(true, sessionInfo.take());
    DVApi::projectWorkflowsForce(true, workflows.take());
    QTRY_COMPARE(info->calls + sessionInfo->calls + workflows->calls, 3);
    QCOMPARE(info->error, error);
    QCOMPARE(sessionInfo->error, error);
    QCOMPARE(workflows->error, error);
    QVERIFY(!info->result && !sessionInfo->result && !workflows->result);
    QVERIFY(!DVSession::sharedInstance().projectInfo && !DVSession::sharedInstance().workflows);
}

void tst_Api::nothingIsKeptForTheNextUser_data()
{
    const DVRows<bool> row("signedInAgain");
    row("the user logged out meanwhile", false);
    row("another user signed in meanwhile", true);
}

void tst_Api::nothingIsKeptForTheNextUser()
{
    QFETCH(bool, signedInAgain);
    m_platform->answer(ApiPlatform::success(R"({"items":[]})").delayed(300));
    const Info info;
    const Workflows workflows;
    DVApi::projectInfoForce(true, info.take());
    DVApi::projectWorkflowsForce(true, workflows.take());
    QTRY_COMPARE(m_platform->requests().size(), 2);
    DVSession::sharedInstance().logOut();
    if (signedInAgain)
        ApiPlatform::signIn();
    QTRY_COMPARE(info->calls + workflows->calls, 2);
    QVERIFY(info->result && workflows->result);
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
    const DVRows<int, QString, bool, bool, QString> row("authenticated", "step", "publishedFails",
                                                        "pendingFails", "pending"); // its query, the signer
    const QString step = u"step-1"_qs;
    const QString inStep = u"PENDING&workflowStepUids[0]=step-1 Bearer %1-token"_qs;
    row("by the translator, in a step", DVAuthenticationUser, step, false, false, inStep.arg(u"user"_qs));
    row("by the application, in a step", DVAuthenticationApi, step, false, false, inStep.arg(u"api"_qs));
    row("without a step", DVAuthenticationUser, {}, false, false, u"PENDING Bearer user-token"_qs);
    row("the first's failure is not told", DVAuthenticationUser, step, true, false, inStep.arg(u"user"_qs));
    row("the second's is", DVAuthenticationUser, step, false, true, inStep.arg(u"user"_qs));
}

void tst_Api::translationsComeInTwoFiles()
{
    QFETCH(int, authenticated);
    QFETCH(QString, step);
    QFETCH(bool, publishedFails);
    QFETCH(bool, pendingFails);
    QFETCH(QString, pending);
    DVState::shared().setWorkflowStep(step, {});
    if (authenticated == DVAuthenticationApi)
        ApiPlatform::signInApi(); // so that the answers below are for the downloads
    const Answer cut = Answer::failing(DVFaultServer::Fault::CutBody);
    m_platform->server.enqueue(publishedFails ? cut : Answer::of(200, "the published ones").delayed(100));
    m_platform->server.enqueue(pendingFails ? cut : Answer::of(200, "the pending ones"));
    const DVOutcome<> both;
    download(both, authenticated, std::make_shared<DVTransfer>()); // which nobody keeps
    DVState::shared().setWorkflowStep(u"chosen-meanwhile"_qs, {});
    QTRY_COMPLETED(both);
    QCOMPARE(both->domain(), pendingFails ? u"dorvane.network"_qs : QString());
    const QString begin = u"GET /files-api/v2/projects/p1/locales/de-DE/content/export?retrievalType="_qs;
    QCOMPARE(m_platform->requestLines(),
             QStringList({begin + u"PUBLISHED " + pending.section(u' ', 1), begin + pending}));
    QCOMPARE(content(u"published"_qs), publishedFails ? QByteArray() : QByteArray("the published ones"));
    QCOMPARE(content(u"pending"_qs), pendingFails ? QByteArray() : QByteArray("the pending ones"));
}

void tst_Api::cancelledDownloadsStop_data()
{
    const DVRows<int> row("requestsBefore"); // that have arrived when the user cancels
    row("before anything was sent", 0);
    row("in the first file", 1);
    row("in the second file", 2);
}

void tst_Api::cancelledDownloadsStop()
{
    QFETCH(int, requestsBefore);
    if (requestsBefore == 2)
        m_platform->server.enqueue(Answer::of(200, "the published ones"));
    m_platform->server.enqueue(Answer::failing(DVFaultServer::Fault::StallInBody));
    const auto transfer = std::make_shared<DVTransfer>();
    const DVOutcome<> both;
    download(both, DVAuthenticationUser, transfer);
    if (requestsBefore > 0)
        QTRY_COMPARE(m_platform->requests().size(), requestsBefore);
    transfer->cancel();
    QTRY_COMPLETED(both);
    QCOMPARE(both->domain(), u"dorvane.network"_qs);
    QCOMPARE(both->code(), int(QNetworkReply::OperationCanceledError));
    QVERIFY(!QFile::exists(m_platform->path(u"pending"_qs)));
    QCOMPARE(QFile::exists(m_platform->path(u"published"_qs)), requestsBefore == 2);
    // The first may have been on its way when it was cancelled.
    QVERIFY(m_platform->requests().size() <= qMax(requestsBefore, 1));
}

QTEST_GUILESS_MAIN(tst_Api)
#include "tst_api.moc"
