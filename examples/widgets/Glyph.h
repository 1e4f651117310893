// Glyph: a small round icon beside a text.
#pragma once

#include <QWidget>

class Glyph : public QWidget
{
    Q_OBJECT

public:
    enum Shape { Drop, Leaf, Calendar };

    explicit Glyph(Shape shape, QWidget *parent = nullptr);

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    Shape m_shape;
};
