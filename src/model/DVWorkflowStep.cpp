#include "DVWorkflowStep.h"

#include "DVLocaleIdentifiers.h"
#include "DVLog.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <algorithm>
#include <array>

namespace {

using Step = DVWorkflowStep;

constexpr int archiveVersion = 1;
constexpr QLatin1StringView versionKey("version");
constexpr QLatin1StringView localePairsKey("localePairs");
constexpr QLatin1StringView sourceKey("source");
constexpr QLatin1StringView targetKey("target");

template<typename Member> struct ArchivedMember
{
    QLatin1StringView key;
    Member member;
};
constexpr std::array archivedTexts{
    ArchivedMember<QString Step::*>{QLatin1StringView("workflowName"), &Step::workflowName},
    ArchivedMember<QString Step::*>{QLatin1StringView("workflowUid"), &Step::workflowUid},
    ArchivedMember<QString Step::*>{QLatin1StringView("name"), &Step::name},
    ArchivedMember<QString Step::*>{QLatin1StringView("uid"), &Step::uid},
    ArchivedMember<QString Step::*>{QLatin1StringView("stepClass"), &Step::stepClass},
};
constexpr std::array archivedRights{
    ArchivedMember<bool Step::*>{QLatin1StringView("canTranslate"), &Step::canTranslate},
    ArchivedMember<bool Step::*>{QLatin1StringView("canSubmit"), &Step::canSubmit},
    ArchivedMember<bool Step::*>{QLatin1StringView("canReject"), &Step::canReject},
};

// A step's identifier stands in every unit of the edited strings, and the whole step in the library's
// settings: too long, neither file could be read again.
constexpr qsizetype longestText = 1000;
constexpr qsizetype mostLocalePairs = 10000;

bool isOfUsableSize(const Step &step)
{
    return step.localePairs.size() <= mostLocalePairs &&
           std::all_of(archivedTexts.begin(), archivedTexts.end(),
                       [&](const auto &text) { return (step.*text.member).size() <= longestText; });
}

// ---- the platform's answer ----

std::optional<DVLocale> supportedLocale(const QString &platformIdentifier)
{
    if (dv_supportedLocales().contains(platformIdentifier))
        return localeFromDorvneIdentifier(platformIdentifier);
    dv_logDebugLazily(
        [&] { return QString(u"Locale of a workflow step is not supported: " % platformIdentifier); });
    return {};
}

QList<Step::LocalePair> localePairsOf(const QJsonArray &array)
{
    QList<Step::LocalePair> pairs;
    for (const auto &element : array) {
        const QJsonObject pair = element.toObject();
        const QJsonValue source = pair.value(QLatin1StringView("sourceLocaleId"));
        const QJsonValue target = pair.value(QLatin1StringView("targetLocaleId"));
        if (!source.isString() || !target.isString())
            continue;
        const auto sourceLocale = supportedLocale(source.toString());
        const auto targetLocale = supportedLocale(target.toString());
        if (sourceLocale && targetLocale)
            pairs.append({*sourceLocale, *targetLocale});
    }
    return pairs;
}

// ---- the archive ----

QJsonArray archivedPairs(const QList<Step::LocalePair> &pairs)
{
    QJsonArray array;
    for (const auto &pair : pairs) {
        array.append(QJsonObject{{QString(sourceKey), pair.source.identifier()},
                                 {QString(targetKey), pair.target.identifier()}});
    }
    return array;
}

// Identifiers become parts of paths.
bool readLocale(const QJsonValue &value, DVLocale &locale)
{
    locale = DVLocale(value.toString());
    return dv_isSafeLocaleIdentifier(locale.identifier());
}

bool readPairs(const QJsonValue &value, QList<Step::LocalePair> &pairs)
{
    if (!value.isArray())
        return false;
    for (const auto &element : value.toArray()) {
        const QJsonObject archived = element.toObject();
        Step::LocalePair pair;
        if (!readLocale(archived.value(sourceKey), pair.source) ||
            !readLocale(archived.value(targetKey), pair.target))
            return false;
        pairs.append(pair);
    }
    return true;
}

bool readMembers(const QJsonObject &archive, Step &step)
{
    for (const auto &[key, member] : archivedTexts) {
        const QJsonValue value = archive.value(key);
        if (!value.isString())
            return false;
        step.*member = value.toString();
    }
    for (const auto &[key, member] : archivedRights) {
        const QJsonValue value = archive.value(key);
        if (!value.isBool())
            return false;
        step.*member = value.toBool();
    }
    return readPairs(archive.value(localePairsKey), step.localePairs);
}

bool isOfThisVersion(const QJsonValue &version)
{
    return version.isDouble() && version.toInt(-1) == archiveVersion;
}

} // namespace

DVWorkflowStep DVWorkflowStep::stepWithDictionary(const QJsonObject &dictionary, const QString &workflowName,
                                                  const QString &uid)
{
    const auto text = [&](const char *key) { return dictionary.value(QLatin1StringView(key)).toString(); };
    const QJsonObject permissions = dictionary.value(QLatin1StringView("permissions")).toObject();
    const auto may = [&](const char *key) { return permissions.value(QLatin1StringView(key)).toBool(); };

    DVWorkflowStep step;
    step.workflowName = workflowName;
    step.workflowUid = uid;
    step.name = text("workflowStepName");
    step.uid = text("workflowStepUid");
    step.stepClass = text("workflowStepClass");
    step.canTranslate = may("canTranslateStrings");
    step.canSubmit = may("canSubmitStrings");
    step.canReject = may("canRejectStrings");
    step.localePairs = localePairsOf(dictionary.value(localePairsKey).toArray());
    return step;
}

QList<DVWorkflowStep> DVWorkflowStep::workflowsFromDictionary(const QJsonObject &dictionary)
{
    QList<DVWorkflowStep> steps;
    const auto add = [&steps](const DVWorkflowStep &step) {
        if (isOfUsableSize(step))
            steps.append(step);
        else
            dv_logInfo(QStringLiteral("A workflow step is left out: it is too large"));
    };
    for (const auto &item : dictionary.value(QLatin1StringView("items")).toArray()) {
        const QJsonObject workflow = item.toObject();
        const QString name = workflow.value(QLatin1StringView("workflowName")).toString();
        const QString uid = workflow.value(QLatin1StringView("workflowUid")).toString();
        for (const auto &step : workflow.value(QLatin1StringView("workflowSteps")).toArray()) {
            if (step.isObject())
                add(stepWithDictionary(step.toObject(), name, uid));
        }
    }
    return steps;
}

QByteArray DVWorkflowStep::archived() const
{
    QJsonObject archive{{QString(versionKey), archiveVersion},
                        {QString(localePairsKey), archivedPairs(localePairs)}};
    for (const auto &[key, member] : archivedTexts)
        archive.insert(key, this->*member);
    for (const auto &[key, member] : archivedRights)
        archive.insert(key, this->*member);
    return QJsonDocument(archive).toJson(QJsonDocument::Compact);
}

std::optional<DVWorkflowStep> DVWorkflowStep::unarchived(const QByteArray &data)
{
    const QJsonObject archive = QJsonDocument::fromJson(data).object();
    DVWorkflowStep step;
    if (isOfThisVersion(archive.value(versionKey)) && readMembers(archive, step) && isOfUsableSize(step))
        return step;
    dv_logInfo(QStringLiteral("The saved workflow step cannot be read"));
    return {};
}
