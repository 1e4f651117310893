#include "DVGestureWatch.h"

#include "DVOverlayWindow.h"
#include "DVPressCancel.h"
#include "DVState.h"
#include "DVWindowGestures.h"

#include <QContextMenuEvent>
#include <QGuiApplication>
#include <QMouseEvent>
#include <QPointer>
#include <QTouchEvent>

#include <algorithm>
#include <utility>

namespace {

QPointer<DVGestureWatch> &theWatch()
{
    static QPointer<DVGestureWatch> watch;
    return watch;
}

bool isTouchScreen(const QPointerEvent &event)
{
    return event.pointingDevice() && event.pointingDevice()->type() == QInputDevice::DeviceType::TouchScreen;
}

bool canHaveGestures(const QWindow &window)
{
    switch (window.type()) {
    case Qt::Desktop:
    case Qt::ToolTip:
    case Qt::ForeignWindow:
    case Qt::CoverWindow:
        return false;
    default:
        // A scene that is shown in a widget has a window without a place of its own.
        return window.handle();
    }
}

bool isMouse(QEvent::Type type)
{
    return type == QEvent::MouseButtonPress || type == QEvent::MouseButtonDblClick ||
           type == QEvent::MouseButtonRelease || type == QEvent::MouseMove;
}

bool isTouch(QEvent::Type type)
{
    return type == QEvent::TouchBegin || type == QEvent::TouchUpdate || type == QEvent::TouchEnd ||
           type == QEvent::TouchCancel;
}

} // namespace

DVGestureWatch *DVGestureWatch::shared()
{
    return theWatch();
}

DVGestureWatch &DVGestureWatch::install()
{
    if (!theWatch()) {
        theWatch() = new DVGestureWatch; // the application's
        qApp->installEventFilter(theWatch());
    }
    return *theWatch();
}

void DVGestureWatch::remove()
{
    delete theWatch();
}

DVGestureWatch::DVGestureWatch()
    : QObject(qApp)
{
    connect(qGuiApp, &QGuiApplication::applicationStateChanged, this, [this](Qt::ApplicationState state) {
        if (state != Qt::ApplicationActive)
            failPress();
    });
}

DVGestureWatch::~DVGestureWatch() = default;

QWindow *DVGestureWatch::hostWindowOf(QWindow *window)
{
    while (window && window->parent())
        window = window->parent();
    return window && canHaveGestures(*window) && !DVOverlayWindow::isOurs(window) ? window : nullptr;
}

void DVGestureWatch::cover(Cover cover)
{
    m_cover = cover;
    if (cover != Cover::EditionAndActions) { // a start before may have given the menu to windows
        for (const std::shared_ptr<DVWindowGestures> &gestures : std::as_const(m_windows))
            gestures->actions.reset();
    }
    const QWindowList windows = QGuiApplication::topLevelWindows();
    for (QWindow *window : windows) {
        if (window->isVisible())
            coverWindow(window);
    }
}

void DVGestureWatch::coverWindow(QWindow *window)
{
    if (m_cover == Cover::None || hostWindowOf(window) != window)
        return;
    if (m_cover == Cover::EditionAndActions)
        dv_setupActionsGesture(window);
    dv_setupEditionGesture(window);
}

DVWindowGestures *DVGestureWatch::gesturesOf(const QWindow *window)
{
    return m_windows.value(window).get();
}

DVWindowGestures &DVGestureWatch::makeGesturesOf(QWindow *window)
{
    std::shared_ptr<DVWindowGestures> &gestures = m_windows[window];
    if (!gestures) {
        gestures = std::make_shared<DVWindowGestures>();
        connect(window, &QObject::destroyed, this,
                [this, window] { forget(window); }); // by then no more than an address
    }
    return *gestures;
}

void DVGestureWatch::forget(const QWindow *window)
{
    m_windows.remove(window);
    if (m_press.window == window || !m_press.window)
        endPress();
}

bool DVGestureWatch::eventFilter(QObject *receiver, QEvent *event)
{
    const QEvent::Type type = event->type();
    if (isMouse(type)) {
        if (receiver->isWindowType())
            return mouseInWindow(*static_cast<QWindow *>(receiver), *static_cast<QMouseEvent *>(event));
        return receiver->isWidgetType() &&
               mouseInWidget(*static_cast<QWidget *>(receiver), *static_cast<QMouseEvent *>(event));
    }
    if (isTouch(type)) {
        if (receiver->isWindowType())
            return touchInWindow(*static_cast<QWindow *>(receiver), *static_cast<QTouchEvent *>(event));
        return receiver->isWidgetType() && m_taken && type != QEvent::TouchCancel &&
               isTouchScreen(*static_cast<QTouchEvent *>(event));
    }
    switch (type) {
    case QEvent::ContextMenu:
        return m_taken && receiver->isWidgetType() &&
               static_cast<QContextMenuEvent *>(event)->reason() == QContextMenuEvent::Mouse;
    case QEvent::Show:
        if (receiver->isWindowType())
            coverWindow(static_cast<QWindow *>(receiver));
        break;
    case QEvent::Hide:
        if (receiver->isWindowType()) {
            disconnect(receiver, &QObject::destroyed, this, nullptr); // a menu is shown ten thousand times
            forget(static_cast<QWindow *>(receiver));
        }
        break;
    case QEvent::WindowBlocked:
        if (receiver == m_press.window)
            failPress();
        break;
    case QEvent::DragEnter:
        failPress();
        break;
    default:
        break;
    }
    return false;
}

