#include "DVProcess.h"

#include <QCoreApplication>

#if defined(Q_OS_UNIX)
#include <unistd.h>
#endif

qint64 DVProcess::id()
{
#if defined(Q_OS_UNIX)
    return ::getpid(); // QCoreApplication's answer is the same; this one needs no Qt after main()
#else
    return QCoreApplication::applicationPid();
#endif
}
