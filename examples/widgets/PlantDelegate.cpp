#include "PlantDelegate.h"

#include "Garden.h"
#include "PlantPainting.h"
#include "PlantWords.h"

#include <QPainter>

namespace {

constexpr int padding = 10;

struct Row
{
    QRect picture, name, place, due;
};

// Laid out from left to right, then mirrored where the text runs from right to left.
Row rowIn(const QStyleOptionViewItem &option, int dueWidth)
{
    const QRect inside = option.rect.adjusted(padding, padding / 2, -padding, -padding / 2);
    const int line = inside.height() / 2;
    const int textLeft = inside.left() + inside.height() + padding;
    const auto mirrored = [&](const QRect &rect) {
        return QStyle::visualRect(option.direction, option.rect, rect);
    };
    const int textWidth = inside.right() - textLeft;
    return {mirrored({inside.left(), inside.top(), inside.height(), inside.height()}),
            mirrored({textLeft, inside.top(), textWidth, line}),
            mirrored({textLeft, inside.top() + line, textWidth - dueWidth - padding, line}),
            mirrored({inside.right() - dueWidth, inside.top() + line, dueWidth, line})};
}

void drawText(QPainter *painter, const QStyleOptionViewItem &option, const QRect &rect,
              Qt::Alignment alignment, const QString &text)
{
    const QString fitting = painter->fontMetrics().elidedText(text, Qt::ElideRight, rect.width());
    painter->drawText(rect, int(QStyle::visualAlignment(option.direction, alignment)), fitting);
}

} // namespace

QSize PlantDelegate::sizeHint(const QStyleOptionViewItem &option, const QModelIndex &) const
{
    return {option.fontMetrics.averageCharWidth() * 34, option.fontMetrics.height() * 2 + 2 * padding + 4};
}

void PlantDelegate::paint(QPainter *painter, const QStyleOptionViewItem &option,
                          const QModelIndex &index) const
{
    const bool selected = option.state.testFlag(QStyle::State_Selected);
    const int days = index.data(Garden::DueRole).toInt();
    const QString due = PlantWords::due(days);
    const Row row = rowIn(option, option.fontMetrics.horizontalAdvance(due) + 2);

    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    if (selected) {
        painter->setPen(Qt::NoPen);
        painter->setBrush(QColor(0xe1efe3));
        painter->drawRoundedRect(option.rect.adjusted(3, 2, -3, -2), 10, 10);
    }
    paintPlantBadge(*painter, row.picture, PlantKind(index.data(Garden::KindRole).toInt()));

    QFont bold = option.font;
    bold.setWeight(QFont::Bold);
    painter->setFont(bold);
    painter->setPen(option.palette.color(QPalette::Text));
    drawText(painter, option, row.name, Qt::AlignLeading | Qt::AlignVCenter,
             PlantWords::name(PlantKind(index.data(Garden::KindRole).toInt())));
    painter->setFont(option.font);
    painter->setPen(QColor(0x6c7a72));
    drawText(painter, option, row.place, Qt::AlignLeading | Qt::AlignVCenter,
             PlantWords::place(Place(index.data(Garden::PlaceRole).toInt())));
    painter->setPen(days < 0 ? QColor(0xb4482a) : days == 0 ? QColor(0x2a6f9e) : QColor(0x6c7a72));
    drawText(painter, option, row.due, Qt::AlignTrailing | Qt::AlignVCenter, due);
    painter->restore();
}
