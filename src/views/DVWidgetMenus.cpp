#include "DVWidgetMenus.h"

#include "DVPropertyText.h"
#include "DVWidgetPart.h"

#include <QAbstractButton>
#include <QAction>
#include <QMenu>
#include <QMenuBar>
#include <QToolBar>

namespace {

QRect rectOf(const QWidget &widget, QAction *action)
{
    if (const auto *menu = qobject_cast<const QMenu *>(&widget))
        return menu->actionGeometry(action).intersected(menu->rect());
    if (const auto *bar = qobject_cast<const QMenuBar *>(&widget))
        return bar->actionGeometry(action).intersected(bar->rect());
    return {};
}

// An action where a menu or a menu bar shows it; the widget may be null.
class Entry final : public DVWidgetPart
{
public:
    Entry(QWidget *widget, QAction *action)
        : DVWidgetPart(widget)
        , m_action(action)
    {}

    QObject *object() const override { return m_action; }
    std::optional<DVViewText> text() const override { return m_action ? shownText() : std::nullopt; }
    void setText(const DVViewText &text, const DVViewText &newText) override
    {
        if (m_action)
            showText(text, newText);
    }

protected:
    std::optional<DVViewText> shownText() const override
    {
        return m_action ? std::optional(DVViewText{dv_propertyText(m_action, "text").value_or(QString()), {}})
                        : std::nullopt;
    }

    void showText(const DVViewText &text, const DVViewText &newText) override
    {
        dv_replacePropertyText(m_action, "text", text.text, newText.text);
    }

    QRect rect() const override { return m_action ? rectOf(*widget(), m_action) : QRect(); }

    bool isSamePart(const DVWidgetPart &other) const override
    {
        return m_action && static_cast<const Entry &>(other).m_action == m_action;
    }

private:
    QPointer<QAction> m_action;
};

// Actions that are widgets are found as such.
QList<DVViewPtr> entriesOf(QWidget *widget)
{
    QList<DVViewPtr> entries;
    for (QAction *action : widget->actions()) {
        if (action->isVisible() && !action->text().isEmpty() && !rectOf(*widget, action).isEmpty())
            entries << std::make_shared<Entry>(widget, action);
    }
    return entries;
}

DVViewPtr entryOf(QWidget *widget, QAction *action)
{
    return action && !action->text().isEmpty() ? std::make_shared<Entry>(widget, action) : nullptr;
}

} // namespace

QList<DVViewPtr> DVMenuView::parts() const
{
    return entriesOf(widget());
}

DVViewPtr DVMenuView::partAt(const QPoint &point) const
{
    return entryOf(widget(), widget()->actionAt(point));
}

QList<DVViewPtr> DVMenuBarView::parts() const
{
    return entriesOf(widget());
}

DVViewPtr DVMenuBarView::partAt(const QPoint &point) const
{
    return entryOf(widget(), widget()->actionAt(point));
}

DVViewPtr dv_actionView(QAction *action)
{
    for (QObject *object : action->associatedObjects()) {
        auto *widget = qobject_cast<QWidget *>(object);
        if (!widget || !widget->isVisible())
            continue;
        const auto *toolBar = qobject_cast<QToolBar *>(widget);
        QWidget *button =
            toolBar ? toolBar->widgetForAction(action) : qobject_cast<QAbstractButton *>(widget);
        if (button && button->isVisible())
            return dv_view(button);
        if (!rectOf(*widget, action).isEmpty())
            return std::make_shared<Entry>(widget, action);
    }
    return std::make_shared<Entry>(nullptr, action);
}
