// What the gestures lead to, in an application that was started in the modes of translators: who is asked for
// what, in which windows, and that nothing is left when the application ends.
#include "DVPopupContentView.h"
#include "DVPopupRootViewController.h"
#include "DVPopupWindow.h"
#include "DVReviewTools.h"
#include "DVViewControllers.h"
#include "DVWindowGestures.h"
#include "DorvaneViews.h"
#include "GestureHost.h"
#include "ReviewPlatform.h"

#include <QApplication>
#include <QDialog>
#include <QLabel>
#include <QMainWindow>
#include <QMenu>
#include <QPushButton>
#include <QStackedWidget>
#include <QTabWidget>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

namespace {

// A frame with a label in it, and beside it a frame with nothing.
struct Window
{
    QWidget window;
    QFrame cell{&window};
    QLabel label{&cell};
    QFrame plain{&cell};

    explicit Window(const QString &text = u"Hello"_qs)
    {
        window.setGeometry(60, 60, 400, 400);
        cell.setGeometry(50, 50, 300, 200);
        label.setGeometry(0, 0, 300, 60);
        label.setText(text);
        plain.setGeometry(0, 100, 300, 100);
        window.show();
        QCoreApplication::processEvents();
    }
    QWindow *handle() const { return window.windowHandle(); }
    Hand hand(QPoint at) const { return {handle(), at}; }
    QPoint onLabel() const { return {150, 75}; }
    QPoint onPlain() const { return {150, 200}; }
};

QStringList described(const QList<DVViewStringsPtr> &list)
{
    QStringList all;
    for (const DVViewStringsPtr &strings : list) {
        const QString kind = strings->isTitle ? u"title "_qs : strings->isTabTitle ? u"tab "_qs : u""_qs;
        const QString owner = strings->viewController ? strings->viewController->objectName() : u"nobody"_qs;
        all << QString(kind + strings->originalString + u" of " + owner);
    }
    return all;
}

QWidget *named(const QString &name, QWidget *widget = new QWidget)
{
    widget->setObjectName(name);
    return widget;
}

QWidget *pageWith(const QString &name, const QString &text)
{
    QWidget *page = named(name);
    (new QVBoxLayout(page))->addWidget(new QLabel(text));
    return page;
}

} // namespace

class TestGestureRules : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_platform = std::make_unique<ReviewPlatform>();
        m_application = std::make_unique<DVTestHost>();
        m_host = std::make_unique<GestureHost>();
    }
    void cleanup()
    {
        m_host.reset();
        m_application.reset();
        m_platform.reset();
    }

    void whoIsAsked_data();
    void whoIsAsked();
    void theHookOfAutomatedTests_data();
    void theHookOfAutomatedTests();
    void theNearestAncestorsStrings();
    void aPictureThatFails();
    void captureEndsWithTheMenu();
    void signingIn_data();
    void signingIn();
    void onlyThePairGoesOnTogether();

    void theStartInstalls_data();
    void theStartInstalls();
    void anotherStartEndsThem_data();
    void anotherStartEndsThem();
    void windowsComeAndGo();
    void aWindowThatDiesWhileItIsPressed();
    void aReleaseInAnotherWindow();
    void aWindowThatADialogBlocks();
    void theApplicationIsLeft();

    void aTouchPadAfterAPress();
    void windowsOfOursHaveNone();
    void whatIsNotThereSaysSoOnce();
    void withoutWidgetsNothingIsOffered();
    void stringsOfPages();
    void theTopPage();

private:
    std::unique_ptr<ReviewPlatform> m_platform;
    std::unique_ptr<DVTestHost> m_application;
    std::unique_ptr<GestureHost> m_host;
};

void TestGestureRules::whoIsAsked_data()
{
    QTest::addColumn<QString>("flags");
    QTest::addColumn<QString>("steps");
    QTest::addColumn<QString>("expected");

    QTest::newRow("who may edit edits") << u"edition loggedIn canTranslate"_qs << u"L+ hold"_qs << u"edit"_qs;
    QTest::newRow("who is not signed in does not") << u"edition canTranslate"_qs << u"L+ hold"_qs << u""_qs;
    QTest::newRow("who may not translate in the step does not")
        << u"edition loggedIn"_qs << u"L+ hold"_qs << u""_qs;
    QTest::newRow("pictures are taken by anybody") << u"screenshot"_qs << u"L+ hold"_qs << u"capture"_qs;
    QTest::newRow("a picture goes before an edit")
        << u"edition loggedIn canTranslate screenshot"_qs << u"L+ hold"_qs << u"capture"_qs;
    QTest::newRow("the menu of both modes needs no sign-in")
        << u"edition mixed"_qs << u"1+ 2+ wait 2000"_qs << u"dismiss menu"_qs;
    QTest::newRow("the menu of review needs one")
        << u"edition"_qs << u"1+ 2+ wait 2000"_qs << u"dismiss login"_qs;
}

