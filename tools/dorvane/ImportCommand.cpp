#include "CommandLine.h"
#include "Commands.h"
#include "DeliveredFile.h"
#include "FolderLock.h"
#include "ImportedFiles.h"
#include "ProjectEdit.h"

#include <DocumentLines.h>
#include <Merge.h>
#include <XmlCharacters.h>

#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>

namespace {

constexpr auto note =
    "FILE is a .ts file of Qt's tools, a strings file (\"key\" = \"text\";) or an XLIFF 1.2 document.\n"
    "The folder and its project.json are made when they are missing. What the folder holds and the\n"
    "files do not say stays. docs/guides/import-export.md tells more.";

// Says now and then how far it is, once it takes long enough to wonder.
class Progress
{
public:
    explicit Progress(const CommandLine &line)
        : m_line(line)
    {
        m_timer.start();
    }
    void say(const QString &what)
    {
        constexpr qint64 everyMs = 1000;
        if (m_timer.elapsed() - m_last < everyMs)
            return;
        m_last = m_timer.elapsed();
        m_line.warn(forTerminal(what));
    }

private:
    const CommandLine &m_line;
    QElapsedTimer m_timer;
    qint64 m_last = 0;
};

// What options say by a word.
struct Choices
{
    ContextKeys contexts = ContextKeys::Auto;
    XliffKeys xliffKeys = XliffKeys::Auto;
};

class Import
{
public:
    Import(const CommandLine &line, Choices choices)
        : m_line(line)
        , m_choices(choices)
        , m_folder(line.value(QStringLiteral("into")))
        , m_progress(line)
    {}

    int run()
    {
        FolderLock lock;
        const QString locked = lock.take(m_folder, [this] {
            warn(QStringLiteral("another import is writing to %1: waiting").arg(m_folder));
        });
        if (!locked.isEmpty())
            return fail(locked);
        if (const int status = openProject(); status != Succeeded)
            return status;
        ImportedFiles files({platformLocale(option("locale")), m_choices.xliffKeys, m_project.sourceLocale,
                             [this](const QString &base) { return baseTexts(base); },
                             [this](const QString &what) { m_progress.say(what); }});
        const QString problem = files.read(QStringList(m_line.argument(0)) + m_line.argumentList());
        for (const QString &warning : files.warnings())
            printErrorLine(forTerminal(warning));
        if (!problem.isEmpty())
            return fail(problem);
        m_project.sourceLocale = files.sourceLocale();
        for (const auto &[locale, batch] : files.batches()) {
            if (const int status = importInto(locale, batch); status != Succeeded)
                return status;
        }
        if (const int status = saveProject(); status != Succeeded)
            return status;
        sayWhatNext();
        return Succeeded;
    }

private:
    QString inFolder(const QString &name) const { return QDir(m_folder).filePath(name); }
    QString projectPath() const { return inFolder(QStringLiteral("project.json")); }
    QString localePath(const QString &locale) const { return inFolder(locale + QStringLiteral(".xlf")); }
    int fail(const QString &what) const { return m_line.fail(forTerminal(what)); }
    int misused(const QString &what) const { return m_line.misused(forTerminal(what)); }
    void warn(const QString &what) const { m_line.warn(forTerminal(what)); }
    static void say(const QString &what) { printLine(forTerminal(what)); }
    QString option(const char *name) const { return m_line.value(QLatin1StringView(name)); }

    int openProject()
    {
        const QString base = platformLocale(option("base"));
        for (const QString &locale : {base, platformLocale(option("locale"))}) {
            if (!locale.isEmpty() && !isLanguageTag(locale))
                return misused(QStringLiteral("\"%1\" is no locale identifier; give one such as fr or pt-BR")
                                   .arg(locale));
        }
        if (!QFileInfo::exists(projectPath())) {
            m_project = freshProject(m_folder, base);
            return Succeeded;
        }
        QString error;
        m_projectJson = readWholeFile(projectPath(), &error);
        const auto project = error.isEmpty() ? Project::fromJson(m_projectJson, &error) : std::nullopt;
        if (!project)
            return fail(QStringLiteral("%1: %2").arg(projectPath(), error));
        m_project = *project;
        if (!base.isEmpty() && base != m_project.sourceLocale)
            return misused(QStringLiteral("--base says %1, but %2 says %3: leave --base out, or change "
                                          "\"sourceLocale\" there")
                               .arg(base, projectPath(), m_project.sourceLocale));
        return Succeeded;
    }

