// The system's keychain: a real service in a D-Bus session of this test's own, ended and stopped and locked.
#include "DVCanaries.h"

#include <QElapsedTimer>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <memory>
#include <utility>

namespace {

constexpr int generousMs = 30000;

// A process that is ended at the latest with this object.
class Child : public QProcess
{
public:
    Child(const QString &program, const QStringList &arguments, const QProcessEnvironment &environment)
    {
        setProcessEnvironment(environment);
        setProcessChannelMode(QProcess::MergedChannels);
        start(program, arguments);
        waitForStarted(generousMs);
    }
    ~Child() override { end(); }

    void end()
    {
        if (state() == NotRunning)
            return;
        kill(); // also one that was stopped
        waitForFinished(generousMs);
    }
    void signal(int number) const { ::kill(pid_t(processId()), number); }

    // Everything printed until a line begins so; empty when the process ends before.
    QString readUntil(const QString &line)
    {
        QElapsedTimer timer;
        timer.start();
        while (!QString(u'\n' + m_output).contains(QString(u'\n' + line))) {
            if (timer.elapsed() > generousMs || (!waitForReadyRead(1000) && state() == NotRunning))
                return {};
            m_output += QString::fromUtf8(readAll());
        }
        return m_output;
    }

private:
    QString m_output;
};

} // namespace

class tst_SystemKeychain : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void anotherProcessFindsTheItem();
    void aKillLeavesTheOldItemOrTheNewOne();
    void theLastSecondOfAProcessCounts();
    void withoutAnyBus_data();
    void withoutAnyBus();
    void lockedKeyring();
    void stoppedServiceAnswersLater();
    void serviceThatDies();
    void busThatDies();
    void withoutGlibInQt();

private:
    bool startBus();
    void startService(bool unlocked = true);
    QProcessEnvironment environment() const;
    // Runs the probe to its end; what it printed, the log included.
    QStringList probe(const QStringList &words, const QProcessEnvironment &environment);
    QStringList probe(const QStringList &words) { return probe(words, environment()); }
    // `save`: a word of the probe's.
    QStringList inMemoryOnly(const QProcessEnvironment &environment,
                             const QString &save = QStringLiteral("save"));
    QString path(const QString &name) const { return QString(m_home->path() % u'/' % name); }

    std::unique_ptr<QTemporaryDir> m_home;
    std::unique_ptr<Child> m_bus;
    std::unique_ptr<Child> m_service;
    QString m_address;
    const QString m_secret = DVCanaries::canary(QStringLiteral("token"));
};

namespace {

QStringList infoLines(const QStringList &output)
{
    return output.filter(QStringLiteral("[DV]"));
}

} // namespace

void tst_SystemKeychain::initTestCase()
{
    for (const auto &tool : {QStringLiteral("dbus-daemon"), QStringLiteral("gnome-keyring-daemon")}) {
        if (!QStandardPaths::findExecutable(tool).isEmpty())
            continue;
        if (qEnvironmentVariableIsSet("CI"))
            QFAIL(qPrintable(QString(tool % u" is not installed")));
        QSKIP(qPrintable(QString(tool % u" is not installed (see scripts/setup)")));
    }
}

void tst_SystemKeychain::init()
{
    m_home = std::make_unique<QTemporaryDir>();
    QVERIFY(startBus());
    startService();
}

void tst_SystemKeychain::cleanup()
{
    m_service.reset();
    m_bus.reset();
}

// Nothing of the user's: neither the home folder nor the session.
QProcessEnvironment tst_SystemKeychain::environment() const
{
    QProcessEnvironment environment;
    const auto system = QProcessEnvironment::systemEnvironment();
    for (const auto &name :
         {QStringLiteral("PATH"), QStringLiteral("LD_LIBRARY_PATH"), QStringLiteral("ASAN_OPTIONS"),
          QStringLiteral("TSAN_OPTIONS"), QStringLiteral("UBSAN_OPTIONS")}) {
        if (system.contains(name))
            environment.insert(name, system.value(name));
    }
    environment.insert(QStringLiteral("HOME"), m_home->path());
    environment.insert(QStringLiteral("LC_ALL"), QStringLiteral("C.UTF-8"));
    environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), m_home->path());
    for (const auto &name : {QStringLiteral("DATA"), QStringLiteral("CONFIG"), QStringLiteral("CACHE")})
        environment.insert(QString(u"XDG_" % name % u"_HOME"), path(name));
    environment.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), m_address);
    return environment;
}

