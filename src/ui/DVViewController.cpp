#include "DVViewController.h"

#include "DVColors.h"
#include "DVNavigationController.h"
#include "DVSystemFont.h"

#include <QPainter>

namespace {

constexpr int buttonHeight = 44;
constexpr int buttonPadding = 10;

QList<DVBarButton *> living(const QList<QPointer<DVBarButton>> &buttons)
{
    QList<DVBarButton *> result;
    for (const QPointer<DVBarButton> &button : buttons) {
        if (button)
            result.append(button);
    }
    return result;
}

} // namespace

DVBarButton::DVBarButton(const QString &title, QWidget *parent)
    : QPushButton(title, parent)
{
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    setAutoDefault(false);
}

QSize DVBarButton::sizeHint() const
{
    return QSize(QFontMetrics(dv_systemFont(17)).horizontalAdvance(text()) + 2 * buttonPadding, buttonHeight);
}

void DVBarButton::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setFont(dv_systemFont(17));
    QColor color = DVColors::white;
    color.setAlphaF(!isEnabled() ? 0.35F : isDown() ? 0.5F : 1.0F);
    painter.setPen(color);
    painter.drawText(rect(), int(Qt::AlignCenter) | Qt::TextSingleLine, text());
    if (hasFocus() && window()->isActiveWindow()) {
        painter.setPen(QPen(DVColors::tint, 2));
        painter.drawRoundedRect(QRectF(rect()).adjusted(3, 7, -3, -7), 4, 4);
    }
}

DVViewController::DVViewController(QWidget *parent)
    : QWidget(parent)
{}

DVViewController::~DVViewController()
{
    // They stand in the bar, and would stay there.
    qDeleteAll(leftButtons());
    qDeleteAll(rightButtons());
    delete m_titleView;
}

void DVViewController::setTitle(const QString &title)
{
    m_title = title;
    Q_EMIT navigationItemChanged();
}

void DVViewController::setTitleView(QWidget *view)
{
    m_titleView = view;
    Q_EMIT navigationItemChanged();
}

QList<DVBarButton *> DVViewController::leftButtons() const
{
    return living(m_leftButtons);
}

QList<DVBarButton *> DVViewController::rightButtons() const
{
    return living(m_rightButtons);
}

DVBarButton *DVViewController::addLeftButton(const QString &title)
{
    auto *button = new DVBarButton(title, this);
    button->hide();
    m_leftButtons.append(button);
    Q_EMIT navigationItemChanged();
    return button;
}

DVBarButton *DVViewController::addRightButton(const QString &title)
{
    auto *button = new DVBarButton(title, this);
    button->hide();
    m_rightButtons.append(button);
    Q_EMIT navigationItemChanged();
    return button;
}

DVNavigationController *DVViewController::navigationController() const
{
    for (QWidget *widget = parentWidget(); widget; widget = widget->parentWidget()) {
        if (auto *controller = qobject_cast<DVNavigationController *>(widget))
            return controller;
    }
    return nullptr;
}
