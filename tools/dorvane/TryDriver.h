// TryDriver: an application without windows that does what JSON lines tell it.
#pragma once

#include "InputLines.h"
#include "JsonMembers.h"
#include "TryHandlers.h"

#include <DVDevice.h>

#include <QJsonObject>
#include <QObject>
#include <QTimer>

#include <optional>

// One reply for each line, in their order: a command that takes time holds back those behind it, while
// the event loop runs. Quits the application when the input has ended and everything is answered.
class TryDriver : public QObject
{
    Q_OBJECT

public:
    TryDriver(int input, const DVDevice::Override &device);

private:
    TryHandlers ownCommands();
    TryLines lines();

    void schedule();
    void next();
    void execute(const InputLines::Line &line);
    void run(const QString &name, const TryHandler &command, const QJsonObject &line);
    void finish(const QJsonObject &reply);
    void stringsUpdated();

    std::optional<QJsonObject> start(JsonMembers &members);
    std::optional<QJsonObject> lookup(JsonMembers &members);
    std::optional<QJsonObject> translate(JsonMembers &members);
    std::optional<QJsonObject> plural(JsonMembers &members);
    std::optional<QJsonObject> locale(JsonMembers &members);
    std::optional<QJsonObject> setLocale(JsonMembers &members);
    std::optional<QJsonObject> strings(JsonMembers &members);
    std::optional<QJsonObject> foreground(JsonMembers &members);
    std::optional<QJsonObject> deviceLocale(JsonMembers &members);
    std::optional<QJsonObject> find(JsonMembers &members);
    std::optional<QJsonObject> clock(JsonMembers &members);
    std::optional<QJsonObject> wait(JsonMembers &members);
    std::optional<QJsonObject> diagnostics(JsonMembers &members);

    InputLines m_input;
    TryHandlers m_commands;
    DVDevice::Override m_device;
    QString m_running;        // the command whose reply is due; null between commands
    bool m_inCommand = false; // its function is on the stack
    bool m_scheduled = false;
    bool m_updatedUnasked = false; // strings were updated on their own, and no wait has taken it
    bool m_waitsForUpdate = false;
    QTimer m_waiting;
};
