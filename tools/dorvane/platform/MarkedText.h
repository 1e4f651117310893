// MarkedText: a source or a target as the platform handles it: the text with each placeholder between the
// two markers of arguments, U+2063 and U+2064, and without those of strings.
#pragma once

#include <QJsonValue>
#include <QString>

#include <optional>
#include <string_view>

// Of what DVXliffReader hands out when it is asked for cues.
QString markedText(std::string_view read);

// The content of an XLIFF source or target; placeholders are <ph> elements numbered from 1. Well-formed,
// whatever the markers.
QByteArray xliffOfMarkedText(const QString &text);

// In files that people read: the text, or a list of texts and {"ph": "%1"} when it has placeholders.
QJsonValue jsonOfMarkedText(const QString &text);
// Nothing when it is neither.
std::optional<QString> markedTextOfJson(const QJsonValue &json);

// Whether a text holds a marker of the in-app tools; none may leave them.
bool hasMarkers(std::string_view text);
