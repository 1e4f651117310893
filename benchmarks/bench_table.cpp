// What one lookup costs in a string table, beside the ways in which applications look texts up today.
#include "Measure.h"
#include "PeerFiles.h"

#include <DVStringTable.h>

#include <QCoreApplication>
#include <QHash>
#include <QTemporaryDir>
#include <QTranslator>

#include <algorithm>
#include <clocale>
#include <random>
#include <string>
#include <vector>

namespace {

constexpr int hotKeys = 200;
constexpr int hotLookups = 100'000;
using PeerFiles::context;
using PeerFiles::domain;

// C strings one behind the other in the order of use, so that reading the keys costs nobody a miss.
class Keys
{
public:
    explicit Keys(const std::vector<std::string> &keys)
    {
        for (const std::string &key : keys) {
            m_offsets.push_back(m_bytes.size());
            m_bytes.append(key.c_str(), key.size() + 1);
        }
    }
    template<typename Visit> void forEach(int count, const Visit &visit) const
    {
        for (size_t i = 0, done = 0; done < size_t(count); ++done, i = i + 1 < m_offsets.size() ? i + 1 : 0)
            visit(m_bytes.c_str() + m_offsets[i]);
    }

private:
    std::string m_bytes;
    std::vector<size_t> m_offsets;
};

// The strings of one size in the form of every contestant.
struct Contenders
{
    DVStringTablePtr table;
    QHash<QString, QString> hash;
    QTemporaryDir folder;
    QTranslator translator;

    explicit Contenders(const std::vector<SampleString> &strings);
    ~Contenders() { QCoreApplication::removeTranslator(&translator); }
    Contenders(const Contenders &) = delete;
    Contenders &operator=(const Contenders &) = delete;
};

Contenders::Contenders(const std::vector<SampleString> &strings)
{
    DVStringTableBuilder builder(false);
    hash.reserve(qsizetype(strings.size()));
    for (const SampleString &string : strings) {
        DVStringTableBuilder::Form form;
        const std::string uid = std::to_string(1000000 + hash.size());
        form.key = string.key;
        form.uid = uid;
        form.text = string.target;
        builder.add(form);
        hash.insert(QString::fromStdString(string.key), QString::fromStdString(string.target));
    }
    table = builder.build();
    // The texts come to lie in memory as QHash's do, not in the order in which they will be used.
    for (const SampleString &string : strings)
        Measure::keep(table->text(table->find(string.key.c_str())));
    if (!translator.load(PeerFiles::qm(strings, folder.path())) ||
        !QCoreApplication::installTranslator(&translator))
        qFatal("the .qm file does not load");
    PeerFiles::useMo(strings, folder.path());
}

// One way of looking up; sums up the lengths of what it finds.
using Lookup = std::function<void(const Keys &, int, size_t *)>;

template<typename TextOfKey> Lookup lookup(const TextOfKey &textOfKey)
{
    return [textOfKey](const Keys &keys, int count, size_t *characters) {
        *characters = 0;
        keys.forEach(count, [&](const char *key) { *characters += size_t(textOfKey(key).size()); });
    };
}

struct Way
{
    std::string name;
    Lookup lookup;
};

std::vector<Way> waysOf(const Contenders &with)
{
    std::vector<Way> ways;
    ways.push_back({"our table", lookup([table = with.table.get()](const char *key) {
                        const auto entry = table->find(key);
                        return entry == DVStringTable::notFound ? QString() : table->text(entry);
                    })});
    ways.push_back({"QHash with key conversion", lookup([hash = &with.hash](const char *key) {
                        return hash->value(QString::fromUtf8(key));
                    })});
    // These two give the key back for a miss.
    ways.push_back({"translate() on a .qm",
                    lookup([](const char *key) { return QCoreApplication::translate(context, key); })});
    ways.push_back({"gettext on a .mo, made a QString",
                    lookup([](const char *key) { return QString::fromUtf8(dgettext(domain, key)); })});
    return ways;
}

enum Expected { Hits, Misses };

struct Section
{
    std::string title;
    Expected expected;
    int lookups;
};

std::vector<Measure::Result> measure(Measure::Report &report, const Section &section,
                                     const std::vector<Way> &ways, const Keys &keys)
{
    report.section(section.title, Measure::NanosecondsEach);
    std::vector<size_t> characters(ways.size());
    std::vector<Measure::Contestant> contestants;
    for (size_t i = 0; i < ways.size(); ++i) {
        contestants.push_back({ways[i].name,
                               [&, i] { ways[i].lookup(keys, section.lookups, &characters[i]); },
                               double(section.lookups)});
    }
    auto results = report.run(contestants);
    report.check((characters[0] == 0) == (section.expected == Misses) && characters[0] == characters[1],
                 "hits and misses");
    for (const size_t found : characters)
        report.check(section.expected == Misses || found == characters.front(), "all find the same texts");
    return results;
}

std::vector<std::string> shuffledKeys(const std::vector<SampleString> &strings, const char *suffix)
{
    std::vector<std::string> keys;
    keys.reserve(strings.size());
    for (const SampleString &string : strings)
        keys.push_back(string.key + suffix);
    std::shuffle(keys.begin(), keys.end(), std::mt19937(7)); // NOLINT: the same order in every run is wanted
    return keys;
}

void measureSize(Measure::Report &report, int size)
{
    const auto strings = SampleStrings::make(size);
    const Contenders contenders(strings);
    const auto ways = waysOf(contenders);
    const auto all = shuffledKeys(strings, "");
    const auto unknown = shuffledKeys(strings, ".unknown");
    const std::string of = std::to_string(size) + " strings";

    const Keys hot({all.begin(), all.begin() + hotKeys});
    const auto hits = measure(report, {"hit, hot, " + of, Hits, hotLookups}, ways, hot);
    report.goalAtMost("our table at most 30 ns", hits[0].median, 30);
    report.goalRatio("our table not behind QHash", hits[0], hits[1], 1);

    const auto random =
        measure(report, {"hit, every key once in random order, " + of, Hits, size}, ways, Keys(all));
    report.goalRatio("our table not behind QHash", random[0], random[1], 1);
    report.goalRatio("our table at most 0.3 of translate()", random[0], random[2], 0.3);

    const Keys hotMisses({unknown.begin(), unknown.begin() + hotKeys});
    const auto misses = measure(report, {"miss, hot, " + of, Misses, hotLookups}, ways, hotMisses);
    report.goalAtMost("our table at most 15 ns", misses[0].median, 15);
    measure(report, {"miss, every key once in random order, " + of, Misses, size}, ways, Keys(unknown));

    report.row("memory of our table", double(contenders.table->memoryUsage()) / 1e6, "MB");
    report.goalAtMost("at most 160 bytes a string", double(contenders.table->memoryUsage()) / size, 160);
}

} // namespace

int main(int argc, char **argv)
{
    // gettext translates in no locale but a real one, and then into the languages of this variable.
    setenv("LANGUAGE", "fr", 1);
    std::setlocale(LC_ALL, "C.UTF-8");
    Measure::Report report("string table", argc, argv);
    int noArguments = 1;
    const QCoreApplication application(noArguments, argv);
    for (const int size : report.sizes())
        measureSize(report, size);
    return report.finish();
}
