// Starts in the review and capture modes with in-app tools, and who is signed in after them.
#include "DVCueMarkers.h"
#include "DVRows.h"
#include "DVStringEditor.h"
#include "ReviewPlatform.h"

using namespace Qt::Literals::StringLiterals;
using Answer = DVFaultServer::Answer;

namespace {

const QString reviewMode = u"DVInAppReview"_qs;

QString looked(const QString &key)
{
    return DVBundle::mainBundle().localizedStringForKey(key);
}

QString plain(const QString &text)
{
    return dv_stringByRemovingCues(text);
}

} // namespace

class tst_ReviewStart : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_platform = std::make_unique<ReviewPlatform>();
        m_host = std::make_unique<DVTestHost>();
        m_calls.clear();
    }

    void cleanup()
    {
        m_host.reset();
        m_platform.reset();
    }

    void modesSetTheirToolsUp_data()
    {
        const DVRows<QString, QStringList, bool, bool> row("mode", "calls", "marked", "captures");
        row("review", reviewMode, {"edition"}, true, false);
        row("capture", "DVContextCapture", {"context"}, true, true);
        row("both at once is a review", "DVInAppReviewAndContextCapture", {"edition"}, true, true);
        row("no mode", "none", {}, false, false);
    }
    void modesSetTheirToolsUp()
    {
        QFETCH(QString, mode);
        QFETCH(bool, marked);
        m_host->package(u"en.lproj/Localizable.strings"_qs, "\"a\" = \"the %d a\";");
        m_host->restart();
        start(mode);
        QTEST(m_calls, "calls");
        QVERIFY(DVMainController::sharedInstance().appLaunched());
        QCOMPARE(plain(looked(u"a"_qs)), u"the %d a"_qs);
        QCOMPARE(looked(u"a"_qs) != plain(looked(u"a"_qs)), marked);
        QVERIFY2(m_host->takeLog().filter(u"not linked"_qs).isEmpty(), "the tools are there");
        const auto error =
            resultOf<DVErrorOr>([](const auto &done) { Dorvane::captureWindow(nullptr, done); });
        QVERIFY(error);
        QTEST(!*error, "captures");
        QCOMPARE(m_calls.contains(u"capture"_qs), !*error);
    }

    void savedChoicesAndFilesComeBack()
    {
        prepareDevice();
        start();
        const auto &controller = DVMainController::sharedInstance();
        QCOMPARE(controller.workflowStep(), std::optional(ReviewPlatform::step(u"translate"_qs)));
        QCOMPARE(DVState::shared().workflowStepUid(), u"translate"_qs);
        QCOMPARE(DVState::shared().workflowStepName(), u"Translate"_qs);
        QVERIFY(DVState::shared().canTranslate);
        QCOMPARE(Dorvane::locale().identifier(), u"fr_CA"_qs);
        QCOMPARE(plain(looked(u"a"_qs)), u"published a"_qs);
        QCOMPARE(plain(looked(u"b"_qs)), u"pending b"_qs);
        QVERIFY2(looked(u"a"_qs).startsWith(QChar(DVCueMarker::stringStart)), "texts can be found on screen");
        const QStringList log = m_host->takeLog();
        QVERIFY(log.contains(u"Using saved workflow step Translate"_qs));
        QVERIFY(log.contains(u"Using saved locale fr_CA"_qs));
    }

    void damagedChoicesAreNone_data()
    {
        const DVRows<QByteArray, QString> row("step", "locale");
        row("a step that is no archive", "nonsense", "fr_CA");
        row("a step of an empty archive", "{}", "fr_CA");
        row("a locale that leads out of the folder", "{}", "../../etc/passwd");
        row("an empty locale", "{}", "");
    }
    void damagedChoicesAreNone()
    {
        QFETCH(QByteArray, step);
        QFETCH(QString, locale);
        m_host->package(u"en.lproj/Localizable.strings"_qs, "\"a\" = \"base a\";");
        m_host->restart();
        DVUserDefaults::standard().setData(u"DVWorkflowStep"_qs, step);
        DVUserDefaults::standard().setString(u"DVLocale"_qs, locale);
        start();
        QVERIFY(!DVMainController::sharedInstance().workflowStep());
        QVERIFY(!DVMainController::sharedInstance().editionEnabled());
        QCOMPARE(plain(looked(u"a"_qs)), u"base a"_qs);
    }

    void editsAreServedWhileEditingIsEnabled()
    {
        prepareDevice();
        start();
        QCOMPARE(plain(looked(u"c"_qs)), u"pending c"_qs);
        ReviewPlatform::signIn();
        auto &controller = DVMainController::sharedInstance();
        QVERIFY(controller.editionEnabled());
        QCOMPARE(controller.userEmail(), u"a@b.c"_qs);
        QCOMPARE(plain(looked(u"c"_qs)), u"edited c"_qs);
        QCOMPARE(plain(QCoreApplication::translate("any", "c")), u"edited c"_qs);
        QCOMPARE(plain(Dorvane::pluralizedStringWithKey(u"c"_qs, 2)), u"edited c"_qs);

        DVStringEditor editor(controller.localeStrings(), controller.baseLocaleStrings());
        editor.setText(u"c"_qs, u"none"_qs, {{u"edited again"_qs, {}, {}}});
        QVERIFY(editor.saveStrings().isEmpty());
        QCOMPARE(plain(looked(u"c"_qs)), u"edited again"_qs);

        controller.setWorkflowStep(ReviewPlatform::step(u"look"_qs));
        QVERIFY2(!controller.editionEnabled(), "the step does not allow it");
        QCOMPARE(plain(looked(u"c"_qs)), u"pending c"_qs);
        controller.setWorkflowStep(ReviewPlatform::step(u"translate"_qs));
        QCOMPARE(plain(looked(u"c"_qs)), u"edited again"_qs);
        controller.setWorkflowStep({});
        QCOMPARE(plain(looked(u"c"_qs)), u"pending c"_qs);
        QVERIFY(DVState::shared().workflowStepUid().isNull());
    }

    void logOutLeavesNothing()
    {
        prepareDevice();
        DVTestHost::write(m_host->filePath(u"0.9_de_edited.xlf"_qs), "another locale's, of another version");
        start();
        ReviewPlatform::signIn();
        auto &controller = DVMainController::sharedInstance();
        const auto group = controller.localeStrings()->dorvaneStringGroupForKey(u"c"_qs);
        group->status = DVStringStatusAccepted;
        controller.localeStrings()->setAcceptedStrings({{u"c"_qs, group}});
        controller.localeStrings()->saveDirty();
        DVSession::sharedInstance().logOut();
        QVERIFY(!controller.localeStrings() && !controller.workflowStep() && !controller.editionEnabled());
        QVERIFY(controller.userEmail().isNull());
        QCOMPARE(looked(u"c"_qs), QString(dv_stringWithCues(u"c"_qs)));
        QVERIFY(QDir(m_host->filesPath()).entryList({u"*edited*"_qs}).isEmpty());

        m_host->restart();
        start();
        ReviewPlatform::signIn();
        QVERIFY(!controller.workflowStep());
        QVERIFY(!controller.localeStrings());
        for (const auto &key : {u"DVWorkflowStep"_qs, u"DVLocale"_qs, u"DVStatuses"_qs, u"DVRejections"_qs})
            QVERIFY2(!DVTestHost::read(m_host->filePath(u"defaults.json"_qs)).contains(key.toUtf8()),
                     qPrintable(key));
    }

    void captureRefreshesTheBaseStrings_data()
    {
        const DVRows<bool, QString> row("succeeds", "text");
        row("source texts of the platform lie over the packaged ones", true, "newer a");
        row("a platform that fails leaves the packaged ones", false, "packaged a");
    }
    void captureRefreshesTheBaseStrings()
    {
        QFETCH(bool, succeeds);
        m_host->package(u"en.lproj/Localizable.strings"_qs, "\"a\" = \"packaged a\";");
        m_host->restart();
        const QByteArray document = DVTestHost::xliff({{u"1"_qs, u"a"_qs, u"newer a"_qs, u"un a"_qs}});
        m_platform->publish(document, document);
        if (!succeeds)
            m_platform->setAnswer("/projects-api/", Answer::of(500, "{}"));
        start(u"DVContextCapture"_qs);
        QCOMPARE(plain(looked(u"a"_qs)), u"packaged a"_qs);
        QVERIFY2(m_platform->server.requests().isEmpty(), "the start sends nothing before the first frame");
        QTRY_COMPARE(m_platform->server.requests().size(), succeeds ? 4 : 2);
        QFETCH(QString, text);
        QTRY_COMPARE(plain(looked(u"a"_qs)), text);
    }

    // A token past its time needs the login screen: the tools open it, and its answer ends the request.
    void theLoginScreenOpensForTheSession()
    {
        start();
        ReviewPlatform::signIn();
        DVClock::advance(qint64(1801) * 1000);
        const auto completed = std::make_shared<bool>(false);
        Dorvane::getProjectLocales([completed](const auto &, const auto &) { *completed = true; });
        QTRY_VERIFY(*completed);
        QCOMPARE(m_calls, (QStringList{u"edition"_qs, u"login"_qs}));
    }

    void projectLocales_data()
    {
        const DVRows<Answer, QVariantList, bool> row("answer", "locales", "fails");
        const auto data = [](const char *json) {
            return ReviewPlatform::success(ReviewPlatform::json(json));
        };
        const QVariantMap source{{u"localeId"_qs, u"en"_qs},
                                 {u"description"_qs, u"English"_qs},
                                 {u"enabled"_qs, 1},
                                 {u"source"_qs, 1}};
        row("the source locale comes first, the others follow as they are",
            data(R"({"sourceLocaleId": "en", "sourceLocaleDescription": "English",
                    "targetLocales": [{"localeId": "fr", "more": [1]}, 7]})"),
            QVariantList{source, QVariantMap{{u"localeId"_qs, u"fr"_qs}, {u"more"_qs, QVariantList{1}}}, 7},
            false);
        row("a source locale without a description is left out",
            data(R"({"sourceLocaleId": "en", "targetLocales": [{"localeId": "fr"}]})"),
            QVariantList{QVariantMap{{u"localeId"_qs, u"fr"_qs}}}, false);
        row("no target locales", data(R"({"sourceLocaleId": "en", "sourceLocaleDescription": "English"})"),
            QVariantList{QVariant(source)}, false);
        row("nothing that is known", data("{}"), {}, false);
        row("an error of the platform", Answer::of(500, "{}"), {}, true);
    }
    void projectLocales()
    {
        QFETCH(Answer, answer);
        m_platform->setAnswer("/projects-api/", answer);
        start(u"DVContextCapture"_qs); // signed with the API credentials
        bool completed = false;
        DVErrorOr error;
        QVariantList locales;
        Dorvane::getProjectLocales([&](const DVErrorOr &result, const QVariantList &list) {
            error = result;
            locales = list;
            completed = true;
        });
        QVERIFY2(!completed, "never from inside the call");
        QTRY_VERIFY(completed);
        QTEST(locales, "locales");
        QTEST(error.has_value(), "fails");
    }

    void theEndForgets()
    {
        start();
        ReviewPlatform::signIn();
        m_host->restart();
        QCOMPARE(m_calls, (QStringList{u"edition"_qs, u"end"_qs}));
        QVERIFY(!DVSession::sharedInstance().isLoggedIn());
        QVERIFY(!DVState::shared().loggedIn && DVState::shared().userEmail().isNull());
        Dorvane::startWithProjectId(u"p"_qs, m_platform->options(reviewMode));
        QVERIFY2(!DVMainController::sharedInstance().editionMode(), "the tools went with the application");
    }

