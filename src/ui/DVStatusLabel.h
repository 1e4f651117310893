// DVStatusLabel: a badge that names the status of a string.
#pragma once

#include <QLabel>

// White on the status's colour, with round corners. It keeps its natural width. Its text and its colours
// follow the status alone; font and palette of the application do not reach it.
class DVStatusLabel : public QLabel
{
    Q_OBJECT
    Q_PROPERTY(quint32 status READ status WRITE setStatus)

public:
    explicit DVStatusLabel(QWidget *parent = nullptr);

    quint32 status() const { return m_status; }
    void setStatus(quint32 status); // DVStringStatus; others are unknown

    QColor backgroundColor() const;
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    quint32 m_status = 0;
};
