#include "DVImages.h"

#include "DVSystemFont.h"

#include <QFontMetricsF>
#include <QGuiApplication>
#include <QPainter>
#include <QScreen>

#include <algorithm>
#include <cmath>

namespace {

constexpr double largestFont = 1000;   // pixels: no screen shows more
constexpr double usualLine = 1.2;      // of the font's size
constexpr qsizetype longestText = 200; // of a capsule; what it stands for is told apart long before

QImage canvas(int width, int height)
{
    QImage image(width, height, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    return image;
}

} // namespace

double dv_mainScreenScale()
{
    const QScreen *screen = QGuiApplication::primaryScreen();
    return screen ? screen->devicePixelRatio() : 1;
}

QImage dv_capsuleImageWithText(const QString &text, double size, const QColor &color, double scale)
{
    const double f = scale * size * 0.55;
    if (!(f > 0 && f <= largestFont)) // also what is no number
        return {};
    const QString shown = text.left(longestText);
    const QFont font = dv_systemFontInPixels(f, canvas(1, 1));
    const QFontMetricsF metrics(font);
    const int pad = int(std::ceil(2.5 * f));
    const int width = int(std::ceil(metrics.horizontalAdvance(shown))) + pad;
    const int height = int(std::ceil(1.8 * f));

    QImage image = canvas(width + 4, height);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(color);
    painter.drawRoundedRect(QRectF(2, 0, width, height), height / 2.0, height / 2.0);
    painter.setFont(font);
    painter.setPen(Qt::white);
    // The top of a line of the usual height; fonts with room for tall accents are centred in that.
    const double top = std::floor(0.4 * f) - std::max(0.0, metrics.height() - usualLine * f) / 2;
    painter.drawText(QPointF(pad / 2.0, top + metrics.ascent()), shown);
    painter.end();
    image.setDevicePixelRatio(scale);
    return image;
}

QImage dv_imageWithColor(const QColor &color)
{
    QImage image = canvas(1, 1);
    image.fill(color);
    return image;
}

QImage dv_tintedImage(const QImage &image, const QColor &tint)
{
    QImage tinted = image.convertToFormat(QImage::Format_ARGB32_Premultiplied);
    if (tinted.isNull())
        return tinted;
    QPainter painter(&tinted);
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(QRectF(QPointF(), tinted.deviceIndependentSize()), tint);
    return tinted;
}
