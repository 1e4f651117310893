// The tabs of a tab bar, also of one that stands for docks or for the windows of an area.
#pragma once

#include "DVWidgetView.h"

class QTabBar;

class DVTabBarView final : public DVWidgetViewOf<QTabBar>
{
public:
    using DVWidgetViewOf::DVWidgetViewOf;

protected:
    QList<DVViewPtr> parts() const override;
    DVViewPtr partAt(const QPoint &point) const override;
};
