#include "DVPressCancel.h"

#include "DVPress.h"

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QAbstractSlider>
#include <QAbstractSpinBox>
#include <QApplication>
#include <QDrag>
#include <QMouseEvent>
#include <QSizeGrip>
#include <QSplitterHandle>

namespace {

constexpr QPointF farAway{-20000, -20000}; // where nobody's control is

bool isQuick(const QObject &object)
{
    return object.inherits("QQuickWindow") || object.inherits("QQuickWidget");
}

QList<Qt::MouseButton> buttonsOf(const DVPress &press)
{
    QList<Qt::MouseButton> buttons;
    if (press.byTouch)
        return {Qt::LeftButton};
    for (const DVPress::Contact &contact : press.contacts)
        buttons << Qt::MouseButton(contact.id);
    return buttons;
}

// What a control looks at when it is let go.
struct LetGo
{
    bool moves = false;   // out of it first, so that it says "released"
    bool inPlace = false; // it follows the mouse
    Qt::KeyboardModifiers modifiers;
};

LetGo letGoOf(const QWidget &widget)
{
    if (qobject_cast<const QAbstractButton *>(&widget))
        return {.moves = true, .inPlace = false, .modifiers = {}};
    if (qobject_cast<const QAbstractSlider *>(&widget) || qobject_cast<const QSplitterHandle *>(&widget) ||
        qobject_cast<const QSizeGrip *>(&widget))
        return {.moves = false, .inPlace = true, .modifiers = {}};
    // Let go beside the entries an item view would clear its selection, but not while one is extended.
    if (qobject_cast<const QAbstractItemView *>(widget.parentWidget()))
        return {.moves = false, .inPlace = false, .modifiers = Qt::ShiftModifier};
    return {};
}

void sendMouse(QWidget &widget, QEvent::Type type, const QPointF &onScreen, Qt::MouseButton button,
               Qt::MouseButtons buttons, Qt::KeyboardModifiers modifiers)
{
    const QPointF at = widget.mapFromGlobal(onScreen);
    QMouseEvent event(type, at, at, onScreen, button, buttons, modifiers);
    QCoreApplication::sendEvent(&widget, &event);
}

void letGo(const DVPress &press, QWidget *widget)
{
    const LetGo how = letGoOf(press.taken ? *press.taken : *widget);
    const QPointF onScreen = how.inPlace ? press.contacts.first().at : farAway;
    const QPointer<QWidget> alive(widget);
    const QList<Qt::MouseButton> all = buttonsOf(press);
    Qt::MouseButtons down;
    for (const Qt::MouseButton button : all)
        down |= button;
    for (const Qt::MouseButton button : all) {
        if (how.moves && alive)
            sendMouse(*alive, QEvent::MouseMove, onScreen, Qt::NoButton, down, how.modifiers);
        down &= ~Qt::MouseButtons(button);
        if (alive)
            sendMouse(*alive, QEvent::MouseButtonRelease, onScreen, button, down, how.modifiers);
    }
}

// A handler that is pressed stays so unless it hears that something else holds the point now: the item that
// it is in.
void takeGrab(QPointerEvent &event, const QEventPoint &point)
{
    const QPointer<QObject> holder = event.exclusiveGrabber(point);
    QObject *item = holder && holder->inherits("QQuickPointerHandler") ? holder->parent() : nullptr;
    if (item && item->inherits("QQuickItem"))
        event.setExclusiveGrabber(point, item);
    event.setExclusiveGrabber(point, nullptr);
}

using Listeners = QList<QList<QPointer<QObject>>>; // of each point

Listeners listenersOf(const QPointerEvent &event)
{
    Listeners all;
    for (const QEventPoint &point : event.points())
        all << event.passiveGrabbers(point);
    return all;
}

// Whoever holds a point of the event in a scene hears that it was taken. So do those that only listen, such
// as most taps: they are made to hold it first.
void takeGrabs(QPointerEvent &event, const Listeners &listeners)
{
    for (qsizetype i = 0; i < event.pointCount(); ++i) {
        const QEventPoint &point = event.points().at(i);
        takeGrab(event, point);
        for (const QPointer<QObject> &handler : listeners.at(i)) {
            if (handler && handler->inherits("QQuickPointerHandler")) {
                event.setExclusiveGrabber(point, handler);
                takeGrab(event, point);
            }
        }
        event.clearPassiveGrabbers(point);
    }
}

void takeGrabsOfMouse(const DVPress &press)
{
    const QPointingDevice *primary = QPointingDevice::primaryPointingDevice();
    for (const QPointingDevice *device :
         {primary, press.mouse.data()}) { // a scene in a widget knows the first alone
        if (!device)
            continue;
        const QPointF at = press.contacts.first().at;
        QMouseEvent event(QEvent::MouseMove, at, at, at, Qt::NoButton, Qt::LeftButton, press.modifiers,
                          device);
        takeGrabs(event, listenersOf(event));
    }
}

// The receiver: a window, which knows which of its widgets or items has the fingers.
void cancelTouches(QObject &receiver, const DVPress &press)
{
    QTouchEvent update(QEvent::TouchUpdate, press.device, press.modifiers, press.points);
    const Listeners listeners = listenersOf(update);
    QTouchEvent cancel(QEvent::TouchCancel, press.device, press.modifiers, press.points);
    QCoreApplication::sendEvent(&receiver, &cancel); // for those that hold a point
    takeGrabs(update, listeners);
}

bool isHeldArrow(const QObject *spinBox, const char *arrow)
{
    const auto *part = spinBox->property(arrow).value<QObject *>();
    return part && part->property("pressed").toBool();
}

bool actsWhileHeld(const QObject &object)
{
    if (object.inherits("QQuickSpinBox"))
        return isHeldArrow(&object, "up") || isHeldArrow(&object, "down");
    return object.property("autoRepeat").toBool(); // of buttons in both kinds of windows
}

bool actsWhileHeld(const QWidget &widget)
{
    // Held by its handle a slider waits to be moved; beside it, it goes on by steps.
    if (const auto *slider = qobject_cast<const QAbstractSlider *>(&widget))
        return !slider->isSliderDown();
    if (qobject_cast<const QAbstractSpinBox *>(&widget))
        return true; // in its field the press would be the field's
    const auto *button = qobject_cast<const QAbstractButton *>(&widget);
    return button && button->autoRepeat();
}

} // namespace

