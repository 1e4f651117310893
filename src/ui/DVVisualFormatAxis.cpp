#include "DVVisualFormatAxis.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr int standardGapBetweenViews = 8;
constexpr int standardGapToEdge = 20;

} // namespace

DVVisualFormatLayout::Axis::Axis(QList<Format> formats, QHash<QString, std::size_t> keys, QList<Length> views,
                                 const QHash<QString, double> &metrics)
    : m_formats(std::move(formats))
    , m_keys(std::move(keys))
    , m_views(std::move(views))
    , m_metrics(metrics)
{
    findTwins();
}

// Views that a rule makes equally long have one natural length: the longest.
void DVVisualFormatLayout::Axis::findTwins()
{
    m_twins.resize(m_views.size());
    for (const Format &format : std::as_const(m_formats)) {
        for (const DVVisualFormat::View &view : format.parsed.views) {
            for (const DVLengthRule &rule : view.rules) {
                if (rule.name.isNull() || m_metrics.contains(rule.name))
                    continue;
                const std::size_t one = m_keys.value(view.key);
                const std::size_t other = m_keys.value(rule.name);
                m_twins[qsizetype(one)].append(other);
                m_twins[qsizetype(other)].append(one);
                Length &first = m_views[qsizetype(one)];
                Length &second = m_views[qsizetype(other)];
                first.natural = second.natural = std::max(first.natural, second.natural);
                first.least = second.least = std::max(first.least, second.least);
            }
        }
    }
}

DVAxisSolver DVVisualFormatLayout::Axis::emptySolver() const
{
    DVAxisSolver solver(2 + 2 * int(m_views.size()));
    for (std::size_t view = 0; view < std::size_t(m_views.size()); ++view)
        solver.setLeast(startOf(view), endOf(view), 0);
    return solver;
}

int DVVisualFormatLayout::Axis::points(const DVLengthRule &rule) const
{
    return int(std::ceil(rule.name.isNull() ? rule.points : m_metrics.value(rule.name)));
}

bool DVVisualFormatLayout::Axis::applyRule(DVAxisSolver &solver, int from, int to,
                                           const DVLengthRule &rule) const
{
    switch (rule.relation) {
    case DVLengthRule::AtLeast:
        return solver.setLeast(from, to, points(rule));
    case DVLengthRule::AtMost:
        return solver.setMost(from, to, points(rule));
    case DVLengthRule::Equal:
        break;
    }
    return solver.fix(from, to, points(rule));
}

bool DVVisualFormatLayout::Axis::applyGap(DVAxisSolver &solver, const DVVisualFormat &format,
                                          qsizetype gap) const
{
    const qsizetype after = gap + (format.fromEdge ? 0 : 1); // the view that follows
    const bool last = after == format.views.size();
    const int from = after == 0 ? startEdge : endOf(m_keys.value(format.views[after - 1].key));
    const int to = last ? endEdge : startOf(m_keys.value(format.views[after].key));
    const DVVisualFormat::Gap &wanted = format.gaps[gap];
    if (wanted.rules.isEmpty()) {
        const int standard = after == 0 || last ? standardGapToEdge : standardGapBetweenViews;
        return solver.fix(from, to, wanted.standard ? standard : 0);
    }
    bool kept = true;
    for (const DVLengthRule &rule : wanted.rules)
        kept = applyRule(solver, from, to, rule) && kept;
    return kept;
}

bool DVVisualFormatLayout::Axis::applyFormat(DVAxisSolver &solver, const DVVisualFormat &format) const
{
    bool kept = true;
    for (const DVVisualFormat::View &view : format.views) {
        const std::size_t number = m_keys.value(view.key);
        for (const DVLengthRule &rule : view.rules) {
            if (rule.name.isNull() || m_metrics.contains(rule.name)) // another view: see findTwins
                kept = applyRule(solver, startOf(number), endOf(number), rule) && kept;
        }
    }
    for (qsizetype gap = 0; gap < format.gaps.size(); ++gap)
        kept = applyGap(solver, format, gap) && kept;
    return kept;
}

void DVVisualFormatLayout::Axis::applyFormats(DVAxisSolver &solver, QStringList *broken) const
{
    for (const Format &format : m_formats) {
        if (!applyFormat(solver, format.parsed) && broken)
            broken->append(format.text);
    }
}

int DVVisualFormatLayout::Axis::measured(int Length::*length) const
{
    DVAxisSolver solver = emptySolver();
    applyFormats(solver, nullptr);
    solver.setLeast(startEdge, endEdge, 0);
    for (std::size_t view = 0; view < std::size_t(m_views.size()); ++view) {
        solver.setLeast(startEdge, startOf(view), 0);
        solver.setLeast(endOf(view), endEdge, 0);
        const Length &of = m_views[qsizetype(view)];
        solver.setLeast(startOf(view), endOf(view), of.grows ? of.*length : of.natural);
    }
    return solver.least(startEdge, endEdge);
}

