// What popups show: their looks, which the host's do not change, their bars and screens, and the flash.
#include "DVFlashWindow.h"
#include "DVNavigationController.h"
#include "DVPageControl.h"
#include "PopupTest.h"

#include <QAccessible>
#include <QApplication>
#include <QInputMethod>
#include <QScopeGuard>

#include <functional>

using namespace Qt::Literals::StringLiterals;

namespace {

// Says nothing of the size of the host's own window, which ours would follow.
const QString hostileSheet =
    u"* { background: yellow; color: lime; font: bold italic 40px serif; border: 5px solid red; padding: "
    u"20px; "
    "margin: 9px; letter-spacing: 8px; text-decoration: underline; border-radius: 20px; }"
    "QPushButton, QLineEdit, DVPopupContentView, DVPanel, DVNavigationBar, DVViewController "
    "{ min-width: 600px; max-height: 10px; }"
    "QPushButton:enabled { background: red; } QLineEdit:focus { background: blue; }"_qs;

// Of a screen with a title and a button in its bar. Something happens while it is shown.
QImage picture(const std::function<void()> &meanwhile)
{
    auto *screen = new Screen(u"Title"_qs);
    screen->addRightButton(u"Close"_qs);
    screen->popup()->presentPopupAnimated(false);
    popups().activateWindow();
    meanwhile();
    QCoreApplication::processEvents();
    screen->popup()->setFocus();
    const QImage image = popups().grab().toImage();
    screen->popup()->dismissAnimated(false);
    deleteWhatIsLeft();
    return image;
}

} // namespace

class tst_PopupScreens : public PopupTest
{
    Q_OBJECT

private Q_SLOTS:
    void geometryAndColors_data()
    {
        QTest::addColumn<bool>("compositor");
        QTest::newRow("with a compositor") << true;
        QTest::newRow("without one, over a picture of the host") << false;
    }

    void geometryAndColors()
    {
        QFETCH(const bool, compositor);
        dv_setHasCompositor(compositor);
        const Screen *screen = presented();
        QCOMPARE(popups().testAttribute(Qt::WA_TranslucentBackground), compositor);
        const DVPopupContentView &popup = *screen->popup();
        QTRY_COMPARE(popup.container()->geometry(), QRect(15, 15, 370, 470));
        QTRY_COMPARE(popup.navigationController()->geometry(), QRect(0, 0, 370, 470));
        QCOMPARE(screen->geometry(), QRect(0, 44, 370, 426));

        const QImage image = popups().grab().toImage();
        const double scale = image.devicePixelRatio();
        const auto at = [&](double x, double y) { return image.pixelColor(int(x * scale), int(y * scale)); };
        const QColor mask = at(5, 300);
        QVERIFY2(qAbs(mask.alpha() - (compositor ? 76.5 : 255)) <= 1 && mask.green() == 0 &&
                     qAbs(mask.red() - (compositor ? 0 : 178.5)) <= 1.5,
                 qPrintable(mask.name(QColor::HexArgb)));
        QCOMPARE(at(30, 30), QColor(86, 90, 91));
        QCOMPARE(at(200, 400), QColor(247, 247, 247));
        // Corners of radius 7: what lies in them is mask, a little further in is panel.
        for (const QPointF corner :
             {QPointF(15, 15), QPointF(384.5, 15), QPointF(15, 484.5), QPointF(384.5, 484.5)})
            QCOMPARE(at(corner.x(), corner.y()), mask);
        QCOMPARE(at(18.5, 18.5), QColor(86, 90, 91));
        QCOMPARE(at(381, 481), QColor(247, 247, 247));
    }

    void thePictureOfTheHost()
    {
        dv_setHasCompositor(false);
        presented();
        const auto below = [] { return popups().grab().toImage().pixelColor(5, 300); };
        const QColor red = below();
        m_host->window.setStyleSheet(u"QWidget { background: #0000ff; }"_qs);
        m_host->window.move(90, 80);
        QTRY_COMPARE(popups().geometry(), m_host->window.geometry());
        QCOMPARE(below(), red);
        m_host->window.resize(400, 480);
        QTRY_COMPARE(popups().geometry(), m_host->window.geometry());
        QCOMPARE(below(), QColor(0, 0, red.red()));
    }

