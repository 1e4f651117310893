#include "SessionCommands.h"

#include "RunningTransfer.h"
#include "SignIn.h"

#include <DVLocaleIdentifiers.h>
#include <DVMainController.h>
#include <DVReviewChoices.h>
#include <DVSession.h>

#include <Dorvane/Dorvane.h>

#include <QJsonArray>

#include <algorithm>

namespace {

QJsonObject jsonFromStep(const DVWorkflowStep &step)
{
    QJsonArray pairs;
    for (const auto &pair : step.localePairs)
        pairs.append(QJsonObject{{QStringLiteral("source"), pair.source.identifier()},
                                 {QStringLiteral("target"), pair.target.identifier()}});
    return {{QStringLiteral("workflowName"), step.workflowName},
            {QStringLiteral("workflowUid"), step.workflowUid},
            {QStringLiteral("name"), step.name},
            {QStringLiteral("uid"), step.uid},
            {QStringLiteral("stepClass"), step.stepClass},
            {QStringLiteral("canTranslate"), step.canTranslate},
            {QStringLiteral("canSubmit"), step.canSubmit},
            {QStringLiteral("canReject"), step.canReject},
            {QStringLiteral("localePairs"), pairs}};
}

QJsonValue textOrNull(const QString &text)
{
    return text.isNull() ? QJsonValue() : QJsonValue(text);
}

QString currentStep()
{
    const auto step = DVMainController::sharedInstance().workflowStep();
    return step ? step->uid : QString();
}

QString currentLocale()
{
    const auto strings = DVMainController::sharedInstance().localeStrings();
    return strings ? strings->locale().identifier() : QString();
}

QJsonObject stepsReply(const QList<DVWorkflowStep> &steps)
{
    QJsonArray list;
    for (const DVWorkflowStep &step : steps)
        list.append(jsonFromStep(step));
    return {{QStringLiteral("steps"), list},
            {QStringLiteral("step"), textOrNull(currentStep())},
            {QStringLiteral("locale"), textOrNull(currentLocale())}};
}

QString nameOf(DVReviewChoices::LocaleChange change)
{
    switch (change) {
    case DVReviewChoices::LocaleChange::StepKept:
        return QStringLiteral("step kept, strings pulled");
    case DVReviewChoices::LocaleChange::StepChanged:
        return QStringLiteral("step changed, strings wait for a pull");
    case DVReviewChoices::LocaleChange::None:
        break;
    }
    return QStringLiteral("none, there is no step for it");
}

} // namespace

SessionCommands::SessionCommands(TryLines lines, QObject *parent)
    : QObject(parent)
    , m_lines(std::move(lines))
    , m_choices(std::make_shared<DVReviewChoices>())
{}

SessionCommands::~SessionCommands() = default;

TryHandlers SessionCommands::handlers()
{
    return {
        {QStringLiteral("projectLocales"), [this](JsonMembers &) { return projectLocales(); }},
        {QStringLiteral("signIn"), [this](JsonMembers &members) { return signIn(members); }},
        {QStringLiteral("signOut"), [this](JsonMembers &) { return signOut(); }},
        {QStringLiteral("workflows"), [this](JsonMembers &members) { return workflows(members); }},
        {QStringLiteral("useStep"), [this](JsonMembers &members) { return useStep(members); }},
        {QStringLiteral("useLocale"), [this](JsonMembers &members) { return useLocale(members); }},
        {QStringLiteral("pull"), [this](JsonMembers &members) { return pull(members); }},
    };
}

SessionCommands::Reply SessionCommands::projectLocales()
{
    Dorvane::getProjectLocales([lines = m_lines](const DVErrorOr &error, const QVariantList &locales) {
        lines.reply(error ? jsonFromError(*error)
                          : QJsonObject{{QStringLiteral("locales"), QJsonArray::fromVariantList(locales)}});
    });
    return {};
}

