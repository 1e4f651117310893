// The popup window over real windows of a host: stacking, closing in any order, focus, modal dialogs, and
// nothing that leaks in or out.
#include "DVAnimation.h"
#include "DVColors.h"
#include "DVCompositor.h"
#include "DVFlashWindow.h"
#include "DVNavigationController.h"
#include "DVPageControl.h"
#include "DVPopupContentView.h"
#include "DVPopupRootViewController.h"
#include "DVPopupWindow.h"
#include "DVViewEffect.h"

#include <QAccessible>
#include <QApplication>
#include <QDialog>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QRegularExpression>
#include <QShortcut>
#include <QTest>
#include <QVBoxLayout>

#include <memory>

using namespace Qt::Literals::StringLiterals;

namespace {

// A screen with a field and a button.
class Screen : public DVPopupRootViewController
{
public:
    QLineEdit *field = new QLineEdit(this);
    QPushButton *button = new QPushButton(u"Press"_qs, this);
    int presses = 0;

    explicit Screen(const QString &title = u"Screen"_qs)
    {
        setTitle(title);
        field->setGeometry(20, 20, 150, 30);
        button->setGeometry(20, 60, 100, 30);
        connect(button, &QPushButton::clicked, this, [this] { ++presses; });
    }
};

struct Host
{
    QWidget window;
    QLineEdit field{&window};

    Host()
    {
        window.setGeometry(40, 30, 400, 500);
        window.setStyleSheet(u"QWidget { background: #ff0000; }"_qs);
        field.setGeometry(10, 10, 100, 30);
        window.show();
        window.activateWindow();
        field.setFocus();
    }
};

// As the window system would deliver it: what is blocked by a modal window gets nothing.
void click(QWidget &widget)
{
    QTest::mouseClick(widget.window()->windowHandle(), Qt::LeftButton, {},
                      widget.mapTo(widget.window(), widget.rect().center()));
}

DVPopupWindow &popups()
{
    return DVPopupWindow::sharedPopup();
}

double maskAlpha()
{
    return popups().darkMask()->grab().toImage().pixelColor(0, 0).alphaF();
}

// Says nothing of the size of the host's own window, which ours would follow.
const QString hostileSheet =
    u"* { background: yellow; color: lime; font: bold italic 40px serif; border: 5px solid red; padding: "
    u"20px; "
    "margin: 9px; letter-spacing: 8px; text-decoration: underline; border-radius: 20px; }"
    "QPushButton, QLineEdit, DVPopupContentView, DVPanel, DVNavigationBar, DVViewController "
    "{ min-width: 600px; max-height: 10px; }"
    "QPushButton:enabled { background: red; } QLineEdit:focus { background: blue; }"_qs;

} // namespace

class tst_Popup : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void coversTheHostAndFollowsIt();
    void geometryAndColors();
    void appears();
    void disappears();
    void anyOrder_data();
    void anyOrder();
    void allLeaveAtOnce();
    void comesWhileTheLastLeaves();
    void comesBackWhileLeaving();
    void deletedMidAnimation_data();
    void deletedMidAnimation();
    void screensAndTheirPopups();
    void completions();
    void hostClosesUnderneath();
    void modalDialogs();
    void menusClose();
    void wayBack();
    void focusReturns();
    void tabStaysInside();
    void keyboard();
    void withoutCompositor();
    void nothingLeaks();
    void rightToLeft();
    void navigation();
    void navigationSlides_data();
    void navigationSlides();
    void screenReaders();
    void applicationCanCloseAllWindows();
    void flash();

private:
    std::unique_ptr<Host> m_host;
};

void tst_Popup::init()
{
    QTest::failOnWarning(QRegularExpression(u"^(?!This plugin does not support)"_qs));
    DVAnimationClock::hold();
    dv_setHasCompositor(true); // X11 in tests has none
    m_host = std::make_unique<Host>();
    QVERIFY(QTest::qWaitForWindowActive(&m_host->window));
}

void tst_Popup::cleanup()
{
    for (DVPopupContentView *popup : popups().popupStack())
        popups().dismissPopup(popup, false);
    QVERIFY(popups().isHidden());
    m_host.reset();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    dv_setHasCompositor({});
    DVAnimationClock::release();
}

