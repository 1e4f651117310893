// The keychain's copy in memory, and services that are slow, silent, broken or gone.
#include "DVFakeKeychain.h"
#include "DVKeychain.h"
#include "DVRows.h"
#include "DVState.h"
#include "DVWrittenLog.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTest>
#include <QThread>

using State = DVFakeKeychainState;

namespace {

constexpr int generousMs = 20000;

const QString key = u"token"_qs;
const QString memoryOnly = u"No use of the keychain, a sign-in is kept in memory only: "_qs;

} // namespace

class tst_Keychain : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { DVWrittenLog::begin(); }
    void cleanupTestCase() { DVWrittenLog::end(); }
    void init();
    void cleanup() { dv_setKeychainService(nullptr); }

    void anotherProcessFindsTheItem_data();
    void anotherProcessFindsTheItem();
    void applicationsDoNotShareItems();
    void accessGroupsAreSeparate();
    void queries();
    void withoutServiceMemoryServes();
    void silentServiceHoldsNothingUp();
    void everyFailureTogetherIsOneLine();
    void lateItemArrivesOnTheMainThread();
    void lateReadLosesAgainstAChange_data();
    void lateReadLosesAgainstAChange();
    void serviceThatDiesInACallIsHarmless();
    void damagedArchives_data();
    void damagedArchives();
    void textsComeBackAsTheyWere_data();
    void textsComeBackAsTheyWere();

private:
    // As a new process with the same keychain.
    void restart()
    {
        DVKeychain::forget();
        dv_setKeychainService(std::make_unique<DVFakeKeychain>(m_state));
        m_state->calls.clear();
    }

    std::shared_ptr<State> m_state;
};

void tst_Keychain::init()
{
    QCoreApplication::setOrganizationName(u"Seedlings"_qs);
    QCoreApplication::setApplicationName(u"garden"_qs);
    m_state = std::make_shared<State>();
    restart();
    DVState::shared().log = true;
    DVWrittenLog::take();
}

void tst_Keychain::anotherProcessFindsTheItem_data()
{
    const DVRows<int> row("answers");
    row("a service that answers inside the call", int(State::AtOnce));
    row("a service that answers from a thread", int(State::FromThread));
}

void tst_Keychain::anotherProcessFindsTheItem()
{
    QFETCH(int, answers);
    m_state->answers = State::Answers(answers);
    QVERIFY(DVKeychain::saveValue(u"first"_qs, key));
    QVERIFY(DVKeychain::saveValue(u"second"_qs, key));
    // One call each: nothing is removed first, so that a kill cannot lose both.
    QCOMPARE(m_state->calls, QStringList({u"write"_qs, u"write"_qs}));
    restart();
    QCOMPARE(DVKeychain::loadValueForKey(key), u"second"_qs);
    QCOMPARE(DVKeychain::loadValueForKey(key), u"second"_qs);
    QCOMPARE(m_state->calls, QStringList{u"read"_qs});
    QVERIFY(DVKeychain::deleteValueForKey(key));
    QVERIFY(!DVKeychain::deleteValueForKey(key));
    QVERIFY(!DVKeychain::loadValueForKey(key));
    restart();
    QVERIFY(!DVKeychain::loadValueForKey(key));
    QCOMPARE(DVWrittenLog::take(), QStringList());
}

void tst_Keychain::applicationsDoNotShareItems()
{
    DVKeychain::saveValue(u"mine"_qs, key);
    QCoreApplication::setApplicationName(u"orchard"_qs);
    restart();
    QVERIFY(!DVKeychain::loadValueForKey(key));
    DVKeychain::saveValue(u"theirs"_qs, key);
    QCoreApplication::setApplicationName(u"garden"_qs);
    restart();
    QCOMPARE(DVKeychain::loadValueForKey(key), u"mine"_qs);
}

void tst_Keychain::accessGroupsAreSeparate()
{
    const QString group = u"com.example.shared"_qs;
    DVKeychain::saveValue(u"in the group"_qs, key, group);
    QVERIFY(!DVKeychain::loadValueForKey(key));
    restart();
    QCOMPARE(DVKeychain::loadValueForKey(key, group), u"in the group"_qs);
    QVERIFY(!DVKeychain::deleteValueForKey(key));
    QVERIFY(DVKeychain::deleteValueForKey(key, group));
}

