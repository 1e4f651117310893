// DVFlashWindow: a white flash on the host's window, as a camera gives.
#pragma once

#include "DVOverlayWindow.h"

// It takes neither focus nor input, and is gone after half a second.
class DVFlashWindow : public DVOverlayWindow
{
    Q_OBJECT

public:
    static void flash();

protected:
    void hostIsGone() override;
    void paintEvent(QPaintEvent *event) override;
    void closeEvent(QCloseEvent *event) override;

private:
    DVFlashWindow();

    double m_alpha = 1;
};
