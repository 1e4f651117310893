// What a translator decided and wrote, sent to a server: submit, reject, save, issues.
#include "ApiPlatform.h"
#include "DVApi.h"
#include "DVRows.h"
#include "DVXliffParser.h"

#include <QNetworkReply>
#include <QScopeGuard>

#include <atomic>
#include <filesystem>
#include <thread>

using Answer = DVFaultServer::Answer;
using Fault = DVFaultServer::Fault;

namespace {

using Strings = QList<DVStringGroupPtr>;
using Messages = QMap<QString, QStringList>;
using Saved = DVOutcome<Messages>;  // what was not taken, by key
using Decided = DVOutcome<Strings>; // what was refused

QStringList keysOf(const Strings &strings)
{
    QStringList keys;
    for (const auto &string : strings)
        keys += string->key;
    return keys;
}

DVXliffHeader header()
{
    DVXliffHeader header;
    header.sourceLocale = u"en-US"_qs;
    header.targetLocale = u"fr-CA"_qs;
    header.stepUid = u"step-1"_qs;
    header.stepName = u"Review"_qs;
    return header;
}

// Text of each form in a document, by "key" or "key[category]".
QMap<QString, QString> textsIn(const QByteArray &document)
{
    DVErrorOr error;
    const auto strings = DVXliffParser::parseXliffData(document, DVStringStatusNone, &error, false);
    QMap<QString, QString> texts;
    if (error)
        texts.insert(u"error"_qs, error->description);
    for (const auto &group : strings) {
        for (auto form = group->pluralForms.begin(); form != group->pluralForms.end(); ++form)
            texts.insert(form.key() == u"none" ? group->key : QString(group->key % u'[' % form.key() % u']'),
                         (*form)->localizedFormat);
    }
    return texts;
}

Strings threeStrings()
{
    return {ApiPlatform::string(u"hello"_qs, u"h-1"_qs), ApiPlatform::string(u"bye"_qs, u"h-2[other]"_qs),
            ApiPlatform::string(u"again"_qs, u"h-3"_qs)};
}

DVStringGroups byKey(const Strings &strings)
{
    DVStringGroups groups;
    for (const auto &string : strings)
        groups.insert(string->key, string);
    return groups;
}

} // namespace

class tst_ApiStrings : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { m_platform = std::make_unique<ApiPlatform>(); }
    void cleanup() { m_platform.reset(); }

    void statusesAreSent_data();
    void statusesAreSent();
    void nothingToSendIsNotSent();
    void refusedStrings_data();
    void refusedStrings();
    void manyRefusals();
    void stringsLiveUntilTheAnswer();
    void brokenExchanges_data();
    void brokenExchanges();
    void editsAreImported();
    void stringsThatWereNotTaken_data();
    void stringsThatWereNotTaken();
    void stringsThatCannotBeWritten();
    void editsThatCannotBeWritten();
    void twoSavesAtATimeKeepTheirTexts();
    void anotherProcessesSaveIsNotSent();
    void cancelledImport();
    void issuesAreReported();
    void issuesThatFail_data();
    void issuesThatFail();

private:
    Saved save(const DVStringGroups &strings = byKey(threeStrings()), const DVTransferPtr &transfer = {})
    {
        const Saved saved;
        DVApi::saveStrings(strings, header(), saved.take(), transfer);
        return saved;
    }

    std::unique_ptr<ApiPlatform> m_platform;
};

void tst_ApiStrings::statusesAreSent_data()
{
    const DVRows<bool, QString> row("submit", "request");
    row("submitted", true,
        u"PUT /workflows-strings-api/v2/projects/p1/submittedStrings Bearer user-token"_qs);
    row("rejected", false, u"PUT /workflows-strings-api/v2/projects/p1/rejectedStrings Bearer user-token"_qs);
}

