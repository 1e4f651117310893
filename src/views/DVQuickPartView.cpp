#include "DVQuickPartView.h"

#include "DVQuickPush.h"
#include "DVQuickScene.h"
#include "DVQuickTexts.h"

#include <QQuickItem>
#include <QQuickWindow>

DVQuickPartView::DVQuickPartView(QObject *object, const char *property)
    : m_object(object)
    , m_property(property)
{}

QObject *DVQuickPartView::object() const
{
    return m_object;
}

bool DVQuickPartView::isSameAs(const DVView &other) const
{
    const auto *part = dynamic_cast<const DVQuickPartView *>(&other);
    return m_object && part && part->m_object == m_object && qstrcmp(part->m_property, m_property) == 0;
}

QList<DVViewPtr> DVQuickPartView::subviews() const
{
    return {};
}

DVViewPtr DVQuickPartView::superview() const
{
    const bool isPlaced = qobject_cast<QQuickItem *>(m_object) || qobject_cast<QQuickWindow *>(m_object);
    return isPlaced ? dv_view(m_object) : nullptr;
}

DVViewPtr DVQuickPartView::viewAt(const QPointF & /*windowPoint*/)
{
    return shared_from_this();
}

std::optional<DVViewText> DVQuickPartView::text() const
{
    return m_object ? std::optional(dv_quickText(*m_object, m_property)) : std::nullopt;
}

void DVQuickPartView::setText(const DVViewText &text, const DVViewText &newText)
{
    if (m_object)
        dv_quickReplaceText(*m_object, m_property, text, newText);
}

QRectF DVQuickPartView::frame() const
{
    const auto *item = qobject_cast<QQuickItem *>(m_object);
    if (!item)
        return {};
    QRectF frame;
    for (const DVQuickDrawer &drawer : dv_quickDrawers(*item, m_property)) {
        if (drawer.draws)
            frame |= dv_quickFrame(*drawer.item);
    }
    return frame.isEmpty() ? dv_quickFrame(*item) : frame;
}

void DVQuickPartView::contentsDidChange()
{
    if (const DVViewPtr view = superview())
        view->contentsDidChange();
}
