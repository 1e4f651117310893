// The texts of real windows: found where they are shown, replaced, hit by a point, and left alone where they
// are the user's.
#include "DVCleanTexts.h"
#include "DVCueMarkers.h"
#include "DVView.h"

#include <QComboBox>
#include <QCommandLinkButton>
#include <QDockWidget>
#include <QDoubleSpinBox>
#include <QElapsedTimer>
#include <QGraphicsTextItem>
#include <QGraphicsView>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMainWindow>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QSortFilterProxyModel>
#include <QSplitter>
#include <QStackedWidget>
#include <QStandardItemModel>
#include <QStatusBar>
#include <QTabWidget>
#include <QTableWidget>
#include <QTest>
#include <QTextBrowser>
#include <QToolBar>
#include <QToolButton>
#include <QTreeWidget>
#include <QVBoxLayout>
#include <QWizard>

#include <array>
#include <ctime>
#include <functional>
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

// The labels at or below a view, as they are looked for: what is a label is not looked into.
QList<DVViewPtr> labels(const DVViewPtr &view)
{
    if (view->text())
        return {view};
    QList<DVViewPtr> found;
    for (const DVViewPtr &child : view->subviews())
        found << labels(child);
    return found;
}

QStringList texts(QObject *object)
{
    QStringList found;
    for (const DVViewPtr &label : labels(dv_view(object))) {
        const QString text = label->text()->text;
        if (!text.isEmpty())
            found << dv_stringShowingCues(text);
    }
    return found;
}

DVViewPtr labelWith(QObject *object, const QString &text)
{
    for (const DVViewPtr &label : labels(dv_view(object))) {
        if (label->text()->text == text)
            return label;
    }
    return nullptr;
}

DVViewPtr viewAtCenterOf(QWidget *window, const DVViewPtr &view)
{
    return dv_viewInWindow(window->windowHandle(), view->frame().center());
}

// A card of an application that draws a title itself.
class Card : public QWidget
{
    Q_OBJECT
    Q_PROPERTY(QString title READ title WRITE setTitle)
public:
    using QWidget::QWidget;
    QString title() const { return m_title; }
    void setTitle(const QString &title) { m_title = title; }

private:
    QString m_title;
};

// A model that says what it says.
class ReadOnlyModel : public QAbstractListModel
{
    Q_OBJECT
public:
    QString text = oldText;
    int reads = 0;

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

// What is filled with a marked text, and says what it holds by then.
struct Filled
{
    QWidget *widget;
    std::function<QString()> held;
    bool hasPlace = true; // a point in it is a point of the text
};
using Fill = std::function<Filled(QWidget *parent, const QString &text)>;

template<typename Widget, typename Set, typename Get> Fill filled(Set set, Get get, bool hasPlace = true)
{
    return [=](QWidget *parent, const QString &text) {
        auto *widget = new Widget(parent);
        std::invoke(set, widget, text);
        return Filled{widget, [=] { return QString(std::invoke(get, widget)); }, hasPlace};
    };
}

} // namespace

Q_DECLARE_METATYPE(Fill)

class TestWidgetViews : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { QTest::failOnWarning(QRegularExpression(u"^(?!This plugin)"_qs)); }

    void everyKindIsFoundReplacedAndHit_data();
    void everyKindIsFoundReplacedAndHit();
    void cleanTextsAreFoundWithTheirMarkers_data() { everyKindIsFoundReplacedAndHit_data(); }
    void cleanTextsAreFoundWithTheirMarkers();

    void hiddenThingsAreNotFound();
    void whatTheUserTypedStays_data();
    void whatTheUserTypedStays();
    void cursorSelectionAndScrollingStay();
    void stylesStay();
    void actionsAreReplacedWhereTheirTextComesFrom();
    void tabsOfDocksFollowTheirDocks();
    void entriesOfAnOpenComboBoxAreTheBoxs();
    void buttonsWithTextsInThemShowBoth();
    void messageBoxesAreReplacedAsTheirOwnersSeeThem();
    void wizardsKeepTheTextsOfTheirPages();
    void messagesGoWhenTheyWouldHaveGone();
    void onlyVisibleCellsAreFound();
    void modelsOfTheHostAreReadAgain();
    void whatIsDeletedShowsNothing();
    void anotherItemInItsPlaceIsNoText();
    void sceneOfManyTexts();
    void titlesThatDeleteEachOther();
    void pointsInCorners_data();
    void pointsInCorners();
    void twoThousandLabelsAreWalkedQuickly();
};