private:
    void start(const QString &mode = reviewMode)
    {
        DVMainController::sharedInstance().setInAppTools(std::make_unique<RememberingTools>(&m_calls));
        Dorvane::startWithProjectId(u"p"_qs, m_platform->options(mode));
    }
    // A device on which somebody has worked: the step, the locale, and their files.
    void prepareDevice() const
    {
        auto &defaults = DVUserDefaults::standard();
        defaults.setData(u"DVWorkflowStep"_qs, ReviewPlatform::step(u"translate"_qs).archived());
        defaults.setString(u"DVLocale"_qs, u"fr_CA"_qs);
        DVTestHost::write(m_host->filePath(u"1.0_fr_CA_published.xlf"_qs),
                          DVTestHost::xliff({{u"1"_qs, u"a"_qs, u"a"_qs, u"published a"_qs},
                                             {u"2"_qs, u"b"_qs, u"b"_qs, u"published b"_qs},
                                             {u"3"_qs, u"c"_qs, u"c"_qs, u"published c"_qs}}));
        DVTestHost::write(m_host->filePath(u"1.0_fr_CA_pending.xlf"_qs),
                          DVTestHost::xliff({{u"2"_qs, u"b"_qs, u"b"_qs, u"pending b"_qs},
                                             {u"3"_qs, u"c"_qs, u"c"_qs, u"pending c"_qs}}));
        DVTestHost::write(m_host->filePath(u"1.0_fr_CA_edited.xlf"_qs),
                          DVTestHost::xliff({{u"3"_qs, u"c"_qs, u"c"_qs, u"edited c"_qs}}));
    }

    std::unique_ptr<DVTestHost> m_host;
    std::unique_ptr<ReviewPlatform> m_platform;
    QStringList m_calls;
};

QTEST_GUILESS_MAIN(tst_ReviewStart)
#include "tst_review_start.moc"
