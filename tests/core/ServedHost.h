// ServedHost: a host application with a CDN of its own, for tests of over-the-air serving.
#pragma once

#include "DVTestHost.h"

class ServedHost : public DVTestHost
{
public:
    using DVTestHost::DVTestHost;

    // What every request gets from now on, an hour fresh.
    void deliver(const QByteArray &xliff)
    {
        server.setHandler([xliff](const auto &) { return publication(xliff); });
    }
    void deliver(const QList<DVTestUnit> &units) { deliver(xliff(units)); }
    void deliver(const QString &key, const QString &target) { deliver(xliff(key, target)); }
    void refuse(int status)
    {
        server.setHandler([status](const auto &) { return DVFaultServer::Answer::of(status); });
    }

    // Starts serving, with `more` options besides those of servingOptions().
    void start(const QVariantMap &more = {}, const QString &project = QStringLiteral("p")) const
    {
        QVariantMap options = servingOptions(server);
        options.insert(more);
        Dorvane::startWithProjectId(project, options);
    }

    DVFaultServer server;
};
