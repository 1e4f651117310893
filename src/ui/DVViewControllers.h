// What the interface calls view controllers: pages and windows of the host's, and the strings in them.
#pragma once

#include "DVViewStrings.h"

#include <QList>

class QObject;
class QWindow;

// A navigation controller is a QStackedWidget or a StackView, a tab bar controller a QTabWidget or a
// SwipeView with its TabBar; their children are their pages. A window is one, too, and the title is the
// window's. Main thread.

// The QWidget of a window of widgets, else the window itself.
QObject *dv_hostObject(QWindow *window);

// The page on top, when the first thing in the window is a navigation controller; else null.
QObject *dv_navTopViewController(QWindow *window);
// The modal dialog that lies over the window; null when there is none.
QObject *dv_presentedViewController(QWindow *window);

// Their labels, and the titles of pages and tabs, each once; in which no string was looked for yet.
QList<DVViewStringsPtr> dorvaneStringsInWindowSubviews(QWindow *window);
QList<DVViewStringsPtr> dorvaneStringsInViewController(QObject *controller);
