// Page dots, badges and images, pixel by pixel.
#include "DVActivityIndicator.h"
#include "DVAnimation.h"
#include "DVColors.h"
#include "DVImages.h"
#include "DVPageControl.h"
#include "DVRows.h"
#include "DVStatusLabel.h"
#include "DVSystemFont.h"
#include "DVVectorImages.h"

#include <QAccessible>
#include <QApplication>
#include <QFontMetricsF>
#include <QPainter>
#include <QRegularExpression>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

// What a widget paints, on nothing, in the screen's pixels.
QImage painted(QWidget &widget)
{
    QImage image(widget.size() * widget.devicePixelRatio(), QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(widget.devicePixelRatio());
    image.fill(Qt::transparent);
    widget.render(&image, {}, {}, QWidget::DrawChildren);
    return image;
}

QColor at(const QImage &image, QPointF point)
{
    const QPointF pixel = point * image.devicePixelRatio();
    return image.pixelColor(int(pixel.x()), int(pixel.y()));
}

// The sum of what is covered, in pixels of the image.
double coverage(const QImage &image)
{
    double sum = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x)
            sum += image.pixelColor(x, y).alphaF();
    }
    return sum;
}

int whitePixels(const QImage &image, QRect within)
{
    int count = 0;
    for (int y = within.top(); y <= within.bottom(); ++y) {
        for (int x = within.left(); x <= within.right(); ++x) {
            const QColor color = image.pixelColor(x, y);
            count += color.red() > 200 && color.green() > 200 && color.blue() > 200 && color.alpha() > 200;
        }
    }
    return count;
}

bool about(double actual, double expected, double tolerance)
{
    return std::abs(actual - expected) <= tolerance;
}

} // namespace

