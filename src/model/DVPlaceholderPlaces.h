// DVPlaceholderPlaces: which of a string's arguments each format specifier of its text stands for.
#pragma once

#include "DVPrivateExport.h"

#include <QList>
#include <QStringView>

// The place of Qt's "%n" and "%Ln", the count.
inline constexpr int dv_placeOfCount = 0;
// Of a specifier that is empty and stands for nothing.
inline constexpr int dv_noPlace = -1;

// A number says its place itself: "%2$@" (POSIX printf), "%2" and "%L2" (QString::arg, 1 to 99). The others
// take places 1, 2, ... one after the other, as printf gives them their arguments.
DORVANE_PRIVATE_EXPORT QList<int> dv_placesOfSpecifiers(const QList<QStringView> &specifiers);
