#include "DVAnalytics.h"

#include "DVDevice.h"
#include "DVMainQueue.h"
#include "DVNetwork.h"
#include "DVRows.h"
#include "DVUserDefaults.h"
#include "NetworkDevice.h"

#include <QDeadlineTimer>
#include <QLockFile>
#include <QProcess>
#include <QRegularExpression>
#include <QSemaphore>
#include <QSocketNotifier>
#include <QUrl>
#include <QUuid>

#include <unistd.h>

using Answer = DVFaultServer::Answer;

namespace {

QString filePath()
{
    return DVAnalytics::sharedInstance().saveFilePath();
}

QJsonObject savedRecord()
{
    return QJsonDocument::fromJson(NetworkDevice::read(filePath())).object();
}

QJsonArray savedEvents()
{
    return savedRecord()[u"events"].toArray();
}

void putFile(const QByteArray &content)
{
    NetworkDevice::write(filePath(), content);
}

// A send has been: nothing leaves until five minutes are over.
void pauseSending(double secondsAgo = 0, const QByteArray &more = {})
{
    putFile("{\"lastSent\":" + QByteArray::number(DVClock::secondsSince1970() - secondsAgo, 'f', 3) + more +
            '}');
}

void allowSending()
{
    QFile::remove(filePath());
}

QStringList names(const QJsonArray &events)
{
    QStringList result;
    for (const QJsonValue event : events)
        result.append(event[u"event"].toString());
    return result;
}

QStringList savedNames()
{
    return names(savedEvents());
}

QJsonObject properties(const QJsonArray &events, qsizetype index)
{
    return events[index][u"properties"].toObject();
}

// Lets a send that is due begin: the decision travels over the main thread back to the queue.
void settle()
{
    DVAnalytics::sharedInstance().drain();
    QCoreApplication::processEvents();
    QCoreApplication::processEvents();
    DVAnalytics::sharedInstance().drain();
}

void track(const QString &name, const QVariantMap &parameters = {})
{
    DVAnalytics::trackEvent(name, parameters);
    settle();
}

// The events that a request of the form "data=<base64, percent-encoded>" carries.
QJsonArray eventsOf(const DVFaultServer::Request &request)
{
    if (!request.body.startsWith("data="))
        return {};
    const QByteArray text = QByteArray::fromPercentEncoding(request.body.mid(5));
    const auto decoded = QByteArray::fromBase64Encoding(text, QByteArray::AbortOnBase64DecodingErrors);
    return decoded ? QJsonDocument::fromJson(*decoded).array() : QJsonArray();
}

// A second process: this program again, under another name of main.
class Child
{
public:
    explicit Child(const QStringList &arguments)
    {
        m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        m_process.start(QCoreApplication::applicationFilePath(), QStringList(u"--child"_qs) + arguments);
    }
    ~Child()
    {
        m_process.kill();
        m_process.waitForFinished();
    }
    Q_DISABLE_COPY_MOVE(Child)

