// ReceivedFolder: FOLDER/received, what the platform keeps of what it is sent.
#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QList>
#include <QString>

#include <functional>

// For its owner's eyes only. Several processes may use one folder.
class ReceivedFolder
{
public:
    using Log = std::function<void(const QString &)>;

    ReceivedFolder(const QString &projectFolder, Log log);

    QString path(const QString &name) const { return m_path + u'/' + name; }

    // Calls `work` while no other process changes the folder; not from inside another change(). Returns
    // whether it went well; `work` returns what went wrong, null when nothing did, and that is logged.
    bool change(const std::function<QString()> &work);

    // The two below return null, or what went wrong. Inside change() only.
    // Replaces a file in one step.
    QString write(const QString &name, const QByteArray &content) const;
    // Adds one line for each object to a file.
    QString append(const QString &name, const QList<QJsonObject> &lines) const;

private:
    QString m_path;
    Log m_log;
};
