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
        for (const auto &name : {u"api"_qs, u"sso"_qs, u"delivery"_qs, u"analytics"_qs})
            servers.insert(name, u"http://127.0.0.1:%1"_qs.arg(port));
        return servers;
    }
    static QString errorOf(const QJsonObject &reply)
    {
        const QJsonValue error = reply.value(u"error"_qs);
        return error.isObject() ? error[u"description"_qs].toString() : error.toString();
    }

    QJsonObject start(quint16 port)
    {
        const QJsonObject options{{u"mode"_qs, u"DVInAppReviewAndContextCapture"_qs},
                                  {u"apiUserId"_qs, u"app"_qs},
                                  {u"apiUserSecret"_qs, u"app secret"_qs},
                                  {u"servers"_qs, serversAt(port)},
                                  {u"analytics"_qs, false}};
        return ask(u"start"_qs, {{u"projectId"_qs, u"garden"_qs}, {u"options"_qs, options}});
    }
    // What was wrong on the way; null when the user is signed in and the project's steps are known.
    QString signIn(quint16 port)
    {
        if (!start(port).value(u"launched"_qs).toBool())
            return u"it does not start"_qs;
        return problemOf(
            {doing(u"signIn"_qs, {{u"user"_qs, u"ana"_qs}, {u"password"_qs, PlatformProject::password()}}),
             doing(u"workflows"_qs)});
    }
    // Kept in the data folder.
    QString chooseFrenchReview()
    {
        return problemOf({doing(u"useLocale"_qs, {{u"id"_qs, u"fr-CA"_qs}}),
                          doing(u"useStep"_qs, {{u"uid"_qs, u"review"_qs}})});
    }

    QString edit(const QString &key, const QString &text, const QString &form = {})
    {
        QJsonObject members{{u"key"_qs, key}, {u"text"_qs, text}};
        if (!form.isNull())
            members.insert(u"form"_qs, form);
        return problemOf({doing(u"edit"_qs, members)});
    }
    QString accept(const QString &key) { return problemOf({doing(u"accept"_qs, {{u"key"_qs, key}})}); }
    QString reject(const QString &key, const QString &description)
    {
        return problemOf({doing(
            u"reject"_qs,
            {{u"key"_qs, key}, {u"reason"_qs, u"Poor translation"_qs}, {u"description"_qs, description}})});
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
            const QString name = command.value(u"do"_qs).toString();
            if (answer.value(u"reply"_qs).toString() != name)
                return QString(name + u": no reply"_qs);
            if (answer.contains(u"error"_qs))
                return QString(name + u": "_qs + errorOf(answer));
        }
        return {};
    }
};
