// New translations reach the screen: views, what draws their texts for them, what stands around them, and
// titles. First on views of nothing, then on real labels.
#include "DorvaneViews.h"
#include "ShownStrings.h"

#include "DVCueMarkers.h"
#include "DVState.h"

#include <Dorvane/DVViewWithText.h>

#include <QGroupBox>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QTabWidget>
#include <QTest>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

namespace {

QStringList takeEvents()
{
    QStringList events = std::exchange(FakeView::events(), {});
    for (QString &event : events)
        event = dv_stringShowingCues(event);
    return events;
}

// The texts at or below a view, each with its strings.
QList<DVViewStringsPtr> found(const DVViewPtr &view)
{
    const auto entries = dorvaneStringsInSubviews(view);
    for (const auto &entry : entries)
        entry->dorvaneStringsInString();
    return entries;
}

void note(const QString &what, const QString &text, const QString &newText)
{
    FakeView::events().append(QString(what % u": " % text % u" -> " % newText));
}

} // namespace

class Painter : public QObject, public DVViewWithText
{
    Q_OBJECT
    Q_INTERFACES(DVViewWithText)

public:
    void dorvaneUpdateText(const QString &text, const QString &withNewString) override
    {
        note(u"painter"_qs, text, withNewString);
    }
    void dorvaneUpdateAttributedText(const QString &text, const QString &withNewString) override
    {
        note(u"painter, rich"_qs, text, withNewString);
    }
};

// As QML declares functions.
class Scripted : public QObject
{
    Q_OBJECT

public:
    Q_INVOKABLE QVariant dorvaneUpdateText(const QVariant &text, const QVariant &withNewString)
    {
        note(u"script"_qs, text.toString(), withNewString.toString());
        return {};
    }
    Q_INVOKABLE void dorvaneUpdateText(int, int) { QFAIL("not with numbers"); }
};

class TypedScript : public QObject
{
    Q_OBJECT

public:
    Q_INVOKABLE void dorvaneUpdateText(const QString &text, const QString &withNewString)
    {
        note(u"typed"_qs, text, withNewString);
    }
};