void tst_Popup::coversTheHostAndFollowsIt()
{
    QVERIFY(!popups().isVisible());
    QCOMPARE(&popups(), &popups());
    auto *screen = new Screen;
    screen->popup()->presentPopupAnimated(false);
    QVERIFY(popups().isVisible());
    QCOMPARE(popups().popupStack(), QList{screen->popup()});
    QCOMPARE(popups().rootViewController(), screen->popup());
    QCOMPARE(popups().hostWindow(), m_host->window.windowHandle());
    QCOMPARE(popups().windowHandle()->transientParent(), m_host->window.windowHandle());
    QVERIFY(popups().windowFlags().testFlag(Qt::FramelessWindowHint));
    QCOMPARE(popups().geometry(), m_host->window.geometry());
    QTRY_VERIFY(popups().isActiveWindow());

    m_host->window.move(90, 80);
    QTRY_COMPARE(popups().geometry(), m_host->window.geometry());
    m_host->window.resize(300, 350);
    QTRY_COMPARE(popups().geometry(), m_host->window.geometry());
    QCOMPARE(screen->popup()->size(), QSize(300, 350));
    QCOMPARE(popups().darkMask()->geometry(), QRect(0, 0, 300, 350));
    screen->popup()->dismissAnimated(false);
    QVERIFY(!popups().isVisible());
    QVERIFY(popups().popupStack().isEmpty());
}

void tst_Popup::geometryAndColors()
{
    auto *screen = new Screen;
    screen->popup()->presentPopupAnimated(false);
    const DVPopupContentView &popup = *screen->popup();
    QTRY_COMPARE(popup.container()->geometry(), QRect(15, 15, 370, 470));
    QTRY_COMPARE(popup.navigationController()->geometry(), QRect(0, 0, 370, 470));
    QCOMPARE(screen->geometry(), QRect(0, 44, 370, 426));

    const QImage image = popups().grab().toImage();
    const double scale = image.devicePixelRatio();
    const auto at = [&](double x, double y) { return image.pixelColor(int(x * scale), int(y * scale)); };
    const QColor mask = at(5, 5);
    QVERIFY(qAbs(mask.alpha() - 76.5) <= 1 && mask.red() == 0);
    QCOMPARE(at(30, 30), QColor(86, 90, 91));
    QCOMPARE(at(200, 400), QColor(247, 247, 247));
    // Corners of radius 7: what lies in them is mask, a little further in is panel.
    for (const QPointF corner :
         {QPointF(15, 15), QPointF(384.5, 15), QPointF(15, 484.5), QPointF(384.5, 484.5)})
        QCOMPARE(at(corner.x(), corner.y()), mask);
    QCOMPARE(at(18.5, 18.5), QColor(86, 90, 91));
    QCOMPARE(at(381, 481), QColor(247, 247, 247));
}

void tst_Popup::appears()
{
    auto *first = new Screen;
    first->popup()->presentPopupAnimated(true);
    QCOMPARE(DVViewEffect::scaleOf(*first->popup()), 0.1);
    QCOMPARE(DVViewEffect::alphaOf(*first->popup()), 0.0);
    QCOMPARE(maskAlpha(), 0.0F);
    double largest = 0;
    for (int time = 0; time < 490; time += 10) {
        DVAnimationClock::advance(10);
        largest = std::max(largest, DVViewEffect::scaleOf(*first->popup()));
    }
    // The spring passes its end: by exp(-pi * 0.7 / sqrt(1 - 0.49)) = 4.6% of the way without a velocity.
    QVERIFY2(largest > 1.03 && largest < 1.06, qPrintable(QString::number(largest)));
    QVERIFY(first->popup()->graphicsEffect());
    DVAnimationClock::advance(10);
    QVERIFY(!first->popup()->graphicsEffect());
    QVERIFY(qAbs(maskAlpha() - 0.3) < 0.01);

    auto *second = new Screen;
    second->popup()->presentPopupAnimated(true);
    QCOMPARE(DVViewEffect::scaleOf(*second->popup()), 0.1);
    QVERIFY(qAbs(maskAlpha() - 0.3) < 0.01); // dark all the time
    DVAnimationClock::advance(500);
    QVERIFY(!second->popup()->graphicsEffect());
    QVERIFY(!first->popup()->graphicsEffect());
}

