// TryProcess: the built tool as an application without windows.
#pragma once

#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QString>
#include <QStringList>

// A running `dorvane try` with a device in French Canada.
class TryProcess
{
public:
    static QJsonObject doing(const QString &name, QJsonObject members = {})
    {
        members.insert(QStringLiteral("do"), name);
        return members;
    }

    explicit TryProcess(const QString &dataDir, const QStringList &options = {})
    {
        m_process.start(QStringLiteral(DORVANE_TOOL),
                        QStringList{QStringLiteral("try"), QStringLiteral("--data-dir"), dataDir,
                                    QStringLiteral("--app-version"), QStringLiteral("1.0"),
                                    QStringLiteral("--languages"), QStringLiteral("fr-CA,en"),
                                    QStringLiteral("--locale"), QStringLiteral("fr_CA")} +
                            options);
    }
    ~TryProcess()
    {
        m_process.kill();
        m_process.waitForFinished();
    }
    Q_DISABLE_COPY_MOVE(TryProcess)

    QProcess &process() { return m_process; }
    int events() const { return m_events; }

    void send(const QJsonObject &command)
    {
        m_process.write(QJsonDocument(command).toJson(QJsonDocument::Compact) + '\n');
    }
    // The next line that is no event.
    QJsonObject reply()
    {
        for (;;) {
            while (!m_process.canReadLine())
                if (!m_process.waitForReadyRead(20000))
                    return {};
            const QJsonObject line = QJsonDocument::fromJson(m_process.readLine()).object();
            if (!line.contains(QStringLiteral("event")))
                return line;
            ++m_events;
        }
    }
    QJsonObject ask(const QString &name, const QJsonObject &members = {})
    {
        send(doing(name, members));
        return reply();
    }
    QString text(const QString &name, const QJsonObject &members)
    {
        return ask(name, members).value(QStringLiteral("text")).toString();
    }
    QString lookup(const QString &key)
    {
        return text(QStringLiteral("lookup"), {{QStringLiteral("key"), key}});
    }

private:
    QProcess m_process;
    int m_events = 0;
};