// A bus that starts nothing by itself, so that a service which ended stays so.
bool tst_SystemKeychain::startBus()
{
    QFile configuration(path(QStringLiteral("bus.conf")));
    if (!configuration.open(QIODevice::WriteOnly))
        return false;
    configuration.write(
        QStringLiteral("<busconfig><type>session</type><listen>unix:path=%1</listen>"
                       "<auth>EXTERNAL</auth><policy context=\"default\">"
                       "<allow send_destination=\"*\" eavesdrop=\"true\"/><allow eavesdrop=\"true\"/>"
                       "<allow own=\"*\"/></policy></busconfig>\n")
            .arg(path(QStringLiteral("bus")))
            .toUtf8());
    configuration.close();
    m_address = QStringLiteral("unix:path=") + path(QStringLiteral("bus"));
    m_bus =
        std::make_unique<Child>(QStringLiteral("dbus-daemon"),
                                QStringList{QString(u"--config-file=" % configuration.fileName()),
                                            QStringLiteral("--nofork"), QStringLiteral("--print-address")},
                                environment());
    return !m_bus->readUntil(QStringLiteral("unix:")).isEmpty();
}

void tst_SystemKeychain::startService(bool unlocked)
{
    m_service.reset();
    QStringList arguments{QStringLiteral("--foreground"), QStringLiteral("--components=secrets"),
                          QString(u"--control-directory=" % path(QStringLiteral("keyring")))};
    if (unlocked)
        arguments.append(QStringLiteral("--unlock"));
    m_service = std::make_unique<Child>(QStringLiteral("gnome-keyring-daemon"), arguments, environment());
    if (unlocked) {
        m_service->write("a password");
        m_service->waitForBytesWritten(generousMs); // no event loop runs here
    }
    m_service->closeWriteChannel();
    // It is there when it owns its name on the bus.
    QElapsedTimer timer;
    timer.start();
    const QStringList ask{
        QStringLiteral("--print-reply=literal"), QStringLiteral("--dest=org.freedesktop.DBus"),
        QStringLiteral("/org/freedesktop/DBus"), QStringLiteral("org.freedesktop.DBus.NameHasOwner"),
        QStringLiteral("string:org.freedesktop.secrets")};
    QString reply;
    while (!reply.contains(u"true")) {
        QVERIFY2(timer.elapsed() < generousMs && m_service->state() == QProcess::Running,
                 m_service->readAll().constData());
        Child sender(QStringLiteral("dbus-send"), QStringList{QStringLiteral("--bus=") + m_address} + ask,
                     environment());
        sender.waitForFinished(generousMs);
        reply = QString::fromUtf8(sender.readAll());
    }
}

QStringList tst_SystemKeychain::probe(const QStringList &words, const QProcessEnvironment &environment)
{
    Child child(QStringLiteral(DORVANE_KEYCHAIN_PROBE), QStringList{QStringLiteral("Seedlings")} + words,
                environment);
    if (!child.waitForFinished(generousMs))
        return {QStringLiteral("it did not end")};
    QStringList lines = QString::fromUtf8(child.readAll()).split(u'\n', Qt::SkipEmptyParts);
    if (child.exitStatus() != QProcess::NormalExit || child.exitCode() != 0)
        lines.append(QStringLiteral("it ended with %1").arg(child.exitCode()));
    return lines;
}

// A process that can save nothing works nevertheless, says so once, and leaves no secret in a file.
QStringList tst_SystemKeychain::inMemoryOnly(const QProcessEnvironment &environment, const QString &save)
{
    const QString key = QStringLiteral("token");
    const QStringList output = probe({QStringLiteral("load"), key, save, key, m_secret,
                                      QStringLiteral("load"), key, QStringLiteral("turn")},
                                     environment);
    QStringList faults;
    if (infoLines(output).size() != 1 ||
        !infoLines(output).constFirst().contains(u"is kept in memory only: "))
        faults.append(QStringLiteral("not one info line"));
    if (!output.contains(QString(u"loaded " % m_secret)) || !output.contains(QStringLiteral("nothing")))
        faults.append(QStringLiteral("memory did not serve"));
    if (output.constLast() != u"end")
        faults.append(QStringLiteral("the process did not end well"));
    faults += DVCanaries::found(m_home->path(), infoLines(output).join(u'\n').toUtf8(), {m_secret});
    return faults.isEmpty() ? faults : faults + output;
}

