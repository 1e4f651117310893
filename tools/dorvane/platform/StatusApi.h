// StatusApi: moves strings from one workflow step to the next, or back.
#pragma once

#include "Catalogue.h"
#include "RestRequest.h"
#include "TranslationStore.h"

class StatusApi
{
public:
    StatusApi(Catalogues &catalogues, TranslationStore &translations)
        : m_catalogues(catalogues)
        , m_translations(translations)
    {}

    // PUT /workflows-strings-api/v2/projects/<project>/submittedStrings and .../rejectedStrings. Out of the
    // last step a string is published. One that waits nowhere may be taken up in any step. What could not be
    // moved stands in "failures".
    Answer submit(const RestRequest &request) { return move(request, true); }
    Answer reject(const RestRequest &request) { return move(request, false); }

private:
    Answer move(const RestRequest &request, bool forward);

    Catalogues &m_catalogues;
    TranslationStore &m_translations;
};
