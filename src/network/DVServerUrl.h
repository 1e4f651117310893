// DVServerUrl: base URLs of the platform's endpoints.
#pragma once

#include <Dorvane/DorvaneGlobal.h>

#include <QString>
#include <QVariantMap>

// 0 staging, 1 production; any other value has no base URLs. Written by setEnvironment only.
extern "C" DORVANE_EXPORT int dorvaneEnvironment;

enum DVServer {
    DVServerApi = 0,
    DVServerSso = 1,
    DVServerDelivery = 2,
    DVServerDeliveryCdn = 3,
    DVServerNone = 4
};

class DVServerUrl
{
public:
    static void setEnvironment(int environment);

    // Replaces base URLs: {"api", "sso", "delivery", "deliveryCdn"}, each https, or http on loopback
    // (127.0.0.0/8, [::1], localhost). Returns the first entry that is not, without user
    // information and secrets, for a log, and changes nothing then; a null string on success. An empty map
    // restores the deployment's hosts. Keys that are absent keep the deployment's. A trailing slash is
    // dropped; "deliveryCdn" is used as it stands, without appending "/projects".
    static QString setServers(const QVariantMap &servers);

    // No trailing slash; "" for DVServerNone; null for any other value or an unknown environment.
    static QString baseUrlForServer(int server);
};
