#include "DVRows.h"
#include "XliffUnits.h"

#include <QTest>

#include <libxml/parser.h>
#include <libxml/xmlIO.h>

using XliffUnits::read;

namespace {

enum { Syntax = 1, Limit = 2, DocumentType = 3, Cancelled = 4 };

QByteArray inBody(const QByteArray &units)
{
    QByteArray document = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<xliff version=\"1.2\" "
                          "xmlns=\"urn:oasis:names:tc:xliff:document:1.2\"><file><body>";
    return document.append(units).append("</body></file></xliff>");
}

// The content of one unit "k" with the identifier "1".
QByteArray unitOf(const QByteArray &content)
{
    return QByteArray("<trans-unit id=\"1\" resname=\"k\">").append(content).append("</trans-unit>");
}

QByteArray inTarget(const QByteArray &text)
{
    return inBody(unitOf(QByteArray("<target>").append(text).append("</target>")));
}

QByteArray tagOfLength(qsizetype bytes)
{
    const QByteArray begin = "<a b='";
    const QByteArray end = "'/>";
    return QByteArray(begin).append(QByteArray(bytes - begin.size() - end.size(), 'x')).append(end);
}

QByteArray tagWithAttributes(int count)
{
    QByteArray tag = "<a";
    for (int i = 0; i < count; ++i)
        tag.append(" a").append(QByteArray::number(i)).append("=''");
    return tag.append("/>");
}

QByteArray nested(const QByteArray &begin, const QByteArray &end, int depth)
{
    return begin.repeated(depth).append(end.repeated(depth));
}

int seen = 0;
void seeError(void *, const char *, ...)
{
    ++seen;
}

} // namespace

