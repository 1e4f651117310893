// DVQuickWidgetView: a widget in which a Qt Quick scene is shown.
#pragma once

#include "DVWidgetView.h"

// A QQuickWidget, or the container of a window.
class DVQuickWidgetView final : public DVWidgetView
{
public:
    using DVWidgetView::DVWidgetView;

    static bool isNeededFor(const QWidget &widget);

protected:
    QList<DVViewPtr> parts() const override;
    DVViewPtr partAt(const QPoint &point) const override;
};
