#include "DVReviewChoices.h"

#include "DVApi.h"
#include "DVChangesPush.h"
#include "DVLog.h"
#include "DVMainController.h"
#include "DVMainQueue.h"
#include "DVReviewDefaults.h"
#include "DVSession.h"
#include "DVUserDefaults.h"

#include <algorithm>

namespace {

DVMainController &controller()
{
    return DVMainController::sharedInstance();
}

DVError error(int code, const QString &description)
{
    return {QStringLiteral("dorvane.SDK"), code, description};
}

void completeLater(const DVReviewChoices::Completion &completion, const DVErrorOr &error)
{
    DVMainQueue::post([completion, error] { completion(error); });
}

void clearUnsaved()
{
    const auto strings = controller().localeStrings();
    if (!strings)
        return;
    strings->clearDirtyStrings();
    strings->clearDirtyStatuses();
}

bool translates(const DVWorkflowStep &step, const DVLocale &locale)
{
    return std::any_of(step.localePairs.begin(), step.localePairs.end(), [&](const auto &pair) {
        return pair.target.identifier() == locale.identifier() ||
               pair.source.identifier() == locale.identifier();
    });
}

} // namespace

void DVReviewChoices::reload(Completion completion)
{
    constexpr int unauthorized = 401;
    if (!DVSession::sharedInstance().isLoggedIn())
        return completeLater(completion, error(unauthorized, QStringLiteral("No token found")));
    m_loading = true;
    DVApi::projectInfoForce(false, [self = shared_from_this(), completion](const DVErrorOr &failure,
                                                                           const auto &) {
        if (failure) {
            self->m_loading = false;
            return completion(failure);
        }
        DVApi::projectWorkflowsForce(false, [self, completion](const DVErrorOr &problem, const auto &steps) {
            self->loaded(problem, steps);
            completion(problem);
        });
    });
}

void DVReviewChoices::loaded(const DVErrorOr &error, const std::optional<QList<DVWorkflowStep>> &steps)
{
    m_loading = false;
    if (error || !steps)
        return;
    groupWorkflowsByLocale(*steps);
    const auto current = controller().workflowStep();
    const bool isGone = current && std::none_of(steps->begin(), steps->end(),
                                                [&](const auto &step) { return step.uid == current->uid; });
    if (isGone)
        controller().setWorkflowStep({});
}

void DVReviewChoices::groupWorkflowsByLocale(const QList<DVWorkflowStep> &steps)
{
    m_steps = steps;
    m_sources.clear();
    m_targets.clear();
    for (const DVWorkflowStep &step : steps) {
        for (const auto &pair : step.localePairs) {
            m_sources[pair.source.identifier()].append(step);
            m_targets[pair.target.identifier()].append(step);
        }
    }
}

qsizetype DVReviewChoices::unsavedChanges()
{
    const auto strings = controller().localeStrings();
    return strings ? DVStringChanges::of(*strings).count() : 0;
}

void DVReviewChoices::pull(Completion completion, const DVTransferPtr &transfer)
{
    constexpr int notFound = 404;
    const auto strings = controller().localeStrings();
    if (!strings)
        return completeLater(completion, error(notFound, QStringLiteral("No language was chosen")));
    strings->pullWithCompletion(
        [strings, completion](const DVErrorOr &failure) {
            if (failure)
                dv_logInfo(QString(u"Error pulling strings " + failure->description));
            else if (controller().localeStrings() == strings) // else another locale was chosen meanwhile
                strings->loadStringsWithBaseLocaleStrings(controller().baseLocaleStrings().get());
            completion(failure);
        },
        transfer);
}

void DVReviewChoices::setWorkflowStep(const DVWorkflowStep &step, Completion completion,
                                      const DVTransferPtr &transfer)
{
    controller().setWorkflowStep(step);
    {
        const DVUserDefaults::Batch batch;
        clearUnsaved();
        DVUserDefaults::standard().setData(DVReviewDefaults::workflowStep, step.archived());
    }
    if (controller().localeStrings())
        pull(completion, transfer);
    else
        completeLater(completion, {});
}

void DVReviewChoices::setLocale(const DVLocale &locale, LocaleCompletion completion,
                                const DVTransferPtr &transfer)
{
    const auto strings = DVLocaleStrings::localeStringsForLocale(locale);
    const auto step = controller().workflowStep();
    const bool keepsStep = step && translates(*step, locale);
    const auto finish = [completion, keepsStep](const DVErrorOr &failure) {
        completion(failure, keepsStep ? LocaleChange::StepKept : LocaleChange::StepChanged);
    };
    if (!keepsStep) {
        const QString identifier = locale.identifier();
        const auto &choices = m_targets.contains(identifier) ? m_targets : m_sources;
        const QList<DVWorkflowStep> steps = choices.value(identifier);
        if (steps.isEmpty())
            return DVMainQueue::post([completion] { completion({}, LocaleChange::None); });
        setWorkflowStep(steps.first(), finish, transfer);
    }
    {
        const DVUserDefaults::Batch batch;
        clearUnsaved();
        DVUserDefaults::standard().setString(DVReviewDefaults::locale, locale.identifier());
    }
    controller().setLocaleStrings(strings);
    if (keepsStep)
        pull(finish, transfer);
}
