#include "RestRequest.h"

#include "Multipart.h"

#include <QJsonDocument>

namespace {

using Status = Answer::Status;

Answer enveloped(Status status, const QString &code, const QJsonValue &data, const QStringList &errors)
{
    QJsonArray list;
    for (const QString &message : errors)
        list.append(QJsonObject{{QStringLiteral("message"), message}});
    return Answer::envelope(status, code, {{QStringLiteral("data"), data}, {QStringLiteral("errors"), list}});
}

// Where the code says all; clients show the number of errors in its place when there are some.
Answer refusal(Status status, const QString &code, const QString &reason)
{
    return enveloped(status, code, QJsonObject{{QStringLiteral("reason"), reason}}, {});
}

QJsonValue member(const QJsonObject &json, const char *name, QJsonValue::Type type, const QString &kind,
                  QStringList *errors)
{
    const QString key = QString::fromLatin1(name);
    const QJsonValue value = json.value(key);
    const bool isTold = json.isEmpty() && !errors->isEmpty(); // that there is no object at all
    if (value.type() != type && !isTold)
        errors->append(value.isUndefined() ? QStringLiteral("\"%1\" is missing").arg(key)
                                           : QStringLiteral("\"%1\" must be %2").arg(key, kind));
    return value;
}

} // namespace

StepPermissions RestRequest::permissionsIn(const WorkflowStep &step) const
{
    const ProjectUser *user = caller.kind == Caller::User ? project.access.userNamed(caller.name) : nullptr;
    if (!user)
        return {false, false, false};
    return {step.permissions.canTranslate && user->permissions.canTranslate,
            step.permissions.canSubmit && user->permissions.canSubmit,
            step.permissions.canReject && user->permissions.canReject};
}

QJsonObject RestRequest::jsonBody(QStringList *errors) const
{
    if (mediaType(http.value("Content-Type")) != "application/json") {
        errors->append(QStringLiteral("the content type must be application/json"));
        return {};
    }
    QJsonParseError syntax;
    const QJsonDocument document = QJsonDocument::fromJson(http.body(), &syntax);
    if (syntax.error != QJsonParseError::NoError)
        errors->append(QStringLiteral("the body is no JSON: %1").arg(syntax.errorString()));
    else if (!document.isObject())
        errors->append(QStringLiteral("the body must be a JSON object"));
    return document.object();
}

QString RestRequest::text(const QJsonObject &json, const char *name, QStringList *errors)
{
    return member(json, name, QJsonValue::String, QStringLiteral("a text"), errors).toString();
}

QJsonArray RestRequest::list(const QJsonObject &json, const char *name, QStringList *errors)
{
    return member(json, name, QJsonValue::Array, QStringLiteral("a list"), errors).toArray();
}

QJsonObject RestRequest::object(const QJsonObject &json, const char *name, QStringList *errors)
{
    return member(json, name, QJsonValue::Object, QStringLiteral("an object"), errors).toObject();
}

double RestRequest::number(const QJsonObject &json, const char *name, QStringList *errors)
{
    return member(json, name, QJsonValue::Double, QStringLiteral("a number"), errors).toDouble();
}

Answer RestRequest::success(const QJsonValue &data)
{
    return enveloped(Status::Ok, QStringLiteral("SUCCESS"), data, {});
}

Answer RestRequest::invalid(const QStringList &errors)
{
    return enveloped(Status::BadRequest, QStringLiteral("VALIDATION_ERROR"), QJsonValue::Null, errors);
}

Answer RestRequest::notSignedIn(const QString &reason)
{
    Answer answer = refusal(Status::Unauthorized, QStringLiteral("AUTHENTICATION_ERROR"), reason);
    const QByteArray challenge = "Bearer realm=\"Dorvane\", error=\"invalid_token\"";
    answer.headers.append({"WWW-Authenticate", challenge});
    return answer;
}

Answer RestRequest::forbidden(const QString &reason)
{
    return refusal(Status::Forbidden, QStringLiteral("AUTHORIZATION_ERROR"), reason);
}

Answer RestRequest::notFound(const QString &reason)
{
    return refusal(Status::NotFound, QStringLiteral("NOT_FOUND_ERROR"), reason);
}

Answer RestRequest::methodNotAllowed(const QByteArray &allowed)
{
    Answer answer =
        refusal(Status::MethodNotAllowed, QStringLiteral("METHOD_NOT_ALLOWED_ERROR"),
                QStringLiteral("This address answers to %1 only.").arg(QLatin1StringView(allowed)));
    answer.headers.append({"Allow", allowed});
    return answer;
}

Answer RestRequest::failed()
{
    return enveloped(Status::InternalServerError, QStringLiteral("GENERAL_ERROR"), QJsonValue::Null, {});
}
