// New texts in real Qt Quick windows: shown without help from the application, with its bindings left alive.
#include "DVCleanQuick.h"
#include "DVRows.h"
#include "QuickScene.h"

#include <QApplication>
#include <QQmlContext>
#include <QQmlExpression>
#include <QStringListModel>

using namespace Qt::Literals::StringLiterals;

namespace {

// What an application offers to its QML.
class Host : public QObject
{
    Q_OBJECT

public:
    int counts = 0;

    // As a binding, it is one that no re-translation runs.
    Q_INVOKABLE QString word() const { return QCoreApplication::translate("", "hello"); }
    Q_INVOKABLE QString counted(const QString &text)
    {
        ++counts;
        return text;
    }
};

// An item of C++ whose text is a QBindable.
class Bindable : public QQuickItem
{
    Q_OBJECT
    Q_PROPERTY(QString text READ text WRITE setText NOTIFY textChanged BINDABLE bindableText)

public:
    QString text() const { return m_text; }
    void setText(const QString &text) { m_text = text; }
    QBindable<QString> bindableText() { return &m_text; }

Q_SIGNALS:
    void textChanged();

private:
    Q_OBJECT_BINDABLE_PROPERTY(Bindable, QString, m_text, &Bindable::textChanged)
};

void run(const QuickScene &scene, const QString &script)
{
    QQmlExpression expression(qmlContext(scene.window), scene.window, script);
    expression.evaluate();
    QVERIFY2(!expression.hasError(), qPrintable(expression.error().toString()));
}

} // namespace

class TestQuickTexts : public QObject
{
    Q_OBJECT

    Words m_words;
    Host m_host;
    QQmlEngine m_engine;

    void translate(bool french)
    {
        m_words.words = {{u"hello"_qs, french ? u"‹Salut›"_qs : u"‹Hello›"_qs},
                         {u"plants"_qs, french ? u"‹«%1» fleurs›"_qs : u"‹«%1» plants›"_qs},
                         {u"rich"_qs, french ? u"‹<b>Salut</b>›"_qs : u"‹<b>Hello</b>›"_qs}};
    }

    // An edit, and what the tools do then.
    void update(const QuickScene &scene)
    {
        const QList<DVViewPtr> views = labels(scene.view());
        translate(true);
        replaceInAll(views, {{u"Hello"_qs, u"Salut"_qs}, {u"plants"_qs, u"fleurs"_qs}});
    }

private Q_SLOTS:
    void initTestCase()
    {
        qmlRegisterType<Bindable>("Tests", 1, 0, "Bindable");
        m_engine.rootContext()->setContextProperty(u"host"_qs, &m_host);
        QVERIFY(QCoreApplication::installTranslator(&m_words));
    }

    void init()
    {
        QTest::failOnWarning(QRegularExpression(u"QML|QQuick|Error|:\\d+"_qs));
        translate(false);
    }

