#include "CommandLine.h"
#include "Commands.h"
#include "DeliveredFile.h"
#include "Project.h"

#include <LocaleFile.h>
#include <StringsWriter.h>
#include <TsWriter.h>

#include <QDir>
#include <QFileInfo>

namespace {

// A file that is ready to be written, and what to say about it.
struct Exported
{
    QByteArray document;
    QString summary;
};

class Export
{
public:
    explicit Export(const CommandLine &line)
        : m_line(line)
        , m_folder(line.argument(0))
        , m_format(line.value(QStringLiteral("format")))
        , m_target(line.value(QStringLiteral("to")))
    {}

    int run()
    {
        QString problem;
        if (!readProject(&problem) || !readTemplate(&problem))
            return m_line.fail(problem);
        const QStringList locales = chosenLocales(&problem);
        if (locales.isEmpty())
            return m_line.fail(problem);
        const bool intoFolder = QFileInfo(m_target).isDir() || m_target.endsWith(u'/');
        if (locales.size() > 1 && !intoFolder)
            return m_line.misused(
                QStringLiteral("there are %1 locales: name one with --locale, or a folder with "
                               "--to (%2/)")
                    .arg(locales.size())
                    .arg(m_target));
        for (const QString &locale : locales) {
            if (const int status = writeLocale(locale, intoFolder); status != Succeeded)
                return status;
        }
        return Succeeded;
    }

private:
    bool readProject(QString *problem)
    {
        const QString path = QDir(m_folder).filePath(QStringLiteral("project.json"));
        const QByteArray json = readWholeFile(path, problem);
        const auto project = problem->isEmpty() ? Project::fromJson(json, problem) : std::nullopt;
        if (project)
            m_project = *project;
        else if (!problem->startsWith(u"cannot"))
            *problem = QStringLiteral("%1: %2").arg(path, *problem);
        return project.has_value();
    }

    bool readTemplate(QString *problem)
    {
        m_templatePath = m_line.value(QStringLiteral("template"));
        if (!m_templatePath.isEmpty())
            m_template = readWholeFile(m_templatePath, problem);
        return problem->isEmpty();
    }

    QString localePath(const QString &locale) const
    {
        return QDir(m_folder).filePath(locale + QStringLiteral(".xlf"));
    }

    QStringList chosenLocales(QString *problem) const
    {
        const QString one = platformLocale(m_line.value(QStringLiteral("locale")));
        if (!one.isEmpty()) {
            if (isLocaleName(one) && QFileInfo::exists(localePath(one)))
                return {one};
            *problem = QStringLiteral("there is no %1; the project has %2")
                           .arg(localePath(one), m_project.targetLocales.join(QStringLiteral(", ")));
            return {};
        }
        QStringList locales;
        for (const QString &locale : m_project.targetLocales) {
            if (QFileInfo::exists(localePath(locale)))
                locales.append(locale);
        }
        if (locales.isEmpty())
            *problem = QStringLiteral("%1 has no strings yet; \"dorvane import\" puts some in").arg(m_folder);
        return locales;
    }

    int writeLocale(const QString &locale, bool intoFolder)
    {
        QString problem;
        FormatError error;
        const QByteArray document = readWholeFile(localePath(locale), &problem);
        const auto file = problem.isEmpty() ? LocaleFile::parse(document, &error) : std::nullopt;
        if (!file)
            return m_line.fail(problem.isEmpty() ? error.text(localePath(locale)) : problem);
        const auto exported = exportedFile(document, *file, locale, &error);
        if (!exported)
            return m_line.fail(error.text(m_templatePath));
        const QString path = intoFolder ? QDir(m_target).filePath(nameFor(locale)) : m_target;
        if (!QDir().mkpath(QFileInfo(path).path()))
            return m_line.fail(QStringLiteral("cannot make the folder %1").arg(QFileInfo(path).path()));
        if (!writeWholeFile(path, exported->document, &problem))
            return m_line.fail(problem);
        printLine(QStringLiteral("%1 -> %2: %3").arg(localePath(locale), path, exported->summary));
        return Succeeded;
    }

    std::optional<Exported> exportedFile(const QByteArray &document, const LocaleFile &file,
                                         const QString &locale, FormatError *error) const
    {
        if (m_format == u"xliff") // the folder's own form is one that everybody reads
            return Exported{document, QStringLiteral("%1 strings").arg(file.keys().size())};
        if (m_format == u"strings") {
            const StringsExport strings = stringsFileOf(file.strings());
            QString summary = QStringLiteral("%1 strings; %2 untranslated (left out)")
                                  .arg(strings.written)
                                  .arg(strings.untranslated);
            if (strings.plurals > 0)
                summary += QStringLiteral("; %1 with plural forms, of which the format takes \"other\" only")
                               .arg(strings.plurals);
            return Exported{strings.document, summary};
        }
        const auto ts = m_template.isNull()
                            ? std::optional(tsOfStrings(file.strings(), locale, m_project.sourceLocale))
                            : tsWithStrings(m_template, file.strings(), locale, error);
        if (!ts)
            return {};
        return Exported{
            ts->document,
            QStringLiteral("%1 messages translated, %2 not").arg(ts->translated).arg(ts->untranslated)};
    }

    // In a folder: as the tools of each format look for it.
    QString nameFor(const QString &locale) const
    {
        const QString device = QString(locale).replace(u'-', u'_');
        if (m_format == u"strings")
            return QStringLiteral("%1.lproj/Localizable.strings").arg(device);
        return QStringLiteral("%1_%2.%3")
            .arg(m_project.projectId, device,
                 m_format == u"ts" ? QStringLiteral("ts") : QStringLiteral("xliff"));
    }

    const CommandLine &m_line;
    const QString m_folder;
    const QString m_format;
    const QString m_target;
    Project m_project;
    QString m_templatePath;
    QByteArray m_template; // null: none
};

} // namespace

int runExport(const QStringList &arguments)
{
    CommandLine line(
        QStringLiteral("export"),
        QStringLiteral("Writes the strings of a project folder as files of other tools. What of the "
                       "folder is not\nfinished is not called finished there."));
    line.addArgument(QStringLiteral("FOLDER"), QStringLiteral("Project folder."));
    line.addOption({QStringLiteral("locale"), QStringLiteral("One locale; otherwise every target locale."),
                    QStringLiteral("LOCALE")});
    line.addOption({QStringLiteral("format"), QStringLiteral("ts (the default), strings or xliff."),
                    QStringLiteral("FORMAT"), QStringLiteral("ts")});
    line.addOption(
        {QStringLiteral("to"), QStringLiteral("File to write, or a folder."), QStringLiteral("FILE|DIR")});
    line.addOption(
        {QStringLiteral("template"),
         QStringLiteral("A .ts file whose messages, comments and locations are kept, with the folder's "
                        "translations. It is read only, unless --to names it too."),
         QStringLiteral("FILE.ts")});
    if (const auto status = line.parse(arguments))
        return *status;
    const QStringList formats{QStringLiteral("ts"), QStringLiteral("strings"), QStringLiteral("xliff")};
    const QString format = line.value(QStringLiteral("format"));
    if (!formats.contains(format))
        return line.misused(QStringLiteral("--format is ts, strings or xliff."));
    if (line.value(QStringLiteral("to")).isEmpty())
        return line.misused(QStringLiteral("--to FILE or --to DIR is missing."));
    if (line.isSet(QStringLiteral("template")) && format != u"ts")
        return line.misused(QStringLiteral("--template belongs to --format ts."));
    return Export(line).run();
}
