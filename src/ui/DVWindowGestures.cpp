#include "DVWindowGestures.h"

#include "DVGestureWatch.h"
#include "DVLog.h"
#include "DVMainController.h"
#include "DVPresenters.h"
#include "DVSession.h"
#include "DVState.h"
#include "DVViewControllers.h"
#include "DorvaneViews.h"

#include <QApplication>
#include <QStyleHints>
#include <QWindow>

namespace {

constexpr int actionsMilliseconds = 2000;
constexpr QPointF automationPoint{100, 100};

using Trigger = void (*)(QWindow *, const DVLongPressGestureRecognizer &);

// The host's control loses the press first: it may change the window when it does. But an open menu closes
// when it does, and what is to be found in it is found before.
void recognized(const QPointer<QWindow> &window, DVLongPressGestureRecognizer &recognizer, Trigger trigger)
{
    const QPointer<DVGestureWatch> watch = DVGestureWatch::shared();
    if (!window || !watch || !watch->mayBegin(*window, recognizer))
        return;
    const QPointer<DVLongPressGestureRecognizer> alive(&recognizer);
    const bool menuIsOpen = QApplication::activePopupWidget();
    if (!menuIsOpen)
        watch->takePress();
    if (window && alive)
        trigger(window, *alive);
    if (menuIsOpen && watch)
        watch->takePress();
}

std::unique_ptr<DVLongPressGestureRecognizer> makeRecognizer(QWindow *window, int touches,
                                                             std::function<int()> duration, Trigger trigger)
{
    return std::make_unique<DVLongPressGestureRecognizer>(
        touches, std::move(duration),
        [window = QPointer<QWindow>(window), trigger](DVLongPressGestureRecognizer &recognizer) {
            recognized(window, recognizer, trigger);
        });
}

const DVWindowGestures *gesturesOf(const QWindow *window)
{
    DVGestureWatch *watch = DVGestureWatch::shared();
    return watch ? watch->gesturesOf(window) : nullptr;
}

void editStringsOf(const DVViewPtr &touched, QObject *viewController)
{
    QList<DVViewStringsPtr> strings = dorvaneStringsInSubviews(touched);
    DVViewPtr inView = touched;
    if (strings.isEmpty()) {
        const DVFoundStrings above = dorvaneStringsInSuperviewsWithRoot(touched);
        strings = above.strings;
        inView = above.root;
    }
    if (!strings.isEmpty())
        DVPresenters::shared().edition->presentEditionViewWithStringsAndViews(strings, inView, viewController,
                                                                              true);
}

void takePicture(QWindow *window)
{
    DVPresenters::shared().capture->captureWindow(dv_hostObject(window), [](const DVErrorOr &error) {
        if (error)
            dv_logInfo(error->description);
    });
}

} // namespace

void dv_setupEditionGesture(QWindow *window)
{
    if (!window)
        return;
    DVGestureWatch::install().makeGesturesOf(window).edition = makeRecognizer(
        window, 1, [] { return QGuiApplication::styleHints()->mousePressAndHoldInterval(); },
        dv_triggerEdition);
}

void dv_removeEditionGesture(QWindow *window)
{
    DVGestureWatch *watch = DVGestureWatch::shared();
    if (DVWindowGestures *gestures = watch ? watch->gesturesOf(window) : nullptr)
        gestures->edition.reset();
}

void dv_setupActionsGesture(QWindow *window)
{
    if (!window)
        return;
    DVGestureWatch::install().makeGesturesOf(window).actions = makeRecognizer(
        window, 2, [] { return actionsMilliseconds; }, dv_triggerActions);
}

DVLongPressGestureRecognizer *dv_editionGesture(const QWindow *window)
{
    const DVWindowGestures *gestures = gesturesOf(window);
    return gestures ? gestures->edition.get() : nullptr;
}

DVLongPressGestureRecognizer *dv_actionsGesture(const QWindow *window)
{
    const DVWindowGestures *gestures = gesturesOf(window);
    return gestures ? gestures->actions.get() : nullptr;
}

DVViewPtr dv_lastTouchedView(const QWindow *window)
{
    const DVWindowGestures *gestures = gesturesOf(window);
    const bool exists = gestures && gestures->lastTouchedView && gestures->lastTouchedView->object();
    return exists ? gestures->lastTouchedView : nullptr;
}

bool gestureRecognizer(const QWindow *window, const DVLongPressGestureRecognizer *recognizer,
                       const DVLongPressGestureRecognizer *shouldRecognizeSimultaneouslyWithGestureRecognizer)
{
    const auto *other = shouldRecognizeSimultaneouslyWithGestureRecognizer;
    const auto *edition = dv_editionGesture(window);
    const auto *actions = dv_actionsGesture(window);
    return recognizer && other &&
           ((recognizer == edition && other == actions) || (recognizer == actions && other == edition));
}

void dv_triggerEdition(QWindow *window, const DVLongPressGestureRecognizer &recognizer)
{
    if (recognizer.numberOfTouches() != 1 || recognizer.state() != DVLongPressGestureRecognizer::State::Began)
        return;
    const DVMainController &controller = DVMainController::sharedInstance();
    if (controller.uiTest() && controller.editionMode() && recognizer.location() == automationPoint) {
        dv_performAction();
        return;
    }
    if (!controller.editionEnabled() && !controller.screenshotMode())
        return;
    if (controller.screenshotMode()) {
        takePicture(window);
        return;
    }
    const DVViewPtr touched = dv_lastTouchedView(window);
    dv_logDebugLazily(
        [&] { return QString(u"Edition gesture triggered for view " + dv_viewDescription(touched)); });
    QObject *viewController = dv_navTopViewController(window);
    if (touched && touched->superview())
        editStringsOf(touched, viewController);
}

void dv_triggerActions(QWindow *window, const DVLongPressGestureRecognizer &recognizer)
{
    if (recognizer.state() != DVLongPressGestureRecognizer::State::Began)
        return;
    dv_logDebug(QStringLiteral("Actions gesture triggered"));
    if (DVLongPressGestureRecognizer *edition = dv_editionGesture(window)) {
        edition->setEnabled(false);
        edition->setEnabled(true);
    }
    dv_performAction();
}

void dv_performAction()
{
    const DVPresenters &presenters = DVPresenters::shared();
    const DVMainController &controller = DVMainController::sharedInstance();
    presenters.edition->dismiss();
    if (controller.mixedMode() && controller.screenshotMode()) {
        dv_endContextCapture();
        presenters.actions->showAndReloadStrings(true);
        return;
    }
    if (DVSession::sharedInstance().isLoggedIn() || controller.mixedMode()) {
        presenters.actions->show();
        return;
    }
    presenters.login->openLoginFormWithCompletion([](bool cancelled) {
        if (!cancelled)
            DVPresenters::shared().actions->show();
    });
}

void dv_endContextCapture()
{
    DVState &state = DVState::shared();
    state.editionMode = true;
    state.screenshotMode = false;
    DVMainController &controller = DVMainController::sharedInstance();
    controller.setupEditionMode();
    controller.publishSnapshot();
}
