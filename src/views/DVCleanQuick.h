// The text fields of Qt Quick that hold clean text.
#pragma once

class QObject;
class QWidget;
class QWindow;

// The fields of a QQuickWindow, TextField, TextArea and what they are made of, hold clean text for as long as
// `context` lives, also those that come later; and names and descriptions for accessibility tools do, of
// every item. Bindings stay alive. Nothing happens for other windows.
void dv_followQuickWindow(QWindow &window, QObject &context);
// Those of the scene that a widget shows. A QQuickWidget's own window is never created, so no event tells of
// it.
void dv_followQuickWidget(QWidget &widget, QObject &context);
