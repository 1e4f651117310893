#include "DVVectorImages.h"

#include <QPainter>
#include <QPolygonF>

const QImage *dv_success = nullptr;
const QImage *dv_disclosure = nullptr;
const QImage *dv_logo = nullptr;

namespace {

QPainterPath closedPolygon(const QPolygonF &corners)
{
    QPainterPath path;
    path.addPolygon(corners);
    path.closeSubpath();
    return path;
}

// A weather vane on a disc: an arrow whose feathers are bent by the wind, and the staff below it.
QPainterPath vaneOnDisc()
{
    QPainterPath disc;
    disc.addEllipse(QRectF(0, 0, 40, 40));

    QPainterPath arrow(QPointF(34, 15));
    arrow.lineTo(25, 8.5);
    arrow.lineTo(25, 13);
    arrow.cubicTo(20, 13, 17, 12.5, 14, 8.5);
    arrow.cubicTo(12, 9.5, 9, 10, 6, 9.5);
    arrow.cubicTo(9, 12, 9, 18, 6, 20.5);
    arrow.cubicTo(9, 20, 12, 20.5, 14, 21.5);
    arrow.cubicTo(17, 17.5, 20, 17, 25, 17);
    arrow.lineTo(25, 21.5);
    arrow.closeSubpath();

    QPainterPath staff;
    staff.addRoundedRect(QRectF(18.5, 19.5, 3, 11), 1.5, 1.5);
    QPainterPath foot(QPointF(11.5, 33));
    foot.cubicTo(14, 29.5, 26, 29.5, 28.5, 33);
    foot.cubicTo(26, 31.8, 14, 31.8, 11.5, 33);
    return disc.subtracted(arrow).subtracted(staff.united(foot));
}

QImage drawn(const DVVectorShape &shape)
{
    QImage image(shape.canvas, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillPath(shape.path, Qt::white);
    painter.end();
    image.setDevicePixelRatio(2);
    return image;
}

} // namespace

const DVVectorShape &DVVectorImages::successShape()
{
    static const DVVectorShape shape{{38, 28},
                                     closedPolygon({{0, 15}, {13, 28}, {38, 3}, {35, 0}, {13, 22}, {3, 12}})};
    return shape;
}

const DVVectorShape &DVVectorImages::disclosureIndicatorShape()
{
    static const DVVectorShape shape{{12, 20},
                                     closedPolygon({{2, 0}, {12, 10}, {2, 20}, {0, 18}, {8, 10}, {0, 2}})};
    return shape;
}

const DVVectorShape &DVVectorImages::logoShape()
{
    static const DVVectorShape shape{{40, 40}, vaneOnDisc()};
    return shape;
}

const QImage &DVVectorImages::success()
{
    static const QImage image = drawn(successShape());
    dv_success = &image;
    return image;
}

const QImage &DVVectorImages::disclosureIndicator()
{
    static const QImage image = drawn(disclosureIndicatorShape());
    dv_disclosure = &image;
    return image;
}

const QImage &DVVectorImages::logo()
{
    static const QImage image = drawn(logoShape());
    dv_logo = &image;
    return image;
}
