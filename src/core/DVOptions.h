// DVOptions: typed reads of the start call's options.
#pragma once

#include <Dorvane/DVNumber.h>

#include <QString>
#include <QVariantMap>

#include <optional>

// A value of another type than asked for reads as absent.
namespace DVOptions {

std::optional<QString> string(const QVariantMap &options, QLatin1StringView key);
// A boolean, or a number (0 is NO).
std::optional<bool> boolean(const QVariantMap &options, QLatin1StringView key);
std::optional<qint64> integer(const QVariantMap &options, QLatin1StringView key);
std::optional<QVariantMap> map(const QVariantMap &options, QLatin1StringView key);

} // namespace DVOptions
