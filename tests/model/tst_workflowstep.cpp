#include "DVRows.h"
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
    return {u"Release \U0001F680"_qs,
            u"w-1"_qs,
            u"Review & \"sign-off\"\n"_qs,
            u"s-7"_qs,
            u"REVIEW"_qs,
            true,
            false,
            true,
            {{locale("en_US"), locale("fr_CA")}, {locale("en_US"), locale("sr_Latn_ME")}}};
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

    void readsTheAnswer()
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
        const DVWorkflowStep translate{
            u"First"_qs,
            u"w1"_qs,
            u"Translate"_qs,
            u"s1"_qs,
            u"TRANSLATION"_qs,
            true,
            true,
            false,
            {{locale("en_US"), locale("fr_CA")}, {locale("en_US"), locale("sr_Latn_ME")}}};
        const DVWorkflowStep review{u"First"_qs, u"w1"_qs, u"Review"_qs, u"s2"_qs, u"REVIEW"_qs,
                                    false,       false,    true,         {}};
        const DVWorkflowStep last{u"Second"_qs, u"w3"_qs, {}, u"s3"_qs, {}, false, false, false, {}};
        QCOMPARE(steps, (QList<DVWorkflowStep>{translate, review, last})); // the last may nothing
    }

    void answersOfTheWrongShape_data()
    {
        const DVRows<QByteArray, int> row("payload", "steps");
        row("nothing", "{}", 0);
        row("items that are no list", R"({"items": {"workflowSteps": [{}]}})", 0);
        row("workflows that are none", R"({"items": [1, null, "a", [], {}]})", 0);
        row("steps that are no list", R"({"items": [{"workflowSteps": "a"}]})", 0);
        row("steps that are none", R"({"items": [{"workflowSteps": [1, null, [], {}]}]})", 1);
        row("members of other types", R"({"items": [{"workflowName": 1, "workflowUid": {}, "workflowSteps": [
             {"workflowStepName": [], "workflowStepUid": 7, "permissions": {"canTranslateStrings": "true",
              "canSubmitStrings": 1, "canRejectStrings": null}, "localePairs": {"sourceLocaleId": "en-US"}},
             {"permissions": [true], "localePairs": [1, "en-US", null, ["en-US", "fr-CA"]]}]}]})",
            2);
    }
    void answersOfTheWrongShape()
    {
        QFETCH(QByteArray, payload);
        QFETCH(int, steps);
        QCOMPARE(DVWorkflowStep::workflowsFromDictionary(object(payload.constData())),
                 QList<DVWorkflowStep>(steps, DVWorkflowStep()));
    }

    void longTextsCostTheirStepOnly_data()
    {
        // a text of this many characters
        const DVRows<QByteArray, int, int> row("payload", "length", "steps");
        const QByteArray step = R"({"items": [{"workflowSteps": [{}, {"NAME": "LONG"}]}]})";
        for (const char *name : {"workflowStepName", "workflowStepUid", "workflowStepClass"})
            row(name, QByteArray(step).replace("NAME", name), 1001, 1);
        row("workflowName", R"({"items": [{"workflowName": "LONG", "workflowSteps": [{}, {}]}]})", 1001, 0);
        row("workflowUid", R"({"items": [{"workflowUid": "LONG", "workflowSteps": [{}]}]})", 1001, 0);
        row("one that fits", R"({"items": [{"workflowUid": "LONG", "workflowSteps": [{}]}]})", 1000, 1);
    }
    void longTextsCostTheirStepOnly()
    {
        QFETCH(QByteArray, payload);
        QFETCH(int, length);
        const auto read = object(payload.replace("LONG", QByteArray(length, 'x')).constData());
        QTEST(int(DVWorkflowStep::workflowsFromDictionary(read).size()), "steps");
    }

    void manyLocalePairsCostTheirStep_data()
    {
        const DVRows<int, int> row("pairs", "steps");
        row("as many as languages may make", 10000, 1);
        row("more", 10001, 0);
    }
    void manyLocalePairsCostTheirStep()
    {
        QFETCH(int, pairs);
        const QByteArrayList list(pairs, R"({"sourceLocaleId": "en-US", "targetLocaleId": "fr-CA"})");
        const QByteArray payload = R"({"items": [{"workflowSteps": [{"localePairs": [LIST]}]}]})";
        const auto read = object(QByteArray(payload).replace("LIST", list.join(',')).constData());
        QTEST(int(DVWorkflowStep::workflowsFromDictionary(read).size()), "steps");
    }

    void localePairs_data()
    {
        // unknown: what the log says is not supported
        const DVRows<QByteArray, bool, QByteArray> row("pair", "counts", "unknown");
        row("both known", R"({"sourceLocaleId": "en-US", "targetLocaleId": "fr-CA"})", true, {});
        row("an unknown target", R"({"sourceLocaleId": "en-US", "targetLocaleId": "tlh-QO"})", false,
            "tlh-QO");
        row("an unknown source", R"({"sourceLocaleId": "", "targetLocaleId": "fr-CA"})", false, "");
        row("the device's form is not the platform's",
            R"({"sourceLocaleId": "en_US", "targetLocaleId": "fr-CA"})", false, "en_US");
        row("no target", R"({"sourceLocaleId": "en-US"})", false, {});
        row("a target of another type", R"({"sourceLocaleId": "en-US", "targetLocaleId": 1})", false, {});
    }
    void localePairs()
    {
        QFETCH(QByteArray, pair);
        QFETCH(bool, counts);
        QFETCH(QByteArray, unknown);
        DVState::shared().debug = true;
        if (!unknown.isNull())
            QTest::ignoreMessage(
                QtInfoMsg,
                QByteArray("[DV] Locale of a workflow step is not supported: " + unknown).constData());
        const QByteArray step = "{\"localePairs\": [" + pair + "]}";
        const auto pairs = DVWorkflowStep::stepWithDictionary(object(step.constData()), {}, {}).localePairs;
        QCOMPARE(pairs.size(), counts ? 1 : 0);
    }

    void comesBackFromItsArchive()
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

    void damagedArchives_data()
    {
        const DVRows<QByteArray> row("archive");
        row("empty", {});
        row("no JSON", "bplist00\xD1\x01");
        row("a list", "[]");
        row("an empty map", "{}");
        const QJsonObject sound = QJsonDocument::fromJson(fullStep().archived()).object();
        const auto changed = [&](const QString &name, const QString &key, const QJsonValue &value) {
            QJsonObject archive = sound;
            archive.insert(key, value);
            row(qPrintable(name), QJsonDocument(archive).toJson());
        };
        const QList<QJsonValue> others{1, u"text"_qs, true, QJsonValue::Null, QJsonArray{1}, QJsonObject{}};
        for (const QString &key : sound.keys()) {
            for (const QJsonValue &other : others) {
                if (other.type() != sound.value(key).type())
                    changed(QStringLiteral("%1 of JSON type %2").arg(key).arg(other.type()), key, other);
            }
            QJsonObject without = sound;
            without.remove(key);
            row(qPrintable(QString(u"without "_qs + key)), QJsonDocument(without).toJson());
        }
        for (const char *key : {"workflowName", "workflowUid", "name", "uid", "stepClass"})
            changed(QString::fromLatin1(key) + u" of 1001 characters"_qs, QString::fromLatin1(key),
                    QString(1001, u'x'));
        changed(u"version 2"_qs, u"version"_qs, 2);
        changed(u"version 1.5"_qs, u"version"_qs, 1.5);
        const auto pairs = [](const QJsonValue &source) {
            return QJsonArray{QJsonObject{{u"source"_qs, source}, {u"target"_qs, u"fr_CA"_qs}}};
        };
        changed(u"a locale that is a path"_qs, u"localePairs"_qs, pairs(u"../../etc"_qs));
        changed(u"an empty locale"_qs, u"localePairs"_qs, pairs(u""_qs));
        changed(u"a locale of another type"_qs, u"localePairs"_qs, pairs(7));
        changed(u"pairs that are lists"_qs, u"localePairs"_qs,
                QJsonArray{QJsonArray{u"en_US"_qs, u"fr_CA"_qs}});
        const QByteArray whole = fullStep().archived();
        for (const qsizetype length : {1, 20, 100})
            QTest::addRow("cut off by %d bytes", int(length)) << whole.chopped(length);
        row("deeply nested", QByteArray("{\"version\":").append(QByteArray(5000, '[')));
    }
    void damagedArchives()
    {
        QFETCH(QByteArray, archive);
        QTest::ignoreMessage(QtInfoMsg, "[DV] The saved workflow step cannot be read");
        QCOMPARE(DVWorkflowStep::unarchived(archive), std::optional<DVWorkflowStep>());
    }

    void anyDamageGivesNoneOrAStep()
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
};

QTEST_GUILESS_MAIN(tst_WorkflowStep)
#include "tst_workflowstep.moc"
