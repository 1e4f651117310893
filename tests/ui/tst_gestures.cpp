// The two gestures in windows of widgets: what is one and what is not, and that the host's controls never
// notice but for the click that does not come.
#include "GestureHost.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDrag>
#include <QGroupBox>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QMenuBar>
#include <QMimeData>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollBar>
#include <QSlider>
#include <QSpinBox>
#include <QSplitter>
#include <QTest>
#include <QTextBrowser>
#include <QTimer>
#include <QToolButton>
#include <QTreeWidget>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

namespace {

// A window with one control in it, and a text beside.
struct Window
{
    QWidget window;
    QLabel label{u"Beside"_qs, &window};
    std::unique_ptr<QWidget> control;

    explicit Window(QWidget *shown = new QLabel(u"Hello"_qs))
        : control(shown)
    {
        window.setGeometry(50, 50, 400, 400);
        control->setParent(&window);
        control->setGeometry(40, 60, 240, 160);
        label.setGeometry(0, 380, 100, 20);
        window.show();
        window.activateWindow();
        QCoreApplication::processEvents();
    }
    QWindow *handle() const { return window.windowHandle(); }
    QPoint middle() const { return control->geometry().center(); }
};

// What a control says when it is clicked or used otherwise. It grows with every such signal.
using Uses = std::shared_ptr<int>;
struct Control
{
    QWidget *widget;
    std::function<QPoint()> at; // in it, once it is shown; else its middle
};
using MakeControl = std::function<Control(const Uses &)>;

template<typename Sender, typename Signal> void count(Sender *sender, Signal signal, const Uses &uses)
{
    QObject::connect(sender, signal, sender, [uses] { ++*uses; });
}

template<typename Button> Control button(const Uses &uses)
{
    auto *made = new Button;
    made->setText(u"Press"_qs);
    count(made, &QAbstractButton::clicked, uses);
    return {made, [] { return QPoint(10, 80); }};
}

Control list(const Uses &uses)
{
    auto *made = new QListWidget;
    made->addItems({u"One"_qs, u"Two"_qs, u"Three"_qs});
    for (int i = 0; i < 3; ++i) {
        made->item(i)->setFlags(made->item(i)->flags() | Qt::ItemIsUserCheckable);
        made->item(i)->setCheckState(Qt::Unchecked);
    }
    count(made, &QListWidget::itemClicked, uses);
    count(made, &QListWidget::itemActivated, uses);
    count(made, &QListWidget::itemChanged, uses);
    return {made, [made] { return made->visualItemRect(made->item(1)).topLeft() + QPoint(9, 9); }};
}

Control header(const Uses &uses)
{
    auto *made = new QTreeWidget;
    made->setHeaderLabels({u"Name"_qs, u"Size"_qs});
    made->header()->setSectionsClickable(true);
    count(made->header(), &QHeaderView::sectionClicked, uses);
    return {made, [] { return QPoint(30, 8); }};
}

Control groupBox(const Uses &uses)
{
    auto *made = new QGroupBox(u"Options"_qs);
    made->setCheckable(true);
    count(made, &QGroupBox::clicked, uses);
    return {made, [] { return QPoint(10, 8); }};
}

Control linkInLabel(const Uses &uses)
{
    auto *made = new QLabel(u"<a href='there'>a link that goes there and is long</a>"_qs);
    made->setAlignment(Qt::AlignLeft | Qt::AlignTop);
    count(made, &QLabel::linkActivated, uses);
    return {made, [] { return QPoint(20, 8); }};
}

Control linkInPage(const Uses &uses)
{
    auto *made = new QTextBrowser;
    made->setHtml(u"<a href='#there'>a link that goes there and is long</a>"_qs);
    made->setOpenLinks(false);
    count(made, &QTextBrowser::anchorClicked, uses);
    return {made, [] { return QPoint(30, 15); }};
}

Control menuBar(const Uses &uses)
{
    auto *made = new QMenuBar;
    QAction *action = made->addAction(u"Directly"_qs);
    count(action, &QAction::triggered, uses);
    return {made, [] { return QPoint(20, 10); }};
}

Control tabClose(const Uses &uses)
{
    auto *made = new QTabWidget;
    made->setTabsClosable(true);
    made->addTab(new QWidget, u"Tab"_qs);
    count(made, &QTabWidget::tabCloseRequested, uses);
    return {made, [tabs = made->tabBar(), made] {
                return tabs->mapTo(made, tabs->tabButton(0, QTabBar::RightSide)->geometry().center());
            }};
}

} // namespace

