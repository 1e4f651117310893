// The library's manners: what it touches in its host's process, looked at from outside. docs/guest.md says
// the same in words.
#include "DVStrace.h"
#include "DVTestHost.h"
#include <DVRows.h>

#include <QDirIterator>
#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QProcess>
#include <QRegularExpression>

#include <csignal>

using namespace Qt::Literals::StringLiterals;
using Answer = DVFaultServer::Answer;

namespace {

// One run of the host program, with a home folder of its own.
class Guest
{
public:
    Guest()
    {
        m_environment = QProcessEnvironment::systemEnvironment();
        for (const QString &name : m_environment.keys()) {
            if (name.startsWith(u"XDG_"_qs) || name.startsWith(u"LC_"_qs) || name.startsWith(u"LANG"_qs) ||
                name.startsWith(u"QT_"_qs) || name.startsWith(u"DORVANE"_qs))
                m_environment.remove(name);
        }
        m_environment.insert(u"HOME"_qs, home());
        m_environment.insert(u"LANG"_qs, u"fr_CA.UTF-8"_qs);
    }

    void setProgram(const QString &program) { m_program = program; }
    void setVariable(const QString &name, const QString &value) { m_environment.insert(name, value); }
    void trace(const QString &calls) { m_traced = calls; }
    void stallDisk()
    {
        m_traced = u"fsync,fdatasync"_qs;
        m_injected = {u"inject=fsync,fdatasync:delay_exit=200000"_qs}; // microseconds
    }

    // `settled` runs while the host waits in its event loop.
    void run(const QString &scenario, const QString &server, const std::function<void()> &settled = {})
    {
        QStringList command{m_program, scenario, server};
        if (!m_traced.isNull())
            command =
                DVStrace::command(QStringList(QString(u"trace=" + m_traced)) + m_injected, tracePath()) +
                command;
        m_process.setProcessEnvironment(m_environment);
        m_process.start(command.takeFirst(), command);
        if (settled)
            settled();
        m_process.write("go\n");
        m_process.closeWriteChannel();
        QVERIFY(m_process.waitForFinished(60000));
        const QList<QByteArray> output = m_process.readAllStandardOutput().split('\n');
        for (const QByteArray &line : output) {
            if (!line.isEmpty())
                m_lines.append(QJsonDocument::fromJson(line).object());
        }
        m_errors = m_process.readAllStandardError();
    }

    bool endedWith(int status) const
    {
        return m_process.exitStatus() == QProcess::NormalExit && m_process.exitCode() == status;
    }
    QJsonObject at(const QString &moment) const
    {
        for (const QJsonObject &line : m_lines) {
            if (line.value(u"at"_qs) == moment)
                return line;
        }
        return {};
    }
    const QList<QJsonObject> &lines() const { return m_lines; }
    QByteArray errors() const { return m_errors; }
    QStringList messages() const
    {
        return QString::fromUtf8(m_errors).split(u'\n', Qt::SkipEmptyParts).filter(u"[DV]"_qs);
    }

    // "mode path" of everything below the home folder.
    QStringList tree() const
    {
        QStringList entries;
        QDirIterator files(home(), QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                           QDirIterator::Subdirectories);
        while (files.hasNext()) {
            const QFileInfo file(files.next());
            const int mode = (int(file.permissions()) >> 6 & 0700) | (int(file.permissions()) & 077);
            entries += QString(QString::number(mode, 8) + u' ' + file.filePath().mid(home().size() + 1));
        }
        entries.sort();
        return entries;
    }
    QStringList traced() const
    {
        QFile file(tracePath());
        return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()).split(u'\n')
                                              : QStringList();
    }
    QString home() const { return QString(m_folder.path() + u"/home"); }

private:
    QString tracePath() const { return QString(m_folder.path() + u"/trace"); }
    static bool makeHome(const QString &path) { return QDir().mkpath(path); }

    QTemporaryDir m_folder;
    const bool m_homeIsThere = makeHome(home());
    QString m_program = QStringLiteral(GUEST_HOST);
    QProcessEnvironment m_environment;
    QString m_traced;
    QStringList m_injected;
    QProcess m_process;
    QList<QJsonObject> m_lines;
    QByteArray m_errors;
};

QJsonArray array(const QStringList &strings)
{
    return QJsonArray::fromStringList(strings);
}

