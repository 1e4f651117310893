// The start call: options of every kind, modes, messages, wrong threads.
#include "DVLocaleIdentifiers.h"
#include "DVServerUrl.h"
#include "DVTestHost.h"

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
    void modesAndMessages_data();
    void modesAndMessages();
    void optionValues();
    void wrongTypesReadAsAbsent();
    void baseLocaleComesFromTheBundle();
    void startTwice();
    void startOnAnotherThread();
    void nothingBeforeTheStart();
    void serversAreChecked_data();
    void serversAreChecked();
    void timeoutsSaturate_data();
    void timeoutsSaturate();
    void aHostWithoutVersionIsToldOnce();
};

void tst_Start::modesAndMessages_data()
{
    QTest::addColumn<QString>("projectId");
    QTest::addColumn<QVariantMap>("options");
    QTest::addColumn<QStringList>("messages");
    QTest::addColumn<bool>("launched");

    const auto mode = [](const char *name) { return QVariant(QString::fromLatin1(name)); };
    const QString project = u"p"_qs;
    QTest::newRow("no options: no mode, and the start succeeds")
        << project << QVariantMap() << QStringList{banner} << true;
    QTest::newRow("an empty project id passes") << u""_qs << QVariantMap() << QStringList{banner} << true;
    QTest::newRow("a null project id fails")
        << QString() << QVariantMap() << QStringList{u"Failed to start Dorvane: invalid Project ID"_qs}
        << false;
    QTest::newRow("disabled wins over a null project id")
        << QString() << QVariantMap{{u"mode"_qs, mode("DVDisabled")}} << QStringList{u"Dorvane disabled"_qs}
        << false;
    QTest::newRow("an unknown mode sets no flag")
        << project << QVariantMap{{u"mode"_qs, mode("DVSomething")}} << QStringList{banner} << true;
    QTest::newRow("any other logging value switches everything off behind the banner")
        << project << QVariantMap{{u"logging"_qs, mode("loud")}, {u"mode"_qs, mode("DVInAppReview")}}
        << QStringList{banner} << true;
    QTest::newRow("serving needs its key")
        << project << QVariantMap{{u"mode"_qs, mode("DVOTAServing")}}
        << QStringList{banner, u"OTA Serving enabled"_qs, otaKeyMissing} << false;
    QTest::newRow("a key that is no text is missing")
        << project << QVariantMap{{u"mode"_qs, mode("DVOTAServing")}, {u"otaKey"_qs, 7}}
        << QStringList{banner, u"OTA Serving enabled"_qs, otaKeyMissing} << false;
    QTest::newRow("review without the tools stays off and says so")
        << project << QVariantMap{{u"mode"_qs, mode("DVInAppReview")}}
        << QStringList{banner, u"In-App Review enabled"_qs, toolsMissing} << true;
    QTest::newRow("capture needs credentials")
        << project << QVariantMap{{u"mode"_qs, mode("DVContextCapture")}, {u"apiUserId"_qs, u"u"_qs}}
        << QStringList{banner, u"Context Capture enabled"_qs, credentialsMissing} << false;
    QTest::newRow("the combined mode needs them too")
        << project
        << QVariantMap{{u"mode"_qs, mode("DVInAppReviewAndContextCapture")}, {u"apiUserSecret"_qs, u"s"_qs}}
        << QStringList{banner, u"In-App Review enabled"_qs, u"Context Capture enabled"_qs, credentialsMissing}
        << false;
    QTest::newRow("capture with credentials, without the tools")
        << project
        << QVariantMap{{u"mode"_qs, mode("DVContextCapture")},
                       {u"apiUserId"_qs, u"u"_qs},
                       {u"apiUserSecret"_qs, u"s"_qs}}
        << QStringList{banner, u"Context Capture enabled"_qs, toolsMissing} << true;
}

void tst_Start::modesAndMessages()
{
    QFETCH(QString, projectId);
    QFETCH(QVariantMap, options);
    QFETCH(bool, launched);
    DVTestHost host;
    Dorvane::startWithProjectId(projectId, options);
    QTEST(host.takeLog(), "messages");
    QCOMPARE(DVMainController::sharedInstance().appLaunched(), launched);
    if (launched)
        QVERIFY(!DVMainController::sharedInstance().stringsNeedCues());
}