SessionCommands::Reply SessionCommands::signIn(JsonMembers &members)
{
    const QString user = members.requiredText("user");
    const QString password = members.text("password");
    if (!members.areGood())
        return {};
    auto *page = new SignIn(
        user, password,
        [this](const QString &problem, const QString &code) {
            if (problem.isNull())
                takeCode(code);
            else
                m_lines.reply(jsonFromError({QStringLiteral("dorvane.try"), 401, problem}));
        },
        this);
    page->open(QUrl(DVSession::authorizationUrl()));
    return {};
}

void SessionCommands::takeCode(const QString &code)
{
    DVSession::sharedInstance().getTokenWithCode(code, false, [lines = m_lines](const DVErrorOr &error) {
        lines.reply(error ? jsonFromError(*error)
                          : QJsonObject{{QStringLiteral("signedIn"), true},
                                        {QStringLiteral("email"),
                                         textOrNull(DVMainController::sharedInstance().userEmail())}});
    });
}

SessionCommands::Reply SessionCommands::signOut()
{
    DVSession::sharedInstance().logOut();
    DVMainController::sharedInstance().setLocaleStrings(nullptr);
    return QJsonObject{{QStringLiteral("signedIn"), DVSession::sharedInstance().isLoggedIn()}};
}

SessionCommands::Reply SessionCommands::workflows(JsonMembers &members)
{
    const bool fresh = members.flag("fresh", false);
    if (!members.areGood())
        return {};
    if (fresh) {
        DVSession::sharedInstance().projectInfo.reset();
        DVSession::sharedInstance().workflows.reset();
    }
    m_choices->reload([lines = m_lines, choices = m_choices](const DVErrorOr &error) {
        lines.reply(error ? jsonFromError(*error) : stepsReply(choices->workflowSteps()));
    });
    return {};
}

SessionCommands::Reply SessionCommands::useStep(JsonMembers &members)
{
    const QString uid = members.requiredText("uid");
    const DVTransferPtr transfer = transferFor(members, m_lines);
    const auto &steps = m_choices->workflowSteps();
    const auto step =
        std::find_if(steps.begin(), steps.end(), [&](const auto &one) { return one.uid == uid; });
    if (members.areGood() && step == steps.end())
        members.complain("uid", QStringLiteral("is none of a step that \"workflows\" has listed"));
    if (!members.areGood())
        return {};
    m_choices->setWorkflowStep(
        *step,
        [lines = m_lines](const DVErrorOr &error) {
            QJsonObject reply = error ? jsonFromError(*error) : QJsonObject();
            reply.insert(QStringLiteral("step"), textOrNull(currentStep()));
            lines.reply(reply);
        },
        transfer);
    return {};
}

SessionCommands::Reply SessionCommands::useLocale(JsonMembers &members)
{
    const QString id = members.requiredText("id");
    const DVTransferPtr transfer = transferFor(members, m_lines);
    if (!members.areGood())
        return {};
    m_choices->setLocale(
        localeFromDorvneIdentifier(id),
        [lines = m_lines](const DVErrorOr &error, DVReviewChoices::LocaleChange change) {
            QJsonObject reply = error ? jsonFromError(*error) : QJsonObject();
            reply.insert(QStringLiteral("change"), nameOf(change));
            reply.insert(QStringLiteral("locale"), textOrNull(currentLocale()));
            reply.insert(QStringLiteral("step"), textOrNull(currentStep()));
            lines.reply(reply);
        },
        transfer);
    return {};
}

SessionCommands::Reply SessionCommands::pull(JsonMembers &members)
{
    const DVTransferPtr transfer = transferFor(members, m_lines);
    if (!members.areGood())
        return {};
    m_choices->pull(
        [lines = m_lines](const DVErrorOr &error) {
            const auto strings = DVMainController::sharedInstance().localeStrings();
            const qsizetype count = strings ? strings->loadedStrings().keyCount() : 0;
            lines.reply(error ? jsonFromError(*error) : QJsonObject{{QStringLiteral("strings"), count}});
        },
        transfer);
    return {};
}