Q_DECLARE_METATYPE(MakeControl)

class TestGestures : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QApplication::setDoubleClickInterval(0); }
    void init() { m_host = std::make_unique<GestureHost>(); }
    void cleanup() { m_host.reset(); }

    void presses_data();
    void presses();
    void clicksAreNotMade_data();
    void clicksAreNotMade();
    void aFingerOnAButtonThatTakesTouches();
    void buttonsSayThatTheyWereReleased();
    void selectionStays();
    void theHostGoesOn_data();
    void theHostGoesOn();
    void dragsOfTheHost();
    void menus();
    void boxesThatOpenOnAPress();
    void widgetsThatProgramsPress();

private:
    std::unique_ptr<GestureHost> m_host;
};

void TestGestures::presses_data()
{
    QTest::addColumn<QString>("steps");
    QTest::addColumn<QString>("expected");
    const QString near = QString::number(GestureHost::dragDistance());
    const QString far = QString::number(GestureHost::dragDistance() + 1);

    QTest::newRow("the left button held edits") << u"L+ hold"_qs << u"edit"_qs;
    QTest::newRow("once, however long it is held") << u"L+ hold hold hold wait 5000 L-"_qs << u"edit"_qs;
    QTest::newRow("let go a moment before, nothing") << u"L+ wait 780 L- hold"_qs << u""_qs;
    QTest::newRow("two short presses are no long one") << u"L+ wait 500 L- L+ wait 500 L- hold"_qs << u""_qs;
    QTest::newRow("each long press edits") << u"L+ hold L- L+ hold L-"_qs << u"edit edit"_qs;
    QTest::newRow("a hand may tremble") << QString(u"L+ move " + near + u" hold") << u"edit"_qs;
    QTest::newRow("a drag is none") << QString(u"L+ move " + far + u" hold") << u""_qs;
    QTest::newRow("not even one that returns")
        << QString(u"L+ move " + far + u" move -" + far + u" hold") << u""_qs;
    QTest::newRow("the mouse moved without a button") << QString(u"move " + far + u" L+ hold") << u"edit"_qs;
    QTest::newRow("the right button alone does nothing") << u"R+ wait 5000 R-"_qs << u""_qs;
    QTest::newRow("nor does the middle one") << u"M+ wait 5000 M-"_qs << u""_qs;

    QTest::newRow("a finger held edits") << u"1+ hold"_qs << u"edit"_qs;
    QTest::newRow("a finger lifted before does not") << u"1+ wait 780 1- hold"_qs << u""_qs;
    QTest::newRow("a finger may tremble") << QString(u"1+ 1~" + near + u" hold") << u"edit"_qs;
    QTest::newRow("a finger that scrolls does not") << QString(u"1+ 1~" + far + u" hold") << u""_qs;
    QTest::newRow("a second finger ends the press of one") << u"1+ wait 400 2+ hold"_qs << u""_qs;
    QTest::newRow("also when it is lifted again") << u"1+ 2+ 2- hold hold hold"_qs << u""_qs;
    QTest::newRow("and the next press counts again") << u"1+ 2+ 2- 1- 1+ hold"_qs << u"edit"_qs;

    QTest::newRow("two fingers for two seconds open the menu") << u"1+ 2+ wait 2000"_qs << u"dismiss menu"_qs;
    QTest::newRow("for less they do not") << u"1+ 2+ wait 1980 2- 1- wait 2000"_qs << u""_qs;
    QTest::newRow("the time begins with the second") << u"1+ wait 700 2+ wait 1980 2-"_qs << u""_qs;
    QTest::newRow("one that moves is no press")
        << QString(u"1+ 2+ wait 500 2~" + far + u" wait 5000") << u""_qs;
    QTest::newRow("three fingers do nothing") << u"1+ 2+ 3+ wait 5000"_qs << u""_qs;
    QTest::newRow("nor do two when the third is lifted") << u"1+ 2+ 3+ 3- wait 5000"_qs << u""_qs;
    QTest::newRow("a third finger ends the press of two") << u"1+ 2+ wait 1900 3+ wait 5000"_qs << u""_qs;
    QTest::newRow("an edit and then a second finger: the menu too")
        << u"1+ hold 2+ wait 2000"_qs << u"edit dismiss menu"_qs;
    QTest::newRow("after the menu one finger that stays does not edit")
        << u"1+ 2+ wait 2000 2- wait 5000"_qs << u"dismiss menu"_qs;

    QTest::newRow("both buttons open the menu") << u"L+ R+ wait 2000"_qs << u"dismiss menu"_qs;
    QTest::newRow("in either order") << u"R+ L+ wait 2000"_qs << u"dismiss menu"_qs;
    QTest::newRow("the second button ends an edit") << u"L+ wait 400 R+ hold"_qs << u""_qs;
    QTest::newRow("three buttons do nothing") << u"L+ R+ M+ wait 5000"_qs << u""_qs;
    QTest::newRow("both buttons that drag do nothing")
        << QString(u"L+ R+ move " + far + u" wait 5000") << u""_qs;
}

