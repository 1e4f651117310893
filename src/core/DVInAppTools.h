// DVInAppTools: what review and capture need of a user interface.
#pragma once

#include <Dorvane/DVError.h>

#include <QObject>

#include <functional>

// The core has no windows: a library above it, or a program without any, registers its tools with
// DVMainController::setInAppTools before the start. Called on the main thread.
class DVInAppTools
{
public:
    DVInAppTools() = default;
    virtual ~DVInAppTools() = default;
    Q_DISABLE_COPY_MOVE(DVInAppTools)

    // Installs the gesture that opens the menu and the one that edits a text, on the host's windows. May do
    // so later, from the event loop.
    virtual void setupEditionActions() = 0;
    // Installs the gesture that takes a picture.
    virtual void setupContextActions() = 0;

    // Whether texts of tr() carry markers while texts need them (DVState::stringsNeedCues), so that the
    // strings of what is on the screen can be found. Tools without windows need none.
    virtual bool textsNeedMarkers() const { return true; }

    // Texts of tr() begin to carry markers, or cease to. Windows then hold texts that must not leave the
    // process.
    virtual void textsAreMarked(bool marked) { Q_UNUSED(marked) }

    // Lets somebody sign in. `completion` is called once, on the main thread, never from inside the call.
    virtual void openLoginForm(std::function<void(bool cancelled)> completion) = 0;

    // Takes a picture of a window and sends it with the places of its strings; completes likewise.
    virtual void captureWindow(QObject *window, std::function<void(const DVErrorOr &)> completion) = 0;
};
