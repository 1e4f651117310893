// ApiPlatform: a device that is signed in to a platform of the test's, which records what it is sent.
#pragma once

#include "DVString.h"
#include "NetworkDevice.h"

// The project is "p1", the locale "fr-CA" and the step "step-1". Tokens come from the platform's own token
// endpoints. One at a time.
class ApiPlatform : public NetworkDevice
{
public:
    using Answer = DVFaultServer::Answer;

    ApiPlatform()
    {
        auto &state = DVState::shared();
        state.setAppId(u"p1"_qs);
        state.setCurrentLocaleIdentifier(u"fr_CA"_qs);
        state.setWorkflowStep(u"step-1"_qs, u"Review"_qs);
        state.log = state.editionMode = true;
        server.setHandler(&tokens);
        DVAPISession::sharedInstance().userId = u"the-api-user"_qs;
        DVAPISession::sharedInstance().userSecret = u"the-api-secret"_qs;
        signIn();
    }
    static void signIn()
    {
        const DVOutcome<> signedIn;
        DVSession::sharedInstance().getTokenWithCode(u"code"_qs, false, signedIn.take());
        QTRY_COMPLETED(signedIn);
        QVERIFY(!signedIn->error);
    }
    static void signInApi()
    {
        const DVOutcome<> signedIn;
        DVAPISession::sharedInstance().getTokenWithCompletion(signedIn.take());
        QTRY_COMPLETED(signedIn);
    }

    // Every request but those for tokens gets this.
    void answer(const Answer &answer)
    {
        server.setHandler([answer](const DVFaultServer::Request &request) {
            return isForTokens(request) ? tokens(request) : answer;
        });
    }
    // The envelope of a success around `data` (JSON text).
    static Answer success(const QByteArray &data)
    {
        return Answer::of(200, R"({"response":{"code":"SUCCESS","data":)" + data + "}}");
    }

    // What was sent besides requests for tokens.
    QList<DVFaultServer::Request> requests() const
    {
        auto all = server.requests();
        all.removeIf(&isForTokens);
        return all;
    }
    // "METHOD TARGET SIGNER" of each, with the signer's access token.
    QStringList requestLines() const
    {
        QStringList lines;
        for (const auto &request : requests())
            lines += u"%1 %2 %3"_qs.arg(QString::fromUtf8(request.method), QString::fromUtf8(request.target),
                                        QString::fromUtf8(request.header("Authorization")));
        return lines;
    }
    QJsonObject lastJsonBody() const
    {
        const auto all = requests();
        return all.isEmpty() ? QJsonObject() : QJsonDocument::fromJson(all.last().body).object();
    }

    // The one file that a multipart body carries; all null when the body is anything else.
    struct UploadedFile
    {
        QByteArray disposition;
        QByteArray type;
        QByteArray content;
    };
    static UploadedFile uploadedFile(const DVFaultServer::Request &request)
    {
        const QByteArray contentType = request.header("Content-Type");
        const QByteArray prefix("multipart/form-data; boundary=");
        if (!contentType.startsWith(prefix))
            return {};
        const QByteArray boundary = "--" + contentType.mid(prefix.size());
        const QByteArray begin = boundary + "\r\nContent-Disposition: ";
        const QByteArray end = "\r\n" + boundary + "--\r\n";
        const qsizetype headersEnd = request.body.indexOf("\r\n\r\n");
        if (!request.body.startsWith(begin) || !request.body.endsWith(end) || headersEnd < 0)
            return {};
        const QByteArray headers = request.body.left(headersEnd).mid(begin.size());
        const qsizetype typeAt = headers.indexOf("\r\nContent-Type: ");
        const QByteArray content = request.body.mid(headersEnd + 4);
        return {headers.left(typeAt), headers.mid(typeAt + 16), content.chopped(end.size())};
    }

    static QStringList takeLog() { return DVWrittenLog::take(); }

    // A record as the stores make it, of one form without plurals.
    static DVStringGroupPtr string(const QString &key, const QString &uid, const QString &text = u"t"_qs)
    {
        auto group = std::make_shared<DVStringGroup>();
        addForm(group, key, uid, {}, text);
        return group;
    }
    static void addForm(const DVStringGroupPtr &group, const QString &key, const QString &uid,
                        const QString &plural, const QString &text)
    {
        auto form = std::make_shared<DVString>();
        form->key = key;
        form->uid = uid;
        form->pluralForm = plural;
        form->localizedFormat = text;
        group->addStringForm(form);
    }

private:
    static bool isForTokens(const DVFaultServer::Request &request)
    {
        return request.target.contains("/openid-connect/") || request.target.startsWith("/auth-api/v2/auth");
    }
    static Answer tokens(const DVFaultServer::Request &request)
    {
        if (request.target.contains("/openid-connect/token"))
            return Answer::of(200, R"({"access_token":"user-token","expires_in":300,)"
                                   R"("refresh_token":"user-refresh","refresh_expires_in":1800})");
        if (request.target.startsWith("/auth-api/v2/auth"))
            return success(R"({"accessToken":"api-token","expiresIn":300,)"
                           R"("refreshToken":"api-refresh","refreshExpiresIn":1800})");
        return Answer::of(200, "{}");
    }
};
