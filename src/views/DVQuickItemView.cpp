#include "DVQuickItemView.h"

#include "DVQuickClass.h"
#include "DVQuickPartView.h"
#include "DVQuickPush.h"
#include "DVQuickScene.h"
#include "DVQuickTexts.h"
#include "DVQuickView.h"

#include <QQuickWindow>
#include <QWidget>

namespace {

DVViewPtr viewOf(QQuickItem *item)
{
    return std::make_shared<DVQuickItemView>(item);
}

// The property that makes an item a label; null when it is none.
const char *labelProperty(const QQuickItem &item)
{
    const DVQuickShownTexts shown = dv_quickShownTexts(item);
    return shown.isLabel() ? shown.properties.first() : nullptr;
}

bool isClippedAway(const QQuickItem &item)
{
    return (item.clip() || dv_quickClass(item).isText) && dv_quickIsClippedAway(item);
}

} // namespace

DVQuickItemView::DVQuickItemView(QQuickItem *item)
    : m_item(item)
{}

QObject *DVQuickItemView::object() const
{
    return m_item;
}

bool DVQuickItemView::isSameAs(const DVView &other) const
{
    return m_item && dynamic_cast<const DVQuickItemView *>(&other) && other.object() == m_item;
}

QList<DVViewPtr> DVQuickItemView::subviews() const
{
    if (!m_item || !dv_quickIsShown(*m_item))
        return {};
    const DVQuickShownTexts shown = dv_quickShownTexts(*m_item);
    if (shown.isLabel())
        return {};
    QList<DVViewPtr> views;
    for (const char *property : shown.properties) {
        if (!dv_quickOwner(*m_item, property).item)
            views << std::make_shared<DVQuickPartView>(m_item, property);
    }
    for (QQuickItem *child : dv_quickShownChildren(*m_item)) {
        if (!isClippedAway(*child))
            views << viewOf(child);
    }
    return views;
}

DVViewPtr DVQuickItemView::superview() const
{
    if (!m_item)
        return nullptr;
    if (QQuickItem *parent = m_item->parentItem())
        return viewOf(parent);
    QQuickWindow *window = m_item->window();
    if (!window)
        return nullptr;
    QWidget *widget = dv_quickWidget(*window);
    return widget ? dv_view(widget) : dv_quickView(window);
}

DVViewPtr DVQuickItemView::viewAt(const QPointF &windowPoint)
{
    if (!m_item || !m_item->window() || !m_item->isVisible())
        return shared_from_this();
    QQuickItem *found = dv_quickItemAt(*m_item, windowPoint - dv_quickOffset(*m_item->window()));
    return found && found != m_item ? dv_quickViewOf(*found, *m_item) : shared_from_this();
}

std::optional<DVViewText> DVQuickItemView::text() const
{
    const char *property = m_item ? labelProperty(*m_item) : nullptr;
    if (!property || dv_quickOwner(*m_item, property).item)
        return std::nullopt;
    return dv_quickText(*m_item, property);
}

void DVQuickItemView::setText(const DVViewText &text, const DVViewText &newText)
{
    if (const char *property = m_item ? labelProperty(*m_item) : nullptr)
        dv_quickReplaceText(*m_item, property, text, newText);
}

QRectF DVQuickItemView::frame() const
{
    return m_item ? dv_quickFrame(*m_item) : QRectF();
}

void DVQuickItemView::contentsDidChange()
{
    if (!m_item)
        return;
    const QPointer<QQuickItem> alive = m_item;
    if (m_item->metaObject()->indexOfMethod("forceLayout()") >= 0)
        QMetaObject::invokeMethod(m_item, "forceLayout");
    if (!alive)
        return;
    m_item->polish();
    if (m_item->flags().testFlag(QQuickItem::ItemHasContents))
        m_item->update();
}

DVViewPtr dv_quickViewOf(QQuickItem &item, const QQuickItem &top)
{
    QQuickItem *label = nullptr;
    for (QQuickItem *above = &item; above; above = above == &top ? nullptr : above->parentItem()) {
        const char *property = labelProperty(*above);
        if (property && !dv_quickOwner(*above, property).item)
            label = above;
    }
    if (label)
        return viewOf(label);
    for (const char *property : dv_quickShownTexts(item).properties) {
        const DVQuickOwner owner = dv_quickOwner(item, property);
        return std::make_shared<DVQuickPartView>(owner.item ? owner.item : &item,
                                                 owner.item ? owner.property : property);
    }
    return viewOf(&item);
}
