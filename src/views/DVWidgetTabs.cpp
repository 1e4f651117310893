#include "DVWidgetTabs.h"

#include "DVPropertyText.h"
#include "DVWidgetPart.h"

#include <QDockWidget>
#include <QMainWindow>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QTabBar>

#include <utility>

namespace {

// The widgets whose titles a tab bar repeats; it takes them from there again and again.
QWidgetList titledWidgets(const QTabBar &bar)
{
    QWidgetList widgets;
    QWidget *parent = bar.parentWidget();
    if (const auto *area = qobject_cast<QMdiArea *>(parent)) {
        for (QMdiSubWindow *window : area->subWindowList())
            widgets << window;
    }
    // Docks that float together have a window of their own below the main window.
    if (parent && parent->inherits("QDockWidgetGroupWindow"))
        parent = parent->parentWidget();
    if (qobject_cast<QMainWindow *>(parent)) {
        for (QDockWidget *dock : parent->findChildren<QDockWidget *>())
            widgets << dock;
    }
    return widgets;
}

// A tab has no identity that lasts: it is its place in the bar, and by its text it is told whether it is
// still the same.
class Tab final : public DVWidgetPart
{
public:
    Tab(QTabBar *bar, int index)
        : DVWidgetPart(bar)
        , m_index(index)
    {}

protected:
    std::optional<DVViewText> shownText() const override
    {
        return m_index < bar()->count() ? std::optional(DVViewText{marked(m_index), {}}) : std::nullopt;
    }

    // Each tab that shows the text takes the new one.
    void showText(const DVViewText &text, const DVViewText &newText) override
    {
        const QPointer<QTabBar> alive = bar();
        QList<QPointer<QWidget>> all; // the host may delete one when it is told of another
        for (QWidget *titled : titledWidgets(*bar()))
            all.append(titled);
        for (const QPointer<QWidget> &titled : std::as_const(all)) {
            if (titled)
                dv_replacePropertyText(titled, "windowTitle", text.text, newText.text);
        }
        for (int i = 0; alive && i < alive->count(); ++i) {
            const auto hold = [&](const QString &held) { alive->setTabText(i, held); };
            dv_replaceText({alive, {"tabText", i}, alive->tabText(i), hold}, text.text, newText.text);
        }
    }

    QRect rect() const override { return bar()->tabRect(m_index).intersected(bar()->rect()); }

    bool isSamePart(const DVWidgetPart &other) const override
    {
        return static_cast<const Tab &>(other).m_index == m_index;
    }

private:
    QTabBar *bar() const { return static_cast<QTabBar *>(widget()); }

    QString marked(int index) const
    {
        const QString held = bar()->tabText(index);
        for (const QWidget *titled : titledWidgets(*bar())) {
            if (titled->windowTitle() == held)
                return dv_markedText(titled, {"windowTitle"}, held);
        }
        return dv_markedText(bar(), {"tabText", index}, held);
    }

    int m_index;
};

} // namespace

QList<DVViewPtr> DVTabBarView::parts() const
{
    QList<DVViewPtr> tabs;
    for (int i = 0; i < widget()->count(); ++i) {
        if (widget()->isTabVisible(i) && widget()->tabRect(i).intersects(widget()->rect()))
            tabs << std::make_shared<Tab>(widget(), i);
    }
    return tabs;
}

DVViewPtr DVTabBarView::partAt(const QPoint &point) const
{
    const int index = widget()->tabAt(point);
    return index < 0 ? nullptr : std::make_shared<Tab>(widget(), index);
}
