#include "DVState.h"
#include "DVWorkflowStep.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QTest>

#include <random>

namespace {

QJsonObject object(const char *json)
{
    return QJsonDocument::fromJson(json).object();
}

DVLocale locale(const char *identifier)
{
    return DVLocale(QString::fromLatin1(identifier));
}

DVWorkflowStep fullStep()
{
    DVWorkflowStep step;
    step.workflowName = u"Release \U0001F680"_qs;
    step.workflowUid = u"w-1"_qs;
    step.name = u"Review & \"sign-off\"\n"_qs;
    step.uid = u"s-7"_qs;
    step.stepClass = u"REVIEW"_qs;
    step.canTranslate = true;
    step.canReject = true;
    step.localePairs = {{locale("en_US"), locale("fr_CA")}, {locale("en_US"), locale("sr_Latn_ME")}};
    return step;
}

} // namespace

class tst_WorkflowStep : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        QTest::failOnWarning(QRegularExpression(QStringLiteral(".")));
        DVState::shared().log = true;
        DVState::shared().debug = false;
    }

    void readsTheAnswer();
    void answersOfTheWrongShape_data();
    void answersOfTheWrongShape();
    void localePairs_data();
    void localePairs();
    void comesBackFromItsArchive();
    void damagedArchives_data();
    void damagedArchives();
    void anyDamageGivesNoneOrAStep();
};

void tst_WorkflowStep::readsTheAnswer()
{
    const auto steps = DVWorkflowStep::workflowsFromDictionary(object(R"({"items": [
        {"workflowName": "First", "workflowUid": "w1", "workflowSteps": [
            {"workflowStepName": "Translate", "workflowStepUid": "s1", "workflowStepClass": "TRANSLATION",
             "permissions": {"canTranslateStrings": true, "canSubmitStrings": true, "canRejectStrings": false},
             "localePairs": [{"sourceLocaleId": "en-US", "targetLocaleId": "fr-CA"},
                             {"sourceLocaleId": "en-US", "targetLocaleId": "me-ME"}]},
            {"workflowStepName": "Review", "workflowStepUid": "s2", "workflowStepClass": "REVIEW",
             "permissions": {"canRejectStrings": true}}]},
        {"workflowName": "Empty", "workflowUid": "w2", "workflowSteps": []},
        {"workflowName": "Second", "workflowUid": "w3", "workflowSteps": [{"workflowStepUid": "s3"}]}]})"));
    DVWorkflowStep translate;
    translate.workflowName = u"First"_qs;
    translate.workflowUid = u"w1"_qs;
    translate.name = u"Translate"_qs;
    translate.uid = u"s1"_qs;
    translate.stepClass = u"TRANSLATION"_qs;
    translate.canTranslate = translate.canSubmit = true;
    translate.localePairs = {{locale("en_US"), locale("fr_CA")}, {locale("en_US"), locale("sr_Latn_ME")}};
    DVWorkflowStep review;
    review.workflowName = u"First"_qs;
    review.workflowUid = u"w1"_qs;
    review.name = u"Review"_qs;
    review.uid = u"s2"_qs;
    review.stepClass = u"REVIEW"_qs;
    review.canReject = true;
    DVWorkflowStep last; // without permissions it may nothing
    last.workflowName = u"Second"_qs;
    last.workflowUid = u"w3"_qs;
    last.uid = u"s3"_qs;
    QCOMPARE(steps, (QList<DVWorkflowStep>{translate, review, last}));
}

void tst_WorkflowStep::answersOfTheWrongShape_data()
{
    QTest::addColumn<QByteArray>("payload");
    QTest::addColumn<int>("steps");
    QTest::newRow("nothing") << QByteArray("{}") << 0;
    QTest::newRow("items that are no list") << QByteArray(R"({"items": {"workflowSteps": [{}]}})") << 0;
    QTest::newRow("workflows that are none") << QByteArray(R"({"items": [1, null, "a", [], {}]})") << 0;
    QTest::newRow("steps that are no list") << QByteArray(R"({"items": [{"workflowSteps": "a"}]})") << 0;
    QTest::newRow("steps that are none")
        << QByteArray(R"({"items": [{"workflowSteps": [1, null, [], {}]}]})") << 1;
    QTest::newRow("members of other types")
        << QByteArray(R"({"items": [{"workflowName": 1, "workflowUid": {}, "workflowSteps": [
             {"workflowStepName": [], "workflowStepUid": 7, "permissions": {"canTranslateStrings": "true",
              "canSubmitStrings": 1, "canRejectStrings": null}, "localePairs": {"sourceLocaleId": "en-US"}},
             {"permissions": [true], "localePairs": [1, "en-US", null, ["en-US", "fr-CA"]]}]}]})")
        << 2;
}

void tst_WorkflowStep::answersOfTheWrongShape()
{
    QFETCH(QByteArray, payload);
    QFETCH(int, steps);
    QCOMPARE(DVWorkflowStep::workflowsFromDictionary(object(payload.constData())),
             QList<DVWorkflowStep>(steps, DVWorkflowStep()));
}

