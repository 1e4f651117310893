// The controller's choice of the locale to serve, at launch and later.
#include "DVAnalytics.h"
#include "DVClock.h"
#include "DVDiagnosticWords.h"
#include "DVLocaleIdentifiers.h"
#include "DVLog.h"
#include "DVMainController.h"
#include "DVMainQueue.h"

#include <QFileInfo>
#include <QSet>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int maximumAttempts = 3;
constexpr double nanosecondsPerSecond = 1e9;

QString eventName()
{
    return u"First launch"_qs;
}

QVariantMap newReport()
{
    return {{u"Success"_qs, false}, {u"UsedPackagedStrings"_qs, false}};
}

} // namespace

// The limit counts from the start call; each blocking download then gets the whole limit for itself.
bool DVMainController::launchTimeIsUp() const
{
    const double elapsed = double(DVClock::monotonicNanoseconds() - m_launchMonotonic) / nanosecondsPerSecond;
    return elapsed > double(pullTimeout());
}

void DVMainController::beginChoice(const QString &why)
{
    m_record.choice = why;
    m_record.fallback = DVDiagnostics::Fallback::None;
    m_record.attempts.clear();
}

void DVMainController::noteAttempt(const DVLocaleStrings &strings, const QString &outcome)
{
    m_record.attempts.append({strings.locale().identifier(), outcome});
}

void DVMainController::noteServed(const DVLocaleStrings &strings, DVNeedsSync needed)
{
    if (!m_record.attempts.isEmpty())
        m_record.fallback = DVDiagnostics::Fallback::LaterCandidate;
    if (needed == DVNeedsSync::Missing)
        noteAttempt(strings, u"downloaded while the start waited"_qs);
    else if (needed == DVNeedsSync::UpToDate)
        noteAttempt(strings, u"on the device, not expired"_qs);
    else if (QFileInfo::exists(strings.publishedFilePath()))
        noteAttempt(strings, u"on the device, expired: asked for newer strings in the background"_qs);
    else
        noteAttempt(strings, u"packaged: asked for newer strings in the background"_qs);
}

void DVMainController::noteNothingServed()
{
    if (m_localeStrings)
        return;
    const bool packaged = m_baseLocaleStrings && !m_baseLocaleStrings->loadedStrings().isEmpty();
    m_record.fallback =
        packaged ? DVDiagnostics::Fallback::BaseLocale : DVDiagnostics::Fallback::ApplicationsOwn;
}

// Lookups see the store with its first load, never before it: nobody reads an empty locale in between.
void DVMainController::serve(const std::shared_ptr<DVLocaleStrings> &strings)
{
    m_localeStrings = strings;
    DVState::shared().setCurrentLocaleIdentifier(locale().identifier());
}

bool DVMainController::loadServedStrings()
{
    return m_localeStrings && m_localeStrings->loadStringsWithBaseLocaleStrings(m_baseLocaleStrings.get());
}

DVMainController::Attempt DVMainController::syncAtLaunch(const std::shared_ptr<DVLocaleStrings> &strings,
                                                         const QString &errorKey, QVariantMap *report)
{
    if (launchTimeIsUp()) {
        noteAttempt(*strings, QStringLiteral("not downloaded, the start had taken longer than %1 s by then")
                                  .arg(pullTimeout()));
        report->insert(errorKey, u"App taking too long to start, bailing"_qs);
        dv_logInfo(u"Taking too long to start app, bailing..."_qs);
        return Attempt::Bailed;
    }
    dv_logDebug(QStringLiteral("Foreground sync of %1 strings").arg(strings->locale().identifier()));
    const DVErrorOr error = strings->pullSyncFromProdWithTimeout(double(pullTimeout()));
    if (error) {
        noteAttempt(*strings, QString(u"could not be downloaded: " + dv_inWords(*error)));
        report->insert(errorKey, QStringLiteral("%1 - %2").arg(error->code).arg(error->description));
        dv_logInfo(error->description);
        return Attempt::Failed;
    }
    noteServed(*strings, DVNeedsSync::Missing);
    serve(strings);
    return Attempt::Served;
}

void DVMainController::refreshInBackground(const std::shared_ptr<DVLocaleStrings> &strings,
                                           const Completion &then)
{
    dv_logDebug(QStringLiteral("Background sync of %1 strings").arg(strings->locale().identifier()));
    DVMainQueue::postAfterFirstTurn([this, strings, then] {
        strings->pullFromProdForce(true, [this, then](bool success) {
            if (success)
                loadServedStrings();
            if (then)
                then(success);
        });
    });
}

