// The part of DVGestureWatch that follows what is put down, moved and lifted.
#include "DVGestureWatch.h"

#include <QMouseEvent>
#include <QTouchEvent>

void DVGestureWatch::followMouse(QWindow &target, const QMouseEvent &event)
{
    // A release may have gone elsewhere, as at the end of a drag.
    const QList<DVPress::Contact> contacts = m_press.byTouch ? QList<DVPress::Contact>() : m_press.contacts;
    for (const DVPress::Contact &contact : contacts) {
        if (!event.buttons().testFlag(Qt::MouseButton(contact.id)))
            dropContact(contact.id);
    }
    if (dv_isPress(event)) {
        pressMouse(target, event);
        return;
    }
    if (event.type() != QEvent::MouseMove)
        return;
    if (event.buttons() == Qt::NoButton && !m_press.isActive())
        m_taken = false;
    for (DVPress::Contact &contact : m_press.contacts)
        contact.at = event.globalPosition();
    contactsMoved();
}

void DVGestureWatch::pressMouse(QWindow &target, const QMouseEvent &event)
{
    const DVPress::Contact *same = m_press.byTouch ? nullptr : m_press.contact(int(event.button()));
    if (same && same->timestamp == event.timestamp()) {
        noteTouch(target, target.mapFromGlobal(
                              event.globalPosition())); // it closed a menu, and is for what was below
        return;
    }
    if (same) // its release was lost
        dropContact(int(event.button()));
    if (!m_press.isActive())
        beginPress(target, event.pointingDevice(), false);
    m_press.modifiers = event.modifiers();
    noteTouch(target, event.globalPosition());
    addContact({int(event.button()), event.timestamp(), event.globalPosition(), event.globalPosition()});
    if (event.button() != Qt::LeftButton && event.button() != Qt::RightButton)
        failPress();
}

void DVGestureWatch::followTouch(QWindow &target, const QTouchEvent &event)
{
    if (event.type() == QEvent::TouchCancel) {
        failPress();
        endPress();
        return;
    }
    for (const QEventPoint &point : event.points()) {
        const int id = DVPress::Contact::idOf(point);
        if (point.state() == QEventPoint::Pressed) {
            if (!m_press.isActive())
                beginPress(target, event.pointingDevice(), true);
            m_press.points = event.points();
            noteTouch(target, point.globalPosition());
            addContact({id, event.timestamp(), point.globalPosition(), point.globalPosition()});
        } else if (point.state() == QEventPoint::Released) {
            dropContact(id);
        } else if (DVPress::Contact *contact = m_press.contact(id)) {
            contact->at = point.globalPosition();
        }
    }
    m_press.points = event.points();
    contactsMoved();
}

void DVGestureWatch::beginPress(QWindow &target, const QPointingDevice *device, bool byTouch)
{
    m_press = {};
    m_taken = false;
    m_press.window = hostWindowOf(&target);
    m_press.target = &target;
    m_press.device = device;
    m_press.byTouch = byTouch;
}

void DVGestureWatch::noteTouch(QWindow &target, const QPointF &onScreen)
{
    QWindow *window = hostWindowOf(&target);
    DVWindowGestures *gestures = gesturesOf(window);
    if (!gestures)
        return;
    QWindow *scene = target.inherits("QQuickWindow") ? &target : window;
    gestures->lastTouchedView = dv_viewInWindow(scene, window->mapFromGlobal(onScreen));
}

void DVGestureWatch::addContact(const DVPress::Contact &contact)
{
    m_press.contacts.append(contact);
    contactsChanged();
}

void DVGestureWatch::dropContact(int id)
{
    if (m_press.contacts.removeIf([id](const DVPress::Contact &contact) { return contact.id == id; }) == 0)
        return;
    if (m_press.isActive())
        contactsChanged();
    else
        endPress();
}
