// DVApi: the project, its workflows, and the translations of a locale.
#include "DVApi.h"

#include "DVApiAnswer.h"
#include "DVNetwork.h"
#include "DVServerUrl.h"
#include "DVSession.h"

#include "DVLocaleIdentifiers.h"
#include "DVMainQueue.h"
#include "DVState.h"

namespace {

constexpr double exportTimeout = 20; // seconds

using DataCompletion = std::function<void(const DVErrorOr &, const QJsonObject &data)>;

void fetchData(const QString &path, int authenticated, const DataCompletion &completion)
{
    DVNetwork::getPath(path, authenticated, DVServerApi, {},
                       [completion](const DVErrorOr &error, const QJsonValue &json) {
                           const auto data = DVApiAnswer::data(json);
                           if (error || !data)
                               completion(error ? error : DVApiAnswer::unreadable(), {});
                           else
                               completion({}, *data);
                       });
}

// Fetches what the session keeps for its user, unless that is somebody else when the answer comes: nobody
// must find another one's project and rights. A payload of which `fromData` makes nothing cannot be read.
template<typename Value>
void fetchForSession(const QString &path, std::optional<Value> DVSession::*kept,
                     std::optional<Value> (*fromData)(const QJsonObject &),
                     const std::function<void(const DVErrorOr &, const std::optional<Value> &)> &completion)
{
    fetchData(
        path, DVAuthenticationUser,
        [=, epoch = DVSession::sharedInstance().epoch()](const DVErrorOr &error, const QJsonObject &data) {
            std::optional<Value> value;
            if (!error)
                value = fromData(data);
            DVSession &session = DVSession::sharedInstance();
            if (value && session.epoch() == epoch)
                session.*kept = value;
            if (completion)
                completion(error || value ? error : DVApiAnswer::unreadable(), value);
        });
}

template<typename Value>
void answerFromSession(const Value &value,
                       const std::function<void(const DVErrorOr &, const Value &)> &completion)
{
    DVMainQueue::post([value, completion] {
        if (completion)
            completion({}, value);
    });
}

std::optional<QJsonObject> sameObject(const QJsonObject &data)
{
    return data;
}

// A project without workflows has an empty list of them. No list is not "nothing may be done": that would
// take the user's step and be kept until the next sign-in.
std::optional<QList<DVWorkflowStep>> workflowsOf(const QJsonObject &data)
{
    if (!data.value(QLatin1StringView("items")).isArray())
        return {};
    return DVWorkflowStep::workflowsFromDictionary(data);
}

QString projectInfoPath()
{
    return DVApiAnswer::projectPath(QLatin1StringView("projects-api"));
}

QVariantMap exportQuery(const QString &retrievalType)
{
    return {{QStringLiteral("retrievalType"), retrievalType}};
}

QVariantMap pendingQuery()
{
    QVariantMap query = exportQuery(QStringLiteral("PENDING"));
    if (const QString step = DVState::shared().workflowStepUid(); !step.isEmpty())
        query.insert(QStringLiteral("workflowStepUids[0]"), step);
    return query;
}

} // namespace

void DVApi::projectInfoWithCompletion(InfoCompletion completion)
{
    const int signer = DVState::shared().editionMode ? DVAuthenticationUser : DVAuthenticationApi;
    fetchData(projectInfoPath(), signer, [completion](const DVErrorOr &error, const QJsonObject &data) {
        if (completion)
            completion(error, error ? std::nullopt : std::optional(data));
    });
}

void DVApi::projectInfoForce(bool force, InfoCompletion withCompletion)
{
    const auto &kept = DVSession::sharedInstance().projectInfo;
    if (kept && !force)
        answerFromSession(kept, withCompletion);
    else
        fetchForSession(projectInfoPath(), &DVSession::projectInfo, &sameObject, withCompletion);
}

void DVApi::projectWorkflowsForce(bool force, WorkflowsCompletion withCompletion)
{
    const auto &kept = DVSession::sharedInstance().workflows;
    if (kept && !force)
        return answerFromSession(kept, withCompletion);
    fetchForSession(
        DVApiAnswer::projectPath(QLatin1StringView("workflows-strings-api"), QStringLiteral("/workflows")),
        &DVSession::workflows, &workflowsOf, withCompletion);
}

// NOLINTNEXTLINE(readability-function-size): two files of a locale, by whom, and what follows
void DVApi::downloadStringsForLocale(const DVLocale &locale, int authenticated, const QString &pendingPath,
                                     const QString &publishedPath, Completion withCompletion,
                                     const DVTransferPtr &transfer)
{
    const QString path = DVApiAnswer::projectPath(
        QLatin1StringView("files-api"),
        u"/locales/" % DVApiAnswer::pathPiece(dorvaneLocaleIdentifier(locale)) % u"/content/export");
    const auto downloadPending = [=, pending = pendingQuery()](const DVErrorOr &) {
        DVNetwork::downloadPath(path, authenticated, pending, exportTimeout, pendingPath, withCompletion,
                                transfer);
    };
    DVNetwork::downloadPath(path, authenticated, exportQuery(QStringLiteral("PUBLISHED")), exportTimeout,
                            publishedPath, downloadPending, transfer);
}
