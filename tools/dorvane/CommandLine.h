// CommandLine: the arguments of one subcommand, and how it speaks to people.
#pragma once

#include <QCommandLineParser>
#include <QString>
#include <QStringList>

#include <optional>

enum ExitStatus { Succeeded = 0, Failed = 1, Misused = 2 };

// Declare arguments and options, then parse once.
class CommandLine
{
public:
    CommandLine(const QString &command, const QString &description);

    void addArgument(const QString &name, const QString &description);
    // Any number, none included, behind the arguments; `name` is shown as "NAME...".
    void addArgumentList(const QString &name, const QString &description);
    void addOption(const QCommandLineOption &option);
    // Printed below the options.
    void addNote(const QString &note);

    // Nothing: go on. Otherwise the exit status: help was asked for and shown, or the arguments are
    // wrong and it was said how.
    std::optional<int> parse(const QStringList &arguments);

    QString argument(int index) const { return m_parser.positionalArguments().at(index); }
    QStringList argumentList() const { return m_parser.positionalArguments().mid(m_arguments.size()); }
    bool isSet(const QString &option) const { return m_parser.isSet(option); }
    QString value(const QString &option) const { return m_parser.value(option); }
    QStringList values(const QString &option) const { return m_parser.values(option); }

    // Say on standard error, after the command's name, what went wrong (fail) or what is wrong with
    // the arguments (misused), and return the exit status for it.
    int fail(const QString &what) const;
    int misused(const QString &what) const;
    // The same without an end.
    void warn(const QString &what) const;

private:
    QString helpText() const;

    QCommandLineParser m_parser;
    QString m_command;
    QStringList m_arguments;
    QString m_list; // null: none is taken
    QString m_note;
};

// One line on standard output or standard error, flushed.
void printLine(const QString &line);
void printErrorLine(const QString &line);
