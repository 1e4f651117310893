// The texts of Qt Quick items: in which properties they stand, and which of them are shown, once each.
#pragma once

#include "DVView.h"

#include <QList>
#include <QString>

#include <optional>

class QObject;
class QQuickItem;

// Properties of an item that hold a text for the screen, whether it is drawn or not: literals. None that
// holds what the user has typed, or a password.
QList<const char *> dv_quickTextProperties(const QQuickItem &item);

// As the object holds it.
QString dv_quickHeldText(const QObject &object, const char *property);
// With its markers, also where the object holds it without: a field may, and draws the text of a control that
// has it with them.
QString dv_quickMarkedText(const QObject &object, const char *property);
// The same; rich where the item takes it for that.
DVViewText dv_quickText(const QObject &object, const char *property);

struct DVQuickShownTexts
{
    QList<const char *> properties; // of the item; their texts are drawn by it or by items below
    bool othersBelow = false;       // items below show other texts

    bool isLabel() const { return properties.size() == 1 && !othersBelow; }
};
DVQuickShownTexts dv_quickShownTexts(const QQuickItem &item);

// Where a text stands that an item draws for an item above it.
struct DVQuickOwner
{
    QQuickItem *item = nullptr; // null: it is the item's own
    const char *property = nullptr;
};
DVQuickOwner dv_quickOwner(const QQuickItem &item, const char *property);

// An item that holds the text of a property of an item above, in order to draw it or to hand it on to those
// that do.
struct DVQuickDrawer
{
    QQuickItem *item;
    const char *property;
    bool draws;
};
QList<DVQuickDrawer> dv_quickDrawers(const QQuickItem &item, const char *property);
