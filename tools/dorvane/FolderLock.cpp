#include "FolderLock.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QThread>

#include <utility>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace {

constexpr qint64 longestWaitMs = 120'000;
constexpr unsigned long pauseMs = 20;

} // namespace

QString FolderLock::take(const QString &folder, const std::function<void()> &waits)
{
    m_folder = QDir(folder).absolutePath();
    QElapsedTimer waiting;
    waiting.start();
    bool isTold = false;
    while (true) {
        m_isMade = !QFileInfo::exists(m_folder) || m_isMade;
        if (!QDir().mkpath(m_folder))
            return QStringLiteral("cannot make the folder %1").arg(folder);
        // The system's own lock of the folder: it leaves no file behind, however the process ends.
        const int descriptor =
            open(QFile::encodeName(m_folder).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        const bool isLocked = descriptor >= 0 && flock(descriptor, LOCK_EX | LOCK_NB) == 0;
        // Another import that failed may have taken its new folder away just now.
        if (isLocked && QFileInfo::exists(m_folder)) {
            m_descriptor = descriptor;
            return {};
        }
        if (descriptor >= 0)
            close(descriptor);
        else if (QFileInfo::exists(m_folder))
            return QStringLiteral("cannot open the folder %1").arg(folder);
        if (waiting.elapsed() > longestWaitMs)
            return QStringLiteral("another process is still writing to %1").arg(folder);
        if (!std::exchange(isTold, true))
            waits();
        QThread::msleep(pauseMs);
    }
}

FolderLock::~FolderLock()
{
    if (m_descriptor < 0)
        return;
    if (m_isMade)
        QDir().rmdir(m_folder);
    close(m_descriptor);
}
