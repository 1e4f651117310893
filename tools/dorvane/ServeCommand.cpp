#include "CommandLine.h"
#include "Commands.h"
#include "HttpServer.h"
#include "Platform.h"
#include "StopSignals.h"

#include <QCoreApplication>
#include <QJsonDocument>
#include <QUrl>

#include <csignal>
#include <functional>
#include <optional>

namespace {

struct ServeOptions
{
    QHostAddress address{QHostAddress::LocalHost};
    quint16 port = 0;
    QString publicUrl;
    bool quiet = false;
    bool exitWithInput = false;
};

void declareServeOptions(CommandLine &line)
{
    line.addArgument(QStringLiteral("FOLDER"),
                     QStringLiteral("Project folder: project.json and <locale>.xlf files."));
    line.addOption({QStringLiteral("port"), QStringLiteral("Port to listen on; without it a free one."),
                    QStringLiteral("N"), QStringLiteral("0")});
    line.addOption({QStringLiteral("listen"),
                    QStringLiteral("Address to listen on; without it 127.0.0.1, which only this "
                                   "machine reaches."),
                    QStringLiteral("ADDRESS"), QStringLiteral("127.0.0.1")});
    line.addOption({QStringLiteral("public-url"),
                    QStringLiteral("Address under which applications reach this server, "
                                   "such as that of a proxy in front of it."),
                    QStringLiteral("U")});
    line.addOption({QStringLiteral("quiet"), QStringLiteral("No line on standard error for each request.")});
    line.addOption(
        {QStringLiteral("exit-with-stdin"), QStringLiteral("End when standard input ends; for scripts.")});
    line.addNote(QStringLiteral(
        "When ready it prints \"Listening on http://127.0.0.1:PORT\" and then one line of JSON, the option "
        "\"servers\"\n"
        "to start an application with.\n\n"
        "Delivery:   GET /projects/<project>/<version>/<locale>/strings.gz[/force]\n"
        "Analytics:  POST /track, kept in FOLDER/received/events.jsonl\n"
        "Sign-in:    /auth/realms/Dorvane/protocol/openid-connect/{auth,token,logout} for the \"users\" of\n"
        "            project.json, /auth-api/v2/authenticate for its \"apiCredentials\"\n"
        "REST API:   projects, workflows, import and export, submitted and rejected strings, issues, "
        "contexts\n"
        "            and bindings; what is sent to them is kept in FOLDER/received\n\n"
        "A file that changes is a new publication; no restart is needed. A translation that is submitted out "
        "of\n"
        "the last step of its workflow is published too. It is a server for development, demonstrations and\n"
        "tests, not for the open internet. docs/formats/project-folder.md says what the folder holds."));
}

// Nothing after it was said what is wrong.
std::optional<ServeOptions> readOptions(const CommandLine &line)
{
    ServeOptions options;
    bool isNumber = false;
    options.port = line.value(QStringLiteral("port")).toUShort(&isNumber);
    options.publicUrl = line.value(QStringLiteral("public-url"));
    options.quiet = line.isSet(QStringLiteral("quiet"));
    options.exitWithInput = line.isSet(QStringLiteral("exit-with-stdin"));
    const QUrl publicUrl(options.publicUrl, QUrl::StrictMode);
    const bool goodUrl = publicUrl.isValid() && !publicUrl.host().isEmpty() &&
                         (publicUrl.scheme() == u"http" || publicUrl.scheme() == u"https");
    if (!isNumber)
        line.misused(QStringLiteral("--port is a number from 0 to 65535."));
    else if (!options.address.setAddress(line.value(QStringLiteral("listen"))))
        line.misused(QStringLiteral("--listen is an IP address, such as 127.0.0.1 or 0.0.0.0."));
    else if (!options.publicUrl.isEmpty() && !goodUrl)
        line.misused(QStringLiteral("--public-url is an http or https address with a host."));
    else
        return options;
    return {};
}

QString ownUrl(const QHostAddress &address, quint16 port)
{
    QUrl url;
    url.setScheme(QStringLiteral("http"));
    url.setHost(address.toString());
    url.setPort(port);
    return url.toString();
}

// Where an application on this machine reaches a server that listens on every address. The library
// accepts plain http on loopback only.
QHostAddress reachableAddress(const QHostAddress &address)
{
    if (address == QHostAddress(QHostAddress::AnyIPv4))
        return QHostAddress(QHostAddress::LocalHost);
    if (address == QHostAddress(QHostAddress::AnyIPv6))
        return QHostAddress(QHostAddress::LocalHostIPv6);
    return address;
}

QString serversOption(const QString &base)
{
    const QJsonObject servers{{QStringLiteral("api"), base},
                              {QStringLiteral("sso"), base},
                              {QStringLiteral("delivery"), base},
                              {QStringLiteral("deliveryCdn"), QString(base + QStringLiteral("/projects"))}};
    const QJsonObject option{{QStringLiteral("servers"), servers}};
    return QString::fromUtf8(QJsonDocument(option).toJson(QJsonDocument::Compact));
}

// Where applications reach it, without a slash at the end.
QString baseUrl(const ServeOptions &options, quint16 port)
{
    QString base =
        options.publicUrl.isEmpty() ? ownUrl(reachableAddress(options.address), port) : options.publicUrl;
    while (base.endsWith(u'/'))
        base.chop(1);
    return base;
}

// The two lines that scripts wait for.
void announce(const ServeOptions &options, quint16 port)
{
    printLine(QStringLiteral("Listening on %1").arg(ownUrl(options.address, port)));
    printLine(serversOption(baseUrl(options, port)));
}

// Never a password: they stand in project.json.
QString signInNote(const ProjectAccess &access)
{
    QStringList names;
    for (const ProjectUser &user : access.users)
        names.append(QStringLiteral("\"%1\"").arg(user.user));
    for (const ApiCredential &credential : access.apiCredentials)
        names.append(QStringLiteral("the API credentials \"%1\"").arg(credential.userIdentifier));
    return names.isEmpty()
               ? QStringLiteral(
                     "Nobody can sign in: project.json names no \"users\" and no \"apiCredentials\".")
               : QStringLiteral("Can sign in, with the secrets of project.json: %1.")
                     .arg(names.join(QStringLiteral(", ")));
}

// Until a signal or, where asked for, the end of standard input. `ready` is called when both are heeded.
void runUntilStopped(bool exitWithInput, const std::function<void()> &ready)
{
    std::signal(SIGPIPE, SIG_IGN); // whoever read the log may be gone
    const StopSignals signals(&QCoreApplication::quit);
    std::optional<InputEnd> input;
    if (exitWithInput)
        input.emplace(&QCoreApplication::quit);
    ready();
    QCoreApplication::exec();
}

} // namespace

