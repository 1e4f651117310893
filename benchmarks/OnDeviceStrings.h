// OnDeviceStrings: a device that holds current French strings, and the library started over them.
#pragma once

#include <Dorvane/Dorvane.h>

#include "DVFolders.h"
#include "DVLocaleStrings.h"
#include "DVMainController.h"
#include "DVPrivateFile.h"
#include "DVUserDefaults.h"

#include <QCoreApplication>
#include <QLoggingCategory>
#include <QTemporaryDir>

// One at a time: folders and the library are the process's. Nothing is fetched, since nothing has expired.
class OnDeviceStrings
{
public:
    explicit OnDeviceStrings(const QByteArray &xliff)
    {
        QLoggingCategory::setFilterRules(QStringLiteral("dorvane=false"));
        QCoreApplication::setApplicationVersion(QStringLiteral("1.0"));
        DVFolders::setDocuments(m_folder.path());
        DVUserDefaults::standard().reload();
        const auto store = DVLocaleStrings::localeStringsForLocale(DVLocale(QStringLiteral("fr")));
        if (const auto error = DVPrivateFile::write(store->publishedFilePath(), xliff))
            qFatal("%s", qPrintable(error->description));
        store->setExpirationDate(QDateTime::currentDateTimeUtc().addYears(1));
    }
    ~OnDeviceStrings() { takeOut(); }
    Q_DISABLE_COPY_MOVE(OnDeviceStrings)

    // As at the application's end: no translator of the library is left, no strings are held.
    static void takeOut()
    {
        DVMainController::sharedInstance().applicationEnds();
        QCoreApplication::processEvents();
    }
    // As at the application's beginning.
    static void putIn() { DVMainController::sharedInstance().applicationBegins(); }
    // The call that an application makes.
    static void start()
    {
        Dorvane::startWithProjectId(
            QStringLiteral("bench"),
            {{QStringLiteral("mode"), QStringLiteral("DVOTAServing")},
             {QStringLiteral("otaKey"), QStringLiteral("AAAAAAAAAAAAAAAAAAAAAA==")},
             {QStringLiteral("forceLocale"), QStringLiteral("fr")},
             {QStringLiteral("analytics"), false},
             {QStringLiteral("logging"), QStringLiteral("off")},
             {QStringLiteral("servers"),
              QVariantMap{{QStringLiteral("deliveryCdn"), QStringLiteral("http://127.0.0.1:9")}}}});
    }

private:
    QTemporaryDir m_folder;
};
