#include "SendCommands.h"

#include "RunningTransfer.h"

#include <DVApi.h>
#include <DVMainController.h>
#include <DVPendingIssues.h>
#include <DVReviewChanges.h>

#include <QJsonArray>

#include <algorithm>

namespace {

using Reply = std::optional<QJsonObject>;
using Outcome = DVChangesPush::Outcome;

std::shared_ptr<DVLocaleStrings> currentStrings()
{
    return DVMainController::sharedInstance().localeStrings();
}

QJsonObject noLocale()
{
    return jsonFromError({QStringLiteral("dorvane.try"), 404, QStringLiteral("no locale was chosen")});
}

std::shared_ptr<DVChangesPush> newPush(const std::shared_ptr<DVLocaleStrings> &strings,
                                       const DVTransferPtr &transfer = {})
{
    return std::make_shared<DVChangesPush>(strings, DVStringChanges::of(*strings), transfer);
}

// Keys under `done`, and messages by key of those that failed.
DVChangesPush::Completion replyTo(const TryLines &lines, const QString &done)
{
    return [lines, done](const Outcome &outcome) {
        QJsonObject reply = outcome.error ? jsonFromError(*outcome.error) : QJsonObject();
        QJsonObject failures;
        for (auto failure = outcome.failed.begin(); failure != outcome.failed.end(); ++failure)
            failures.insert(failure.key(), QJsonArray::fromStringList(*failure));
        reply.insert(done, QJsonArray::fromStringList(outcome.done));
        reply.insert(QStringLiteral("failures"), failures);
        lines.reply(reply);
    };
}

QJsonArray jsonFromConflicts(const QList<DVStringConflict> &conflicts)
{
    const auto orNull = [](const QString &text) { return text.isNull() ? QJsonValue() : QJsonValue(text); };
    QJsonArray list;
    for (const DVStringConflict &conflict : conflicts)
        list.append(QJsonObject{{QStringLiteral("key"), conflict.key},
                                {QStringLiteral("form"), conflict.form},
                                {QStringLiteral("edit"), orNull(conflict.edit)},
                                {QStringLiteral("before"), orNull(conflict.before)},
                                {QStringLiteral("now"), orNull(conflict.now)}});
    return list;
}

// Runs `send` unless the platform's texts of edited strings have changed, and then says where.
void sendWithoutConflicts(const TryLines &lines, const DVTransferPtr &transfer, const QString &done,
                          const std::function<void()> &send)
{
    const auto review = std::make_shared<DVReviewChanges>(currentStrings());
    review->loadChanges(
        [lines, review, done, send](const DVErrorOr &error) {
            if (error)
                return lines.reply(jsonFromError(*error));
            const auto conflicts = review->conflicts();
            if (conflicts.isEmpty())
                return send();
            lines.reply({{done, QJsonArray()}, {QStringLiteral("conflicts"), jsonFromConflicts(conflicts)}});
        },
        transfer);
}

using Sending = void (DVChangesPush::*)(DVChangesPush::Completion);

// A sending that may overwrite what somebody else has written meanwhile.
TryHandler overwriting(const TryLines &lines, const QString &done, Sending sending)
{
    return [lines, done, sending](JsonMembers &members) -> Reply {
        const bool overwrite = members.flag("overwrite", false);
        const DVTransferPtr transfer = transferFor(members, lines);
        if (!members.areGood())
            return {};
        const auto strings = currentStrings();
        if (!strings)
            return noLocale();
        const auto send = [lines, done, sending, strings, transfer] {
            (*newPush(strings, transfer).*sending)(replyTo(lines, done));
        };
        if (overwrite || strings->dirtyStrings().isEmpty())
            send();
        else
            sendWithoutConflicts(lines, transfer, done, send);
        return {};
    };
}

TryHandler deciding(const TryLines &lines, const QString &done, Sending sending)
{
    return [lines, done, sending](JsonMembers &) -> Reply {
        if (!currentStrings())
            return noLocale();
        (*newPush(currentStrings()).*sending)(replyTo(lines, done));
        return {};
    };
}

Reply issue(const TryLines &lines, JsonMembers &members)
{
    const QString key = members.text("key");
    const auto issues = DVPendingIssues::all();
    const bool isThere =
        std::any_of(issues.begin(), issues.end(), [&](const auto &one) { return one.key == key; });
    if (members.areGood() && members.has("key") && !isThere)
        members.complain("key", QStringLiteral("is none of a rejected string that waits for its issue"));
    if (!members.areGood())
        return {};
    if (!currentStrings())
        return noLocale();
    const auto reply = replyTo(lines, QStringLiteral("filed"));
    if (members.has("key"))
        newPush(currentStrings())->fileIssue(key, reply);
    else
        newPush(currentStrings())->fileIssues(reply);
    return {};
}

// Pictures

std::optional<DVContextPicture::String> pictureString(const QJsonObject &object)
{
    const QJsonArray frame = object.value(QLatin1StringView("frame")).toArray();
    const bool isFrame = frame.size() == 4 && std::all_of(frame.begin(), frame.end(), [](const auto &number) {
                             return number.isDouble();
                         });
    const QString key = object.value(QLatin1StringView("key")).toString();
    if (!isFrame || key.isEmpty())
        return {};
    const auto &controller = DVMainController::sharedInstance();
    DVStringGroupPtr group = currentStrings() ? currentStrings()->dorvaneStringGroupForKey(key) : nullptr;
    if (!group && controller.baseLocaleStrings())
        group = controller.baseLocaleStrings()->dorvaneStringGroupForKey(key);
    return DVContextPicture::String{
        key, group ? group->uid() : QString(),
        QRectF(frame[0].toDouble(), frame[1].toDouble(), frame[2].toDouble(), frame[3].toDouble())};
}

Reply upload(const TryLines &lines, JsonMembers &members)
{
    const QString image = members.requiredText("image");
    const DVTransferPtr transfer = transferFor(members, lines);
    DVContextPicture picture;
    picture.saveImage = [image] { return image; };
    const QJsonArray strings = members.value("strings").toArray();
    for (const auto &entry : strings) {
        if (const auto string = pictureString(entry.toObject()))
            picture.strings.append(*string);
        else
            members.complain("strings", QStringLiteral("is a list of {\"key\": text, \"frame\": [left, top, "
                                                       "width, height]}"));
    }
    if (!members.areGood())
        return {};
    DVApi::uploadContext(
        picture,
        [lines](const DVErrorOr &error) {
            lines.reply(error ? jsonFromError(*error) : QJsonObject{{QStringLiteral("uploaded"), true}});
        },
        transfer);
    return {};
}

} // namespace

TryHandlers sendCommands(const TryLines &lines)
{
    return {
        {QStringLiteral("save"), overwriting(lines, QStringLiteral("saved"), &DVChangesPush::save)},
        {QStringLiteral("push"),
         overwriting(lines, QStringLiteral("pushed"), &DVChangesPush::pushChangesWithCompletion)},
        {QStringLiteral("submit"), deciding(lines, QStringLiteral("submitted"), &DVChangesPush::submit)},
        {QStringLiteral("rejectAll"), deciding(lines, QStringLiteral("rejected"), &DVChangesPush::reject)},
        {QStringLiteral("issue"), [lines](JsonMembers &members) { return issue(lines, members); }},
        {QStringLiteral("upload"), [lines](JsonMembers &members) { return upload(lines, members); }},
    };
}
