// DVActivityIndicator: a spinner.
#pragma once

#include <QColor>
#include <QPointer>
#include <QWidget>

class DVAnimation;

// Visible while it is animating.
class DVActivityIndicator : public QWidget
{
    Q_OBJECT

public:
    explicit DVActivityIndicator(QWidget *parent = nullptr);

    QColor color() const { return m_color; }
    void setColor(const QColor &color);

    bool isAnimating() const { return !m_animation.isNull(); }
    void startAnimating();
    void stopAnimating();

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QColor m_color;
    int m_turn = 0; // spokes
    QPointer<DVAnimation> m_animation;
};
