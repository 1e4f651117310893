// The commands of the driver. Each reads all of its members before it does anything.
#include "DiagnosticsJson.h"
#include "FoundPieces.h"
#include "TryDriver.h"

#include <DVClock.h>
#include <DVMainController.h>

#include <Dorvane/DVNotificationCenter.h>
#include <Dorvane/Dorvane.h>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QPointer>

#include <limits>

namespace {

constexpr qint64 longestWait = qint64(24) * 3600 * 1000;               // milliseconds
constexpr qint64 farthestClock = qint64(100) * 366 * 24 * 3600 * 1000; // milliseconds

using Reply = std::optional<QJsonObject>;

Reply textReply(const QString &text)
{
    return QJsonObject{{QStringLiteral("text"), text}};
}

QJsonValue identifierOrNull(const DVLocale &locale)
{
    return locale.isValid() ? QJsonValue(locale.identifier()) : QJsonValue();
}

QJsonValue objectOrNull(const std::optional<QHash<QString, QString>> &strings)
{
    if (!strings)
        return {};
    QJsonObject object;
    for (auto entry = strings->begin(); entry != strings->end(); ++entry)
        object.insert(entry.key(), entry.value());
    return object;
}

} // namespace

TryHandlers TryDriver::ownCommands()
{
    using Command = Reply (TryDriver::*)(JsonMembers &);
    const auto handler = [this](Command command) -> TryHandler {
        return [this, command](JsonMembers &members) { return (this->*command)(members); };
    };
    return {
        {QStringLiteral("start"), handler(&TryDriver::start)},
        {QStringLiteral("lookup"), handler(&TryDriver::lookup)},
        {QStringLiteral("tr"), handler(&TryDriver::translate)},
        {QStringLiteral("plural"), handler(&TryDriver::plural)},
        {QStringLiteral("locale"), handler(&TryDriver::locale)},
        {QStringLiteral("setLocale"), handler(&TryDriver::setLocale)},
        {QStringLiteral("strings"), handler(&TryDriver::strings)},
        {QStringLiteral("foreground"), handler(&TryDriver::foreground)},
        {QStringLiteral("deviceLocale"), handler(&TryDriver::deviceLocale)},
        {QStringLiteral("find"), handler(&TryDriver::find)},
        {QStringLiteral("clock"), handler(&TryDriver::clock)},
        {QStringLiteral("wait"), handler(&TryDriver::wait)},
        {QStringLiteral("diagnostics"), handler(&TryDriver::diagnostics)},
    };
}

// Holds the thread like the start of any application.
Reply TryDriver::start(JsonMembers &members)
{
    const QString projectId = members.has("projectId") ? members.text("projectId") : QString();
    const QVariantMap options = members.object("options").toVariantMap();
    if (!members.areGood())
        return {};
    m_updatedUnasked = false;
    QElapsedTimer elapsed;
    elapsed.start();
    // A text that was given is never null, be it empty.
    Dorvane::startWithProjectId(
        members.has("projectId") && projectId.isNull() ? QStringLiteral("") : projectId, options);
    return QJsonObject{{QStringLiteral("elapsedMs"), elapsed.elapsed()},
                       {QStringLiteral("launched"), DVMainController::sharedInstance().appLaunched()}};
}

Reply TryDriver::lookup(JsonMembers &members)
{
    const QString key = members.text("key");
    const QString value = members.text("value");
    const QString table = members.text("table");
    if (!members.has("key"))
        members.complain("key", QStringLiteral("is missing"));
    if (!members.areGood())
        return {};
    return textReply(DVBundle::mainBundle().localizedStringForKey(key, value, table));
}

// Without a context, "text" is an id, as in qtTrId().
Reply TryDriver::translate(JsonMembers &members)
{
    const QByteArray context = members.text("context").toUtf8();
    const QByteArray text = members.requiredText("text").toUtf8();
    const QByteArray comment = members.text("comment").toUtf8();
    const int n = int(members.integer("n", -1, std::numeric_limits<int>::max()));
    if (!members.areGood())
        return {};
    return textReply(QCoreApplication::translate(members.has("context") ? context.constData() : nullptr,
                                                 text.constData(),
                                                 members.has("comment") ? comment.constData() : nullptr, n));
}

Reply TryDriver::plural(JsonMembers &members)
{
    const QString key = members.requiredText("key");
    const QJsonValue given = members.value("number");
    if (!given.isDouble())
        members.complain("number", QStringLiteral("must be a number"));
    if (!members.areGood())
        return {};
    const bool whole = given.toVariant().typeId() == QMetaType::LongLong;
    return textReply(Dorvane::pluralizedStringWithKey(key, whole ? DVNumber(given.toInteger())
                                                                 : DVNumber(given.toDouble())));
}

