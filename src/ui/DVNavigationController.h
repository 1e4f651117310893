// DVNavigationController: a stack of screens below a navigation bar.
#pragma once

#include <QList>
#include <QPointer>
#include <QWidget>

class DVAnimation;
class DVNavigationBar;
class DVViewController;

// It owns its screens; one that is popped is deleted later. One that is deleted by others leaves the stack.
// Animated, the new screen comes in from the end of the line and pushes the old one out, or goes back
// there, in 0.35 seconds; all that can be asked of the stack is done at once.
class DVNavigationController : public QWidget
{
    Q_OBJECT

public:
    explicit DVNavigationController(QWidget *parent = nullptr);
    ~DVNavigationController() override;

    QList<DVViewController *> viewControllers() const { return m_screens; }
    DVViewController *topViewController() const { return m_screens.isEmpty() ? nullptr : m_screens.last(); }
    void pushViewController(DVViewController *screen, bool animated = false);
    // The root stays. Returns whether there was one to pop.
    bool popViewController(bool animated = false);
    void popToViewController(DVViewController *screen, bool animated = false);

    DVNavigationBar *navigationBar() const { return m_bar; }

protected:
    void resizeEvent(QResizeEvent *event) override;

private:
    void forget(QObject *screen);
    void showTop();
    void layOut();
    void slide(DVViewController *screen, DVViewController *over, bool comes);
    void placeSliding(double progress);
    void endSliding();

    DVNavigationBar *m_bar;
    QList<DVViewController *> m_screens;
    QPointer<DVAnimation> m_sliding;
    QPointer<DVViewController> m_above; // what comes in or goes out
    QPointer<DVViewController> m_below;
    bool m_comes = false;
};

// The bar: 44 points, the title in the middle, buttons at both ends, or the way back.
class DVNavigationBar : public QWidget
{
    Q_OBJECT

public:
    static constexpr int height = 44;

    explicit DVNavigationBar(DVNavigationController &controller);

    void show(DVViewController *screen, bool hasWayBack, const QString &backTitle);

protected:
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    void takeItems();
    void layOut();
    int layOutButtons(const QList<QWidget *> &buttons, bool fromLeft);
    QString shownTitle() const;

    QPointer<DVViewController> m_screen;
    QMetaObject::Connection m_changes;
    QList<QPointer<QWidget>> m_left;
    QList<QPointer<QWidget>> m_right;
    QPointer<QWidget> m_titleView;
    QWidget *m_back;
    bool m_hasWayBack = false;
    QRect m_titleRect;
};
