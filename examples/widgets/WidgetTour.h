// WidgetTour: the main window as a tour of its pictures sees it.
#pragma once

#include "PictureTour.h"

class MainWindow;
class QDialog;

class WidgetTour : public TouredApplication
{
public:
    explicit WidgetTour(MainWindow &window)
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
    QDialog *preferences() const;

    MainWindow &m_window;
};
