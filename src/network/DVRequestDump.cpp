#include "DVRequestDump.h"

#include "DVSecrets.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QUrl>

namespace {

constexpr qsizetype longestText = 1 << 16; // characters of a body or JSON in a dump

QString shortened(const QString &text)
{
    if (text.size() <= longestText)
        return text;
    return text.left(longestText) % u"... (" % QString::number(text.size() - longestText) % u" more)";
}

QString compactJson(const QJsonValue &json)
{
    if (json.isObject())
        return QString::fromUtf8(QJsonDocument(json.toObject()).toJson(QJsonDocument::Compact));
    if (json.isArray())
        return QString::fromUtf8(QJsonDocument(json.toArray()).toJson(QJsonDocument::Compact));
    return json.toVariant().toString();
}

QString textOfBody(const DVHttpRequest &request, const QString &bodyDebug)
{
    if (request.method == "GET")
        return {};
    return bodyDebug.isNull() ? DVRequestDump::body(request) : bodyDebug;
}

QString errorPart(const DVErrorOr &error)
{
    return error ? QString(u"\nError: " % error->description) : QString();
}

} // namespace

QString DVRequestDump::url(const QNetworkRequest &request)
{
    return DVSecrets::cleanUrl(request.url());
}

QString DVRequestDump::headers(const QNetworkRequest &request)
{
    QJsonObject headers;
    const QList<QByteArray> names = request.rawHeaderList();
    for (const QByteArray &name : names) {
        const QString key = QString::fromLatin1(name);
        headers.insert(key, QString::fromLatin1(request.rawHeader(name)));
    }
    return compactJson(DVSecrets::cleanJson(headers));
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
    // Cleaned before it is shortened, which may cut a secret.
    return shortened(type.startsWith("application/x-www-form-urlencoded") ? DVSecrets::cleanForm(text)
                                                                          : DVSecrets::cleanText(text));
}

QString DVRequestDump::json(const QJsonValue &json)
{
    return shortened(compactJson(DVSecrets::cleanJson(json)));
}

QString DVRequestDump::request(const DVHttpRequest &request, const DVHttpResponse &response,
                               const DVErrorOr &error, const QJsonValue &json, const QString &bodyDebug)
{
    const QString bodyText = textOfBody(request, bodyDebug);
    const bool hasJson = !json.isUndefined() && !json.isNull();
    return u"\n-- Dorvane Network Request --\n" % QString::fromLatin1(request.method) % u' ' %
           url(request.request) % u"\n\n" % headers(request.request) % u"\n\n" % bodyText %
           u"\n----\nResponse [" % QString::number(response.statusCode) % u']' % errorPart(error) %
           (hasJson ? QString(u"\nJSON: " % DVRequestDump::json(json)) : QString()) % u"\n----";
}

// NOLINTNEXTLINE(readability-function-size): what a download consists of
QString DVRequestDump::download(QLatin1StringView heading, const DVHttpRequest &request,
                                const DVHttpResponse &response, const DVErrorOr &error, const QString &path,
                                Body body)
{
    const QString bodyText = body == Body::Shown ? u"\n\n" % textOfBody(request, {}) : QString();
    return u"\n-- " % heading % u" --\n" % QString::fromLatin1(request.method) % u' ' % url(request.request) %
           u"\n\n" % headers(request.request) % bodyText % u"\n----\nResponse [" %
           QString::number(response.statusCode) % u']' %
           (error ? errorPart(error) : QString(u"\nSaved at " % path)) % u"\n----";
}
