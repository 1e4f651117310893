#include "DVTokenValues.h"

#include "DVHttpTransport.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr double farAway = 1e11;
constexpr qsizetype longestToken = qsizetype(64) << 10;

} // namespace

double dv_secondsFromJson(const QJsonValue &value)
{
    const double seconds = value.isString() ? value.toString().toDouble() : value.toDouble();
    return std::isfinite(seconds) ? std::clamp(seconds, -farAway, farAway) : 0.0;
}

QString dv_textMember(const QJsonObject &object, QLatin1StringView name)
{
    return object.value(name).toString();
}

bool dv_isBearerToken(const QString &token)
{
    return !token.isEmpty() && token.size() <= longestToken &&
           std::all_of(token.begin(), token.end(), [](QChar c) { return c > u' ' && c <= u'~'; });
}

void dv_setBearerToken(const std::shared_ptr<DVHttpRequest> &request, const QString &token)
{
    request->request.setRawHeader("Authorization", "Bearer " + token.toLatin1());
}
