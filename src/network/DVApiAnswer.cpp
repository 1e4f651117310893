#include "DVApiAnswer.h"

#include "DVLocaleIdentifiers.h"
#include "DVState.h"

#include <QJsonDocument>
#include <QUrl>

namespace {

constexpr qsizetype longestLogText = 1000;

std::optional<QJsonObject> envelope(const QJsonValue &json)
{
    const QJsonValue response = json.toObject().value(u"response");
    return response.isObject() ? std::optional(response.toObject()) : std::nullopt;
}

bool isNothing(const QJsonValue &value)
{
    return value.isUndefined() || value.isNull();
}

QString compact(const QJsonValue &value)
{
    if (value.isObject())
        return QString::fromUtf8(QJsonDocument(value.toObject()).toJson(QJsonDocument::Compact));
    if (value.isArray())
        return QString::fromUtf8(QJsonDocument(value.toArray()).toJson(QJsonDocument::Compact));
    return value.toVariant().toString();
}

} // namespace

QString DVApiAnswer::projectPath(QLatin1StringView service, const QString &rest)
{
    return u'/' % service % u"/v2/projects/" % pathPiece(DVState::shared().appId()) % rest;
}

QString DVApiAnswer::currentLocale()
{
    return dorvaneLocaleIdentifierFromId(DVState::shared().currentLocaleIdentifier());
}

QString DVApiAnswer::pathPiece(const QString &text)
{
    return QString::fromLatin1(QUrl::toPercentEncoding(text));
}

DVError DVApiAnswer::unreadable()
{
    return {QStringLiteral("dorvane.API"), 500, QStringLiteral("Server error")};
}

std::optional<QJsonObject> DVApiAnswer::data(const QJsonValue &json)
{
    const auto response = envelope(json);
    const QJsonValue payload = response ? response->value(u"data") : QJsonValue();
    return payload.isObject() ? std::optional(payload.toObject()) : std::nullopt;
}

std::optional<QJsonArray> DVApiAnswer::list(const QJsonValue &json, QLatin1StringView name)
{
    const auto response = envelope(json);
    if (!response)
        return {};
    const QJsonValue payload = response->value(u"data");
    if (isNothing(payload))
        return QJsonArray();
    if (!payload.isObject())
        return {};
    const QJsonValue list = payload.toObject().value(name);
    if (isNothing(list))
        return QJsonArray();
    return list.isArray() ? std::optional(list.toArray()) : std::nullopt;
}

QString DVApiAnswer::text(const QJsonValue &value)
{
    return isNothing(value) ? QString() : compact(value);
}

QString DVApiAnswer::logLine(const QString &text)
{
    return text.left(longestLogText).simplified();
}

QString dv_hashcode(const QString &uid)
{
    return uid.left(uid.indexOf(u'['));
}