void tst_Popup::disappears()
{
    auto *first = new Screen;
    auto *second = new Screen;
    first->popup()->presentPopupAnimated(false);
    second->popup()->presentPopupAnimated(false);
    int completed = 0;
    QPointer<DVPopupContentView> popup = second->popup();
    popup->dismissAnimated(true, [&] { ++completed; });
    DVAnimationClock::advance(150);
    QVERIFY(DVViewEffect::scaleOf(*popup) < 1 && DVViewEffect::scaleOf(*popup) > 0.1);
    QVERIFY(qAbs(maskAlpha() - 0.3) < 0.01);
    QCOMPARE(popups().popupStack().size(), 2);
    DVAnimationClock::advance(140);
    QCOMPARE(completed, 0);
    DVAnimationClock::advance(10);
    QCOMPARE(completed, 1);
    QVERIFY(popups().isVisible());
    QCOMPARE(popups().popupStack(), QList{first->popup()});
    // The other does not become the root again; it stays where it was.
    QVERIFY(popups().rootViewController() && popups().rootViewController() != first->popup());
    QVERIFY(!popups().rootViewController()->container());
    QVERIFY(first->popup()->isVisible());
    first->popup()->cancel();
    DVAnimationClock::advance(150);
    QVERIFY(maskAlpha() < 0.2);
    DVAnimationClock::advance(150);
    QVERIFY(!popups().isVisible());
}

void tst_Popup::anyOrder_data()
{
    QTest::addColumn<QList<int>>("order");
    QTest::addColumn<bool>("animated");
    for (const bool animated : {false, true}) {
        const char *how = animated ? "animated" : "at once";
        QTest::addRow("top first, %s", how) << QList{2, 1, 0} << animated;
        QTest::addRow("bottom first, %s", how) << QList{0, 1, 2} << animated;
        QTest::addRow("from the middle, %s", how) << QList{1, 2, 0} << animated;
        QTest::addRow("the middle last, %s", how) << QList{2, 0, 1} << animated;
    }
}

void tst_Popup::anyOrder()
{
    QFETCH(QList<int>, order);
    QFETCH(bool, animated);
    QList<DVPopupContentView *> left;
    for (int i = 0; i < 3; ++i) {
        auto *screen = new Screen;
        screen->popup()->presentPopupAnimated(false);
        left.append(screen->popup());
    }
    const QList<DVPopupContentView *> all = left;
    int completed = 0;
    for (const int which : order) {
        QVERIFY(popups().isVisible());
        all[which]->dismissAnimated(animated, [&] { ++completed; });
        if (animated)
            DVAnimationClock::advance(300);
        left.removeAll(all[which]);
        QCOMPARE(popups().popupStack(), left);
        QCOMPARE(popups().isVisible(), !left.isEmpty());
    }
    QCOMPARE(completed, 3);
}

void tst_Popup::allLeaveAtOnce()
{
    auto *first = new Screen;
    auto *second = new Screen;
    first->popup()->presentPopupAnimated(false);
    second->popup()->presentPopupAnimated(false);
    second->popup()->dismissAnimated(true);
    first->popup()->dismissAnimated(true);
    DVAnimationClock::advance(300);
    QVERIFY(popups().popupStack().isEmpty());
    QVERIFY(!popups().isVisible());
}

void tst_Popup::comesWhileTheLastLeaves()
{
    auto *first = new Screen;
    first->popup()->presentPopupAnimated(false);
    first->popup()->dismissAnimated(true);
    DVAnimationClock::advance(150);
    auto *second = new Screen;
    second->popup()->presentPopupAnimated(true);
    DVAnimationClock::advance(150);
    QCOMPARE(popups().popupStack(), QList{second->popup()});
    QVERIFY(popups().isVisible());
    DVAnimationClock::advance(350);
    QVERIFY(qAbs(maskAlpha() - 0.3) < 0.01);
    QVERIFY(!second->popup()->graphicsEffect());
}

void tst_Popup::comesBackWhileLeaving()
{
    auto *screen = new Screen;
    screen->popup()->presentPopupAnimated(false);
    int completed = 0;
    screen->popup()->dismissAnimated(true, [&] { ++completed; });
    DVAnimationClock::advance(150);
    screen->popup()->presentPopupAnimated(true);
    QCOMPARE(completed, 1);
    DVAnimationClock::advance(500);
    QCOMPARE(popups().popupStack(), QList{screen->popup()});
    QVERIFY(popups().isVisible() && screen->popup()->isVisible());
}

