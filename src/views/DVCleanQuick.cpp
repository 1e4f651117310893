#include "DVCleanQuick.h"

#ifndef DORVANE_VIEWS_QUICK

void dv_followQuickWindow(QWindow &, QObject &) {}
void dv_followQuickWidget(QWidget &, QObject &) {}

#else

#include "DVCleanFields.h"
#include "DVCueMarkers.h"
#include "DVMarkedTexts.h"
#include "DVQuickScene.h"

#include <QHash>
#include <QMetaProperty>
#include <QPointer>
#include <QQmlContext>
#include <QQmlEngine>
#include <QQmlProperty>
#include <QQuickItem>
#include <QQuickWindow>
#include <QVariant>

#include <algorithm>
#include <memory>
#include <utility>

namespace {

// Follows the items below one window; a child of the context, one for each window.
class QuickFields : public QObject
{
    Q_OBJECT

public:
    QuickFields(QQuickWindow &followed, QObject &context)
        : QObject(&context)
        , window(&followed)
    {
        connect(&followed, &QObject::destroyed, this, &QObject::deleteLater);
        followAll({followed.contentItem()});
    }

    const QPointer<const QObject> window;

private:
    // Handlers of the host's may delete an item when another one's text changes.
    void followAll(const QList<QQuickItem *> &items)
    {
        QList<QPointer<QQuickItem>> added;
        for (QQuickItem *item : items) {
            if (isNew(*item))
                added.append(item);
        }
        followNew(added);
    }

    void followNew(const QList<QPointer<QQuickItem>> &items)
    {
        for (const QPointer<QQuickItem> &item : items) {
            if (item)
                follow(*item);
        }
    }

    // A connection that is there already cannot be made again: the item is known.
    bool isNew(QQuickItem &item)
    {
        return connect(&item, &QQuickItem::childrenChanged, this, &QuickFields::childrenDidChange,
                       Qt::UniqueConnection);
    }

    void follow(QQuickItem &item)
    {
        const QPointer<QQuickItem> alive = &item;
        const QMetaProperty text = item.metaObject()->property(item.metaObject()->indexOfProperty("text"));
        if (text.hasNotifySignal() && text.typeId() == QMetaType::QString) {
            const QMetaObject &own = staticMetaObject;
            connect(&item, text.notifySignal(), this, own.method(own.indexOfSlot("textDidChange()")));
            clean(item);
        }
        if (alive)
            followAccessible(item);
        if (alive)
            followAll(item.childItems());
    }

    void clean(QQuickItem &item)
    {
        if (isField(item))
            cleanField(item);
        else
            name(item);
    }

    static bool isField(const QQuickItem &item)
    {
        return item.inherits("QQuickTextInput") || item.inherits("QQuickTextEdit");
    }

    // The setter leaves the property's binding as it is.
    static void cleanField(QQuickItem &item)
    {
        const QString marked = item.property("text").toString();
        if (!dv_holdsCues(marked))
            return;
        const int cursor = int(dv_placeWithoutCues(marked, item.property("cursorPosition").toInt()));
        DVMarkedTexts::remember(&item, {"text"}, marked);
        const QPointer<QQuickItem> alive = &item;
        item.setProperty("text", dv_stringByRemovingCues(marked));
        if (alive)
            item.setProperty("cursorPosition", cursor);
    }

    // What the application says itself. Asking for the attached object would make one for each item; its
    // class is not public.
    void followAccessible(QQuickItem &item)
    {
        const QObjectList &parts = item.children();
        const auto found = std::find_if(parts.begin(), parts.end(), [](const QObject *part) {
            return qstrcmp(part->metaObject()->className(), "QQuickAccessibleAttached") == 0;
        });
        if (found == parts.end())
            return;
        const QMetaObject &own = staticMetaObject;
        const QMetaMethod slot = own.method(own.indexOfSlot("accessibleDidChange()"));
        const QMetaObject &theirs = *(*found)->metaObject();
        for (const char *property : {"name", "description"}) {
            const QMetaProperty said = theirs.property(theirs.indexOfProperty(property));
            connect(*found, said.notifySignal(), this, slot, Qt::UniqueConnection);
        }
        cleanAccessible(**found);
    }

