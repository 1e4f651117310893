#include "DVPanel.h"

#include "DVColors.h"
#include "DVPopupWindow.h"

#include <QEvent>
#include <QPainter>
#include <QPainterPath>

namespace {

constexpr int cornerSize = 7; // DVPanel::cornerRadius, rounded up

bool isUnderEffect(const QWidget *view)
{
    for (; view; view = view->parentWidget()) {
        if (view->graphicsEffect())
            return true;
    }
    return false;
}

// Lies on top, lets all events through, and paints nothing but the four corners.
class Corners : public QWidget
{
public:
    explicit Corners(QWidget *parent)
        : QWidget(parent)
    {
        setAttribute(Qt::WA_TransparentForMouseEvents);
        setFocusPolicy(Qt::NoFocus);
    }

protected:
    void paintEvent(QPaintEvent *) override
    {
        QPainterPath square;
        square.addRect(QRectF(rect()));
        QPainterPath round;
        round.addRoundedRect(QRectF(rect()), DVPanel::cornerRadius, DVPanel::cornerRadius);
        const QPainterPath corners = square.subtracted(round);

        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        const auto *popups = qobject_cast<const DVPopupWindow *>(window());
        if (!popups || isUnderEffect(this)) { // holes in a picture of the panel, which is drawn later
            painter.setCompositionMode(QPainter::CompositionMode_DestinationOut);
            painter.fillPath(corners, Qt::black);
            return;
        }
        painter.setCompositionMode(QPainter::CompositionMode_Source);
        const int right = width() - cornerSize;
        const int bottom = height() - cornerSize;
        for (const QPoint corner :
             {QPoint(0, 0), QPoint(right, 0), QPoint(0, bottom), QPoint(right, bottom)}) {
            painter.setClipRect(QRect(corner, QSize(cornerSize, cornerSize)));
            painter.setBrushOrigin(corner);
            painter.fillPath(corners, QBrush(below(*popups, corner)));
        }
    }

private:
    QPixmap below(const DVPopupWindow &popups, QPoint corner) const
    {
        QPixmap pixmap(QSize(cornerSize, cornerSize) * devicePixelRatio());
        pixmap.setDevicePixelRatio(devicePixelRatio());
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        painter.translate(-mapTo(&popups, corner));
        popups.paintBelow(*this, painter);
        return pixmap;
    }
};

} // namespace

DVPanel::DVPanel(QWidget *parent)
    : QWidget(parent)
{
    m_corners = new Corners(this); // not before: until it is made there is nothing to raise
}

void DVPanel::paintEvent(QPaintEvent *)
{
    QPainter(this).fillRect(rect(), DVColors::panel);
}

void DVPanel::resizeEvent(QResizeEvent *)
{
    m_corners->setGeometry(rect());
}

bool DVPanel::event(QEvent *event)
{
    if (event->type() == QEvent::ChildAdded && m_corners)
        m_corners->raise();
    return QWidget::event(event);
}