void TestGestureRules::whoIsAsked()
{
    QFETCH(const QString, flags);
    QFETCH(const QString, steps);
    QFETCH(const QString, expected);
    auto &state = DVState::shared();
    state.editionMode = flags.contains(u"edition");
    state.loggedIn = flags.contains(u"loggedIn");
    state.canTranslate = flags.contains(u"canTranslate");
    state.screenshotMode = flags.contains(u"screenshot");
    state.mixedMode = flags.contains(u"mixed");
    const Window host;

    host.hand(host.onLabel()).perform(steps);

    QCOMPARE(m_host->asked.take(), expected);
    if (expected == u"edit") {
        QCOMPARE(m_host->asked.strings.size(), 1);
        QCOMPARE(m_host->asked.strings.first()->originalString, u"Hello"_qs);
        QCOMPARE(m_host->asked.inView->object(), &host.label);
        QCOMPARE(dv_lastTouchedView(host.handle())->object(), &host.label);
    }
    if (expected == u"capture")
        QCOMPARE(m_host->asked.captured, &host.window);
}

void TestGestureRules::theHookOfAutomatedTests_data()
{
    QTest::addColumn<QPoint>("at");
    QTest::addColumn<bool>("uiTest");
    QTest::addColumn<QString>("expected");
    QTest::newRow("at the point the menu opens") << QPoint(100, 100) << true << u"dismiss menu"_qs;
    QTest::newRow("one further down the editor") << QPoint(100, 101) << true << u"edit"_qs;
    QTest::newRow("one to the right, too") << QPoint(101, 100) << true << u"edit"_qs;
    QTest::newRow("where nobody tests, the editor") << QPoint(100, 100) << false << u"edit"_qs;
}

void TestGestureRules::theHookOfAutomatedTests()
{
    QFETCH(const QPoint, at);
    QFETCH(const bool, uiTest);
    QFETCH(const QString, expected);
    DVState::shared().uiTest = uiTest;
    DVState::shared().mixedMode = true;
    Window host;
    host.label.resize(300, 100);

    host.hand(at).perform(u"L+ hold L-"_qs);

    QCOMPARE(m_host->asked.take(), expected);
}

void TestGestureRules::theNearestAncestorsStrings()
{
    auto &defaults = DVUserDefaults::standard(); // where somebody has worked before
    defaults.setData(u"DVWorkflowStep"_qs, ReviewPlatform::step(u"translate"_qs).archived());
    defaults.setString(u"DVLocale"_qs, u"fr_CA"_qs);
    DVTestHost::write(m_application->filePath(u"1.0_fr_CA_published.xlf"_qs),
                      DVTestHost::xliff(u"hello"_qs, u"Bonjour"_qs));
    DVMainController::sharedInstance().setInAppTools(std::make_unique<DVReviewTools>());
    Dorvane::startWithProjectId(u"p"_qs, m_platform->options(u"DVInAppReview"_qs));
    ReviewPlatform::signIn();
    const QString marked = DVBundle::mainBundle().localizedStringForKey(u"hello"_qs);
    QVERIFY(marked.contains(QChar(0x200B)));
    const Window host(marked);
    m_application->takeLog();

    host.hand(host.onPlain()).perform(u"L+ hold L-"_qs);

    QCOMPARE(m_host->asked.take(), u"edit"_qs);
    QCOMPARE(m_host->asked.inView->object(), &host.cell);
    QVERIFY(m_application->logged(u"Edition gesture triggered for view "_qs));

    host.hand({20, 300}).perform(u"L+ hold L-"_qs); // the window itself is in nothing
    QCOMPARE(m_host->asked.take(), u""_qs);
}

void TestGestureRules::aPictureThatFails()
{
    DVState::shared().screenshotMode = DVState::shared().log = true;
    m_host->asked.captureFails = DVError{u"dorvane.SDK"_qs, 500, u"The lens is covered"_qs};
    const Window host;

    host.hand(host.onLabel()).perform(u"L+ hold L-"_qs);

    QVERIFY(m_application->logged(u"The lens is covered"_qs));
}