void tst_WorkflowStep::localePairs_data()
{
    QTest::addColumn<QByteArray>("pair");
    QTest::addColumn<bool>("counts");
    QTest::addColumn<QByteArray>("unknown"); // what the log says is not supported
    QTest::newRow("both known") << QByteArray(R"({"sourceLocaleId": "en-US", "targetLocaleId": "fr-CA"})")
                                << true << QByteArray();
    QTest::newRow("an unknown target")
        << QByteArray(R"({"sourceLocaleId": "en-US", "targetLocaleId": "tlh-QO"})") << false
        << QByteArray("tlh-QO");
    QTest::newRow("an unknown source")
        << QByteArray(R"({"sourceLocaleId": "", "targetLocaleId": "fr-CA"})") << false << QByteArray("");
    QTest::newRow("the device's form is not the platform's")
        << QByteArray(R"({"sourceLocaleId": "en_US", "targetLocaleId": "fr-CA"})") << false
        << QByteArray("en_US");
    QTest::newRow("no target") << QByteArray(R"({"sourceLocaleId": "en-US"})") << false << QByteArray();
    QTest::newRow("a target of another type")
        << QByteArray(R"({"sourceLocaleId": "en-US", "targetLocaleId": 1})") << false << QByteArray();
}

void tst_WorkflowStep::localePairs()
{
    QFETCH(QByteArray, pair);
    QFETCH(bool, counts);
    QFETCH(QByteArray, unknown);
    DVState::shared().debug = true;
    if (!unknown.isNull())
        QTest::ignoreMessage(
            QtInfoMsg, QByteArray("[DV] Locale of a workflow step is not supported: " + unknown).constData());
    const QByteArray step = "{\"localePairs\": [" + pair + "]}";
    const auto pairs = DVWorkflowStep::stepWithDictionary(object(step.constData()), {}, {}).localePairs;
    QCOMPARE(pairs.size(), counts ? 1 : 0);
}

void tst_WorkflowStep::comesBackFromItsArchive()
{
    for (const DVWorkflowStep &step : {fullStep(), DVWorkflowStep()})
        QCOMPARE(DVWorkflowStep::unarchived(step.archived()), std::optional(step));

    // A map that a later release can read, too.
    const QJsonObject archive = QJsonDocument::fromJson(fullStep().archived()).object();
    QCOMPARE(archive.value(u"version"), 1);
    QCOMPARE(archive.value(u"canTranslate"), true);
    QCOMPARE(archive.value(u"localePairs").toArray().first(),
             (QJsonObject{{u"source"_qs, u"en_US"_qs}, {u"target"_qs, u"fr_CA"_qs}}));
}

void tst_WorkflowStep::damagedArchives_data()
{
    QTest::addColumn<QByteArray>("archive");
    QTest::newRow("empty") << QByteArray();
    QTest::newRow("no JSON") << QByteArray("bplist00\xD1\x01");
    QTest::newRow("a list") << QByteArray("[]");
    QTest::newRow("an empty map") << QByteArray("{}");
    const QJsonObject sound = QJsonDocument::fromJson(fullStep().archived()).object();
    const auto row = [&sound](const QString &name, const QString &key, const QJsonValue &value) {
        QJsonObject archive = sound;
        archive.insert(key, value);
        QTest::newRow(qPrintable(name)) << QJsonDocument(archive).toJson();
    };
    const QList<QJsonValue> others{1, u"text"_qs, true, QJsonValue::Null, QJsonArray{1}, QJsonObject{}};
    for (const QString &key : sound.keys()) {
        for (const QJsonValue &other : others) {
            if (other.type() != sound.value(key).type())
                row(QStringLiteral("%1 of JSON type %2").arg(key).arg(other.type()), key, other);
        }
        QJsonObject without = sound;
        without.remove(key);
        QTest::newRow(qPrintable(QString(u"without "_qs + key))) << QJsonDocument(without).toJson();
    }
    row(u"version 2"_qs, u"version"_qs, 2);
    row(u"version 1.5"_qs, u"version"_qs, 1.5);
    const auto pairs = [](const QJsonValue &source) {
        return QJsonArray{QJsonObject{{u"source"_qs, source}, {u"target"_qs, u"fr_CA"_qs}}};
    };
    row(u"a locale that is a path"_qs, u"localePairs"_qs, pairs(u"../../etc"_qs));
    row(u"an empty locale"_qs, u"localePairs"_qs, pairs(u""_qs));
    row(u"a locale of another type"_qs, u"localePairs"_qs, pairs(7));
    row(u"pairs that are lists"_qs, u"localePairs"_qs, QJsonArray{QJsonArray{u"en_US"_qs, u"fr_CA"_qs}});
    const QByteArray whole = fullStep().archived();
    for (const qsizetype length : {1, 20, 100})
        QTest::addRow("cut off by %d bytes", int(length)) << whole.chopped(length);
    QTest::newRow("deeply nested") << QByteArray("{\"version\":").append(QByteArray(5000, '['));
}

void tst_WorkflowStep::damagedArchives()
{
    QFETCH(QByteArray, archive);
    QTest::ignoreMessage(QtInfoMsg, "[DV] The saved workflow step cannot be read");
    QCOMPARE(DVWorkflowStep::unarchived(archive), std::optional<DVWorkflowStep>());
}

void tst_WorkflowStep::anyDamageGivesNoneOrAStep()
{
    DVState::shared().log = false;
    const QByteArray sound = fullStep().archived();
    std::minstd_rand random(1);
    int none = 0;
    for (qsizetype i = 0; i < sound.size(); ++i) {
        QByteArray damaged = sound;
        damaged[i] = char(random());
        const auto step = DVWorkflowStep::unarchived(damaged);
        // What is taken for a step is one: it comes back as the same.
        if (step)
            QCOMPARE(DVWorkflowStep::unarchived(step->archived()), step);
        none += !step;
    }
    QVERIFY(none > sound.size() / 4);
}

QTEST_GUILESS_MAIN(tst_WorkflowStep)
#include "tst_workflowstep.moc"
