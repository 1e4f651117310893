// DVLookup: what lookups read, from any thread and without a lock.
#pragma once

#include "DVPluralForm.h"
#include "DVPublished.h"
#include "DVStringLayers.h"
#include "DVUnmarkedTexts.h"

#include <Dorvane/Dorvane.h>

#include <memory>
#include <optional>

// Immutable. A new one is published whole at every change that a lookup can see.
struct DVLookupSnapshot
{
    bool launched = false;       // otherwise every lookup passes straight on
    bool needCues = false;       // at the bundle's door
    bool cuesAtQtDoor = false;   // the review tools are linked and texts need markers
    bool editionEnabled = false; // changed strings come first
    bool localeServes = false;   // a locale store is set
    bool baseServes = false;     // a base store is set
    bool pictureKeys = false;    // a table has keys with contexts or control characters: DVPictureKeys.h
    DVStringLayers dirty, locale, base;
    DVPluralForm::Rule localeRule = nullptr;
    DVPluralForm::Rule baseRule = nullptr;
    std::shared_ptr<const DVUnmarkedTexts> unmarked; // set while cuesAtQtDoor
    QString layoutDirection;                         // "LTR" or "RTL" while a locale store serves, else null

    bool servesSameAs(const DVLookupSnapshot &other) const;
};

namespace DVLookup {

DVPublished<DVLookupSnapshot> &published();

// The plural lookup behind Dorvane::pluralizedStringWithKey.
QString pluralizedString(const QString &key, const DVNumber &value);

// The lookup behind tr(): null is a miss, so that the next translator answers. `n` below 0: no count.
// `context` and `disambiguation` (may be null) matter where keys with contexts are served.
QString translation(const char *context, const char *sourceText, const char *disambiguation, int n);

// Replaces DVBundle's lookup by DorvaneLocalizedStringForKey; once per process.
void interceptBundleLookup();

} // namespace DVLookup
