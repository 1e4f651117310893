#include "DVCueMarkers.h"
#include "DVRows.h"
#include "DVStringTable.h"

#include <QRandomGenerator>
#include <QTest>

#include <barrier>
#include <thread>

namespace {

using Category = DVPluralCategory;
using Form = DVStringTableBuilder::Form;
using Model = QHash<QString, DVStringGroupPtr>;
constexpr auto notFound = DVStringTable::notFound;

// What one add() says, with texts of its own.
struct Said
{
    QString key = {};
    QString uid = {};
    QString pluralForm = {};
    QString text = {};
    QString note = {};
    quint32 status = 0;
    bool statusAlways = false;
};

void addTo(DVStringTableBuilder &builder, const Said &said)
{
    const auto utf8 = [](const QString &text) { return text.isNull() ? QByteArray() : text.toUtf8(); };
    const QByteArray key = said.key.toUtf8();
    const QByteArray uid = utf8(said.uid);
    const QByteArray plural = utf8(said.pluralForm);
    const QByteArray text = said.text.toUtf8();
    const QByteArray note = utf8(said.note);
    const auto view = [](const QByteArray &bytes) {
        return bytes.isNull() ? std::string_view()
                              : std::string_view(bytes.constData(), size_t(bytes.size()));
    };
    builder.add({view(key), view(uid), view(plural), view(text), view(note), said.status, said.statusAlways});
}

// The same for groups of records, as the XLIFF reader's rule has it.
void addTo(Model &model, const Said &said, bool fromBase)
{
    auto form = std::make_shared<DVString>();
    form->key = said.key;
    form->uid = said.uid;
    form->pluralForm = said.pluralForm;
    form->note = said.note;
    form->fromBase = fromBase;
    form->extractFormatFromString(said.text);
    auto &group = model[said.key];
    if (group || said.statusAlways) {
        group = group ? group : std::make_shared<DVStringGroup>();
        group->status = said.status;
    } else {
        group = std::make_shared<DVStringGroup>();
    }
    group->addStringForm(form);
}

QString described(const DVString &form)
{
    return QStringList{form.key,
                       form.uid,
                       form.pluralForm,
                       form.localizedFormat,
                       form.note,
                       form.localizedHash,
                       form.argumentFormatSpecifiers.join(u','),
                       QString::number(form.fromBase),
                       QString::number(form.uid.isNull()),
                       QString::number(form.note.isNull()),
                       QString::number(form.pluralForm.isNull())}
        .join(u'|');
}

QStringList described(const DVStringGroup &group)
{
    QStringList lines{group.key, QString::number(group.status), QString::number(group.hasPlurals)};
    QStringList forms;
    for (auto it = group.pluralForms.begin(); it != group.pluralForms.end(); ++it)
        forms.append(it.key() + u": " + described(**it));
    forms.sort();
    return lines + forms;
}

QString localizedFormat(const DVStringPtr &form)
{
    return form ? form->localizedFormat : QString();
}

class RandomStrings
{
public:
    explicit RandomStrings(quint32 seed)
        : m_random(seed)
    {}

    Said said(bool marked)
    {
        Said said;
        said.key = oneOf({u""_qs, u"a"_qs, u"Hello %1"_qs, u"50％ off"_qs, u"clé"_qs, u"鍵"_qs, u"😀"_qs,
                          u"\uFEFFk"_qs}) +
                   (m_random.bounded(3) ? QString::number(m_random.bounded(400)) : QString());
        said.pluralForm = oneOf({QString(), QString(), u"one"_qs, u"other"_qs, u"few"_qs, u"zero"_qs,
                                 u"none"_qs, u"dual"_qs, u"alpha"_qs, u""_qs});
        said.text = m_random.bounded(5) == 0
                        ? said.key
                        : oneOf({u""_qs, u"text"_qs, u"TEXT %@ é"_qs, u"\uFEFF😀"_qs}) + said.uid;
        if (marked)
            said.text = dv_stringWithCues(said.text);
        said.uid = oneOf({QString(), u""_qs, u"u1[one]"_qs, QString(200, u'x')});
        said.note = oneOf({QString(), u""_qs, u"a note"_qs});
        said.status = m_random.bounded(5u);
        said.statusAlways = m_random.bounded(4) == 0;
        return said;
    }

private:
    QString oneOf(std::initializer_list<QString> choice)
    {
        return *(choice.begin() + m_random.bounded(quint32(choice.size())));
    }

