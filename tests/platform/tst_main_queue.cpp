#include "DVMainQueue.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QStringList>
#include <QTest>
#include <QTimer>

#include <memory>
#include <thread>

// Every test makes its own application object, one after the other in one process.
class TestMainQueue : public QObject
{
    Q_OBJECT

private:
    static inline int argc = 1;
    static inline char name[] = "tst_main_queue";
    static inline char *argv[] = {name, nullptr};

private Q_SLOTS:
    void withoutAnApplicationWorkIsDropped()
    {
        QVERIFY(!DVMainQueue::isMainThread());
        auto held = std::make_shared<int>(0);
        bool ran = false;
        DVMainQueue::post([&ran, held] { ran = true; });
        DVMainQueue::postAfterFirstTurn([&ran, held] { ran = true; });
        DVMainQueue::postDelayed(0, [&ran, held] { ran = true; });
        QCOMPARE(held.use_count(), 1L);
        QCoreApplication app(argc, argv);
        QCoreApplication::processEvents();
        QVERIFY(!ran);
    }

    void workOfAnyThreadRunsOnTheMainThreadInOrder()
    {
        QCoreApplication app(argc, argv);
        QVERIFY(DVMainQueue::isMainThread());
        QList<int> seen;
        bool onMain = true;
        std::thread other([&] {
            onMain = !DVMainQueue::isMainThread();
            for (int i = 0; i < 100; ++i) {
                DVMainQueue::post([&, i] {
                    onMain &= DVMainQueue::isMainThread();
                    seen.append(i);
                });
            }
        });
        other.join();
        QVERIFY(seen.isEmpty());
        QTRY_COMPARE(seen.size(), 100);
        QVERIFY(onMain);
        QVERIFY(std::is_sorted(seen.begin(), seen.end()));
    }

    void workIsNeverRunFromInsidePost()
    {
        QCoreApplication app(argc, argv);
        QStringList order;
        DVMainQueue::post([&] {
            DVMainQueue::post([&] { order.append(u"inner"_qs); });
            order.append(u"outer"_qs);
        });
        QVERIFY(order.isEmpty());
        QTRY_COMPARE(order, (QStringList{u"outer"_qs, u"inner"_qs}));
    }

    void requestsOfAStartWaitForTheFirstTurn()
    {
        QCoreApplication app(argc, argv);
        QStringList order;
        DVMainQueue::postAfterFirstTurn([&] { order.append(u"first request"_qs); });
        DVMainQueue::postAfterFirstTurn([&] { order.append(u"second request"_qs); });
        DVMainQueue::post([&] { order.append(u"plain work"_qs); });
        QTimer frame; // what a window does in the first turn, after the posted events
        frame.setSingleShot(true);
        connect(&frame, &QTimer::timeout, this, [&] { order.append(u"frame"_qs); });
        frame.start(0);
        QTRY_COMPARE(order.size(), 4);
        QCOMPARE(order,
                 (QStringList{u"plain work"_qs, u"frame"_qs, u"first request"_qs, u"second request"_qs}));

        DVMainQueue::postAfterFirstTurn([&] { order.append(u"late request"_qs); });
        QCoreApplication::processEvents();
        QCOMPARE(order.last(), u"late request"_qs);
    }

    void delayedWorkIsNotEarly()
    {
        QCoreApplication app(argc, argv);
        QElapsedTimer timer;
        timer.start();
        qint64 elapsed = -1;
        DVMainQueue::postDelayed(60, [&] { elapsed = timer.elapsed(); });
        bool negative = false;
        DVMainQueue::postDelayed(-5, [&] { negative = true; });
        QTRY_VERIFY(negative);
        QTRY_VERIFY(elapsed >= 0);
        // Coarse timers may be 5% early.
        QVERIFY2(elapsed >= 57, qPrintable(QString::number(elapsed)));
    }

    void workThatIsLeftEndsWithTheApplication()
    {
        auto held = std::make_shared<int>(0);
        bool ran = false;
        {
            QCoreApplication app(argc, argv);
            DVMainQueue::post([&ran, held] { ran = true; });
            DVMainQueue::postAfterFirstTurn([&ran, held] { ran = true; });
            DVMainQueue::postDelayed(1, [&ran, held] { ran = true; });
        }
        QVERIFY(!DVMainQueue::isMainThread());
        QCOMPARE(held.use_count(), 1L);
        QCoreApplication second(argc, argv);
        bool secondRan = false;
        DVMainQueue::postAfterFirstTurn([&] { secondRan = true; });
        QTRY_VERIFY(secondRan);
        QVERIFY(!ran);
    }

    void postingWhileTheApplicationEndsIsSafe()
    {
        for (int round = 0; round < 30; ++round) {
            std::atomic<bool> stop = false;
            std::atomic<int> posted = 0;
            std::thread other([&] {
                while (!stop) {
                    DVMainQueue::post([] {});
                    ++posted;
                }
            });
            {
                QCoreApplication app(argc, argv);
                const int before = posted;
                while (posted < before + 20)
                    QCoreApplication::processEvents();
            }
            stop = true;
            other.join();
        }
    }
};

QTEST_APPLESS_MAIN(TestMainQueue)
#include "tst_main_queue.moc"