    bool waitForLine(const QByteArray &line)
    {
        while (!m_output.contains(QByteArray(line + '\n'))) {
            if (!m_process.waitForReadyRead(30000))
                return false;
            m_output += m_process.readAllStandardOutput();
        }
        return true;
    }
    void say(const QByteArray &line)
    {
        m_process.write(line + '\n');
        m_process.waitForBytesWritten();
    }
    QProcess &process() { return m_process; }

private:
    QProcess m_process;
    QByteArray m_output;
};

void print(const char *line)
{
    std::puts(line);
    std::fflush(stdout);
}

// Saves one event after the other until it is killed.
int neverRest(QCoreApplication &, const QString &)
{
    print("ready");
    for (int i = 0;; ++i) {
        DVAnalytics::trackEvent(QString::number(i));
        DVAnalytics::sharedInstance().drain();
    }
}

constexpr int eventsOfAChild = 50;

// Saves events one by one while another process does, sending when it is due; ends with its input.
int trackOneByOne(QCoreApplication &app, const QString &name)
{
    QSocketNotifier input(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&input, &QSocketNotifier::activated, &app, [&] {
        char byte = 0;
        if (read(STDIN_FILENO, &byte, 1) <= 0)
            app.quit();
    });
    print("ready");
    char go = 0;
    while (go != '\n' && read(STDIN_FILENO, &go, 1) == 1)
        ;
    for (int i = 0; i < eventsOfAChild; ++i)
        track(u"%1 %2"_qs.arg(name).arg(i));
    print("tracked");
    const int status = QCoreApplication::exec();
    DVAnalytics::sharedInstance().finish(1000);
    return status;
}

int childMain(int argc, char **argv)
{
    using Role = int (*)(QCoreApplication &, const QString &);
    const QHash<QString, Role> roles{{u"never-rest"_qs, neverRest}, {u"one-by-one"_qs, trackOneByOne}};
    int status = 0;
    {
        QCoreApplication app(argc, argv);
        const QStringList arguments = QCoreApplication::arguments(); // program --child role folder url name
        DVFolders::setDocuments(arguments.value(3));
        DVServerUrl::setServers({{u"delivery"_qs, arguments.value(4)}});
        if (const Role role = roles.value(arguments.value(2)))
            return role(app, arguments.value(5));
        DVAnalytics::trackEvent(u"alive"_qs);
        DVAnalytics::sharedInstance().drain();
        DVAnalytics::sharedInstance().finish(1000);
    }
    DVAnalytics::trackEvent(u"afterwards"_qs);
    DVAnalytics::sharedInstance().drain();
    DVAnalytics::sharedInstance().finish(1000);
    return status;
}

} // namespace

class TestAnalytics : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void standardProperties();
    void stateInProperties_data();
    void stateInProperties();
    void parametersOfAnyType_data();
    void parametersOfAnyType();
    void callersKeysWin();
    void timers();

    void aKillInTheMiddleOfASave_data();
    void aKillInTheMiddleOfASave();
    void theDeviceKeepsItsIdentifier();
    void damagedFiles_data();
    void damagedFiles();
    void aTooLargeFileIsUnreadable();
    void noFolderKeepsEventsInMemory();
    void aLockHeldElsewhereDelaysOnly();
    void aLockOfNobodyIsTakenOver();

    void theOldestGoBeyondTheCount();
    void theOldestGoBeyondTheBytes();
    void aBurstBehindAStalledDiskIsCapped();
    void aDroppedReportIsNotForgotten();

    void oneRequestInFiveMinutes();
    void whenASendIsDue_data();
    void whenASendIsDue();
    void aFailedSendKeepsEvents_data();
    void aFailedSendKeepsEvents();
    void eventsDuringASendSurviveIt();
    void twoProcessesMergeAndSendOnce();
    void finishSaves();
    void switchedOff();

    void withoutAnApplication();

private:
    // Of the last request.
    QStringList sentNames() const { return names(eventsOf(m_device->server.requests().constLast())); }

    std::unique_ptr<NetworkDevice> m_device;
};

void TestAnalytics::initTestCase()
{
    bool turned = false;
    DVMainQueue::postAfterFirstTurn([&] { turned = true; });
    QTRY_VERIFY(turned);
}

void TestAnalytics::init()
{
    QTest::failOnWarning(QRegularExpression(u".*"_qs));
    m_device = std::make_unique<NetworkDevice>();
    DVUserDefaults::standard().reload();
    DVAnalytics::sharedInstance().forgetLoaded();
    DVState::shared().setAppId({});
    DVState::shared().analyticsEnabled = true;
    m_device->answer(Answer::of(200, "{}"));
    pauseSending();
}

void TestAnalytics::cleanup()
{
    settle();
    m_device.reset();
    DVDevice::setOverride({});
    DVState::shared().servingMode = DVState::shared().screenshotMode = false;
    DVState::shared().setUserEmail({});
    QCoreApplication::setApplicationVersion({});
}

