// HTTP dates (RFC 1123 form, RFC 9110 "IMF-fixdate"), independent of locale and time zone.
#pragma once

#include <QDateTime>
#include <QString>

// "Sun, 06 Nov 1994 08:49:37 GMT", whole seconds.
QString dv_httpHeaderString(const QDateTime &date);

// Strict: exactly that form, an existing day (the weekday must be its own), years 0001 to 9999, a leap second
// (":60") read as the second before. Anything else gives an invalid date.
QDateTime dv_dateFromHttpHeaderString(const QString &string);