class TestViewUpdates : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { DVState::shared().log = false; }
    void init()
    {
        ShownStore::serve(
            {{u"ok"_qs, u"[OK]"_qs}, {u"in"_qs, u"[In {%1}]"_qs}, {u"bold"_qs, u"[<b>Now</b>]"_qs}});
        takeEvents();
    }

    void cleanup() { ShownStore::serveNothing(); }

    void walksTheTree()
    {
        const auto root = FakeView::make(u"root"_qs);
        const auto inner = FakeView::label(u"inner"_qs, {u"not seen"_qs, {}});
        const auto outer = FakeView::label(u"outer"_qs, {u""_qs, {}})->with({inner});
        const auto rich = FakeView::label(u"rich"_qs, {u"x"_qs, u"<b>x</b>"_qs});
        root->with({FakeView::make(u"box"_qs)->with({outer}), rich});
        const auto entries = dorvaneStringsInSubviews(root);
        QCOMPARE(entries.size(), 2);
        QCOMPARE(entries[0]->view, DVViewPtr(outer));
        QVERIFY(entries[0]->originalAttributedString.isNull());
        QCOMPARE(entries[1]->originalString, u"x"_qs);
        QCOMPARE(entries[1]->originalAttributedString, u"<b>x</b>"_qs);
        QVERIFY(dv_isLabel(outer) && !dv_isLabel(root) && !dv_isLabel(nullptr));
        QCOMPARE(dorvaneStringsInSubviews(nullptr).size(), 0);

        auto deep = FakeView::label(u"leaf"_qs, {marked(u"[OK]"_qs), {}});
        for (int i = 0; i < 10'000; ++i)
            deep = FakeView::make(u"level"_qs)->with({deep});
        QCOMPARE(dorvaneStringsInSubviews(deep).size(), 1);
        while (!deep->children.isEmpty()) // destructors would call each other to that depth
            deep = std::static_pointer_cast<FakeView>(QList<DVViewPtr>(deep->children).takeFirst());
    }

    void looksUpwards()
    {
        QObject panel;
        panel.setObjectName(u"panel"_qs);
        const auto touched = FakeView::make(u"touched"_qs);
        const auto near = FakeView::make(u"near"_qs, &panel)->with({touched});
        const auto own = FakeView::label(u"own"_qs, {u"my own text"_qs, {}}); // made by no string
        const auto far = FakeView::make(u"far"_qs)->with({near, own});
        const auto label = FakeView::label(u"label"_qs, {marked(u"[OK]"_qs), {}});
        const auto top = FakeView::make(u"top"_qs)->with({far, label});
        const HeardDebug heard;
        const DVFoundStrings above = dorvaneStringsInSuperviewsWithRoot(touched);
        QCOMPARE(above.root, DVViewPtr(far));
        QCOMPARE(above.strings.size(), 1);
        QCOMPARE(above.strings[0]->view, DVViewPtr(own));
        QVERIFY(above.strings[0]->dorvaneStrings().isEmpty());
        QCOMPARE(DVWrittenLog::take().filter(u"Looking for"_qs),
                 (QStringList{u"Looking for strings to edit in superview QObject panel"_qs,
                              u"Looking for strings to edit in superview (none)"_qs}));
        QVERIFY(!dorvaneStringsInSuperviewsWithRoot(top).root);
    }

    void placesInTheTree()
    {
        const auto view = FakeView::make(u"view"_qs);
        view->rect = {30, 40, 5, 6};
        const auto box = FakeView::make(u"box"_qs)->with({view});
        box->rect = {10, 10, 50, 50};
        const auto other = FakeView::make(u"other"_qs);
        const auto window = FakeView::make(u"window"_qs)->with({box, other});
        QCOMPARE(dv_frame(view), QRectF(20, 30, 5, 6));
        QCOMPARE(dv_convertToWindowPoint(dv_superview(view), dv_frame(view).topLeft()), QPointF(30, 40));
        QVERIFY(dv_isChildOfView(view, window) && dv_isChildOfView(view, box));
        QVERIFY(!dv_isChildOfView(view, view) && !dv_isChildOfView(view, other) &&
                !dv_isChildOfView(view, nullptr));
        QCOMPARE(dv_subviews(window).size(), 2);
    }

    void theViewItsPainterAndAllAround()
    {
        Painter painter;
        Painter further;
        const auto label = FakeView::label(u"label"_qs, {marked(u"a [In {x}]"_qs), {}});
        const auto rich = FakeView::label(u"rich"_qs, {marked(u"[Now]"_qs), marked(u"[<b>Now</b>]"_qs)});
        const auto list = FakeView::make(u"list"_qs, &painter)->with({label, rich});
        const auto top = FakeView::make(u"top"_qs, &further)->with({list});
        const auto entries = found(top);
        translate();
        entries[0]->updateView();
        QCOMPARE(takeEvents(),
                 (QStringList{u"label shows a [Nach {x}]"_qs, u"painter: a [In {x}] -> a [Nach {x}]"_qs,
                              u"label changed"_qs, u"list changed"_qs, u"top changed"_qs}));
        entries[1]->updateView();
        QCOMPARE(takeEvents(), (QStringList{u"rich shows [<i>Jetzt</i>]"_qs,
                                            u"painter, rich: [<b>Now</b>] -> [<i>Jetzt</i>]"_qs,
                                            u"rich changed"_qs, u"list changed"_qs, u"top changed"_qs}));
        DVViewStrings empty;
        empty.view = label;
        empty.updateView();
        QCOMPARE(takeEvents(), QStringList());
    }

    void theFirstThatTakesTextsBelow()
    {
        Painter painter;
        Scripted scripted;
        TypedScript typed;
        const auto behind = FakeView::make(u"behind"_qs, &typed);
        const auto root =
            FakeView::make(u"root"_qs)
                ->with({FakeView::make(u"painter"_qs, &painter)->with({behind}),
                        FakeView::make(u"script"_qs, &scripted),
                        FakeView::make(u"box"_qs)->with({FakeView::make(u"typed"_qs, &typed)})});
        dorvaneUpdateSubviewsText(root, u"a"_qs, u"b"_qs);
        QCOMPARE(takeEvents(),
                 (QStringList{u"painter: a -> b"_qs, u"script: a -> b"_qs, u"typed: a -> b"_qs}));
    }

    void titles()
    {
        QWidget window;
        window.setWindowTitle(marked(u"[OK]"_qs));
        QTabWidget tabs;
        auto *page = new QWidget;
        tabs.addTab(new QWidget, marked(u"[OK]"_qs));
        tabs.addTab(page, marked(u"[OK]"_qs));
        QGroupBox box(marked(u"[OK]"_qs));
        const auto update = [](QObject *controller, bool isTab) {
            DVViewStrings strings;
            strings.viewController = controller;
            (isTab ? strings.isTabTitle : strings.isTitle) = true;
            strings.originalString = marked(u"[OK]"_qs);
            ShownStore::serve({{u"ok"_qs, u"[OK]"_qs}});
            strings.dorvaneStringsInString();
            translate();
            strings.updateView();
        };
        update(&window, false);
        QCOMPARE(dv_stringByRemovingCues(window.windowTitle()), u"Gut"_qs);
        update(page, true);
        QCOMPARE(tabs.tabText(0), marked(u"[OK]"_qs));
        QCOMPARE(tabs.tabText(1), marked(u"[Gut]"_qs));
        update(&box, false);
        QCOMPARE(box.title(), marked(u"[Gut]"_qs));
        tabs.setTabText(1, u"something else"_qs);
        update(page, true);
        QCOMPARE(tabs.tabText(1), u"something else"_qs);
    }

    void aPageDeletedByItsTitle()
    {
        const QPointer<QGroupBox> box = new QGroupBox(marked(u"[OK]"_qs));
        box->setWindowTitle(box->title());
        connect(box, &QWidget::windowTitleChanged, this, [&box] { delete box.data(); });
        DVViewStrings strings;
        strings.viewController = box;
        strings.isTitle = true;
        strings.originalString = box->title();
        strings.dorvaneStringsInString();
        translate();
        strings.updateView();
        QVERIFY(!box);
    }

    void realLabels()
    {
        QWidget window;
        auto *layout = new QVBoxLayout(&window);
        auto *label = new QLabel(marked(u"Name: [In {Rome}]"_qs));
        auto *rich = new QLabel(marked(u"<p><b>[OK]</b> and [<b>Now</b>]</p>"_qs));
        auto *button = new QPushButton(marked(u"[OK]"_qs));
        auto *box = new QGroupBox(marked(u"[OK]"_qs));
        auto *list = new QListWidget;
        list->addItem(marked(u"[In {[OK]}]"_qs));
        for (QWidget *widget : std::initializer_list<QWidget *>{label, rich, button, box, list})
            layout->addWidget(widget);
        window.show();
        const auto entries = found(dv_view(&window));
        translate();
        for (const auto &entry : entries)
            entry->updateView();
        QCOMPARE(dv_stringShowingCues(label->text()), u"Name: [Nach {Rome}]"_qs);
        QCOMPARE(dv_stringShowingCues(rich->text()), u"<p><b>[Gut]</b> and [<i>Jetzt</i>]</p>"_qs);
        QCOMPARE(dv_stringShowingCues(button->text()), u"[Gut]"_qs);
        QCOMPARE(dv_stringShowingCues(box->title()), u"[Gut]"_qs);
        // And once more from what they show now.
        ShownStore::serve({{u"ok"_qs, u"[Gut]"_qs}, {u"in"_qs, u"[Nach {%1}]"_qs}});
        const auto again = found(dv_view(&window));
        ShownStore::serve({{u"ok"_qs, u"[Bien]"_qs}, {u"in"_qs, u"[\u00C0 {%1}]"_qs}});
        for (const auto &entry : again)
            entry->updateView();
        QCOMPARE(dv_stringShowingCues(label->text()), u"Name: [\u00C0 {Rome}]"_qs);
        QCOMPARE(dv_stringShowingCues(button->text()), u"[Bien]"_qs);
    }

    void aLabelThatShowsSomethingElseByNow()
    {
        QWidget window;
        QVBoxLayout layout(&window);
        QLabel label(marked(u"[OK]"_qs));
        layout.addWidget(&label);
        window.show();
        const auto entries = found(dv_view(&label));
        QCOMPARE(entries.size(), 1);
        label.setText(u"typed since"_qs);
        translate();
        entries[0]->updateView();
        QCOMPARE(label.text(), u"typed since"_qs);
    }

    void aViewDeletedByItsUpdate()
    {
        QWidget window;
        auto *label = new QLabel(marked(u"[OK]"_qs), &window);
        window.show();
        const auto entries = found(dv_view(label));
        QCOMPARE(entries.size(), 1);
        entries[0]->viewController = label;
        entries[0]->isTitle = true;
        translate();
        delete label;
        entries[0]->updateView();
        QCOMPARE(entries[0]->dorvaneStrings().size(), 1);
        QVERIFY(entries[0]->description().contains(u"view (none)"));
    }

private:
    static void translate()
    {
        ShownStore::serve(
            {{u"ok"_qs, u"[Gut]"_qs}, {u"in"_qs, u"[Nach {%1}]"_qs}, {u"bold"_qs, u"[<i>Jetzt</i>]"_qs}},
            u"de"_qs);
    }
};

QTEST_MAIN(TestViewUpdates)
#include "tst_viewupdates.moc"
