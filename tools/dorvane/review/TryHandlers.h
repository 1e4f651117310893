// TryHandlers: how commands of the application without windows are registered and answered.
#pragma once

#include "JsonMembers.h"

#include <Dorvane/DVError.h>

#include <QHash>
#include <QJsonObject>
#include <QString>

#include <functional>
#include <optional>

// Replies to one command. Nothing: the reply comes later, by TryLines::reply; or a member was wrong, which
// JsonMembers knows.
using TryHandler = std::function<std::optional<QJsonObject>(JsonMembers &)>;
using TryHandlers = QHash<QString, TryHandler>;

// What commands say on standard output.
struct TryLines
{
    std::function<void(const QJsonObject &)> reply; // to the command that is running
    std::function<void(const QJsonObject &)> event; // in between
};

// {"error": {"domain", "code", "description"}}.
inline QJsonObject jsonFromError(const DVError &error)
{
    return {{QStringLiteral("error"), QJsonObject{{QStringLiteral("domain"), error.domain},
                                                  {QStringLiteral("code"), error.code},
                                                  {QStringLiteral("description"), error.description}}}};
}
