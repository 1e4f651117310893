// How the bytes of a document arrive must not matter, nor what a document is made of.
#include "DVRows.h"
#include "HostileXliff.h"
#include "XliffUnits.h"

#include <QRandomGenerator>
#include <QTest>
#include <QXmlStreamReader>

#include <ctime>

using XliffUnits::read;
using XliffUnits::Reading;
using XliffUnits::readInPieces;

namespace {

// Documents in which every kind of markup stands everywhere, of several windows' length.
class RandomDocument
{
public:
    explicit RandomDocument(quint32 seed)
        : m_random(seed)
    {}

    QByteArray make()
    {
        QByteArray document = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<xliff><file>";
        for (int i = 0; i < 60; ++i)
            document.append(m_random.bounded(3) == 0 ? text() : unit());
        return document.append("</file></xliff>\n");
    }

private:
    QByteArray unit()
    {
        QByteArray result = "<trans-unit id=\"u>" + QByteArray::number(m_random.bounded(1000)) +
                            oneOf({"", "[one]", "[other]", "[x"}) + "\" resname='k\"&lt;" +
                            QByteArray::number(m_random.bounded(50)) + "'>";
        for (const char *name : {"source", "target", "note"}) {
            if (m_random.bounded(4) > 0)
                result.append("<").append(name).append(">").append(text()).append("</").append(name).append(
                    ">\r\n");
        }
        return result.append("</trans-unit>");
    }

    QByteArray text()
    {
        QByteArray result;
        for (quint32 i = 0, count = m_random.bounded(6u); i < count; ++i)
            result.append(piece());
        return result;
    }

    QByteArray piece()
    {
        switch (m_random.bounded(8)) {
        case 0:
            return "<!--" + filling("- >'\"<a&") + "-->";
        case 1:
            return "<![CDATA[" + filling("]]\xC3\xA9><&amp;%\r\n") + "]]>";
        case 2:
            return "<?x " + filling("?>'\"<").replace("?>", "? ") + "?>";
        case 3:
            return "<ph id='>'>%" + QByteArray::number(m_random.bounded(9)) + "</ph>";
        case 4:
            return "<g a='" + filling(">\"&gt;") + "' b=\"'>\"/>";
        case 5:
            return oneOf({"&amp;", "&#233;", "&#x1F600;", "&lt;", "]]", "\r\n", "%"});
        default:
            return filling("a \xC3\xA9\xE6\x96\x87\xF0\x9F\x98\x80]!?'\"%\r\n>").replace("]]>", "]] >");
        }
    }