void TestWidgetViews::everyKindIsFoundReplacedAndHit_data()
{
    QTest::addColumn<Fill>("fill");
    const auto property = [](const char *name, auto *type, bool hasPlace = true) {
        using Widget = std::remove_pointer_t<decltype(type)>;
        return filled<Widget>([=](QWidget *widget, const QString &text) { widget->setProperty(name, text); },
                              [=](QWidget *widget) { return widget->property(name).toString(); }, hasPlace);
    };
    QTest::newRow("a label") << property("text", static_cast<QLabel *>(nullptr));
    QTest::newRow("a button") << property("text", static_cast<QPushButton *>(nullptr));
    QTest::newRow("a command link's description")
        << property("description", static_cast<QCommandLinkButton *>(nullptr), false);
    QTest::newRow("the tool tip of a button with a picture only")
        << property("toolTip", static_cast<QToolButton *>(nullptr));
    QTest::newRow("a line edit") << property("text", static_cast<QLineEdit *>(nullptr));
    QTest::newRow("a line edit's placeholder")
        << property("placeholderText", static_cast<QLineEdit *>(nullptr));
    QTest::newRow("a text edit") << property("plainText", static_cast<QTextEdit *>(nullptr));
    QTest::newRow("a text edit's placeholder")
        << property("placeholderText", static_cast<QTextEdit *>(nullptr));
    QTest::newRow("a plain text edit") << property("plainText", static_cast<QPlainTextEdit *>(nullptr));
    QTest::newRow("a group box") << property("title", static_cast<QGroupBox *>(nullptr));
    QTest::newRow("a spin box's prefix") << property("prefix", static_cast<QSpinBox *>(nullptr), false);
    QTest::newRow("a spin box's suffix") << property("suffix", static_cast<QDoubleSpinBox *>(nullptr), false);
    QTest::newRow("a spin box's special text")
        << property("specialValueText", static_cast<QSpinBox *>(nullptr));
    QTest::newRow("a widget of the host's") << property("title", static_cast<Card *>(nullptr));
    QTest::newRow("a combo box's entry") << filled<QComboBox>(
        [](QComboBox *box, const QString &text) {
            box->addItems({text, u"other"_qs});
        },
        [](QComboBox *box) { return box->itemText(0); });
    QTest::newRow("an entry that others were put before") << filled<QComboBox>(
        [](QComboBox *box, const QString &text) {
            box->addItem(text);
            box->ensurePolished();
            box->insertItem(0, u"other"_qs);
        },
        [](QComboBox *box) { return box->itemText(1); });
    QTest::newRow("an editable combo box's entry") << filled<QComboBox>(
        [](QComboBox *box, const QString &text) {
            box->setEditable(true);
            box->addItem(text);
        },
        &QComboBox::currentText);
    QTest::newRow("a combo box's placeholder")
        << property("placeholderText", static_cast<QComboBox *>(nullptr));
    QTest::newRow("a tab") << filled<QTabBar>(
        [](QTabBar *bar, const QString &text) {
            bar->addTab(u"first"_qs);
            bar->addTab(text);
        },
        [](QTabBar *bar) { return bar->tabText(1); });
    QTest::newRow("a list's item") << filled<QListWidget>(
        [](QListWidget *list, const QString &text) {
            list->addItems({u"first"_qs, text});
        },
        [](QListWidget *list) { return list->item(1)->text(); });
    QTest::newRow("a tree's child") << filled<QTreeWidget>(
        [](QTreeWidget *tree, const QString &text) {
            tree->setColumnCount(2);
            tree->setHeaderHidden(true);
            new QTreeWidgetItem(new QTreeWidgetItem(tree, {u"parent"_qs}), {u"first"_qs, text});
            tree->expandAll();
        },
        [](QTreeWidget *tree) { return tree->topLevelItem(0)->child(0)->text(1); });
    QTest::newRow("a tree's header") << filled<QTreeWidget>(
        [](QTreeWidget *tree, const QString &text) { tree->setHeaderLabels({text}); },
        [](QTreeWidget *tree) { return tree->headerItem()->text(0); });
    QTest::newRow("a table's cell") << filled<QTableWidget>(
        [](QTableWidget *table, const QString &text) {
            table->setRowCount(2);
            table->setColumnCount(2);
            table->setSpan(0, 0, 1, 2);
            table->setItem(0, 0, new QTableWidgetItem(text));
        },
        [](QTableWidget *table) { return table->item(0, 0)->text(); });
    QTest::newRow("a table's row header") << filled<QTableWidget>(
        [](QTableWidget *table, const QString &text) {
            table->setRowCount(1);
            table->setVerticalHeaderLabels({text});
        },
        [](QTableWidget *table) { return table->verticalHeaderItem(0)->text(); });
    QTest::newRow("a sorted model's cell") << Fill([](QWidget *parent, const QString &text) {
        auto *view = new QTableView(parent);
        auto *model = new QStandardItemModel(view);
        auto *proxy = new QSortFilterProxyModel(view);
        model->appendRow(new QStandardItem(u"zzz"_qs));
        model->appendRow(new QStandardItem(text));
        proxy->setSourceModel(model);
        view->setModel(proxy);
        proxy->sort(0);
        return Filled{view, [model] { return model->item(1)->text(); }};
    });
    QTest::newRow("a tool bar's action") << Fill([](QWidget *parent, const QString &text) {
        auto *bar = new QToolBar(parent);
        QAction *action = bar->addAction(text);
        return Filled{bar, [action] { return action->text(); }};
    });
    QTest::newRow("a menu bar's menu") << Fill([](QWidget *parent, const QString &text) {
        auto *bar = new QMenuBar(parent);
        bar->setNativeMenuBar(false);
        const QMenu *menu = bar->addMenu(text);
        return Filled{bar, [menu] { return menu->title(); }};
    });
    QTest::newRow("a window in an area") << Fill([](QWidget *parent, const QString &text) {
        auto *area = new QMdiArea(parent);
        QMdiSubWindow *window = area->addSubWindow(new QWidget);
        window->setWindowTitle(text);
        return Filled{area, [window] { return window->windowTitle(); }};
    });
    QTest::newRow("a progress bar") << filled<QProgressBar>(
        [](QProgressBar *bar, const QString &text) {
            bar->setFormat(text);
            bar->setValue(50);
        },
        &QProgressBar::format);
    QTest::newRow("a status bar's message") << filled<QStatusBar>(
        [](QStatusBar *bar, const QString &text) { bar->showMessage(text); }, &QStatusBar::currentMessage);
    QTest::newRow("a scene's text") << Fill([](QWidget *parent, const QString &text) {
        auto *view = new QGraphicsView(new QGraphicsScene, parent);
        view->scene()->setParent(view);
        QGraphicsTextItem *item = view->scene()->addText(text);
        return Filled{view, [item] { return item->toPlainText(); }};
    });
}