int runServe(const QStringList &arguments)
{
    CommandLine line(
        QStringLiteral("serve"),
        QStringLiteral("Runs a local stand-in for the translation platform over a folder of XLIFF files. "
                       "\nFor development."));
    declareServeOptions(line);
    if (const auto status = line.parse(arguments))
        return *status;
    const auto options = readOptions(line);
    if (!options)
        return Misused;

    Platform platform(line.argument(0), [](const QString &text) { printErrorLine(text); });
    QString error = platform.open();
    if (!error.isEmpty())
        return line.fail(error + u'.');
    HttpServer server([&platform](const QHttpServerRequest &request) { return platform.answer(request); },
                      [quiet = options->quiet](const QString &text) {
                          if (!quiet)
                              printErrorLine(text);
                      });
    const quint16 port = server.listenOn(options->address, options->port, &error);
    if (port == 0)
        return line.fail(QStringLiteral("cannot listen on %1 port %2: %3.")
                             .arg(options->address.toString(), QString::number(options->port), error));
    printErrorLine(
        QStringLiteral("dorvane serve: a stand-in for development, project \"%1\". Stop it with Ctrl+C.")
            .arg(platform.project().projectId));
    printErrorLine(signInNote(platform.project().access));
    platform.setBaseUrl(baseUrl(*options, port));
    runUntilStopped(options->exitWithInput, [port, &options] { announce(*options, port); });
    return Succeeded;
}
