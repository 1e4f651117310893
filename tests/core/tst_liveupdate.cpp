// A new publication reaches the open windows of a running host, once, and nothing else does.
#include "DVForegroundWatch.h"
#include "DVRows.h"
#include "ServedHost.h"
#include "ui_SeasonForm.h"

#include <Dorvane/DVNotificationCenter.h>

#include <QApplication>
#include <QLabel>
#include <QTranslator>

using namespace Qt::Literals::StringLiterals;
using Answer = DVFaultServer::Answer;

namespace {

// A window as any host writes it: texts are set again when the language changes.
class Window : public QLabel
{
public:
    Window() { setText(QCoreApplication::translate("Window", "hello")); }
    int changes = 0;

protected:
    void changeEvent(QEvent *event) override
    {
        if (event->type() == QEvent::LanguageChange) {
            ++changes;
            setText(QCoreApplication::translate("Window", "hello"));
        }
        QLabel::changeEvent(event);
    }
};

// One whose texts come from an interface file.
class FormWindow : public QWidget
{
public:
    FormWindow() { m_form.setupUi(this); }
    QString greeting() const { return m_form.greeting->text(); }

protected:
    void changeEvent(QEvent *event) override
    {
        if (event->type() == QEvent::LanguageChange)
            m_form.retranslateUi(this);
        QWidget::changeEvent(event);
    }

private:
    Ui::SeasonForm m_form;
};

QByteArray hello(const QString &text)
{
    return DVTestHost::xliff(u"hello"_qs, text);
}

void enterForeground()
{
    DVNotificationCenter::defaultCenter().postNotification(DVApplicationWillEnterForegroundNotification,
                                                           qApp);
}

// Lets everything that is queued happen, and what it queues.
void settle()
{
    for (int i = 0; i < 5; ++i)
        QCoreApplication::processEvents();
}

} // namespace

class tst_LiveUpdate : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aPublicationReachesAnOpenWindowOnce()
    {
        ServedHost host;
        host.server.enqueue(DVTestHost::publication(hello(u"bonjour"_qs), 60));
        host.start();
        settle();
        Window window;
        window.show();
        FormWindow form;
        form.show();
        QCOMPARE(window.text(), u"bonjour"_qs);
        QCOMPARE(form.greeting(), u"bonjour"_qs);
        const int before = window.changes;
        enterForeground();
        settle();
        QCOMPARE(host.server.requests().size(), 1); // not expired

        DVClock::advance(3600 * 1000);
        host.server.enqueue(DVTestHost::publication(hello(u"rebonjour"_qs)));
        enterForeground();
        QTRY_COMPARE(window.text(), u"rebonjour"_qs);
        settle();
        QCOMPARE(window.changes, before + 1);
        QCOMPARE(form.greeting(), u"rebonjour"_qs);
        QCOMPARE(host.server.requests().last().target, QByteArray("/projects/p/1.0/fr-CA/strings.gz"));
    }

    void anUnchangedPublicationDisturbsNobody_data()
    {
        const DVRows<int> row("status");
        row("not modified", 304);
        row("the same content again", 200);
        row("a server failure", 503);
        row("no longer served", 404);
    }
    void anUnchangedPublicationDisturbsNobody()
    {
        QFETCH(int, status);
        ServedHost host;
        host.server.enqueue(DVTestHost::publication(hello(u"bonjour"_qs), 60));
        host.start();
        Window window;
        window.show();
        settle();
        const int before = window.changes;
        DVClock::advance(3600 * 1000);
        host.server.enqueue(status == 200 ? DVTestHost::publication(hello(u"bonjour"_qs))
                                          : Answer::of(status, {}, DVTestHost::dates(3600)));
        host.takeLog();
        enterForeground();
        QVERIFY(host.server.waitForRequests(2));
        QTRY_VERIFY(host.logged(u"Response ["_qs));
        QTest::qWait(50);
        settle();
        QCOMPARE(window.changes, before);
        QCOMPARE(window.text(), u"bonjour"_qs);
    }

    void mirroring()
    {
        ServedHost host;
        host.server.setHandler([](const DVFaultServer::Request &request) {
            return DVTestHost::publication(
                hello(request.target.contains("/ar/") ? u"مرحبا"_qs : u"bonjour"_qs));
        });
        host.start({{u"allowLocaleChange"_qs, true}});
        settle();
        QCOMPARE(QGuiApplication::layoutDirection(), Qt::LeftToRight);
        Window window;
        window.show();
        Dorvane::setLocaleWithId(u"ar"_qs);
        QTRY_COMPARE(window.text(), u"مرحبا"_qs);
        QTRY_COMPARE(window.layoutDirection(), Qt::RightToLeft);
        Dorvane::setLocaleWithId(u"fr-CA"_qs);
        QTRY_COMPARE(window.layoutDirection(), Qt::LeftToRight);
    }

    void whenTheForegroundCounts()
    {
        DVForegroundWatch watch;
        int returns = 0;
        auto &center = DVNotificationCenter::defaultCenter();
        const int token = center.addObserver(&watch, DVApplicationWillEnterForegroundNotification, qApp,
                                             [&](const DVNotification &) { ++returns; });
        const auto become = [](Qt::ApplicationState state) { Q_EMIT qApp->applicationStateChanged(state); };
        become(Qt::ApplicationActive);
        QCOMPARE(returns, 0); // the launch
        become(Qt::ApplicationInactive);
        become(Qt::ApplicationActive);
        QCOMPARE(returns, 1);
        become(Qt::ApplicationInactive);
        become(Qt::ApplicationActive);
        QCOMPARE(returns, 1); // within a minute
        become(Qt::ApplicationSuspended);
        become(Qt::ApplicationInactive);
        become(Qt::ApplicationActive);
        QCOMPARE(returns, 2);
        become(Qt::ApplicationHidden);
        become(Qt::ApplicationActive);
        QCOMPARE(returns, 3);
        center.removeObserver(token);
    }

    void theHostSeesNoEventsOfOurMoves()
    {
        ServedHost host;
        host.server.enqueue(DVTestHost::publication(hello(u"bonjour"_qs)));
        host.start();
        settle();
        Window window;
        window.show();
        settle();
        const int before = window.changes;
        class Own : public QTranslator
        {
        public:
            bool isEmpty() const override { return false; }
            QString translate(const char *, const char *, const char *, int) const override { return {}; }
        } own;
        QCoreApplication::installTranslator(&own);
        settle();
        QCOMPARE(window.changes, before + 1); // the one that Qt sends for the host's own translator
        QCoreApplication::removeTranslator(&own);
        settle();
        QCOMPARE(window.changes, before + 2);
    }
};

QTEST_MAIN(tst_LiveUpdate)
#include "tst_liveupdate.moc"