void TestWidgetViews::everyKindIsFoundReplacedAndHit()
{
    QFETCH(Fill, fill);
    for (const Qt::LayoutDirection direction : {Qt::LeftToRight, Qt::RightToLeft}) {
        QWidget window;
        window.setLayoutDirection(direction);
        QVBoxLayout layout(&window);
        const Filled filled = fill(&window, oldText);
        if (auto *tool = qobject_cast<QToolButton *>(filled.widget); tool && tool->text().isEmpty())
            tool->setIcon(QIcon(QPixmap(16, 16)));
        layout.addWidget(filled.widget);
        window.resize(300, 200);
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        filled.widget->setEnabled(false); // as shown as any other

        const DVViewPtr view = labelWith(&window, oldText);
        QVERIFY2(view, qPrintable(texts(&window).join(u", "_qs)));
        QVERIFY(window.rect().contains(view->frame().toAlignedRect()));
        const DVViewPtr hit = viewAtCenterOf(&window, view);
        QVERIFY(hit);
        if (filled.hasPlace)
            QVERIFY(hit->isSameAs(*view));
        else
            QVERIFY(labelWith(hit->object(), oldText));
        bool reachesWindow = false;
        for (DVViewPtr above = view->superview(); above; above = above->superview()) {
            above->contentsDidChange();
            reachesWindow = above->object() == &window;
        }
        QVERIFY(reachesWindow);

        view->setText({marked(u"Else"_qs), {}}, {newText, {}});
        QCOMPARE(filled.held(), oldText); // it shows something else than that
        view->setText({oldText, {}}, {newText, {}});
        QCOMPARE(filled.held(), newText);
        QVERIFY(labelWith(&window, newText));
    }
}