void tst_Start::optionValues()
{
    DVTestHost host;
    const DVFaultServer server;
    QVariantMap options = host.servingOptions(server);
    options.insert({{u"allowLocaleChange"_qs, true},
                    {u"UITests"_qs, true},
                    {u"syncTimeout"_qs, 0},
                    {u"environment"_qs, u"stage"_qs},
                    {u"apiUserId"_qs, u"user"_qs},
                    {u"apiUserSecret"_qs, u"secret"_qs}});
    Dorvane::startWithProjectId(u"p"_qs, options);
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

void tst_Start::wrongTypesReadAsAbsent()
{
    const QVariantList wrong{QVariant(),
                             17,
                             -1.5,
                             true,
                             u"text"_qs,
                             QVariantList{1, 2},
                             QVariantMap{{u"a"_qs, 1}},
                             QByteArray("bytes"),
                             QVariant::fromValue<QObject *>(nullptr)};
    const QStringList keys{u"mode"_qs,        u"logging"_qs,       u"otaKey"_qs,  u"allowLocaleChange"_qs,
                           u"apiUserId"_qs,   u"apiUserSecret"_qs, u"UITests"_qs, u"syncTimeout"_qs,
                           u"environment"_qs, u"forceLocale"_qs,   u"servers"_qs, u"analytics"_qs};
    for (const QString &key : keys) {
        for (const QVariant &value : wrong) {
            DVTestHost host;
            const DVFaultServer server;
            QVariantMap options = host.servingOptions(server);
            options.insert(u"syncTimeout"_qs, 0);
            options.insert(key, value);
            Dorvane::startWithProjectId(u"p"_qs, options); // whatever it does, it returns
            QCOMPARE(Dorvane::locale().isValid(),
                     DVMainController::sharedInstance().baseLocaleStrings() != nullptr);
        }
    }
}

void tst_Start::baseLocaleComesFromTheBundle()
{
    DVTestHost host;
    host.package(u"Info.plist"_qs,
                 "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict><key>CFBundleDevelopmentRegion</key>"
                 "<string>de</string></dict></plist>");
    host.package(u"de.lproj/Localizable.strings"_qs, "\"greeting\" = \"Hallo\";");
    host.restart();
    QVERIFY(!Dorvane::baseLocaleStrings() && !Dorvane::localizedStrings());
    Dorvane::startWithProjectId(u"p"_qs, {});
    QCOMPARE(Dorvane::baseLocale().identifier(), u"de"_qs);
    QCOMPARE(Dorvane::locale().identifier(), u"de"_qs);
    QCOMPARE(Dorvane::baseLocaleStrings().value(), (QHash<QString, QString>{{u"greeting"_qs, u"Hallo"_qs}}));
    QVERIFY(!Dorvane::localizedStrings());
    const auto record =
        DVMainController::sharedInstance().baseLocaleStrings()->dorvaneStringForKey(u"greeting"_qs, {});
    QVERIFY(record && record->fromBase);
    QCOMPARE(record->group.lock()->status, quint32(DVStringStatusUntranslated));
}

void tst_Start::startTwice()
{
    DVTestHost host;
    DVFaultServer server;
    server.setHandler(
        [](const auto &) { return DVTestHost::publication(DVTestHost::xliff(u"a"_qs, u"un"_qs)); });
    for (int i = 0; i < 2; ++i)
        Dorvane::startWithProjectId(u"p"_qs, host.servingOptions(server));
    QCOMPARE(QCoreApplication::translate("c", "a"), u"un"_qs);
    DVClock::advance(2 * 3600 * 1000);
    DVNotificationCenter::defaultCenter().postNotification(DVApplicationWillEnterForegroundNotification,
                                                           qApp);
    QVERIFY(server.waitForRequests(2));
    QVERIFY2(!server.waitForRequests(3, 200), "one return to the foreground, one refresh");
}

void tst_Start::startOnAnotherThread()
{
    DVTestHost host;
    const std::unique_ptr<QThread> thread(QThread::create([] { Dorvane::startWithProjectId(u"p"_qs, {}); }));
    thread->start();
    QVERIFY(thread->wait(5000));
    QCOMPARE(host.takeLog().size(), 1);
    QVERIFY(!DVMainController::sharedInstance().appLaunched());
    QVERIFY(!Dorvane::locale().isValid());
}

void tst_Start::nothingBeforeTheStart()
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

void tst_Start::serversAreChecked_data()
{
    QTest::addColumn<QString>("url");
    QTest::addColumn<bool>("accepted");
    QTest::newRow("https anywhere") << u"https://cdn.example/projects"_qs << true;
    QTest::newRow("http on loopback") << u"http://127.0.0.1:8080/projects"_qs << true;
    QTest::newRow("http elsewhere") << u"http://cdn.example/projects"_qs << false;
    QTest::newRow("http to a name that only begins like loopback")
        << u"http://127.0.0.1.example/projects"_qs << false;
    QTest::newRow("another scheme") << u"file:///etc"_qs << false;
    QTest::newRow("no url") << u"nonsense"_qs << false;
}

void tst_Start::serversAreChecked()
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

void tst_Start::timeoutsSaturate_data()
{
    QTest::addColumn<QVariant>("given");
    QTest::addColumn<qint64>("seconds");
    QTest::newRow("not a number") << QVariant(qQNaN()) << qint64(0);
    QTest::newRow("infinite") << QVariant(qInf()) << std::numeric_limits<qint64>::max();
    QTest::newRow("beyond 64 bits") << QVariant(std::numeric_limits<quint64>::max())
                                    << std::numeric_limits<qint64>::max();
    QTest::newRow("negative") << QVariant(-1e300) << std::numeric_limits<qint64>::min();
    QTest::newRow("a fraction is cut") << QVariant(2.9) << qint64(2);
}

void tst_Start::timeoutsSaturate()
{
    QFETCH(QVariant, given);
    DVTestHost host;
    DVFaultServer server;
    server.setHandler(
        [](const auto &) { return DVTestHost::publication(DVTestHost::xliff(u"a"_qs, u"un"_qs)); });
    QVariantMap options = host.servingOptions(server);
    options.insert(u"syncTimeout"_qs, given);
    Dorvane::startWithProjectId(u"p"_qs, options);
    QTEST(DVMainController::sharedInstance().pullTimeout(), "seconds");
    QVERIFY(DVMainController::sharedInstance().appLaunched());
}

void tst_Start::aHostWithoutVersionIsToldOnce()
{
    DVTestHost host{QString()};
    DVFaultServer server;
    server.setHandler(
        [](const auto &) { return DVTestHost::publication(DVTestHost::xliff(u"a"_qs, u"un"_qs)); });
    Dorvane::startWithProjectId(u"p"_qs, host.servingOptions(server));
    QCOMPARE(server.requests().value(0).target, QByteArray("/projects/p/0/fr-CA/strings.gz/force"));
    QVERIFY(QFile::exists(host.filePath(u"0_fr_CA_published.xlf"_qs)));
    QCOMPARE(host.takeLog().filter(u"version"_qs, Qt::CaseInsensitive).size(), 1);
}

QTEST_GUILESS_MAIN(tst_Start)
#include "tst_start.moc"
