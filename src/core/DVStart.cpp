// The start of the controller: options, modes, branches.
#include "DVAPISession.h"
#include "DVAnalytics.h"
#include "DVClock.h"
#include "DVDevice.h"
#include "DVForegroundWatch.h"
#include "DVLog.h"
#include "DVMainController.h"
#include "DVMainQueue.h"
#include "DVOffSwitch.h"
#include "DVOptions.h"
#include "DVServerUrl.h"
#include "DVTranslator.h"
#include "DVVersion.h"

#include <Dorvane/DVBundle.h>
#include <Dorvane/DVNotificationCenter.h>
#include <Dorvane/Dorvane.h>

#include <QCoreApplication>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr qint64 defaultSyncTimeout = 3; // seconds

void takeApiCredentials(const QVariantMap &options)
{
    auto &session = DVAPISession::sharedInstance();
    if (const auto user = DVOptions::string(options, DVAPIUserId))
        session.userId = *user;
    if (const auto secret = DVOptions::string(options, DVAPIUserSecret))
        session.userSecret = *secret;
}

void parseLogging(const QVariantMap &options)
{
    auto &state = DVState::shared();
    const QVariant logging = options.value(u"logging"_qs);
    if (logging.isNull())
        return;
    const QString value = DVOptions::string(options, "logging"_L1).value_or(QString());
    if (value == "DVLoggingDebug"_L1) {
        state.debug = true;
        dv_logDebug(u"Debug enabled"_qs);
    } else if (value != "DVLoggingInfo"_L1) {
        state.log = false;
    }
}

// One line, whatever the options say about logging, and then silence.
void saySwitchedOff()
{
    auto &state = DVState::shared();
    const bool logBefore = state.log.exchange(true);
    dv_logInfo(u"Dorvane disabled by DORVANE_DISABLED in the environment"_qs);
    state.log = logBefore;
}

} // namespace

void DVMainController::startWithProjectId(const QString &projectId, const QVariantMap &options)
{
    if (dv_isSwitchedOff())
        return saySwitchedOff();
    const bool logBefore = DVState::shared().log.exchange(true);
    if (!canStart()) {
        DVState::shared().log = logBefore;
        return;
    }
    dv_refreshLogSink();
    if (DVOptions::string(options, "mode"_L1) == u"DVDisabled"_qs) {
        if (!appLaunched())
            m_record.start = DVDiagnostics::Start::Disabled;
        dv_logInfo(u"Dorvane disabled"_qs);
        return;
    }
    if (projectId.isNull()) {
        failStart(u"Failed to start Dorvane: invalid Project ID"_qs);
        return;
    }
    dv_logInfo(QString(u"Starting up Dorvane v" + dv_sdkVersion));
    m_record.mode.clear();
    m_record.startInWords.clear();
    m_launchTime = DVClock::now();
    m_launchMonotonic = DVClock::monotonicNanoseconds();
    DVState::shared().setAppId(projectId);
    const bool parsed = parseLaunchOptions(options);
    clearModesWithoutTools(parsed);
    if (!parsed)
        return;
    setupBaseLocale();
    runMode(options);
    DVAnalytics::trackEvent(u"Launch"_qs);
    endThreadsWithProcess(); // behind what Qt has registered for the work so far
    m_record.start = DVDiagnostics::Start::Launched;
    DVState::shared().appLaunched = true;
    if (!m_translatorPlace)
        m_translatorPlace = std::make_unique<DVTranslatorPlace>();
    publishSnapshot();
}

bool DVMainController::canStart() const
{
    if (!QCoreApplication::instance()) {
        dv_logInfo(u"Failed to start Dorvane: create the application object first"_qs);
        return false;
    }
    if (!DVMainQueue::isMainThread()) {
        dv_logInfo(u"Failed to start Dorvane: start it on the main thread"_qs);
        return false;
    }
    return true;
}

bool DVMainController::failStart(const QString &message)
{
    m_record.start = DVDiagnostics::Start::Failed;
    m_record.startInWords = message;
    dv_logInfo(message);
    return false;
}

