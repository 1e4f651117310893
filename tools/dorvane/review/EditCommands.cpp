#include "EditCommands.h"

#include "TypedText.h"

#include <DVChangesPush.h>
#include <DVMainController.h>
#include <DVPendingIssues.h>
#include <DVPluralForm.h>
#include <DVReviewChoices.h>
#include <DVReviewDecisions.h>
#include <DVStringEditor.h>

#include <QJsonArray>

namespace {

using Reply = std::optional<QJsonObject>;

DVMainController &controller()
{
    return DVMainController::sharedInstance();
}

DVStringGroupPtr stringOf(const QString &key)
{
    const auto strings = controller().localeStrings();
    return strings ? strings->dorvaneStringGroupForKey(key) : nullptr;
}

DVStringGroupPtr sourceOf(const QString &key)
{
    const auto base = controller().baseLocaleStrings();
    return base ? base->dorvaneStringGroupForKey(key) : nullptr;
}

Reply refusal(const QString &why)
{
    return jsonFromError({QStringLiteral("dorvane.try"), 403, why});
}

// Null when texts can be changed.
QString whyNotEditable()
{
    if (!controller().editionMode())
        return QStringLiteral("review mode is off");
    if (!controller().localeStrings())
        return QStringLiteral("no locale was chosen");
    if (!controller().editionEnabled())
        return QStringLiteral("nobody is signed in who may translate in the current workflow step");
    return {};
}

QJsonArray keysOf(const DVStringGroups &strings)
{
    return QJsonArray::fromStringList(strings.keys());
}

Reply edit(JsonMembers &members)
{
    const QString key = members.requiredText("key");
    const QString form = members.text("form", dv_pluralCategoryName(DVPluralCategory::None));
    const QString text = members.text("text");
    if (!members.has("text"))
        members.complain("text", QStringLiteral("is missing"));
    if (!members.areGood())
        return {};
    if (const QString why = whyNotEditable(); !why.isNull())
        return refusal(why);
    const DVStringGroupPtr target = stringOf(key);
    const DVStringGroupPtr source = sourceOf(key);
    DVStringEditor editor(controller().localeStrings(), controller().baseLocaleStrings());
    editor.setText(key, form, runsOfTypedText(text, argumentsOf({target, source})));
    if (const int wrong = editor.validateStrings())
        return QJsonObject{{QStringLiteral("edited"), QJsonArray()},
                           {QStringLiteral("wrongPlaceholders"), wrong}};
    if (!editor.unknownStrings().isEmpty())
        return refusal(QStringLiteral("there is no such string, or it has no such form"));
    if (target)
        DVReviewDecisions::touch(*controller().localeStrings(), target);
    editor.saveStrings();
    return QJsonObject{{QStringLiteral("edited"), QJsonArray{key}}};
}

Reply accept(JsonMembers &members)
{
    const QString key = members.requiredText("key");
    if (!members.areGood())
        return {};
    const DVStringGroupPtr string = stringOf(key);
    if (!string)
        return refusal(QStringLiteral("there is no such string"));
    if (!DVReviewDecisions::canAccept(*string, controller().workflowStep()))
        return refusal(
            QStringLiteral("the current workflow step does not allow it, or it is decided already"));
    DVReviewDecisions::accept(*controller().localeStrings(), string);
    return QJsonObject{{QStringLiteral("accepted"), keysOf(controller().localeStrings()->acceptedStrings())}};
}

Reply reject(JsonMembers &members)
{
    const QString key = members.requiredText("key");
    const QString reason = members.text("reason", DVReviewDecisions::reasons().constFirst());
    const QString description = members.text("description");
    if (!members.areGood())
        return {};
    const DVStringGroupPtr string = stringOf(key);
    if (!string)
        return refusal(QStringLiteral("there is no such string"));
    if (!DVReviewDecisions::canReject(*string, controller().workflowStep()))
        return refusal(
            QStringLiteral("the current workflow step does not allow it, or it is decided already"));
    DVReviewDecisions::reject(*controller().localeStrings(), string, reason, description);
    return QJsonObject{{QStringLiteral("rejected"), keysOf(controller().localeStrings()->rejectedStrings())}};
}

QJsonArray issuesToFile()
{
    QJsonArray list;
    for (const auto &issue : DVPendingIssues::all())
        list.append(QJsonObject{{QStringLiteral("key"), issue.key},
                                {QStringLiteral("reason"), issue.reason},
                                {QStringLiteral("description"), issue.description}});
    return list;
}

Reply unsaved(JsonMembers &)
{
    const auto strings = controller().localeStrings();
    const DVStringChanges changes = strings ? DVStringChanges::of(*strings) : DVStringChanges();
    QJsonObject texts;
    for (auto group = changes.edited.begin(); group != changes.edited.end(); ++group)
        texts.insert(group.key(), jsonFromForms(**group));
    QJsonObject rejections;
    for (auto group = changes.rejected.begin(); group != changes.rejected.end(); ++group)
        rejections.insert(group.key(),
                          QJsonObject{{QStringLiteral("reason"), (*group)->rejectReason},
                                      {QStringLiteral("description"), (*group)->rejectDescription}});
    return QJsonObject{
        {QStringLiteral("count"), DVReviewChoices::unsavedChanges()},
        {QStringLiteral("edited"), texts},
        {QStringLiteral("accepted"), keysOf(changes.accepted)},
        {QStringLiteral("rejected"), rejections},
        {QStringLiteral("issues"), issuesToFile()},
        {QStringLiteral("discarded"), strings ? keysOf(strings->discardedStrings()) : QJsonArray()}};
}

} // namespace

TryHandlers editCommands()
{
    return {{QStringLiteral("edit"), &edit},
            {QStringLiteral("accept"), &accept},
            {QStringLiteral("reject"), &reject},
            {QStringLiteral("unsaved"), &unsaved}};
}
