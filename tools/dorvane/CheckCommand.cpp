#include "Check.h"
#include "CheckGuide.h"
#include "CheckReport.h"
#include "CheckedFolder.h"
#include "CommandLine.h"
#include "Commands.h"
#include "DeliveredFile.h"
#include "TerminalOutput.h"

#include <DVVersion.h>

#include <QElapsedTimer>
#include <QHash>

#include <cstdio>
#include <optional>

namespace {

// From when on it tells what it is doing.
constexpr qint64 quietMs = 2000;
constexpr qint64 quietSize = qint64(64) << 20;

void declareCheckOptions(CommandLine &line)
{
    line.addArgumentList(QStringLiteral("FOLDER|FILE"),
                         QStringLiteral("XLIFF documents, or folders of them (see the project folder)."));
    line.addOption({QStringLiteral("locale"),
                    QStringLiteral("Locale of the targets; without it the file's name, where that is one, "
                                   "else the document's target-language."),
                    QStringLiteral("LOCALE")});
    line.addOption(
        {QStringLiteral("base"),
         QStringLiteral("Document with the base locale's strings, whose keys all others should have; "
                        "in a folder with project.json it is that of the source locale."),
         QStringLiteral("FILE")});
    line.addOption(
        {QStringLiteral("only"), QStringLiteral("Look for these only."), QStringLiteral("RULE,...")});
    line.addOption(
        {QStringLiteral("ignore"), QStringLiteral("Do not look for these."), QStringLiteral("RULE,...")});
    line.addOption({QStringLiteral("format"), QStringLiteral("text (default), json or sarif."),
                    QStringLiteral("FORMAT"), QStringLiteral("text")});
    line.addOption({QStringLiteral("werror"), QStringLiteral("Warnings count as errors.")});
    line.addOption({QStringLiteral("explain"), QStringLiteral("Tell about a rule, with an example, and end."),
                    QStringLiteral("RULE")});
    QString rules = QStringLiteral("Rules:\n");
    for (int i = 0; i < int(RuleId::Count); ++i)
        rules += QStringLiteral("  %1 %2\n").arg(ruleName(RuleId(i)), -20).arg(ruleSummary(RuleId(i)));
    line.addNote(rules +
                 QStringLiteral("\nExit status: 0 when nothing is wrong, 1 when there are errors (or, with "
                                "--werror, warnings),\n2 when something could not be read."));
}

// Rules by name, separated by commas; nothing after the fault was told.
std::optional<RuleSet> rulesIn(const CommandLine &line, const QString &option)
{
    RuleSet rules;
    const QStringList names = line.value(option).split(u',', Qt::SkipEmptyParts);
    for (const QString &name : names) {
        RuleId rule{};
        if (!ruleFromName(name.trimmed(), &rule)) {
            line.misused(QStringLiteral("there is no rule \"%1\".").arg(name.trimmed()));
            return std::nullopt;
        }
        rules.set(size_t(rule));
    }
    return rules;
}

std::optional<RuleSet> chosenRules(const CommandLine &line)
{
    const auto only = rulesIn(line, QStringLiteral("only"));
    const auto ignored = rulesIn(line, QStringLiteral("ignore"));
    if (!only || !ignored)
        return std::nullopt;
    return (only->any() ? *only : RuleSet().set()) & ~*ignored;
}

int explain(const CommandLine &line)
{
    const QString name = line.value(QStringLiteral("explain"));
    const QString section = guideSection(name);
    RuleId rule{};
    if (!ruleFromName(name, &rule) || section.isNull())
        return line.misused(QStringLiteral("there is no rule \"%1\".").arg(name));
    printLine(section);
    return Succeeded;
}

// Checks one file after the other and writes what it finds.
class Session
{
public:
    Session(const CommandLine &line, RuleSet rules)
        : m_line(line)
        , m_rules(rules)
        , m_format(line.value(QStringLiteral("format")))
    {
        m_time.start();
    }

