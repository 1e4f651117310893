// What Dorvane::diagnostics() tells, as JSON. Dates are ISO 8601 in UTC; what is not known is null.
#pragma once

#include <Dorvane/DVDiagnostics.h>

#include <QJsonObject>

QJsonObject jsonFromDiagnostics(const DVDiagnostics &diagnostics);
QJsonObject jsonFromTextOrigin(const DVTextOrigin &origin);
