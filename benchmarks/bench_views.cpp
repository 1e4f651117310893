// What it costs to find the strings of a window: whether it grows with its labels or with the project.
#include "DorvaneViews.h"
#include "Measure.h"
#include "SampleStore.h"

#include <QApplication>
#include <QGridLayout>
#include <QLabel>
#include <QWidget>

#include <algorithm>
#include <random>

namespace {

constexpr int few = 1'000;
constexpr int many = 2'000;

// Labels as an application has them: most show one string, some an argument, some two strings and a text.
struct Window
{
    Window(const std::vector<SampleString> &strings, int count)
    {
        std::vector<size_t> order(strings.size());
        for (size_t i = 0; i < order.size(); ++i)
            order[i] = i;
        std::shuffle(order.begin(), order.end(), std::mt19937(5)); // NOLINT: the same in every run
        const auto text = [&](int number) {
            return QString(dv_stringWithCuesOfQt(
                               QString::fromStdString(strings[order[size_t(number) % order.size()]].target)))
                .replace(QStringLiteral("%1"), QStringLiteral("42"));
        };
        auto *grid = new QGridLayout(&widget);
        for (int i = 0; i < count; ++i) {
            const QString shown = i % 5 == 0 ? QString(text(i) % u": " % text(i + count)) : text(i);
            grid->addWidget(new QLabel(shown), i / 20, i % 20);
        }
        widget.show();
        view = dv_view(&widget);
    }

    // How many strings were found.
    qsizetype find() const
    {
        qsizetype found = 0;
        for (const DVViewStringsPtr &strings : dorvaneStringsInSubviews(view))
            found += strings->dorvaneStringsInString().size();
        return found;
    }

    QWidget widget;
    DVViewPtr view;
};

std::vector<SampleString> project(int size)
{
    auto strings = SampleStrings::make(size);
    for (SampleString &string : strings)
        string.target = string.key + ": " + string.target; // no two strings have one text
    return strings;
}

DVStringTablePtr tableOf(const std::vector<SampleString> &strings)
{
    DVStringTableBuilder builder(true);
    for (const SampleString &string : strings) {
        const std::string text = dv_stringWithCuesOfQt(QString::fromStdString(string.target)).toStdString();
        builder.add({string.key, string.key, {}, text, {}});
    }
    return builder.build();
}

// Medians in milliseconds.
struct Times
{
    double few = 0;
    double many = 0;
};

Times measure(Measure::Report &report, int size)
{
    const auto strings = project(size);
    SampleStore::serve(QStringLiteral("fr"), tableOf(strings));
    const Window window(strings, many);
    const Window smaller(strings, few);
    const double first = Measure::nanosecondsOf([&] { Measure::keep(window.find()); });
    report.check(window.find() == many + many / 5, "every string of each label is found");
    report.check(smaller.find() == few + few / 5, "every string of each label is found");

    report.section("a project of " + std::to_string(size) + " strings", Measure::Milliseconds);
    const auto results =
        report.run({{std::to_string(many) + " labels", [&] { Measure::keep(window.find()); }},
                    {std::to_string(few) + " labels", [&] { Measure::keep(smaller.find()); }}});
    report.row("the first time, which builds the index, once", first / 1e6, "ms");
    report.goalAtMost("2,000 labels in at most 20 ms", results[0].median, 20);
    report.goalAtMost("grows with the labels: 2,000 take at most 2.4 times 1,000",
                      results[0].median / results[1].median, 2.4);
    return {results[1].median, results[0].median};
}

} // namespace

int main(int argc, char **argv)
{
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    int count = 1;
    const QApplication application(count, argv);
    Measure::Report report("the strings of a window", argc, argv);
    const Times smallest = measure(report, report.sizes().front());
    Times largest = smallest;
    for (size_t i = 1; i < report.sizes().size(); ++i)
        largest = measure(report, report.sizes()[i]);
    report.goalAtMost("not with the project: the most strings take at most 1.5 times the fewest",
                      largest.many / smallest.many, 1.5);
    return report.finish();
}
