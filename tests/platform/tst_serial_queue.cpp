#include "DVSerialQueue.h"

#include <QElapsedTimer>
#include <QList>
#include <QSemaphore>
#include <QTest>

#include <memory>
#include <thread>
#include <vector>

// What a hanging operation waits for. Shared, because the operation may outlive the test.
struct Gate
{
    QSemaphore entered;
    QSemaphore release;
    std::atomic<bool> sawFinishing = false;
    std::atomic<bool> left = false;
};

class TestSerialQueue : public QObject
{
    Q_OBJECT

private:
    static std::shared_ptr<Gate> hang(DVSerialQueue &queue)
    {
        auto gate = std::make_shared<Gate>();
        queue.addOperation([gate, &queue] {
            gate->entered.release();
            gate->release.acquire();
            gate->sawFinishing = queue.isFinishing();
            gate->left = true;
        });
        gate->entered.acquire();
        return gate;
    }

private Q_SLOTS:
    void runsOneAtATimeInTheOrderOfEachCaller()
    {
        constexpr int callers = 4;
        constexpr int each = 500;
        DVSerialQueue queue("test");
        std::atomic<int> running = 0;
        bool overlapped = false;
        std::vector<QList<int>> seen(callers); // plain memory: the sanitizer sees an overlap
        std::vector<std::thread> threads;
        for (size_t caller = 0; caller < callers; ++caller) {
            threads.emplace_back([&, caller] {
                for (int i = 0; i < each; ++i) {
                    queue.addOperation([&, caller, i] {
                        overlapped |= ++running != 1;
                        seen[caller].append(i);
                        --running;
                    });
                }
            });
        }
        for (auto &thread : threads)
            thread.join();
        queue.drain();
        QVERIFY(!overlapped);
        for (const auto &numbers : seen) {
            QCOMPARE(numbers.size(), each);
            QVERIFY(std::is_sorted(numbers.begin(), numbers.end()));
        }
    }

    void anOperationMayAddAnother()
    {
        DVSerialQueue queue("test");
        std::atomic<int> ran = 0;
        queue.addOperation([&] {
            ++ran;
            queue.addOperation([&] { ++ran; });
        });
        queue.drain();
        queue.drain(); // the second was added by the first
        QCOMPARE(ran.load(), 2);
    }

    void finishLetsEverythingRunThatFitsIntoItsLimit()
    {
        DVSerialQueue queue("test");
        int ran = 0;
        for (int i = 0; i < 1000; ++i)
            queue.addOperation([&] { ++ran; });
        QElapsedTimer timer;
        timer.start();
        queue.finish(20000);
        QCOMPARE(ran, 1000);
        QVERIFY2(timer.elapsed() < 10000, "it must not wait for the limit when nothing is left to do");
        QVERIFY(queue.isFinishing());
    }

    void finishReturnsAtItsLimitWhenAnOperationHangs()
    {
        const auto held = std::make_shared<int>(0);
        std::shared_ptr<Gate> gate;
        {
            DVSerialQueue queue("test");
            gate = hang(queue);
            auto dropped = std::make_shared<std::atomic<bool>>(false);
            queue.addOperation([held, dropped] { *dropped = true; });
            QElapsedTimer timer;
            timer.start();
            queue.finish(50);
            QVERIFY(timer.elapsed() >= 50);
            QVERIFY2(timer.elapsed() < 10000, qPrintable(QString::number(timer.elapsed())));
            QVERIFY(!*dropped);
            QCOMPARE(held.use_count(), 1L); // what was dropped is also destroyed

            // A second life beside the thread that was left behind.
            std::atomic<bool> ran = false;
            std::atomic<bool> finishingInNew = true;
            queue.addOperation([&] {
                ran = true;
                finishingInNew = queue.isFinishing();
            });
            queue.drain();
            QVERIFY(ran);
            QVERIFY(!finishingInNew);
            gate->release.release();
            QTRY_VERIFY(gate->left);
            QVERIFY2(gate->sawFinishing, "the operation of the first life must see its end");
            QVERIFY(!*dropped);
        }
    }

    void aThreadLeftBehindOutlivesTheQueue()
    {
        auto gate = std::make_shared<Gate>();
        {
            DVSerialQueue queue("test");
            queue.addOperation([gate] {
                gate->entered.release();
                gate->release.acquire();
                gate->left = true;
            });
            gate->entered.acquire();
        } // like finish(0)
        gate->release.release();
        QTRY_VERIFY(gate->left);
    }

    void addingDoesNotWaitForAnOperation()
    {
        DVSerialQueue queue("test");
        const auto gate = hang(queue); // a disk that stalls
        std::atomic<int> ran = 0;
        for (int i = 0; i < 10000; ++i)
            queue.addOperation([&] { ++ran; });
        QCOMPARE(ran.load(), 0);
        gate->release.release();
        queue.drain();
        QCOMPARE(ran.load(), 10000);
    }

    void finishWhileOthersAddLosesNoThread()
    {
        for (int round = 0; round < 50; ++round) {
            DVSerialQueue queue("test");
            auto ran = std::make_shared<std::atomic<int>>(0);
            std::thread other([&] {
                for (int i = 0; i < 100; ++i)
                    queue.addOperation([ran] { ++*ran; });
            });
            queue.finish(1000);
            other.join();
            queue.finish(1000);
            QVERIFY(*ran <= 100);
            queue.addOperation([ran] { *ran = 1000; });
            queue.drain();
            QCOMPARE(ran->load(), 1000);
        }
    }

    void anOperationThatFinishesItsOwnQueueDoesNotWaitForItself()
    {
        DVSerialQueue queue("test");
        std::atomic<bool> returned = false;
        queue.addOperation([&] {
            queue.finish(60000);
            returned = true;
        });
        QTRY_VERIFY_WITH_TIMEOUT(returned, 10000);
        queue.addOperation({}); // nothing to run is no operation
        queue.drain();
    }
};

QTEST_APPLESS_MAIN(TestSerialQueue)
#include "tst_serial_queue.moc"
