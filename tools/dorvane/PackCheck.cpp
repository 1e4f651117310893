#include "PackCheck.h"

#include "Check.h"
#include "CheckReport.h"
#include "CommandLine.h"
#include "TerminalOutput.h"

bool passesCheck(const QString &path, const QByteArray &document, const QString &locale)
{
    CheckOptions options;
    options.locale = locale;
    CheckedPath file{path, document, findingsIn(document, options)};
    std::erase_if(file.findings, [](const Finding &finding) { return finding.severity == Severity::Note; });
    const QString report = textReport(file, isColourTerminal(stderr) ? Colours::On : Colours::Off);
    if (!report.isEmpty())
        printErrorLine(report.chopped(1));
    return FindingCounts::of(file.findings).errors == 0;
}