void tst_Popup::deletedMidAnimation_data()
{
    QTest::addColumn<bool>("leaving");
    QTest::addColumn<bool>("another");
    QTest::newRow("while it comes") << false << false;
    QTest::newRow("while it leaves") << true << false;
    QTest::newRow("while it comes, over another") << false << true;
    QTest::newRow("while it leaves, over another") << true << true;
}

void tst_Popup::deletedMidAnimation()
{
    QFETCH(bool, leaving);
    QFETCH(bool, another);
    if (another)
        (new Screen)->popup()->presentPopupAnimated(false);
    auto *screen = new Screen;
    int completed = 0;
    screen->popup()->presentPopupAnimated(true);
    DVAnimationClock::advance(100);
    if (leaving) {
        screen->popup()->dismissAnimated(true, [&] { ++completed; });
        DVAnimationClock::advance(100);
    }
    delete screen->popup();
    QCOMPARE(popups().popupStack().size(), another ? 1 : 0);
    QCOMPARE(popups().isVisible(), another);
    QCOMPARE(completed, leaving ? 1 : 0);
    DVAnimationClock::advance(1000);
    QCOMPARE(popups().isVisible(), another);
}

void tst_Popup::screensAndTheirPopups()
{
    QPointer<Screen> screen = new Screen;
    QPointer<DVPopupContentView> popup = screen->popup();
    QCOMPARE(popup->navigationController()->topViewController(), screen.data());
    popup->presentPopupAnimated(true);
    popup->dismissAnimated(false);
    QVERIFY(screen && popup);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QVERIFY(!screen && !popup);

    // The screen first, while it is shown; and one that never was.
    for (const bool shown : {true, false}) {
        screen = new Screen;
        popup = screen->popup();
        if (shown)
            popup->presentPopupAnimated(true);
        delete screen;
        QVERIFY(popups().popupStack().isEmpty() && !popups().isVisible());
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(!popup);
    }

    // A popup that somebody else owns is shown again and again.
    DVPopupContentView kept(new DVViewController);
    for (int i = 0; i < 2; ++i) {
        kept.presentPopupAnimated(false);
        QVERIFY(kept.isVisible());
        kept.dismissAnimated(false);
        QVERIFY(!kept.parent());
    }
}

void tst_Popup::completions()
{
    int completed = 0;
    auto *screen = new Screen;
    popups().dismissPopup(screen->popup(), true, [&] { ++completed; });
    QCOMPARE(completed, 1); // it is not shown
    popups().dismissPopup(nullptr, true, [&] { ++completed; });
    QCOMPARE(completed, 2);
    screen->popup()->presentPopupAnimated(false);
    screen->popup()->presentPopupAnimated(false); // shown already
    QCOMPARE(popups().popupStack().size(), 1);
    // Twice, and then at once: each completion is called once. One of them presents the next popup.
    auto *next = new Screen;
    screen->popup()->dismissAnimated(true, [&] { ++completed; });
    screen->popup()->dismissAnimated(true, [&] {
        ++completed;
        next->popup()->presentPopupAnimated(false);
    });
    screen->popup()->dismissAnimated(false, [&] { ++completed; });
    QCOMPARE(completed, 5);
    QVERIFY(popups().isVisible());
    DVAnimationClock::advance(1000);
    QCOMPARE(completed, 5);
    QCOMPARE(popups().popupStack(), QList{next->popup()});
}

void tst_Popup::hostClosesUnderneath()
{
    QWidget other;
    other.setGeometry(10, 10, 200, 220);
    other.show();
    m_host->window.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&m_host->window));
    (new Screen)->popup()->presentPopupAnimated(false);
    (new Screen)->popup()->presentPopupAnimated(true);
    QCOMPARE(popups().hostWindow(), m_host->window.windowHandle());
    m_host.reset(); // closed and deleted
    QTRY_COMPARE(popups().hostWindow(), other.windowHandle());
    QCOMPARE(popups().geometry(), other.geometry());
    QCOMPARE(popups().popupStack().size(), 2);
    other.close();
    QTRY_VERIFY(!popups().isVisible());
    QVERIFY(popups().popupStack().isEmpty());
    QVERIFY(!popups().testAttribute(Qt::WA_QuitOnClose));
}

