// The system's keychain: a real service in a D-Bus session of this test's own, ended and stopped and locked.
#include "DVCanaries.h"
#include "DVRows.h"

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
    void deaths_data();
    void deaths();
    void withoutGlibInQt();

private:
    bool startBus();
    void startService(bool unlocked = true);
    QProcessEnvironment environment() const;
    // Runs the probe to its end; what it printed, the log included.
    QStringList probe(const QStringList &words, const QProcessEnvironment &environment);
    QStringList probe(const QStringList &words) { return probe(words, environment()); }
    // `save`: a word of the probe's.
    QStringList inMemoryOnly(const QProcessEnvironment &environment, const QString &save = u"save"_qs);
    // Which has said a line by then.
    std::unique_ptr<Child> startProbe(const QStringList &words, const QString &line)
    {
        auto child = std::make_unique<Child>(QStringLiteral(DORVANE_KEYCHAIN_PROBE), words, environment());
        return child->readUntil(line).isEmpty() ? nullptr : std::move(child);
    }
    bool holds(const QString &value) { return probe({u"load"_qs}).contains(QString(u"loaded " % value)); }
    QString path(const QString &name) const { return QString(m_home->path() % u'/' % name); }

    std::unique_ptr<QTemporaryDir> m_home;
    std::unique_ptr<Child> m_bus;
    std::unique_ptr<Child> m_service;
    QString m_address;
    const QString m_secret = DVCanaries::canary(u"token"_qs);
};

namespace {

QStringList infoLines(const QStringList &output)
{
    return output.filter(u"[DV]"_qs);
}

} // namespace

void tst_SystemKeychain::initTestCase()
{
    for (const auto &tool : {u"dbus-daemon"_qs, u"gnome-keyring-daemon"_qs}) {
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
         {u"PATH"_qs, u"LD_LIBRARY_PATH"_qs, u"ASAN_OPTIONS"_qs, u"TSAN_OPTIONS"_qs, u"UBSAN_OPTIONS"_qs}) {
        if (system.contains(name))
            environment.insert(name, system.value(name));
    }
    environment.insert(u"HOME"_qs, m_home->path());
    environment.insert(u"LC_ALL"_qs, u"C.UTF-8"_qs);
    environment.insert(u"XDG_RUNTIME_DIR"_qs, m_home->path());
    for (const auto &name : {u"DATA"_qs, u"CONFIG"_qs, u"CACHE"_qs})
        environment.insert(QString(u"XDG_" % name % u"_HOME"), path(name));
    environment.insert(u"DBUS_SESSION_BUS_ADDRESS"_qs, m_address);
    return environment;
}

// A bus that starts nothing by itself, so that a service which ended stays so.
bool tst_SystemKeychain::startBus()
{
    QFile configuration(path(u"bus.conf"_qs));
    if (!configuration.open(QIODevice::WriteOnly))
        return false;
    configuration.write(u"<busconfig><type>session</type><listen>unix:path=%1</listen>"
                        "<auth>EXTERNAL</auth><policy context=\"default\">"
                        "<allow send_destination=\"*\" eavesdrop=\"true\"/><allow eavesdrop=\"true\"/>"
                        "<allow own=\"*\"/></policy></busconfig>\n"_qs.arg(path(u"bus"_qs))
                            .toUtf8());
    configuration.close();
    m_address = u"unix:path="_qs + path(u"bus"_qs);
    m_bus = std::make_unique<Child>(u"dbus-daemon"_qs,
                                    QStringList{QString(u"--config-file=" % configuration.fileName()),
                                                u"--nofork"_qs, u"--print-address"_qs},
                                    environment());
    return !m_bus->readUntil(u"unix:"_qs).isEmpty();
}

