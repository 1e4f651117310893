// What reading a strings file costs beside XML parsers that do nothing with what they find.
#include "HostileXliff.h"
#include "Measure.h"
#include "SampleStrings.h"

#include <DVStringTable.h>
#include <DVXliffReader.h>

#include <QXmlStreamReader>

#include <expat.h>
#include <libxml/SAX2.h>
#include <libxml/parser.h>

#include <algorithm>
#include <ctime>
#include <string>
#include <vector>

namespace {

constexpr qsizetype pieceSize = 64 * 1024;

template<typename Feed> void inPieces(const QByteArray &document, const Feed &feed)
{
    for (qsizetype at = 0; at < document.size(); at += pieceSize)
        feed(document.constData() + at, int(std::min(pieceSize, document.size() - at)));
}

// Each counts the elements, to be compared.

qsizetype readWithLibxml2(const QByteArray &document)
{
    qsizetype elements = 0;
    xmlSAXHandler handlers{};
    handlers.initialized = XML_SAX2_MAGIC;
    handlers.startElementNs = [](void *count, const xmlChar *, const xmlChar *, const xmlChar *, int,
                                 const xmlChar **, int, int,
                                 const xmlChar **) { ++*static_cast<qsizetype *>(count); };
    handlers.endElementNs = [](void *, const xmlChar *, const xmlChar *, const xmlChar *) {};
    handlers.characters = [](void *, const xmlChar *, int) {};
    handlers.ignorableWhitespace = handlers.characters;
    xmlParserCtxt *parser = xmlCreatePushParserCtxt(&handlers, &elements, nullptr, 0, nullptr);
    inPieces(document, [parser](const char *data, int size) { xmlParseChunk(parser, data, size, 0); });
    const bool failed = xmlParseChunk(parser, nullptr, 0, 1) != 0;
    xmlFreeParserCtxt(parser);
    return failed ? -1 : elements;
}

qsizetype readWithExpat(const QByteArray &document)
{
    qsizetype elements = 0;
    XML_ParserStruct *const parser = XML_ParserCreate("UTF-8");
    XML_SetUserData(parser, &elements);
    XML_SetElementHandler(
        parser, [](void *count, const char *, const char **) { ++*static_cast<qsizetype *>(count); },
        [](void *, const char *) {});
    XML_SetCharacterDataHandler(parser, [](void *, const char *, int) {});
    inPieces(document, [parser](const char *data, int size) { XML_Parse(parser, data, size, 0); });
    const bool failed = XML_Parse(parser, nullptr, 0, 1) != XML_STATUS_OK;
    XML_ParserFree(parser);
    return failed ? -1 : elements;
}

qsizetype readWithXmlStreamReader(const QByteArray &document)
{
    qsizetype elements = 0;
    QXmlStreamReader reader;
    const auto readOn = [&] {
        while (!reader.atEnd()) {
            if (reader.readNext() == QXmlStreamReader::StartElement)
                ++elements;
        }
    };
    inPieces(document, [&](const char *data, int size) {
        reader.addData(QByteArray::fromRawData(data, size));
        readOn();
    });
    return reader.hasError() ? -1 : elements;
}

qsizetype readUnits(const QByteArray &document, bool needCues)
{
    qsizetype units = 0;
    DVXliffReader reader(needCues, [&units](const DVXliffUnit &) { ++units; });
    inPieces(document, [&reader](const char *data, int size) { reader.feed({data, size}); });
    return reader.finish() ? -1 : units;
}

DVStringTablePtr readTable(const QByteArray &document, bool withSources)
{
    DVStringTableBuilder strings(false);
    DVStringTableBuilder sources(false, true);
    if (dv_readXliffIntoTables(document, DVStringStatusPublished, strings, withSources ? &sources : nullptr,
                               false))
        return nullptr;
    Measure::keep(sources.build());
    return strings.build();
}

void measure(Measure::Report &report, int size)
{
    const QByteArray document = SampleStrings::xliff(SampleStrings::make(size));
    const auto bytes = double(document.size());
    const auto expected = qsizetype(size);
    qsizetype libxml2 = 0;
    qsizetype expat = 0;
    qsizetype qt = 0;
    qsizetype plain = 0;
    qsizetype marked = 0;
    DVStringTablePtr table;

    report.section("a document of " + std::to_string(size) + " strings, " +
                       std::to_string(document.size() / 1000) + " kB, in pieces of 64 KiB",
                   Measure::MegabytesPerSecond);
    const auto results = report.run({
        {"libxml2 SAX2, empty handlers", [&] { libxml2 = readWithLibxml2(document); }, bytes},
        {"expat, empty handlers", [&] { expat = readWithExpat(document); }, bytes},
        {"QXmlStreamReader, tokens dropped", [&] { qt = readWithXmlStreamReader(document); }, bytes},
        {"our reader", [&] { plain = readUnits(document, false); }, bytes},
        {"our reader, with markers", [&] { marked = readUnits(document, true); }, bytes},
        {"our reader into a table", [&] { table = readTable(document, false); }, bytes},
        {"our reader into two tables", [&] { table = readTable(document, true); }, bytes},
    });
    report.check(libxml2 > 3 * expected && libxml2 == expat && libxml2 == qt,
                 "the parsers find the same elements");
    report.check(plain == expected && marked == expected, "our reader finds every unit");
    report.check(table && table->size() == expected, "the table holds every string");
    const auto &fastest =
        std::max(results[0], results[1],
                 [](const Measure::Result &a, const Measure::Result &b) { return a.median < b.median; });
    report.goalRatio("our reader at most 1.4 of the fastest with empty handlers", results[3], fastest, 1.4);
}

double processorMilliseconds(const std::function<void()> &run)
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

// The best of the rounds, since other programs can only make it longer.
double leastTime(const Measure::Report &report, const HostileDocument &hostile, size_t size)
{
    const QByteArray document = QByteArray::fromStdString(hostile.make(size));
    double least = 1e9;
    for (int round = 0; round < report.rounds(); ++round)
        least = std::min(least, processorMilliseconds([&document] { readUnits(document, true); }));
    return least;
}

void measureHostile(Measure::Report &report)
{
    constexpr size_t size = 4'000'000;
    constexpr double measurable = 1; // milliseconds; what is refused at once takes none
    report.section("hostile documents: time for 8 MB over time for 4 MB, where they are read that far",
                   Measure::Milliseconds);
    double worst = 0;
    for (const HostileDocument &hostile : HostileXliff::all()) {
        const double once = leastTime(report, hostile, size);
        if (once < measurable)
            continue;
        const double ratio = leastTime(report, hostile, 2 * size) / once;
        report.row(hostile.name, ratio, "");
        worst = std::max(worst, ratio);
    }
    report.goalAtMost("linear: at most 2.1", worst, 2.1);
}

} // namespace

int main(int argc, char **argv)
{
    Measure::Report report("reading XLIFF", argc, argv);
    for (const int size : report.sizes())
        measure(report, size);
    measureHostile(report);
    return report.finish();
}
