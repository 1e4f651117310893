// A new publication reaches open Qt Quick windows, and nothing else disturbs them.
#include "DVTestHost.h"

#include <Dorvane/DVNotificationCenter.h>
#include <Dorvane/DVQuick.h>

#include <QGuiApplication>
#include <QQmlComponent>
#include <QQmlContext>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickView>
#include <QRegularExpression>
#include <QThread>

#include <atomic>
#include <memory>

using namespace Qt::Literals::StringLiterals;
using Answer = DVFaultServer::Answer;

namespace {

// Asks the engine for a text each time it re-translates, and counts.
class Counter : public QObject
{
    Q_OBJECT

public:
    int count = 0;
    Q_INVOKABLE QString counted(const QString &text)
    {
        ++count;
        return text;
    }
};

QByteArray hello(const QString &text)
{
    return DVTestHost::xliff(u"hello"_qs, text);
}

const char *const windowSource = R"qml(
import QtQuick
Item {
    width: 200; height: 100
    function word() { return qsTr("hello") }
    property string imperative
    Component.onCompleted: imperative = qsTr("hello")
    function assignAgain() { imperative = qsTr("hello") }
    Text { objectName: "bound"; text: counter.counted(qsTr("hello")) }
    Text { objectName: "sentence"; text: `${qsTr("hello")}, ${parent.width}` }
    Text { objectName: "function"; text: word() }
    Text { objectName: "context"; text: qsTranslate("Elsewhere", "hello") }
    Text { objectName: "id"; text: qsTrId("hello") }
    Text { objectName: "number"; property int n: 3; text: qsTr("%n plant(s)", "", n) }
    Text { objectName: "assigned"; Component.onCompleted: text = qsTr("hello") }
    Text { objectName: "rebound"; Component.onCompleted: text = Qt.binding(() => qsTr("hello")) }
    Repeater { model: [qsTr("hello")]; Text { objectName: "array"; text: modelData } }
    ListView {
        width: 10; height: 100
        model: ListModel { ListElement { word: QT_TR_NOOP("hello") } }
        delegate: Text { objectName: "element"; text: qsTr(word) }
    }
    ListView {
        width: 10; height: 100
        model: ListModel { ListElement { word: qsTr("hello") } }
        delegate: Text { objectName: "translatedElement"; text: word }
    }
    Repeater { model: 2; Text { objectName: "repeated" + index; text: qsTr("hello") } }
    ListView { width: 10; height: 100; model: 1; delegate: Text { objectName: "delegate"; text: qsTr("hello") } }
}
)qml";

// A window as any QML host makes it.
class Window
{
public:
    explicit Window(const char *source = windowSource)
        : view(std::make_unique<QQuickView>())
    {
        view->engine()->rootContext()->setContextProperty(u"counter"_qs, &counter);
        load(source);
        view->show();
    }
    QQmlEngine *engine() const { return view->engine(); }
    QString text(const char *name) const
    {
        QObject *item = find(view->rootObject(), QString::fromLatin1(name));
        return item ? item->property("text").toString() : u"no such item"_qs;
    }
    QVariant property(const char *name) const { return view->rootObject()->property(name); }

    Counter counter;
    std::unique_ptr<QQuickView> view;

private:
    void load(const char *source)
    {
        auto *component = new QQmlComponent(view->engine(), view.get());
        component->setData(source, QUrl(u"qrc:/Window.qml"_qs));
        QObject *root = component->create();
        QVERIFY2(root, qPrintable(component->errorString()));
        view->setContent(QUrl(), component, root);
    }
    static QQuickItem *find(QQuickItem *item, const QString &name)
    {
        if (item->objectName() == name)
            return item;
        const auto children = item->childItems();
        for (QQuickItem *child : children) {
            if (QQuickItem *found = find(child, name))
                return found;
        }
        return nullptr;
    }
};

// Lets everything that is queued happen, and what it queues.
void settle()
{
    for (int i = 0; i < 5; ++i)
        QCoreApplication::processEvents();
}