void tst_ApiStrings::statusesAreSent()
{
    QFETCH(bool, submit);
    m_platform->answer(ApiPlatform::success("null"));
    const Strings strings{ApiPlatform::string(u"hello"_qs, u"h-1"_qs), ApiPlatform::string(u"new"_qs, {}),
                          nullptr, ApiPlatform::string(u"bye"_qs, u"h-2[other]"_qs)};
    const Decided decided;
    submit ? DVApi::submitStrings(strings, decided.take()) : DVApi::rejectStrings(strings, decided.take());
    QTRY_COMPLETED(decided);
    QVERIFY(!decided->error);
    QCOMPARE(decided->result, Strings());
    QTEST(m_platform->requestLines().join(u'\n'), "request");
    QCOMPARE(m_platform->requests().last().header("Content-Type"),
             QByteArray("application/json;charset=UTF-8"));
    QCOMPARE(m_platform->lastJsonBody(), QJsonDocument::fromJson(R"({"localeId":"fr-CA","strings":[
                 {"hashcode":"h-1","currentWorkflowStepUid":"step-1"},
                 {"hashcode":"h-2","currentWorkflowStepUid":"step-1"}]})")
                                             .object());
}

void tst_ApiStrings::nothingToSendIsNotSent()
{
    const Decided submitted;
    const Decided rejected;
    DVApi::submitStrings({nullptr}, submitted.take());
    DVApi::rejectStrings({}, rejected.take());
    const Saved saved = save({});
    const auto calls = [&] { return submitted->calls + rejected->calls + saved->calls; };
    QCOMPARE(calls(), 0);
    QTRY_COMPARE(calls(), 3);
    QVERIFY(!submitted->error && !rejected->error && !saved->error);
    QVERIFY(saved->result.isEmpty() && submitted->result.isEmpty());
    QCOMPARE(m_platform->requestLines(), QStringList());
}

void tst_ApiStrings::refusedStrings_data()
{
    const DVRows<int, QByteArray, QString, QStringList, QStringList> table(
        "status", "answer", "error", "failedKeys", "log"); // the error's description
    const auto row = [&](const char *name, const QByteArray &data, const QStringList &keys = {},
                         const QStringList &log = {}) {
        table(name, 200, R"({"response":{"code":"SUCCESS","data":)" + data + "}}", {}, keys, log);
    };
    row("no data", "null");
    row("no list", "{}");
    row("a list that is null", R"({"failures":null})");
    row("an empty list", R"({"failures":[]})");
    row("one", R"({"failures":[{"hashcode":"h-3","reason":"Locked"}]})", {u"again"_qs},
        {u"rejectedStrings failed for again: Locked"_qs});
    row("in the platform's order, once each, and a form's identifier",
        R"({"failures":[{"hashcode":"h-2[one]","reason":"A"},{"hashcode":"h-1"},{"hashcode":"h-2","reason":"B"}]})",
        {u"bye"_qs, u"hello"_qs},
        {u"rejectedStrings failed for bye: A"_qs, u"rejectedStrings failed for hello: "_qs});
    row("hashcodes that name nothing", R"({"failures":[{"hashcode":"h-9","reason":"x"},{"reason":"y"},
        {"hashcode":null},{"hashcode":""},{"hashcode":"[one]"},{"hashcode":3},{"hashcode":["h-1"]},7,null,[]]})");
    row("a reason that is no text, and one of many lines",
        R"({"failures":[{"hashcode":"h-1","reason":{"text":"x"}},{"hashcode":"h-2","reason":"a\n[DV] b"}]})",
        {u"hello"_qs, u"bye"_qs},
        {u"rejectedStrings failed for hello: {\"text\":\"x\"}"_qs,
         u"rejectedStrings failed for bye: a [DV] b"_qs});

    const auto failure = [&](const char *name, int status, const QByteArray &body,
                             const QString &error = u"Server error"_qs) {
        table(name, status, body, error, keysOf(threeStrings()), {u"rejectedStrings failed: "_qs + error});
    };
    failure("no body", 200, "");
    failure("no envelope", 200, R"({"message":"saved"})");
    failure("a list of not found", 404, "[]");
    failure("data that is a text", 200, R"({"response":{"data":"all of them"}})");
    failure("failures that are a text", 200, R"({"response":{"data":{"failures":"all"}}})");
    failure("failures that are an object", 200, R"({"response":{"data":{"failures":{"hashcode":"h-1"}}}})");
    failure("a refused request", 400, R"({"response":{"code":"VALIDATION_ERROR","errors":[]}})",
            u"VALIDATION_ERROR"_qs);
}

