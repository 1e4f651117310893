// DVGestureWatch: watches the fingers and the mouse in all windows of the host.
#pragma once

#include "DVLongPressGestureRecognizer.h"
#include "DVPress.h"
#include "DVView.h"

#include <QHash>
#include <QObject>

#include <memory>

class QMouseEvent;
class QTouchEvent;

// The recognisers of one window, and what was touched in it last.
struct DVWindowGestures
{
    std::unique_ptr<DVLongPressGestureRecognizer> edition;
    std::unique_ptr<DVLongPressGestureRecognizer> actions;
    DVViewPtr lastTouchedView;
};

// The one event filter of the interface, there from the first gesture that is set up until remove(). It only
// looks at what the host's windows get, and holds nothing back, until a gesture was recognised: then the
// host's control is told that the press is over, and gets nothing of it any more. Main thread.
class DVGestureWatch : public QObject
{
    Q_OBJECT

public:
    // Null while there is none.
    static DVGestureWatch *shared();
    static DVGestureWatch &install();
    static void remove();

    ~DVGestureWatch() override;

    // The host's top-level window that a window is, or is in; null for one of ours, and for one that shows no
    // more than a hint.
    static QWindow *hostWindowOf(QWindow *window);

    // What each of the host's windows gets, those that are open now and those that open later.
    enum class Cover { None, Edition, EditionAndActions };
    void cover(Cover cover);

    // Null for a window without gestures.
    DVWindowGestures *gesturesOf(const QWindow *window);
    // Made when it has none yet.
    DVWindowGestures &makeGesturesOf(QWindow *window);

    // What a gesture asks when its time has come. It ends others that may not go on with it. False when the
    // press is the host's all the same; the gesture has failed then.
    bool mayBegin(QWindow &window, DVLongPressGestureRecognizer &recognizer);
    // Takes the press from the host's control. Runs code of the host.
    void takePress();

    bool eventFilter(QObject *receiver, QEvent *event) override;

private:
    DVGestureWatch();

    void coverWindow(QWindow *window);
    void forget(const QWindow *window);

    bool mouseInWindow(QWindow &window, QMouseEvent &event);
    bool mouseInWidget(QWidget &widget, QMouseEvent &event);
    bool touchInWindow(QWindow &window, QTouchEvent &event);
    void noteMouse(const QMouseEvent &event, bool mayHaveOtherWidget);
    bool isEchoOf(const QEvent &event) const;
    bool passesOn(const QObject &receiver, QEvent &event) const;
    void followMouse(QWindow &target, const QMouseEvent &event);
    void pressMouse(QWindow &target, const QMouseEvent &event);
    void followTouch(QWindow &target, const QTouchEvent &event);
    void beginPress(QWindow &target, const QPointingDevice *device, bool byTouch);
    void noteTouch(QWindow &target, const QPointF &onScreen);
    void addContact(const DVPress::Contact &contact);
    void dropContact(int id);
    void contactsChanged();
    void contactsMoved();
    void failPress();
    void endPress();
    template<typename Tell> void tellRecognizers(const Tell &tell);

    QHash<const QWindow *, std::shared_ptr<DVWindowGestures>> m_windows;
    Cover m_cover = Cover::None;
    DVPress m_press;
    bool m_taken = false;                   // the press was a gesture: the host gets nothing of it any more
    QEvent::Type m_lastType = QEvent::None; // of what was followed last
    quint64 m_lastTimestamp = 0;
};
