#include "DVStatusLabel.h"

#include "DVColors.h"
#include "DVString.h"
#include "DVSystemFont.h"

#include <QFontMetrics>
#include <QPainter>

namespace {

constexpr int insetAcross = 5;
constexpr int insetAlong = 2;
constexpr double cornerRadius = 4;

QFont badgeFont()
{
    return dv_systemFont(12, QFont::Bold);
}

} // namespace

DVStatusLabel::DVStatusLabel(QWidget *parent)
    : QLabel(parent)
{
    setAlignment(Qt::AlignCenter);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

void DVStatusLabel::setStatus(quint32 status)
{
    m_status = status;
    setText(dv_stringStatusName(status));
    updateGeometry();
    update();
}

QColor DVStatusLabel::backgroundColor() const
{
    switch (m_status) {
    case DVStringStatusNone:
        return Qt::transparent;
    case DVStringStatusAccepted:
        return DVColors::accepted;
    case DVStringStatusRejected:
        return DVColors::rejected;
    case DVStringStatusUntranslated:
    case DVStringStatusUntranslated + 1: // the one unknown status that the platform does send
        return DVColors::grey;
    default:
        return DVColors::tint;
    }
}

QSize DVStatusLabel::sizeHint() const
{
    const QFontMetrics metrics(badgeFont());
    const QSize ofText =
        text().isEmpty() ? QSize(0, 0) : QSize(metrics.horizontalAdvance(text()), metrics.height());
    return ofText + QSize(2 * insetAcross, 2 * insetAlong);
}

void DVStatusLabel::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(backgroundColor());
    painter.drawRoundedRect(QRectF(rect()), cornerRadius, cornerRadius);
    painter.setFont(badgeFont());
    painter.setPen(Qt::white);
    painter.drawText(rect().adjusted(insetAcross, insetAlong, -insetAcross, -insetAlong),
                     int(Qt::AlignCenter) | Qt::TextSingleLine, text());
}
