#include "DVLongPressGestureRecognizer.h"

#include "DVAnimation.h"

#include <algorithm>
#include <utility>

namespace {

// While the event loop stands still releases wait in its queue, and the time is over before they are seen.
constexpr int longestTurn = 100; // ms
constexpr int grace = 50;        // ms

} // namespace

DVLongPressGestureRecognizer::DVLongPressGestureRecognizer(
    int numberOfTouchesRequired, std::function<int()> pressDuration,
    std::function<void(DVLongPressGestureRecognizer &)> recognized)
    : m_required(numberOfTouchesRequired)
    , m_pressDuration(std::move(pressDuration))
    , m_recognized(std::move(recognized))
{}

void DVLongPressGestureRecognizer::setEnabled(bool enabled)
{
    m_enabled = enabled;
    if (enabled)
        return;
    stopWaiting();
    if (m_touches > 0)
        m_state = State::Cancelled;
}

void DVLongPressGestureRecognizer::touchesChanged(int touches, const QPointF &location)
{
    const int before = std::exchange(m_touches, touches);
    m_location = location;
    if (!m_enabled)
        return;
    if (m_state == State::Began || m_state == State::Changed) {
        if (touches < m_required)
            m_state = State::Ended;
        return;
    }
    if (m_state != State::Possible)
        return;
    if (touches > m_required || touches < before)
        fail();
    else if (touches == m_required)
        wait();
}

void DVLongPressGestureRecognizer::touchesMoved(const QPointF &location)
{
    m_location = location;
    if (m_state == State::Possible)
        fail();
    else if (m_state == State::Began)
        m_state = State::Changed;
}

void DVLongPressGestureRecognizer::fail()
{
    stopWaiting();
    if (m_state == State::Possible)
        m_state = State::Failed;
    else if (m_state == State::Began || m_state == State::Changed)
        m_state = State::Cancelled;
}

void DVLongPressGestureRecognizer::reset()
{
    stopWaiting();
    m_touches = 0;
    m_state = State::Possible;
}

void DVLongPressGestureRecognizer::wait()
{
    stopWaiting();
    m_lastTurn = DVAnimationClock::milliseconds();
    m_loopStood = false;
    const auto turn = [this](double) {
        const qint64 now = DVAnimationClock::milliseconds();
        m_loopStood = now - std::exchange(m_lastTurn, now) > longestTurn;
    };
    m_waiting = DVAnimation::run(*this, std::max(1, m_pressDuration()), DVAnimation::Curve::Linear, turn,
                                 [this] { waitIsOver(); });
}

void DVLongPressGestureRecognizer::waitIsOver()
{
    if (m_loopStood)
        m_waiting = DVAnimation::after(*this, grace, [this] { recognize(); });
    else
        recognize();
}

void DVLongPressGestureRecognizer::recognize()
{
    m_state = State::Began;
    const auto recognized = m_recognized; // it may delete this
    recognized(*this);
}

void DVLongPressGestureRecognizer::stopWaiting()
{
    if (m_waiting)
        m_waiting->cancel();
    m_waiting.clear();
}
