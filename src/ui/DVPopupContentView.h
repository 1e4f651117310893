// DVPopupContentView: the frame of one popup.
#pragma once

#include <QPointer>
#include <QRectF>
#include <QWidget>

#include <functional>
#include <optional>

class DVAnimation;
class DVNavigationController;
class DVPopupRootViewController;
class DVViewController;

// A rounded panel, 15 points from the edges of the window, that holds a screen below a navigation bar. It
// owns the screen. While it is shown the popup window is its parent; afterwards it has none, and is deleted
// if it has Qt::WA_DeleteOnClose.
class DVPopupContentView : public QWidget
{
    Q_OBJECT

public:
    DVPopupContentView(); // empty: without a screen
    explicit DVPopupContentView(DVViewController *rootViewController);
    ~DVPopupContentView() override;

    QWidget *container() const { return m_container; }                            // null in an empty one
    DVNavigationController *navigationController() const { return m_navigation; } // the same

    void presentPopupAnimated(bool animated);
    void dismissAnimated(bool animated, std::function<void()> withCompletion = {});
    void cancel(); // dismisses it animated; for a button

    // Within 0.3 seconds the popup makes room for the keyboard, whose frame is the screen's bottom; and takes
    // all but 15 points when it has gone.
    void keyboardDidAppear(const QRectF &endFrame = {});
    void keyboardDidDisappear();
    // Before it is shown, at once: for a keyboard that is up already, and may not move any more.
    void makeRoomForKeyboard();

    // Fills the window except what the keyboard took.
    void fitInto(const QSize &window);

    // Escape: the screen on top may want it, else the popup is dismissed.
    void goBack();

protected:
    bool focusNextPrevChild(bool next) override;

private:
    friend class DVPopupRootViewController;
    void keyboardMayHaveMoved();
    void takeOffBottom(int points);

    QWidget *m_container = nullptr;
    DVNavigationController *m_navigation = nullptr;
    DVPopupRootViewController *m_owner = nullptr;
    QPointer<DVAnimation> m_resizing;
    double m_offBottom = 0;
    bool m_keyboardIsUp = false;
};

// For tests: a keyboard on the screen, until it is set to nothing.
void dv_setKeyboardFrame(std::optional<QRectF> frame);
