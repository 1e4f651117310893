// Platform: the routes of the stand-in and what stands behind them.
#pragma once

#include "Answer.h"
#include "Catalogue.h"
#include "EventLog.h"
#include "OpenIdConnect.h"
#include "ProjectFolder.h"
#include "ReceivedFolder.h"
#include "RestApi.h"
#include "TokenIssuer.h"
#include "TranslationStore.h"

#include <QHttpServerRequest>

// No sockets in here: a request goes in, an answer comes out.
class Platform
{
public:
    Platform(const QString &folder, ProjectFolder::Log log);

    // Null on success, else what is wrong with the folder.
    QString open() { return m_folder.open(); }
    const Project &project() { return m_folder.project(); }
    // Where it is reached, without a slash at the end.
    void setBaseUrl(const QString &url);

    Answer answer(const QHttpServerRequest &request);

private:
    Answer deliver(const QHttpServerRequest &request, const QStringList &path);
    Answer refuseDelivery(const QStringList &path);
    Answer track(const QHttpServerRequest &request);
    Answer welcome();

    ProjectFolder m_folder;
    EventLog m_events;
    ProjectFolder::Log m_log;
    ReceivedFolder m_received;
    Catalogues m_catalogues;
    TranslationStore m_translations;
    TokenIssuer m_issuer;
    OpenIdConnect m_openId;
    RestApi m_rest;
};
