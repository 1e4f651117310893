#include "FuzzTarget.h"

#include <DVFolders.h>

#include <QCoreApplication>
#include <QTemporaryDir>

#include <cstdio>
#include <cstdlib>

static QByteArray inputName;

void fuzzSetInputName(const QByteArray &name)
{
    inputName = name;
}

void fuzzCheckFailed(const char *condition, const char *file, int line)
{
    std::fprintf(stderr, "%s:%d: does not hold: %s\n", file, line, condition);
    if (!inputName.isEmpty())
        std::fprintf(stderr, "of %s\n", inputName.constData());
    std::abort();
}

void fuzzPrepareProcess()
{
    if (!QCoreApplication::instance()) {
        static int count = 1;
        static char name[] = "fuzz";
        static char *arguments[] = {name, nullptr};
        static const QCoreApplication application(count, arguments);
    }
    // Memory where there is such a folder: the targets that write should not wait for a disk.
    static const QTemporaryDir folder(QStringLiteral("/dev/shm/dorvane-fuzz-XXXXXX"));
    static const QTemporaryDir otherFolder;
    DVFolders::setDocuments(folder.isValid() ? folder.path() : otherFolder.path());
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
}
