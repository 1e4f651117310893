// The texts of real Qt Quick windows: each found once, where it is shown, and hit by a point; also inside
// widgets.
#include "DVCleanQuick.h"
#include "DVRows.h"
#include "QuickScene.h"

#include <QApplication>
#include <QLabel>
#include <QMainWindow>
#include <QMenuBar>
#include <QQmlContext>
#include <QQuickPaintedItem>
#include <QQuickView>
#include <QQuickWidget>
#include <QSignalSpy>
#include <QStackedWidget>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

namespace {

// An item of a host's that draws its text itself.
class Plate : public QQuickPaintedItem
{
    Q_OBJECT
    Q_PROPERTY(QString title MEMBER m_title)

public:
    void paint(QPainter * /*painter*/) override {}

private:
    QString m_title;
};

QPointF centre(const QQuickItem *item)
{
    return item->mapToScene({item->width() / 2, item->height() / 2});
}

} // namespace

class TestQuickViews : public QObject
{
    Q_OBJECT

    QQmlEngine m_engine; // one, because each reads the controls' files again

private Q_SLOTS:
    void initTestCase() { qmlRegisterType<Plate>("Tests", 1, 0, "Plate"); }

    // The platform's own warnings aside.
    void init() { QTest::failOnWarning(QRegularExpression(u"QML|QQuick|Error|:\\d+"_qs)); }

