// DVPanel: a rounded panel that clips what it holds.
#pragma once

#include <QWidget>

// Its views paint square corners; after them the panel takes the corners away again, so that what lies below
// the panel in the window shows there.
class DVPanel : public QWidget
{
    Q_OBJECT

public:
    static constexpr double cornerRadius = 7;

    explicit DVPanel(QWidget *parent = nullptr);

protected:
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    bool event(QEvent *event) override;

private:
    QWidget *m_corners = nullptr;
};
