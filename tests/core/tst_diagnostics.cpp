// "Why am I seeing this text?": what Dorvane::diagnostics() says in every situation that a user may ask it
// in.
#include "DVHttpTransport.h"
#include "DVTestHost.h"

#include <QTranslator>

#include <thread>

using namespace Qt::Literals::StringLiterals;
using Answer = DVFaultServer::Answer;
using Outcome = DVDiagnostics::Delivery::Outcome;
using Fallback = DVDiagnostics::Fallback;
using Source = DVTextOrigin::Source;

namespace {

// What a .qm file of the application answers.
class OwnTranslator : public QTranslator
{
public:
    bool isEmpty() const override { return false; }
    QString translate(const char *context, const char *source, const char *, int) const override
    {
        const bool known = qstrcmp(context, "Window") == 0 && qstrcmp(source, "own") == 0;
        return known ? u"eigen"_qs : QString();
    }
};

void settle()
{
    for (int turn = 0; turn < 5; ++turn)
        QCoreApplication::processEvents();
}

} // namespace

class tst_Diagnostics : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void beforeAndWithoutAStart();
    void failedStarts();
    void deliveries_data();
    void deliveries();
    void choices_data();
    void choices();
    void filesWithTheirDates();
    void aDamagedFile();
    void counts();
    void whereATextComesFrom();
    void namesTheKeyWhereContextsDecide_data();
    void namesTheKeyWhereContextsDecide();
    void secretsStayInside();
    void otherThreads();
    void theTextIsAligned();
};

void tst_Diagnostics::beforeAndWithoutAStart()
{
    DVTestHost host;
    auto value = Dorvane::diagnostics();
    QCOMPARE(value.start, DVDiagnostics::Start::NotStarted);
    QCOMPARE(value.libraryVersion, u"1.4.1"_qs);
    QCOMPARE(value.applicationVersion, u"1.0"_qs);
    QCOMPARE(value.deviceLanguages, QStringList{u"fr-CA"_qs});
    QCOMPARE(value.deviceLocale, u"fr_CA"_qs);
    QVERIFY(!value.launched && value.files.isEmpty());
    QVERIFY(value == Dorvane::diagnostics());
    QVERIFY(!QFile::exists(host.filesPath()));

    Dorvane::startWithProjectId(u"p"_qs, {{u"mode"_qs, u"DVDisabled"_qs}});
    value = Dorvane::diagnostics();
    QCOMPARE(value.start, DVDiagnostics::Start::Disabled);
    QVERIFY(value.toText().contains(u"DVDisabled"_qs));
    QCOMPARE(Dorvane::diagnostics(u"a"_qs).source, Source::Nothing);
}

void tst_Diagnostics::failedStarts()
{
    DVTestHost host;
    Dorvane::startWithProjectId(u"p"_qs, {{u"mode"_qs, u"DVOTAServing"_qs}});
    const auto value = Dorvane::diagnostics();
    QCOMPARE(value.start, DVDiagnostics::Start::Failed);
    QVERIFY(value.startInWords.contains(u"OTA key missing"_qs));
    QCOMPARE(value.mode, u"DVOTAServing"_qs);
    QVERIFY(!value.launched);
}

void tst_Diagnostics::deliveries_data()
{
    QTest::addColumn<Answer>("answer");
    QTest::addColumn<Outcome>("outcome");
    QTest::addColumn<int>("status");
    QTest::addColumn<bool>("isError");
    const QByteArray strings = DVTestHost::xliff(u"a"_qs, u"un"_qs);
    const auto dates = DVTestHost::dates(3600);
    Answer refused = Answer::failing(DVFaultServer::Fault::Close);
    QTest::newRow("new strings") << DVTestHost::publication(strings) << Outcome::Fresh << 200 << false;
    QTest::newRow("not modified") << Answer::of(304, {}, dates) << Outcome::Current << 304 << false;
    QTest::newRow("no such locale") << Answer::of(404) << Outcome::NotFound << 404 << true;
    QTest::newRow("delivery disabled") << Answer::of(403) << Outcome::Refused << 403 << true;
    QTest::newRow("a server failure") << Answer::of(503) << Outcome::ServerFailure << 503 << false;
    QTest::newRow("an empty answer") << Answer::of(200, {}, dates) << Outcome::Empty << 200 << false;
    QTest::newRow("another key") << Answer::of(200,
                                               dv_encryptAESWithKey(dv_gzippedData(strings),
                                                                    u"YWFhYWFhYWFhYWFhYWFhYQ=="_qs),
                                               dates)
                                 << Outcome::Undecryptable << 200 << false;
    QTest::newRow("a teapot") << Answer::of(418) << Outcome::Unexpected << 418 << false;
    QTest::newRow("a connection that ends") << refused << Outcome::NoAnswer << 0 << true;
}