void TestAnalytics::standardProperties()
{
    DVDevice::setOverride({QStringList{u"fr-CA"_qs, u"en-US"_qs}, u"fr_CA"_qs, u"17.0"_qs});
    DVState::shared().setAppId(u"project-1"_qs);
    DVState::shared().setCurrentLocaleIdentifier(u"fr_CA"_qs);
    DVState::shared().setUserEmail(u"a@example.org"_qs);
    QCoreApplication::setApplicationVersion(u"2.5"_qs);
    const double before = DVClock::secondsSince1970();
    track(u"Open menu"_qs);
    const QJsonArray events = savedEvents();
    QCOMPARE(names(events), QStringList{u"Open menu"_qs});
    QJsonObject found = properties(events, 0);
    const double time = found.take(u"time").toDouble();
    QVERIFY(time >= before && time <= DVClock::secondsSince1970());
    const QJsonObject expected{{u"Platform"_qs, u"iOS"_qs},
                               {u"OSVersion"_qs, u"17.0"_qs},
                               {u"Device"_qs, QSysInfo::currentCpuArchitecture()},
                               {u"SDKVersion"_qs, u"1.4.1"_qs},
                               {u"SystemLanguage"_qs, u"fr-CA"_qs},
                               {u"SystemRegionFormat"_qs, u"fr_CA"_qs},
                               {u"LoggingLevel"_qs, 0},
                               {u"LoggedIn"_qs, 1},
                               {u"Mode"_qs, u"Disabled"_qs},
                               {u"uuid"_qs, *DVUserDefaults::standard().stringForKey(u"DVDevice"_qs)},
                               {u"projectId"_qs, u"project-1"_qs},
                               {u"dorvaneLocale"_qs, u"fr_CA"_qs},
                               {u"User"_qs, u"a@example.org"_qs},
                               {u"AppVersion"_qs, u"2.5"_qs}};
    QCOMPARE(found.keys(), expected.keys());
    found[u"Device"] = expected[u"Device"]; // uname's word is the device's test
    QCOMPARE(found, expected);
    QCOMPARE(QFile(filePath()).permissions() & (QFile::ReadGroup | QFile::ReadOther | QFile::WriteGroup), 0);
}

void TestAnalytics::stateInProperties_data()
{
    const DVRows<QString, QString, int> row("flags", "mode", "level");
    row("nothing set", {}, u"Disabled"_qs, 0);
    row("serving, logging", u"serving log"_qs, u"Serving"_qs, 1);
    row("debugging goes before logging", u"edition log debug"_qs, u"Edition"_qs, 2);
    row("debugging without logging", u"screenshot debug"_qs, u"Context"_qs, 2);
    row("serving goes before edition", u"serving edition screenshot"_qs, u"Serving"_qs, 0);
    row("edition goes before screenshots", u"edition screenshot"_qs, u"Edition"_qs, 0);
}

void TestAnalytics::stateInProperties()
{
    QFETCH(QString, flags);
    DVState &state = DVState::shared();
    const auto has = [&](QLatin1StringView flag) { return flags.split(u' ').contains(flag); };
    state.servingMode = has(QLatin1StringView("serving"));
    state.editionMode = has(QLatin1StringView("edition"));
    state.screenshotMode = has(QLatin1StringView("screenshot"));
    state.log = has(QLatin1StringView("log"));
    state.debug = has(QLatin1StringView("debug"));
    track(u"Launch"_qs);
    const QJsonObject found = properties(savedEvents(), 0);
    QTEST(found[u"Mode"].toString(), "mode");
    QTEST(found[u"LoggingLevel"].toInt(-1), "level");
    QCOMPARE(found[u"LoggedIn"], QJsonValue(0));
    for (const QString &key : {u"projectId"_qs, u"dorvaneLocale"_qs, u"User"_qs, u"AppVersion"_qs})
        QVERIFY2(!found.contains(key), qPrintable(key));
}

