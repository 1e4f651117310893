// DVStrace: strace in front of a program, to kill it or to break its system calls.
#pragma once

#include <QProcess>
#include <QStringList>

// Debian has it; where a process may not be traced, as in some containers, tests that need it skip.
namespace DVStrace {

inline bool works()
{
    QProcess strace;
    strace.start(QStringLiteral("strace"),
                 {QStringLiteral("-o"), QStringLiteral("/dev/null"), QStringLiteral("true")});
    return strace.waitForFinished() && strace.exitStatus() == QProcess::NormalExit && strace.exitCode() == 0;
}

// The command that stands before the program's own: it and its children, with `expressions` of strace's -e.
inline QStringList command(const QStringList &expressions, const QString &trace = QStringLiteral("/dev/null"))
{
    QStringList words{QStringLiteral("strace"), QStringLiteral("-f"), QStringLiteral("-qq"),
                      QStringLiteral("-o"), trace};
    for (const QString &expression : expressions)
        words << QStringLiteral("-e") << expression;
    return words;
}

// Kills it at its Nth call of a set such as "fsync,fdatasync".
inline QStringList killingAt(const QString &calls, int nth)
{
    return command(
        {QString(u"trace=" + calls), QStringLiteral("inject=%1:signal=SIGKILL:when=%2").arg(calls).arg(nth)});
}

} // namespace DVStrace
