#include "CommandLine.h"

#include <cstdio>

namespace {

void writeLine(FILE *stream, const QString &line)
{
    const QByteArray bytes = line.toUtf8() + '\n';
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stream);
    std::fflush(stream);
}

} // namespace

void printLine(const QString &line)
{
    writeLine(stdout, line);
}

void printErrorLine(const QString &line)
{
    writeLine(stderr, line);
}

CommandLine::CommandLine(const QString &command, const QString &description)
    : m_command(command)
{
    m_parser.setApplicationDescription(description);
    m_parser.addOption({{QStringLiteral("h"), QStringLiteral("help")}, QStringLiteral("Show this help.")});
}

void CommandLine::addArgument(const QString &name, const QString &description)
{
    m_arguments.append(name);
    m_parser.addPositionalArgument(name, description);
}

void CommandLine::addArgumentList(const QString &name, const QString &description)
{
    m_list = name;
    m_parser.addPositionalArgument(name, description);
}

void CommandLine::addOption(const QCommandLineOption &option)
{
    m_parser.addOption(option);
}

void CommandLine::addNote(const QString &note)
{
    m_note = note;
}

std::optional<int> CommandLine::parse(const QStringList &arguments)
{
    if (!m_parser.parse(QStringList(m_command) + arguments))
        return misused(m_parser.errorText());
    if (m_parser.isSet(QStringLiteral("help"))) {
        printLine(helpText());
        return Succeeded;
    }
    const QStringList given = m_parser.positionalArguments();
    if (given.size() < m_arguments.size())
        return misused(QStringLiteral("%1 is missing.").arg(m_arguments.at(given.size())));
    if (given.size() > m_arguments.size() && m_list.isNull())
        return misused(QStringLiteral("\"%1\" is one argument too many.").arg(given.at(m_arguments.size())));
    return {};
}

// QCommandLineParser knows nothing of subcommands: its usage line is replaced by ours.
QString CommandLine::helpText() const
{
    const QString text = m_parser.helpText();
    QStringList usage{QStringLiteral("Usage: dorvane"), m_command, QStringLiteral("[options]")};
    usage += m_arguments;
    if (!m_list.isNull())
        usage +=
            (m_arguments.contains(m_list) ? QStringLiteral("[%1...]") : QStringLiteral("%1...")).arg(m_list);
    QString help = usage.join(u' ') + text.mid(text.indexOf(u'\n')).trimmed().prepend(QStringLiteral("\n\n"));
    if (!m_note.isEmpty())
        help += QStringLiteral("\n\n") + m_note;
    return help;
}

int CommandLine::fail(const QString &what) const
{
    warn(what);
    return Failed;
}

int CommandLine::misused(const QString &what) const
{
    warn(what);
    printErrorLine(QStringLiteral("Try: dorvane %1 --help").arg(m_command));
    return Misused;
}

void CommandLine::warn(const QString &what) const
{
    printErrorLine(QStringLiteral("dorvane %1: %2").arg(m_command, what));
}
