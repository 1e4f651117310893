// The start call: options of every kind, modes, messages, wrong threads.
#include "DVLocaleIdentifiers.h"
#include "DVRows.h"
#include "DVServerUrl.h"
#include "ServedHost.h"

#include <Dorvane/DVNotificationCenter.h>

#include <QThread>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString banner = u"Starting up Dorvane v1.4.1"_qs;
const QString otaKeyMissing =
    u"Failed to start Dorvane: OTA key missing. Please include the OTA key in the options "
    "dictionary as DVOTAKey."_qs;
const QString credentialsMissing =
    u"Failed to start Dorvane: API User ID or Secret missing for Context Capture mode. Please include the "
    u"API User "
    "ID and Secret in the options dictionary as DVAPIUserId and DVAPIUserSecret."_qs;
const QString toolsMissing =
    u"In-App Review and Context Capture need the library Dorvane::Review, which is not linked"_qs;

} // namespace

class tst_Start : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void modesAndMessages_data()
    {
        const DVRows<QString, QString, QVariantMap, QStringList, bool> row("projectId", "mode", "more",
                                                                           "messages", "launched");
        const QVariantMap user{{u"apiUserId"_qs, u"u"_qs}};
        const QVariantMap secret{{u"apiUserSecret"_qs, u"s"_qs}};
        const QVariantMap both{{u"apiUserId"_qs, u"u"_qs}, {u"apiUserSecret"_qs, u"s"_qs}};
        const QString review = u"In-App Review enabled"_qs;
        const QString capture = u"Context Capture enabled"_qs;
        row("no options: no mode, and the start succeeds", "p", {}, {}, {banner}, true);
        row("an empty project id passes", "", {}, {}, {banner}, true);
        row("a null project id fails", {}, {}, {}, {"Failed to start Dorvane: invalid Project ID"}, false);
        row("disabled wins over a null project id", {}, "DVDisabled", {}, {"Dorvane disabled"}, false);
        row("an unknown mode sets no flag", "p", "DVSomething", {}, {banner}, true);
        row("any other logging value switches everything off behind the banner", "p", "DVInAppReview",
            {{u"logging"_qs, u"loud"_qs}}, {banner}, true);
        row("serving needs its key", "p", "DVOTAServing", {}, {banner, "OTA Serving enabled", otaKeyMissing},
            false);
        row("a key that is no text is missing", "p", "DVOTAServing", {{u"otaKey"_qs, 7}},
            {banner, "OTA Serving enabled", otaKeyMissing}, false);
        row("review without the tools stays off and says so", "p", "DVInAppReview", {},
            {banner, review, toolsMissing}, true);
        row("capture needs credentials", "p", "DVContextCapture", user, {banner, capture, credentialsMissing},
            false);
        row("the combined mode needs them too", "p", "DVInAppReviewAndContextCapture", secret,
            {banner, review, capture, credentialsMissing}, false);
        row("capture with credentials, without the tools", "p", "DVContextCapture", both,
            {banner, capture, toolsMissing}, true);
    }
    void modesAndMessages()
    {
        QFETCH(QString, projectId);
        QFETCH(QString, mode);
        QFETCH(QVariantMap, more);
        QFETCH(bool, launched);
        DVTestHost host;
        QVariantMap options = more;
        if (!mode.isNull())
            options.insert(u"mode"_qs, mode);
        Dorvane::startWithProjectId(projectId, options);
        QTEST(host.takeLog(), "messages");
        QCOMPARE(DVMainController::sharedInstance().appLaunched(), launched);
        if (launched)
            QVERIFY(!DVMainController::sharedInstance().stringsNeedCues());
    }

    void optionValues()
    {
        ServedHost host;
        host.start({{u"allowLocaleChange"_qs, true},
                    {u"UITests"_qs, true},
                    {u"syncTimeout"_qs, 0},
                    {u"environment"_qs, u"stage"_qs},
                    {u"apiUserId"_qs, u"user"_qs},
                    {u"apiUserSecret"_qs, u"secret"_qs}});
        const auto &controller = DVMainController::sharedInstance();
        QVERIFY(controller.servingMode() && controller.allowLocaleChange() && controller.uiTest());
        QVERIFY(controller.stringsNeedCues());
        QCOMPARE(controller.pullTimeout(), 0);
        QCOMPARE(controller.aesKey(), DVTestHost::key());
        QCOMPARE(dorvaneEnvironment, 0);
        QCOMPARE(DVAPISession::sharedInstance().userId, u"user"_qs);
        QCOMPARE(DVAPISession::sharedInstance().userSecret, u"secret"_qs);
        QVERIFY(!DVState::shared().analyticsEnabled);
        const QStringList log = host.takeLog();
        QVERIFY(log.contains(u"Debug enabled"_qs));
        QVERIFY(log.contains(u"Project base locale en"_qs));
        QVERIFY2(log.filter(u"secret"_qs).isEmpty() && log.filter(DVTestHost::key()).isEmpty(),
                 "a secret in the log");

        host.restart();
        Dorvane::startWithProjectId(u"p"_qs, {{u"allowLocaleChange"_qs, true}});
        QVERIFY2(!controller.allowLocaleChange(), "allowLocaleChange counts in serving mode only");
        QCOMPARE(controller.pullTimeout(), 3);
        QCOMPARE(dorvaneEnvironment, 1);
        QVERIFY(DVState::shared().analyticsEnabled);
    }

    void wrongTypesReadAsAbsent()
    {
        const QVariantMap map{{u"a"_qs, 1}};
        const QVariant pointer = QVariant::fromValue<QObject *>(nullptr);
        const QVariantList list{1, 2};
        const QVariantList wrong{{}, 17, -1.5, true, u"text"_qs, list, map, QByteArray("bytes"), pointer};
        const QStringList keys{u"mode"_qs,        u"logging"_qs,       u"otaKey"_qs,  u"allowLocaleChange"_qs,
                               u"apiUserId"_qs,   u"apiUserSecret"_qs, u"UITests"_qs, u"syncTimeout"_qs,
                               u"environment"_qs, u"forceLocale"_qs,   u"servers"_qs, u"analytics"_qs};
        for (const QString &key : keys) {
            for (const QVariant &value : wrong) {
                ServedHost host;
                QVariantMap options{{u"syncTimeout"_qs, 0}};
                options.insert(key, value);
                host.start(options); // whatever it does, it returns
                QCOMPARE(Dorvane::locale().isValid(),
                         DVMainController::sharedInstance().baseLocaleStrings() != nullptr);
            }
        }
    }

    void baseLocaleComesFromTheBundle()
    {
        DVTestHost host;
        host.package(
            u"Info.plist"_qs,
            "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict><key>CFBundleDevelopmentRegion</key>"
            "<string>de</string></dict></plist>");
        host.package(u"de.lproj/Localizable.strings"_qs, "\"greeting\" = \"Hallo\";");
        host.restart();
        QVERIFY(!Dorvane::baseLocaleStrings() && !Dorvane::localizedStrings());
        Dorvane::startWithProjectId(u"p"_qs, {});
        QCOMPARE(Dorvane::baseLocale().identifier(), u"de"_qs);
        QCOMPARE(Dorvane::locale().identifier(), u"de"_qs);
        QCOMPARE(Dorvane::baseLocaleStrings().value(),
                 (QHash<QString, QString>{{u"greeting"_qs, u"Hallo"_qs}}));
        QVERIFY(!Dorvane::localizedStrings());
        const auto record =
            DVMainController::sharedInstance().baseLocaleStrings()->dorvaneStringForKey(u"greeting"_qs, {});
        QVERIFY(record && record->fromBase);
        QCOMPARE(record->group.lock()->status, quint32(DVStringStatusUntranslated));
    }

    void startTwice()
    {
        ServedHost host;
        host.deliver(u"a"_qs, u"un"_qs);
        for (int i = 0; i < 2; ++i)
            host.start();
        QCOMPARE(QCoreApplication::translate("c", "a"), u"un"_qs);
        DVClock::advance(2 * 3600 * 1000);
        DVNotificationCenter::defaultCenter().postNotification(DVApplicationWillEnterForegroundNotification,
                                                               qApp);
        QVERIFY(host.server.waitForRequests(2));
        QVERIFY2(!host.server.waitForRequests(3, 200), "one return to the foreground, one refresh");
    }

    void startOnAnotherThread()
    {
        DVTestHost host;
        const std::unique_ptr<QThread> thread(
            QThread::create([] { Dorvane::startWithProjectId(u"p"_qs, {}); }));
        thread->start();
        QVERIFY(thread->wait(5000));
        QCOMPARE(host.takeLog().size(), 1);
        QVERIFY(!DVMainController::sharedInstance().appLaunched());
        QVERIFY(!Dorvane::locale().isValid());
    }

    void nothingBeforeTheStart()
    {
        DVTestHost host;
        host.package(u"en.lproj/Localizable.strings"_qs, "\"k\" = \"packaged\";");
        QCOMPARE(DVBundle::mainBundle().localizedStringForKey(u"k"_qs), u"packaged"_qs);
        QCOMPARE(DVBundle::mainBundle().localizedStringForKey(u"absent"_qs, u"value"_qs), u"value"_qs);
        QCOMPARE(QCoreApplication::translate("c", "k"), u"k"_qs);
        QCOMPARE(Dorvane::pluralizedStringWithKey(u"k"_qs, 2), u"packaged"_qs);
        bool completed = false;
        Dorvane::setLocaleWithId(u"fr"_qs, [&](bool success) { completed = !success; });
        QVERIFY(completed);
        DVErrorOr error;
        Dorvane::captureWindow(nullptr, [&](const DVErrorOr &e) { error = e; });
        QVERIFY2(!error, "never from inside the call");
        QTRY_VERIFY(error);
        QCOMPARE(error->code, 500);
        QCOMPARE(error->description, u"Context capture mode is not enabled"_qs);
        QVERIFY(!QFile::exists(host.filesPath()));
    }

    void serversAreChecked_data()
    {
        const DVRows<QString, bool> row("url", "accepted");
        row("https anywhere", "https://cdn.example/projects", true);
        row("http on loopback", "http://127.0.0.1:8080/projects", true);
        row("http elsewhere", "http://cdn.example/projects", false);
        row("http to a name that only begins like loopback", "http://127.0.0.1.example/projects", false);
        row("another scheme", "file:///etc", false);
        row("no url", "nonsense", false);
    }
    void serversAreChecked()
    {
        QFETCH(QString, url);
        QFETCH(bool, accepted);
        DVTestHost host;
        Dorvane::startWithProjectId(u"p"_qs, {{u"servers"_qs, QVariantMap{{u"deliveryCdn"_qs, url}}}});
        QCOMPARE(DVMainController::sharedInstance().appLaunched(), accepted);
        const QString refusal = u"Failed to start Dorvane: server URL must be https: "_qs;
        QCOMPARE(host.takeLog().filter(refusal).size(), accepted ? 0 : 1);
        if (accepted)
            QCOMPARE(DVServerUrl::baseUrlForServer(DVServerDeliveryCdn), url);
    }

    void timeoutsSaturate_data()
    {
        const DVRows<QVariant, qint64> row("given", "seconds");
        row("not a number", QVariant(qQNaN()), qint64(0));
        row("infinite", QVariant(qInf()), std::numeric_limits<qint64>::max());
        row("beyond 64 bits", QVariant(std::numeric_limits<quint64>::max()),
            std::numeric_limits<qint64>::max());
        row("negative", QVariant(-1e300), std::numeric_limits<qint64>::min());
        row("a fraction is cut", QVariant(2.9), qint64(2));
    }
    void timeoutsSaturate()
    {
        QFETCH(QVariant, given);
        ServedHost host;
        host.deliver(u"a"_qs, u"un"_qs);
        host.start({{u"syncTimeout"_qs, given}});
        QTEST(DVMainController::sharedInstance().pullTimeout(), "seconds");
        QVERIFY(DVMainController::sharedInstance().appLaunched());
    }

    void aHostWithoutVersionIsToldOnce()
    {
        ServedHost host{QString()};
        host.deliver(u"a"_qs, u"un"_qs);
        host.start();
        QCOMPARE(host.server.requests().value(0).target, QByteArray("/projects/p/0/fr-CA/strings.gz/force"));
        QVERIFY(QFile::exists(host.filePath(u"0_fr_CA_published.xlf"_qs)));
        QCOMPARE(host.takeLog().filter(u"version"_qs, Qt::CaseInsensitive).size(), 1);
    }
};

QTEST_GUILESS_MAIN(tst_Start)
#include "tst_start.moc"