void TestWidgetViews::cleanTextsAreFoundWithTheirMarkers()
{
    QFETCH(Fill, fill);
    const DVCleanTexts cleanTexts;
    QWidget window;
    QVBoxLayout layout(&window);
    const Filled filled = fill(&window, oldText);
    if (auto *tool = qobject_cast<QToolButton *>(filled.widget); tool && tool->text().isEmpty())
        tool->setIcon(QIcon(QPixmap(16, 16)));
    layout.addWidget(filled.widget);
    window.resize(300, 200);
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    const bool isClean = filled.held() == u"Old"_qs;

    const DVViewPtr view = labelWith(&window, oldText);
    QVERIFY2(view, qPrintable(texts(&window).join(u", "_qs)));
    view->setText({oldText, {}}, {newText, {}});
    QCOMPARE(filled.held(), isClean ? u"Renewed"_qs : newText);
    QVERIFY(labelWith(&window, newText));
    // Once more, from what is remembered by now.
    labelWith(&window, newText)->setText({newText, {}}, {oldText, {}});
    QVERIFY(labelWith(&window, oldText));
}

void TestWidgetViews::hiddenThingsAreNotFound()
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
    auto *splitter = new QSplitter;
    splitter->addWidget(stack);
    splitter->addWidget(new QLabel(u"collapsed"_qs));
    splitter->addWidget(tabs);
    splitter->setSizes({200, 0, 200});
    auto *password = new QLineEdit(u"secret"_qs);
    password->setEchoMode(QLineEdit::Password);
    splitter->addWidget(password);
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
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));

    QTRY_VERIFY(!texts(&window).contains(u"in dock 0"_qs));
    QVERIFY(dv_view(docks[0]->widget())->frame().isEmpty());
    QVERIFY(!dv_view(docks[1]->widget())->frame().isEmpty());
    QStringList found = texts(&window);
    found.sort();
    // The dock's title stands above it and on its tab; the other dock's only on its tab.
    QCOMPARE(found,
             (QStringList{u"dock 0"_qs, u"dock 1"_qs, u"dock 1"_qs, u"in dock 1"_qs, u"in the shown tab"_qs,
                          u"shown page"_qs, u"tab 1"_qs, u"tab 2"_qs, u"title"_qs}));
}

void TestWidgetViews::whatTheUserTypedStays_data()
{
    QTest::addColumn<Fill>("fill");
    QTest::newRow("in a line edit") << filled<QLineEdit>(&QLineEdit::setText, &QLineEdit::text);
    QTest::newRow("in a text edit") << filled<QTextEdit>(&QTextEdit::setPlainText, &QTextEdit::toPlainText);
    QTest::newRow("in a plain text edit")
        << filled<QPlainTextEdit>(&QPlainTextEdit::setPlainText, &QPlainTextEdit::toPlainText);
    QTest::newRow("in an editable combo box") << filled<QComboBox>(
        [](QComboBox *box, const QString &text) {
            box->setEditable(true);
            box->addItem(text);
        },
        [](QComboBox *box) { return box->lineEdit()->text(); });
    QTest::newRow("instead of a placeholder")
        << filled<QLineEdit>(&QLineEdit::setPlaceholderText, &QLineEdit::text);
    QTest::newRow("as a password") << filled<QLineEdit>(
        [](QLineEdit *edit, const QString &text) {
            edit->setEchoMode(QLineEdit::Password);
            edit->setPlaceholderText(text);
        },
        &QLineEdit::text);
    QTest::newRow("between a prefix and its field's end, not yet taken as the value") << filled<QSpinBox>(
        [](QSpinBox *box, const QString &text) {
            box->setKeyboardTracking(false);
            box->setPrefix(text);
        },
        &QSpinBox::text);
    QTest::newRow("in a list's item") << filled<QListWidget>(
        [](QListWidget *list, const QString &text) {
            list->addItem(text);
            list->item(0)->setFlags(list->item(0)->flags() | Qt::ItemIsEditable);
            list->editItem(list->item(0));
        },
        [](QListWidget *list) {
            return qobject_cast<QLineEdit *>(list->indexWidget(list->model()->index(0, 0)))->text();
        });
}

void TestWidgetViews::whatTheUserTypedStays()
{
    QFETCH(Fill, fill);
    QWidget window;
    QVBoxLayout layout(&window);
    const Filled filled = fill(&window, oldText);
    layout.addWidget(filled.widget);
    window.show();
    window.activateWindow();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    QList<DVViewPtr> found = labels(dv_view(&window));
    QWidget *field = filled.widget->findChild<QLineEdit *>();
    if (!field)
        field = filled.widget;
    field->setFocus();
    QTest::keyClick(field, Qt::Key_End);
    QTest::keyClicks(field, u"7"_qs);
    const QString typed = filled.held();
    QVERIFY(typed.endsWith(u'7'));

    found << labels(dv_view(&window));
    for (const DVViewPtr &view : found) {
        for (const QString &text : {oldText, typed})
            view->setText({text, {}}, {newText, {}});
    }
    QCOMPARE(filled.held(), typed);
}

