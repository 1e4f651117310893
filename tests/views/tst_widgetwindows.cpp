// The texts of whole windows of widgets: what is hidden, drawn twice, kept by somebody else, or deleted
// meanwhile.
#include "DVCleanTexts.h"
#include "FoundTexts.h"

#include <QAction>
#include <QComboBox>
#include <QDockWidget>
#include <QGraphicsTextItem>
#include <QGraphicsView>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QPushButton>
#include <QSplitter>
#include <QStackedWidget>
#include <QStandardItemModel>
#include <QStatusBar>
#include <QTabWidget>
#include <QTableWidget>
#include <QToolBar>
#include <QTreeView>
#include <QVBoxLayout>
#include <QWizard>

#include <array>
#include <ctime>
#include <memory>
#include <new>

using namespace Qt::Literals::StringLiterals;

namespace {

QString marked(const QString &text)
{
    return dv_stringWithCues(text);
}

const QString oldText = marked(u"Old"_qs);
const QString newText = marked(u"Renewed"_qs);

// A model that says what it says.
class ReadOnlyModel : public QAbstractListModel
{
    Q_OBJECT
public:
    QString text = oldText;

    int rowCount(const QModelIndex &) const override { return 3; }
    QVariant data(const QModelIndex &, int role) const override
    {
        return role == Qt::DisplayRole ? QVariant(text) : QVariant();
    }
    bool setData(const QModelIndex &, const QVariant &, int) override
    {
        qWarning("the host's model was written");
        return false;
    }
};

} // namespace

