// The text fields and titles of Qt Quick hold no marker, and their bindings live on.
#include "DVCleanTexts.h"
#include "DVMarkedTexts.h"
#include "QuickScene.h"

#include <QAccessible>
#include <QApplication>
#include <QQuickWidget>

using namespace Qt::Literals::StringLiterals;

class tst_CleanQuick : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void fieldsAndTitles();
    void fieldsThatComeLater();
    void fieldsInAWidget();
    void whatTheUserTypesStays();
    void accessibleNames();
    void accessibleNamesOfPictures();
    void fieldsThatDeleteEachOther();

public Q_SLOTS:
    void deleteOther() { delete m_other.data(); }

private:
    template<typename Type> Type *item(const char *name) const
    {
        return m_window->findChild<Type *>(QString::fromLatin1(name));
    }
    QString text(const char *name) const { return item<QObject>(name)->property("text").toString(); }
    void load(const QByteArray &content);

    Words m_words;
    QQmlEngine m_engine;
    std::unique_ptr<DVCleanTexts> m_clean;
    std::unique_ptr<QQuickWindow> m_window;
    QPointer<QQuickItem> m_other;
};

void tst_CleanQuick::init()
{
    m_words.words = {{u"Name"_qs, u"‹Nom›"_qs}, {u"Other"_qs, u"‹Autre›"_qs}};
    QCoreApplication::installTranslator(&m_words);
    m_clean = std::make_unique<DVCleanTexts>();
}

void tst_CleanQuick::cleanup()
{
    m_window.reset();
    m_clean.reset();
    QCoreApplication::removeTranslator(&m_words);
}

void tst_CleanQuick::load(const QByteArray &content)
{
    QQmlComponent component(&m_engine);
    component.setData(
        "import QtQuick\nimport QtQuick.Controls.Basic\nWindow { visible: true; width: 300; height: 200;"
        " title: qsTr(\"Name\")\n" +
            content + "}",
        {});
    m_window.reset(qobject_cast<QQuickWindow *>(component.create()));
    QVERIFY2(m_window, qPrintable(component.errorString()));
    QVERIFY(QTest::qWaitForWindowExposed(m_window.get()));
}

void tst_CleanQuick::fieldsAndTitles()
{
    load("Column {"
         " TextField { objectName: \"field\"; text: qsTr(\"Name\") }"
         " TextArea { objectName: \"area\"; text: qsTr(\"Name\") + \"!\" }"
         " TextInput { objectName: \"input\"; text: qsTr(\"Other\") }"
         " Text { objectName: \"label\"; text: qsTr(\"Name\") }"
         " Text { objectName: \"copy\"; text: input.text; TextInput { id: input; text: qsTr(\"Name\") } } }");
    QCOMPARE(m_window->title(), u"Nom"_qs);
    QCOMPARE(text("field"), u"Nom"_qs);
    QCOMPARE(text("area"), u"Nom!"_qs);
    QCOMPARE(text("input"), u"Autre"_qs);
    QCOMPARE(text("label"), marked(u"‹Nom›"_qs));
    QCOMPARE(text("copy"), u"Nom"_qs);
    QCOMPARE(DVMarkedTexts::markedText(item<QObject>("field"), {"text"}, u"Nom"_qs), marked(u"‹Nom›"_qs));
    QVERIFY(texts(dv_view(m_window.get())).contains(u"[Autre]"_qs));

    m_words.words = {{u"Name"_qs, u"‹Nom de famille›"_qs}, {u"Other"_qs, u"‹Autre›"_qs}};
    m_engine.retranslate();
    QCOMPARE(text("field"), u"Nom de famille"_qs);
    QCOMPARE(text("area"), u"Nom de famille!"_qs);
    QCOMPARE(m_window->title(), u"Nom de famille"_qs);
    QCOMPARE(DVMarkedTexts::markedText(item<QObject>("field"), {"text"}, text("field")),
             marked(u"‹Nom de famille›"_qs));
}

void tst_CleanQuick::fieldsThatComeLater()
{
    load(
        "Loader { objectName: \"loader\"; sourceComponent: Item {"
        " TextField { objectName: \"first\"; text: qsTr(\"Name\") } } }"
        " Component { id: late; Item { Item { TextField { objectName: \"later\"; text: qsTr(\"Name\") } } } }"
        " function load() { let loader = contentItem.children[0]; loader.sourceComponent = late }");
    QCOMPARE(text("first"), u"Nom"_qs);
    QVERIFY(QMetaObject::invokeMethod(m_window.get(), "load"));
    QCOMPARE(text("later"), u"Nom"_qs);
}

