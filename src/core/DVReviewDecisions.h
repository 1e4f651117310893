// DVReviewDecisions: what a translator decides about a string: accept it, reject it, or change it.
#pragma once

#include "DVLocaleStrings.h"
#include "DVWorkflowStep.h"

#include <QStringList>

#include <optional>

// Decisions are kept on the device at once. Main thread only.
namespace DVReviewDecisions {

// Only strings that are untouched, and only where the step allows it: after a decision the text has to be
// changed before there can be another.
bool canAccept(const DVStringGroup &string, const std::optional<DVWorkflowStep> &step);
bool canReject(const DVStringGroup &string, const std::optional<DVWorkflowStep> &step);

// `string` is the one that DVLocaleStrings::dorvaneStringGroupForKey gives for its key.
void accept(DVLocaleStrings &strings, const DVStringGroupPtr &string);
// `reason` is one of reasons(), or any other; an empty description becomes "No description.".
void reject(DVLocaleStrings &strings, const DVStringGroupPtr &string, const QString &reason,
            const QString &description);
// Its text is being changed: what was decided before counts no more. Not kept on the device, since the edit
// will be, or nothing.
void touch(DVLocaleStrings &strings, const DVStringGroupPtr &string);

// What may be wrong with a translation, as people read it.
QStringList reasons();

} // namespace DVReviewDecisions
