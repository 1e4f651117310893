#include "DVAPISession.h"

#include "DVNetwork.h"
#include "DVServerUrl.h"
#include "DVTokenValues.h"

#include "DVClock.h"
#include "DVSecrets.h"

namespace {

// A minute early, so that a request does not arrive with a dead token.
QDateTime expiration(const QJsonValue &lifetime)
{
    constexpr double margin = 60;
    return DVClock::now().addMSecs(qint64((dv_secondsFromJson(lifetime) - margin) * 1000));
}

// The platform's answers carry their payload in an envelope.
QJsonObject payload(const QJsonValue &answer)
{
    return answer.toObject().value(u"response").toObject().value(u"data").toObject();
}

bool holdsToken(const QJsonObject &dict)
{
    return dv_isBearerToken(dv_textMember(dict, QLatin1StringView("accessToken")));
}

DVError wrongTokenFormat()
{
    return {QStringLiteral("dorvane.auth"), 500, QStringLiteral("Wrong token format")};
}

void post(const QString &path, const QVariantMap &parameters, const DVJsonCompletion &completion)
{
    DVNetwork::postPath(path, false, DVAuthenticationNone, DVServerApi, parameters, completion);
}

} // namespace

DVAPISession &DVAPISession::sharedInstance()
{
    static auto *session = new DVAPISession; // never destroyed, as all that is shared
    return *session;
}

void DVAPISession::tokensFromDict(const QJsonObject &dict)
{
    DVSecrets::rememberIn(dict);
    token = dv_textMember(dict, QLatin1StringView("accessToken"));
    tokenExpiration = expiration(dict.value(u"expiresIn"));
    refreshToken = dv_textMember(dict, QLatin1StringView("refreshToken"));
    refreshTokenExpiration = expiration(dict.value(u"refreshExpiresIn"));
}

void DVAPISession::getTokenWithCompletion(Completion completion)
{
    if (userId.isNull() || userSecret.isNull())
        return completion(
            DVError{QStringLiteral("dorvane.SDK"), 401, QStringLiteral("User ID or Secret missing")});
    DVSecrets::remember(userSecret, DVSecrets::Lifetime::Lasting);
    const auto answered = [this, completion](const DVErrorOr &error, const QJsonValue &json) {
        const QJsonObject data = payload(json);
        if (!error && holdsToken(data))
            tokensFromDict(data);
        completion(error || holdsToken(data) ? error : wrongTokenFormat());
    };
    post(QStringLiteral("/auth-api/v2/authenticate"),
         {{QStringLiteral("userIdentifier"), userId}, {QStringLiteral("userSecret"), userSecret}}, answered);
}

void DVAPISession::refreshTokenWithCompletion(Completion completion)
{
    const auto answered = [this, completion, old = refreshToken](const DVErrorOr &error,
                                                                 const QJsonValue &json) {
        QJsonObject data = payload(json);
        if (!error && holdsToken(data)) {
            if (dv_textMember(data, QLatin1StringView("refreshToken")).isEmpty())
                data.insert(u"refreshToken", old);
            tokensFromDict(data);
        }
        completion(error || holdsToken(data) ? error : wrongTokenFormat());
    };
    post(QStringLiteral("/auth-api/v2/authenticate/refresh"),
         {{QStringLiteral("refreshToken"), refreshToken}}, answered);
}

bool DVAPISession::hasLiveToken() const
{
    return dv_isBearerToken(token) && tokenExpiration > DVClock::now();
}

void DVAPISession::authorizeRequest(const std::shared_ptr<DVHttpRequest> &request, Completion withCompletion)
{
    const bool complete = !token.isNull() && tokenExpiration.isValid() && !refreshToken.isNull() &&
                          refreshTokenExpiration.isValid();
    if (complete && hasLiveToken()) {
        dv_setBearerToken(request, token);
        return withCompletion({});
    }
    const auto ended = [this, request, withCompletion](const DVErrorOr &error) {
        // What another request brought meanwhile is as good.
        if (error && !hasLiveToken())
            return withCompletion(error);
        dv_setBearerToken(request, token);
        withCompletion({});
    };
    if (!complete || DVClock::now() > refreshTokenExpiration)
        getTokenWithCompletion(ended);
    else
        refreshTokenWithCompletion(ended);
}
