// The gestures in windows of Qt Quick: the host's items never notice but for the click that does not come.
#include "DVRows.h"
#include "GestureHost.h"

#include "DVCompositor.h"
#include "DVPopupContentView.h"
#include "DVPopupRootViewController.h"
#include "DVPopupWindow.h"
#include "DVWindowGestures.h"

#include <QApplication>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickView>
#include <QQuickWidget>
#include <QQuickWindow>
#include <QScopeGuard>
#include <QTest>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

namespace {

// Counts in "uses" what its content does when it is clicked.
QString scene(const QString &content)
{
    return QString(
        u"import QtQuick\nimport QtQuick.Controls\n"
        "Item { id: root; width: 300; height: 300; property int uses: 0; property int cancels: 0;\n"
        "property bool held: false\n" +
        content + u"\nText { id: text; text: 'Beside'; y: 280 } }");
}

// Where the scene is shown.
enum class Place { View, Widget, Container };

class Scene
{
public:
    Scene(const QString &qml, Place place)
    {
        QQmlComponent component(&m_engine);
        component.setData(scene(qml).toUtf8(), {});
        if (component.isError())
            qWarning() << component.errors();
        if (place == Place::Widget) {
            auto *quick = new QQuickWidget(&m_engine, &m_widget);
            quick->setAttribute(Qt::WA_AcceptTouchEvents);
            quick->setContent({}, &component, component.create());
            m_root = quick->rootObject();
            quick->setGeometry(0, 0, 300, 300);
            showWidget();
            return;
        }
        auto *view = new QQuickView(&m_engine, nullptr);
        view->setContent({}, &component, component.create());
        m_root = view->rootObject();
        if (place == Place::Container) {
            QWidget *container = QWidget::createWindowContainer(view, &m_widget);
            container->setGeometry(0, 0, 300, 300);
            showWidget();
        } else {
            m_view.reset(view);
            view->resize(300, 300);
            view->show();
        }
        m_target = view;
        QCoreApplication::processEvents();
    }

    QWindow *target() const { return m_target; } // of the events
    int uses() const { return m_root->property("uses").toInt(); }
    int cancels() const { return m_root->property("cancels").toInt(); }
    bool isHeld() const { return m_root->property("held").toBool(); }

private:
    void showWidget()
    {
        m_widget.setGeometry(20, 20, 300, 300);
        m_widget.show();
        m_target = m_widget.windowHandle();
        QCoreApplication::processEvents();
    }

    QQmlEngine m_engine;
    QWidget m_widget;
    std::unique_ptr<QQuickView> m_view;
    QQuickItem *m_root = nullptr;
    QWindow *m_target = nullptr;
};

} // namespace

Q_DECLARE_METATYPE(Place)

