// What a window of the host's has while translations are reviewed: the two gestures, and what they do.
#pragma once

#include "DVLongPressGestureRecognizer.h"
#include "DVView.h"

class QWindow;

// All of them take a top-level window of the host's (QWidget::windowHandle(), or a QQuickWindow). Main
// thread.

// One finger or the left mouse button, held for QStyleHints::mousePressAndHoldInterval, calls
// dv_triggerEdition.
void dv_setupEditionGesture(QWindow *window);
void dv_removeEditionGesture(QWindow *window);
// Two fingers or both mouse buttons, held for two seconds, call dv_triggerActions.
void dv_setupActionsGesture(QWindow *window);

// Null when the window has none. The window's.
DVLongPressGestureRecognizer *dv_editionGesture(const QWindow *window);
DVLongPressGestureRecognizer *dv_actionsGesture(const QWindow *window);
// The view under the finger or the mouse button that was put down last. Null before, and once it is deleted.
DVViewPtr dv_lastTouchedView(const QWindow *window);

// Whether both may go on when the first begins: the two gestures of the window may.
bool gestureRecognizer(
    const QWindow *window, const DVLongPressGestureRecognizer *recognizer,
    const DVLongPressGestureRecognizer *shouldRecognizeSimultaneouslyWithGestureRecognizer);

// Edits the strings of what was touched, or takes a picture of the window.
void dv_triggerEdition(QWindow *window, const DVLongPressGestureRecognizer &recognizer);
// Opens the menu.
void dv_triggerActions(QWindow *window, const DVLongPressGestureRecognizer &recognizer);

// Closes the editor and opens the menu, after the login screen when nobody is signed in; while pictures are
// taken it ends that first.
void dv_performAction();
// From taking pictures back to editing.
void dv_endContextCapture();
