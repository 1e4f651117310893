// EventLog: the usage events that applications send, kept as JSON lines.
#pragma once

#include <QByteArray>
#include <QJsonArray>
#include <QString>

#include <optional>

class EventLog
{
public:
    // Writes below `projectFolder`: received/events.jsonl.
    explicit EventLog(const QString &projectFolder);

    // The events in a form body with the field "data", base64 of a JSON array of objects; nothing
    // after `error` was set.
    static std::optional<QJsonArray> eventsFromForm(const QByteArray &body, QString *error);

    // Appends one line for each. Null on success, else why not.
    QString append(const QJsonArray &events);

private:
    QString m_folder;
};
