// DVViewEffect: a view scaled about its middle and made translucent, with all that is in it.
#pragma once

#include <QGraphicsEffect>

// Only while something moves: a view under an effect is painted twice.
class DVViewEffect : public QGraphicsEffect
{
    Q_OBJECT

public:
    // Both 1 take the effect away.
    static void apply(QWidget &view, double scale, double alpha);
    static double scaleOf(const QWidget &view);
    static double alphaOf(const QWidget &view);

    QRectF boundingRectFor(const QRectF &rect) const override;

protected:
    void draw(QPainter *painter) override;

private:
    double m_scale = 1;
    double m_alpha = 1;
};