void tst_ApiStrings::refusedStrings()
{
    QFETCH(int, status);
    QFETCH(QByteArray, answer);
    QFETCH(QString, error);
    m_platform->answer(Answer::of(status, answer));
    m_platform->takeLog();
    const Decided decided;
    DVApi::rejectStrings(threeStrings(), decided.take());
    QTRY_COMPLETED(decided);
    QCOMPARE(decided->description(), error);
    if (decided->error && status == 200)
        QCOMPARE(*decided->error, (DVError{u"dorvane.API"_qs, 500, error}));
    QTEST(keysOf(decided->result), "failedKeys");
    QTEST(m_platform->takeLog().filter(u"rejectedStrings failed"_qs), "log");
}

void tst_ApiStrings::manyRefusals()
{
    // All of one hashcode: what is found must not be multiplied by what is named.
    constexpr int count = 20000;
    Strings strings;
    for (int i = 0; i < count; ++i)
        strings += ApiPlatform::string(QString::number(i), u"same"_qs);
    const QByteArrayList failures(count, R"({"hashcode":"same","reason":"r"})");
    m_platform->answer(ApiPlatform::success(R"({"failures":[)" + failures.join(',') + "]}"));
    DVState::shared().log = false;
    const Decided decided;
    DVApi::submitStrings(strings, decided.take());
    QTRY_COMPARE_WITH_TIMEOUT(decided->calls, 1, 30000);
    QCOMPARE(decided->result.size(), count);
}

void tst_ApiStrings::stringsLiveUntilTheAnswer()
{
    m_platform->answer(ApiPlatform::success(R"({"failures":[{"hashcode":"h-1"}]})").delayed(100));
    QStringList failed;
    auto strings = threeStrings();
    const std::weak_ptr<DVStringGroup> watched = strings.first();
    DVApi::submitStrings(strings,
                         [&failed](const DVErrorOr &, const Strings &refused) { failed = keysOf(refused); });
    strings.clear();
    QTRY_COMPARE(failed, QStringList{u"hello"_qs});
    QTRY_VERIFY(watched.expired());
}

void tst_ApiStrings::brokenExchanges_data()
{
    const DVRows<Answer> row("answer");
    row("closed without an answer", Answer::failing(Fault::Close));
    row("cut in the answer", Answer::failing(Fault::CutBody, R"({"response":{"data":{}}})"));
    row("without an end", Answer::failing(Fault::Endless, QByteArray(1 << 20, ' ')));
    row("a page for people", Answer::of(200, "<html>Sign in to the airport</html>"));
    row("a token that is no good", Answer::of(401));
    row("a gateway that waited too long", Answer::of(504, "<html></html>"));
}

// Nothing counts as taken, nothing is sent a second time, and the next save works.
void tst_ApiStrings::brokenExchanges()
{
    QFETCH(Answer, answer);
    m_platform->answer(answer);
    const Saved saved = save();
    QTRY_COMPARE_WITH_TIMEOUT(saved->calls, 1, 30000);
    QVERIFY(saved->error);
    QCOMPARE(saved->result.size(), 3);
    const Decided submitted;
    DVApi::submitStrings(threeStrings(), submitted.take());
    QTRY_COMPARE_WITH_TIMEOUT(submitted->calls, 1, 30000);
    QVERIFY(submitted->error);
    QCOMPARE(submitted->result.size(), 3);
    QCOMPARE(m_platform->requests().size(), 2);

    m_platform->answer(ApiPlatform::success("{}"));
    const Saved again = save();
    QTRY_COMPLETED(again);
    QVERIFY(!again->error);
    QVERIFY(again->result.isEmpty());
}

