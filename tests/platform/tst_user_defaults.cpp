#include "DVFolders.h"
#include "DVPrivateFile.h"
#include "DVRows.h"
#include "DVUserDefaults.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QProcess>
#include <QSettings>
#include <QTemporaryDir>

#include <limits>
#include <thread>
#include <vector>

class TestUserDefaults : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<QTemporaryDir> m_folder;
    DVUserDefaults &m_defaults = DVUserDefaults::standard();

    QString file() const { return DVFolders::dorvaneFiles() + u"/defaults.json"_qs; }
    void put(const QByteArray &content)
    {
        QVERIFY(!DVPrivateFile::write(file(), content));
        m_defaults.reload();
    }

private Q_SLOTS:
    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        DVFolders::setDocuments(m_folder->path());
    }
    void cleanup() { DVFolders::setDocuments({}); }

    void valuesSurviveARestart()
    {
        const QString text = u"quotes \" \\, line\nbreak, \u00fc \U0001f600, empty member"_qs;
        const QByteArray data("\0\xff\x80 binary", 10);
        const QJsonObject object{{u"a"_qs, 1}, {u"b"_qs, QJsonArray{u"x"_qs, true}}};
        m_defaults.setInteger(u"low"_qs, std::numeric_limits<qint64>::min());
        m_defaults.setInteger(u"high"_qs, std::numeric_limits<qint64>::max());
        m_defaults.setString(u"text"_qs, text);
        m_defaults.setString(u"empty"_qs, QString());
        m_defaults.setData(u"data"_qs, data);
        m_defaults.setObject(u"object"_qs, object);
        m_defaults.setObject(u"looks like data"_qs, {{u"data"_qs, u"AAAA"_qs}});
        m_defaults.setInteger(u"gone"_qs, 1);
        m_defaults.removeKey(u"gone"_qs);
        const auto others = QFile::ReadGroup | QFile::WriteGroup | QFile::ReadOther | QFile::WriteOther;
        QVERIFY(!(QFile::permissions(file()) & others));
        m_defaults.reload();
        QCOMPARE(m_defaults.integerForKey(u"low"_qs), std::numeric_limits<qint64>::min());
        QCOMPARE(m_defaults.integerForKey(u"high"_qs), std::numeric_limits<qint64>::max());
        QCOMPARE(m_defaults.stringForKey(u"text"_qs), text);
        QCOMPARE(m_defaults.stringForKey(u"empty"_qs), QString());
        QCOMPARE(m_defaults.dataForKey(u"data"_qs), data);
        QCOMPARE(m_defaults.objectForKey(u"object"_qs), object);
        QVERIFY(m_defaults.objectForKey(u"looks like data"_qs));
        QVERIFY(!m_defaults.dataForKey(u"looks like data"_qs));
        QVERIFY(!m_defaults.integerForKey(u"gone"_qs));
    }

    void aValueOfAnotherTypeIsAbsent_data()
    {
        const DVRows<QByteArray, const char *> row("stored", "readableAs");
        row("an integer", "7", "integer");
        row("a fraction is no integer", "7.5", "");
        row("a number beyond 64 bits is no integer", "1e300", "");
        row("a text of digits is a text", "\"7\"", "string");
        row("a truth value is nothing", "true", "");
        row("null is nothing", "null", "");
        row("a list is nothing", "[1]", "");
        row("data", "{\"data\": \"AAAA\"}", "data");
        row("data that is not base64 is nothing", "{\"data\": \"A*A\"}", "");
        row("an object", "{\"object\": {}}", "object");
        row("an object without its wrapper is nothing", "{\"other\": {}}", "");
    }
    void aValueOfAnotherTypeIsAbsent()
    {
        QFETCH(QByteArray, stored);
        QFETCH(QString, readableAs);
        put("{\"key\": " + stored + "}");
        QCOMPARE(m_defaults.integerForKey(u"key"_qs).has_value(), readableAs == u"integer");
        QCOMPARE(m_defaults.stringForKey(u"key"_qs).has_value(), readableAs == u"string");
        QCOMPARE(m_defaults.dataForKey(u"key"_qs).has_value(), readableAs == u"data");
        QCOMPARE(m_defaults.objectForKey(u"key"_qs).has_value(), readableAs == u"object");
    }

    void aDamagedFileReadsAsEmptyAndIsReplaced_data()
    {
        const DVRows<QByteArray> row("content");
        row("an empty file", {});
        row("a file that was cut off", "{\"key\": \"va");
        row("zeroes, as after a power cut", QByteArray(4096, '\0'));
        row("another top than an object", "[{\"key\": 1}]");
        row("something after the end", "{\"key\": 1} {");
        row("bytes that are not UTF-8", "{\"key\": \"\xff\xfe\"}");
        row("very deep lists", QByteArray(100000, '['));
    }
    void aDamagedFileReadsAsEmptyAndIsReplaced()
    {
        QFETCH(QByteArray, content);
        put(content);
        QVERIFY(!m_defaults.integerForKey(u"key"_qs));
        QVERIFY(!m_defaults.stringForKey(u"key"_qs));
        m_defaults.setInteger(u"new"_qs, 1);
        m_defaults.reload();
        QCOMPARE(m_defaults.integerForKey(u"new"_qs), 1);
    }

    void anotherFolderHasOtherValues()
    {
        m_defaults.setInteger(u"key"_qs, 1);
        const QTemporaryDir other;
        DVFolders::setDocuments(other.path());
        QVERIFY(!m_defaults.integerForKey(u"key"_qs));
        m_defaults.setInteger(u"key"_qs, 2);
        DVFolders::setDocuments(m_folder->path());
        QCOMPARE(m_defaults.integerForKey(u"key"_qs), 1);
    }

    void aBatchWritesOnce()
    {
        {
            const DVUserDefaults::Batch outer;
            m_defaults.setInteger(u"a"_qs, 1);
            {
                const DVUserDefaults::Batch inner;
                m_defaults.setInteger(u"b"_qs, 2);
            }
            QVERIFY(!QFileInfo::exists(file()));
            QCOMPARE(m_defaults.integerForKey(u"b"_qs), 2); // readers see it at once
        }
        m_defaults.reload();
        QCOMPARE(m_defaults.integerForKey(u"a"_qs), 1);
        QCOMPARE(m_defaults.integerForKey(u"b"_qs), 2);
    }

    void aValueThatIsAlreadyThereIsNotWrittenAgain()
    {
        m_defaults.setInteger(u"key"_qs, 1);
        QVERIFY(QFile::remove(file()));
        m_defaults.setInteger(u"key"_qs, 1);
        QVERIFY(!QFileInfo::exists(file()));
    }

    void aFailedWriteIsTriedAgainByTheNextChange()
    {
        QVERIFY(QDir().mkpath(file())); // a folder in the way
        m_defaults.setInteger(u"a"_qs, 1);
        QCOMPARE(m_defaults.integerForKey(u"a"_qs), 1); // it lives on in memory
        QVERIFY(QDir().rmdir(file()));
        m_defaults.setInteger(u"b"_qs, 2);
        m_defaults.reload();
        QCOMPARE(m_defaults.integerForKey(u"a"_qs), 1);
        QCOMPARE(m_defaults.integerForKey(u"b"_qs), 2);
    }

    void whatCouldNotBeReadBackIsNotWritten()
    {
        m_defaults.setInteger(u"a"_qs, 1);
        m_defaults.setString(u"huge"_qs, QString(17 << 20, u'x'));
        m_defaults.reload();
        QCOMPARE(m_defaults.integerForKey(u"a"_qs), 1);
        m_defaults.setString(u"huge"_qs, QString(17 << 20, u'x'));
        m_defaults.setInteger(u"b"_qs, 2);
        m_defaults.removeKey(u"huge"_qs);
        m_defaults.reload();
        QCOMPARE(m_defaults.integerForKey(u"b"_qs), 2);
    }

    void theLastOfTwoProcessesWinsTheWholeFile()
    {
        m_defaults.setInteger(u"mine"_qs, 1);
        QVERIFY(!DVPrivateFile::write(file(), "{\"theirs\": 2}")); // as another process does
        QVERIFY(!m_defaults.integerForKey(u"theirs"_qs));
        m_defaults.setInteger(u"mine"_qs, 3);
        m_defaults.reload();
        QCOMPARE(m_defaults.integerForKey(u"mine"_qs), 3);
        QVERIFY(!m_defaults.integerForKey(u"theirs"_qs));
    }

    void threadsReadAndWriteTogether()
    {
        std::vector<std::thread> threads;
        for (int thread = 0; thread < 4; ++thread) {
            threads.emplace_back([this, thread] {
                const QString key = u"key"_qs + QString::number(thread);
                for (int i = 1; i <= 25; ++i) {
                    const DVUserDefaults::Batch batch;
                    m_defaults.setInteger(key, i);
                    if (m_defaults.integerForKey(key) != i)
                        qFatal("a value was lost");
                }
            });
        }
        for (auto &thread : threads)
            thread.join();
        m_defaults.reload();
        for (int thread = 0; thread < 4; ++thread)
            QCOMPARE(m_defaults.integerForKey(u"key"_qs + QString::number(thread)), 25);
    }

    void theHostsSettingsSayWhetherItIsADemonstration()
    {
        QCoreApplication::setOrganizationName(u"tst-user-defaults"_qs);
        QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, m_folder->path());
        QVERIFY(!dv_hostSettingsContainAppetizeHost());
        QSettings().setValue(u"appetize-host"_qs, u"anything"_qs);
        QVERIFY(dv_hostSettingsContainAppetizeHost());
    }

    // A real process, killed while it writes: what is there is whole, and not older than what it had
    // reported.
    void aKillLeavesTheOldFileOrTheNewOne()
    {
        for (int round = 0; round < 15; ++round) {
            QProcess writer;
            writer.start(QCoreApplication::applicationFilePath(), {u"--write"_qs, m_folder->path()});
            qint64 reported = 0;
            while (reported < 3 + round) {
                QVERIFY(writer.canReadLine() || writer.waitForReadyRead());
                reported = writer.readLine().trimmed().toLongLong();
            }
            writer.kill();
            QVERIFY(writer.waitForFinished());
            m_defaults.reload();
            const auto number = m_defaults.integerForKey(u"number"_qs);
            QVERIFY(number);
            QVERIFY2(*number >= reported, qPrintable(QString::number(*number)));
            QCOMPARE(m_defaults.stringForKey(u"same number"_qs), QString::number(*number));
        }
    }
};

static int writeUntilKilled(const QString &folder)
{
    DVFolders::setDocuments(folder);
    auto &defaults = DVUserDefaults::standard();
    for (qint64 number = 1;; ++number) {
        {
            const DVUserDefaults::Batch batch;
            defaults.setInteger(u"number"_qs, number);
            defaults.setString(u"filler"_qs, QString(50000, QChar(char16_t('a' + number % 26))));
            defaults.setString(u"same number"_qs, QString::number(number));
        }
        if (printf("%lld\n", number) < 0 || fflush(stdout) != 0)
            return 1;
    }
}

int main(int argc, char **argv)
{
    const QCoreApplication app(argc, argv);
    if (argc == 3 && QByteArrayView(argv[1]) == "--write")
        return writeUntilKilled(QString::fromLocal8Bit(argv[2]));
    TestUserDefaults test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_user_defaults.moc"
