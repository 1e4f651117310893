// DVTestHost: a host application for tests of the upper floors: folders, bundle, device, log, delivery.
#pragma once

#include "DVAPISession.h"
#include "DVAnalytics.h"
#include "DVClock.h"
#include "DVData.h"
#include "DVDevice.h"
#include "DVFaultServer.h"
#include "DVFolders.h"
#include "DVHttpDate.h"
#include "DVLog.h"
#include "DVMainController.h"
#include "DVTestFiles.h"
#include "DVUserDefaults.h"

#include <Dorvane/Dorvane.h>

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QMutex>
#include <QTemporaryDir>
#include <QTest>

// One text form of a document made by DVTestHost::xliff.
struct DVTestUnit
{
    QString id;
    QString key;
    QString source;
    QString target;
};

// Each object is a fresh device with a fresh process on it, as far as one process can play another.
class DVTestHost : public DVTestFiles
{
public:
    explicit DVTestHost(const QString &version = QStringLiteral("1.0"))
    {
        {
            const QMutexLocker lock(&mutex());
            current() = this;
            m_before = qInstallMessageHandler(&DVTestHost::handle);
        }
        QCoreApplication::setApplicationVersion(version);
        QDir().mkpath(bundlePath());
        restart();
    }
    ~DVTestHost()
    {
        endProcess();
        const QMutexLocker lock(&mutex());
        qInstallMessageHandler(m_before);
        current() = nullptr;
    }
    Q_DISABLE_COPY_MOVE(DVTestHost)

    // The library as a new process would find it; files and defaults stay.
    void restart()
    {
        endProcess();
        DVFolders::setDocuments(QString(m_folder.path() + u"/documents"));
        DVUserDefaults::standard().reload();
        DVAnalytics::sharedInstance().forgetLoaded();
        DVBundle::setMainBundle(DVBundle(bundlePath()));
        DVDevice::Override device;
        device.languages = QStringList{QStringLiteral("fr-CA")};
        device.locale = QStringLiteral("fr_CA");
        DVDevice::setOverride(device);
        DVMainController::sharedInstance().applicationBegins();
    }

    void setDevice(const QStringList &languages, const QString &locale)
    {
        DVDevice::Override device;
        device.languages = languages;
        device.locale = locale;
        DVDevice::setOverride(device);
    }

    QString bundlePath() const { return QString(m_folder.path() + u"/bundle"); }
    QString filesPath() const { return DVFolders::dorvaneFiles(); }
    QString filePath(const QString &name) const { return QString(filesPath() + u'/' + name); }
    void package(const QString &name, const QByteArray &data) const
    {
        write(QString(bundlePath() + u'/' + name), data);
    }

    static QString key() { return QStringLiteral("MDEyMzQ1Njc4OWFiY2RlZg=="); } // "0123456789abcdef"

    static QByteArray xliff(const QList<DVTestUnit> &units)
    {
        QString body;
        for (const auto &unit : units) {
            body +=
                QStringLiteral("<trans-unit id=\"%1\" resname=\"%2\"><source>%3</source><target>%4</target>"
                               "</trans-unit>\n")
                    .arg(unit.id, unit.key.toHtmlEscaped(), unit.source, unit.target);
        }
        return QString(u"<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<xliff version=\"1.2\"><file><body>\n" +
                       body + u"</body></file></xliff>")
            .toUtf8();
    }
    // One plain string.
    static QByteArray xliff(const QString &stringKey, const QString &target)
    {
        return xliff({{QStringLiteral("1"), stringKey, stringKey, target}});
    }
    static QByteArray delivered(const QByteArray &xliff)
    {
        return dv_encryptAESWithKey(dv_gzippedData(xliff), key());
    }

    // A delivery as a CDN answers it, an hour fresh.
    static DVFaultServer::Answer publication(const QByteArray &xliff, int freshSeconds = 3600)
    {
        return DVFaultServer::Answer::of(200, delivered(xliff), dates(freshSeconds));
    }
    static DVFaultServer::Headers dates(int freshSeconds)
    {
        const QDateTime now = DVClock::now();
        return {{"Date", dv_httpHeaderString(now).toLatin1()},
                {"Last-Modified", dv_httpHeaderString(now.addDays(-1)).toLatin1()},
                {"Expires", dv_httpHeaderString(now.addSecs(freshSeconds)).toLatin1()}};
    }

    QVariantMap servingOptions(const DVFaultServer &server) const
    {
        const QVariantMap servers{{QStringLiteral("deliveryCdn"), server.url(QStringLiteral("/projects"))},
                                  {QStringLiteral("delivery"), server.url()},
                                  {QStringLiteral("api"), server.url()},
                                  {QStringLiteral("sso"), server.url()}};
        return {{QStringLiteral("mode"), QStringLiteral("DVOTAServing")},
                {QStringLiteral("otaKey"), key()},
                {QStringLiteral("logging"), QStringLiteral("DVLoggingDebug")},
                {QStringLiteral("servers"), servers},
                {QStringLiteral("analytics"), false}};
    }

    // Messages of the library since the last call, without the "[DV] " in front.
    QStringList takeLog()
    {
        const QMutexLocker lock(&mutex());
        return std::exchange(m_log, {});
    }

    // Whether a message since the last takeLog() holds the text.
    bool logged(const QString &text)
    {
        const QMutexLocker lock(&mutex());
        return !m_log.filter(text).isEmpty();
    }

private:
    // Threads of a server outlive a host and write messages, too.
    static QMutex &mutex()
    {
        static QMutex mutex;
        return mutex;
    }
    static DVTestHost *&current() // under the mutex
    {
        static DVTestHost *host = nullptr;
        return host;
    }
    static void handle(QtMsgType type, const QMessageLogContext &context, const QString &message)
    {
        QMutexLocker lock(&mutex());
        DVTestHost *host = current();
        if (host && message.startsWith(QStringLiteral("[DV] "))) {
            host->m_log.append(message.mid(5));
            return;
        }
        const QtMessageHandler before = host ? host->m_before : nullptr;
        lock.unlock();
        if (before)
            before(type, context, message);
    }
    static void endProcess()
    {
        // An end leaves behind what takes longer than it may; a test's folder must outlive it.
        DVAnalytics::sharedInstance().drain();
        DVMainController::sharedInstance().applicationEnds();
        QCoreApplication::sendPostedEvents();
        auto &state = DVState::shared();
        state.log = state.debug = state.allowLocaleChange = state.uiTest = false;
        state.analyticsEnabled = true;
        state.pullTimeout = 0;
        state.setAppId({});
        state.setAesKey({});
        DVAPISession::sharedInstance() = {};
        DVClock::reset();
    }

    QTemporaryDir m_folder;
    QtMessageHandler m_before = nullptr;
    QStringList m_log;
};