void TestGestures::presses()
{
    QFETCH(const QString, steps);
    QFETCH(const QString, expected);
    const Window host;
    DVState::shared().mixedMode = true; // the menu needs nobody to be signed in

    Hand(host.handle(), host.middle()).perform(steps);

    QCOMPARE(m_host->asked.take(), expected);
}

void TestGestures::clicksAreNotMade_data()
{
    QTest::addColumn<MakeControl>("make");
    QTest::addColumn<bool>("byTouch");
    const QList<std::pair<const char *, MakeControl>> takeNoFingers{
        {"a header's section", header}, // as without us: their parents wait for a pan
        {"a link in a page", linkInPage},
    };
    const QList<std::pair<const char *, MakeControl>> controls{
        {"a button", button<QPushButton>},
        {"a check box", button<QCheckBox>},
        {"a radio button", button<QRadioButton>},
        {"a tool button", button<QToolButton>},
        {"an entry of a list", list},
        {"a group box's title", groupBox},
        {"a link in a label", linkInLabel},
        {"an entry of a menu bar", menuBar},
        {"a tab's closing button", tabClose},
    };
    for (const auto &[name, make] : takeNoFingers)
        QTest::addRow("%s, with the mouse", name) << make << false;
    for (const auto &[name, make] : controls) {
        QTest::addRow("%s, with the mouse", name) << make << false;
        QTest::addRow("%s, with a finger", name) << make << true;
    }
}

void TestGestures::clicksAreNotMade()
{
    QFETCH(const MakeControl, make);
    QFETCH(const bool, byTouch);
    const auto uses = std::make_shared<int>(0);
    const Control control = make(uses);
    const Window host(control.widget);
    const QPoint at = host.control->pos() + control.at();
    Hand hand(host.handle(), at);

    hand.perform(byTouch ? u"1+ wait 300 1-"_qs : u"L+ wait 300 L-"_qs);
    const int usesOfAClick = *uses;
    QVERIFY2(usesOfAClick > 0, "the control is clicked as without us");
    QCOMPARE(m_host->asked.take(), u""_qs);

    hand.perform(byTouch ? u"1+ hold 1-"_qs : u"L+ hold L-"_qs);
    QCOMPARE(*uses, usesOfAClick);
    QCOMPARE(m_host->asked.take(), u"edit"_qs);

    hand.perform(byTouch ? u"1+ wait 300 1-"_qs : u"L+ wait 300 L-"_qs);
    QCOMPARE(*uses, 2 * usesOfAClick);
}

void TestGestures::aFingerOnAButtonThatTakesTouches()
{
    class Pad : public QWidget
    {
    public:
        QList<QEvent::Type> events;
        Pad() { setAttribute(Qt::WA_AcceptTouchEvents); }

    protected:
        bool event(QEvent *event) override
        {
            switch (event->type()) {
            case QEvent::TouchBegin:
            case QEvent::TouchUpdate:
            case QEvent::TouchEnd:
            case QEvent::TouchCancel:
            case QEvent::MouseButtonPress:
            case QEvent::MouseButtonRelease:
                events << event->type();
                event->accept();
                return true;
            default:
                return QWidget::event(event);
            }
        }
    };
    auto *pad = new Pad;
    const Window host(pad);
    Hand hand(host.handle(), host.middle());

    hand.perform(u"1+ hold 1~1 1~40 1-"_qs);
    QCOMPARE(pad->events, (QList<QEvent::Type>{QEvent::TouchBegin, QEvent::TouchCancel}));

    pad->events.clear();
    hand.perform(u"1+ 1~40 1-"_qs);
    QCOMPARE(pad->events, (QList<QEvent::Type>{QEvent::TouchBegin, QEvent::TouchUpdate, QEvent::TouchEnd}));
}

void TestGestures::buttonsSayThatTheyWereReleased()
{
    auto *horn = new QPushButton(u"Horn"_qs); // sounds while it is held
    int pressed = 0;
    int released = 0;
    connect(horn, &QPushButton::pressed, this, [&] { ++pressed; });
    connect(horn, &QPushButton::released, this, [&] { ++released; });
    const Window host(horn);

    Hand(host.handle(), host.middle()).perform(u"L+ hold"_qs);

    QCOMPARE(pressed, 1);
    QCOMPARE(released, 1);
    QVERIFY(!horn->isDown());
}

