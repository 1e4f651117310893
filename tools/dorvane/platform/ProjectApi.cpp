#include "ProjectApi.h"

#include <array>
#include <unicode/uloc.h>

namespace {

QString localeDescription(const QString &locale)
{
    std::array<UChar, 200> name{};
    UErrorCode status = U_ZERO_ERROR;
    const int32_t length =
        uloc_getDisplayName(locale.toLatin1().constData(), "en", name.data(), int32_t(name.size()), &status);
    return U_SUCCESS(status) ? QString::fromUtf16(name.data(), length) : locale;
}

QJsonObject stepJson(const RestRequest &request, const WorkflowStep &step)
{
    QJsonArray pairs;
    for (const WorkflowStep::LocalePair &pair : step.localePairs)
        pairs.append(QJsonObject{{QStringLiteral("sourceLocaleId"), pair.source},
                                 {QStringLiteral("targetLocaleId"), pair.target}});
    const StepPermissions permissions = request.permissionsIn(step);
    return {{QStringLiteral("workflowStepName"), step.name},
            {QStringLiteral("workflowStepUid"), step.uid},
            {QStringLiteral("workflowStepClass"), step.stepClass},
            {QStringLiteral("permissions"),
             QJsonObject{{QStringLiteral("canTranslateStrings"), permissions.canTranslate},
                         {QStringLiteral("canSubmitStrings"), permissions.canSubmit},
                         {QStringLiteral("canRejectStrings"), permissions.canReject}}},
            {QStringLiteral("localePairs"), pairs}};
}

} // namespace

Answer ProjectApi::info(const RestRequest &request)
{
    const Project &project = request.project;
    QJsonArray locales;
    for (const QString &locale : project.targetLocales)
        locales.append(QJsonObject{{QStringLiteral("localeId"), locale},
                                   {QStringLiteral("description"), localeDescription(locale)},
                                   {QStringLiteral("enabled"), true}});
    return RestRequest::success(
        QJsonObject{{QStringLiteral("projectId"), project.projectId},
                    {QStringLiteral("projectName"), project.name},
                    {QStringLiteral("archived"), false},
                    {QStringLiteral("sourceLocaleId"), project.sourceLocale},
                    {QStringLiteral("sourceLocaleDescription"), localeDescription(project.sourceLocale)},
                    {QStringLiteral("targetLocales"), locales}});
}

Answer ProjectApi::workflows(const RestRequest &request)
{
    QJsonArray items;
    for (const Workflow &workflow : request.project.workflows.workflows()) {
        QJsonArray steps;
        for (const WorkflowStep &step : workflow.steps)
            steps.append(stepJson(request, step));
        items.append(QJsonObject{{QStringLiteral("workflowName"), workflow.name},
                                 {QStringLiteral("workflowUid"), workflow.uid},
                                 {QStringLiteral("workflowSteps"), steps}});
    }
    return RestRequest::success(
        QJsonObject{{QStringLiteral("items"), items}, {QStringLiteral("totalCount"), items.size()}});
}
