#include "DVQuickScene.h"

#include "DVQuickClass.h"

#include <QApplication>
#include <QColor>
#include <QQuickItem>
#include <QQuickRenderControl>
#include <QQuickWidget>
#include <QQuickWindow>
#include <QVariant>
#include <QWidget>

#include <algorithm>

namespace {

QRectF ownRect(const QQuickItem &item)
{
    return {0, 0, item.width(), item.height()};
}

// In points of the scene.
QRectF unclippedRect(const QQuickItem &item)
{
    QRectF rect = item.mapRectToScene(ownRect(item));
    for (const QQuickItem *above = item.parentItem(); above && !rect.isEmpty(); above = above->parentItem()) {
        // A view keeps delegates outside of its area ready and does not draw them, although they are visible.
        if (above->clip() || !above->parentItem()) {
            const QRectF clip = above->mapRectToScene(above->clip() ? above->clipRect() : ownRect(*above));
            rect = clip.isEmpty() && !above->clip() ? rect : rect & clip;
        } else if (dv_quickClass(*above).isItemView &&
                   !rect.intersects(above->mapRectToScene(ownRect(*above)))) {
            return {};
        }
    }
    return rect;
}

bool draws(const QQuickItem &item)
{
    if (!item.flags().testFlag(QQuickItem::ItemHasContents))
        return false;
    return !item.inherits("QQuickRectangle") || item.property("color").value<QColor>().alpha() > 0;
}

// A container is where its window is. Which window it contains no public function tells.
bool contains(const QWidget &widget, const QQuickWindow &window)
{
    const QWidget *top = widget.window();
    return widget.inherits("QWindowContainer") && widget.isVisible() && top->windowHandle() &&
           window.parent() ==
               (widget.windowHandle() ? widget.windowHandle()->parent() : top->windowHandle()) &&
           window.position() == widget.mapTo(top, QPoint());
}

bool shows(const QWidget &widget, const QQuickWindow &window)
{
    if (const auto *quick = qobject_cast<const QQuickWidget *>(&widget))
        return quick->quickWindow() == &window;
    return contains(widget, window);
}

} // namespace

bool dv_quickIsShown(const QQuickItem &item)
{
    return item.isVisible() && item.opacity() > 0;
}

QList<QQuickItem *> dv_quickShownChildren(const QQuickItem &item)
{
    QList<QQuickItem *> children = item.childItems();
    children.removeIf([](const QQuickItem *child) { return !dv_quickIsShown(*child); });
    std::stable_sort(children.begin(), children.end(),
                     [](const QQuickItem *a, const QQuickItem *b) { return a->z() < b->z(); });
    return children;
}

void dv_quickVisit(const QQuickItem &item, const std::function<bool(QQuickItem &)> &visit)
{
    for (QQuickItem *child : dv_quickShownChildren(item)) {
        if (visit(*child))
            dv_quickVisit(*child, visit);
    }
}

QRectF dv_quickFrame(const QQuickItem &item)
{
    QQuickWindow *window = item.window();
    if (!window || !item.isVisible())
        return {};
    const QRectF rect = unclippedRect(item);
    return rect.isNull() ? QRectF() : rect.translated(dv_quickOffset(*window));
}

bool dv_quickIsClippedAway(const QQuickItem &item)
{
    return !ownRect(item).isEmpty() && unclippedRect(item).isEmpty();
}

QQuickItem *dv_quickItemAt(QQuickItem &item, const QPointF &scenePoint)
{
    const QPointF point = item.mapFromScene(scenePoint);
    if (item.clip() && !item.clipRect().contains(point))
        return nullptr;
    const bool drawsHere = draws(item) && item.contains(point);
    QList<QQuickItem *> children = dv_quickShownChildren(item);
    std::reverse(children.begin(), children.end());
    for (QQuickItem *child : children) {
        if (drawsHere && child->z() < 0)
            break; // behind the item itself
        if (QQuickItem *found = dv_quickItemAt(*child, scenePoint))
            return found;
    }
    return drawsHere ? &item : nullptr;
}

QPointF dv_quickOffset(QQuickWindow &window)
{
    QPoint offset;
    const QWindow *top = QQuickRenderControl::renderWindowFor(&window, &offset);
    for (top = top ? top : &window; top->parent(); top = top->parent())
        offset += top->position();
    return offset;
}

QWidget *dv_quickWidget(QQuickWindow &window)
{
    if (!qobject_cast<QApplication *>(QCoreApplication::instance()))
        return nullptr;
    const QWidgetList widgets = QApplication::allWidgets();
    const auto found = std::find_if(widgets.begin(), widgets.end(),
                                    [&](const QWidget *widget) { return shows(*widget, window); });
    return found == widgets.end() ? nullptr : *found;
}

QQuickWindow *dv_quickWindow(QWidget &widget)
{
    if (const auto *quick = qobject_cast<QQuickWidget *>(&widget))
        return quick->quickWindow();
    if (!widget.inherits("QWindowContainer"))
        return nullptr;
    for (QWindow *window : QGuiApplication::allWindows()) {
        auto *scene = qobject_cast<QQuickWindow *>(window);
        if (scene && contains(widget, *scene))
            return scene;
    }
    return nullptr;
}
