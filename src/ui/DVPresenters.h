// DVPresenters: the screens and the camera that gestures lead to.
#pragma once

#include "DVViewStrings.h"

#include <Dorvane/DVError.h>

#include <QList>

#include <functional>
#include <memory>

class QObject;

// The editor of the strings under a finger.
class DVEditionPresenter
{
public:
    DVEditionPresenter() = default;
    virtual ~DVEditionPresenter() = default;
    Q_DISABLE_COPY_MOVE(DVEditionPresenter)

    // `viewController` may be null.
    virtual void presentEditionViewWithStringsAndViews(const QList<DVViewStringsPtr> &strings,
                                                       const DVViewPtr &inView, QObject *viewController,
                                                       bool animated) = 0;
    // Closes it when it is open.
    virtual void dismiss() = 0;
};

// The main menu.
class DVActionsPresenter
{
public:
    DVActionsPresenter() = default;
    virtual ~DVActionsPresenter() = default;
    Q_DISABLE_COPY_MOVE(DVActionsPresenter)

    void show() { showAndReloadStrings(false); }
    virtual void showAndReloadStrings(bool reload) = 0;
};

class DVLoginPresenter
{
public:
    DVLoginPresenter() = default;
    virtual ~DVLoginPresenter() = default;
    Q_DISABLE_COPY_MOVE(DVLoginPresenter)

    // The completion is called once, from the event loop, never from inside the call.
    virtual void openLoginFormWithCompletion(std::function<void(bool cancelled)> completion) = 0;
};

class DVCapturePresenter
{
public:
    DVCapturePresenter() = default;
    virtual ~DVCapturePresenter() = default;
    Q_DISABLE_COPY_MOVE(DVCapturePresenter)

    // Of a QWidget or QQuickWindow. Completes likewise.
    virtual void captureWindow(QObject *window, std::function<void(const DVErrorOr &)> withCompletion) = 0;
};

// One of each; never null. Those that nobody has set say in the log, once, that there is no such screen. Main
// thread.
struct DVPresenters
{
    std::unique_ptr<DVEditionPresenter> edition;
    std::unique_ptr<DVActionsPresenter> actions;
    std::unique_ptr<DVLoginPresenter> login;
    std::unique_ptr<DVCapturePresenter> capture;

    DVPresenters();

    // Those that the gestures use. Assign to them before the start.
    static DVPresenters &shared();
};
