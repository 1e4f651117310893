#include "DVQuickWidgetView.h"

#include "DVQuickView.h"

bool DVQuickWidgetView::isNeededFor(const QWidget &widget)
{
    return widget.inherits("QQuickWidget") || widget.inherits("QWindowContainer");
}

QList<DVViewPtr> DVQuickWidgetView::parts() const
{
    const DVViewPtr scene = dv_quickViewInWidget(widget());
    return scene ? QList{scene} : QList<DVViewPtr>();
}

DVViewPtr DVQuickWidgetView::partAt(const QPoint &point) const
{
    const DVViewPtr scene = dv_quickViewInWidget(widget());
    return scene ? scene->viewAt(widget()->mapTo(widget()->window(), point)) : nullptr;
}
