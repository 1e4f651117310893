// DVColors: the palette of the interface.
#pragma once

#include <QColor>

namespace DVColors {

inline constexpr QColor tint(44, 165, 200); // buttons, links, switches
inline constexpr QColor bar(86, 90, 91);    // navigation bars, toolbars, spinners
inline constexpr QColor barText(246, 247, 247);
inline constexpr QColor panel(247, 247, 247); // white level 0.97
inline constexpr QColor accepted(104, 198, 180);
inline constexpr QColor rejected(242, 108, 93);
inline constexpr QColor grey(128, 128, 128);
inline constexpr QColor lightGrey(170, 170, 170);
inline constexpr QColor line(204, 204, 204); // white level 0.8
inline constexpr QColor white(255, 255, 255);

inline constexpr double maskAlpha = 0.3;
inline constexpr double flashAlpha = 0.8;

inline QColor blackWithAlpha(double alpha)
{
    return QColor::fromRgbF(0, 0, 0, float(alpha));
}

inline QColor whiteWithAlpha(double alpha)
{
    return QColor::fromRgbF(1, 1, 1, float(alpha));
}

} // namespace DVColors
