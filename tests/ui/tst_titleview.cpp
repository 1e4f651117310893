// The title area of a popup while something loads.
#include "DVActivityIndicator.h"
#include "DVAnimation.h"
#include "DVPopupNavigationTitleView.h"
#include "DVViewEffect.h"

#include <QLabel>
#include <QPushButton>
#include <QRegularExpression>
#include <QTest>

#include <memory>

using namespace Qt::Literals::StringLiterals;

class tst_TitleView : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        QTest::failOnWarning(QRegularExpression(u"^(?!This plugin does not support)"_qs));
        DVAnimationClock::hold();
    }
    void cleanup() { DVAnimationClock::release(); }
    void withAndWithoutTitle();
    void successAndBack();
    void failure();
    void whatIsAskedLastWins();
    void diesMidAnimation();
    void clockGoesOnByItself();
};

void tst_TitleView::withAndWithoutTitle()
{
    DVPopupNavigationTitleView titled(u"Login"_qs);
    QVERIFY(titled.titleLabel());
    QCOMPARE(titled.titleLabel()->text(), u"Login"_qs);
    QVERIFY(!titled.contents());
    QCOMPARE(titled.view()->size(), titled.titleLabel()->size());
    QCOMPARE(titled.contents(), titled.titleLabel());
    QCOMPARE(titled.titleLabel()->geometry(), titled.view()->rect());

    DVPopupNavigationTitleView plain;
    QVERIFY(!plain.titleLabel());
    QCOMPARE(plain.view()->size(), QSize(44, 44));
    QCOMPARE(plain.contents(), plain.dorvaneLogo());
    QCOMPARE(plain.dorvaneLogo()->geometry(), QRect(0, 0, 44, 44));
    // The mark is on it: white in the rim of the disc of 20 points in the middle.
    const QImage image = plain.dorvaneLogo()->grab().toImage();
    const double scale = image.devicePixelRatio();
    QCOMPARE(image.pixelColor(int(22 * scale), int(12.5 * scale)), QColor(246, 247, 247));
}

void tst_TitleView::successAndBack()
{
    for (const QString &title : {QString(), u"Login"_qs}) {
        DVPopupNavigationTitleView area(title);
        QWidget *resting = title.isNull() ? static_cast<QWidget *>(area.dorvaneLogo()) : area.titleLabel();
        area.view();
        area.showLoading();
        QCOMPARE(area.contents(), resting);
        DVAnimationClock::advance(150);
        const double fading = DVViewEffect::alphaOf(*resting);
        QVERIFY(fading > 0.2 && fading < 0.8);
        DVAnimationClock::advance(150);
        auto *spinner = qobject_cast<DVActivityIndicator *>(area.contents());
        QVERIFY(spinner && spinner->isAnimating() && resting->isHidden());
        QCOMPARE(spinner->size(), area.view()->size());
        QCOMPARE(spinner->color(), QColor(246, 247, 247));
        QCOMPARE(DVViewEffect::alphaOf(*spinner), 0.0);
        DVAnimationClock::advance(300);
        QCOMPARE(DVViewEffect::alphaOf(*spinner), 1.0);

        area.hideLoadingWithSuccess(true);
        DVAnimationClock::advance(600);
        QWidget *mark = area.contents();
        QVERIFY(mark != spinner && mark != resting);
        QVERIFY(!spinner->isAnimating()); // nor does its clock run on
        QCOMPARE(mark->size(), QSize(44, 44));
        QVERIFY(qAbs(mark->geometry().center().x() - area.view()->rect().center().x()) <= 1);
        DVAnimationClock::advance(990);
        QCOMPARE(area.contents(), mark);
        DVAnimationClock::advance(10 + 300);
        QCOMPARE(area.contents(), resting);
        DVAnimationClock::advance(300);
        QVERIFY(!resting->isHidden() && mark->isHidden());
        QCOMPARE(DVViewEffect::alphaOf(*resting), 1.0);
    }
}

void tst_TitleView::failure()
{
    DVPopupNavigationTitleView area;
    area.view();
    area.showLoading();
    DVAnimationClock::advance(600);
    area.hideLoadingWithSuccess(false);
    DVAnimationClock::advance(600);
    QCOMPARE(area.contents(), area.dorvaneLogo());
}

void tst_TitleView::whatIsAskedLastWins()
{
    DVPopupNavigationTitleView area(u"Login"_qs);
    area.view();
    int completed = 0;
    QLabel *other = new QLabel(u"other"_qs);
    area.replaceContentsWithView(other, [&] { ++completed; });
    DVAnimationClock::advance(600);
    QCOMPARE(area.contents(), other);
    QCOMPARE(completed, 1);
    // A success is overtaken by the next load in its second on the screen.
    area.hideLoadingWithSuccess(true);
    DVAnimationClock::advance(600 + 500);
    area.showLoading();
    DVAnimationClock::advance(2000);
    QVERIFY(qobject_cast<DVActivityIndicator *>(area.contents()));
    // Asked again and again in the middle of fading.
    for (int i = 0; i < 5; ++i) {
        area.hideLoadingWithSuccess(false);
        DVAnimationClock::advance(110);
        area.showLoading();
        DVAnimationClock::advance(110);
    }
    area.hideLoadingWithSuccess(false);
    DVAnimationClock::advance(600);
    QCOMPARE(area.contents(), area.titleLabel());
    QCOMPARE(DVViewEffect::alphaOf(*area.titleLabel()), 1.0);
    int visible = 0;
    for (const QObject *child : area.view()->children())
        visible += child->isWidgetType() && !static_cast<const QWidget *>(child)->isHidden() ? 1 : 0;
    QCOMPARE(visible, 1);
    QCOMPARE(completed, 1);
}

void tst_TitleView::diesMidAnimation()
{
    auto area = std::make_unique<DVPopupNavigationTitleView>(u"Login"_qs);
    area->view();
    area->showLoading();
    DVAnimationClock::advance(100);
    area.reset();
    DVAnimationClock::advance(1000);

    // The bar that holds the view dies first.
    DVPopupNavigationTitleView other(u"Login"_qs);
    {
        QWidget bar;
        other.view()->setParent(&bar);
        other.showLoading();
        DVAnimationClock::advance(100);
    }
    DVAnimationClock::advance(1000);

    // An animation whose step deletes what owns it.
    auto owner = std::make_unique<QObject>();
    int finished = 0;
    DVAnimation::run(
        *owner, 100, DVAnimation::Curve::Linear,
        [&](double progress) {
            if (progress > 0.5)
                owner.reset();
        },
        [&] { ++finished; });
    DVAnimationClock::advance(200);
    QVERIFY(!owner);
    QCOMPARE(finished, 0);
}

void tst_TitleView::clockGoesOnByItself()
{
    DVAnimationClock::release();
    QObject owner;
    double last = 0;
    bool finished = false;
    DVAnimation::run(
        owner, 50, DVAnimation::Curve::EaseInOut,
        [&](double progress) {
            QVERIFY(progress >= last);
            last = progress;
        },
        [&] { finished = true; });
    QTRY_VERIFY(finished);
    QCOMPARE(last, 1.0);
}

QTEST_MAIN(tst_TitleView)
#include "tst_titleview.moc"