    // Mostly short, sometimes longer than a window; nothing that would end the markup around it.
    QByteArray filling(const QByteArray &pattern)
    {
        const int longest = m_random.bounded(25) == 0 ? 90'000 : m_random.bounded(4) == 0 ? 4'000 : 40;
        const bool isMarkup =
            pattern.startsWith("- >") || pattern.startsWith("?>") || pattern.startsWith(">");
        const int size = int(m_random.bounded(isMarkup ? std::min(longest, 50'000) : longest));
        QByteArray result = pattern.repeated(size / int(pattern.size()) + 1);
        return pattern.startsWith("- >") ? result.append(' ') : result;
    }

    QByteArray oneOf(std::initializer_list<const char *> choice)
    {
        return *(choice.begin() + m_random.bounded(quint32(choice.size())));
    }

    QRandomGenerator m_random;
};

// Breaks a document in one place: the result must be the same error everywhere.
QByteArray damaged(QByteArray document, QRandomGenerator &random)
{
    const auto at = random.bounded(quint32(document.size()));
    static const char *const damages[] = {"<", "&", "\x01", "</x>", "\xFF", "<!DOCTYPE x>", "]]>", "'"};
    return document.insert(qsizetype(at), damages[random.bounded(8)]);
}

// The target texts as another parser finds them.
QStringList targetsByOtherParser(const QByteArray &document)
{
    QStringList targets;
    QString target;
    QXmlStreamReader reader(document);
    bool inTarget = false;
    while (!reader.atEnd()) {
        reader.readNext();
        if (reader.isStartElement() && reader.name() == u"trans-unit")
            target.clear();
        if (reader.isStartElement() && reader.name() == u"target")
            inTarget = true;
        if (reader.isEndElement() && reader.name() == u"target")
            inTarget = false;
        if (reader.isCharacters() && inTarget)
            target += reader.text();
        if (reader.isEndElement() && reader.name() == u"trans-unit")
            targets.append(target);
    }
    return reader.hasError() ? QStringList{reader.errorString()} : targets;
}

double milliseconds(const std::function<void()> &run)
{
    const auto now = [] {
        timespec time{};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
        return double(time.tv_sec) * 1e3 + double(time.tv_nsec) / 1e6;
    };
    const double begin = now();
    run();
    return now() - begin;
}

} // namespace

class tst_XliffCuts : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { QTest::failOnWarning(QRegularExpression(QStringLiteral("."))); }

    void everyCutOfASmallDocument()
    {
        const QByteArray document =
            "<?xml version='1.0'?><a><!-- > --><trans-unit id='1[one]' resname='&gt;>'>"
            "<source>\xC3\xA9\r\n%<ph>%@</ph></source><target><![CDATA[]]]]>&amp;</target>"
            "<note>n</note></trans-unit><b c='d>e'/></a>";
        const Reading whole = read(document, true);
        QCOMPARE(whole.error, std::nullopt);
        QCOMPARE(whole.units, QStringList{u">> 1[one] one | [é\n％{%@}] | []]&] | n"_qs});
        for (qsizetype end = 0; end <= document.size(); ++end) {
            const QByteArray part = document.first(end);
            const Reading expected = read(part, true);
            QCOMPARE(!expected.error, end == document.size());
            for (qsizetype cut = 0; cut <= end; ++cut) {
                bool first = true;
                const auto reading = readInPieces(
                    part, true, [&] { return std::exchange(first, false) ? cut : document.size(); });
                QCOMPARE(reading, expected);
            }
        }
    }

    void randomCutsOfRandomDocuments()
    {
        QRandomGenerator random(1);
        qsizetype longest = 0;
        for (quint32 seed = 0; seed < 60; ++seed) {
            QByteArray document = RandomDocument(seed).make();
            longest = std::max(longest, document.size());
            if (seed % 3 == 0)
                document = damaged(document, random);
            const Reading expected = read(document, true);
            if (seed % 3 != 0)
                QCOMPARE(expected.error, std::nullopt);
            for (const quint32 bound : {2u, 8u, 70'000u, 300'000u}) {
                const auto reading =
                    readInPieces(document, true, [&] { return qsizetype(random.bounded(1u, bound)); });
                QVERIFY2(reading == expected,
                         qPrintable(QStringLiteral("seed %1, pieces below %2").arg(seed).arg(bound)));
            }
        }
        QVERIFY(longest > 5 * DVXliffReader::maximumMarkupLength);
    }

    void sameTextsAsAnotherParser()
    {
        for (quint32 seed = 100; seed < 140; ++seed) {
            const QByteArray document = RandomDocument(seed).make();
            QStringList targets;
            const auto error = DVXliffReader::read(document, false, [&targets](const DVXliffUnit &unit) {
                // Placeholders hold no other text than a percent sign and a digit here.
                targets.append(QString::fromUtf8(unit.target.data(), qsizetype(unit.target.size()))
                                   .replace(u'％', u'%'));
            });
            QCOMPARE(error, std::nullopt);
            QCOMPARE(targets, targetsByOtherParser(document));
        }
    }

    void hostile_data()
    {
        const DVRows<int> row("document");
        const auto documents = HostileXliff::all();
        for (size_t i = 0; i < documents.size(); ++i)
            row(documents[i].name, int(i));
    }
    // A reader that goes back needs four times as long for twice as much. Neighbours on the machine take the
    // caches, from the longer text more than from the shorter: what looks like it is measured again.
    void hostile()
    {
        QFETCH(int, document);
        const HostileDocument hostile = HostileXliff::all()[size_t(document)];
        const auto once = QByteArray::fromStdString(hostile.make(600'000));
        const auto twice = QByteArray::fromStdString(hostile.make(1'200'000));
        const Reading expected = read(twice, true);
        QCOMPARE(!expected.error, hostile.isRead);
        for (const qsizetype piece : {1, 7, 64 * 1024}) {
            const auto time = [piece](const QByteArray &bytes) {
                return milliseconds([&] { readInPieces(bytes, true, [piece] { return piece; }); });
            };
            constexpr double tooMuch = 3;
            constexpr double unmeasurable = 1;
            double shorter = time(once);
            double longer = time(twice);
            for (int round = 0; round < 10 && longer > tooMuch * shorter + unmeasurable; ++round) {
                shorter = std::min(shorter, time(once));
                longer = std::min(longer, time(twice));
            }
            QVERIFY2(longer <= tooMuch * shorter + unmeasurable,
                     qPrintable(u"%1 ms, then %2 ms in pieces of %3"_qs.arg(shorter).arg(longer).arg(piece)));
            QCOMPARE(readInPieces(twice, true, [piece] { return piece; }), expected);
        }
    }
};

QTEST_APPLESS_MAIN(tst_XliffCuts)
#include "tst_xliffcuts.moc"
