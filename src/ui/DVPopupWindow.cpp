#include "DVPopupWindow.h"

#include "DVAccessibility.h"
#include "DVAnimation.h"
#include "DVAppearance.h"
#include "DVColors.h"
#include "DVNavigationController.h"
#include "DVPanel.h"
#include "DVPopupContentView.h"
#include "DVViewController.h"
#include "DVViewEffect.h"
#include "DVVisualFormatLayout.h"

#include <QApplication>
#include <QKeyEvent>
#include <QPainter>

#include <algorithm>
#include <utility>

namespace {

constexpr int presentMilliseconds = 500;
constexpr int dismissMilliseconds = 300;
constexpr double smallScale = 0.1;
constexpr int mostOpenMenus = 50; // one may refuse to close

DVPopupWindow *&theWindow()
{
    static DVPopupWindow *window = nullptr;
    return window;
}

void deleteTheWindow()
{
    delete std::exchange(theWindow(), nullptr);
}

void closeOpenMenus()
{
    for (int i = 0; i < mostOpenMenus; ++i) {
        QWidget *menu = QApplication::activePopupWidget();
        if (!menu || !menu->close())
            return;
    }
}

bool isWayBack(const QKeyEvent &event)
{
    return event.matches(QKeySequence::Cancel) || event.key() == Qt::Key_Back;
}

} // namespace

class DVPopupWindow::Mask : public QWidget
{
public:
    explicit Mask(QWidget *parent)
        : QWidget(parent)
    {}

    double alpha() const { return m_alpha; }
    void setAlpha(double alpha)
    {
        m_alpha = std::min(alpha, 1.0); // a spring passes its end
        update();
    }

protected:
    void paintEvent(QPaintEvent *) override
    {
        QPainter(this).fillRect(rect(), DVColors::blackWithAlpha(DVColors::maskAlpha * m_alpha));
    }

private:
    double m_alpha = 1;
};

DVPopupWindow &DVPopupWindow::sharedPopup()
{
    if (!theWindow()) {
        theWindow() = new DVPopupWindow; // deleteTheWindow's
        qAddPostRoutine(deleteTheWindow);
    }
    return *theWindow();
}

bool DVPopupWindow::isMade()
{
    return theWindow();
}

DVPopupWindow::DVPopupWindow()
    : m_darkMask(new Mask(this))
    , m_placeholder(std::make_unique<DVPopupContentView>())
{
    m_darkMask->setObjectName(QStringLiteral("dv_darkMask")); // for the style sheet
    auto *layout = new DVVisualFormatLayout(this);
    layout->setSizeConstraint(QLayout::SetNoConstraint); // the host's window says how large this one is
    layout->addView(QStringLiteral("dm"), m_darkMask);
    const DVErrorOr error = layout->addFormats({QStringLiteral("H:|[dm]|"), QStringLiteral("V:|[dm]|")});
    Q_ASSERT(!error);
    dv_installAccessibility();
    customizeAppearance();
}

DVPopupWindow::~DVPopupWindow()
{
    for (DVPopupContentView *popup : std::as_const(m_stack))
        popup->disconnect(this);
}

void DVPopupWindow::customizeAppearance()
{
    dv_customizeAppearance(*this);
}

QWidget *DVPopupWindow::darkMask() const
{
    return m_darkMask;
}

DVPopupContentView *DVPopupWindow::rootViewController() const
{
    return m_root ? m_root.data() : m_placeholder.get();
}

DVPopupContentView *DVPopupWindow::topPopup() const
{
    const auto top = std::find_if(m_stack.rbegin(), m_stack.rend(),
                                  [this](DVPopupContentView *popup) { return !m_leaving.contains(popup); });
    return top == m_stack.rend() ? nullptr : *top;
}