    void aNewTextIsShownAndItsBindingLives_data()
    {
        // Several texts are separated by bars. The change is what the application does then.
        const DVRows<const char *, const char *, const char *, const char *, const char *> row(
            "body", "before", "after", "change", "later");
        row("a binding to a translation", R"(Text { text: qsTr("hello") })", "[Hello]", "[Salut]", "n = 7",
            "[Salut]");
        row("one with a value", R"(Text { text: qsTr("plants").arg(n) })", "[{5} plants]", "[{5} fleurs]",
            "n = 7", "[{7} fleurs]");
        row("one of two texts", R"(Text { text: n < 6 ? qsTr("hello") : qsTr("plants").arg(n) })", "[Hello]",
            "[Salut]", "n = 7", "[{7} fleurs]");
        row("assigned by JavaScript", R"(Text { Component.onCompleted: text = qsTr("plants").arg(n) })",
            "[{5} plants]", "[{5} fleurs]", "n = 7", "[{5} fleurs]");
        row("a binding to a function of C++", R"(Text { text: host.word() + n })", "[Hello]5", "[Salut]5",
            "n = 7", "[Salut]7");
        row("a binding that JavaScript made", R"(Text {
            Component.onCompleted: text = Qt.binding(() => host.word() + n) })",
            "[Hello]5", "[Salut]5", "n = 7", "[Salut]7");
        row("a Binding", R"(Text { id: t } Binding { target: t; property: "text"; value: host.word() + n })",
            "[Hello]5", "[Salut]5", "n = 7", "[Salut]7");
        row("a binding to a property with a translation", R"(property string word: qsTr("hello")
            Text { text: word + n })",
            "[Hello]5", "[Salut]5", "n = 7", "[Salut]7");
        row("a binding to a property that was assigned", R"(property string word
            Component.onCompleted: word = qsTr("hello")
            Text { text: word + n })",
            "[Hello]5", "[Salut]5", "word = qsTr('hello'); n = 7", "[Salut]7");
        row("a component's property that was bound", R"(Item { property string title: host.word() + n
            Text { text: parent.title } })",
            "[Hello]5", "[Salut]5", "n = 7", "[Salut]7");
        row("a component's property that was assigned", R"(Item { property string title
            Component.onCompleted: title = qsTr("hello")
            Text { text: parent.title } Text { text: "‹other›" + parent.title.length } })",
            "[Hello]|[other]7", "[Salut]|[other]7", "n = 7", "[Salut]|[other]7");
        row("an alias", R"(Item { property alias text: t.text; Text { id: t; text: host.word() + n } })",
            "[Hello]5", "[Salut]5", "n = 7", "[Salut]7");
        row("an alias that is bound", R"(Item { id: i; property alias text: t.text; Text { id: t } }
            Binding { target: i; property: "text"; value: host.word() + n })",
            "[Hello]5", "[Salut]5", "n = 7", "[Salut]7");
        row("a QBindable with a translation", R"(Bindable { text: qsTr("plants").arg(n) })", "[{5} plants]",
            "[{5} fleurs]", "n = 7", "[{7} fleurs]");
        row("a QBindable with a function of C++", R"(Bindable { text: host.word() + n })", "[Hello]5",
            "[Salut]5", "n = 7", "[Salut]7");
        row("a QBindable that was assigned", R"(Bindable { Component.onCompleted: text = qsTr("hello") })",
            "[Hello]", "[Salut]", "n = 7", "[Salut]");
        row("a bound button", R"(Button { text: host.word() + n })", "[Hello]5", "[Salut]5", "n = 7",
            "[Salut]7");
        row("an assigned button", R"(Button { Component.onCompleted: text = "&" + qsTr("hello") })",
            "&[Hello]", "&[Salut]", "n = 7", "&[Salut]");
        row("a button of an action", R"(Action { id: a; Component.onCompleted: text = qsTr("hello") }
            Button { action: a })",
            "[Hello]", "[Salut]", "a.text = 'other'", "other");
        row("a menu bar",
            R"(menuBar: MenuBar { Menu { id: m; Component.onCompleted: title = qsTr("hello") } })", "[Hello]",
            "[Salut]", "m.title = 'other'", "other");
        row("an open menu", R"(Menu { Component.onCompleted: { a.text = qsTr("hello"); open() }
            Action { id: a } MenuItem { text: host.word() + n } })",
            "[Hello]|[Hello]5", "[Salut]|[Salut]5", "a.text = 'other'; n = 7", "other|[Salut]7");
        row("a group box", R"(GroupBox { title: host.word() + n; Text { text: "‹A›" } })", "[Hello]5|[A]",
            "[Salut]5|[A]", "n = 7", "[Salut]7|[A]");
        row("a dialog", R"(Dialog { id: d; visible: true; Component.onCompleted: title = qsTr("hello") })",
            "[Hello]", "[Salut]", "d.title = 'other'", "other");
        row("the window's title", R"(title: host.word() + n)", "[Hello]5", "[Salut]5", "n = 7", "[Salut]7");
        row("a combo box of bound texts",
            R"(ComboBox { id: c; model: ["x", qsTr("hello"), qsTr("plants").arg(n)]; currentIndex: 1 })",
            "[Hello]", "[Salut]", "c.currentIndex = 2", "[{5} fleurs]");
        row("a combo box of assigned texts", R"(ComboBox { id: c
            Component.onCompleted: { model = ["x", qsTr("hello")]; currentIndex = 1 } })",
            "[Hello]", "[Salut]", "c.currentIndex = 0", "x");
        row("a combo box of assigned objects", R"(ComboBox { id: c; textRole: "name"
            Component.onCompleted: { model = [{ name: "x" }, { name: qsTr("hello") }]; currentIndex = 1 } })",
            "[Hello]", "[Salut]", "c.currentIndex = 0", "x");
        row("a combo box that shows something else", R"(ComboBox { model: ["x", "y"]
            displayText: host.word() + n })",
            "[Hello]5", "[Salut]5", "n = 7", "[Salut]7");
        row("a spin box that writes words", R"(SpinBox { id: s; value: 2; to: 9
            textFromValue: value => qsTr("plants").arg(value) })",
            "[{2} plants]", "[{2} fleurs]", "s.value = 3", "[{3} fleurs]");
        row("a tool tip", R"(Button { id: b; text: "‹A›"; property string tip
            Component.onCompleted: Qt.callLater(() => { tip = qsTr("hello"); b.ToolTip.visible = true })
            ToolTip.text: tip + n })",
            "[A]|[Hello]5", "[A]|[Salut]5", "b.tip = qsTr('hello'); n = 7", "[A]|[Salut]7");
        row("what a field asks for", R"(TextField { placeholderText: host.word() + n })", "[Hello]5",
            "[Salut]5", "n = 7", "[Salut]7");
        row("a field", R"(TextField { text: host.word() + n })", "[Hello]5", "[Salut]5", "n = 7", "[Salut]7");
        row("a rich text", R"(Text { Component.onCompleted: text = "<i>" + qsTr("rich") + "</i>" })",
            "[Hello]", "[Salut]", "n = 7", "[Salut]");
        row("delegates of a model of C++", R"(Column { Repeater { model: names
            Text { text: display + n } } })",
            "[Hello]5|x5", "[Salut]5|x5", "n = 5", "[Salut]5|x5");
        row("delegates of translated texts", R"(Column { Repeater { model: [qsTr("hello"), "x"]
            Text { text: modelData + n } } })",
            "[Hello]5|x5", "[Salut]5|x5", "n = 7", "[Salut]7|x7");
        row("a text that its handler deletes", R"(Loader { id: l; sourceComponent: Text {
            Component.onCompleted: text = qsTr("hello")
            onTextChanged: () => { if (text.includes("Salut")) l.active = false } } } Text { text: qsTr("hello") })",
            "[Hello]|[Hello]", "[Salut]", "n = 7", "[Salut]");
    }

    void aNewTextIsShownAndItsBindingLives()
    {
        QFETCH(QString, body);
        QFETCH(QString, before);
        QFETCH(QString, after);
        QFETCH(QString, change);
        QFETCH(QString, later);
        QStringListModel names({marked(u"‹Hello›"_qs), u"x"_qs});
        m_engine.rootContext()->setContextProperty(u"names"_qs, &names);
        for (bool withCleanFields : {false, true}) {
            translate(false);
            const QuickScene scene(m_engine, u"property int n: 5\n"_qs + body);
            QVERIFY(scene.isShown());
            QObject tools;
            if (withCleanFields)
                dv_followQuickWindow(*scene.window, tools);
            QTRY_COMPARE(texts(scene.view()).join(u'|'), before);
            update(scene);
            QTRY_COMPARE(texts(scene.view()).join(u'|'), after);
            run(scene, change);
            QTRY_COMPARE(texts(scene.view()).join(u'|'), later);
        }
    }

    void aTextThatChangedMeanwhileIsLeft()
    {
        const QuickScene scene(m_engine, uR"(Text { objectName: "it"; text: "‹Hello›" })"_qs);
        QVERIFY(scene.isShown());
        const DVViewPtr view = dv_view(scene.it());
        const DVViewText found = *view->text();
        scene.it()->setProperty("text", u"other"_qs);
        view->setText(found, {marked(u"‹Salut›"_qs), {}});
        QCOMPARE(view->text()->text, u"other"_qs);
    }

    void eachEngineReTranslatesOnceInATurn()
    {
        const QString body = uR"(Column {
            Text { text: host.counted(qsTr("hello")) }
            Repeater { model: 9; Text { text: qsTr("hello") + index } }
            Repeater { model: 9; Text { Component.onCompleted: text = qsTr("hello") } } })"_qs;
        Host otherHost;
        QQmlEngine otherEngine;
        otherEngine.rootContext()->setContextProperty(u"host"_qs, &otherHost);
        const QuickScene scene(m_engine, body);
        const QuickScene other(otherEngine, body);
        QVERIFY(scene.isShown() && other.isShown());
        QCOMPARE(labels(scene.view()).size(), 19);
        for (int round = 0; round < 3; ++round) { // in turns of their own
            m_host.counts = otherHost.counts = 0;
            const bool french = round % 2 == 0;
            const QList<DVViewPtr> views = labels(scene.view()) + labels(other.view());
            translate(french);
            replaceInAll(
                views, {french ? qMakePair(u"Hello"_qs, u"Salut"_qs) : qMakePair(u"Salut"_qs, u"Hello"_qs)});
            QCOMPARE(m_host.counts, 1);
            QCOMPARE(otherHost.counts, 1);
            const QString shown = french ? u"[Salut]"_qs : u"[Hello]"_qs;
            QCOMPARE(texts(scene.view()).filter(shown).size(), 19);
            QCOMPARE(texts(other.view()).filter(shown).size(), 19);
            QCoreApplication::processEvents();
        }
    }

    // An edit right after another one, as a program makes them.
    void twoChangesInOneTurnAreShown()
    {
        const QuickScene scene(m_engine,
                               uR"(Text { text: qsTr("hello") } Text { text: qsTr("plants").arg(5) })"_qs);
        QVERIFY(scene.isShown());
        m_words.words[u"hello"_qs] = u"‹Salut›"_qs;
        replaceInAll(labels(scene.view()), {{u"Hello"_qs, u"Salut"_qs}});
        m_words.words[u"plants"_qs] = u"‹«%1» fleurs›"_qs;
        replaceInAll(labels(scene.view()), {{u"plants"_qs, u"fleurs"_qs}});
        QCOMPARE(texts(scene.view()), (QStringList{u"[Salut]"_qs, u"[{5} fleurs]"_qs}));
    }

    void whatTheUserWasAtStays()
    {
        const QuickScene scene(m_engine, uR"(
            TextField { objectName: "field"; focus: true; text: qsTr("hello") }
            ListView { objectName: "list"; y: 50; width: 200; height: 100
                model: { let all = []; for (let i = 0; i < 90; ++i) all.push(qsTr("plants").arg(i)); return all }
                delegate: Text { height: 20; text: modelData } }
            SwipeView { objectName: "pages"; y: 200; width: 100; height: 50
                Repeater { model: [qsTr("hello"), "b", "c"]; Item { Text { text: modelData } } } })"_qs);
        QVERIFY(scene.isShown());
        scene.window->requestActivate();
        QQuickItem *field = scene.item(u"field"_qs);
        field->forceActiveFocus();
        QTest::keyClick(scene.window, Qt::Key_X);
        QTRY_VERIFY(field->property("text").toString().contains(u'x'));
        const QString typed = field->property("text").toString();
        QQuickItem *list = scene.item(u"list"_qs);
        list->setProperty("currentIndex", 41);
        QTRY_VERIFY(texts(scene.view()).contains(u"[{41} plants]"_qs));
        list->setProperty("contentY", 830);
        QQuickItem *pages = scene.item(u"pages"_qs);
        pages->setProperty("currentIndex", 2);
        QTRY_VERIFY(texts(scene.view()).contains(u"c"_qs));
        update(scene);
        for (const DVViewPtr &view : {dv_view(list), dv_view(pages), dv_view(field), scene.view()})
            view->contentsDidChange();
        QTRY_VERIFY(texts(scene.view()).contains(u"[{42} fleurs]"_qs));
        QCOMPARE(list->property("contentY").toReal(), 830.0);
        QCOMPARE(list->property("currentIndex").toInt(), 41);
        QCOMPARE(pages->property("currentIndex").toInt(), 2);
        QCOMPARE(field->property("text").toString(), typed);
    }

    void itemsMayBeDeletedBeforeTheirUpdate()
    {
        auto scene = std::make_unique<QuickScene>(m_engine, uR"(
            Column { Repeater { id: r; model: 3; Text { text: qsTr("hello") } } }
            GroupBox { title: qsTr("hello"); Text { text: qsTr("hello") } })"_qs);
        QVERIFY(scene->isShown());
        const QList<DVViewPtr> views = labels(scene->view());
        QCOMPARE(views.size(), 5);
        const QList<DVViewText> found(5, *views[0]->text());
        run(*scene, u"r.model = 1"_qs);
        for (const DVViewPtr &view : views)
            view->setText(found[0], {marked(u"‹Salut›"_qs), {}});
        QTRY_COMPARE(texts(scene->view()).size(), 3);
        scene.reset();
        for (const DVViewPtr &view : views)
            view->setText(found[0], {marked(u"‹Salut›"_qs), {}});
    }
};

QTEST_MAIN(TestQuickTexts)
#include "tst_quicktexts.moc"
