// The two forms of a property list. Both readers take time linear to the input, and nothing in it
// makes them fail other than by an answer of null. Null also when the top is no dictionary.
#pragma once

#include <QByteArray>
#include <QVariantMap>

#include <optional>

constexpr int dv_propertyListDepthLimit = 64;

std::optional<QVariantMap> dv_mapFromXmlPropertyList(const QByteArray &data);
std::optional<QVariantMap> dv_mapFromBinaryPropertyList(const QByteArray &data);
