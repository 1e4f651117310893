#include "DVPopupContentView.h"

#include "DVAnimation.h"
#include "DVColors.h"
#include "DVNavigationController.h"
#include "DVPanel.h"
#include "DVPopupRootViewController.h"
#include "DVPopupWindow.h"
#include "DVVisualFormatLayout.h"

#include <QGuiApplication>
#include <QInputMethod>

#include <algorithm>

namespace {

constexpr int margin = 15;
constexpr int keyboardMilliseconds = 300;
constexpr int leftWithoutKeyboard = 15;

void use(DVVisualFormatLayout &layout, const QStringList &formats)
{
    const DVErrorOr error = layout.addFormats(formats);
    Q_ASSERT_X(!error, "DVPopupContentView", error ? qPrintable(error->description) : "");
    Q_UNUSED(error);
}

std::optional<QRectF> &fixedKeyboardFrame()
{
    static std::optional<QRectF> frame;
    return frame;
}

// Nothing while there is no keyboard on the screen.
std::optional<QRectF> keyboardFrame()
{
    const QInputMethod *keyboard = QGuiApplication::inputMethod();
    if (fixedKeyboardFrame() || !keyboard->isVisible())
        return fixedKeyboardFrame();
    return keyboard->keyboardRectangle();
}

} // namespace

void dv_setKeyboardFrame(std::optional<QRectF> frame)
{
    fixedKeyboardFrame() = frame;
}

DVPopupContentView::DVPopupContentView() = default;

DVPopupContentView::DVPopupContentView(DVViewController *rootViewController)
    : m_container(new DVPanel(this))
    , m_navigation(new DVNavigationController(m_container))
{
    m_navigation->pushViewController(rootViewController);

    auto *outer = new DVVisualFormatLayout(this);
    outer->addView(QStringLiteral("container"), m_container);
    outer->setMetric(QStringLiteral("DVPopupMargin"), margin);
    use(*outer, {QStringLiteral("H:|-(DVPopupMargin)-[container]-(DVPopupMargin)-|"),
                 QStringLiteral("V:|-(DVPopupMargin)-[container]-(DVPopupMargin)-|")});
    auto *inner = new DVVisualFormatLayout(m_container);
    inner->addView(QStringLiteral("nav"), m_navigation);
    use(*inner, {QStringLiteral("H:|[nav]|"), QStringLiteral("V:|[nav]|")});

    const QInputMethod *keyboard = QGuiApplication::inputMethod();
    connect(keyboard, &QInputMethod::visibleChanged, this, &DVPopupContentView::keyboardMayHaveMoved);
    connect(keyboard, &QInputMethod::keyboardRectangleChanged, this,
            &DVPopupContentView::keyboardMayHaveMoved);
}

DVPopupContentView::~DVPopupContentView()
{
    if (m_owner)
        m_owner->m_popup = nullptr;
}

void DVPopupContentView::presentPopupAnimated(bool animated)
{
    DVPopupWindow::sharedPopup().presentPopup(this, animated);
}

void DVPopupContentView::dismissAnimated(bool animated, std::function<void()> withCompletion)
{
    DVPopupWindow::sharedPopup().dismissPopup(this, animated, std::move(withCompletion));
}

void DVPopupContentView::cancel()
{
    dismissAnimated(true);
}

void DVPopupContentView::goBack()
{
    DVViewController *screen = m_navigation ? m_navigation->topViewController() : nullptr;
    if (!screen || !screen->handleBack())
        cancel();
}

void DVPopupContentView::keyboardMayHaveMoved()
{
    if (const std::optional<QRectF> frame = keyboardFrame())
        keyboardDidAppear(*frame);
    else if (m_keyboardIsUp)
        keyboardDidDisappear();
}

void DVPopupContentView::makeRoomForKeyboard()
{
    const std::optional<QRectF> frame = keyboardFrame();
    if (!frame)
        return;
    if (m_resizing)
        m_resizing->cancel();
    m_keyboardIsUp = true;
    m_offBottom = qRound(frame->height());
}

void DVPopupContentView::keyboardDidAppear(const QRectF &endFrame)
{
    m_keyboardIsUp = true;
    takeOffBottom(qRound(endFrame.height()));
}

void DVPopupContentView::keyboardDidDisappear()
{
    m_keyboardIsUp = false;
    takeOffBottom(leftWithoutKeyboard);
}

void DVPopupContentView::takeOffBottom(int points)
{
    if (m_resizing)
        m_resizing->cancel();
    const double before = m_offBottom;
    m_resizing = DVAnimation::run(*this, keyboardMilliseconds, DVAnimation::Curve::EaseInOut,
                                  [this, before, points](double progress) {
                                      m_offBottom = before + (points - before) * progress;
                                      if (parentWidget())
                                          fitInto(parentWidget()->size());
                                  });
}

void DVPopupContentView::fitInto(const QSize &window)
{
    setGeometry(0, 0, window.width(), std::max(0, window.height() - qRound(m_offBottom)));
}

// The tab key stays in the popup: others lie below it.
bool DVPopupContentView::focusNextPrevChild(bool next)
{
    QWidget *begin = focusWidget() ? focusWidget() : this;
    QWidget *view = begin;
    do {
        view = next ? view->nextInFocusChain() : view->previousInFocusChain();
        if (isAncestorOf(view) && view->isVisible() && view->isEnabled() &&
            (view->focusPolicy() & Qt::TabFocus) == Qt::TabFocus) {
            view->setFocus(next ? Qt::TabFocusReason : Qt::BacktabFocusReason);
            return true;
        }
    } while (view != begin);
    return true;
}