// Serves French of Canada and Polish, and takes events.
class Delivery : public DVFaultServer
{
public:
    Delivery()
    {
        setHandler([](const Request &request) {
            if (request.method == "POST")
                return Answer::of(200, "{}");
            const bool polish = request.target.contains("/pl/");
            if (!polish && !request.target.contains("/fr-CA/"))
                return Answer::of(404);
            return DVTestHost::publication(DVTestHost::xliff(u"a"_qs, polish ? u"jeden"_qs : u"un"_qs));
        });
    }
    void waitForEvents() const { QVERIFY(waitForRequests(2, 30000)); }
};

QJsonArray signalsButOne(const QJsonObject &state)
{
    QJsonArray handlers = state.value(u"signals"_qs).toArray();
    handlers.removeAt(SIGPIPE - 1);
    return handlers;
}

// Whether the state is from before the start.
bool before(const QJsonObject &state)
{
    const QString moment = state.value(u"at"_qs).toString();
    return moment == u"main" || moment == u"application";
}

} // namespace

class tst_Guest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theProcessStaysAsItWas_data() { scenarios(); }
    void theProcessStaysAsItWas();
    void whatServingTakes();
    void whatOthersTake_data();
    void whatOthersTake();
    void whatTheLibraryOfReviewTakes_data();
    void whatTheLibraryOfReviewTakes();
    void connections_data();
    void connections();
    void valuesOfTheSwitch_data();
    void valuesOfTheSwitch();

    void loggersThatAsk_data();
    void loggersThatAsk();
    void theHostChangesLocales();
    void theHostForks();
    void lookupsBehindMain();
    void exitInTheMiddle();
    void exitWithAStalledDisk();
    void twoCopies_data();
    void twoCopies();

private:
    static void scenarios()
    {
        const DVRows<QString, bool> row("scenario", "switchedOff");
        row("serving", u"serving"_qs, false);
        row("linked and never started", u"unstarted"_qs, false);
        row("the mode DVDisabled", u"disabled"_qs, false);
        row("DORVANE_DISABLED", u"serving"_qs, true);
    }
    // A run of the row's scenario.
    static void run(Guest &guest, const Delivery &server)
    {
        QFETCH(QString, scenario);
        QFETCH(bool, switchedOff);
        if (switchedOff)
            guest.setVariable(u"DORVANE_DISABLED"_qs, u"1"_qs);
        const bool serves = scenario == u"serving" && !switchedOff;
        guest.run(scenario, server.url(),
                  serves ? [&server] { server.waitForEvents(); } : std::function<void()>());
        QVERIFY(guest.endedWith(0));
        QCOMPARE(guest.lines().size(), 5);
    }
};

// Handlers of signals, messages and failures; the environment; limits, umask, rounding, current folder;
// locales.
void tst_Guest::theProcessStaysAsItWas()
{
    const Delivery server;
    Guest guest;
    run(guest, server);
    const QJsonObject atFirst = guest.at(u"main"_qs);
    const QJsonObject withQt = guest.at(u"application"_qs);
    QVERIFY(!atFirst.value(u"signals"_qs).toArray().isEmpty());
    for (const QJsonObject &state : guest.lines()) {
        for (const QString &what :
             {u"environment"_qs, u"limits"_qs, u"handlers"_qs, u"qLocale"_qs, u"inheritedFiles"_qs})
            QCOMPARE(state.value(what), atFirst.value(what));
        QCOMPARE(signalsButOne(state), signalsButOne(atFirst));
        // Qt ignores this one for the whole process with its first socket, whoever opens it.
        const QString brokenPipe = state.value(u"signals"_qs).toArray().at(SIGPIPE - 1).toString();
        const bool mayIgnore = guest.at(u"started"_qs).value(u"tr"_qs) == u"un"_qs && !before(state);
        QVERIFY2(brokenPipe == u"0 0" || (mayIgnore && brokenPipe.endsWith(u" 1"_qs)),
                 qPrintable(brokenPipe));
        if (state == atFirst)
            continue;
        QCOMPARE(state.value(u"locale"_qs), withQt.value(u"locale"_qs)); // Qt sets the environment's
        if (state.contains(u"children"_qs)) {
            QCOMPARE(state.value(u"children"_qs), withQt.value(u"children"_qs));
            QCOMPARE(state.value(u"properties"_qs), withQt.value(u"properties"_qs));
        }
    }
    // Whatever was opened and started has ended with the application.
    const QJsonObject atLast = guest.at(u"ended"_qs);
    QCOMPARE(atLast.value(u"threads"_qs), atFirst.value(u"threads"_qs));
    QCOMPARE(atLast.value(u"files"_qs), withQt.value(u"files"_qs));
    QCOMPARE(atLast.value(u"tr"_qs).toString(), u"a"_qs);
}

