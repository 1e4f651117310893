// DVVisualFormatLayout::Axis: the views of a layout along one axis.
#pragma once

#include "DVAxisSolver.h"
#include "DVVisualFormatLayout.h"

// Made for one measurement or one placement.
class DVVisualFormatLayout::Axis
{
public:
    struct Length
    {
        int natural = 0;
        int least = 0;
        bool grows = true;    // beyond its natural length, if it must
        bool expands = false; // wants what is left
    };
    struct Place
    {
        int start = 0;
        int length = 0;
    };

    // `formats` are those of this axis; the views are numbered as in `keys`.
    Axis(QList<Format> formats, QHash<QString, std::size_t> keys, QList<Length> views,
         const QHash<QString, double> &metrics);

    int naturalLength() const { return measured(&Length::natural); }
    int leastLength() const { return measured(&Length::least); }
    QList<Place> placed(int length);
    QStringList brokenFormats() const { return m_broken; }

private:
    static constexpr int startEdge = 0;
    static constexpr int endEdge = 1;
    static int startOf(std::size_t view) { return 2 + 2 * int(view); }
    static int endOf(std::size_t view) { return startOf(view) + 1; }
    DVAxisSolver emptySolver() const;

    int measured(int Length::*length) const;
    void applyFormats(DVAxisSolver &solver, QStringList *broken) const;
    bool applyFormat(DVAxisSolver &solver, const DVVisualFormat &format) const;
    bool applyGap(DVAxisSolver &solver, const DVVisualFormat &format, qsizetype gap) const;
    bool applyRule(DVAxisSolver &solver, int from, int to, const DVLengthRule &rule) const;
    int points(const DVLengthRule &rule) const;
    void findTwins();
    void setLength(DVAxisSolver &solver, std::size_t view, int length) const;
    int lengthOf(const DVAxisSolver &solver, std::size_t view) const;
    QList<std::size_t> sharersOf(const DVVisualFormat &format) const;
    void share(DVAxisSolver &solver, const DVVisualFormat &format, const QList<std::size_t> &sharers) const;
    int leftFor(const DVAxisSolver &solver, const DVVisualFormat &format, const QList<std::size_t> &sharers,
                qsizetype first) const;
    QList<Place> places(DVAxisSolver &solver) const;

    QList<Format> m_formats;
    QHash<QString, std::size_t> m_keys;
    QList<Length> m_views;
    QList<QList<std::size_t>> m_twins; // views of equal length, by view; without the view itself
    const QHash<QString, double> &m_metrics;
    QStringList m_broken;
};
