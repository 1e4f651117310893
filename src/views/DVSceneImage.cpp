#include "DVSceneImage.h"

#ifndef DORVANE_VIEWS_QUICK

QImage dv_sceneImage(QWindow *)
{
    return {};
}

#else

#include <QQuickWindow>

QImage dv_sceneImage(QWindow *window)
{
    auto *scene = qobject_cast<QQuickWindow *>(window);
    return scene ? scene->grabWindow() : QImage();
}

#endif
