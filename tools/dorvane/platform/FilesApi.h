// FilesApi: a locale's strings as XLIFF, in and out.
#pragma once

#include "Catalogue.h"
#include "RestRequest.h"
#include "TranslationStore.h"

class FilesApi
{
public:
    FilesApi(Catalogues &catalogues, TranslationStore &translations)
        : m_catalogues(catalogues)
        , m_translations(translations)
    {}

    // GET /files-api/v2/projects/<project>/locales/<locale>/content/export, with "retrievalType".
    // PUBLISHED: all strings with the texts that users see. PENDING: those that wait, in the steps of
    // "workflowStepUids[0]" and so on or, without those, in any; strings without a translation wait in the
    // first.
    Answer exportContent(const RestRequest &request);

    // POST /files-api/v2/projects/<project>/locales/<locale>/content/import, multipart with the part "file".
    // Each string is taken whole or not at all; why not stands in "translationImportErrors".
    Answer importContent(const RestRequest &request);

private:
    Catalogues &m_catalogues;
    TranslationStore &m_translations;
};
