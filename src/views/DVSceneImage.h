// A picture of what a window of Qt Quick shows.
#pragma once

#include <QImage>

class QWindow;

// Without what lies on the window on the screen. Null for other windows, and where there is nothing to be
// seen.
QImage dv_sceneImage(QWindow *window);
