#include "DVQuickView.h"

#include "DVQuickItemView.h"
#include "DVQuickPartView.h"
#include "DVQuickScene.h"
#include "DVQuickWindowView.h"

#include <QVariant>
#include <QWidget>

namespace {

DVViewPtr windowView(QQuickWindow *window)
{
    if (dv_quickWidget(*window))
        return std::make_shared<DVQuickItemView>(window->contentItem());
    return std::make_shared<DVQuickWindowView>(window);
}

// The item that shows a popup; null while it shows none.
QQuickItem *popupItem(const QObject &popup)
{
    auto *content = popup.property("contentItem").value<QQuickItem *>();
    return content ? content->parentItem() : nullptr;
}

} // namespace

DVViewPtr dv_quickView(QObject *object)
{
    if (!object)
        return nullptr;
    if (auto *item = qobject_cast<QQuickItem *>(object))
        return std::make_shared<DVQuickItemView>(item);
    if (auto *window = qobject_cast<QQuickWindow *>(object))
        return windowView(window);
    if (object->inherits("QQuickAction"))
        return std::make_shared<DVQuickPartView>(object, "text");
    if (object->inherits("QQuickPopup")) {
        if (QQuickItem *item = popupItem(*object))
            return std::make_shared<DVQuickItemView>(item);
    }
    return nullptr;
}

DVViewPtr dv_quickViewInWidget(QWidget *widget)
{
    QQuickWindow *window = widget ? dv_quickWindow(*widget) : nullptr;
    return window ? std::make_shared<DVQuickItemView>(window->contentItem()) : nullptr;
}

DVViewPtr dv_quickViewInWindow(QWindow *window, const QPointF &windowPoint)
{
    auto *scene = qobject_cast<QQuickWindow *>(window);
    return scene ? windowView(scene)->viewAt(windowPoint + dv_quickOffset(*scene)) : nullptr;
}