bool DVMainController::parseLaunchOptions(const QVariantMap &options)
{
    auto &state = DVState::shared();
    parseLogging(options);
    if (!options.value(u"mode"_qs).isNull()) {
        const QString mode = DVOptions::string(options, "mode"_L1).value_or(QString());
        m_record.mode = mode;
        state.servingMode = mode == "DVOTAServing"_L1;
        state.screenshotMode = mode == "DVContextCapture"_L1;
        state.mixedMode = mode == "DVInAppReviewAndContextCapture"_L1;
        state.editionMode = mode == "DVInAppReview"_L1 || state.mixedMode;
        if (state.editionMode)
            dv_logInfo(u"In-App Review enabled"_qs);
        if (state.servingMode && !parseServingOptions(options))
            return false;
        if ((state.screenshotMode || state.mixedMode) && !parseCaptureOptions(options))
            return false;
    }
    if (const auto uiTest = DVOptions::boolean(options, "UITests"_L1))
        state.uiTest = *uiTest;
    state.pullTimeout = DVOptions::integer(options, "syncTimeout"_L1).value_or(defaultSyncTimeout);
    DVServerUrl::setEnvironment(DVOptions::string(options, "environment"_L1) == u"stage"_qs ? 0 : 1);
    state.analyticsEnabled = DVOptions::boolean(options, "analytics"_L1).value_or(true);
    return applyServers(options);
}

bool DVMainController::parseServingOptions(const QVariantMap &options)
{
    auto &state = DVState::shared();
    dv_logInfo(u"OTA Serving enabled"_qs);
    const auto key = DVOptions::string(options, DVOTAKey);
    if (!key)
        return failStart(
            u"Failed to start Dorvane: OTA key missing. Please include the OTA key in the options "
            "dictionary as DVOTAKey."_qs);
    state.setAesKey(*key);
    if (const auto allow = DVOptions::boolean(options, "allowLocaleChange"_L1))
        state.allowLocaleChange = *allow;
    takeApiCredentials(options);
    return true;
}

bool DVMainController::parseCaptureOptions(const QVariantMap &options)
{
    dv_logInfo(u"Context Capture enabled"_qs);
    takeApiCredentials(options);
    const auto &session = DVAPISession::sharedInstance();
    if (!session.userSecret.isNull() && !session.userId.isNull())
        return true;
    return failStart(
        u"Failed to start Dorvane: API User ID or Secret missing for Context Capture mode. Please include "
        "the API User ID and Secret in the options dictionary as DVAPIUserId and DVAPIUserSecret."_qs);
}

bool DVMainController::applyServers(const QVariantMap &options)
{
    const QString refused =
        DVServerUrl::setServers(DVOptions::map(options, "servers"_L1).value_or(QVariantMap()));
    if (refused.isNull())
        return true;
    return failStart(QString(u"Failed to start Dorvane: server URL must be https: " + refused));
}

// Review and capture come with a library of their own. Without it texts must carry no markers.
void DVMainController::clearModesWithoutTools(bool say)
{
    auto &state = DVState::shared();
    if (m_tools || (!state.editionMode && !state.screenshotMode))
        return;
    if (say) {
        m_record.startInWords =
            m_whyNoTools.isEmpty()
                ? u"In-App Review and Context Capture need the library Dorvane::Review, which is not linked"_qs
                : m_whyNoTools;
        dv_logInfo(m_record.startInWords);
    }
    state.editionMode = state.screenshotMode = state.mixedMode = false;
}

void DVMainController::setupBaseLocale()
{
    const QVariant region =
        DVBundle::mainBundle().objectForInfoDictionaryKey(u"CFBundleDevelopmentRegion"_qs);
    const bool named = region.typeId() == QMetaType::QString && !region.toString().isEmpty();
    const DVLocale base(named ? region.toString() : u"en"_qs);
    setBaseLocaleStrings(DVBaseLocaleStrings::localeStringsForLocale(base));
    dv_logDebug(QString(u"Project base locale " + base.identifier()));
}

void DVMainController::runMode(const QVariantMap &options)
{
    connectSession();
    if (editionMode()) {
        setupEditionActions();
        return setupEditionMode();
    }
    if (!servingMode()) {
        if (screenshotMode())
            setupContextCapture();
        return;
    }
    if (const auto forced = DVOptions::string(options, "forceLocale"_L1))
        forceOTALocale(*forced, true, {});
    else
        autoSetLocale();
    setupServingEvents();
}

void DVMainController::setupServingEvents()
{
    auto &center = DVNotificationCenter::defaultCenter();
    for (const int observer : std::as_const(m_observers))
        center.removeObserver(observer);
    QObject *application = QCoreApplication::instance();
    if (!m_foregroundWatch)
        m_foregroundWatch = std::make_unique<DVForegroundWatch>();
    QObject *context = m_foregroundWatch.get();
    m_observers = {
        center.addObserver(context, DVApplicationWillEnterForegroundNotification, application,
                           [this](const DVNotification &) { refreshStrings(); }),
        center.addObserver(context, DVCurrentLocaleDidChangeNotification, application,
                           [this](const DVNotification &) { localeDidChange(); }),
    };
}
