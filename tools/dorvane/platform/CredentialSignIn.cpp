#include "CredentialSignIn.h"

#include "Secrets.h"

namespace {

Answer tokens(const std::optional<TokenGrant> &grant)
{
    if (!grant)
        return RestRequest::notSignedIn(QStringLiteral("The refresh token is not good any more."));
    Answer answer = RestRequest::success(
        QJsonObject{{QStringLiteral("accessToken"), QString::fromLatin1(grant->accessToken)},
                    {QStringLiteral("expiresIn"), grant->expiresIn},
                    {QStringLiteral("refreshToken"), QString::fromLatin1(grant->refreshToken)},
                    {QStringLiteral("refreshExpiresIn"), grant->refreshExpiresIn},
                    {QStringLiteral("tokenType"), QStringLiteral("Bearer")}});
    answer.headers.append({"Cache-Control", QByteArray("no-store")});
    return answer;
}

} // namespace

Answer CredentialSignIn::authenticate(const RestRequest &request)
{
    QStringList errors;
    const QJsonObject body = request.jsonBody(&errors);
    const QString identifier = RestRequest::text(body, "userIdentifier", &errors);
    const QString secret = RestRequest::text(body, "userSecret", &errors);
    if (!errors.isEmpty())
        return RestRequest::invalid(errors);
    const ApiCredential *credential = request.project.access.credentialOf(identifier);
    const bool isRight =
        isSameSecret(secret, credential ? credential->userSecret : QString::fromLatin1(freshSecret()));
    if (!credential || !isRight)
        return RestRequest::notSignedIn(QStringLiteral("The user identifier or the secret is wrong."));
    const auto grant = m_issuer.start({Caller::Application, identifier});
    return grant ? tokens(grant) : RestRequest::failed();
}

Answer CredentialSignIn::refresh(const RestRequest &request)
{
    QStringList errors;
    const QJsonObject body = request.jsonBody(&errors);
    const QString token = RestRequest::text(body, "refreshToken", &errors);
    if (!errors.isEmpty())
        return RestRequest::invalid(errors);
    return tokens(m_issuer.refresh(token.toUtf8(), Caller::Application));
}
