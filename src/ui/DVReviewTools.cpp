#include "DVReviewTools.h"

#include "DVGestureWatch.h"
#include "DVMainController.h"
#include "DVMainQueue.h"
#include "DVPresenters.h"

#include <QApplication>

#include <memory>
#include <utility>

DVReviewTools::DVReviewTools() = default;

DVReviewTools::~DVReviewTools()
{
    DVGestureWatch::remove();
}

void DVReviewTools::setupEditionActions()
{
    DVMainQueue::post([alive = QPointer<QObject>(&m_guard)] {
        if (alive)
            DVGestureWatch::install().cover(DVGestureWatch::Cover::EditionAndActions);
    });
}

void DVReviewTools::setupContextActions()
{
    DVMainQueue::post([alive = QPointer<QObject>(&m_guard)] {
        if (alive)
            DVGestureWatch::install().cover(DVGestureWatch::Cover::Edition);
    });
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
