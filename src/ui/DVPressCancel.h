// Taking a press away from the host's controls.
#pragma once

struct DVPress;
class QObject;

// The control that got the press is told that it is over in a way that clicks, activates, opens and moves
// nothing: fingers are cancelled, the mouse is let go where it does no harm. The press's own end must not
// reach it any more. Runs code of the host.
void dv_cancelPress(const DVPress &press);

// Whether the host's control does something for as long as it is held, such as a button that repeats or an
// arrow of a spin box. Then a press that goes on is for it. `touched` is the deepest widget or item there;
// may be null.
bool dv_actsWhileHeld(const DVPress &press, const QObject *touched);

// Whether the host drags something with it, which may begin before anything moves.
bool dv_isDragging(const DVPress &press);

// Whether the press can be taken away: of a window of widgets or of Qt Quick.
bool dv_canCancelPress(const DVPress &press);
