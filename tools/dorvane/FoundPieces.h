// The strings that a displayed text was made of.
#pragma once

#include <QJsonArray>
#include <QString>

#include <optional>

// Of each marked piece {"text", "key", "level"}, rightmost first; the key is null where no string of
// the served stores made the piece. Nothing when the pieces together would be unreasonably long.
std::optional<QJsonArray> foundPieces(const QString &text);
