// The texts of a scene that a widget shows.
#pragma once

#include "DVWidgetView.h"

class QGraphicsView;

// Text items that can be seen; widgets in the scene are not looked into.
class DVGraphicsView final : public DVWidgetViewOf<QGraphicsView>
{
public:
    using DVWidgetViewOf::DVWidgetViewOf;

protected:
    QList<DVViewPtr> parts() const override;
    DVViewPtr partAt(const QPoint &point) const override;
};