void tst_ApiStrings::editsAreImported()
{
    m_platform->answer(ApiPlatform::success(R"({"wordCount":3,"stringCount":3})"));
    auto plural = std::make_shared<DVStringGroup>();
    ApiPlatform::addForm(plural, u"files"_qs, u"h-2[one]"_qs, u"one"_qs, u"un fichier"_qs);
    ApiPlatform::addForm(plural, u"files"_qs, u"h-2[other]"_qs, u"other"_qs, u"des fichiers"_qs);
    const DVStringGroups strings{
        {u"&Save"_qs, ApiPlatform::string(u"&Save"_qs, u"h-1"_qs, u"<b>\"Sauver\"</b> & quitter\n😀"_qs)},
        {u"files"_qs, plural}};
    const Saved saved = save(strings);
    QTRY_COMPLETED(saved);
    QVERIFY(!saved->error);
    QVERIFY(saved->result.isEmpty());
    QCOMPARE(
        m_platform->requestLines(),
        QStringList{u"POST /files-api/v2/projects/p1/locales/fr-CA/content/import Bearer user-token"_qs});
    const auto file = ApiPlatform::uploadedFile(m_platform->requests().last());
    QVERIFY2(file.disposition.startsWith("form-data; name=\"file\"; filename=\"/"),
             file.disposition.constData());
    QVERIFY2(file.disposition.endsWith("/saveFile.xlf\""), file.disposition.constData());
    QCOMPARE(file.type, QByteArray("application/octet-stream"));
    QCOMPARE(textsIn(file.content),
             (QMap<QString, QString>{{u"&Save"_qs, u"<b>\"Sauver\"</b> & quitter\n😀"_qs},
                                     {u"files[one]"_qs, u"un fichier"_qs},
                                     {u"files[other]"_qs, u"des fichiers"_qs}}));
    const QString kept = DVFolders::dorvaneFiles() + u"/saveFile.xlf"_qs;
    QCOMPARE(ApiPlatform::read(kept), file.content);
    QCOMPARE(QFile::permissions(kept) & (QFile::ReadGroup | QFile::ReadOther), QFile::Permissions());
}

void tst_ApiStrings::stringsThatWereNotTaken_data()
{
    const DVRows<int, QByteArray, QString, Messages, QStringList> table(
        "status", "answer", "error", "failures", "log"); // the error's description
    const auto row = [&](const char *name, const QByteArray &data, const Messages &failures = {},
                         const QStringList &log = {}) {
        table(name, 202, R"({"response":{"code":"ACCEPTED","data":)" + data + "}}", {}, failures, log);
    };
    row("no data", "null");
    row("no list", R"({"wordCount":0})");
    row("a list that is null", R"({"translationImportErrors":null})");
    row("one", R"({"translationImportErrors":[{"stringHashCode":"h-1","messages":["Too long","No %1"]}]})",
        {{u"hello"_qs, {u"Too long"_qs, u"No %1"_qs}}}, {u"Save failed for hello: Too long, No %1"_qs});
    row("two forms of one string",
        R"({"translationImportErrors":[{"stringHashCode":"h-2[one]","messages":["A"]},
                                       {"stringHashCode":"h-2[other]","messages":["B"]}]})",
        {{u"bye"_qs, {u"A"_qs, u"B"_qs}}}, {u"Save failed for bye: A, B"_qs});
    row("messages of other kinds",
        R"({"translationImportErrors":[{"stringHashCode":"h-1","messages":"One text"},
            {"stringHashCode":"h-2"},{"stringHashCode":"h-3","messages":[null,{"a":1},7,""]}]})",
        {{u"hello"_qs, {u"One text"_qs}},
         {u"bye"_qs, {u"Server error"_qs}},
         {u"again"_qs, {u"{\"a\":1}"_qs, u"7"_qs}}},
        {u"Save failed for again: {\"a\":1}, 7"_qs, u"Save failed for bye: Server error"_qs,
         u"Save failed for hello: One text"_qs});
    row("hashcodes that name nothing",
        R"({"translationImportErrors":[{"stringHashCode":"h-9","messages":["x"]},
        {"messages":["y"]},{"stringHashCode":"[one]","messages":["z"]},{"stringHashCode":{},"messages":[]},null,4]})");

    const auto failure = [&](const char *name, int status, const QByteArray &body,
                             const QString &error = u"Server error"_qs) {
        table(name, status, body, error,
              {{u"hello"_qs, {error}}, {u"bye"_qs, {error}}, {u"again"_qs, {error}}},
              {u"Save failed: "_qs + error});
    };
    failure("no body", 200, "");
    failure("no envelope", 200, R"({"message":"saved"})");
    failure("a list of not found", 404, "[]");
    failure("data that is a list", 200, R"({"response":{"data":[]}})");
    failure("errors that are a text", 200, R"({"response":{"data":{"translationImportErrors":"h-1"}}})");
    failure("a refused request", 401, R"({"response":{"code":"AUTHENTICATION_ERROR","errors":[{}]}})",
            u"1 errors"_qs);
}

