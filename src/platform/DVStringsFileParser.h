// DVStringsFileParser: the text form of strings files, `"key" = "value";`.
#pragma once

#include <QByteArray>
#include <QHash>
#include <QString>

#include <optional>

namespace DVStringsFileParser {

// One pass over the text, in time linear to its length. Null at the first place that is not of the form.
std::optional<QHash<QString, QString>> parse(const QByteArray &data);

} // namespace DVStringsFileParser
