// Whether a stream is shown by a terminal that knows colours.
#pragma once

#include <QtGlobal>

#include <cstdio>

#ifdef Q_OS_UNIX
#include <unistd.h>
#endif

// NO_COLOR (any text) switches colours off everywhere, as in other tools.
inline bool isColourTerminal(FILE *stream)
{
    if (!qEnvironmentVariableIsEmpty("NO_COLOR") || qgetenv("TERM") == "dumb")
        return false;
#ifdef Q_OS_UNIX
    return isatty(fileno(stream)) != 0;
#else
    Q_UNUSED(stream);
    return false;
#endif
}
