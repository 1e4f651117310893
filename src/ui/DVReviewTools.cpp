#include "DVReviewTools.h"

#include "DVCleanTexts.h"
#include "DVGestureWatch.h"
#include "DVMainController.h"
#include "DVMainQueue.h"
#include "DVPresenters.h"
#include "DVState.h"

#include <QApplication>

#include <memory>
#include <utility>

DVReviewTools::DVReviewTools() = default;

DVReviewTools::~DVReviewTools()
{
    DVGestureWatch::remove();
}

// Texts are kept clean from now on, before the host makes its windows; gestures come when it has made some.
void DVReviewTools::setup(bool actions)
{
    if (!m_cleanTexts)
        m_cleanTexts = std::make_unique<DVCleanTexts>();
    const auto cover = actions ? DVGestureWatch::Cover::EditionAndActions : DVGestureWatch::Cover::Edition;
    DVMainQueue::post([cover, alive = QPointer<QObject>(&m_guard)] {
        const DVState &state = DVState::shared();
        if (alive && (state.editionMode || state.screenshotMode))
            DVGestureWatch::install().cover(cover);
    });
}

void DVReviewTools::setupEditionActions()
{
    setup(true);
}

void DVReviewTools::setupContextActions()
{
    setup(false);
}

// Also where the locale may change while strings are only served.
void DVReviewTools::textsAreMarked(bool marked)
{
    if (!marked) { // another start has ended review and capture
        m_cleanTexts.reset();
        DVGestureWatch::remove();
    } else if (!m_cleanTexts) {
        m_cleanTexts = std::make_unique<DVCleanTexts>();
    }
}

void DVReviewTools::openLoginForm(std::function<void(bool)> completion)
{
    DVPresenters::shared().login->openLoginFormWithCompletion(std::move(completion));
}

void DVReviewTools::captureWindow(QObject *window, std::function<void(const DVErrorOr &)> completion)
{
    DVPresenters::shared().capture->captureWindow(window, std::move(completion));
}

void dorvane_registerReviewTools()
{
    DVMainController &controller = DVMainController::sharedInstance();
    if (qobject_cast<QApplication *>(QCoreApplication::instance()))
        controller.setInAppTools(std::make_unique<DVReviewTools>());
    else
        controller.setWhyNoInAppTools(QStringLiteral(
            "In-App Review and Context Capture need a QApplication, which also Qt Quick runs with"));
}