void tst_Guest::whatServingTakes()
{
    const Delivery server;
    Guest guest;
    guest.run(u"serving"_qs, server.url(), [&server] { server.waitForEvents(); });
    QVERIFY(guest.endedWith(0));

    QCOMPARE(guest.at(u"started"_qs).value(u"tr"_qs).toString(), u"un"_qs);
    QCOMPARE(guest.at(u"settled"_qs).value(u"bundle"_qs).toString(), u"un"_qs);
    QCOMPARE(guest.at(u"application"_qs).value(u"translators"_qs).toInt(), 0);
    QCOMPARE(guest.at(u"application"_qs).value(u"threads"_qs), array({u"guest_host"_qs}));
    const QStringList threads{u"DVAnalytics"_qs, u"QNetworkAccessM"_qs, u"dorvane-net"_qs, u"guest_host"_qs};
    for (const QString &moment : {u"started"_qs, u"settled"_qs}) {
        QCOMPARE(guest.at(moment).value(u"threads"_qs), array(threads));
        QCOMPARE(guest.at(moment).value(u"filters"_qs), array({u"DVTranslatorPlace"_qs}));
    }

    const QString data = u".local/share/guest_host/Dorvane"_qs;
    const QStringList expected{u"600 "_qs + data + u"/1.0_fr_CA_published.xlf",
                               u"600 "_qs + data + u"/analytics",
                               u"600 "_qs + data + u"/defaults.json",
                               u"700 .local"_qs,
                               u"700 .local/share"_qs,
                               u"700 .local/share/guest_host"_qs,
                               u"700 "_qs + data};
    QCOMPARE(guest.tree(), expected);

    QByteArrayList targets;
    for (const auto &request : server.requests())
        targets += request.method + ' ' + request.target;
    QCOMPARE(targets, QByteArrayList({"GET /projects/p/1.0/fr-CA/strings.gz/force", "POST /track"}));
}

void tst_Guest::whatOthersTake_data()
{
    const DVRows<QString, bool, QStringList> row("scenario", "switchedOff", "messages");
    row("linked and never started", u"unstarted"_qs, false, {});
    row("the mode DVDisabled", u"disabled"_qs, false, {u"dorvane: [DV] Dorvane disabled"_qs});
    row("DORVANE_DISABLED", u"serving"_qs, true,
        {u"dorvane: [DV] Dorvane disabled by DORVANE_DISABLED in the environment"_qs});
}

void tst_Guest::whatOthersTake()
{
    const Delivery server;
    Guest guest;
    run(guest, server);
    QTEST(guest.messages(), "messages");
    QCOMPARE(guest.tree(), QStringList());
    QVERIFY(server.requests().isEmpty());
    for (const QJsonObject &state : guest.lines()) {
        QCOMPARE(state.value(u"threads"_qs), array({u"guest_host"_qs}));
        QCOMPARE(state.value(u"filters"_qs).toArray(), QJsonArray());
        QCOMPARE(state.value(u"translators"_qs).toInt(), 0);
        QCOMPARE(state.value(u"tr"_qs).toString(), u"a"_qs);
        QCOMPARE(state.value(u"bundle"_qs).toString(), u"a"_qs);
    }
}

void tst_Guest::whatTheLibraryOfReviewTakes_data()
{
    const DVRows<QString, QStringList> row("scenario", "filters");
    row("linked and never started: nothing", u"unstarted"_qs, {});
    row("the mode DVDisabled: nothing", u"disabled"_qs, {});
    row("serving: what serving takes", u"serving"_qs, {u"DVTranslatorPlace"_qs});
    row("review in an application without widgets: a line in the log", u"review-without-widgets"_qs,
        {u"DVTranslatorPlace"_qs});
    row("review: gestures and clean texts", u"review"_qs,
        {u"DVCleanTexts"_qs, u"DVGestureWatch"_qs, u"DVTranslatorPlace"_qs});
}