void DVPopupWindow::presentPopup(DVPopupContentView *popup, bool animated)
{
    if (!popup || !endLeaving(popup))
        return;
    if (m_stack.contains(popup)) {
        popup->raise();
        m_stack.removeAll(popup);
        m_stack.append(popup);
        m_root = popup;
        return;
    }
    const bool first = m_stack.isEmpty();
    if (first) {
        closeOpenMenus();
        rememberFocus();
        coverHost();
    } else if (DVPopupContentView *below = topPopup()) {
        m_focusIn.insert(below, below->focusWidget());
    }
    connect(popup, &QObject::destroyed, this, &DVPopupWindow::popupDied);
    popup->setParent(this);
    popup->makeRoomForKeyboard();
    popup->fitInto(size());
    m_root = popup;
    m_stack.append(popup);
    if (animated)
        animateIn(*popup);
    if (!animated || m_stack.size() > 1)
        fadeMask(1, animated ? presentMilliseconds : 0, DVAnimation::Curve::EaseInOut);
    popup->show();
    popup->raise();
    makeKeyAndVisible();
    focusTop();
}

// A completion may delete the popup; then this is false. Or it presents the popup itself.
bool DVPopupWindow::endLeaving(DVPopupContentView *popup)
{
    if (!m_leaving.contains(popup))
        return true;
    const QPointer<DVPopupContentView> alive(popup);
    const bool dies = popup->testAttribute(Qt::WA_DeleteOnClose);
    popup->setAttribute(Qt::WA_DeleteOnClose, false);
    finishDismissal(popup);
    if (alive)
        alive->setAttribute(Qt::WA_DeleteOnClose, dies);
    return alive;
}

void DVPopupWindow::animateIn(DVPopupContentView &popup)
{
    if (m_stack.size() == 1) {
        m_darkMask->setAlpha(0);
        fadeMask(1, presentMilliseconds, DVAnimation::Curve::Spring);
    }
    DVAnimation::run(popup, presentMilliseconds, DVAnimation::Curve::Spring, [this, &popup](double progress) {
        if (!m_leaving.contains(&popup)) // its own animation has it then
            DVViewEffect::apply(popup, smallScale + (1 - smallScale) * progress, progress);
    });
}

void DVPopupWindow::fadeMask(double alpha, int milliseconds, DVAnimation::Curve curve)
{
    if (m_maskAnimation)
        m_maskAnimation->cancel();
    if (milliseconds == 0) {
        m_darkMask->setAlpha(alpha);
        return;
    }
    const double before = m_darkMask->alpha();
    m_maskAnimation = DVAnimation::run(*this, milliseconds, curve, [this, before, alpha](double progress) {
        m_darkMask->setAlpha(before + (alpha - before) * progress);
    });
}

void DVPopupWindow::dismissPopup(DVPopupContentView *popup, bool animated,
                                 std::function<void()> withCompletion)
{
    if (!popup || !m_stack.contains(popup)) {
        if (withCompletion)
            withCompletion();
        return;
    }
    const bool wasLeaving = m_leaving.contains(popup);
    Leaving &leaving = m_leaving[popup];
    if (withCompletion)
        leaving.completions.append(std::move(withCompletion));
    if (!animated) {
        finishDismissal(popup);
        return;
    }
    if (wasLeaving)
        return;
    const double scale = DVViewEffect::scaleOf(*popup);
    const double alpha = DVViewEffect::alphaOf(*popup);
    const QPointer<DVAnimation> animation = DVAnimation::run(
        *popup, dismissMilliseconds, DVAnimation::Curve::EaseInOut,
        [popup, scale, alpha](double progress) {
            DVViewEffect::apply(*popup, scale + (smallScale - scale) * progress, alpha * (1 - progress));
        },
        [this, popup] { finishDismissal(popup); });
    m_leaving[popup].animation = animation;
    if (!topPopup())
        fadeMask(0, dismissMilliseconds, DVAnimation::Curve::EaseInOut);
    else
        focusTop();
}

void DVPopupWindow::finishDismissal(DVPopupContentView *popup)
{
    takeOut(popup, popup);
}

void DVPopupWindow::popupDied(QObject *popup)
{
    takeOut(popup, nullptr);
}

