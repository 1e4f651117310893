// Engines and the end of an application.
#include "DVTestHost.h"

#include <Dorvane/DVNotificationCenter.h>
#include <Dorvane/DVQuick.h>

#include <QQmlComponent>
#include <QQmlEngine>

#include <memory>

using namespace Qt::Literals::StringLiterals;

namespace {

QByteArray hello(const QString &text)
{
    return DVTestHost::xliff(u"hello"_qs, text);
}

// An engine with one object in it.
struct Scene
{
    Scene()
        : component(&engine)
    {
        component.setData(
            "import QtQml\nimport Dorvane\n"
            "QtObject { property string text: qsTr('hello'); property int revision: Dorvane.revision\n"
            " property string looked: Dorvane.translate('hello') }",
            QUrl());
        object.reset(component.create());
        Q_ASSERT_X(object, "Scene", qPrintable(component.errorString()));
    }
    QQmlEngine engine;
    QQmlComponent component;
    std::unique_ptr<QObject> object;
};

} // namespace

class tst_QuickEnds : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void oneApplicationAfterTheOther();
    void quittingInMidUpdate_data();
    void quittingInMidUpdate();
    void enginesWithoutAnApplication();

private:
    int m_argc = 1;
    char m_name[15] = "tst_quick_ends";
    char *m_argv[2] = {m_name, nullptr};
};

void tst_QuickEnds::oneApplicationAfterTheOther()
{
    DVFaultServer server;
    server.setHandler([](const auto &) { return DVTestHost::publication(hello(u"bonjour"_qs)); });
    for (int i = 0; i < 3; ++i) {
        QCoreApplication application(m_argc, m_argv);
        DVTestHost host;
        Scene scene;
        QCOMPARE(scene.object->property("text").toString(), u"hello"_qs);
        Dorvane::startWithProjectId(u"p"_qs, host.servingOptions(server));
        QTRY_COMPARE(scene.object->property("text").toString(), u"bonjour"_qs);
        QCOMPARE(scene.object->property("looked").toString(), u"bonjour"_qs);
    }
}

void tst_QuickEnds::quittingInMidUpdate_data()
{
    QTest::addColumn<bool>("delivered");
    QTest::addColumn<bool>("engineOutlives");
    QTest::newRow("the download is under way") << false << false;
    QTest::newRow("the new texts are there and not announced") << true << false;
    QTest::newRow("the same, and the engine outlives the application") << true << true;
}

void tst_QuickEnds::quittingInMidUpdate()
{
    QFETCH(bool, delivered);
    QFETCH(bool, engineOutlives);
    DVFaultServer server;
    server.enqueue(DVTestHost::publication(hello(u"bonjour"_qs), 60));
    std::unique_ptr<Scene> scene;
    {
        QCoreApplication application(m_argc, m_argv);
        DVTestHost host;
        Dorvane::startWithProjectId(u"p"_qs, host.servingOptions(server));
        scene = std::make_unique<Scene>();
        QTRY_COMPARE(scene->object->property("text").toString(), u"bonjour"_qs);
        bool there = false;
        connect(Dorvane::notifier(), &DorvaneNotifier::stringsUpdated, &application, [&] {
            there = true;
            QCoreApplication::quit();
        });
        DVClock::advance(3600 * 1000);
        server.enqueue(delivered ? DVTestHost::publication(hello(u"rebonjour"_qs))
                                 : DVFaultServer::Answer::failing(DVFaultServer::Fault::Silence));
        DVNotificationCenter::defaultCenter().postNotification(DVApplicationWillEnterForegroundNotification,
                                                               qApp);
        if (delivered)
            QTRY_VERIFY(there);
        else
            QTRY_COMPARE(server.requests().size(), 2);
        if (!engineOutlives)
            scene.reset();
    }
    // Whoever asks now gets plain answers.
    if (scene) {
        DorvaneQuick::attach(&scene->engine);
        QCOMPARE(scene->engine.evaluate(u"qsTr('hello')"_qs).toString(), u"hello"_qs);
    }
}

void tst_QuickEnds::enginesWithoutAnApplication()
{
    {
        QCoreApplication application(m_argc, m_argv);
        QQmlEngine engine;
        DorvaneQuick::attach(&engine);
    }
    DorvaneQuick::attach(nullptr);
    Q_EMIT Dorvane::notifier()->textsChanged();
}

QTEST_APPLESS_MAIN(tst_QuickEnds)
#include "tst_quick_ends.moc"
