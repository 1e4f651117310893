// IssueApi: what people report about translations, kept in received/issues.jsonl.
#pragma once

#include "Catalogue.h"
#include "ReceivedFolder.h"
#include "RestRequest.h"

class IssueApi
{
public:
    IssueApi(Catalogues &catalogues, ReceivedFolder &folder)
        : m_catalogues(catalogues)
        , m_folder(folder)
    {}

    // POST /issues-api/v2/projects/<project>/issues
    Answer create(const RestRequest &request);

private:
    Catalogues &m_catalogues;
    ReceivedFolder &m_folder;
};
