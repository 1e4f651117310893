// What the debug log says of an exchange, without what must not stand in a log.
#pragma once

#include "DVHttpTransport.h"

#include <QJsonValue>
#include <QString>

struct DVRequestDump
{
    static QString url(const QNetworkRequest &request);
    static QString headers(const QNetworkRequest &request);
    // The body as text; values of a form or JSON body that are secret or bulky are left out.
    static QString body(const DVHttpRequest &request);
    static QString json(const QJsonValue &json);

    static QString request(const DVHttpRequest &request, const DVHttpResponse &response,
                           const DVErrorOr &error, const QJsonValue &json, const QString &bodyDebug);
    enum class Body { LeftOut, Shown };
    static QString download(QLatin1StringView heading, const DVHttpRequest &request,
                            const DVHttpResponse &response, const DVErrorOr &error, const QString &path,
                            Body body = Body::LeftOut);
};