void tst_Keychain::queries()
{
    const DVKeychain::Query plain = DVKeychain::getKeychainQuery(key, {});
    QVERIFY2(plain.service.contains(u"Seedlings") && plain.service.contains(u"garden") &&
                 plain.service.endsWith(key),
             qPrintable(plain.service));
    QCOMPARE(plain.account, key);
    QVERIFY(plain.accessGroup.isEmpty());
    QCOMPARE(DVKeychain::getKeychainQuery(key, u"g"_qs).accessGroup, u"g"_qs);
    // No system that these tests run on gives applications a prefix.
    QVERIFY(DVKeychain::getBundleSeedIdentifier().isNull());
    QCOMPARE(DVKeychain::getFullAppleIdentifier(u"g"_qs), u"g"_qs);
}

void tst_Keychain::withoutServiceMemoryServes()
{
    dv_setKeychainService(nullptr);
    QVERIFY(!DVKeychain::loadValueForKey(key));
    QVERIFY(DVKeychain::saveValue(u"here"_qs, key));
    QCOMPARE(DVKeychain::loadValueForKey(key), u"here"_qs);
    QVERIFY(DVKeychain::deleteValueForKey(key));
    QVERIFY(!DVKeychain::loadValueForKey(key));
    QCOMPARE(DVWrittenLog::take(), QStringList{QString(memoryOnly + u"the application has none")});
}

void tst_Keychain::silentServiceHoldsNothingUp()
{
    const QStringList noAnswer{QString(memoryOnly + u"it does not answer")};
    m_state->answers = State::Never;
    QElapsedTimer timer;
    timer.start();
    QVERIFY(!DVKeychain::loadValueForKey(key));
    QVERIFY2(timer.elapsed() >= DVKeychain::loadTimeoutMs - 1, "it did not wait");
    QVERIFY2(timer.elapsed() < generousMs, "it waited too long");
    QCOMPARE(DVWrittenLog::take(), noAnswer);
    QVERIFY(!DVKeychain::loadValueForKey(key));
    QCOMPARE(m_state->calls, QStringList{u"read"_qs}); // it is asked once
    QVERIFY(DVKeychain::saveValue(u"here"_qs, key));
    QCOMPARE(DVKeychain::loadValueForKey(key), u"here"_qs);
    // A change that is never answered is said, too, by a process that has not read.
    restart();
    DVWrittenLog::take();
    DVKeychain::saveValue(u"here"_qs, key);
    QCOMPARE(DVWrittenLog::take(), QStringList());
    QTRY_COMPARE_WITH_TIMEOUT(DVWrittenLog::count(), 1, generousMs);
    QCOMPARE(DVWrittenLog::take(), noAnswer);
}

void tst_Keychain::everyFailureTogetherIsOneLine()
{
    m_state->answers = State::Failing;
    QVERIFY(!DVKeychain::loadValueForKey(key));
    QVERIFY(DVKeychain::saveValue(u"here"_qs, key));
    QCoreApplication::processEvents();
    QCOMPARE(DVKeychain::loadValueForKey(key), u"here"_qs);
    QCOMPARE(DVWrittenLog::take(), QStringList{QString(memoryOnly + u"it is broken")});
    // What stays there although it was deleted is another matter.
    DVKeychain::deleteValueForKey(key);
    QCoreApplication::processEvents();
    QCOMPARE(DVWrittenLog::take(), QStringList{u"Could not delete from the keychain: it is broken"_qs});
}

void tst_Keychain::lateItemArrivesOnTheMainThread()
{
    DVKeychain::saveValue(u"kept"_qs, key);
    restart();
    m_state->answers = State::Held;
    QStringList arrived;
    const auto later = [&arrived](const QString &value) {
        QCOMPARE(QThread::currentThread(), QCoreApplication::instance()->thread());
        arrived.append(value);
    };
    QVERIFY(!DVKeychain::loadValueForKey(key, {}, later));
    std::thread([this] { m_state->release(); }).join();
    QCOMPARE(arrived, QStringList());
    QTRY_COMPARE_WITH_TIMEOUT(arrived, QStringList{u"kept"_qs}, generousMs);
    QCOMPARE(DVKeychain::loadValueForKey(key), u"kept"_qs);
    QCoreApplication::processEvents();
    QCOMPARE(arrived.size(), 1);
}

