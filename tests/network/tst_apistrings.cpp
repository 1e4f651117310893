// What a translator decided and wrote, sent to a server: submit, reject, save, issues.
#include "ApiPlatform.h"
#include "DVApi.h"
#include "DVXliffParser.h"

#include <QNetworkReply>

using Answer = DVFaultServer::Answer;

namespace {

struct StatusOutcome
{
    int calls = 0;
    DVErrorOr error;
    QStringList failedKeys;

    DVApi::StatusCompletion take()
    {
        return [this](const DVErrorOr &why, const QList<DVStringGroupPtr> &failed) {
            ++calls;
            error = why;
            for (const auto &string : failed)
                failedKeys += string->key;
        };
    }
};

using Messages = QMap<QString, QStringList>;

struct SaveOutcome
{
    int calls = 0;
    DVErrorOr error;
    Messages failures;

    DVApi::SaveCompletion take()
    {
        return [this](const DVErrorOr &why, const Messages &messages) {
            ++calls;
            error = why;
            failures = messages;
        };
    }
};

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

QList<DVStringGroupPtr> threeStrings()
{
    return {ApiPlatform::string(u"hello"_qs, u"h-1"_qs), ApiPlatform::string(u"bye"_qs, u"h-2[other]"_qs),
            ApiPlatform::string(u"again"_qs, u"h-3"_qs)};
}

DVStringGroups byKey(const QList<DVStringGroupPtr> &strings)
{
    DVStringGroups groups;
    for (const auto &string : strings)
        groups.insert(string->key, string);
    return groups;
}

// `count` JSON values joined to a list.
QByteArray list(int count, const std::function<QByteArray(int)> &element)
{
    QByteArrayList elements;
    for (int i = 0; i < count; ++i)
        elements += element(i);
    return '[' + elements.join(',') + ']';
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
    void cancelledImport();
    void issuesAreReported_data();
    void issuesAreReported();
    void issueWithoutAString_data();
    void issueWithoutAString();
    void failedIssue();

private:
    std::unique_ptr<ApiPlatform> m_platform;
};

void tst_ApiStrings::statusesAreSent_data()
{
    QTest::addColumn<bool>("submit");
    QTest::addColumn<QString>("request");
    QTest::newRow("submitted")
        << true << u"PUT /workflows-strings-api/v2/projects/p1/submittedStrings Bearer user-token"_qs;
    QTest::newRow("rejected")
        << false << u"PUT /workflows-strings-api/v2/projects/p1/rejectedStrings Bearer user-token"_qs;
}

void tst_ApiStrings::statusesAreSent()
{
    QFETCH(bool, submit);
    m_platform->answer(ApiPlatform::success("null"));
    const QList<DVStringGroupPtr> strings{ApiPlatform::string(u"hello"_qs, u"h-1"_qs),
                                          ApiPlatform::string(u"new"_qs, {}), nullptr,
                                          ApiPlatform::string(u"bye"_qs, u"h-2[other]"_qs)};
    StatusOutcome outcome;
    submit ? DVApi::submitStrings(strings, outcome.take()) : DVApi::rejectStrings(strings, outcome.take());
    QTRY_COMPARE(outcome.calls, 1);
    QVERIFY(!outcome.error);
    QCOMPARE(outcome.failedKeys, QStringList());
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
    StatusOutcome submitted;
    StatusOutcome rejected;
    SaveOutcome saved;
    DVApi::submitStrings({nullptr}, submitted.take());
    DVApi::rejectStrings({}, rejected.take());
    DVApi::saveStrings({}, header(), saved.take());
    QCOMPARE(submitted.calls + rejected.calls + saved.calls, 0);
    QTRY_COMPARE(submitted.calls + rejected.calls + saved.calls, 3);
    QVERIFY(!submitted.error && !rejected.error && !saved.error);
    QVERIFY(saved.failures.isEmpty() && submitted.failedKeys.isEmpty());
    QCOMPARE(m_platform->requestLines(), QStringList());
}

void tst_ApiStrings::refusedStrings_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("answer");
    QTest::addColumn<QString>("error"); // its description
    QTest::addColumn<QStringList>("failedKeys");
    QTest::addColumn<QStringList>("log");
    const auto row = [](const char *name, const QByteArray &data, const QStringList &keys = {},
                        const QStringList &log = {}) {
        QTest::newRow(name) << 200 << QByteArray(R"({"response":{"code":"SUCCESS","data":)" + data + "}}")
                            << QString() << keys << log;
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

    const QStringList all{u"hello"_qs, u"bye"_qs, u"again"_qs};
    const auto failure = [&all](const char *name, int status, const QByteArray &body, const QString &error) {
        QTest::newRow(name) << status << body << error << all
                            << QStringList{u"rejectedStrings failed: "_qs + error};
    };
    failure("no body", 200, "", u"Server error"_qs);
    failure("no envelope", 200, "{}", u"Server error"_qs);
    failure("a list of not found", 404, "[]", u"Server error"_qs);
    failure("a response that is a list", 200, R"({"response":[]})", u"Server error"_qs);
    failure("data that is a text", 200, R"({"response":{"data":"all of them"}})", u"Server error"_qs);
    failure("failures that are a text", 200, R"({"response":{"data":{"failures":"all"}}})",
            u"Server error"_qs);
    failure("failures that are an object", 200, R"({"response":{"data":{"failures":{"hashcode":"h-1"}}}})",
            u"Server error"_qs);
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
    StatusOutcome outcome;
    DVApi::rejectStrings(threeStrings(), outcome.take());
    QTRY_COMPARE(outcome.calls, 1);
    QCOMPARE(outcome.error ? outcome.error->description : QString(), error);
    if (outcome.error && status == 200)
        QCOMPARE(*outcome.error, (DVError{u"dorvane.API"_qs, 500, error}));
    QTEST(outcome.failedKeys, "failedKeys");
    QTEST(m_platform->takeLog().filter(u"rejectedStrings failed"_qs), "log");
}

void tst_ApiStrings::manyRefusals()
{
    // All of one hashcode: what is found must not be multiplied by what is named.
    constexpr int count = 20000;
    QList<DVStringGroupPtr> strings;
    for (int i = 0; i < count; ++i)
        strings += ApiPlatform::string(QString::number(i), u"same"_qs);
    const QByteArray failures =
        list(count, [](int) { return QByteArray(R"({"hashcode":"same","reason":"r"})"); });
    m_platform->answer(ApiPlatform::success(R"({"failures":)" + failures + '}'));
    DVState::shared().log = false;
    StatusOutcome outcome;
    DVApi::submitStrings(strings, outcome.take());
    QTRY_COMPARE_WITH_TIMEOUT(outcome.calls, 1, 30000);
    QCOMPARE(outcome.failedKeys.size(), count);
}

void tst_ApiStrings::stringsLiveUntilTheAnswer()
{
    m_platform->answer(ApiPlatform::success(R"({"failures":[{"hashcode":"h-1"}]})").delayed(100));
    StatusOutcome outcome;
    auto strings = threeStrings();
    const std::weak_ptr<DVStringGroup> watched = strings.first();
    DVApi::submitStrings(strings, outcome.take());
    strings.clear();
    QTRY_COMPARE(outcome.calls, 1);
    QCOMPARE(outcome.failedKeys, QStringList{u"hello"_qs});
    QTRY_VERIFY(watched.expired());
}

void tst_ApiStrings::brokenExchanges_data()
{
    QTest::addColumn<int>("fault");
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("body");
    using Fault = DVFaultServer::Fault;
    QTest::newRow("closed without an answer") << int(Fault::Close) << 200 << QByteArray();
    QTest::newRow("reset") << int(Fault::Reset) << 200 << QByteArray();
    QTest::newRow("cut in the answer")
        << int(Fault::CutBody) << 200 << QByteArray(R"({"response":{"data":{}}})");
    QTest::newRow("without an end") << int(Fault::Endless) << 200 << QByteArray(1 << 20, ' ');
    QTest::newRow("a page for people")
        << int(Fault::None) << 200 << QByteArray("<html>Sign in to the airport</html>");
    QTest::newRow("half an answer") << int(Fault::None) << 200 << QByteArray(R"({"response":{"code":"SUCC)");
    QTest::newRow("a token that is no good") << int(Fault::None) << 401 << QByteArray();
    QTest::newRow("a gateway that waited too long") << int(Fault::None) << 504 << QByteArray("<html></html>");
}

// Nothing counts as taken, nothing is sent a second time, and the next save works.
void tst_ApiStrings::brokenExchanges()
{
    QFETCH(int, fault);
    QFETCH(int, status);
    QFETCH(QByteArray, body);
    Answer answer = Answer::of(status, body);
    answer.fault = DVFaultServer::Fault(fault);
    m_platform->answer(answer);
    SaveOutcome saved;
    DVApi::saveStrings(byKey(threeStrings()), header(), saved.take());
    QTRY_COMPARE_WITH_TIMEOUT(saved.calls, 1, 30000);
    QVERIFY(saved.error);
    QCOMPARE(saved.failures.size(), 3);
    StatusOutcome submitted;
    DVApi::submitStrings(threeStrings(), submitted.take());
    QTRY_COMPARE_WITH_TIMEOUT(submitted.calls, 1, 30000);
    QVERIFY(submitted.error);
    QCOMPARE(submitted.failedKeys.size(), 3);
    QCOMPARE(m_platform->requests().size(), 2);

    m_platform->answer(ApiPlatform::success("{}"));
    SaveOutcome again;
    DVApi::saveStrings(byKey(threeStrings()), header(), again.take());
    QTRY_COMPARE(again.calls, 1);
    QVERIFY(!again.error);
    QVERIFY(again.failures.isEmpty());
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
    const auto transfer = std::make_shared<DVTransfer>();
    SaveOutcome outcome;
    DVApi::saveStrings(strings, header(), outcome.take(), transfer);
    QTRY_COMPARE(outcome.calls, 1);
    QVERIFY(!outcome.error);
    QVERIFY(outcome.failures.isEmpty());
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
    QCOMPARE(ApiPlatform::contentOf(kept), file.content);
    QCOMPARE(QFile::permissions(kept) & (QFile::ReadGroup | QFile::ReadOther), QFile::Permissions());
}

void tst_ApiStrings::stringsThatWereNotTaken_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("answer");
    QTest::addColumn<QString>("error"); // its description
    QTest::addColumn<Messages>("failures");
    QTest::addColumn<QStringList>("log");
    const auto row = [](const char *name, const QByteArray &data, const Messages &failures = {},
                        const QStringList &log = {}) {
        QTest::newRow(name) << 202 << QByteArray(R"({"response":{"code":"ACCEPTED","data":)" + data + "}}")
                            << QString() << failures << log;
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

    const auto failure = [](const char *name, int status, const QByteArray &body, const QString &error) {
        QTest::newRow(name) << status << body << error
                            << Messages{{u"hello"_qs, {error}}, {u"bye"_qs, {error}}, {u"again"_qs, {error}}}
                            << QStringList{u"Save failed: "_qs + error};
    };
    failure("no body", 200, "", u"Server error"_qs);
    failure("no envelope", 200, R"({"message":"saved"})", u"Server error"_qs);
    failure("a list of not found", 404, "[]", u"Server error"_qs);
    failure("data that is a list", 200, R"({"response":{"data":[]}})", u"Server error"_qs);
    failure("errors that are a text", 200, R"({"response":{"data":{"translationImportErrors":"h-1"}}})",
            u"Server error"_qs);
    failure("a refused request", 401, R"({"response":{"code":"AUTHENTICATION_ERROR","errors":[{}]}})",
            u"1 errors"_qs);
}

void tst_ApiStrings::stringsThatWereNotTaken()
{
    QFETCH(int, status);
    QFETCH(QByteArray, answer);
    m_platform->answer(Answer::of(status, answer));
    m_platform->takeLog();
    SaveOutcome outcome;
    DVApi::saveStrings(byKey(threeStrings()), header(), outcome.take());
    QTRY_COMPARE(outcome.calls, 1);
    QTEST(outcome.error ? outcome.error->description : QString(), "error");
    QTEST(outcome.failures, "failures");
    QTEST(m_platform->takeLog().filter(u"Save failed"_qs), "log");
}

void tst_ApiStrings::stringsThatCannotBeWritten()
{
    m_platform->answer(ApiPlatform::success("{}"));
    const DVStringGroups strings{{u"good"_qs, ApiPlatform::string(u"good"_qs, u"h-1"_qs)},
                                 {u"unknown"_qs, ApiPlatform::string(u"unknown"_qs, {})},
                                 {u"untranslated"_qs, ApiPlatform::string(u"untranslated"_qs, u"h-2"_qs, {})},
                                 {u"missing"_qs, nullptr}};
    SaveOutcome outcome;
    DVApi::saveStrings(strings, header(), outcome.take());
    QTRY_COMPARE(outcome.calls, 1);
    QVERIFY(!outcome.error);
    QCOMPARE(outcome.failures, (Messages{{u"unknown"_qs, {u"No hashcode for this string"_qs}},
                                         {u"untranslated"_qs, {u"No text for this string"_qs}},
                                         {u"missing"_qs, {u"No text for this string"_qs}}}));
    const auto file = ApiPlatform::uploadedFile(m_platform->requests().last());
    QCOMPARE(textsIn(file.content), (QMap<QString, QString>{{u"good"_qs, u"t"_qs}}));
}

void tst_ApiStrings::editsThatCannotBeWritten()
{
    // A file where the folder should be.
    QFile file(DVFolders::dorvaneFiles());
    QVERIFY(QDir(file.fileName()).removeRecursively());
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.close();
    m_platform->takeLog();
    SaveOutcome outcome;
    DVApi::saveStrings(byKey(threeStrings()), header(), outcome.take());
    QCOMPARE(outcome.calls, 0);
    QTRY_COMPARE(outcome.calls, 1);
    QVERIFY(outcome.error);
    QCOMPARE(outcome.error->domain, u"dorvane.file"_qs);
    const QString why = outcome.error->description;
    QCOMPARE(outcome.failures, (Messages{{u"hello"_qs, {why}}, {u"bye"_qs, {why}}, {u"again"_qs, {why}}}));
    QVERIFY(m_platform->takeLog().contains(QString(u"Save failed: " % why)));
    QCOMPARE(m_platform->requestLines(), QStringList());
}

void tst_ApiStrings::twoSavesAtATimeKeepTheirTexts()
{
    m_platform->answer(ApiPlatform::success("{}"));
    // Expired, so that both wait for a token before they are sent.
    DVClock::advance(qint64(400) * 1000);
    SaveOutcome first;
    SaveOutcome second;
    DVApi::saveStrings({{u"a"_qs, ApiPlatform::string(u"a"_qs, u"h-1"_qs, u"first"_qs)}}, header(),
                       first.take());
    DVApi::saveStrings({{u"a"_qs, ApiPlatform::string(u"a"_qs, u"h-1"_qs, u"second"_qs)}}, header(),
                       second.take());
    QTRY_COMPARE(first.calls + second.calls, 2);
    QStringList texts;
    for (const auto &request : m_platform->requests())
        texts += textsIn(ApiPlatform::uploadedFile(request).content).value(u"a"_qs);
    texts.sort();
    QCOMPARE(texts, (QStringList{u"first"_qs, u"second"_qs}));
}

void tst_ApiStrings::cancelledImport()
{
    m_platform->answer(Answer::failing(DVFaultServer::Fault::Silence));
    const auto transfer = std::make_shared<DVTransfer>();
    SaveOutcome outcome;
    DVApi::saveStrings(byKey(threeStrings()), header(), outcome.take(), transfer);
    QTRY_COMPARE(m_platform->requests().size(), 1);
    transfer->cancel();
    QTRY_COMPARE(outcome.calls, 1);
    QVERIFY(outcome.error);
    QCOMPARE(outcome.error->code, int(QNetworkReply::OperationCanceledError));
    QCOMPARE(outcome.failures.size(), 3);
}

void tst_ApiStrings::issuesAreReported_data()
{
    QTest::addColumn<QString>("description");
    QTest::addColumn<QByteArray>("body");
    QTest::newRow("with words") << u"Say \"tu\" & not <vous>"_qs
                                << QByteArray(R"({"string":{"hashcode":"h-1","localeId":"fr-CA"},
                                   "issueText":"Say \"tu\" & not <vous>","issueSubTypeCode":"TONE",
                                   "issueTypeCode":"TRANSLATION"})");
    QTest::newRow("without") << QString() << QByteArray(R"({"string":{"hashcode":"h-1","localeId":"fr-CA"},
                                "issueText":"","issueSubTypeCode":"TONE","issueTypeCode":"TRANSLATION"})");
}

