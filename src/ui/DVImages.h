// Images that the interface draws itself.
#pragma once

#include <QColor>
#include <QImage>
#include <QString>

// Device pixels for each device-independent one on the main screen; 1 without a screen.
double dv_mainScreenScale();

// A placeholder as one unit inside text: white on a capsule of that colour, for text of `size`. The image has
// the scale as its device pixel ratio. Null for a size or scale that is no positive number, or too large to
// draw.
QImage dv_capsuleImageWithText(const QString &text, double size, const QColor &color,
                               double scale = dv_mainScreenScale());

// One pixel.
QImage dv_imageWithColor(const QColor &color);

// A template image (see DVVectorImages) in the tint colour of the place where it is shown.
QImage dv_tintedImage(const QImage &image, const QColor &tint);
