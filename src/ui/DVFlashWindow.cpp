#include "DVFlashWindow.h"

#include "DVAnimation.h"
#include "DVColors.h"

#include <QCoreApplication>
#include <QPainter>
#include <QPointer>

namespace {

constexpr int flashMilliseconds = 500;

// One at a time: the next begins anew.
QPointer<DVFlashWindow> &theFlash()
{
    static QPointer<DVFlashWindow> flash;
    return flash;
}

void deleteTheFlash()
{
    delete theFlash();
}

} // namespace

DVFlashWindow::DVFlashWindow()
    : DVOverlayWindow(Qt::WindowTransparentForInput | Qt::WindowDoesNotAcceptFocus)
{
    setAttribute(Qt::WA_ShowWithoutActivating);
}

void DVFlashWindow::flash()
{
    qRemovePostRoutine(deleteTheFlash); // each application object forgets them at its end
    qAddPostRoutine(deleteTheFlash);
    delete theFlash();
    auto *window = new DVFlashWindow; // deletes itself at the end of the flash
    theFlash() = window;
    window->coverHost();
    window->show();
    DVAnimation::run(
        *window, flashMilliseconds, DVAnimation::Curve::EaseInOut,
        [window](double progress) {
            window->m_alpha = 1 - progress;
            window->update();
        },
        [window] {
            window->hide();
            window->deleteLater();
        });
}

void DVFlashWindow::hostIsGone()
{
    deleteLater();
}

void DVFlashWindow::closeEvent(QCloseEvent *event)
{
    DVOverlayWindow::closeEvent(event);
    deleteLater();
}

void DVFlashWindow::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    paintBackdrop(painter);
    painter.fillRect(rect(), DVColors::whiteWithAlpha(DVColors::flashAlpha * m_alpha));
}
