// Layouts written in visual format: where views stand, and what is said about formats that cannot be read.
#include "DVRows.h"
#include "DVVisualFormatLayout.h"

#include <QRegularExpression>
#include <QTest>
#include <QWidget>

#include <memory>

using namespace Qt::Literals::StringLiterals;

namespace {

// A view with a size of its own.
class Box : public QWidget
{
public:
    QSize natural;
    QSize least{0, 0};
    int area = 0; // it is so high that it has this area, whatever its width

    QSize sizeHint() const override { return natural; }
    QSize minimumSizeHint() const override { return least; }
    bool hasHeightForWidth() const override { return area > 0; }
    int heightForWidth(int width) const override { return area / std::max(1, width); }
};

struct Stage
{
    QWidget window;
    DVVisualFormatLayout *layout = new DVVisualFormatLayout(&window);
    QHash<QString, Box *> boxes;

    // "name WIDTHxHEIGHT [fixed|expanding]"
    explicit Stage(const QStringList &views)
    {
        for (const QString &view : views) {
            const QStringList words = view.split(u' ');
            const QStringList size = words[1].split(u'x');
            auto *box = new Box;
            box->natural = QSize(size[0].toInt(), size[1].toInt());
            if (words.value(2) == u"fixed"_qs)
                box->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
            else if (words.value(2) == u"expanding"_qs)
                box->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
            boxes.insert(words[0], box);
            layout->addView(words[0], box);
        }
        layout->setMetric(u"DVPopupMargin"_qs, 15);
    }

    QString placed(const QStringList &formats, QSize size)
    {
        if (const DVErrorOr error = layout->addFormats(formats))
            return error->description;
        layout->setGeometry(QRect(QPoint(0, 0), size));
        return {};
    }
};

using Rects = QHash<QString, QRect>;

} // namespace
Q_DECLARE_METATYPE(Rects)

