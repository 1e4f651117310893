#include "DVRows.h"

#include <Dorvane/DVNotificationCenter.h>

#include <QStringList>

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

class TestNotificationCenter : public QObject
{
    Q_OBJECT

private:
    int m_senderA = 0;
    int m_senderB = 0;

    const void *sender(char which) const
    {
        return which == 'A' ? &m_senderA : which == 'B' ? static_cast<const void *>(&m_senderB) : nullptr;
    }

    static std::function<void(const DVNotification &)> appending(QStringList &order, const QString &name)
    {
        return [&order, name](const DVNotification &) { order.append(name); };
    }

private Q_SLOTS:
    void filters_data()
    {
        const DVRows<QString, char, QString, char, bool> row("wantedName", "wantedSender", "postedName",
                                                             "postedSender", "called");
        row("the name alone, any sender", u"n"_qs, '-', u"n"_qs, 'A', true);
        row("the name alone, no sender", u"n"_qs, '-', u"n"_qs, '-', true);
        row("another name", u"n"_qs, '-', u"m"_qs, 'A', false);
        row("name and sender", u"n"_qs, 'A', u"n"_qs, 'A', true);
        row("name and another sender", u"n"_qs, 'A', u"n"_qs, 'B', false);
        row("name and sender, posted without one", u"n"_qs, 'A', u"n"_qs, '-', false);
        row("every name", QString(), '-', u"n"_qs, 'B', true);
        row("every name of one sender", QString(), 'B', u"n"_qs, 'B', true);
        row("every name of another sender", QString(), 'A', u"n"_qs, 'B', false);
    }
    void filters()
    {
        QFETCH(QString, wantedName);
        QFETCH(char, wantedSender);
        QFETCH(QString, postedName);
        QFETCH(char, postedSender);
        QFETCH(bool, called);
        DVNotificationCenter center;
        QList<DVNotification> seen;
        center.addObserver(nullptr, wantedName, sender(wantedSender),
                           [&](const DVNotification &notification) { seen.append(notification); });
        center.postNotification(postedName, sender(postedSender), {{u"msg"_qs, u"text"_qs}});
        QCOMPARE(seen.size(), called ? 1 : 0);
        if (called) {
            QCOMPARE(seen.first().name, postedName);
            QCOMPARE(seen.first().sender, sender(postedSender));
            QCOMPARE(seen.first().userInfo, (QVariantMap{{u"msg"_qs, u"text"_qs}}));
        }
    }

    void observersMayChangeTheListWhileItIsWalked()
    {
        DVNotificationCenter center;
        QStringList order;
        int first = 0;
        int third = 0;
        first = center.addObserver(this, u"n"_qs, nullptr, [&](const DVNotification &) {
            order.append(u"first"_qs);
            center.removeObserver(first); // itself
            center.removeObserver(third); // one that is still to come
            center.addObserver(this, u"n"_qs, nullptr, appending(order, u"added"_qs));
        });
        center.addObserver(this, u"n"_qs, nullptr, appending(order, u"second"_qs));
        third = center.addObserver(this, u"n"_qs, nullptr, appending(order, u"third"_qs));
        center.postNotification(u"n"_qs);
        QCOMPARE(order, (QStringList{u"first"_qs, u"second"_qs}));
        order.clear();
        center.postNotification(u"n"_qs);
        QCOMPARE(order, (QStringList{u"second"_qs, u"added"_qs}));
    }

    void anObserverMayPost()
    {
        DVNotificationCenter center;
        int depth = 0;
        int calls = 0;
        center.addObserver(this, u"n"_qs, nullptr, [&](const DVNotification &) {
            ++calls;
            if (++depth < 5)
                center.postNotification(u"n"_qs);
            --depth;
        });
        center.postNotification(u"n"_qs);
        QCOMPARE(calls, 5);
    }

    void aContextEndsItsObserversEvenInTheMiddleOfAPost()
    {
        DVNotificationCenter center;
        auto context = std::make_unique<QObject>();
        auto held = std::make_shared<int>(0);
        QStringList order;
        center.addObserver(this, u"n"_qs, nullptr, [&](const DVNotification &) { context.reset(); });
        center.addObserver(context.get(), u"n"_qs, nullptr,
                           [&, held](const DVNotification &) { order.append(u"dead"_qs); });
        center.addObserver(this, u"n"_qs, nullptr, appending(order, u"alive"_qs));
        center.postNotification(u"n"_qs);
        QCOMPARE(order, QStringList{u"alive"_qs});
        QCOMPARE(held.use_count(), 1L);
    }

    void aContextMayOutliveTheCenter()
    {
        QObject context;
        {
            DVNotificationCenter center;
            center.addObserver(&context, u"n"_qs, nullptr, [](const DVNotification &) {});
            const int token = center.addObserver(&context, u"n"_qs, nullptr, [](const DVNotification &) {});
            center.removeObserver(token);
            center.removeObserver(token); // a token that is spent
            center.removeObserver(-1);
        }
    }

    void postsOnTheThreadOfThePoster()
    {
        DVNotificationCenter center;
        std::thread::id seen;
        center.addObserver(nullptr, u"n"_qs, nullptr,
                           [&](const DVNotification &) { seen = std::this_thread::get_id(); });
        std::thread::id expected;
        std::thread other([&] {
            expected = std::this_thread::get_id();
            center.postNotification(u"n"_qs);
        });
        other.join();
        QVERIFY(seen == expected);
    }

    void fourThreadsPostAddAndRemove()
    {
        DVNotificationCenter center;
        std::atomic<int> permanent = 0;
        center.addObserver(nullptr, u"n"_qs, nullptr, [&](const DVNotification &) { ++permanent; });
        std::vector<std::thread> threads;
        for (int i = 0; i < 4; ++i) {
            threads.emplace_back([&] {
                for (int round = 0; round < 200; ++round) {
                    QObject context;
                    std::atomic<int> own = 0;
                    // Only this thread posts with this sender, so nothing runs once the context has gone.
                    center.addObserver(&context, u"n"_qs, &context, [&](const DVNotification &) { ++own; });
                    const int token = center.addObserver(nullptr, {}, nullptr, [](const DVNotification &) {});
                    center.postNotification(u"n"_qs, &context);
                    center.removeObserver(token);
                    if (own != 1)
                        qFatal("an observer was missed");
                }
            });
        }
        for (auto &thread : threads)
            thread.join();
        QCOMPARE(permanent.load(), 800);
    }
};

QTEST_GUILESS_MAIN(TestNotificationCenter)
#include "tst_notification_center.moc"