void tst_ApiStrings::stringsThatWereNotTaken()
{
    QFETCH(int, status);
    QFETCH(QByteArray, answer);
    m_platform->answer(Answer::of(status, answer));
    m_platform->takeLog();
    const Saved saved = save();
    QTRY_COMPLETED(saved);
    QTEST(saved->description(), "error");
    QTEST(saved->result, "failures");
    QTEST(m_platform->takeLog().filter(u"Save failed"_qs), "log");
}

void tst_ApiStrings::stringsThatCannotBeWritten()
{
    m_platform->answer(ApiPlatform::success("{}"));
    const Saved saved = save({{u"good"_qs, ApiPlatform::string(u"good"_qs, u"h-1"_qs)},
                              {u"unknown"_qs, ApiPlatform::string(u"unknown"_qs, {})},
                              {u"untranslated"_qs, ApiPlatform::string(u"untranslated"_qs, u"h-2"_qs, {})},
                              {u"missing"_qs, nullptr}});
    QTRY_COMPLETED(saved);
    QVERIFY(!saved->error);
    QCOMPARE(saved->result, (Messages{{u"unknown"_qs, {u"No hashcode for this string"_qs}},
                                      {u"untranslated"_qs, {u"No text for this string"_qs}},
                                      {u"missing"_qs, {u"No text for this string"_qs}}}));
    const auto file = ApiPlatform::uploadedFile(m_platform->requests().last());
    QCOMPARE(textsIn(file.content), (QMap<QString, QString>{{u"good"_qs, u"t"_qs}}));
}

void tst_ApiStrings::editsThatCannotBeWritten()
{
    QVERIFY(QDir(DVFolders::dorvaneFiles()).removeRecursively());
    ApiPlatform::write(DVFolders::dorvaneFiles(), "a file where the folder should be");
    m_platform->takeLog();
    const Saved saved = save();
    QCOMPARE(saved->calls, 0);
    QTRY_COMPLETED(saved);
    QCOMPARE(saved->domain(), u"dorvane.file"_qs);
    const QString why = saved->description();
    QCOMPARE(saved->result, (Messages{{u"hello"_qs, {why}}, {u"bye"_qs, {why}}, {u"again"_qs, {why}}}));
    QVERIFY(m_platform->takeLog().contains(QString(u"Save failed: " % why)));
    QCOMPARE(m_platform->requestLines(), QStringList());
}

void tst_ApiStrings::twoSavesAtATimeKeepTheirTexts()
{
    m_platform->answer(ApiPlatform::success("{}"));
    // Expired, so that both wait for a token before they are sent.
    DVClock::advance(qint64(400) * 1000);
    const Saved first = save({{u"a"_qs, ApiPlatform::string(u"a"_qs, u"h-1"_qs, u"first"_qs)}});
    const Saved second = save({{u"a"_qs, ApiPlatform::string(u"a"_qs, u"h-1"_qs, u"second"_qs)}});
    QTRY_COMPARE(first->calls + second->calls, 2);
    QStringList texts;
    for (const auto &request : m_platform->requests())
        texts += textsIn(ApiPlatform::uploadedFile(request).content).value(u"a"_qs);
    texts.sort();
    QCOMPARE(texts, (QStringList{u"first"_qs, u"second"_qs}));
}

