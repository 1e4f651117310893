// The popup window over real windows of a host: stacking, closing in any order, focus, modal dialogs.
#include "DVViewEffect.h"
#include "PopupTest.h"

#include <QApplication>
#include <QDialog>
#include <QMenu>
#include <QShortcut>

using namespace Qt::Literals::StringLiterals;

namespace {

double maskAlpha()
{
    return popups().darkMask()->grab().toImage().pixelColor(0, 0).alphaF();
}

bool isDark()
{
    return qAbs(maskAlpha() - 0.3) < 0.01;
}

} // namespace

class tst_Popup : public PopupTest
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        delete new Screen;
        QVERIFY2(!DVPopupWindow::isMade(), "a screen that was never shown needs no window to go");
    }

    void coversTheHostAndFollowsIt()
    {
        QVERIFY(!popups().isVisible());
        DVPopupContentView *popup = presented()->popup();
        QVERIFY(popups().isVisible());
        QCOMPARE(popups().popupStack(), QList{popup});
        QCOMPARE(popups().rootViewController(), popup);
        QCOMPARE(popups().hostWindow(), m_host->window.windowHandle());
        QCOMPARE(popups().windowHandle()->transientParent(), m_host->window.windowHandle());
        QVERIFY(popups().windowFlags().testFlag(Qt::FramelessWindowHint));
        QCOMPARE(popups().geometry(), m_host->window.geometry());
        QTRY_VERIFY(popups().isActiveWindow());

        m_host->window.move(90, 80);
        QTRY_COMPARE(popups().geometry(), m_host->window.geometry());
        m_host->window.resize(300, 350);
        QTRY_COMPARE(popups().geometry(), m_host->window.geometry());
        QCOMPARE(popup->size(), QSize(300, 350));
        QCOMPARE(popups().darkMask()->geometry(), QRect(0, 0, 300, 350));
        popup->dismissAnimated(false);
        QVERIFY(!popups().isVisible());
        QVERIFY(popups().popupStack().isEmpty());
    }

    void appears()
    {
        const DVPopupContentView &first = *presented(true)->popup();
        QCOMPARE(DVViewEffect::scaleOf(first), 0.1);
        QCOMPARE(DVViewEffect::alphaOf(first), 0.0);
        QCOMPARE(maskAlpha(), 0.0F);
        double largest = 0;
        for (int time = 0; time < 490; time += 10) {
            DVAnimationClock::advance(10);
            largest = std::max(largest, DVViewEffect::scaleOf(first));
        }
        // The spring passes its end: by exp(-pi * 0.7 / sqrt(1 - 0.49)) = 4.6% of the way without a velocity.
        QVERIFY2(largest > 1.03 && largest < 1.06, qPrintable(QString::number(largest)));
        QVERIFY(first.graphicsEffect());
        DVAnimationClock::advance(10);
        QVERIFY(!first.graphicsEffect());
        QVERIFY(isDark());

        const DVPopupContentView &second = *presented(true)->popup();
        QCOMPARE(DVViewEffect::scaleOf(second), 0.1);
        QVERIFY(isDark()); // all the time
        DVAnimationClock::advance(500);
        QVERIFY(!second.graphicsEffect() && !first.graphicsEffect());
    }

    void disappears()
    {
        DVPopupContentView *first = presented()->popup();
        DVPopupContentView *second = presented()->popup();
        int completed = 0;
        second->dismissAnimated(true, [&] { ++completed; });
        DVAnimationClock::advance(150);
        QVERIFY(DVViewEffect::scaleOf(*second) < 1 && DVViewEffect::scaleOf(*second) > 0.1);
        QVERIFY(isDark());
        QCOMPARE(popups().popupStack().size(), 2);
        DVAnimationClock::advance(140);
        QCOMPARE(completed, 0);
        DVAnimationClock::advance(10);
        QCOMPARE(completed, 1);
        // The other does not become the root again; it stays where it was.
        QVERIFY(popups().rootViewController() && popups().rootViewController() != first);
        QVERIFY(!popups().rootViewController()->container());
        QVERIFY(first->isVisible());
        first->cancel();
        DVAnimationClock::advance(150);
        QVERIFY(maskAlpha() < 0.2);
        DVAnimationClock::advance(150);
        QVERIFY(!popups().isVisible());
    }

    void anyOrder_data()
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

    void anyOrder()
    {
        QFETCH(QList<int>, order);
        QFETCH(bool, animated);
        const QList<DVPopupContentView *> all{presented()->popup(), presented()->popup(),
                                              presented()->popup()};
        QList<DVPopupContentView *> left = all;
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

    void allLeaveAtOnce()
    {
        DVPopupContentView *first = presented()->popup();
        presented()->popup()->dismissAnimated(true);
        first->dismissAnimated(true);
        DVAnimationClock::advance(300);
        QVERIFY(popups().popupStack().isEmpty());
        QVERIFY(!popups().isVisible());
    }

    void comesWhileTheLastLeaves()
    {
        presented()->popup()->dismissAnimated(true);
        DVAnimationClock::advance(150);
        DVPopupContentView *second = presented(true)->popup();
        DVAnimationClock::advance(150);
        QCOMPARE(popups().popupStack(), QList{second});
        QVERIFY(popups().isVisible());
        DVAnimationClock::advance(350);
        QVERIFY(isDark());
        QVERIFY(!second->graphicsEffect());
    }

    void comesBackWhileLeaving()
    {
        DVPopupContentView *popup = presented()->popup();
        int completed = 0;
        popup->dismissAnimated(true, [&] { ++completed; });
        DVAnimationClock::advance(150);
        popup->presentPopupAnimated(true);
        QCOMPARE(completed, 1);
        DVAnimationClock::advance(500);
        QCOMPARE(popups().popupStack(), QList{popup});
        QVERIFY(popups().isVisible() && popup->isVisible());
    }

    void completionsOfOneThatComesBack()
    {
        DVPopupContentView popup(new DVViewController);
        popup.presentPopupAnimated(false);
        popup.dismissAnimated(true, [&] { popup.presentPopupAnimated(false); });
        popup.presentPopupAnimated(true);
        QCOMPARE(popups().popupStack(), QList{&popup});
        popup.dismissAnimated(false);

        QPointer<DVPopupContentView> doomed = presented()->popup();
        doomed->dismissAnimated(true, [&] { delete doomed.data(); });
        doomed->presentPopupAnimated(true);
        QVERIFY(!doomed);
        QVERIFY(popups().popupStack().isEmpty() && !popups().isVisible());
    }

    void deletedMidAnimation_data()
    {
        QTest::addColumn<bool>("leaving");
        QTest::addColumn<bool>("another");
        QTest::newRow("while it comes") << false << false;
        QTest::newRow("while it leaves") << true << false;
        QTest::newRow("while it comes, over another") << false << true;
        QTest::newRow("while it leaves, over another") << true << true;
    }

    void deletedMidAnimation()
    {
        QFETCH(bool, leaving);
        QFETCH(bool, another);
        if (another)
            presented();
        DVPopupContentView *popup = presented(true)->popup();
        int completed = 0;
        DVAnimationClock::advance(100);
        if (leaving) {
            popup->dismissAnimated(true, [&] { ++completed; });
            DVAnimationClock::advance(100);
        }
        delete popup;
        QCOMPARE(popups().popupStack().size(), another ? 1 : 0);
        QCOMPARE(popups().isVisible(), another);
        QCOMPARE(completed, leaving ? 1 : 0);
        DVAnimationClock::advance(1000);
        QCOMPARE(popups().isVisible(), another);
    }

    void screensAndTheirPopups()
    {
        QPointer<Screen> screen = new Screen;
        QPointer<DVPopupContentView> popup = screen->popup();
        popup->presentPopupAnimated(true);
        popup->dismissAnimated(false);
        QVERIFY(screen && popup);
        deleteWhatIsLeft();
        QVERIFY(!screen && !popup);

        // The screen first, while it is shown; and one that never was.
        for (const bool shown : {true, false}) {
            screen = new Screen;
            popup = screen->popup();
            if (shown)
                popup->presentPopupAnimated(true);
            delete screen;
            QVERIFY(popups().popupStack().isEmpty() && !popups().isVisible());
            deleteWhatIsLeft();
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

    void completions()
    {
        int completed = 0;
        const auto count = [&] { ++completed; };
        auto *screen = new Screen;
        popups().dismissPopup(screen->popup(), true, count);
        QCOMPARE(completed, 1); // it is not shown
        popups().dismissPopup(nullptr, true, count);
        QCOMPARE(completed, 2);
        screen->popup()->presentPopupAnimated(false);
        screen->popup()->presentPopupAnimated(false); // shown already
        QCOMPARE(popups().popupStack().size(), 1);
        // Twice, and then at once: each completion is called once. One of them presents the next popup.
        auto *next = new Screen;
        screen->popup()->dismissAnimated(true, count);
        screen->popup()->dismissAnimated(true, [&] {
            ++completed;
            next->popup()->presentPopupAnimated(false);
        });
        screen->popup()->dismissAnimated(false, count);
        QCOMPARE(completed, 5);
        QVERIFY(popups().isVisible());
        DVAnimationClock::advance(1000);
        QCOMPARE(completed, 5);
        QCOMPARE(popups().popupStack(), QList{next->popup()});
    }

    void hostClosesUnderneath()
    {
        QWidget other;
        other.setGeometry(10, 10, 200, 220);
        other.show();
        m_host->window.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&m_host->window));
        presented();
        presented(true);
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

    void modalDialogs()
    {
        QDialog dialog(&m_host->window);
        dialog.setGeometry(100, 100, 250, 260);
        dialog.open();
        QVERIFY(QTest::qWaitForWindowActive(&dialog));
        const Screen *screen = presented();
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

    // The host takes our window for its own: it is the active one.
    void dialogsOnThePopup()
    {
        const Screen *screen = presented();
        QTRY_VERIFY(popups().isActiveWindow());
        QDialog unstyled;
        QDialog dialog(QApplication::activeWindow());
        QCOMPARE(dialog.parentWidget(), &popups());
        QImage looks[2];
        for (QDialog *shown : {&unstyled, &dialog}) {
            auto *button = new QPushButton(u"OK"_qs, shown);
            button->ensurePolished();
            looks[shown == &dialog] = button->grab().toImage();
        }
        QCOMPARE(looks[1], looks[0]);
        dialog.setModal(true);
        dialog.setGeometry(120, 120, 240, 240);
        dialog.show();
        QVERIFY(!DVOverlayWindow::isOurs(dialog.windowHandle()));
        QTRY_COMPARE(popups().hostWindow(), dialog.windowHandle());
        QCOMPARE(dialog.windowHandle()->transientParent(), m_host->window.windowHandle());
        click(*screen->button);
        QCOMPARE(screen->presses, 1);
        dialog.close();
        QTRY_COMPARE(popups().hostWindow(), m_host->window.windowHandle());
    }

    void menusClose()
    {
        QMenu menu;
        QMenu *inner = menu.addMenu(u"Inner"_qs);
        inner->addAction(u"Action"_qs);
        menu.popup(m_host->window.mapToGlobal(QPoint(20, 20)));
        inner->popup(m_host->window.mapToGlobal(QPoint(60, 20)));
        QVERIFY(menu.isVisible() && inner->isVisible());
        const Screen *screen = presented();
        QVERIFY(!menu.isVisible() && !inner->isVisible());
        QCOMPARE(popups().hostWindow(), m_host->window.windowHandle());
        click(*screen->button);
        QCOMPARE(screen->presses, 1);
    }

    void wayBack()
    {
        int stolen = 0;
        QShortcut shortcut(QKeySequence(Qt::Key_Escape), &m_host->window);
        shortcut.setContext(Qt::ApplicationShortcut);
        connect(&shortcut, &QShortcut::activated, &shortcut, [&] { ++stolen; });
        for (int i = 0; i < 3; ++i)
            presented();
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

    void focusReturns()
    {
        const auto presentedWithFocus = [] {
            auto *screen = new Screen;
            screen->setFocusProxy(screen->field);
            screen->popup()->presentPopupAnimated(false);
            return screen;
        };
        QCOMPARE(QApplication::focusWidget(), &m_host->field);
        const Screen *first = presentedWithFocus();
        QTRY_COMPARE(QApplication::focusWidget(), first->field);
        QTest::keyClick(popups().windowHandle(), 'a');
        QCOMPARE(first->field->text(), u"a"_qs);
        const Screen *second = presentedWithFocus();
        QTRY_COMPARE(QApplication::focusWidget(), second->field);

        // The tabulator stays inside.
        QSet<QWidget *> met;
        for (int i = 0; i < 6; ++i) {
            QTest::keyClick(popups().windowHandle(), Qt::Key_Tab);
            met.insert(QApplication::focusWidget());
        }
        QCOMPARE(met, (QSet<QWidget *>{second->field, second->button}));
        QTest::keyClick(popups().windowHandle(), Qt::Key_Tab, Qt::ShiftModifier);
        QVERIFY(met.contains(QApplication::focusWidget()));

        second->popup()->dismissAnimated(true);
        DVAnimationClock::advance(300);
        QTRY_COMPARE(QApplication::focusWidget(), first->field);
        first->popup()->dismissAnimated(false);
        QTRY_COMPARE(QApplication::focusWidget(), &m_host->field);
        QVERIFY(m_host->window.isActiveWindow());
    }

    void applicationCanCloseAllWindows()
    {
        presented(true);
        presented(true);
        QApplication::closeAllWindows();
        QVERIFY(!m_host->window.isVisible());
        QTRY_VERIFY(!popups().isVisible());
        QVERIFY(popups().popupStack().isEmpty());
    }
};

QTEST_MAIN(tst_Popup)
#include "tst_popup.moc"
