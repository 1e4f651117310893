// DVPress: the fingers, or the buttons of the mouse, that are down, from the first to the last.
#pragma once

#include <QEvent>
#include <QEventPoint>
#include <QList>
#include <QPointF>
#include <QPointer>
#include <QPointingDevice>
#include <QWidget>
#include <QWindow>

// What a gesture starts from, and what of the host's has to be told when it was one. Main thread.
struct DVPress
{
    struct Contact
    {
        int id = 0;            // of a touch point, or a mouse button
        quint64 timestamp = 0; // of the event that put it down
        QPointF startedAt;     // on the screen
        QPointF at;

        int touchPoint() const { return id - 1; }
        static int idOf(const QEventPoint &point)
        {
            return point.id() + 1;
        } // 0 is no button and nobody's finger
    };

    QPointer<QWindow> window; // top-level: the one that the first contact is in
    QPointer<QWindow> target; // the same, or one embedded in it
    QPointer<const QPointingDevice> device;
    Qt::KeyboardModifiers modifiers;
    bool byTouch = false;
    QList<Contact> contacts;
    QList<QEventPoint> points; // of the last touch event

    // The widget that the press was given to first, and the one that took it; null in a window of Qt Quick.
    QPointer<QWidget> pressed;
    QPointer<QWidget> taken;
    bool pressedByMouse = false;           // also one that Qt made from a touch
    QPointer<const QPointingDevice> mouse; // that of such a press

    bool isActive() const { return !contacts.isEmpty(); }
    Contact *contact(int id);
    // Fingers; of the mouse the buttons, but none when it is the right one alone.
    int touches() const;
    // In points of the window: the one contact, or the middle of them.
    QPointF location() const;
    // Whether one went further from where it was put down than a resting one does.
    bool hasMoved() const;
};

// Whether a button of the mouse went down.
inline bool dv_isPress(const QEvent &event)
{
    return event.type() == QEvent::MouseButtonPress || event.type() == QEvent::MouseButtonDblClick;
}
