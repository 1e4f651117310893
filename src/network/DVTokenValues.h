// What token endpoints answer, read without trusting it.
#pragma once

#include <QJsonObject>
#include <QJsonValue>
#include <QString>

#include <memory>

struct DVHttpRequest;

// A lifetime or a time, in seconds: a number, or a text that is one. 0 for anything else, also for what is
// not finite; within 10^11, so that sums and dates stay in range.
double dv_secondsFromJson(const QJsonValue &value);

// Null unless the member is a text.
QString dv_textMember(const QJsonObject &object, QLatin1StringView name);

// Whether a header can carry it: visible ASCII characters (RFC 6749, A.12), and not more than servers take.
bool dv_isBearerToken(const QString &token);

// Sets "Authorization".
void dv_setBearerToken(const std::shared_ptr<DVHttpRequest> &request, const QString &token);