void tst_CleanQuick::fieldsInAWidget()
{
    QQmlComponent component(&m_engine);
    component.setData("import QtQuick\nTextInput { text: qsTr(\"Name\") }", {});
    QQuickWidget widget(&m_engine, nullptr);
    widget.setContent({}, &component, component.create());
    QVERIFY2(widget.rootObject(), qPrintable(component.errorString()));
    widget.show();
    QCOMPARE(widget.rootObject()->property("text").toString(), u"Nom"_qs);
    m_words.words = {{u"Name"_qs, u"‹Nom de famille›"_qs}};
    m_engine.retranslate();
    QCOMPARE(widget.rootObject()->property("text").toString(), u"Nom de famille"_qs);
}

void tst_CleanQuick::whatTheUserTypesStays()
{
    load("TextField { objectName: \"field\"; focus: true; text: qsTr(\"Name\") }");
    m_window->requestActivate();
    auto *field = item<QQuickItem>("field");
    field->forceActiveFocus();
    field->setProperty("cursorPosition", 1);
    QTest::keyClick(m_window.get(), Qt::Key_X);
    QCOMPARE(text("field"), u"Nxom"_qs);
    QCOMPARE(field->property("cursorPosition").toInt(), 2);
    QTest::keyClick(m_window.get(), Qt::Key_Z, Qt::ControlModifier);
    QVERIFY(!text("field").contains(QChar(0x2062)));
}

void tst_CleanQuick::accessibleNames()
{
    load("Column {"
         " Text { objectName: \"text\"; text: qsTr(\"Name\") }"
         " Label { objectName: \"label\"; text: qsTr(\"Name\") }"
         " Button { objectName: \"button\"; text: \"&\" + qsTr(\"Name\") }"
         " Text { objectName: \"named\"; text: qsTr(\"Name\"); Accessible.name: \"own\" } }");
    const auto said = [this](const char *name) {
        const QAccessibleInterface *interface = QAccessible::queryAccessibleInterface(item<QObject>(name));
        return interface ? interface->text(QAccessible::Name) : u"no interface"_qs;
    };
    QCOMPARE(said("text"), u"Nom"_qs);
    QCOMPARE(said("label"), u"Nom"_qs);
    QCOMPARE(said("button"), u"Nom"_qs);
    QCOMPARE(said("named"), u"own"_qs);
    QCOMPARE(text("text"), marked(u"‹Nom›"_qs));
    m_words.words = {{u"Name"_qs, u"‹Famille›"_qs}};
    m_engine.retranslate();
    QCOMPARE(said("text"), u"Famille"_qs);
    QCOMPARE(said("button"), u"Famille"_qs);
    QCOMPARE(said("named"), u"own"_qs);
}

void tst_CleanQuick::accessibleNamesOfPictures()
{
    load("property string more: \"\"\n Column {"
         " Rectangle { objectName: \"picture\"; Accessible.name: qsTr(\"Name\") + more;"
         "  Accessible.description: qsTr(\"Other\") }"
         " Button { objectName: \"button\"; Accessible.name: qsTr(\"Name\") + more }"
         " TextField { objectName: \"field\"; Accessible.name: qsTr(\"Name\") + more } }");
    const auto said = [this](const char *name, QAccessible::Text what) {
        const QAccessibleInterface *interface = QAccessible::queryAccessibleInterface(item<QObject>(name));
        return interface ? interface->text(what) : u"no interface"_qs;
    };
    for (const QString &more : {QString(), u"!"_qs}) {
        m_window->setProperty("more", more); // the bindings run again, nothing else changes
        for (const char *name : {"picture", "button", "field"})
            QCOMPARE(said(name, QAccessible::Name), QString(u"Nom" + more));
    }
    QCOMPARE(said("picture", QAccessible::Description), u"Autre"_qs);
    m_words.words = {{u"Name"_qs, u"‹Famille›"_qs}, {u"Other"_qs, u"‹Autre nom›"_qs}};
    m_engine.retranslate();
    QCOMPARE(said("picture", QAccessible::Name), u"Famille!"_qs);
    QCOMPARE(said("picture", QAccessible::Description), u"Autre nom"_qs);
}

void tst_CleanQuick::fieldsThatDeleteEachOther()
{
    load("Item {}");
    QQmlComponent component(&m_engine);
    component.setData(
        "import QtQuick\nItem { TextInput { text: qsTr(\"Name\") } TextInput { text: qsTr(\"Name\") } }", {});
    const std::unique_ptr<QQuickItem> row(qobject_cast<QQuickItem *>(component.create()));
    QVERIFY2(row, qPrintable(component.errorString()));
    QQuickItem *first = row->childItems().constFirst();
    m_other = row->childItems().constLast();
    connect(first, SIGNAL(textChanged()), this, SLOT(deleteOther()));
    row->setParentItem(m_window->contentItem());
    QVERIFY(!m_other);
    QCOMPARE(first->property("text").toString(), u"Nom"_qs);
    row->setParentItem(nullptr);
}

QTEST_MAIN(tst_CleanQuick)
#include "tst_cleanquick.moc"
