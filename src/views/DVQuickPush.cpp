#include "DVQuickPush.h"

#include "DVPropertyText.h"
#include "DVQuickEngine.h"
#include "DVQuickTexts.h"

#include <QJSValue>
#include <QMetaProperty>
#include <QPointer>
#include <QQuickItem>
#include <QVariant>

namespace {

struct Place
{
    QPointer<QObject> object;
    const char *property;
};
using Places = QList<Place>;

struct Change
{
    QString from;
    QString to;
};

// A setter of C++ leaves a binding of QML in place, which JavaScript's assignment and QQmlProperty do not.
void write(QObject &object, const char *property, const QVariant &value)
{
    const QMetaObject *type = object.metaObject();
    const QMetaProperty found = type->property(type->indexOfProperty(property));
    QUntypedBindable bindable = found.isBindable() ? found.bindable(&object) : QUntypedBindable();
    if (bindable.hasBinding())
        bindable.setBinding(bindable.takeBinding()); // runs it again
    else
        found.write(&object, value);
}

bool holds(const QObject &object, const char *property, const QString &text)
{
    return dv_hasTextProperty(&object, property) && dv_quickMarkedText(object, property) == text;
}

void replace(const Place &place, const Change &change)
{
    QObject *object = place.object;
    if (!object)
        return;
    const char *property = place.property;
    dv_replaceText({object,
                    {property},
                    dv_quickHeldText(*object, property),
                    [object, property](const QString &held) { write(*object, property, held); }},
                   change.from, change.to);
}

void addIfHolds(Places &places, QObject *object, const QString &text)
{
    for (const char *property : {"text", "title"}) {
        if (object && holds(*object, property, text))
            places.append({object, property});
    }
}

QObject *objectIn(const QObject &object, const char *property)
{
    return object.property(property).value<QObject *>();
}

// What a popup shows. A tool tip is shown for many items in turn, each of which keeps its own text.
void addPopup(Places &places, const QObject &popup, const QString &text)
{
    if (popup.inherits("QQuickToolTip")) {
        if (const QObject *shownFor = objectIn(popup, "parent")) {
            for (QObject *attached : shownFor->children()) {
                if (attached->inherits("QQuickToolTipAttached"))
                    addIfHolds(places, attached, text);
            }
        }
    }
    addIfHolds(places, const_cast<QObject *>(&popup), text);
}

// Where an item's text comes from, outermost first.
Places sources(const QQuickItem &item, const QString &text)
{
    Places places;
    for (const char *property : {"action", "subMenu", "menu"})
        addIfHolds(places, objectIn(item, property), text);
    for (QQuickItem *above = item.parentItem(); above; above = above->parentItem()) {
        Places further;
        if (above->parent() && above->parent()->inherits("QQuickPopup"))
            addPopup(further, *above->parent(), text);
        addIfHolds(further, above, text);
        places = further + places;
    }
    return places;
}

bool replaceIn(QVariantList &entries, const QString &role, const Change &change)
{
    bool replaced = false;
    for (QVariant &entry : entries) {
        QVariantMap map = entry.toMap();
        if (!role.isEmpty() && map.value(role).toString() == change.from) {
            map.insert(role, change.to);
            entry = map;
            replaced = true;
        } else if (entry.typeId() == QMetaType::QString && entry.toString() == change.from) {
            entry = change.to;
            replaced = true;
        }
    }
    return replaced;
}

// A combo box shows an entry of its model. When that is a list of texts, the list is what was translated.
void replaceEntries(QObject &comboBox, const Change &change)
{
    QVariant model = comboBox.property("model");
    if (model.metaType() == QMetaType::fromType<QJSValue>())
        model = model.value<QJSValue>().toVariant();
    const int type = model.typeId();
    if (type != QMetaType::QVariantList && type != QMetaType::QStringList)
        return;
    QVariantList entries = model.toList();
    if (!replaceIn(entries, comboBox.property("textRole").toString(), change))
        return;
    const QPointer<QObject> alive = &comboBox;
    const QVariant current = comboBox.property("currentIndex");
    write(comboBox, "model", entries);
    if (alive)
        write(comboBox, "currentIndex", current);
}

// Another text than that of the current entry is one of its own; to write that of the current entry would fix
// it.
bool followsCurrentEntry(const QObject &comboBox)
{
    return comboBox.property("displayText") == comboBox.property("currentText");
}

void replaceInItem(QQuickItem &item, const char *property, const Change &change)
{
    const QPointer<QQuickItem> alive = &item;
    Places places = sources(item, change.from);
    bool isWritten = true;
    if (item.inherits("QQuickComboBox")) {
        isWritten = !followsCurrentEntry(item);
        replaceEntries(item, change);
        if (!alive)
            return;
    }
    if (isWritten)
        places.append({&item, property});
    for (const DVQuickDrawer &drawer : dv_quickDrawers(item, property))
        places.append({drawer.item, drawer.property});
    for (const Place &place : std::as_const(places))
        replace(place, change);
}

} // namespace

void dv_quickReplaceText(QObject &object, const char *property, const DVViewText &text,
                         const DVViewText &newText)
{
    const Change change{text.isRich() ? text.richText : text.text,
                        newText.isRich() ? newText.richText : newText.text};
    const auto showsOld = [&] { return dv_quickMarkedText(object, property) == change.from; };
    if (!showsOld() || change.from == change.to)
        return;
    const QPointer<QObject> alive = &object;
    dv_quickRetranslate(object);
    if (!alive || !showsOld())
        return;
    if (auto *item = qobject_cast<QQuickItem *>(&object))
        replaceInItem(*item, property, change);
    else
        replace({&object, property}, change);
}
