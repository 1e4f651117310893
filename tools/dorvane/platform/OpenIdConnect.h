// OpenIdConnect: the authorization-code flow of one client, "ios-sdk" (OpenID Connect Core 1.0, RFC 6749).
#pragma once

#include "Answer.h"
#include "AuthorizationCodes.h"
#include "FormFields.h"
#include "Project.h"
#include "TokenIssuer.h"

#include <QHttpServerRequest>
#include <QStringList>

#include <functional>

class OpenIdConnect
{
public:
    OpenIdConnect(TokenIssuer &issuer, std::function<const Project &()> project);

    // Whether this answers to a path, given in segments.
    static bool hasPath(const QStringList &path);
    // Of the path that hasPath().
    Answer answer(const QHttpServerRequest &request, const QStringList &path);

private:
    Answer authorization(const QHttpServerRequest &request);
    Answer signIn(const QHttpServerRequest &request, const QString &state);
    Answer token(const QHttpServerRequest &request);
    Answer exchangeCode(const FormFields &form);
    Answer exchangeRefreshToken(const FormFields &form);
    Answer logOut(const QHttpServerRequest &request);

    TokenIssuer &m_issuer;
    std::function<const Project &()> m_project;
    AuthorizationCodes m_codes;
};
