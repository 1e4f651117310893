#include "DVRequestDump.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QUrl>
#include <QUrlQuery>

#include <algorithm>
#include <array>

namespace {

constexpr qsizetype longestText = 1 << 16; // characters of a body or JSON in a dump
constexpr int deepestJson = 64;

constexpr QLatin1StringView redacted{"<redacted>"};

// Lower case. Texts that users typed count as secrets.
constexpr std::array<QLatin1StringView, 18> secretNames = {QLatin1StringView("access_token"),
                                                           QLatin1StringView("accesstoken"),
                                                           QLatin1StringView("refresh_token"),
                                                           QLatin1StringView("refreshtoken"),
                                                           QLatin1StringView("id_token"),
                                                           QLatin1StringView("token"),
                                                           QLatin1StringView("client_secret"),
                                                           QLatin1StringView("clientsecret"),
                                                           QLatin1StringView("usersecret"),
                                                           QLatin1StringView("password"),
                                                           QLatin1StringView("code_verifier"),
                                                           QLatin1StringView("authorization"),
                                                           QLatin1StringView("issuetext"),
                                                           QLatin1StringView("otakey"),
                                                           QLatin1StringView("cookie"),
                                                           QLatin1StringView("set-cookie"),
                                                           QLatin1StringView("proxy-authorization"),
                                                           QLatin1StringView("x-api-key")};

bool isSecret(const QString &name)
{
    return std::find(secretNames.begin(), secretNames.end(), name.toLower()) != secretNames.end();
}

QString shortened(const QString &text)
{
    if (text.size() <= longestText)
        return text;
    return text.left(longestText) % u"... (" % QString::number(text.size() - longestText) % u" more)";
}

QJsonValue withoutSecrets(const QJsonValue &json, int depth = 0)
{
    if (depth > deepestJson)
        return QString(redacted);
    if (json.isArray()) {
        QJsonArray clean;
        const QJsonArray elements = json.toArray();
        for (const QJsonValue element : elements)
            clean.append(withoutSecrets(element, depth + 1));
        return clean;
    }
    if (!json.isObject())
        return json;
    QJsonObject clean;
    const QJsonObject members = json.toObject();
    for (auto member = members.begin(); member != members.end(); ++member)
        clean.insert(member.key(), isSecret(member.key()) ? QJsonValue(redacted)
                                                          : withoutSecrets(member.value(), depth + 1));
    return clean;
}

QString compactJson(const QJsonValue &json)
{
    if (json.isObject())
        return QString::fromUtf8(QJsonDocument(json.toObject()).toJson(QJsonDocument::Compact));
    if (json.isArray())
        return QString::fromUtf8(QJsonDocument(json.toArray()).toJson(QJsonDocument::Compact));
    return json.toVariant().toString();
}

// "data" carries analytics events: their number of characters says enough. "code" is an authorization
// code here (RFC 6749, 4.1.3), while in JSON it is that of an error.
QString formWithoutSecrets(const QString &form)
{
    QStringList pairs = form.split(u'&');
    for (QString &pair : pairs) {
        const qsizetype equals = pair.indexOf(u'=');
        const QString name = pair.left(equals);
        if (equals >= 0 && name == u"data")
            pair = QString(name % u"=<" % QString::number(pair.size() - equals - 1) % u" characters>");
        else if (equals >= 0 && (isSecret(name) || name == u"code"))
            pair = QString(name % u'=' % redacted);
    }
    return pairs.join(u'&');
}

QString errorPart(const DVErrorOr &error)
{
    return error ? QString(u"\nError: " % error->description) : QString();
}

} // namespace

QString DVRequestDump::url(const QNetworkRequest &request)
{
    QUrl url = request.url();
    url.setPassword({});
    url.setFragment({}); // never sent, and may carry a token
    if (url.hasQuery())
        url.setQuery(formWithoutSecrets(url.query(QUrl::FullyEncoded)), QUrl::TolerantMode);
    return url.toString(QUrl::FullyEncoded);
}

QString DVRequestDump::headers(const QNetworkRequest &request)
{
    QJsonObject headers;
    const QList<QByteArray> names = request.rawHeaderList();
    for (const QByteArray &name : names) {
        const QString key = QString::fromLatin1(name);
        headers.insert(key, isSecret(key) ? QString(redacted) : QString::fromLatin1(request.rawHeader(name)));
    }
    return compactJson(headers);
}

QString DVRequestDump::body(const DVHttpRequest &request)
{
    const QByteArray type = request.request.rawHeader("Content-Type");
    const QString text = QString::fromUtf8(request.body);
    if (type.startsWith("application/json")) {
        const QJsonDocument document = QJsonDocument::fromJson(request.body);
        // Without its structure nobody can tell what is secret.
        if (document.isNull())
            return request.body.isEmpty() ? QString()
                                          : QString(u'<' % QString::number(request.body.size()) % u" bytes>");
        return json(document.isArray() ? QJsonValue(document.array()) : QJsonValue(document.object()));
    }
    return shortened(type.startsWith("application/x-www-form-urlencoded") ? formWithoutSecrets(text) : text);
}

QString DVRequestDump::json(const QJsonValue &json)
{
    return shortened(compactJson(withoutSecrets(json)));
}

QString DVRequestDump::request(const DVHttpRequest &request, const DVHttpResponse &response,
                               const DVErrorOr &error, const QJsonValue &json, const QString &bodyDebug)
{
    QString bodyText;
    if (request.method != "GET")
        bodyText = bodyDebug.isNull() ? body(request) : bodyDebug;
    const bool hasJson = !json.isUndefined() && !json.isNull();
    return u"\n-- Dorvane Network Request --\n" % QString::fromLatin1(request.method) % u' ' %
           url(request.request) % u"\n\n" % headers(request.request) % u"\n\n" % bodyText %
           u"\n----\nResponse [" % QString::number(response.statusCode) % u']' % errorPart(error) %
           (hasJson ? QString(u"\nJSON: " % DVRequestDump::json(json)) : QString()) % u"\n----";
}

QString DVRequestDump::download(QLatin1StringView heading, const DVHttpRequest &request,
                                const DVHttpResponse &response, const DVErrorOr &error, const QString &path)
{
    return u"\n-- " % heading % u" --\n" % QString::fromLatin1(request.method) % u' ' % url(request.request) %
           u"\n\n" % headers(request.request) % u"\n----\nResponse [" % QString::number(response.statusCode) %
           u']' % (error ? errorPart(error) : QString(u"\nSaved at " % path)) % u"\n----";
}
