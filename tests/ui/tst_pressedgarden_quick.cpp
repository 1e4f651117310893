// A long press on any text of the example application in Qt Quick finds exactly the strings that made it.
#include "Garden.h"
#include "PaintedPlant.h"
#include "PressedGarden.h"
#include "QuickTour.h"

#include <QApplication>
#include <QQmlApplicationEngine>
#include <QQuickItem>
#include <QQuickStyle>
#include <QQuickWindow>

namespace {

bool isSeenAt(const QQuickItem *item, const QPointF &inScene)
{
    for (; item; item = item->parentItem()) {
        if (!item->isVisible() || item->opacity() == 0 ||
            (item->clip() && !item->contains(item->mapFromScene(inScene))))
            return false;
    }
    return true;
}

void collectTexts(QQuickWindow &window, const QQuickItem &item, QList<SeenText> *texts)
{
    const QPointF middle = item.mapToScene(QPointF(item.width() / 2, item.height() / 2));
    const bool isText = item.inherits("QQuickText");
    if (isText && QRectF({}, window.size()).contains(middle) && isSeenAt(&item, middle))
        texts->append({&window, middle.toPoint(), item.property("text").toString(),
                       QString::fromLatin1(item.parentItem()->metaObject()->className())});
    const auto children = item.childItems();
    for (const QQuickItem *child : children)
        collectTexts(window, *child, texts);
}

void collectItems(const char *className, const QQuickItem &item, QList<const QQuickItem *> *found)
{
    if (item.inherits(className))
        found->append(&item);
    const auto children = item.childItems();
    for (const QQuickItem *child : children)
        collectItems(className, *child, found);
}

QList<const QQuickItem *> itemsOf(const char *className, const QQuickItem &item)
{
    QList<const QQuickItem *> found;
    collectItems(className, item, &found);
    return found;
}

void click(QQuickWindow &window, const QQuickItem &item)
{
    QTest::mouseClick(&window, Qt::LeftButton, {},
                      item.mapToScene(QPointF(item.width() / 2, item.height() / 2)).toPoint());
    QCoreApplication::processEvents();
}

void registerTypes()
{
    qmlRegisterType<PaintedPlant>("WindowGarden", 1, 0, "PaintedPlant");
    for (const QString &name : {QStringLiteral("Words"), QStringLiteral("Look")})
        qmlRegisterSingletonType(QUrl(u"qrc:/windowgarden/" + name + u".qml"), "WindowGarden", 1, 0,
                                 name.toLatin1().constData());
}

} // namespace

class tst_PressedGardenQuick : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QQuickStyle::setStyle(QStringLiteral("Basic"));
        registerTypes();
    }
    void everyText_data() { pressesOfAllKinds(); }
    void everyText();
};

void tst_PressedGardenQuick::everyText()
{
    QFETCH(const QString, steps);
    PressedGarden pressed;
    Garden garden;
    QQmlApplicationEngine engine;
    engine.setInitialProperties({{QStringLiteral("garden"), QVariant::fromValue(&garden)}});
    engine.load(QUrl(QStringLiteral("qrc:/windowgarden/Main.qml")));
    QCOMPARE(engine.rootObjects().size(), 1);
    auto &window = *qobject_cast<QQuickWindow *>(engine.rootObjects().constFirst());
    window.requestActivate();
    QVERIFY(QTest::qWaitForWindowActive(&window)); // the one before may still have been losing the focus
    QuickTour tour(window);
    const auto textsIn = [&](const QQuickItem &item) {
        QCoreApplication::processEvents();
        window.grabWindow(); // lists place their rows when they are drawn
        QList<SeenText> texts;
        collectTexts(window, item, &texts);
        return texts;
    };

    for (int screen = 0; screen < 3; ++screen) {
        tour.showScreen(screen);
        pressed.press([&] { return textsIn(*window.contentItem()); }, steps);
        QCOMPARE(window.property("screen").toInt(), screen); // no tab was clicked
    }
    const QQuickItem *overlay = itemsOf("QQuickOverlay", *window.contentItem()).value(0);
    QVERIFY(overlay && !overlay->isVisible());
    const QList<const QQuickItem *> menus = itemsOf("QQuickMenuBarItem", *window.contentItem());
    QCOMPARE(menus.size(), 3);
    for (const QQuickItem *menu : menus) {
        const auto texts = [&] {
            if (!overlay->isVisible())
                click(window, *menu);
            return textsIn(*overlay);
        };
        pressed.press(texts, steps);
        QVERIFY(window.isVisible()); // it did not quit
        QTest::keyClick(&window, Qt::Key_Escape);
        QTRY_VERIFY(!overlay->isVisible());
    }
    tour.openPreferences();
    QVERIFY(overlay->isVisible());
    pressed.press([&] { return textsIn(*overlay); }, steps);
    QVERIFY(overlay->isVisible());
    tour.closePreferences();
    QTRY_VERIFY(!overlay->isVisible());
    click(window, *menus.last());
    QTRY_VERIFY(!itemsOf("QQuickMenuItem", *overlay).isEmpty());
    click(window, *itemsOf("QQuickMenuItem", *overlay).value(0));
    pressed.press([&] { return textsIn(*overlay); }, steps);
    QVERIFY(overlay->isVisible());

    QVERIFY2(pressed.wrong.isEmpty(), qPrintable(pressed.wrong.join(u'\n')));
    QVERIFY2(pressed.met.size() >= 70,
             qPrintable(QString::number(pressed.met.size()))); // of the hundred strings
}

QTEST_MAIN(tst_PressedGardenQuick)
#include "tst_pressedgarden_quick.moc"
