#include "DVNavigationController.h"

#include "DVAnimation.h"
#include "DVColors.h"
#include "DVSystemFont.h"
#include "DVViewController.h"

#include <QEvent>
#include <QPainter>

#include <algorithm>

namespace {

constexpr int edge = 5;
constexpr int slideMilliseconds = 350;

// Shows a chevron before its title; mirrored with the bar.
class BackButton : public DVBarButton
{
public:
    using DVBarButton::DVBarButton;

    QSize sizeHint() const override { return DVBarButton::sizeHint() + QSize(chevronWidth, 0); }

protected:
    void paintEvent(QPaintEvent *) override
    {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        if (layoutDirection() == Qt::RightToLeft) {
            painter.translate(width(), 0);
            painter.scale(-1, 1);
        }
        painter.setPen(QPen(DVColors::white, 2.5, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        const double middle = height() / 2.0;
        painter.drawPolyline(QPolygonF({{15, middle - 8}, {7, middle}, {15, middle + 8}}));
        painter.resetTransform();
        painter.setFont(dv_systemFont(17));
        const bool mirrored = layoutDirection() == Qt::RightToLeft;
        painter.drawText(rect().adjusted(mirrored ? 0 : chevronWidth, 0, mirrored ? -chevronWidth : 0, 0),
                         int(Qt::AlignCenter) | Qt::TextSingleLine, text());
    }

private:
    static constexpr int chevronWidth = 14;
};

} // namespace

DVNavigationController::DVNavigationController(QWidget *parent)
    : QWidget(parent)
    , m_bar(new DVNavigationBar(*this))
{}

DVNavigationController::~DVNavigationController()
{
    for (DVViewController *screen : std::as_const(m_screens))
        screen->disconnect(this); // they die with this, after the bar
}

void DVNavigationController::pushViewController(DVViewController *screen, bool animated)
{
    if (!screen || m_screens.contains(screen))
        return;
    endSliding();
    DVViewController *before = topViewController();
    screen->setParent(this);
    m_screens.append(screen);
    connect(screen, &QObject::destroyed, this, &DVNavigationController::forget);
    showTop();
    if (animated && before && isVisible())
        slide(screen, before, true);
}

bool DVNavigationController::popViewController(bool animated)
{
    if (m_screens.size() < 2)
        return false;
    popToViewController(m_screens[m_screens.size() - 2], animated);
    return true;
}

void DVNavigationController::popToViewController(DVViewController *screen, bool animated)
{
    if (!m_screens.contains(screen) || m_screens.last() == screen)
        return;
    endSliding();
    DVViewController *top = m_screens.last();
    while (m_screens.last() != screen) {
        DVViewController *popped = m_screens.takeLast();
        popped->disconnect(this);
        popped->hide();
        if (popped != top || !animated || !isVisible())
            popped->deleteLater();
    }
    showTop();
    if (animated && isVisible())
        slide(top, screen, false);
}

// One of them is the top of the stack, and the other is shown until the slide is over.
void DVNavigationController::slide(DVViewController *screen, DVViewController *over, bool comes)
{
    m_above = screen;
    m_below = over;
    m_comes = comes;
    over->show();
    screen->show();
    screen->raise();
    m_sliding = DVAnimation::run(
        *this, slideMilliseconds, DVAnimation::Curve::EaseInOut,
        [this](double progress) { placeSliding(progress); }, [this] { endSliding(); });
}

void DVNavigationController::placeSliding(double progress)
{
    const int end = layoutDirection() == Qt::RightToLeft ? -1 : 1;
    const double out = (m_comes ? 1 - progress : progress) * end;
    const QSize size(width(), std::max(0, height() - DVNavigationBar::height));
    if (m_above)
        m_above->setGeometry(QRect(QPoint(qRound(out * width()), DVNavigationBar::height), size));
    if (m_below) // aside, not beneath: screens have no ground of their own
        m_below->setGeometry(QRect(QPoint(qRound((out - end) * width()), DVNavigationBar::height), size));
}

void DVNavigationController::endSliding()
{
    if (m_sliding)
        m_sliding->cancel();
    m_sliding.clear();
    if (DVViewController *leaves = m_comes ? m_below : m_above) {
        leaves->setVisible(leaves == topViewController());
        if (!m_screens.contains(leaves))
            leaves->deleteLater();
    }
    m_above.clear();
    m_below.clear();
    layOut();
}

void DVNavigationController::forget(QObject *screen)
{
    m_screens.removeIf([&](const DVViewController *known) { return known == screen; });
    showTop();
}

void DVNavigationController::showTop()
{
    for (qsizetype i = 0; i < m_screens.size(); ++i)
        m_screens[i]->setVisible(i == m_screens.size() - 1);
    const bool hasWayBack = m_screens.size() > 1;
    const QString before = hasWayBack ? m_screens[m_screens.size() - 2]->title() : QString();
    m_bar->show(topViewController(), hasWayBack, before.isEmpty() ? QStringLiteral("Back") : before);
    layOut();
}

void DVNavigationController::layOut()
{
    m_bar->setGeometry(0, 0, width(), DVNavigationBar::height);
    for (DVViewController *screen : std::as_const(m_screens))
        screen->setGeometry(0, DVNavigationBar::height, width(),
                            std::max(0, height() - DVNavigationBar::height));
}

void DVNavigationController::resizeEvent(QResizeEvent *)
{
    endSliding();
}

DVNavigationBar::DVNavigationBar(DVNavigationController &controller)
    : QWidget(&controller)
{
    auto *back = new BackButton(QString(), this);
    connect(back, &QPushButton::clicked, &controller, [&controller] { controller.popViewController(true); });
    back->hide();
    m_back = back;
}

void DVNavigationBar::show(DVViewController *screen, bool hasWayBack, const QString &backTitle)
{
    disconnect(m_changes);
    m_screen = screen;
    m_hasWayBack = hasWayBack;
    static_cast<BackButton *>(m_back)->setText(backTitle);
    if (screen)
        m_changes =
            connect(screen, &DVViewController::navigationItemChanged, this, &DVNavigationBar::takeItems);
    takeItems();
}

void DVNavigationBar::takeItems()
{
    QList<QPointer<QWidget>> before = m_left + m_right;
    before.append(m_titleView);
    m_left.clear();
    m_right.clear();
    m_titleView = m_screen ? m_screen->titleView() : nullptr;
    if (m_screen) {
        for (DVBarButton *button : m_screen->leftButtons())
            m_left.append(button);
        for (DVBarButton *button : m_screen->rightButtons())
            m_right.append(button);
    }
    QList<QPointer<QWidget>> now = m_left + m_right;
    now.append(m_titleView);
    for (const QPointer<QWidget> &view : before) {
        if (view && !now.contains(view))
            view->hide();
    }
    for (const QPointer<QWidget> &view : now) {
        if (view) {
            if (view->parentWidget() != this)
                view->setParent(this);
            view->show();
        }
    }
    m_back->setVisible(m_hasWayBack && m_left.isEmpty());
    layOut();
    update();
}

// Returns the width that they take.
int DVNavigationBar::layOutButtons(const QList<QWidget *> &buttons, bool fromLeft)
{
    int taken = edge;
    for (QWidget *button : buttons) {
        const QSize size = button->sizeHint();
        button->setGeometry(fromLeft ? taken : width() - taken - size.width(), (height - size.height()) / 2,
                            size.width(), size.height());
        taken += size.width();
    }
    return taken;
}

void DVNavigationBar::layOut()
{
    QList<QWidget *> left;
    QList<QWidget *> right;
    for (const QPointer<QWidget> &button : std::as_const(m_left)) {
        if (button)
            left.append(button);
    }
    for (const QPointer<QWidget> &button : std::as_const(m_right)) {
        if (button)
            right.prepend(button); // the last one stands at the edge
    }
    if (left.isEmpty() && m_hasWayBack)
        left.append(m_back);
    const bool mirrored = layoutDirection() == Qt::RightToLeft;
    const int atStart = layOutButtons(left, !mirrored);
    const int atEnd = layOutButtons(right, mirrored);
    // In the middle of the bar, unless the buttons leave no room there.
    const int side = std::max(atStart, atEnd);
    const int room = std::max(0, width() - 2 * side);
    m_titleRect = QRect(side, 0, room, height);
    if (m_titleView) {
        const QSize size = m_titleView->size();
        m_titleView->move((width() - size.width()) / 2, (height - size.height()) / 2);
    }
}

QString DVNavigationBar::shownTitle() const
{
    if (!m_screen || m_titleView)
        return {};
    return QFontMetrics(dv_systemFont(17)).elidedText(m_screen->title(), Qt::ElideRight, m_titleRect.width());
}

void DVNavigationBar::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.fillRect(rect(), DVColors::bar);
    painter.setFont(dv_systemFont(17));
    painter.setPen(DVColors::barText);
    painter.drawText(m_titleRect, int(Qt::AlignCenter) | Qt::TextSingleLine, shownTitle());
}

void DVNavigationBar::resizeEvent(QResizeEvent *)
{
    layOut();
}

void DVNavigationBar::changeEvent(QEvent *event)
{
    QWidget::changeEvent(event);
    if (event->type() == QEvent::LayoutDirectionChange)
        layOut();
}