void tst_ApiStrings::issuesAreReported()
{
    QFETCH(QString, description);
    QFETCH(QByteArray, body);
    m_platform->answer(ApiPlatform::success(R"({"issueUid":"i-1"})"));
    const auto string = ApiPlatform::string(u"hello"_qs, u"h-1[one]"_qs);
    string->rejectReason = u"TONE"_qs;
    string->rejectDescription = description;
    int calls = 0;
    DVErrorOr result;
    DVApi::createIssueForString(string, [&](const DVErrorOr &error) {
        ++calls;
        result = error;
    });
    QTRY_COMPARE(calls, 1);
    QVERIFY(!result);
    QVERIFY(!string->rejectDescription.isNull());
    QCOMPARE(m_platform->requestLines(),
             QStringList{u"POST /issues-api/v2/projects/p1/issues Bearer user-token"_qs});
    QCOMPARE(m_platform->lastJsonBody(), QJsonDocument::fromJson(body).object());
}

void tst_ApiStrings::issueWithoutAString_data()
{
    QTest::addColumn<DVStringGroupPtr>("string");
    QTest::newRow("unknown to the platform") << ApiPlatform::string(u"hello"_qs, {});
    QTest::newRow("without forms") << std::make_shared<DVStringGroup>();
    QTest::newRow("none") << DVStringGroupPtr();
}

void tst_ApiStrings::issueWithoutAString()
{
    QFETCH(DVStringGroupPtr, string);
    int calls = 0;
    DVErrorOr result;
    DVApi::createIssueForString(string, [&](const DVErrorOr &error) {
        ++calls;
        result = error;
    });
    QCOMPARE(calls, 0);
    QTRY_COMPARE(calls, 1);
    QCOMPARE(result, (DVError{u"dorvane.SDK"_qs, 500, u"No hashcode for this string"_qs}));
    QCOMPARE(m_platform->requestLines(), QStringList());
}

void tst_ApiStrings::failedIssue()
{
    m_platform->answer(Answer::of(403, R"({"response":{"code":"AUTHORIZATION_ERROR","errors":[]}})"));
    int calls = 0;
    DVErrorOr result;
    DVApi::createIssueForString(threeStrings().first(), [&](const DVErrorOr &error) {
        ++calls;
        result = error;
    });
    QTRY_COMPARE(calls, 1);
    QCOMPARE(result, (DVError{u"dorvane.API"_qs, 403, u"AUTHORIZATION_ERROR"_qs}));
}

QTEST_GUILESS_MAIN(tst_ApiStrings)
#include "tst_apistrings.moc"
