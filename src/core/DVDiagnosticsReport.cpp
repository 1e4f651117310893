// The controller's answer to Dorvane::diagnostics().
#include "DVAnalytics.h"
#include "DVClock.h"
#include "DVDevice.h"
#include "DVDiagnosticWords.h"
#include "DVHttpTransport.h"
#include "DVMainController.h"
#include "DVMainQueue.h"
#include "DVNetwork.h"
#include "DVOffSwitch.h"
#include "DVRecentEvents.h"
#include "DVServerUrl.h"
#include "DVStringsFileName.h"
#include "DVVersion.h"

#include <QCoreApplication>
#include <QFileInfo>

#include <cmath>

using namespace Qt::Literals::StringLiterals;

namespace {

using File = DVDiagnostics::File;

// Adds the file unless there is none.
File *addFile(QList<File> *files, File::Source source, const DVLocale &locale, const QString &path)
{
    const QFileInfo info(path);
    if (path.isEmpty() || !info.exists())
        return nullptr;
    File file;
    file.source = source;
    file.locale = locale.identifier();
    file.path = path;
    file.size = info.size();
    file.stored = info.lastModified().toUTC();
    files->append(file);
    return &files->last();
}

void addLoaded(File *file, const DVLocaleStrings &strings)
{
    for (const DVLoadedFile &loaded : strings.loadedFiles()) {
        if (!file || loaded.path != file->path)
            continue;
        file->loaded = true;
        file->strings = loaded.strings ? loaded.strings->size() : 0;
    }
}

QList<File> filesOf(const DVLocaleStrings &strings)
{
    QList<File> files;
    const DVLocale locale = strings.locale();
    addFile(&files, File::Source::Edited, locale, strings.dirtyFilePath());
    if (File *file = addFile(&files, File::Source::OverTheAir, locale, strings.publishedFilePath())) {
        file->published = strings.lastDownloadDate();
        file->expires = strings.expirationDate();
        file->expired = !file->expires.isValid() || DVClock::now() >= file->expires;
        addLoaded(file, strings);
    }
    if (const QString path = strings.publishedFilePath(); !path.isEmpty())
        addFile(&files, File::Source::Replaced, locale, dv_previousFilePath(path));
    addLoaded(addFile(&files, File::Source::Packaged, locale, strings.packagedFilePath()), strings);
    return files;
}

QList<File> filesOf(const DVBaseLocaleStrings &strings)
{
    QList<File> files;
    if (File *file =
            addFile(&files, File::Source::Packaged, strings.locale(), strings.packagedStringsPath())) {
        file->strings = strings.packagedStrings().keyCount();
        file->loaded = file->strings > 0;
    }
    return files;
}

QList<DVDiagnostics::Delivery> deliveries()
{
    QList<DVDiagnostics::Delivery> list;
    const auto byPath = DVRecentEvents::shared().deliveries();
    for (auto entry = byPath.constBegin(); entry != byPath.constEnd(); ++entry) {
        DVDiagnostics::Delivery delivery = *entry;
        if (const auto name = DVStringsFileName::parse(QFileInfo(entry.key()).fileName()))
            delivery.locale = name->locale;
        list.append(delivery);
    }
    return list;
}

DVDiagnostics::Servers servers()
{
    return {DVServerUrl::baseUrlForServer(DVServerApi), DVServerUrl::baseUrlForServer(DVServerSso),
            DVServerUrl::baseUrlForServer(DVServerDelivery),
            DVServerUrl::baseUrlForServer(DVServerDeliveryCdn)};
}

DVDiagnostics::Analytics analytics()
{
    DVDiagnostics::Analytics state;
    state.enabled = DVState::shared().analyticsEnabled;
    if (const auto status = DVAnalytics::sharedInstance().status()) {
        state.waiting = status->waiting;
        if (status->lastSent)
            state.lastSent = QDateTime::fromMSecsSinceEpoch(std::llround(*status->lastSent * 1000), Qt::UTC);
    }
    return state;
}

void describeDevice(DVDiagnostics *value)
{
    value->applicationVersion = dv_applicationVersion();
    value->deviceLanguages = DVDevice::preferredLanguages();
    value->deviceLocale = DVDevice::currentLocale().identifier();
}

} // namespace

DVDiagnostics DVMainController::diagnostics() const
{
    DVDiagnostics value;
    value.libraryVersion = QString(dv_sdkVersion);
    if (dv_isSwitchedOff()) {
        value.start = DVDiagnostics::Start::SwitchedOff;
        return value;
    }
    if (!DVMainQueue::isMainThread()) {
        value.startInWords = QCoreApplication::instance() ? u"only the main thread can tell"_qs
                                                          : u"there is no application object"_qs;
        return value;
    }
    value = m_record;
    value.libraryVersion = QString(dv_sdkVersion);
    value.launched = appLaunched();
    describeDevice(&value);
    if (m_launchMonotonic == 0)
        return value;
    value.projectId = appId();
    value.textsAreMarked = stringsNeedCues();
    value.choice = servingMode() ? dv_inWords(m_record.fallback, m_record.choice)
                                 : u"no locale is chosen in this mode"_qs;
    describeStrings(&value);
    value.deliveries = deliveries();
    value.lastError = DVRecentEvents::shared().lastError();
    value.requests = DVHttpTransport::requestCount();
    value.servers = servers();
    value.analytics = analytics();
    return value;
}

void DVMainController::describeStrings(DVDiagnostics *value) const
{
    if (m_localeStrings) {
        value->servedLocale = m_localeStrings->locale().identifier();
        value->servedStrings = m_localeStrings->loadedStrings().keyCount();
        value->files += filesOf(*m_localeStrings);
    }
    if (m_baseLocaleStrings) {
        value->baseLocale = m_baseLocaleStrings->locale().identifier();
        value->baseStrings = m_baseLocaleStrings->loadedStrings().keyCount();
        value->files += filesOf(*m_baseLocaleStrings);
    }
}
