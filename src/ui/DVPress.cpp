#include "DVPress.h"

#include <QGuiApplication>
#include <QStyleHints>

#include <algorithm>

DVPress::Contact *DVPress::contact(int id)
{
    const auto found = std::find_if(contacts.begin(), contacts.end(),
                                    [id](const Contact &contact) { return contact.id == id; });
    return found == contacts.end() ? nullptr : &*found;
}

int DVPress::touches() const
{
    if (!byTouch && contacts.size() == 1 && contacts.first().id == Qt::RightButton)
        return 0;
    return int(contacts.size());
}

QPointF DVPress::location() const
{
    if (contacts.isEmpty() || !window)
        return {};
    QPointF sum;
    for (const Contact &contact : contacts)
        sum += window->mapFromGlobal(contact.at);
    return sum / double(contacts.size());
}

bool DVPress::hasMoved() const
{
    const int distance = QGuiApplication::styleHints()->startDragDistance();
    return std::any_of(contacts.begin(), contacts.end(), [distance](const Contact &contact) {
        return (contact.at - contact.startedAt).manhattanLength() > distance;
    });
}