void tst_SystemKeychain::anotherProcessFindsTheItem()
{
    const QString key = QStringLiteral("token");
    const QString text = QString(u"{\"a\":\"" % m_secret % u"\",\"b\":\"\u00e4 \U0001F331\"}");
    const QStringList saved{QStringLiteral("saved"), QStringLiteral("end")};
    QCOMPARE(probe({QStringLiteral("save"), key, QStringLiteral("older"), QStringLiteral("save"), key, text}),
             QStringList{QStringLiteral("saved")} + saved);
    QVERIFY(probe({QStringLiteral("load"), key}).contains(QString(u"loaded " % text)));
    startService(); // and another service
    QVERIFY(probe({QStringLiteral("load"), key}).contains(QString(u"loaded " % text)));
    QCOMPARE(DVCanaries::found(m_home->path(), {}, {m_secret}), QStringList());
    QCOMPARE(probe({QStringLiteral("delete"), key}), saved);
    QVERIFY(probe({QStringLiteral("load"), key}).contains(QStringLiteral("nothing")));
    // What is not there is deleted without a complaint.
    QCOMPARE(probe({QStringLiteral("delete"), key}), saved);
}

void tst_SystemKeychain::aKillLeavesTheOldItemOrTheNewOne()
{
    const QString key = QStringLiteral("token");
    int reported = 0;
    for (int round = 0; round < 8; ++round) {
        Child child(QStringLiteral(DORVANE_KEYCHAIN_PROBE),
                    {QStringLiteral("Seedlings"), QStringLiteral("flood"), key, QStringLiteral("100000")},
                    environment());
        QVERIFY(!child.readUntil(QStringLiteral("saved")).isEmpty());
        child.waitForReadyRead(1 + round * 3); // somewhere in a save
        child.end();
        const qsizetype acknowledged = 1 + child.readAll().count("saved");
        const QStringList found =
            probe({QStringLiteral("load"), key}).filter(QStringLiteral("loaded value-"));
        QCOMPARE(found.size(), 1);
        const QString value = found.constFirst().section(u' ', 1);
        QCOMPARE(value.section(u' ', 1), QString(20000, u'x'));
        QVERIFY(value.section(u'-', 1).section(u' ', 0, 0).toLongLong() >= acknowledged);
        reported += int(acknowledged);
    }
    QVERIFY(reported >= 8);
}

void tst_SystemKeychain::theLastSecondOfAProcessCounts()
{
    const QString key = QStringLiteral("token");
    probe({QStringLiteral("save"), key, QStringLiteral("old")});
    // It ends right after the call.
    probe({QStringLiteral("load"), key, QStringLiteral("hasten"), key, m_secret});
    QVERIFY(probe({QStringLiteral("load"), key}).contains(QString(u"loaded " % m_secret)));
}

void tst_SystemKeychain::withoutAnyBus_data()
{
    QTest::addColumn<QString>("address");
    QTest::newRow("no session") << QString();
    QTest::newRow("a session that is not there") << QStringLiteral("unix:path=/nonexistent/bus");
    QTest::newRow("nonsense for an address") << QStringLiteral("nonsense");
}

void tst_SystemKeychain::withoutAnyBus()
{
    QFETCH(QString, address);
    auto without = environment();
    without.remove(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"));
    // Where the bus of a session stands by default; ours must not be found there.
    without.insert(QStringLiteral("XDG_RUNTIME_DIR"), path(QStringLiteral("elsewhere")));
    if (!address.isEmpty())
        without.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), address);
    QCOMPARE(inMemoryOnly(without), QStringList());
}

void tst_SystemKeychain::lockedKeyring()
{
    const QString key = QStringLiteral("token");
    probe({QStringLiteral("save"), key, QStringLiteral("locked away")});
    startService(false);
    QCOMPARE(inMemoryOnly(environment()), QStringList());
    // What it holds has not changed.
    startService();
    QVERIFY(probe({QStringLiteral("load"), key}).contains(QStringLiteral("loaded locked away")));
}