void tst_Diagnostics::deliveries()
{
    QFETCH(Answer, answer);
    QFETCH(bool, isError);
    for (const bool atLaunch : {true, false}) {
        DVTestHost host;
        DVFaultServer server;
        if (!atLaunch) // packaged strings are served at once, and the download comes behind them
            host.package(u"fr_CA.xlf"_qs, DVTestHost::xliff(u"a"_qs, u"alt"_qs));
        host.restart();
        server.setHandler([answer](const auto &) { return answer; });
        Dorvane::startWithProjectId(u"p"_qs, host.servingOptions(server));
        QTRY_VERIFY(!Dorvane::diagnostics().deliveries.isEmpty());
        const auto value = Dorvane::diagnostics();
        const auto &delivery = value.deliveries.first();
        QCOMPARE(delivery.locale, u"fr_CA"_qs);
        QTEST(delivery.outcome, "outcome");
        QTEST(delivery.status, "status");
        QCOMPARE(delivery.atLaunch, atLaunch);
        QCOMPARE(delivery.error.has_value(), isError);
        QCOMPARE(value.lastError.has_value(), isError);
        QVERIFY(delivery.when.isValid());
        if (isError)
            QVERIFY(value.lastError->error == *delivery.error && value.lastError->when.isValid());
    }
}

void tst_Diagnostics::choices_data()
{
    QTest::addColumn<QStringList>("languages");
    QTest::addColumn<QByteArray>("served"); // the locale that the server has
    QTest::addColumn<bool>("packagedBase");
    QTest::addColumn<QString>("forced");
    QTest::addColumn<Fallback>("fallback");
    QTest::addColumn<QString>("locale");
    QTest::addColumn<QString>("words");
    const QStringList french{u"fr-CA"_qs};
    QTest::newRow("the first choice") << french << QByteArray("/fr-CA/") << true << QString()
                                      << Fallback::None << u"fr_CA"_qs << u"choice of"_qs;
    QTest::newRow("the language with its own region, when the device's has none")
        << QStringList{u"fr-BE"_qs} << QByteArray("/fr-BE/") << true << QString() << Fallback::LaterCandidate
        << u"fr_BE"_qs << u"not the first"_qs;
    QTest::newRow("a forced locale") << french << QByteArray("/pl/") << true << u"pl"_qs << Fallback::None
                                     << u"pl"_qs << u"forceLocale"_qs;
    QTest::newRow("a forced locale that is not there")
        << french << QByteArray("/fr-CA/") << true << u"pl"_qs << Fallback::BaseLocale << QString()
        << u"packaged base"_qs;
    QTest::newRow("packaged base strings") << french << QByteArray("none") << true << QString()
                                           << Fallback::BaseLocale << QString() << u"packaged base"_qs;
    QTest::newRow("nothing at all") << french << QByteArray("none") << false << QString()
                                    << Fallback::ApplicationsOwn << QString() << u"application's own"_qs;
}

