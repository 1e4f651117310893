#include "DVRows.h"
#include "WrittenStrings.h"
#include "WrittenXliff.h"

#include <DVCueMarkers.h>
#include <DVXliffReader.h>

#include <QElapsedTimer>
#include <QTest>

#include <algorithm>

namespace {

// What stands around the units of WrittenStrings::header(), not escaped.
const QString head =
    QStringList{u"<?xml version=\"1.0\" encoding=\"UTF-8\"?>"_qs,
                u"<xliff version=\"1.2\" xmlns=\"urn:oasis:names:tc:xliff:document:1.2\""_qs,
                u"xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\""_qs,
                u"xsi:schemaLocation=\"urn:oasis:names:tc:xliff:document:1.2 xliff-core-1.2-strict.xsd\">"_qs,
                u"<file original=\"dorvane_offline_cat_data.xliff\" source-language=\"en-US\" "
                "target-language=\"fr-CA\" datatype=\"plaintext\">"_qs,
                u"<header>"_qs,
                u"<phase-group>"_qs,
                u"<phase phase-name=\"step-7\" process-name=\"Review & \"sign-off\"\"/>"_qs,
                u"</phase-group>"_qs,
                u"</header>"_qs,
                u"<body>"_qs,
                u"\n"_qs}
        .join(u'\n');
const QString tail = u"</body>\n</file>\n</xliff>"_qs;

QString written(const WrittenStrings &strings, DVXliffWriter::Failures *failures)
{
    return DVXliffWriter::xliffFromStrings(strings.groups, strings.header(), failures);
}

// A document's text between head and tail; null when they are others.
QString bodyOf(const QString &document)
{
    if (!document.startsWith(head) || !document.endsWith(tail))
        return {};
    return document.mid(head.size(), document.size() - head.size() - tail.size());
}

QByteArray bytesOf(const WrittenStrings &strings, DVXliffWriter::Failures *failures)
{
    return dv_escapedXliff(DVXliffWriter::documentFromStrings(strings.groups, strings.header(), failures));
}

QString onlyTextIn(const QByteArray &bytes)
{
    DVErrorOr error;
    const auto strings = DVXliffParser::parseXliffData(bytes, 0, &error, true);
    return error || strings.size() != 1
               ? QString()
               : strings.begin().value()->stringForPluralForm({}, false)->localizedFormat;
}

} // namespace