void TestGestureRules::captureEndsWithTheMenu()
{
    DVMainController::sharedInstance().setInAppTools(std::make_unique<DVReviewTools>());
    Dorvane::startWithProjectId(u"p"_qs, m_platform->options(u"DVInAppReviewAndContextCapture"_qs));
    auto &state = DVState::shared();
    state.screenshotMode = true; // as the menu does
    state.editionMode = false;
    const Window host;

    host.hand(host.onLabel()).perform(u"1+ 2+ wait 2000 2- 1-"_qs);

    QCOMPARE(m_host->asked.take(), u"dismiss menu-reloaded"_qs);
    QVERIFY(state.editionMode);
    QVERIFY(!state.screenshotMode);
}

void TestGestureRules::signingIn_data()
{
    QTest::addColumn<bool>("cancelled");
    QTest::addColumn<QString>("expected");
    QTest::newRow("opens the menu") << false << u"menu"_qs;
    QTest::newRow("closed without it, nothing") << true << u""_qs;
}

void TestGestureRules::signingIn()
{
    QFETCH(const bool, cancelled);
    QFETCH(const QString, expected);
    const Window host;
    host.hand(host.onLabel()).perform(u"1+ 2+ wait 2000 2- 1-"_qs);
    QCOMPARE(m_host->asked.take(), u"dismiss login"_qs);

    m_host->asked.loginEnds(cancelled);

    QCOMPARE(m_host->asked.take(), expected);
}

void TestGestureRules::onlyThePairGoesOnTogether()
{
    const Window host;
    const Window other;
    const auto *edition = dv_editionGesture(host.handle());
    const auto *actions = dv_actionsGesture(host.handle());
    QVERIFY(gestureRecognizer(host.handle(), edition, actions));
    QVERIFY(gestureRecognizer(host.handle(), actions, edition));
    QVERIFY(!gestureRecognizer(host.handle(), edition, edition));
    QVERIFY(!gestureRecognizer(host.handle(), edition, dv_actionsGesture(other.handle())));
    QVERIFY(!gestureRecognizer(host.handle(), nullptr, actions));
}

void TestGestureRules::theStartInstalls_data()
{
    QTest::addColumn<QString>("mode");
    QTest::addColumn<bool>("edition");
    QTest::addColumn<bool>("actions");
    QTest::newRow("review: both") << u"DVInAppReview"_qs << true << true;
    QTest::newRow("review and capture: both") << u"DVInAppReviewAndContextCapture"_qs << true << true;
    QTest::newRow("capture: the one that takes pictures") << u"DVContextCapture"_qs << true << false;
    QTest::newRow("disabled: nothing") << u"DVDisabled"_qs << false << false;
}

void TestGestureRules::theStartInstalls()
{
    QFETCH(const QString, mode);
    QFETCH(const bool, edition);
    QFETCH(const bool, actions);
    DVGestureWatch::remove(); // this host's
    dorvane_registerReviewTools();
    const Window before;

    Dorvane::startWithProjectId(u"p"_qs, m_platform->options(mode));
    QVERIFY(!DVGestureWatch::shared()); // from the event loop
    QCoreApplication::processEvents();

    const Window after;
    for (const Window *window : {&before, &after}) {
        QCOMPARE(dv_editionGesture(window->handle()) != nullptr, edition);
        QCOMPARE(dv_actionsGesture(window->handle()) != nullptr, actions);
    }
    DVMainController::sharedInstance().applicationEnds();
    QVERIFY(!DVGestureWatch::shared());
}

void TestGestureRules::anotherStartEndsThem_data()
{
    QTest::addColumn<bool>("allowLocaleChange");
    QTest::addColumn<bool>("before");
    QTest::newRow("of an application that serves") << false << false;
    QTest::newRow("of one that serves, before they were installed") << false << true;
    QTest::newRow("of one whose texts stay marked") << true << false;
}