void tst_SystemKeychain::startService(bool unlocked)
{
    m_service.reset();
    QStringList arguments{u"--foreground"_qs, u"--components=secrets"_qs,
                          QString(u"--control-directory=" % path(u"keyring"_qs))};
    if (unlocked)
        arguments.append(u"--unlock"_qs);
    m_service = std::make_unique<Child>(u"gnome-keyring-daemon"_qs, arguments, environment());
    if (unlocked) {
        m_service->write("a password");
        m_service->waitForBytesWritten(generousMs); // no event loop runs here
    }
    m_service->closeWriteChannel();
    // It is there when it owns its name on the bus.
    QElapsedTimer timer;
    timer.start();
    const QStringList ask{u"--print-reply=literal"_qs, u"--dest=org.freedesktop.DBus"_qs,
                          u"/org/freedesktop/DBus"_qs, u"org.freedesktop.DBus.NameHasOwner"_qs,
                          u"string:org.freedesktop.secrets"_qs};
    QString reply;
    while (!reply.contains(u"true")) {
        QVERIFY2(timer.elapsed() < generousMs && m_service->state() == QProcess::Running,
                 m_service->readAll().constData());
        Child sender(u"dbus-send"_qs, QStringList{u"--bus="_qs + m_address} + ask, environment());
        sender.waitForFinished(generousMs);
        reply = QString::fromUtf8(sender.readAll());
    }
}

QStringList tst_SystemKeychain::probe(const QStringList &words, const QProcessEnvironment &environment)
{
    Child child(QStringLiteral(DORVANE_KEYCHAIN_PROBE), words, environment);
    if (!child.waitForFinished(generousMs))
        return {u"it did not end"_qs};
    QStringList lines = QString::fromUtf8(child.readAll()).split(u'\n', Qt::SkipEmptyParts);
    if (child.exitStatus() != QProcess::NormalExit || child.exitCode() != 0)
        lines.append(u"it ended with %1"_qs.arg(child.exitCode()));
    return lines;
}

// A process that can save nothing works nevertheless, says so once, and leaves no secret in a file.
QStringList tst_SystemKeychain::inMemoryOnly(const QProcessEnvironment &environment, const QString &save)
{
    const QStringList output = probe({u"load"_qs, save, m_secret, u"load"_qs, u"turn"_qs}, environment);
    QStringList faults;
    if (infoLines(output).size() != 1 ||
        !infoLines(output).constFirst().contains(u"is kept in memory only: "))
        faults.append(u"not one info line"_qs);
    if (!output.contains(QString(u"loaded " % m_secret)) || !output.contains(u"nothing"_qs))
        faults.append(u"memory did not serve"_qs);
    if (output.constLast() != u"end")
        faults.append(u"the process did not end well"_qs);
    faults += DVCanaries::found(m_home->path(), infoLines(output).join(u'\n').toUtf8(), {m_secret});
    return faults.isEmpty() ? faults : faults + output;
}

void tst_SystemKeychain::anotherProcessFindsTheItem()
{
    const QString text = QString(u"{\"a\":\"" % m_secret % u"\",\"b\":\"\u00e4 \U0001F331\"}");
    const QStringList saved{u"saved"_qs, u"end"_qs};
    QCOMPARE(probe({u"save"_qs, u"older"_qs, u"save"_qs, text}), QStringList{u"saved"_qs} + saved);
    QVERIFY(holds(text));
    startService(); // and another service
    QVERIFY(holds(text));
    QCOMPARE(DVCanaries::found(m_home->path(), {}, {m_secret}), QStringList());
    QCOMPARE(probe({u"delete"_qs}), saved);
    QVERIFY(probe({u"load"_qs}).contains(u"nothing"_qs));
    // What is not there is deleted without a complaint.
    QCOMPARE(probe({u"delete"_qs}), saved);
}

void tst_SystemKeychain::aKillLeavesTheOldItemOrTheNewOne()
{
    for (int round = 0; round < 8; ++round) {
        const auto child = startProbe({u"flood"_qs, u"100000"_qs}, u"saved"_qs);
        QVERIFY(child);
        child->waitForReadyRead(1 + round * 3); // somewhere in a save
        child->end();
        const qsizetype acknowledged = 1 + child->readAll().count("saved");
        const QStringList found = probe({u"load"_qs}).filter(u"loaded value-"_qs);
        QCOMPARE(found.size(), 1);
        const QString value = found.constFirst().section(u' ', 1);
        QCOMPARE(value.section(u' ', 1), QString(20000, u'x'));
        QVERIFY(value.section(u'-', 1).section(u' ', 0, 0).toLongLong() >= acknowledged);
    }
}