class tst_SmallControls : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { QTest::failOnWarning(QRegularExpression(u"^(?!This plugin does not support)"_qs)); }

    void imagesAreMadeOnce()
    {
        QVERIFY(!dv_success && !dv_disclosure && !dv_logo);
        const QImage *image = &DVVectorImages::success();
        QCOMPARE(dv_success, image);
        QVERIFY(!dv_disclosure && !dv_logo);
        QCOMPARE(&DVVectorImages::success(), image);
        image = &DVVectorImages::disclosureIndicator();
        QCOMPARE(dv_disclosure, image);
        image = &DVVectorImages::logo();
        QCOMPARE(dv_logo, image);
    }

    void vectorImages_data()
    {
        // The area is the polygon's, by the shoelace formula.
        const DVRows<QImage, QSize, double, QList<QPoint>, QList<QPoint>> row("image", "canvas", "area",
                                                                              "inside", "outside");
        row("check mark", DVVectorImages::success(), QSize(38, 28), 210.0,
            QList<QPoint>{{13, 25}, {2, 14}, {35, 3}, {24, 14}, {7, 18}},
            QList<QPoint>{{0, 0}, {13, 15}, {30, 25}, {36, 10}, {2, 22}, {37, 0}});
        row("chevron that points to the right", DVVectorImages::disclosureIndicator(), QSize(12, 20), 72.0,
            QList<QPoint>{{9, 9}, {9, 10}, {5, 5}, {5, 14}, {2, 1}, {2, 18}},
            QList<QPoint>{{0, 0}, {0, 19}, {3, 10}, {11, 2}, {11, 17}, {6, 9}});
    }

    void vectorImages()
    {
        QFETCH(QImage, image);
        QFETCH(QSize, canvas);
        QFETCH(double, area);
        QFETCH(QList<QPoint>, inside);
        QFETCH(QList<QPoint>, outside);
        QCOMPARE(image.size(), canvas);
        QCOMPARE(image.deviceIndependentSize(), QSizeF(canvas) / 2);
        QVERIFY2(about(coverage(image), area, area / 100), qPrintable(QString::number(coverage(image))));
        for (const QPoint point : inside)
            QCOMPARE(image.pixelColor(point), QColor(Qt::white));
        for (const QPoint point : outside)
            QCOMPARE(image.pixelColor(point).alpha(), 0);
    }

    void logo()
    {
        const QImage image = DVVectorImages::logo();
        QCOMPARE(image.size(), QSize(40, 40));
        for (const QPoint corner : {QPoint(0, 0), QPoint(39, 0), QPoint(0, 39), QPoint(39, 39)})
            QCOMPARE(image.pixelColor(corner).alpha(), 0);
        for (const QPoint rim : {QPoint(20, 1), QPoint(1, 20), QPoint(38, 20), QPoint(20, 38)})
            QCOMPARE(image.pixelColor(rim), QColor(Qt::white));
        QVERIFY(coverage(image) < M_PI * 400 - 100); // the mark is cut out
    }

    void tintedImage()
    {
        const QImage tinted = dv_tintedImage(DVVectorImages::success(), DVColors::tint);
        QCOMPARE(tinted.pixelColor(13, 25), DVColors::tint);
        QCOMPARE(tinted.pixelColor(0, 0).alpha(), 0);
        QCOMPARE(tinted.devicePixelRatio(), 2.0);
        QVERIFY(dv_tintedImage(QImage(), Qt::red).isNull());
        QCOMPARE(dv_imageWithColor(DVColors::tint).pixelColor(0, 0), DVColors::tint);
    }

    // "O" the current page, "o" another, "-" a pale one.
    void pageDots_data()
    {
        const DVRows<int, int, const char *> row("pages", "current", "dots");
        row("no page", 0, 0, "");
        row("less than no page", -3, 0, "");
        row("one page", 1, 0, "O");
        row("the third of five", 5, 2, "ooOoo");
        row("a current page that is not there", 5, 9, "ooooo");
        row("a current page before the first", 20, -1, "oooooooooooo-");
        row("the last of 13", 13, 12, "ooooooooooooO");
        row("the first of 14: more follow", 14, 0, "Oooooooooooo-");
        row("the seventh of 14", 14, 6, "ooooooOooooo-");
        row("the eighth of 14: the last page is in sight", 14, 7, "-oooooOoooooo");
        row("the last of 14", 14, 13, "-oooooooooooO");
        row("the eighth of 30: more at both ends", 30, 7, "-oooooOooooo-");
        row("the 24th of 30: the last page is in sight", 30, 23, "-oooooOoooooo");
    }

    void pageDots()
    {
        QFETCH(int, pages);
        QFETCH(int, current);
        QFETCH(QString, dots);
        for (const Qt::LayoutDirection direction : {Qt::LeftToRight, Qt::RightToLeft}) {
            DVPageControl control;
            control.setLayoutDirection(direction);
            control.setNumberOfPages(pages);
            control.setCurrentPage(current);
            control.resize(320, 20);
            const QImage image = painted(control);
            const double row = dots.isEmpty() ? 0 : double(dots.size()) * 17 - 10;
            const double left =
                std::floor((320 - row) / 2 * image.devicePixelRatio()) / image.devicePixelRatio();
            QString seen;
            for (qsizetype i = 0; i < dots.size(); ++i) {
                const int alpha = at(image, {left + double(i) * 17 + 3.5, 3.5}).alpha();
                seen += about(alpha, 153, 1)    ? u'O'
                        : about(alpha, 76.5, 1) ? u'o'
                        : about(alpha, 25.5, 1) ? u'-'
                                                : u'?';
            }
            if (direction == Qt::RightToLeft)
                std::reverse(seen.begin(), seen.end());
            QCOMPARE(seen, dots);
            // Dots of 7 points, nothing else: not in the gaps, not below, not beside.
            const double area = M_PI * 3.5 * 3.5 * image.devicePixelRatio() * image.devicePixelRatio();
            const double expected = area * (0.6 * double(dots.count(u'O')) + 0.3 * double(dots.count(u'o')) +
                                            0.1 * double(dots.count(u'-')));
            QVERIFY2(about(coverage(image), expected, 0.04 * expected),
                     qPrintable(u"%1, not %2"_qs.arg(coverage(image)).arg(expected)));
            for (qsizetype i = 0; i + 1 < dots.size(); ++i)
                QCOMPARE(at(image, {left + double(i) * 17 + 12, 3.5}).alpha(), 0);
        }
    }

    void pageColors()
    {
        DVPageControl control;
        QCOMPARE(control.sizeHint(), QSize(0, 7));
        control.setNumberOfPages(20);
        control.setCurrentPage(1);
        control.setPageIndicatorTintColor(Qt::red);
        control.setCurrentPageIndicatorTintColor(Qt::green);
        control.setClippedPageIndicatorTintColor(Qt::blue);
        QCOMPARE(control.sizeHint(), QSize(211, 7));
        control.resize(control.sizeHint());
        const QImage image = painted(control);
        QCOMPARE(at(image, {3.5, 3.5}), QColor(Qt::red));
        QCOMPARE(at(image, {20.5, 3.5}), QColor(Qt::green));
        QCOMPARE(at(image, {207.5, 3.5}), QColor(Qt::blue));
    }

    void badges_data()
    {
        const DVRows<quint32, const char *, QColor> row("status", "text", "color");
        row("published", 1U, "PUBLISHED", QColor(44, 165, 200));
        row("accepted", 2U, "ACCEPTED", QColor(104, 198, 180));
        row("rejected", 3U, "REJECTED", QColor(242, 108, 93));
        row("untranslated", 4U, "UNTRANSLATED", QColor(128, 128, 128));
        row("unknown", 5U, "UNKNOWN", QColor(128, 128, 128));
        row("a status of the future", 6U, "UNKNOWN", QColor(44, 165, 200));
        row("any number", 4294967295U, "UNKNOWN", QColor(44, 165, 200));
        row("none", 0U, "", QColor(Qt::transparent));
    }

    void badges()
    {
        QFETCH(quint32, status);
        QFETCH(QString, text);
        QFETCH(QColor, color);
        DVStatusLabel label;
        label.setStatus(status);
        QCOMPARE(label.text(), text);
        const QFontMetrics metrics(dv_systemFont(12, QFont::Bold));
        const QSize ofText =
            text.isEmpty() ? QSize(0, 0) : QSize(metrics.horizontalAdvance(text), metrics.height());
        QCOMPARE(label.sizeHint(), ofText + QSize(10, 4));
        label.resize(label.sizeHint());
        const QImage image = painted(label);
        QCOMPARE(at(image, {2.5, label.height() / 2.0}), color);
        // Rounded with a radius of 4: the corner's pixel is 4 * (sqrt 2 - 1) = 1.66 away from the arc.
        QCOMPARE(at(image, {0, 0}).alpha(), 0);
        QCOMPARE(at(image, {label.width() - 0.5, label.height() - 0.5}).alpha(), 0);
        const int white = whitePixels(image, image.rect());
        QVERIFY(text.isEmpty() ? white == 0 : white > 10 * text.size());
        // Nothing is written within the inset of 5 points.
        QCOMPARE(whitePixels(image, QRect(0, 0, int(4 * image.devicePixelRatio()), image.height())), 0);
    }

    void applicationFontStaysOut()
    {
        DVStatusLabel label;
        label.setStatus(1);
        const QSize before = label.sizeHint();
        label.resize(before);
        const QImage picture = painted(label);
        const QFont font = QApplication::font();
        QFont large(u"DejaVu Serif"_qs, 40);
        large.setItalic(true);
        large.setLetterSpacing(QFont::AbsoluteSpacing, 9);
        QApplication::setFont(large);
        QCOMPARE(label.sizeHint(), before);
        QCOMPARE(painted(label), picture);
        QApplication::setFont(font);
    }

    void capsules_data()
    {
        // (ceil 2.5 f + 4) x ceil 1.8 f, with f = scale * size * 0.55
        const DVRows<double, double, QSize> row("scale", "size", "ofEmpty");
        row("size 16 at scale 1", 1.0, 16.0, QSize(22 + 4, 16));   // f = 8.8
        row("size 24 at scale 2", 2.0, 24.0, QSize(66 + 4, 48));   // f = 26.4
        row("size 20 at scale 1.5", 1.5, 20.0, QSize(42 + 4, 30)); // f = 16.5
    }

    void capsules()
    {
        QFETCH(double, scale);
        QFETCH(double, size);
        QFETCH(QSize, ofEmpty);
        const QImage empty = dv_capsuleImageWithText({}, size, DVColors::tint, scale);
        QCOMPARE(empty.size(), ofEmpty);
        QCOMPARE(empty.devicePixelRatio(), scale);
        const int height = ofEmpty.height();
        const int width = ofEmpty.width() - 4;
        // A stadium: a rectangle between two half discs. Two pixels beside it stay empty.
        QVERIFY(about(coverage(empty), (width - height) * height + M_PI * height * height / 4,
                      0.01 * width * height));
        for (int y = 0; y < height; ++y) {
            for (const int x : {0, 1, width + 2, width + 3})
                QCOMPARE(empty.pixelColor(x, y).alpha(), 0);
            QCOMPARE(empty.pixelColor(ofEmpty.width() / 2, y), DVColors::tint);
        }
        QCOMPARE(empty.pixelColor(2, 0).alpha(), 0);
        QCOMPARE(empty.pixelColor(width / 8 + 2, height / 2), DVColors::tint);

        const QString text = u"Variable"_qs;
        const double f = scale * size * 0.55;
        const QFont font = dv_systemFontInPixels(f, empty);
        QVERIFY(about(QFontInfo(QFont(font)).pixelSize(), f, 1));
        const double advance = QFontMetricsF(font).horizontalAdvance(text);
        const QImage image = dv_capsuleImageWithText(text, size, DVColors::tint, scale);
        QCOMPARE(image.size(), QSize(ofEmpty.width() + int(std::ceil(advance)), height));
        // The text is where it belongs, and only there.
        const int left = int(std::floor((ofEmpty.width() - 4) / 2.0)) - 1;
        const int right = int(std::ceil(left + advance)) + 3;
        QVERIFY(whitePixels(image, QRect(left, 0, right - left, height)) > 0);
        QCOMPARE(whitePixels(image, QRect(0, 0, left, height)), 0);
        QCOMPARE(whitePixels(image, QRect(right, 0, image.width() - right, height)), 0);
    }

    void capsuleText()
    {
        // Upright, and not mirrored: a T has its bar at the top, an L its foot at the right.
        const QImage t = dv_capsuleImageWithText(u"T"_qs, 60, Qt::black, 2);
        const int h = t.height();
        QList<int> rows;
        for (int y = 0; y < h; ++y) {
            if (const int white = whitePixels(t, QRect(0, y, t.width(), 1)))
                rows.append(white);
        }
        QVERIFY(rows.size() > 10);
        QVERIFY(rows[1] > 3 * rows[rows.size() - 2]);
        const QImage l = dv_capsuleImageWithText(u"L"_qs, 60, Qt::black, 2);
        QRect glyph;
        for (int x = 0; x < l.width(); ++x) {
            if (whitePixels(l, QRect(x, 0, 1, h)) > 0)
                glyph |= QRect(x, 0, 1, h);
        }
        QVERIFY(whitePixels(l, QRect(glyph.left(), 0, glyph.width() / 2, h)) >
                2 * whitePixels(l, QRect(glyph.center().x() + 1, 0, glyph.width() / 2, h)));
    }

    void capsulesThatCannotBe()
    {
        for (const double size : {0.0, -1.0, qQNaN(), qInf(), 1e300})
            QVERIFY(dv_capsuleImageWithText(u"x"_qs, size, Qt::red, 1).isNull());
        const QImage image = dv_capsuleImageWithText(QString(1000000, u'W'), 16, Qt::red, 1);
        QVERIFY(!image.isNull() && image.width() < 10000);
    }

    void spinner()
    {
        DVAnimationClock::hold();
        QWidget window;
        DVActivityIndicator spinner(&window);
        QCOMPARE(spinner.color(), QColor(86, 90, 91));
        QVERIFY(spinner.isHidden());
        spinner.resize(spinner.sizeHint());
        spinner.startAnimating();
        QVERIFY(!spinner.isHidden());
        const QImage first = painted(spinner);
        DVAnimationClock::advance(250);
        QVERIFY(painted(spinner) != first);
        DVAnimationClock::advance(750);
        QCOMPARE(painted(spinner), first); // once around
        spinner.stopAnimating();
        QVERIFY(spinner.isHidden() && !spinner.isAnimating());
        DVAnimationClock::release();
    }
};

QTEST_MAIN(tst_SmallControls)
#include "tst_smallcontrols.moc"