void TestGestures::selectionStays()
{
    auto *entries = new QListWidget;
    entries->setSelectionMode(QAbstractItemView::ExtendedSelection);
    entries->addItems({u"One"_qs, u"Two"_qs, u"Three"_qs});
    const Window host(entries);
    entries->item(0)->setSelected(true);
    const QPoint second =
        entries->viewport()->mapTo(&host.window, entries->visualItemRect(entries->item(1)).center());

    Hand(host.handle(), second).perform(u"L+ hold L-"_qs);

    QVERIFY(entries->item(1)->isSelected()); // by the press, as ever
    QCOMPARE(m_host->asked.take(), u"edit"_qs);
}

namespace {

Control slider(const Uses &uses)
{
    auto *made = new QSlider(Qt::Horizontal);
    made->setValue(50);
    count(made, &QSlider::valueChanged, uses);
    return {made, [made] { return made->rect().center(); }};
}

Control scrollBar(const Uses &uses)
{
    auto *made = new QScrollBar(Qt::Vertical);
    made->setRange(0, 1000);
    count(made, &QScrollBar::valueChanged, uses);
    return {made,
            [made] { return QPoint(made->width() / 2, made->height() - 30); }}; // below the handle: pages
}

Control spinBox(const Uses &uses)
{
    auto *made = new QSpinBox;
    made->setRange(0, 1000000);
    count(made, &QSpinBox::valueChanged, uses);
    return {made, [made] { return QPoint(made->width() - 8, 20); }};
}

Control repeating(const Uses &uses)
{
    auto *made = new QPushButton(u"More"_qs);
    made->setAutoRepeat(true);
    made->setAutoRepeatDelay(1);
    made->setAutoRepeatInterval(1);
    count(made, &QPushButton::clicked, uses);
    return {made, [] { return QPoint(30, 30); }};
}

Control text(const Uses &uses)
{
    auto *made = new QPlainTextEdit(u"Some words to be selected"_qs);
    QObject::connect(made, &QPlainTextEdit::selectionChanged, made,
                     [made, uses] { *uses += made->textCursor().hasSelection(); });
    return {made, [] { return QPoint(10, 12); }};
}

Control field(const Uses &uses)
{
    auto *made = new QLineEdit(u"Some words to be selected"_qs);
    count(made, &QLineEdit::selectionChanged, uses);
    return {made, [made] { return QPoint(10, made->height() / 2); }};
}

Control splitter(const Uses &uses)
{
    auto *made = new QSplitter;
    made->addWidget(new QWidget);
    made->addWidget(new QWidget);
    count(made, &QSplitter::splitterMoved, uses);
    return {made, [made] { return made->handle(1)->geometry().center(); }};
}

Control contextMenu(const Uses &uses)
{
    auto *made = new QLabel(u"Right"_qs);
    made->setContextMenuPolicy(Qt::CustomContextMenu);
    count(made, &QWidget::customContextMenuRequested, uses);
    return {made, [] { return QPoint(9, 9); }};
}

} // namespace

void TestGestures::theHostGoesOn_data()
{
    QTest::addColumn<MakeControl>("make");
    QTest::addColumn<QString>("steps");
    QTest::addColumn<QString>("expected"); // of the gestures
    QTest::addColumn<bool>("used");

    QTest::newRow("a slider is moved")
        << MakeControl(slider) << u"L+ move 15 move 15 hold L-"_qs << u""_qs << true;
    QTest::newRow("a slider that is only held keeps its value")
        << MakeControl(slider) << u"L+ hold move 40 L-"_qs << u"capture"_qs << false;
    QTest::newRow("a scroll bar goes on by pages while it is held")
        << MakeControl(scrollBar) << u"L+ hold L-"_qs << u""_qs << true;
    QTest::newRow("an arrow of a spin box goes on")
        << MakeControl(spinBox) << u"L+ hold L-"_qs << u""_qs << true;
    QTest::newRow("a button that repeats goes on")
        << MakeControl(repeating) << u"L+ hold L-"_qs << u""_qs << true;
    QTest::newRow("text is selected")
        << MakeControl(text) << u"L+ move 30 move 30 hold L-"_qs << u""_qs << true;
    QTest::newRow("text is not selected by an edit")
        << MakeControl(text) << u"L+ hold move 30 move 30 L-"_qs << u"capture"_qs << false;
    QTest::newRow("text in a field is selected")
        << MakeControl(field) << u"L+ move 30 move 30 hold L-"_qs << u""_qs << true;
    QTest::newRow("a splitter is moved")
        << MakeControl(splitter) << u"L+ move 15 move 15 L-"_qs << u""_qs << true;
    QTest::newRow("a splitter is not moved by an edit")
        << MakeControl(splitter) << u"L+ hold move 15 move 15 L-"_qs << u"capture"_qs << false;
    QTest::newRow("the right button opens a context menu")
        << MakeControl(contextMenu) << u"R+ R-"_qs << u""_qs << true;
}

