// ApiPlatform: a device that is signed in to a platform of the test's, which records what it is sent.
#pragma once

#include "DVAPISession.h"
#include "DVAnalytics.h"
#include "DVClock.h"
#include "DVFaultServer.h"
#include "DVFolders.h"
#include "DVHttpTransport.h"
#include "DVServerUrl.h"
#include "DVSession.h"
#include "DVState.h"
#include "DVString.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMutex>
#include <QTemporaryDir>
#include <QTest>

// The project is "p1", the locale "fr-CA" and the step "step-1". Tokens come from the platform's own token
// endpoints. One at a time.
class ApiPlatform
{
public:
    using Answer = DVFaultServer::Answer;

    ApiPlatform()
    {
        current() = this;
        m_before = qInstallMessageHandler(&ApiPlatform::handle);
        DVFolders::setDocuments(m_folder.path());
        DVServerUrl::setEnvironment(1);
        DVServerUrl::setServers({{QStringLiteral("api"), server.url()},
                                 {QStringLiteral("sso"), server.url()},
                                 {QStringLiteral("delivery"), server.url()}});
        auto &state = DVState::shared();
        state.setAppId(QStringLiteral("p1"));
        state.setCurrentLocaleIdentifier(QStringLiteral("fr_CA"));
        state.setWorkflowStep(QStringLiteral("step-1"), QStringLiteral("Review"));
        state.log = state.editionMode = state.appLaunched = true;
        state.debug = false;
        state.analyticsEnabled = false;
        server.setHandler([](const DVFaultServer::Request &request) { return tokens(request); });
        DVAPISession::sharedInstance() = {};
        DVAPISession::sharedInstance().userId = QStringLiteral("the-api-user");
        DVAPISession::sharedInstance().userSecret = QStringLiteral("the-api-secret");
        signIn();
    }
    ~ApiPlatform()
    {
        server.clear();
        DVSession::sharedInstance().logOut();
        DVHttpTransport::shutDown(1000);
        DVAnalytics::sharedInstance().drain();
        DVAnalytics::sharedInstance().forgetLoaded();
        DVServerUrl::setServers({});
        DVFolders::setDocuments({});
        DVAPISession::sharedInstance() = {};
        auto &state = DVState::shared();
        state.setAppId({});
        state.setCurrentLocaleIdentifier({});
        state.setWorkflowStep({}, {});
        state.log = state.editionMode = state.appLaunched = state.debug = false;
        state.analyticsEnabled = true;
        DVClock::reset();
        qInstallMessageHandler(m_before);
        current() = nullptr;
    }
    Q_DISABLE_COPY_MOVE(ApiPlatform)

    static void signIn()
    {
        bool signedIn = false;
        DVSession::sharedInstance().getTokenWithCode(QStringLiteral("code"), false,
                                                     [&](const DVErrorOr &error) { signedIn = !error; });
        QTRY_VERIFY(signedIn);
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
            lines += QStringLiteral("%1 %2 %3")
                         .arg(QString::fromUtf8(request.method), QString::fromUtf8(request.target),
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

    QString path(const QString &name) const { return m_folder.filePath(name); }
    static QByteArray contentOf(const QString &path)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(none)");
    }

    // Messages of the library since the last call, without the "[DV] " in front.
    QStringList takeLog()
    {
        const QMutexLocker lock(&m_mutex);
        return std::exchange(m_log, {});
    }

    // A record as the stores make it, of one form without plurals.
    static DVStringGroupPtr string(const QString &key, const QString &uid,
                                   const QString &text = QStringLiteral("t"))
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

    DVFaultServer server;

private:
    static ApiPlatform *&current()
    {
        static ApiPlatform *platform = nullptr;
        return platform;
    }
    static void handle(QtMsgType type, const QMessageLogContext &context, const QString &message)
    {
        ApiPlatform *platform = current();
        if (platform && message.startsWith(QStringLiteral("[DV] "))) {
            const QMutexLocker lock(&platform->m_mutex);
            platform->m_log.append(message.mid(5));
        } else if (platform && platform->m_before) {
            platform->m_before(type, context, message);
        }
    }
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

    QTemporaryDir m_folder;
    QtMessageHandler m_before = nullptr;
    QMutex m_mutex;
    QStringList m_log;
};
