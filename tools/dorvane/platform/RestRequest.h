// RestRequest: one call of the REST API, and the shapes of its answers.
#pragma once

#include "Answer.h"
#include "Project.h"
#include "TokenStore.h"

#include <QHttpServerRequest>
#include <QJsonArray>
#include <QJsonObject>
#include <QJsonValue>
#include <QStringList>

// Answers are in the envelope {"response": {"code", "data", "errors"}}.
struct RestRequest
{
    const QHttpServerRequest &http;
    const Project &project;
    Caller caller;  // none where the call needs no token
    QString locale; // of the path, one of the project's target locales; null where it has none

    // What somebody who is signed in may do in a step. Nothing at all for an application.
    StepPermissions permissionsIn(const WorkflowStep &step) const;

    // The body's object. Complaints go to `errors`: another content type, no JSON, another value.
    QJsonObject jsonBody(QStringList *errors) const;

    // Members of a JSON object that must be there, of a type.
    static QString text(const QJsonObject &json, const char *name, QStringList *errors);
    static QJsonArray list(const QJsonObject &json, const char *name, QStringList *errors);
    static QJsonObject object(const QJsonObject &json, const char *name, QStringList *errors);
    static double number(const QJsonObject &json, const char *name, QStringList *errors);

    static Answer success(const QJsonValue &data);
    static Answer invalid(const QStringList &errors);          // 400, at least one
    static Answer notSignedIn(const QString &reason);          // 401
    static Answer forbidden(const QString &reason);            // 403
    static Answer notFound(const QString &reason);             // 404
    static Answer methodNotAllowed(const QByteArray &allowed); // 405
    static Answer failed();                                    // 500, the log says why
};