void tst_Popup::modalDialogs()
{
    QDialog dialog(&m_host->window);
    dialog.setGeometry(100, 100, 250, 260);
    dialog.open();
    QVERIFY(QTest::qWaitForWindowActive(&dialog));
    auto *screen = new Screen;
    screen->popup()->presentPopupAnimated(false);
    QCOMPARE(popups().hostWindow(), dialog.windowHandle());
    QCOMPARE(popups().geometry(), dialog.geometry());
    QTRY_VERIFY(popups().isActiveWindow());
    click(*screen->button);
    QCOMPARE(screen->presses, 1);

    // One that is opened meanwhile does not block it either.
    QDialog later;
    later.setModal(true);
    later.setGeometry(120, 120, 240, 240);
    later.show();
    QTRY_COMPARE(popups().hostWindow(), later.windowHandle());
    click(*screen->button);
    QCOMPARE(screen->presses, 2);
    later.close();
    QTRY_COMPARE(popups().hostWindow(), dialog.windowHandle());
    dialog.close();
    QTRY_COMPARE(popups().hostWindow(), m_host->window.windowHandle());
    click(*screen->button);
    QCOMPARE(screen->presses, 3);
}

void tst_Popup::menusClose()
{
    QMenu menu;
    QMenu *inner = menu.addMenu(u"Inner"_qs);
    inner->addAction(u"Action"_qs);
    menu.popup(m_host->window.mapToGlobal(QPoint(20, 20)));
    inner->popup(m_host->window.mapToGlobal(QPoint(60, 20)));
    QVERIFY(menu.isVisible() && inner->isVisible());
    auto *screen = new Screen;
    screen->popup()->presentPopupAnimated(false);
    QVERIFY(!menu.isVisible() && !inner->isVisible());
    QCOMPARE(popups().hostWindow(), m_host->window.windowHandle());
    click(*screen->button);
    QCOMPARE(screen->presses, 1);
}

void tst_Popup::wayBack()
{
    int stolen = 0;
    QShortcut shortcut(QKeySequence(Qt::Key_Escape), &m_host->window);
    shortcut.setContext(Qt::ApplicationShortcut);
    connect(&shortcut, &QShortcut::activated, &shortcut, [&] { ++stolen; });
    for (int i = 0; i < 3; ++i)
        (new Screen)->popup()->presentPopupAnimated(false);
    QTRY_VERIFY(popups().isActiveWindow());
    QTest::keyClick(popups().windowHandle(), Qt::Key_Escape);
    QTest::keyClick(popups().windowHandle(), Qt::Key_Back); // before the first has left
    DVAnimationClock::advance(300);
    QCOMPARE(popups().popupStack().size(), 1);
    QTest::keyClick(popups().windowHandle(), Qt::Key_Escape);
    DVAnimationClock::advance(300);
    QVERIFY(!popups().isVisible());
    QCOMPARE(stolen, 0);
}

void tst_Popup::focusReturns()
{
    QCOMPARE(QApplication::focusWidget(), &m_host->field);
    auto *first = new Screen;
    first->setFocusProxy(first->field);
    first->popup()->presentPopupAnimated(false);
    QTRY_COMPARE(QApplication::focusWidget(), first->field);
    for (const char key : {'a', 'b', 'c'})
        QTest::keyClick(popups().windowHandle(), key);
    QCOMPARE(first->field->text(), u"abc"_qs);
    auto *second = new Screen;
    second->setFocusProxy(second->field);
    second->popup()->presentPopupAnimated(false);
    QTRY_COMPARE(QApplication::focusWidget(), second->field);
    second->popup()->dismissAnimated(true);
    DVAnimationClock::advance(300);
    QTRY_COMPARE(QApplication::focusWidget(), first->field);
    first->popup()->dismissAnimated(false);
    QTRY_COMPARE(QApplication::focusWidget(), &m_host->field);
    QVERIFY(m_host->window.isActiveWindow());
}

