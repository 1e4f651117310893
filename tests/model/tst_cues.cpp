#include "DVCueMarkers.h"
#include "DVRows.h"
#include "DVState.h"

#include <QElapsedTimer>
#include <QTest>

#include <algorithm>

namespace {

// Texts are written here as dv_stringShowingCues shows them.
QString withMarkers(QString shown)
{
    return shown.replace(u'[', QChar(DVCueMarker::stringStart))
        .replace(u']', QChar(DVCueMarker::stringEnd))
        .replace(u'{', QChar(DVCueMarker::argumentStart))
        .replace(u'}', QChar(DVCueMarker::argumentEnd));
}

QStringList described(const QList<DVEditionItem> &items)
{
    QStringList texts;
    for (const auto &item : items)
        texts.append(QStringLiteral("%1+%2 level %3: %4")
                         .arg(QString::number(item.location), QString::number(item.length),
                              QString::number(item.level), dv_stringShowingCues(item.string())));
    return texts;
}

// The definition of the pieces of four and more cues, word for word: a cursor and a depth walk over
// a list from which matched pairs are removed, the inner ones first. Leaving the list means that the
// cues are not balanced. It costs the square of the number of cues.
QList<DVEditionItem> piecesByRemoval(const QString &text)
{
    QList<DVCue> cues;
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text[i] == QChar(DVCueMarker::stringStart) || text[i] == QChar(DVCueMarker::stringEnd))
            cues.append(DVCue::cueWithChar(text[i], i));
    }
    QList<DVEditionItem> items;
    qsizetype index = 0;
    int depth = 0;
    bool cueIsEnd = cues.at(0).cueType == DVCue::StringEnd;
    while (!cues.isEmpty()) {
        while (!cueIsEnd) {
            ++index;
            ++depth;
            if (index >= cues.size())
                return {};
            cueIsEnd = cues.at(index).cueType == DVCue::StringEnd;
        }
        if (index < 1)
            return {};
        const qsizetype start = cues.at(index - 1).position;
        items.append({text, start, cues.at(index).position - start + 1, depth});
        cues.remove(index - 1, 2);
        index -= 2;
        depth -= 2;
        cueIsEnd = false; // whatever stands there now is stepped over
    }
    std::sort(items.begin(), items.end(),
              [](const auto &a, const auto &b) { return a.location > b.location; });
    return items;
}

QString nested(int depth)
{
    return QString(depth, QChar(DVCueMarker::stringStart)) + QString(depth, QChar(DVCueMarker::stringEnd));
}

} // namespace

