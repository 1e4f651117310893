// DVReviewTools: the user interface of in-app review and context capture.
#pragma once

#include "DVInAppTools.h"

#include <QObject>
#include <QPointer>

#include <memory>

class DVCleanTexts;

// Removes what it has installed in the application when it dies.
class DVReviewTools : public DVInAppTools
{
public:
    DVReviewTools();
    ~DVReviewTools() override;
    Q_DISABLE_COPY_MOVE(DVReviewTools)

    void setupEditionActions() override;
    void setupContextActions() override;
    void textsAreMarked(bool marked) override;
    void openLoginForm(std::function<void(bool cancelled)> completion) override;
    void captureWindow(QObject *window, std::function<void(const DVErrorOr &)> completion) override;

private:
    void setup(bool actions);

    std::unique_ptr<DVCleanTexts> m_cleanTexts;
    QObject m_guard; // of what is posted
};

// Gives them to DVMainController. For the start-up code of the library: the application object is there, its
// start has not been called. Without a QApplication they are not given, and a start says so.
void dorvane_registerReviewTools();