class tst_XliffReader : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { QTest::failOnWarning(QRegularExpression(QStringLiteral("."))); }

    void states_data()
    {
        const DVRows<QByteArray, QString, QString> row("units", "plain", "marked");
        row("a unit has a source and a target", unitOf("<source>One</source><target>Un</target>"),
            "k 1 - | One | Un | ", "k 1 - | [One] | [Un] | ");
        row("a percent sign outside a placeholder is fullwidth",
            unitOf("<source>5%</source><target>50% off %%</target>"), "k 1 - | 5％ | 50％ off ％％ | ",
            "k 1 - | [5％] | [50％ off ％％] | ");
        row("a placeholder keeps its percent sign and is marked",
            unitOf("<target>Hello <ph id=\"1\">%@</ph>!</target>"), "k 1 - |  | Hello %@! | ",
            "k 1 - |  | [Hello {%@}!] | ");
        row("text behind a placeholder is text again", unitOf("<source><ph>%d</ph>%</source>"),
            "k 1 - | %d％ |  | ", "k 1 - | [{%d}％] |  | ");
        row("an element inside a placeholder ends it for the percent sign only",
            unitOf("<target><ph>%<b/>%d</ph></target>"), "k 1 - |  | %％d | ", "k 1 - |  | [{%％d}] | ");
        row("another inline element is passed over", unitOf("<target>a<g id='1'>b</g>c</target>"),
            "k 1 - |  | abc | ", "k 1 - |  | [abc] | ");
        row("an empty target is no target when marked", unitOf("<source>a</source><target/>"),
            "k 1 - | a |  | ", "k 1 - | [a] | [] |  (no target)");
        row("a missing target is an empty text", unitOf("<source/>"), "k 1 - |  |  | ",
            "k 1 - | [] |  |  (no source)");
        row("an empty placeholder is something", unitOf("<target><ph/></target>"), "k 1 - |  |  | ",
            "k 1 - |  | [{}] | ");
        row("a note takes what follows it in the unit", unitOf("<note>N</note>\n <target>t</target> x"),
            "k 1 - |  | t | N\n ", "k 1 - |  | [t] | N\n ");
        row("a note takes no markers and keeps percent signs", unitOf("<note>1% <ph>%@</ph></note>\n"),
            "k 1 - |  |  | 1% %@\n", "k 1 - |  |  | 1% %@\n");
        row("several notes follow each other", unitOf("<note>a</note>-<note>b</note>"), "k 1 - |  |  | a-b",
            "k 1 - |  |  | a-b");
        row("text between elements goes nowhere", unitOf("x<source>a</source>y<target>b</target>z"),
            "k 1 - | a | b | ", "k 1 - | [a] | [b] | ");
        row("a second target adds to the first",
            unitOf("<target>a</target><alt-trans><target>b</target></alt-trans>"), "k 1 - |  | ab | ",
            "k 1 - |  | [a][b] | ");
        row("a placeholder outside of texts does nothing", unitOf("<ph>%@</ph><target>a</target>"),
            "k 1 - |  | a | ", "k 1 - |  | [a] | ");
        row("texts outside of units go nowhere",
            "<source>a</source><note>b</note>" + unitOf("<target>c</target>"), "k 1 - |  | c | ",
            "k 1 - |  | [c] | ");
        row("a unit begins empty", unitOf("<note>a</note>") + unitOf("<target>b</target>"),
            "k 1 - |  |  | a\nk 1 - |  | b | ", "k 1 - |  |  | a\nk 1 - |  | [b] | ");
        row("a unit without resname is skipped", "<trans-unit id='1'><target>a</target></trans-unit>", "",
            "");
        row("an empty resname is a key", "<trans-unit id='1' resname=''/>", " 1 - |  |  | ", " 1 - |  |  | ");
        row("a unit without id has none", "<trans-unit resname='k'/>", "k - - |  |  | ", "k - - |  |  | ");
        row("other attributes are not read", "<trans-unit xml:id='2' id='1' name='n' resname='k'/>",
            "k 1 - |  |  | ", "k 1 - |  |  | ");
        row("a unit in a unit is handed out once, at its own end",
            "<trans-unit id='1' resname='a'><trans-unit id='2' resname='b'><target>x</target></trans-unit>"
            "<target>y</target></trans-unit>",
            "b 2 - |  | x | ", "b 2 - |  | [x] | ");
        row("entities of XML and character references are decoded",
            "<trans-unit id='&#49;' "
            "resname='&quot;k&quot;'><target>&lt;&amp;&gt;&apos;&#xE9;&#128512;&#37;</target></trans-unit>",
            "\"k\" 1 - |  | <&>'é😀％ | ", "\"k\" 1 - |  | [<&>'é😀％] | ");
        row("a CDATA section is text", unitOf("<target>a<![CDATA[<b>&amp;%]]>c</target>"),
            "k 1 - |  | a<b>&amp;％c | ", "k 1 - |  | [a<b>&amp;％c] | ");
        row("comments and instructions are nothing", unitOf("<target>a<!-- b --><?c d?>e</target>"),
            "k 1 - |  | ae | ", "k 1 - |  | [ae] | ");
        row("line ends are line feeds", unitOf("<target>a\r\nb\rc\n</target>"), "k 1 - |  | a\nb\nc\n | ",
            "k 1 - |  | [a\nb\nc\n] | ");
        row("so they are in a CDATA section", unitOf("<target><![CDATA[a\r\nb\rc\r\r\n]]>d</target>"),
            "k 1 - |  | a\nb\nc\n\nd | ", "k 1 - |  | [a\nb\nc\n\nd] | ");
        row("a name with a prefix is another name", unitOf("<x:target xmlns:x='u'>a</x:target>"),
            "k 1 - |  |  | ", "k 1 - |  |  | ");
        row("the plural group itself is not read",
            "<group restype='x-cldr-plurals'><trans-unit id='1' resname='k'/></group>", "k 1 - |  |  | ",
            "k 1 - |  |  | ");
    }
    void states()
    {
        QFETCH(QByteArray, units);
        const auto reading = read(inBody(units), false);
        QCOMPARE(reading.error, std::nullopt);
        QTEST(reading.units.join(u'\n'), "plain");
        QTEST(read(inBody(units), true).units.join(u'\n'), "marked");
    }

    void pluralForm_data()
    {
        const DVRows<QByteArray, QString> row("id", "form");
        row("x[one]", "x[one]", "one");
        row("x", "x", "-");
        row("x[one", "x[one", "-");
        row("xone]", "xone]", "-");
        row("x[one] ", "x[one] ", "-");
        row("[many]", "[many]", "many");
        row("x[a][one]", "x[a][one]", "a");
        row("x[[one]", "x[[one]", "-");
        row("x[dual]", "x[dual]", "dual");
        row("x[]", "x[]", "");
        row("x[zweié]]", "x[zweié]]", "zweié]");
        row("x[né[y]", "x[né[y]", "n");
    }
    void pluralForm()
    {
        QFETCH(QByteArray, id);
        QFETCH(QString, form);
        const auto reading = read(inBody("<trans-unit id='" + id + "' resname='k'/>"), false);
        QCOMPARE(reading.units,
                 QStringList{QStringLiteral("k %1 %2 |  |  | ").arg(QString::fromUtf8(id), form)});
    }

    void encodings_data()
    {
        const DVRows<QByteArray, bool> row("document", "isRead");
        const QByteArray unit = "<a><trans-unit resname='\xC3\xA9'/></a>";
        const auto declared = [&unit](const char *encoding) {
            return QByteArray("<?xml version='1.0' encoding='").append(encoding).append("'?>").append(unit);
        };
        row("without a declaration it is UTF-8", unit, true);
        row("with a byte order mark", QByteArray("\xEF\xBB\xBF").append(unit), true);
        row("mark and declaration", QByteArray("\xEF\xBB\xBF").append(declared("utf-8")), true);
        row("declared", declared("UTF-8"), true);
        row("declared Latin-1", declared("ISO-8859-1"), false);
        row("declared UTF-16 though it is not", declared("UTF-16"), false);
        row("declared UTF-7", declared("UTF-7"), false);
        const auto utf16 = [](const char16_t *text) {
            return QByteArray(reinterpret_cast<const char *>(text),
                              qsizetype(std::u16string_view(text).size() * 2));
        };
        row("UTF-16 with a mark", utf16(u"\uFEFF<a/>"), false);
        row("UTF-16 without a mark", utf16(u"<a></a>"), false);
    }
    void encodings()
    {
        QFETCH(QByteArray, document);
        QFETCH(bool, isRead);
        const auto reading = read(document, false);
        QCOMPARE(!reading.error, isRead);
        QCOMPARE(reading.units, isRead ? QStringList{QStringLiteral("é - - |  |  | ")} : QStringList());
        if (!isRead)
            QCOMPARE(reading.error->code, int(Syntax));
    }

    void errors_data()
    {
        const DVRows<QByteArray, int, QString, int> row("document", "code", "place", "units");
        const QByteArray unit = "<trans-unit resname='k'/>"; // 25 characters
        row("an empty document", "", Syntax, "(line 1, column 1)", 0);
        row("white space only", "\n \n ", Syntax, "(line 3, column 2)", 0);
        row("no XML", "strings", Syntax, "(line 1, column 1)", 0);
        row("cut off inside a tag", "<a>\n<b", Syntax, "(line 2, column 3)", 0);
        row("cut off in the middle", "<a>\n" + unit, Syntax, "(line 2, column 26)", 1);
        row("elements that do not match", "<a>\n" + unit + "\n <b></a>", Syntax, "(line 3, column 9)", 1);
        row("columns count characters", "<a>\n\xC3\xA9\xE2\x82\xAC<b></a>", Syntax, "(line 2, column 10)", 0);
        row("lines end with line feeds", "<a>\r\n\r\n</b>", Syntax, "(line 3, column 5)", 0);
        row("line feeds in attributes and comments count", "<a b='\n\n'><!--\n--><![CDATA[\n]]></b>", Syntax,
            "(line 5, column 8)", 0);
        row("content behind the end", "<a></a>\n<b/>", Syntax, "(line 2, column 1)", 0);
        row("an attribute that comes twice", "<a b='' b=''/>", Syntax, "(line 1, column 13)", 0);
        row("an entity of nobody", "<a>\n&eacute;</a>", Syntax, "(line 2, column 9)", 0);
        row("a character that XML forbids", "<a>\x01</a>", Syntax, "(line 1, column 4)", 0);
        row("a reference to a character that XML forbids", "<a>&#0;</a>", Syntax, "(line 1, column 8)", 0);
        row("an end of CDATA in a text", "<a>]]></a>", Syntax, "(line 1, column 4)", 0);
        row("half a character of UTF-8", "<a>\n \xE2\x82</a>", Syntax, "(line 2, column 2)", 0);
        row("a surrogate in UTF-8", "<a>\xED\xA0\x80</a>", Syntax, "(line 1, column 4)", 0);
        row("a character in too many bytes", "<a>\xC0\xBC</a>", Syntax, "(line 1, column 4)", 0);
        row("a document type declaration", "<?xml version='1.0'?>\n <!DOCTYPE a><a/>", DocumentType,
            "(line 2, column 2)", 0);
        row("a declaration with entities",
            "<!DOCTYPE a [<!ENTITY x 'y'><!ENTITY z SYSTEM 'file:///etc/passwd'>]><a>&x;&z;</a>",
            DocumentType, "(line 1, column 1)", 0);
        row("a declaration that does not end", "<!DOCTYPE a [", DocumentType, "(line 1, column 1)", 0);
        row("a declaration inside the content", "<a>" + unit + "<!DOCTYPE a></a>", DocumentType,
            "(line 1, column 29)", 1);
        row("another declaration", "<!ELEMENT a ANY><a/>", Syntax, "(line 1, column 2)", 0);
        row("a far line", "<a>" + QByteArray("\n").repeated(200'000) + "</b>", Syntax,
            "(line 200001, column 5)", 0);
        row("a far column", "<a>" + QByteArray("\xC3\xA9").repeated(200'000) + "</b>", Syntax,
            "(line 1, column 200008)", 0);
        row("a column behind a long CDATA section",
            "<a><![CDATA[" + QByteArray("x").repeated(200'000) + "]]></b>", Syntax, "(line 1, column 200020)",
            0);
    }
    void errors()
    {
        QFETCH(QByteArray, document);
        QFETCH(int, code);
        QFETCH(QString, place);
        QFETCH(int, units);
        const auto reading = read(document, true);
        QVERIFY(reading.error);
        QCOMPARE(reading.error->domain, QStringLiteral("dorvane.SDK.xliff"));
        QCOMPARE(reading.error->code, code);
        QCOMPARE(reading.error->description.mid(reading.error->description.lastIndexOf(u'(')), place);
        QVERIFY(reading.error->description.size() > place.size() + 1);
        QCOMPARE(reading.units.size(), units);
    }

    void limits_data()
    {
        const DVRows<QByteArray, QByteArray> row("within", "beyond");
        constexpr qsizetype markup = DVXliffReader::maximumMarkupLength;
        constexpr qsizetype text = DVXliffReader::maximumTextLength;
        constexpr int depth = DVXliffReader::maximumDepth;
        const auto comment = [](qsizetype length) {
            return QByteArray("<!--").append(QByteArray(length - 7, 'x')).append("-->");
        };
        row("the length of a tag", inBody(tagOfLength(markup)), inBody(tagOfLength(markup + 1)));
        row("the length of a comment", inBody(comment(markup)), inBody(comment(markup + 1)));
        row("the length of an instruction",
            inBody("<?" + QByteArray(markup - 4, 'x').replace(1, 1, " ") + "?>"),
            inBody("<?" + QByteArray(markup - 3, 'x').replace(1, 1, " ") + "?>"));
        row("the attributes of a tag", tagWithAttributes(DVXliffReader::maximumAttributes),
            tagWithAttributes(DVXliffReader::maximumAttributes + 1));
        row("the depth", nested("<a>", "</a>", depth), nested("<a>", "</a>", depth + 1));
        row("the namespaces in scope",
            nested("<a xmlns:p='u' xmlns:q='u' xmlns:r='u' xmlns:s='u'>", "</a>", depth),
            nested("<a xmlns:p='u' xmlns:q='u' xmlns:r='u' xmlns:s='u' xmlns:t='u'>", "</a>", depth));
        row("namespaces that go out of scope",
            "<a>" + QByteArray("<b xmlns:p='u' xmlns:q='u'/>").repeated(2000) + "</a>",
            "<a>" + QByteArray("<b xmlns:p='u' xmlns:q='u'>").repeated(2000));
        row("a target", inTarget(QByteArray(text, 'x').replace(0, 6, "")),
            inTarget(QByteArray(text + 1, 'x')));
        row("a target of a CDATA section", inTarget("<![CDATA[" + QByteArray(text - 6, 'x') + "]]>"),
            inTarget("<![CDATA[" + QByteArray(text + 1, 'x') + "]]>"));
        row("a note", inBody(unitOf("<note>" + QByteArray(text, 'x') + "</note>")),
            inBody(unitOf("<note>" + QByteArray(text, 'x') + "</note>\n")));
        row("percent signs count as they are read", inTarget(QByteArray(text / 3 - 2, '%')),
            inTarget(QByteArray(text / 2, '%')));
        row("where nothing is read a text may be longer", inBody(QByteArray(text * 3, 'x')),
            inTarget(QByteArray(text * 3, 'x')));
        row("so may a CDATA section", inBody("<![CDATA[" + QByteArray(text * 3, 'x') + "]]>"),
            inTarget("<![CDATA[" + QByteArray(text * 3, 'x') + "]]>"));
    }
    void limits()
    {
        QFETCH(QByteArray, within);
        QFETCH(QByteArray, beyond);
        const auto good = read(within, true);
        QVERIFY2(!good.error, qPrintable(good.error ? good.error->description : QString()));
        const auto bad = read(beyond, true);
        QVERIFY(bad.error);
        QCOMPARE(bad.error->code, int(Limit));
        QVERIFY(bad.error->description.contains(u" (line "));
    }

    void errorStays()
    {
        int units = 0;
        DVXliffReader reader(false, [&units](const DVXliffUnit &) { ++units; });
        reader.feed("<a></b>");
        const auto error = reader.finish();
        QVERIFY(error);
        QCOMPARE(reader.feed("<trans-unit resname='k'/>"), error);
        QCOMPARE(reader.finish(), error);
        QCOMPARE(units, 0);
    }

    void cancels()
    {
        const QByteArray document = inBody(unitOf("<target>text</target>").repeated(100'000));
        std::atomic<bool> cancelled = false;
        int units = 0;
        const auto error = DVXliffReader::read(
            document, false,
            [&](const DVXliffUnit &) {
                if (++units == 10)
                    cancelled = true;
            },
            &cancelled);
        QVERIFY(error);
        QCOMPARE(error->code, int(Cancelled));
        QVERIFY2(units < 5'000, qPrintable(QString::number(units)));
        QCOMPARE(read(document, false, &cancelled).units.size(), 0);
    }

    // A host that uses libxml2 itself may have changed its defaults.
    void hostsSettingsDoNotMatter()
    {
        const QByteArray document = inBody("\n  " + unitOf(" <target> <ph> </ph> </target> ") + "\n");
        const auto expected = read(document, true);
        static int opened = 0;
        const int blanks = xmlKeepBlanksDefault(0);
        const int entities = xmlSubstituteEntitiesDefault(1);
        const int external = xmlLoadExtDtdDefaultValue;
        xmlLoadExtDtdDefaultValue = 1;
        const auto loader = xmlGetExternalEntityLoader();
        xmlSetExternalEntityLoader([](const char *, const char *, xmlParserCtxtPtr) -> xmlParserInputPtr {
            ++opened;
            return nullptr;
        });
        const auto reading = read(document, true);
        const auto refused = read("<!DOCTYPE a SYSTEM 'http://127.0.0.1/a.dtd'><a/>", true);
        xmlSetExternalEntityLoader(loader);
        xmlLoadExtDtdDefaultValue = external;
        xmlSubstituteEntitiesDefault(entities);
        xmlKeepBlanksDefault(blanks);
        QCOMPARE(reading, expected);
        QCOMPARE(expected.units, QStringList{QStringLiteral("k 1 - |  | [ { } ] | ")});
        QVERIFY(refused.error);
        QCOMPARE(refused.error->code, int(DocumentType));
        QCOMPARE(opened, 0);
    }

    void hostSeesNoErrors()
    {
        seen = 0;
        xmlSetGenericErrorFunc(nullptr, seeError);
        xmlSetStructuredErrorFunc(nullptr, [](void *, xmlErrorPtr) { ++seen; });
        xmlResetLastError();
        QVERIFY(read("<a>&x;</b>", false).error);
        QCOMPARE(seen, 0);
        QVERIFY(!xmlGetLastError());

        xmlFreeDoc(xmlReadMemory("<host>", 6, "host.xml", nullptr, 0));
        QVERIFY(seen > 0);
        const QByteArray message(xmlGetLastError()->message);
        const int hostsErrors = seen;
        QVERIFY(read("<a></b>", false).error);
        QVERIFY(!read("<a></a>", false).error);
        xmlSetGenericErrorFunc(nullptr, nullptr);
        xmlSetStructuredErrorFunc(nullptr, nullptr);
        QCOMPARE(seen, hostsErrors);
        QVERIFY(xmlGetLastError());
        QCOMPARE(QByteArray(xmlGetLastError()->message), message);
    }
};

QTEST_APPLESS_MAIN(tst_XliffReader)
#include "tst_xliffreader.moc"
