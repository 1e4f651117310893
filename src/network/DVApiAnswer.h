// DVApiAnswer: what the platform's REST operations have in common, their paths and their answers.
#pragma once

#include <Dorvane/DVError.h>

#include <QJsonArray>
#include <QJsonObject>
#include <QJsonValue>
#include <QString>

#include <optional>

// An answer is an envelope: an object whose member "response" is an object, with the payload in its "data".
namespace DVApiAnswer {

// "/SERVICE/v2/projects/PROJECT" plus `rest`, with the project of DVState.
QString projectPath(QLatin1StringView service, const QString &rest = {});
// Platform form of the current locale of DVState, and percent-encoded as a piece of a path.
QString currentLocale();
QString pathPiece(const QString &text);

// What a successful answer that cannot be read counts as.
DVError unreadable();

// The payload; nothing when it is no object, or the answer no envelope.
std::optional<QJsonObject> data(const QJsonValue &json);

// The list of that name in the payload; empty when list or payload are absent or null. Nothing when the
// answer is no envelope, or what stands there is something else: then nobody knows what the platform took.
std::optional<QJsonArray> list(const QJsonValue &json, QLatin1StringView name);

// A text of the platform's for people: strings as they are, anything else as JSON; null for none.
QString text(const QJsonValue &value);
// The same in one line of a length that suits a log.
QString logLine(const QString &text);

} // namespace DVApiAnswer

// The platform's identifier of a string: `uid` without the "[category]" of a plural form.
QString dv_hashcode(const QString &uid);
