// QuickTour: the QML window as a tour of its pictures sees it.
#pragma once

#include "PictureTour.h"

QT_BEGIN_NAMESPACE
class QQuickWindow;
QT_END_NAMESPACE

class QuickTour : public TouredApplication
{
public:
    explicit QuickTour(QQuickWindow &window)
        : m_window(window)
    {}

    void showScreen(int screen) override;
    void openPreferences() override;
    void closePreferences() override;
    void setWindowVisible(bool visible) override;
    bool isWindowVisible() const override;
    QImage pictureOfWindow() override;
    QImage pictureOfPreferences() override;
    QStringList shownTexts() const override;

private:
    QQuickWindow &m_window;
};
