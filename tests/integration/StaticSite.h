// StaticSite: a delivery tree behind a web server that is not ours, made with tools that are not ours.
#pragma once

#include "Delivered.h"

#include <DVTestFiles.h>

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
        QByteArray gzip = Delivered::compressed(bytes);
        gzip.chop(chopCompressed);
        const QString path = root() + u"/projects/garden/1.0/fr-CA/strings.gz"_qs;
        DVTestFiles::write(path, Delivered::encrypted(gzip));
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadWrite));
        file.setFileTime(QDateTime::currentDateTimeUtc().addSecs(-60 * minutesAgo),
                         QFileDevice::FileModificationTime);
    }
    void set(const char *name, const QByteArray &value)
    {
        DVTestFiles::write(root() + u'/' + QLatin1StringView(name), value);
    }
    QByteArrayList requests() const
    {
        return DVTestFiles::read(root() + u"/requests"_qs).trimmed().split('\n');
    }

    void start()
    {
        m_server.start(u"python3"_qs,
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
        const QString base = u"http://127.0.0.1:%1"_qs.arg(port);
        QJsonObject options{{u"mode"_qs, u"DVOTAServing"_qs},
                            {u"otaKey"_qs, Delivered::base64()},
                            {u"analytics"_qs, false},
                            {u"logging"_qs, u"DVLoggingDebug"_qs},
                            {u"servers"_qs, QJsonObject{{u"deliveryCdn"_qs, QString(base + u"/projects"_qs)},
                                                        {u"delivery"_qs, base}}}};
        for (auto change = changes.begin(); change != changes.end(); ++change)
            options.insert(change.key(), change.value());
        const QJsonObject start{
            {u"do"_qs, u"start"_qs}, {u"projectId"_qs, u"garden"_qs}, {u"options"_qs, options}};
        return QJsonDocument(start).toJson(QJsonDocument::Compact) + '\n';
    }

private:
    QString root() const { return m_folder.path(); }

    QTemporaryDir m_folder;
    QProcess m_server;
    QByteArray m_port;
};

// The device of one `dorvane try` after the other: French of Canada, one data folder.
class TryDevice
{
public:
    QStringList arguments(const QString &version = u"1.0"_qs) const
    {
        QStringList list{u"try"_qs,         u"--data-dir"_qs,    dataPath(),
                         u"--languages"_qs, u"fr-CA"_qs,         u"--locale"_qs,
                         u"fr_CA"_qs,       u"--app-version"_qs, version};
        if (QDir(bundlePath()).exists())
            list += {u"--bundle"_qs, bundlePath()};
        return list;
    }
    QString dataPath() const { return m_folder.path() + u"/data"_qs; }
    QString bundlePath() const { return m_folder.path() + u"/bundle"_qs; }
    QStringList files() const
    {
        return QDir(dataPath() + u"/Dorvane"_qs).entryList({u"*.xlf*"_qs}, QDir::Files);
    }
    void package(const QString &name, const QByteArray &bytes) const
    {
        DVTestFiles::write(bundlePath() + u'/' + name, bytes);
    }

    // Runs the commands; the "text" members of the replies, in order.
    QStringList texts(const QByteArray &commands, const QString &version = u"1.0"_qs)
    {
        m_run = ToolRun::tool(arguments(version), commands);
        QStringList texts;
        const auto lines = m_run.output.split('\n');
        for (const QByteArray &line : lines) {
            const QJsonObject reply = QJsonDocument::fromJson(line).object();
            if (reply.contains(u"text"_qs))
                texts += reply.value(u"text"_qs).toString();
        }
        return texts;
    }
    const ToolRun &run() const { return m_run; }

private:
    QTemporaryDir m_folder;
    ToolRun m_run;
};

// Lines for `dorvane try`, and the texts of lookupCommands().
inline QByteArray lookupCommands()
{
    return "{\"do\":\"lookup\",\"key\":\"hello\"}\n{\"do\":\"tr\",\"context\":\"c\",\"text\":\"bye\"}\n";
}
inline const QByteArray waitForUpdate =
    "{\"do\":\"wait\",\"event\":\"stringsUpdated\",\"timeoutMs\":20000}\n";
inline QStringList edition(const QString &name)
{
    return {QString(u"bonjour " + name), QString(u"adieu " + name)};
}
inline QStringList nothing()
{
    return {u"hello"_qs, u"bye"_qs};
}
