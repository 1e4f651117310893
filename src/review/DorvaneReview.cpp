#include <Dorvane/DVReview.h>

#include "DVPrivateExport.h"
#include "DVReviewTools.h"

#include <QCoreApplication>

namespace {

// Data, and not a call: the loader looks for data at once, so another release is refused before anything
// runs.
[[gnu::used]] const char *const release = &DORVANE_PRIVATE_RELEASE;

} // namespace

Q_COREAPP_STARTUP_FUNCTION(dorvane_registerReviewTools)

void dorvane_review() {}
