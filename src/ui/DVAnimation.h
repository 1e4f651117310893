// DVAnimation: something that changes on the screen over time.
#pragma once

#include <QObject>
#include <QPointer>

#include <functional>

// Runs by DVAnimationClock, on the main thread. It belongs to its owner: when that dies nothing is called any
// more.
class DVAnimation : public QObject
{
    Q_OBJECT

public:
    enum class Curve {
        Linear,
        EaseInOut,
        Spring, // damping 0.7, initial velocity 0.3 of the way a second; passes the end a little and returns
    };

    // `step` is told how much of the way is done, at once and until it is 1 (a spring's is more in between);
    // `finished` follows the last step. Both may delete anything, the owner too.
    static DVAnimation *run(QObject &owner, int milliseconds, Curve curve, std::function<void(double)> step,
                            std::function<void()> finished = {});
    // After a while.
    static DVAnimation *after(QObject &owner, int milliseconds, std::function<void()> finished);
    // Again and again until it is cancelled.
    static DVAnimation *repeat(QObject &owner, int milliseconds, std::function<void(double)> step);

    // No call follows; the animation is deleted later.
    void cancel();

    ~DVAnimation() override;

    // For the clock.
    void moveTo(qint64 now);

private:
    DVAnimation(QObject &owner, int milliseconds, Curve curve);
    void begin();

    const qint64 m_duration;
    const qint64 m_begun;
    const Curve m_curve;
    bool m_repeats = false;
    bool m_over = false;
    std::function<void(double)> m_step;
    std::function<void()> m_finished;
};

// The part of the way, from 0 at time 0 to 1 at time 1, of an animation that takes so many seconds.
double dv_animationProgress(DVAnimation::Curve curve, double time, double seconds);

// The clock of all animations. It costs nothing while none runs.
namespace DVAnimationClock {

qint64 milliseconds();

// For tests: time stands still, and goes on by advance() alone, in steps of at most 10 ms.
void hold();
void advance(int milliseconds);
void release();

} // namespace DVAnimationClock
