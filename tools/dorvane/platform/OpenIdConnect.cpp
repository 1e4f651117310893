#include "OpenIdConnect.h"

#include "Multipart.h"
#include "Secrets.h"
#include "SignInPage.h"

#include <QJsonDocument>
#include <QUrl>

#include <utility>

namespace {

using Status = Answer::Status;
using Method = QHttpServerRequest::Method;

constexpr char16_t clientId[] = u"ios-sdk";
constexpr char16_t redirectUri[] = u"dorvane.ios.sdk://login/";
const QByteArray formType = "application/x-www-form-urlencoded";

Answer tokenAnswer(Status status, const QJsonObject &json)
{
    // RFC 6749, 5.1.
    return {status,
            "application/json",
            QJsonDocument(json).toJson(QJsonDocument::Compact),
            {{"Cache-Control", "no-store"}, {"Pragma", "no-cache"}}};
}

// RFC 6749, 5.2.
Answer tokenError(const QString &error, const QString &description)
{
    return tokenAnswer(Status::BadRequest, {{QStringLiteral("error"), error},
                                            {QStringLiteral("error_description"), description}});
}

Answer invalidRequest(const QString &description)
{
    return tokenError(QStringLiteral("invalid_request"), description);
}

Answer grantAnswer(const std::optional<TokenGrant> &grant)
{
    if (!grant)
        return tokenError(QStringLiteral("invalid_grant"), QStringLiteral("The token is not good any more."));
    return tokenAnswer(Status::Ok,
                       {{QStringLiteral("access_token"), QString::fromLatin1(grant->accessToken)},
                        {QStringLiteral("token_type"), QStringLiteral("Bearer")},
                        {QStringLiteral("expires_in"), grant->expiresIn},
                        {QStringLiteral("refresh_token"), QString::fromLatin1(grant->refreshToken)},
                        {QStringLiteral("refresh_expires_in"), grant->refreshExpiresIn},
                        {QStringLiteral("scope"), QStringLiteral("openid")},
                        {QStringLiteral("session_state"), grant->session}});
}

// `query` begins with a name.
Answer redirection(QByteArray query, const QString &state)
{
    if (!state.isEmpty())
        query += "&state=" + QUrl::toPercentEncoding(state);
    return {Status::Found,
            "text/plain; charset=utf-8",
            "",
            {{"Location", QString::fromUtf16(redirectUri).toLatin1() + '?' + query},
             {"Cache-Control", "no-store"}}};
}

// This page, relative to itself: a proxy may have it below a path of its own, and the host that a request
// names is anybody's word.
QString formAction(const QHttpServerRequest &request)
{
    return u'?' + request.url().query(QUrl::FullyEncoded);
}

// Null when the application may be sent an answer: RFC 6749, 4.1.2.1.
QString problemOfClient(const FormFields &query)
{
    if (const QString twice = query.repeatedName(); !twice.isEmpty())
        return QStringLiteral("\"%1\" is given twice.").arg(twice);
    if (query.value(QStringLiteral("client_id")) != clientId)
        return QStringLiteral("its client_id is unknown.");
    if (query.value(QStringLiteral("redirect_uri")) != redirectUri)
        return QStringLiteral("its redirect_uri is not the one of the client.");
    return {};
}

} // namespace

OpenIdConnect::OpenIdConnect(TokenIssuer &issuer, std::function<const Project &()> project)
    : m_issuer(issuer)
    , m_project(std::move(project))
{}

bool OpenIdConnect::hasPath(const QStringList &path)
{
    static const QStringList start{QStringLiteral("auth"), QStringLiteral("realms"),
                                   QStringLiteral("Dorvane"), QStringLiteral("protocol"),
                                   QStringLiteral("openid-connect")};
    return path.size() == start.size() + 1 && path.first(start.size()) == start &&
           (path.last() == u"auth" || path.last() == u"token" || path.last() == u"logout");
}

Answer OpenIdConnect::answer(const QHttpServerRequest &request, const QStringList &path)
{
    const Method method = request.method();
    if (path.last() == u"token")
        return method == Method::Post ? token(request) : Answer::methodNotAllowed("POST");
    if (path.last() == u"logout")
        return method == Method::Get || method == Method::Post ? logOut(request)
                                                               : Answer::methodNotAllowed("GET, POST");
    if (method != Method::Get && method != Method::Head && method != Method::Post)
        return Answer::methodNotAllowed("GET, HEAD, POST");
    return authorization(request);
}

Answer OpenIdConnect::authorization(const QHttpServerRequest &request)
{
    const FormFields query = FormFields::ofQuery(request);
    const QString problem = problemOfClient(query);
    if (!problem.isEmpty())
        return signInRefusal(m_project().name, problem);
    const QString state = query.value(QStringLiteral("state"));
    if (query.value(QStringLiteral("response_type")) != u"code")
        return redirection("error=unsupported_response_type", state);
    if (request.method() == Method::Post)
        return signIn(request, state);
    return signInPage(Status::Ok, m_project().name, formAction(request), {}, {});
}

