#include "DVAnimation.h"

#include <QEasingCurve>
#include <QElapsedTimer>
#include <QList>
#include <QTimer>

#include <algorithm>
#include <cmath>
#include <memory>

namespace {

constexpr int frame = 16;       // ms
constexpr int longestStep = 10; // ms, of a held clock

// What is running, and the one timer that moves it.
struct Clock
{
    QElapsedTimer elapsed;
    bool held = false;
    qint64 heldAt = 0;
    qint64 base = 0; // when `elapsed` was started
    QList<QPointer<DVAnimation>> running;
    std::unique_ptr<QTimer> timer;

    qint64 now()
    {
        if (held)
            return heldAt;
        if (!elapsed.isValid())
            elapsed.start();
        return base + elapsed.elapsed();
    }

    void moveAll()
    {
        const QList<QPointer<DVAnimation>> animations = running; // steps start and end others
        const qint64 time = now();
        for (const QPointer<DVAnimation> &animation : animations) {
            if (animation)
                animation->moveTo(time);
        }
    }

    void keepTimer()
    {
        running.removeIf([](const QPointer<DVAnimation> &animation) { return animation.isNull(); });
        if (held || running.isEmpty()) {
            if (timer) {
                timer->stop();
                timer.release()->deleteLater(); // this may be its own call
            }
            return;
        }
        if (timer)
            return;
        timer = std::make_unique<QTimer>();
        timer->setTimerType(Qt::PreciseTimer);
        QObject::connect(timer.get(), &QTimer::timeout, timer.get(), [this] { moveAll(); });
        timer->start(frame);
    }
};

Clock &theClock()
{
    static Clock &clock = *new Clock; // never destroyed: views may die after the statics of this library
    return clock;
}

// A mass on a spring that is let go with a velocity. It swings so fast that a thousandth of the way is left
// at the end.
double springProgress(double time, double seconds)
{
    constexpr double damping = 0.7;
    constexpr double velocity = 0.3;
    const double decay = std::log(1000.0) / seconds;
    const double frequency = decay / damping * std::sqrt(1 - damping * damping);
    const double elapsed = time * seconds;
    const double swing =
        std::cos(frequency * elapsed) + (decay - velocity) / frequency * std::sin(frequency * elapsed);
    return 1 - std::exp(-decay * elapsed) * swing;
}

} // namespace

double dv_animationProgress(DVAnimation::Curve curve, double time, double seconds)
{
    if (time <= 0)
        return 0;
    if (time >= 1)
        return 1;
    switch (curve) {
    case DVAnimation::Curve::EaseInOut:
        return QEasingCurve(QEasingCurve::InOutCubic).valueForProgress(time);
    case DVAnimation::Curve::Spring:
        return springProgress(time, seconds);
    case DVAnimation::Curve::Linear:
        break;
    }
    return time;
}

DVAnimation::DVAnimation(QObject &owner, int milliseconds, Curve curve)
    : QObject(&owner)
    , m_duration(std::max(1, milliseconds))
    , m_begun(DVAnimationClock::milliseconds())
    , m_curve(curve)
{}

DVAnimation::~DVAnimation()
{
    theClock().running.removeAll(this);
    theClock().keepTimer();
}

void DVAnimation::begin()
{
    theClock().running.append(this);
    theClock().keepTimer();
    moveTo(m_begun);
}

DVAnimation *DVAnimation::run(QObject &owner, int milliseconds, Curve curve, std::function<void(double)> step,
                              std::function<void()> finished)
{
    auto *animation = new DVAnimation(owner, milliseconds, curve); // the owner's
    animation->m_step = std::move(step);
    animation->m_finished = std::move(finished);
    animation->begin();
    return animation;
}

DVAnimation *DVAnimation::after(QObject &owner, int milliseconds, std::function<void()> finished)
{
    return run(owner, milliseconds, Curve::Linear, {}, std::move(finished));
}

DVAnimation *DVAnimation::repeat(QObject &owner, int milliseconds, std::function<void(double)> step)
{
    auto *animation = new DVAnimation(owner, milliseconds, Curve::Linear); // the owner's
    animation->m_step = std::move(step);
    animation->m_repeats = true;
    animation->begin();
    return animation;
}

void DVAnimation::cancel()
{
    m_over = true;
    theClock().running.removeAll(this);
    theClock().keepTimer();
    deleteLater();
}

void DVAnimation::moveTo(qint64 now)
{
    if (m_over)
        return;
    const qint64 elapsed = m_repeats ? (now - m_begun) % m_duration : now - m_begun;
    const bool last = !m_repeats && elapsed >= m_duration;
    const QPointer<DVAnimation> self(this);
    if (m_step) {
        const auto step = m_step; // it may delete this
        step(dv_animationProgress(m_curve, double(elapsed) / double(m_duration), double(m_duration) / 1000));
    }
    if (!last || !self || m_over)
        return;
    const auto finished = std::move(m_finished);
    cancel();
    if (finished)
        finished();
}

qint64 DVAnimationClock::milliseconds()
{
    return theClock().now();
}

void DVAnimationClock::hold()
{
    Clock &clock = theClock();
    clock.heldAt = clock.now();
    clock.held = true;
    clock.keepTimer();
}

void DVAnimationClock::advance(int milliseconds)
{
    Clock &clock = theClock();
    while (clock.held && milliseconds > 0) {
        const int step = std::min(milliseconds, longestStep);
        clock.heldAt += step;
        milliseconds -= step;
        clock.moveAll();
    }
}

void DVAnimationClock::release()
{
    Clock &clock = theClock();
    if (!clock.held)
        return;
    clock.held = false;
    clock.base = clock.heldAt; // what began meanwhile goes on from there
    clock.elapsed.start();
    clock.keepTimer();
}
