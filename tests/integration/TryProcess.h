// TryProcess: the built tool as an application without windows.
#pragma once

#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QString>
#include <QStringList>

using namespace Qt::Literals::StringLiterals;

// A running `dorvane try` with a device in French Canada.
class TryProcess
{
public:
    static QJsonObject doing(const QString &name, QJsonObject members = {})
    {
        members.insert(u"do"_qs, name);
        return members;
    }

    explicit TryProcess(const QString &dataDir, const QStringList &options = {})
    {
        m_process.start(QStringLiteral(DORVANE_TOOL),
                        QStringList{u"try"_qs, u"--data-dir"_qs, dataDir, u"--app-version"_qs, u"1.0"_qs,
                                    u"--languages"_qs, u"fr-CA,en"_qs, u"--locale"_qs, u"fr_CA"_qs} +
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
            if (!line.contains(u"event"_qs))
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
        return ask(name, members).value(u"text"_qs).toString();
    }
    QString lookup(const QString &key) { return text(u"lookup"_qs, {{u"key"_qs, key}}); }

private:
    QProcess m_process;
    int m_events = 0;
};
