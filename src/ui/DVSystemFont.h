// The device's font, as the interface writes with it.
#pragma once

#include <QFont>

class QPaintDevice;

// Of `points` device-independent pixels, rounded. All its properties are its own: neither the application's
// font nor a parent's shines through.
QFont dv_systemFont(double points, QFont::Weight weight = QFont::Normal);

// The same in a size that need not be a whole number of the device's pixels, for drawing on that device.
QFont dv_systemFontInPixels(double pixels, const QPaintDevice &device);