// A running host with "hello" in French on its device, and what is published afterwards.
class Session
{
public:
    explicit Session(const QByteArray &first = hello(u"bonjour"_qs))
    {
        server.enqueue(DVTestHost::publication(first, 60));
        QVariantMap options = host.servingOptions(server);
        options.insert(u"allowLocaleChange"_qs, true);
        Dorvane::startWithProjectId(u"p"_qs, options);
        settle();
    }
    void publish(const QByteArray &xliff) { answer(DVTestHost::publication(xliff, 60)); }
    void answer(const Answer &answer)
    {
        DVClock::advance(3600 * 1000);
        server.enqueue(answer);
        DVNotificationCenter::defaultCenter().postNotification(DVApplicationWillEnterForegroundNotification,
                                                               qApp);
    }

    DVTestHost host;
    DVFaultServer server;
};

// Placeholders stand in elements of their own, as everywhere in delivered files.
QString withPlaceholders(QString text)
{
    static const QRegularExpression placeholder(u"%(n|[0-9])"_qs);
    return text.replace(placeholder, u"<ph id=\"\\1\">%\\1</ph>"_qs);
}

QByteArray xliffWithPlurals(const QString &one, const QString &other)
{
    return DVTestHost::xliff(
               {{u"p[one]"_qs, u"%n plant(s)"_qs, withPlaceholders(u"%n plant(s)"_qs), withPlaceholders(one)},
                {u"p[other]"_qs, u"%n plant(s)"_qs, withPlaceholders(u"%n plant(s)"_qs),
                 withPlaceholders(other)}})
        .replace("<body>", "<body><group id=\"p\" restype=\"x-cldr-plurals\">")
        .replace("</body>", "</group></body>");
}

} // namespace

class tst_Quick : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aPublicationReachesAnOpenWindowOnce();
    void anUnchangedPublicationDisturbsNobody_data();
    void anUnchangedPublicationDisturbsNobody();
    void pluralsFollow();
    void engines();
    void destroyedBetweenPublicationAndDelivery();
    void destroyedWhileReTranslating();
    void anEngineOnAnotherThread();
    void anEngineThatIsNotAttachedKeepsItsTexts();
    void theModuleAttachesItsEngine();
    void bindingsOnTheModule();
    void changingTheLocale();
    void theSameTextsInAnotherLocale();
    void theLocalesThatAreThere();
    void mirroring();
};

void tst_Quick::aPublicationReachesAnOpenWindowOnce()
{
    Session session;
    Window window;
    DorvaneQuick::attach(window.engine());
    DorvaneQuick::attach(window.engine()); // once is enough, twice is harmless
    settle();
    const int before = window.counter.count;
    const QStringList live{u"rebound"_qs,   u"array"_qs,     u"element"_qs, u"translatedElement"_qs,
                           u"bound"_qs,     u"function"_qs,  u"context"_qs, u"id"_qs,
                           u"repeated0"_qs, u"repeated1"_qs, u"delegate"_qs};
    for (const QString &name : live)
        QCOMPARE(window.text(qPrintable(name)), u"bonjour"_qs);

    session.publish(hello(u"rebonjour"_qs));
    QTRY_COMPARE(window.text("bound"), u"rebonjour"_qs);
    settle();
    QCOMPARE(window.counter.count, before + 1);
    for (const QString &name : live)
        QCOMPARE(window.text(qPrintable(name)), u"rebonjour"_qs);
    QVERIFY(window.text("sentence").startsWith(u"rebonjour, "));

    // What JavaScript has assigned is no binding: it stays until JavaScript assigns again.
    QCOMPARE(window.text("assigned"), u"bonjour"_qs);
    QCOMPARE(window.property("imperative").toString(), u"bonjour"_qs);
    QMetaObject::invokeMethod(window.view->rootObject(), "assignAgain");
    QCOMPARE(window.property("imperative").toString(), u"rebonjour"_qs);
}

void tst_Quick::anUnchangedPublicationDisturbsNobody_data()
{
    QTest::addColumn<int>("status");
    QTest::newRow("not modified") << 304;
    QTest::newRow("the same content again") << 200;
    QTest::newRow("a server failure") << 503;
    QTest::newRow("no longer served") << 404;
}

void tst_Quick::anUnchangedPublicationDisturbsNobody()
{
    QFETCH(int, status);
    Session session;
    Window window;
    DorvaneQuick::attach(window.engine());
    settle();
    const int before = window.counter.count;
    session.host.takeLog();
    session.answer(status == 200 ? DVTestHost::publication(hello(u"bonjour"_qs))
                                 : Answer::of(status, {}, DVTestHost::dates(3600)));
    QVERIFY(session.server.waitForRequests(2));
    QTRY_VERIFY(session.host.logged(u"Response ["_qs));
    // A change that comes after it is seen once: the answer before it had caused nothing.
    session.publish(hello(u"rebonjour"_qs));
    QTRY_COMPARE(window.text("bound"), u"rebonjour"_qs);
    settle();
    QCOMPARE(window.counter.count, before + 1);
}

