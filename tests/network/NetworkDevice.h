// NetworkDevice: a device whose servers are all one of the test's.
#pragma once

#include "DVAPISession.h"
#include "DVAnalytics.h"
#include "DVClock.h"
#include "DVFaultServer.h"
#include "DVFolders.h"
#include "DVHttpTransport.h"
#include "DVOutcome.h"
#include "DVServerUrl.h"
#include "DVSession.h"
#include "DVState.h"
#include "DVTestFiles.h"
#include "DVWrittenLog.h"

#include <QCoreApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

// Nobody is signed in, nothing is logged or recorded, the folder is empty; DVWrittenLog takes the log. One at
// a time.
class NetworkDevice : public DVTestFiles
{
public:
    NetworkDevice()
    {
        DVWrittenLog::begin();
        DVWrittenLog::take();
        DVFolders::setDocuments(m_folder.path());
        DVServerUrl::setEnvironment(1);
        DVServerUrl::setServers(
            {{u"api"_qs, server.url()}, {u"sso"_qs, server.url()}, {u"delivery"_qs, server.url()}});
        DVAPISession::sharedInstance() = {};
        auto &state = DVState::shared();
        state.setAppId(u"project"_qs);
        state.log = state.debug = state.editionMode = state.analyticsEnabled = false;
        state.appLaunched = true;
    }
    ~NetworkDevice()
    {
        server.clear();
        DVSession::sharedInstance().logOut();
        DVHttpTransport::shutDown(1000);
        QCoreApplication::sendPostedEvents();
        DVAnalytics::sharedInstance().drain();
        DVAnalytics::sharedInstance().forgetLoaded();
        DVServerUrl::setServers({});
        DVFolders::setDocuments({});
        DVAPISession::sharedInstance() = {};
        auto &state = DVState::shared();
        state.setAppId({});
        state.setAesKey({});
        state.setCurrentLocaleIdentifier({});
        state.setWorkflowStep({}, {});
        state.log = state.debug = state.editionMode = state.appLaunched = false;
        state.analyticsEnabled = true;
        DVClock::reset();
        DVWrittenLog::end();
    }
    Q_DISABLE_COPY_MOVE(NetworkDevice)

    QString path(const QString &name = {}) const { return m_folder.filePath(name); }

    // Every request gets this.
    void answer(const DVFaultServer::Answer &answer)
    {
        server.setHandler([answer](const DVFaultServer::Request &) { return answer; });
    }

    // Events of now on are recorded, and stay in the file, since a send has just been.
    static void recordEvents()
    {
        write(DVAnalytics::sharedInstance().saveFilePath(),
              "{\"lastSent\":" + QByteArray::number(DVClock::secondsSince1970(), 'f', 0) + '}');
        DVAnalytics::sharedInstance().forgetLoaded();
        DVState::shared().analyticsEnabled = true;
    }
    static QJsonArray recordedEvents()
    {
        DVAnalytics::sharedInstance().drain();
        const QByteArray file = read(DVAnalytics::sharedInstance().saveFilePath());
        return QJsonDocument::fromJson(file).object().value(u"events").toArray();
    }

    DVFaultServer server;

private:
    QTemporaryDir m_folder;
};
