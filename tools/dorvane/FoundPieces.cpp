#include "FoundPieces.h"

#include <DVCueMarkers.h>
#include <DVMainController.h>
#include <DVString.h>

#include <QJsonObject>
#include <QList>

namespace {

// Deeply nested pieces repeat each other: their sum grows with the square of the text.
constexpr qsizetype maximumSum = qsizetype(8) << 20; // UTF-16 units

qsizetype endOf(const DVEditionItem &item)
{
    return item.location + item.length;
}

// For each piece those that stand directly inside it, leftmost first, by their numbers. `pieces` are
// sorted by location, highest first.
QList<QList<qsizetype>> directChildren(const QList<DVEditionItem> &pieces)
{
    QList<QList<qsizetype>> children(pieces.size());
    QList<qsizetype> around; // the pieces that are open at a position, outermost first
    for (qsizetype i = pieces.size() - 1; i >= 0; --i) {
        while (!around.isEmpty() && endOf(pieces.at(around.constLast())) <= pieces.at(i).location)
            around.removeLast();
        if (!around.isEmpty() && pieces.at(i).level == pieces.at(around.constLast()).level + 1)
            children[around.constLast()].append(i);
        around.append(i);
    }
    return children;
}

// The piece with each string inside it emptied, as lookups expect it.
QString withEmptyChildren(const DVEditionItem &piece, const QList<qsizetype> &children,
                          const QList<DVEditionItem> &pieces)
{
    static const QString emptyString =
        QString(QChar(DVCueMarker::stringStart)) + QChar(DVCueMarker::stringEnd);
    QString own;
    qsizetype position = piece.location;
    for (const qsizetype child : children) {
        own += QStringView(piece.text).mid(position, pieces.at(child).location - position);
        own += emptyString;
        position = endOf(pieces.at(child));
    }
    return own + QStringView(piece.text).mid(position, endOf(piece) - position);
}

} // namespace

std::optional<QJsonArray> foundPieces(const QString &text)
{
    const QList<DVEditionItem> pieces = dv_localizedStringsInString(text);
    qsizetype sum = 0;
    for (const DVEditionItem &piece : pieces)
        sum += piece.length;
    if (sum > maximumSum)
        return {};
    const QList<QList<qsizetype>> children = directChildren(pieces);
    QJsonArray found;
    for (qsizetype i = 0; i < pieces.size(); ++i) {
        const QString own = withEmptyChildren(pieces.at(i), children.at(i), pieces);
        const auto string = DVMainController::sharedInstance().dorvaneStringWithNonNestedString(own, nullptr);
        found.append(QJsonObject{{QStringLiteral("text"), pieces.at(i).string()},
                                 {QStringLiteral("key"), string ? QJsonValue(string->key) : QJsonValue()},
                                 {QStringLiteral("level"), pieces.at(i).level}});
    }
    return found;
}