void tst_Popup::tabStaysInside()
{
    auto *below = new Screen;
    below->popup()->presentPopupAnimated(false);
    auto *screen = new Screen;
    screen->setFocusProxy(screen->field);
    screen->popup()->presentPopupAnimated(false);
    QTRY_COMPARE(QApplication::focusWidget(), screen->field);
    QSet<QWidget *> met;
    for (int i = 0; i < 6; ++i) {
        QTest::keyClick(popups().windowHandle(), Qt::Key_Tab);
        met.insert(QApplication::focusWidget());
    }
    QCOMPARE(met, (QSet<QWidget *>{screen->field, screen->button}));
    QTest::keyClick(popups().windowHandle(), Qt::Key_Tab, Qt::ShiftModifier);
    QVERIFY(met.contains(QApplication::focusWidget()));
}

void tst_Popup::keyboard()
{
    auto *screen = new Screen;
    DVPopupContentView &popup = *screen->popup();
    popup.presentPopupAnimated(false);
    QCOMPARE(popup.geometry(), QRect(0, 0, 400, 500));
    popup.keyboardDidAppear(QRectF(0, 300, 400, 200));
    DVAnimationClock::advance(150);
    QVERIFY(popup.height() < 500 && popup.height() > 300);
    DVAnimationClock::advance(150);
    QCOMPARE(popup.geometry(), QRect(0, 0, 400, 300));
    QTRY_COMPARE(popup.container()->geometry(), QRect(15, 15, 370, 270));
    m_host->window.resize(400, 450); // the keyboard is still there
    QTRY_COMPARE(popup.geometry(), QRect(0, 0, 400, 250));
    popup.keyboardDidDisappear();
    DVAnimationClock::advance(300);
    QCOMPARE(popup.geometry(), QRect(0, 0, 400, 450 - 15));
    popup.keyboardDidAppear(); // it has no frame
    DVAnimationClock::advance(300);
    QCOMPARE(popup.geometry(), QRect(0, 0, 400, 450));
    popup.keyboardDidAppear(QRectF(0, 0, 400, 9999));
    DVAnimationClock::advance(300);
    QCOMPARE(popup.height(), 0);
}

void tst_Popup::withoutCompositor()
{
    dv_setHasCompositor(false);
    (new Screen)->popup()->presentPopupAnimated(false);
    QVERIFY(!popups().testAttribute(Qt::WA_TranslucentBackground));
    const QImage image = popups().grab().toImage();
    const double scale = image.devicePixelRatio();
    const QColor dimmed = image.pixelColor(int(5 * scale), int(300 * scale));
    QCOMPARE(dimmed.alpha(), 255);
    QVERIFY2(qAbs(dimmed.red() - 178.5) <= 1.5 && dimmed.green() == 0, qPrintable(dimmed.name()));
    QCOMPARE(image.pixelColor(int(15 * scale), int(15 * scale)), dimmed); // in the corner of the panel too
}

void tst_Popup::nothingLeaks()
{
    const auto picture = [](bool before) {
        if (!before)
            qApp->setStyleSheet(hostileSheet);
        auto *screen = new Screen(u"Title"_qs);
        screen->addRightButton(u"Close"_qs);
        screen->popup()->presentPopupAnimated(false);
        popups().activateWindow();
        if (before)
            qApp->setStyleSheet(hostileSheet); // while it is shown
        QCoreApplication::processEvents();
        screen->popup()->setFocus();
        const QImage image = popups().grab().toImage();
        screen->popup()->dismissAnimated(false);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        qApp->setStyleSheet({});
        return image;
    };
    m_host->field.clearFocus(); // it looks different with the focus
    const QImage hostBefore = m_host->window.grab().toImage();
    const QFont font = QApplication::font();
    const QPalette palette = QApplication::palette();

    auto *screen = new Screen(u"Title"_qs);
    screen->addRightButton(u"Close"_qs);
    screen->popup()->presentPopupAnimated(false);
    QCoreApplication::processEvents();
    screen->popup()->setFocus();
    const QImage plain = popups().grab().toImage();
    QCOMPARE(m_host->window.grab().toImage(), hostBefore);
    screen->popup()->dismissAnimated(false);
    const QImage during = picture(true);
    const QImage after = picture(false);
    QCOMPARE(during, plain);
    QCOMPARE(after, plain);

    QFont large(u"DejaVu Serif"_qs, 30, QFont::Bold, true);
    large.setLetterSpacing(QFont::AbsoluteSpacing, 5);
    QApplication::setFont(large);
    QApplication::setFont(large, "QPushButton");
    QApplication::setPalette(QPalette(Qt::green, Qt::blue));
    QApplication::setPalette(QPalette(Qt::yellow), "QLineEdit");
    auto *other = new Screen(u"Title"_qs);
    other->addRightButton(u"Close"_qs);
    other->popup()->presentPopupAnimated(false);
    QCoreApplication::processEvents();
    other->popup()->setFocus();
    const QImage styled = popups().grab().toImage();
    QApplication::setFont(font);
    QApplication::setPalette(palette);
    QCOMPARE(styled, plain);
}