class tst_Cues : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { QTest::failOnWarning(QRegularExpression(QStringLiteral("."))); }

    void marking_data()
    {
        const DVRows<QString, QString> row("text", "marked");
        row("a text without arguments", "Hello", "[Hello]");
        row("an empty text", "", "[]");
        row("a text that is marked already", "[Hello {%d}]", "[Hello {%d}]");
        row("a text that only begins with a marker", "[%d", "[%d");
        row("one argument", "Total: %d items", "[Total: {%d} items]");
        row("an argument at each end", "%@ of %@", "[{%@} of {%@}]");
        row("arguments that touch", "%d%d", "[{%d}{%d}]");
        row("a position and a precision", "%1$.2f|%2$ld", "[{%1$.2f}|{%2$ld}]");
        row("a percent sign before a blank takes the next conversion", "50% off", "[50{% o}ff]");
        row("a specifier reaches over line ends", "%\n\td", "[{%\n\td}]");
        row("an escaped percent sign stays", "100%% sure", "[100%% sure]");
        row("an escaped one at the end is lost", "100%%", "[100]");
        row("nothing but an escaped one is lost", "%%", "[]");
        row("an escaped one before the last character stays", "%%x", "[%%x]");
        row("an escaped one before an argument", "%%%d", "[%%{%d}]");
        row("three signs at the end", "a%%%", "[a%%]");
        row("four signs", "%%%%", "[%%]");
        row("a lone percent sign", "%", "[]");
        row("no conversion before the end drops the rest", "5 % 3 - 2", "[5 ]");
        row("no conversion after an argument", "%d and % 3", "[{%d} and ]");
        row("the fullwidth sign is an ordinary character", "50\uFF05 off", "[50\uFF05 off]");
        row("surrogate pairs are left alone", "😀%d😀", "[😀{%d}😀]");
        for (const char *conversion = "@dDuUxXoOfeEgGcCsSpaAF"; *conversion; ++conversion) {
            const QString specifier = u'%' + QString(QLatin1Char(*conversion));
            QTest::addRow("conversion %c", *conversion) << specifier << QString(u"[{" % specifier % u"}]");
        }
        for (const char *other = "bBiIhHjklLmMnNPqQrRtTvVwWyYzZ"; *other; ++other)
            QTest::addRow("%c is no conversion", *other)
                << QString(u'%' + QString(QLatin1Char(*other))) << "[]";
    }
    void marking()
    {
        QFETCH(QString, text);
        const QString marked = dv_stringWithCues(withMarkers(text));
        QTEST(dv_stringShowingCues(marked), "marked");
        QCOMPARE(dv_stringWithCues(marked), marked);
    }

    void arguments_data()
    {
        const DVRows<QString, QStringList, QString, QString> row("text", "found", "emptied", "replaced");
        row("a text without arguments", "[Hello]", {}, "[Hello]", "[Hello]");
        row("a lone argument end", "a}b", {}, "a}b", "a}b");
        row("two arguments", "[{%@} of {%d}]", {"%@", "%d"}, "[{} of {}]", "[{<%@>} of {<%d>}]");
        row("an empty argument is not asked for", "[{}{5}]", {"5"}, "[{}{}]", "[{}{<5>}]");
        row("an argument that does not end", "[{%d items]", {"%d items]"}, "[{}", "[{<%d items]>}");
        row("an argument start at the end", "a{", {}, "a{}", "a{}");
        row("the first end closes", "{a{b}c}d", {"a{b"}, "{}c}d", "{<a{b>}c}d");
        row("an end before the start", "}a{b}", {"b"}, "}a{}", "}a{<b>}");
        row("a nested string", "[{[in {5}]} out]", {"[in {5"}, "[{}]} out]", "[{<[in {5>}]} out]");
    }
    void arguments()
    {
        QFETCH(QString, text);

        QStringList found;
        const auto replace = [&](const QString &argument) {
            found.append(dv_stringShowingCues(argument));
            return std::optional<QString>(u'<' % argument % u'>');
        };
        QTEST(dv_stringShowingCues(dv_enumerateCuesUsingBlock(withMarkers(text), replace)), "replaced");
        QTEST(found, "found");
        const auto empty = [](const QString &) { return std::optional<QString>(); };
        QTEST(dv_stringShowingCues(dv_enumerateCuesUsingBlock(withMarkers(text), empty)), "emptied");
        const auto keep = [](const QString &argument) { return std::optional(argument); };
        if (text.count(u'{') == text.count(u'}'))
            QCOMPARE(dv_enumerateCuesUsingBlock(withMarkers(text), keep), withMarkers(text));
    }

    void showingAndRemoving()
    {
        const QString marked = dv_stringWithCues(QStringLiteral("Total: %d items"));
        QCOMPARE(marked, QStringLiteral("\u200BTotal: \u2063%d\u2064 items\u2062"));
        QCOMPARE(dv_stringShowingCues(marked), QStringLiteral("[Total: {%d} items]"));
        QCOMPARE(dv_stringByRemovingCues(marked), QStringLiteral("Total: %d items"));
        QCOMPARE(dv_stringByRemovingCues(QStringLiteral("\u2064\u2064a\u2061b\u200C\u200B")),
                 QStringLiteral("a\u2061b\u200C"));
    }

    void pieces_data()
    {
        const DVRows<QString, QStringList> row("text", "items");
        row("no marker", "Hello", {});
        row("nothing", "", {});
        row("argument markers alone", "{5}", {});
        row("one piece", "[Hello]", {"0+7 level 1: [Hello]"});
        row("one piece is the whole text, with what stands around it", "a [b] c", {"0+7 level 1: a [b] c"});
        row("the empty marked string", "[]", {"0+2 level 1: []"});
        row("two in a row, the right one first", "[A] [B]", {"4+3 level 1: [B]", "0+3 level 1: [A]"});
        row("four cues leave out what stands around them", "x[A]y[B]z",
            {"5+3 level 1: [B]", "1+3 level 1: [A]"});
        row("one inside another", "[a {[b]} c]", {"4+3 level 2: [b]", "0+11 level 1: [a {[b]} c]"});
        row("two inside another, and one beside", "[{[a]}{[b]}][c]",
            {"12+3 level 1: [c]", "7+3 level 2: [b]", "2+3 level 2: [a]", "0+12 level 1: [{[a]}{[b]}]"});
        row("three levels", "[[[a]]]", {"2+3 level 3: [a]", "1+5 level 2: [[a]]", "0+7 level 1: [[[a]]]"});
        row("the first start was cut off: it is put back", "lo]", {"0+4 level 1: [lo]"});
        row("cut off before a second piece", "lo] [B]", {"5+3 level 1: [B]", "0+4 level 1: [lo]"});
        row("cut off, and still out of order", "a]b]c]", {});
        row("a text that begins with a start has lost none", "[a]b]", {});
        row("a start without its end", "[a] [b", {});
        row("an end without its start inside the text", "[a] b] c", {});
        row("a lone start", "[", {});
        row("a lone end is a piece whose start was cut off", "]", {"0+2 level 1: []"});
        row("two cues in the wrong order", "a]b[c", {});
        row("two starts", "[a[b", {});
        row("two ends", "a]b]", {});
        row("positions are UTF-16 units", "\U0001F600[\U0001F600][b]",
            {"6+3 level 1: [b]", "2+4 level 1: [\U0001F600]"});
    }
    void pieces()
    {
        QFETCH(QString, text);
        QTEST(described(dv_localizedStringsInString(withMarkers(text))), "items");
    }

    void piecesOfEveryOrderOfCues()
    {
        int balanced = 0;
        for (int length = 4; length <= 14; length += 2) {
            for (quint32 order = 0; order < 1u << length; ++order) {
                QString text;
                for (int i = 0; i < length; ++i) {
                    text += QChar(char16_t(u'a' + i));
                    text += QChar(order >> i & 1 ? DVCueMarker::stringEnd : DVCueMarker::stringStart);
                }
                const auto expected = piecesByRemoval(text);
                QVERIFY2(dv_localizedStringsInString(text) == expected,
                         qPrintable(dv_stringShowingCues(text)));
                balanced += !expected.isEmpty();
            }
        }
        // The Catalan numbers of 2 to 7 pairs: 2 + 5 + 14 + 42 + 132 + 429.
        QCOMPARE(balanced, 624);
    }

    void hostileTexts_data()
    {
        const DVRows<QString, qsizetype> row("text", "items");
        constexpr int many = 300000;
        const QString start(QChar{DVCueMarker::stringStart});
        const QString end(QChar{DVCueMarker::stringEnd});
        row("as deep as it is long", nested(many), qsizetype(many));
        row("a long row", QString(start + end).repeated(many), qsizetype(many));
        row("deep, then a long row", nested(many) + QString(start + end).repeated(many), qsizetype(2 * many));
        row("starts alone", start.repeated(2 * many), qsizetype(0));
        row("ends alone", end.repeated(2 * many), qsizetype(0));
        row("deep, and the first start was cut off",
            QString(u'x' + start.repeated(many - 1) + end.repeated(many)), qsizetype(many));
        row("percent signs alone", QString(2 * many, u'%'), qsizetype(0));
        row("argument starts alone", QString(2 * many, QChar(DVCueMarker::argumentStart)), qsizetype(0));
        row("argument starts and one end",
            QString(QString(2 * many, QChar(DVCueMarker::argumentStart)) + QChar(DVCueMarker::argumentEnd)),
            qsizetype(0));
    }
    // Removing pairs from a list would take minutes here; one pass takes milliseconds, so the limit holds
    // on a slow machine and under a sanitizer.
    void hostileTexts()
    {
        QFETCH(QString, text);
        QFETCH(qsizetype, items);

        QElapsedTimer timer;
        timer.start();
        QCOMPARE(dv_localizedStringsInString(text).size(), items);
        QVERIFY(dv_stringWithCues(text).size() >= 2);
        QVERIFY(dv_enumerateCuesUsingBlock(text, [](const QString &argument) {
                    return std::optional(argument);
                }).size() >= text.size());
        QVERIFY(timer.elapsed() < 5000);
    }

    void messages()
    {
        DVState::shared().debug = true;
        QTest::ignoreMessage(QtInfoMsg, "[DV] Incorrect number of cues found in [a] [b {%1}");
        QVERIFY(dv_localizedStringsInString(withMarkers(QStringLiteral("[a] [b {%1}"))).isEmpty());
        QTest::ignoreMessage(QtInfoMsg, "[DV] 2 juxtaposed strings found in [%1][%2]");
        QCOMPARE(dv_localizedStringsInString(withMarkers(QStringLiteral("[%1][%2]"))).size(), 2);
        QTest::failOnWarning(QRegularExpression(QStringLiteral(".")));
        QCOMPARE(dv_localizedStringsInString(withMarkers(QStringLiteral("[one]"))).size(), 1);
        DVState::shared().debug = false;
    }
};

QTEST_GUILESS_MAIN(tst_Cues)
#include "tst_cues.moc"
