// TokenIssuer: gives out access and refresh tokens, and tells whose they are.
#pragma once

#include "Project.h"
#include "TokenStore.h"

#include <QByteArray>
#include <QString>

#include <functional>
#include <optional>

struct TokenGrant
{
    QString session;
    QByteArray accessToken; // a JSON Web Token (RFC 7519), signed with HS256
    QByteArray refreshToken;
    qint64 expiresIn = 0;        // seconds
    qint64 refreshExpiresIn = 0; // seconds
};

class TokenIssuer
{
public:
    // `project` is asked at each call.
    TokenIssuer(ReceivedFolder &folder, std::function<const Project &()> project);

    // The address that tokens name as their issuer.
    void setIssuer(const QString &issuer) { m_issuer = issuer; }

    // Nothing when the disk refused.
    std::optional<TokenGrant> start(const Caller &caller);
    // Nothing when the refresh token is not one of this kind of caller's, any more.
    std::optional<TokenGrant> refresh(const QByteArray &refreshToken, Caller::Kind kind);
    // All tokens of a sign-in.
    void end(const QString &session);
    void endWithRefreshToken(const QByteArray &refreshToken);

    // Whose access token it is. Nothing when it has expired, or project.json knows the caller no more.
    std::optional<Caller> callerOf(const QByteArray &accessToken);

private:
    bool isKnown(const Caller &caller) const;
    QByteArray accessToken(const Caller &caller, const QString &session, const QDateTime &expires) const;

    TokenStore m_store;
    std::function<const Project &()> m_project;
    QString m_issuer;
    QByteArray m_key; // of this process; whether a token is good is seen by its fingerprint
};
