#include "DVAxisSolver.h"

#include <algorithm>

DVAxisSolver::DVAxisSolver(int points)
    : m_points(std::size_t(points))
    , m_most(m_points * m_points, unbounded)
{
    for (int point = 0; point < points; ++point)
        m_most[index(point, point)] = 0;
}

bool DVAxisSolver::setMost(int from, int to, int distance)
{
    const int reachable = std::max(distance, least(from, to));
    if (reachable >= most(from, to))
        return reachable == distance;
    const int points = int(m_points);
    for (int before = 0; before < points; ++before) {
        const int way = most(before, from);
        if (way >= unbounded)
            continue;
        for (int after = 0; after < points; ++after) {
            const int rest = most(to, after);
            if (rest < unbounded)
                m_most[index(before, after)] = std::min(most(before, after), way + reachable + rest);
        }
    }
    return reachable == distance;
}

bool DVAxisSolver::fix(int from, int to, int distance)
{
    const bool notMore = setMost(from, to, distance);
    return setLeast(from, to, distance) && notMore;
}
