// StaticSite: a delivery tree behind a web server that is not ours, made with tools that are not ours.
#pragma once

#include "ToolProcess.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QTest>

// Project "garden" with French of Canada: two strings that always belong together. Files are compressed
// by gzip and encrypted by openssl; the server is Python's.
class StaticSite
{
public:
    StaticSite() { start(); }
    ~StaticSite() { stop(); }
    Q_DISABLE_COPY_MOVE(StaticSite)

    static QByteArray keyBytes() { return "0123456789abcdef"; }

    static QByteArray document(const QByteArray &edition)
    {
        return "<?xml version=\"1.0\"?><xliff version=\"1.2\"><file><body>"
               "<trans-unit id=\"1\" resname=\"hello\"><source>hello</source><target>bonjour " +
               edition +
               "</target></trans-unit><trans-unit id=\"2\" "
               "resname=\"bye\"><source>bye</source><target>adieu " +
               edition + "</target></trans-unit></body></file></xliff>";
    }
    void publish(const QByteArray &edition, int minutesAgo = 0)
    {
        publishBytes(document(edition), minutesAgo);
    }
    // Compresses, encrypts and puts the file in place as of some minutes ago.
    void publishBytes(const QByteArray &bytes, int minutesAgo = 0, qsizetype chopCompressed = 0)
    {
        ToolRun gzip = ToolRun::program(QStringLiteral("gzip"), {QStringLiteral("-c")}, bytes);
        QCOMPARE(gzip.status, 0);
        gzip.output.chop(chopCompressed);
        const ToolRun openssl =
            ToolRun::program(QStringLiteral("openssl"),
                             {QStringLiteral("enc"), QStringLiteral("-aes-128-ecb"), QStringLiteral("-K"),
                              QString::fromLatin1(keyBytes().toHex())},
                             gzip.output);
        QCOMPARE(openssl.status, 0);
        const QString path = root() + QStringLiteral("/projects/garden/1.0/fr-CA/strings.gz");
        QDir().mkpath(QFileInfo(path).path());
        put(path, openssl.output);
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadWrite));
        file.setFileTime(QDateTime::currentDateTimeUtc().addSecs(-60 * minutesAgo),
                         QFileDevice::FileModificationTime);
    }
    void set(const char *name, const QByteArray &value)
    {
        put(root() + QLatin1Char('/') + QLatin1StringView(name), value);
    }
    QByteArrayList requests() const
    {
        QFile file(root() + QStringLiteral("/requests"));
        return file.open(QIODevice::ReadOnly) ? file.readAll().trimmed().split('\n') : QByteArrayList();
    }
    void forgetRequests() { QFile::remove(root() + QStringLiteral("/requests")); }

    void start()
    {
        m_server.start(QStringLiteral("python3"),
                       {QStringLiteral(DORVANE_SOURCE_DIR "/tests/integration/static_server.py"), root()});
        QVERIFY(m_server.waitForReadyRead(20000));
        m_port = m_server.readAllStandardOutput().trimmed();
    }
    void stop()
    {
        m_server.closeWriteChannel();
        if (m_server.state() != QProcess::NotRunning && !m_server.waitForFinished(5000))
            m_server.kill();
    }

    // The "start" command of `dorvane try` for this site.
    QByteArray startCommand(const QJsonObject &changes = {}) const
    {
        return startCommandFor(m_port.toUShort(), changes);
    }
    static QByteArray startCommandFor(quint16 port, const QJsonObject &changes = {})
    {
        const QString base = QStringLiteral("http://127.0.0.1:%1").arg(port);
        QJsonObject options{
            {QStringLiteral("mode"), QStringLiteral("DVOTAServing")},
            {QStringLiteral("otaKey"), QString::fromLatin1(keyBytes().toBase64())},
            {QStringLiteral("analytics"), false},
            {QStringLiteral("logging"), QStringLiteral("DVLoggingDebug")},
            {QStringLiteral("servers"),
             QJsonObject{{QStringLiteral("deliveryCdn"), QString(base + QStringLiteral("/projects"))},
                         {QStringLiteral("delivery"), base}}}};
        for (auto change = changes.begin(); change != changes.end(); ++change)
            options.insert(change.key(), change.value());
        const QJsonObject start{{QStringLiteral("do"), QStringLiteral("start")},
                                {QStringLiteral("projectId"), QStringLiteral("garden")},
                                {QStringLiteral("options"), options}};
        return QJsonDocument(start).toJson(QJsonDocument::Compact) + '\n';
    }

private:
    QString root() const { return m_folder.path(); }
    static void put(const QString &path, const QByteArray &bytes)
    {
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(bytes);
    }

    QTemporaryDir m_folder;
    QProcess m_server;
    QByteArray m_port;
};

// The device of one `dorvane try` after the other: French of Canada, one data folder.
class TryDevice
{
public:
    QStringList arguments(const QString &version = QStringLiteral("1.0")) const
    {
        QStringList list{
            QStringLiteral("try"),         QStringLiteral("--data-dir"),    dataPath(),
            QStringLiteral("--languages"), QStringLiteral("fr-CA"),         QStringLiteral("--locale"),
            QStringLiteral("fr_CA"),       QStringLiteral("--app-version"), version};
        if (QDir(bundlePath()).exists())
            list += {QStringLiteral("--bundle"), bundlePath()};
        return list;
    }
    QString dataPath() const { return m_folder.path() + QStringLiteral("/data"); }
    QString bundlePath() const { return m_folder.path() + QStringLiteral("/bundle"); }
    QStringList files() const
    {
        return QDir(dataPath() + QStringLiteral("/Dorvane"))
            .entryList({QStringLiteral("*.xlf*")}, QDir::Files);
    }
    void package(const QString &name, const QByteArray &bytes) const
    {
        const QString path = bundlePath() + QLatin1Char('/') + name;
        QDir().mkpath(QFileInfo(path).path());
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(bytes);
    }

    // Runs the commands; the "text" members of the replies, in order.
    QStringList texts(const QByteArray &commands, const QString &version = QStringLiteral("1.0"))
    {
        m_run = ToolRun::tool(arguments(version), commands);
        QStringList texts;
        const auto lines = m_run.output.split('\n');
        for (const QByteArray &line : lines) {
            const QJsonObject reply = QJsonDocument::fromJson(line).object();
            if (reply.contains(QStringLiteral("text")))
                texts += reply.value(QStringLiteral("text")).toString();
        }
        return texts;
    }
    const ToolRun &run() const { return m_run; }

private:
    QTemporaryDir m_folder;
    ToolRun m_run;
};

inline QByteArray lookupCommands()
{
    return "{\"do\":\"lookup\",\"key\":\"hello\"}\n{\"do\":\"tr\",\"context\":\"c\",\"text\":\"bye\"}\n";
}
