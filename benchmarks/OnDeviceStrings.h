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

// One at a time: folders and the library are the process's. Nothing is fetched, unless it has expired.
class OnDeviceStrings
{
public:
    explicit OnDeviceStrings(const QByteArray &xliff, int freshDays = 365)
    {
        use(m_folder.path());
        const auto store = DVLocaleStrings::localeStringsForLocale(DVLocale(QStringLiteral("fr")));
        if (const auto error = DVPrivateFile::write(store->publishedFilePath(), xliff))
            qFatal("%s", qPrintable(error->description));
        store->setExpirationDate(QDateTime::currentDateTimeUtc().addDays(freshDays));
    }
    ~OnDeviceStrings() { takeOut(); }
    Q_DISABLE_COPY_MOVE(OnDeviceStrings)

    QString path() const { return m_folder.path(); }

    // The strings that an object in another process put into this folder.
    static void use(const QString &folder)
    {
        QLoggingCategory::setFilterRules(QStringLiteral("dorvane=false"));
        QCoreApplication::setApplicationVersion(QStringLiteral("1.0"));
        DVFolders::setDocuments(folder);
        DVUserDefaults::standard().reload();
    }
    // As at the application's end: no translator of the library is left, no strings are held.
    static void takeOut()
    {
        DVMainController::sharedInstance().applicationEnds();
        QCoreApplication::processEvents();
    }
    // As at the application's beginning.
    static void putIn() { DVMainController::sharedInstance().applicationBegins(); }
    static constexpr QLatin1StringView key{"AAAAAAAAAAAAAAAAAAAAAA=="};
    // The call that an application makes.
    static void start(bool analytics = false, const QString &server = QStringLiteral("http://127.0.0.1:9"))
    {
        Dorvane::startWithProjectId(
            QStringLiteral("bench"),
            {{QStringLiteral("mode"), QStringLiteral("DVOTAServing")},
             {QStringLiteral("otaKey"), QString(key)},
             {QStringLiteral("forceLocale"), QStringLiteral("fr")},
             {QStringLiteral("analytics"), analytics},
             {QStringLiteral("logging"), QStringLiteral("off")},
             {QStringLiteral("servers"),
              QVariantMap{{QStringLiteral("deliveryCdn"), server}, {QStringLiteral("api"), server}}}});
    }

private:
    QTemporaryDir m_folder;
};
