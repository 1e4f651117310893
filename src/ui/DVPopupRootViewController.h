// DVPopupRootViewController: a screen that is shown as a popup.
#pragma once

#include "DVViewController.h"

class DVPopupContentView;

// It comes with its popup, which owns it and is deleted after its dismissal, the screen with it. A screen
// that was never presented is deleted by whoever made it; the popup goes with it.
class DVPopupRootViewController : public DVViewController
{
    Q_OBJECT

public:
    DVPopupRootViewController();
    ~DVPopupRootViewController() override;

    DVPopupContentView *popup() const { return m_popup; }

private:
    friend class DVPopupContentView;

    DVPopupContentView *m_popup;
};
