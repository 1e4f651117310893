#include "PlantPainting.h"

#include <QPainter>
#include <QPainterPath>

#include <array>
#include <cmath>

namespace {

// Drawn on a ground of 100 by 100 units; the plants grow out of `soil`.
constexpr QPointF soil(50, 68);

QPainterPath leafPath(qreal length, qreal width)
{
    QPainterPath path;
    path.cubicTo(-width, -length * 0.3, -width * 0.7, -length * 0.75, 0, -length);
    path.cubicTo(width * 0.7, -length * 0.75, width, -length * 0.3, 0, 0);
    return path;
}

// A leaf that leaves `base` at `angle` degrees from upright, clockwise.
void leaf(QPainter &painter, QPointF base, qreal angle, QSizeF size, const QColor &colour)
{
    const qreal length = size.height();
    painter.save();
    painter.translate(base);
    painter.rotate(angle);
    painter.fillPath(leafPath(length, size.width()), colour);
    painter.setPen(QPen(colour.darker(118), 0.7, Qt::SolidLine, Qt::RoundCap));
    painter.drawLine(QPointF(0, 0), QPointF(0, -length * 0.85));
    painter.restore();
}

void stem(QPainter &painter, QPointF from, QPointF to, qreal width, const QColor &colour)
{
    painter.setPen(QPen(colour, width, Qt::SolidLine, Qt::RoundCap));
    painter.drawLine(from, to);
}

QPointF tip(QPointF base, qreal angle, qreal length)
{
    const qreal radians = angle * M_PI / 180;
    return base + QPointF(std::sin(radians), -std::cos(radians)) * length;
}

void pot(QPainter &painter, const QColor &colour)
{
    QPainterPath body;
    body.moveTo(34, 70);
    body.lineTo(66, 70);
    body.lineTo(62, 93);
    body.quadTo(61.5, 96, 58.5, 96);
    body.lineTo(41.5, 96);
    body.quadTo(38.5, 96, 38, 93);
    body.closeSubpath();
    painter.fillPath(body, colour);
    QPainterPath rim;
    rim.addRoundedRect(QRectF(31, 66, 38, 8), 2.5, 2.5);
    painter.fillPath(rim, colour.lighter(112));
    painter.fillRect(QRectF(34, 74, 32, 1.6), colour.darker(115));
}

void monsteraLeaf(QPainter &painter, QPointF end, qreal angle, qreal size, const QColor &colour)
{
    QPainterPath heart;
    heart.moveTo(0, 4);
    heart.cubicTo(-size * 0.75, 10, -size * 0.8, -size * 0.55, 0, -size);
    heart.cubicTo(size * 0.8, -size * 0.55, size * 0.75, 10, 0, 4);
    QPainterPath slits;
    for (const qreal side : {-1.0, 1.0}) {
        for (const qreal along : {0.12, 0.38, 0.62}) {
            const QPointF middle(side * size * 0.58, -size * along);
            QPainterPath slit;
            slit.addEllipse(QPointF(0, 0), size * 0.3, size * 0.05);
            slits.addPath(QTransform().translate(middle.x(), middle.y()).rotate(-side * 24).map(slit));
        }
    }
    painter.save();
    painter.translate(end);
    painter.rotate(angle);
    painter.fillPath(heart.subtracted(slits), colour);
    painter.setPen(QPen(colour.darker(120), 0.9, Qt::SolidLine, Qt::RoundCap));
    painter.drawLine(QPointF(0, 3), QPointF(0, -size * 0.9));
    painter.restore();
}

void monstera(QPainter &painter)
{
    struct Shoot
    {
        qreal angle, length, size, turn;
        QColor colour;
    };
    const std::array<Shoot, 4> shoots{{{-42, 28, 25, -58, QColor(0x3d8b5f)},
                                       {38, 28, 26, 52, QColor(0x2f7a52)},
                                       {-14, 36, 26, -18, QColor(0x2b6f4a)},
                                       {16, 20, 20, 26, QColor(0x4fa371)}}};
    for (const Shoot &shoot : shoots) {
        const QPointF end = tip(soil, shoot.angle, shoot.length);
        stem(painter, soil, end, 1.4, QColor(0x3f7a50));
        monsteraLeaf(painter, end, shoot.turn, shoot.size, shoot.colour);
    }
}

void peaceLily(QPainter &painter)
{
    for (const qreal angle : {-62, -34, -12, 14, 38, 64})
        leaf(painter, soil, angle, {8.5, 42}, angle < 0 ? QColor(0x3a8a5c) : QColor(0x2f7a50));
    for (const qreal angle : {-17, 9, 30}) {
        const QPointF end = tip(soil, angle, 46);
        stem(painter, soil, end, 1.1, QColor(0x7fb58d));
        painter.save();
        painter.translate(end);
        painter.rotate(angle + 12);
        painter.fillPath(leafPath(17, 7.5), QColor(0xfdfbf4));
        painter.setPen(QPen(QColor(0xe6dfca), 0.5));
        painter.drawPath(leafPath(17, 7.5));
        painter.restore();
        stem(painter, end + QPointF(1, -2), tip(end + QPointF(1, -2), angle + 8, 8), 2.4, QColor(0xe9c95b));
    }
}

void snakePlant(QPainter &painter)
{
    struct Blade
    {
        qreal x, angle, length;
    };
    for (const Blade blade : {Blade{-8, -13, 42}, Blade{8, 12, 45}, Blade{-3, -4, 57}, Blade{4, 5, 50}}) {
        const QPointF base = soil + QPointF(blade.x, 1);
        leaf(painter, base, blade.angle, {6.4, blade.length}, QColor(0xc9cf7a));
        leaf(painter, base, blade.angle, {4.6, blade.length - 3}, QColor(0x3f7f58));
        for (const qreal along : {0.2, 0.33, 0.46, 0.59, 0.72}) {
            const QPointF middle = tip(base, blade.angle, blade.length * along);
            stem(painter, middle - QPointF(2.2, 0.7), middle + QPointF(2.2, 0.7), 0.9, QColor(0x2c6043));
        }
    }
}

void basil(QPainter &painter)
{
    const QColor green(0x58a553);
    for (const qreal angle : {-48, -24, 0, 24, 48}) {
        const qreal height = 36 - std::abs(angle) * 0.16;
        const QPointF end = tip(soil, angle, height);
        stem(painter, soil, end, 1.2, green.darker(115));
        for (const qreal along : {0.55, 1.0}) {
            const QPointF node = tip(soil, angle, height * along);
            leaf(painter, node, angle - 58, {7.5, 15}, green.darker(106));
            leaf(painter, node, angle + 58, {7.5, 15}, green);
        }
        leaf(painter, end, angle, {7, 14}, green.lighter(112));
    }
}

void aloeVera(QPainter &painter)
{
    for (const qreal angle : {-66, 66, -46, 46, -26, 26, -8, 9}) {
        const qreal length = 54 - std::abs(angle) * 0.2;
        leaf(painter, soil + QPointF(0, 2), angle, {5.6, length},
             std::abs(angle) > 40 ? QColor(0x6aa98a) : QColor(0x83bd9c));
        for (const qreal along : {0.25, 0.4, 0.55, 0.7}) {
            const QPointF spot = tip(soil + QPointF(0, 2), angle + 1.5, length * along);
            painter.setPen(Qt::NoPen);
            painter.setBrush(QColor(0xe3f1e6));
            painter.drawEllipse(spot, 0.7, 0.7);
        }
    }
}

void lavender(QPainter &painter)
{
    for (const qreal angle : {-34, -22, -11, 0, 11, 22, 34}) {
        const qreal length = 56 - std::abs(angle) * 0.35;
        stem(painter, soil, tip(soil, angle, length), 1, QColor(0x86a77f));
        leaf(painter, tip(soil, angle, 4), angle * 1.7, {2.2, 19}, QColor(0x9db893));
        painter.setPen(Qt::NoPen);
        for (const qreal along : {0.62, 0.7, 0.78, 0.86, 0.94, 1.02}) {
            const qreal width = 3.1 - 1.6 * (along - 0.62);
            for (const qreal side : {-1.0, 1.0}) {
                painter.setBrush(side < 0 ? QColor(0x8c79c4) : QColor(0xa593d8));
                painter.drawEllipse(tip(soil, angle, length * along) + QPointF(side * 1.3, 0), width * 0.75,
                                    width);
            }
        }
    }
}

void bostonFern(QPainter &painter)
{
    for (const qreal angle : {-84, 84, -62, 62, -40, 40, -19, 19, 0}) {
        QPointF at = soil;
        qreal bend = angle * 0.55;
        for (int i = 0; i < 11; ++i) {
            const QPointF next = tip(at, bend, 4.6);
            stem(painter, at, next, 0.9, QColor(0x5c9a57));
            const qreal size = 8.5 - 0.55 * i;
            leaf(painter, next, bend - 70, {2, size}, QColor(0x5fae62));
            leaf(painter, next, bend + 70, {2, size}, QColor(0x4d9a55));
            bend += angle * 0.11;
            at = next;
        }
    }
}

void cactusBody(QPainter &painter, const QRectF &box, const QColor &colour)
{
    QPainterPath body;
    body.addRoundedRect(box, box.width() / 2, box.width() / 2);
    painter.fillPath(body, colour);
    painter.setPen(QPen(colour.darker(118), 0.8, Qt::SolidLine, Qt::RoundCap));
    for (const qreal part : {0.3, 0.5, 0.7}) {
        const qreal x = box.left() + box.width() * part;
        painter.drawLine(QPointF(x, box.top() + 5), QPointF(x, box.bottom() - 3));
    }
}

void cactus(QPainter &painter)
{
    cactusBody(painter, {30, 46, 11, 22}, QColor(0x63a87c));
    cactusBody(painter, {60, 38, 11, 22}, QColor(0x63a87c));
    painter.fillRect(QRectF(36, 58, 28, 7), QColor(0x63a87c));
    cactusBody(painter, {39, 22, 22, 50}, QColor(0x4f9a6b));
    for (const qreal angle : {-60, -30, 0, 30, 60})
        leaf(painter, {50, 24}, angle, {3.4, 10}, QColor(0xe77f9b));
    painter.setPen(QPen(QColor(0xf4f1d8), 0.7, Qt::SolidLine, Qt::RoundCap));
    for (const qreal y : {32.0, 39.0, 46.0, 53.0, 60.0}) {
        for (const qreal x : {43.0, 50.0, 57.0})
            painter.drawLine(QPointF(x - 1.3, y - 1.3), QPointF(x + 1.3, y + 1.3));
    }
}

struct Portrait
{
    void (*grow)(QPainter &);
    QColor pot;
    QColor ground;
};

Portrait portraitOf(PlantKind kind)
{
    switch (kind) {
    case PlantKind::Monstera:
        return {monstera, QColor(0xc97b53), QColor(0xe4f0e4)};
    case PlantKind::PeaceLily:
        return {peaceLily, QColor(0x5f7fa3), QColor(0xe3ebf3)};
    case PlantKind::SnakePlant:
        return {snakePlant, QColor(0xd9a441), QColor(0xf6efd9)};
    case PlantKind::Basil:
        return {basil, QColor(0xb9694a), QColor(0xe8f2dc)};
    case PlantKind::AloeVera:
        return {aloeVera, QColor(0x8a7767), QColor(0xe2f0ea)};
    case PlantKind::Lavender:
        return {lavender, QColor(0x9a8fb8), QColor(0xece8f6)};
    case PlantKind::BostonFern:
        return {bostonFern, QColor(0x4f8a86), QColor(0xdff0ea)};
    case PlantKind::Cactus:
        return {cactus, QColor(0xcf7f5f), QColor(0xf8e8e4)};
    }
    return {monstera, QColor(0xc97b53), QColor(0xe4f0e4)};
}

QRectF squareIn(const QRectF &target)
{
    const qreal side = std::min(target.width(), target.height());
    QRectF square(0, 0, side, side);
    square.moveCenter(target.center());
    return square;
}

QPainterPath arch(const QRectF &opening)
{
    const QRectF top(opening.topLeft(), QSizeF(opening.width(), opening.width()));
    QPainterPath path(opening.bottomLeft());
    path.lineTo(top.left(), top.center().y());
    path.arcTo(top, 180, -180);
    path.lineTo(opening.bottomRight());
    path.closeSubpath();
    return path;
}

} // namespace

