// SampleStore: a store of the library whose strings come from a table and not from a file.
#pragma once

#include "SampleStrings.h"

#include "DVCueMarkers.h"
#include "DVLocaleStrings.h"
#include "DVMainController.h"

class SampleStore : public DVLocaleStrings
{
public:
    SampleStore(const QString &locale, const DVStringTablePtr &table)
        : DVLocaleStrings(DVLocale(locale))
    {
        setLoadedStrings(DVStringLayers({table}));
    }

    // The library answers from this table, with no start and no application object.
    static void serve(const QString &locale, const DVStringTablePtr &table)
    {
        DVState::shared().appLaunched = true;
        DVMainController::sharedInstance().setLocaleStrings(std::make_shared<SampleStore>(locale, table));
    }

    // With markers around the texts, as in review builds.
    static DVStringTablePtr markedTable(const std::vector<SampleString> &strings)
    {
        DVStringTableBuilder builder(true);
        for (const SampleString &string : strings) {
            const std::string text = dv_stringWithCues(QString::fromStdString(string.target)).toStdString();
            builder.add({string.key, string.key, {}, text, {}});
        }
        return builder.build();
    }
};