void tst_Diagnostics::choices()
{
    QFETCH(QStringList, languages);
    QFETCH(QByteArray, served);
    QFETCH(bool, packagedBase);
    QFETCH(QString, forced);
    QFETCH(QString, words);
    DVTestHost host;
    DVFaultServer server;
    if (packagedBase)
        host.package(u"en.lproj/Localizable.strings"_qs, "\"a\" = \"one\";");
    host.restart();
    host.setDevice(languages, u"fr_CA"_qs);
    server.setHandler([served](const DVFaultServer::Request &request) {
        return request.target.contains(served) ? DVTestHost::publication(DVTestHost::xliff(u"a"_qs, u"un"_qs))
                                               : Answer::of(404);
    });
    QVariantMap options = host.servingOptions(server);
    if (!forced.isNull())
        options.insert(u"forceLocale"_qs, forced);
    Dorvane::startWithProjectId(u"p"_qs, options);
    const auto value = Dorvane::diagnostics();
    QTEST(value.fallback, "fallback");
    QTEST(value.servedLocale, "locale");
    QVERIFY2(value.choice.contains(words), qPrintable(value.choice));
    QVERIFY(!value.attempts.isEmpty());
    QCOMPARE(value.attempts.first().locale, forced.isNull() ? u"fr_CA"_qs : forced);
}

void tst_Diagnostics::filesWithTheirDates()
{
    DVTestHost host;
    DVFaultServer server;
    const QByteArray strings =
        DVTestHost::xliff({{u"1"_qs, u"a"_qs, u"a"_qs, u"un"_qs}, {u"2"_qs, u"b"_qs, u"b"_qs, u"deux"_qs}});
    host.package(u"fr_CA.xlf"_qs, strings);
    host.package(u"en.lproj/Localizable.strings"_qs, "\"a\" = \"one\";");
    host.restart();
    const QDateTime before = DVClock::now();
    server.setHandler([&](const auto &) { return DVTestHost::publication(strings, 600); });
    Dorvane::startWithProjectId(u"p"_qs, host.servingOptions(server));
    QTRY_COMPARE(Dorvane::diagnostics().files.size(), 3);
    QTRY_VERIFY(Dorvane::diagnostics().files.first().loaded);
    auto files = Dorvane::diagnostics().files;
    QCOMPARE(files[0].source, DVDiagnostics::File::Source::OverTheAir);
    QCOMPARE(files[0].path, host.filePath(u"1.0_fr_CA_published.xlf"_qs));
    QCOMPARE(files[0].size, strings.size());
    QCOMPARE(files[0].strings, 2);
    QVERIFY(qAbs(before.addSecs(600).secsTo(files[0].expires)) < 60 && !files[0].expired);
    QVERIFY(qAbs(before.addDays(-1).secsTo(files[0].published)) < 60);
    QVERIFY(qAbs(before.secsTo(files[0].stored)) < 60);
    QCOMPARE(files[1].source, DVDiagnostics::File::Source::Packaged);
    QVERIFY(!files[1].loaded);
    QCOMPARE(files[2].locale, u"en"_qs);
    QCOMPARE(files[2].strings, 1);
    QVERIFY(files[2].loaded);
    QCOMPARE(Dorvane::diagnostics().servedStrings, 2);

    DVTestHost::write(host.filePath(u"1.0_fr_CA_published.xlf.previous"_qs), strings);
    DVTestHost::write(host.filePath(u"1.0_fr_CA_edited.xlf"_qs), strings);
    DVClock::advance(3600 * 1000);
    files = Dorvane::diagnostics().files;
    QCOMPARE(files.size(), 5);
    QCOMPARE(files[0].source, DVDiagnostics::File::Source::Edited);
    QVERIFY(files[1].expired);
    QCOMPARE(files[2].source, DVDiagnostics::File::Source::Replaced);
}

void tst_Diagnostics::aDamagedFile()
{
    DVTestHost host;
    DVFaultServer server;
    DVTestHost::write(host.filePath(u"1.0_fr_CA_published.xlf"_qs), "<xliff><nothing");
    DVUserDefaults::standard().setInteger(u"DVExpiration-1.0-fr-CA"_qs,
                                          DVClock::now().addDays(1).toSecsSinceEpoch());
    server.setHandler([](const auto &) { return Answer::of(503); });
    Dorvane::startWithProjectId(u"p"_qs, host.servingOptions(server));
    const auto value = Dorvane::diagnostics();
    QVERIFY(value.lastError);
    QCOMPARE(value.lastError->error.domain, u"dorvane.SDK.xliff"_qs);
    QVERIFY(value.files.isEmpty()); // it has been deleted
}

