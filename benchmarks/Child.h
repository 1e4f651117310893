// Child: a program run to its end, with what it printed, how long it took and how much memory.
#pragma once

#include <QByteArray>
#include <QList>

#include <chrono>
#include <cstdlib>
#include <fcntl.h>
#include <spawn.h>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

extern char **environ;

struct Child
{
    double nanoseconds = 0; // from the spawn to the end
    double peakBytes = 0;   // largest resident size; never less than what the parent had at the spawn
    QByteArray output;

    // The number behind "name " on a line of the output.
    double figure(const char *name) const
    {
        const QList<QByteArray> lines = output.split('\n');
        const QByteArray begin = QByteArray(name) + ' ';
        for (const QByteArray &line : lines) {
            if (line.startsWith(begin))
                return line.mid(begin.size()).trimmed().toDouble();
        }
        return -1;
    }

    // A program that fails ends this one.
    static Child run(const std::vector<std::string> &command)
    {
        int ends[2];
        if (pipe2(ends, O_CLOEXEC) != 0)
            qFatal("no pipe");
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
        std::vector<char *> arguments;
        arguments.reserve(command.size() + 1);
        for (const std::string &argument : command)
            arguments.push_back(const_cast<char *>(argument.c_str()));
        arguments.push_back(nullptr);
        const auto begin = std::chrono::steady_clock::now();
        pid_t child = 0;
        if (posix_spawn(&child, arguments[0], &actions, nullptr, arguments.data(), environ) != 0)
            qFatal("cannot start %s", arguments[0]);
        posix_spawn_file_actions_destroy(&actions);
        close(ends[1]);
        Child result;
        result.output = readToEnd(ends[0]);
        close(ends[0]);
        int status = 0;
        rusage usage{};
        wait4(child, &status, 0, &usage);
        result.nanoseconds =
            std::chrono::duration<double, std::nano>(std::chrono::steady_clock::now() - begin).count();
        result.peakBytes = double(usage.ru_maxrss) * 1024;
        if (!WIFEXITED(status) || WEXITSTATUS(status) != 0)
            qFatal("%s failed", arguments[0]);
        return result;
    }

private:
    static QByteArray readToEnd(int file)
    {
        QByteArray all;
        char buffer[4096];
        for (ssize_t count = 0; (count = read(file, buffer, sizeof buffer)) > 0;)
            all.append(buffer, count);
        return all;
    }
};
