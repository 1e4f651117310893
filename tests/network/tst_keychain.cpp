// The keychain's copy in memory, and services that are slow, silent, broken or gone.
#include "DVFakeKeychain.h"
#include "DVKeychain.h"
#include "DVState.h"
#include "DVWrittenLog.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTest>
#include <QThread>

using State = DVFakeKeychainState;

namespace {

constexpr int generousMs = 20000;

const QString key = QStringLiteral("token");
const QString memoryOnly = QStringLiteral("No use of the keychain, a sign-in is kept in memory only: ");

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
    void silentServiceIsAskedOnce();
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
    QCoreApplication::setOrganizationName(QStringLiteral("Seedlings"));
    QCoreApplication::setApplicationName(QStringLiteral("garden"));
    m_state = std::make_shared<State>();
    restart();
    DVState::shared().log = true;
    DVWrittenLog::take();
}

void tst_Keychain::anotherProcessFindsTheItem_data()
{
    QTest::addColumn<int>("answers");
    QTest::newRow("a service that answers inside the call") << int(State::AtOnce);
    QTest::newRow("a service that answers from a thread") << int(State::FromThread);
}

void tst_Keychain::anotherProcessFindsTheItem()
{
    QFETCH(int, answers);
    m_state->answers = State::Answers(answers);
    QVERIFY(DVKeychain::saveValue(QStringLiteral("first"), key));
    QVERIFY(DVKeychain::saveValue(QStringLiteral("second"), key));
    // One call each: nothing is removed first, so that a kill cannot lose both.
    QCOMPARE(m_state->calls, QStringList({QStringLiteral("write"), QStringLiteral("write")}));
    restart();
    QCOMPARE(DVKeychain::loadValueForKey(key), QStringLiteral("second"));
    QCOMPARE(DVKeychain::loadValueForKey(key), QStringLiteral("second"));
    QCOMPARE(m_state->calls, QStringList{QStringLiteral("read")});
    QVERIFY(DVKeychain::deleteValueForKey(key));
    QVERIFY(!DVKeychain::deleteValueForKey(key));
    QVERIFY(!DVKeychain::loadValueForKey(key));
    restart();
    QVERIFY(!DVKeychain::loadValueForKey(key));
    QCOMPARE(DVWrittenLog::take(), QStringList());
}

void tst_Keychain::applicationsDoNotShareItems()
{
    DVKeychain::saveValue(QStringLiteral("mine"), key);
    QCoreApplication::setApplicationName(QStringLiteral("orchard"));
    restart();
    QVERIFY(!DVKeychain::loadValueForKey(key));
    DVKeychain::saveValue(QStringLiteral("theirs"), key);
    QCoreApplication::setApplicationName(QStringLiteral("garden"));
    restart();
    QCOMPARE(DVKeychain::loadValueForKey(key), QStringLiteral("mine"));
}

void tst_Keychain::accessGroupsAreSeparate()
{
    const QString group = QStringLiteral("com.example.shared");
    DVKeychain::saveValue(QStringLiteral("in the group"), key, group);
    QVERIFY(!DVKeychain::loadValueForKey(key));
    restart();
    QCOMPARE(DVKeychain::loadValueForKey(key, group), QStringLiteral("in the group"));
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
    QCOMPARE(DVKeychain::getKeychainQuery(key, QStringLiteral("g")).accessGroup, QStringLiteral("g"));
    // No system that these tests run on gives applications a prefix.
    QVERIFY(DVKeychain::getBundleSeedIdentifier().isNull());
    QCOMPARE(DVKeychain::getFullAppleIdentifier(QStringLiteral("g")), QStringLiteral("g"));
}

void tst_Keychain::withoutServiceMemoryServes()
{
    dv_setKeychainService(nullptr);
    QVERIFY(!DVKeychain::loadValueForKey(key));
    QVERIFY(DVKeychain::saveValue(QStringLiteral("here"), key));
    QCOMPARE(DVKeychain::loadValueForKey(key), QStringLiteral("here"));
    QVERIFY(DVKeychain::deleteValueForKey(key));
    QVERIFY(!DVKeychain::loadValueForKey(key));
    QCOMPARE(DVWrittenLog::take(), QStringList{QString(memoryOnly + u"the application has none")});
}

void tst_Keychain::silentServiceHoldsNothingUp()
{
    m_state->answers = State::Never;
    QElapsedTimer timer;
    timer.start();
    QVERIFY(!DVKeychain::loadValueForKey(key));
    QVERIFY2(timer.elapsed() >= DVKeychain::loadTimeoutMs - 1, "it did not wait");
    QVERIFY2(timer.elapsed() < generousMs, "it waited too long");
    QCOMPARE(DVWrittenLog::take(), QStringList{QString(memoryOnly + u"it does not answer")});
    QVERIFY(DVKeychain::saveValue(QStringLiteral("here"), key));
    QCOMPARE(DVKeychain::loadValueForKey(key), QStringLiteral("here"));
}