void TestWidgetViews::cursorSelectionAndScrollingStay()
{
    QWidget window;
    QVBoxLayout layout(&window);
    QLineEdit line(marked(u"a long old text"_qs));
    QPlainTextEdit plain(marked(u"line\n"_qs.repeated(200)));
    QTextBrowser browser;
    browser.setHtml(u"<p>%1</p>"_qs.arg(oldText) + u"<p>more</p>"_qs.repeated(100));
    QLabel label(marked(u"a long old text"_qs));
    label.setTextInteractionFlags(Qt::TextSelectableByMouse);
    for (QWidget *widget : std::initializer_list<QWidget *>{&line, &plain, &browser, &label})
        layout.addWidget(widget);
    window.resize(300, 400);
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    line.setSelection(7, -3);
    label.setSelection(2, 4);
    QTextCursor cursor = plain.textCursor();
    cursor.setPosition(20);
    cursor.setPosition(12, QTextCursor::KeepAnchor);
    plain.setTextCursor(cursor);
    plain.verticalScrollBar()->setValue(100);
    browser.verticalScrollBar()->setValue(70);

    for (QWidget *widget : std::initializer_list<QWidget *>{&line, &plain, &browser, &label}) {
        const DVViewPtr view = dv_view(widget);
        DVViewText text = *view->text();
        const DVViewText before = text;
        text.text.replace(u"e"_qs, u"3"_qs);
        text.richText.isNull() ? text.richText : text.richText.replace(u"Old"_qs, u"0ld"_qs);
        view->setText(before, text);
        QVERIFY(view->text()->text != before.text);
    }
    QCOMPARE(line.cursorPosition(), 4);
    QCOMPARE(line.selectionLength(), 3);
    QCOMPARE(label.selectionStart(), 2);
    QCOMPARE(label.selectedText().size(), 4);
    QCOMPARE(plain.textCursor().position(), 12);
    QCOMPARE(plain.textCursor().anchor(), 20);
    QCOMPARE(plain.verticalScrollBar()->value(), 100);
    QCOMPARE(browser.verticalScrollBar()->value(), 70);
}

void TestWidgetViews::stylesStay()
{
    for (const bool keepsClean : {false, true}) {
        std::unique_ptr<DVCleanTexts> cleanTexts = keepsClean ? std::make_unique<DVCleanTexts>() : nullptr;
        QWidget window;
        QVBoxLayout layout(&window);
        const QString html = u"<b>Name:</b> "_qs + oldText;
        QLabel label(html);
        QTextEdit edit(html);
        layout.addWidget(&label);
        layout.addWidget(&edit);
        window.show();
        for (QWidget *widget : std::initializer_list<QWidget *>{&label, &edit}) {
            const DVViewPtr view = dv_view(widget);
            const DVViewText text = *view->text();
            QCOMPARE(text.text, QString(u"Name: "_qs + oldText));
            QVERIFY(text.isRich());
            QVERIFY(text.richText.contains(oldText));
            view->setText(text, {QString(text.text).replace(oldText, newText),
                                 QString(text.richText).replace(oldText, newText)});
            QCOMPARE(view->text()->text, QString(u"Name: "_qs + newText));
            QVERIFY(view->text()->richText.contains(newText));
        }
        QCOMPARE(label.text(), QString(u"<b>Name:</b> "_qs + newText));
        QCOMPARE(edit.toPlainText(), QString(u"Name: "_qs + (keepsClean ? u"Renewed"_qs : newText)));
        QTextCursor cursor = edit.textCursor();
        cursor.setPosition(2);
        QVERIFY(cursor.charFormat().fontWeight() > QFont::Normal);
    }
}

