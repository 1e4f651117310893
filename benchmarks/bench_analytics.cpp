// What recording a usage event costs its caller while the disk stands still, beside writing it
// through to the disk.
#include "Measure.h"

#include "DVAnalytics.h"
#include "DVClock.h"
#include "DVFolders.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLockFile>
#include <QStorageInfo>
#include <QTemporaryDir>

#include <fcntl.h>
#include <unistd.h>

namespace {

constexpr int eventsInARound = 500; // below the cap, so that the file can show that none was lost
constexpr int writesInARound = 50;

struct Figures
{
    double median;
    double tail; // 99.9th percentile
    double worst;
};

Figures figuresOf(std::vector<double> nanoseconds)
{
    std::sort(nanoseconds.begin(), nanoseconds.end());
    const auto at = [&](double share) {
        return nanoseconds[size_t(share * double(nanoseconds.size() - 1))] / 1e3;
    };
    return {at(0.5), at(0.999), at(1)};
}

void print(Measure::Report &report, const std::string &name, const Figures &figures)
{
    report.row(name + ", median", figures.median, "us");
    report.row(name + ", 99.9th percentile", figures.tail, "us");
    report.row(name + ", worst", figures.worst, "us");
}

QVariantMap parametersOf(int i)
{
    return {{QStringLiteral("Sync"), false}, {QStringLiteral("Success"), 1}, {QStringLiteral("number"), i}};
}

void record(int i, std::vector<double> &times)
{
    const QString name = QStringLiteral("Strings download");
    const QVariantMap parameters = parametersOf(i);
    times.push_back(Measure::nanosecondsOf([&] { DVAnalytics::trackEvent(name, parameters); }));
}

// A round behind a disk that does not answer: the queue waits for the file all the time.
void recordStalled(std::vector<double> &times)
{
    QLockFile stall(DVAnalytics::sharedInstance().saveFilePath() + QStringLiteral(".lock"));
    if (!stall.tryLock(10000))
        qFatal("cannot hold the file");
    DVAnalytics::trackEvent(QStringLiteral("first")); // the queue now stands
    for (int i = 0; i < eventsInARound; ++i)
        record(i, times);
    stall.unlock();
    DVAnalytics::sharedInstance().drain();
}

// Each event finds the queue asleep and has to wake it.
void recordIdle(std::vector<double> &times)
{
    for (int i = 0; i < writesInARound; ++i) {
        record(i, times);
        DVAnalytics::sharedInstance().drain();
    }
}

// The peer: the event's line at the end of a file, on the disk when the call returns.
void writeThrough(int file, std::vector<double> &times)
{
    const QByteArray line(450, 'x'); // an event with its standard properties
    for (int i = 0; i < writesInARound; ++i) {
        times.push_back(Measure::nanosecondsOf([&] {
            if (write(file, line.constData(), size_t(line.size())) != line.size() || fdatasync(file) != 0)
                qFatal("cannot write");
        }));
    }
}

QJsonArray savedEvents()
{
    QFile file(DVAnalytics::sharedInstance().saveFilePath());
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return QJsonDocument::fromJson(file.readAll()).object()[QStringLiteral("events")].toArray();
}

// An empty list of events, and a last send that keeps anything from leaving.
void startRound()
{
    QFile file(DVAnalytics::sharedInstance().saveFilePath());
    QDir().mkpath(DVFolders::dorvaneFiles());
    if (!file.open(QIODevice::WriteOnly))
        qFatal("cannot write");
    file.write("{\"lastSent\":" + QByteArray::number(DVClock::secondsSince1970(), 'f', 3) + '}');
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    Measure::Report report("recording a usage event", argc, argv);
    // Not in /tmp, which may be memory.
    const QTemporaryDir folder(QDir::current().filePath(QStringLiteral("bench-XXXXXX")));
    DVFolders::setDocuments(folder.path());
    const int file = open(QFile::encodeName(folder.filePath(QStringLiteral("peer"))).constData(),
                          O_CREAT | O_APPEND | O_WRONLY | O_CLOEXEC, 0600);
    std::vector<double> stalled, idle, peer;
    bool complete = true;
    for (int round = 0; round < 10 * report.rounds(); ++round) {
        startRound();
        recordStalled(stalled);
        complete = complete && savedEvents().size() == eventsInARound + 1;
        recordIdle(idle);
        writeThrough(file, peer);
    }
    close(file);

    const std::string fileSystem = QStorageInfo(folder.path()).fileSystemType().toStdString();
    report.section("cost to the caller, files on " + fileSystem, Measure::Microseconds);
    print(report, "Dorvane, disk stalled", figuresOf(stalled));
    print(report, "Dorvane, disk idle", figuresOf(idle));
    print(report, "append and fdatasync", figuresOf(peer));
    report.check(complete, "every event recorded during a stall is in the file");
    report.goalAtMost("median at most 0.5 us behind a stalled disk", figuresOf(stalled).median, 0.5);
    report.goalAtMost("99.9th percentile at most 10 us behind a stalled disk", figuresOf(stalled).tail, 10);
    return report.finish();
}
