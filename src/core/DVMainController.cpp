#include "DVMainController.h"

#include "DVAPISession.h"
#include "DVAnalytics.h"
#include "DVFolders.h"
#include "DVForegroundWatch.h"
#include "DVHttpTransport.h"
#include "DVInAppTools.h"
#include "DVKeychain.h"
#include "DVLookup.h"
#include "DVOffSwitch.h"
#include "DVQtUse.h"
#include "DVRecentEvents.h"
#include "DVSession.h"
#include "DVTableFiles.h"
#include "DVTranslator.h"

#include <Dorvane/DVNotificationCenter.h>

#include <QCoreApplication>
#include <QMap>

#include <unicode/uloc.h>

#include <cstdlib>

namespace {

// Together at most 50 ms: the host's exit must not feel them.
constexpr int analyticsEndMs = 20;
constexpr int networkEndMs = 15;
constexpr int parsingEndMs = 10;

QString layoutDirectionOf(const DVLocale &locale)
{
    const bool rightToLeft = uloc_isRightToLeft(locale.identifier().toLatin1().constData());
    return rightToLeft ? QStringLiteral("RTL") : QStringLiteral("LTR");
}

} // namespace

DVMainController &DVMainController::sharedInstance()
{
    static auto *controller = new DVMainController; // never destroyed: lookups outlive everything else
    return *controller;
}

DVMainController::DVMainController()
{
    DVLocaleStrings::setStringsObserver([this] { publishSnapshot(); });
    DVLocaleStrings::setBaseStringsSource([this] { return m_baseLocaleStrings; });
}

void DVMainController::setLocaleStrings(std::shared_ptr<DVLocaleStrings> strings)
{
    if (m_localeStrings)
        m_localeStrings->setRetired(true);
    m_localeStrings = std::move(strings);
    if (m_localeStrings)
        m_localeStrings->setRetired(false);
    DVState::shared().setCurrentLocaleIdentifier(locale().identifier());
    publishSnapshot();
}

void DVMainController::setBaseLocaleStrings(std::shared_ptr<DVBaseLocaleStrings> strings)
{
    m_baseLocaleStrings = std::move(strings);
    DVState::shared().setCurrentLocaleIdentifier(locale().identifier());
    publishSnapshot();
}

DVLocale DVMainController::locale() const
{
    if (m_localeStrings)
        return m_localeStrings->locale();
    return m_baseLocaleStrings ? m_baseLocaleStrings->locale() : DVLocale();
}

QList<DVLocale> DVMainController::availableLocales() const
{
    QMap<QString, DVLocale> locales; // one identifier has two spellings
    const auto add = [&](const DVLocale &locale) {
        const QString key = locale.identifier().replace(u'-', u'_');
        if (locale.isValid() && !locales.contains(key))
            locales.insert(key, locale);
    };
    add(locale());
    if (m_baseLocaleStrings)
        add(m_baseLocaleStrings->locale());
    for (const DVLocale &locale : DVLocaleStrings::localesOnDevice() + DVLocaleStrings::packagedLocales())
        add(locale);
    return locales.values();
}

QString DVMainController::dorvaneFilesFolder()
{
    return DVFolders::dorvaneFiles();
}

QString DVMainController::cacheFolder()
{
    return DVFolders::caches();
}

void DVMainController::publishSnapshot()
{
    auto snapshot = std::make_shared<DVLookupSnapshot>();
    snapshot->launched = appLaunched();
    snapshot->needCues = stringsNeedCues();
    snapshot->cuesAtQtDoor = stringsNeedCues() && m_tools && m_tools->textsNeedMarkers();
    if (snapshot->cuesAtQtDoor)
        snapshot->unmarked = m_unmarkedTexts ? m_unmarkedTexts : std::make_shared<DVUnmarkedTexts>();
    snapshot->editionEnabled = editionEnabled();
    if (m_localeStrings) {
        snapshot->localeServes = true;
        snapshot->locale = m_localeStrings->loadedStrings();
        snapshot->dirty = m_localeStrings->dirtyLayers();
        snapshot->localeRule = DVPluralForm::ruleForLocale(m_localeStrings->locale());
        if (!snapshot->locale.isEmpty())
            snapshot->layoutDirection = layoutDirectionOf(m_localeStrings->locale());
    }
    if (m_baseLocaleStrings) {
        snapshot->baseServes = true;
        snapshot->base = m_baseLocaleStrings->loadedStrings();
        snapshot->baseRule = DVPluralForm::ruleForLocale(m_baseLocaleStrings->locale());
    }
    snapshot->pictureKeys = snapshot->dirty.hasPictureKeys() || snapshot->locale.hasPictureKeys() ||
                            snapshot->base.hasPictureKeys();
    auto &published = DVLookup::published();
    const auto before = published.owner() ? published.owner() : std::make_shared<DVLookupSnapshot>();
    if (m_tools && before->cuesAtQtDoor != snapshot->cuesAtQtDoor)
        m_tools->textsAreMarked(snapshot->cuesAtQtDoor);
    published.publish(snapshot);
    if (!m_translatorPlace || snapshot->servesSameAs(*before))
        return;
    ++m_record.publications;
    m_translatorPlace->moveToFront();
    if (m_translatorPlace->announceChange())
        ++m_record.languageChanges;
}

void DVMainController::applicationBegins()
{
    DVLookup::interceptBundleLookup();
}

static void endThreads()
{
    DVAnalytics::sharedInstance().finish(analyticsEndMs);
    DVHttpTransport::shutDown(networkEndMs);
    DVTableFiles::finish(parsingEndMs);
}

// exit() may come while the application object lives. A thread that then goes on would find Qt taken down.
void DVMainController::endThreadsWithProcess()
{
    static const bool registered = std::atexit([] {
                                       endThreads();
                                       DVQtUse::end();
                                   }) == 0;
    Q_UNUSED(registered)
}

void DVMainController::applicationEnds()
{
    m_translatorPlace.reset();
    m_foregroundWatch.reset();
    for (const int observer : std::as_const(m_observers))
        DVNotificationCenter::defaultCenter().removeObserver(observer);
    m_observers.clear();
    DVSession::sharedInstance().forget();
    DVKeychain::forget();
    m_tools.reset();
    m_record = {};
    DVRecentEvents::shared().clear();
    const bool started = m_launchMonotonic != 0;
    m_launchMonotonic = 0;
    auto &state = DVState::shared();
    state.appLaunched = state.servingMode = state.editionMode = state.screenshotMode = state.mixedMode =
        false;
    reset();
    setBaseLocaleStrings(nullptr);
    if (!started)
        return;
    endThreads();
    dv_reclaimRetired();
    state.log = state.debug = state.uiTest = state.allowLocaleChange = false;
    state.analyticsEnabled = true;
    state.pullTimeout = 0;
    state.setAppId({});
    state.setAesKey({});
    DVAPISession::sharedInstance() = {};
}

// Before the host's own code runs, the bundle's lookup is ours; until a start it passes everything on. The
// translator is installed by a start: an application that never starts the library has nothing of it.
static void dv_applicationBegins()
{
    if (dv_isSwitchedOff())
        return;
    qAddPostRoutine([] { DVMainController::sharedInstance().applicationEnds(); });
    DVMainController::sharedInstance().applicationBegins();
}
Q_COREAPP_STARTUP_FUNCTION(dv_applicationBegins)
