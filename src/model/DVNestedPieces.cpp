#include "DVNestedPieces.h"

#include <QVarLengthArray>

namespace {

qsizetype endOf(const DVEditionItem &item)
{
    return item.location + item.length;
}

// For each piece those that stand directly inside it, leftmost first. `items` are sorted by location, highest
// first.
void findChildren(QList<DVNestedPiece> &pieces)
{
    QVarLengthArray<qsizetype, 16> around; // the pieces that are open at a position, outermost first
    for (qsizetype i = pieces.size() - 1; i >= 0; --i) {
        const DVEditionItem &item = pieces.at(i).item;
        while (!around.isEmpty() && endOf(pieces.at(around.back()).item) <= item.location)
            around.removeLast();
        if (!around.isEmpty() && item.level == pieces.at(around.back()).item.level + 1)
            pieces[around.back()].children.append(i);
        around.append(i);
    }
}

QString withEmptyChildren(const DVNestedPiece &piece, const QList<DVNestedPiece> &pieces)
{
    if (piece.children.isEmpty())
        return piece.item.string();
    const QStringView text(piece.item.text);
    QString own;
    qsizetype position = piece.item.location;
    for (const qsizetype child : piece.children) {
        const DVEditionItem &inside = pieces.at(child).item;
        own += text.mid(position, inside.location - position);
        own += dv_emptyNestedString;
        position = endOf(inside);
    }
    return own + text.mid(position, endOf(piece.item) - position);
}

} // namespace

std::optional<QList<DVNestedPiece>> dv_nestedPieces(const QList<DVEditionItem> &items)
{
    QList<DVNestedPiece> pieces;
    pieces.reserve(items.size());
    qsizetype sum = 0;
    for (const DVEditionItem &item : items) {
        sum += item.length;
        pieces.append({item, {}, {}});
    }
    if (sum > dv_maximumSumOfPieces)
        return {};
    findChildren(pieces);
    for (DVNestedPiece &piece : pieces)
        piece.text = withEmptyChildren(piece, pieces);
    return pieces;
}

QList<DVEditionItem> dv_croppedToMarkers(QList<DVEditionItem> items)
{
    if (items.size() != 1)
        return items;
    DVEditionItem &item = items.front();
    item.location = item.text.indexOf(QChar(DVCueMarker::stringStart));
    item.length = item.text.indexOf(QChar(DVCueMarker::stringEnd)) - item.location + 1;
    return items;
}