class TestGesturesQuick : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QApplication::setDoubleClickInterval(0); }
    void init()
    {
        m_host = std::make_unique<GestureHost>();
        DVState::shared().screenshotMode = true;
    }

    void cleanup() { m_host.reset(); }

    void clicksAreNotMade_data()
    {
        QTest::addColumn<QString>("content");
        QTest::addColumn<Place>("place");
        QTest::addColumn<bool>("byTouch");
        const QList<std::pair<const char *, QString>> contents{
            {"a mouse area",
             u"MouseArea { anchors.fill: parent; onClicked: root.uses++; onCanceled: root.cancels++;"
             "onContainsPressChanged: root.held = containsPress }"_qs},
            {"a button", u"Button { anchors.fill: parent; text: 'Press'; onClicked: root.uses++;"
                         "onCanceled: root.cancels++; onPressedChanged: root.held = pressed }"_qs},
            {"a check box", u"CheckBox { anchors.fill: parent; text: 'Check'; onToggled: root.uses++ }"_qs},
            {"a delegate of a list",
             u"ListView { anchors.fill: parent; model: 3; delegate: ItemDelegate { width: 300; height: 300;"
             "text: 'Entry'; onClicked: root.uses++ } }"_qs},
            {"a mouse area in a flickable",
             u"Flickable { anchors.fill: parent; contentHeight: 900; MouseArea { width: 300; height: 900;"
             "onClicked: root.uses++ } }"_qs},
            {"a tap handler", u"TapHandler { onTapped: root.uses++; onCanceled: root.cancels++;"
                              "onPressedChanged: root.held = pressed }"_qs},
            {"a tap handler that releases within bounds",
             u"TapHandler { gesturePolicy: TapHandler.ReleaseWithinBounds; onTapped: root.uses++;"
             "onCanceled: root.cancels++; onPressedChanged: root.held = pressed }"_qs},
            {"a tap handler within bounds",
             u"TapHandler { gesturePolicy: TapHandler.WithinBounds; onTapped: root.uses++;"
             "onPressedChanged: root.held = pressed }"_qs},
        };
        for (const auto &[name, content] : contents) {
            QTest::addRow("%s, with the mouse", name) << content << Place::View << false;
            QTest::addRow("%s, with a finger", name) << content << Place::View << true;
            QTest::addRow("%s in a widget, with the mouse", name) << content << Place::Widget << false;
            // Others get no taps from a finger in a widget, with us or without.
            if (!content.contains(u"View") && !content.contains(u"Flickable") &&
                !content.startsWith(u"TapHandler { onTapped"))
                QTest::addRow("%s in a widget, with a finger", name) << content << Place::Widget << true;
            QTest::addRow("%s in a container, with the mouse", name) << content << Place::Container << false;
            QTest::addRow("%s in a container, with a finger", name) << content << Place::Container << true;
        }
    }

    void clicksAreNotMade()
    {
        QFETCH(const QString, content);
        QFETCH(const Place, place);
        QFETCH(const bool, byTouch);
        const QString click = byTouch ? u"1+ wait 300 1-"_qs : u"L+ wait 300 L-"_qs;
        const Scene host(content, place);
        Hand hand(host.target(), {150, 150});

        DVGestureWatch::remove();
        hand.perform(click);
        QCOMPARE(host.uses(), 1);
        DVGestureWatch::install().cover(DVGestureWatch::Cover::EditionAndActions);
        hand.perform(click);
        QCOMPARE(host.uses(), 2); // as without us
        QCOMPARE(host.cancels(), 0);

        QCOMPARE(m_host->askedBy(hand, byTouch ? u"1+ hold 1-"_qs : longPress), u"capture"_qs);
        QCOMPARE(host.uses(), 2);
        QVERIFY(!host.isHeld());

        hand.perform(click);
        QCOMPARE(host.uses(), 3);
    }

    void theHostGoesOn_data()
    {
        // of the gestures
        const DVRows<QString, const char *, const char *, bool> row("content", "steps", "expected", "used");
        const QString flickable =
            u"Flickable { anchors.fill: parent; contentWidth: 900; onContentXChanged: root.uses++ }"_qs;
        row("a flickable is flicked", flickable, "L+ move -20 move -20 move -20 move -20 hold L-", "", true);
        row("a flickable is not moved by an edit", flickable, "L+ hold move -20 move -20 move -20 L-",
            "capture", false);
        const QString slider = u"Slider { anchors.fill: parent; value: 0.5; onMoved: root.uses++ }"_qs;
        row("a slider is moved", slider, "L+ move 20 move 20 hold L-", "", true);
        row("an item is dragged",
            u"Rectangle { width: 300; height: 300; onXChanged: root.uses++; DragHandler {} }"_qs,
            "L+ move 15 move 20 hold move 20 L-", "", true);
        row("an item is not dragged by an edit",
            u"Rectangle { width: 300; height: 300; onXChanged: root.uses++; DragHandler {} }"_qs,
            "L+ hold move 15 move 20 move 20 L-", "capture", false);
        row("a button that repeats goes on when it is held",
            u"Button { anchors.fill: parent; autoRepeat: true; autoRepeatDelay: 1; autoRepeatInterval: 1;"
            "text: 'More'; onClicked: root.uses++ }"_qs,
            "L+ hold L-", "", true);
        row("a long press of the host's own comes as ever, to a point",
            u"MouseArea { anchors.fill: parent; onPressAndHold: root.uses++ }"_qs, "L+ wait 500 L-", "",
            false);
    }

    void theHostGoesOn()
    {
        QFETCH(const QString, content);
        QFETCH(const QString, steps);
        const Scene host(content, Place::View);
        QTEST(m_host->askedBy({host.target(), {150, 150}}, steps), "expected");
        QTEST(host.uses() > 0, "used");
    }

    // Not with the mask of before in it, which would be painted on it again.
    void thePictureUnderAPopupWithoutACompositor()
    {
        dv_setHasCompositor(false);
        const auto asIs = qScopeGuard([] { dv_setHasCompositor({}); });
        QQuickView view;
        view.setColor(Qt::red);
        view.setGeometry(60, 60, 300, 300);
        view.show();
        QVERIFY(QTest::qWaitForWindowExposed(&view));
        DVPopupRootViewController screen;
        screen.popup()->presentPopupAnimated(false);
        DVPopupWindow &popups = DVPopupWindow::sharedPopup();
        QVERIFY(QTest::qWaitForWindowExposed(&popups));
        const auto below = [&] { return popups.grab().toImage().pixelColor(5, 150); };
        const QColor once = below();
        QVERIFY2(qAbs(once.red() - 255 * 0.7) <= 1.5 && once.green() == 0, qPrintable(once.name()));
        view.resize(320, 300);
        QTRY_COMPARE(popups.size(), QSize(320, 300));
        QCOMPARE(below(), once);
        screen.popup()->dismissAnimated(false);
    }

private:
    std::unique_ptr<GestureHost> m_host;
};

QTEST_MAIN(TestGesturesQuick)
#include "tst_gestures_quick.moc"