    QRandomGenerator m_random;
};

DVStringTablePtr tableOf(const QList<Said> &strings, bool marked = false, bool fromBase = false)
{
    DVStringTableBuilder builder(marked, fromBase);
    for (const Said &said : strings)
        addTo(builder, said);
    return builder.build();
}

} // namespace

class tst_StringTable : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void knowsWhetherKeysHoldPictures_data()
    {
        const DVRows<QString, bool> row("key", "holds");
        row("a context's separator", "A\u2404b", true);
        row("the first picture", "\u2400", true);
        row("the last picture", "b\u241F", true);
        row("the sign behind the pictures", "\u2420", false);
        row("another sign with the same first byte", u"a\u2026 \u2400"_qs.left(2), false);
        row("plain", "plain", false);
        row("empty", "", false);
    }
    void knowsWhetherKeysHoldPictures()
    {
        QFETCH(QString, key);
        DVStringTableBuilder builder(false);
        addTo(builder, {.key = u"other"_qs, .text = u"\u2404"_qs});
        addTo(builder, {.key = key, .text = u"x"_qs});
        addTo(builder, {.key = u"another"_qs, .text = u"x"_qs});
        QTEST(builder.build()->hasPictureKeys(), "holds");
    }

    void init() { QTest::failOnWarning(QRegularExpression(QStringLiteral("."))); }

    void behavesAsGroupsDo_data()
    {
        const DVRows<bool, bool> row("marked", "fromBase");
        row("plain", false, false);
        row("marked", true, false);
        row("base", false, true);
    }
    void behavesAsGroupsDo()
    {
        QFETCH(bool, marked);
        QFETCH(bool, fromBase);
        for (quint32 seed = 0; seed < 30; ++seed) {
            RandomStrings strings(seed);
            DVStringTableBuilder builder(marked, fromBase);
            Model model;
            for (int file = 0; file < 3; ++file) {
                builder.beginFile();
                Model ofFile;
                for (int i = 0; i < 300; ++i) {
                    const Said said = strings.said(marked);
                    addTo(builder, said);
                    addTo(ofFile, said, fromBase);
                }
                model.insert(ofFile);
            }
            const auto table = builder.build();
            QVERIFY(builder.isEmpty());
            QCOMPARE(table->size(), model.size());
            for (const auto &group : model)
                compareEntry(*table, *group);
        }
    }

    void emptyTable()
    {
        const auto table = tableOf({});
        QCOMPARE(table->size(), 0);
        QCOMPARE(table->find(""), notFound);
        QCOMPARE(table->find("key"), notFound);
        QCOMPARE(table->find(nullptr), notFound);
        QVERIFY(!table->stringForLocalizedHash(QString()));
        QVERIFY(table->hasSameContent(*tableOf({})));
    }

    void unusualKeys()
    {
        const QString huge(1'000'000, u'é');
        const QString longer = huge + u'x';
        const QString withNul = QStringLiteral("a") + QChar(0) + u'b';
        const auto table = tableOf({{.key = u""_qs, .text = u"empty"_qs},
                                    {.key = huge, .text = u"huge"_qs},
                                    {.key = withNul, .text = u"nul"_qs},
                                    {.key = u"\uFFFD"_qs, .text = u"replacement"_qs}});
        const auto textOf = [&table](const auto &...key) {
            const auto entry = table->find(key...);
            return entry == notFound ? QString() : table->text(entry);
        };
        QCOMPARE(textOf(""), u"empty"_qs);
        QCOMPARE(textOf(QStringView()), u"empty"_qs);
        QCOMPARE(textOf(QStringView(huge)), u"huge"_qs);
        QCOMPARE(textOf(huge.toUtf8().constData()), u"huge"_qs);
        QCOMPARE(textOf(QStringView(longer)), QString());
        QCOMPARE(textOf(withNul.toUtf8().constData(), 3), u"nul"_qs);
        QCOMPARE(textOf(QStringView(withNul)), u"nul"_qs);
        QCOMPARE(textOf("a"), QString());
        // Nothing that is no Unicode finds anything, nor the character that stands for it elsewhere.
        for (const char *malformed :
             {"\xFF", "\xC3", "\xE2\x82", "\xED\xA0\x80", "\x80", "\xF8\x88\x80\x80\x80"})
            QCOMPARE(table->find(malformed), notFound);
        for (const QString &half :
             {QString(QChar(0xD83D)), QString(QChar(0xDE00)), QString(u'x').prepend(QChar(0xD83D))})
            QCOMPARE(table->find(QStringView(half)), notFound);
        QCOMPARE(textOf(u"\uFFFD"_qs), u"replacement"_qs);
    }

    void textEqualsKey_data()
    {
        const DVRows<QString, QString, bool> row("key", "text", "isEqual");
        row("the same", "Save", "Save", true);
        row("another", "Save", "Speichern", false);
        row("longer", "Save", "Save as", false);
        row("shorter", "Save as", "Save", false);
        row("another case", "Save", "save", false);
        row("both empty", "", "", true);
        row("empty text", "Save", "", false);
        row("empty key", "", "Save", false);
        row("percent sign that the reader made fullwidth", "%50% off", "％50％ off", true);
        row("fullwidth in both", "％", "％", true);
        row("argument", "Hello %1", "Hello %1", true);
        row("other alphabets", "鍵😀é", "鍵😀é", true);
        row("other alphabets that differ at the end", "鍵😀é", "鍵😀è", false);
    }
    void textEqualsKey()
    {
        QFETCH(QString, key);
        QFETCH(QString, text);
        QFETCH(bool, isEqual);
        const auto plain = tableOf({{.key = key, .text = text}});
        QCOMPARE(plain->textEqualsKey(0), isEqual);
        const auto marked = tableOf({{.key = key, .text = u'\u200B' + text + u'\u2062'}}, true);
        QCOMPARE(marked->textEqualsKey(0), isEqual);
    }

    void repeatedHitsShareOneText()
    {
        QList<QString> kept;
        {
            const auto table = tableOf({{.key = u"k"_qs, .pluralForm = u"one"_qs, .text = u"[one]"_qs},
                                        {.key = u"k"_qs, .pluralForm = u"other"_qs, .text = u"[other]"_qs}},
                                       true);
            for (int i = 0; i < 2; ++i) {
                kept << table->text(0) << table->plainText(0) << table->text(0, Category::One)
                     << table->plainText(0, Category::One);
            }
        }
        for (int i = 0; i < 4; ++i) {
            QVERIFY(kept[i].constData() == kept[i + 4].constData());
            QVERIFY(kept[i] == (i < 2 ? u"[other]" : u"[one]"));
        }
        // A text is the holder's own once somebody writes to it.
        kept[0].append(u'x');
        QCOMPARE(kept[4], u"[other]"_qs);
    }

    void recordsKeepTheirIdentity()
    {
        const auto table = tableOf({{.key = u"k"_qs, .text = u"Text"_qs}}, false, true);
        const auto group = table->group(0);
        QCOMPARE(table->group(0), group);
        const auto form = group->stringForPluralForm({}, true);
        QVERIFY(form->fromBase);
        QCOMPARE(form->group.lock(), group);
        QCOMPARE(table->stringForLocalizedHash(u"text"_qs), form);
        group->status = DVStringStatusRejected;
        QCOMPARE(table->group(0)->status, quint32(DVStringStatusRejected));
    }

    void findsByLocalizedHash()
    {
        const auto marked = [](const char16_t *text) { return dv_stringWithCues(QString::fromUtf16(text)); };
        DVStringTableBuilder builder(true);
        addTo(builder, {.key = u"second"_qs, .text = marked(u"Save")});
        addTo(builder, {.key = u"first"_qs, .text = marked(u"SAVE")});
        addTo(builder, {.key = u"n"_qs, .pluralForm = u"one"_qs, .text = marked(u"%d File")});
        addTo(builder, {.key = u"n"_qs, .pluralForm = u"dual"_qs, .text = marked(u"Both Files")});
        addTo(builder, {.key = u"e"_qs, .text = marked(u"É")});
        builder.beginFile();
        addTo(builder, {.key = u"first"_qs, .text = marked(u"save")});
        const auto table = builder.build();
        const auto keyOf = [&table](const QString &hash) {
            const auto form = table->stringForLocalizedHash(hash);
            return form ? form->key + u'/' + form->pluralForm : QString();
        };
        QCOMPARE(keyOf(marked(u"save")), u"second/"_qs);
        QCOMPARE(keyOf(u"save"_qs), QString());
        QCOMPARE(keyOf(marked(u"Save")), QString());
        QCOMPARE(keyOf(dv_localizedHash(marked(u"%@ FILE"), true)), u"n/one"_qs);
        QCOMPARE(keyOf(marked(u"both files")), u"n/dual"_qs);
        QCOMPARE(keyOf(marked(u"é")), u"e/"_qs);
    }

    void sameContent()
    {
        const QList<Said> strings{{.key = u"a"_qs, .uid = u"1"_qs, .text = u"x"_qs},
                                  {.key = u"b"_qs, .pluralForm = u"one"_qs, .text = u"y"_qs},
                                  {.key = u"b"_qs, .pluralForm = u"other"_qs, .text = u"z"_qs}};
        const auto table = tableOf(strings);
        auto others = strings;
        std::reverse(others.begin(), others.end());
        others[2].uid = u"2"_qs; // not what a user sees
        QVERIFY(table->hasSameContent(*tableOf(others)));
        for (qsizetype i = 0; i < strings.size(); ++i) {
            auto changed = strings;
            changed[i].text += u'!';
            QVERIFY(!table->hasSameContent(*tableOf(changed)));
            changed = strings;
            changed[i].key += u'!';
            QVERIFY(!table->hasSameContent(*tableOf(changed)));
            changed = strings;
            changed[i].pluralForm = u"few"_qs;
            QVERIFY(!table->hasSameContent(*tableOf(changed)));
            changed.removeAt(i);
            QVERIFY(!table->hasSameContent(*tableOf(changed)));
        }
    }

    void fullBuilder()
    {
        DVStringTableBuilder builder(false);
        builder.setMaximumPoolSize(100'000);
        int added = 0;
        for (; !builder.isFull() && added < 100'000; ++added)
            addTo(builder, {.key = QString::number(added), .text = QString(20, u'x')});
        addTo(builder, {.key = u"late"_qs});
        const auto table = builder.build();
        QVERIFY(table->size() > 500);
        QCOMPARE(table->size(), added - 1);
        QCOMPARE(table->find("late"), notFound);
        QCOMPARE(table->text(table->find("0")), QString(20, u'x'));

        DVStringTableBuilder small(false);
        small.setMaximumPoolSize(1000);
        const QByteArray unit =
            "<trans-unit resname='k'><target>" + QByteArray(900, 'x') + "</target></trans-unit>";
        const auto error =
            dv_readXliffIntoTables(QByteArray("<a>" + unit + "</a>"), 1, small, nullptr, false);
        QVERIFY(error);
        QCOMPARE(error->code, 2);
    }

    void manyStrings()
    {
        constexpr int count = 2'000'000;
        DVStringTableBuilder builder(false);
        for (int i = 0; i < count; ++i) {
            const QByteArray number = QByteArray::number(i);
            const std::string_view text(number.constData(), size_t(number.size()));
            Form form;
            form.key = text;
            form.text = text;
            builder.add(form);
        }
        const auto table = builder.build();
        QCOMPARE(table->size(), count);
        std::vector<bool> found(size_t(count), false);
        for (int i = 0; i < count; ++i) {
            const QByteArray number = QByteArray::number(i);
            const auto entry = table->find(number.constData());
            QVERIFY(entry != notFound && !found[entry]);
            found[entry] = true;
            if (i % 1000 == 0)
                QCOMPARE(table->text(entry), QString::fromLatin1(number));
        }
        QCOMPARE(table->find("2000000"), notFound);
        QCOMPARE(table->find("-1"), notFound);
    }

    // Categories that nobody knows are looked for among each other; their number must not matter.
    void manyFormsOfOneKey()
    {
        constexpr int count = 200'000;
        DVStringTableBuilder builder(false);
        for (int i = 0; i < count; ++i)
            addTo(builder, {.key = u"k"_qs, .pluralForm = QString::number(i), .text = QString::number(i)});
        addTo(builder, {.key = u"k"_qs, .pluralForm = u"7"_qs, .text = u"seven"_qs});
        const auto table = builder.build();
        QCOMPARE(table->size(), 1);
        const auto group = table->group(0);
        QCOMPARE(group->pluralForms.size(), count);
        QCOMPARE(group->pluralForms.value(u"7"_qs)->localizedFormat, u"seven"_qs);
        QCOMPARE(table->text(0), group->stringForPluralForm({}, false)->localizedFormat);
        QCOMPARE(table->text(0, Category::Two), table->text(0));
    }

    void fourThreads()
    {
        QList<Said> strings;
        for (int i = 0; i < 500; ++i) {
            const QString number = QString::number(i);
            strings.append(
                {.key = number, .pluralForm = u"one"_qs, .text = u"\u200Bone "_qs + number + u'\u2062'});
            strings.append(
                {.key = number, .pluralForm = u"other"_qs, .text = u"\u200Bother "_qs + number + u'\u2062'});
        }
        for (int round = 0; round < 20; ++round) {
            const auto table = tableOf(strings, true);
            constexpr int threadCount = 4;
            std::barrier start(threadCount);
            std::vector<QList<QString>> seen(threadCount);
            std::vector<std::thread> threads;
            threads.reserve(threadCount);
            for (int thread = 0; thread < threadCount; ++thread) {
                threads.emplace_back([&, thread] {
                    start.arrive_and_wait();
                    for (int i = 0; i < 500; ++i) {
                        const auto entry = table->find(QByteArray::number(i).constData());
                        seen[size_t(thread)] << table->text(entry) << table->plainText(entry)
                                             << table->text(entry, Category::One)
                                             << table->plainText(entry, Category::One);
                    }
                });
            }
            for (auto &thread : threads)
                thread.join();
            QCOMPARE(seen[0].mid(0, 4), (QList<QString>{u"\u200Bother 0\u2062"_qs, u"other 0"_qs,
                                                        u"\u200Bone 0\u2062"_qs, u"one 0"_qs}));
            for (int thread = 1; thread < threadCount; ++thread) {
                for (qsizetype i = 0; i < seen[0].size(); ++i)
                    QVERIFY(seen[size_t(thread)][i].constData() == seen[0][i].constData());
            }
        }
    }

private:
    static void compareEntry(const DVStringTable &table, const DVStringGroup &group)
    {
        const auto entry = table.find(QStringView(group.key));
        QVERIFY(entry < DVStringTable::Entry(table.size()));
        const QByteArray utf8 = group.key.toUtf8();
        QCOMPARE(table.find(utf8.constData()), entry);
        QCOMPARE(table.find(utf8.constData(), utf8.size()), entry);
        QCOMPARE(table.key(entry), group.key);
        QCOMPARE(table.hasPlurals(entry), group.hasPlurals);

        const auto plain = [&](const QString &text) {
            return table.isMarked() ? dv_stringByRemovingCues(text) : text;
        };
        const QString text = localizedFormat(group.stringForPluralForm({}, false));
        QCOMPARE(table.text(entry), text);
        QVERIFY(!table.text(entry).isNull());
        QCOMPARE(table.plainText(entry), plain(text));
        for (int i = 0; i < DVPluralCategoryCount; ++i) {
            const auto category = Category(i);
            const QString ofForm =
                localizedFormat(group.stringForPluralForm(dv_pluralCategoryName(category), false));
            QCOMPARE(table.text(entry, category), ofForm);
            QCOMPARE(table.plainText(entry, category), plain(ofForm));
        }
        QCOMPARE(described(*table.group(entry)), described(group));
    }
};

QTEST_APPLESS_MAIN(tst_StringTable)
#include "tst_stringtable.moc"
