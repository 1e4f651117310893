// What of a Qt Quick scene is on the screen, and where.
#pragma once

#include <QList>
#include <QPointF>
#include <QRectF>

#include <functional>

class QQuickItem;
class QQuickWindow;
class QWidget;

// Visible and not transparent, by itself.
bool dv_quickIsShown(const QQuickItem &item);
// Those that are shown, from back to front.
QList<QQuickItem *> dv_quickShownChildren(const QQuickItem &item);
// Calls for every item that is shown below this one, from back to front, until that returns false for one:
// then not for what is below that one.
void dv_quickVisit(const QQuickItem &item, const std::function<bool(QQuickItem &)> &visit);

// The part that nothing clips, in points of the outermost window. Null when the item has no window or is
// clipped away; empty when it has no size.
QRectF dv_quickFrame(const QQuickItem &item);
// Whether the item has a size and none of it is left after clipping.
bool dv_quickIsClippedAway(const QQuickItem &item);
// The front-most item at or below this one that draws something at a point of the scene; null for none.
QQuickItem *dv_quickItemAt(QQuickItem &item, const QPointF &scenePoint);

// Where the scene begins in the outermost window.
QPointF dv_quickOffset(QQuickWindow &window);
// The QQuickWidget or window container that shows a scene; null when it has a window of its own.
QWidget *dv_quickWidget(QQuickWindow &window);
// The scene that a QQuickWidget or window container shows; null for other widgets.
QQuickWindow *dv_quickWindow(QWidget &widget);
