#include "DVViewControllers.h"

#include "DVMarkedTexts.h"
#include "DorvaneViews.h"

#include <QApplication>
#include <QMainWindow>
#include <QStackedWidget>
#include <QTabBar>
#include <QTabWidget>
#include <QWindow>

#include <algorithm>

namespace {

enum class Kind { Navigation, TabBar, Other };

struct Page
{
    QObject *controller;
    QString title;
};

constexpr const char *windowTitle = "windowTitle";

// The stack in a tab widget is a detail of that.
QTabWidget *tabsAround(const QObject *stack)
{
    return qobject_cast<QTabWidget *>(stack->parent());
}

Kind kindOf(const QObject &controller)
{
    if (qobject_cast<const QTabWidget *>(&controller) || controller.inherits("QQuickSwipeView"))
        return Kind::TabBar;
    if ((qobject_cast<const QStackedWidget *>(&controller) && !tabsAround(&controller)) ||
        controller.inherits("QQuickStackView"))
        return Kind::Navigation;
    return Kind::Other;
}

QString titleOf(const QObject &object)
{
    if (object.isWidgetType()) {
        const QString shown = static_cast<const QWidget &>(object).windowTitle();
        return DVMarkedTexts::markedText(&object, {windowTitle}, shown);
    }
    const QString shown = object.property("title").toString();
    return DVMarkedTexts::markedText(&object, {"title"}, shown);
}

QList<Page> pagesOf(QTabWidget &tabs)
{
    QList<Page> pages;
    for (int i = 0; i < tabs.count(); ++i)
        pages.append(
            {tabs.widget(i), DVMarkedTexts::markedText(tabs.tabBar(), {"tabText", i}, tabs.tabText(i))});
    return pages;
}

// Of items those that are shown: there is no other.
QList<Page> pagesOf(QObject &controller)
{
    QList<Page> pages;
    if (auto *tabs = qobject_cast<QTabWidget *>(&controller))
        return pagesOf(*tabs);
    if (const auto *stack = qobject_cast<QStackedWidget *>(&controller)) {
        for (int i = 0; i < stack->count(); ++i)
            pages.append({stack->widget(i), titleOf(*stack->widget(i))});
        return pages;
    }
    // The tabs of a SwipeView are buttons elsewhere, and found as such.
    const bool titled = kindOf(controller) == Kind::Navigation;
    const QList<DVViewPtr> views = dv_subviews(dv_view(&controller));
    for (const DVViewPtr &view : views) {
        if (QObject *page = view->object(); page && page != &controller)
            pages.append({page, titled ? titleOf(*page) : QString()});
    }
    return pages;
}

bool isIn(const QObject *object, const QObject *page)
{
    if (!object || object == page)
        return object;
    if (object->isWidgetType() && page->isWidgetType())
        return static_cast<const QWidget *>(page)->isAncestorOf(static_cast<const QWidget *>(object));
    while (object && !object->isWidgetType() && !object->isWindowType() && object != page)
        object = object->property("parent").value<QObject *>();
    return object == page;
}

bool isTabOf(const DVViewStrings &strings, const QObject &controller)
{
    const auto *tabs = qobject_cast<const QTabWidget *>(&controller);
    return tabs && strings.view && strings.view->object() == tabs->tabBar();
}

// The title is no part of what the window shows inside.
bool isTitleOf(const DVViewStrings &strings, QObject &window, const QString &title)
{
    return strings.view && strings.view->object() == &window && strings.originalString == title &&
           !strings.view->isSameAs(*dv_view(&window));
}

void collectControllers(const QWidget &widget, QList<QObject *> *found)
{
    for (QObject *child : widget.children()) {
        if (!child->isWidgetType() || static_cast<QWidget *>(child)->isWindow())
            continue;
        if (kindOf(*child) != Kind::Other)
            found->append(child);
        else
            collectControllers(*static_cast<QWidget *>(child), found);
    }
}

void collectControllers(const DVViewPtr &view, QList<QObject *> *found)
{
    const QList<DVViewPtr> children = dv_subviews(view);
    for (const DVViewPtr &child : children) {
        QObject *object = child->object();
        if (object && !object->isWidgetType() && kindOf(*object) != Kind::Other)
            found->append(object);
        else
            collectControllers(child, found);
    }
}

// The outermost ones below it.
QList<QObject *> controllersIn(QObject &controller)
{
    QList<QObject *> found;
    if (controller.isWidgetType())
        collectControllers(static_cast<QWidget &>(controller), &found);
    else
        collectControllers(dv_view(&controller), &found);
    return found;
}

DVViewStringsPtr titleEntry(QObject *controller, const QString &title, bool isTab)
{
    auto entry = std::make_shared<DVViewStrings>();
    entry->viewController = controller;
    entry->originalString = title;
    (isTab ? entry->isTabTitle : entry->isTitle) = true;
    return entry;
}

QList<DVViewStringsPtr> stringsOfPages(QObject &controller)
{
    QList<DVViewStringsPtr> list;
    const bool tabs = kindOf(controller) == Kind::TabBar;
    const QList<Page> pages = pagesOf(controller);
    for (const Page &page : pages) {
        list += dorvaneStringsInViewController(page.controller);
        if (!page.title.isEmpty())
            list.append(titleEntry(page.controller, page.title, tabs));
    }
    return list;
}

// What its view shows; what is in pages further down belongs to them.
QList<DVViewStringsPtr> stringsOfView(QObject &controller)
{
    QList<DVViewStringsPtr> list = dorvaneStringsInSubviews(dv_view(&controller));
    for (const DVViewStringsPtr &strings : std::as_const(list))
        strings->viewController = &controller;
    const QList<QObject *> nested = controllersIn(controller);
    for (QObject *inner : nested) {
        const QList<Page> pages = pagesOf(*inner);
        list.removeIf([&](const DVViewStringsPtr &strings) {
            const QObject *object = strings->view ? strings->view->object() : nullptr;
            return isTabOf(*strings, *inner) ||
                   std::any_of(pages.begin(), pages.end(),
                               [&](const Page &page) { return isIn(object, page.controller); });
        });
        list += stringsOfPages(*inner);
    }
    return list;
}

QWidget *onlyChild(const QWidget &widget)
{
    QWidget *only = nullptr;
    for (QObject *child : widget.children()) {
        if (!child->isWidgetType() || static_cast<QWidget *>(child)->isWindow())
            continue;
        if (only)
            return nullptr;
        only = static_cast<QWidget *>(child);
    }
    return only;
}

// Containers that hold just one thing are passed through.
QObject *rootViewController(QWidget *window)
{
    QWidget *root = window;
    const auto *mainWindow = qobject_cast<QMainWindow *>(window);
    if (mainWindow && mainWindow->centralWidget())
        root = mainWindow->centralWidget();
    while (root && kindOf(*root) == Kind::Other) {
        QWidget *child = onlyChild(*root);
        if (!child)
            break;
        root = child;
    }
    return root;
}

QObject *rootViewController(const DVViewPtr &window)
{
    DVViewPtr root = window;
    while (root && root->object() && kindOf(*root->object()) == Kind::Other) {
        const QList<DVViewPtr> children = dv_subviews(root);
        if (children.size() != 1)
            break;
        root = children.first();
    }
    return root ? root->object() : nullptr;
}

} // namespace