bool dv_actsWhileHeld(const DVPress &press, const QObject *touched)
{
    if (press.taken && !isQuick(*press.taken))
        return actsWhileHeld(*press.taken);
    for (const QObject *item = touched; item && !item->isWidgetType() && !item->isWindowType();
         item = item->property("parent").value<QObject *>()) {
        if (actsWhileHeld(*item))
            return true;
    }
    return false;
}

// A source in a scene drags only what has moved already.
bool dv_isDragging(const DVPress &press)
{
    for (const QWidget *widget = press.pressed; widget; widget = widget->parentWidget()) {
        if (widget->findChild<QDrag *>(QString(), Qt::FindDirectChildrenOnly))
            return true;
    }
    return false;
}

bool dv_canCancelPress(const DVPress &press)
{
    return press.pressed ||
           (press.target && (isQuick(*press.target) || press.target->inherits("QWidgetWindow")));
}

void dv_cancelPress(const DVPress &press)
{
    const DVPress own = press; // what the host does meanwhile may end it
    if (own.byTouch && own.target && own.device)
        cancelTouches(*own.target, own);
    if (!own.byTouch || own.pressedByMouse)
        takeGrabsOfMouse(own);
    if (own.pressed && own.pressedByMouse && !isQuick(*own.pressed))
        letGo(own, own.pressed);
}