// What is sent is taken out of the edits afterwards: a file that another process put in its place must not
// be.
void tst_ApiStrings::anotherProcessesSaveIsNotSent()
{
    const std::filesystem::path folder = DVFolders::dorvaneFiles().toStdString();
    ApiPlatform::write(DVFolders::dorvaneFiles() + u"/theirs"_qs, "of another process");
    std::atomic<bool> ends = false;
    std::thread other([&] {
        for (std::error_code taken; !ends;) {
            std::filesystem::create_hard_link(folder / "theirs", folder / "link", taken);
            std::filesystem::rename(folder / "link", folder / "saveFile.xlf", taken);
        }
    });
    const auto join = qScopeGuard([&] {
        ends = true;
        other.join();
    });
    m_platform->answer(ApiPlatform::success("{}"));
    for (int i = 1; i <= 20; ++i) {
        const Saved saved = save();
        QTRY_COMPLETED(saved);
        QCOMPARE(m_platform->requests().size(), i);
        QCOMPARE(textsIn(ApiPlatform::uploadedFile(m_platform->requests().last()).content).size(), 3);
    }
}

void tst_ApiStrings::cancelledImport()
{
    m_platform->answer(Answer::failing(Fault::Silence));
    const auto transfer = std::make_shared<DVTransfer>();
    const Saved saved = save(byKey(threeStrings()), transfer);
    QTRY_COMPARE(m_platform->requests().size(), 1);
    transfer->cancel();
    QTRY_COMPLETED(saved);
    QCOMPARE(saved->code(), int(QNetworkReply::OperationCanceledError));
    QCOMPARE(saved->result.size(), 3);
}

void tst_ApiStrings::issuesAreReported()
{
    m_platform->answer(ApiPlatform::success(R"({"issueUid":"i-1"})"));
    const auto string = ApiPlatform::string(u"hello"_qs, u"h-1[one]"_qs);
    string->rejectReason = u"TONE"_qs;
    QStringList words;
    for (const QString &description : {u"Say \"tu\" & not <vous>"_qs, QString()}) {
        string->rejectDescription = description;
        const DVOutcome<> reported;
        DVApi::createIssueForString(string, reported.take());
        QTRY_COMPLETED(reported);
        QVERIFY(!reported->error);
        QVERIFY(!string->rejectDescription.isNull());
        QJsonObject body = m_platform->lastJsonBody();
        words += body.take(u"issueText"_qs).toString(u"none"_qs);
        QCOMPARE(body, QJsonDocument::fromJson(R"({"string":{"hashcode":"h-1","localeId":"fr-CA"},
                           "issueSubTypeCode":"TONE","issueTypeCode":"TRANSLATION"})")
                           .object());
    }
    QCOMPARE(words, QStringList({u"Say \"tu\" & not <vous>"_qs, u""_qs}));
    QCOMPARE(m_platform->requestLines(),
             QStringList(2, u"POST /issues-api/v2/projects/p1/issues Bearer user-token"_qs));
}

void tst_ApiStrings::issuesThatFail_data()
{
    const DVRows<DVStringGroupPtr, DVError> row("string", "error");
    const DVError unknown{u"dorvane.SDK"_qs, 500, u"No hashcode for this string"_qs};
    row("unknown to the platform", ApiPlatform::string(u"hello"_qs, {}), unknown);
    row("without forms", std::make_shared<DVStringGroup>(), unknown);
    row("none", {}, unknown);
    row("refused", threeStrings().first(), {u"dorvane.API"_qs, 403, u"AUTHORIZATION_ERROR"_qs});
}

void tst_ApiStrings::issuesThatFail()
{
    QFETCH(DVStringGroupPtr, string);
    QFETCH(DVError, error);
    m_platform->answer(Answer::of(403, R"({"response":{"code":"AUTHORIZATION_ERROR","errors":[]}})"));
    const DVOutcome<> reported;
    DVApi::createIssueForString(string, reported.take());
    QCOMPARE(reported->calls, 0);
    QTRY_COMPLETED(reported);
    QCOMPARE(reported->error, error);
    QCOMPARE(m_platform->requests().size(), error.code == 403 ? 1 : 0);
}

QTEST_GUILESS_MAIN(tst_ApiStrings)
#include "tst_apistrings.moc"
