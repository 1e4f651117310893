#include "DVPublished.h"

#include <QTest>

#include <array>
#include <thread>

namespace {

std::atomic<int> alive = 0;

// A reader that meets a half made or destroyed one sees fields that differ.
struct Value
{
    explicit Value(int number)
    {
        fields.fill(number);
        ++alive;
    }
    ~Value()
    {
        fields.fill(-1);
        fields.front() = -2;
        --alive;
    }
    Q_DISABLE_COPY_MOVE(Value)

    bool isWhole() const
    {
        return fields.front() >= 0 &&
               std::all_of(fields.begin(), fields.end(), [this](int f) { return f == fields[0]; });
    }

    std::array<int, 64> fields;
};

auto newValue(int number)
{
    return std::make_shared<const Value>(number);
}

// Reads in its destructor, which runs when the thread has already given its slot back.
struct ReadsAtTheEnd
{
    DVPublished<Value> *published = nullptr;
    std::atomic<bool> *wasWhole = nullptr;

    ~ReadsAtTheEnd()
    {
        if (!published)
            return;
        const DVReading reading;
        const Value *value = published->read();
        // Whoever is given that slot must not end our reading with theirs.
        std::thread([] { const DVReading other; }).join();
        published->publish(newValue(2));
        *wasWhole = value->isWhole() && alive == 2;
    }
};

} // namespace

class tst_Published : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup()
    {
        QCOMPARE(dv_reclaimRetired(), 0);
        QCOMPARE(alive.load(), 0);
    }

    void readersSeeTheLatest()
    {
        DVPublished<Value> published;
        const DVReading reading;
        QCOMPARE(published.read(), nullptr);
        published.publish(newValue(1));
        QCOMPARE(published.read()->fields.front(), 1);
        QCOMPARE(published.owner().get(), published.read());
        published.publish(newValue(2));
        QCOMPARE(published.read()->fields.front(), 2);
        published.publish(nullptr);
        QCOMPARE(published.read(), nullptr);
    }

    void valueLivesWhileItIsRead()
    {
        DVPublished<Value> published;
        published.publish(newValue(1));
        {
            const DVReading reading;
            const Value *value = published.read();
            published.publish(newValue(2));
            QCOMPARE(dv_reclaimRetired(), 1);
            QVERIFY(value->isWhole());
            QCOMPARE(alive.load(), 2);
        }
        QCOMPARE(dv_reclaimRetired(), 0);
        QCOMPARE(alive.load(), 1);
        published.publish(newValue(3)); // nobody reads: the old one goes at once
        QCOMPARE(alive.load(), 1);
    }

    void valueOutlivesItsPublication()
    {
        auto published = std::make_unique<DVPublished<Value>>();
        published->publish(newValue(1));
        const DVReading reading;
        const Value *value = published->read();
        published.reset();
        QVERIFY(value->isWhole());
    }

    void laterReadingsDoNotKeepEarlierValues()
    {
        DVPublished<Value> published;
        published.publish(newValue(1));
        std::atomic<int> step = 0;
        const auto waitFor = [&](int wanted) {
            while (step.load() < wanted)
                std::this_thread::yield();
        };
        std::thread reader([&] {
            {
                const DVReading reading;
                step = 1;
                waitFor(2);
            }
            const DVReading reading;
            step = 3;
            waitFor(4);
        });
        waitFor(1);
        published.publish(newValue(2));
        QCOMPARE(alive.load(), 2);
        step = 2;
        waitFor(3);
        const int waiting = dv_reclaimRetired();
        step = 4;
        reader.join();
        QCOMPARE(waiting, 0);
    }

    void nestedReadingsCountAsOne()
    {
        DVPublished<Value> published;
        published.publish(newValue(1));
        const auto outer = std::make_unique<DVReading>();
        const Value *value = published.read();
        published.publish(newValue(2));
        {
            const DVReading inner;
            QCOMPARE(published.read()->fields.front(), 2);
        }
        QCOMPARE(dv_reclaimRetired(), 1);
        QVERIFY(value->isWhole());
    }

    void readingWhileAThreadEnds()
    {
        DVPublished<Value> published;
        published.publish(newValue(7));
        std::atomic<bool> wasWhole = false;
        std::thread([&] {
            static thread_local ReadsAtTheEnd last; // made first, so destroyed last
            last.published = &published;
            last.wasWhole = &wasWhole;
            const DVReading reading;
        }).join();
        QVERIFY(wasWhole);
    }

    void manyReadersOneWriter()
    {
        constexpr int publications = 2000;
        DVPublished<Value> published;
        published.publish(newValue(0));
        std::atomic<bool> stop = false;
        std::atomic<int> broken = 0;
        std::atomic<int> readings = 0;
        const auto readUntilStopped = [&] {
            int latest = 0;
            while (!stop.load(std::memory_order_relaxed)) {
                const DVReading reading;
                const Value *value = published.read();
                if (!value->isWhole() || value->fields.front() < latest)
                    ++broken;
                latest = value->fields.front();
                ++readings;
            }
        };
        std::vector<std::thread> readers;
        for (int i = 0; i < 4; ++i)
            readers.emplace_back(readUntilStopped);
        for (int number = 1; number <= publications; ++number) {
            published.publish(newValue(number));
            if (number % 16 == 0)
                std::this_thread::yield();
        }
        while (readings.load() < 1000)
            std::this_thread::yield();
        stop = true;
        for (auto &reader : readers)
            reader.join();
        QCOMPARE(broken.load(), 0);
        QCOMPARE(dv_reclaimRetired(), 0);
        QCOMPARE(alive.load(), 1);
    }

    void threadsComeAndGo()
    {
        DVPublished<Value> published;
        published.publish(newValue(0));
        std::atomic<int> broken = 0;
        for (int round = 1; round <= 200; ++round) {
            const auto readOnce = [&] {
                const DVReading reading;
                if (!published.read()->isWhole())
                    ++broken;
            };
            std::thread first(readOnce);
            std::thread second(readOnce);
            published.publish(newValue(round));
            first.join();
            second.join();
        }
        QCOMPARE(broken.load(), 0);
    }
};

QTEST_APPLESS_MAIN(tst_Published)
#include "tst_published.moc"
