// How standard controls look inside the interface.
#pragma once

#include <QFont>
#include <QString>

class QColor;
class QWidget;

// For the popup window: style sheet, palette, font and style of its own, so that the application's do not
// reach into it, its style sheet's rules neither; and as everything is set on that window, and the sheet
// speaks of popups alone, a dialog of the host's on that window gets nothing of it but the drawing of Qt's
// Fusion style. Sizes of widgets below it come from their size hints, policies and layouts: minimum and
// maximum sizes that are set on widgets directly are overruled.
void dv_customizeAppearance(QWidget &window);

// Font and colour of one view, and of what is in it. In a window of ours setFont() and the palette have no
// effect.
void dv_setTextStyle(QWidget &view, double points, QFont::Weight weight, const QColor &color);
