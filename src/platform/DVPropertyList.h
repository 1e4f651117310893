// Property lists and strings files of the host.
#pragma once

#include <QByteArray>
#include <QHash>
#include <QString>
#include <QVariantMap>

#include <optional>

// Reads an XML or binary property list whose top is a dictionary. Time and memory are linear to the
// input; null when it is damaged, nested deeper than 64 levels, or declares entities.
std::optional<QVariantMap> dv_propertyListFromData(const QByteArray &data);

// Reads a strings file: `"key" = "value";` text (UTF-8, or UTF-16 with a byte order mark; comments,
// the escapes \n \t \r \" \\ \Uxxxx, unquoted words, `"key";` for a value equal to its key), or a property
// list. A later entry replaces an earlier one of the same key. Null when the text is not of that form.
std::optional<QHash<QString, QString>> dv_stringsFileFromData(const QByteArray &data);
