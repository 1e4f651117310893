#include "TryDriver.h"

#include "CommandLine.h"
#include "EditCommands.h"
#include "HeadlessTools.h"
#include "SendCommands.h"
#include "SessionCommands.h"

#include <DVMainController.h>

#include <Dorvane/Dorvane.h>

#include <QCoreApplication>
#include <QJsonDocument>
#include <QPointer>

namespace {

void print(const QJsonObject &line)
{
    printLine(QString::fromUtf8(QJsonDocument(line).toJson(QJsonDocument::Compact)));
}

} // namespace

TryDriver::TryDriver(int input, const DVDevice::Override &device)
    : m_input(input)
    , m_commands(ownCommands())
    , m_device(device)
{
    auto *session = new SessionCommands(lines(), this);
    m_commands.insert(session->handlers());
    m_commands.insert(editCommands());
    m_commands.insert(sendCommands(lines()));
    DVMainController::sharedInstance().setInAppTools(std::make_unique<HeadlessTools>(&print));
    m_waiting.setSingleShot(true);
    connect(&m_waiting, &QTimer::timeout, this, [this] {
        finish({{QStringLiteral("waited"), !std::exchange(m_waitsForUpdate, false)}});
    });
    connect(&m_input, &InputLines::arrived, this, &TryDriver::schedule);
    connect(Dorvane::notifier(), &DorvaneNotifier::stringsUpdated, this, &TryDriver::stringsUpdated);
}

// A completion may outlive the driver, at the end of the process.
TryLines TryDriver::lines()
{
    return {[self = QPointer(this)](const QJsonObject &reply) {
                if (self)
                    self->finish(reply);
            },
            &print};
}

// One command for each turn of the event loop, as an application's own work comes.
void TryDriver::schedule()
{
    if (m_scheduled || !m_running.isNull())
        return;
    m_scheduled = true;
    QMetaObject::invokeMethod(this, &TryDriver::next, Qt::QueuedConnection);
}

void TryDriver::next()
{
    m_scheduled = false;
    const auto line = m_input.take();
    if (line)
        execute(*line);
    else if (m_input.atEnd())
        QCoreApplication::quit();
}

void TryDriver::execute(const InputLines::Line &line)
{
    QJsonParseError syntax;
    const QJsonObject object = QJsonDocument::fromJson(line.content, &syntax).object();
    const QString name = object.value(QLatin1StringView("do")).toString();
    const TryHandler command = m_commands.value(name);
    QString problem;
    if (line.tooLong)
        problem = QStringLiteral("the line is longer than %1 bytes").arg(InputLines::maximumLength);
    else if (syntax.error != QJsonParseError::NoError)
        problem = QStringLiteral("not JSON: %1, at byte %2").arg(syntax.errorString()).arg(syntax.offset);
    else if (name.isEmpty())
        problem = QStringLiteral("a line is an object whose member \"do\" names a command");
    else if (!command)
        problem = QStringLiteral("there is no command \"%1\"").arg(name);
    if (problem.isEmpty())
        return run(name, command, object);
    print({{QStringLiteral("error"), problem}});
    schedule();
}

void TryDriver::run(const QString &name, const TryHandler &command, const QJsonObject &line)
{
    m_running = name;
    QString problem;
    JsonMembers members(line, &problem);
    m_inCommand = true;
    const auto reply = command(members);
    m_inCommand = false;
    if (!problem.isEmpty())
        finish({{QStringLiteral("error"), problem}});
    else if (reply)
        finish(*reply);
}

void TryDriver::finish(const QJsonObject &reply)
{
    QJsonObject line = reply;
    line.insert(QStringLiteral("reply"), std::exchange(m_running, QString()));
    print(line);
    schedule();
}

void TryDriver::stringsUpdated()
{
    print({{QStringLiteral("event"), QStringLiteral("stringsUpdated")}});
    if (m_waitsForUpdate) {
        m_waitsForUpdate = false;
        m_waiting.stop();
        finish({{QStringLiteral("waited"), true}});
    } else if (!m_inCommand) {
        m_updatedUnasked = true;
    }
}