    void nothingLeaks()
    {
        m_host->field.clearFocus(); // it looks different with the focus
        const QImage hostBefore = m_host->window.grab().toImage();
        QImage host;
        const QImage plain = picture([&] {
            QCoreApplication::processEvents();
            host = m_host->window.grab().toImage();
        });
        QCOMPARE(host, hostBefore);

        const QImage styledMeanwhile = picture([] { qApp->setStyleSheet(hostileSheet); });
        const QImage styledBefore = picture([] {});
        qApp->setStyleSheet({});
        QCOMPARE(styledMeanwhile, plain);
        QCOMPARE(styledBefore, plain);

        const QFont font = QApplication::font();
        const QPalette palette = QApplication::palette();
        QFont large(u"DejaVu Serif"_qs, 30, QFont::Bold, true);
        large.setLetterSpacing(QFont::AbsoluteSpacing, 5);
        QApplication::setFont(large);
        QApplication::setFont(large, "QPushButton");
        QApplication::setPalette(QPalette(Qt::green, Qt::blue));
        QApplication::setPalette(QPalette(Qt::yellow), "QLineEdit");
        const QImage withFontsAndColors = picture([] {});
        QApplication::setFont(font);
        QApplication::setPalette(palette);
        QCOMPARE(withFontsAndColors, plain);
    }

    void keyboard()
    {
        DVPopupContentView &popup = *presented()->popup();
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

    void keyboardThatIsUpBefore()
    {
        dv_setKeyboardFrame(QRectF(0, 300, 400, 200));
        const auto noKeyboard = qScopeGuard([] { dv_setKeyboardFrame({}); });
        const DVPopupContentView &popup = *presented()->popup();
        QCOMPARE(popup.geometry(), QRect(0, 0, 400, 300));
        dv_setKeyboardFrame({});
        Q_EMIT QGuiApplication::inputMethod()->visibleChanged();
        DVAnimationClock::advance(300);
        QCOMPARE(popup.geometry(), QRect(0, 0, 400, 500 - 15));
    }

    void barsRightToLeft()
    {
        QGuiApplication::setLayoutDirection(Qt::RightToLeft);
        auto *screen = new Screen;
        const DVBarButton *left = screen->addLeftButton(u"Accept"_qs);
        const DVBarButton *second = screen->addLeftButton(u"Reject"_qs);
        const DVBarButton *right = screen->addRightButton(u"Close"_qs);
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

    void navigation()
    {
        auto *screen = new Screen(u"Menu"_qs);
        DVNavigationController &navigation = *screen->popup()->navigationController();
        screen->popup()->presentPopupAnimated(false);
        QPointer<DVViewController> pushed = new DVViewController;
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
        deleteWhatIsLeft();
        QVERIFY(!pushed);
        QVERIFY(!navigation.popViewController()); // the root stays
        auto *doomed = new DVViewController;
        navigation.pushViewController(doomed);
        delete doomed;
        QCOMPARE(navigation.viewControllers(), QList<DVViewController *>{screen});
        QVERIFY(screen->isVisible());
    }

    void navigationSlides_data()
    {
        QTest::addColumn<Qt::LayoutDirection>("direction");
        QTest::newRow("from the right") << Qt::LeftToRight;
        QTest::newRow("from the left where one reads from the right") << Qt::RightToLeft;
    }

    void navigationSlides()
    {
        QFETCH(Qt::LayoutDirection, direction);
        QGuiApplication::setLayoutDirection(direction);
        const int sign = direction == Qt::RightToLeft ? -1 : 1;
        Screen *screen = presented();
        DVNavigationController &navigation = *screen->popup()->navigationController();
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
        deleteWhatIsLeft();
        QVERIFY(!pushed);
    }

    // Another way before the first is gone, and one that dies on its way.
    void slidesAreInterrupted()
    {
        Screen *screen = presented();
        DVNavigationController &navigation = *screen->popup()->navigationController();
        QPointer<DVViewController> pushed = new DVViewController;
        navigation.pushViewController(pushed, true);
        DVAnimationClock::advance(100);
        QVERIFY(navigation.popViewController(true));
        DVAnimationClock::advance(100);
        auto *other = new DVViewController;
        navigation.pushViewController(other, true);
        deleteWhatIsLeft();
        QVERIFY(!pushed);
        DVAnimationClock::advance(100);
        delete other;
        DVAnimationClock::advance(500);
        QCOMPARE(navigation.viewControllers(), QList<DVViewController *>{screen});
        QVERIFY(screen->isVisible());
        navigation.resize(navigation.size() - QSize(1, 1));
        QCOMPARE(screen->pos(), QPoint(0, 44));
    }

    void screenReaders()
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
        dots->setCurrentPage(3);
        QCOMPARE(roleAndName(dots).second, u"Page 4 of 14"_qs);
        QCOMPARE(roleAndName(button), std::pair(QAccessible::Button, u"Close"_qs));
        // Those of the host are none of ours.
        QCOMPARE(roleAndName(&m_host->field).first, QAccessible::EditableText);
    }

    void flash()
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
};

QTEST_MAIN(tst_PopupScreens)
#include "tst_popupscreens.moc"
