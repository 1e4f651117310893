// Runs the operations whose instructions are counted, each a known number of times between marks for
// callgrind, and says how often: "count NAME REPETITIONS". "made-with NAME: VERSION" says what else
// decides the counts. scripts/instructions reads both.
#include "Measure.h"
#include "SampleStore.h"

#include "DVLookup.h"

#include <QRandomGenerator>

#include <gnu/libc-version.h>
#include <libxml/parser.h>
#include <valgrind/callgrind.h>

#include <cstring>

// Random sources that give the same in every run. The environment cannot do that: Qt asks the processor
// first, and libxml2 the clock.

static uint64_t nextOfFixedSequence()
{
    static uint64_t state = 0;
    state += 0x9E3779B97F4A7C15u;
    const uint64_t mixed = (state ^ (state >> 30)) * 0xBF58476D1CE4E5B9u;
    return mixed ^ (mixed >> 27);
}

// Hides Qt's, which seeds the hashes of keys.
quint64 QRandomGenerator::_fillRange(void *buffer, qptrdiff count)
{
    for (qptrdiff i = 0; buffer && i < count; ++i)
        static_cast<quint32 *>(buffer)[i] = quint32(nextOfFixedSequence());
    return nextOfFixedSequence();
}

// Hides libc's, with which libxml2 seeds the hashes of names.
extern "C" __attribute__((visibility("default"))) int rand_r(unsigned *) noexcept
{
    return int(nextOfFixedSequence() >> 33);
}

namespace {

constexpr int stringCount = 10'000;
constexpr size_t lookups = 2'000;
constexpr const char *context = "MainWindow";

void serve(const QString &locale, const DVStringTablePtr &table)
{
    SampleStore::serve(locale, table);
    // As on a system with membarrier, which valgrind does not know; this program has one thread.
    DVEpoch::readersNeedFence = false;
}

DVStringTablePtr parse(const QByteArray &document)
{
    DVStringTableBuilder strings(false);
    DVStringTableBuilder sources(false, true);
    if (dv_readXliffIntoTables(document, DVStringStatusPublished, strings, &sources, false))
        return nullptr;
    Measure::keep(sources.build());
    return strings.build();
}

constexpr std::array<std::pair<int, const char *>, 4> polish{
    {{1, "one"}, {3, "few"}, {5, "many"}, {22, "few"}}};

DVStringTablePtr pluralTable(const std::vector<SampleString> &strings)
{
    DVStringTableBuilder builder(false);
    for (const SampleString &string : strings) {
        for (const char *category : {"one", "few", "many", "other"}) {
            const std::string text = string.target + ' ' + category;
            builder.add({string.key, string.key, category, text, {}});
        }
    }
    return builder.build();
}

// Runs `operation` with 0, 1, ... and counts it; the first pass warms up. False: a result is wrong.
template<typename Operation> bool count(const char *name, size_t repetitions, const Operation &operation)
{
    bool right = true;
    for (size_t i = 0; i < repetitions; ++i)
        right = operation(i) && right;
    CALLGRIND_ZERO_STATS;
    CALLGRIND_TOGGLE_COLLECT;
    for (size_t i = 0; i < repetitions; ++i)
        right = operation(i) && right;
    CALLGRIND_TOGGLE_COLLECT;
    CALLGRIND_DUMP_STATS_AT(name);
    std::printf("count %s %zu\n", name, repetitions);
    if (!right)
        std::fprintf(stderr, "%s: a result is wrong\n", name);
    return right;
}

bool countLookups(const std::vector<SampleString> &strings)
{
    std::vector<QString> expected;
    std::vector<std::string> absent;
    for (const SampleString &string : strings) {
        expected.push_back(QString::fromStdString(string.target));
        absent.push_back(string.key + ".absent");
    }
    const bool hits = count("hit", lookups, [&](size_t i) {
        return DVLookup::translation(context, strings[i].key.c_str(), nullptr, -1).size() ==
               expected[i].size();
    });
    const bool misses = count("miss", lookups, [&](size_t i) {
        return DVLookup::translation(context, absent[i].c_str(), nullptr, -1).isNull();
    });
    return hits && misses;
}

bool countPlurals(const std::vector<SampleString> &strings)
{
    std::vector<qsizetype> expected;
    for (size_t i = 0; i < lookups; ++i)
        expected.push_back(QString::fromStdString(strings[i].target).size() + 1 +
                           qsizetype(std::strlen(polish[i % polish.size()].second)));
    return count("plural", lookups, [&](size_t i) {
        const int n = polish[i % polish.size()].first;
        return DVLookup::translation(context, strings[i].key.c_str(), nullptr, n).size() == expected[i];
    });
}

bool countReverseLookups(const std::vector<SampleString> &strings)
{
    std::vector<QString> shown;
    for (size_t i = 0; i < lookups; ++i)
        shown.push_back(dv_stringWithCues(QString::fromStdString(strings[i].target)));
    const auto &controller = DVMainController::sharedInstance();
    return count("reverse", lookups, [&](size_t i) {
        const DVStringPtr found = controller.dorvaneStringForLocalizedString(shown[i]);
        return found && found->localizedFormat.size() == shown[i].size();
    });
}

void sayMadeWith()
{
#if defined(__clang__)
    std::printf("made-with compiler: clang %s\n", __clang_version__);
#else
    std::printf("made-with compiler: g++ %d.%d.%d\n", __GNUC__, __GNUC_MINOR__, __GNUC_PATCHLEVEL__);
#endif
    std::printf("made-with architecture: %s\n", qPrintable(QSysInfo::buildAbi()));
    std::printf("made-with Qt: %s\n", qVersion());
    std::printf("made-with libxml2: %s\n", xmlParserVersion);
    std::printf("made-with libc: %s\n", gnu_get_libc_version());
}

} // namespace

int main()
{
    sayMadeWith();
    const std::vector<SampleString> strings = SampleStrings::make(stringCount);
    const QByteArray document = SampleStrings::xliff(strings);
    DVStringTablePtr table;
    bool right = count("parse", 1, [&](size_t) {
        table = parse(document);
        return table && table->size() == stringCount;
    });
    serve(QStringLiteral("fr"), table);
    right = countLookups(strings) && right;
    serve(QStringLiteral("pl"), pluralTable(strings));
    right = countPlurals(strings) && right;
    serve(QStringLiteral("fr"), SampleStore::markedTable(strings));
    right = countReverseLookups(strings) && right;
    return right ? 0 : 1;
}
