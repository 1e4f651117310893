#include "CommandLine.h"
#include "Commands.h"
#include "StandardStreams.h"

#include <DVVersion.h>

#include <QCoreApplication>

#include <algorithm>
#include <iterator>

namespace {

struct Command
{
    const char *name;
    const char *summary;
    int (*run)(const QStringList &);
};

constexpr Command commands[] = {
    {"import", "make a project folder of an application's .ts files, or bring it up to date", runImport},
    {"export", "write a project folder's strings as .ts, .strings or XLIFF files", runExport},
    {"serve", "run a local stand-in for the translation platform, for development", runServe},
    {"check", "find mistakes in XLIFF files before users do", runCheck},
    {"doctor", "look for what is wrong with a delivery", runDoctor},
    {"pack", "make the file that applications download from an XLIFF file", runPack},
    {"unpack", "open such a file again", runUnpack},
    {"try", "drive an application without windows by JSON lines, to see what a project serves", runTry},
    {"keygen", "print a fresh delivery key", runKeygen},
};

QString overview()
{
    QString text = QStringLiteral("Usage: dorvane COMMAND [options]\n\nCommands:\n");
    for (const Command &command : commands)
        text += QStringLiteral("  %1%2\n")
                    .arg(QLatin1StringView(command.name), -10)
                    .arg(QLatin1StringView(command.summary));
    return text + QStringLiteral("\n\"dorvane COMMAND --help\" tells more about one of them; "
                                 "\"dorvane --version\" prints the version.");
}

int dispatch(QStringList arguments)
{
    const QString name = arguments.isEmpty() ? QString() : arguments.takeFirst();
    if (name == u"--version") {
        printLine(QStringLiteral("dorvane %1").arg(dv_sdkVersion));
        return Succeeded;
    }
    if (name == u"help" && !arguments.isEmpty())
        return dispatch({arguments.constFirst(), QStringLiteral("--help")});
    if (name == u"help" || name == u"--help" || name == u"-h") {
        printLine(overview());
        return Succeeded;
    }
    const auto command =
        std::find_if(std::begin(commands), std::end(commands),
                     [&name](const Command &candidate) { return name == QLatin1StringView(candidate.name); });
    if (command != std::end(commands))
        return command->run(arguments);
    if (!name.isEmpty())
        printErrorLine(QStringLiteral("dorvane: there is no command \"%1\".\n").arg(name));
    printErrorLine(overview());
    return Misused;
}

} // namespace

// Messages go to standard error, also where Qt was built to hand them to the system's journal.
static void writeMessage(QtMsgType, const QMessageLogContext &, const QString &message)
{
    printErrorLine(message);
}

int main(int argc, char **argv)
{
    occupyStandardStreams();
    qInstallMessageHandler(writeMessage);
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("dorvane"));
    return statusAfterOutput(dispatch(QCoreApplication::arguments().mid(1)));
}