Answer OpenIdConnect::signIn(const QHttpServerRequest &request, const QString &state)
{
    const ProjectAccess &access = m_project().access;
    const QString action = formAction(request);
    if (mediaType(request.value("Content-Type")) != formType ||
        request.body().size() > FormFields::largestForm)
        return signInPage(Status::BadRequest, m_project().name, action, {},
                          QStringLiteral("This form could not be read. Please try again."));
    const FormFields form = FormFields::ofForm(request.body());
    const QString name = form.value(QStringLiteral("user"));
    const ProjectUser *user = access.userNamed(name);
    // Compared in any case, so that the time does not tell which names there are.
    const bool isRight = isSameSecret(form.value(QStringLiteral("password")),
                                      user ? user->password : QString::fromLatin1(freshSecret()));
    if (!user || !isRight)
        return signInPage(Status::Forbidden, m_project().name, action, name,
                          QStringLiteral("The user name or the password is wrong."));
    return redirection("code=" + m_codes.issue(user->user, access.tokens.codeSeconds), state);
}

Answer OpenIdConnect::token(const QHttpServerRequest &request)
{
    if (mediaType(request.value("Content-Type")) != formType)
        return invalidRequest(QStringLiteral("The body must be a form."));
    if (request.body().size() > FormFields::largestForm)
        return invalidRequest(QStringLiteral("The form is too large."));
    const FormFields form = FormFields::ofForm(request.body());
    if (const QString twice = form.repeatedName(); !twice.isEmpty())
        return invalidRequest(QStringLiteral("A field is given twice."));
    if (form.value(QStringLiteral("client_id")) != clientId)
        return tokenError(QStringLiteral("invalid_client"), QStringLiteral("The client is unknown."));
    const QString type = form.value(QStringLiteral("grant_type"));
    if (type == u"authorization_code")
        return exchangeCode(form);
    if (type == u"refresh_token")
        return exchangeRefreshToken(form);
    return type.isEmpty() ? invalidRequest(QStringLiteral("\"grant_type\" is missing."))
                          : tokenError(QStringLiteral("unsupported_grant_type"),
                                       QStringLiteral("The grant type is unknown."));
}

Answer OpenIdConnect::exchangeCode(const FormFields &form)
{
    const QByteArray code = form.value(QStringLiteral("code")).toUtf8();
    if (code.isEmpty())
        return invalidRequest(QStringLiteral("\"code\" is missing."));
    if (form.value(QStringLiteral("redirect_uri")) != redirectUri)
        return tokenError(QStringLiteral("invalid_grant"), QStringLiteral("The redirect_uri is another."));
    const AuthorizationCodes::Use use = m_codes.use(code);
    if (!use.sessionToEnd.isEmpty())
        m_issuer.end(use.sessionToEnd);
    if (!use.user)
        return tokenError(QStringLiteral("invalid_grant"), QStringLiteral("The code is not good any more."));
    const auto grant = m_issuer.start({Caller::User, *use.user});
    if (!grant)
        return tokenAnswer(Status::InternalServerError,
                           {{QStringLiteral("error"), QStringLiteral("server_error")}});
    m_codes.setSession(code, grant->session);
    return grantAnswer(grant);
}

Answer OpenIdConnect::exchangeRefreshToken(const FormFields &form)
{
    const QByteArray token = form.value(QStringLiteral("refresh_token")).toUtf8();
    if (token.isEmpty())
        return invalidRequest(QStringLiteral("\"refresh_token\" is missing."));
    return grantAnswer(m_issuer.refresh(token, Caller::User));
}

// Applications name the project where the other two endpoints want the client.
Answer OpenIdConnect::logOut(const QHttpServerRequest &request)
{
    const bool isForm = request.method() == Method::Post;
    if (isForm && request.body().size() > FormFields::largestForm)
        return invalidRequest(QStringLiteral("The form is too large."));
    const FormFields fields = isForm ? FormFields::ofForm(request.body()) : FormFields::ofQuery(request);
    const QString client = fields.value(QStringLiteral("client_id"));
    if (client != clientId && client != m_project().projectId)
        return tokenError(QStringLiteral("invalid_client"), QStringLiteral("The client is unknown."));
    const QByteArray token = fields.value(QStringLiteral("refresh_token")).toUtf8();
    if (token.isEmpty())
        return invalidRequest(QStringLiteral("\"refresh_token\" is missing."));
    m_issuer.endWithRefreshToken(token); // one that is unknown has ended already (RFC 7009, 2.2)
    return {Status::NoContent, {}, {}, {{"Cache-Control", "no-store"}}};
}
