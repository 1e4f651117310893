#include "ProjectWorkflows.h"

#include "JsonMembers.h"

#include <algorithm>
#include <utility>

namespace {

QList<WorkflowStep::LocalePair> allPairs(const QString &sourceLocale, const QStringList &targetLocales)
{
    QList<WorkflowStep::LocalePair> pairs;
    for (const QString &target : targetLocales)
        pairs.append({sourceLocale, target});
    return pairs;
}

QList<Workflow> defaultWorkflows(const QList<WorkflowStep::LocalePair> &pairs)
{
    const WorkflowStep translation{QStringLiteral("Translation"),
                                   QStringLiteral("translation"),
                                   QStringLiteral("TRANSLATION"),
                                   {true, true, false},
                                   pairs};
    const WorkflowStep review{QStringLiteral("Review"),
                              QStringLiteral("review"),
                              QStringLiteral("REVIEW"),
                              {true, true, true},
                              pairs};
    return {{QStringLiteral("Translation and review"), QStringLiteral("default"), {translation, review}}};
}

WorkflowStep stepFromJson(JsonMembers &members, const QList<WorkflowStep::LocalePair> &otherwise)
{
    WorkflowStep step;
    step.name = members.requiredText("workflowStepName");
    step.uid = members.requiredText("workflowStepUid");
    step.stepClass = members.text("workflowStepClass", QStringLiteral("TRANSLATION"));
    QString error;
    JsonMembers permissions(members.object("permissions"), &error);
    step.permissions = StepPermissions::fromJson(permissions);
    if (!error.isEmpty())
        members.complain("permissions", error);
    if (!members.has("localePairs"))
        step.localePairs = otherwise;
    members.eachObject("localePairs", [&step](JsonMembers &entry) {
        step.localePairs.append({entry.requiredText("sourceLocaleId"), entry.requiredText("targetLocaleId")});
    });
    return step;
}

} // namespace

bool WorkflowStep::hasTarget(const QString &locale) const
{
    return std::any_of(localePairs.begin(), localePairs.end(),
                       [&locale](const LocalePair &pair) { return pair.target == locale; });
}

ProjectWorkflows ProjectWorkflows::fromJson(JsonMembers &members, const QString &sourceLocale,
                                            const QStringList &targetLocales)
{
    ProjectWorkflows result;
    const auto pairs = allPairs(sourceLocale, targetLocales);
    if (!members.has("workflows"))
        result.m_workflows = defaultWorkflows(pairs);
    members.eachObject("workflows", [&result, &pairs](JsonMembers &entry) {
        result.m_workflows.append(
            {entry.requiredText("workflowName"), entry.requiredText("workflowUid"), {}});
        entry.eachObject("workflowSteps", [&result, &pairs](JsonMembers &stepEntry) {
            const WorkflowStep step = stepFromJson(stepEntry, pairs);
            if (result.step(step.uid))
                stepEntry.complain("workflowStepUid", QStringLiteral("is there twice"));
            result.m_workflows.last().steps.append(step);
        });
    });
    return result;
}

const WorkflowStep *ProjectWorkflows::step(const QString &uid) const
{
    for (const Workflow &workflow : m_workflows) {
        for (const WorkflowStep &step : workflow.steps) {
            if (step.uid == uid)
                return &step;
        }
    }
    return nullptr;
}

const WorkflowStep *ProjectWorkflows::firstStep(const QString &locale) const
{
    for (const Workflow &workflow : m_workflows) {
        for (const WorkflowStep &step : workflow.steps) {
            if (step.hasTarget(locale))
                return &step;
        }
    }
    return nullptr;
}

const WorkflowStep *ProjectWorkflows::stepAfter(const QString &uid, const QString &locale) const
{
    return neighbour(uid, locale, 1);
}

const WorkflowStep *ProjectWorkflows::stepBefore(const QString &uid, const QString &locale) const
{
    return neighbour(uid, locale, -1);
}

const WorkflowStep *ProjectWorkflows::neighbour(const QString &uid, const QString &locale,
                                                qsizetype direction) const
{
    for (const Workflow &workflow : m_workflows) {
        const auto &steps = workflow.steps;
        const auto at = std::find_if(steps.begin(), steps.end(),
                                     [&uid](const WorkflowStep &step) { return step.uid == uid; });
        if (at == steps.end())
            continue;
        for (qsizetype i = at - steps.begin() + direction; i >= 0 && i < steps.size(); i += direction) {
            if (steps.at(i).hasTarget(locale))
                return &steps.at(i);
        }
    }
    return nullptr;
}