class tst_XliffWriter : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { QTest::failOnWarning(QRegularExpression(QStringLiteral("."))); }

    void bodies_data()
    {
        const DVRows<QList<DVStringPtr>, QList<DVStringPtr>, QString> row("forms", "base", "body");
        using Forms = QList<DVStringPtr>;
        const auto form = [](const char *key, const char *uid, const char *text,
                             const char *plural = nullptr) {
            return writtenForm(QString::fromUtf8(key), QString::fromUtf8(uid),
                               withMarkers(QString::fromUtf8(text)), QString::fromUtf8(plural));
        };
        row("no strings: header, an empty line and the end", Forms(), Forms(), "");
        row("a text, and none in the base language", Forms{form("k", "1", "[Bonjour]")}, Forms(),
            QString::fromUtf8(R"(<trans-unit id="1" resname="k" phase-name="step-7">
<source>(null)</source>
<target>Bonjour</target>
</trans-unit>

)"));
        row("source and target number their placeholders each for itself",
            Forms{form("k", "1", "[{%2$@} et {%1$@}]")}, Forms{form("k", "9", "[{%@}, {%@}: {%d}]")},
            QString::fromUtf8(R"(<trans-unit id="1" resname="k" phase-name="step-7">
<source><ph id="1" ctype="x-dorvane-placeholder">%@</ph>, <ph id="2" ctype="x-dorvane-placeholder">%@</ph>: <ph id="3" ctype="x-dorvane-placeholder">%d</ph></source>
<target><ph id="1" ctype="x-dorvane-placeholder">%2$@</ph> et <ph id="2" ctype="x-dorvane-placeholder">%1$@</ph></target>
</trans-unit>

)"));
        row("plural forms stand in a group, in the categories' order, with the base form of their own",
            Forms{form("k", "1[other]", "[Fichiers]", "other"), form("k", "1[one]", "[Fichier]", "one")},
            Forms{form("k", "1[one]", "[File]", "one"), form("k", "1", "[wrong]")},
            QString::fromUtf8(R"(<group restype="x-cldr-plurals">
<trans-unit id="1[one]" resname="k" phase-name="step-7">
<source>File</source>
<target>Fichier</target>
</trans-unit>

<trans-unit id="1[other]" resname="k" phase-name="step-7">
<source>(null)</source>
<target>Fichiers</target>
</trans-unit>

</group>

)"));
        row("keys are sorted, and nothing is escaped",
            Forms{form("z", "2", "[]"), form("&Save \"<b>\"", "1", "[5\uFF05 & <b>\"x\"</b> &amp;]")},
            Forms(),
            QString::fromUtf8(R"(<trans-unit id="1" resname="&Save "<b>"" phase-name="step-7">
<source>(null)</source>
<target>5)") + u"\uFF05"_qs +
                QString::fromUtf8(R"( & <b>"x"</b> &amp;</target>
</trans-unit>

<trans-unit id="2" resname="z" phase-name="step-7">
<source>(null)</source>
<target></target>
</trans-unit>

)"));
    }
    void bodies()
    {
        QFETCH(QList<DVStringPtr>, forms);
        QFETCH(QList<DVStringPtr>, base);
        WrittenStrings strings;
        std::for_each(forms.begin(), forms.end(), [&](const auto &form) { strings.add(form); });
        std::for_each(base.begin(), base.end(), [&](const auto &form) { strings.addBase(form); });
        DVXliffWriter::Failures failures;
        const QString document = written(strings, &failures);
        QVERIFY(document.startsWith(head) && document.endsWith(tail));
        QTEST(bodyOf(document), "body");
        QVERIFY(failures.isEmpty());
    }

    void tags_data()
    {
        // tagged: "<n:" and ">" for the n-th placeholder's tags
        const DVRows<QString, QString> row("text", "tagged");
        row("markers stay", "[a {%@} b {%d}]", "[a {<1:%@>} b {<2:%d>}]");
        row("a text without arguments stays as it is", "[50% & more]", "[50% & more]");
        row("an empty argument gets no placeholder and no number", "[{} {%@}]", "[{} {<1:%@>}]");
        row("an argument without an end is closed", "[a {%@", "[a {<1:%@>}");
        row("an argument may hold a string with markers", "[a {[%@]}]", "[a {<1:[%@]>}]");
        row("markers of arguments in an argument and behind it", "[{a{b}c}]", "[{<1:a{b>}c}]");
    }
    void tags()
    {
        QFETCH(QString, text);
        QFETCH(QString, tagged);
        text = withMarkers(text);
        tagged = withMarkers(tagged.replace(u">"_qs, u"</ph>"_qs));
        for (const QString &number : {u"1"_qs, u"2"_qs}) {
            tagged.replace(QString(u'<' + number + u':'),
                           QString(u"<ph id=\""_qs + number + u"\" ctype=\"x-dorvane-placeholder\">"));
        }
        DVString string;
        string.localizedFormat = text;
        QCOMPARE(DVXliffWriter::stringWithTagsForString(string), tagged);

        // The same stands in a unit, without the markers.
        string.uid = u"1"_qs;
        const QString unit = DVXliffWriter::xliffForString(string, u"p"_qs, {});
        QVERIFY(unit.contains(QString(u"<target>"_qs + dv_stringByRemovingCues(tagged) + u"</target>\n")));
    }

    void escapes_data()
    {
        const DVRows<QString, QByteArray, QByteArray> row("value", "inText", "inAttribute");
        row("markup", "<b>&Save</b>", "&lt;b&gt;&amp;Save&lt;/b&gt;", "&lt;b&gt;&amp;Save&lt;/b&gt;");
        row("what looks like a reference", "&amp;&#10;", "&amp;amp;&amp;#10;", "&amp;amp;&amp;#10;");
        row("the end of a section", "]]>", "]]&gt;", "]]&gt;");
        row("quotes", "\"it's\"", "\"it's\"", "&quot;it's&quot;");
        row("white space", " \t\n\r\n", " \t\n&#13;\n", " &#9;&#10;&#13;&#10;");
        row("characters of two to four bytes", "\u00E9\u20AC\U0001F600",
            "\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80", "\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80");
        row("a byte order mark", u"\uFEFF"_qs, "\xEF\xBB\xBF", "\xEF\xBB\xBF");
        row("control characters become pictures", QString(QChar(0)) + u"\u0004\u001F\u007F"_qs,
            "\xE2\x90\x80\xE2\x90\x84\xE2\x90\x9F\x7F", "\xE2\x90\x80\xE2\x90\x84\xE2\x90\x9F\x7F");
        row("no characters become a replacement", QString(QChar(0xFFFE)) + QChar(0xFFFF),
            "\xEF\xBF\xBD\xEF\xBF\xBD", "\xEF\xBF\xBD\xEF\xBF\xBD");
        row("halves of pairs too, the wrong way round or alone",
            QString(QChar(0xDE00)) + QChar(0xD83D) + u'a' + QChar(0xD83D),
            "\xEF\xBF\xBD\xEF\xBF\xBD"
            "a\xEF\xBF\xBD",
            "\xEF\xBF\xBD\xEF\xBF\xBD"
            "a\xEF\xBF\xBD");
        row("a pair around an empty argument is one character",
            QString(QChar(0xD83D)) + withMarkers(u"{}"_qs) + QChar(0xDE00), "\xF0\x9F\x98\x80", nullptr);
    }
    void escapes()
    {
        QFETCH(QString, value);
        QFETCH(QByteArray, inText);
        QFETCH(QByteArray, inAttribute);
        const bool isText = inAttribute.isNull();
        WrittenStrings strings;
        strings.add(writtenForm(isText ? u"k"_qs : value, u"1"_qs, value));
        DVXliffWriter::Failures failures;
        const QByteArray bytes = bytesOf(strings, &failures);
        QVERIFY2(bytes.contains(QByteArray("<target>" + inText + "</target>")), bytes.constData());
        if (!isText)
            QVERIFY2(bytes.contains(QByteArray("resname=\"" + inAttribute + "\" phase-name")),
                     bytes.constData());
    }

    void headerReadsBack()
    {
        WrittenStrings strings;
        DVXliffWriter::Failures failures;
        const QByteArray bytes = bytesOf(strings, &failures);
        QVERIFY(bytes.contains("process-name=\"Review &amp; &quot;sign-off&quot;\"/>"));
        QVERIFY(!DVXliffReader::read(bytes, true, [](const DVXliffUnit &) {}));

        // A server may call a step what it likes: the strings have to stay readable.
        DVXliffHeader header = strings.header();
        header.stepName = QString(100'000, u'"');
        const auto document = DVXliffWriter::documentFromStrings({}, header, &failures);
        QVERIFY(!DVXliffReader::read(dv_escapedXliff(document), true, [](const DVXliffUnit &) {}));
    }

    void failures_data()
    {
        const DVRows<DVStringPtr> row("bad");
        row("a form without a text", writtenForm(u"k"_qs, u"1"_qs, {}));
        row("a form without a uid", writtenForm(u"k"_qs, {}, u"text"_qs));
        row("a plural form without a text", writtenForm(u"k"_qs, u"1[few]"_qs, {}, u"few"_qs));
        row("a key longer than can be read", writtenForm(u"<"_qs.repeated(16'384), u"1"_qs, u"a"_qs));
        row("a uid longer than can be read", writtenForm(u"k"_qs, QString(65'536, u'1'), u"a"_qs));
    }
    // The others are written, and the document stays readable.
    void failures()
    {
        QFETCH(DVStringPtr, bad);
        WrittenStrings strings;
        strings.add(writtenForm(u"a"_qs, u"7"_qs, u"before"_qs));
        strings.add(writtenForm(u"other form"_qs, u"8"_qs, u"behind"_qs));
        if (!bad->pluralForm.isNull())
            strings.add(writtenForm(bad->key, u"1[other]"_qs, u"other"_qs, u"other"_qs));
        strings.add(bad);
        DVXliffWriter::Failures failures;
        const QByteArray bytes = bytesOf(strings, &failures);
        QCOMPARE(failures.keys(), QStringList{bad->key});
        QCOMPARE(std::get<DVStringPtr>(failures.first()), bad);
        DVErrorOr error;
        const auto read = DVXliffParser::parseXliffData(bytes, 0, &error, true);
        QVERIFY(!error);
        QCOMPARE(read.size(), bad->pluralForm.isNull() ? 2 : 3);

        failures.clear();
        const auto group = std::make_shared<DVStringGroup>();
        DVXliffWriter::xliffFromStrings({{u"empty"_qs, group}, {u"none"_qs, nullptr}}, {}, &failures);
        QCOMPARE(failures.keys(), (QStringList{u"empty"_qs, u"none"_qs}));
        QCOMPARE(std::get<DVStringGroupPtr>(failures.first()), group);
    }

    void longestThatCanBeRead_data()
    {
        // unit: of which the text is made; count: that can be read: 1,048,576 bytes less two markers of three
        const DVRows<QString, int> row("unit", "count");
        row("letters", "a", 1'048'570);
        row("ampersands, written as five bytes", "&", 1'048'570);
        row("percent signs, read as three bytes", "%", 349'523);
        row("emoji", "\U0001F600", 262'142);
    }
    void longestThatCanBeRead()
    {
        QFETCH(QString, unit);
        QFETCH(int, count);
        for (const int more : {0, 1}) {
            WrittenStrings strings;
            const QString text = unit.repeated(count + more);
            strings.add(writtenForm(u"k"_qs, u"1"_qs, text));
            DVXliffWriter::Failures failures;
            const QByteArray bytes = bytesOf(strings, &failures);
            QCOMPARE(failures.size(), more);
            QVERIFY(onlyTextIn(bytes) == (more ? QString() : WrittenXliff::readBack(text)));
        }
    }

    void roundTrip_data()
    {
        const DVRows<quint32> row("seed");
        for (quint32 seed = 1; seed <= 40; ++seed)
            QTest::addRow("strings generated from %u", seed) << seed;
    }
    void roundTrip()
    {
        QFETCH(quint32, seed);
        const auto strings = WrittenStrings::generated(seed, 60);
        const auto expected = WrittenXliff::expectedOf(strings.groups, strings.header());
        QVERIFY(expected.targets.size() > 60 && !expected.failures.isEmpty());
        DVXliffWriter::Failures failures;
        const auto document = DVXliffWriter::documentFromStrings(strings.groups, strings.header(), &failures);
        QCOMPARE(failures.keys(), expected.failures);

        DVErrorOr error;
        DVXliffParser::Strings sources;
        const auto read = DVXliffParser::parseXliffData(dv_escapedXliff(document), &sources, 0, &error, true);
        QVERIFY2(!error, error ? qPrintable(error->description) : "");
        QCOMPARE(WrittenXliff::formsOf(read), expected.targets);
        QCOMPARE(WrittenXliff::formsOf(sources), expected.sources);

        // Unescaped, a unit is its texts as they are tagged, whatever they look like.
        QString body = bodyOf(document.text());
        for (const auto &group : strings.groups) {
            for (const auto &form : std::as_const(group->pluralForms)) {
                const QString unit = DVXliffWriter::xliffForString(*form, u"step-7"_qs, strings.header());
                const QString target = dv_stringByRemovingCues(DVXliffWriter::stringWithTagsForString(*form));
                QVERIFY(unit.isNull() || unit.contains(QString(u"<target>"_qs + target + u"</target>\n")));
                QCOMPARE(unit.isNull(), form->localizedFormat.isNull() || form->uid.isNull());
                QVERIFY(body.contains(unit));
            }
        }
    }

    void hostileTextsTakeLinearTime_data()
    {
        const DVRows<QString> row("unit");
        row("ampersands", "&");
        row("halves of pairs", QString(QChar(0xD83D)));
        row("section ends", "]]>");
        row("arguments", withMarkers(u"{%@}"_qs));
        row("empty arguments", withMarkers(u"a{}"_qs));
        row("arguments that never end", withMarkers(u"{"_qs));
        row("starts of strings", withMarkers(u"["_qs));
    }
    // What is quadratic takes a minute and more for these.
    void hostileTextsTakeLinearTime()
    {
        QFETCH(QString, unit);
        WrittenStrings strings;
        const QString text = unit.repeated(400'000 / unit.size());
        const auto form = std::make_shared<DVString>();
        form->localizedFormat = text;
        form->uid = text;
        form->key = text;
        strings.add(form);
        DVXliffWriter::Failures failures;
        QElapsedTimer timer;
        timer.start();
        bytesOf(strings, &failures);
        DVXliffDocument document;
        document.addAttribute(text);
        for (const QChar c : text) {
            document.addText(QStringView(&c, 1));
            document.addMarkup(u"<a/>");
        }
        QVERIFY(dv_escapedXliff(document).size() > 2 * text.size());
        QVERIFY2(timer.elapsed() < 20'000, qPrintable(QString::number(timer.elapsed())));
    }
};

QTEST_GUILESS_MAIN(tst_XliffWriter)
#include "tst_xliffwriter.moc"