Reply TryDriver::locale(JsonMembers &)
{
    return QJsonObject{{QStringLiteral("locale"), identifierOrNull(Dorvane::locale())},
                       {QStringLiteral("baseLocale"), identifierOrNull(Dorvane::baseLocale())}};
}

Reply TryDriver::setLocale(JsonMembers &members)
{
    const QString id = members.requiredText("id");
    if (!members.areGood())
        return {};
    m_updatedUnasked = false;
    Dorvane::setLocaleWithId(id, [self = QPointer(this)](bool success) {
        if (self)
            self->finish({{QStringLiteral("success"), success}});
    });
    return {};
}

Reply TryDriver::strings(JsonMembers &members)
{
    const QString which = members.text("which");
    if (which == u"localized")
        return QJsonObject{{QStringLiteral("strings"), objectOrNull(Dorvane::localizedStrings())}};
    if (which == u"base")
        return QJsonObject{{QStringLiteral("strings"), objectOrNull(Dorvane::baseLocaleStrings())}};
    members.complain("which", QStringLiteral("is \"localized\" or \"base\""));
    return {};
}

Reply TryDriver::foreground(JsonMembers &)
{
    m_updatedUnasked = false;
    DVNotificationCenter::defaultCenter().postNotification(DVApplicationWillEnterForegroundNotification,
                                                           QCoreApplication::instance());
    return QJsonObject();
}

Reply TryDriver::deviceLocale(JsonMembers &members)
{
    DVDevice::Override device = m_device;
    if (members.has("languages"))
        device.languages = members.texts("languages");
    if (members.has("locale"))
        device.locale = members.text("locale");
    if (!members.areGood())
        return {};
    m_updatedUnasked = false;
    m_device = device;
    DVDevice::setOverride(device);
    DVNotificationCenter::defaultCenter().postNotification(DVCurrentLocaleDidChangeNotification,
                                                           QCoreApplication::instance());
    return QJsonObject();
}

Reply TryDriver::find(JsonMembers &members)
{
    const QString text = members.text("text");
    const auto pieces = foundPieces(text);
    if (!pieces)
        members.complain("text", QStringLiteral("is nested too deeply"));
    return QJsonObject{{QStringLiteral("pieces"), pieces ? QJsonValue(*pieces) : QJsonValue()}};
}

Reply TryDriver::clock(JsonMembers &members)
{
    const qint64 milliseconds = members.integer("advanceMs", 0, farthestClock);
    if (!members.areGood())
        return {};
    DVClock::advance(milliseconds);
    return QJsonObject{{QStringLiteral("now"), DVClock::secondsSince1970()}};
}

// An update that came on its own before this command, since the last command that can bring one,
// counts: whoever reads replies one by one cannot know that it was faster.
Reply TryDriver::wait(JsonMembers &members)
{
    const bool forEvent = members.has("event");
    const char *time = forEvent ? "timeoutMs" : "ms";
    if (forEvent && members.text("event") != u"stringsUpdated")
        members.complain("event", QStringLiteral("is \"stringsUpdated\", there is no other"));
    if (!members.has(time))
        members.complain(time, QStringLiteral("is missing"));
    const qint64 milliseconds = std::max<qint64>(0, members.integer(time, 0, longestWait));
    if (!members.areGood())
        return {};
    if (forEvent && std::exchange(m_updatedUnasked, false))
        return QJsonObject{{QStringLiteral("waited"), true}};
    m_waitsForUpdate = forEvent;
    m_waiting.start(int(milliseconds));
    return {};
}

// With a key: where its text comes from.
Reply TryDriver::diagnostics(JsonMembers &members)
{
    const QString key = members.text("key");
    const QString context = members.text("context");
    const int n = int(members.integer("n", -1, std::numeric_limits<int>::max()));
    if (!members.areGood())
        return {};
    if (members.has("key")) {
        const DVTextOrigin origin = Dorvane::diagnostics(key, context, n);
        return QJsonObject{{QStringLiteral("origin"), jsonFromTextOrigin(origin)},
                           {QStringLiteral("text"), origin.toText()}};
    }
    const DVDiagnostics diagnostics = Dorvane::diagnostics();
    return QJsonObject{{QStringLiteral("diagnostics"), jsonFromDiagnostics(diagnostics)},
                       {QStringLiteral("text"), diagnostics.toText()}};
}
