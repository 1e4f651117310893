// An application with a guest in it: it links the library as a shipped one does, does what its first argument
// says, and prints what has become of its process as JSON, one line for each moment.
#include "Interposed.h"
#include "ProcessState.h"

#include <Dorvane/Dorvane.h>

#include <QDeadlineTimer>
#include <QJsonDocument>
#include <QSocketNotifier>
#include <QThread>
#include <QTimer>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <thread>

#include <dlfcn.h>
#include <sys/wait.h>

#ifdef GUEST_REVIEW // linked with the library of review, which needs one with widgets
#include <QApplication>
#endif

using namespace Qt::Literals::StringLiterals;

namespace {

void print(const QJsonObject &line)
{
    std::puts(QJsonDocument(line).toJson(QJsonDocument::Compact).constData());
    std::fflush(stdout);
}

void printState(const QString &at)
{
    QJsonObject state = ProcessState::now(at);
    state.insert(u"filters"_qs, Interposed::applicationFilters());
    state.insert(u"translators"_qs, Interposed::translators());
    state.insert(u"tr"_qs, QCoreApplication::translate("c", "a"));
    state.insert(u"bundle"_qs, DVBundle::mainBundle().localizedStringForKey(u"a"_qs));
    print(state);
}

QVariantMap optionsFor(const QString &server, const QString &mode, const QVariantMap &more)
{
    QVariantMap options{{u"mode"_qs, mode},
                        {u"otaKey"_qs, u"MDEyMzQ1Njc4OWFiY2RlZg=="_qs},
                        {u"servers"_qs, QVariantMap{{u"deliveryCdn"_qs, QString(server + u"/projects")},
                                                    {u"delivery"_qs, server},
                                                    {u"api"_qs, server},
                                                    {u"sso"_qs, server}}}};
    options.insert(more);
    return options;
}

void start(const QString &server, const QString &mode, const QVariantMap &more = {})
{
    Dorvane::startWithProjectId(u"p"_qs, optionsFor(server, mode, more));
}

// Runs the event loop until a line arrives on standard input.
void waitForLine()
{
    QSocketNotifier input(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&input, &QSocketNotifier::activated, QCoreApplication::instance(), [] {
        char buffer[64];
        if (::read(STDIN_FILENO, buffer, sizeof buffer) >= 0)
            QCoreApplication::quit();
    });
    QCoreApplication::exec();
}

QString lookups()
{
    return QString(QCoreApplication::translate("c", "a") + u'|' +
                   DVBundle::mainBundle().localizedStringForKey(u"a"_qs) + u'|' +
                   Dorvane::pluralizedStringWithKey(u"a"_qs, 2));
}

// Until so many usage events wait to be sent, and nobody is at their file.
bool waitForEvents(qsizetype count)
{
    for (int i = 0; i < 2000; ++i) {
        if (Dorvane::diagnostics().analytics.waiting == count)
            return true;
        QCoreApplication::processEvents();
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return false;
}

// --- Scenarios

using Application = std::unique_ptr<QCoreApplication>;

void states(Application &application, const QString &server, const QString &mode)
{
    printState(u"application"_qs);
    if (!mode.isNull())
        start(server, mode);
    printState(u"started"_qs);
    waitForLine();
    if (QCoreApplication::translate("c", "a") == u"un")
        waitForEvents(0); // it serves; the answer to what it sent may be on its way
    printState(u"settled"_qs);
    application.reset();
    printState(u"ended"_qs);
}

// A message handler that looks texts up for each message, on whatever thread it comes.
thread_local int depth = 0;
std::atomic<int> handled = 0;
bool hasChanged = false; // the locale that was asked for serves
void setLocale()
{
    Dorvane::setLocaleWithId(u"pl"_qs, [](bool success) { hasChanged = hasChanged || success; });
}
void waitForLocale()
{
    const QDeadlineTimer patience(20000);
    while (!hasChanged && !patience.hasExpired())
        QCoreApplication::processEvents(QEventLoop::AllEvents, 50);
}
void askingHandler(QtMsgType, const QMessageLogContext &, const QString &message)
{
    if (++depth > 20)
        std::abort(); // it recurses without an end
    ++handled;
    static_cast<void>(lookups());
    static_cast<void>(Dorvane::diagnostics().toText());
    static_cast<void>(Dorvane::diagnostics(u"a"_qs));
    static_cast<void>(Dorvane::locale());
    if (message.contains(u"Using locale"_qs))
        setLocale();
    --depth;
}

void askingLogger(const QString &server)
{
    qInstallMessageHandler(askingHandler);
    start(server, u"DVOTAServing"_qs,
          {{u"logging"_qs, u"DVLoggingDebug"_qs}, {u"allowLocaleChange"_qs, true}});
    for (int i = 0; i < 100; ++i)
        static_cast<void>(lookups());
    waitForLine();
    waitForLocale();
    qInstallMessageHandler(nullptr);
    print({{u"text"_qs, lookups()}, {u"handled"_qs, handled.load()}});
}

// Another thread's handler waits for the main thread, which is the one that loads what was downloaded.
void blockingLogger(const QString &server)
{
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {
        if (QThread::currentThread() == QCoreApplication::instance()->thread())
            return;
        ++handled;
        QMetaObject::invokeMethod(
            QCoreApplication::instance(), [] { static_cast<void>(lookups()); }, Qt::BlockingQueuedConnection);
    });
    start(server, u"DVOTAServing"_qs,
          {{u"logging"_qs, u"DVLoggingDebug"_qs}, {u"allowLocaleChange"_qs, true}});
    setLocale();
    waitForLine();
    waitForLocale();
    qInstallMessageHandler(nullptr);
    print({{u"text"_qs, lookups()}, {u"handled"_qs, handled.load()}});
}

void otherLocales(const QString &server)
{
    std::setlocale(LC_ALL, "");
    for (const char *name : {"de_DE.UTF-8", "ar_EG.UTF-8", "C.UTF-8"})
        std::setlocale(LC_NUMERIC, name);
    QLocale::setDefault(QLocale(QLocale::Arabic, QLocale::Egypt));
    const QString before = QString::fromLatin1(std::setlocale(LC_ALL, nullptr));
    start(server, u"DVOTAServing"_qs);
    QLocale::setDefault(QLocale(QLocale::German));
    std::setlocale(LC_ALL, before.toLatin1().constData());
    waitForLine();
    const auto file = Dorvane::diagnostics().files.value(0);
    print({{u"text"_qs, lookups()},
           {u"expires"_qs, file.expires.toSecsSinceEpoch()},
           {u"locale"_qs, QString::fromLatin1(std::setlocale(LC_ALL, nullptr)) == before},
           {u"qLocale"_qs, QLocale().name()}});
}

// The child has no thread of ours; it goes on looking texts up, and ends as a process does.
void forkWithWork(const QString &server)
{
    start(server, u"DVOTAServing"_qs);
    waitForLine();
    waitForEvents(0); // all are sent: the threads of this process hold nothing
    const pid_t child = ::fork();
    if (child == 0) {
        bool good = lookups().startsWith(u"un|"_qs);
        // Tracks an event, which needs a thread.
        Dorvane::startWithProjectId(u"child"_qs, optionsFor(server, u"DVOTAServing"_qs, {}));
        good = good && waitForEvents(1);
        std::exit(good ? 0 : 3);
    }
    int status = -1;
    ::waitpid(child, &status, 0);
    print({{u"text"_qs, lookups()}, {u"child"_qs, status}});
}

// Asks behind main(), after whatever was made later is gone.
struct LateAsker
{
    ~LateAsker()
    {
        if (active)
            print({{u"text"_qs, lookups()},
                   {u"start"_qs, int(Dorvane::diagnostics().start)},
                   {u"origin"_qs, Dorvane::diagnostics(u"a"_qs).because}});
    }
    bool active = false;
};
LateAsker askerOutsideMain;

void lookupsBehindMain(const QString &server)
{
    askerOutsideMain.active = true;
    start(server, u"DVOTAServing"_qs);
    std::thread([] {
        thread_local LateAsker asker;
        asker.active = true;
    }).join();
}

// Static objects that take their time to go, while a thread of the library comes back from a stalled disk.
struct SlowEnd
{
    ~SlowEnd()
    {
        for (int i = 0; active && i < 300 && ProcessState::threads().size() > 1; ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        if (active)
            print({{u"threads"_qs, ProcessState::threads()}});
    }
    bool active = false;
};
SlowEnd slowEndOutsideMain;

void stalledDisk(const QString &server)
{
    slowEndOutsideMain.active = true;
    start(server, u"DVOTAServing"_qs, {{u"syncTimeout"_qs, 0}});
}

void exitInTheMiddle(const QString &server)
{
    askerOutsideMain.active = true;
    start(server, u"DVOTAServing"_qs, {{u"syncTimeout"_qs, 1}});
    QTimer::singleShot(0, QCoreApplication::instance(),
                       [] { std::exit(7); }); // the application object is never destroyed
    QCoreApplication::exec();
}

// A plugin of the host brings a copy of its own, and both are started. `library` is a copy of the file.
void twoCopies(const QString &server, const QString &library, int flags)
{
    start(server, u"DVOTAServing"_qs);
    void *copy = ::dlopen(QFile::encodeName(library).constData(), RTLD_NOW | RTLD_LOCAL | flags);
    using Start = void (*)(const QString &, const QVariantMap &);
    const auto startCopy = reinterpret_cast<Start>(
        copy ? ::dlsym(copy, "_ZN7Dorvane18startWithProjectIdERK7QStringRK4QMapIS0_8QVariantE") : nullptr);
    const bool isAnother = startCopy && startCopy != &Dorvane::startWithProjectId;
    if (!isAnother)
        qFatal("no second copy: %s", ::dlerror());
    startCopy(u"p"_qs, optionsFor(server, u"DVOTAServing"_qs, {{u"forceLocale"_qs, u"pl"_qs}}));
    QCoreApplication::processEvents();
    const QString both = QCoreApplication::translate("c", "a");
    waitForLine();
    print({{u"text"_qs, both}, {u"translators"_qs, Interposed::translators()}});
}

Application makeApplication(int &argc, char **argv)
{
#ifdef GUEST_REVIEW
    if (std::strcmp(argv[1], "review-without-widgets") == 0)
        return std::make_unique<QGuiApplication>(argc, argv);
    return std::make_unique<QApplication>(argc, argv);
#else
    return std::make_unique<QCoreApplication>(argc, argv);
#endif
}

int run(Application &application, const QString &scenario, const QString &server)
{
    if (scenario == u"serving")
        states(application, server, u"DVOTAServing"_qs);
    else if (scenario == u"disabled")
        states(application, server, u"DVDisabled"_qs);
    else if (scenario.startsWith(u"review"))
        states(application, server, u"DVInAppReview"_qs);
    else if (scenario == u"unstarted")
        states(application, server, {});
    else if (scenario == u"asking-logger")
        askingLogger(server);
    else if (scenario == u"blocking-logger")
        blockingLogger(server);
    else if (scenario == u"locales")
        otherLocales(server);
    else if (scenario == u"fork")
        forkWithWork(server);
    else if (scenario == u"behind-main")
        lookupsBehindMain(server);
    else if (scenario == u"exit")
        exitInTheMiddle(server);
    else if (scenario == u"stalled-disk")
        stalledDisk(server);
    else if (scenario == u"two")
        twoCopies(server, QString::fromLocal8Bit(qgetenv("GUEST_COPY")), 0);
    else if (scenario == u"two-bound")
        twoCopies(server, QString::fromLocal8Bit(qgetenv("GUEST_COPY")), RTLD_DEEPBIND);
    else
        return 2;
    return 0;
}

} // namespace

int main(int argc, char **argv)
{
    printState(u"main"_qs);
    std::unique_ptr<QCoreApplication> application = makeApplication(argc, argv);
    QCoreApplication::setApplicationName(u"guest_host"_qs);
    QCoreApplication::setApplicationVersion(u"1.0"_qs);
    return run(application, QString::fromLocal8Bit(argv[1]), QString::fromLocal8Bit(argv[2]));
}