void tst_Quick::pluralsFollow()
{
    Session session(xliffWithPlurals(u"%n plante"_qs, u"%n plantes"_qs));
    Window window;
    DorvaneQuick::attach(window.engine());
    QCOMPARE(window.text("number"), u"3 plantes"_qs);
    session.publish(xliffWithPlurals(u"%n fleur"_qs, u"%n fleurs"_qs));
    QTRY_COMPARE(window.text("number"), u"3 fleurs"_qs);
}

void tst_Quick::engines()
{
    Session session;
    Window first;
    DorvaneQuick::attach(first.engine());
    {
        Window closed;
        DorvaneQuick::attach(closed.engine());
    }
    Window second;
    DorvaneQuick::attach(second.engine());
    DorvaneQuick::attach(nullptr);
    session.publish(hello(u"rebonjour"_qs));
    QTRY_COMPARE(first.text("bound"), u"rebonjour"_qs);
    QTRY_COMPARE(second.text("bound"), u"rebonjour"_qs);
}

// Destroys a window the moment the new texts are there and before the event that announces them.
void tst_Quick::destroyedBetweenPublicationAndDelivery()
{
    Session session;
    auto window = std::make_unique<Window>();
    Window other;
    DorvaneQuick::attach(window->engine());
    DorvaneQuick::attach(other.engine());
    bool destroyed = false;
    QObject guard;
    connect(Dorvane::notifier(), &DorvaneNotifier::stringsUpdated, &guard, [&] {
        destroyed = true;
        QCOMPARE(other.text("bound"), u"bonjour"_qs);
        window.reset();
    });
    session.publish(hello(u"rebonjour"_qs));
    QTRY_COMPARE(other.text("bound"), u"rebonjour"_qs);
    QVERIFY(destroyed);
}

void tst_Quick::destroyedWhileReTranslating()
{
    Session session;
    Window first;
    auto second = std::make_unique<Window>();
    DorvaneQuick::attach(first.engine());
    QObject guard;
    connect(Dorvane::notifier(), &DorvaneNotifier::textsChanged, &guard, [&] { second.reset(); });
    DorvaneQuick::attach(second->engine());
    session.publish(hello(u"rebonjour"_qs));
    QTRY_COMPARE(first.text("bound"), u"rebonjour"_qs);
    QVERIFY(!second);
}

void tst_Quick::anEngineOnAnotherThread()
{
    Session session;
    std::atomic<int> seen = 0; // 1: the first text, 2: the new one, -1: on the wrong thread
    std::unique_ptr<QThread> thread(QThread::create([&] {
        QQmlEngine engine;
        DorvaneQuick::attach(&engine);
        QQmlComponent component(&engine);
        component.setData("import QtQml\nQtObject { objectName: qsTr('hello') }", QUrl());
        const std::unique_ptr<QObject> object(component.create());
        seen = object && object->objectName() == u"bonjour" ? 1 : -1;
        QEventLoop loop;
        QObject::connect(object.get(), &QObject::objectNameChanged, object.get(), [&] {
            seen =
                QThread::currentThread() == engine.thread() && object->objectName() == u"rebonjour" ? 2 : -1;
            loop.quit();
        });
        loop.exec();
    }));
    thread->start();
    QTRY_COMPARE(seen.load(), 1);
    session.publish(hello(u"rebonjour"_qs));
    QTRY_COMPARE(seen.load(), 2);
    QVERIFY(thread->wait());
}

void tst_Quick::anEngineThatIsNotAttachedKeepsItsTexts()
{
    Session session;
    Window attached;
    Window loose;
    DorvaneQuick::attach(attached.engine());
    session.publish(hello(u"rebonjour"_qs));
    QTRY_COMPARE(attached.text("bound"), u"rebonjour"_qs);
    settle();
    QCOMPARE(loose.text("bound"), u"bonjour"_qs);
}