class TestWidgetWindows : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { QTest::failOnWarning(QRegularExpression(u"^(?!This plugin)"_qs)); }

    void hiddenThingsAreNotFound()
    {
        QMainWindow window;
        auto *stack = new QStackedWidget;
        stack->addWidget(new QLabel(u"shown page"_qs));
        stack->addWidget(new QLabel(u"other page"_qs));
        auto *tabs = new QTabWidget;
        tabs->addTab(new QLabel(u"in the shown tab"_qs), u"tab 1"_qs);
        tabs->addTab(new QLabel(u"in the other tab"_qs), u"tab 2"_qs);
        tabs->addTab(new QWidget, u"hidden tab"_qs);
        tabs->setTabVisible(2, false);
        auto *password = new QLineEdit(u"secret"_qs);
        password->setEchoMode(QLineEdit::Password);
        auto *splitter = new QSplitter;
        for (QWidget *widget : QList<QWidget *>{stack, new QLabel(u"collapsed"_qs), tabs, password})
            splitter->addWidget(widget);
        splitter->setSizes({200, 0, 200});
        window.setCentralWidget(splitter);
        for (int i = 0; i < 2; ++i) {
            auto *dock = new QDockWidget(u"dock %1"_qs.arg(i), &window);
            dock->setWidget(new QLabel(u"in dock %1"_qs.arg(i)));
            window.addDockWidget(Qt::BottomDockWidgetArea, dock);
        }
        const auto docks = window.findChildren<QDockWidget *>();
        window.tabifyDockWidget(docks[0], docks[1]);
        docks[1]->raise();
        window.resize(700, 400);
        window.setWindowTitle(u"title"_qs);
        QVERIFY(texts(&window).isEmpty()); // not shown yet
        QVERIFY(dv_view(password)->frame().isEmpty());
        QVERIFY(isShown(window));

        QTRY_VERIFY(!texts(&window).contains(u"in dock 0"_qs));
        QVERIFY(dv_view(docks[0]->widget())->frame().isEmpty());
        QVERIFY(!dv_view(docks[1]->widget())->frame().isEmpty());
        QStringList found = texts(&window);
        found.sort();
        // The dock's title stands above it and on its tab; the other dock's only on its tab.
        QCOMPARE(found, (QStringList{u"dock 0"_qs, u"dock 1"_qs, u"dock 1"_qs, u"in dock 1"_qs,
                                     u"in the shown tab"_qs, u"shown page"_qs, u"tab 1"_qs, u"tab 2"_qs,
                                     u"title"_qs}));
    }

    void actionsAreReplacedWhereTheirTextComesFrom()
    {
        QMainWindow window;
        QToolBar *bar = window.addToolBar(u"tools"_qs);
        QAction *plain = bar->addAction(marked(u"&Save..."_qs));
        QAction *named = bar->addAction(marked(u"Open a file"_qs));
        named->setIconText(marked(u"Open"_qs));
        QAction *icon = bar->addAction(QIcon(QPixmap(16, 16)), marked(u"&Print"_qs));
        QMenu menu(&window);
        menu.addActions({plain, named, icon});
        QVERIFY(isShown(window));
        // The tool button shows "Save", which no string is.
        QCOMPARE(texts(bar), (QStringList{u"[&Save...]"_qs, u"[Open]"_qs, u"[&Print]"_qs}));
        for (const DVViewPtr &view : labels(dv_view(bar)))
            view->setText(*view->text(), {marked(u"&New"_qs), {}});
        QCOMPARE(plain->text(), marked(u"&New"_qs));
        QCOMPARE(named->text(), marked(u"Open a file"_qs));
        QCOMPARE(named->iconText(), marked(u"&New"_qs));
        QCOMPARE(icon->text(), marked(u"&New"_qs));
        QCOMPARE(dv_view(plain)->object(), bar->widgetForAction(plain));

        menu.popup({10, 10});
        QVERIFY(QTest::qWaitForWindowExposed(&menu));
        const DVViewPtr entry = dv_viewInWindow(menu.windowHandle(), menu.actionGeometry(named).center());
        QCOMPARE(entry->object(), named);
        QCOMPARE(entry->text()->text, marked(u"Open a file"_qs));
        named->setVisible(false);
        QCOMPARE(texts(&menu).size(), 2);
    }

    void tabsOfDocksFollowTheirDocks()
    {
        for (const bool keepsClean : {false, true}) {
            const auto cleanTexts = keepsClean ? std::make_unique<DVCleanTexts>() : nullptr;
            QMainWindow window;
            auto *first = new QDockWidget(oldText, &window);
            auto *second = new QDockWidget(u"second"_qs, &window);
            window.addDockWidget(Qt::LeftDockWidgetArea, first);
            window.addDockWidget(Qt::LeftDockWidgetArea, second);
            window.tabifyDockWidget(first, second);
            second->raise();
            window.resize(500, 300);
            QVERIFY(isShown(window));
            auto *bar = window.findChild<QTabBar *>();
            QVERIFY(bar);
            QTRY_VERIFY(labelWith(bar, oldText));
            QVERIFY(replace(bar, oldText, newText));
            second->setWindowTitle(u"third"_qs); // the bar is filled again
            QTRY_VERIFY(labelWith(bar, newText));
            QCOMPARE(first->windowTitle(), keepsClean ? u"Renewed"_qs : newText);
        }
    }

    void entriesOfAnOpenComboBoxAreTheBoxs()
    {
        const DVCleanTexts cleanTexts;
        QWidget window;
        QVBoxLayout layout(&window);
        QComboBox box;
        box.addItems({u"first"_qs, oldText});
        layout.addWidget(&box);
        QVERIFY(isShown(window));
        QCOMPARE(box.itemText(1), u"Old"_qs);
        QVERIFY(!labelWith(&window, oldText)); // not the chosen one
        box.showPopup();
        QWidget *popup = box.view()->window();
        QVERIFY(QTest::qWaitForWindowExposed(popup));
        const DVViewPtr entry = labelWith(popup, oldText);
        QVERIFY(entry);
        QVERIFY(dv_viewInWindow(popup->windowHandle(), entry->frame().center())->isSameAs(*entry));
        entry->setText({oldText, {}}, {newText, {}});
        QCOMPARE(box.itemText(1), u"Renewed"_qs);
        QVERIFY(labelWith(popup, newText));
        box.hidePopup();
    }

    void buttonsWithTextsInThemShowBoth()
    {
        QPushButton card(marked(u"card"_qs));
        card.resize(300, 100);
        QLabel inner(marked(u"inner"_qs), &card);
        inner.setGeometry(10, 10, 60, 20);
        QWidget *native = new QLabel(marked(u"native"_qs), &card);
        native->setGeometry(100, 10, 60, 20);
        native->setAttribute(Qt::WA_NativeWindow);
        QVERIFY(isShown(card));
        QCOMPARE(texts(&card), (QStringList{u"[card]"_qs, u"[inner]"_qs, u"[native]"_qs}));
        QVERIFY(replace(&card, marked(u"card"_qs), newText));
        QCOMPARE(card.text(), newText);
        // A child with a window of its own gets its own points.
        const DVViewPtr hit = dv_viewInWindow(native->windowHandle(), {5, 5});
        QVERIFY(hit && hit->isSameAs(*dv_view(native)));
        QCOMPARE(hit->frame(), QRectF(100, 10, 60, 20));
    }

    void messageBoxesAreReplacedAsTheirOwnersSeeThem()
    {
        QMessageBox box(QMessageBox::Question, u"title"_qs, oldText);
        box.setInformativeText(marked(u"information"_qs));
        QPushButton *button = box.addButton(marked(u"&Yes"_qs), QMessageBox::YesRole);
        QVERIFY(isShown(box));
        for (const QString &text : {oldText, box.informativeText(), button->text()})
            QVERIFY(replace(&box, text, marked(dv_stringByRemovingCues(text) + u'!')));
        QCOMPARE(box.text(), marked(u"Old!"_qs));
        QCOMPARE(box.informativeText(), marked(u"information!"_qs));
        QCOMPARE(button->text(), marked(u"&Yes!"_qs));
    }

    void wizardsKeepTheTextsOfTheirPages()
    {
        QWizard wizard;
        wizard.setWizardStyle(QWizard::ModernStyle);
        for (const QString &name : {u"one"_qs, u"two"_qs}) {
            auto *page = new QWizardPage;
            page->setTitle(marked(u"Title "_qs + name));
            page->setSubTitle(marked(u"Subtitle "_qs + name));
            wizard.addPage(page);
        }
        wizard.setButtonText(QWizard::NextButton, marked(u"&Onwards"_qs));
        QVERIFY(isShown(wizard));
        const QStringList shown{u"Title one"_qs, u"Subtitle one"_qs, u"&Onwards"_qs};
        for (const QString &text : shown)
            QVERIFY(replace(&wizard, marked(text), marked(text + u"!"_qs)));
        wizard.next();
        wizard.back();
        for (const QString &text : shown)
            QVERIFY2(labelWith(&wizard, marked(text + u"!"_qs)), qPrintable(texts(&wizard).join(u", "_qs)));
    }

    void messagesGoWhenTheyWouldHaveGone()
    {
        QMainWindow window;
        window.statusBar()->showMessage(oldText, 300);
        window.show();
        QVERIFY(replace(&window, oldText, newText));
        QCOMPARE(window.statusBar()->currentMessage(), newText);
        QTRY_VERIFY(window.statusBar()->currentMessage().isEmpty());
    }

    void onlyVisibleCellsAreFound()
    {
        QStandardItemModel model(100000, 2);
        for (int row = 0; row < model.rowCount(); ++row)
            model.setItem(row, 0, new QStandardItem(u"row %1"_qs.arg(row)));
        QListView list;
        list.setUniformItemSizes(true);
        QTreeView tree;
        tree.setUniformRowHeights(true);
        QTableView table;
        for (QAbstractItemView *view : std::initializer_list<QAbstractItemView *>{&list, &tree, &table}) {
            view->setModel(&model);
            view->resize(200, 200);
            view->show();
            view->scrollTo(model.index(50000, 0), QAbstractItemView::PositionAtTop);
            const QStringList found = texts(view);
            QVERIFY2(found.contains(u"row 50000"_qs) && found.contains(u"row 50002"_qs),
                     view->metaObject()->className());
            QVERIFY(!found.contains(u"row 49990"_qs) && !found.contains(u"row 51000"_qs));
        }
    }

    void modelsOfTheHostAreReadAgain()
    {
        ReadOnlyModel model;
        QListView view;
        view.setModel(&model);
        view.show();
        view.setCurrentIndex(model.index(1));
        const DVViewPtr cell = labelWith(&view, oldText);
        model.text = newText; // what its data() says in the language of now
        cell->setText({newText, {}}, {marked(u"pushed"_qs), {}});
        cell->superview()->contentsDidChange();
        QCOMPARE(cell->text()->text, newText);
        QCOMPARE(view.currentIndex().row(), 1);
    }

    void whatIsDeletedShowsNothing()
    {
        auto window = std::make_unique<QMainWindow>();
        auto *tabs = new QTabWidget;
        tabs->addTab(new QLabel(u"page"_qs), u"tab"_qs);
        auto *table = new QTableWidget(2, 1);
        table->setItem(1, 0, new QTableWidgetItem(u"cell"_qs));
        table->setHorizontalHeaderLabels({u"header"_qs});
        auto *scene = new QGraphicsScene(window.get());
        QGraphicsTextItem *item = scene->addText(u"item"_qs);
        auto *splitter = new QSplitter;
        for (QWidget *widget : QList<QWidget *>{tabs, table, new QGraphicsView(scene)})
            splitter->addWidget(widget);
        window->setCentralWidget(splitter);
        window->menuBar()->setNativeMenuBar(false);
        QMenu *menu = window->menuBar()->addMenu(u"menu"_qs);
        window->statusBar()->showMessage(u"message"_qs);
        window->setWindowTitle(u"title"_qs);
        window->resize(600, 300);
        QVERIFY(isShown(*window));

        const DVViewPtr root = dv_view(window.get());
        QList<DVViewPtr> views = labels(root);
        for (const QString &text : {u"page"_qs, u"tab"_qs, u"cell"_qs, u"header"_qs, u"item"_qs, u"menu"_qs,
                                    u"message"_qs, u"title"_qs})
            QVERIFY2(labelWith(window.get(), text), qPrintable(text));
        const auto touch = [](const DVViewPtr &view) {
            view->setText(view->text().value_or(DVViewText()), {u"new"_qs, {}});
            view->frame();
            view->superview();
            view->subviews();
            view->contentsDidChange();
            view->viewAt({5, 5});
            view->isSameAs(*view);
        };
        const QList<DVViewPtr> gone{labelWith(window.get(), u"cell"_qs), labelWith(window.get(), u"tab"_qs),
                                    labelWith(window.get(), u"item"_qs)};
        table->removeRow(1);
        tabs->removeTab(0);
        delete item;
        delete menu;
        for (const DVViewPtr &view : gone)
            QVERIFY(!view->text() && view->frame().isEmpty() && !view->isSameAs(*root));
        for (const DVViewPtr &view : views)
            touch(view);
        views << root;
        window.reset();
        for (const DVViewPtr &view : views) {
            QVERIFY(!view->object() && !view->text() && view->frame().isEmpty() && !view->superview());
            touch(view);
        }
    }

    void anotherItemInItsPlaceIsNoText()
    {
        struct Memory
        {
            alignas(std::max_align_t) std::array<std::byte, 256> bytes{};
        } memory;
        static_assert(sizeof(QGraphicsSimpleTextItem) <= sizeof(Memory) &&
                      sizeof(QGraphicsRectItem) <= sizeof(Memory));
        QGraphicsScene scene;
        QGraphicsView view(&scene);
        auto *text = new (memory.bytes.data()) QGraphicsSimpleTextItem(oldText);
        scene.addItem(text);
        view.show();
        const DVViewPtr label = labelWith(&view, oldText);
        QVERIFY(label);
        text->~QGraphicsSimpleTextItem();
        auto *other = new (memory.bytes.data()) QGraphicsRectItem(0, 0, 50, 50);
        scene.addItem(other);
        QVERIFY(!label->text());
        label->setText({oldText, {}}, {newText, {}});
        QVERIFY(label->frame().isEmpty());
        other->~QGraphicsRectItem();
    }

    void titlesThatDeleteEachOther()
    {
        QMainWindow window;
        auto *first = new QDockWidget(oldText, &window);
        const QPointer<QDockWidget> second = new QDockWidget(oldText, &window);
        auto *bar = new QTabBar(&window);
        bar->addTab(oldText);
        bar->resize(200, 30);
        connect(first, &QDockWidget::windowTitleChanged, &window, [&second] { delete second.data(); });
        window.show();
        QVERIFY(replace(bar, oldText, newText));
        QVERIFY(!second);
        QCOMPARE(first->windowTitle(), newText);
        QCOMPARE(bar->tabText(0), newText);
    }

    // Three seconds of the processor are for sanitizers: what is not linear takes far more.
    void manyTextsAreWalkedQuickly()
    {
        constexpr int count = 8000;
        QWidget widgets;
        QGraphicsScene scene;
        for (int i = 0; i < count; ++i) {
            auto *label = new QLabel(oldText, &widgets);
            label->setGeometry(i % 100 * 30, i / 100 * 14, 30, 14);
            scene.addSimpleText(oldText)->setPos(i % 100 * 30, i * 0.14);
        }
        QGraphicsView view(&scene);
        for (QWidget *window : {&widgets, static_cast<QWidget *>(&view)}) {
            window->resize(3200, 1200);
            window->show();
            const std::clock_t begin = std::clock();
            QCOMPARE(texts(window).size(), count);
            const auto seconds = double(std::clock() - begin) / CLOCKS_PER_SEC;
            QVERIFY2(seconds < 3, qPrintable(QString::number(seconds)));
        }
    }
};

QTEST_MAIN(TestWidgetWindows)
#include "tst_widgetwindows.moc"
