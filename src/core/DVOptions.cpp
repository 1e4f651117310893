#include "DVOptions.h"

#include <QMetaType>

namespace {

std::optional<DVNumber> number(const QVariant &value)
{
    switch (value.typeId()) {
    case QMetaType::Double:
    case QMetaType::Float:
        return DVNumber(value.toDouble());
    case QMetaType::ULongLong:
    case QMetaType::ULong:
        return DVNumber(value.toULongLong());
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::Long:
    case QMetaType::LongLong:
    case QMetaType::Short:
    case QMetaType::UShort:
        return DVNumber(value.toLongLong());
    default:
        return std::nullopt;
    }
}

} // namespace

std::optional<QString> DVOptions::string(const QVariantMap &options, QLatin1StringView key)
{
    const QVariant value = options.value(key);
    if (value.typeId() != QMetaType::QString || value.toString().isNull())
        return std::nullopt;
    return value.toString();
}

std::optional<bool> DVOptions::boolean(const QVariantMap &options, QLatin1StringView key)
{
    const QVariant value = options.value(key);
    if (value.typeId() == QMetaType::Bool)
        return value.toBool();
    const auto asNumber = number(value);
    return asNumber ? std::optional(asNumber->floatValue() != 0.0f) : std::nullopt;
}

std::optional<qint64> DVOptions::integer(const QVariantMap &options, QLatin1StringView key)
{
    const auto value = number(options.value(key));
    return value ? std::optional(value->integerValue()) : std::nullopt;
}

std::optional<QVariantMap> DVOptions::map(const QVariantMap &options, QLatin1StringView key)
{
    const QVariant value = options.value(key);
    if (value.typeId() != QMetaType::QVariantMap)
        return std::nullopt;
    return value.toMap();
}
