#include "Platform.h"

#include "TranslationDocument.h"

#include <DVHttpDate.h>

namespace {

using Status = Answer::Status;
using Method = QHttpServerRequest::Method;

bool reads(const QHttpServerRequest &request)
{
    return request.method() == Method::Get || request.method() == Method::Head;
}

// Split first and decoded then, so that an encoded slash stays part of its segment.
QStringList segments(const QUrl &url)
{
    QStringList result;
    for (const QByteArray &segment : url.path(QUrl::FullyEncoded).toLatin1().split('/').mid(1))
        result.append(QString::fromUtf8(QByteArray::fromPercentEncoding(segment)));
    return result;
}

// /projects/<project>/<version>/<locale>/strings.gz[/force]
bool isDeliveryPath(const QStringList &path)
{
    return path.size() >= 5 && path.size() <= 6 && path.at(0) == u"projects" && path.at(4) == u"strings.gz" &&
           (path.size() == 5 || path.at(5) == u"force");
}

bool isCurrent(const QHttpServerRequest &request, const QDateTime &modified)
{
    const QDateTime since =
        dv_dateFromHttpHeaderString(QString::fromLatin1(request.value("If-Modified-Since")));
    return since.isValid() && modified <= since; // RFC 9110, 13.1.3
}

} // namespace

Platform::Platform(const QString &folder, ProjectFolder::Log log)
    : m_folder(folder, log)
    , m_events(folder)
    , m_log(log)
    , m_received(folder, log)
    , m_catalogues(folder, log)
    , m_translations(m_received, std::move(log))
    , m_issuer(m_received, [this]() -> const Project & { return m_folder.lastProject(); })
    , m_openId(m_issuer, [this]() -> const Project & { return m_folder.lastProject(); })
    , m_rest(m_issuer, m_catalogues, m_translations, m_received)
{
    m_folder.setPublished({[this](const QString &locale) { return m_translations.filePath(locale); },
                           [this](const QString &locale) {
                               return publishedDocument(m_folder.lastProject(), locale,
                                                        m_catalogues.ofLocale(locale, m_folder.lastProject()),
                                                        m_translations.states(locale));
                           }});
}

void Platform::setBaseUrl(const QString &url)
{
    m_issuer.setIssuer(url + QStringLiteral("/auth/realms/Dorvane"));
}

Answer Platform::answer(const QHttpServerRequest &request)
{
    const QStringList path = segments(request.url());
    const Project &project = m_folder.project(); // once for each request
    if (isDeliveryPath(path))
        return reads(request) ? deliver(request, path) : Answer::methodNotAllowed("GET, HEAD");
    if (path == QStringList(QStringLiteral("track")))
        return request.method() == Method::Post ? track(request) : Answer::methodNotAllowed("POST");
    if (path == QStringList(QString()) || path.isEmpty())
        return reads(request) ? welcome() : Answer::methodNotAllowed("GET, HEAD");
    if (OpenIdConnect::hasPath(path))
        return m_openId.answer(request, path);
    if (RestApi::hasPath(path))
        return m_rest.answer(request, path, project);
    return Answer::text(Status::NotFound, QStringLiteral("There is nothing at this address."));
}

// Names from the request are only compared with known names; none becomes a path unchecked.
Answer Platform::refuseDelivery(const QStringList &path)
{
    const Project &project = m_folder.project();
    if (path.at(1) != project.projectId)
        return Answer::text(Status::NotFound, QStringLiteral("No such project."));
    if (!project.deliveryEnabled)
        return Answer::text(Status::Forbidden, QStringLiteral("Delivery is switched off for this project."));
    return Answer::text(Status::NotFound, QStringLiteral("No strings for this locale and version."));
}

Answer Platform::deliver(const QHttpServerRequest &request, const QStringList &path)
{
    const Project &project = m_folder.project();
    const QString &locale = path.at(3);
    const bool known =
        path.at(1) == project.projectId && project.hasVersion(path.at(2)) && project.hasLocale(locale);
    if (!known || !project.deliveryEnabled)
        return refuseDelivery(path);

    Publication publication;
    switch (m_folder.publication(locale, &publication)) {
    case ProjectFolder::Unpublished:
        return refuseDelivery(path);
    case ProjectFolder::Unreadable:
        return Answer::text(Status::InternalServerError,
                            QStringLiteral("The strings of this locale cannot be read; "
                                           "the server's log says why."));
    case ProjectFolder::Available:
        break;
    }
    const QDateTime now = QDateTime::currentDateTimeUtc();
    const QDateTime lastModified =
        std::min(publication.modified, now); // RFC 9110, 8.8.2.1: never in the future
    Answer answer{Status::Ok,
                  "application/octet-stream",
                  publication.file,
                  {{"Last-Modified", dv_httpHeaderString(lastModified).toLatin1()},
                   {"Expires", dv_httpHeaderString(now.addSecs(project.expiresSeconds)).toLatin1()}}};
    const bool forced = path.size() == 6;
    if (!forced && isCurrent(request, publication.modified)) {
        answer.status = Status::NotModified;
        answer.contentType.clear();
        answer.body.clear();
    }
    return answer;
}

Answer Platform::track(const QHttpServerRequest &request)
{
    QString problem;
    const auto events = EventLog::eventsFromForm(request.body(), &problem);
    if (!events)
        return Answer::envelope(Status::BadRequest, QStringLiteral("VALIDATION_ERROR"),
                                {{QStringLiteral("errors"), QJsonArray{problem}}});
    problem = m_events.append(*events);
    if (!problem.isEmpty()) {
        m_log(problem);
        return Answer::envelope(Status::InternalServerError, QStringLiteral("GENERAL_ERROR"), {});
    }
    return Answer::envelope(
        Status::Ok, QStringLiteral("SUCCESS"),
        {{QStringLiteral("data"), QJsonObject{{QStringLiteral("received"), events->size()}}}});
}

Answer Platform::welcome()
{
    const Project &project = m_folder.project();
    QStringList steps;
    for (const Workflow &workflow : project.workflows.workflows()) {
        for (const WorkflowStep &step : workflow.steps)
            steps.append(step.name);
    }
    const auto list = [](const QStringList &names) {
        return names.isEmpty() ? QStringLiteral("none") : names.join(QStringLiteral(", "));
    };
    return Answer::text(
        Status::Ok,
        QStringLiteral("Local stand-in for the translation platform, for development.\n"
                       "Project: %1 (%2)\nSource locale: %3\nTarget locales: %4\nWorkflow steps: %5\n"
                       "Sign-in page: /auth/realms/Dorvane/protocol/openid-connect/auth"
                       "?response_type=code&client_id=ios-sdk&redirect_uri=dorvane.ios.sdk://login/\n"
                       "What it is sent is kept in the folder \"received\" of the project's folder.")
            .arg(project.name, project.projectId, project.sourceLocale, list(project.targetLocales),
                 list(steps)));
}