// Whether the host gets what is left of a press that became a gesture: only what Qt itself needs to know that
// it ended. Its widget windows do, and give it to widgets, where it ends.
bool DVGestureWatch::passesOn(const QObject &receiver, QEvent &event) const
{
    if (!m_taken)
        return true;
    if (receiver.isWindowType() && !receiver.inherits("QQuickWindow"))
        return true;
    // What a touch was not accepted for the mouse is let go for, and only then.
    event.setAccepted(!isTouch(event.type()) || !m_press.pressedByMouse);
    return false;
}

void DVGestureWatch::noteMouse(const QMouseEvent &event, bool mayHaveOtherWidget)
{
    m_lastType = event.type();
    m_lastTimestamp = event.timestamp();
    if (dv_isPress(event) && mayHaveOtherWidget) {
        m_press.pressed.clear();
        m_press.taken.clear();
    }
}

bool DVGestureWatch::mouseInWindow(QWindow &window, QMouseEvent &event)
{
    if (!event.spontaneous() || !canHaveGestures(window))
        return false;
    const bool fromTouch = isTouchScreen(event) || (m_press.byTouch && m_press.isActive());
    noteMouse(event, !fromTouch || m_press.isActive());
    if (!fromTouch)
        followMouse(window, event);
    if (dv_isPress(event)) {
        m_press.pressedByMouse = true;
        m_press.mouse = event.pointingDevice();
    }
    return !passesOn(window, event);
}

bool DVGestureWatch::isEchoOf(const QEvent &event) const
{
    return event.type() == m_lastType &&
           static_cast<const QMouseEvent &>(event).timestamp() == m_lastTimestamp;
}

bool DVGestureWatch::mouseInWidget(QWidget &widget, QMouseEvent &event)
{
    if (!event.spontaneous())
        return false;
    if (!isEchoOf(event)) { // programs that try an application send to its widgets
        QWindow *window = widget.window()->windowHandle();
        if (!window)
            return false;
        noteMouse(event, true);
        followMouse(*window, event);
    }
    if (dv_isPress(event)) {
        if (!m_press.pressed)
            m_press.pressed = &widget;
        m_press.taken = &widget;
        m_press.pressedByMouse = true;
        m_press.mouse = event.pointingDevice();
    }
    return !passesOn(widget, event);
}

bool DVGestureWatch::touchInWindow(QWindow &window, QTouchEvent &event)
{
    if (!event.spontaneous() || !isTouchScreen(event) || !canHaveGestures(window))
        return false;
    followTouch(window, event);
    return !passesOn(window, event);
}

// A recogniser that is told may take its window's gestures away.
template<typename Tell> void DVGestureWatch::tellRecognizers(const Tell &tell)
{
    const std::shared_ptr<DVWindowGestures> gestures = m_windows.value(m_press.window);
    if (!gestures)
        return;
    for (DVLongPressGestureRecognizer *recognizer : {gestures->edition.get(), gestures->actions.get()}) {
        if (recognizer)
            tell(*recognizer);
    }
}

void DVGestureWatch::contactsChanged()
{
    tellRecognizers([this](DVLongPressGestureRecognizer &recognizer) {
        recognizer.touchesChanged(m_press.touches(), m_press.location());
    });
}

void DVGestureWatch::contactsMoved()
{
    if (m_press.isActive() && m_press.hasMoved())
        tellRecognizers([this](DVLongPressGestureRecognizer &recognizer) {
            recognizer.touchesMoved(m_press.location());
        });
}

void DVGestureWatch::failPress()
{
    tellRecognizers([](DVLongPressGestureRecognizer &recognizer) { recognizer.fail(); });
}

void DVGestureWatch::endPress()
{
    tellRecognizers([](DVLongPressGestureRecognizer &recognizer) {
        recognizer.touchesChanged(0, recognizer.location());
        recognizer.reset();
    });
    m_press.contacts.clear();
}

bool DVGestureWatch::mayBegin(QWindow &window, DVLongPressGestureRecognizer &recognizer)
{
    const DVWindowGestures *gestures = gesturesOf(&window);
    if (!gestures || m_press.window != &window)
        return false;
    const QObject *touched = gestures->lastTouchedView ? gestures->lastTouchedView->object() : nullptr;
    const DVState &state = DVState::shared();
    const bool isOfHost = (!state.editionMode && !state.screenshotMode) || // another start has ended them
                          (recognizer.numberOfTouchesRequired() == 1 && dv_actsWhileHeld(m_press, touched));
    if (!m_taken && (isOfHost || dv_isDragging(m_press))) {
        recognizer.fail();
        return false;
    }
    tellRecognizers([&](DVLongPressGestureRecognizer &other) {
        if (&other != &recognizer && !gestureRecognizer(&window, &recognizer, &other))
            other.fail();
    });
    return true;
}

void DVGestureWatch::takePress()
{
    if (m_taken || !m_press.isActive() || !dv_canCancelPress(m_press))
        return;
    m_taken = true;
    dv_cancelPress(m_press);
}