    static void cleanAccessible(QObject &attached)
    {
        const QPointer<QObject> alive = &attached; // a handler of the host's may delete the item
        for (const char *property : {"name", "description"}) {
            const QString said = alive ? attached.property(property).toString() : QString();
            if (dv_holdsCues(said))
                attached.setProperty(property, dv_stringByRemovingCues(said));
        }
    }

    // Accessibility tools read the attached name, and where there is none the text.
    void name(QQuickItem &item)
    {
        const QString text = item.property("text").toString();
        const bool isKnown = m_names.contains(&item);
        if (!isKnown && !dv_holdsCues(text))
            return;
        QQmlContext *context = qmlContext(&item);
        if (context && !context->isValid())
            return; // the application has just unloaded the item
        QObject *attached = QQmlProperty(&item, QStringLiteral("Accessible.name"), context).object();
        if (!attached)
            return;
        if (!isKnown)
            connect(&item, &QObject::destroyed, this, [this, gone = &item] { m_names.remove(gone); });
        const QString name = attached->property("name").toString();
        const bool isHosts = !name.isEmpty() && name != text && name != m_names.value(&item);
        const QString clean = dv_stringByRemovingCues(isHosts ? name : QString(text).remove(u'&'));
        m_names[&item] = isHosts ? QString() : clean;
        if (clean != name)
            attached->setProperty("name", clean);
    }

    void lookAgain()
    {
        const auto changed = std::exchange(m_changed, {});
        for (const QPointer<QQuickItem> &parent : changed) {
            if (parent)
                followAll(parent->childItems());
        }
    }

    QHash<const QObject *, QPointer<QQuickItem>> m_changed; // the parents of what came or went
    QHash<const QObject *, QString> m_names;                // given to those who have none of the host's

private Q_SLOTS:
    // A child is added behind the others: to look at all of them for each would take a view with many too
    // long. Whatever a handler of the host's has put elsewhere meanwhile is found when the event loop runs.
    void childrenDidChange()
    {
        auto *parent = qobject_cast<QQuickItem *>(sender());
        const QList<QQuickItem *> children = parent->childItems();
        QList<QPointer<QQuickItem>> added;
        for (auto child = children.crbegin(); child != children.crend() && isNew(**child); ++child)
            added.prepend(*child);
        if (m_changed.isEmpty())
            QMetaObject::invokeMethod(this, &QuickFields::lookAgain, Qt::QueuedConnection);
        m_changed.insert(parent, parent);
        followNew(added);
    }
    void textDidChange() { clean(*qobject_cast<QQuickItem *>(sender())); }
    void accessibleDidChange()
    {
        const QPointer<QObject> attached = sender();
        auto *item = qobject_cast<QQuickItem *>(attached->parent());
        if (item && item->property("text").typeId() == QMetaType::QString && !isField(*item))
            name(*item); // a control may have given its text as the name: then it is ours to follow
        if (attached)
            cleanAccessible(*attached);
    }
};

} // namespace

void dv_followQuickWindow(QWindow &window, QObject &context)
{
    auto *quick = qobject_cast<QQuickWindow *>(&window);
    if (!quick)
        return;
    const auto known = context.findChildren<QuickFields *>(QString(), Qt::FindDirectChildrenOnly);
    for (const QuickFields *fields : known) {
        if (fields->window == quick)
            return;
    }
    static_cast<void>(std::make_unique<QuickFields>(*quick, context).release()); // the context owns it
}

void dv_followQuickWidget(QWidget &widget, QObject &context)
{
    if (QQuickWindow *window = dv_quickWindow(widget))
        dv_followQuickWindow(*window, context);
}

#include "DVCleanQuick.moc"

#endif