class tst_VisualFormat : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { QTest::failOnWarning(QRegularExpression(u"^(?!This plugin does not support)"_qs)); }

    // Formats of the screens, one of each shape, alone, in 300 by 400 points; along the other axis the view
    // has its size.
    void formatsOfTheScreens_data()
    {
        QTest::addColumn<QStringList>("views");
        QTest::addColumn<Rects>("expected");
        const auto row = [](const char *format, const QStringList &views, const Rects &expected) {
            QTest::newRow(format) << views << expected;
        };
        // From edge to edge, less the gaps.
        row("H:|[nav]|", {u"nav 50x20"_qs}, {{u"nav"_qs, QRect(0, 0, 300, 20)}});
        row("H:|-10-[field]-10-|", {u"field 50x20"_qs}, {{u"field"_qs, QRect(10, 0, 280, 20)}});
        row("H:|-(DVPopupMargin)-[container]-(DVPopupMargin)-|", {u"container 50x20"_qs},
            {{u"container"_qs, QRect(15, 0, 270, 20)}});
        row("V:|[nav]|", {u"nav 50x20"_qs}, {{u"nav"_qs, QRect(0, 0, 50, 400)}});
        row("V:|-5-[keyLabel]-5-|", {u"keyLabel 50x20"_qs}, {{u"keyLabel"_qs, QRect(0, 5, 50, 390)}});
        row("V:|-(DVPopupMargin)-[container]-(DVPopupMargin)-|", {u"container 50x20"_qs},
            {{u"container"_qs, QRect(0, 15, 50, 370)}});

        row("H:|[page]", {u"page 50x20"_qs}, {{u"page"_qs, QRect(0, 0, 50, 20)}});
        row("H:[previousPage][page]", {u"previousPage 50x20"_qs, u"page 60x20"_qs},
            {{u"previousPage"_qs, QRect(0, 0, 50, 20)}, {u"page"_qs, QRect(50, 0, 60, 20)}});
        row("H:[previousPage]|", {u"previousPage 50x20"_qs}, {{u"previousPage"_qs, QRect(250, 0, 50, 20)}});
        row("H:|-10-[statusLabel]", {u"statusLabel 50x20 fixed"_qs},
            {{u"statusLabel"_qs, QRect(10, 0, 50, 20)}});
        // 300 - 15 - 15 - 40 - 5 = 225
        row("H:|-15-[keyLabel]-15-[statusLabel]-5-|", {u"keyLabel 50x20"_qs, u"statusLabel 40x16 fixed"_qs},
            {{u"keyLabel"_qs, QRect(15, 0, 225, 20)}, {u"statusLabel"_qs, QRect(255, 0, 40, 16)}});
        row("V:[pc(7)]-15-|", {u"pc 50x20"_qs}, {{u"pc"_qs, QRect(0, 378, 50, 7)}});
        row("V:|-5-[statusLabel]", {u"statusLabel 40x16 fixed"_qs},
            {{u"statusLabel"_qs, QRect(0, 5, 40, 16)}});
        // 400 - 10 - (10 + 20 + 10) - 1 - 1 = 348 for two
        row("V:|-10-[keyLabel]-10-[bar1(0.5)][locView][bar2(0.5)][upView]-10-|",
            {u"keyLabel 50x20"_qs, u"bar1 50x9"_qs, u"locView 50x90 expanding"_qs, u"bar2 50x9"_qs,
             u"upView 50x30 expanding"_qs},
            {{u"keyLabel"_qs, QRect(0, 10, 50, 20)},
             {u"bar1"_qs, QRect(0, 40, 50, 1)},
             {u"locView"_qs, QRect(0, 41, 50, 174)},
             {u"bar2"_qs, QRect(0, 215, 50, 1)},
             {u"upView"_qs, QRect(0, 216, 50, 174)}});
        row("V:|-10-[localLabel]-10-[statusLabel]-10-[localString]-10-|",
            {u"localLabel 50x20"_qs, u"statusLabel 40x16 fixed"_qs, u"localString 50x80 expanding"_qs},
            {{u"localLabel"_qs, QRect(0, 10, 50, 20)},
             {u"statusLabel"_qs, QRect(0, 40, 40, 16)},
             {u"localString"_qs, QRect(0, 66, 50, 324)}});
        row("V:|[headerView]-10-[pluralFormChoice(26)]-5-[pluralLabel][headerBorder(0.5)]-10-[model(<=150)]-"
            "10-"
            "[separator(0.5)]-2-[field]-20-|",
            {u"field 50x10 expanding"_qs, u"model 50x200"_qs, u"separator 50x9"_qs, u"headerBorder 50x9"_qs,
             u"headerView 50x30"_qs, u"pluralFormChoice 50x20"_qs, u"pluralLabel 50x18"_qs},
            {{u"headerView"_qs, QRect(0, 0, 50, 30)},
             {u"pluralFormChoice"_qs, QRect(0, 40, 50, 26)},
             {u"pluralLabel"_qs, QRect(0, 71, 50, 18)},
             {u"headerBorder"_qs, QRect(0, 89, 50, 1)},
             {u"model"_qs, QRect(0, 100, 50, 150)},
             {u"separator"_qs, QRect(0, 260, 50, 1)},
             {u"field"_qs, QRect(0, 263, 50, 117)}});
        row("V:|[headerView][headerBorder(0.5)]-10-[model(<=150)]-10-[separator(0.5)]-2-[field]-20-|",
            {u"field 50x10 expanding"_qs, u"model 50x60"_qs, u"separator 50x9"_qs, u"headerBorder 50x9"_qs,
             u"headerView 50x30"_qs},
            {{u"headerView"_qs, QRect(0, 0, 50, 30)},
             {u"headerBorder"_qs, QRect(0, 30, 50, 1)},
             {u"model"_qs, QRect(0, 41, 50, 60)},
             {u"separator"_qs, QRect(0, 111, 50, 1)},
             {u"field"_qs, QRect(0, 114, 50, 266)}});
    }

    void formatsOfTheScreens()
    {
        QFETCH(QStringList, views);
        QFETCH(Rects, expected);
        Stage stage(views);
        QCOMPARE(stage.placed({QString::fromLatin1(QTest::currentDataTag())}, {300, 400}), QString());
        for (auto rect = expected.cbegin(); rect != expected.cend(); ++rect)
            QVERIFY2(
                stage.boxes[rect.key()]->geometry() == rect.value(),
                qPrintable(rect.key() + u": "_qs + QDebug::toString(stage.boxes[rect.key()]->geometry())));
        QCOMPARE(stage.layout->brokenFormats(), QStringList());
    }

    void rules_data()
    {
        // "start+length" of each view
        const DVRows<QStringList, QStringList, int, const char *> row("formats", "views", "width", "places");
        const QStringList two{u"a 30x5"_qs, u"b 50x5"_qs};
        const QStringList twoExpanding{u"a 30x5 expanding"_qs, u"b 50x5 expanding"_qs};
        row("no axis is horizontal", QStringList{u"|-[a]-[b]"_qs}, two, 200, "20+30 58+50");
        row("standard gaps are 20 at an edge and 8 between", QStringList{u"H:|-[a(==30)]-[b]-|"_qs}, two, 200,
            "20+30 58+122");
        row("expanding views get equal lengths, the later one the odd point", QStringList{u"H:|[a][b]|"_qs},
            twoExpanding, 101, "0+50 50+51");
        row("others get equal additions", QStringList{u"H:|[a][b]|"_qs}, two, 100, "0+40 40+60");
        row("and equal cuts", QStringList{u"H:|[a][b]|"_qs}, two, 60, "0+20 20+40");
        row("a fixed one is not cut", QStringList{u"H:|[a][b]|"_qs},
            QStringList{u"a 30x5"_qs, u"b 50x5 fixed"_qs}, 60, "0+10 10+50");
        row("a limit leaves more to the other", QStringList{u"H:|[a(<=20)][b]|"_qs}, twoExpanding, 100,
            "0+20 20+80");
        row("a limit of the later one too", QStringList{u"H:|[a][b(<=20)]|"_qs}, twoExpanding, 100,
            "0+80 80+20");
        row("a least length takes from the other", QStringList{u"H:|[a][b(>=80)]|"_qs}, twoExpanding, 100,
            "0+20 20+80");
        row("as long as another view", QStringList{u"H:|[a(==b)]-10-[b]"_qs}, two, 300, "0+50 60+50");
        row("a gap of at least", QStringList{u"H:|[a]-(>=10)-[b]|"_qs},
            QStringList{u"a 30x5 fixed"_qs, u"b 50x5 fixed"_qs}, 200, "0+30 150+50");
        row("a gap between bounds", QStringList{u"H:|[a]-(>=10,<=30)-[b]"_qs}, two, 200, "0+30 40+50");
        row("a gap below nothing overlaps", QStringList{u"H:|[a]-(-10)-[b]"_qs}, two, 200, "0+30 20+50");
        row("pages in a row, by three formats",
            QStringList{u"H:|[a(DVPopupMargin)]"_qs, u"H:[a][b(DVPopupMargin)]"_qs, u"H:[b]|"_qs}, two, 30,
            "0+15 15+15");
        row("a fraction counts as the point above it", QStringList{u"H:|-0.5-[a(9.01)][b]"_qs}, two, 200,
            "1+10 11+50");
        row("a view that no format mentions stands at the start", QStringList{u"H:|-10-[a]"_qs}, two, 200,
            "10+30 0+50");
        row("no room at all", QStringList{u"H:|[a][b]|"_qs}, two, 0, "0+0 0+0");
    }

    void rules()
    {
        QFETCH(QStringList, formats);
        QFETCH(QStringList, views);
        QFETCH(int, width);
        QFETCH(QString, places);
        Stage stage(views);
        QCOMPARE(stage.placed(formats, {width, 10}), QString());
        QStringList actual;
        for (const QString &view : views) {
            const QRect rect = stage.boxes[view.section(u' ', 0, 0)]->geometry();
            actual.append(u"%1+%2"_qs.arg(rect.x()).arg(rect.width()));
        }
        QCOMPARE(actual.join(u' '), places);
    }

    void rightToLeft()
    {
        Stage stage({u"keyLabel 50x20"_qs, u"statusLabel 40x16 fixed"_qs});
        stage.window.setLayoutDirection(Qt::RightToLeft);
        QCOMPARE(stage.placed({u"H:|-15-[keyLabel]-15-[statusLabel]-5-|"_qs, u"V:|-5-[statusLabel]"_qs},
                              {300, 40}),
                 QString());
        QCOMPARE(stage.boxes[u"keyLabel"_qs]->geometry(), QRect(60, 0, 225, 20));
        QCOMPARE(stage.boxes[u"statusLabel"_qs]->geometry(), QRect(5, 5, 40, 16));
    }

    void sizes()
    {
        Stage stage({u"keyLabel 50x20"_qs, u"statusLabel 40x16 fixed"_qs});
        QCOMPARE(stage.placed({u"H:|-15-[keyLabel]-15-[statusLabel]-5-|"_qs, u"V:|-5-[statusLabel]"_qs,
                               u"V:|-5-[keyLabel]-5-|"_qs},
                              {300, 40}),
                 QString());
        QCOMPARE(stage.layout->sizeHint(), QSize(15 + 50 + 15 + 40 + 5, 5 + 20 + 5));
        // The label may shrink to nothing, the badge not: 5 + 16 is more than 5 + 0 + 5.
        QCOMPARE(stage.layout->minimumSize(), QSize(15 + 15 + 40 + 5, 5 + 16));

        stage.boxes[u"keyLabel"_qs]->natural = QSize(60, 40);
        stage.boxes[u"keyLabel"_qs]->updateGeometry();
        QCOMPARE(stage.layout->sizeHint(), QSize(135, 50));
        QCOMPARE(stage.layout->expandingDirections(), Qt::Orientations());
        stage.boxes[u"keyLabel"_qs]->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Expanding);
        QCOMPARE(stage.layout->expandingDirections(), Qt::Orientations(Qt::Vertical));
    }

    void heightFollowsWidth()
    {
        Stage stage({u"text 50x20"_qs, u"rest 50x10 expanding"_qs});
        stage.boxes[u"text"_qs]->area = 6000;
        QCOMPARE(stage.placed({u"H:|-10-[text]-10-|"_qs, u"V:|-5-[text]-5-[rest]|"_qs}, {320, 200}),
                 QString());
        QCOMPARE(stage.boxes[u"text"_qs]->geometry(), QRect(10, 5, 300, 20));
        QCOMPARE(stage.boxes[u"rest"_qs]->geometry(), QRect(0, 30, 50, 170));
        QVERIFY(stage.layout->hasHeightForWidth());
        QCOMPARE(stage.layout->heightForWidth(320), 5 + 20 + 5 + 10);
        QCOMPARE(stage.layout->heightForWidth(120), 5 + 60 + 5 + 10);
        QCOMPARE(stage.layout->minimumHeightForWidth(120), 5 + 60 + 5);
        // 200 points are wanted; the format's gaps and edges come first.
        stage.layout->setGeometry(QRect(0, 0, 50, 100));
        QCOMPARE(stage.boxes[u"text"_qs]->geometry(), QRect(10, 5, 30, 90));
    }

    void lengthsThatChange()
    {
        Stage stage({u"a 30x5"_qs});
        stage.layout->setMetric(u"pageWidth"_qs, 100);
        QCOMPARE(stage.placed({u"H:|[a(pageWidth)]"_qs}, {300, 10}), QString());
        QCOMPARE(stage.boxes[u"a"_qs]->width(), 100);
        stage.layout->setMetric(u"pageWidth"_qs, 120);
        QCOMPARE(stage.layout->sizeHint().width(), 120);
        stage.layout->setGeometry(QRect(7, 3, 300, 10));
        QCOMPARE(stage.boxes[u"a"_qs]->geometry(), QRect(7, 3, 120, 5));
        stage.layout->removeFormats();
        stage.layout->setGeometry(QRect(0, 0, 300, 10));
        QCOMPARE(stage.boxes[u"a"_qs]->geometry(), QRect(0, 0, 30, 5));
        for (const double no : {qQNaN(), qInf(), -qInf()}) {
            stage.layout->setMetric(u"pageWidth"_qs, no);
            QCOMPARE(stage.placed({u"H:|[a(pageWidth)]"_qs}, {300, 10}), QString());
            QCOMPARE(stage.boxes[u"a"_qs]->width(), 0);
        }
    }

    void viewsThatDie()
    {
        Stage stage({u"a 30x5"_qs, u"b 50x5"_qs});
        QCOMPARE(stage.placed({u"H:|-10-[a]-10-[b]"_qs, u"H:|-10-[b]"_qs}, {300, 10}), QString());
        delete stage.boxes.take(u"a"_qs);
        QCOMPARE(stage.layout->count(), 1);
        stage.layout->setGeometry(QRect(0, 0, 300, 10));
        QCOMPARE(stage.boxes[u"b"_qs]->x(), 10);
        delete stage.layout->takeAt(0);
        QCOMPARE(stage.layout->sizeHint(), QSize(0, 0));
        QCOMPARE(stage.layout->takeAt(0), nullptr);
        QCOMPARE(stage.layout->itemAt(0), nullptr);
    }

    void impossibleLengths()
    {
        Stage stage({u"a 30x5"_qs});
        QCOMPARE(stage.placed({u"H:|-10-[a(20)]"_qs, u"H:[a(40)]"_qs, u"H:[a]-5-|"_qs}, {100, 10}),
                 QString());
        QCOMPARE(stage.boxes[u"a"_qs]->geometry(), QRect(10, 0, 20, 5));
        QCOMPARE(stage.layout->brokenFormats(), (QStringList{u"H:[a(40)]"_qs, u"H:[a]-5-|"_qs}));
        stage.layout->setGeometry(QRect(0, 0, 35, 10));
        QCOMPARE(stage.layout->brokenFormats(), QStringList{u"H:[a(40)]"_qs});
    }

    void badFormats_data()
    {
        QTest::addColumn<QString>("format");
        QTest::addColumn<QString>("reason");
        const auto row = [](const char *format, const char *reason) {
            QTest::newRow(*format ? format : "nothing")
                << QString::fromLatin1(format) << QString::fromLatin1(reason);
        };
        row("", "expected a view in brackets at character 1, but it ends there");
        row("H:", "expected a view in brackets at character 3, but it ends there");
        row("H:|", "expected a view in brackets at character 4, but it ends there");
        row("H:|-10-|", "expected a view in brackets at character 8, but found \"|\"");
        row("X:[a]", "expected a view in brackets at character 1, but found \"X\"");
        row("H: [a]", "expected a view in brackets at character 3, but found \" \"");
        row("H:[]", "expected the name of a view at character 4, but found \"]\"");
        row("H:[1a]", "expected the name of a view at character 4, but found \"1\"");
        row("H:[a", "expected \"]\" at character 5, but it ends there");
        row("H:[a]]", "expected a view in brackets, or the edge \"|\", at character 6, but found \"]\"");
        row("H:[a]-", "expected a view in brackets, or the edge \"|\", at character 7, but it ends there");
        row("H:[a]-10[b]", "expected \"-\" at character 9, but found \"[\"");
        row("H:[a]--[b]", "expected a number or a name at character 7, but found \"-\"");
        row("H:[a]-(-)-[b]", "expected a number or a name at character 9, but found \")\"");
        row("H:|[a]|[b]", "expected nothing after the edge at character 8, but found \"[\"");
        row("H:[a(10@5)]", "expected \")\" at character 8, but found \"@\"");
        row("H:[a(10,)]", "expected a number or a name at character 9, but found \")\"");
        row("H:[a(1.2.3)]", "expected a number up to 1000000 at character 6, but found \"1\"");
        row("H:[a(99999999999)]", "expected a number up to 1000000 at character 6, but found \"9\"");
        row("H:[nobody]", "there is no view \"nobody\"");
        row("H:|-gap-[a]", "\"gap\" is no metric");
        row("H:|-b-[a]", "\"b\" is no metric");
        row("H:[a(gap)]", "\"gap\" is no metric and no view");
        row("H:[a(>=b)]", "a view can be as long as \"b\", but not compared to it otherwise");
    }

    void badFormats()
    {
        QFETCH(QString, format);
        QFETCH(QString, reason);
        Stage stage({u"a 30x5"_qs, u"b 50x5"_qs});
        const DVErrorOr error = stage.layout->addFormats({u"H:|-77-[a]"_qs, format});
        QVERIFY(error);
        QCOMPARE(error->description, u"Visual format \"%1\": %2"_qs.arg(format, reason));
        // None of them was added.
        stage.layout->setGeometry(QRect(0, 0, 300, 10));
        QCOMPARE(stage.boxes[u"a"_qs]->x(), 0);
    }

    void everyPrefixIsReadOrRefused()
    {
        const QString whole = u"H:|-(>=10,<=b1)-[a(==_b,-3.5)]-8-[c]-|"_qs;
        DVVisualFormat format;
        int read = 0;
        for (qsizetype length = 0; length <= whole.size(); ++length) {
            const DVErrorOr error = DVVisualFormat::parse(whole.left(length), format);
            read += error ? 0 : 1;
            QVERIFY(!error || !error->description.isEmpty());
        }
        QCOMPARE(read, 3); // to the end of each view, and all
        QCOMPARE(format.gaps.size(), 3);
        QCOMPARE(format.gaps[0].rules[1], (DVLengthRule{DVLengthRule::AtMost, 0, u"b1"_qs}));
        QCOMPARE(format.views[0].rules[1], (DVLengthRule{DVLengthRule::Equal, -3.5, {}}));
        QVERIFY(format.gaps[2].standard);
    }
};

QTEST_MAIN(tst_VisualFormat)
#include "tst_visualformat.moc"