void TestAnalytics::parametersOfAnyType_data()
{
    const DVRows<QVariant, QJsonValue> row("value", "json");
    row("nothing is null", QVariant(), QJsonValue(QJsonValue::Null));
    row("a truth value", QVariant(true), QJsonValue(true));
    row("an integer", QVariant(-7), QJsonValue(-7));
    row("an integer that a double cannot hold", QVariant(qint64(9007199254740993)),
        QJsonValue(qint64(9007199254740993)));
    row("a float", QVariant(0.5f), QJsonValue(0.5));
    row("not-a-number is null", QVariant(qQNaN()), QJsonValue(QJsonValue::Null));
    row("infinity is null", QVariant(qInf()), QJsonValue(QJsonValue::Null));
    row("a text with quotes, line ends and a character outside the first plane",
        QVariant(u"\"\n\U0001F600"_qs), QJsonValue(u"\"\n\U0001F600"_qs));
    row("an empty text", QVariant(u""_qs), QJsonValue(u""_qs));
    row("a list", QVariant(QVariantList{1, u"a"_qs, QVariant()}),
        QJsonValue(QJsonArray{1, u"a"_qs, QJsonValue::Null}));
    row("a dictionary", QVariant(QVariantMap{{u"k"_qs, 1}}), QJsonValue(QJsonObject{{u"k"_qs, 1}}));
    row("a date is its ISO 8601 text", QVariant(QDateTime(QDate(2020, 2, 3), QTime(4, 5, 6), Qt::UTC)),
        QJsonValue(u"2020-02-03T04:05:06.000Z"_qs));
    row("a URL is its text", QVariant(QUrl(u"https://example.org/a"_qs)),
        QJsonValue(u"https://example.org/a"_qs));
    row("a type that JSON has no word for is null", QVariant::fromValue(static_cast<QObject *>(nullptr)),
        QJsonValue(QJsonValue::Null));
}

void TestAnalytics::parametersOfAnyType()
{
    QFETCH(QVariant, value);
    QFETCH(QJsonValue, json);
    track(u"Changed locale"_qs, {{u"Locale"_qs, value}});
    const QJsonObject found = properties(savedEvents(), 0);
    QVERIFY(found.contains(u"Locale"));
    QCOMPARE(found[u"Locale"], json);
}

void TestAnalytics::callersKeysWin()
{
    track(u"Launch"_qs, {{u"Mode"_qs, u"mine"_qs}, {u"time"_qs, 1}, {u"uuid"_qs, QVariant()}});
    const QJsonObject found = properties(savedEvents(), 0);
    QCOMPARE(found[u"Mode"], QJsonValue(u"mine"_qs));
    QCOMPARE(found[u"time"], QJsonValue(1));
    QCOMPARE(found[u"uuid"], QJsonValue(QJsonValue::Null));
}

void TestAnalytics::timers()
{
    DVAnalytics::stopEventTimer(u"First launch"_qs, {{u"Attempts"_qs, 1}}); // never started
    DVAnalytics::startEventTimer(u"First launch"_qs);
    DVAnalytics::stopEventTimer(u"First launch"_qs, {{u"Attempts"_qs, 2}});
    DVAnalytics::stopEventTimer(u"First launch"_qs); // from the same start
    DVAnalytics::stopEventTimer(u"Strings download"_qs);
    DVClock::advance(-3'600'000); // a corrected wall clock makes no negative duration
    DVAnalytics::stopEventTimer(u"First launch"_qs);
    settle();
    const QJsonArray events = savedEvents();
    QCOMPARE(events.size(), 5);
    QVERIFY(!properties(events, 0).contains(u"duration"));
    QCOMPARE(properties(events, 0)[u"Attempts"], QJsonValue(1));
    const double first = properties(events, 1)[u"duration"].toDouble();
    const double second = properties(events, 2)[u"duration"].toDouble();
    QVERIFY2(first > 0 && first < second && second < 60, qPrintable(u"%1 %2"_qs.arg(first).arg(second)));
    QVERIFY(!properties(events, 3).contains(u"duration"));
    QVERIFY(properties(events, 4)[u"duration"].toDouble() > second);
}

void TestAnalytics::aKillInTheMiddleOfASave_data()
{
    const DVRows<int> row("events");
    for (const int events : {1, 2, 5, 9, 14, 20})
        QTest::addRow("after event %d", events) << events;
}

// Wherever the kill falls: the file holds a run of events without a gap, and its lock is taken over.
void TestAnalytics::aKillInTheMiddleOfASave()
{
    QFETCH(int, events);
    Child child({u"never-rest"_qs, m_device->path(), m_device->server.url()});
    QVERIFY(child.waitForLine("ready"));
    const QDeadlineTimer patience(30000);
    while (savedEvents().size() < events)
        QVERIFY(!patience.hasExpired());
    child.process().kill();
    QVERIFY(child.process().waitForFinished());
    const QStringList saved = savedNames();
    QVERIFY(saved.size() >= events);
    for (int i = 0; i < saved.size(); ++i)
        QCOMPARE(saved.at(i), QString::number(i));
    track(u"mine"_qs);
    QCOMPARE(savedNames(), saved + QStringList{u"mine"_qs});
}