void tst_Keychain::silentServiceIsAskedOnce()
{
    m_state->answers = State::Never;
    for (int i = 0; i < 5; ++i)
        QVERIFY(!DVKeychain::loadValueForKey(key));
    QCOMPARE(m_state->calls, QStringList{QStringLiteral("read")});
    // A change that is never answered is said, too, by a process that has not read.
    restart();
    DVWrittenLog::take();
    DVKeychain::saveValue(QStringLiteral("here"), key);
    QCOMPARE(DVWrittenLog::take(), QStringList());
    QTRY_COMPARE_WITH_TIMEOUT(DVWrittenLog::count(), 1, generousMs);
    QCOMPARE(DVWrittenLog::take(), QStringList{QString(memoryOnly + u"it does not answer")});
}

void tst_Keychain::everyFailureTogetherIsOneLine()
{
    m_state->answers = State::Failing;
    QVERIFY(!DVKeychain::loadValueForKey(key));
    QVERIFY(DVKeychain::saveValue(QStringLiteral("here"), key));
    DVKeychain::deleteValueForKey(QStringLiteral("userId"));
    QCoreApplication::processEvents();
    QCOMPARE(DVKeychain::loadValueForKey(key), QStringLiteral("here"));
    QCOMPARE(DVWrittenLog::take(), QStringList{QString(memoryOnly + u"it is broken")});
}

void tst_Keychain::lateItemArrivesOnTheMainThread()
{
    DVKeychain::saveValue(QStringLiteral("kept"), key);
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
    QTRY_COMPARE_WITH_TIMEOUT(arrived, QStringList{QStringLiteral("kept")}, generousMs);
    QCOMPARE(DVKeychain::loadValueForKey(key), QStringLiteral("kept"));
    QCoreApplication::processEvents();
    QCOMPARE(arrived.size(), 1);
}

void tst_Keychain::lateReadLosesAgainstAChange_data()
{
    QTest::addColumn<bool>("saves");
    QTest::newRow("a sign-in that came first stays") << true;
    QTest::newRow("what was deleted does not come back") << false;
}

void tst_Keychain::lateReadLosesAgainstAChange()
{
    QFETCH(bool, saves);
    DVKeychain::saveValue(QStringLiteral("old"), key);
    restart();
    m_state->answers = State::Held;
    bool arrived = false;
    QVERIFY(!DVKeychain::loadValueForKey(key, {}, [&arrived](const QString &) { arrived = true; }));
    if (saves)
        DVKeychain::saveValue(QStringLiteral("new"), key);
    else
        DVKeychain::deleteValueForKey(key);
    m_state->release();
    // Work for the main thread runs in order: what follows the late answer has seen it.
    QCoreApplication::processEvents();
    QCOMPARE(DVKeychain::loadValueForKey(key),
             saves ? std::optional(QStringLiteral("new")) : std::optional<QString>());
    QVERIFY(!arrived);
    m_state->answers = State::AtOnce;
    restart();
    QCOMPARE(DVKeychain::loadValueForKey(key),
             saves ? std::optional(QStringLiteral("new")) : std::optional<QString>());
}

void tst_Keychain::serviceThatDiesInACallIsHarmless()
{
    m_state->answers = State::Held;
    QVERIFY(!DVKeychain::loadValueForKey(key));
    DVKeychain::saveValue(QStringLiteral("here"), key);
    const auto held = std::exchange(m_state->held, {});
    dv_setKeychainService(nullptr);
    m_state.reset();
    for (const auto &answer : held) {
        answer(); // and twice
        answer();
    }
    QCoreApplication::processEvents();
    QCOMPARE(DVKeychain::loadValueForKey(key), QStringLiteral("here"));
}

void tst_Keychain::damagedArchives_data()
{
    QTest::addColumn<QString>("archive");
    QTest::addColumn<QString>("fault"); // empty: that of the JSON reader
    QTest::newRow("not JSON") << QStringLiteral("topsecret") << QString();
    QTest::newRow("cut off") << QStringLiteral("{\"version\":1,\"text\":\"topsec") << QString();
    const QString foreign = QStringLiteral("not an archive of ours");
    QTest::newRow("an empty text") << QStringLiteral("") << QString();
    QTest::newRow("another version") << QStringLiteral("{\"version\":2,\"text\":\"topsecret\"}") << foreign;
    QTest::newRow("no text") << QStringLiteral("{\"version\":1}") << foreign;
    QTest::newRow("a text that is a number") << QStringLiteral("{\"version\":1,\"text\":7}") << foreign;
    QTest::newRow("a list") << QStringLiteral("[1]") << foreign;
}

void tst_Keychain::damagedArchives()
{
    QFETCH(QString, archive);
    QFETCH(QString, fault);
    DVKeychain::saveValue(QStringLiteral("x"), key);
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
    QTest::addColumn<QString>("text");
    QTest::newRow("empty") << QStringLiteral("");
    QTest::newRow("JSON in it") << QStringLiteral("{\"a\":\"\\\"\\\\\"}");
    QTest::newRow("line breaks, a null and emoji") << QString(u"a\r\n" % QChar(u'\0') % u"\U0001F331");
    QTest::newRow("100,000 characters") << QString(100000, u'x');
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