void TestWidgetViews::actionsAreReplacedWhereTheirTextComesFrom()
{
    QMainWindow window;
    QToolBar *bar = window.addToolBar(u"tools"_qs);
    QAction *plain = bar->addAction(marked(u"&Save..."_qs));
    QAction *named = bar->addAction(marked(u"Open a file"_qs));
    named->setIconText(marked(u"Open"_qs));
    QAction *icon = bar->addAction(QIcon(QPixmap(16, 16)), marked(u"&Print"_qs));
    QMenu menu(&window);
    menu.addActions({plain, named, icon});
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
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

void TestWidgetViews::tabsOfDocksFollowTheirDocks()
{
    for (const bool keepsClean : {false, true}) {
        std::unique_ptr<DVCleanTexts> cleanTexts = keepsClean ? std::make_unique<DVCleanTexts>() : nullptr;
        QMainWindow window;
        auto *first = new QDockWidget(oldText, &window);
        auto *second = new QDockWidget(u"second"_qs, &window);
        window.addDockWidget(Qt::LeftDockWidgetArea, first);
        window.addDockWidget(Qt::LeftDockWidgetArea, second);
        window.tabifyDockWidget(first, second);
        second->raise();
        window.resize(500, 300);
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        auto *bar = window.findChild<QTabBar *>();
        QVERIFY(bar);
        QTRY_VERIFY(labelWith(bar, oldText));
        labelWith(bar, oldText)->setText({oldText, {}}, {newText, {}});
        second->setWindowTitle(u"third"_qs); // the bar is filled again
        QTRY_VERIFY(labelWith(bar, newText));
        QCOMPARE(first->windowTitle(), keepsClean ? u"Renewed"_qs : newText);
    }
}

void TestWidgetViews::entriesOfAnOpenComboBoxAreTheBoxs()
{
    const DVCleanTexts cleanTexts;
    QWidget window;
    QVBoxLayout layout(&window);
    QComboBox box;
    box.addItems({u"first"_qs, oldText});
    layout.addWidget(&box);
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    QCOMPARE(box.itemText(1), u"Old"_qs);
    QVERIFY(!labelWith(&window, oldText)); // not the chosen one
    box.showPopup();
    QWidget *popup = box.view()->window();
    QVERIFY(QTest::qWaitForWindowExposed(popup));
    const DVViewPtr entry = labelWith(popup, oldText);
    QVERIFY(entry);
    QVERIFY(viewAtCenterOf(popup, entry)->isSameAs(*entry));
    entry->setText({oldText, {}}, {newText, {}});
    QCOMPARE(box.itemText(1), u"Renewed"_qs);
    QVERIFY(labelWith(popup, newText));
    box.hidePopup();
}

void TestWidgetViews::buttonsWithTextsInThemShowBoth()
{
    QPushButton card(marked(u"card"_qs));
    card.resize(300, 100);
    QLabel inner(marked(u"inner"_qs), &card);
    inner.setGeometry(10, 10, 60, 20);
    QWidget *native = new QLabel(marked(u"native"_qs), &card);
    native->setGeometry(100, 10, 60, 20);
    native->setAttribute(Qt::WA_NativeWindow);
    card.show();
    QVERIFY(QTest::qWaitForWindowExposed(&card));
    QCOMPARE(texts(&card), (QStringList{u"[card]"_qs, u"[inner]"_qs, u"[native]"_qs}));
    labelWith(&card, marked(u"card"_qs))->setText({card.text(), {}}, {newText, {}});
    QCOMPARE(card.text(), newText);
    // A child with a window of its own gets its own points.
    const DVViewPtr hit = dv_viewInWindow(native->windowHandle(), {5, 5});
    QVERIFY(hit && hit->isSameAs(*dv_view(native)));
    QCOMPARE(hit->frame(), QRectF(100, 10, 60, 20));
}

void TestWidgetViews::messageBoxesAreReplacedAsTheirOwnersSeeThem()
{
    QMessageBox box(QMessageBox::Question, u"title"_qs, oldText);
    box.setInformativeText(marked(u"information"_qs));
    QPushButton *button = box.addButton(marked(u"&Yes"_qs), QMessageBox::YesRole);
    box.show();
    QVERIFY(QTest::qWaitForWindowExposed(&box));
    for (const QString &text : {oldText, box.informativeText(), button->text()}) {
        const DVViewPtr view = labelWith(&box, text);
        QVERIFY2(view, qPrintable(texts(&box).join(u", "_qs)));
        view->setText({text, {}}, {marked(dv_stringByRemovingCues(text) + u'!'), {}});
    }
    QCOMPARE(box.text(), marked(u"Old!"_qs));
    QCOMPARE(box.informativeText(), marked(u"information!"_qs));
    QCOMPARE(button->text(), marked(u"&Yes!"_qs));
}

void TestWidgetViews::wizardsKeepTheTextsOfTheirPages()
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
    wizard.show();
    QVERIFY(QTest::qWaitForWindowExposed(&wizard));
    for (const QString &text : {u"Title one"_qs, u"Subtitle one"_qs, u"&Onwards"_qs}) {
        const DVViewPtr view = labelWith(&wizard, marked(text));
        QVERIFY2(view, qPrintable(text + u" in "_qs + texts(&wizard).join(u", "_qs)));
        view->setText({marked(text), {}}, {marked(text + u"!"_qs), {}});
    }
    wizard.next();
    wizard.back();
    for (const QString &text : {u"Title one!"_qs, u"Subtitle one!"_qs, u"&Onwards!"_qs})
        QVERIFY2(labelWith(&wizard, marked(text)), qPrintable(texts(&wizard).join(u", "_qs)));
}

