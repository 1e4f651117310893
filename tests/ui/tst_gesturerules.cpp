// What the gestures lead to, in an application that was started in the modes of translators: who is asked for
// what, in which windows, and that nothing is left when the application ends.
#include "DVPopupContentView.h"
#include "DVPopupRootViewController.h"
#include "DVPopupWindow.h"
#include "DVReviewTools.h"
#include "DVRows.h"
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
    Hand onLabel() const { return hand({150, 75}); }
    Hand onPlain() const { return hand({150, 200}); }
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

QStackedWidget *twoPages()
{
    auto *stack = new QStackedWidget;
    stack->addWidget(pageWith(u"below"_qs, u"Covered"_qs));
    stack->addWidget(pageWith(u"top"_qs, u"On top"_qs));
    return stack;
}

// What a press does to the windows meanwhile.
using Meanwhile = std::function<void(std::unique_ptr<Window> &pressed, const Window &other)>;

const QString pressOfTwo = u"1+ 2+ wait 2000 2- 1-"_qs;

} // namespace

Q_DECLARE_METATYPE(Meanwhile)

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

    void whoIsAsked_data()
    {
        const DVRows<const char *, QString, const char *> row("flags", "steps", "expected");
        row("who may edit edits", "edition loggedIn canTranslate", longPress, "edit");
        row("who is not signed in does not", "edition canTranslate", longPress, "");
        row("who may not translate in the step does not", "edition loggedIn", longPress, "");
        row("pictures are taken by anybody", "screenshot", longPress, "capture");
        row("a picture goes before an edit", "edition loggedIn canTranslate screenshot", longPress,
            "capture");
        row("the menu of both modes needs no sign-in", "edition mixed", pressOfTwo, "dismiss menu");
        row("the menu of review needs one", "edition", pressOfTwo, "dismiss login");
    }

    void whoIsAsked()
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

        QCOMPARE(m_host->askedBy(host.onLabel(), steps), expected);

        if (expected == u"edit") {
            QCOMPARE(m_host->asked.strings.size(), 1);
            QCOMPARE(m_host->asked.strings.first()->originalString, u"Hello"_qs);
            QCOMPARE(m_host->asked.inView->object(), &host.label);
            QCOMPARE(dv_lastTouchedView(host.handle())->object(), &host.label);
        }
        if (expected == u"capture")
            QCOMPARE(m_host->asked.captured, &host.window);
    }

    void theHookOfAutomatedTests_data()
    {
        const DVRows<QPoint, bool, const char *> row("at", "uiTest", "expected");
        row("at the point the menu opens", QPoint(100, 100), true, "dismiss menu");
        row("one further down the editor", QPoint(100, 101), true, "edit");
        row("one to the right, too", QPoint(101, 100), true, "edit");
        row("where nobody tests, the editor", QPoint(100, 100), false, "edit");
    }

    void theHookOfAutomatedTests()
    {
        QFETCH(const QPoint, at);
        QFETCH(const bool, uiTest);
        DVState::shared().uiTest = uiTest;
        DVState::shared().mixedMode = true;
        Window host;
        host.label.resize(300, 100);
        QTEST(m_host->askedBy(host.hand(at), longPress), "expected");
    }

    void theNearestAncestorsStrings()
    {
        auto &defaults = DVUserDefaults::standard(); // where somebody has worked before
        defaults.setData(u"DVWorkflowStep"_qs, ReviewPlatform::step(u"translate"_qs).archived());
        defaults.setString(u"DVLocale"_qs, u"fr_CA"_qs);
        DVTestHost::write(m_application->filePath(u"1.0_fr_CA_published.xlf"_qs),
                          DVTestHost::xliff(u"hello"_qs, u"Bonjour"_qs));
        start(u"DVInAppReview"_qs);
        ReviewPlatform::signIn();
        const QString marked = DVBundle::mainBundle().localizedStringForKey(u"hello"_qs);
        QVERIFY(marked.contains(QChar(0x200B)));
        const Window host(marked);
        m_application->takeLog();

        QCOMPARE(m_host->askedBy(host.onPlain(), longPress), u"edit"_qs);
        QCOMPARE(m_host->asked.inView->object(), &host.cell);
        QVERIFY(m_application->logged(u"Edition gesture triggered for view "_qs));

        QCOMPARE(m_host->askedBy(host.hand({20, 300}), longPress), u""_qs); // the window itself is in nothing
    }

    void aPictureThatFails()
    {
        DVState::shared().screenshotMode = DVState::shared().log = true;
        m_host->asked.captureFails = DVError{u"dorvane.SDK"_qs, 500, u"The lens is covered"_qs};
        const Window host;
        host.onLabel().perform(longPress);
        QVERIFY(m_application->logged(u"The lens is covered"_qs));
    }

    void captureEndsWithTheMenu()
    {
        start(u"DVInAppReviewAndContextCapture"_qs);
        auto &state = DVState::shared();
        state.screenshotMode = true; // as the menu does
        state.editionMode = false;
        const Window host;
        QCOMPARE(m_host->askedBy(host.onLabel(), pressOfTwo), u"dismiss menu-reloaded"_qs);
        QVERIFY(state.editionMode);
        QVERIFY(!state.screenshotMode);
    }

    void signingInOpensTheMenu()
    {
        const Window host;
        for (const bool cancelled : {true, false}) {
            QCOMPARE(m_host->askedBy(host.onLabel(), pressOfTwo), u"dismiss login"_qs);
            m_host->asked.loginEnds(cancelled);
            QCOMPARE(m_host->asked.take(), cancelled ? u""_qs : u"menu"_qs);
        }
    }

    void onlyThePairGoesOnTogether()
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

    void theStartInstalls_data()
    {
        const DVRows<const char *, bool, bool> row("mode", "edition", "actions");
        row("review: both", "DVInAppReview", true, true);
        row("review and capture: both", "DVInAppReviewAndContextCapture", true, true);
        row("capture: the one that takes pictures", "DVContextCapture", true, false);
        row("disabled: nothing", "DVDisabled", false, false);
    }

    void theStartInstalls()
    {
        QFETCH(const QString, mode);
        DVGestureWatch::remove(); // this host's
        dorvane_registerReviewTools();
        const Window before;

        Dorvane::startWithProjectId(u"p"_qs, m_platform->options(mode));
        QVERIFY(!DVGestureWatch::shared()); // from the event loop
        QCoreApplication::processEvents();

        const Window after;
        for (const Window *window : {&before, &after}) {
            QTEST(dv_editionGesture(window->handle()) != nullptr, "edition");
            QTEST(dv_actionsGesture(window->handle()) != nullptr, "actions");
        }
        DVMainController::sharedInstance().applicationEnds();
        QVERIFY(!DVGestureWatch::shared());
    }

    void anotherStartEndsThem_data()
    {
        const DVRows<bool, bool> row("allowLocaleChange", "before");
        row("of an application that serves", false, false);
        row("of one that serves, before they were installed", false, true);
        row("of one whose texts stay marked", true, false);
    }

    void anotherStartEndsThem()
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
        Hand(button.windowHandle(), {50, 40}).perform(longPress);
        QCOMPARE(clicks, 1);
        QCOMPARE(m_host->askedBy({button.windowHandle(), {50, 40}}, pressOfTwo), u""_qs);
        QCOMPARE(DVGestureWatch::shared() != nullptr, allowLocaleChange);
    }

    void aStartThatOnlyCaptures()
    {
        DVGestureWatch::remove(); // this host's
        dorvane_registerReviewTools();
        const Window before;
        for (const QString &mode : {u"DVInAppReview"_qs, u"DVContextCapture"_qs}) {
            Dorvane::startWithProjectId(u"p"_qs, m_platform->options(mode));
            QCoreApplication::processEvents();
        }
        const Window after;
        for (const Window *window : {&before, &after}) {
            QVERIFY(!dv_actionsGesture(window->handle()));
            QCOMPARE(m_host->askedBy(window->onLabel(), pressOfTwo), u""_qs);
            QCOMPARE(m_host->askedBy(window->onLabel(), longPress), u"capture"_qs);
        }
    }

    void aWindowThatIsShownAgainAndAgain()
    {
        class Counted : public QWindow
        {
        public:
            int listeners() const { return receivers(SIGNAL(destroyed(QObject *))); }
        };
        Counted window;
        window.show();
        QVERIFY(dv_editionGesture(&window));
        const int once = window.listeners();
        for (int i = 0; i < 3; ++i) {
            window.hide();
            window.show();
        }
        QVERIFY(dv_editionGesture(&window));
        QCOMPARE(window.listeners(), once);
    }

    void windowsComeAndGo()
    {
        Window host;
        QVERIFY(dv_editionGesture(host.handle()));
        host.window.hide();
        QVERIFY(!dv_editionGesture(host.handle()));
        host.window.show();
        QCOMPARE(m_host->askedBy(host.onLabel(), longPress), u"edit"_qs);

        dv_removeEditionGesture(host.handle());
        QVERIFY(!dv_editionGesture(host.handle()));
        QCOMPARE(m_host->askedBy(host.onLabel(), longPress), u""_qs);
        QCOMPARE(m_host->askedBy(host.onLabel(), pressOfTwo), u"dismiss login"_qs);
    }

    void whatEndsAPress_data()
    {
        const DVRows<Meanwhile> row("meanwhile");
        row("the window dies", Meanwhile([](auto &pressed, const auto &) { pressed.reset(); }));
        row("the button is let go in another window",
            Meanwhile([](const auto &, const Window &other) { other.onLabel().perform(u"L-"_qs); }));
        row("the host blocks the window with a dialog", Meanwhile([](auto &pressed, const auto &) {
                auto *dialog = new QDialog(&pressed->window);
                dialog->setModal(true);
                dialog->show();
                QCOMPARE(dv_presentedViewController(pressed->handle()), dialog);
            }));
        row("the application is left", Meanwhile([](const auto &, const auto &) {
                Q_EMIT qGuiApp->applicationStateChanged(Qt::ApplicationInactive);
            }));
    }

    void whatEndsAPress()
    {
        QFETCH(const Meanwhile, meanwhile);
        auto pressed = std::make_unique<Window>();
        const Window other;
        pressed->onLabel().perform(u"L+ wait 300"_qs);
        meanwhile(pressed, other);
        DVAnimationClock::advance(5000);
        QCOMPARE(m_host->asked.take(), u""_qs);

        pressed.reset();
        QCOMPARE(m_host->askedBy(other.onLabel(), u"L- L+ hold L-"_qs), u"edit"_qs);
    }

    // Its touches go to widgets alone.
    void aTouchPadAfterAPress()
    {
        const Window host;
        QCOMPARE(m_host->askedBy(host.onLabel(), longPress), u"edit"_qs);

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

    void windowsOfOursHaveNone()
    {
        const Window host;
        DVPopupRootViewController screen;
        screen.popup()->presentPopupAnimated(false);
        QWindow *popup = DVPopupWindow::sharedPopup().windowHandle();
        QVERIFY(popup && popup->isVisible());
        QVERIFY(!dv_editionGesture(popup) && !dv_actionsGesture(popup));
        QCOMPARE(m_host->askedBy({popup, {100, 100}}, longPress + u' ' + pressOfTwo), u""_qs);
        screen.popup()->dismissAnimated(false);
    }

    void whatIsNotThereSaysSoOnce()
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
    void withoutWidgetsNothingIsOffered()
    {
        DVMainController::sharedInstance().setWhyNoInAppTools(u"In-App Review needs widgets"_qs);
        Dorvane::startWithProjectId(u"p"_qs, m_platform->options(u"DVInAppReview"_qs));
        DVMainController::sharedInstance().setWhyNoInAppTools({});

        QCOMPARE(m_application->takeLog().filter(u"In-App Review needs widgets"_qs).size(), 1);
        QVERIFY(!DVState::shared().editionMode);
    }

    void stringsOfPages()
    {
        QMainWindow window;
        named(u"window"_qs, &window);
        window.setWindowTitle(u"The window"_qs);
        auto *central = new QWidget;
        auto *layout = new QVBoxLayout(central);
        layout->addWidget(new QLabel(u"Above"_qs));
        auto *tabs = new QTabWidget;
        tabs->addTab(pageWith(u"first"_qs, u"In the first"_qs), u"First"_qs);
        QStackedWidget *stack = twoPages();
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
        QCOMPARE(described(dorvaneStringsInViewController(stack->widget(1))),
                 QStringList{u"On top of top"_qs});
        QCOMPARE(dorvaneStringsInViewController(nullptr).size(), 0);
    }

    void theTopPage()
    {
        QMainWindow window;
        QStackedWidget *stack = twoPages();
        window.setCentralWidget(stack);
        window.show();
        for (const int page : {0, 1}) {
            stack->setCurrentIndex(page);
            QCOMPARE(dv_navTopViewController(window.windowHandle()), stack->widget(page));
        }
        const Window other;
        QCOMPARE(dv_navTopViewController(other.handle()), nullptr);
        QCOMPARE(dv_navTopViewController(nullptr), nullptr);
    }

private:
    void start(const QString &mode)
    {
        DVMainController::sharedInstance().setInAppTools(std::make_unique<DVReviewTools>());
        Dorvane::startWithProjectId(u"p"_qs, m_platform->options(mode));
    }

    std::unique_ptr<ReviewPlatform> m_platform;
    std::unique_ptr<DVTestHost> m_application;
    std::unique_ptr<GestureHost> m_host;
};

QTEST_MAIN(TestGestureRules)
#include "tst_gesturerules.moc"
