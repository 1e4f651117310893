// DVReviewDefaults: where a translator's choices are kept from one start to the next.
#pragma once

#include <QString>

// Keys of DVUserDefaults.
namespace DVReviewDefaults {

inline const QString workflowStep = QStringLiteral("DVWorkflowStep"); // archive of the chosen step
inline const QString locale = QStringLiteral("DVLocale");             // identifier of the chosen locale

} // namespace DVReviewDefaults