void TestGestureRules::anotherStartEndsThem()
{
    QFETCH(const bool, allowLocaleChange);
    QFETCH(const bool, before);
    DVGestureWatch::remove(); // this host's
    dorvane_registerReviewTools();
    Dorvane::startWithProjectId(u"p"_qs, m_platform->options(u"DVInAppReview"_qs));
    if (!before)
        QCoreApplication::processEvents();
    QVariantMap options = m_application->servingOptions(m_platform->server);
    options.insert(u"syncTimeout"_qs, 0);
    options.insert(u"allowLocaleChange"_qs, allowLocaleChange);
    Dorvane::startWithProjectId(u"p"_qs, options);
    QCoreApplication::processEvents();

    QPushButton button(u"Water"_qs);
    int clicks = 0;
    connect(&button, &QPushButton::clicked, this, [&] { ++clicks; });
    button.setGeometry(60, 60, 200, 80);
    button.show();
    QCoreApplication::processEvents();
    Hand(button.windowHandle(), {50, 40}).perform(u"L+ hold L-"_qs);
    QCOMPARE(clicks, 1);
    Hand(button.windowHandle(), {50, 40}).perform(u"1+ 2+ wait 2000 2- 1-"_qs);
    QCOMPARE(m_host->asked.take(), u""_qs);
    QCOMPARE(DVGestureWatch::shared() != nullptr, allowLocaleChange);
}

void TestGestureRules::windowsComeAndGo()
{
    Window host;
    QVERIFY(dv_editionGesture(host.handle()));
    host.window.hide();
    QVERIFY(!dv_editionGesture(host.handle()));
    host.window.show();
    host.hand(host.onLabel()).perform(u"L+ hold L-"_qs);
    QCOMPARE(m_host->asked.take(), u"edit"_qs);

    dv_removeEditionGesture(host.handle());
    QVERIFY(!dv_editionGesture(host.handle()));
    host.hand(host.onLabel()).perform(u"L+ hold L-"_qs);
    QCOMPARE(m_host->asked.take(), u""_qs);
    host.hand(host.onLabel()).perform(u"1+ 2+ wait 2000 2- 1-"_qs);
    QCOMPARE(m_host->asked.take(), u"dismiss login"_qs);
}

void TestGestureRules::aWindowThatDiesWhileItIsPressed()
{
    auto host = std::make_unique<Window>();
    const Window other;
    Hand hand = host->hand(host->onLabel());
    hand.perform(u"L+ wait 300"_qs);
    host.reset();
    DVAnimationClock::advance(5000);
    QCOMPARE(m_host->asked.take(), u""_qs);

    other.hand(other.onLabel()).perform(u"L- L+ hold L-"_qs);
    QCOMPARE(m_host->asked.take(), u"edit"_qs);
}

void TestGestureRules::aReleaseInAnotherWindow()
{
    const Window host;
    const Window other;
    host.hand(host.onLabel()).perform(u"L+ wait 300"_qs);
    other.hand(other.onLabel()).perform(u"L- hold hold"_qs);
    QCOMPARE(m_host->asked.take(), u""_qs);
}

void TestGestureRules::aWindowThatADialogBlocks()
{
    const Window host;
    host.hand(host.onLabel()).perform(u"L+ wait 300"_qs);
    QDialog dialog;
    dialog.setModal(true);
    dialog.show(); // the host's own, at the press
    QCOMPARE(dv_presentedViewController(host.handle()), &dialog);
    DVAnimationClock::advance(5000);
    QCOMPARE(m_host->asked.take(), u""_qs);
}

void TestGestureRules::theApplicationIsLeft()
{
    const Window host;
    host.hand(host.onLabel()).perform(u"L+ wait 300"_qs);
    Q_EMIT qGuiApp->applicationStateChanged(Qt::ApplicationInactive);
    DVAnimationClock::advance(5000);
    QCOMPARE(m_host->asked.take(), u""_qs);
}

// Its touches go to widgets alone.
void TestGestureRules::aTouchPadAfterAPress()
{
    const Window host;
    host.hand(host.onLabel()).perform(u"L+ hold L-"_qs);
    QCOMPARE(m_host->asked.take(), u"edit"_qs);

    class Pad : public QWidget
    {
    public:
        int touches = 0;

    protected:
        bool event(QEvent *event) override
        {
            touches += event->type() == QEvent::TouchBegin;
            return QWidget::event(event);
        }
    };
    Pad pad;
    pad.setAttribute(Qt::WA_AcceptTouchEvents);
    static QPointingDevice *device = QTest::createTouchDevice(QInputDevice::DeviceType::TouchPad);
    QTouchEvent touch(QEvent::TouchBegin, device);
    QCoreApplication::sendEvent(&pad, &touch);
    QCOMPARE(pad.touches, 1);
}

