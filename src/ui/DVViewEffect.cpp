#include "DVViewEffect.h"

#include <QPainter>
#include <QWidget>

#include <algorithm>

void DVViewEffect::apply(QWidget &view, double scale, double alpha)
{
    if (qFuzzyCompare(scale, 1) && qFuzzyCompare(alpha, 1)) {
        view.setGraphicsEffect(nullptr);
        return;
    }
    auto *effect = qobject_cast<DVViewEffect *>(view.graphicsEffect());
    if (!effect) {
        effect = new DVViewEffect; // the view's
        view.setGraphicsEffect(effect);
    }
    effect->m_scale = scale;
    effect->m_alpha = std::clamp(alpha, 0.0, 1.0);
    effect->updateBoundingRect();
    effect->update();
}

double DVViewEffect::scaleOf(const QWidget &view)
{
    const auto *effect = qobject_cast<DVViewEffect *>(view.graphicsEffect());
    return effect ? effect->m_scale : 1;
}

double DVViewEffect::alphaOf(const QWidget &view)
{
    const auto *effect = qobject_cast<DVViewEffect *>(view.graphicsEffect());
    return effect ? effect->m_alpha : 1;
}

QRectF DVViewEffect::boundingRectFor(const QRectF &rect) const
{
    QRectF scaled(QPointF(), rect.size() * std::max(1.0, m_scale));
    scaled.moveCenter(rect.center());
    return scaled;
}

void DVViewEffect::draw(QPainter *painter)
{
    if (m_alpha <= 0 || m_scale <= 0)
        return;
    QPoint offset;
    const QPixmap pixmap = sourcePixmap(Qt::LogicalCoordinates, &offset, NoPad);
    const QPointF middle = sourceBoundingRect(Qt::LogicalCoordinates).center();
    painter->save();
    painter->setRenderHint(QPainter::SmoothPixmapTransform);
    painter->setOpacity(painter->opacity() * m_alpha);
    painter->translate(middle);
    painter->scale(m_scale, m_scale);
    painter->translate(-middle);
    painter->drawPixmap(offset, pixmap);
    painter->restore();
}