void tst_Popup::rightToLeft()
{
    QGuiApplication::setLayoutDirection(Qt::RightToLeft);
    auto *screen = new Screen;
    DVBarButton *left = screen->addLeftButton(u"Accept"_qs);
    DVBarButton *second = screen->addLeftButton(u"Reject"_qs);
    DVBarButton *right = screen->addRightButton(u"Close"_qs);
    screen->popup()->presentPopupAnimated(false);
    QCoreApplication::processEvents();
    QCOMPARE(left->geometry().right(), 370 - 5 - 1);
    QCOMPARE(second->geometry().right(), left->x() - 1);
    QCOMPARE(right->x(), 5);
    QGuiApplication::setLayoutDirection(Qt::LeftToRight);
    QCoreApplication::processEvents();
    QCOMPARE(left->x(), 5);
    QCOMPARE(second->x(), left->geometry().right() + 1);
    QCOMPARE(right->geometry().right(), 370 - 5 - 1);
}

void tst_Popup::navigation()
{
    auto *screen = new Screen(u"Menu"_qs);
    DVNavigationController &navigation = *screen->popup()->navigationController();
    screen->popup()->presentPopupAnimated(false);
    QPointer<DVViewController> pushed = new DVViewController;
    pushed->setTitle(u"Language"_qs);
    navigation.pushViewController(pushed);
    QCOMPARE(pushed->navigationController(), &navigation);
    QVERIFY(pushed->isVisible() && !screen->isVisible());
    QCOMPARE(pushed->geometry(), QRect(0, 44, 370, 426));
    // The bar's own button leads back.
    auto *back = navigation.navigationBar()->findChild<DVBarButton *>();
    QCOMPARE(back->text(), u"Menu"_qs);
    QVERIFY(back->isVisible());
    click(*back);
    QVERIFY(screen->isVisible() && !back->isVisible());
    DVAnimationClock::advance(350);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QVERIFY(!pushed);
    QVERIFY(!navigation.popViewController()); // the root stays
    auto *doomed = new DVViewController;
    navigation.pushViewController(doomed);
    delete doomed;
    QCOMPARE(navigation.viewControllers(), QList<DVViewController *>{screen});
    QVERIFY(screen->isVisible());
}

void tst_Popup::navigationSlides_data()
{
    QTest::addColumn<Qt::LayoutDirection>("direction");
    QTest::newRow("from the right") << Qt::LeftToRight;
    QTest::newRow("from the left where one reads from the right") << Qt::RightToLeft;
}

