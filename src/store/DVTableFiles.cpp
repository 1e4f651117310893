#include "DVTableFiles.h"

#include "DVMainQueue.h"
#include "DVSerialQueue.h"
#include "DVState.h"

#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QMutex>

#include <atomic>
#include <memory>
#include <new>

#if defined(Q_OS_UNIX)
#include <sys/stat.h>
#endif

namespace {

// Larger than any delivery may be (DVInflationLimits).
constexpr qint64 maximumFileSize = qint64(512) << 20;

DVFileIdentity identityOf(QFile &openFile)
{
#if defined(Q_OS_UNIX)
    struct stat info = {};
    if (openFile.handle() >= 0 && ::fstat(openFile.handle(), &info) == 0) {
#if defined(Q_OS_DARWIN)
        const auto &modified = info.st_mtimespec;
#else
        const auto &modified = info.st_mtim;
#endif
        return {quint64(info.st_dev), quint64(info.st_ino), qint64(info.st_size),
                qint64(modified.tv_sec) * 1'000'000'000 + modified.tv_nsec};
    }
#endif
    const QFileInfo fileInfo(openFile);
    return {0, 0, fileInfo.size(), fileInfo.lastModified().toMSecsSinceEpoch() * 1'000'000};
}

struct Remembered
{
    DVFileIdentity identity;
    bool needCues = false;
    quint32 status = 0;
    std::weak_ptr<const DVStringTable> strings;
    std::weak_ptr<const DVStringTable> sources;
};

// The tables of files that somebody still holds, by path.
class Memory
{
public:
    bool recall(const QString &path, const Remembered &wanted, DVFileTables *tables)
    {
        const QMutexLocker lock(&m_mutex);
        const auto found = m_files.constFind(path);
        if (found == m_files.constEnd() || found->identity != wanted.identity ||
            found->needCues != wanted.needCues || found->status != wanted.status)
            return false;
        *tables = {found->strings.lock(), found->sources.lock(), found->identity};
        return tables->strings && tables->sources;
    }
    void remember(const QString &path, const Remembered &file)
    {
        const QMutexLocker lock(&m_mutex);
        m_files.removeIf([](const auto &entry) { return entry.value().strings.expired(); });
        m_files.insert(path, file);
    }

private:
    QMutex m_mutex;
    QHash<QString, Remembered> m_files;
};

// Both outlive the static objects: a thread may be left behind at the end.
Memory &memory()
{
    static auto *instance = new Memory;
    return *instance;
}
DVSerialQueue &parsingQueue()
{
    static auto *instance = new DVSerialQueue("dorvane-parse");
    return *instance;
}

// Cancels what one application object has begun; the next one gets a flag of its own, so that a parse
// left behind stays cancelled.
using CancelFlag = std::shared_ptr<std::atomic<bool>>;

class CurrentFlag
{
public:
    CancelFlag get()
    {
        const QMutexLocker lock(&m_mutex);
        return m_flag;
    }
    void cancelAndReplace()
    {
        const QMutexLocker lock(&m_mutex);
        *m_flag = true;
        m_flag = std::make_shared<std::atomic<bool>>(false);
    }

private:
    QMutex m_mutex;
    CancelFlag m_flag = std::make_shared<std::atomic<bool>>(false);
};
CurrentFlag &currentFlag()
{
    static auto *flag = new CurrentFlag;
    return *flag;
}

DVErrorOr deviceError(const QFile &file)
{
    return DVError{QStringLiteral("dorvane.file"), int(file.error()), file.errorString()};
}

} // namespace

DVFileIdentity DVFileIdentity::ofPath(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? identityOf(file) : DVFileIdentity();
}

namespace {

constexpr int cancelledCode = 4; // of DVXliffReader

DVTableFiles::Failure parse(const QByteArray &document, quint32 status, bool needCues,
                            const CancelFlag &cancelled, DVFileTables *tables, DVErrorOr *error)
{
    DVStringTableBuilder strings(needCues);
    DVStringTableBuilder sources(needCues, true);
    *error = dv_readXliffIntoTables(document, status, strings, &sources, needCues, cancelled.get());
    if (*error)
        return (*error)->code == cancelledCode ? DVTableFiles::Failure::Unread
                                               : DVTableFiles::Failure::Unparsable;
    tables->strings = strings.build();
    tables->sources = sources.build();
    return DVTableFiles::Failure::None;
}

DVTableFiles::Failure loadFile(QFile &file, quint32 status, bool needCues, const CancelFlag &cancelled,
                               DVFileTables *tables, DVErrorOr *error)
{
    using Failure = DVTableFiles::Failure;
    Remembered wanted{identityOf(file), needCues, status, {}, {}};
    tables->identity = wanted.identity;
    // A review changes records in place, and a reload has to start from the file again.
    const bool mayShare = !DVState::shared().editionMode;
    if (mayShare && memory().recall(file.fileName(), wanted, tables))
        return Failure::None;
    if (file.size() > maximumFileSize) {
        *error = DVError{QStringLiteral("dorvane.file"), int(QFile::ReadError),
                         QStringLiteral("The file is too large")};
        return Failure::Unread;
    }
    const QByteArray document = file.readAll();
    if (file.error() != QFile::NoError || document.size() != file.size()) {
        *error = deviceError(file);
        return Failure::Unread;
    }
    const Failure failure = parse(document, status, needCues, cancelled, tables, error);
    if (failure == Failure::None && mayShare) {
        wanted.strings = tables->strings;
        wanted.sources = tables->sources;
        memory().remember(file.fileName(), wanted);
    }
    return failure;
}

} // namespace

DVTableFiles::Failure DVTableFiles::load(const QString &path, quint32 status, bool needCues,
                                         DVFileTables *tables, DVErrorOr *error)
{
    QFile file(path);
    if (path.isEmpty() || !file.exists())
        return Failure::Missing;
    if (!file.open(QIODevice::ReadOnly)) {
        *error = deviceError(file);
        return Failure::Unread;
    }
    try {
        return loadFile(file, status, needCues, currentFlag().get(), tables, error);
    } catch (const std::bad_alloc &) {
        *error = DVError{QStringLiteral("dorvane.file"), int(QFile::ResourceError),
                         QStringLiteral("Out of memory")};
        return Failure::Unread;
    }
}

void DVTableFiles::prepare(const QString &path, quint32 status, bool needCues, std::function<void()> then)
{
    parsingQueue().addOperation(
        [path, status, needCues, cancelled = currentFlag().get(), then = std::move(then)]() mutable {
            if (*cancelled)
                return;
            DVFileTables tables;
            DVErrorOr error;
            load(path, status, needCues, &tables, &error);
            if (*cancelled)
                return;
            // The closure holds the tables until `then` had the chance to ask for them.
            DVMainQueue::post([tables, then = std::move(then)] { then(); });
        });
}

void DVTableFiles::finish(int milliseconds)
{
    currentFlag().cancelAndReplace();
    parsingQueue().finish(milliseconds);
}