void tst_Diagnostics::counts()
{
    DVTestHost host;
    DVFaultServer server;
    server.setHandler(
        [](const auto &) { return DVTestHost::publication(DVTestHost::xliff(u"a"_qs, u"un"_qs)); });
    const qint64 before = DVHttpTransport::requestCount();
    Dorvane::startWithProjectId(u"p"_qs, host.servingOptions(server));
    auto value = Dorvane::diagnostics();
    QCOMPARE(value.requests - before, server.requests().size());
    QCOMPARE(value.publications, 1);
    QCOMPARE(value.languageChanges, 1);
    settle();
    server.setHandler(
        [](const auto &) { return DVTestHost::publication(DVTestHost::xliff(u"a"_qs, u"deux"_qs)); });
    DVClock::advance(7200 * 1000);
    DVMainController::sharedInstance().refreshStrings();
    QTRY_COMPARE(Dorvane::diagnostics().publications, 2);
    value = Dorvane::diagnostics();
    QCOMPARE(value.languageChanges, 2);
    QCOMPARE(value.requests - before, 2);
    QVERIFY(!value.analytics.enabled); // the options say so
    QCOMPARE(value.servers.deliveryCdn, server.url(u"/projects"_qs));
}

void tst_Diagnostics::whereATextComesFrom()
{
    DVTestHost host;
    DVFaultServer server;
    OwnTranslator own;
    QCoreApplication::installTranslator(&own);
    host.package(u"en.lproj/Localizable.strings"_qs, "\"base\" = \"Base\"; \"same\" = \"same\";");
    host.restart();
    server.setHandler([](const auto &) {
        return DVTestHost::publication(DVTestHost::xliff({{u"1"_qs, u"a"_qs, u"a"_qs, u"un"_qs},
                                                          {u"2"_qs, u"id"_qs, u"Source"_qs, u""_qs},
                                                          {u"3"_qs, u"Ctrl"_qs, u"Ctrl"_qs, u"Strg"_qs},
                                                          {u"4"_qs, u"empty"_qs, u"empty"_qs, u""_qs}}));
    });
    QCOMPARE(Dorvane::diagnostics(u"own"_qs, u"Window"_qs).source, Source::ApplicationsOwn);
    Dorvane::startWithProjectId(u"p"_qs, host.servingOptions(server));
    const QString published = host.filePath(u"1.0_fr_CA_published.xlf"_qs);
    const auto check = [](const QString &key, const QString &context, Source source, const QString &locale) {
        const auto origin = Dorvane::diagnostics(key, context);
        QCOMPARE(origin.source, source);
        QCOMPARE(origin.locale, locale);
        QVERIFY(!origin.because.isEmpty() && origin.toText().contains(origin.because));
    };
    check(u"a"_qs, {}, Source::OverTheAir, u"fr_CA"_qs);
    check(u"a"_qs, u"Window"_qs, Source::OverTheAir, u"fr_CA"_qs);
    QCOMPARE(Dorvane::diagnostics(u"a"_qs).file, published);
    check(u"id"_qs, {}, Source::Base, u"en"_qs); // its source text stands in the delivered file
    QCOMPARE(Dorvane::diagnostics(u"id"_qs).file, published);
    check(u"base"_qs, {}, Source::Base, u"en"_qs);
    QCOMPARE(Dorvane::diagnostics(u"base"_qs).file,
             QString(host.bundlePath() + u"/en.lproj/Localizable.strings"));
    check(u"same"_qs, u"Window"_qs, Source::Nothing, {});
    check(u"empty"_qs, u"Window"_qs, Source::Nothing, {});
    check(u"own"_qs, u"Window"_qs, Source::ApplicationsOwn, {});
    check(u"own"_qs, {}, Source::Nothing, {}); // its context is not known
    check(u"Ctrl"_qs, u"QShortcut"_qs, Source::Nothing, {});
    check(u""_qs, {}, Source::Nothing, {});
    QCoreApplication::removeTranslator(&own);
}

