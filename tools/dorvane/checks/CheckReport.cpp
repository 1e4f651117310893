#include "CheckReport.h"

#include "DocumentLines.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <array>

namespace {

QString severityName(Severity severity)
{
    static const std::array<QString, 3> names{QStringLiteral("note"), QStringLiteral("warning"),
                                              QStringLiteral("error")};
    return names[size_t(severity)];
}

class Painter
{
public:
    explicit Painter(Colours colours)
        : m_colours(colours)
    {}
    QString bold(const QString &text) const { return painted(text, "1"); }
    QString severity(Severity severity) const
    {
        constexpr std::array codes{"1;36", "1;35", "1;31"}; // cyan, magenta, red
        return painted(severityName(severity) + u':', codes[size_t(severity)]);
    }
    QString caret(const QString &text) const { return painted(text, "1;32"); }

private:
    QString painted(const QString &text, const char *code) const
    {
        if (m_colours == Colours::Off)
            return text;
        return QStringLiteral("\033[%1m%2\033[0m").arg(QLatin1StringView(code), text);
    }
    Colours m_colours;
};

QString stringName(const Finding &finding)
{
    if (finding.key.isNull())
        return {};
    const QString form = finding.form.isNull() ? QString() : QString(u'[' % finding.form % u']');
    return QStringLiteral(" (key \"%1\"%2)").arg(forTerminal(finding.key, 60), form);
}

QString excerptLines(const DocumentLines &lines, const Finding &finding, qsizetype line,
                     const Painter &painter)
{
    const Excerpt excerpt = lines.excerptAt(finding.place);
    const QString number = QString::number(line).rightJustified(5);
    return QString(number % u" | " % excerpt.line % u'\n' % QString(number.size(), u' ') % u" | " %
                   painter.caret(excerpt.carets) % u'\n');
}

QJsonObject jsonFinding(const Finding &finding, const DocumentLines &lines)
{
    const LinePosition position = lines.positionOf(finding.place.begin);
    QJsonObject object{{QStringLiteral("severity"), severityName(finding.severity)},
                       {QStringLiteral("rule"), ruleName(finding.rule)},
                       {QStringLiteral("line"), position.line},
                       {QStringLiteral("column"), position.column},
                       {QStringLiteral("message"), finding.message}};
    if (!finding.key.isNull())
        object.insert(QStringLiteral("key"), finding.key);
    if (!finding.form.isNull())
        object.insert(QStringLiteral("form"), finding.form);
    return object;
}

QJsonObject sarifText(const QString &text)
{
    return {{QStringLiteral("text"), text}};
}

QJsonObject sarifResult(const Finding &finding, const DocumentLines &lines, const QString &path)
{
    const LinePosition begin = lines.positionOf(finding.place.begin);
    const LinePosition end = lines.positionOf(finding.place.begin + finding.place.length);
    const QJsonObject region{{QStringLiteral("startLine"), begin.line},
                             {QStringLiteral("startColumn"), begin.column},
                             {QStringLiteral("endLine"), end.line},
                             {QStringLiteral("endColumn"), end.column}};
    const QJsonObject artifact{{QStringLiteral("uri"), path}};
    const QJsonObject physical{{QStringLiteral("artifactLocation"), artifact},
                               {QStringLiteral("region"), region}};
    const QJsonObject location{{QStringLiteral("physicalLocation"), physical}};
    return {{QStringLiteral("ruleId"), ruleName(finding.rule)},
            {QStringLiteral("ruleIndex"), int(finding.rule)},
            {QStringLiteral("level"), severityName(finding.severity)},
            {QStringLiteral("message"), sarifText(finding.message + stringName(finding))},
            {QStringLiteral("locations"), QJsonArray{location}}};
}

QJsonArray sarifRules()
{
    QJsonArray rules;
    for (int i = 0; i < int(RuleId::Count); ++i)
        rules.append(QJsonObject{{QStringLiteral("id"), ruleName(RuleId(i))},
                                 {QStringLiteral("shortDescription"), sarifText(ruleSummary(RuleId(i)))}});
    return rules;
}

} // namespace

QString textReport(const CheckedPath &file, Colours colours)
{
    const Painter painter(colours);
    const DocumentLines lines(file.document);
    QString report;
    for (const Finding &finding : file.findings) {
        const LinePosition position = lines.positionOf(finding.place.begin);
        const QString place =
            QStringLiteral("%1:%2:%3:").arg(file.path).arg(position.line).arg(position.column);
        report += QString(painter.bold(place) % u' ' % painter.severity(finding.severity) % u' ' %
                          painter.bold(forTerminal(finding.message, 400)) % stringName(finding) % u" [" %
                          ruleName(finding.rule) % u"]\n");
        if (!file.document.isEmpty())
            report += excerptLines(lines, finding, position.line, painter);
    }
    return report;
}

QByteArray jsonReport(const std::vector<CheckedPath> &files)
{
    QJsonArray checked;
    FindingCounts counts;
    for (const CheckedPath &file : files) {
        const DocumentLines lines(file.document);
        QJsonArray findings;
        for (const Finding &finding : file.findings)
            findings.append(jsonFinding(finding, lines));
        checked.append(
            QJsonObject{{QStringLiteral("path"), file.path}, {QStringLiteral("findings"), findings}});
        counts += FindingCounts::of(file.findings);
    }
    const QJsonObject report{{QStringLiteral("files"), checked},
                             {QStringLiteral("errors"), counts.errors},
                             {QStringLiteral("warnings"), counts.warnings},
                             {QStringLiteral("notes"), counts.notes}};
    return QJsonDocument(report).toJson();
}

QByteArray sarifReport(const std::vector<CheckedPath> &files, const QString &toolVersion)
{
    QJsonArray results;
    for (const CheckedPath &file : files) {
        const DocumentLines lines(file.document);
        for (const Finding &finding : file.findings)
            results.append(sarifResult(finding, lines, file.path));
    }
    const QJsonObject driver{{QStringLiteral("name"), QStringLiteral("dorvane")},
                             {QStringLiteral("version"), toolVersion},
                             {QStringLiteral("rules"), sarifRules()}};
    const QJsonObject run{{QStringLiteral("tool"), QJsonObject{{QStringLiteral("driver"), driver}}},
                          {QStringLiteral("columnKind"), QStringLiteral("unicodeCodePoints")},
                          {QStringLiteral("results"), results}};
    return QJsonDocument(QJsonObject{{QStringLiteral("version"), QStringLiteral("2.1.0")},
                                     {QStringLiteral("runs"), QJsonArray{run}}})
        .toJson();
}