DVMainController::Attempt DVMainController::attemptLocale(int index, const DVLocale &locale,
                                                          QVariantMap *report, bool *send)
{
    const auto strings = DVLocaleStrings::localeStringsForLocale(locale);
    const DVNeedsSync needed = strings->needsSync();
    if (needed == DVNeedsSync::Missing) {
        *send = true;
        const Attempt attempt = syncAtLaunch(strings, QStringLiteral("%1error").arg(index), report);
        if (attempt != Attempt::Served)
            return attempt;
    } else {
        noteServed(*strings, needed);
        serve(strings);
    }
    if (!loadServedStrings())
        return Attempt::Failed;
    // A file that did not parse has gone, or given way to the one before: then it is time to ask again.
    if (needed == DVNeedsSync::Stale || (needed == DVNeedsSync::UpToDate && strings->needsSync() != needed))
        refreshInBackground(strings, {});
    report->insert(u"Success"_qs, true);
    report->insert(u"LocaleUsed"_qs, locale.identifier());
    report->insert(u"Attempts"_qs, index + 1);
    dv_logDebug(QString(u"Using locale " + locale.identifier()));
    return Attempt::Served;
}

void DVMainController::autoSetLocale()
{
    dv_logDebug(u"Figuring out user's locale."_qs);
    beginChoice(u"choice of the device's languages"_qs);
    DVAnalytics::startEventTimer(eventName());
    QVariantMap report = newReport();
    QSet<QString> tried;
    bool send = false;
    for (int index = 0; index < maximumAttempts; ++index) {
        const QString candidate = dv_getDeviceLocaleAttempt(index);
        if (candidate.isNull() || tried.contains(candidate))
            continue;
        tried.insert(candidate);
        dv_logDebug(QString(u"Attempting " + candidate));
        report.insert(QStringLiteral("%1locale").arg(index), candidate);
        if (attemptLocale(index, localeFromDorvneIdentifier(candidate), &report, &send) != Attempt::Failed)
            break;
    }
    if (!m_localeStrings)
        fallBackToPackaged(&report);
    if (send)
        DVAnalytics::stopEventTimer(eventName(), report);
}

void DVMainController::fallBackToPackaged(QVariantMap *report)
{
    noteNothingServed();
    if (!m_baseLocaleStrings) {
        dv_logDebug(u"Could not find any packaged strings"_qs);
        return;
    }
    const QString base = m_baseLocaleStrings->locale().identifier();
    report->insert(u"LocaleUsed"_qs, base);
    report->insert(u"UsedPackagedStrings"_qs, true);
    dv_logDebug(
        QString(u"Could not find strings for user's locale, falling back to packaged locale: " + base));
}

void DVMainController::forceOTALocale(const QString &identifier, bool allowSync,
                                      const Completion &withCompletion)
{
    const auto complete = [&withCompletion](bool success) {
        if (withCompletion)
            withCompletion(success);
    };
    dv_logDebug(QString(u"Using forced locale " + identifier));
    beginChoice(allowSync ? u"asked for by the option forceLocale"_qs
                          : u"asked for by the application, with setLocaleWithId()"_qs);
    const auto strings = DVLocaleStrings::localeStringsForLocale(localeFromDorvneIdentifier(identifier));
    const DVNeedsSync needed = strings->needsSync();
    if (allowSync && needed == DVNeedsSync::Missing) {
        DVAnalytics::startEventTimer(eventName());
        QVariantMap report = newReport();
        report.insert(u"LocaleUsed"_qs, identifier);
        report.insert(u"Attempts"_qs, 1);
        const Attempt attempt = syncAtLaunch(strings, u"error"_qs, &report);
        if (attempt != Attempt::Served)
            noteNothingServed();
        if (attempt == Attempt::Bailed)
            return complete(false);
        const bool success = attempt == Attempt::Served && loadServedStrings();
        report.insert(u"Success"_qs, success);
        DVAnalytics::stopEventTimer(eventName(), report);
        return complete(success);
    }
    if (needed == DVNeedsSync::Missing)
        noteAttempt(*strings, u"nothing on the device yet: downloading in the background"_qs);
    else
        noteServed(*strings, needed);
    serve(strings);
    const bool loaded = loadServedStrings();
    if (needed != DVNeedsSync::UpToDate)
        return refreshInBackground(strings, withCompletion);
    if (strings->needsSync() != needed) // the file did not parse
        refreshInBackground(strings, {});
    complete(loaded);
}

void DVMainController::changeOTALocale(const QString &identifier, const Completion &andCompletion)
{
    if (!allowLocaleChange()) {
        if (andCompletion) {
            dv_logInfo(u"Can't set locale, allow locale change option not set."_qs);
            andCompletion(false);
        }
        return;
    }
    dv_logInfo(QString(u"Changing locale to " + identifier));
    forceOTALocale(identifier, false, andCompletion);
}

void DVMainController::refreshStrings()
{
    const auto strings = m_localeStrings;
    if (!strings || strings->needsSync() == DVNeedsSync::UpToDate)
        return;
    strings->pullFromProdForce(false, [this](bool success) {
        if (success)
            loadServedStrings();
    });
}

void DVMainController::localeDidChange()
{
    dv_logInfo(u"Locale changed"_qs);
    setLocaleStrings(nullptr);
    autoSetLocale();
}