QObject *dv_hostObject(QWindow *window)
{
    QWidget *widget = window && window->handle() ? QWidget::find(window->winId()) : nullptr;
    return widget ? static_cast<QObject *>(widget->window()) : window;
}

QObject *dv_navTopViewController(QWindow *window)
{
    QObject *object = dv_hostObject(window);
    if (!object)
        return nullptr;
    QObject *root = object->isWidgetType() ? rootViewController(static_cast<QWidget *>(object))
                                           : rootViewController(dv_view(object));
    if (!root || kindOf(*root) != Kind::Navigation)
        return nullptr;
    if (const auto *stack = qobject_cast<QStackedWidget *>(root))
        return stack->currentWidget();
    return root->property("currentItem").value<QObject *>();
}

QObject *dv_presentedViewController(QWindow *window)
{
    QWindow *modal = QGuiApplication::modalWindow();
    return modal && modal != window ? dv_hostObject(modal) : nullptr;
}

QList<DVViewStringsPtr> dorvaneStringsInWindowSubviews(QWindow *window)
{
    QObject *object = dv_hostObject(window);
    if (!object || !dv_view(object))
        return {};
    QList<DVViewStringsPtr> list = dorvaneStringsInViewController(object);
    const QString title = titleOf(*object);
    if (title.isEmpty())
        return list;
    list.removeIf([&](const DVViewStringsPtr &strings) { return isTitleOf(*strings, *object, title); });
    list.append(titleEntry(object, title, false));
    return list;
}

QList<DVViewStringsPtr> dorvaneStringsInViewController(QObject *controller)
{
    if (!controller)
        return {};
    return kindOf(*controller) == Kind::Other ? stringsOfView(*controller) : stringsOfPages(*controller);
}
