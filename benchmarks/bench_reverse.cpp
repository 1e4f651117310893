// What it costs to find the string behind a displayed text, beside a hash of the texts, and whether
// the number of strings matters.
#include "Measure.h"
#include "SampleStore.h"

#include <QHash>

#include <random>

namespace {

constexpr size_t hotTexts = 200;
constexpr size_t lookupsInARound = 50'000;
constexpr int smallest = 1'000;

// Texts as labels show them, each of one string only.
struct Displayed
{
    explicit Displayed(int count)
    {
        auto strings = SampleStrings::make(count);
        for (SampleString &string : strings)
            string.target = string.key + ": " + string.target;
        table = SampleStore::markedTable(strings);
        for (const SampleString &string : strings)
            texts.push_back(dv_stringWithCues(QString::fromStdString(string.target)));
        for (size_t i = 0; i < strings.size(); ++i) {
            const QString key = QString::fromStdString(strings[i].key);
            keys.insert(texts[i], key);
            lowerCaseKeys.insert(texts[i].toLower(), key);
        }
        std::shuffle(texts.begin(), texts.end(), std::mt19937(3)); // NOLINT: the same order in every run
    }

    DVStringTablePtr table;
    std::vector<QString> texts;
    QHash<QString, QString> keys;
    QHash<QString, QString> lowerCaseKeys; // letters are compared without case, as the library does
};

QString keyByLibrary(const QString &text)
{
    const DVStringPtr string = DVMainController::sharedInstance().dorvaneStringForLocalizedString(text);
    return string ? string->key : QString();
}

template<typename KeyOf>
Measure::Contestant contestant(const char *name, const std::vector<QString> &texts, const KeyOf &keyOf)
{
    const size_t repeats = std::max<size_t>(1, lookupsInARound / texts.size());
    return {name,
            [&texts, repeats, keyOf] {
                for (size_t i = 0; i < repeats; ++i) {
                    for (const QString &text : texts)
                        Measure::keep(keyOf(text));
                }
            },
            double(texts.size() * repeats)};
}

std::vector<Measure::Result> contest(Measure::Report &report, const Displayed &displayed,
                                     const std::vector<QString> &texts)
{
    return report.run(
        {contestant("Dorvane, displayed text to record", texts, keyByLibrary),
         contestant("QHash of the displayed texts", texts,
                    [&displayed](const QString &text) { return displayed.keys.value(text); }),
         contestant("QHash of the texts in lower case", texts, [&displayed](const QString &text) {
             return displayed.lowerCaseKeys.value(text.toLower());
         })});
}

// Returns the median of a lookup among few texts.
double measure(Measure::Report &report, int size)
{
    const Displayed displayed(size);
    SampleStore::serve(QStringLiteral("fr"), displayed.table);
    const std::string of = std::to_string(size) + " strings, ";
    const double index = Measure::nanosecondsOf([&] { keyByLibrary(displayed.texts.front()); });
    bool same = true;
    for (const QString &text : displayed.texts)
        same = same && keyByLibrary(text) == displayed.keys.value(text);
    report.check(same, "the library and the hash find the same strings");

    report.section(of + "200 texts again and again", Measure::NanosecondsEach);
    const std::vector<QString> hot(displayed.texts.begin(), displayed.texts.begin() + hotTexts);
    const auto results = contest(report, displayed, hot);
    report.row("the first lookup, which builds the index, once", index / 1e6, "ms");
    report.goalRatio("at most 10 hash lookups", results[0], results[1], 10);
    report.goalRatio("at most 10 hash lookups that ignore case too", results[0], results[2], 10);

    report.section(of + "every text once, in random order", Measure::NanosecondsEach);
    const auto random = contest(report, displayed, displayed.texts);
    report.goalRatio("at most 10 hash lookups", random[0], random[1], 10);
    report.goalRatio("at most 10 hash lookups that ignore case too", random[0], random[2], 10);
    return results[0].median;
}

} // namespace

int main(int argc, char **argv)
{
    Measure::Report report("from a displayed text to its string", argc, argv);
    const double few = measure(report, smallest);
    double most = few;
    for (const int size : report.sizes())
        most = measure(report, size);
    report.goalAtMost("flat: with the most strings at most 1.5 of the time with 1,000", most / few, 1.5);
    return report.finish();
}