    void eachShownTextIsFoundOnce_data()
    {
        const DVRows<const char *, const char *> row("body", "found"); // several texts are separated by bars
        row("texts and labels", R"(Column { Text { text: "‹A›" } Label { text: "‹B›" } })", "[A]|[B]");
        row("what lies in front comes last",
            R"(Text { text: "‹front›"; z: 1 } Text { text: "‹back›"; z: -1 } Text { text: "‹middle›" })",
            "[back]|[middle]|[front]");
        row("not what is hidden", R"(
            Text { text: "‹invisible›"; visible: false }
            Text { text: "‹transparent›"; opacity: 0 }
            Item { visible: false; Text { text: "‹inside invisible›" } }
            Item { opacity: 0; Text { text: "‹inside transparent›" } }
            Text { text: "‹there›" })",
            "[there]");
        row("not what is clipped away", R"(
            Item { clip: true; width: 50; height: 20
                Text { text: "‹cut in part›"; width: 90; height: 20 }
                Item { x: 60; Text { text: "‹cut off›" } } }
            Text { x: 500; text: "‹beside the window›" })",
            "[cut in part]");
        row("children of an item without a size", R"(Item { Item { Text { text: "‹A›" } } })", "[A]");
        row("buttons", R"(Column {
            Button { text: "‹&Save›" } CheckBox { text: "‹check›" } RadioButton { text: "‹radio›" }
            Switch { text: "‹switch›" } ToolButton { text: "‹tool›" } RoundButton { text: "‹round›" }
            ItemDelegate { text: "‹item›" } CheckDelegate { text: "‹checked item›" }
            DelayButton { text: "‹delay›" } })",
            "[&Save]|[check]|[radio]|[switch]|[tool]|[round]|[item]|[checked item]|[delay]");
        row("a button that shows its icon only", R"(Button { text: "‹A›"; display: Button.IconOnly })", "");
        row("a button with contents of its own", R"(Button { text: "‹unseen›"
            contentItem: Row { Text { text: "‹A›" } Text { text: "‹B›" } } })",
            "[A]|[B]");
        row("two buttons of one text", R"(Row { Button { text: "‹OK›" } Button { text: "‹OK›" } })",
            "[OK]|[OK]");
        row("a group box",
            R"(GroupBox { title: "‹group›"; Column { Text { text: "‹A›" } Text { text: "‹B›" } } })",
            "[group]|[A]|[B]");
        row("a group box with a text like its title", R"(GroupBox { title: "‹A›"; Text { text: "‹A›" } })",
            "[A]|[A]");
        row("tabs", R"(TabBar { width: 300; TabButton { text: "‹one›" } TabButton { text: "‹two›" } })",
            "[one]|[two]");
        row("a closed menu", R"(menuBar: MenuBar { Menu { title: "‹&File›"; Action { text: "‹Open›" } } })",
            "[&File]");
        row("an open menu", R"(Menu { title: "‹unseen›"; Component.onCompleted: open()
            Action { text: "‹Open›" } MenuItem { text: "‹Close›" } Menu { title: "‹More›" } })",
            "[Open]|[Close]|[More]");
        row("a closed combo box", R"(ComboBox { model: ["‹A›", "‹B›"]; currentIndex: 1 })", "[B]");
        row("an open combo box", R"(ComboBox { model: ["‹A›", "‹B›"]; currentIndex: 1
            Component.onCompleted: popup.open() })",
            "[B]|[A]|[B]");
        row("a spin box that writes words",
            R"(SpinBox { value: 2; textFromValue: value => "‹«" + value + "» plants›" })", "[{2} plants]");
        row("what an empty field asks for", R"(Column {
            TextField { placeholderText: "‹name›" } TextArea { placeholderText: "‹story›" } })",
            "[name]|[story]");
        row("a field that the host has filled", R"(Column {
            TextField { placeholderText: "‹unseen›"; text: "‹A›" } TextArea { text: "‹B›" } TextInput { text: "‹C›" } })",
            "[A]|[B]|[C]");
        row("never a password", R"(TextField { text: "‹A›"; echoMode: TextInput.Password })", "");
        row("a tool tip", R"(Button { id: b; text: "‹A›"
            Component.onCompleted: Qt.callLater(() => ToolTip.show("‹tip›")) })",
            "[A]|[tip]");
        row("a dialog over a page", R"(Text { text: "‹below›" }
            Dialog { title: "‹title›"; visible: true; Text { text: "‹body›" } })",
            "[below]|[title]|[body]");
        row("a page whose title its header shows", R"(Page { id: page; title: "‹title›"
            header: Label { text: page.title } Text { text: "‹A›" } })",
            "[title]|[A]");
        row("a page whose title nothing shows", R"(Page { title: "‹title›"; Text { text: "‹A›" } })", "[A]");
        row("the window's title", R"(title: "‹title›"; Text { text: "‹A›" })", "[title]|[A]");
        row("delegates in sight", R"(ListView { width: 200; height: 40; model: 50; cacheBuffer: 400
            delegate: Text { height: 20; text: "‹" + index + "›" } })",
            "[0]|[1]");
        row("cells", R"(GridView { width: 100; height: 50; cellWidth: 50; cellHeight: 50; model: 8
            delegate: Text { text: "‹" + index + "›" } })",
            "[0]|[1]");
        row("the page on top of a stack", R"(StackView { anchors.fill: parent
            initialItem: Text { text: "‹below›" }
            Component.onCompleted: push(Qt.createQmlObject('import QtQuick; Text { text: "‹top›" }', this)) })",
            "[top]");
        row("the current page of a swipe view", R"(SwipeView { anchors.fill: parent; currentIndex: 1
            Item { Text { text: "‹one›" } } Item { Text { text: "‹two›" } } Item { Text { text: "‹three›" } } })",
            "[two]");
        row("loaded and repeated items", R"(Column {
            Loader { sourceComponent: Text { text: "‹loaded›" } }
            Repeater { model: ["‹A›", "‹B›"]; Text { text: modelData } } })",
            "[loaded]|[A]|[B]");
        row("a component that draws its text by an alias", R"(Item { property alias text: inner.text
            Text { id: inner; text: "‹A›" } })",
            "[A]");
        row("a component with a title and more", R"(Item { property string title: "‹A›"
            Column { Text { text: parent.parent.title } Text { text: "‹B›" } } })",
            "[A]|[B]");
        row("a component that only keeps a title", R"(Rectangle { property string title: "‹A›" })", "");
        row("an item that draws its own text", R"(Plate { title: "‹A›"; width: 50; height: 50 })", "[A]");
        row("a text with another in it", R"(Text { text: "‹A›"; Text { y: 20; text: "‹B›" } })", "[A]|[B]");
    }

    void eachShownTextIsFoundOnce()
    {
        QFETCH(QString, body);
        QFETCH(QString, found);
        const QuickScene scene(m_engine, body);
        QVERIFY(scene.isShown());
        QTRY_COMPARE(texts(scene.view()).join(u'|'), found);
        // The same when fields hold clean texts.
        QObject tools;
        dv_followQuickWindow(*scene.window, tools);
        QTRY_COMPARE(texts(scene.view()).join(u'|'), found);
    }

    // A press on any found text finds that text, whatever transforms it.
    void aPointFindsTheTextThatIsShownThere_data()
    {
        const DVRows<const char *> row("body");
        row("a plain text", R"(Text { objectName: "it"; x: 50; y: 60; text: "‹A›" })");
        row("turned", R"(Text { objectName: "it"; x: 100; y: 100; rotation: 90; text: "‹A long one›" })");
        row("scaled", R"(Item { x: 30; scale: 3; Text { objectName: "it"; x: 40; y: 20; text: "‹A›" } })");
        row("moved by a transformation",
            R"(Text { objectName: "it"; text: "‹A›"; transform: Translate { x: 200; y: 100 } })");
        row("mirrored", R"(Row { width: 400; LayoutMirroring.enabled: true
            Text { objectName: "it"; text: "‹A›" } Text { text: "‹B›" } })");
        row("elided",
            R"(Text { objectName: "it"; width: 40; elide: Text.ElideRight; text: "‹A rather long one›" })");
        row("wrapped",
            R"(Text { objectName: "it"; width: 40; wrapMode: Text.Wrap; text: "‹some words in lines›" })");
        row("in front of another", R"(Text { text: "‹back›" } Text { objectName: "it"; text: "‹front›" })");
        row("below an area for the mouse",
            R"(Text { objectName: "it"; text: "‹A›" } MouseArea { anchors.fill: parent })");
        row("below a frame that is not filled",
            R"(Text { objectName: "it"; text: "‹A›" } Rectangle { anchors.fill: parent; color: "transparent" })");
        row("a button", R"(Button { objectName: "it"; text: "‹A›" })");
        row("a delegate that is scrolled to", R"(ListView { width: 200; height: 40; model: 9
            Component.onCompleted: contentY = 60
            delegate: Text { objectName: index === 4 ? "it" : ""; height: 20; text: "‹" + index + "›" } })");
        row("with a mask",
            R"(Text { objectName: "it"; width: 200; height: 100; text: "‹A›"; containmentMask: QtObject {
                 function contains(point: point) : bool { return point.x > 90 } } })");
    }

    void aPointFindsTheTextThatIsShownThere()
    {
        QFETCH(QString, body);
        const QuickScene scene(m_engine, body);
        QVERIFY(scene.isShown());
        QQuickItem *item = nullptr;
        QTRY_VERIFY((item = scene.it()));
        QTRY_VERIFY(item->width() > 0);
        const DVViewPtr view = dv_view(item);
        const QPointF point = centre(item);
        const DVViewPtr found = dv_viewInWindow(scene.window, point);
        QVERIFY(found->isSameAs(*view));
        QVERIFY(found->text());
        QVERIFY(view->frame().contains(point));
        // Up from there is the window, and down from the window it is.
        DVViewPtr top = view;
        while (const DVViewPtr above = top->superview())
            top = above;
        QCOMPARE(top->object(), scene.window);
        QVERIFY(top->viewAt(point)->isSameAs(*view));
    }

    void aPointFindsNoTextThatIsCovered()
    {
        const QuickScene scene(m_engine, uR"(Text { objectName: "it"; text: "‹A›" }
            Rectangle { objectName: "cover"; anchors.fill: parent; color: "white" })"_qs);
        QVERIFY(scene.isShown());
        const DVViewPtr found = dv_viewInWindow(scene.window, centre(scene.it()));
        QCOMPARE(found->object(), scene.item(u"cover"_qs));
        QVERIFY(!found->text());
    }

    void aTitleIsAPartWhereItIsDrawn()
    {
        const QuickScene scene(m_engine, uR"(GroupBox { objectName: "it"; title: "‹group›"; y: 100
            Text { text: "‹A›" } })"_qs);
        QVERIFY(scene.isShown());
        const DVViewPtr box = dv_view(scene.it());
        QVERIFY(!box->text());
        const DVViewPtr title = box->subviews().first();
        QCOMPARE(title->text()->text, marked(u"‹group›"_qs));
        QVERIFY(title->superview()->isSameAs(*box));
        QVERIFY(title->frame().height() < box->frame().height());
        QVERIFY(scene.view()->viewAt(title->frame().center())->isSameAs(*title));
    }

    void aFrameIsTheVisiblePart()
    {
        const QuickScene scene(m_engine, uR"(Item { x: 10; y: 10; width: 50; height: 50; clip: true
            Text { objectName: "it"; x: 20; width: 100; height: 20; text: "‹A›" } })"_qs);
        QVERIFY(scene.isShown());
        QCOMPARE(dv_view(scene.it())->frame(), QRectF(30, 10, 30, 20));
    }

    void richTextsHaveAPlainOne_data()
    {
        const DVRows<const char *, QString, bool> row("item", "plain", "isRich");
        const QString html = u"[<b>Fish</b> &amp; chips]"_qs;
        row("plain", "Text { textFormat: Text.PlainText; text: \"%1\" }", html, false);
        row("found to be rich", "Text { text: \"%1\" }", u"[Fish & chips]"_qs, true);
        row("styled", "Text { textFormat: Text.StyledText; text: \"%1\" }", u"[Fish & chips]"_qs, true);
        row("rich", "Text { textFormat: Text.RichText; text: \"%1\" }", u"[Fish & chips]"_qs, true);
        row("markdown is its source", "Text { textFormat: Text.MarkdownText; text: \"%1\" }", html, false);
        row("a document", "TextEdit { textFormat: TextEdit.RichText; text: \"%1\" }", u"[Fish & chips]"_qs,
            true);
    }

    void richTextsHaveAPlainOne()
    {
        QFETCH(QString, item);
        QFETCH(QString, plain);
        QFETCH(bool, isRich);
        const QuickScene scene(m_engine, item.arg(u"‹<b>Fish</b> &amp; chips›"_qs));
        QVERIFY(scene.isShown());
        const DVViewText text = *labels(scene.view()).value(0)->text();
        QCOMPARE(dv_stringShowingCues(text.text), plain);
        QCOMPARE(text.isRich(), isRich);
    }

    void whatAUserTypesIsNoText()
    {
        const QuickScene scene(m_engine, uR"(TextField { objectName: "it"; focus: true; text: "‹A›" })"_qs);
        QVERIFY(scene.isShown());
        scene.window->requestActivate();
        QQuickItem *field = scene.it();
        field->forceActiveFocus();
        const DVViewPtr view = dv_view(field);
        const DVViewText before = *view->text();
        QTest::keyClick(scene.window, Qt::Key_End);
        QTest::keyClick(scene.window, Qt::Key_X);
        QTRY_COMPARE(field->property("text").toString(), QString(before.text + u'x'));
        QVERIFY(!view->text());
        view->setText({field->property("text").toString(), {}}, {marked(u"‹B›"_qs), {}});
        QCOMPARE(field->property("text").toString(), QString(before.text + u'x'));
    }

    void scenesInWidgetsBelongToThem_data()
    {
        const DVRows<bool> row("container");
        row("a QQuickWidget", false);
        row("the container of a window", true);
    }

    void scenesInWidgetsBelongToThem()
    {
        QFETCH(bool, container);
        QMainWindow top;
        auto *pages = new QStackedWidget(&top);
        top.setCentralWidget(pages);
        top.menuBar()->addMenu(u"above"_qs);
        QList<QPointer<QWidget>> hosts;
        QList<QQuickWindow *> scenes;
        for (const QString &text : {u"‹one›"_qs, u"‹two›"_qs}) {
            auto *page = new QWidget(pages);
            auto *layout = new QVBoxLayout(page);
            layout->addWidget(new QLabel(u"label"_qs, page));
            QWidget *host = nullptr;
            const auto fill = [&](auto *view) {
                auto *component = new QQmlComponent(view->engine(), view);
                component->setData("import QtQuick; Text {}", QUrl());
                QObject *root = component->create();
                root->setProperty("text", marked(text));
                view->setResizeMode(std::remove_pointer_t<decltype(view)>::SizeRootObjectToView);
                view->setContent(QUrl(), component, root);
            };
            if (container) {
                auto *view = new QQuickView;
                fill(view);
                host = QWidget::createWindowContainer(view, page);
                scenes << view;
            } else {
                auto *view = new QQuickWidget(page);
                fill(view);
                host = view;
                scenes << view->quickWindow();
            }
            hosts << host;
            layout->addWidget(host, 1);
            pages->addWidget(page);
        }
        top.resize(300, 300);
        top.show();
        QVERIFY(QTest::qWaitForWindowExposed(&top));
        for (int page : {0, 1}) {
            pages->setCurrentIndex(page);
            QTRY_VERIFY(hosts[page]->isVisible() && hosts[page]->height() > 100);
            QTRY_COMPARE(labels(dv_view(hosts[page])).size(), 1);
            QCOMPARE(texts(dv_view(hosts[page])), QStringList(page == 0 ? u"[one]"_qs : u"[two]"_qs));
            const DVViewPtr text = labels(dv_view(hosts[page])).first();
            // Points are those of the widgets' window.
            const QRect inTop(hosts[page]->mapTo(&top, QPoint()), hosts[page]->size());
            QTRY_COMPARE(text->frame().toRect(), inTop);
            QVERIFY(dv_view(&top)->viewAt(inTop.center())->isSameAs(*text));
            if (container)
                QVERIFY(dv_viewInWindow(scenes[page], {5, 5})->isSameAs(*text));
            // Up from the item comes the widget.
            DVViewPtr above = text;
            while (above && above->object() != hosts[page])
                above = above->superview();
            QVERIFY(above);
            while (const DVViewPtr next = above->superview())
                above = next;
            QCOMPARE(above->object(), &top);
            QVERIFY(texts(dv_view(&top)).contains(page == 0 ? u"[one]"_qs : u"[two]"_qs));
            QVERIFY(!texts(dv_view(&top)).contains(page == 0 ? u"[two]"_qs : u"[one]"_qs));
        }
    }

    void aViewOfSomethingDeletedShowsNothing()
    {
        auto scene = std::make_unique<QuickScene>(m_engine, uR"(title: "‹T›"
            GroupBox { objectName: "it"; title: "‹group›"; Text { text: "‹A›" } })"_qs);
        QVERIFY(scene->isShown());
        QList<DVViewPtr> views = labels(scene->view());
        QCOMPARE(views.size(), 3);
        views << scene->view() << dv_view(scene->it());
        scene.reset();
        for (const DVViewPtr &view : std::as_const(views)) {
            QVERIFY(!view->object() && !view->text() && !view->superview());
            QVERIFY(view->subviews().isEmpty() && view->frame().isNull());
            QVERIFY(!view->isSameAs(*view));
            QVERIFY(view->viewAt({1, 1}));
            view->setText({u"a"_qs, {}}, {u"b"_qs, {}});
            view->contentsDidChange();
        }
    }
};

QTEST_MAIN(TestQuickViews)
#include "tst_quickviews.moc"
