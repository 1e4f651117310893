// DVPopupWindow: the one window in which every screen of the interface is shown.
#pragma once

#include "DVAnimation.h"
#include "DVOverlayWindow.h"

#include <QHash>
#include <QList>
#include <QPointer>

#include <functional>
#include <memory>
#include <vector>

class DVPopupContentView;

// Popups lie in it one on the other, over a dark mask on the host's window. It is visible exactly while there
// is one. Escape and the platform's way back close the one on top. The focus returns to where it was. When
// the host's last window closes the popups close with it. Needs a QApplication; main thread.
class DVPopupWindow : public DVOverlayWindow
{
    Q_OBJECT

public:
    // Made when it is first asked for, and gone with the application.
    static DVPopupWindow &sharedPopup();
    // Whether sharedPopup() was ever asked for.
    static bool isMade();

    ~DVPopupWindow() override;

    QWidget *darkMask() const;
    QList<DVPopupContentView *> popupStack() const { return m_stack; } // oldest first
    // The popup presented last; an empty one after a dismissal.
    DVPopupContentView *rootViewController() const;

    // Shows it on top, and takes it as a child. Open menus of the host close first. One that is shown already
    // comes to the top.
    void presentPopup(DVPopupContentView *popup, bool animated);
    // Any of the stack. The completion is called once the popup has left it: at once when not animated, or
    // when it is not shown; also when the popup is deleted meanwhile.
    void dismissPopup(DVPopupContentView *popup, bool animated, std::function<void()> withCompletion = {});

    // Once, from the constructor.
    void customizeAppearance();

    // What is seen in the corners of the panel of that view: the mask, the backdrop where there is one, and
    // the panels of popups further down.
    void paintBelow(const QWidget &view, QPainter &painter) const;

protected:
    void hostIsGone() override;
    bool event(QEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void keyReleaseEvent(QKeyEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void closeEvent(QCloseEvent *event) override;

private:
    class Mask;
    struct Leaving
    {
        QPointer<DVAnimation> animation;
        QList<std::function<void()>> completions;
    };

    DVPopupWindow();
    bool endLeaving(DVPopupContentView *popup);
    void animateIn(DVPopupContentView &popup);
    void fadeMask(double alpha, int milliseconds, DVAnimation::Curve curve);
    void finishDismissal(DVPopupContentView *popup);
    void popupDied(QObject *popup);
    void takeOut(QObject *popup, DVPopupContentView *living);
    void dismissAll();
    DVPopupContentView *topPopup() const; // of those that are not leaving
    void rememberFocus();
    void returnFocus();
    void focusTop();
    void makeKeyAndVisible();

    Mask *m_darkMask;
    QList<DVPopupContentView *> m_stack;
    QHash<QObject *, Leaving> m_leaving;
    QPointer<DVPopupContentView> m_root;
    std::unique_ptr<DVPopupContentView> m_placeholder;
    QPointer<DVAnimation> m_maskAnimation;
    QPointer<QWindow> m_focusWindow; // the host's, before the first popup
    QPointer<QWidget> m_focusWidget;
    QHash<QObject *, QPointer<QWidget>> m_focusIn; // by popup, while another lies on it
};
