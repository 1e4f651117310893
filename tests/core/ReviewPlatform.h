// ReviewPlatform: a platform of the test's with one project, and an application in review mode beside it.
#pragma once

#include "DVFaultServer.h"
#include "DVInAppTools.h"
#include "DVSession.h"
#include "DVTestHost.h"
#include "DVWorkflowStep.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <functional>
#include <memory>
#include <optional>

// What `work` gives the completion that it is handed; none when that never comes.
template<typename Result>
std::optional<Result> resultOf(const std::function<void(std::function<void(const Result &)>)> &work)
{
    const auto result = std::make_shared<std::optional<Result>>(); // it may come when nobody waits any more
    work([result](const Result &value) { *result = value; });
    Q_UNUSED(QTest::qWaitFor([&] { return result->has_value(); }, 20000))
    return *result;
}

// Project "p", source en, target fr-CA. The step "translate" may do everything from en to fr-CA, the step
// "look" nothing, from en to de.
class ReviewPlatform
{
public:
    using Answer = DVFaultServer::Answer;
    using Request = DVFaultServer::Request;

    ReviewPlatform()
    {
        server.setHandler([this](const Request &request) { return answer(request); });
    }
    ~ReviewPlatform() { server.clear(); }
    Q_DISABLE_COPY_MOVE(ReviewPlatform)

    // A part of the target of requests, and what they get instead.
    void setAnswer(const QByteArray &part, const Answer &answer)
    {
        const QMutexLocker lock(&m_mutex);
        m_answers.insert(part, answer);
    }
    void setAnswer(const QByteArray &part, const QJsonObject &data) { setAnswer(part, success(data)); }
    void setUsualAnswers()
    {
        const QMutexLocker lock(&m_mutex);
        m_answers.clear();
    }
    void publish(const QByteArray &published, const QByteArray &pending)
    {
        const QMutexLocker lock(&m_mutex);
        m_published = published;
        m_pending = pending;
    }
    static Answer success(const QJsonObject &data)
    {
        const QJsonObject response{{QStringLiteral("code"), QStringLiteral("SUCCESS")},
                                   {QStringLiteral("data"), data}};
        return Answer::of(200, QJsonDocument(QJsonObject{{QStringLiteral("response"), response}}).toJson());
    }

    // Those that changed something on the platform, "import" and the like; each once per request.
    QStringList changes() const
    {
        QStringList names;
        for (const auto &request : server.requests()) {
            for (const char *name : {"import", "submittedStrings", "rejectedStrings", "issues"})
                if (request.method != "GET" && request.target.contains(name))
                    names.append(QString::fromLatin1(name));
        }
        return names;
    }
    QByteArray lastBody(const QByteArray &part) const
    {
        QByteArray body;
        for (const auto &request : server.requests())
            if (request.target.contains(part))
                body = request.body;
        return body;
    }
    QVariantMap options(const QString &mode) const
    {
        return {{QStringLiteral("mode"), mode},
                {QStringLiteral("logging"), QStringLiteral("DVLoggingDebug")},
                {QStringLiteral("apiUserId"), QStringLiteral("api-user")},
                {QStringLiteral("apiUserSecret"), QStringLiteral("api-secret")},
                {QStringLiteral("analytics"), false},
                {QStringLiteral("servers"),
                 QVariantMap{{QStringLiteral("api"), server.url()}, {QStringLiteral("sso"), server.url()}}}};
    }

    static DVWorkflowStep step(const QString &uid)
    {
        for (const auto &one : DVWorkflowStep::workflowsFromDictionary(workflows()))
            if (one.uid == uid)
                return one;
        return {};
    }
    static void signIn()
    {
        const auto failure = resultOf<DVErrorOr>([](const auto &done) {
            DVSession::sharedInstance().getTokenWithCode(QStringLiteral("code"), false, done);
        });
        QVERIFY(failure && !*failure);
    }

    static QJsonObject json(const char *text) { return QJsonDocument::fromJson(text).object(); }
    static QJsonObject project()
    {
        return json(R"({"sourceLocaleId": "en", "sourceLocaleDescription": "English", "targetLocales":
            [{"localeId": "fr-CA", "description": "French", "enabled": true}]})");
    }
    static QJsonObject workflows()
    {
        return json(R"({"items": [{"workflowName": "Flow", "workflowUid": "w", "workflowSteps": [
            {"workflowStepName": "Translate", "workflowStepUid": "translate",
             "localePairs": [{"sourceLocaleId": "en", "targetLocaleId": "fr-CA"}],
             "permissions": {"canTranslateStrings": true, "canSubmitStrings": true, "canRejectStrings": true}},
            {"workflowStepName": "Look", "workflowStepUid": "look",
             "localePairs": [{"sourceLocaleId": "en", "targetLocaleId": "de"}]}]}]})");
    }

    DVFaultServer server;

private:
    Answer answer(const Request &request)
    {
        const QMutexLocker lock(&m_mutex);
        for (auto special = m_answers.begin(); special != m_answers.end(); ++special)
            if (request.target.contains(special.key()))
                return *special;
        const auto isFor = [&](const char *part) { return request.target.contains(part); };
        if (isFor("/token"))
            return Answer::of(200, R"({"access_token": "h.eyJlbWFpbCI6ImFAYi5jIn0.s", "refresh_token": "r",
                                       "expires_in": 300, "refresh_expires_in": 1800})");
        if (isFor("/authenticate"))
            return success(json(R"({"accessToken": "api-token", "expiresIn": 300, "refreshToken": "r",
                                    "refreshExpiresIn": 1800})"));
        if (isFor("/workflows"))
            return success(workflows());
        if (isFor("retrievalType=PUBLISHED"))
            return Answer::of(200, m_published);
        if (isFor("retrievalType=PENDING"))
            return Answer::of(200, m_pending);
        if (isFor("import") || isFor("Strings") || isFor("issues"))
            return success({});
        return isFor("/projects-api/") ? success(project()) : Answer::of(404);
    }

    QMutex m_mutex;
    QMap<QByteArray, Answer> m_answers;
    QByteArray m_published;
    QByteArray m_pending;
};

// Tools that only remember what they were asked for.
class RememberingTools : public DVInAppTools
{
public:
    explicit RememberingTools(QStringList *calls)
        : m_calls(calls)
    {}
    ~RememberingTools() override { m_calls->append(QStringLiteral("end")); }
    Q_DISABLE_COPY_MOVE(RememberingTools)

    void setupEditionActions() override
    {
        const bool loggedIn = DVSession::sharedInstance().isLoggedIn();
        m_calls->append(loggedIn ? QStringLiteral("edition, signed in") : QStringLiteral("edition"));
    }
    void setupContextActions() override { m_calls->append(QStringLiteral("context")); }
    void openLoginForm(std::function<void(bool)> completion) override
    {
        m_calls->append(QStringLiteral("login"));
        completion(false);
    }
    void captureWindow(QObject *, std::function<void(const DVErrorOr &)> completion) override
    {
        m_calls->append(QStringLiteral("capture"));
        completion({});
    }

private:
    QStringList *m_calls;
};