void tst_Diagnostics::namesTheKeyWhereContextsDecide_data()
{
    QTest::addColumn<QString>("asked");
    QTest::addColumn<QString>("context");
    QTest::addColumn<QString>("key");
    QTest::newRow("a context that has its own") << u"Open"_qs << u"Door"_qs << u"Door\u2404Open"_qs;
    QTest::newRow("a context that has none") << u"Open"_qs << u"Window"_qs << u"Open"_qs;
    QTest::newRow("no context") << u"Open"_qs << QString() << u"Open"_qs;
    QTest::newRow("packaged base strings") << u"base"_qs << u"Door"_qs << u"base"_qs;
}

void tst_Diagnostics::namesTheKeyWhereContextsDecide()
{
    QFETCH(QString, asked);
    QFETCH(QString, context);
    QFETCH(QString, key);
    DVTestHost host;
    DVFaultServer server;
    host.package(u"en.lproj/Localizable.strings"_qs, "\"base\" = \"Base\";");
    host.restart();
    server.setHandler([](const auto &) {
        return DVTestHost::publication(
            DVTestHost::xliff({{u"1"_qs, u"Open"_qs, u"Open"_qs, u"Ouvrir"_qs},
                               {u"2"_qs, u"Door\u2404Open"_qs, u"Open"_qs, u"Ouverte"_qs}}));
    });
    Dorvane::startWithProjectId(u"p"_qs, host.servingOptions(server));
    const auto origin = Dorvane::diagnostics(asked, context);
    QVERIFY2(origin.because.endsWith(u" (under the key \""_qs + key + u"\")"_qs), qPrintable(origin.because));
}

void tst_Diagnostics::secretsStayInside()
{
    DVTestHost host;
    DVFaultServer server;
    server.setHandler([](const auto &) { return Answer::of(404); });
    QVariantMap options = host.servingOptions(server);
    options.insert(u"apiUserId"_qs, u"somebody"_qs);
    options.insert(u"apiUserSecret"_qs, u"hunter2"_qs);
    DVState::shared().setUserEmail(u"who@example.org"_qs);
    Dorvane::startWithProjectId(u"p\nX"_qs, options);
    const QString text = Dorvane::diagnostics().toText();
    DVState::shared().setUserEmail({});
    for (const QString &secret : {DVTestHost::key(), u"somebody"_qs, u"hunter2"_qs, u"who@"_qs})
        QVERIFY2(!text.contains(secret), qPrintable(secret));
    QVERIFY2(text.contains(u"p X"_qs), "a line feed makes no line");
}

void tst_Diagnostics::otherThreads()
{
    DVTestHost host;
    std::thread([] {
        QVERIFY(Dorvane::diagnostics().startInWords.contains(u"main thread"_qs));
        QVERIFY(Dorvane::diagnostics(u"a"_qs).because.contains(u"main thread"_qs));
    }).join();
}

// Every line but titles has its value in the same column, so that a bug report can be read.
void tst_Diagnostics::theTextIsAligned()
{
    DVTestHost host;
    DVFaultServer server;
    server.setHandler(
        [](const auto &) { return DVTestHost::publication(DVTestHost::xliff(u"a"_qs, u"un"_qs)); });
    Dorvane::startWithProjectId(u"p"_qs, host.servingOptions(server));
    const QStringList lines = Dorvane::diagnostics().toText().split(u'\n', Qt::SkipEmptyParts);
    QVERIFY(lines.size() > 20);
    for (const QString &line : lines) {
        if (!line.startsWith(u' '))
            continue;
        QVERIFY2(line.size() > 22 && line.at(21) == u' ' && line.at(22) != u' ', qPrintable(line));
    }
    QVERIFY(lines.contains(u"  served              fr_CA"_qs));
}

QTEST_GUILESS_MAIN(tst_Diagnostics)
#include "tst_diagnostics.moc"
