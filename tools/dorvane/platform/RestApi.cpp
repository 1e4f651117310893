#include "RestApi.h"

#include "ProjectApi.h"

#include <utility>

namespace {

using Method = QHttpServerRequest::Method;

const QString projectSegment = QStringLiteral("{project}");
const QString localeSegment = QStringLiteral("{locale}");

bool matches(const QStringList &pattern, const QStringList &path)
{
    if (pattern.size() != path.size())
        return false;
    for (qsizetype i = 0; i < path.size(); ++i) {
        const bool isAny = pattern.at(i) == projectSegment || pattern.at(i) == localeSegment;
        if (!isAny && pattern.at(i) != path.at(i))
            return false;
    }
    return true;
}

// The segment that stands where the pattern has `name`; null when it has none.
QString segment(const QStringList &pattern, const QStringList &path, const QString &name)
{
    const qsizetype place = pattern.indexOf(name);
    return place < 0 ? QString() : path.at(place);
}

QByteArray methodName(Method method)
{
    return method == Method::Get ? "GET" : method == Method::Put ? "PUT" : "POST";
}

// RFC 6750, 2.1. Empty when there is none.
QByteArray bearerToken(const QHttpServerRequest &request)
{
    const QByteArray value = request.value("Authorization").trimmed();
    const QByteArray scheme = "bearer ";
    return value.left(scheme.size()).toLower() == scheme ? value.mid(scheme.size()).trimmed() : QByteArray();
}

} // namespace

RestApi::RestApi(TokenIssuer &issuer, Catalogues &catalogues, TranslationStore &translations,
                 ReceivedFolder &folder)
    : m_issuer(issuer)
    , m_credentials(issuer)
    , m_files(catalogues, translations)
    , m_statuses(catalogues, translations)
    , m_issues(catalogues, folder)
    , m_contexts(catalogues, folder)
{
    addRoutes();
}

void RestApi::addRoutes()
{
    const QString files = QStringLiteral("files-api/v2/projects/{project}/locales/{locale}/content/");
    const QString workflows = QStringLiteral("workflows-strings-api/v2/projects/{project}/");
    const QString contexts = QStringLiteral("context-api/v2/projects/{project}/");
    const QString auth = QStringLiteral("auth-api/v2/");
    const auto ping = [](const RestRequest &) { return RestRequest::success(QJsonValue::Null); };

    add(Method::Get, auth + QStringLiteral("ping"), SignedIn, ping);
    add(Method::Post, auth + QStringLiteral("authenticate"), Everybody,
        [this](const RestRequest &request) { return m_credentials.authenticate(request); });
    add(Method::Post, auth + QStringLiteral("authenticate/refresh"), Everybody,
        [this](const RestRequest &request) { return m_credentials.refresh(request); });
    add(Method::Get, QStringLiteral("projects-api/v2/projects/{project}"), SignedIn, ProjectApi::info);
    add(Method::Get, workflows + QStringLiteral("workflows"), UsersOnly, ProjectApi::workflows);
    add(Method::Put, workflows + QStringLiteral("submittedStrings"), UsersOnly,
        [this](const RestRequest &request) { return m_statuses.submit(request); });
    add(Method::Put, workflows + QStringLiteral("rejectedStrings"), UsersOnly,
        [this](const RestRequest &request) { return m_statuses.reject(request); });
    add(Method::Get, files + QStringLiteral("export"), SignedIn,
        [this](const RestRequest &request) { return m_files.exportContent(request); });
    add(Method::Post, files + QStringLiteral("import"), UsersOnly,
        [this](const RestRequest &request) { return m_files.importContent(request); });
    add(Method::Post, QStringLiteral("issues-api/v2/projects/{project}/issues"), UsersOnly,
        [this](const RestRequest &request) { return m_issues.create(request); });
    add(Method::Post, contexts + QStringLiteral("contexts"), SignedIn,
        [this](const RestRequest &request) { return m_contexts.createContext(request); });
    add(Method::Post, contexts + QStringLiteral("bindings"), SignedIn,
        [this](const RestRequest &request) { return m_contexts.createBindings(request); });
}

void RestApi::add(Method method, const QString &path, Admitted admitted,
                  std::function<Answer(const RestRequest &)> handler)
{
    m_routes.push_back({method, path.split(u'/'), admitted, std::move(handler)});
}

bool RestApi::hasPath(const QStringList &path)
{
    return path.size() > 1 && path.first().endsWith(u"-api");
}

Answer RestApi::answer(const QHttpServerRequest &request, const QStringList &path, const Project &project)
{
    QByteArray allowed;
    for (const Route &route : m_routes) {
        if (!matches(route.pattern, path))
            continue;
        if (route.method == request.method())
            return call(route, request, path, project);
        allowed = methodName(route.method);
    }
    return allowed.isEmpty() ? RestRequest::notFound(QStringLiteral("There is nothing at this address."))
                             : RestRequest::methodNotAllowed(allowed);
}

Answer RestApi::call(const Route &route, const QHttpServerRequest &request, const QStringList &path,
                     const Project &project)
{
    RestRequest call{request, project, {}, segment(route.pattern, path, localeSegment)};
    if (route.admitted != Everybody) {
        const auto caller = m_issuer.callerOf(bearerToken(request));
        if (!caller)
            return RestRequest::notSignedIn(
                QStringLiteral("The access token is missing or not good any more."));
        if (route.admitted == UsersOnly && caller->kind != Caller::User)
            return RestRequest::forbidden(QStringLiteral("This is for users, not for API credentials."));
        call.caller = *caller;
    }
    const QString projectId = segment(route.pattern, path, projectSegment);
    if (!projectId.isNull() && projectId != project.projectId)
        return RestRequest::notFound(QStringLiteral("There is no such project."));
    if (!call.locale.isNull() && !project.targetLocales.contains(call.locale))
        return RestRequest::notFound(QStringLiteral("The project has no such target locale."));
    return route.handler(call);
}
