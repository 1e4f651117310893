// An XLIFF document as records and as tables must say the same.
#include "DVStringTable.h"
#include "DVXliffParser.h"

#include <QRandomGenerator>
#include <QTest>

namespace {

using Strings = DVXliffParser::Strings;

QByteArray randomDocument(QRandomGenerator &random)
{
    QByteArray document = "<xliff><file><body>";
    for (int i = 0; i < 200; ++i) {
        static const char *const suffixes[] = {"", "", "[one]", "[other]", "[dual]", "[none]", "]"};
        static const char *const texts[] = {"", "Text", "50% off", "<ph>%@</ph> of <ph>%d</ph>",
                                            "\xC3\x89t\xC3\xA9 &amp;"};
        const auto oneOf = [&random](const auto &choice) {
            return QByteArray(choice[random.bounded(quint32(std::size(choice)))]);
        };
        document.append("<trans-unit id=\"").append(QByteArray::number(i)).append(oneOf(suffixes));
        document.append("\" resname=\"key").append(QByteArray::number(random.bounded(80))).append("\">");
        document.append("<source>").append(oneOf(texts)).append("</source>");
        if (random.bounded(5) > 0)
            document.append("<target>").append(oneOf(texts)).append("</target>");
        if (random.bounded(3) == 0)
            document.append("<note>Note</note>\n");
        document.append("</trans-unit>");
    }
    return document.append("</body></file></xliff>");
}

QStringList described(const Strings &strings)
{
    QStringList lines;
    for (const auto &group : strings) {
        for (const auto &form : group->pluralForms) {
            lines.append(
                QStringList{group->key, QString::number(group->status), QString::number(group->hasPlurals),
                            form->description(), form->note, form->localizedFormat, form->localizedHash,
                            form->argumentFormatSpecifiers.join(u' '), QString::number(form->dynamic)}
                    .join(u'|'));
        }
    }
    lines.sort();
    return lines;
}

QStringList described(const DVStringTable &table)
{
    Strings strings;
    for (DVStringTable::Entry entry = 0; entry < DVStringTable::Entry(table.size()); ++entry)
        strings.insert(table.key(entry), table.group(entry));
    return described(strings);
}

DVStringGroupPtr onlyGroup(const QByteArray &units, bool needCues, quint32 status = DVStringStatusPublished)
{
    DVErrorOr error;
    const auto strings =
        DVXliffParser::parseXliffData(QByteArray("<a>" + units + "</a>"), status, &error, needCues);
    return strings.size() == 1 && !error ? *strings.begin() : nullptr;
}

} // namespace

class tst_XliffTables : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { QTest::failOnWarning(QRegularExpression(QStringLiteral("."))); }

    void formsOfOneKey()
    {
        const auto group = onlyGroup("<trans-unit id='7[one]' resname='k'><target>a</target></trans-unit>"
                                     "<trans-unit id='7[other]' resname='k'><target>b</target></trans-unit>",
                                     true);
        QVERIFY(group);
        QVERIFY(group->hasPlurals);
        QCOMPARE(group->sortedPluralFormNames(), (QStringList{u"one"_qs, u"other"_qs}));
        QCOMPARE(group->status, quint32(DVStringStatusPublished));
        QCOMPARE(group->uid(), u"7"_qs);
        QCOMPARE(onlyGroup("<trans-unit id='7' resname='k'><target>a</target></trans-unit>", true)->status,
                 quint32(DVStringStatusNone));
        const auto twice = onlyGroup("<trans-unit id='1' resname='k'><target>a</target></trans-unit>"
                                     "<trans-unit id='2' resname='k'><target>b</target></trans-unit>",
                                     false);
        QCOMPARE(twice->pluralForms.size(), 1);
        QCOMPARE(twice->stringForPluralForm({}, true)->localizedFormat, u"b"_qs);
    }

    void unitsWithoutText()
    {
        const QByteArray untranslated =
            "<trans-unit id='1' resname='k'><source>a</source><target/></trans-unit>";
        QVERIFY(!onlyGroup(untranslated, true));
        QCOMPARE(onlyGroup(untranslated, false)->stringForPluralForm({}, true)->localizedFormat, u""_qs);
        // Without a target element nothing is marked, and so it is not the marked empty text.
        const auto missing =
            onlyGroup("<trans-unit id='1' resname='k'/>", true)->stringForPluralForm({}, true);
        QCOMPARE(missing->localizedFormat, u""_qs);
        QVERIFY(!missing->localizedFormat.isNull());
    }

    void sources()
    {
        Strings sources;
        DVErrorOr error;
        DVXliffParser::parseXliffData("<a><trans-unit id='1[one]' resname='k'><source>a</source></trans-unit>"
                                      "<trans-unit id='1[other]' resname='k'><source>b</source></trans-unit>"
                                      "<trans-unit id='2' resname='l'><source>c</source></trans-unit>"
                                      "<trans-unit id='3' resname='m'><source/></trans-unit></a>",
                                      &sources, DVStringStatusPublished, &error, true);
        QCOMPARE(error, std::nullopt);
        QCOMPARE(sources.size(), 2);
        QCOMPARE(sources[u"k"_qs]->status, quint32(DVStringStatusUntranslated));
        QCOMPARE(sources[u"l"_qs]->status, quint32(DVStringStatusNone));
    }

    void keepsWhatWasReadBeforeAnError()
    {
        const QByteArray document = "<a><trans-unit id='1' resname='k'><target>a</target></trans-unit></b>";
        DVErrorOr error;
        QCOMPARE(DVXliffParser::parseXliffData(document, 1, &error, false).keys(), QStringList{u"k"_qs});
        QVERIFY(error);
        DVStringTableBuilder builder(false);
        QCOMPARE(dv_readXliffIntoTables(document, 1, builder, nullptr, false), error);
        QCOMPARE(builder.build()->size(), 1);
        const std::atomic<bool> cancelled = true;
        QCOMPARE(dv_readXliffIntoTables("<a/>", 1, builder, nullptr, false, &cancelled)->code, 4);
    }

    // Two documents, one over the other as files of a locale are.
    void randomDocuments()
    {
        QRandomGenerator random(3);
        for (int round = 0; round < 40; ++round) {
            const bool needCues = round % 2;
            DVStringTableBuilder tables(needCues);
            DVStringTableBuilder sourceTables(needCues);
            Strings strings;
            Strings sourceStrings;
            for (const quint32 status : {1u, 0u}) {
                const QByteArray document = randomDocument(random);
                DVErrorOr error;
                Strings sources;
                strings.insert(DVXliffParser::parseXliffData(document, &sources, status, &error, needCues));
                sourceStrings.insert(sources);
                QCOMPARE(error, std::nullopt);
                QCOMPARE(dv_readXliffIntoTables(document, status, tables, &sourceTables, needCues),
                         std::nullopt);
            }
            QCOMPARE(described(*tables.build()), described(strings));
            QCOMPARE(described(*sourceTables.build()), described(sourceStrings));
        }
    }
};

QTEST_APPLESS_MAIN(tst_XliffTables)
#include "tst_xlifftables.moc"
