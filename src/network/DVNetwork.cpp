#include "DVNetwork.h"

#include "DVAnalytics.h"
#include "DVJsonExchange.h"
#include "DVRequestDump.h"
#include "DVServerUrl.h"

#include "DVDevice.h"
#include "DVFolders.h"
#include "DVLog.h"
#include "DVPrivateFile.h"
#include "DVRecentEvents.h"
#include "DVSecrets.h"
#include "DVState.h"
#include "DVVersion.h"

#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace {

QString textForUrl(int server, const QString &path)
{
    const QString base = DVServerUrl::baseUrlForServer(server);
    // Not a usable address, so that the request fails as a connection does.
    return (base.isNull() ? QStringLiteral("(null)") : base) % path;
}

DVHttpRequest requestTo(const QByteArray &method, const QString &url)
{
    DVHttpRequest request;
    request.method = method;
    request.request.setUrl(QUrl(url, QUrl::TolerantMode));
    request.request.setRawHeader("User-Agent", DVNetwork::userAgent().toUtf8());
    request.maximumBodySize = DVJsonExchange::maximumAnswer;
    return request;
}

// A server may echo what it was sent, at any length, and descriptions go to hosts, logs and events. Cut once
// more before it is cleaned, so that no secret is cut too short to be known.
QString descriptionFrom(const QString &serversText)
{
    constexpr qsizetype longest = 1000;
    return DVSecrets::cleanText(serversText.left(2 * longest)).left(longest);
}

} // namespace

QString DVNetwork::deviceName()
{
    return DVDevice::deviceName();
}

QString DVNetwork::userAgent()
{
    return u"DvniOSSDK/" % dv_sdkVersion % u" (" % deviceName() % u"/iOS" % DVDevice::systemVersion() % u')';
}

QString DVNetwork::makeParamsStringsWithDict(const QVariantMap &dict)
{
    QStringList pairs;
    // Everything but the unreserved characters of RFC 3986 is escaped.
    for (auto entry = dict.begin(); entry != dict.end(); ++entry)
        pairs +=
            QString(entry.key() % u'=' % QString::fromLatin1(QUrl::toPercentEncoding(entry->toString())));
    return pairs.isEmpty() ? QString() : pairs.join(u'&');
}

DVHttpRequest DVNetwork::getRequestForServer(int server, const QString &path,
                                             const QVariantMap &withParameters)
{
    QString url = textForUrl(server, path);
    const QString parameters = makeParamsStringsWithDict(withParameters);
    // Queries go out with the raw values; the platform's parser expects them so.
    if (!parameters.isNull())
        url += u'?' % QUrl::fromPercentEncoding(parameters.toUtf8());
    return requestTo("GET", url);
}

DVHttpRequest DVNetwork::postRequestForServer(int server, bool form, const QString &path,
                                              const QVariantMap &withParameters)
{
    DVHttpRequest request = requestTo("POST", textForUrl(server, path));
    request.request.setRawHeader("Accept", "application/json;charset=UTF-8");
    request.request.setRawHeader("Content-Type", form ? QByteArrayLiteral("application/x-www-form-urlencoded")
                                                      : QByteArrayLiteral("application/json;charset=UTF-8"));
    if (withParameters.isEmpty())
        return request;
    if (form)
        request.body = makeParamsStringsWithDict(withParameters).toUtf8();
    else
        request.body =
            QJsonDocument(QJsonObject::fromVariantMap(withParameters)).toJson(QJsonDocument::Compact);
    return request;
}

bool DVNetwork::isSuccessStatusCode(int code)
{
    return code >= 200 && code < 400;
}

DVErrorOr DVNetwork::errorFromJson(const QJsonValue &json, int code)
{
    const auto apiError = [code](const QString &description) {
        return DVError{QStringLiteral("dorvane.API"), code,
                       description.isEmpty() ? QStringLiteral("Server error") : description};
    };
    if (json.isArray())
        return {};
    if (!json.isObject() || !json.toObject().contains(u"response"))
        return apiError({});
    const QJsonObject response = json.toObject().value(u"response").toObject();
    const QJsonValue errors = response.value(u"errors");
    const qsizetype count = errors.isArray() ? errors.toArray().size() : errors.toObject().size();
    if (count > 0)
        return DVError{QStringLiteral("dorvane.SDK.server"), code, QString::number(count) % u" errors"};
    return apiError(descriptionFrom(response.value(u"code").toVariant().toString()));
}

void DVNetwork::debugRequest(const DVHttpRequest &request, const DVHttpResponse &withResponse,
                             const DVErrorOr &error, const QJsonValue &andJson, const QString &bodyDebug)
{
    const QString url = DVRequestDump::url(request.request);
    const QString method = QString::fromLatin1(request.method);
    if (DVState::shared().debug)
        dv_logDebug(DVRequestDump::request(request, withResponse, error, andJson, bodyDebug));
    else if (DVState::shared().log && error)
        dv_logInfo(u"[JN] " % method % u' ' % url % u" => " % QString::number(withResponse.statusCode) %
                   u' ' % error->description);
    if (!error)
        return;
    DVRecentEvents::shared().noteError(*error);
    DVAnalytics::trackEvent(QStringLiteral("Request failed"),
                            {{QStringLiteral("Error"), error->description},
                             {QStringLiteral("URL"), url},
                             {QStringLiteral("Method"), method},
                             {QStringLiteral("Code"), withResponse.statusCode}});
}

void DVNetwork::announceWrite(const QByteArray &data, const QString &toFile)
{
    dv_logDebugLazily(
        [&] { return QString(u"Writing " % QString::number(data.size()) % u" bytes to " % toFile); });
}

DVErrorOr DVNetwork::writeData(const QByteArray &data, const QString &toFile)
{
    const QString folder = QFileInfo(toFile).path();
    if (!DVFolders::makePrivateFolder(folder))
        return DVError{QStringLiteral("dorvane.file"), QFileDevice::OpenError,
                       u"Cannot create the folder " % folder};
    announceWrite(data, toFile);
    return DVPrivateFile::write(toFile, data);
}

void DVNetwork::getUrl(const QString &url, DVJsonCompletion withCompletion)
{
    DVHttpRequest request = requestTo("GET", url);
    request.request.setRawHeader("Content-Type", "application/json");
    request.request.setRawHeader("Accept", "application/json");
    DVJsonExchange::send(request, withCompletion);
}

void DVNetwork::postPath(const QString &path, bool form, int onServer, const QVariantMap &withParameters,
                         DVJsonCompletion andCompletion)
{
    DVJsonExchange::send(postRequestForServer(onServer, form, path, withParameters), andCompletion);
}
