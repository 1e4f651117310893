// Measure: the measuring code that all benchmarks share.
//
//     int main(int argc, char **argv)
//     {
//         Measure::Report report("string table", argc, argv);
//         for (const int size : report.sizes()) {
//             ...
//             report.section("hit, hot, " + std::to_string(size) + " strings", Measure::NanosecondsEach);
//             const auto results = report.run({{"Dorvane table", ours, 200}, {"QHash", theirs, 200}});
//             report.check(ourSum == theirSum, "both find the same texts");
//             report.goalAtMost("our table at most 30 ns", results[0].median, 30);
//             report.goalRatio("at most 0.4 of QHash", results[0], results[1], 0.4);
//         }
//         return report.finish();
//     }
//
// Contestants of one section run interleaved (A B C, A B C, ...) in one process, the first round is
// warm-up and does not count, and at least nine counted rounds give a median and a best. Goals are
// judged by medians. A missed goal is printed as missed; only a failed check makes the program fail.
// With --markdown FILE the same figures are appended to FILE as Markdown tables.
#pragma once

#include "MarkdownFigures.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <string>
#include <thread>
#include <vector>

namespace Measure {

// What the figures of a section are. MegabytesPerSecond grows with speed, the others shrink.
enum Unit { NanosecondsEach, Microseconds, Milliseconds, Mebibytes, MegabytesPerSecond };

struct Contestant
{
    std::string name;
    std::function<void()> run; // one round, timed as a whole
    // What one round holds: lookups for NanosecondsEach, bytes for MegabytesPerSecond, else
    // repetitions (1: the round is the figure).
    double amount = 1;
    std::function<void()> prepare = {}; // before each round, not timed
    std::function<void()> cleanUp = {}; // after each round, not timed
    // Instead of `run`, where the time of a round is not the figure: nanoseconds, or for Mebibytes bytes.
    std::function<double()> figure = {};
};

// Figures in the unit of the section, and nanoseconds of a whole round to build other figures from.
struct Result
{
    std::string name;
    double median = 0;
    double best = 0;
    double medianNanoseconds = 0;
    Unit unit = NanosecondsEach;
};

// Keeps the compiler from dropping a computation whose result nobody reads.
template<typename T> inline void keep(const T &value)
{
    asm volatile("" : : "g"(&value) : "memory");
}

inline double nanosecondsOf(const std::function<void()> &run)
{
    using Clock = std::chrono::steady_clock;
    const auto begin = Clock::now();
    run();
    return std::chrono::duration<double, std::nano>(Clock::now() - begin).count();
}

inline double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    const size_t middle = values.size() / 2;
    return values.size() % 2 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

inline double inUnit(double nanoseconds, double amount, Unit unit)
{
    switch (unit) {
    case NanosecondsEach:
        return nanoseconds / amount;
    case Microseconds:
        return nanoseconds / amount / 1e3;
    case Milliseconds:
        return nanoseconds / amount / 1e6;
    case Mebibytes:
        return nanoseconds / amount / 1048576;
    case MegabytesPerSecond:
        return amount * 1e3 / nanoseconds;
    }
    return 0;
}

inline const char *unitName(Unit unit)
{
    static constexpr const char *names[] = {"ns", "us", "ms", "MiB", "MB/s"};
    return names[unit];
}

// The first value of a line such as "VmHWM:   1234 kB" or "model name : X" in a file of /proc.
inline std::string procValue(const char *file, const char *name)
{
    std::ifstream lines(file);
    for (std::string line; std::getline(lines, line);) {
        if (line.compare(0, std::strlen(name), name) != 0)
            continue;
        const size_t value = line.find_first_not_of(" \t:", std::strlen(name));
        return value == std::string::npos ? std::string() : line.substr(value);
    }
    return {};
}

// The largest resident size since the last call of resetPeakMemory, or since the start; 0 where
// the system does not tell.
inline double peakMemoryMegabytes()
{
    return std::atof(procValue("/proc/self/status", "VmHWM").c_str()) / 1024;
}
inline double residentMemoryMegabytes()
{
    return std::atof(procValue("/proc/self/status", "VmRSS").c_str()) / 1024;
}
inline void resetPeakMemory()
{
    std::ofstream("/proc/self/clear_refs") << "5";
}

class Report
{
public:
    // Arguments: --quick (the smallest size only), --full (1,000,000 too), --rounds N (at least 9),
    // --markdown FILE.
    Report(const std::string &title, int argc, char **argv)
    {
        for (int i = 1; i < argc; ++i) {
            const std::string argument = argv[i];
            if (argument == "--quick")
                m_sizes = {10'000};
            else if (argument == "--full")
                m_sizes = {10'000, 100'000, 1'000'000};
            else if (argument == "--rounds" && i + 1 < argc)
                m_rounds = std::max(9, std::atoi(argv[++i]));
            else if (argument == "--markdown" && i + 1 < argc)
                m_markdown.open(argv[++i]);
            else
                usage(argv[0]);
        }
        std::printf("%s\n%s, %u threads; median and best of %d interleaved rounds\n", title.c_str(),
                    procValue("/proc/cpuinfo", "model name").c_str(), std::thread::hardware_concurrency(),
                    m_rounds);
        m_markdown.title(title);
        if (const double load = std::atof(procValue("/proc/loadavg", "").c_str()); load > 0.5)
            std::printf("WARNING: the machine is busy (load average %.1f); these figures say little\n", load);
    }

    // Numbers of strings to measure with.
    const std::vector<int> &sizes() const { return m_sizes; }
    int rounds() const { return m_rounds; }

    void section(const std::string &title, Unit unit)
    {
        m_unit = unit;
        std::printf("\n%s\n", title.c_str());
        m_markdown.section(title);
    }

    // Runs the contestants and prints a row for each, in their order; results in the same order.
    std::vector<Result> run(const std::vector<Contestant> &contestants)
    {
        std::vector<std::vector<double>> times(contestants.size());
        for (int round = 0; round <= m_rounds; ++round) {
            for (size_t i = 0; i < contestants.size(); ++i) {
                const double nanoseconds = oneRound(contestants[i]);
                if (round > 0)
                    times[i].push_back(nanoseconds);
            }
        }
        std::vector<Result> results;
        for (size_t i = 0; i < contestants.size(); ++i)
            results.push_back(resultOf(contestants[i], times[i]));
        for (const Result &result : results)
            print(result, results.front());
        for (const Result &result : results)
            m_markdown.row(result.name, result.median, result.best, unitName(m_unit),
                           result.median / results.front().median);
        std::fflush(stdout);
        return results;
    }

    // A figure that was measured in another way.
    void row(const std::string &name, double value, const char *unit)
    {
        std::printf("  %-44s %12.2f %s\n", name.c_str(), value, unit);
        m_markdown.row(name, value, unit);
    }

    void goalAtMost(const std::string &goal, double value, double limit)
    {
        judge(goal, value <= limit, value);
    }
    void goalAtLeast(const std::string &goal, double value, double limit)
    {
        judge(goal, value >= limit, value);
    }
    // Time of `ours` over time of `peer`, also for results in MB/s.
    void goalRatio(const std::string &goal, const Result &ours, const Result &peer, double limit)
    {
        const bool growsWithSpeed = ours.unit == MegabytesPerSecond;
        goalAtMost(goal, growsWithSpeed ? peer.median / ours.median : ours.median / peer.median, limit);
    }

    // A comparison of results with the peer's. One that fails makes the figures worthless.
    void check(bool holds, const std::string &what)
    {
        if (holds)
            return;
        ++m_failed;
        std::printf("  CHECK FAILED: %s\n", what.c_str());
        m_markdown.note("**check FAILED**: " + what);
    }

    // Prints the sums; the exit status of the program.
    int finish()
    {
        std::printf("\n%d goals met, %d missed", m_met, m_missed);
        std::printf(m_failed ? "; %d checks FAILED\n" : "\n", m_failed);
        return m_failed ? 1 : 0;
    }

private:
    [[noreturn]] static void usage(const char *program)
    {
        std::fprintf(stderr, "usage: %s [--quick | --full] [--rounds N] [--markdown FILE]\n", program);
        std::exit(2);
    }

    static double oneRound(const Contestant &contestant)
    {
        if (contestant.prepare)
            contestant.prepare();
        const double nanoseconds = contestant.figure ? contestant.figure() : nanosecondsOf(contestant.run);
        if (contestant.cleanUp)
            contestant.cleanUp();
        return nanoseconds;
    }

    Result resultOf(const Contestant &contestant, const std::vector<double> &times) const
    {
        const double middle = median(times);
        const double least = *std::min_element(times.begin(), times.end());
        return {contestant.name, inUnit(middle, contestant.amount, m_unit),
                inUnit(least, contestant.amount, m_unit), middle, m_unit};
    }

    static void print(const Result &result, const Result &first)
    {
        std::printf("  %-44s %12.2f %-4s  best %12.2f   x %.2f\n", result.name.c_str(), result.median,
                    unitName(result.unit), result.best, result.median / first.median);
    }

    void judge(const std::string &goal, bool met, double value)
    {
        ++(met ? m_met : m_missed);
        std::printf("  goal %s: %s (%.2f)\n", met ? "met" : "MISSED", goal.c_str(), value);
        m_markdown.goal(goal, met, value);
    }

    std::vector<int> m_sizes = {10'000, 100'000};
    int m_rounds = 9;
    MarkdownFigures m_markdown;
    Unit m_unit = NanosecondsEach;
    int m_met = 0;
    int m_missed = 0;
    int m_failed = 0;
};

} // namespace Measure
