#include "GardenFont.h"

#include <QStringList>

QFont gardenFont(const QFont &systemFont)
{
    QFont font = systemFont;
    font.setFamilies({QStringLiteral("Open Sans"), QStringLiteral("Noto Sans"),
                      QStringLiteral("Noto Sans Arabic UI"), QStringLiteral("VL PGothic"),
                      QStringLiteral("Noto Sans CJK JP"), systemFont.family()});
    font.setPointSizeF(10.5);
    return font;
}