void paintPlant(QPainter &painter, const QRectF &target, PlantKind kind)
{
    const QRectF square = squareIn(target);
    const Portrait portrait = portraitOf(kind);
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.translate(square.topLeft());
    painter.scale(square.width() / 100, square.height() / 100);
    portrait.grow(painter);
    pot(painter, portrait.pot);
    painter.restore();
}

void paintPlantBadge(QPainter &painter, const QRectF &target, PlantKind kind)
{
    const QRectF square = squareIn(target);
    const qreal margin = square.width() * 0.12;
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(portraitOf(kind).ground);
    painter.drawEllipse(square);
    painter.restore();
    paintPlant(painter, square.adjusted(margin, margin * 0.7, -margin, -margin * 1.3), kind);
}

void paintPlantWindow(QPainter &painter, const QRectF &target, PlantKind kind)
{
    const QRectF opening = target.adjusted(4, 0, -4, -6);
    const qreal wide = opening.width();
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(0xf2f5e4));
    painter.drawPath(arch(opening));
    painter.setBrush(QColor(0xd3b48c));
    painter.drawRoundedRect(QRectF(target.left(), opening.bottom(), target.width(), 6), 2, 2);
    painter.restore();
    paintPlant(painter, opening.adjusted(2, opening.height() - wide + 4, -2, 3.5), kind);
}
