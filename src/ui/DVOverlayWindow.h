// DVOverlayWindow: a window without a frame, translucent, that lies on the host's active window and follows
// it.
#pragma once

#include <QPixmap>
#include <QPointer>
#include <QWidget>
#include <QWindow>

// A transient child of the host's window, so no modal dialog of the host blocks it; when the host opens one
// meanwhile, it moves on to that. Not a child of anything in Qt's sense: nobody's style sheet, font or
// palette is inherited, and it dies with the application or by its owner. It never keeps the application
// running. Where windows cannot be translucent it shows a picture of the host's window under itself.
class DVOverlayWindow : public QWidget
{
    Q_OBJECT

public:
    explicit DVOverlayWindow(Qt::WindowFlags flags = {});

    // The host's window that has the user's attention: the modal one, else the active one, else the newest
    // that is visible; null when there is none. Never one of ours.
    static QWindow *activeHostWindow();

    // Whether a window is one of ours, or belongs to one, as a menu does.
    static bool isOurs(const QWindow *window);

    QWindow *hostWindow() const { return m_host; }

    // Takes its place on the active window of the host, or on the main screen when there is none.
    void coverHost();

    // What is seen under the views of the window where it is not translucent; else nothing.
    void paintBackdrop(QPainter &painter) const;

protected:
    // The host's window went away, and there is no other.
    virtual void hostIsGone() {}

    void paintEvent(QPaintEvent *event) override;

private:
    void beTranslucent(bool translucent);
    void attachTo(QWindow *host);
    void giveBack(QWindow *host);
    void takePlace();
    void follow();
    void hostMayHaveGone();
    void focusMoved(QWindow *window);
    void takeBackdrop();

    QPointer<QWindow> m_host;
    QList<QMetaObject::Connection> m_following;
    QPixmap m_backdrop;
};
