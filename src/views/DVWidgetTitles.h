// Titles: of windows, docks, group boxes and windows within windows; a status bar's message.
#pragma once

#include "DVWidgetView.h"

class QGroupBox;
class QStatusBar;
class QWizard;

// Of a widget whose window title is shown, by itself or by the window system; null for any other.
DVViewPtr dv_titlePart(QWidget *widget);

// The wizard that a widget stands in; null for none.
QWizard *dv_wizardAbove(const QWidget &widget);

class DVGroupBoxView final : public DVWidgetViewOf<QGroupBox>
{
public:
    using DVWidgetViewOf::DVWidgetViewOf;

protected:
    QList<DVViewPtr> parts() const override;
};

class DVStatusBarView final : public DVWidgetViewOf<QStatusBar>
{
public:
    using DVWidgetViewOf::DVWidgetViewOf;

protected:
    QList<DVViewPtr> parts() const override;
};
