// ProcessState: what a guest may not change in somebody's process, as JSON.
#pragma once

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonObject>
#include <QLocale>
#include <QLoggingCategory>
#include <QTranslator>

#include <cfenv>
#include <clocale>
#include <csignal>
#include <exception>
#include <new>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace ProcessState {

inline QString hex(quint64 value)
{
    return QString::number(value, 16);
}
template<typename Function> QString address(Function *function)
{
    return hex(quint64(reinterpret_cast<quintptr>(function)));
}

inline QJsonArray threads()
{
    QStringList names;
    const auto tasks = QDir(u"/proc/self/task"_qs).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    for (const QString &task : tasks) {
        QFile file(u"/proc/self/task/%1/comm"_qs.arg(task));
        if (file.open(QIODevice::ReadOnly))
            names += QString::fromUtf8(file.readAll().trimmed());
    }
    names.sort();
    return QJsonArray::fromStringList(names);
}

inline QJsonArray openFiles()
{
    QStringList targets;
    const auto links =
        QDir(u"/proc/self/fd"_qs).entryInfoList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot);
    for (const QFileInfo &link : links) {
        char target[512];
        const auto length = ::readlink(QFile::encodeName(link.filePath()).constData(), target, sizeof target);
        const QString name = length > 0 ? QString::fromLocal8Bit(target, length) : QString();
        if (!name.isEmpty() && !name.startsWith(u"/proc/"_qs))
            targets += name.section(QLatin1Char(':'), 0, 0); // "socket:[1234]"
    }
    targets.sort();
    return QJsonArray::fromStringList(targets);
}

// How many open files a program that the host starts would inherit.
inline int inheritedFiles()
{
    int count = 0;
    for (int file = 0; file < 1024; ++file) {
        const int flags = ::fcntl(file, F_GETFD);
        count += flags >= 0 && !(flags & FD_CLOEXEC);
    }
    return count;
}

inline QJsonArray signalHandlers()
{
    QJsonArray handlers;
    for (int number = 1; number < NSIG; ++number) {
        struct sigaction action = {};
        if (::sigaction(number, nullptr, &action) == 0)
            handlers.append(QString(hex(quint64(action.sa_flags)) + u' ' + address(action.sa_handler)));
    }
    sigset_t mask;
    ::sigprocmask(SIG_BLOCK, nullptr, &mask);
    for (int number = 1; number < NSIG; ++number)
        handlers.append(sigismember(&mask, number));
    return handlers;
}

inline QJsonArray environment()
{
    QJsonArray variables;
    for (char **variable = environ; *variable; ++variable)
        variables.append(QString::fromLocal8Bit(*variable));
    return variables;
}

inline QJsonArray limits()
{
    QJsonArray values;
    for (int resource = 0; resource < int(RLIMIT_NLIMITS); ++resource) {
        rlimit limit = {};
        ::getrlimit(__rlimit_resource_t(resource), &limit);
        values.append(QString(hex(limit.rlim_cur) + u'/' + hex(limit.rlim_max)));
    }
    const mode_t mask = ::umask(0);
    ::umask(mask);
    values.append(qint64(mask));
    values.append(::getpriority(PRIO_PROCESS, 0));
    itimerval timer = {};
    ::getitimer(ITIMER_REAL, &timer);
    values.append(qint64(timer.it_value.tv_sec));
    values.append(std::fegetround());
    values.append(QDir::currentPath());
    return values;
}

inline QJsonArray handlers()
{
    const auto messages = qInstallMessageHandler(nullptr);
    qInstallMessageHandler(messages);
    const auto categories = QLoggingCategory::installFilter(nullptr);
    QLoggingCategory::installFilter(categories);
    return {address(messages), address(categories), address(std::get_terminate()),
            address(std::get_new_handler())};
}

inline QJsonObject now(const QString &at)
{
    QJsonObject state{{u"at"_qs, at},
                      {u"threads"_qs, threads()},
                      {u"files"_qs, openFiles()},
                      {u"inheritedFiles"_qs, inheritedFiles()},
                      {u"signals"_qs, signalHandlers()},
                      {u"environment"_qs, environment()},
                      {u"limits"_qs, limits()},
                      {u"handlers"_qs, handlers()},
                      {u"locale"_qs, QString::fromLatin1(std::setlocale(LC_ALL, nullptr))},
                      {u"qLocale"_qs, QLocale().name()}};
    if (const auto *application = QCoreApplication::instance()) {
        state.insert(u"children"_qs, application->children().size());
        state.insert(u"properties"_qs, application->dynamicPropertyNames().size());
    }
    return state;
}

} // namespace ProcessState