void TestGestures::theHostGoesOn()
{
    QFETCH(const MakeControl, make);
    QFETCH(const QString, steps);
    QFETCH(const QString, expected);
    QFETCH(const bool, used);
    const auto uses = std::make_shared<int>(0);
    const Control control = make(uses);
    const Window host(control.widget);
    DVState::shared().screenshotMode = true; // a picture needs no text under the finger
    *uses = 0;

    Hand(host.handle(), host.control->pos() + control.at()).perform(steps);

    QCOMPARE(m_host->asked.take(), expected);
    QCOMPARE(*uses > 0, used);
}

void TestGestures::dragsOfTheHost()
{
    class Source : public QLabel
    {
    public:
        using QLabel::QLabel;
        int drags = 0;

    protected:
        void mouseMoveEvent(QMouseEvent *event) override
        {
            if (!event->buttons().testFlag(Qt::LeftButton) || drags > 0)
                return;
            ++drags; // before any distance, as some applications do
            auto *drag = new QDrag(this);
            auto *carried = new QMimeData;
            carried->setText(u"dragged"_qs);
            drag->setMimeData(carried);
            // While it lasts no window hears of the mouse.
            QTimer::singleShot(0, this, [] { DVAnimationClock::advance(5000); });
            QTimer::singleShot(10, this, [] { QDrag::cancel(); });
            drag->exec();
        }
    };
    auto *source = new Source(u"Drag me"_qs);
    const Window host(source);

    Hand(host.handle(), host.middle()).perform(u"L+ move 3 L-"_qs);

    QCOMPARE(source->drags, 1);
    QCOMPARE(m_host->asked.take(), u""_qs);
}

void TestGestures::menus()
{
    QMenu menu;
    int triggered = 0;
    QAction *action = menu.addAction(u"An entry of the menu"_qs);
    connect(action, &QAction::triggered, this, [&] { ++triggered; });
    const Window host;
    menu.popup(host.window.mapToGlobal(QPoint(20, 20)));
    QVERIFY(QTest::qWaitForWindowExposed(&menu));
    const QPoint entry = menu.actionGeometry(action).center();

    Hand(menu.windowHandle(), entry).perform(u"L+ hold L-"_qs);
    QCOMPARE(triggered, 0);
    QCOMPARE(m_host->asked.take(), u"edit"_qs);

    menu.popup(host.window.mapToGlobal(QPoint(20, 20)));
    QCoreApplication::processEvents();
    Hand(menu.windowHandle(), entry).perform(u"L+ wait 300 L-"_qs);
    QCOMPARE(triggered, 1);
    QCOMPARE(m_host->asked.take(), u""_qs);
}

void TestGestures::boxesThatOpenOnAPress()
{
    auto *box = new QComboBox;
    box->addItems({u"One"_qs, u"Two"_qs, u"Three"_qs});
    const Window host(box);
    int chosen = 0;
    connect(box, &QComboBox::activated, this, [&] { ++chosen; });

    Hand(host.handle(), host.middle()).perform(u"L+ hold L-"_qs);

    QCOMPARE(chosen, 0);
    QCOMPARE(m_host->asked.take(), u"edit"_qs);
    box->hidePopup();
}

void TestGestures::widgetsThatProgramsPress()
{
    auto *button = new QPushButton(u"Press"_qs);
    int clicks = 0;
    connect(button, &QPushButton::clicked, this, [&] { ++clicks; });
    const Window host(button);

    QTest::mousePress(button, Qt::LeftButton);
    DVAnimationClock::advance(GestureHost::interval());
    QTest::mouseRelease(button, Qt::LeftButton);
    QCOMPARE(clicks, 0);
    QCOMPARE(m_host->asked.take(), u"edit"_qs);

    QTest::mouseClick(button, Qt::LeftButton);
    QCOMPARE(clicks, 1);
}

QTEST_MAIN(TestGestures)
#include "tst_gestures.moc"
