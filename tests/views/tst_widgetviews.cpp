// The texts of each kind of widget: found where they are shown, replaced, hit by a point, and left alone
// where they are the user's.
#include "DVCleanTexts.h"
#include "DVRows.h"
#include "FoundTexts.h"

#include <QComboBox>
#include <QCommandLinkButton>
#include <QDoubleSpinBox>
#include <QGraphicsTextItem>
#include <QGraphicsView>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMenu>
#include <QMenuBar>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QSortFilterProxyModel>
#include <QStandardItemModel>
#include <QStatusBar>
#include <QTableWidget>
#include <QTextBrowser>
#include <QToolBar>
#include <QToolButton>
#include <QTreeWidget>
#include <QVBoxLayout>

#include <functional>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString oldText = dv_stringWithCues(u"Old"_qs);
const QString newText = dv_stringWithCues(u"Renewed"_qs);

// A card of an application that draws a title itself.
class Card : public QWidget
{
    Q_OBJECT
    Q_PROPERTY(QString title MEMBER m_title)
public:
    using QWidget::QWidget;

private:
    QString m_title;
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

template<typename Widget> Fill withProperty(const char *name, bool hasPlace = true)
{
    return filled<Widget>([=](QWidget *widget, const QString &text) { widget->setProperty(name, text); },
                          [=](QWidget *widget) { return widget->property(name).toString(); }, hasPlace);
}

void fillEditable(QComboBox *box, const QString &text)
{
    box->setEditable(true);
    box->addItem(text);
}

// A window with a widget that is filled.
class FilledWindow : public QWidget
{
public:
    const Filled filled;

    explicit FilledWindow(const Fill &fill)
        : filled(fill(this, oldText))
    {
        if (auto *tool = qobject_cast<QToolButton *>(filled.widget); tool && tool->text().isEmpty())
            tool->setIcon(QIcon(QPixmap(16, 16)));
        (new QVBoxLayout(this))->addWidget(filled.widget);
        resize(300, 200);
    }
};

} // namespace

Q_DECLARE_METATYPE(Fill)

