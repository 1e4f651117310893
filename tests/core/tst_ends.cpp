// The end of an application: quitting in the middle, a second application object, lookups after it.
#include "DVRows.h"
#include "DVTestHost.h"

#include <QElapsedTimer>
#include <QTimer>

#include <algorithm>
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
        // Again where a neighbour on the machine took the time.
        qint64 took = quitDuringADownload(server);
        for (int i = 0; i < 4 && took > 60; ++i)
            took = std::min(took, quitDuringADownload(server));
        QVERIFY2(took >= 0 && took <= 60, qPrintable(QString::number(took)));
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
    // How long the end of the application took, in ms; -1 where no request was under way, or something of it
    // arrived after the end.
    qint64 quitDuringADownload(DVFaultServer &server)
    {
        const int before = int(server.requests().size());
        auto application = std::make_unique<QCoreApplication>(m_argc, m_argv);
        DVTestHost host;
        host.package(u"fr_CA.xlf"_qs, DVTestHost::xliff(u"a"_qs, u"vieux"_qs));
        host.restart();
        QVariantMap options = host.servingOptions(server);
        options.insert(u"analytics"_qs, true); // its request is under way too
        Dorvane::startWithProjectId(u"p"_qs, options);
        for (int i = 0; i < 2000 && !server.waitForRequests(before + 1, 10); ++i)
            QCoreApplication::processEvents();
        if (server.requests().size() == before)
            return -1;
        QElapsedTimer timer;
        timer.start();
        application.reset();
        const qint64 took = timer.elapsed();
        // What was under way is dropped: nothing arrives in the file or in lookups.
        const QString text = DVBundle::mainBundle().localizedStringForKey(u"a"_qs);
        return text == u"a" ? took : -1;
    }

    int m_argc = 1;
    char m_name[9] = "tst_ends";
    char *m_argv[2] = {m_name, nullptr};
};

QTEST_APPLESS_MAIN(tst_Ends)
#include "tst_ends.moc"
