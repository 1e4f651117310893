// ContextApi: pictures of an application, and where its strings stand on them, kept in received/contexts.
#pragma once

#include "Catalogue.h"
#include "ReceivedFolder.h"
#include "RestRequest.h"

class ContextApi
{
public:
    ContextApi(Catalogues &catalogues, ReceivedFolder &folder)
        : m_catalogues(catalogues)
        , m_folder(folder)
    {}

    // POST /context-api/v2/projects/<project>/contexts, multipart with the part "content": a PNG picture.
    Answer createContext(const RestRequest &request);
    // POST /context-api/v2/projects/<project>/bindings: all of them are taken, or none.
    Answer createBindings(const RestRequest &request);

private:
    bool isKnownString(const Project &project, const QString &hashcode);
    QJsonObject checkedBinding(const RestRequest &request, const QJsonValue &given, QStringList *errors);

    Catalogues &m_catalogues;
    ReceivedFolder &m_folder;
};