    // Of the base language, by key.
    QHash<QString, QString> baseTexts(const QString &base) const
    {
        QHash<QString, QString> texts;
        QString problem;
        const QByteArray content = readWholeFile(localePath(base), &problem);
        FormatError error;
        if (const auto file = LocaleFile::parse(content, &error)) {
            for (const LocaleString &string : file->strings())
                texts.insert(string.key, string.forms.value(QString()).value_or(string.source));
        }
        return texts;
    }

    int importInto(const QString &locale, const ImportedBatch &batch)
    {
        QString problem;
        const auto file = openLocale(locale, &problem);
        if (!file)
            return fail(problem);
        LocaleFile strings = *file;
        const MergeResult result = mergeMessages(
            strings, batch.messages, {locale, m_choices.contexts, m_line.isSet(QStringLiteral("locations"))},
            [this, &locale](qsizetype count) {
                m_progress.say(QStringLiteral("%1: %2 strings in").arg(locale).arg(count));
            });
        for (const QString &warning : result.warnings)
            printErrorLine(warning);
        const QByteArray document = strings.document();
        if (const auto wrong = xmlProblem(document))
            return fail(QStringLiteral("%1 would not be readable: %2; nothing was changed in it")
                            .arg(localePath(locale), wrong->what));
        const bool isSame = QFileInfo::exists(localePath(locale)) && result.fresh + result.changed == 0;
        if (!isSame && !writeWholeFile(localePath(locale), document, &problem))
            return fail(problem);
        report(locale, batch, result);
        if (!m_project.hasLocale(locale))
            m_newLocales.append(locale);
        return Succeeded;
    }

    std::optional<LocaleFile> openLocale(const QString &locale, QString *problem) const
    {
        const QString path = localePath(locale);
        if (!QFileInfo::exists(path))
            return LocaleFile::empty(m_project.name, m_project.sourceLocale, locale);
        const QByteArray content = readWholeFile(path, problem);
        FormatError error;
        auto file = problem->isEmpty() ? LocaleFile::parse(content, &error) : std::nullopt;
        if (!file && problem->isEmpty())
            *problem = error.text(path) + QStringLiteral("; mend or remove it, then import again");
        return file;
    }

    void report(const QString &locale, const ImportedBatch &batch, const MergeResult &result) const
    {
        QString line = QStringLiteral("%1 -> %2: %3 new, %4 changed, %5 unchanged")
                           .arg(batch.paths.join(QStringLiteral(", ")), localePath(locale))
                           .arg(result.fresh)
                           .arg(result.changed)
                           .arg(result.unchanged);
        if (result.kept > 0)
            line += QStringLiteral(", %1 not in these files any more (kept)").arg(result.kept);
        if (result.unfinished > 0)
            line += QStringLiteral("; %1 unfinished (not served)").arg(result.unfinished);
        if (result.obsolete > 0)
            line += QStringLiteral("; %1 vanished or obsolete (skipped)").arg(result.obsolete);
        if (result.duplicates > 0)
            line += QStringLiteral("; %1 duplicate%2 (left out)")
                        .arg(result.duplicates)
                        .arg(result.duplicates == 1 ? QString() : QStringLiteral("s"));
        say(line);
    }