void TestAnalytics::theDeviceKeepsItsIdentifier()
{
    DVUserDefaults &defaults = DVUserDefaults::standard();
    const auto identifier = [] {
        track(u"Launch"_qs);
        return properties(savedEvents(), savedEvents().size() - 1)[u"uuid"].toString();
    };
    const QString first = identifier();
    QVERIFY(!QUuid(first).isNull());
    QCOMPARE(first.size(), 36);
    QCOMPARE(first, first.toUpper());
    DVAnalytics::sharedInstance().forgetLoaded();
    defaults.reload();
    QCOMPARE(identifier(), first);
    DVAnalytics::sharedInstance().forgetLoaded();
    defaults.removeKey(u"DVDevice"_qs);
    QVERIFY(identifier() != first);
}

void TestAnalytics::damagedFiles_data()
{
    const DVRows<QByteArray, QStringList> row("content", "kept");
    const QByteArray old = "{\"event\":\"old\",\"properties\":{}}";
    row("empty", {}, {});
    row("no JSON", QByteArray("\0\xff\xfe garbage", 11), {});
    row("cut short", QByteArray("{\"events\":[" + old + ",{\"ev"), {});
    row("an array", QByteArray('[' + old + ']'), {});
    row("events that are a text", "{\"events\":\"many\"}", {});
    row("events among which not all are objects", QByteArray("{\"events\":[1,null,[]," + old + ",\"x\"]}"),
        {u"old"_qs});
    row("nested beyond reason", QByteArray("{\"events\":" + QByteArray(100000, '[')), {});
    row("a last send that is a text, and a count that is no number",
        QByteArray("{\"events\":[" + old + "],\"lastSent\":\"x\",\"dropped\":{}}"), {u"old"_qs});
    row("a count below zero", QByteArray("{\"events\":[" + old + "],\"dropped\":-5}"), {u"old"_qs});
}

void TestAnalytics::damagedFiles()
{
    QFETCH(QByteArray, content);
    QFETCH(QStringList, kept);
    putFile(content);
    DVState::shared().setAppId(u"p"_qs);
    m_device->answer(Answer::of(500, "{}"));
    track(u"Launch"_qs);
    const QStringList expected = kept + QStringList{u"Launch"_qs};
    QCOMPARE(savedNames().first(expected.size()), expected);
    QVERIFY(!properties(savedEvents(), kept.size()).contains(u"DroppedEvents"));
    QTRY_VERIFY(savedNames().contains(u"Request failed"_qs)); // it was sent, too
}

void TestAnalytics::aTooLargeFileIsUnreadable()
{
    const QByteArray event = "{\"event\":\"old\",\"properties\":{}}";
    const auto padded = [&](qsizetype size) -> QByteArray {
        QByteArray content = "{\"lastSent\":" + QByteArray::number(DVClock::secondsSince1970(), 'f', 3) +
                             ",\"events\":[" + event + ']';
        return content + QByteArray(size - content.size() - 1, ' ') + '}';
    };
    m_device->answer(Answer::of(500, "{}"));
    putFile(padded(8 << 20));
    track(u"new"_qs);
    QCOMPARE(savedNames(), (QStringList{u"old"_qs, u"new"_qs}));
    putFile(padded((8 << 20) + 1));
    track(u"newer"_qs); // sent as well: the date of the last send is unreadable, too
    QTRY_COMPARE(savedNames(), (QStringList{u"newer"_qs, u"Request failed"_qs}));
}

void TestAnalytics::noFolderKeepsEventsInMemory()
{
    QVERIFY(QDir(DVFolders::dorvaneFiles()).removeRecursively());
    NetworkDevice::write(DVFolders::dorvaneFiles(), {}); // a file where the folder should be
    m_device->answer(Answer::of(500, "{}"));
    track(u"one"_qs);
    QVERIFY2(m_device->server.waitForRequests(1), "what cannot be saved can be sent");
    track(u"two"_qs);
    QVERIFY(savedRecord().isEmpty());
    QVERIFY(QFile::remove(DVFolders::dorvaneFiles()));
    track(u"three"_qs);
    QTRY_VERIFY(savedNames().contains(u"Request failed"_qs));
    QStringList saved = savedNames();
    saved.removeAll(u"Request failed"_qs);
    QCOMPARE(saved, (QStringList{u"one"_qs, u"two"_qs, u"three"_qs}));
    QVERIFY2(savedRecord().contains(u"lastSent"), "the pause holds as well");
}

