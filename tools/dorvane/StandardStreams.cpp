#include "StandardStreams.h"

#include "CommandLine.h"

#include <cstdio>

#ifdef Q_OS_UNIX
#include <cerrno>
#include <fcntl.h>
#include <unistd.h>
#endif

void occupyStandardStreams()
{
#ifdef Q_OS_UNIX
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (::fcntl(descriptor, F_GETFD) != -1 || errno != EBADF)
            continue;
        // The wrong way around, so that reading and writing go on failing. The lowest free one is taken.
        if (::open("/dev/null", descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY) != descriptor)
            return;
    }
#endif
}

int statusAfterOutput(int status)
{
    if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0)
        return status;
    printErrorLine(QStringLiteral("dorvane: standard output did not take all that was printed"));
    return status == Succeeded ? Failed : status;
}
