// The end of an application: quitting in the middle, a second application object, lookups after it.
#include "DVRows.h"
#include "DVTestHost.h"

#include <QElapsedTimer>
#include <QTimer>

#include <thread>

using namespace Qt::Literals::StringLiterals;
using Answer = DVFaultServer::Answer;

// One application object after the other within one process; the test program itself has none.
class tst_Ends : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void twoApplicationsOneAfterTheOther()
    {
        DVFaultServer server;
        server.setHandler(
            [](const auto &) { return DVTestHost::publication(DVTestHost::xliff(u"a"_qs, u"un"_qs)); });
        for (int i = 0; i < 3; ++i) {
            QCoreApplication application(m_argc, m_argv);
            DVTestHost host;
            QCOMPARE(QCoreApplication::translate("c", "a"), u"a"_qs);
            Dorvane::startWithProjectId(u"p"_qs, host.servingOptions(server));
            QCOMPARE(QCoreApplication::translate("c", "a"), u"un"_qs);
        }
        QCOMPARE(server.requests().size(), 3);
    }

    void quittingDuringADownload_data()
    {
        const DVRows<DVFaultServer::Fault> row("fault");
        row("silence", DVFaultServer::Fault::Silence);
        row("a body that drips", DVFaultServer::Fault::Drip);
        row("a body without an end", DVFaultServer::Fault::Endless);
        row("an answer in this moment", DVFaultServer::Fault::None);
    }
    void quittingDuringADownload()
    {
        QFETCH(DVFaultServer::Fault, fault);
        DVFaultServer server;
        Answer answer = DVTestHost::publication(DVTestHost::xliff(u"a"_qs, u"neuf"_qs));
        answer.fault = fault;
        server.setHandler([answer](const auto &) { return answer; });
        QElapsedTimer timer;
        {
            auto application = std::make_unique<QCoreApplication>(m_argc, m_argv);
            DVTestHost host;
            host.package(u"fr_CA.xlf"_qs, DVTestHost::xliff(u"a"_qs, u"vieux"_qs));
            host.restart();
            QVariantMap options = host.servingOptions(server);
            options.insert(u"analytics"_qs, true); // its request is under way too
            Dorvane::startWithProjectId(u"p"_qs, options);
            for (int i = 0; i < 100 && !server.waitForRequests(1, 10); ++i)
                QCoreApplication::processEvents();
            QVERIFY(!server.requests().isEmpty());
            timer.start();
            application.reset();
            QVERIFY2(timer.elapsed() <= 60, qPrintable(QString::number(timer.elapsed())));
            // What was under way is dropped: nothing arrives in the file or in lookups.
            QCOMPARE(DVBundle::mainBundle().localizedStringForKey(u"a"_qs), u"a"_qs);
        }
    }

    void lookupsAfterTheApplication()
    {
        DVFaultServer server;
        server.setHandler(
            [](const auto &) { return DVTestHost::publication(DVTestHost::xliff(u"a"_qs, u"un"_qs)); });
        QString kept;
        {
            QCoreApplication application(m_argc, m_argv);
            DVTestHost host;
            Dorvane::startWithProjectId(u"p"_qs, host.servingOptions(server));
            kept = QCoreApplication::translate("c", "a");
        }
        QCOMPARE(kept, u"un"_qs);
        QCOMPARE(QCoreApplication::translate("c", "a"), u"a"_qs);
        QCOMPARE(DVBundle::mainBundle().localizedStringForKey(u"a"_qs), u"a"_qs);
        QCOMPARE(Dorvane::pluralizedStringWithKey(u"a"_qs, 3), u"a"_qs);
        std::thread([] {
            for (int i = 0; i < 1000; ++i)
                Q_UNUSED(DVBundle::mainBundle().localizedStringForKey(u"a"_qs))
        }).join();
        Dorvane::setLocaleWithId(u"fr"_qs, [](bool success) { QVERIFY(!success); });
        QVERIFY(!Dorvane::locale().isValid());
    }

    void startsWithoutAnApplication()
    {
        QTest::ignoreMessage(QtInfoMsg, "[DV] Failed to start Dorvane: create the application object first");
        Dorvane::startWithProjectId(u"p"_qs, {{u"mode"_qs, u"DVOTAServing"_qs}});
        QVERIFY(!Dorvane::locale().isValid());
    }

private:
    int m_argc = 1;
    char m_name[9] = "tst_ends";
    char *m_argv[2] = {m_name, nullptr};
};

QTEST_APPLESS_MAIN(tst_Ends)
#include "tst_ends.moc"
