// A review without screens: choices, edits, decisions, and sending them, with whatever can go wrong between.
#include "DVCueMarkers.h"
#include "DVPendingIssues.h"
#include "DVReviewChanges.h"
#include "DVReviewChoices.h"
#include "DVReviewDecisions.h"
#include "DVRows.h"
#include "DVStringEditor.h"
#include "ReviewPlatform.h"

#include <Dorvane/DVNotificationCenter.h>

#include <QNetworkReply>

using namespace Qt::Literals::StringLiterals;
using Answer = DVFaultServer::Answer;
using Change = DVReviewChoices::LocaleChange;
using Outcome = DVChangesPush::Outcome;

namespace {

const QByteArray published =
    "<xliff version=\"1.2\"><file><body>\n"
    "<trans-unit id=\"1\" resname=\"a\"><source>a</source><target>un a</target></trans-unit>\n"
    "<trans-unit id=\"2\" resname=\"b\"><source>b</source><target>un b</target></trans-unit>\n"
    "<trans-unit id=\"3\" resname=\"hello\"><source>Hello <ph>%1</ph>, <ph>%2</ph></source>"
    "<target>Bonjour <ph>%1</ph>, <ph>%2</ph></target></trans-unit>\n"
    "<group restype=\"x-cldr-plurals\">\n"
    "<trans-unit id=\"4[one]\" resname=\"files\"><source><ph>%n</ph> file</source>"
    "<target><ph>%n</ph> fichier</target></trans-unit>\n"
    "<trans-unit id=\"4[other]\" resname=\"files\"><source><ph>%n</ph> files</source>"
    "<target><ph>%n</ph> fichiers</target></trans-unit></group>\n"
    "</body></file></xliff>\n";
const QByteArray nothing = "<xliff version=\"1.2\"><file><body></body></file></xliff>";

DVCapsuleRun text(const QString &what)
{
    return {what, {}, {}};
}

DVCapsuleRun capsule(const QString &format)
{
    return {{}, u"variable"_qs, format};
}

DVMainController &controller()
{
    return DVMainController::sharedInstance();
}

DVLocaleStrings &strings()
{
    return *controller().localeStrings();
}

QString textOf(const QString &key, const QString &form = {})
{
    return dv_stringByRemovingCues(strings().localizedStringForKey(key, form));
}

// "a|b", "-" when there is none.
QString keys(const DVStringGroups &groups)
{
    return groups.isEmpty() ? u"-"_qs : QStringList(groups.keys()).join(u'|');
}

// Edited, accepted, rejected, issues to file.
QString state()
{
    QStringList issues;
    for (const auto &issue : DVPendingIssues::all())
        issues.append(QString(issue.key % u':' % issue.reason % u':' % issue.description));
    return QStringList{keys(strings().dirtyStrings()), keys(strings().acceptedStrings()),
                       keys(strings().rejectedStrings()), issues.isEmpty() ? u"-"_qs : issues.join(u'|')}
        .join(u' ');
}

} // namespace