// Filters, and children such as timers, of the application object.
void tst_Guest::whatTheLibraryOfReviewTakes()
{
#ifdef GUEST_HOST_REVIEW
    QFETCH(const QString, scenario);
    QFETCH(const QStringList, filters);
    const Delivery server;
    Guest guest;
    guest.setProgram(QStringLiteral(GUEST_HOST_REVIEW));
    guest.setVariable(u"QT_QPA_PLATFORM"_qs, u"offscreen"_qs);
    guest.run(scenario, server.url());
    QVERIFY2(guest.endedWith(0), guest.errors().constData());

    const QJsonObject before = guest.at(u"application"_qs);
    const QJsonObject settled = guest.at(u"settled"_qs);
    QVERIFY(settled.contains(u"children"_qs));
    QCOMPARE(before.value(u"filters"_qs), array({}));
    QCOMPARE(settled.value(u"filters"_qs), array(filters));
    QCOMPARE(guest.messages().filter(u"need a QApplication"_qs).size(),
             scenario == u"review-without-widgets" ? 1 : 0);
    if (!filters.contains(u"DVGestureWatch"_qs)) {
        QCOMPARE(settled.value(u"children"_qs), before.value(u"children"_qs));
        QCOMPARE(settled.value(u"properties"_qs), before.value(u"properties"_qs));
    }
#else
    QSKIP("built without the library of review");
#endif
}

void tst_Guest::connections_data()
{
    if (!DVStrace::works())
        QSKIP("strace may not trace here: nobody sees the calls");
    scenarios();
}

// Whom it talks to, what it listens on, which processes and threads it starts, what it writes.
void tst_Guest::connections()
{
    QFETCH(QString, scenario);
    QFETCH(bool, switchedOff);
    const Delivery server;
    Guest guest;
    guest.trace(u"connect,bind,listen,execve,fork,vfork,clone,clone3,kill,openat,mkdir,rename,unlink"_qs);
    run(guest, server);
    const bool serves = scenario == u"serving" && !switchedOff;
    const QString itsServer = u"sin_port=htons(%1), sin_addr=inet_addr(\"127.0.0.1\")"_qs.arg(server.port());
    int connected = 0;
    int executed = 0;
    for (const QString &call : guest.traced()) {
        static const QRegularExpression form(u"^[0-9]+ +([a-z0-9]+)\\("_qs);
        const QString name = form.match(call).captured(1);
        executed += name == u"execve";
        connected += name == u"connect";
        QVERIFY2(name != u"bind" && name != u"listen" && name != u"kill", qPrintable(call));
        QVERIFY2(name != u"connect" || call.contains(itsServer), qPrintable(call));
        const bool starts = name.startsWith(u"clone"_qs) || name.endsWith(u"fork"_qs);
        QVERIFY2(!starts || (serves && call.contains(u"CLONE_THREAD"_qs)), qPrintable(call));
        const bool writes = call.contains(u"O_CREAT"_qs) || call.contains(u"O_WRONLY"_qs) ||
                            call.contains(u"O_RDWR"_qs) || name == u"mkdir" || name == u"rename" ||
                            name == u"unlink";
        QVERIFY2(!writes || call.contains(u"/dev/"_qs) || (serves && call.contains(guest.home())),
                 qPrintable(call));
    }
    QCOMPARE(executed, 1); // the host itself
    QCOMPARE(connected > 0, serves);
}

void tst_Guest::valuesOfTheSwitch_data()
{
    QTest::addColumn<QString>("value");
    QTest::addColumn<bool>("off");
    for (const char *value : {"1", "true", "YES", "on", "2", "please"})
        QTest::addRow("\"%s\" switches off", value) << QString::fromLatin1(value) << true;
    for (const char *value : {"", "0", "false", "No", "OFF", " "})
        QTest::addRow("\"%s\" does not", value) << QString::fromLatin1(value) << false;
}

void tst_Guest::valuesOfTheSwitch()
{
    QFETCH(QString, value);
    QFETCH(bool, off);
    const Delivery server;
    Guest guest;
    guest.setVariable(u"DORVANE_DISABLED"_qs, value);
    guest.run(u"serving"_qs, server.url());
    QVERIFY(guest.endedWith(0));
    QCOMPARE(guest.at(u"settled"_qs).value(u"tr"_qs).toString(), off ? u"a"_qs : u"un"_qs);
}

void tst_Guest::loggersThatAsk_data()
{
    const DVRows<QString> row("scenario");
    row("a message handler that looks texts up", u"asking-logger"_qs);
    row("a message handler that waits for the main thread", u"blocking-logger"_qs);
}

void tst_Guest::loggersThatAsk()
{
    QFETCH(QString, scenario);
    const Delivery server;
    Guest guest;
    guest.run(scenario, server.url(), [&server] { QVERIFY(server.waitForRequests(3, 30000)); });
    QVERIFY2(guest.endedWith(0), guest.errors().constData());
    QVERIFY(guest.lines().constLast().value(u"handled"_qs).toInt() > 0);
    QVERIFY(guest.lines().constLast().value(u"text"_qs).toString().startsWith(u"jeden|"_qs));
}

