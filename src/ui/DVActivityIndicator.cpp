#include "DVActivityIndicator.h"

#include "DVAnimation.h"
#include "DVColors.h"

#include <QPainter>

namespace {

constexpr int spokes = 12;
constexpr int natural = 20;
constexpr int turnMilliseconds = 1000;

} // namespace

DVActivityIndicator::DVActivityIndicator(QWidget *parent)
    : QWidget(parent)
    , m_color(DVColors::bar)
{
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    setAccessibleName(QStringLiteral("Loading"));
    hide();
}

void DVActivityIndicator::setColor(const QColor &color)
{
    m_color = color;
    update();
}

void DVActivityIndicator::startAnimating()
{
    show();
    if (m_animation)
        return;
    m_animation = DVAnimation::repeat(*this, turnMilliseconds, [this](double progress) {
        if (const int turn = int(progress * spokes); turn != m_turn) {
            m_turn = turn;
            update();
        }
    });
}

void DVActivityIndicator::stopAnimating()
{
    hide();
    if (m_animation)
        m_animation->cancel();
    m_animation.clear();
}

QSize DVActivityIndicator::sizeHint() const
{
    return QSize(natural, natural);
}

void DVActivityIndicator::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.translate(QRectF(rect()).center());
    for (int spoke = 0; spoke < spokes; ++spoke) {
        const int age = (m_turn - spoke + spokes) % spokes; // steps since this one was the brightest
        QColor color = m_color;
        color.setAlphaF(m_color.alphaF() * (1 - 0.75F * float(age) / (spokes - 1)));
        painter.setBrush(color);
        painter.save();
        painter.rotate(spoke * 360.0 / spokes);
        painter.drawRoundedRect(QRectF(-1, -natural / 2.0 + 0.5, 2, 5.5), 1, 1);
        painter.restore();
    }
}