void TestAnalytics::aLockHeldElsewhereDelaysOnly()
{
    track(u"one"_qs);
    QLockFile lock(filePath() + u".lock"_qs);
    QVERIFY(lock.tryLock(5000));
    DVAnalytics::trackEvent(u"two"_qs);
    DVAnalytics::sharedInstance().drain(); // gives up
    QVERIFY(!savedNames().contains(u"two"_qs));
    lock.unlock();
    DVAnalytics::sharedInstance().finish(5000);
    QVERIFY(savedNames().contains(u"two"_qs));
}

// What a process leaves that is killed just after making its lock file.
void TestAnalytics::aLockOfNobodyIsTakenOver()
{
    const QString lock = filePath() + u".lock"_qs;
    NetworkDevice::write(lock, {});
    track(u"one"_qs);
    QCOMPARE(savedNames(), QStringList{u"one"_qs});
    QVERIFY(!QFile::exists(lock));
}

void TestAnalytics::theOldestGoBeyondTheCount()
{
    for (int i = 0; i < DVAnalytics::maximumEvents + 10; ++i) {
        DVAnalytics::trackEvent(u"event %1"_qs.arg(i));
        if (i % 100 == 0)
            settle();
    }
    settle();
    QCOMPARE(savedEvents().size(), DVAnalytics::maximumEvents);
    QCOMPARE(savedNames().constFirst(), u"event 10"_qs);

    DVAnalytics::sharedInstance().forgetLoaded(); // the count is carried by the file
    track(u"Launch"_qs);
    QCOMPARE(properties(savedEvents(), DVAnalytics::maximumEvents - 1)[u"DroppedEvents"], QJsonValue(10));
    track(u"Launch"_qs); // the launch before pushed one out itself
    QCOMPARE(properties(savedEvents(), DVAnalytics::maximumEvents - 1)[u"DroppedEvents"], QJsonValue(1));
    QCOMPARE(savedNames().constFirst(), u"event 12"_qs);
}

void TestAnalytics::theOldestGoBeyondTheBytes()
{
    const QString text(100 * 1024, u'x'); // ten of them and their properties fit into 1 MiB, eleven do not
    for (int i = 0; i < 12; ++i)
        track(u"event %1"_qs.arg(i), {{u"Description"_qs, text}});
    QCOMPARE(savedNames().constFirst(), u"event 2"_qs);
    QCOMPARE(savedEvents().size(), 10);
    track(u"huge"_qs, {{u"Description"_qs, QString(DVAnalytics::maximumBytes, u'x')}});
    QVERIFY2(savedEvents().isEmpty(), "what fits into no file pushes out the others and goes as well");
    track(u"Launch"_qs);
    QCOMPARE(properties(savedEvents(), 0)[u"DroppedEvents"], QJsonValue(13));
}

void TestAnalytics::aBurstBehindAStalledDiskIsCapped()
{
    QLockFile stall(filePath() + u".lock"_qs); // holds the queue as a disk would
    QVERIFY(stall.tryLock(5000));
    for (int i = 0; i < DVAnalytics::maximumEvents + 500; ++i)
        DVAnalytics::trackEvent(u"event %1"_qs.arg(i));
    stall.unlock();
    settle();
    QCOMPARE(savedEvents().size(), DVAnalytics::maximumEvents);
    QCOMPARE(savedNames().constFirst(), u"event 500"_qs);
    QCOMPARE(savedRecord()[u"dropped"], QJsonValue(500));
}

void TestAnalytics::aDroppedReportIsNotForgotten()
{
    const QByteArrayList others(DVAnalytics::maximumEvents - 1, R"({"event":"e","properties":{}})");
    pauseSending(0, R"(,"events":[{"event":"Launch","properties":{"DroppedEvents":10}},)" + others.join(',') +
                        ']');
    track(u"pushes the launch out"_qs);
    QCOMPARE(savedRecord()[u"dropped"], QJsonValue(11));
}