void TestWidgetViews::messagesGoWhenTheyWouldHaveGone()
{
    QMainWindow window;
    window.statusBar()->showMessage(oldText, 300);
    window.show();
    labelWith(&window, oldText)->setText({oldText, {}}, {newText, {}});
    QCOMPARE(window.statusBar()->currentMessage(), newText);
    QTRY_VERIFY(window.statusBar()->currentMessage().isEmpty());
}

void TestWidgetViews::onlyVisibleCellsAreFound()
{
    const auto rowsFound = [](QAbstractItemView &view) {
        view.resize(200, 200);
        view.show();
        view.scrollTo(view.model()->index(50000, 0), QAbstractItemView::PositionAtTop);
        return texts(&view);
    };
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
        const QStringList found = rowsFound(*view);
        QVERIFY2(found.contains(u"row 50000"_qs) && found.contains(u"row 50002"_qs),
                 view->metaObject()->className());
        QVERIFY(!found.contains(u"row 49990"_qs));
        QVERIFY(!found.contains(u"row 51000"_qs));
    }
}

void TestWidgetViews::modelsOfTheHostAreReadAgain()
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

void TestWidgetViews::anotherItemInItsPlaceIsNoText()
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

void TestWidgetViews::sceneOfManyTexts()
{
    constexpr int count = 8000;
    QGraphicsScene scene;
    for (int i = 0; i < count; ++i)
        scene.addSimpleText(oldText)->setPos(i % 100 * 30, i * 0.14);
    QGraphicsView view(&scene);
    view.resize(3200, 1200);
    view.show();
    const std::clock_t begin = std::clock();
    QCOMPARE(texts(&view).size(), count);
    const auto seconds = double(std::clock() - begin) / CLOCKS_PER_SEC;
    QVERIFY2(seconds < 3, qPrintable(QString::number(seconds)));
}

void TestWidgetViews::titlesThatDeleteEachOther()
{
    QMainWindow window;
    auto *first = new QDockWidget(oldText, &window);
    auto *second = new QDockWidget(oldText, &window);
    auto *bar = new QTabBar(&window);
    bar->addTab(oldText);
    bar->resize(200, 30);
    QPointer<QDockWidget> rest = second;
    connect(first, &QDockWidget::windowTitleChanged, &window, [&rest] { delete rest.data(); });
    window.show();
    const DVViewPtr tab = labelWith(bar, oldText);
    QVERIFY(tab);
    tab->setText({oldText, {}}, {newText, {}});
    QVERIFY(!rest);
    QCOMPARE(first->windowTitle(), newText);
    QCOMPARE(bar->tabText(0), newText);
}

void TestWidgetViews::whatIsDeletedShowsNothing()
{
    auto window = std::make_unique<QMainWindow>();
    auto *tabs = new QTabWidget;
    tabs->addTab(new QLabel(u"page"_qs), u"tab"_qs);
    auto *table = new QTableWidget(2, 1);
    table->setItem(1, 0, new QTableWidgetItem(u"cell"_qs));
    table->setHorizontalHeaderLabels({u"header"_qs});
    auto *splitter = new QSplitter;
    splitter->addWidget(tabs);
    splitter->addWidget(table);
    auto *scene = new QGraphicsScene(splitter);
    QGraphicsTextItem *item = scene->addText(u"item"_qs);
    splitter->addWidget(new QGraphicsView(scene));
    window->setCentralWidget(splitter);
    window->menuBar()->setNativeMenuBar(false);
    QMenu *menu = window->menuBar()->addMenu(u"menu"_qs);
    window->statusBar()->showMessage(u"message"_qs);
    window->setWindowTitle(u"title"_qs);
    window->resize(600, 300);
    window->show();
    QVERIFY(QTest::qWaitForWindowExposed(window.get()));

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
    const DVViewPtr cell = labelWith(window.get(), u"cell"_qs);
    const DVViewPtr tab = labelWith(window.get(), u"tab"_qs);
    const DVViewPtr text = labelWith(window.get(), u"item"_qs);
    table->removeRow(1);
    tabs->removeTab(0);
    delete item;
    delete menu;
    for (const DVViewPtr &gone : {cell, tab, text}) {
        QVERIFY(!gone->text());
        QVERIFY(gone->frame().isEmpty());
        QVERIFY(!gone->isSameAs(*root));
    }
    for (const DVViewPtr &view : views)
        touch(view);
    views << root;
    window.reset();
    for (const DVViewPtr &view : views) {
        QVERIFY(!view->object());
        QVERIFY(!view->text());
        QVERIFY(view->frame().isEmpty());
        QVERIFY(!view->superview());
        touch(view);
    }
}

