// DVLongPressGestureRecognizer: tells when a number of fingers have rested on a window for a while.
#pragma once

#include <QObject>
#include <QPointF>
#include <QPointer>

#include <functional>

class DVAnimation;

// Fingers, or buttons of the mouse. It only listens: DVGestureWatch tells it what happens in its window. It
// runs by DVAnimationClock. Main thread.
class DVLongPressGestureRecognizer : public QObject
{
    Q_OBJECT

public:
    enum class State { Possible = 0, Began = 1, Changed = 2, Ended = 3, Cancelled = 4, Failed = 5 };

    // `pressDuration` is asked for at each press. `recognized` is called once for each press, in state Began;
    // it may delete the recogniser.
    DVLongPressGestureRecognizer(int numberOfTouchesRequired, std::function<int()> pressDuration,
                                 std::function<void(DVLongPressGestureRecognizer &)> recognized);

    State state() const { return m_state; }
    int numberOfTouchesRequired() const { return m_required; }
    int numberOfTouches() const { return m_touches; }
    // In points of its window; of several fingers the one in their middle.
    QPointF location() const { return m_location; }

    bool isEnabled() const { return m_enabled; }
    // Disabling cancels what is going on; enabled again it waits for the next press.
    void setEnabled(bool enabled);

    // How many fingers there are now. More than required, or less than before, and the press is not one any
    // more, until reset().
    void touchesChanged(int touches, const QPointF &location);
    // Further than a resting finger does.
    void touchesMoved(const QPointF &location);
    // Not a press, whatever follows until reset().
    void fail();
    // The last finger went up.
    void reset();

private:
    void wait();
    void waitIsOver();
    void recognize();
    void stopWaiting();

    const int m_required;
    const std::function<int()> m_pressDuration;
    const std::function<void(DVLongPressGestureRecognizer &)> m_recognized;
    State m_state = State::Possible;
    bool m_enabled = true;
    int m_touches = 0;
    QPointF m_location;
    QPointer<DVAnimation> m_waiting;
    qint64 m_lastTurn = 0; // of the event loop
    bool m_loopStood = false;
};