class tst_ReviewFlow : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_platform = std::make_unique<ReviewPlatform>();
        m_host = std::make_unique<DVTestHost>();
    }

    void cleanup()
    {
        m_host.reset();
        m_platform.reset();
    }

    // Choices
    void choosingALocale_data()
    {
        const DVRows<QString, QString, int, QString> row("stepBefore", "locale", "change", "stepAfter");
        row("a target of the current step keeps it", "translate", "fr_CA", int(Change::StepKept),
            "translate");
        row("a source of the current step keeps it too", "translate", "en", int(Change::StepKept),
            "translate");
        row("without a step the first for the locale is taken", {}, "fr_CA", int(Change::StepChanged),
            "translate");
        row("a step of another locale gives way", "translate", "de", int(Change::StepChanged), "look");
        row("a locale that is only a source takes the first step that has it", {}, "en",
            int(Change::StepChanged), "translate");
        row("a locale that no step has changes nothing", "translate", "ja", int(Change::None), "translate");
    }
    void choosingALocale()
    {
        QFETCH(QString, stepBefore);
        QFETCH(QString, locale);
        QFETCH(int, change);
        QFETCH(QString, stepAfter);
        m_platform->publish(published, nothing);
        start();
        if (!stepBefore.isNull())
            controller().setWorkflowStep(ReviewPlatform::step(stepBefore));
        DVErrorOr error;
        QCOMPARE(int(choose(DVLocale(locale), &error)), change);
        QVERIFY(!error);
        QCOMPARE(controller().workflowStep()->uid, stepAfter);
        const auto saved = DVUserDefaults::standard().stringForKey(u"DVLocale"_qs);
        if (Change(change) == Change::None) {
            QVERIFY(!controller().localeStrings() && !saved);
            return;
        }
        QCOMPARE(saved.value(), locale);
        QCOMPARE(strings().locale().identifier(), locale);
        const bool pulled = Change(change) == Change::StepKept;
        QCOMPARE(strings().loadedStrings().keyCount(), pulled ? 4 : 0);
        QCOMPARE(strings().lastDownloadDate().isValid(), pulled);
    }

    void choosingAStepDeletesWhatWasNotSent()
    {
        startReview();
        edit(u"a"_qs, {text(u"edit"_qs)});
        accept(u"b"_qs);
        QCOMPARE(DVReviewChoices::unsavedChanges(), 2);
        std::optional<DVErrorOr> result;
        std::make_shared<DVReviewChoices>()->setWorkflowStep(ReviewPlatform::step(u"look"_qs),
                                                             [&](const DVErrorOr &error) { result = error; });
        QCOMPARE(DVReviewChoices::unsavedChanges(), 0);
        QTRY_VERIFY(result);
        QVERIFY(result && !*result);
        QCOMPARE(DVWorkflowStep::unarchived(*DVUserDefaults::standard().dataForKey(u"DVWorkflowStep"_qs)),
                 std::optional(ReviewPlatform::step(u"look"_qs)));
        QVERIFY2(m_platform->server.requests().constLast().target.contains("look"),
                 "it pulls the new step's strings");
        killAndRestart();
        QCOMPARE(state(), u"- - - -"_qs);
    }

    void aStepThatIsGoneIsCleared()
    {
        start();
        const auto choices = std::make_shared<DVReviewChoices>();
        const auto reload = [&] {
            const auto result = resultOf<DVErrorOr>([&](const auto &done) { choices->reload(done); });
            QVERIFY(result && !*result);
        };
        controller().setWorkflowStep(ReviewPlatform::step(u"look"_qs));
        reload();
        QVERIFY(controller().workflowStep());
        QCOMPARE(choices->targetLocaleChoices().keys(), (QStringList{u"de"_qs, u"fr_CA"_qs}));
        QCOMPARE(choices->sourceLocaleChoices().value(u"en"_qs).size(), 2);
        auto gone = ReviewPlatform::step(u"look"_qs);
        gone.uid = u"gone"_qs;
        controller().setWorkflowStep(gone);
        reload();
        QVERIFY(!controller().workflowStep());
        QVERIFY(DVState::shared().workflowStepUid().isNull());
    }

    void reloadFailures_data()
    {
        const DVRows<QByteArray, bool> row("part", "signedIn");
        row("nobody is signed in", {}, false);
        row("the project", "/projects-api/", true);
        row("its workflows", "/workflows", true);
    }
    void reloadFailures()
    {
        QFETCH(QByteArray, part);
        QFETCH(bool, signedIn);
        start();
        if (!signedIn)
            DVSession::sharedInstance().logOut();
        controller().setWorkflowStep(ReviewPlatform::step(u"look"_qs));
        if (!part.isEmpty())
            m_platform->setAnswer(part, Answer::of(500, "{}"));
        const auto choices = std::make_shared<DVReviewChoices>();
        std::optional<DVErrorOr> result;
        choices->reload([&](const DVErrorOr &error) { result = error; });
        QVERIFY(!result);
        QTRY_VERIFY(result);
        QVERIFY(result && *result);
        QVERIFY(!choices->isLoading());
        QVERIFY(choices->workflowSteps().isEmpty());
        QVERIFY2(controller().workflowStep(), "a step is not gone because nobody answered");
    }

    void pullReplacesAndServes()
    {
        startReview();
        QCOMPARE(textOf(u"a"_qs), u"un a"_qs);
        QCOMPARE(DVBundle::mainBundle().localizedStringForKey(u"b"_qs),
                 QString(dv_stringWithCues(u"un b"_qs)));
        edit(u"a"_qs, {text(u"mine"_qs)});
        m_platform->publish(published, DVTestHost::xliff({{u"1"_qs, u"a"_qs, u"a"_qs, u"pending a"_qs}}));
        const auto result =
            resultOf<DVErrorOr>([&](const auto &done) { std::make_shared<DVReviewChoices>()->pull(done); });
        QVERIFY(result && !*result);
        QCOMPARE(textOf(u"a"_qs), u"pending a"_qs);
        QCOMPARE(state(), u"- - - -"_qs);
        QCOMPARE(keys(strings().discardedStrings()), u"a"_qs);
    }

    void pullThatFails()
    {
        startReview();
        m_platform->setAnswer("PENDING", Answer::of(503, "{}"));
        const auto result =
            resultOf<DVErrorOr>([&](const auto &done) { std::make_shared<DVReviewChoices>()->pull(done); });
        QVERIFY(result && *result);
        QCOMPARE(textOf(u"a"_qs), u"un a"_qs);
        QVERIFY(m_host->logged(u"Error pulling strings "_qs));
        controller().setLocaleStrings(nullptr);
        const auto without =
            resultOf<DVErrorOr>([&](const auto &done) { std::make_shared<DVReviewChoices>()->pull(done); });
        QVERIFY2(without && *without, "there is no locale to pull");
    }

    // Edits
    void aPullGivesWayToANewerOne()
    {
        startReview();
        m_platform->setAnswer("PENDING", Answer::failing(DVFaultServer::Fault::Silence));
        const qsizetype before = m_platform->server.requests().size();
        const auto choices = std::make_shared<DVReviewChoices>();
        std::optional<DVErrorOr> first;
        choices->pull([&](const DVErrorOr &error) { first = error; });
        QTRY_COMPARE(m_platform->server.requests().size(), before + 2);
        m_platform->setUsualAnswers();
        std::optional<DVErrorOr> second;
        choices->pull([&](const DVErrorOr &error) { second = error; });
        QTRY_VERIFY(first && second);
        QVERIFY2(*first && !*second, "the older one's strings may be those of another step");
    }

    void placeholdersAreCounted_data()
    {
        const DVRows<QString, QString, int, int> row("key", "form", "capsules", "errors");
        row("as many as the source has", "hello", "none", 2, 0);
        row("one was deleted", "hello", "none", 1, 1);
        row("one too many", "hello", "none", 3, 1);
        row("none where none belongs", "a", "none", 0, 0);
        row("one where none belongs", "a", "none", 1, 1);
        row("a plural form", "files", "one", 0, 1);
        row("a form that the source does not have is not counted", "files", "many", 0, 0);
        row("a string that the source does not have", "unknown", "none", 5, 0);
    }
    void placeholdersAreCounted()
    {
        QFETCH(QString, key);
        QFETCH(QString, form);
        QFETCH(int, capsules);
        startReview();
        DVStringEditor editor(controller().localeStrings(), controller().baseLocaleStrings());
        editor.setText(u"b"_qs, u"none"_qs, {text(u"fine"_qs)});
        editor.setText(key, form, QList<DVCapsuleRun>(capsules, capsule(u"%1"_qs)));
        QTEST(editor.validateStrings(), "errors");
        DVStringEditor withoutLocale(nullptr, controller().baseLocaleStrings());
        withoutLocale.setText(key, form, QList<DVCapsuleRun>(7, capsule(u"%1"_qs)));
        QCOMPARE(withoutLocale.validateStrings(), 0);
        QCOMPARE(withoutLocale.saveStrings(), QStringList());
    }

    void editsKeepTheirArguments()
    {
        startReview();
        int notifications = 0;
        const int observer = DVNotificationCenter::defaultCenter().addObserver(
            this, DorvaneStringsUpdatedNotification, nullptr, [&](const auto &) { ++notifications; });
        const QString odd = u"<b>\"&Sauver\" \U0001F331\n& \u200B\u2063"_qs; // markers that somebody pasted
        edit(u"hello"_qs, {text(odd), capsule(u"%2"_qs), text(u" "_qs), capsule(u"%1"_qs)});
        QCOMPARE(notifications, 0);
        QTRY_COMPARE(notifications, 1);
        DVNotificationCenter::defaultCenter().removeObserver(observer);
        const QString expected = u"\u200B<b>\"&Sauver\" \U0001F331\n& \u2063%2\u2064 \u2063%1\u2064\u2062"_qs;
        QCOMPARE(strings().localizedStringForKey(u"hello"_qs), expected);
        const auto form = strings().dirtyStrings().value(u"hello"_qs)->stringForPluralForm({}, false);
        QCOMPARE(form->argumentFormatSpecifiers, (QList<QString>{u"%2"_qs, u"%1"_qs}));
        QCOMPARE(controller().dorvaneStringWithNonNestedString(expected, nullptr), form);
        QCOMPARE(
            strings().loadedStrings().group(u"hello"_qs)->stringForPluralForm({}, false)->localizedFormat,
            u"\u200BBonjour \u2063%1\u2064, \u2063%2\u2064\u2062"_qs);

        killAndRestart();
        QCOMPARE(strings().localizedStringForKey(u"hello"_qs), expected);
        strings().clearDirtyStrings();
        QCOMPARE(textOf(u"hello"_qs), u"Bonjour %1, %2"_qs);
    }

    void oneFormOfAPluralString()
    {
        startReview();
        edit(u"files"_qs, {capsule(u"%n"_qs), text(u" dossier"_qs)}, u"one"_qs);
        QCOMPARE(textOf(u"files"_qs, u"one"_qs), u"%n dossier"_qs);
        QCOMPARE(textOf(u"files"_qs, u"other"_qs), u"%n fichiers"_qs);
        // French has a form that the file left out: it becomes one of its own.
        edit(u"files"_qs, {capsule(u"%n"_qs), text(u" de dossiers"_qs)}, u"many"_qs);
        const auto group = strings().dirtyStrings().value(u"files"_qs);
        QCOMPARE(group->sortedPluralFormNames(), (QList<QString>{u"one"_qs, u"many"_qs, u"other"_qs}));
        QCOMPARE(group->stringForPluralForm(u"many"_qs, true)->uid, u"4[many]"_qs);
        QCOMPARE(textOf(u"files"_qs, u"other"_qs), u"%n fichiers"_qs);
    }

    void aStringThatTheLocaleDoesNotHave()
    {
        startReview(QByteArray(published)
                        .replace("<ph>%n</ph> fichier</target>", "</target>")
                        .replace("<ph>%n</ph> fichiers</target>", "</target>"));
        QVERIFY(!controller().localeStrings()->dorvaneStringGroupForKey(u"files"_qs));
        edit(u"files"_qs, {capsule(u"%n"_qs), text(u" fichier"_qs)}, u"one"_qs);
        killAndRestart();
        QCOMPARE(textOf(u"files"_qs, u"one"_qs), u"%n fichier"_qs);
        QCOMPARE(textOf(u"files"_qs, u"other"_qs), u"%n files"_qs);
        QCOMPARE(state(), u"files - - -"_qs);
        QVERIFY(push().isComplete());
        const QByteArray sent = m_platform->lastBody("import");
        QVERIFY(sent.contains("4[one]") && sent.contains(" fichier</target>"));
        QVERIFY2(!sent.contains("4[other]"), "nobody has translated that form");
    }

    void editsOfUnknownStrings()
    {
        startReview();
        DVStringEditor editor(controller().localeStrings(), controller().baseLocaleStrings());
        editor.setText(u"unknown"_qs, u"none"_qs, {text(u"x"_qs)});
        editor.setText(u"a"_qs, u"one"_qs, {text(u"x"_qs)});
        editor.setText(u"files"_qs, u"several"_qs, {text(u"x"_qs)});
        editor.setText(u"b"_qs, u"none"_qs, {text(u"y"_qs)});
        QCOMPARE(editor.saveStrings(), (QStringList{u"a"_qs, u"files"_qs, u"unknown"_qs}));
        QCOMPARE(state(), u"b - - -"_qs);
    }

    void decisions()
    {
        startReview();
        const auto step = controller().workflowStep();
        const auto a = strings().dorvaneStringGroupForKey(u"a"_qs);
        QVERIFY(DVReviewDecisions::canAccept(*a, step) && DVReviewDecisions::canReject(*a, step));
        QVERIFY(!DVReviewDecisions::canAccept(*a, ReviewPlatform::step(u"look"_qs)));
        QVERIFY(!DVReviewDecisions::canAccept(*a, {}));
        accept(u"a"_qs);
        QCOMPARE(state(), u"- a - -"_qs);
        QVERIFY2(!DVReviewDecisions::canReject(*a, step), "its text has to be changed before");
        DVReviewDecisions::touch(strings(), a);
        QCOMPARE(state(), u"- - - -"_qs);
        QVERIFY(DVReviewDecisions::canReject(*a, step));
        DVReviewDecisions::reject(strings(), a, u"Does not fit space"_qs, {});
        QCOMPARE(state(), u"- - a -"_qs);
        QCOMPARE(a->rejectReason, u"DOES_NOT_FIT_SPACE"_qs);
        QCOMPARE(a->rejectDescription, u"No description."_qs);
        killAndRestart();
        QCOMPARE(state(), u"- - a -"_qs);
        const auto again = strings().rejectedStrings().value(u"a"_qs);
        QCOMPARE(again->rejectReason, u"DOES_NOT_FIT_SPACE"_qs);
        QCOMPARE(again->status, quint32(DVStringStatusRejected));
    }

    // Sending
    void sendingInOrder()
    {
        startReview();
        edit(u"a"_qs, {text(u"mon a"_qs)});
        accept(u"a"_qs);
        reject(u"b"_qs);
        reject(u"hello"_qs);
        const Outcome outcome = push();
        QVERIFY(outcome.isComplete());
        QCOMPARE(m_platform->changes(), (QStringList{u"import"_qs, u"submittedStrings"_qs,
                                                     u"rejectedStrings"_qs, u"issues"_qs, u"issues"_qs}));
        QVERIFY(m_platform->lastBody("import").contains("<target>mon a</target>"));
        QVERIFY(m_platform->lastBody("issues").contains("DOES_NOT_FIT_SPACE"));
        QCOMPARE(state(), u"- - - -"_qs);
        QCOMPARE(textOf(u"a"_qs), u"mon a"_qs);
        killAndRestart();
        QCOMPARE(state(), u"- - - -"_qs);
    }

    void textsThatThePlatformRefuses()
    {
        startReview();
        edit(u"a"_qs, {text(u"mon a"_qs)});
        edit(u"b"_qs, {text(u"mon b"_qs)});
        accept(u"a"_qs);
        accept(u"b"_qs);
        m_platform->setAnswer("import", ReviewPlatform::json(R"({"translationImportErrors": [
        {"stringHashCode": "1", "messages": ["too long", "really"]}]})"));
        const Outcome outcome = push();
        QVERIFY(!outcome.error);
        QCOMPARE(outcome.failed, (QMap<QString, QStringList>{{u"a"_qs, {u"too long"_qs, u"really"_qs}}}));
        const QByteArray submitted = m_platform->lastBody("submittedStrings");
        QVERIFY2(submitted.contains("\"2\"") && !submitted.contains("\"1\""),
                 "what was not saved is not submitted");
        QCOMPARE(state(), u"a - - -"_qs);
        killAndRestart();
        QCOMPARE(state(), u"a - - -"_qs);
        QCOMPARE(textOf(u"a"_qs), u"mon a"_qs);
    }

    void decisionsThatThePlatformRefuses()
    {
        startReview();
        accept(u"a"_qs);
        accept(u"b"_qs);
        reject(u"hello"_qs);
        m_platform->setAnswer(
            "submittedStrings",
            ReviewPlatform::json(R"({"failures": [{"hashcode": "2", "reason": "locked"}]})"));
        m_platform->setAnswer("rejectedStrings", Answer::of(500, "{}"));
        const Outcome outcome = push();
        QVERIFY(outcome.error);
        QCOMPARE(QStringList(outcome.failed.keys()), (QStringList{u"b"_qs, u"hello"_qs}));
        QCOMPARE(state(), u"- b hello -"_qs);
        QVERIFY(!m_platform->changes().contains(u"issues"_qs));
        killAndRestart();
        QCOMPARE(state(), u"- b hello -"_qs);
    }

    void decisionsThatCannotBeSent()
    {
        startReview(QByteArray(published).replace(" id=\"1\"", "").replace(" id=\"3\"", ""));
        accept(u"a"_qs);
        accept(u"b"_qs);
        reject(u"hello"_qs);
        const QStringList why{u"No hashcode for this string"_qs};
        const Outcome outcome = push();
        QCOMPARE(outcome.failed, (QMap<QString, QStringList>{{u"a"_qs, why}, {u"hello"_qs, why}}));
        QCOMPARE(outcome.done, QStringList{u"b"_qs});
        QCOMPARE(m_platform->changes(), QStringList{u"submittedStrings"_qs}); // nothing was rejected
        QCOMPARE(state(), u"- a hello -"_qs);
    }

    void nothingIsSentBehindAFailedSave()
    {
        startReview();
        edit(u"a"_qs, {text(u"mon a"_qs)});
        accept(u"b"_qs);
        m_platform->setAnswer("import", Answer::failing(DVFaultServer::Fault::Reset));
        QVERIFY(push().error);
        QCOMPARE(m_platform->changes(), QStringList{u"import"_qs});
        QCOMPARE(state(), u"a b - -"_qs);
    }

    void cardsAreKeptAndDiscarded()
    {
        startReview();
        edit(u"b"_qs, {text(u"mon b"_qs)});
        accept(u"b"_qs);
        edit(u"a"_qs, {text(u"mon a"_qs)});
        reject(u"hello"_qs);
        m_platform->publish(DVTestHost::xliff({{u"2"_qs, u"b"_qs, u"b"_qs, u"un b"_qs}}), nothing);
        const auto changes = std::make_shared<DVReviewChanges>(controller().localeStrings());
        QVERIFY(!load(changes));
        QStringList cards;
        for (const auto &card : changes->changes())
            cards.append(QStringLiteral("%1 %2%3%4")
                             .arg(card.key, card.edited ? u"edited "_qs : u""_qs,
                                  card.statusChanged ? u"decided "_qs : u""_qs,
                                  card.upstream ? u"known"_qs : u"new"_qs));
        QCOMPARE(cards,
                 (QStringList{u"a edited new"_qs, u"b edited decided known"_qs, u"hello decided new"_qs}));
        QCOMPARE(state(), u"a|b b hello -"_qs);
        changes->discard();
        changes->keep();
        changes->discard();
        changes->discard(); // there is none left
        QVERIFY(changes->changes().isEmpty());
        edit(u"files"_qs, {capsule(u"%n"_qs)}, u"one"_qs); // nobody has looked at this one
        const auto result = resultOf<Outcome>([&](const auto &done) { changes->save(done); });
        QVERIFY(result && result->isComplete());
        QCOMPARE(m_platform->changes(), (QStringList{u"import"_qs, u"submittedStrings"_qs}));
        QVERIFY(!m_platform->lastBody("import").contains("files"));
        QCOMPARE(state(), u"files - - -"_qs);
    }

    void conflictsAreSeenBeforeAnythingIsSent()
    {
        startReview();
        edit(u"a"_qs, {text(u"mon a"_qs)});
        edit(u"b"_qs, {text(u"mon b"_qs)});
        m_platform->publish(published, DVTestHost::xliff({{u"1"_qs, u"a"_qs, u"a"_qs, u"son a"_qs}}));
        const auto changes = std::make_shared<DVReviewChanges>(controller().localeStrings());
        QVERIFY(!load(changes));
        const auto conflicts = changes->conflicts();
        QCOMPARE(conflicts.size(), 1);
        QCOMPARE(conflicts.first(),
                 (DVStringConflict{u"a"_qs, u"none"_qs, u"mon a"_qs, u"un a"_qs, u"son a"_qs}));
        QCOMPARE(state(), u"a|b - - -"_qs);
        changes->discard();
        QVERIFY2(changes->conflicts().isEmpty(), "an edit that is not sent overwrites nothing");
    }

    void publishedStringsThatDoNotCome_data()
    {
        const DVRows<Answer, QString, bool> row("answer", "edited", "loads");
        row("the edited text may be another by now", Answer::of(500, "{}"), "a", false);
        row("a connection that breaks tells nothing either", Answer::failing(DVFaultServer::Fault::Reset),
            "a", false);
        row("a string that the locale did not have may be there now", Answer::of(500, "{}"), "new", false);
        row("the pending strings tell", Answer::of(500, "{}"), "b", true);
        row("they came, without the string", Answer::of(200, nothing), "a", true);
    }
    void publishedStringsThatDoNotCome()
    {
        QFETCH(Answer, answer);
        QFETCH(QString, edited);
        startReview(QByteArray(published).replace(
            "</body>",
            "<trans-unit id=\"5\" resname=\"new\"><source>new</source><target/></trans-unit></body>"));
        edit(edited, {text(u"mine"_qs)});
        m_platform->setAnswer("PUBLISHED", answer);
        m_platform->publish({}, DVTestHost::xliff({{u"2"_qs, u"b"_qs, u"b"_qs, u"un b"_qs}}));
        const auto changes = std::make_shared<DVReviewChanges>(controller().localeStrings());
        const DVErrorOr error = load(changes);
        QTEST(!error, "loads");
        QVERIFY(error || changes->conflicts().size() == (edited == u"a" ? 1 : 0));
        QCOMPARE(state(), QString(edited % u" - - -"));
    }

    void whatChangesDuringASendingStays()
    {
        startReview();
        edit(u"a"_qs, {text(u"first"_qs)});
        edit(u"b"_qs, {text(u"first"_qs)});
        m_platform->setAnswer("import", ReviewPlatform::success({}).delayed(300));
        std::optional<Outcome> result;
        toSend()->pushChangesWithCompletion([&](const Outcome &outcome) { result = outcome; });
        edit(u"a"_qs, {text(u"second"_qs)});
        edit(u"hello"_qs, {capsule(u"%1"_qs), capsule(u"%2"_qs)});
        QTRY_VERIFY(result);
        QVERIFY(result->isComplete());
        QCOMPARE(state(), u"a|hello - - -"_qs);
        QCOMPARE(textOf(u"a"_qs), u"second"_qs);
        killAndRestart();
        QCOMPARE(state(), u"a|hello - - -"_qs);
    }

    void answersThatComeTooLate_data()
    {
        const DVRows<bool> row("logsOut");
        row("the translator has logged out", true);
        row("a new store has other decisions", false);
    }
    void answersThatComeTooLate()
    {
        QFETCH(bool, logsOut);
        startReview();
        edit(u"a"_qs, {text(u"mon a"_qs)});
        reject(u"hello"_qs);
        m_platform->setAnswer("import",
                              ReviewPlatform::success(ReviewPlatform::json(R"({"translationImportErrors":
            [{"stringHashCode": "1", "messages": ["no"]}]})"))
                                  .delayed(300));
        std::optional<Outcome> result;
        toSend()->pushChangesWithCompletion([&](const Outcome &outcome) { result = outcome; });
        if (logsOut) {
            DVSession::sharedInstance().logOut();
        } else {
            controller().localeStrings()->discardEdits();
            controller().setLocaleStrings(DVLocaleStrings::localeStringsForLocale(DVLocale(u"fr_CA"_qs)));
            strings().loadStringsWithBaseLocaleStrings(controller().baseLocaleStrings().get());
            accept(u"b"_qs);
        }
        QTRY_VERIFY(result);
        QCOMPARE(result->error->code, int(QNetworkReply::OperationCanceledError));
        QCOMPARE(m_platform->changes(), QStringList{u"import"_qs});
        if (logsOut) {
            const QDir folder(DVMainController::dorvaneFilesFolder());
            QCOMPARE(folder.entryList({u"*edited*"_qs, u"saveFile*"_qs}), QStringList());
            QVERIFY(!DVUserDefaults::standard().objectForKey(u"DVStatuses"_qs));
        } else {
            killAndRestart();
            QCOMPARE(state(), u"- b - -"_qs);
        }
    }

    void rejectionsAnsweredTooLate_data()
    {
        const DVRows<bool> row("logsOut");
        row("the issue is not for who has signed in since", true);
        row("it is kept for who only chose another locale", false);
    }
    void rejectionsAnsweredTooLate()
    {
        QFETCH(bool, logsOut);
        startReview();
        reject(u"hello"_qs);
        m_platform->setAnswer("rejectedStrings", ReviewPlatform::success({}).delayed(2000));
        std::optional<Outcome> result;
        toSend()->pushChangesWithCompletion([&](const Outcome &outcome) { result = outcome; });
        QTRY_VERIFY(m_platform->changes().contains(u"rejectedStrings"_qs));
        QVERIFY(!result);
        if (logsOut) {
            DVSession::sharedInstance().logOut();
            ReviewPlatform::signIn();
        } else {
            controller().setLocaleStrings(DVLocaleStrings::localeStringsForLocale(DVLocale(u"de"_qs)));
        }
        QTRY_VERIFY(result);
        QCOMPARE(DVUserDefaults::standard().objectForKey(u"DVPendingIssues"_qs).has_value(), !logsOut);
    }

    void killedAtEveryStep_data()
    {
        const DVRows<QByteArray, QString, QStringList> row("waitsIn", "left", "sentAgain");
        const QStringList all{u"import"_qs, u"submittedStrings"_qs, u"rejectedStrings"_qs, u"issues"_qs};
        row("while texts are saved", "import", "a b hello -", all);
        row("while strings are submitted", "submittedStrings", "- b hello -", all.mid(1));
        row("while strings are rejected", "rejectedStrings", "- - hello -", all.mid(2));
        row("while an issue is filed", "issues", "- - - hello:DOES_NOT_FIT_SPACE:too long", all.mid(3));
    }
    void killedAtEveryStep()
    {
        QFETCH(QByteArray, waitsIn);
        QFETCH(QStringList, sentAgain);
        startReview();
        edit(u"a"_qs, {text(u"mon a"_qs)});
        accept(u"b"_qs);
        reject(u"hello"_qs);
        m_platform->setAnswer(waitsIn, Answer::failing(DVFaultServer::Fault::Silence));
        toSend()->pushChangesWithCompletion([](const Outcome &) {});
        QTRY_VERIFY(m_platform->changes().contains(QString::fromLatin1(waitsIn)));
        const qsizetype before = m_platform->changes().size();
        killAndRestart();
        QTEST(state(), "left");
        QVERIFY(push().isComplete());
        QCOMPARE(m_platform->changes().mid(before), sentAgain);
        QCOMPARE(state(), u"- - - -"_qs);
    }

    void issuesThatFail_data()
    {
        const DVRows<Answer, bool> row("answer", "kept");
        row("a platform that is not well keeps it for later", Answer::of(503, "{}"), true);
        row("a connection that breaks too", Answer::failing(DVFaultServer::Fault::Reset), true);
        row("who is not allowed may sign in again", Answer::of(401, "{}"), true);
        row("a refusal is final", Answer::of(400, "{}"), false);
    }
    void issuesThatFail()
    {
        QFETCH(Answer, answer);
        QFETCH(bool, kept);
        startReview();
        reject(u"hello"_qs);
        m_platform->setAnswer("issues", answer);
        QVERIFY2(push().isComplete(), "an issue is no part of what must be sent");
        QVERIFY(m_host->logged(u"Could not create issue: "_qs));
        killAndRestart();
        QCOMPARE(DVPendingIssues::all().size(), kept ? 1 : 0);
        push();
        QVERIFY(DVPendingIssues::all().isEmpty());
        controller().setLocaleStrings(DVLocaleStrings::localeStringsForLocale(DVLocale(u"de"_qs)));
        QVERIFY(DVPendingIssues::all().isEmpty());
    }

    void cancelledBetweenSteps()
    {
        startReview();
        edit(u"a"_qs, {text(u"mon a"_qs)});
        accept(u"b"_qs);
        const auto transfer = std::make_shared<DVTransfer>();
        std::optional<Outcome> result;
        const auto sending = toSend(transfer);
        sending->save([&](const Outcome &outcome) { result = outcome; });
        QTRY_VERIFY(result);
        QCOMPARE(result.value().done, QStringList{u"a"_qs});
        transfer->cancel();
        const auto submitted = resultOf<Outcome>([&](const auto &done) { sending->submit(done); });
        QCOMPARE(submitted.value().error->code, int(QNetworkReply::OperationCanceledError));
        QCOMPARE(m_platform->changes(), QStringList{u"import"_qs});
        QCOMPARE(state(), u"- b - -"_qs);
    }

