// DVViewController: one screen, with what a navigation bar shows for it.
#pragma once

#include <QList>
#include <QPointer>
#include <QPushButton>
#include <QWidget>

class DVNavigationController;

// A text button of a navigation bar.
class DVBarButton : public QPushButton
{
    Q_OBJECT

public:
    explicit DVBarButton(const QString &title, QWidget *parent = nullptr);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent *event) override;
};

// A screen is a widget; a navigation controller owns those that it shows. Title, title view and buttons are
// taken over by the bar when they are set, also while the screen is shown. Its focus proxy gets the focus
// when its popup comes.
class DVViewController : public QWidget
{
    Q_OBJECT
    Q_PROPERTY(QString title READ title WRITE setTitle)

public:
    explicit DVViewController(QWidget *parent = nullptr);
    ~DVViewController() override;

    QString title() const { return m_title; }
    void setTitle(const QString &title);
    // Instead of the title. It dies with the screen, as the buttons do.
    QWidget *titleView() const { return m_titleView; }
    void setTitleView(QWidget *view);
    // First to last from the start of the line. With a button at the left there is no way back in the bar.
    QList<DVBarButton *> leftButtons() const;
    QList<DVBarButton *> rightButtons() const;
    DVBarButton *addLeftButton(const QString &title);
    DVBarButton *addRightButton(const QString &title);

    // Null while it is in none.
    DVNavigationController *navigationController() const;

    // Escape, or the platform's way back, while the screen is on top. False: the popup is closed.
    virtual bool handleBack() { return false; }

Q_SIGNALS:
    void navigationItemChanged();

private:
    QString m_title;
    QPointer<QWidget> m_titleView;
    QList<QPointer<DVBarButton>> m_leftButtons;
    QList<QPointer<DVBarButton>> m_rightButtons;
};