void TestGestureRules::windowsOfOursHaveNone()
{
    const Window host;
    DVPopupRootViewController screen;
    screen.popup()->presentPopupAnimated(false);
    QWindow *popup = DVPopupWindow::sharedPopup().windowHandle();
    QVERIFY(popup && popup->isVisible());

    QVERIFY(!dv_editionGesture(popup));
    QVERIFY(!dv_actionsGesture(popup));
    Hand(popup, {100, 100}).perform(u"L+ hold L- 1+ 2+ wait 2000 2- 1-"_qs);
    QCOMPARE(m_host->asked.take(), u""_qs);
    screen.popup()->dismissAnimated(false);
}

void TestGestureRules::whatIsNotThereSaysSoOnce()
{
    DVState::shared().log = true;
    DVPresenters presenters;
    QList<bool> cancelled;
    DVErrorOr failure;
    for (int i = 0; i < 2; ++i) {
        presenters.actions->show();
        presenters.edition->presentEditionViewWithStringsAndViews({}, nullptr, nullptr, true);
        presenters.login->openLoginFormWithCompletion([&](bool closed) { cancelled << closed; });
        presenters.capture->captureWindow(nullptr, [&](const DVErrorOr &error) { failure = error; });
    }
    QVERIFY(cancelled.isEmpty()); // never from inside the call
    QTRY_COMPARE(cancelled, (QList<bool>{true, true}));
    QTRY_VERIFY(failure);
    QCOMPARE(m_application->takeLog().filter(u"not built yet"_qs).size(), 4);
}

// As the start-up of an application without widgets has it.
void TestGestureRules::withoutWidgetsNothingIsOffered()
{
    DVMainController::sharedInstance().setWhyNoInAppTools(u"In-App Review needs widgets"_qs);
    Dorvane::startWithProjectId(u"p"_qs, m_platform->options(u"DVInAppReview"_qs));
    DVMainController::sharedInstance().setWhyNoInAppTools({});

    QCOMPARE(m_application->takeLog().filter(u"In-App Review needs widgets"_qs).size(), 1);
    QVERIFY(!DVState::shared().editionMode);
}

void TestGestureRules::stringsOfPages()
{
    QMainWindow window;
    named(u"window"_qs, &window);
    window.setWindowTitle(u"The window"_qs);
    auto *central = new QWidget;
    auto *layout = new QVBoxLayout(central);
    layout->addWidget(new QLabel(u"Above"_qs));
    auto *tabs = new QTabWidget;
    tabs->addTab(pageWith(u"first"_qs, u"In the first"_qs), u"First"_qs);
    auto *stack = new QStackedWidget;
    stack->addWidget(pageWith(u"below"_qs, u"Covered"_qs));
    stack->addWidget(pageWith(u"top"_qs, u"On top"_qs));
    stack->widget(1)->setWindowTitle(u"The top page"_qs);
    stack->setCurrentIndex(1);
    tabs->addTab(named(u"second"_qs, stack), u"Second"_qs);
    tabs->setCurrentIndex(1);
    layout->addWidget(tabs);
    window.setCentralWidget(central);
    window.show();
    QCoreApplication::processEvents();

    // Each once: pages in their order, what is in them before their titles, the window's at the end.
    QCOMPARE(described(dorvaneStringsInWindowSubviews(window.windowHandle())),
             (QStringList{u"Above of window"_qs, u"tab First of first"_qs, u"On top of top"_qs,
                          u"title The top page of top"_qs, u"tab Second of second"_qs,
                          u"title The window of window"_qs}));
    QCOMPARE(described(dorvaneStringsInViewController(stack->widget(1))), QStringList{u"On top of top"_qs});
    QCOMPARE(dorvaneStringsInViewController(nullptr).size(), 0);
}

void TestGestureRules::theTopPage()
{
    QMainWindow window;
    auto *stack = new QStackedWidget;
    stack->addWidget(pageWith(u"below"_qs, u"Covered"_qs));
    stack->addWidget(pageWith(u"top"_qs, u"On top"_qs));
    window.setCentralWidget(stack);
    window.show();
    QCOMPARE(dv_navTopViewController(window.windowHandle()), stack->widget(0));
    stack->setCurrentIndex(1);
    QCOMPARE(dv_navTopViewController(window.windowHandle()), stack->widget(1));

    const Window other;
    QCOMPARE(dv_navTopViewController(other.handle()), nullptr);
    QCOMPARE(dv_navTopViewController(nullptr), nullptr);
}

QTEST_MAIN(TestGestureRules)
#include "tst_gesturerules.moc"