void tst_Keychain::lateReadLosesAgainstAChange_data()
{
    const DVRows<bool> row("saves");
    row("a sign-in that came first stays", true);
    row("what was deleted does not come back", false);
}

void tst_Keychain::lateReadLosesAgainstAChange()
{
    QFETCH(bool, saves);
    DVKeychain::saveValue(u"old"_qs, key);
    restart();
    m_state->answers = State::Held;
    bool arrived = false;
    QVERIFY(!DVKeychain::loadValueForKey(key, {}, [&arrived](const QString &) { arrived = true; }));
    saves ? DVKeychain::saveValue(u"new"_qs, key) : DVKeychain::deleteValueForKey(key);
    const auto expected = saves ? std::optional(u"new"_qs) : std::nullopt;
    m_state->release();
    // Work for the main thread runs in order: what follows the late answer has seen it.
    QCoreApplication::processEvents();
    QCOMPARE(DVKeychain::loadValueForKey(key), expected);
    QVERIFY(!arrived);
    m_state->answers = State::AtOnce;
    restart();
    QCOMPARE(DVKeychain::loadValueForKey(key), expected);
}

void tst_Keychain::serviceThatDiesInACallIsHarmless()
{
    m_state->answers = State::Held;
    QVERIFY(!DVKeychain::loadValueForKey(key));
    DVKeychain::saveValue(u"here"_qs, key);
    const auto held = std::exchange(m_state->held, {});
    dv_setKeychainService(nullptr);
    m_state.reset();
    for (const auto &answer : held) {
        answer(); // and twice
        answer();
    }
    QCoreApplication::processEvents();
    QCOMPARE(DVKeychain::loadValueForKey(key), u"here"_qs);
}

void tst_Keychain::damagedArchives_data()
{
    // fault: empty: that of the JSON reader
    const DVRows<QString, QString> row("archive", "fault");
    row("not JSON", u"topsecret"_qs, {});
    row("cut off", u"{\"version\":1,\"text\":\"topsec"_qs, {});
    const QString foreign = u"not an archive of ours"_qs;
    row("an empty text", u""_qs, {});
    row("another version", u"{\"version\":2,\"text\":\"topsecret\"}"_qs, foreign);
    row("no text", u"{\"version\":1}"_qs, foreign);
    row("a text that is a number", u"{\"version\":1,\"text\":7}"_qs, foreign);
    row("a list", u"[1]"_qs, foreign);
}

void tst_Keychain::damagedArchives()
{
    QFETCH(QString, archive);
    QFETCH(QString, fault);
    DVKeychain::saveValue(u"x"_qs, key);
    QCOMPARE(m_state->items.size(), 1);
    m_state->items.first() = archive;
    restart();
    QVERIFY(!DVKeychain::loadValueForKey(key));
    const QStringList log = DVWrittenLog::take();
    QCOMPARE(log.size(), 1);
    QVERIFY2(log.first().startsWith(u"Unarchive of token failed: ") && log.first().endsWith(fault) &&
                 !log.first().contains(u"topsec"),
             qPrintable(log.first()));
}

void tst_Keychain::textsComeBackAsTheyWere_data()
{
    const DVRows<QString> row("text");
    row("empty", u""_qs);
    row("JSON in it", u"{\"a\":\"\\\"\\\\\"}"_qs);
    row("line breaks, a null and emoji", QString(u"a\r\n" % QChar(u'\0') % u"\U0001F331"));
    row("100,000 characters", QString(100000, u'x'));
}

void tst_Keychain::textsComeBackAsTheyWere()
{
    QFETCH(QString, text);
    DVKeychain::saveValue(text, key);
    restart();
    QCOMPARE(DVKeychain::loadValueForKey(key), text);
}

QTEST_GUILESS_MAIN(tst_Keychain)
#include "tst_keychain.moc"
