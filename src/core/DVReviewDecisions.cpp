#include "DVReviewDecisions.h"

#include "DVAnalytics.h"

namespace {

// A string is accepted, rejected or neither.
enum class List { None, Accepted, Rejected };

void putInto(List list, DVLocaleStrings &strings, const DVStringGroupPtr &string)
{
    const auto update = [&](DVStringGroups groups, bool holds, void (DVLocaleStrings::*set)(DVStringGroups)) {
        if (!holds && groups.remove(string->key) == 0)
            return;
        if (holds)
            groups.insert(string->key, string);
        (strings.*set)(std::move(groups));
    };
    update(strings.acceptedStrings(), list == List::Accepted, &DVLocaleStrings::setAcceptedStrings);
    update(strings.rejectedStrings(), list == List::Rejected, &DVLocaleStrings::setRejectedStrings);
}

} // namespace

bool DVReviewDecisions::canAccept(const DVStringGroup &string, const std::optional<DVWorkflowStep> &step)
{
    return step && step->canSubmit && string.status == DVStringStatusNone;
}

bool DVReviewDecisions::canReject(const DVStringGroup &string, const std::optional<DVWorkflowStep> &step)
{
    return step && step->canReject && string.status == DVStringStatusNone;
}

void DVReviewDecisions::accept(DVLocaleStrings &strings, const DVStringGroupPtr &string)
{
    string->status = DVStringStatusAccepted;
    putInto(List::Accepted, strings, string);
    strings.saveDirty();
}

void DVReviewDecisions::reject(DVLocaleStrings &strings, const DVStringGroupPtr &string,
                               const QString &reason, const QString &description)
{
    string->rejectReason = reason.toUpper().replace(u' ', u'_');
    string->rejectDescription = description.isEmpty() ? QStringLiteral("No description.") : description;
    DVAnalytics::trackEvent(QStringLiteral("Reject string"),
                            {{QStringLiteral("Reason"), string->rejectReason},
                             {QStringLiteral("Description"), string->rejectDescription}});
    string->status = DVStringStatusRejected;
    putInto(List::Rejected, strings, string);
    strings.saveDirty();
}

void DVReviewDecisions::touch(DVLocaleStrings &strings, const DVStringGroupPtr &string)
{
    if (string->status == DVStringStatusNone)
        return;
    string->status = DVStringStatusNone;
    putInto(List::None, strings, string);
}

QStringList DVReviewDecisions::reasons()
{
    return {QStringLiteral("Poor translation"), QStringLiteral("Does not fit space"),
            QStringLiteral("Placeholder issue"), QStringLiteral("General issue"),
            QStringLiteral("Review translation")};
}
