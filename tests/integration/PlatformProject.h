// PlatformProject: a project folder with people and workflows, and requests to the platform that serves it.
#pragma once

#include "TestProject.h"

#include <QUrl>
#include <QUuid>

// User ana, password "gar den+&é"; bea may only submit; the application "app", secret "app secret". Locales
// fr-CA, pl; the strings of fr-CA: hello, greet (placeholder %1), leaves (one and other), all published;
// fresh, which only the source locale has.
class PlatformProject : public TestProject
{
public:
    explicit PlatformProject(const QJsonObject &changes = {})
    {
        setPeople(changes);
        write(u"fr-CA.xlf"_qs, frenchDocument());
        write(u"en.xlf"_qs, document(unit("fresh", "Fresh", "New here", "New here") +
                                     unit("hello", "Hello", "Hello", "Hello")));
    }

    static QString password() { return u"gar den+&\u00e9"_qs; }

    // With other members of project.json.
    void setPeople(QJsonObject changes) const
    {
        const QJsonObject people = QJsonDocument::fromJson(R"({"users": [
                {"user": "ana", "password": "gar den+&\u00e9", "name": "Ana Gardener", "email": "ana@example.com"},
                {"user": "bea", "password": "b",
                 "permissions": {"canTranslateStrings": false, "canRejectStrings": false}}],
            "apiCredentials": [{"userIdentifier": "app", "userSecret": "app secret"}]})")
                                       .object();
        if (!changes.contains(u"users"_qs))
            changes.insert(u"users"_qs, people.value(u"users"_qs));
        changes.insert(u"apiCredentials"_qs, people.value(u"apiCredentials"_qs));
        setProject(changes);
    }

    static QByteArray unit(const QByteArray &id, const QByteArray &key, const QByteArray &source,
                           const QByteArray &target, const QByteArray &attributes = {})
    {
        return "<trans-unit id=\"" + id + "\" resname=\"" + key + "\"" + attributes + "><source>" + source +
               "</source><target>" + target + "</target></trans-unit>\n";
    }
    static QByteArray document(const QByteArray &units, const QByteArray &locale = "fr-CA")
    {
        return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<xliff version=\"1.2\"><file "
               "source-language=\"en\" "
               "target-language=\"" +
               locale + "\"><body>\n" + units + "</body></file></xliff>\n";
    }
    static QByteArray frenchDocument()
    {
        return document(unit("hello", "Hello", "Hello", "Bonjour") +
                        unit("greet", "Greet", "Hi <ph id=\"1\">%1</ph>", "Salut <ph id=\"1\">%1</ph>") +
                        unit("leaves[one]", "Leaves", "%n leaf", "%n feuille") +
                        unit("leaves[other]", "Leaves", "%n leaves", "%n feuilles"));
    }

    QList<QJsonObject> receivedLines(const QString &name) const
    {
        QList<QJsonObject> lines;
        const QList<QByteArray> all = received(name).split('\n');
        for (const QByteArray &line : all) {
            if (!line.isEmpty())
                lines.append(QJsonDocument::fromJson(line).object());
        }
        return lines;
    }
    // "event hashcode" for each change of a status that it took, in its order.
    QStringList statusesTaken() const
    {
        QStringList lines;
        for (const QJsonObject &line : receivedLines(u"statuses.jsonl"_qs))
            lines.append(
                QString(line.value(u"event").toString() + u' ' + line.value(u"hashcode").toString()));
        return lines;
    }
};

// Plain requests, as clients of the platform send them.
class PlatformPeer
{
public:
    explicit PlatformPeer(const HttpPeer &peer)
        : m_peer(peer)
    {}

    static QByteArray openIdPath(const QByteArray &name)
    {
        return "/auth/realms/Dorvane/protocol/openid-connect/" + name;
    }
    static QByteArray signInPath()
    {
        return openIdPath("auth") +
               "?response_type=code&client_id=ios-sdk&redirect_uri=dorvane.ios.sdk://login/";
    }
    // Pairs of names and values, escaped as browsers do it.
    static QByteArray form(const QList<QPair<QByteArray, QString>> &fields)
    {
        QByteArrayList pairs;
        for (const auto &[name, value] : fields)
            pairs.append(name + '=' + QUrl::toPercentEncoding(value, " ").replace(' ', '+'));
        return pairs.join('&');
    }

