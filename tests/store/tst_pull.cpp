// Pulls for a review from a server: what arrives, what a pull costs, and what a failed one leaves.
#include "ApiPlatform.h"
#include "DVOutcome.h"
#include "DVReviewLocaleStrings.h"
#include "DVRows.h"
#include "DVTransfer.h"
#include "ReviewDevice.h"

#include <QNetworkReply>

using namespace Qt::Literals::StringLiterals;

using Answer = DVFaultServer::Answer;
using Device = ReviewDevice;

namespace {

const QByteArray exportPath = "/files-api/v2/projects/p1/locales/fr-CA/content/export?retrievalType=";

Answer document(const Device::Targets &targets)
{
    return Answer::of(200, Device::xliff(targets));
}

} // namespace

class tst_Pull : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_platform = std::make_unique<ApiPlatform>();
        m_device = std::make_unique<ReviewDevice>();
    }

    void cleanup()
    {
        m_device.reset();
        m_platform.reset();
    }

    void aLocale()
    {
        auto strings = editedStore();
        const qint64 before = DVClock::now().toSecsSinceEpoch();
        m_platform->server.enqueue(document({{u"k"_qs, u"published"_qs}, {u"p"_qs, u"published"_qs}}));
        m_platform->server.enqueue(document({{u"k"_qs, u"pending & \"new\""_qs}}));
        const DVOutcome<> outcome;
        strings->pullWithCompletion(outcome.take());
        QCOMPARE(outcome->calls, 0);
        QVERIFY(strings->dirtyStrings().isEmpty() && strings->acceptedStrings().isEmpty());
        const std::weak_ptr<DVLocaleStrings> alive = strings;
        strings.reset(); // the controller may change its locale meanwhile
        QTRY_COMPLETED(outcome);
        QVERIFY2(!outcome->error, qPrintable(outcome->error ? outcome->error->description : QString()));
        QTRY_VERIFY(alive.expired());
        QCOMPARE(targets(), (QByteArrayList{exportPath + "PUBLISHED",
                                            exportPath + "PENDING&workflowStepUids[0]=step-1"}));
        for (const auto &request : m_platform->requests())
            QCOMPARE(request.header("Authorization"), QByteArray("Bearer user-token"));

        const auto next = m_device->restarted();
        const qint64 date = next->lastDownloadDate().toSecsSinceEpoch();
        QVERIFY(date >= before && date <= DVClock::now().toSecsSinceEpoch());
        QCOMPARE(Device::served(*next, u"k"_qs), u"pending & \"new\""_qs);
        QCOMPARE(Device::served(*next, u"p"_qs), u"published"_qs);
        QVERIFY(next->dirtyStrings().isEmpty() && next->acceptedStrings().isEmpty());
        QCOMPARE(next->discardedStrings().keys(), QStringList(u"k"_qs));
    }

    // What they replaced comes back, with its date.
    void stringsThatDoNotParse()
    {
        const auto strings = editedStore();
        m_platform->server.enqueue(Answer::of(200, "<xliff version=\"1.2\"><file>"));
        m_platform->server.enqueue(document({{u"p"_qs, u"pending"_qs}}));
        const DVOutcome<> outcome;
        strings->pullWithCompletion(outcome.take());
        QTRY_COMPLETED(outcome);
        QVERIFY(!outcome->error);
        const auto next = m_device->restarted();
        QCOMPARE(Device::served(*next, u"k"_qs), u"old"_qs);
        QCOMPARE(Device::served(*next, u"p"_qs), u"pending"_qs);
        QCOMPARE(next->lastDownloadDate().toSecsSinceEpoch(), 1'600'000'000);
    }

    void failures_data()
    {
        // domain: of the error
        const DVRows<int, int, QString> row("status", "fault", "domain");
        row("the platform refuses", 401, int(DVFaultServer::Fault::None), "dorvane.API");
        row("the platform fails", 500, int(DVFaultServer::Fault::None), "dorvane.API");
        row("the connection is cut", 200, int(DVFaultServer::Fault::CutBody), {});
        row("the connection is reset", 200, int(DVFaultServer::Fault::Reset), {});
    }
    void failures()
    {
        QFETCH(int, status);
        QFETCH(int, fault);
        QFETCH(QString, domain);
        auto strings = editedStore();
        const QByteArray before = Device::read(strings->publishedFilePath());
        Answer answer = Answer::of(status, R"({"response":{"code":"NO","errors":[]}})");
        answer.fault = DVFaultServer::Fault(fault);
        m_platform->answer(answer);
        const DVOutcome<> outcome;
        strings->pullWithCompletion(outcome.take());
        QTRY_COMPLETED(outcome);
        QVERIFY(outcome->error);
        if (!domain.isNull())
            QCOMPARE(outcome->error->domain, domain);

        const auto next = m_device->restarted();
        QCOMPARE(Device::read(strings->publishedFilePath()), before);
        QVERIFY2(!QFile::exists(strings->pendingFilePath()), "an error page is no strings file");
        for (const auto &store : {strings, next}) {
            QVERIFY(store->dirtyStrings().isEmpty() && store->acceptedStrings().isEmpty());
            QCOMPARE(store->lastDownloadDate().toSecsSinceEpoch(), 1'600'000'000);
            QCOMPARE(Device::served(*store, u"k"_qs), u"old"_qs);
            QCOMPARE(Device::texts(store->discardedStrings().value(u"k"_qs)),
                     (Device::Forms{{u"none"_qs, u"mine"_qs}}));
        }
        // Tried again, with nothing to discard: what is kept stays.
        strings->pullWithCompletion(outcome.take());
        QTRY_COMPARE_WITH_TIMEOUT(outcome->calls, 2, 30000);
        QCOMPARE(m_device->restarted()->discardedStrings().keys(), QStringList(u"k"_qs));
    }

    void cancelled()
    {
        auto strings = editedStore();
        m_platform->answer(Answer::failing(DVFaultServer::Fault::Silence));
        const auto transfer = std::make_shared<DVTransfer>();
        const DVOutcome<> outcome;
        strings->pullWithCompletion(outcome.take(), transfer);
        QTRY_COMPARE(m_platform->requests().size(), 1);
        transfer->cancel();
        QTRY_COMPLETED(outcome);
        QCOMPARE(outcome->error->code, int(QNetworkReply::OperationCanceledError));
        QCOMPARE(m_platform->requests().size(), 1);
        QCOMPARE(strings->discardedStrings().keys(), QStringList(u"k"_qs));
        QCOMPARE(strings->lastDownloadDate().toSecsSinceEpoch(), 1'600'000'000);
    }

    void aLocaleThatIsNoFileName()
    {
        auto strings = DVLocaleStrings::localeStringsForLocale(DVLocale(u"../../fr"_qs));
        Device::setEdits(*strings, {{u"k"_qs, u"mine"_qs}});
        const DVOutcome<> outcome;
        strings->pullWithCompletion(outcome.take());
        QCOMPARE(outcome->calls, 0);
        QTRY_COMPLETED(outcome);
        QCOMPARE(outcome->error->domain, u"dorvane.SDK"_qs);
        QCOMPARE(m_platform->requests().size(), 0);
        QVERIFY2(!strings->dirtyStrings().isEmpty(), "nothing was pulled, and nothing is lost");
    }

    void theReviewCopy()
    {
        const auto strings = editedStore();
        const auto review = DVReviewLocaleStrings::reviewLocaleStringsFromLocaleStrings(*strings);
        m_platform->server.enqueue(document({{u"k"_qs, u"old"_qs}, {u"j"_qs, u"old"_qs}}));
        m_platform->server.enqueue(document({{u"k"_qs, u"theirs"_qs}}));
        const QStringList files = m_device->files();
        const DVOutcome<> outcome;
        review->pullWithCompletion(outcome.take());
        QTRY_COMPLETED(outcome);
        QVERIFY(!outcome->error);
        review->loadStrings();
        QCOMPARE(m_device->files(), files);
        const QList<DVStringConflict> conflicts = review->conflictsWith(*strings);
        QCOMPARE(conflicts,
                 (QList<DVStringConflict>{{u"k"_qs, u"none"_qs, u"mine"_qs, u"old"_qs, u"theirs"_qs}}));

        // Opening the review has cost nothing.
        for (const auto &store : {strings, m_device->restarted()}) {
            QCOMPARE(store->dirtyStrings().keys(), QStringList(u"k"_qs));
            QCOMPARE(store->acceptedStrings().keys(), QStringList(u"j"_qs));
            QCOMPARE(store->lastDownloadDate().toSecsSinceEpoch(), 1'600'000'000);
            QVERIFY(store->discardedStrings().isEmpty());
        }
    }

    // Killed in between, an earlier review has left texts that were the platform's once.
    void theReviewCopyTakesNothingFromAnEarlierOne_data()
    {
        const DVRows<Answer, Answer, bool> row("published", "pending", "fails");
        const Answer some = document({{u"j"_qs, u"pending"_qs}});
        row("the published strings fail", Answer::failing(DVFaultServer::Fault::Reset), some, false);
        row("a page about an error comes instead", Answer::of(500, "<html>"), some, false);
        row("the pending strings fail", some, Answer::of(500, "{}"), true);
    }
    void theReviewCopyTakesNothingFromAnEarlierOne()
    {
        QFETCH(Answer, published);
        QFETCH(Answer, pending);
        const auto review = DVReviewLocaleStrings::reviewLocaleStringsFromLocaleStrings(*editedStore());
        const QStringList files = m_device->files();
        Device::write(review->publishedFilePath(), Device::xliff({{u"k"_qs, u"of last week"_qs}}));
        Device::write(review->pendingFilePath(), Device::xliff({{u"k"_qs, u"of last week"_qs}}));
        m_platform->server.enqueue(published);
        m_platform->server.enqueue(pending);
        const DVOutcome<> outcome;
        review->pullWithCompletion(outcome.take());
        QTRY_COMPLETED(outcome);
        QTEST(bool(outcome->error), "fails");
        if (outcome->error)
            QCOMPARE(m_device->files(), files); // also when somebody logs out between the two
        review->loadStrings();
        QVERIFY(!review->loadedStrings().find(QStringView(u"k")));
        QCOMPARE(m_device->files(), files);
    }

    void theBaseStore()
    {
        DVState::shared().editionMode = false; // a capture: signed by the application
        bool ready = false;
        DVAPISession::sharedInstance().getTokenWithCompletion(
            [&](const DVErrorOr &error) { ready = !error; });
        QTRY_VERIFY(ready);
        m_platform->server.enqueue(
            ApiPlatform::success(R"({"targetLocales":[{"localeId":"fr-CA"},{"localeId":"de"}]})"));
        m_platform->server.enqueue(document({{u"k"_qs, u"published"_qs}}));
        m_platform->server.enqueue(document({{u"j"_qs, u"pending"_qs}}));
        const auto base = DVBaseLocaleStrings::localeStringsForLocale(DVLocale(u"en"_qs));
        const DVOutcome<> outcome;
        base->pullWithCompletion(outcome.take());
        QCOMPARE(outcome->calls, 0);
        QTRY_COMPLETED(outcome);
        QVERIFY2(!outcome->error, qPrintable(outcome->error ? outcome->error->description : QString()));
        QCOMPARE(base->fetchedLocale().identifier(), u"fr_CA"_qs);
        QCOMPARE(targets().mid(1), (QByteArrayList{exportPath + "PUBLISHED",
                                                   exportPath + "PENDING&workflowStepUids[0]=step-1"}));
        for (const auto &request : m_platform->requests())
            QCOMPARE(request.header("Authorization"), QByteArray("Bearer api-token"));
        base->loadStrings();
        QCOMPARE(base->localizedStringForKey(u"k"_qs), u"base k"_qs);
        QCOMPARE(base->localizedStringForKey(u"j"_qs), u"base j"_qs);
    }

    void projectsWithoutTargetLocales_data()
    {
        const DVRows<QByteArray> row("data");
        row("none said", R"({"projectName":"x"})");
        row("an empty list", R"({"targetLocales":[]})");
        row("no list", R"({"targetLocales":{"localeId":"fr-CA"}})");
        row("an element of another kind", R"({"targetLocales":["fr-CA"]})");
        row("a number", R"({"targetLocales":[{"localeId":5}]})");
        row("a path", R"({"targetLocales":[{"localeId":"../../../etc"}]})");
    }
    void projectsWithoutTargetLocales()
    {
        QFETCH(QByteArray, data);
        m_platform->answer(ApiPlatform::success(data));
        const auto base = DVBaseLocaleStrings::localeStringsForLocale(DVLocale(u"en"_qs));
        const DVOutcome<> outcome;
        m_platform->takeLog();
        base->pullWithCompletion(outcome.take());
        QTRY_COMPLETED(outcome);
        QCOMPARE(outcome->error,
                 DVErrorOr(DVError{u"dorvane.API"_qs, 404, u"Project has no target locales"_qs}));
        QCOMPARE(m_platform->takeLog(), QStringList(u"Project has no target locales"_qs));
        QCOMPARE(m_platform->requests().size(), 1);
        QVERIFY(!base->fetchedLocale().isValid());

        m_platform->answer(Answer::of(500, "{}"));
        base->pullWithCompletion(outcome.take());
        QTRY_COMPARE(outcome->calls, 2);
        QVERIFY(m_platform->takeLog().contains(
            QString(u"Error getting project locales: " + outcome->error->description)));
    }

    void nobodyWaits()
    {
        m_platform->answer(Answer::of(500, "{}"));
        const auto strings = editedStore();
        strings->pullWithCompletion({});
        DVBaseLocaleStrings::localeStringsForLocale(DVLocale(u"en"_qs))->pullWithCompletion({});
        DVLocaleStrings::localeStringsForLocale(DVLocale(u"/"_qs))->pullWithCompletion({});
        QTRY_COMPARE(m_platform->requests().size(), 3);
        const DVOutcome<> outcome;
        strings->pullWithCompletion(outcome.take());
        QTRY_COMPLETED(outcome);
    }

private:
    // A store with an edit and a decision, saved; "k" is published as "old".
    std::shared_ptr<DVLocaleStrings> editedStore()
    {
        m_device->publish({{u"k"_qs, u"old"_qs}, {u"j"_qs, u"old"_qs}});
        auto strings = m_device->restarted();
        Device::editInPlace(*strings, u"k"_qs, u"mine"_qs);
        const DVStringGroupPtr accepted = strings->dorvaneStringGroupForKey(u"j"_qs);
        accepted->status = DVStringStatusAccepted;
        strings->setAcceptedStrings(Device::groups({accepted}));
        strings->saveDirty();
        strings->setLastDownloadDate(QDateTime::fromSecsSinceEpoch(1'600'000'000, Qt::UTC));
        return strings;
    }

    QByteArrayList targets() const
    {
        QByteArrayList targets;
        for (const auto &request : m_platform->requests())
            targets += request.target;
        return targets;
    }

    std::unique_ptr<ApiPlatform> m_platform;
    std::unique_ptr<ReviewDevice> m_device;
};

QTEST_GUILESS_MAIN(tst_Pull)
#include "tst_pull.moc"
