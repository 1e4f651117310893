#include "DVPropertyList.h"
#include "DVRows.h"

#include <QStringEncoder>

#include <plist/plist.h>

#include <cstdlib>
#include <ctime>

using Texts = QHash<QString, QString>;
Q_DECLARE_METATYPE(Texts)

class TestStringsFile : public QObject
{
    Q_OBJECT

private:
    static QByteArray binaryList()
    {
        plist_t list = plist_new_dict();
        plist_dict_set_item(list, "greeting", plist_new_string("Gr\xc3\xbc\xc3\x9f Gott"));
        plist_dict_set_item(list, "count", plist_new_uint(7));
        plist_t inner = plist_new_dict();
        plist_dict_set_item(inner, "a", plist_new_bool(1));
        plist_dict_set_item(list, "inner", inner);
        char *bytes = nullptr;
        uint32_t length = 0;
        plist_to_bin(list, &bytes, &length);
        const QByteArray data(bytes, qsizetype(length));
        std::free(bytes);
        plist_free(list);
        return data;
    }

private Q_SLOTS:
    void textForm_data()
    {
        const DVRows<QByteArray, Texts> row("text", "texts");
        row("nothing", "", {});
        row("only comments", "/* a */ // b", {});
        row("entries", "\"a\" = \"1\";\n\"b\"=\"2\";", {{u"a"_qs, u"1"_qs}, {u"b"_qs, u"2"_qs}});
        row("comments at every place", "/**/\"a\"/*=*/=//x\n\"1\"/* ; */;//", {{u"a"_qs, u"1"_qs}});
        row("a comment sign inside a text", "\"a /* b\" = \"// 1\";", {{u"a /* b"_qs, u"// 1"_qs}});
        row("escapes", "\"a\\n\\t\\r\\\"\\\\\" = \"\\U00e9\\'\";", {{u"a\n\t\r\"\\"_qs, u"\u00e9'"_qs}});
        row("a pair of escapes for one character", "\"a\" = \"\\Ud83d\\ude00\";",
            {{u"a"_qs, u"\U0001f600"_qs}});
        row("a short escape", "\"a\" = \"\\U9|\";", {{u"a"_qs, u"\t|"_qs}});
        row("an escape without digits", "\"a\" = \"\\Uxyz\";", {{u"a"_qs, u"Uxyz"_qs}});
        row("words without quotes", "CFBundle.Name_1 = $a/b:c-d;", {{u"CFBundle.Name_1"_qs, u"$a/b:c-d"_qs}});
        row("a value equal to its key", "\"a\"; b;", {{u"a"_qs, u"a"_qs}, {u"b"_qs, u"b"_qs}});
        row("the later of two", "\"a\" = \"1\"; \"a\" = \"2\";", {{u"a"_qs, u"2"_qs}});
        row("a line break inside a text", "\"a\" = \"1\n2\";", {{u"a"_qs, u"1\n2"_qs}});
        row("a byte order mark", "\xEF\xBB\xBF\"a\" = \"\xC3\xA9\";", {{u"a"_qs, u"\u00e9"_qs}});
        row("an empty value", "\"a\" = \"\";", {{u"a"_qs, QString()}});
    }
    void textForm()
    {
        QFETCH(QByteArray, text);
        QFETCH(Texts, texts);
        const auto read = dv_stringsFileFromData(text);
        QVERIFY(read);
        QCOMPARE(*read, texts);
    }

    void utf16_data()
    {
        QTest::addColumn<QStringConverter::Encoding>("encoding");
        QTest::newRow("little endian") << QStringConverter::Utf16LE;
        QTest::newRow("big endian") << QStringConverter::Utf16BE;
    }
    void utf16()
    {
        QFETCH(QStringConverter::Encoding, encoding);
        QStringEncoder encoder(encoding, QStringConverter::Flag::WriteBom);
        const QByteArray data = encoder.encode(u"\"k\u00e9y\" = \"\U0001f600\";");
        const auto read = dv_stringsFileFromData(data);
        QVERIFY(read);
        QCOMPARE(*read, (Texts{{u"k\u00e9y"_qs, u"\U0001f600"_qs}}));
        QVERIFY(!dv_stringsFileFromData(data.chopped(1)));
        QVERIFY(!dv_stringsFileFromData(data + "x"));
    }

