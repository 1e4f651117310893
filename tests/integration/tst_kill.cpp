// Killed at any moment of a download or a save: the next start serves the old strings or the new ones,
// never none, never a mixture. strace kills the process at its Nth system call of a kind.
#include "StaticSite.h"
#include <DVRows.h>

#include <DVStrace.h>

using namespace Qt::Literals::StringLiterals;

namespace {

// Everything that changes what is on the disk.
const char *const changes[] = {
    "openat",          "write",         "link,linkat", "rename,renameat,renameat2", "unlink,unlinkat",
    "fsync,fdatasync", "mkdir,mkdirat", "ftruncate",   "chmod,fchmod,fchmodat"};

} // namespace

class tst_Kill : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void whileStringsAreReplaced_data();
    void whileStringsAreReplaced();
    void whileStringsArriveFirst();
    void whileOtherVersionsGo();

private:
    // Runs the commands on the device, killed at the Nth call; whether the kill came before the end.
    static bool killedAt(const TryDevice &device, const QByteArray &commands, const char *calls, int nth);
    // Puts the files of a good device back.
    static void restore(const TryDevice &device, const QString &saved);
};

void tst_Kill::initTestCase()
{
    if (!DVStrace::works())
        QSKIP("strace may not trace here: nothing is killed");
}

bool tst_Kill::killedAt(const TryDevice &device, const QByteArray &commands, const char *calls, int nth)
{
    QStringList command = DVStrace::killingAt(QString::fromLatin1(calls), nth);
    command << QStringLiteral(DORVANE_TOOL) << device.arguments();
    return ToolRun::program(command.takeFirst(), command, commands).status != 0;
}

void tst_Kill::restore(const TryDevice &device, const QString &saved)
{
    QDir(device.dataPath()).removeRecursively();
    QCOMPARE(ToolRun::program(u"cp"_qs, {u"-a"_qs, saved, device.dataPath()}).status, 0);
}

void tst_Kill::whileStringsAreReplaced_data()
{
    const DVRows<bool> row("damaged");
    row("by a good publication", false);
    row("by a damaged publication, which is taken back", true);
}

void tst_Kill::whileStringsAreReplaced()
{
    QFETCH(bool, damaged);
    StaticSite site;
    TryDevice device;
    site.publish("one", 60);
    QCOMPARE(device.texts(site.startCommand() + lookupCommands()), edition(u"one"_qs));
    QTemporaryDir folder;
    const QString saved = folder.filePath(u"saved"_qs);
    QCOMPARE(ToolRun::program(u"cp"_qs, {u"-a"_qs, device.dataPath(), saved}).status, 0);
    site.publishBytes(StaticSite::document("two"), 30, damaged ? 30 : 0);

    // Nothing tells that a damaged one was taken back, which is a matter of milliseconds.
    const QByteArray refresh = "{\"do\":\"clock\",\"advanceMs\":7200000}\n" +
                               site.startCommand({{u"logging"_qs, u"DVLoggingInfo"_qs}}) +
                               (damaged ? QByteArray("{\"do\":\"wait\",\"ms\":3000}\n") : waitForUpdate);
    int kills = 0;
    for (const char *calls : changes) {
        // Some forty libraries are opened before main(): killed there, it has done nothing yet.
        const int first = qstrcmp(calls, "openat") == 0 ? 40 : 1;
        const int before = kills;
        for (int nth = first; nth < 400; nth += nth < first + 40 ? 1 : 23) {
            restore(device, saved);
            if (!killedAt(device, refresh, calls, nth))
                break;
            ++kills;
            const QStringList texts = device.texts(site.startCommand() + lookupCommands());
            QVERIFY2(texts == edition(u"one"_qs) || (!damaged && texts == edition(u"two"_qs)),
                     qPrintable(
                         u"%1 %2: %3"_qs.arg(QString::fromLatin1(calls)).arg(nth).arg(texts.join(u", "_qs))));
        }
        QVERIFY2(first == 1 || kills > before, "fewer files are opened before main() here");
    }
    QVERIFY2(kills > 20, qPrintable(QString::number(kills)));
}

void tst_Kill::whileStringsArriveFirst()
{
    StaticSite site;
    TryDevice device;
    site.publish("one", 60);
    const QByteArray start = site.startCommand({{u"logging"_qs, u"DVLoggingInfo"_qs}});
    int kills = 0;
    for (const char *calls : changes) {
        if (qstrcmp(calls, "openat") == 0)
            continue;
        for (int nth = 1; nth < 100; ++nth) {
            QDir(device.dataPath()).removeRecursively();
            if (!killedAt(device, start, calls, nth))
                break;
            ++kills;
            QCOMPARE(device.texts(start + lookupCommands()), edition(u"one"_qs));
        }
    }
    QVERIFY(kills > 3);
}

// What another version left goes, whenever the start before was killed; edited strings never do.
void tst_Kill::whileOtherVersionsGo()
{
    StaticSite site;
    TryDevice device;
    site.publish("one", 60);
    QCOMPARE(device.texts(site.startCommand() + lookupCommands()), edition(u"one"_qs));
    const QDir files(QString(device.dataPath() + u"/Dorvane"));
    const QString current = files.filePath(u"1.0_fr_CA_published.xlf"_qs);
    const QStringList stay{u"0.9_fr_CA_edited.xlf"_qs, u"1.0_fr_CA_published.xlf"_qs};
    for (const QString &name : {u"0.9_fr_CA_published.xlf"_qs, u"0.9_fr_CA_published.xlf.previous"_qs,
                                u"0.9_en-GB_published.xlf"_qs, stay.first()})
        QVERIFY(QFile::copy(current, files.filePath(name)));
    QTemporaryDir folder;
    const QString saved = folder.filePath(u"saved"_qs);
    QCOMPARE(ToolRun::program(u"cp"_qs, {u"-a"_qs, device.dataPath(), saved}).status, 0);

    const QByteArray start = site.startCommand({{u"logging"_qs, u"DVLoggingInfo"_qs}}) + lookupCommands();
    const QByteArray settled = start + "{\"do\":\"wait\",\"ms\":50}\n";
    int kills = 0;
    for (const char *calls : {"unlink,unlinkat", "rename,renameat,renameat2", "fsync,fdatasync", "write"}) {
        for (int nth = 1; nth < 100; ++nth) {
            restore(device, saved);
            if (!killedAt(device, settled, calls, nth))
                break;
            ++kills;
            QCOMPARE(device.texts(settled), edition(u"one"_qs));
            QCOMPARE(device.files(), stay);
        }
    }
    QVERIFY2(kills > 3, qPrintable(QString::number(kills)));
}

QTEST_GUILESS_MAIN(tst_Kill)
#include "tst_kill.moc"
