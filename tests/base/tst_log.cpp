#include "DVLog.h"
#include "DVSecrets.h"
#include "DVState.h"

#include <Dorvane/DVNotificationCenter.h>

#include <QSettings>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>

namespace {

QStringList lines;
std::function<void()> whileWriting;

// Debug output of a category is switched off on many systems, so neither level may use it.
void keepLine(QtMsgType type, const QMessageLogContext &context, const QString &text)
{
    const bool isOurs = type == QtInfoMsg && QByteArrayView(context.category) == "dorvane";
    lines.append(isOurs ? text : QString(u"of another type or category: " + text));
    if (whileWriting)
        whileWriting();
}

void setAppetizeHost(bool present)
{
    QSettings settings;
    if (present)
        settings.setValue(u"appetize-host"_qs, 0);
    else
        settings.remove(u"appetize-host"_qs);
    settings.sync();
    dv_refreshLogSink();
}

// For as long as `context` lives.
void observe(QObject &context, const std::function<void(const DVNotification &)> &observer)
{
    DVNotificationCenter::defaultCenter().addObserver(&context, u"log"_qs, nullptr, observer);
}

} // namespace

class tst_Log : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_folder;
    QtMessageHandler m_handler = nullptr;

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(m_folder.isValid());
        QCoreApplication::setOrganizationName(u"Host"_qs);
        QCoreApplication::setApplicationName(u"Application"_qs);
        QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, m_folder.path());
    }
    void init()
    {
        lines.clear();
        m_handler = qInstallMessageHandler(keepLine);
        DVState::shared().log = DVState::shared().debug = false;
    }
    void cleanup()
    {
        whileWriting = {};
        setAppetizeHost(false);
        qInstallMessageHandler(m_handler);
        DVSecrets::forgetAll();
    }

    void levels_data()
    {
        QTest::addColumn<bool>("log");
        QTest::addColumn<bool>("debug");
        QTest::addColumn<QStringList>("written");
        const QString info = u"[DV] \"%1\" for people"_qs;
        const QString debug = u"[DV] for developers"_qs;
        QTest::newRow("nothing is on") << false << false << QStringList();
        QTest::newRow("info is on") << true << false << QStringList{info};
        QTest::newRow("debug alone is on") << false << true << QStringList{debug};
        QTest::newRow("both are on") << true << true << QStringList{info, debug};
    }
    void levels()
    {
        QFETCH(bool, log);
        QFETCH(bool, debug);
        DVState::shared().log = log;
        DVState::shared().debug = debug;
        dv_logInfo(u"\"%1\" for people"_qs);
        dv_logDebug(u"for developers"_qs);
        QTEST(lines, "written");
        QCOMPARE(dv_wantsDebugLog(), debug);
    }

    void oneSinkGetsCleanLines_data()
    {
        QTest::addColumn<bool>("appetize");
        QTest::newRow("Qt's logging") << false;
        QTest::newRow("in the demonstration notifications, whatever is switched on") << true;
    }
    void oneSinkGetsCleanLines()
    {
        QFETCH(bool, appetize);
        setAppetizeHost(appetize);
        DVState::shared().log = DVState::shared().debug = !appetize;
        QVariantList posted;
        QObject context; // ends before the list does
        observe(context, [&](const DVNotification &note) {
            posted.append(note.userInfo);
            QCOMPARE(note.sender, nullptr);
        });
        DVSecrets::remember(u"remembered"_qs);

        QVERIFY(dv_wantsDebugLog());
        dv_logInfo(u"info remembered"_qs);
        dv_logDebug(u"debug remembered"_qs);
        dv_logDebugLazily([] { return u"lazily remembered"_qs; });
        dv_logDebugDeferred(u"deferred remembered"_qs);
        QTRY_COMPARE(lines.size() + posted.size(), 4);
        QStringList expectedLines;
        QVariantList expectedPosts;
        for (const QString &line : {u"info "_qs, u"debug "_qs, u"lazily "_qs, u"deferred "_qs}) {
            const QString clean = line + DVSecrets::redacted;
            if (appetize)
                expectedPosts.append(QVariantMap{{u"msg"_qs, clean}});
            else
                expectedLines.append(u"[DV] " + clean);
        }
        QCOMPARE(lines, expectedLines);
        QCOMPARE(posted, expectedPosts);
    }

    void lazyTextIsOnlyMadeForSomebody()
    {
        int made = 0;
        const auto make = [&] {
            ++made;
            return u"costly"_qs;
        };
        dv_logDebugLazily(make);
        QCOMPARE(made, 0);
        DVState::shared().debug = true;
        dv_logDebugLazily(make);
        QCOMPARE(made, 1);
        QCOMPARE(lines.size(), 1);
    }

    void deferredLinesComeFromTheMainThread()
    {
        DVState::shared().debug = true;
        QThread *writer = nullptr;
        whileWriting = [&] { writer = QThread::currentThread(); };
        const std::unique_ptr<QThread> thread(QThread::create([] { dv_logDebugDeferred(u"later"_qs); }));
        thread->start();
        QVERIFY(thread->wait());
        QVERIFY(lines.isEmpty());
        QTRY_COMPARE(lines, QStringList{u"[DV] later"_qs});
        QCOMPARE(writer, QThread::currentThread());
    }

    void listenersThatLogAreNotCalledAgain_data()
    {
        QTest::addColumn<bool>("appetize");
        QTest::newRow("a message handler") << false;
        QTest::newRow("an observer of the notification") << true;
    }
    void listenersThatLogAreNotCalledAgain()
    {
        QFETCH(bool, appetize);
        setAppetizeHost(appetize);
        DVState::shared().log = true;
        DVSecrets::remember(u"of the first"_qs);
        int calls = 0;
        whileWriting = [&] {
            DVSecrets::remember(u"another"_qs); // the registry is not locked here
            DVSecrets::cleanText(u"another"_qs);
            if (++calls < 10)
                dv_logInfo(u"from the listener"_qs);
        };
        QObject context; // ends before what the listener refers to
        observe(context, [](const DVNotification &) { whileWriting(); });
        dv_logInfo(u"first"_qs);
        dv_logInfo(u"second"_qs);
        QCOMPARE(calls, 2);
        QCOMPARE(DVSecrets::cleanText(u"another"_qs), DVSecrets::redacted);
    }
};

QTEST_GUILESS_MAIN(tst_Log)
#include "tst_log.moc"