int DVVisualFormatLayout::Axis::lengthOf(const DVAxisSolver &solver, std::size_t view) const
{
    return solver.least(startOf(view), endOf(view));
}

void DVVisualFormatLayout::Axis::setLength(DVAxisSolver &solver, std::size_t view, int length) const
{
    solver.fix(startOf(view), endOf(view), length);
    for (const std::size_t twin : m_twins[qsizetype(view)])
        solver.fix(startOf(twin), endOf(twin), lengthOf(solver, view));
}

// The views between two edges among which what is left is shared: those that want it, else those that can
// take it.
QList<std::size_t> DVVisualFormatLayout::Axis::sharersOf(const DVVisualFormat &format) const
{
    QList<std::size_t> expanding;
    QList<std::size_t> growing;
    if (!format.fromEdge || !format.toEdge)
        return {};
    for (const DVVisualFormat::View &view : format.views) {
        const std::size_t number = m_keys.value(view.key);
        const Length &length = m_views[qsizetype(number)];
        if (length.expands)
            expanding.append(number);
        if (length.grows)
            growing.append(number);
    }
    return expanding.isEmpty() ? growing : expanding;
}

int DVVisualFormatLayout::Axis::leftFor(const DVAxisSolver &solver, const DVVisualFormat &format,
                                        const QList<std::size_t> &sharers, qsizetype first) const
{
    int left = solver.most(startEdge, endEdge);
    for (const DVVisualFormat::View &view : format.views) {
        const std::size_t number = m_keys.value(view.key);
        if (sharers.indexOf(number, first) < 0)
            left -= lengthOf(solver, number);
    }
    for (qsizetype gap = 0; gap < format.gaps.size(); ++gap) {
        const qsizetype after = gap;
        const int from = after == 0 ? startEdge : endOf(m_keys.value(format.views[after - 1].key));
        const int to =
            after == format.views.size() ? endEdge : startOf(m_keys.value(format.views[after].key));
        left -= solver.least(from, to);
    }
    return left;
}

void DVVisualFormatLayout::Axis::share(DVAxisSolver &solver, const DVVisualFormat &format,
                                       const QList<std::size_t> &sharers) const
{
    for (qsizetype i = 0; i < sharers.size(); ++i) {
        const std::size_t view = sharers[i];
        const int sharing = int(sharers.size() - i);
        int left = leftFor(solver, format, sharers, i);
        if (m_views[qsizetype(view)].expands) { // equal lengths
            setLength(solver, view, left / sharing);
            continue;
        }
        for (qsizetype other = i; other < sharers.size(); ++other) // equal additions
            left -= m_views[qsizetype(sharers[other])].natural;
        setLength(solver, view, m_views[qsizetype(view)].natural + left / sharing);
    }
}

// The first views have the first choice: what may not grow, then what all views need, what they would like to
// have, and what is left.
QList<DVVisualFormatLayout::Axis::Place> DVVisualFormatLayout::Axis::placed(int length)
{
    DVAxisSolver solver = emptySolver();
    solver.fix(startEdge, endEdge, length);
    m_broken.clear();
    applyFormats(solver, &m_broken);

    QList<bool> shares(m_views.size(), false);
    for (const Format &format : std::as_const(m_formats)) {
        for (const std::size_t view : sharersOf(format.parsed))
            shares[qsizetype(view)] = true;
    }
    const auto count = std::size_t(m_views.size());
    for (std::size_t view = 0; view < count; ++view) {
        if (!m_views[qsizetype(view)].grows)
            setLength(solver, view, m_views[qsizetype(view)].natural);
    }
    for (std::size_t view = 0; view < count; ++view)
        solver.setLeast(startOf(view), endOf(view), m_views[qsizetype(view)].least);
    for (std::size_t view = 0; view < count; ++view) {
        if (m_views[qsizetype(view)].grows && !shares[qsizetype(view)])
            setLength(solver, view, m_views[qsizetype(view)].natural);
    }
    for (const Format &format : std::as_const(m_formats))
        share(solver, format.parsed, sharersOf(format.parsed));
    return places(solver);
}

QList<DVVisualFormatLayout::Axis::Place> DVVisualFormatLayout::Axis::places(DVAxisSolver &solver) const
{
    QList<Place> result;
    for (std::size_t view = 0; view < std::size_t(m_views.size()); ++view) {
        solver.fix(startEdge, startOf(view), 0);
        result.append({solver.least(startEdge, startOf(view)), lengthOf(solver, view)});
    }
    return result;
}