    HttpAnswer postForm(const QByteArray &target, const QByteArray &body) const
    {
        return m_peer.request("POST", target, "Content-Type: application/x-www-form-urlencoded\r\n", body);
    }
    HttpAnswer signIn(const QString &user = u"ana"_qs,
                      const QString &password = PlatformProject::password()) const
    {
        return postForm(signInPath(), form({{"user", user}, {"password", password}}));
    }
    static QByteArray codeOf(const HttpAnswer &answer)
    {
        const QByteArray start = "dorvane.ios.sdk://login/?code=";
        const QByteArray location = answer.header("Location");
        return answer.status == 302 && location.startsWith(start) ? location.mid(start.size()) : QByteArray();
    }
    HttpAnswer exchange(const QByteArray &code) const
    {
        return postForm(openIdPath("token"), form({{"client_id", u"ios-sdk"_qs},
                                                   {"redirect_uri", u"dorvane.ios.sdk://login/"_qs},
                                                   {"code", QString::fromLatin1(code)},
                                                   {"grant_type", u"authorization_code"_qs}}));
    }
    HttpAnswer refresh(const QString &refreshToken) const
    {
        return postForm(openIdPath("token"), form({{"client_id", u"ios-sdk"_qs},
                                                   {"redirect_uri", u"dorvane.ios.sdk://login/"_qs},
                                                   {"refresh_token", refreshToken},
                                                   {"grant_type", u"refresh_token"_qs}}));
    }
    static QJsonObject json(const HttpAnswer &answer)
    {
        return QJsonDocument::fromJson(answer.body).object();
    }
    // Members of the envelope.
    static QJsonObject response(const HttpAnswer &answer)
    {
        return json(answer).value(u"response"_qs).toObject();
    }
    static QJsonObject data(const HttpAnswer &answer)
    {
        return response(answer).value(u"data"_qs).toObject();
    }
    static QString code(const HttpAnswer &answer) { return response(answer).value(u"code"_qs).toString(); }

    QJsonObject tokens(const QString &user = u"ana"_qs,
                       const QString &password = PlatformProject::password()) const
    {
        return json(exchange(codeOf(signIn(user, password))));
    }
    QByteArray accessToken(const QString &user = u"ana"_qs,
                           const QString &password = PlatformProject::password()) const
    {
        return tokens(user, password).value(u"access_token"_qs).toString().toLatin1();
    }
    HttpAnswer authenticate(const QString &identifier = u"app"_qs,
                            const QString &secret = u"app secret"_qs) const
    {
        return send("POST", "/auth-api/v2/authenticate", {},
                    QJsonObject{{u"userIdentifier"_qs, identifier}, {u"userSecret"_qs, secret}});
    }
    QByteArray applicationToken() const
    {
        return data(authenticate()).value(u"accessToken"_qs).toString().toLatin1();
    }

    static QByteArray bearer(const QByteArray &token)
    {
        return token.isEmpty() ? QByteArray() : "Authorization: Bearer " + token + "\r\n";
    }
    HttpAnswer get(const QByteArray &target, const QByteArray &token) const
    {
        return m_peer.get(target, bearer(token));
    }
    HttpAnswer send(const QByteArray &method, const QByteArray &target, const QByteArray &token,
                    const QJsonObject &body) const
    {
        return m_peer.request(method, target,
                              bearer(token) + "Content-Type: application/json;charset=UTF-8\r\n",
                              QJsonDocument(body).toJson(QJsonDocument::Compact));
    }
    static QByteArray fileBody(const QByteArray &boundary, const QByteArray &field, const QByteArray &content,
                               const QByteArray &fileName = "/1.4.1/saveFile.xlf")
    {
        return "--" + boundary + "\r\nContent-Disposition: form-data; name=\"" + field + "\"; filename=\"" +
               fileName + "\"\r\nContent-Type: application/octet-stream\r\n\r\n" + content + "\r\n--" +
               boundary + "--\r\n";
    }
    HttpAnswer upload(const QByteArray &target, const QByteArray &token, const QByteArray &field,
                      const QByteArray &content) const
    {
        const QByteArray boundary =
            "Boundary-" + QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper().toLatin1();
        return m_peer.request("POST", target,
                              bearer(token) + "Content-Type: multipart/form-data; boundary=" + boundary +
                                  "\r\n",
                              fileBody(boundary, field, content));
    }
    HttpAnswer import(const QByteArray &token, const QByteArray &units,
                      const QByteArray &locale = "fr-CA") const
    {
        return upload("/files-api/v2/projects/garden/locales/" + locale + "/content/import", token, "file",
                      PlatformProject::document(units, locale));
    }
    QByteArray exported(const QByteArray &token, const QByteArray &query,
                        const QByteArray &locale = "fr-CA") const
    {
        const HttpAnswer answer =
            get("/files-api/v2/projects/garden/locales/" + locale + "/content/export?" + query, token);
        return answer.status == 200 ? answer.body : QByteArray();
    }
    // `status`: "submittedStrings" or "rejectedStrings".
    HttpAnswer setStatus(const QByteArray &token, const QByteArray &status, const QStringList &hashcodes,
                         const QString &step) const
    {
        QJsonArray strings;
        for (const QString &hashcode : hashcodes)
            strings.append(QJsonObject{{u"hashcode"_qs, hashcode}, {u"currentWorkflowStepUid"_qs, step}});
        return send("PUT", "/workflows-strings-api/v2/projects/garden/" + status, token,
                    {{u"localeId"_qs, u"fr-CA"_qs}, {u"strings"_qs, strings}});
    }

private:
    const HttpPeer &m_peer;
};

// One that is served, and who asks it.
struct ServedPlatform
{
    explicit ServedPlatform(const QJsonObject &changes = {})
        : folder(changes)
        , server(folder.path())
    {}
    PlatformProject folder;
    ServeProcess server;
    PlatformPeer peer{server};
};
struct SignedInPlatform
{
    explicit SignedInPlatform(const QJsonObject &changes = {})
        : folder(changes)
        , server(folder.path())
    {}
    PlatformProject folder;
    ServeProcess server;
    PlatformPeer peer{server};
    QByteArray token = peer.accessToken();
};