void tst_Guest::theHostChangesLocales()
{
    const Delivery server;
    Guest guest;
    guest.run(u"locales"_qs, server.url(), [&server] { server.waitForEvents(); });
    QVERIFY(guest.endedWith(0));
    const QJsonObject result = guest.lines().constLast();
    QCOMPARE(result.value(u"text"_qs).toString(), u"un|un|un"_qs);
    QVERIFY(result.value(u"locale"_qs).toBool());
    QCOMPARE(result.value(u"qLocale"_qs).toString(), u"de_DE"_qs);
    const qint64 expires = result.value(u"expires"_qs).toInteger();
    QVERIFY(qAbs(expires - 3600 - QDateTime::currentSecsSinceEpoch()) < 120);
}

void tst_Guest::theHostForks()
{
    const Delivery server;
    Guest guest;
    guest.run(u"fork"_qs, server.url(), [&server] { server.waitForEvents(); });
    QVERIFY2(guest.endedWith(0), guest.errors().constData());
    const QJsonObject result = guest.lines().constLast();
    QCOMPARE(result.value(u"child"_qs).toInt(), 0);
    QFile events(QString(guest.home() + u"/.local/share/guest_host/Dorvane/analytics"));
    QVERIFY(events.open(QIODevice::ReadOnly));
    QVERIFY2(events.readAll().contains("\"projectId\":\"child\""), "the child has saved nothing");
    QCOMPARE(result.value(u"text"_qs).toString(), u"un|un|un"_qs);
}

void tst_Guest::lookupsBehindMain()
{
    const Delivery server;
    Guest guest;
    guest.run(u"behind-main"_qs, server.url());
    QVERIFY2(guest.endedWith(0), guest.errors().constData());
    QCOMPARE(guest.lines().size(), 3); // main, the end of a thread, the end of the process
    QVERIFY(guest.lines().at(1).value(u"text"_qs).toString().startsWith(u"un|"_qs));
    QCOMPARE(guest.lines().at(2).value(u"text"_qs).toString(), u"a|a|a"_qs);
    QVERIFY(guest.lines().at(2).value(u"origin"_qs).toString().contains(u"no application"_qs));
}

void tst_Guest::exitInTheMiddle()
{
    DVFaultServer server;
    server.setHandler([](const auto &) { return Answer::failing(DVFaultServer::Fault::Silence); });
    Guest guest;
    guest.run(u"exit"_qs, server.url());
    QVERIFY2(guest.endedWith(7), guest.errors().constData());
    QCOMPARE(guest.lines().constLast().value(u"text"_qs).toString(), u"a|a|a"_qs);
}

// The thread that saves events is left behind, and comes back when Qt has been taken down.
void tst_Guest::exitWithAStalledDisk()
{
    if (!DVStrace::works())
        QSKIP("strace may not trace here: nothing stalls");
    const Delivery server;
    Guest guest;
    guest.stallDisk();
    guest.run(u"stalled-disk"_qs, server.url());
    QVERIFY2(guest.endedWith(0), guest.errors().constData());
    QVERIFY(guest.traced().join(u'\n').contains(u"(DELAYED)"_qs));
    QCOMPARE(guest.lines().constLast().value(u"threads"_qs), array({u"guest_host"_qs}));
}

void tst_Guest::twoCopies_data()
{
    const DVRows<QString> row("scenario");
#if defined(GUEST_LIBRARY)
    row("names of the first copy come first", u"two"_qs);
    row("each copy has its own names", u"two-bound"_qs);
#else
    QSKIP("the library is static, or a sanitizer minds two of one kind");
#endif
}

void tst_Guest::twoCopies()
{
#if defined(GUEST_LIBRARY)
    QFETCH(QString, scenario);
    const Delivery server;
    QTemporaryDir folder;
    const QString copy = folder.filePath(u"libcopy.so"_qs);
    QVERIFY(QFile::copy(QStringLiteral(GUEST_LIBRARY), copy));
    Guest guest;
    guest.setVariable(u"GUEST_COPY"_qs, copy);
    guest.run(scenario, server.url(), [&server] { QVERIFY(server.waitForRequests(3, 30000)); });
    QVERIFY2(guest.endedWith(0), guest.errors().constData());
    // Each comes to the front after what the other announces, and that is the end of it.
    const QJsonObject result = guest.lines().constLast();
    const QString text = result.value(u"text"_qs).toString();
    QVERIFY2(text == u"un" || text == u"jeden", qPrintable(text));
    QVERIFY(result.value(u"translators"_qs).toInt() <= 8);
#endif
}

QTEST_GUILESS_MAIN(tst_Guest)
#include "tst_guest.moc"
