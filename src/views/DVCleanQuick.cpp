#include "DVCleanQuick.h"

#ifndef DORVANE_VIEWS_QUICK

void dv_followQuickWindow(QWindow &, QObject &) {}

#else

#include "DVCleanFields.h"
#include "DVCueMarkers.h"
#include "DVMarkedTexts.h"

#include <QQuickItem>
#include <QQuickWindow>
#include <QVariant>

#include <memory>

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
        follow(*followed.contentItem());
    }

    const QObject *const window;

private:
    void follow(QQuickItem &item)
    {
        // A connection that is there already cannot be made again: the item is known.
        if (!connect(&item, &QQuickItem::childrenChanged, this, &QuickFields::childrenDidChange,
                     Qt::UniqueConnection))
            return;
        if (item.inherits("QQuickTextInput") || item.inherits("QQuickTextEdit")) {
            connect(&item, SIGNAL(textChanged()), this, SLOT(textDidChange()));
            clean(item);
        }
        const auto children = item.childItems();
        for (QQuickItem *child : children)
            follow(*child);
    }

    // The setter leaves the property's binding as it is.
    static void clean(QQuickItem &item)
    {
        const QString marked = item.property("text").toString();
        if (!dv_holdsCues(marked))
            return;
        const int cursor = int(dv_placeWithoutCues(marked, item.property("cursorPosition").toInt()));
        DVMarkedTexts::remember(&item, {"text"}, marked);
        item.setProperty("text", dv_stringByRemovingCues(marked));
        item.setProperty("cursorPosition", cursor);
    }

private Q_SLOTS:
    void childrenDidChange()
    {
        const auto children = qobject_cast<QQuickItem *>(sender())->childItems();
        for (QQuickItem *child : children)
            follow(*child);
    }
    void textDidChange() { clean(*qobject_cast<QQuickItem *>(sender())); }
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
    std::make_unique<QuickFields>(*quick, context).release(); // the context owns it
}

#include "DVCleanQuick.moc"

#endif