void TestAnalytics::oneRequestInFiveMinutes()
{
    allowSending();
    DVAnalytics::trackEvent(u"one"_qs);
    DVAnalytics::trackEvent(u"two"_qs);
    settle();
    QTRY_COMPARE(savedEvents().size(), 0); // sent and taken out
    const DVFaultServer::Request request = m_device->server.requests().constFirst();
    QCOMPARE(request.method, "POST");
    QCOMPARE(request.target, "/track");
    QCOMPARE(request.header("Content-Type"), "application/x-www-form-urlencoded");
    QVERIFY(request.header("Authorization").isNull());
    QCOMPARE(sentNames(), (QStringList{u"one"_qs, u"two"_qs}));

    DVClock::advance(130'000);
    track(u"three"_qs);
    DVAnalytics::sharedInstance().forgetLoaded(); // the pause survives a restart
    track(u"four"_qs);
    QCOMPARE(savedNames(), (QStringList{u"three"_qs, u"four"_qs}));
    DVClock::advance(170'000);
    track(u"five"_qs);
    QTRY_COMPARE(savedEvents().size(), 0);
    QCOMPARE(m_device->server.requests().size(), 2);
    QCOMPARE(sentNames(), (QStringList{u"three"_qs, u"four"_qs, u"five"_qs}));
}

void TestAnalytics::whenASendIsDue_data()
{
    const DVRows<double, bool> row("secondsAgo", "due");
    row("just now", 0.0, false);
    row("a little less than five minutes ago", 295.0, false);
    row("five minutes ago", 300.0, true);
    row("long ago", 1e8, true);
    row("in the future", -30.0, false);
    row("in a future that nobody lives to see", -1e300, false);
}

void TestAnalytics::whenASendIsDue()
{
    QFETCH(double, secondsAgo);
    QFETCH(bool, due);
    pauseSending(secondsAgo);
    track(u"event"_qs);
    QTRY_COMPARE(savedEvents().size(), due ? 0 : 1);
    // A request of ours, behind any that may be under way.
    const DVOutcome<> marker;
    DVNetwork::getUrl(m_device->server.url(u"/marker"_qs), marker.take());
    QTRY_COMPLETED(marker);
    QStringList targets;
    for (const DVFaultServer::Request &request : m_device->server.requests())
        targets.append(QString::fromLatin1(request.target));
    QCOMPARE(targets, due ? QStringList({u"/track"_qs, u"/marker"_qs}) : QStringList{u"/marker"_qs});
}

void TestAnalytics::aFailedSendKeepsEvents_data()
{
    // status: 0: the connection is reset
    const DVRows<int> row("status");
    row("the server fails", 500);
    row("the connection is reset", 0);
}

void TestAnalytics::aFailedSendKeepsEvents()
{
    QFETCH(int, status);
    allowSending();
    m_device->answer(status ? Answer::of(status, "{}") : Answer::failing(DVFaultServer::Fault::Reset));
    const double before = DVClock::secondsSince1970();
    track(u"one"_qs);
    QTRY_COMPARE(savedNames(), (QStringList{u"one"_qs, u"Request failed"_qs}));
    QVERIFY(savedRecord()[u"lastSent"].toDouble() >= before - 0.001);

    m_device->answer(Answer::of(200, "{}"));
    DVClock::advance(300'000);
    track(u"two"_qs);
    QTRY_COMPARE(savedEvents().size(), 0);
    QCOMPARE(sentNames(), (QStringList{u"one"_qs, u"Request failed"_qs, u"two"_qs}));
}

void TestAnalytics::eventsDuringASendSurviveIt()
{
    allowSending();
    auto answer = std::make_shared<QSemaphore>();
    m_device->server.setHandler([answer](const DVFaultServer::Request &) {
        answer->acquire();
        return Answer::of(200, "{}");
    });
    track(u"Open menu"_qs);
    QVERIFY(m_device->server.waitForRequests(1));
    track(u"Open menu"_qs); // the same name: only the events that were sent go
    track(u"later"_qs);
    DVClock::advance(300'000);
    track(u"due again"_qs); // but not while that send is under way
    QCOMPARE(savedEvents().size(), 4);
    answer->release(2);
    QTRY_COMPARE(savedNames(), (QStringList{u"Open menu"_qs, u"later"_qs, u"due again"_qs}));
    track(u"last"_qs);
    QTRY_COMPARE(savedEvents().size(), 0);
    QCOMPARE(m_device->server.requests().size(), 2);
    QCOMPARE(sentNames(), (QStringList{u"Open menu"_qs, u"later"_qs, u"due again"_qs, u"last"_qs}));
}

void TestAnalytics::twoProcessesMergeAndSendOnce()
{
    allowSending();
    Child a({u"one-by-one"_qs, m_device->path(), m_device->server.url(), u"a"_qs});
    Child b({u"one-by-one"_qs, m_device->path(), m_device->server.url(), u"b"_qs});
    QVERIFY(a.waitForLine("ready") && b.waitForLine("ready"));
    a.say("go");
    b.say("go");
    QVERIFY(a.waitForLine("tracked") && b.waitForLine("tracked"));
    QVERIFY(m_device->server.waitForRequests(1));
    const QStringList sent = sentNames();
    QTRY_COMPARE(savedEvents().size(), 2 * eventsOfAChild - sent.size());
    a.process().closeWriteChannel();
    b.process().closeWriteChannel();
    QVERIFY(a.process().waitForFinished() && b.process().waitForFinished());
    QCOMPARE(m_device->server.requests().size(), 1);

    QStringList all = sent + savedNames();
    for (const QString &name : {u"a"_qs, u"b"_qs}) {
        const QStringList own = all.filter(name + u' ');
        QCOMPARE(own.size(), eventsOfAChild);
        for (int i = 0; i < eventsOfAChild; ++i)
            QCOMPARE(own.at(i), u"%1 %2"_qs.arg(name).arg(i));
    }
}

void TestAnalytics::finishSaves()
{
    for (int i = 0; i < 50; ++i)
        DVAnalytics::trackEvent(u"event %1"_qs.arg(i));
    DVAnalytics::sharedInstance().finish(5000);
    QCOMPARE(savedEvents().size(), 50);
    track(u"for a second application object"_qs);
    QCOMPARE(savedEvents().size(), 51);
}

void TestAnalytics::switchedOff()
{
    putFile("{\"events\":[{\"event\":\"old\",\"properties\":{}}]}");
    const QJsonObject before = savedRecord();
    DVState::shared().analyticsEnabled = false;
    DVAnalytics::startEventTimer(u"First launch"_qs);
    DVAnalytics::stopEventTimer(u"First launch"_qs);
    track(u"Launch"_qs);
    QCOMPARE(savedRecord(), before);
    QVERIFY(!DVUserDefaults::standard().stringForKey(u"DVDevice"_qs));

    DVState::shared().analyticsEnabled = true;
    DVAnalytics::trackEvent(u"just before"_qs);
    DVState::shared().analyticsEnabled = false; // also what the queue has not sent yet stays here
    settle();
    QCOMPARE(m_device->server.requests().size(), 0);
    QVERIFY(!savedRecord().contains(u"lastSent"));
}

void TestAnalytics::withoutAnApplication()
{
    allowSending();
    Child child({u"outlive"_qs, m_device->path(), m_device->server.url()});
    QVERIFY(child.process().waitForFinished());
    QCOMPARE(child.process().exitStatus(), QProcess::NormalExit);
    QCOMPARE(child.process().exitCode(), 0);
    QCOMPARE(savedNames(), (QStringList{u"alive"_qs, u"afterwards"_qs}));
    QVERIFY(!savedRecord().contains(u"lastSent"));
    QCOMPARE(m_device->server.requests().size(), 0);
}

#if defined(DORVANE_THREAD_SANITIZER)
// The sanitizer would end a process that starts threads after QProcess has forked from it.
extern "C" Q_DECL_EXPORT const char *__tsan_default_options();
const char *__tsan_default_options()
{
    return "die_after_fork=0";
}
#endif

int main(int argc, char **argv)
{
    if (argc > 1 && qstrcmp(argv[1], "--child") == 0)
        return childMain(argc, argv);
    QCoreApplication app(argc, argv);
    TestAnalytics test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_analytics.moc"