void TestWidgetViews::pointsInCorners_data()
{
    QTest::addColumn<bool>("isTransparent");
    QTest::addColumn<QPoint>("point");
    QTest::addColumn<QString>("expected");
    // The window is 300 wide: a scroll area with a label of 100 x 40 at 20, 200 scrolled down by 150; a card
    // button with a label in it at 150, 100; something on top of all that at 0, 150.
    QTest::newRow("a label that was scrolled") << false << QPoint(30, 60) << u"scrolled"_qs;
    QTest::newRow("beside it, the area") << false << QPoint(30, 120) << u"area"_qs;
    QTest::newRow("a label in a button") << false << QPoint(165, 115) << u"inner"_qs;
    QTest::newRow("the button around it") << false << QPoint(290, 135) << u"card"_qs;
    QTest::newRow("what lies on top") << false << QPoint(200, 180) << u"top"_qs;
    QTest::newRow("not where it lets the mouse through") << true << QPoint(200, 180) << u"bottom"_qs;
    QTest::newRow("outside of the window") << false << QPoint(500, 500) << u"window"_qs;
}

void TestWidgetViews::pointsInCorners()
{
    QFETCH(bool, isTransparent);
    QFETCH(QPoint, point);
    QFETCH(QString, expected);
    QWidget window;
    window.resize(300, 200);
    window.setObjectName(u"window"_qs);
    QScrollArea area(&window);
    area.setObjectName(u"area"_qs);
    area.setFrameShape(QFrame::NoFrame);
    area.setGeometry(0, 0, 140, 140);
    auto *contents = new QWidget;
    contents->resize(120, 1000);
    auto *scrolled = new QLabel(u"scrolled"_qs, contents);
    scrolled->setGeometry(20, 200, 100, 40);
    area.setWidget(contents);
    QPushButton card(u"card"_qs, &window);
    card.setGeometry(150, 100, 150, 40);
    QLabel inner(u"inner"_qs, &card);
    inner.setGeometry(10, 10, 60, 20);
    QLabel bottom(u"bottom"_qs, &window);
    bottom.setGeometry(150, 150, 150, 50);
    QLabel top(u"top"_qs, &window);
    top.setGeometry(150, 150, 150, 50);
    top.setAttribute(Qt::WA_TransparentForMouseEvents, isTransparent);
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    area.verticalScrollBar()->setValue(150);

    const DVViewPtr hit = dv_viewInWindow(window.windowHandle(), point);
    QVERIFY(hit);
    if (expected == u"area"_qs)
        QCOMPARE(hit->object(), contents); // the deepest there
    else if (expected == u"window"_qs)
        QCOMPARE(hit->object(), &window);
    else
        QCOMPARE(hit->text().value_or(DVViewText()).text, expected);
}

void TestWidgetViews::twoThousandLabelsAreWalkedQuickly()
{
    QWidget window;
    for (int i = 0; i < 2000; ++i) {
        auto *label = new QLabel(marked(u"label %1"_qs.arg(i)), &window);
        label->setGeometry(i % 40 * 20, i / 40 * 12, 20, 12);
    }
    window.resize(800, 600);
    window.show();
    qint64 best = std::numeric_limits<qint64>::max();
    for (int i = 0; i < 9; ++i) {
        QElapsedTimer timer;
        timer.start();
        QCOMPARE(labels(dv_view(&window)).size(), 2000);
        best = qMin(best, timer.nsecsElapsed());
    }
    qInfo("2,000 labels: %.2f ms", double(best) / 1e6);
    QVERIFY(best < 200'000'000); // linear, also on a busy machine under a sanitizer
}

QTEST_MAIN(TestWidgetViews)
#include "tst_widgetviews.moc"
