// DVPopupNavigationTitleView: the title area of a popup, which can show that something is loading.
#pragma once

#include <QObject>
#include <QPointer>
#include <QString>

#include <functional>

class DVAnimation;
class QLabel;
class QPushButton;
class QWidget;

// Shows a title, or the logo when it has none; while loading a spinner, and after a success a check mark for
// a second. What is asked last wins: it cancels what is still going on. The view belongs to whoever put it
// somewhere, else to this.
class DVPopupNavigationTitleView : public QObject
{
    Q_OBJECT

public:
    explicit DVPopupNavigationTitleView(const QString &title = {}, QObject *parent = nullptr);
    ~DVPopupNavigationTitleView() override;

    QLabel *titleLabel() const; // null without a title
    // As large as the label, or 44 by 44 points. Made when it is first asked for.
    QWidget *view();
    QWidget *contents() const; // what is shown now; null before there is a view

    QPushButton *dorvaneLogo(); // the one button of this view
    // The old contents fade out, then the view, now theirs, fades in: 0.3 seconds each. The completion
    // follows, unless something else was asked meanwhile.
    void replaceContentsWithView(QWidget *view, std::function<void()> andCompletion = {});
    void showLoading();
    void hideLoadingWithSuccess(bool success);

private:
    QWidget *resting();
    void fadeIn(QWidget *view, const std::function<void()> &andCompletion);
    void stopAnimations();
    void centre(QWidget *view);

    QPointer<QLabel> m_label;
    QPointer<QPushButton> m_logo;
    QPointer<QWidget> m_spinner;
    QPointer<QWidget> m_success;
    QPointer<QWidget> m_view;
    QPointer<QWidget> m_contents;
    QPointer<QWidget> m_incoming;
    QPointer<DVAnimation> m_animation;
};
