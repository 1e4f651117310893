// HeadlessTools: the in-app tools of an application without windows.
#pragma once

#include "TryHandlers.h"

#include <DVInAppTools.h>

// There are no gestures, no login screen and no window: commands do what a user would.
class HeadlessTools : public DVInAppTools
{
public:
    // Told that the library wants somebody to sign in; it gets the answer that nobody did.
    explicit HeadlessTools(std::function<void(const QJsonObject &)> event);

    void setupEditionActions() override {}
    void setupContextActions() override {}
    bool textsNeedMarkers() const override { return false; }
    void openLoginForm(std::function<void(bool cancelled)> completion) override;
    void captureWindow(QObject *window, std::function<void(const DVErrorOr &)> completion) override;

private:
    std::function<void(const QJsonObject &)> m_event;
};