class TestWidgetViews : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { QTest::failOnWarning(QRegularExpression(u"^(?!This plugin)"_qs)); }

    void everyKindIsFoundReplacedAndHit_data();
    void everyKindIsFoundReplacedAndHit()
    {
        QFETCH(const Fill, fill);
        for (const Qt::LayoutDirection direction : {Qt::LeftToRight, Qt::RightToLeft}) {
            FilledWindow window(fill);
            window.setLayoutDirection(direction);
            QVERIFY(isShown(window));
            window.filled.widget->setEnabled(false); // as shown as any other

            const DVViewPtr view = labelWith(&window, oldText);
            QVERIFY2(view, qPrintable(texts(&window).join(u", "_qs)));
            QVERIFY(window.rect().contains(view->frame().toAlignedRect()));
            const DVViewPtr hit = dv_viewInWindow(window.windowHandle(), view->frame().center());
            QVERIFY(hit);
            if (window.filled.hasPlace)
                QVERIFY(hit->isSameAs(*view));
            else
                QVERIFY(labelWith(hit->object(), oldText));
            bool reachesWindow = false;
            for (DVViewPtr above = view->superview(); above; above = above->superview()) {
                above->contentsDidChange();
                reachesWindow = above->object() == &window;
            }
            QVERIFY(reachesWindow);

            view->setText({dv_stringWithCues(u"Else"_qs), {}}, {newText, {}});
            QCOMPARE(window.filled.held(), oldText); // it shows something else than that
            view->setText({oldText, {}}, {newText, {}});
            QCOMPARE(window.filled.held(), newText);
            QVERIFY(labelWith(&window, newText));
        }
    }

    void cleanTextsAreFoundWithTheirMarkers_data() { everyKindIsFoundReplacedAndHit_data(); }
    void cleanTextsAreFoundWithTheirMarkers()
    {
        QFETCH(const Fill, fill);
        const DVCleanTexts cleanTexts;
        FilledWindow window(fill);
        QVERIFY(isShown(window));
        const bool isClean = window.filled.held() == u"Old"_qs;

        QVERIFY(replace(&window, oldText, newText));
        QCOMPARE(window.filled.held(), isClean ? u"Renewed"_qs : newText);
        // Once more, from what is remembered by now.
        QVERIFY(replace(&window, newText, oldText));
        QVERIFY(labelWith(&window, oldText));
    }

    void whatTheUserTypedStays_data();
    void whatTheUserTypedStays()
    {
        QFETCH(const Fill, fill);
        FilledWindow window(fill);
        QVERIFY(isShown(window));
        window.activateWindow();
        QList<DVViewPtr> found = labels(dv_view(&window));
        QWidget *field = window.filled.widget->findChild<QLineEdit *>();
        if (!field)
            field = window.filled.widget;
        field->setFocus();
        QTest::keyClick(field, Qt::Key_End);
        QTest::keyClicks(field, u"7"_qs);
        const QString typed = window.filled.held();
        QVERIFY(typed.endsWith(u'7'));

        found << labels(dv_view(&window));
        for (const DVViewPtr &view : found) {
            for (const QString &text : {oldText, typed})
                view->setText({text, {}}, {newText, {}});
        }
        QCOMPARE(window.filled.held(), typed);
    }

    void cursorSelectionAndScrollingStay()
    {
        QWidget window;
        QVBoxLayout layout(&window);
        QLineEdit line(dv_stringWithCues(u"a long old text"_qs));
        QPlainTextEdit plain(dv_stringWithCues(u"line\n"_qs.repeated(200)));
        QTextBrowser browser;
        browser.setHtml(u"<p>%1</p>"_qs.arg(oldText) + u"<p>more</p>"_qs.repeated(100));
        QLabel label(dv_stringWithCues(u"a long old text"_qs));
        label.setTextInteractionFlags(Qt::TextSelectableByMouse);
        const QList<QWidget *> widgets{&line, &plain, &browser, &label};
        for (QWidget *widget : widgets)
            layout.addWidget(widget);
        window.resize(300, 400);
        QVERIFY(isShown(window));
        line.setSelection(7, -3);
        label.setSelection(2, 4);
        QTextCursor cursor = plain.textCursor();
        cursor.setPosition(20);
        cursor.setPosition(12, QTextCursor::KeepAnchor);
        plain.setTextCursor(cursor);
        plain.verticalScrollBar()->setValue(100);
        browser.verticalScrollBar()->setValue(70);

        for (QWidget *widget : widgets) {
            const DVViewPtr view = dv_view(widget);
            const DVViewText before = *view->text();
            DVViewText text = before;
            text.text.replace(u"e"_qs, u"3"_qs);
            text.richText.replace(u"Old"_qs, u"0ld"_qs);
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

    void stylesStay()
    {
        for (const bool keepsClean : {false, true}) {
            const auto cleanTexts = keepsClean ? std::make_unique<DVCleanTexts>() : nullptr;
            QWidget window;
            QVBoxLayout layout(&window);
            const QString html = u"<b>Name:</b> "_qs + oldText;
            QLabel label(html);
            QTextEdit edit(html);
            layout.addWidget(&label);
            layout.addWidget(&edit);
            window.show();
            for (QWidget *widget : {static_cast<QWidget *>(&label), static_cast<QWidget *>(&edit)}) {
                const DVViewPtr view = dv_view(widget);
                const DVViewText text = *view->text();
                QCOMPARE(text.text, QString(u"Name: "_qs + oldText));
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

    void pointsInCorners_data()
    {
        const DVRows<bool, QPoint, const char *> row("isTransparent", "point", "expected");
        // The window is 300 wide: a scroll area with a label of 100 x 40 at 20, 200 scrolled down by 150; a
        // card button with a label in it at 150, 100; something on top of all that at 0, 150.
        row("a label that was scrolled", false, QPoint(30, 60), "scrolled");
        row("beside it, the area", false, QPoint(30, 120), "area");
        row("a label in a button", false, QPoint(165, 115), "inner");
        row("the button around it", false, QPoint(290, 135), "card");
        row("what lies on top", false, QPoint(200, 180), "top");
        row("not where it lets the mouse through", true, QPoint(200, 180), "bottom");
        row("outside of the window", false, QPoint(500, 500), "window");
    }

    void pointsInCorners()
    {
        QFETCH(bool, isTransparent);
        QFETCH(QPoint, point);
        QFETCH(QString, expected);
        QWidget window;
        window.resize(300, 200);
        QScrollArea area(&window);
        area.setFrameShape(QFrame::NoFrame);
        area.setGeometry(0, 0, 140, 140);
        auto *contents = new QWidget;
        contents->resize(120, 1000);
        (new QLabel(u"scrolled"_qs, contents))->setGeometry(20, 200, 100, 40);
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
        QVERIFY(isShown(window));
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
};

void TestWidgetViews::everyKindIsFoundReplacedAndHit_data()
{
    const DVRows<Fill> row("fill");
    row("a label", withProperty<QLabel>("text"));
    row("a button", withProperty<QPushButton>("text"));
    row("a command link's description", withProperty<QCommandLinkButton>("description", false));
    row("the tool tip of a button with a picture only", withProperty<QToolButton>("toolTip"));
    row("a line edit", withProperty<QLineEdit>("text"));
    row("a line edit's placeholder", withProperty<QLineEdit>("placeholderText"));
    row("a text edit", withProperty<QTextEdit>("plainText"));
    row("a text edit's placeholder", withProperty<QTextEdit>("placeholderText"));
    row("a plain text edit", withProperty<QPlainTextEdit>("plainText"));
    row("a group box", withProperty<QGroupBox>("title"));
    row("a spin box's prefix", withProperty<QSpinBox>("prefix", false));
    row("a spin box's suffix", withProperty<QDoubleSpinBox>("suffix", false));
    row("a spin box's special text", withProperty<QSpinBox>("specialValueText"));
    row("a widget of the host's", withProperty<Card>("title"));
    row("a combo box's entry", filled<QComboBox>(
                                   [](QComboBox *box, const QString &text) {
                                       box->addItems({text, u"other"_qs});
                                   },
                                   [](QComboBox *box) { return box->itemText(0); }));
    row("an entry that others were put before", filled<QComboBox>(
                                                    [](QComboBox *box, const QString &text) {
                                                        box->addItem(text);
                                                        box->ensurePolished();
                                                        box->insertItem(0, u"other"_qs);
                                                    },
                                                    [](QComboBox *box) { return box->itemText(1); }));
    row("an entry among marked ones that come, are sorted and go",
        filled<QComboBox>(
            [](QComboBox *box, const QString &text) {
                box->ensurePolished();
                box->addItem(text);
                box->insertItem(0, dv_stringWithCues(u"A"_qs));
                box->insertItem(0, dv_stringWithCues(u"Z"_qs)); // Z, A, Old
                box->removeItem(0);
                box->addItem(dv_stringWithCues(u"B"_qs)); // A, Old, B
                box->model()->sort(0);
                box->removeItem(1);
                box->addItem(dv_stringWithCues(u"C"_qs)); // A, Old, C
                box->setCurrentIndex(1);
            },
            [](QComboBox *box) { return box->itemText(1); }));
    row("an editable combo box's entry", filled<QComboBox>(fillEditable, &QComboBox::currentText));
    row("a combo box's placeholder", withProperty<QComboBox>("placeholderText"));
    row("a tab", filled<QTabBar>(
                     [](QTabBar *bar, const QString &text) {
                         bar->addTab(u"first"_qs);
                         bar->addTab(text);
                     },
                     [](QTabBar *bar) { return bar->tabText(1); }));
    row("a list's item", filled<QListWidget>(
                             [](QListWidget *list, const QString &text) {
                                 list->addItems({u"first"_qs, text});
                             },
                             [](QListWidget *list) { return list->item(1)->text(); }));
    row("a tree's child",
        filled<QTreeWidget>(
            [](QTreeWidget *tree, const QString &text) {
                tree->setColumnCount(2);
                tree->setHeaderHidden(true);
                new QTreeWidgetItem(new QTreeWidgetItem(tree, {u"parent"_qs}), {u"first"_qs, text});
                tree->expandAll();
            },
            [](QTreeWidget *tree) { return tree->topLevelItem(0)->child(0)->text(1); }));
    row("a tree's header",
        filled<QTreeWidget>([](QTreeWidget *tree, const QString &text) { tree->setHeaderLabels({text}); },
                            [](QTreeWidget *tree) { return tree->headerItem()->text(0); }));
    row("a table's cell", filled<QTableWidget>(
                              [](QTableWidget *table, const QString &text) {
                                  table->setRowCount(2);
                                  table->setColumnCount(2);
                                  table->setSpan(0, 0, 1, 2);
                                  table->setItem(0, 0, new QTableWidgetItem(text));
                              },
                              [](QTableWidget *table) { return table->item(0, 0)->text(); }));
    row("a table's row header",
        filled<QTableWidget>(
            [](QTableWidget *table, const QString &text) {
                table->setRowCount(1);
                table->setVerticalHeaderLabels({text});
            },
            [](QTableWidget *table) { return table->verticalHeaderItem(0)->text(); }));
    row("a sorted model's cell", [](QWidget *parent, const QString &text) {
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
    row("a tool bar's action", [](QWidget *parent, const QString &text) {
        auto *bar = new QToolBar(parent);
        QAction *action = bar->addAction(text);
        return Filled{bar, [action] { return action->text(); }};
    });
    row("a menu bar's menu", [](QWidget *parent, const QString &text) {
        auto *bar = new QMenuBar(parent);
        bar->setNativeMenuBar(false);
        const QMenu *menu = bar->addMenu(text);
        return Filled{bar, [menu] { return menu->title(); }};
    });
    row("a window in an area", [](QWidget *parent, const QString &text) {
        auto *area = new QMdiArea(parent);
        QMdiSubWindow *window = area->addSubWindow(new QWidget);
        window->setWindowTitle(text);
        return Filled{area, [window] { return window->windowTitle(); }};
    });
    row("a progress bar", filled<QProgressBar>(
                              [](QProgressBar *bar, const QString &text) {
                                  bar->setFormat(text);
                                  bar->setValue(50);
                              },
                              &QProgressBar::format));
    row("a status bar's message",
        filled<QStatusBar>([](QStatusBar *bar, const QString &text) { bar->showMessage(text); },
                           &QStatusBar::currentMessage));
    row("a scene's text", [](QWidget *parent, const QString &text) {
        auto *view = new QGraphicsView(new QGraphicsScene, parent);
        view->scene()->setParent(view);
        QGraphicsTextItem *item = view->scene()->addText(text);
        return Filled{view, [item] { return item->toPlainText(); }};
    });
}

void TestWidgetViews::whatTheUserTypedStays_data()
{
    const DVRows<Fill> row("fill");
    row("in a line edit", withProperty<QLineEdit>("text"));
    row("in a text edit", withProperty<QTextEdit>("plainText"));
    row("in a plain text edit", withProperty<QPlainTextEdit>("plainText"));
    row("in an editable combo box", filled<QComboBox>(fillEditable, &QComboBox::currentText));
    row("instead of a placeholder", filled<QLineEdit>(&QLineEdit::setPlaceholderText, &QLineEdit::text));
    row("as a password", filled<QLineEdit>(
                             [](QLineEdit *edit, const QString &text) {
                                 edit->setEchoMode(QLineEdit::Password);
                                 edit->setPlaceholderText(text);
                             },
                             &QLineEdit::text));
    row("between a prefix and its field's end, not yet taken as the value",
        filled<QSpinBox>(
            [](QSpinBox *box, const QString &text) {
                box->setKeyboardTracking(false);
                box->setPrefix(text);
            },
            &QSpinBox::text));
    row("in a list's item", filled<QListWidget>(
                                [](QListWidget *list, const QString &text) {
                                    list->addItem(text);
                                    list->item(0)->setFlags(list->item(0)->flags() | Qt::ItemIsEditable);
                                    list->editItem(list->item(0));
                                },
                                [](QListWidget *list) {
                                    const QModelIndex index = list->model()->index(0, 0);
                                    return qobject_cast<QLineEdit *>(list->indexWidget(index))->text();
                                }));
}

QTEST_MAIN(TestWidgetViews)
#include "tst_widgetviews.moc"