    int saveProject()
    {
        QString problem;
        QByteArray json = m_projectJson;
        if (json.isNull()) {
            m_project.targetLocales = m_newLocales;
            json = projectJson(m_project);
            say(QStringLiteral("%1: made for project \"%2\", source locale %3, with a fresh delivery key")
                    .arg(projectPath(), m_project.projectId, m_project.sourceLocale));
        } else {
            for (const QString &locale : std::as_const(m_newLocales)) {
                json = withTargetLocale(json, locale);
                if (json.isNull())
                    return fail(QStringLiteral("add \"%1\" to \"targetLocales\" in %2 yourself")
                                    .arg(locale, projectPath()));
                say(QStringLiteral("%1: target locale %2 added").arg(projectPath(), locale));
            }
        }
        if (json == m_projectJson || writeWholeFile(projectPath(), json, &problem))
            return Succeeded;
        return fail(problem);
    }

    void sayWhatNext() const
    {
        say(QStringLiteral("Next:"));
        say(QStringLiteral("  dorvane check %1").arg(m_folder));
        say(QStringLiteral("  dorvane serve %1").arg(m_folder));
    }

    const CommandLine &m_line;
    const Choices m_choices;
    const QString m_folder;
    Progress m_progress;
    Project m_project;
    QByteArray m_projectJson; // null: there is none yet
    QStringList m_newLocales;
};

void declareImportOptions(CommandLine &line)
{
    line.addArgument(QStringLiteral("FILE"), QStringLiteral("File to read."));
    line.addArgumentList(QStringLiteral("FILE"), QStringLiteral("More files, if there are any."));
    line.addOption({QStringLiteral("into"), QStringLiteral("Project folder."), QStringLiteral("FOLDER")});
    line.addOption(
        {QStringLiteral("locale"),
         QStringLiteral("Language of the files, such as fr-CA; otherwise what the file or its name says."),
         QStringLiteral("LOCALE")});
    line.addOption({QStringLiteral("base"),
                    QStringLiteral("Language of the source texts; otherwise what the file says, or en."),
                    QStringLiteral("LOCALE")});
    line.addOption(
        {QStringLiteral("contexts"),
         QStringLiteral("Give texts keys with their contexts: auto (where translations differ, the "
                        "default), never or always."),
         QStringLiteral("WHEN"), QStringLiteral("auto")});
    line.addOption(
        {QStringLiteral("xliff-keys"),
         QStringLiteral("What of an XLIFF unit is its key: auto (resname; else, in files made from strings "
                        "files, id; else the source text), id or source."),
         QStringLiteral("WHICH"), QStringLiteral("auto")});
    line.addOption({QStringLiteral("locations"),
                    QStringLiteral("Keep where in the sources the texts stand. Every later change of the "
                                   "sources then changes the file.")});
    line.addNote(QLatin1StringView(note));
}

// Nothing after the fault was told.
std::optional<Choices> chosen(const CommandLine &line)
{
    const QStringList modes{QStringLiteral("auto"), QStringLiteral("never"), QStringLiteral("always")};
    const QStringList kinds{QStringLiteral("auto"), QStringLiteral("id"), QStringLiteral("source")};
    const qsizetype mode = modes.indexOf(line.value(QStringLiteral("contexts")));
    const qsizetype kind = kinds.indexOf(line.value(QStringLiteral("xliff-keys")));
    if (line.value(QStringLiteral("into")).isEmpty())
        line.misused(QStringLiteral("--into FOLDER is missing."));
    else if (mode < 0)
        line.misused(QStringLiteral("--contexts is auto, never or always."));
    else if (kind < 0)
        line.misused(QStringLiteral("--xliff-keys is auto, id or source."));
    else
        return Choices{ContextKeys(mode), XliffKeys(kind)};
    return {};
}

} // namespace

int runImport(const QStringList &arguments)
{
    CommandLine line(QStringLiteral("import"),
                     QStringLiteral("Makes a project folder of an application's files of translations, or "
                                    "brings it up to\ndate. Asks nothing; prints what it did and what to do "
                                    "next."));
    declareImportOptions(line);
    if (const auto status = line.parse(arguments))
        return *status;
    const auto choices = chosen(line);
    return choices ? Import(line, *choices).run() : int(Misused);
}
