// What belongs to a deployment of the example and not to its source.
#pragma once

#include <QVariantMap>

// Options of Dorvane's start call. Where the platform is and a language other than the device's come from
// DORVANE_EXAMPLE_SERVERS (a JSON object) and DORVANE_EXAMPLE_LOCALE; without the variables the library's own
// hosts and the device's language serve. Dates and digits then follow the language of the texts.
QVariantMap deploymentOptions();
