#include "QuickTour.h"

#include <QQuickItem>
#include <QQuickWindow>

namespace {

void collectTexts(const QQuickItem &item, QStringList *texts)
{
    if (!item.isVisible())
        return;
    const QString text = item.property("text").toString();
    if (!text.isEmpty())
        texts->append(text);
    const auto children = item.childItems();
    for (const QQuickItem *child : children)
        collectTexts(*child, texts);
}

} // namespace

void QuickTour::showScreen(int screen)
{
    m_window.setProperty("screen", screen);
}

void QuickTour::openPreferences()
{
    QMetaObject::invokeMethod(&m_window, "openPreferences");
}

void QuickTour::closePreferences()
{
    QMetaObject::invokeMethod(&m_window, "closePreferences");
}

void QuickTour::setWindowVisible(bool visible)
{
    m_window.setVisible(visible);
    if (visible)
        m_window.requestActivate();
}

bool QuickTour::isWindowVisible() const
{
    return m_window.isVisible();
}

QImage QuickTour::pictureOfWindow()
{
    return m_window.grabWindow();
}

// It is shown inside the window.
QImage QuickTour::pictureOfPreferences()
{
    return m_window.grabWindow();
}

QStringList QuickTour::shownTexts() const
{
    QStringList texts;
    collectTexts(*m_window.contentItem(), &texts);
    return texts;
}
