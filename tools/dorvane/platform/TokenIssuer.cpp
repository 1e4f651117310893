#include "TokenIssuer.h"

#include "Secrets.h"

#include <QJsonDocument>
#include <QMessageAuthenticationCode>
#include <QUuid>

#include <utility>

namespace {

QByteArray base64Url(const QByteArray &bytes)
{
    return bytes.toBase64(QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals);
}

// RFC 7515, 3.1.
QByteArray signedToken(const QJsonObject &claims, const QByteArray &key)
{
    const QByteArray header = R"({"alg":"HS256","typ":"JWT"})";
    const QByteArray content =
        base64Url(header) + '.' + base64Url(QJsonDocument(claims).toJson(QJsonDocument::Compact));
    return content + '.' +
           base64Url(QMessageAuthenticationCode::hash(content, key, QCryptographicHash::Sha256));
}

// The same for a name in every run.
QString subject(const Caller &caller)
{
    const QString kind = caller.kind == Caller::User ? QStringLiteral("user:") : QStringLiteral("api:");
    return QUuid::createUuidV5(QUuid(), QString(kind + caller.name)).toString(QUuid::WithoutBraces);
}

} // namespace

TokenIssuer::TokenIssuer(ReceivedFolder &folder, std::function<const Project &()> project)
    : m_store(folder)
    , m_project(std::move(project))
    , m_key(freshSecret())
{}

bool TokenIssuer::isKnown(const Caller &caller) const
{
    const ProjectAccess &access = m_project().access;
    return caller.kind == Caller::User ? access.userNamed(caller.name) != nullptr
                                       : access.credentialOf(caller.name) != nullptr;
}

QByteArray TokenIssuer::accessToken(const Caller &caller, const QString &session,
                                    const QDateTime &expires) const
{
    const ProjectUser *user =
        caller.kind == Caller::User ? m_project().access.userNamed(caller.name) : nullptr;
    QJsonObject claims{{QStringLiteral("iss"), m_issuer},
                       {QStringLiteral("sub"), subject(caller)},
                       {QStringLiteral("aud"), QStringLiteral("ios-sdk")},
                       {QStringLiteral("iat"), QDateTime::currentSecsSinceEpoch()},
                       {QStringLiteral("exp"), expires.toSecsSinceEpoch()},
                       {QStringLiteral("jti"), QString::fromLatin1(freshSecret())},
                       {QStringLiteral("sid"), session},
                       {QStringLiteral("preferred_username"), caller.name}};
    if (user) {
        claims.insert(QStringLiteral("name"), user->name);
        claims.insert(QStringLiteral("email"), user->email);
    }
    return signedToken(claims, m_key);
}

std::optional<TokenGrant> TokenIssuer::start(const Caller &caller)
{
    const TokenLifetimes tokens = m_project().access.tokens;
    const QDateTime now = QDateTime::currentDateTimeUtc();
    TokenGrant grant{QUuid::createUuid().toString(QUuid::WithoutBraces),
                     {},
                     freshSecret(),
                     tokens.accessSeconds,
                     tokens.refreshSeconds};
    const QDateTime expires = now.addSecs(tokens.accessSeconds);
    grant.accessToken = accessToken(caller, grant.session, expires);
    const bool isKept = m_store.change([&](QList<TokenRecord> &records) {
        records.append({fingerprint(grant.accessToken), TokenRecord::Access, grant.session, caller, expires});
        records.append({fingerprint(grant.refreshToken), TokenRecord::Refresh, grant.session, caller,
                        now.addSecs(tokens.refreshSeconds)});
    });
    return isKept ? std::optional(grant) : std::nullopt;
}

std::optional<TokenGrant> TokenIssuer::refresh(const QByteArray &refreshToken, Caller::Kind kind)
{
    const auto known = m_store.find(refreshToken, TokenRecord::Refresh);
    if (!known || known->caller.kind != kind || !isKnown(known->caller))
        return {};
    const TokenLifetimes tokens = m_project().access.tokens;
    const QDateTime now = QDateTime::currentDateTimeUtc();
    const QDateTime expires = now.addSecs(tokens.accessSeconds);
    TokenGrant grant{known->session, accessToken(known->caller, known->session, expires), refreshToken,
                     tokens.accessSeconds, now.secsTo(known->expires)};
    if (tokens.rotateRefresh) {
        grant.refreshToken = freshSecret();
        grant.refreshExpiresIn = tokens.refreshSeconds;
    }
    bool isThere = false; // another process may have used it up meanwhile
    const bool isKept = m_store.change([&](QList<TokenRecord> &records) {
        for (TokenRecord &record : records) {
            if (record.fingerprint != known->fingerprint)
                continue;
            isThere = true;
            if (tokens.rotateRefresh) {
                record.fingerprint = fingerprint(grant.refreshToken);
                record.expires = now.addSecs(grant.refreshExpiresIn);
            }
        }
        if (isThere)
            records.append(
                {fingerprint(grant.accessToken), TokenRecord::Access, grant.session, known->caller, expires});
    });
    return isKept && isThere ? std::optional(grant) : std::nullopt;
}

void TokenIssuer::end(const QString &session)
{
    m_store.change([&session](QList<TokenRecord> &records) {
        records.removeIf([&session](const TokenRecord &record) { return record.session == session; });
    });
}

void TokenIssuer::endWithRefreshToken(const QByteArray &refreshToken)
{
    if (const auto known = m_store.find(refreshToken, TokenRecord::Refresh))
        end(known->session);
}

std::optional<Caller> TokenIssuer::callerOf(const QByteArray &accessToken)
{
    const auto known = m_store.find(accessToken, TokenRecord::Access);
    return known && isKnown(known->caller) ? std::optional(known->caller) : std::nullopt;
}
