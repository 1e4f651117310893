// DVVectorImages: the interface's own marks, drawn from paths.
#pragma once

#include <Dorvane/DVReview.h>

#include <QImage>
#include <QPainterPath>
#include <QSize>

// A mark on its canvas, whose unit is half a point.
struct DVVectorShape
{
    QSize canvas;
    QPainterPath path;

    QSizeF sizeInPoints() const { return QSizeF(canvas) / 2; }
};

// Template images: white on transparent, two pixels a point, always shown in the tint colour of the place
// (dv_tintedImage). Each is drawn once. Main thread. What a widget draws itself it draws from the shape,
// which is sharp at every scale.
class DVVectorImages
{
public:
    static const QImage &success();             // a check mark
    static const QImage &disclosureIndicator(); // a chevron that points to the right
    static const QImage &logo();

    static const DVVectorShape &successShape();
    static const DVVectorShape &disclosureIndicatorShape();
    static const DVVectorShape &logoShape();
};
