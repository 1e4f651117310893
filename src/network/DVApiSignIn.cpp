// The part of DVApi that signs in and out.
#include "DVApi.h"

#include "DVNetwork.h"
#include "DVServerUrl.h"
#include "DVSession.h"
#include "DVTokenValues.h"

#include "DVClock.h"
#include "DVSecrets.h"
#include "DVState.h"

namespace {

// What the sign-in host knows this library as.
QString clientId()
{
    return QStringLiteral("ios-sdk");
}

QVariantMap tokenParameters(const QString &code, bool refresh)
{
    QVariantMap parameters{{QStringLiteral("client_id"), clientId()},
                           {QStringLiteral("redirect_uri"), QString(DVSession::redirectScheme + u"login/")}};
    parameters.insert(QStringLiteral("grant_type"),
                      refresh ? QStringLiteral("refresh_token") : QStringLiteral("authorization_code"));
    parameters.insert(refresh ? QStringLiteral("refresh_token") : QStringLiteral("code"), code);
    return parameters;
}

// Treats a token as expired a minute early, so that a request does not arrive with a dead one.
double expiry(const QJsonValue &lifetime)
{
    constexpr double margin = 60;
    return DVClock::secondsSince1970() + dv_secondsFromJson(lifetime) - margin;
}

bool isTokenAnswer(const QJsonObject &answer)
{
    const auto holds = [&answer](QLatin1StringView name) {
        return answer.contains(name) && !answer.value(name).isNull();
    };
    return holds(QLatin1StringView("expires_in")) && holds(QLatin1StringView("refresh_expires_in")) &&
           dv_isBearerToken(dv_textMember(answer, QLatin1StringView("access_token")));
}

} // namespace

void DVApi::tokenWithCode(const QString &code, bool refresh,
                          std::function<void(const DVErrorOr &, const QJsonObject &)> andCompletion)
{
    const auto answered = [andCompletion](const DVErrorOr &error, const QJsonValue &json) {
        if (!andCompletion)
            return;
        if (error)
            return andCompletion(error, {});
        QJsonObject token = json.toObject();
        DVSecrets::rememberIn(token);
        if (!isTokenAnswer(token))
            return andCompletion(
                DVError{QStringLiteral("dorvane.auth"), 500, QStringLiteral("Wrong token format")}, {});
        token.insert(u"expires", expiry(token.value(u"expires_in")));
        token.insert(u"refresh_expires", expiry(token.value(u"refresh_expires_in")));
        andCompletion({}, token);
    };
    DVSecrets::remember(code);
    DVNetwork::postPath(QStringLiteral("/auth/realms/Dorvane/protocol/openid-connect/token"), true,
                        DVAuthenticationNone, DVServerSso, tokenParameters(code, refresh), answered);
}

void DVApi::logOutWithRefreshToken(const QString &refreshToken)
{
    if (refreshToken.isEmpty())
        return;
    DVSecrets::remember(refreshToken);
    // Not the client's name: this end point expects the project.
    DVNetwork::getPath(QStringLiteral("/auth/realms/Dorvane/protocol/openid-connect/logout"),
                       DVAuthenticationNone, DVServerSso,
                       {{QStringLiteral("refresh_token"), refreshToken},
                        {QStringLiteral("client_id"), DVState::shared().appId()}},
                       [](const DVErrorOr &, const QJsonValue &) {});
}

void DVApi::pingWithCompletion(Completion completion)
{
    DVNetwork::getPath(QStringLiteral("/auth-api/v2/ping"), DVAuthenticationUser, DVServerApi, {},
                       [completion](const DVErrorOr &error, const QJsonValue &) {
                           if (completion)
                               completion(error);
                       });
}