// `living` is null when the popup is being destroyed: then it is no more than an address.
void DVPopupWindow::takeOut(QObject *popup, DVPopupContentView *living)
{
    if (m_stack.removeIf([&](const DVPopupContentView *other) { return other == popup; }) == 0)
        return;
    const Leaving leaving = m_leaving.take(popup);
    m_focusIn.remove(popup);
    m_root.clear();
    m_placeholder = std::make_unique<DVPopupContentView>();
    if (living) {
        living->disconnect(this);
        if (leaving.animation)
            leaving.animation->cancel();
        DVViewEffect::apply(*living, 1, 1);
        living->hide();
        living->setParent(nullptr);
        if (living->testAttribute(Qt::WA_DeleteOnClose))
            living->deleteLater();
    }
    if (m_stack.isEmpty()) {
        hide();
        returnFocus();
    } else {
        focusTop();
    }
    for (const std::function<void()> &completion : leaving.completions)
        completion();
}

void DVPopupWindow::dismissAll()
{
    while (!m_stack.isEmpty())
        finishDismissal(m_stack.last());
}

void DVPopupWindow::hostIsGone()
{
    dismissAll();
}

void DVPopupWindow::rememberFocus()
{
    m_focusWindow = activeHostWindow();
    m_focusWidget = QApplication::focusWidget();
}

void DVPopupWindow::returnFocus()
{
    if (m_focusWindow && m_focusWindow->isVisible())
        m_focusWindow->requestActivate();
    if (m_focusWidget && m_focusWidget->isVisible())
        m_focusWidget->setFocus(Qt::ActiveWindowFocusReason);
    m_focusWindow.clear();
    m_focusWidget.clear();
}

void DVPopupWindow::focusTop()
{
    DVPopupContentView *top = topPopup();
    if (!top || top->isAncestorOf(focusWidget()))
        return;
    QWidget *view = m_focusIn.take(top);
    if (!view)
        view = top->focusWidget();
    if (!view && top->navigationController() && top->navigationController()->topViewController())
        view = top->navigationController()->topViewController()->focusProxy();
    if (view)
        view->setFocus(Qt::OtherFocusReason);
    else
        top->setFocus(Qt::OtherFocusReason);
}

void DVPopupWindow::makeKeyAndVisible()
{
    show();
    raise();
    activateWindow();
}

void DVPopupWindow::paintBelow(const QWidget &view, QPainter &painter) const
{
    paintBackdrop(painter);
    painter.fillRect(rect(), DVColors::blackWithAlpha(DVColors::maskAlpha * m_darkMask->alpha()));
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(DVColors::panel);
    for (const DVPopupContentView *popup : m_stack) {
        if (popup->isAncestorOf(&view))
            return;
        if (const QWidget *panel = popup->container())
            painter.drawRoundedRect(QRectF(panel->rect()).translated(panel->mapTo(this, QPoint())),
                                    DVPanel::cornerRadius, DVPanel::cornerRadius);
    }
}

// A shortcut of the application for the same key must not take it.
bool DVPopupWindow::event(QEvent *event)
{
    if (event->type() == QEvent::ShortcutOverride && isWayBack(*static_cast<QKeyEvent *>(event))) {
        event->accept();
        return true;
    }
    return DVOverlayWindow::event(event);
}

void DVPopupWindow::keyPressEvent(QKeyEvent *event)
{
    if (!isWayBack(*event)) {
        DVOverlayWindow::keyPressEvent(event);
        return;
    }
    event->accept();
    if (DVPopupContentView *top = topPopup(); top && !event->isAutoRepeat())
        top->goBack();
}

// Android closes the application on a release that nobody took.
void DVPopupWindow::keyReleaseEvent(QKeyEvent *event)
{
    if (event->key() != Qt::Key_Back)
        DVOverlayWindow::keyReleaseEvent(event);
}

void DVPopupWindow::resizeEvent(QResizeEvent *)
{
    for (DVPopupContentView *popup : std::as_const(m_stack))
        popup->fitInto(size());
}

// Never refused: an application that quits asks all windows.
void DVPopupWindow::closeEvent(QCloseEvent *event)
{
    dismissAll();
    DVOverlayWindow::closeEvent(event);
}