    void whatIsNotOfTheForm_data()
    {
        const DVRows<QByteArray> row("text");
        row("no semicolon", "\"a\" = \"1\"");
        row("no value", "\"a\" = ;");
        row("no key", "= \"1\";");
        row("a text without an end", "\"a\" = \"1;");
        row("an escape without an end", "\"a\" = \"1\\");
        row("a comment without an end", "\"a\" = \"1\"; /* b");
        row("a comment that ends before it begins", "/*/");
        row("bytes that are not UTF-8", "\"a\" = \"\xFF\";");
        row("UTF-8 that is cut off", "\"a\" = \"1\"; \xC3");
        row("zeroes", QByteArray(100, '\0'));
        row("a page", "<html><body>Not found</body></html>");
        row("an XML list that is cut off", "<?xml version=\"1.0\"?><plist><dict><key>a</key><str");
        row("an XML list whose top is a list", "<plist><array/></plist>");
        row("a binary list's first bytes", "bplist00");
    }
    void whatIsNotOfTheForm()
    {
        QFETCH(QByteArray, text);
        QVERIFY(!dv_stringsFileFromData(text));
    }

    void propertyListsInBothForms_data()
    {
        QTest::addColumn<QByteArray>("data");
        QTest::newRow("binary") << binaryList();
        QTest::newRow("XML") << QByteArray("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                                           "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
                                           "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
                                           "<plist version=\"1.0\"><dict>\n"
                                           "<key>greeting</key><string>Grüß Gott</string>\n"
                                           "<key>count</key><integer>7</integer>\n"
                                           "<key>inner</key><dict><key>a</key><true/></dict>\n"
                                           "</dict></plist>");
    }
    void propertyListsInBothForms()
    {
        QFETCH(QByteArray, data);
        const auto texts = dv_stringsFileFromData(data);
        QVERIFY(texts);
        QCOMPARE(*texts, (Texts{{u"greeting"_qs, u"Gr\u00fc\u00df Gott"_qs}})); // only texts are texts
        const auto map = dv_propertyListFromData(data);
        QVERIFY(map);
        QCOMPARE(map->value(u"count"_qs).toLongLong(), 7);
        QCOMPARE(map->value(u"inner"_qs).toMap().value(u"a"_qs), QVariant(true));
    }

    void everyTypeOfAPropertyList()
    {
        const auto map = dv_propertyListFromData(
            "<plist><dict>\n"
            "<key>real</key><real>1.5</real><key>negative</key><integer>-3</integer><key>no</key><false/>\n"
            "<key>data</key><data>AAEC</data><key>date</key><date>2001-01-02T00:00:00Z</date>\n"
            "<key>list</key><array><string>x</string><integer>1</integer></array></dict></plist>");
        QVERIFY(map);
        QCOMPARE(map->value(u"real"_qs).toDouble(), 1.5);
        QCOMPARE(map->value(u"negative"_qs).toLongLong(), -3);
        QCOMPARE(map->value(u"no"_qs), QVariant(false));
        QCOMPARE(map->value(u"data"_qs).toByteArray(), QByteArray("\0\1\2", 3));
        QCOMPARE(map->value(u"date"_qs).toDateTime(), QDateTime(QDate(2001, 1, 2), QTime(0, 0), Qt::UTC));
        QCOMPARE(map->value(u"list"_qs).toList(), (QVariantList{u"x"_qs, 1}));
    }

    // Whatever is cut off or changed: an answer or none, but no crash.
    void damageIsSurvived()
    {
        const QByteArray binary = binaryList();
        const QByteArray text = "/* c */ \"a\\U00e9\" = \"b\"; c = d;";
        for (const QByteArray &whole : {binary, text}) {
            for (qsizetype i = 0; i < whole.size(); ++i) {
                (void)dv_stringsFileFromData(whole.first(i));
                for (const char byte : {'\0', '\x7f', '\xff', '"', '\\'}) {
                    QByteArray changed = whole;
                    changed[i] = byte;
                    (void)dv_stringsFileFromData(changed);
                }
            }
        }
    }

