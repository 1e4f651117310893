// The controller's part of in-app review and context capture: who reviews what, without any screen.
#include "DVInAppTools.h"
#include "DVLog.h"
#include "DVMainController.h"
#include "DVMainQueue.h"
#include "DVPendingIssues.h"
#include "DVReviewDefaults.h"
#include "DVSession.h"
#include "DVUnmarkedTexts.h"
#include "DVUserDefaults.h"

using namespace Qt::Literals::StringLiterals;

void DVMainController::setInAppTools(std::unique_ptr<DVInAppTools> tools)
{
    m_tools = std::move(tools);
}

void DVMainController::neverMark(const QString &context, const QStringList &keys)
{
    auto texts = m_unmarkedTexts ? std::make_shared<DVUnmarkedTexts>(*m_unmarkedTexts)
                                 : std::make_shared<DVUnmarkedTexts>();
    texts->add(context, keys);
    m_unmarkedTexts = std::move(texts);
    if (appLaunched())
        publishSnapshot();
}

void DVMainController::connectSession()
{
    auto &session = DVSession::sharedInstance();
    if (m_tools) {
        session.setLoginForm([this](std::function<void(bool)> completion) {
            openLoginFormWithCompletion(std::move(completion));
        });
    }
    session.setResetController([this] { reset(); });
    session.setDeleteEdits([] {
        DVPendingIssues::clear();
        DVLocaleStrings::removeReviewFromDevice();
    });
    session.setChanged([this] { publishSnapshot(); });
}

void DVMainController::openLoginFormWithCompletion(std::function<void(bool)> completion)
{
    if (m_tools)
        return m_tools->openLoginForm(std::move(completion));
    DVMainQueue::post([then = std::move(completion)] { then(true); });
}

void DVMainController::captureWindow(QObject *window, std::function<void(const DVErrorOr &)> completion)
{
    if (m_tools && (screenshotMode() || mixedMode()))
        return m_tools->captureWindow(window, std::move(completion));
    const DVError error{u"dorvane.SDK"_qs, 500, u"Context capture mode is not enabled"_qs};
    DVMainQueue::post([error, then = std::move(completion)] { then(error); });
}

void DVMainController::setupEditionActions()
{
    m_tools->setupEditionActions();
    DVSession::sharedInstance().loadSavedCredentials();
}

void DVMainController::setupContextActions()
{
    m_tools->setupContextActions();
}

void DVMainController::loadSavedParameters()
{
    const auto &defaults = DVUserDefaults::standard();
    if (const auto archive = defaults.dataForKey(DVReviewDefaults::workflowStep)) {
        if (const auto step = DVWorkflowStep::unarchived(*archive)) {
            setWorkflowStep(step);
            dv_logDebug(QString(u"Using saved workflow step " + step->name));
        }
    }
    if (const auto identifier = defaults.stringForKey(DVReviewDefaults::locale)) {
        dv_logDebug(QString(u"Using saved locale " + *identifier));
        setLocaleStrings(DVLocaleStrings::localeStringsForLocale(DVLocale(*identifier)));
    }
}

void DVMainController::setupEditionMode()
{
    loadSavedParameters();
    if (m_localeStrings)
        m_localeStrings->loadStringsWithBaseLocaleStrings(m_baseLocaleStrings.get());
    else
        m_baseLocaleStrings->loadStrings();
}

void DVMainController::setupContextCapture()
{
    setupContextActions();
    m_baseLocaleStrings->loadStrings();
    DVMainQueue::postAfterFirstTurn([this, base = std::weak_ptr(m_baseLocaleStrings)] {
        const auto strings = base.lock();
        if (!strings)
            return;
        strings->pullWithCompletion([this, base](const DVErrorOr &) {
            const auto pulled = base.lock();
            if (!pulled || pulled != m_baseLocaleStrings)
                return;
            pulled->loadStrings();
            publishSnapshot();
        });
    });
}

void DVMainController::setWorkflowStep(const std::optional<DVWorkflowStep> &step)
{
    m_workflowStep = step;
    auto &state = DVState::shared();
    state.setWorkflowStep(step ? step->uid : QString(), step ? step->name : QString());
    state.canTranslate = step && step->canTranslate;
    publishSnapshot();
}

void DVMainController::reset()
{
    m_workflowStep.reset();
    DVState::shared().setWorkflowStep({}, {});
    DVState::shared().canTranslate = false;
    setLocaleStrings(nullptr);
}