    int run(const std::vector<CheckInput> &inputs)
    {
        for (size_t i = 0; i < inputs.size(); ++i) {
            if (m_time.elapsed() > quietMs)
                m_line.warn(
                    QStringLiteral("%1 (%2 of %3)").arg(inputs[i].path).arg(i + 1).arg(inputs.size()));
            check(inputs[i]);
        }
        if (m_format == u"json")
            printLine(QString::fromUtf8(jsonReport(m_files)).trimmed());
        else if (m_format == u"sarif")
            printLine(QString::fromUtf8(sarifReport(m_files, dv_sdkVersion)).trimmed());
        else if (m_checked > 0)
            printSummary();
        if (m_unreadable > 0)
            return Misused;
        const bool warningsCount = m_line.isSet(QStringLiteral("werror"));
        return m_counts.errors > 0 || (warningsCount && m_counts.warnings > 0) ? Failed : Succeeded;
    }

private:
    void check(const CheckInput &input)
    {
        QString error;
        CheckedPath file{input.path, readWholeFile(input.path, &error), {}};
        const QString basePath =
            m_line.isSet(QStringLiteral("base")) ? m_line.value(QStringLiteral("base")) : input.basePath;
        CheckOptions options;
        options.rules = m_rules;
        options.locale =
            m_line.isSet(QStringLiteral("locale")) ? m_line.value(QStringLiteral("locale")) : input.locale;
        options.sourceLocale = input.sourceLocale;
        if (error.isEmpty() && !basePath.isEmpty() && basePath != input.path)
            options.baseKeys = baseKeys(basePath, &error);
        if (!error.isEmpty()) {
            ++m_unreadable;
            return m_line.warn(error);
        }
        if (file.document.size() > quietSize)
            m_line.warn(QStringLiteral("%1 is large, %2 MiB").arg(file.path).arg(file.document.size() >> 20));
        file.findings = findingsIn(file.document, options);
        m_counts += FindingCounts::of(file.findings);
        ++m_checked;
        if (m_format == u"text")
            printText(file);
        else
            m_files.push_back(std::move(file));
    }
    const QSet<QString> *baseKeys(const QString &path, QString *error)
    {
        auto known = m_baseKeys.constFind(path);
        if (known == m_baseKeys.constEnd()) {
            const QByteArray document = readWholeFile(path, error);
            if (!error->isEmpty())
                return nullptr;
            known = m_baseKeys.insert(path, keysIn(document));
        }
        return &*known;
    }
    static void printText(const CheckedPath &file)
    {
        const QString report = textReport(file, isColourTerminal(stdout) ? Colours::On : Colours::Off);
        if (!report.isEmpty())
            printLine(report.chopped(1));
    }
    void printSummary() const
    {
        const QString found = m_counts.text();
        printLine(QStringLiteral("%1 in %2 file%3")
                      .arg(found.isEmpty() ? QStringLiteral("nothing wrong") : found)
                      .arg(m_checked)
                      .arg(m_checked == 1 ? QString() : QStringLiteral("s")));
    }

    const CommandLine &m_line;
    const RuleSet m_rules;
    const QString m_format;
    QElapsedTimer m_time;
    std::vector<CheckedPath> m_files; // kept for the formats that are one document
    QHash<QString, QSet<QString>> m_baseKeys;
    FindingCounts m_counts;
    int m_checked = 0;
    int m_unreadable = 0;
};

} // namespace

int runCheck(const QStringList &arguments)
{
    CommandLine line(
        QStringLiteral("check"),
        QStringLiteral("Finds mistakes in XLIFF documents before users do: arguments that are lost in\n"
                       "translation, plural forms that a language needs, damaged markup and more."));
    declareCheckOptions(line);
    if (const auto status = line.parse(arguments))
        return *status;
    if (line.isSet(QStringLiteral("explain")))
        return explain(line);
    const QStringList formats{QStringLiteral("text"), QStringLiteral("json"), QStringLiteral("sarif")};
    if (!formats.contains(line.value(QStringLiteral("format"))))
        return line.misused(QStringLiteral("--format is text, json or sarif."));
    if (line.argumentList().isEmpty())
        return line.misused(QStringLiteral("FOLDER or FILE is missing."));
    const auto rules = chosenRules(line);
    if (!rules)
        return Misused;
    QString error;
    const std::vector<CheckInput> inputs = checkInputs(line.argumentList(), &error);
    if (!error.isEmpty()) {
        line.fail(error);
        return Misused;
    }
    return Session(line, *rules).run(inputs);
}
