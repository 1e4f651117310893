// Which kind of view a widget has.
#pragma once

#include "DVWidgetView.h"

DVWidgetViewPtr dv_widgetView(QWidget *widget);