private:
    void start() const
    {
        static QStringList calls;
        controller().setInAppTools(std::make_unique<RememberingTools>(&calls));
        Dorvane::startWithProjectId(u"p"_qs, m_platform->options(u"DVInAppReview"_qs));
        ReviewPlatform::signIn();
    }
    // Signed in, in the step and the locale, with the platform's strings.
    void startReview(const QByteArray &strings = published) const
    {
        m_platform->publish(strings, nothing);
        start();
        controller().setWorkflowStep(ReviewPlatform::step(u"translate"_qs));
        DVUserDefaults::standard().setData(u"DVWorkflowStep"_qs, controller().workflowStep()->archived());
        choose(DVLocale(u"fr_CA"_qs));
    }
    static Change choose(const DVLocale &locale, DVErrorOr *error = nullptr)
    {
        const auto choices = std::make_shared<DVReviewChoices>();
        choices->groupWorkflowsByLocale(DVWorkflowStep::workflowsFromDictionary(ReviewPlatform::workflows()));
        std::optional<Change> result;
        choices->setLocale(locale, [&](const DVErrorOr &failure, Change change) {
            result = change;
            if (error)
                *error = failure;
        });
        return QTest::qWaitFor([&] { return result.has_value(); }) ? *result : Change(-1);
    }
    static void edit(const QString &key, const QList<DVCapsuleRun> &runs, const QString &form = u"none"_qs)
    {
        DVStringEditor editor(controller().localeStrings(), controller().baseLocaleStrings());
        editor.setText(key, form, runs);
        QCOMPARE(editor.validateStrings(), 0);
        QCOMPARE(editor.saveStrings(), QStringList());
    }
    static void accept(const QString &key)
    {
        DVReviewDecisions::accept(strings(), strings().dorvaneStringGroupForKey(key));
    }
    static void reject(const QString &key)
    {
        DVReviewDecisions::reject(strings(), strings().dorvaneStringGroupForKey(key),
                                  u"Does not fit space"_qs, u"too long"_qs);
    }
    // Everything that is there to be sent.
    static std::shared_ptr<DVChangesPush> toSend(const DVTransferPtr &transfer = {})
    {
        return std::make_shared<DVChangesPush>(controller().localeStrings(), DVStringChanges::of(strings()),
                                               transfer);
    }
    static Outcome push()
    {
        return resultOf<Outcome>([](const auto &done) { toSend()->pushChangesWithCompletion(done); })
            .value_or(Outcome{DVError{u"test"_qs, 0, u"never completed"_qs}, {}, {}});
    }
    static DVErrorOr load(const std::shared_ptr<DVReviewChanges> &changes)
    {
        return resultOf<DVErrorOr>([&](const auto &done) { changes->loadChanges(done); })
            .value_or(DVError{u"test"_qs, 0, u"never completed"_qs});
    }
    // As if the process had been killed: nothing is told that it ends, but for threads and hooks.
    void killAndRestart() const
    {
        m_host->restart();
        m_platform->setUsualAnswers();
        start();
    }

    std::unique_ptr<DVTestHost> m_host;
    std::unique_ptr<ReviewPlatform> m_platform;
};

QTEST_GUILESS_MAIN(tst_ReviewFlow)
#include "tst_review_flow.moc"
