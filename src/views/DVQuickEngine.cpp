#include "DVQuickEngine.h"

#include <QGuiApplication>
#include <QPointer>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QVariant>

#include <vector>

namespace {

struct Kept
{
    QPointer<QQuickItem> item;
    const char *property;
    QVariant value;
};

bool hasTyped(const QQuickItem &item)
{
    return item.property("canUndo").toBool() || item.property("canRedo").toBool();
}

QList<const char *> propertiesToKeep(const QQuickItem &item)
{
    if (item.inherits("QQuickTextInput") || item.inherits("QQuickTextEdit"))
        return hasTyped(item) ? QList<const char *>{"text", "cursorPosition"} : QList<const char *>();
    QList<const char *> properties;
    if (item.metaObject()->indexOfProperty("currentIndex") >= 0)
        properties << "currentIndex";
    if (item.inherits("QQuickFlickable"))
        properties << "contentX"
                   << "contentY";
    return properties;
}

// A translated array as a model is another model afterwards, and a view begins again with it.
class Positions
{
public:
    explicit Positions(const QQmlEngine *engine)
    {
        for (QWindow *window : QGuiApplication::allWindows()) {
            if (auto *scene = qobject_cast<QQuickWindow *>(window))
                keep(*scene->contentItem(), engine);
        }
    }

    void restore() const
    {
        for (const Kept &kept : m_kept) {
            if (!kept.item || kept.item->property(kept.property) == kept.value)
                continue;
            if (kept.item->inherits("QQuickItemView"))
                QMetaObject::invokeMethod(kept.item, "forceLayout");
            if (kept.item)
                kept.item->setProperty(kept.property, kept.value);
        }
    }

private:
    void keep(QQuickItem &item, const QQmlEngine *engine)
    {
        const QList<const char *> properties = propertiesToKeep(item);
        if (!properties.isEmpty() && qmlEngine(&item) == engine) {
            for (const char *property : properties)
                m_kept.push_back({&item, property, item.property(property)});
        }
        for (QQuickItem *child : item.childItems())
            keep(*child, engine);
    }

    std::vector<Kept> m_kept;
};

constexpr const char *done = "_dv_retranslated";

} // namespace

void dv_quickRetranslate(const QObject &object)
{
    QQmlEngine *engine = qmlEngine(&object);
    if (!engine || engine->property(done).toBool())
        return;
    engine->setProperty(done, true);
    QMetaObject::invokeMethod(
        engine, [engine] { engine->setProperty(done, QVariant()); }, Qt::QueuedConnection);
    const Positions positions(engine);
    engine->retranslate();
    positions.restore();
}