    void nestingHasALimit_data()
    {
        const DVRows<int, bool> row("levels", "read");
        row("as deep as anybody nests", 60, true);
        row("too deep", 80, false);
        row("deeper than the stack", 300000, false);
    }
    void nestingHasALimit()
    {
        QFETCH(int, levels);
        QFETCH(bool, read);
        const QByteArray open = QByteArray("<array>").repeated(levels);
        const QByteArray close = QByteArray("</array>").repeated(levels);
        const QByteArray list = "<plist><dict><key>k</key>" + open + close + "</dict></plist>";
        QCOMPARE(dv_propertyListFromData(list).has_value(), read);
    }

    void declaredEntitiesAreRefused()
    {
        const QByteArray list =
            "<!DOCTYPE plist [<!ENTITY a \"aaaa\">]><plist><dict><key>&a;</key><true/></dict></plist>";
        QVERIFY(!dv_propertyListFromData(list));
        QVERIFY(!dv_propertyListFromData("<plist><dict><key>&a;</key><true/></dict></plist>"));
    }

private:
    // Objects laid out by hand: each of `objects`, then their offsets, then the trailer.
    static QByteArray binaryList(const QList<QByteArray> &objects)
    {
        QByteArray list = "bplist00";
        QByteArray offsets;
        for (const QByteArray &object : objects) {
            offsets.append(char(list.size() >> 8)).append(char(list.size() & 0xff));
            list += object;
        }
        QByteArray trailer(32, '\0');
        trailer[6] = 2; // bytes of an offset
        trailer[7] = 1; // bytes of a reference
        trailer[15] = char(objects.size());
        trailer[30] = char(list.size() >> 8);
        trailer[31] = char(list.size() & 0xff);
        return list + offsets + trailer;
    }

private Q_SLOTS:
    void binaryListsThatReferInAnUnsoundWay_data()
    {
        const DVRows<QList<QByteArray>, bool> row("objects", "read");
        const QByteArray key("\x51k");
        const QByteArray top("\xD1\x01\x02", 3); // {object 1: object 2}
        row("sound", QList<QByteArray>{top, key, key}, true);
        row("a dictionary that holds itself", QList<QByteArray>{QByteArray("\xD1\x01\x00", 3), key}, false);
        row("a reference to no object", QList<QByteArray>{QByteArray("\xD1\x01\x09", 3), key}, false);
        row("a key that is no text", QList<QByteArray>{top, QByteArray("\x10\x01"), key}, false);
        row("a length beyond the end",
            QList<QByteArray>{top, key, QByteArray("\x5F\x13\x7F\xFF\xFF\xFF\xFF\xFF\xFF\xFF")}, false);
        row("a count whose product wraps around",
            QList<QByteArray>{top, key, QByteArray("\xDF\x13\x80\0\0\0\0\0\0\0", 10)}, false);
        QList<QByteArray> doubling{top, key}; // 2^50 members, if each were read again
        for (char i = 3; i < 53; ++i)
            doubling.append(QByteArray("\xA2").append(i).append(i));
        doubling.append(key);
        row("lists that share their members", doubling, true);
    }
    void binaryListsThatReferInAnUnsoundWay()
    {
        QFETCH(QList<QByteArray>, objects);
        QFETCH(bool, read);
        QCOMPARE(dv_propertyListFromData(binaryList(objects)).has_value(), read);
    }

    void timeGrowsWithTheLengthWhateverTheText_data()
    {
        const DVRows<QByteArray> row("unit");
        row("quotes", "\"");
        row("openings of comments", "/*");
        row("short comments", "/**/");
        row("backslashes", "\"\\");
        row("entries", "a;");
    }
    void timeGrowsWithTheLengthWhateverTheText()
    {
        QFETCH(QByteArray, unit);
        const std::clock_t before = std::clock(); // of the processor: others may keep it busy
        (void)dv_stringsFileFromData(unit.repeated(4 << 20 >> (unit.size() / 2)));
        // A reader that looks back would take hours.
        const auto seconds = (std::clock() - before) / CLOCKS_PER_SEC;
        QVERIFY2(seconds < 20, qPrintable(QString::number(seconds)));
    }
};

QTEST_APPLESS_MAIN(TestStringsFile)
#include "tst_strings_file.moc"