void tst_Quick::theModuleAttachesItsEngine()
{
    Session session;
    // The import alone does it: nothing here uses the singleton.
    Window window("import QtQuick\nimport Dorvane\nText { objectName: 'bound'; text: qsTr('hello') }");
    Window other("import QtQuick\nimport Dorvane\nText { objectName: 'bound'; text: qsTr('hello') }");
    session.publish(hello(u"rebonjour"_qs));
    QTRY_COMPARE(window.text("bound"), u"rebonjour"_qs);
    QTRY_COMPARE(other.text("bound"), u"rebonjour"_qs);
}

void tst_Quick::bindingsOnTheModule()
{
    const auto texts = [](const QString &greeting, const QString &sentence) {
        return DVTestHost::xliff({{u"1"_qs, u"greeting"_qs, u"greeting"_qs, withPlaceholders(greeting)},
                                  {u"2"_qs, u"sentence"_qs, u"sentence"_qs, withPlaceholders(sentence)}});
    };
    Session session(texts(u"bonjour %1"_qs, u"%2 puis %1"_qs));
    Window window(R"qml(
import QtQuick
import Dorvane
Item {
    property string name: "Ada"
    property int revision: Dorvane.revision
    property string assigned: ""
    Connections {
        target: Dorvane
        function onRevisionChanged() { assigned = qsTr("greeting") }
    }
    function own(key) { return counter.counted(Dorvane.translate(key, "toi")) }
    Text { objectName: "translated"; text: Dorvane.translate("greeting", name) }
    Text { objectName: "two"; text: Dorvane.translate("sentence", name, 2) }
    Text { objectName: "unknown"; text: Dorvane.translate("no such key") }
    Text { objectName: "own"; text: own("greeting") }
    Text { objectName: "cpp"; text: (Dorvane.revision, counter.counted("x") + Dorvane.revision) }
}
)qml");
    QCOMPARE(window.text("translated"), u"bonjour Ada"_qs);
    QCOMPARE(window.text("two"), u"2 puis Ada"_qs);
    QCOMPARE(window.text("unknown"), u"no such key"_qs);
    QCOMPARE(window.text("own"), u"bonjour toi"_qs);
    const int revision = window.property("revision").toInt();
    const int calls = window.counter.count;
    window.view->rootObject()->setProperty("name", u"Zoé"_qs);
    QCOMPARE(window.text("translated"), u"bonjour Zoé"_qs);

    session.publish(texts(u"rebonjour %1"_qs, u"%1 et %2"_qs));
    QTRY_COMPARE(window.text("translated"), u"rebonjour Zoé"_qs);
    settle();
    QCOMPARE(window.text("two"), u"Zoé et 2"_qs);
    QCOMPARE(window.text("own"), u"rebonjour toi"_qs);
    QCOMPARE(window.property("assigned").toString(),
             u"rebonjour %1"_qs); // what a handler assigns is new, too
    QCOMPARE(window.property("revision").toInt(), revision + 1);
    QCOMPARE(window.text("cpp"), QString(u"x"_qs + QString::number(revision + 1)));
    QCOMPARE(window.counter.count, calls + 2); // one for each of the two bindings
}

void tst_Quick::changingTheLocale()
{
    Session session;
    session.server.setHandler([](const DVFaultServer::Request &request) {
        return request.target.contains("/pl/")
                   ? DVTestHost::publication(xliffWithPlurals(u"%n roślina"_qs, u"%n roślin"_qs)
                                                 .replace("</group>",
                                                          "</group><trans-unit id=\"1\" resname=\"hello\">"
                                                          "<source>hello</source><target>cześć</target>"
                                                          "</trans-unit>"))
                   : Answer::of(404);
    });
    Window window(R"qml(
import QtQuick
import Dorvane
Item {
    property string locale: Dorvane.locale
    property var done
    property int calls: 0
    function change(id) { Dorvane.setLocale(id, success => { done = success; calls += 1 }) }
    function changeAndThrow(id) { Dorvane.setLocale(id, success => { throw new Error("the host's own") }) }
    function changeQuietly(id) { Dorvane.setLocale(id) }
    Text { objectName: "hello"; text: qsTr("hello") }
    Text { objectName: "plural"; text: Dorvane.plural("%n plant(s)", 5) }
}
)qml");
    QCOMPARE(window.property("locale").toString(), u"fr_CA"_qs);
    QObject *root = window.view->rootObject();
    QMetaObject::invokeMethod(root, "change", Q_ARG(QVariant, u"pl"_qs));
    QTRY_COMPARE(window.property("calls").toInt(), 1);
    QCOMPARE(window.property("done").toBool(), true);
    QTRY_COMPARE(window.text("hello"), u"cześć"_qs);
    QTRY_COMPARE(window.property("locale").toString(), u"pl"_qs);
    QCOMPARE(window.text("plural"), u"5 roślin"_qs);

    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"the host's own"_qs));
    QMetaObject::invokeMethod(root, "changeAndThrow", Q_ARG(QVariant, u"fr_CA"_qs));
    QTRY_COMPARE(window.text("hello"), u"bonjour"_qs);
    QMetaObject::invokeMethod(root, "changeQuietly", Q_ARG(QVariant, u"pl"_qs));
    QTRY_COMPARE(window.text("hello"), u"cześć"_qs);
    // An engine that ends while the answer is on its way is not called back.
    QMetaObject::invokeMethod(root, "change", Q_ARG(QVariant, u"de"_qs));
    window.view.reset();
    QTRY_VERIFY(session.server.requests().last().target.contains("/de/"));
    settle();
}

