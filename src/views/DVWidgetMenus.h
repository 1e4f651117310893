// Menus, menu bars, and actions by themselves.
#pragma once

#include "DVWidgetView.h"

class QAction;
class QMenu;
class QMenuBar;

class DVMenuView final : public DVWidgetViewOf<QMenu>
{
public:
    using DVWidgetViewOf::DVWidgetViewOf;

protected:
    QList<DVViewPtr> parts() const override;
    DVViewPtr partAt(const QPoint &point) const override;
};

// Not where the system shows it in a bar of its own.
class DVMenuBarView final : public DVWidgetViewOf<QMenuBar>
{
public:
    using DVWidgetViewOf::DVWidgetViewOf;

protected:
    QList<DVViewPtr> parts() const override;
    DVViewPtr partAt(const QPoint &point) const override;
};

// In the first of its menus, menu bars or tool bars that is shown; else by itself, without a place.
DVViewPtr dv_actionView(QAction *action);
