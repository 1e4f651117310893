#include "DVSystemFont.h"

#include <QFontDatabase>
#include <QPaintDevice>
#include <QStringList>

#include <algorithm>

namespace {

QFont plainSystemFont()
{
    // Only the family: a desktop's setting of size and weight is for the desktop's own geometry.
    QFont font(QFontDatabase::systemFont(QFontDatabase::GeneralFont).families());
    font.setResolveMask(QFont::AllPropertiesResolved);
    return font;
}

} // namespace

QFont dv_systemFont(double points, QFont::Weight weight)
{
    QFont font = plainSystemFont();
    font.setPixelSize(std::max(1, qRound(points)));
    font.setWeight(weight);
    font.setResolveMask(QFont::AllPropertiesResolved);
    return font;
}

QFont dv_systemFontInPixels(double pixels, const QPaintDevice &device)
{
    QFont font = plainSystemFont();
    // Only points may be fractions; 72 of them are an inch.
    font.setPointSizeF(pixels * 72 / device.logicalDpiY());
    font.setResolveMask(QFont::AllPropertiesResolved);
    return font;
}
