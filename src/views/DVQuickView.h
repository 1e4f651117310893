// The views of Qt Quick: items, their texts, and their windows. There only where Qt Quick was found.
#pragma once

#include "DVView.h"

class QWidget;

// What is shown once. A control and the items that draw its text show one text: the control has it
// (Button.text, ComboBox.displayText, GroupBox.title, the "text" or "title" of an item of the application's
// own), because what is drawn follows the control, loses the mnemonic's "&" on the way, and would be
// overwritten by the control's next change. An item whose only text is its own is a label. One that contains
// other texts, too, is none: its own text is a part of it then. Titles that nothing draws are no texts; a
// window's title is a part of the window. A markdown text is found and replaced in its source; a password
// never, and not what the user has typed.
//
// How a text is replaced. First the item's engine re-translates, once in a turn of the event loop, which
// refreshes what is bound to qsTr(); lists, combo boxes and typed texts keep what they are at. What shows the
// old text still is written, in a way that leaves its binding alive: texts that JavaScript or C++ assigned,
// but also bindings that call a function of C++ or read a model of the application. Those show the new text
// until their binding runs again; what it gives then is the application's answer. First the object that the
// text comes from is written (an Action, a Menu, a ToolTip, the strings of a ComboBox), then the item. Only a
// property of C++ that is a QBindable and has a binding cannot be written without ending it: there the
// binding is run again, and its answer stands.
//
// Points and frames are those of the outermost window: below a QQuickWidget or a window container that is the
// window of the widgets.

// The view of an item, a popup, an action, or a QQuickWindow; null for any other object.
DVViewPtr dv_quickView(QObject *object);

// What a QQuickWidget or a window container (QWidget::createWindowContainer) shows of Qt Quick: the subview
// of that widget. Null for any other widget.
DVViewPtr dv_quickViewInWidget(QWidget *widget);

// The deepest view at a point of a QQuickWindow; null for any other window.
DVViewPtr dv_quickViewInWindow(QWindow *window, const QPointF &windowPoint);
