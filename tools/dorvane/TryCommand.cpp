#include "CommandLine.h"
#include "Commands.h"
#include "TryDriver.h"

#include <DVFolders.h>

#ifdef DORVANE_TOOL_HAS_KEYCHAIN
#include <Dorvane/DVKeychainSystem.h>
#endif
#include <Dorvane/Dorvane.h>

#include <QCoreApplication>
#include <QFileInfo>

#include <unistd.h>

namespace {

const auto dataDir = QStringLiteral("data-dir");
const auto bundle = QStringLiteral("bundle");
const auto appVersion = QStringLiteral("app-version");
const auto languages = QStringLiteral("languages");
const auto currentLocale = QStringLiteral("locale");
const auto keychain = QStringLiteral("keychain");
const auto systemVersion = QStringLiteral("system-version");

void declareTryOptions(CommandLine &line)
{
    line.addOption({dataDir, QStringLiteral("Folder for what an application keeps between its starts."),
                    QStringLiteral("DIR")});
    line.addOption(
        {bundle, QStringLiteral("Folder with the application's packaged strings."), QStringLiteral("DIR")});
    line.addOption({appVersion, QStringLiteral("Version of the application."), QStringLiteral("V")});
    line.addOption({languages,
                    QStringLiteral("The user's languages, the preferred one first, such as fr-CA,en."),
                    QStringLiteral("LIST")});
    line.addOption({currentLocale, QStringLiteral("The device's current locale, such as fr_CA."),
                    QStringLiteral("LOCALE")});
    line.addOption(
        {systemVersion, QStringLiteral("The system's version, such as 17.0."), QStringLiteral("V")});
    line.addOption({keychain, QStringLiteral("Keep the sign-in in your keychain; otherwise it ends with the "
                                             "program.")});
}

void declareNote(CommandLine &line)
{
    line.addNote(QStringLiteral(
        "One JSON object for each line on standard input, one reply for each on standard output, and\n"
        "{\"event\": \"stringsUpdated\"} in between. Log messages go to standard error. For example:\n\n"
        "  {\"do\": \"start\", \"projectId\": \"demo\", \"options\": {\"mode\": \"DVOTAServing\", "
        "\"otaKey\": \"...\",\n"
        "   \"servers\": {...}}}\n"
        "  {\"do\": \"lookup\", \"key\": \"Hello\"}\n\n"
        "Commands: start (projectId, options), lookup (key, value, table), tr (context, text, comment, n),\n"
        "plural (key, number), locale, setLocale (id), strings (which: \"localized\" or \"base\"), "
        "foreground,\n"
        "deviceLocale (languages, locale), find (text), clock (advanceMs), wait (ms, or event and "
        "timeoutMs),\n"
        "diagnostics (replies with the members diagnostics and text: why texts are what they are; with key,\n"
        "context and n: origin and text, where that one comes from),\n"
        "projectLocales.\n\n"
        "Review mode runs without a screen: commands do what a translator would. signIn (user, password:\n"
        "fills in the platform's page), signOut, workflows (fresh), useStep (uid), useLocale (id), pull,\n"
        "edit (key, form, text: arguments are written as format specifiers, \"Hello %1\"), accept (key),\n"
        "reject (key, reason, description), unsaved, save (overwrite: else nothing is saved when a text has\n"
        "changed on the platform meanwhile), submit, rejectAll, issue (key), push (all four, in this "
        "order),\n"
        "upload (image, strings: a list of {\"key\", \"frame\": [left, top, width, height]}). With\n"
        "\"progress\": true the commands pull, useStep, useLocale, save, push and upload print\n"
        "{\"event\": \"progress\"} lines, and \"timeoutMs\" cancels what takes longer. What fails replies "
        "with\n"
        "\"error\": {\"domain\", \"code\", \"description\"}."));
}

// Null when the folders can be used.
QString folderProblem(const CommandLine &line)
{
    const QFileInfo data(line.value(dataDir));
    if (line.isSet(dataDir) && data.exists() && !data.isDir())
        return QStringLiteral("--data-dir is no folder: %1").arg(line.value(dataDir));
    if (line.isSet(bundle) && !QFileInfo(line.value(bundle)).isDir())
        return QStringLiteral("--bundle is no folder: %1").arg(line.value(bundle));
    return {};
}

// Null when the sign-in is kept where it should be.
QString keychainProblem(const CommandLine &line)
{
    if (!line.isSet(keychain))
        return {};
#ifdef DORVANE_TOOL_HAS_KEYCHAIN
    DorvaneKeychain::useSystem();
    return {};
#else
    return QStringLiteral("--keychain: this program was built without Dorvane::Keychain");
#endif
}

DVDevice::Override deviceFromOptions(const CommandLine &line)
{
    DVDevice::Override device;
    if (line.isSet(languages))
        device.languages = line.value(languages).split(u',', Qt::SkipEmptyParts);
    if (line.isSet(currentLocale))
        device.locale = line.value(currentLocale);
    if (line.isSet(systemVersion))
        device.systemVersion = line.value(systemVersion);
    return device;
}

} // namespace

int runTry(const QStringList &arguments)
{
    CommandLine line(
        QStringLiteral("try"),
        QStringLiteral("An application without windows that does what JSON lines tell it, to see what a\n"
                       "project serves."));
    declareTryOptions(line);
    declareNote(line);
    if (const auto status = line.parse(arguments))
        return *status;
    if (const QString problem = folderProblem(line); !problem.isEmpty())
        return line.misused(problem);
    if (const QString problem = keychainProblem(line); !problem.isEmpty())
        return line.fail(problem);

    if (line.isSet(dataDir))
        DVFolders::setDocuments(QFileInfo(line.value(dataDir)).absoluteFilePath());
    if (line.isSet(bundle))
        Dorvane::setMainBundle(DVBundle(QFileInfo(line.value(bundle)).absoluteFilePath()));
    QCoreApplication::setApplicationVersion(line.value(appVersion));
    const DVDevice::Override device = deviceFromOptions(line);
    DVDevice::setOverride(device);
    const TryDriver driver(STDIN_FILENO, device);
    return QCoreApplication::exec();
}
