#include "DVQuickWindowView.h"

#include "DVQuickItemView.h"
#include "DVQuickPartView.h"
#include "DVQuickScene.h"

DVQuickWindowView::DVQuickWindowView(QQuickWindow *window)
    : m_window(window)
{}

QObject *DVQuickWindowView::object() const
{
    return m_window;
}

bool DVQuickWindowView::isSameAs(const DVView &other) const
{
    return m_window && dynamic_cast<const DVQuickWindowView *>(&other) && other.object() == m_window;
}

QList<DVViewPtr> DVQuickWindowView::subviews() const
{
    if (!m_window || !m_window->isVisible())
        return {};
    QList<DVViewPtr> views;
    if (!m_window->title().isEmpty())
        views << std::make_shared<DVQuickPartView>(m_window, "title");
    views << std::make_shared<DVQuickItemView>(m_window->contentItem());
    return views;
}

DVViewPtr DVQuickWindowView::superview() const
{
    return nullptr;
}

DVViewPtr DVQuickWindowView::viewAt(const QPointF &windowPoint)
{
    if (!m_window || !m_window->isVisible())
        return shared_from_this();
    QQuickItem *root = m_window->contentItem();
    QQuickItem *found = dv_quickItemAt(*root, windowPoint - dv_quickOffset(*m_window));
    return found ? dv_quickViewOf(*found, *root) : shared_from_this();
}

std::optional<DVViewText> DVQuickWindowView::text() const
{
    return std::nullopt;
}

void DVQuickWindowView::setText(const DVViewText & /*text*/, const DVViewText & /*newText*/) {}

QRectF DVQuickWindowView::frame() const
{
    return m_window && m_window->isVisible() ? QRectF(dv_quickOffset(*m_window), m_window->size()) : QRectF();
}

void DVQuickWindowView::contentsDidChange()
{
    if (m_window)
        m_window->update();
}
