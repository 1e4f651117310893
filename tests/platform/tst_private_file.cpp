#include "DVFolders.h"
#include "DVPrivateFile.h"
#include "DVRows.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#if defined(Q_OS_UNIX)
#include <csignal>
#include <sys/resource.h>
#include <sys/stat.h>
#endif

#if defined(Q_OS_UNIX)
// While it lives no file of this process may grow beyond `bytes`: a disk that is full.
class FullDisk
{
public:
    explicit FullDisk(rlim_t bytes)
    {
        m_oldHandler = std::signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &m_old);
        rlimit now = m_old;
        now.rlim_cur = bytes;
        setrlimit(RLIMIT_FSIZE, &now);
    }
    ~FullDisk()
    {
        setrlimit(RLIMIT_FSIZE, &m_old);
        std::signal(SIGXFSZ, m_oldHandler);
    }
    Q_DISABLE_COPY_MOVE(FullDisk)

private:
    rlimit m_old{};
    void (*m_oldHandler)(int) = nullptr;
};

static mode_t modeOf(const QString &path)
{
    struct stat status = {};
    return stat(QFile::encodeName(path).constData(), &status) == 0 ? status.st_mode & 07777 : 0;
}
#endif

class TestPrivateFile : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_folder;
    QString path(const QString &name) const { return m_folder.filePath(name); }
    static QByteArray contentOf(const QString &path)
    {
        QByteArray content;
        return DVPrivateFile::read(path, &content) ? QByteArray("unreadable") : content;
    }

private Q_SLOTS:
    void filesAndFoldersAreTheOwnersAlone()
    {
#if defined(Q_OS_UNIX)
        const mode_t oldMask = umask(0);
        const QString file = path(u"a/b/c/file"_qs);
        QVERIFY(!DVPrivateFile::write(file, "content"));
        umask(oldMask);
        QCOMPARE(modeOf(file), mode_t(0600));
        for (const auto &made : {u"a"_qs, u"a/b"_qs, u"a/b/c"_qs})
            QCOMPARE(modeOf(path(made)), mode_t(0700));
        QCOMPARE(contentOf(file), "content");

        QCOMPARE(chmod(QFile::encodeName(file).constData(), 0666), 0); // as a backup may bring it back
        QVERIFY(!DVPrivateFile::write(file, "new"));
        QCOMPARE(modeOf(file), mode_t(0600));
        QCOMPARE(contentOf(file), "new");
#endif
    }

    void aFailedWriteLeavesTheOldFileAndNothingElse_data()
    {
        QTest::addColumn<int>("size");
        QTest::newRow("a small file, whose failure only shows when it is flushed") << 5000;
        QTest::newRow("a large file, whose failure shows while it is written") << 5000000;
    }
    void aFailedWriteLeavesTheOldFileAndNothingElse()
    {
#if defined(Q_OS_UNIX)
        QFETCH(int, size);
        const QString file = path(u"disk/file"_qs);
        QVERIFY(!DVPrivateFile::write(file, "old"));
        DVErrorOr error;
        {
            const FullDisk full(1000);
            error = DVPrivateFile::write(file, QByteArray(size, 'x'));
        }
        QVERIFY(error);
        QCOMPARE(error->domain, u"dorvane.file"_qs);
        QVERIFY(error->code != QFileDevice::NoError);
        QVERIFY(!error->description.isEmpty());
        QCOMPARE(contentOf(file), "old");
        QCOMPARE(QDir(path(u"disk"_qs)).entryList(QDir::Files), QStringList{u"file"_qs});
#endif
    }

    void whatAKilledWriteLeftGoesAtTheFirstWrite_data()
    {
        const DVRows<const char *, int, bool> row("name", "ageInMinutes", "stays");
        row("an old one of this file", "file.aBcDeF", 61, false);
        row("an old one of strings", "2.5_fr_CA_published.xlf.ab12EF", 61, false);
        row("an old one of the defaults", "defaults.json.aBcDeF", 61, false);
        row("an old one of the events", "analytics.aBcDeF", 61, false);
        row("a young one may be in use", "file.aBcDeF", 59, true);
        row("strings that a download replaced", "2.5_fr_published.xlf.previous", 61, true);
        row("strings", "2.5_fr_published.xlf", 61, true);
        row("another name", "letter.aBcDeF", 61, true);
        row("five characters", "file.aBcDe", 61, true);
        row("seven characters", "file.aBcDeFg", 61, true);
        row("a sign among the six", "file.aBc-eF", 61, true);
    }
    void whatAKilledWriteLeftGoesAtTheFirstWrite()
    {
        QFETCH(QString, name);
        QFETCH(int, ageInMinutes);
        QFETCH(bool, stays);
        const QTemporaryDir folder; // a new one for each row: only the first write looks
        QFile left(folder.filePath(name));
        QVERIFY(left.open(QIODevice::WriteOnly));
        const QDateTime time = QDateTime::currentDateTimeUtc().addSecs(-60 * ageInMinutes);
        QVERIFY(left.setFileTime(time, QFileDevice::FileModificationTime));
        left.close();
        QVERIFY(!DVPrivateFile::write(folder.filePath(u"file"_qs), "content"));
        QCOMPARE(QFileInfo::exists(folder.filePath(name)), stays);
        QCOMPARE(contentOf(folder.filePath(u"file"_qs)), "content");
    }

    void whatIsInTheWayIsAnErrorAndStays()
    {
        QVERIFY(QDir().mkpath(path(u"way/file"_qs)));
        QVERIFY(DVPrivateFile::write(path(u"way/file"_qs), "x")); // a folder where the file should be
        QVERIFY(QFileInfo(path(u"way/file"_qs)).isDir());

        QVERIFY(!DVPrivateFile::write(path(u"way/plain"_qs), "kept"));
        QVERIFY(DVPrivateFile::write(path(u"way/plain/file"_qs), "x")); // a file where the folder should be
        QVERIFY(!DVFolders::makePrivateFolder(path(u"way/plain"_qs)));
        QCOMPARE(contentOf(path(u"way/plain"_qs)), "kept");

        QVERIFY(DVPrivateFile::write(QString(), "x"));
        QVERIFY(!DVFolders::makePrivateFolder(QString()));
    }

    void readsWholeFilesWithinTheLimit()
    {
        const QString file = path(u"sized"_qs);
        QVERIFY(!DVPrivateFile::write(file, QByteArray(100, 'x')));
        QByteArray content("left over");
        QVERIFY(!DVPrivateFile::read(file, &content, 100));
        QCOMPARE(content, QByteArray(100, 'x'));
        QVERIFY(DVPrivateFile::read(file, &content, 99));
        QVERIFY(content.isEmpty());
        QVERIFY(DVPrivateFile::read(path(u"missing"_qs), &content));
        QVERIFY(DVPrivateFile::read(m_folder.path(), &content));
    }

    void aPipeInTheFileSPlaceBlocksNobody()
    {
#if defined(Q_OS_UNIX)
        const QString pipe = path(u"pipe"_qs);
        QCOMPARE(mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
        QByteArray content;
        QVERIFY(DVPrivateFile::read(pipe, &content));
#endif
    }
};

QTEST_GUILESS_MAIN(TestPrivateFile)
#include "tst_private_file.moc"
