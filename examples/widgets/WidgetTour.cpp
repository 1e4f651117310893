#include "WidgetTour.h"

#include "MainWindow.h"

#include <QAction>
#include <QDialog>
#include <QLabel>
#include <QPixmap>
#include <QTabWidget>

void WidgetTour::showScreen(int screen)
{
    m_window.findChild<QTabWidget *>()->setCurrentIndex(screen);
}

void WidgetTour::openPreferences()
{
    m_window.findChild<QAction *>(QStringLiteral("openPreferences"))->trigger();
}

void WidgetTour::closePreferences()
{
    if (QDialog *dialog = preferences())
        dialog->reject();
}

void WidgetTour::setWindowVisible(bool visible)
{
    m_window.setVisible(visible);
    if (visible)
        m_window.activateWindow();
}

bool WidgetTour::isWindowVisible() const
{
    return m_window.isVisible();
}

QImage WidgetTour::pictureOfWindow()
{
    return m_window.grab().toImage();
}

QImage WidgetTour::pictureOfPreferences()
{
    QDialog *dialog = preferences();
    return dialog ? dialog->grab().toImage() : QImage();
}

QStringList WidgetTour::shownTexts() const
{
    QStringList texts;
    for (const QLabel *label : m_window.findChildren<QLabel *>())
        texts.append(label->text());
    return texts;
}

QDialog *WidgetTour::preferences() const
{
    return m_window.findChild<QDialog *>();
}