void tst_SystemKeychain::stoppedServiceAnswersLater()
{
    const QString key = QStringLiteral("token");
    probe({QStringLiteral("save"), key, m_secret});
    m_service->signal(SIGSTOP);
    Child child(QStringLiteral(DORVANE_KEYCHAIN_PROBE),
                {QStringLiteral("Seedlings"), QStringLiteral("load"), key, QStringLiteral("ask"),
                 QStringLiteral("await")},
                environment());
    const QString before = child.readUntil(QStringLiteral("asked"));
    QVERIFY2(before.contains(u"nothing"), qPrintable(before));
    const int took = before.section(QStringLiteral("took "), 1).section(u' ', 0, 0).toInt();
    QVERIFY2(took >= 250 && took < 20000, qPrintable(before));
    m_service->signal(SIGCONT);
    child.write("\n");
    QVERIFY(!child.readUntil(QString(u"later " % m_secret)).isEmpty());
    QVERIFY(child.waitForFinished(generousMs));
    // And one that never answers holds up neither the work nor the end.
    m_service->signal(SIGSTOP);
    const QStringList output = probe({QStringLiteral("load"), key, QStringLiteral("hasten"), key,
                                      QStringLiteral("new"), QStringLiteral("load"), key});
    QCOMPARE(infoLines(output).size(), 1);
    QCOMPARE(output.mid(output.size() - 2),
             QStringList({QStringLiteral("loaded new"), QStringLiteral("end")}));
    m_service->signal(SIGCONT);
}

void tst_SystemKeychain::serviceThatDies()
{
    const QString key = QStringLiteral("token");
    Child child(QStringLiteral(DORVANE_KEYCHAIN_PROBE),
                {QStringLiteral("Seedlings"), QStringLiteral("save"), key, QStringLiteral("old"),
                 QStringLiteral("ask"), QStringLiteral("save"), key, m_secret, QStringLiteral("save"), key,
                 m_secret, QStringLiteral("load"), key, QStringLiteral("turn")},
                environment());
    QVERIFY(!child.readUntil(QStringLiteral("asked")).isEmpty());
    m_service->end();
    child.write("\n");
    const QString output = child.readUntil(QStringLiteral("end"));
    QCOMPARE(infoLines(output.split(u'\n')).size(), 1);
    QVERIFY2(output.contains(u"loaded " % m_secret), qPrintable(output));
    QCOMPARE(DVCanaries::found(m_home->path(), {}, {m_secret}), QStringList());
}

// The connection to the bus that the keychain's library shares ends processes with it unless told otherwise.
void tst_SystemKeychain::busThatDies()
{
    const QString key = QStringLiteral("token");
    Child child(QStringLiteral(DORVANE_KEYCHAIN_PROBE),
                {QStringLiteral("Seedlings"), QStringLiteral("save"), key, QStringLiteral("old"),
                 QStringLiteral("ask"), QStringLiteral("turn"), QStringLiteral("save"), key, m_secret,
                 QStringLiteral("load"), key, QStringLiteral("turn")},
                environment());
    QVERIFY(!child.readUntil(QStringLiteral("asked")).isEmpty());
    m_bus->end();
    child.write("\n");
    const QString output = child.readUntil(QStringLiteral("end"));
    QCOMPARE(infoLines(output.split(u'\n')).size(), 1);
    QVERIFY2(output.contains(u"loaded " % m_secret), qPrintable(output));
    QVERIFY(child.waitForFinished(generousMs));
    QCOMPARE(child.exitStatus(), QProcess::NormalExit);
    QCOMPARE(DVCanaries::found(m_home->path(), {}, {m_secret}), QStringList());
}

// The keychain's library then has no event loop to answer in.
void tst_SystemKeychain::withoutGlibInQt()
{
    auto without = environment();
    without.insert(QStringLiteral("QT_NO_GLIB"), QStringLiteral("1"));
    QCOMPARE(inMemoryOnly(without, QStringLiteral("hasten")), QStringList());
}

QTEST_GUILESS_MAIN(tst_SystemKeychain)
#include "tst_systemkeychain.moc"
