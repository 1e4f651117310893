// "Why am I seeing this text?": what Dorvane::diagnostics() says in every situation that a user may ask it
// in.
#include "DVHttpTransport.h"
#include "DVRows.h"
#include "ServedHost.h"

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
    void beforeAndWithoutAStart()
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

    void failedStarts()
    {
        DVTestHost host;
        Dorvane::startWithProjectId(u"p"_qs, {{u"mode"_qs, u"DVOTAServing"_qs}});
        const auto value = Dorvane::diagnostics();
        QCOMPARE(value.start, DVDiagnostics::Start::Failed);
        QVERIFY(value.startInWords.contains(u"OTA key missing"_qs));
        QCOMPARE(value.mode, u"DVOTAServing"_qs);
        QVERIFY(!value.launched);
    }

    void deliveries_data()
    {
        const DVRows<Answer, Outcome, int, bool> row("answer", "outcome", "status", "isError");
        const QByteArray strings = DVTestHost::xliff(u"a"_qs, u"un"_qs);
        const auto dates = DVTestHost::dates(3600);
        row("new strings", DVTestHost::publication(strings), Outcome::Fresh, 200, false);
        row("not modified", Answer::of(304, {}, dates), Outcome::Current, 304, false);
        row("no such locale", Answer::of(404), Outcome::NotFound, 404, true);
        row("delivery disabled", Answer::of(403), Outcome::Refused, 403, true);
        row("a server failure", Answer::of(503), Outcome::ServerFailure, 503, false);
        row("an empty answer", Answer::of(200, {}, dates), Outcome::Empty, 200, false);
        row("another key",
            Answer::of(200, dv_encryptAESWithKey(dv_gzippedData(strings), u"YWFhYWFhYWFhYWFhYWFhYQ=="_qs),
                       dates),
            Outcome::Undecryptable, 200, false);
        row("a teapot", Answer::of(418), Outcome::Unexpected, 418, false);
        row("a connection that ends", Answer::failing(DVFaultServer::Fault::Close), Outcome::NoAnswer, 0,
            true);
    }
    void deliveries()
    {
        QFETCH(Answer, answer);
        QFETCH(bool, isError);
        for (const bool atLaunch : {true, false}) {
            ServedHost host;
            if (!atLaunch) // packaged strings are served at once, and the download comes behind them
                host.package(u"fr_CA.xlf"_qs, DVTestHost::xliff(u"a"_qs, u"alt"_qs));
            host.restart();
            host.server.setHandler([answer](const auto &) { return answer; });
            host.start();
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

    void choices_data()
    {
        // served: the locale that the server has
        const DVRows<QStringList, QByteArray, bool, QString, Fallback, QString, QString> row(
            "languages", "served", "packagedBase", "forced", "fallback", "locale", "words");
        const QStringList french{u"fr-CA"_qs};
        row("the first choice", french, "/fr-CA/", true, {}, Fallback::None, "fr_CA", "choice of");
        row("the language with its own region, when the device's has none", {"fr-BE"}, "/fr-BE/", true, {},
            Fallback::LaterCandidate, "fr_BE", "not the first");
        row("a forced locale", french, "/pl/", true, "pl", Fallback::None, "pl", "forceLocale");
        row("a forced locale that is not there", french, "/fr-CA/", true, "pl", Fallback::BaseLocale, {},
            "packaged base");
        row("packaged base strings", french, "none", true, {}, Fallback::BaseLocale, {}, "packaged base");
        row("nothing at all", french, "none", false, {}, Fallback::ApplicationsOwn, {}, "application's own");
    }
    void choices()
    {
        QFETCH(QStringList, languages);
        QFETCH(QByteArray, served);
        QFETCH(bool, packagedBase);
        QFETCH(QString, forced);
        QFETCH(QString, words);
        ServedHost host;
        if (packagedBase)
            host.package(u"en.lproj/Localizable.strings"_qs, "\"a\" = \"one\";");
        host.restart();
        host.setDevice(languages, u"fr_CA"_qs);
        host.server.setHandler([served](const DVFaultServer::Request &request) {
            return request.target.contains(served)
                       ? DVTestHost::publication(DVTestHost::xliff(u"a"_qs, u"un"_qs))
                       : Answer::of(404);
        });
        host.start(forced.isNull() ? QVariantMap() : QVariantMap{{u"forceLocale"_qs, forced}});
        const auto value = Dorvane::diagnostics();
        QTEST(value.fallback, "fallback");
        QTEST(value.servedLocale, "locale");
        QVERIFY2(value.choice.contains(words), qPrintable(value.choice));
        QVERIFY(!value.attempts.isEmpty());
        QCOMPARE(value.attempts.first().locale, forced.isNull() ? u"fr_CA"_qs : forced);
    }

    void filesWithTheirDates()
    {
        ServedHost host;
        const QByteArray strings = DVTestHost::xliff(
            {{u"1"_qs, u"a"_qs, u"a"_qs, u"un"_qs}, {u"2"_qs, u"b"_qs, u"b"_qs, u"deux"_qs}});
        host.package(u"fr_CA.xlf"_qs, strings);
        host.package(u"en.lproj/Localizable.strings"_qs, "\"a\" = \"one\";");
        host.restart();
        const QDateTime before = DVClock::now();
        host.server.setHandler([&](const auto &) { return DVTestHost::publication(strings, 600); });
        host.start();
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

    void aDamagedFile()
    {
        ServedHost host;
        DVTestHost::write(host.filePath(u"1.0_fr_CA_published.xlf"_qs), "<xliff><nothing");
        DVUserDefaults::standard().setInteger(u"DVExpiration-1.0-fr-CA"_qs,
                                              DVClock::now().addDays(1).toSecsSinceEpoch());
        host.refuse(503);
        host.start();
        const auto value = Dorvane::diagnostics();
        QVERIFY(value.lastError);
        QCOMPARE(value.lastError->error.domain, u"dorvane.SDK.xliff"_qs);
        QVERIFY(value.files.isEmpty()); // it has been deleted
    }

    void counts()
    {
        ServedHost host;
        host.deliver(u"a"_qs, u"un"_qs);
        const qint64 before = DVHttpTransport::requestCount();
        host.start();
        auto value = Dorvane::diagnostics();
        QCOMPARE(value.requests - before, host.server.requests().size());
        QCOMPARE(value.publications, 1);
        QCOMPARE(value.languageChanges, 1);
        settle();
        host.deliver(u"a"_qs, u"deux"_qs);
        DVClock::advance(7200 * 1000);
        DVMainController::sharedInstance().refreshStrings();
        QTRY_COMPARE(Dorvane::diagnostics().publications, 2);
        value = Dorvane::diagnostics();
        QCOMPARE(value.languageChanges, 2);
        QCOMPARE(value.requests - before, 2);
        QVERIFY(!value.analytics.enabled); // the options say so
        QCOMPARE(value.servers.deliveryCdn, host.server.url(u"/projects"_qs));
    }

    void whereATextComesFrom()
    {
        ServedHost host;
        OwnTranslator own;
        QCoreApplication::installTranslator(&own);
        host.package(u"en.lproj/Localizable.strings"_qs, "\"base\" = \"Base\"; \"same\" = \"same\";");
        host.restart();
        host.deliver({{u"1"_qs, u"a"_qs, u"a"_qs, u"un"_qs},
                      {u"2"_qs, u"id"_qs, u"Source"_qs, u""_qs},
                      {u"3"_qs, u"Ctrl"_qs, u"Ctrl"_qs, u"Strg"_qs},
                      {u"4"_qs, u"empty"_qs, u"empty"_qs, u""_qs}});
        QCOMPARE(Dorvane::diagnostics(u"own"_qs, u"Window"_qs).source, Source::ApplicationsOwn);
        host.start();
        const QString published = host.filePath(u"1.0_fr_CA_published.xlf"_qs);
        const auto check = [](const QString &key, const QString &context, Source source,
                              const QString &locale) {
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

    void namesTheKeyWhereContextsDecide_data()
    {
        const DVRows<QString, QString, QString> row("asked", "context", "key");
        row("a context that has its own", "Open", "Door", "Door\u2404Open");
        row("a context that has none", "Open", "Window", "Open");
        row("no context", "Open", {}, "Open");
        row("packaged base strings", "base", "Door", "base");
    }
    void namesTheKeyWhereContextsDecide()
    {
        QFETCH(QString, asked);
        QFETCH(QString, context);
        QFETCH(QString, key);
        ServedHost host;
        host.package(u"en.lproj/Localizable.strings"_qs, "\"base\" = \"Base\";");
        host.restart();
        host.deliver({{u"1"_qs, u"Open"_qs, u"Open"_qs, u"Ouvrir"_qs},
                      {u"2"_qs, u"Door\u2404Open"_qs, u"Open"_qs, u"Ouverte"_qs}});
        host.start();
        const auto origin = Dorvane::diagnostics(asked, context);
        QVERIFY2(origin.because.endsWith(u" (under the key \""_qs + key + u"\")"_qs),
                 qPrintable(origin.because));
    }

    void secretsStayInside()
    {
        ServedHost host;
        host.refuse(404);
        DVState::shared().setUserEmail(u"who@example.org"_qs);
        host.start({{u"apiUserId"_qs, u"somebody"_qs}, {u"apiUserSecret"_qs, u"hunter2"_qs}}, u"p\nX"_qs);
        const QString text = Dorvane::diagnostics().toText();
        DVState::shared().setUserEmail({});
        for (const QString &secret : {DVTestHost::key(), u"somebody"_qs, u"hunter2"_qs, u"who@"_qs})
            QVERIFY2(!text.contains(secret), qPrintable(secret));
        QVERIFY2(text.contains(u"p X"_qs), "a line feed makes no line");
    }

    void otherThreads()
    {
        DVTestHost host;
        std::thread([] {
            QVERIFY(Dorvane::diagnostics().startInWords.contains(u"main thread"_qs));
            QVERIFY(Dorvane::diagnostics(u"a"_qs).because.contains(u"main thread"_qs));
        }).join();
    }

    // Every line but titles has its value in the same column, so that a bug report can be read.
    void theTextIsAligned()
    {
        ServedHost host;
        host.deliver(u"a"_qs, u"un"_qs);
        host.start();
        const QStringList lines = Dorvane::diagnostics().toText().split(u'\n', Qt::SkipEmptyParts);
        QVERIFY(lines.size() > 20);
        for (const QString &line : lines) {
            if (!line.startsWith(u' '))
                continue;
            QVERIFY2(line.size() > 22 && line.at(21) == u' ' && line.at(22) != u' ', qPrintable(line));
        }
        QVERIFY(lines.contains(u"  served              fr_CA"_qs));
    }
};

QTEST_GUILESS_MAIN(tst_Diagnostics)
#include "tst_diagnostics.moc"