void tst_SystemKeychain::theLastSecondOfAProcessCounts()
{
    probe({u"save"_qs, u"old"_qs});
    // It ends right after the call.
    probe({u"load"_qs, u"hasten"_qs, m_secret});
    QVERIFY(holds(m_secret));
}

void tst_SystemKeychain::withoutAnyBus_data()
{
    const DVRows<QString> row("address");
    row("no session", {});
    row("a session that is not there", u"unix:path=/nonexistent/bus"_qs);
    row("nonsense for an address", u"nonsense"_qs);
}

void tst_SystemKeychain::withoutAnyBus()
{
    QFETCH(QString, address);
    auto without = environment();
    without.remove(u"DBUS_SESSION_BUS_ADDRESS"_qs);
    // Where the bus of a session stands by default; ours must not be found there.
    without.insert(u"XDG_RUNTIME_DIR"_qs, path(u"elsewhere"_qs));
    if (!address.isEmpty())
        without.insert(u"DBUS_SESSION_BUS_ADDRESS"_qs, address);
    QCOMPARE(inMemoryOnly(without), QStringList());
}

void tst_SystemKeychain::lockedKeyring()
{
    probe({u"save"_qs, u"locked away"_qs});
    startService(false);
    QCOMPARE(inMemoryOnly(environment()), QStringList());
    // What it holds has not changed.
    startService();
    QVERIFY(holds(u"locked away"_qs));
}

void tst_SystemKeychain::stoppedServiceAnswersLater()
{
    probe({u"save"_qs, m_secret});
    m_service->signal(SIGSTOP);
    const auto child = startProbe({u"load"_qs, u"ask"_qs, u"await"_qs}, u"asked"_qs);
    QVERIFY(child);
    const QString before = child->readUntil({});
    QVERIFY2(before.contains(u"nothing"), qPrintable(before));
    const int took = before.section(u"took "_qs, 1).section(u' ', 0, 0).toInt();
    QVERIFY2(took >= 250 && took < 20000, qPrintable(before));
    m_service->signal(SIGCONT);
    child->write("\n");
    QVERIFY(!child->readUntil(QString(u"later " % m_secret)).isEmpty());
    QVERIFY(child->waitForFinished(generousMs));
    // And one that never answers holds up neither the work nor the end.
    m_service->signal(SIGSTOP);
    const QStringList output = probe({u"load"_qs, u"hasten"_qs, u"new"_qs, u"load"_qs});
    QCOMPARE(infoLines(output).size(), 1);
    QCOMPARE(output.mid(output.size() - 2), QStringList({u"loaded new"_qs, u"end"_qs}));
    m_service->signal(SIGCONT);
}

void tst_SystemKeychain::deaths_data()
{
    const DVRows<bool> row("ofTheBus");
    row("the service", false);
    // Its connection, which the keychain's library shares, ends processes with it unless told otherwise.
    row("the bus", true);
}

void tst_SystemKeychain::deaths()
{
    QFETCH(bool, ofTheBus);
    QStringList words{u"save"_qs, u"old"_qs, u"ask"_qs};
    if (ofTheBus)
        words << u"turn"_qs; // the loop sees that the connection has ended; a service may be gone unseen
    words << u"save"_qs << m_secret << u"save"_qs << m_secret << u"load"_qs << u"turn"_qs;
    const auto child = startProbe(words, u"asked"_qs);
    QVERIFY(child);
    (ofTheBus ? m_bus : m_service)->end();
    child->write("\n");
    const QString output = child->readUntil(u"end"_qs);
    QCOMPARE(infoLines(output.split(u'\n')).size(), 1);
    QVERIFY2(output.contains(u"loaded " % m_secret), qPrintable(output));
    QVERIFY(child->waitForFinished(generousMs));
    QCOMPARE(child->exitStatus(), QProcess::NormalExit);
    QCOMPARE(DVCanaries::found(m_home->path(), {}, {m_secret}), QStringList());
}

// The keychain's library then has no event loop to answer in.
void tst_SystemKeychain::withoutGlibInQt()
{
    auto without = environment();
    without.insert(u"QT_NO_GLIB"_qs, u"1"_qs);
    QCOMPARE(inMemoryOnly(without, u"hasten"_qs), QStringList());
}

QTEST_GUILESS_MAIN(tst_SystemKeychain)
#include "tst_systemkeychain.moc"
