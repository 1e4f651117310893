// The two gestures in windows of widgets: what is one and what is not, and that the host's controls never
// notice but for the click that does not come.
#include "DVRows.h"
#include "GestureHost.h"

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
    Hand onControl() const { return {handle(), control->geometry().center()}; }
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

class TestGestures : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QApplication::setDoubleClickInterval(0); }
    void init() { m_host = std::make_unique<GestureHost>(); }
    void cleanup() { m_host.reset(); }

    void presses_data()
    {
        const DVRows<const char *, const char *> row("steps", "expected");
        row("the left button held edits", "L+ hold", "edit");
        row("once, however long it is held", "L+ hold hold hold wait 5000 L-", "edit");
        row("let go a moment before, nothing", "L+ wait 780 L- hold", "");
        row("two short presses are no long one", "L+ wait 500 L- L+ wait 500 L- hold", "");
        row("each long press edits", "L+ hold L- L+ hold L-", "edit edit");
        row("a hand may tremble", "L+ move near hold", "edit");
        row("a drag is none", "L+ move far hold", "");
        row("not even one that returns", "L+ move far move -far hold", "");
        row("the mouse moved without a button", "move far L+ hold", "edit");
        row("the right button alone does nothing", "R+ wait 5000 R-", "");
        row("nor does the middle one", "M+ wait 5000 M-", "");

        row("a finger held edits", "1+ hold", "edit");
        row("a finger lifted before does not", "1+ wait 780 1- hold", "");
        row("a finger may tremble", "1+ 1~near hold", "edit");
        row("a finger that scrolls does not", "1+ 1~far hold", "");
        row("a second finger ends the press of one", "1+ wait 400 2+ hold", "");
        row("also when it is lifted again", "1+ 2+ 2- hold hold hold", "");
        row("and the next press counts again", "1+ 2+ 2- 1- 1+ hold", "edit");

        row("two fingers for two seconds open the menu", "1+ 2+ wait 2000", "dismiss menu");
        row("for less they do not", "1+ 2+ wait 1980 2- 1- wait 2000", "");
        row("the time begins with the second", "1+ wait 700 2+ wait 1980 2-", "");
        row("one that moves is no press", "1+ 2+ wait 500 2~far wait 5000", "");
        row("three fingers do nothing", "1+ 2+ 3+ wait 5000", "");
        row("nor do two when the third is lifted", "1+ 2+ 3+ 3- wait 5000", "");
        row("a third finger ends the press of two", "1+ 2+ wait 1900 3+ wait 5000", "");
        row("an edit and then a second finger: the menu too", "1+ hold 2+ wait 2000", "edit dismiss menu");
        row("after the menu one finger that stays does not edit", "1+ 2+ wait 2000 2- wait 5000",
            "dismiss menu");

        row("both buttons open the menu", "L+ R+ wait 2000", "dismiss menu");
        row("in either order", "R+ L+ wait 2000", "dismiss menu");
        row("the second button ends an edit", "L+ wait 400 R+ hold", "");
        row("three buttons do nothing", "L+ R+ M+ wait 5000", "");
        row("both buttons that drag do nothing", "L+ R+ move far wait 5000", "");
    }

    void presses()
    {
        QFETCH(QString, steps);
        steps.replace(u"near"_qs, QString::number(GestureHost::dragDistance()));
        steps.replace(u"far"_qs, QString::number(GestureHost::dragDistance() + 1));
        const Window host;
        DVState::shared().mixedMode = true; // the menu needs nobody to be signed in
        QTEST(m_host->askedBy(host.onControl(), steps), "expected");
    }

    void clicksAreNotMade_data()
    {
        QTest::addColumn<MakeControl>("make");
        QTest::addColumn<bool>("byTouch");
        const auto control = [](const char *name, const MakeControl &make, bool takesFingers = true) {
            QTest::addRow("%s, with the mouse", name) << make << false;
            if (takesFingers)
                QTest::addRow("%s, with a finger", name) << make << true;
        };
        control("a header's section", header, false); // as without us: their parents wait for a pan
        control("a link in a page", linkInPage, false);
        control("a button", button<QPushButton>);
        control("a check box", button<QCheckBox>);
        control("a radio button", button<QRadioButton>);
        control("a tool button", button<QToolButton>);
        control("an entry of a list", list);
        control("a group box's title", groupBox);
        control("a link in a label", linkInLabel);
        control("an entry of a menu bar", menuBar);
        control("a tab's closing button", tabClose);
    }

    void clicksAreNotMade()
    {
        QFETCH(const MakeControl, make);
        QFETCH(const bool, byTouch);
        const QString click = byTouch ? u"1+ wait 300 1-"_qs : u"L+ wait 300 L-"_qs;
        const auto uses = std::make_shared<int>(0);
        const Control control = make(uses);
        const Window host(control.widget);
        const Hand hand(host.handle(), host.control->pos() + control.at());

        QCOMPARE(m_host->askedBy(hand, click), u""_qs);
        const int usesOfAClick = *uses;
        QVERIFY2(usesOfAClick > 0, "the control is clicked as without us");

        QCOMPARE(m_host->askedBy(hand, byTouch ? u"1+ hold 1-"_qs : longPress), u"edit"_qs);
        QCOMPARE(*uses, usesOfAClick);

        m_host->askedBy(hand, click);
        QCOMPARE(*uses, 2 * usesOfAClick);
    }

    void aFingerOnAButtonThatTakesTouches()
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
        host.onControl().perform(u"1+ hold 1~1 1~40 1-"_qs);
        QCOMPARE(pad->events, (QList<QEvent::Type>{QEvent::TouchBegin, QEvent::TouchCancel}));

        pad->events.clear();
        host.onControl().perform(u"1+ 1~40 1-"_qs);
        QCOMPARE(pad->events,
                 (QList<QEvent::Type>{QEvent::TouchBegin, QEvent::TouchUpdate, QEvent::TouchEnd}));
    }

    void buttonsSayThatTheyWereReleased()
    {
        auto *horn = new QPushButton(u"Horn"_qs); // sounds while it is held
        int pressed = 0;
        int released = 0;
        connect(horn, &QPushButton::pressed, this, [&] { ++pressed; });
        connect(horn, &QPushButton::released, this, [&] { ++released; });
        const Window host(horn);
        host.onControl().perform(u"L+ hold"_qs);
        QCOMPARE(pressed, 1);
        QCOMPARE(released, 1);
        QVERIFY(!horn->isDown());
    }

    void selectionStays()
    {
        auto *entries = new QListWidget;
        entries->setSelectionMode(QAbstractItemView::ExtendedSelection);
        entries->addItems({u"One"_qs, u"Two"_qs, u"Three"_qs});
        const Window host(entries);
        entries->item(0)->setSelected(true);
        const QPoint second =
            entries->viewport()->mapTo(&host.window, entries->visualItemRect(entries->item(1)).center());
        QCOMPARE(m_host->askedBy({host.handle(), second}, longPress), u"edit"_qs);
        QVERIFY(entries->item(1)->isSelected()); // by the press, as ever
    }

    void theHostGoesOn_data()
    {
        const DVRows<MakeControl, const char *, const char *, bool> row("make", "steps", "expected", "used");
        row("a slider is moved", slider, "L+ move 15 move 15 hold L-", "", true);
        row("a slider that is only held keeps its value", slider, "L+ hold move 40 L-", "capture", false);
        row("a scroll bar goes on by pages while it is held", scrollBar, "L+ hold L-", "", true);
        row("an arrow of a spin box goes on", spinBox, "L+ hold L-", "", true);
        row("a button that repeats goes on", repeating, "L+ hold L-", "", true);
        row("text is selected", text, "L+ move 30 move 30 hold L-", "", true);
        row("text is not selected by an edit", text, "L+ hold move 30 move 30 L-", "capture", false);
        row("text in a field is selected", field, "L+ move 30 move 30 hold L-", "", true);
        row("a splitter is moved", splitter, "L+ move 15 move 15 L-", "", true);
        row("a splitter is not moved by an edit", splitter, "L+ hold move 15 move 15 L-", "capture", false);
        row("the right button opens a context menu", contextMenu, "R+ R-", "", true);
    }

    void theHostGoesOn()
    {
        QFETCH(const MakeControl, make);
        QFETCH(const QString, steps);
        const auto uses = std::make_shared<int>(0);
        const Control control = make(uses);
        const Window host(control.widget);
        DVState::shared().screenshotMode = true; // a picture needs no text under the finger
        *uses = 0;
        QTEST(m_host->askedBy({host.handle(), host.control->pos() + control.at()}, steps), "expected");
        QTEST(*uses > 0, "used");
    }

    void dragsOfTheHost()
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
        QCOMPARE(m_host->askedBy(host.onControl(), u"L+ move 3 L-"_qs), u""_qs);
        QCOMPARE(source->drags, 1);
    }

    void menus()
    {
        QMenu menu;
        int triggered = 0;
        QAction *action = menu.addAction(u"An entry of the menu"_qs);
        connect(action, &QAction::triggered, this, [&] { ++triggered; });
        const Window host;
        menu.popup(host.window.mapToGlobal(QPoint(20, 20)));
        QVERIFY(QTest::qWaitForWindowExposed(&menu));
        const QPoint entry = menu.actionGeometry(action).center();
        QCOMPARE(m_host->askedBy({menu.windowHandle(), entry}, longPress), u"edit"_qs);
        QCOMPARE(triggered, 0);

        menu.popup(host.window.mapToGlobal(QPoint(20, 20)));
        QCoreApplication::processEvents();
        QCOMPARE(m_host->askedBy({menu.windowHandle(), entry}, u"L+ wait 300 L-"_qs), u""_qs);
        QCOMPARE(triggered, 1);
    }

    void boxesThatOpenOnAPress()
    {
        auto *box = new QComboBox;
        box->addItems({u"One"_qs, u"Two"_qs, u"Three"_qs});
        const Window host(box);
        int chosen = 0;
        connect(box, &QComboBox::activated, this, [&] { ++chosen; });
        QCOMPARE(m_host->askedBy(host.onControl(), longPress), u"edit"_qs);
        QCOMPARE(chosen, 0);
        box->hidePopup();
    }

    void widgetsThatProgramsPress()
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

private:
    std::unique_ptr<GestureHost> m_host;
};

QTEST_MAIN(TestGestures)
#include "tst_gestures.moc"
