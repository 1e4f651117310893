// GestureHost: presenters that remember what they were asked for, and fingers and mouse buttons as steps of a
// text.
#pragma once

#include "DVAnimation.h"
#include "DVGestureWatch.h"
#include "DVPresenters.h"
#include "DVState.h"

#include <QGuiApplication>
#include <QPointer>
#include <QPointingDevice>
#include <QStringList>
#include <QStyleHints>
#include <QTest>
#include <QWindow>

#include <functional>
#include <memory>
#include <optional>

struct Asked
{
    QStringList calls;
    QList<DVViewStringsPtr> strings;
    DVViewPtr inView;
    QPointer<QObject> viewController;
    QPointer<QObject> captured;
    std::function<void(bool)> loginEnds;
    DVErrorOr captureFails;

    QString take()
    {
        const QString all = calls.join(u' ');
        calls.clear();
        return all;
    }
};

template<typename Presenter> class Remembering : public Presenter
{
public:
    explicit Remembering(Asked &asked)
        : m_asked(asked)
    {}

protected:
    Asked &m_asked;
};

class RememberingEdition : public Remembering<DVEditionPresenter>
{
public:
    using Remembering::Remembering;
    void presentEditionViewWithStringsAndViews(const QList<DVViewStringsPtr> &strings,
                                               const DVViewPtr &inView, QObject *viewController,
                                               bool animated) override
    {
        m_asked.calls << (animated ? QStringLiteral("edit") : QStringLiteral("edit-at-once"));
        m_asked.strings = strings;
        m_asked.inView = inView;
        m_asked.viewController = viewController;
    }
    void dismiss() override { m_asked.calls << QStringLiteral("dismiss"); }
};

class RememberingActions : public Remembering<DVActionsPresenter>
{
public:
    using Remembering::Remembering;
    void showAndReloadStrings(bool reload) override
    {
        m_asked.calls << (reload ? QStringLiteral("menu-reloaded") : QStringLiteral("menu"));
    }
};

class RememberingLogin : public Remembering<DVLoginPresenter>
{
public:
    using Remembering::Remembering;
    void openLoginFormWithCompletion(std::function<void(bool)> completion) override
    {
        m_asked.calls << QStringLiteral("login");
        m_asked.loginEnds = std::move(completion);
    }
};

class RememberingCapture : public Remembering<DVCapturePresenter>
{
public:
    using Remembering::Remembering;
    void captureWindow(QObject *window, std::function<void(const DVErrorOr &)> withCompletion) override
    {
        m_asked.calls << QStringLiteral("capture");
        m_asked.captured = window;
        withCompletion(m_asked.captureFails);
    }
};

class Hand;

// A translator who may edit, and a clock that stands still. One at a time.
class GestureHost
{
public:
    Asked asked;

    GestureHost()
    {
        DVAnimationClock::hold();
        auto &presenters = DVPresenters::shared();
        presenters.edition = std::make_unique<RememberingEdition>(asked);
        presenters.actions = std::make_unique<RememberingActions>(asked);
        presenters.login = std::make_unique<RememberingLogin>(asked);
        presenters.capture = std::make_unique<RememberingCapture>(asked);
        auto &state = DVState::shared();
        state.editionMode = state.loggedIn = state.canTranslate = true;
        state.screenshotMode = state.mixedMode = state.uiTest = false;
        DVGestureWatch::install().cover(DVGestureWatch::Cover::EditionAndActions);
    }
    ~GestureHost()
    {
        DVGestureWatch::remove();
        DVPresenters::shared() = DVPresenters();
        DVAnimationClock::release();
        auto &state = DVState::shared();
        state.editionMode = state.loggedIn = state.canTranslate = false;
        state.screenshotMode = state.mixedMode = state.uiTest = false;
    }
    Q_DISABLE_COPY_MOVE(GestureHost)

    // Who is asked for what by the steps, as in "dismiss menu".
    QString askedBy(Hand hand, const QString &steps);

    static QPointingDevice *touchScreen()
    {
        static QPointingDevice *device = QTest::createTouchDevice();
        return device;
    }
    static int interval() { return QGuiApplication::styleHints()->mousePressAndHoldInterval(); }
    static int dragDistance() { return QGuiApplication::styleHints()->startDragDistance(); }
};

inline const QString longPress = QStringLiteral("L+ hold L-");

// "L+" presses the left mouse button, "L-" lets it go; R and M likewise; "1+" and "1-" put down and lift
// finger 1; "move 5" moves the mouse to the right, "1~5" finger 1; "hold" waits for as long as an edition
// takes, "wait 700" so many milliseconds.
class Hand
{
public:
    Hand(QWindow *window, QPoint at)
        : m_window(window)
        , m_at(at)
    {}

    void perform(const QString &steps)
    {
        for (const QString &step : steps.split(u' ', Qt::SkipEmptyParts)) {
            if (m_window)
                take(step);
        }
    }

private:
    void take(const QString &step)
    {
        if (m_before == u"wait")
            DVAnimationClock::advance(step.toInt());
        else if (m_before == u"move")
            QTest::mouseMove(m_window, m_at += QPoint(step.toInt(), 0));
        else if (step == u"hold")
            DVAnimationClock::advance(GestureHost::interval());
        else if (step.at(0).isDigit())
            finger(step);
        else if (step.size() == 2)
            button(step);
        m_before = step;
        QCoreApplication::processEvents();
    }
    void button(const QString &step)
    {
        const Qt::MouseButton button = step.at(0) == u'L'   ? Qt::LeftButton
                                       : step.at(0) == u'R' ? Qt::RightButton
                                                            : Qt::MiddleButton;
        if (step.at(1) == u'+')
            QTest::mousePress(m_window, button, {}, m_at);
        else
            QTest::mouseRelease(m_window, button, {}, m_at);
    }
    void finger(const QString &step)
    {
        const int id = step.at(0).digitValue();
        auto sequence = QTest::touchEvent(m_window, GestureHost::touchScreen(), false);
        for (auto other = m_fingers.cbegin(); other != m_fingers.cend(); ++other) {
            if (other.key() != id)
                sequence.move(other.key(), other.value(), m_window);
        }
        if (step.at(1) == u'+')
            sequence.press(id, m_fingers[id] = m_at + QPoint(id - 1, 0), m_window);
        else if (step.at(1) == u'~')
            sequence.move(id, m_fingers[id] += QPoint(step.mid(2).toInt(), 0), m_window);
        else
            sequence.release(id, m_fingers.take(id), m_window);
        sequence.commit();
    }

    QPointer<QWindow> m_window;
    QPoint m_at;
    QMap<int, QPoint> m_fingers;
    QString m_before;
};

inline QString GestureHost::askedBy(Hand hand, const QString &steps)
{
    hand.perform(steps);
    return asked.take();
}
