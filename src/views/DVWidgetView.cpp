#include "DVWidgetView.h"

#include "DVWidgetKinds.h"
#include "DVWidgetPart.h"
#include "DVWidgetTitles.h"

#include <QAbstractScrollArea>

namespace {

// The text of a widget that contains other views too, such as a button with a layout in it.
class OwnText : public DVWidgetPart
{
public:
    OwnText(QWidget *widget, DVWidgetViewPtr view)
        : DVWidgetPart(widget)
        , m_view(std::move(view))
    {}

    std::optional<DVViewText> shownText() const override { return m_view->ownText(); }
    void showText(const DVViewText &text, const DVViewText &newText) override
    {
        m_view->setOwnText(text, newText);
    }
    QRect rect() const override { return widget()->rect(); }

private:
    DVWidgetViewPtr m_view;
};

} // namespace

DVWidgetView::DVWidgetView(QWidget *widget)
    : m_widget(widget)
{}

QObject *DVWidgetView::object() const
{
    return m_widget;
}

bool DVWidgetView::isSameAs(const DVView &other) const
{
    return m_widget && dynamic_cast<const DVWidgetView *>(&other) && other.object() == m_widget;
}

QList<DVViewPtr> DVWidgetView::subviews() const
{
    if (!m_widget || !m_widget->isVisible())
        return {};
    QList<DVViewPtr> views;
    const QWidgetList children = shownChildren();
    for (const DVViewPtr &part : {ownTextPart(children), dv_titlePart(m_widget)}) {
        if (part)
            views << part;
    }
    views << parts();
    for (QWidget *child : children)
        views << dv_view(child);
    return views;
}

DVViewPtr DVWidgetView::superview() const
{
    if (!m_widget || m_widget->isWindow())
        return nullptr;
    return dv_view(m_widget->parentWidget());
}

DVViewPtr DVWidgetView::viewAt(const QPointF &windowPoint)
{
    if (!m_widget || !m_widget->isVisible())
        return shared_from_this();
    const QPoint point = m_widget->mapFrom(m_widget->window(), windowPoint.toPoint());
    QWidget *deepest = m_widget->rect().contains(point) ? m_widget->childAt(point) : nullptr;
    if (!deepest || showingWidget(deepest) == m_widget)
        return partOrSelfAt(point);
    const DVViewPtr view = dv_view(showingWidget(deepest));
    if (auto *widgetView = dynamic_cast<DVWidgetView *>(view.get()))
        return widgetView->partOrSelfAt(
            widgetView->widget()->mapFrom(m_widget->window(), windowPoint.toPoint()));
    return view->viewAt(windowPoint);
}

std::optional<DVViewText> DVWidgetView::text() const
{
    std::optional<DVViewText> own = m_widget ? ownText() : std::nullopt;
    return own && !contains(shownChildren()) ? own : std::nullopt;
}

void DVWidgetView::setText(const DVViewText &text, const DVViewText &newText)
{
    if (m_widget)
        setOwnText(text, newText);
}

QRectF DVWidgetView::frame() const
{
    return m_widget ? dv_windowRect(*m_widget, m_widget->rect()) : QRectF();
}

void DVWidgetView::contentsDidChange()
{
    if (!m_widget)
        return;
    m_widget->updateGeometry();
    m_widget->update();
}

std::optional<DVViewText> DVWidgetView::ownText() const
{
    return std::nullopt;
}

void DVWidgetView::setOwnText(const DVViewText & /*text*/, const DVViewText & /*newText*/) {}

QList<DVViewPtr> DVWidgetView::parts() const
{
    return {};
}

DVViewPtr DVWidgetView::partAt(const QPoint &point) const
{
    const QPoint windowPoint = m_widget->mapTo(m_widget->window(), point);
    DVViewPtr front;
    for (const DVViewPtr &part : parts()) {
        if (part->frame().contains(windowPoint))
            front = part;
    }
    return front;
}

QWidget *DVWidgetView::showingWidget(QWidget *child)
{
    QWidget *parent = child->parentWidget();
    const auto *area = qobject_cast<QAbstractScrollArea *>(parent);
    if (area && area->viewport() == child)
        return parent;
    return dv_widgetView(parent)->hasAsSubview(*child) ? child : parent;
}

bool DVWidgetView::hasAsSubview(const QWidget & /*child*/) const
{
    return true;
}

QWidgetList DVWidgetView::shownChildren() const
{
    QWidgetList shown;
    for (QObject *child : m_widget->children()) {
        if (!child->isWidgetType())
            continue;
        auto *widget = static_cast<QWidget *>(child);
        if (!widget->isWindow() && dv_isShown(*widget) && hasAsSubview(*widget))
            shown << widget;
    }
    return shown;
}

bool DVWidgetView::contains(const QWidgetList &children) const
{
    return !children.isEmpty() || dv_titlePart(m_widget) || !parts().isEmpty();
}

DVViewPtr DVWidgetView::ownTextPart(const QWidgetList &children) const
{
    if (!contains(children) || !ownText())
        return nullptr;
    return std::make_shared<OwnText>(m_widget, std::const_pointer_cast<DVWidgetView>(shared_from_this()));
}

DVViewPtr DVWidgetView::partOrSelfAt(const QPoint &point)
{
    if (DVViewPtr part = partAt(point))
        return part;
    const DVViewPtr title = dv_titlePart(m_widget);
    if (title && title->frame().contains(m_widget->mapTo(m_widget->window(), point)))
        return title;
    // Where its parts are not known apart, the widget stands for all of them.
    const DVViewPtr own = parts().isEmpty() ? ownTextPart(shownChildren()) : nullptr;
    return own && m_widget->rect().contains(point) ? own : shared_from_this();
}

bool dv_isShown(const QWidget &widget)
{
    if (!widget.isVisible())
        return false;
    const QWidget *parent = widget.parentWidget();
    return widget.isWindow() || !parent || !parent->rect().intersected(widget.geometry()).isEmpty();
}

QRectF dv_windowRect(const QWidget &widget, const QRect &rect)
{
    for (const QWidget *above = &widget; above; above = above->isWindow() ? nullptr : above->parentWidget()) {
        if (!dv_isShown(*above))
            return {};
    }
    return QRectF(widget.mapTo(widget.window(), rect.topLeft()), rect.size());
}