void tst_Quick::theSameTextsInAnotherLocale()
{
    Session session;
    session.server.setHandler([](const auto &) { return DVTestHost::publication(hello(u"bonjour"_qs)); });
    Window window(R"qml(
import QtQuick
import Dorvane
Text { text: qsTr("hello"); property string locale: Dorvane.locale; property int revision: Dorvane.revision }
)qml");
    const int revision = window.property("revision").toInt();
    Dorvane::setLocaleWithId(u"fr_BE"_qs);
    QTRY_COMPARE(window.property("locale").toString(), u"fr_BE"_qs);
    QTRY_COMPARE(window.property("text").toString(), u"bonjour"_qs);
    settle();
    QVERIFY(window.property("revision").toInt() > revision);
}

void tst_Quick::theLocalesThatAreThere()
{
    Session session;
    session.host.package(u"de.xlf"_qs, hello(u"hallo"_qs));
    session.host.package(u"fr-CA.xlf"_qs, hello(u"salut"_qs));
    session.host.package(u"notes.xlf"_qs, hello(u"no language"_qs));
    DVTestHost::write(session.host.filePath(u"1.0_pt_BR_published.xlf"_qs), hello(u"oi"_qs));
    DVTestHost::write(session.host.filePath(u"0.9_es_published.xlf"_qs), hello(u"hola"_qs));
    DVTestHost::write(session.host.filePath(u"1.0_it_pending.xlf"_qs), hello(u"ciao"_qs));
    Window window("import QtQuick\nimport Dorvane\nItem { property var all: Dorvane.locales }");
    QCOMPARE(window.property("all").toStringList(),
             (QStringList{u"de"_qs, u"en"_qs, u"fr_CA"_qs, u"pt_BR"_qs}));
    session.host.write(session.host.filePath(u"1.0_sv_published.xlf"_qs), hello(u"hej"_qs));
    session.publish(hello(u"rebonjour"_qs));
    QTRY_VERIFY(window.property("all").toStringList().contains(u"sv"_qs));
}

void tst_Quick::mirroring()
{
    Session session;
    session.server.setHandler([](const DVFaultServer::Request &request) {
        return DVTestHost::publication(hello(request.target.contains("/ar/") ? u"مرحبا"_qs : u"bonjour"_qs));
    });
    Window window(R"qml(
import QtQuick
import Dorvane
Item {
    width: 100; height: 20
    LayoutMirroring.enabled: Qt.application.layoutDirection === Qt.RightToLeft
    LayoutMirroring.childrenInherit: true
    property real textX: label.x
    Text { id: label; anchors.left: parent.left; width: 30; text: qsTr("hello") }
}
)qml");
    QCOMPARE(window.property("textX").toReal(), 0.0);
    Dorvane::setLocaleWithId(u"ar"_qs);
    QTRY_COMPARE(window.property("textX").toReal(), 70.0);
    Dorvane::setLocaleWithId(u"fr_CA"_qs);
    QTRY_COMPARE(window.property("textX").toReal(), 0.0);
}

int main(int argc, char **argv)
{
    qputenv("QT_QUICK_BACKEND", "software");
    QGuiApplication application(argc, argv);
    tst_Quick test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_quick.moc"
