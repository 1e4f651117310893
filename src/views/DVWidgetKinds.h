// Which kind of view a widget has.
#pragma once

#include "DVView.h"

class QWidget;

DVViewPtr dv_widgetView(QWidget *widget);
