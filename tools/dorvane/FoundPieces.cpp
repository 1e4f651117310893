#include "FoundPieces.h"

#include <DVMainController.h>
#include <DVNestedPieces.h>
#include <DVString.h>

#include <QJsonObject>

std::optional<QJsonArray> foundPieces(const QString &text)
{
    const auto pieces = dv_nestedPieces(dv_localizedStringsInString(text));
    if (!pieces)
        return {};
    QJsonArray found;
    for (const DVNestedPiece &piece : *pieces) {
        const auto string =
            DVMainController::sharedInstance().dorvaneStringWithNonNestedString(piece.text, nullptr);
        found.append(QJsonObject{{QStringLiteral("text"), piece.item.string()},
                                 {QStringLiteral("key"), string ? QJsonValue(string->key) : QJsonValue()},
                                 {QStringLiteral("level"), piece.item.level}});
    }
    return found;
}
