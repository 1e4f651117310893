#include "DVPageControl.h"

#include "DVColors.h"

#include <QPainter>

#include <algorithm>
#include <cmath>

namespace {

constexpr int diameter = 7;
constexpr int pitch = 17;
constexpr int mostDots = 13;
constexpr int middleDot = 6;

int rowWidth(qsizetype dots)
{
    return dots > 0 ? int(dots) * pitch - (pitch - diameter) : 0;
}

} // namespace

DVPageControl::DVPageControl(QWidget *parent)
    : QWidget(parent)
    , m_pageColor(DVColors::blackWithAlpha(0.3))
    , m_currentColor(DVColors::blackWithAlpha(0.6))
    , m_clippedColor(DVColors::blackWithAlpha(0.1))
{
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
}

void DVPageControl::setNumberOfPages(int count)
{
    m_numberOfPages = count;
    updateGeometry();
    pagesChanged();
}

void DVPageControl::setCurrentPage(int page)
{
    m_currentPage = page;
    pagesChanged();
}

void DVPageControl::setPageIndicatorTintColor(const QColor &color)
{
    m_pageColor = color;
    update();
}

void DVPageControl::setCurrentPageIndicatorTintColor(const QColor &color)
{
    m_currentColor = color;
    update();
}

void DVPageControl::setClippedPageIndicatorTintColor(const QColor &color)
{
    m_clippedColor = color;
    update();
}

void DVPageControl::pagesChanged()
{
    setAccessibleName(m_numberOfPages > 0
                          ? QStringLiteral("Page %1 of %2").arg(m_currentPage + 1).arg(m_numberOfPages)
                          : QString());
    update();
}

QSize DVPageControl::sizeHint() const
{
    return QSize(rowWidth(std::clamp(m_numberOfPages, 0, mostDots)), diameter);
}

QList<QColor> DVPageControl::dots() const
{
    if (m_numberOfPages <= 0)
        return {};
    QList<QColor> colors(std::min(m_numberOfPages, mostDots), m_pageColor);
    int highlighted = m_currentPage;
    if (m_numberOfPages > mostDots) {
        const bool atBegin = m_currentPage < 7;
        const bool atEnd = !atBegin && m_currentPage >= m_numberOfPages - 7;
        if (!atBegin)
            highlighted = atEnd ? m_currentPage + mostDots - m_numberOfPages : middleDot;
        if (!atEnd)
            colors.last() = m_clippedColor;
        if (!atBegin)
            colors.first() = m_clippedColor;
    }
    if (highlighted >= 0 && highlighted < colors.size())
        colors[highlighted] = m_currentColor;
    return colors;
}

void DVPageControl::paintEvent(QPaintEvent *)
{
    const QList<QColor> colors = dots();
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    // On whole device pixels, or the dots are blurred.
    const double scale = devicePixelRatioF();
    const double left = std::floor((width() - rowWidth(colors.size())) / 2.0 * scale) / scale;
    for (qsizetype i = 0; i < colors.size(); ++i) {
        const qsizetype place = layoutDirection() == Qt::RightToLeft ? colors.size() - 1 - i : i;
        painter.setBrush(colors[i]);
        painter.drawEllipse(QRectF(left + double(place) * pitch, 0, diameter, diameter));
    }
}
