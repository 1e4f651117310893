#include "DVLog.h"
#include "DVState.h"

#include <Dorvane/DVNotificationCenter.h>

#include <QSettings>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>

namespace {

struct Line
{
    QtMsgType type;
    QString category;
    QString text;
};
QList<Line> lines;
std::function<void()> whileWriting;

void keepLine(QtMsgType type, const QMessageLogContext &context, const QString &text)
{
    lines.append({type, QString::fromLatin1(context.category), text});
    if (whileWriting)
        whileWriting();
}

} // namespace

class tst_Log : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void levels_data();
    void levels();
    void appetizeHostGetsNotifications();
    void lazyTextIsOnlyMadeForSomebody();
    void deferredLinesComeFromTheMainThread();
    void listenersThatLogAreNotCalledAgain_data();
    void listenersThatLogAreNotCalledAgain();

private:
    void setAppetizeHost(bool present);

    QTemporaryDir m_folder;
    QtMessageHandler m_handler = nullptr;
};

void tst_Log::initTestCase()
{
    QVERIFY(m_folder.isValid());
    QCoreApplication::setOrganizationName(QStringLiteral("Host"));
    QCoreApplication::setApplicationName(QStringLiteral("Application"));
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, m_folder.path());
}

void tst_Log::init()
{
    lines.clear();
    m_handler = qInstallMessageHandler(keepLine);
    DVState::shared().log = false;
    DVState::shared().debug = false;
}

void tst_Log::cleanup()
{
    whileWriting = {};
    setAppetizeHost(false);
    qInstallMessageHandler(m_handler);
}

void tst_Log::setAppetizeHost(bool present)
{
    QSettings settings;
    if (present)
        settings.setValue(QStringLiteral("appetize-host"), 0);
    else
        settings.remove(QStringLiteral("appetize-host"));
    settings.sync();
    dv_refreshLogSink();
}

void tst_Log::levels_data()
{
    QTest::addColumn<bool>("log");
    QTest::addColumn<bool>("debug");
    QTest::addColumn<QStringList>("written");

    const QString info = QStringLiteral("[DV] \"%1\" for people");
    const QString debug = QStringLiteral("[DV] for developers");
    QTest::newRow("nothing is on") << false << false << QStringList();
    QTest::newRow("info is on") << true << false << QStringList{info};
    QTest::newRow("debug alone is on") << false << true << QStringList{debug};
    QTest::newRow("both are on") << true << true << QStringList{info, debug};
}

void tst_Log::levels()
{
    QFETCH(bool, log);
    QFETCH(bool, debug);
    DVState::shared().log = log;
    DVState::shared().debug = debug;

    dv_logInfo(QStringLiteral("\"%1\" for people"));
    dv_logDebug(QStringLiteral("for developers"));

    QStringList written;
    for (const Line &line : lines) {
        // Debug output of a category is switched off on many systems, so neither level uses it.
        QCOMPARE(line.type, QtInfoMsg);
        QCOMPARE(line.category, QStringLiteral("dorvane"));
        written.append(line.text);
    }
    QTEST(written, "written");
    QCOMPARE(dv_wantsDebugLog(), debug);
}

void tst_Log::appetizeHostGetsNotifications()
{
    QList<DVNotification> notifications;
    QObject context; // ends before the list does
    DVNotificationCenter::defaultCenter().addObserver(
        &context, QStringLiteral("log"), nullptr,
        [&](const DVNotification &notification) { notifications.append(notification); });
    setAppetizeHost(true);

    QVERIFY(dv_wantsDebugLog());
    dv_logInfo(QStringLiteral("one"));
    dv_logDebug(QStringLiteral("two"));
    QCOMPARE(notifications.size(), 2);
    QCOMPARE(notifications[0].userInfo, (QVariantMap{{QStringLiteral("msg"), QStringLiteral("one")}}));
    QCOMPARE(notifications[1].userInfo, (QVariantMap{{QStringLiteral("msg"), QStringLiteral("two")}}));
    QCOMPARE(notifications[0].sender, nullptr);
    QVERIFY(lines.isEmpty());
}

void tst_Log::lazyTextIsOnlyMadeForSomebody()
{
    int made = 0;
    const auto make = [&] {
        ++made;
        return QStringLiteral("costly");
    };
    dv_logDebugLazily(make);
    QCOMPARE(made, 0);
    DVState::shared().debug = true;
    dv_logDebugLazily(make);
    QCOMPARE(made, 1);
    QCOMPARE(lines.size(), 1);
}

void tst_Log::deferredLinesComeFromTheMainThread()
{
    DVState::shared().debug = true;
    QThread *writer = nullptr;
    whileWriting = [&] { writer = QThread::currentThread(); };
    const std::unique_ptr<QThread> thread(
        QThread::create([] { dv_logDebugDeferred(QStringLiteral("later")); }));
    thread->start();
    QVERIFY(thread->wait());
    QVERIFY(lines.isEmpty());
    QTRY_COMPARE(lines.size(), 1);
    QCOMPARE(lines.first().text, QStringLiteral("[DV] later"));
    QCOMPARE(writer, QThread::currentThread());
}

void tst_Log::listenersThatLogAreNotCalledAgain_data()
{
    QTest::addColumn<bool>("appetize");
    QTest::newRow("a message handler") << false;
    QTest::newRow("an observer of the notification") << true;
}

void tst_Log::listenersThatLogAreNotCalledAgain()
{
    QFETCH(bool, appetize);
    setAppetizeHost(appetize);
    DVState::shared().log = true;
    int calls = 0;
    const auto listen = [&] {
        if (++calls < 10)
            dv_logInfo(QStringLiteral("from the listener"));
    };
    whileWriting = listen;
    QObject context; // ends before what `listen` refers to
    DVNotificationCenter::defaultCenter().addObserver(&context, QStringLiteral("log"), nullptr,
                                                      [&](const DVNotification &) { listen(); });
    dv_logInfo(QStringLiteral("first"));
    dv_logInfo(QStringLiteral("second"));
    QCOMPARE(calls, 2);
}

QTEST_GUILESS_MAIN(tst_Log)
#include "tst_log.moc"