void tst_Popup::navigationSlides()
{
    QFETCH(Qt::LayoutDirection, direction);
    QGuiApplication::setLayoutDirection(direction);
    const int sign = direction == Qt::RightToLeft ? -1 : 1;
    auto *screen = new Screen(u"Menu"_qs);
    DVNavigationController &navigation = *screen->popup()->navigationController();
    screen->popup()->presentPopupAnimated(false);
    QPointer<DVViewController> pushed = new DVViewController;
    navigation.pushViewController(pushed, true);
    QCOMPARE(navigation.topViewController(), pushed.data()); // at once
    QCOMPARE(pushed->pos(), QPoint(sign * 370, 44));
    QCOMPARE(screen->pos(), QPoint(0, 44));
    DVAnimationClock::advance(175);
    QCOMPARE(pushed->pos(), QPoint(sign * 185, 44));
    QVERIFY(screen->isVisible() && screen->x() * sign < 0);
    DVAnimationClock::advance(175);
    QCOMPARE(pushed->pos(), QPoint(0, 44));
    QVERIFY(!screen->isVisible());
    QCOMPARE(screen->pos(), QPoint(0, 44));

    click(*navigation.navigationBar()->findChild<DVBarButton *>());
    QCOMPARE(navigation.topViewController(), screen);
    DVAnimationClock::advance(175);
    QVERIFY(pushed && pushed->isVisible() && screen->isVisible());
    DVAnimationClock::advance(175);
    QCOMPARE(screen->pos(), QPoint(0, 44));
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QVERIFY(!pushed);

    // Another way before the first is gone, and one that dies on its way.
    pushed = new DVViewController;
    navigation.pushViewController(pushed, true);
    DVAnimationClock::advance(100);
    QVERIFY(navigation.popViewController(true));
    DVAnimationClock::advance(100);
    auto *other = new DVViewController;
    navigation.pushViewController(other, true);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QVERIFY(!pushed);
    DVAnimationClock::advance(100);
    delete other;
    DVAnimationClock::advance(500);
    QCOMPARE(navigation.viewControllers(), QList<DVViewController *>{screen});
    QVERIFY(screen->isVisible());
    navigation.resize(navigation.size() - QSize(1, 1));
    QCOMPARE(screen->pos(), QPoint(0, 44));
    QGuiApplication::setLayoutDirection(Qt::LeftToRight);
}

void tst_Popup::screenReaders()
{
    auto *screen = new Screen(u"Review changes"_qs);
    auto *dots = new DVPageControl(screen);
    dots->setNumberOfPages(14);
    dots->setCurrentPage(2);
    DVBarButton *button = screen->addRightButton(u"Close"_qs);
    screen->popup()->presentPopupAnimated(false);
    const auto roleAndName = [](QWidget *widget) {
        QAccessibleInterface *reader = QAccessible::queryAccessibleInterface(widget);
        return std::pair(reader->role(), reader->text(QAccessible::Name));
    };
    QCOMPARE(roleAndName(screen->popup()), std::pair(QAccessible::Dialog, u"Review changes"_qs));
    QCOMPARE(roleAndName(dots), std::pair(QAccessible::Indicator, u"Page 3 of 14"_qs));
    QCOMPARE(roleAndName(button), std::pair(QAccessible::Button, u"Close"_qs));
    // Those of the host are none of ours.
    QCOMPARE(roleAndName(&m_host->field).first, QAccessible::EditableText);
}

void tst_Popup::applicationCanCloseAllWindows()
{
    (new Screen)->popup()->presentPopupAnimated(true);
    (new Screen)->popup()->presentPopupAnimated(true);
    QApplication::closeAllWindows();
    QVERIFY(!m_host->window.isVisible());
    QTRY_VERIFY(!popups().isVisible());
    QVERIFY(popups().popupStack().isEmpty());
}

void tst_Popup::flash()
{
    const auto flashes = [] {
        QList<DVFlashWindow *> found;
        for (QWidget *widget : QApplication::topLevelWidgets()) {
            if (auto *flash = qobject_cast<DVFlashWindow *>(widget); flash && flash->isVisible())
                found.append(flash);
        }
        return found;
    };
    DVFlashWindow::flash();
    DVAnimationClock::advance(100);
    DVFlashWindow::flash(); // begins anew
    QCOMPARE(flashes().size(), 1);
    QWidget *flash = flashes().constFirst();
    QCOMPARE(flash->geometry(), m_host->window.geometry());
    QVERIFY(qAbs(flash->grab().toImage().pixelColor(9, 9).alphaF() - 0.8) < 0.01);
    QCOMPARE(DVOverlayWindow::activeHostWindow(), m_host->window.windowHandle());
    DVAnimationClock::advance(250);
    const QColor half = flash->grab().toImage().pixelColor(9, 9);
    QVERIFY(half.alphaF() > 0.3 && half.alphaF() < 0.5 && half.red() == 255);
    QVERIFY(flash->windowFlags().testFlag(Qt::WindowTransparentForInput));
    QCOMPARE(QApplication::focusWidget(), &m_host->field);
    DVAnimationClock::advance(250);
    QVERIFY(flashes().isEmpty());
}

QTEST_MAIN(tst_Popup)
#include "tst_popup.moc"
