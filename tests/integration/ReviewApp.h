// ReviewApp: an application without windows in which somebody reviews the strings of a PlatformProject.
#pragma once

#include "PlatformTexts.h"
#include "TryProcess.h"

#include <QJsonValue>

// A TryProcess in review mode. The sign-in ends with the process, all else is in the data folder.
class ReviewApp : public TryProcess
{
public:
    using TryProcess::TryProcess;

    // The platform's options with everything sent to the port, as through a proxy there.
    static QJsonObject serversAt(quint16 port)
    {
        QJsonObject servers;
        for (const auto &name : {QStringLiteral("api"), QStringLiteral("sso"), QStringLiteral("delivery"),
                                 QStringLiteral("analytics")})
            servers.insert(name, QStringLiteral("http://127.0.0.1:%1").arg(port));
        return servers;
    }
    static QString errorOf(const QJsonObject &reply)
    {
        const QJsonValue error = reply.value(QStringLiteral("error"));
        return error.isObject() ? error[QStringLiteral("description")].toString() : error.toString();
    }

    // What was wrong on the way; null when the user is signed in and the project's steps are known.
    QString signIn(quint16 port)
    {
        const QJsonObject options{{QStringLiteral("mode"), QStringLiteral("DVInAppReviewAndContextCapture")},
                                  {QStringLiteral("apiUserId"), QStringLiteral("app")},
                                  {QStringLiteral("apiUserSecret"), QStringLiteral("app secret")},
                                  {QStringLiteral("servers"), serversAt(port)},
                                  {QStringLiteral("analytics"), false}};
        const QJsonObject user{{QStringLiteral("user"), QStringLiteral("ana")},
                               {QStringLiteral("password"), PlatformProject::password()}};
        return problemOf(
            {doing(QStringLiteral("start"), {{QStringLiteral("projectId"), QStringLiteral("garden")},
                                             {QStringLiteral("options"), options}}),
             doing(QStringLiteral("signIn"), user), doing(QStringLiteral("workflows"))});
    }
    // Kept in the data folder.
    QString chooseFrenchReview()
    {
        return problemOf(
            {doing(QStringLiteral("useLocale"), {{QStringLiteral("id"), QStringLiteral("fr-CA")}}),
             doing(QStringLiteral("useStep"), {{QStringLiteral("uid"), QStringLiteral("review")}})});
    }

    QString edit(const QString &key, const QString &text, const QString &form = {})
    {
        QJsonObject members{{QStringLiteral("key"), key}, {QStringLiteral("text"), text}};
        if (!form.isNull())
            members.insert(QStringLiteral("form"), form);
        return problemOf({doing(QStringLiteral("edit"), members)});
    }
    QString accept(const QString &key)
    {
        return problemOf({doing(QStringLiteral("accept"), {{QStringLiteral("key"), key}})});
    }
    QString reject(const QString &key, const QString &description)
    {
        return problemOf(
            {doing(QStringLiteral("reject"), {{QStringLiteral("key"), key},
                                              {QStringLiteral("reason"), QStringLiteral("Poor translation")},
                                              {QStringLiteral("description"), description}})});
    }

    // SIGKILL, and the process is gone.
    void kill()
    {
        process().kill();
        process().waitForFinished();
    }

    // Of the first command that failed.
    QString problemOf(const QList<QJsonObject> &commands)
    {
        for (const QJsonObject &command : commands) {
            send(command);
            const QJsonObject answer = reply();
            const QString name = command.value(QStringLiteral("do")).toString();
            if (answer.value(QStringLiteral("reply")).toString() != name)
                return QString(name + QStringLiteral(": no reply"));
            if (answer.contains(QStringLiteral("error")))
                return QString(name + QStringLiteral(": ") + errorOf(answer));
        }
        return {};
    }
};
