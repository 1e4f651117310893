#include "DVView.h"

#include "DVWidgetKinds.h"

#include <QWidget>
#include <QWindow>

#if defined(DORVANE_VIEWS_QUICK) && __has_include("DVQuickView.h")
#define DORVANE_HAS_QUICK_VIEWS
#include "DVQuickView.h"
#endif

DVViewPtr dv_view(QObject *object)
{
    if (!object)
        return nullptr;
#ifdef DORVANE_HAS_QUICK_VIEWS
    if (DVViewPtr view = dv_quickView(object))
        return view;
#endif
    return object->isWidgetType() ? dv_widgetView(static_cast<QWidget *>(object)) : nullptr;
}

DVViewPtr dv_viewInWindow(QWindow *window, const QPointF &windowPoint)
{
    if (!window)
        return nullptr;
#ifdef DORVANE_HAS_QUICK_VIEWS
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
