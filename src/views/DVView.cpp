#include "DVView.h"

#include "DVWidgetKinds.h"
#include "DVWidgetMenus.h"

#include <QAction>
#include <QWidget>
#include <QWindow>

#ifdef DORVANE_VIEWS_QUICK
#include "DVQuickView.h"
#endif

DVViewPtr dv_view(QObject *object)
{
    if (!object)
        return nullptr;
    if (object->isWidgetType())
        return dv_widgetView(static_cast<QWidget *>(object));
    if (auto *action = qobject_cast<QAction *>(object))
        return dv_actionView(action);
#ifdef DORVANE_VIEWS_QUICK
    return dv_quickView(object);
#else
    return nullptr;
#endif
}

DVViewPtr dv_viewInWindow(QWindow *window, const QPointF &windowPoint)
{
    if (!window)
        return nullptr;
#ifdef DORVANE_VIEWS_QUICK
    if (DVViewPtr view = dv_quickViewInWindow(window, windowPoint))
        return view;
#endif
    // Only of a window that is there: asking makes one.
    QWidget *widget = window->handle() ? QWidget::find(window->winId()) : nullptr;
    if (!widget)
        return nullptr;
    // A child with a window of its own has points of its own.
    return dv_view(widget)->viewAt(widget->mapTo(widget->window(), windowPoint));
}
