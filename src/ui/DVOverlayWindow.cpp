#include "DVOverlayWindow.h"

#include "DVCompositor.h"
#include "DVSceneImage.h"

#include <QApplication>
#include <QEvent>
#include <QPainter>
#include <QScreen>

#include <algorithm>

namespace {

constexpr char overlayMark[] = "_dv_overlay";

bool hasOwnPlace(const QWindow &window)
{
    const Qt::WindowType type = window.type();
    return type == Qt::Window || type == Qt::Dialog || type == Qt::Sheet || type == Qt::Tool;
}

bool canBeCovered(const QWindow *window)
{
    return window && window->isVisible() && !DVOverlayWindow::isOurs(window) && hasOwnPlace(*window);
}

// A menu's or an embedded window's window is the one that it belongs to.
QWindow *coverableFrom(QWindow *window)
{
    while (window && !canBeCovered(window))
        window = window->parent() ? window->parent() : window->transientParent();
    while (window && window->parent())
        window = window->parent();
    return canBeCovered(window) ? window : nullptr;
}

QWidget *widgetOf(const QWindow *window)
{
    const QWidgetList widgets = QApplication::topLevelWidgets();
    const auto found = std::find_if(widgets.begin(), widgets.end(),
                                    [&](const QWidget *widget) { return widget->windowHandle() == window; });
    return found == widgets.end() ? nullptr : *found;
}

// A picture of the screen shows what lies on the window, too, and among it what the picture is for.
QPixmap pictureOf(QWindow *window)
{
    if (QWidget *widget = window ? widgetOf(window) : nullptr)
        return widget->grab();
    if (const QImage scene = dv_sceneImage(window); !scene.isNull())
        return QPixmap::fromImage(scene);
    QScreen *screen = window ? window->screen() : QGuiApplication::primaryScreen();
    return screen ? screen->grabWindow(window ? window->winId() : 0) : QPixmap();
}

bool isOverlay(const QWindow *window)
{
    return window && window->property(overlayMark).toBool();
}

// Its parent is one of our windows itself, nothing in it: the host opened the dialog on its active window.
bool isDialogOfHost(const QWindow &window)
{
    if (!isOverlay(window.transientParent()) || !hasOwnPlace(window))
        return false;
    const QWidget *dialog = widgetOf(&window);
    return dialog && dialog->parentWidget() &&
           dialog->parentWidget()->windowHandle() == window.transientParent();
}

} // namespace

DVOverlayWindow::DVOverlayWindow(Qt::WindowFlags flags)
    : QWidget(nullptr, Qt::Dialog | Qt::FramelessWindowHint | Qt::NoDropShadowWindowHint | flags)
{
    setAttribute(Qt::WA_QuitOnClose, false);
    setAttribute(Qt::WA_TranslucentBackground);
    connect(qGuiApp, &QGuiApplication::focusWindowChanged, this, &DVOverlayWindow::focusMoved);
}

bool DVOverlayWindow::isOurs(const QWindow *window)
{
    for (; window; window = window->transientParent() ? window->transientParent() : window->parent()) {
        if (isOverlay(window))
            return true;
        if (isDialogOfHost(*window))
            return false;
    }
    return false;
}

QWindow *DVOverlayWindow::activeHostWindow()
{
    if (QWindow *window = coverableFrom(QGuiApplication::modalWindow()))
        return window;
    if (QWindow *window = coverableFrom(QGuiApplication::focusWindow()))
        return window;
    QWindowList windows = QGuiApplication::topLevelWindows();
    std::reverse(windows.begin(), windows.end());
    const auto found = std::find_if(windows.begin(), windows.end(), canBeCovered);
    return found == windows.end() ? nullptr : *found;
}

void DVOverlayWindow::beTranslucent(bool translucent)
{
    if (testAttribute(Qt::WA_TranslucentBackground) == translucent || isVisible())
        return;
    destroy(); // the native window was made for the other kind
    setAttribute(Qt::WA_TranslucentBackground, translucent);
    setAttribute(Qt::WA_NoSystemBackground, true);
}

void DVOverlayWindow::coverHost()
{
    beTranslucent(dv_hasCompositor());
    winId(); // makes the native window
    windowHandle()->setProperty(overlayMark, true);
    attachTo(activeHostWindow());
}

void DVOverlayWindow::attachTo(QWindow *host)
{
    for (const QMetaObject::Connection &connection : std::as_const(m_following))
        disconnect(connection);
    m_following.clear();
    giveBack(host);
    m_host = host;
    windowHandle()->setTransientParent(host);
    windowHandle()->setFlag(Qt::WindowStaysOnTopHint,
                            host && host->flags().testFlag(Qt::WindowStaysOnTopHint));
    if (host) {
        m_following = {
            connect(host, &QWindow::xChanged, this, &DVOverlayWindow::follow),
            connect(host, &QWindow::yChanged, this, &DVOverlayWindow::follow),
            connect(host, &QWindow::widthChanged, this, &DVOverlayWindow::follow),
            connect(host, &QWindow::heightChanged, this, &DVOverlayWindow::follow),
            // Queued: a dialog that is hidden may be on its way to being deleted, or shown again at once.
            connect(host, &QWindow::visibleChanged, this, &DVOverlayWindow::hostMayHaveGone,
                    Qt::QueuedConnection),
            connect(host, &QObject::destroyed, this, &DVOverlayWindow::hostMayHaveGone,
                    Qt::QueuedConnection)};
    }
    takePlace();
    takeBackdrop();
}

// Two windows cannot lie on each other: what the host opened on this one goes to the window below.
void DVOverlayWindow::giveBack(QWindow *host)
{
    for (QWindow *window = host; window; window = window->transientParent()) {
        if (window->transientParent() == windowHandle())
            window->setTransientParent(window == m_host ? nullptr : m_host.data());
    }
}

void DVOverlayWindow::takePlace()
{
    if (m_host)
        setGeometry(m_host->geometry());
    else if (const QScreen *screen = QGuiApplication::primaryScreen())
        setGeometry(screen->geometry());
}

void DVOverlayWindow::follow()
{
    const QSize before = size();
    takePlace();
    if (size() != before) // what only moves looks as before
        takeBackdrop();
}

void DVOverlayWindow::hostMayHaveGone()
{
    if (!isVisible() || (m_host && m_host->isVisible()))
        return;
    QWindow *other = activeHostWindow();
    if (!other) {
        hostIsGone();
        return;
    }
    attachTo(other);
    raise();
    activateWindow();
}

// A modal dialog that the host opens meanwhile would block this window, were it not above that.
void DVOverlayWindow::focusMoved(QWindow *window)
{
    QWindow *modal = QGuiApplication::modalWindow();
    if (!isVisible() || !window || window != modal || modal == m_host || !canBeCovered(modal))
        return;
    attachTo(modal);
    raise();
    activateWindow();
}

void DVOverlayWindow::takeBackdrop()
{
    m_backdrop = testAttribute(Qt::WA_TranslucentBackground) ? QPixmap() : pictureOf(m_host);
    update();
}

void DVOverlayWindow::paintBackdrop(QPainter &painter) const
{
    if (!testAttribute(Qt::WA_TranslucentBackground)) {
        painter.fillRect(rect(), Qt::black);
        painter.drawPixmap(0, 0, m_backdrop);
    }
}

void DVOverlayWindow::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    paintBackdrop(painter);
}
