#include "GlyphPainting.h"

#include <QPainter>
#include <QPainterPath>

namespace {

// On a ground of 40 by 40 units.
void paintDrop(QPainter &painter)
{
    QPainterPath drop(QPointF(20, 8));
    drop.cubicTo(15, 15, 12, 19, 12, 23.5);
    drop.cubicTo(12, 28, 15.5, 31.5, 20, 31.5);
    drop.cubicTo(24.5, 31.5, 28, 28, 28, 23.5);
    drop.cubicTo(28, 19, 25, 15, 20, 8);
    painter.fillPath(drop, QColor(0x3d84b8));
}

void paintLeaf(QPainter &painter)
{
    QPainterPath leaf(QPointF(11, 29));
    leaf.cubicTo(8, 16, 18, 9, 31, 10);
    leaf.cubicTo(31, 23, 24, 32, 11, 29);
    painter.fillPath(leaf, QColor(0x2f6f4f));
    painter.setPen(QPen(QColor(0xdcebdd), 1.4, Qt::SolidLine, Qt::RoundCap));
    painter.drawLine(QPointF(12, 28), QPointF(25, 16));
}

void paintCalendar(QPainter &painter)
{
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(0xc8743f));
    painter.drawRoundedRect(QRectF(10, 11, 20, 19), 3, 3);
    painter.drawRoundedRect(QRectF(14, 8, 2.4, 6), 1, 1);
    painter.drawRoundedRect(QRectF(23.6, 8, 2.4, 6), 1, 1);
    painter.setBrush(QColor(0xfbeee4));
    painter.drawRect(QRectF(12, 17, 16, 11));
    painter.setBrush(QColor(0xc8743f));
    for (const QPointF at :
         {QPointF(15, 20), QPointF(20, 20), QPointF(25, 20), QPointF(15, 25), QPointF(20, 25)})
        painter.drawEllipse(at, 1.2, 1.2);
}

struct Drawing
{
    void (*paint)(QPainter &);
    QColor ground;
};

Drawing drawingOf(GlyphShape shape)
{
    switch (shape) {
    case GlyphShape::Drop:
        return {paintDrop, QColor(0xe2eef6)};
    case GlyphShape::Leaf:
        return {paintLeaf, QColor(0xe1efe3)};
    case GlyphShape::Calendar:
        break;
    }
    return {paintCalendar, QColor(0xfbe9dd)};
}

} // namespace

void paintGlyph(QPainter &painter, const QRectF &target, GlyphShape shape)
{
    const Drawing drawing = drawingOf(shape);
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.translate(target.topLeft());
    painter.scale(target.width() / 40.0, target.height() / 40.0);
    painter.setPen(Qt::NoPen);
    painter.setBrush(drawing.ground);
    painter.drawEllipse(QRectF(0, 0, 40, 40));
    drawing.paint(painter);
    painter.restore();
}
