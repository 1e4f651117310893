// What the start call costs on the main thread, and what the library costs a program that links it. Each
// measurement is a process of its own, since most of it happens once.
#include "Child.h"
#include "Measure.h"
#include "OnDeviceStrings.h"
#include "SampleStrings.h"

#include <QDir>
#include <QFile>
#include <QNetworkAccessManager>
#include <QSslConfiguration>
#include <QSslSocket>

namespace {

// Child processes

bool hasThread(const QByteArray &name)
{
    const QDir threads(QStringLiteral("/proc/self/task"));
    for (const QString &thread : threads.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        QFile file(threads.filePath(thread + QStringLiteral("/comm")));
        if (file.open(QFile::ReadOnly) && file.readAll().trimmed() == name)
            return true;
    }
    return false;
}

bool hasLoaded(const QByteArray &part)
{
    QFile maps(QStringLiteral("/proc/self/maps"));
    return maps.open(QFile::ReadOnly) && maps.readAll().contains(part);
}

void startLibrary(const QString &folder)
{
    OnDeviceStrings::use(folder);
    const double start = Measure::nanosecondsOf([] { OnDeviceStrings::start(true); });
    std::printf("start %.0f\n", start);
    const bool serves =
        !QCoreApplication::translate("MainWindow", "screen0.title.item0").startsWith(u"screen");
    std::printf("serves %d\n", serves);
    std::printf("network %d\n", hasThread("dorvane-net") || hasLoaded("/plugins/tls/"));
}

void createNetworkStack()
{
    std::unique_ptr<QNetworkAccessManager> manager;
    bool tls = false;
    const double network = Measure::nanosecondsOf([&] {
        manager = std::make_unique<QNetworkAccessManager>();
        tls = QSslSocket::supportsSsl();
        Measure::keep(QSslConfiguration::defaultConfiguration());
    });
    std::printf("start %.0f\nserves %d\nnetwork %d\n", network, tls, hasLoaded("/plugins/tls/"));
}

int runChild(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    const QByteArray kind(argv[2]);
    if (kind == "start")
        startLibrary(QString::fromLocal8Bit(argv[3]));
    else if (kind == "network")
        createNetworkStack();
    QCoreApplication::processEvents();
    std::fflush(stdout);
    return 0;
}

// The measuring process

// Runs the child, and remembers whether every one did what it should.
struct Programs
{
    std::string self;
    bool serve = true;
    bool networkBeforeFirstFrame = false;
    bool networkIsNoticed = true;

    double start(const QString &folder)
    {
        const Child child = Child::run({self, "--child", "start", folder.toStdString()});
        serve = serve && child.figure("serves") == 1;
        networkBeforeFirstFrame = networkBeforeFirstFrame || child.figure("network") != 0;
        return child.figure("start");
    }
    double network()
    {
        const Child child = Child::run({self, "--child", "network"});
        networkIsNoticed = networkIsNoticed && child.figure("network") == 1;
        return child.figure("start");
    }
    double whole(const std::vector<std::string> &arguments) { return Child::run(arguments).nanoseconds; }
};

struct Devices
{
    explicit Devices(int size)
        : current(SampleStrings::xliff(SampleStrings::make(size)))
        , expired(SampleStrings::xliff(SampleStrings::make(size)), -1)
    {}
    OnDeviceStrings current;
    OnDeviceStrings expired; // a refresh is due, which has to wait
};

void measureStartCall(Measure::Report &report, int size, Programs &programs)
{
    const Devices devices(size);
    const auto start = [&programs](const OnDeviceStrings &device) {
        return [&programs, path = device.path()] { return programs.start(path); };
    };
    report.section("the start call, " + std::to_string(size) + " strings on the device, which it parses",
                   Measure::Milliseconds);
    const auto results = report.run({
        {"the start call", {}, 1, {}, {}, start(devices.current)},
        {"the start call, strings expired", {}, 1, {}, {}, start(devices.expired)},
        {"creating the network stack and TLS", {}, 1, {}, {}, [&] { return programs.network(); }},
    });
    report.goalAtMost("at most 1 ms", results[0].median, 1);
}

void measureWholeProgram(Measure::Report &report, Programs &programs)
{
    const Devices devices(200);
    const std::string empty = programs.self.substr(0, programs.self.rfind('/')) + "/empty_application";
    const auto whole = [&programs](const std::vector<std::string> &arguments) {
        return [&programs, arguments] { return programs.whole(arguments); };
    };
    report.section("a whole program, from the spawn to its end", Measure::Milliseconds);
    const std::string folder = devices.current.path().toStdString();
    report.run({
        {"an empty Qt program", {}, 1, {}, {}, whole({empty})},
        {"the same, linked with the library", {}, 1, {}, {}, whole({programs.self, "--child", "linked"})},
        {"the same, serving 200 strings", {}, 1, {}, {}, whole({programs.self, "--child", "start", folder})},
    });
}

} // namespace

int main(int argc, char **argv)
{
    if (argc > 2 && std::strcmp(argv[1], "--child") == 0)
        return runChild(argc, argv);
    Measure::Report report("starting", argc, argv);
    const QCoreApplication application(argc, argv);
    Programs programs{QCoreApplication::applicationFilePath().toStdString()};
    measureStartCall(report, 200, programs);
    for (const int size : report.sizes())
        measureStartCall(report, size, programs);
    report.check(programs.serve, "the library serves after the start call");
    report.check(programs.networkIsNoticed, "a network stack is noticed");
    report.goalAtMost("no network thread and no TLS before the first turn of the event loop",
                      programs.networkBeforeFirstFrame, 0);
    measureWholeProgram(report, programs);
    return report.finish();
}
