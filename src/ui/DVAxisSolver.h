// DVAxisSolver: places of points on a line whose distances are bounded.
#pragma once

#include <vector>

// Points are numbered from 0. The bounds are kept closed: what several of them say together about two points
// is always known, so a new one can be made to agree with the earlier ones, and there is a solution at every
// time. A new bound costs the square of the number of points. Distances up to a hundred million.
class DVAxisSolver
{
public:
    static constexpr int unbounded = 1 << 29;

    explicit DVAxisSolver(int points);

    // What is known of the place of `to` minus that of `from`; -unbounded and unbounded for nothing.
    int least(int from, int to) const { return -m_most[index(to, from)]; }
    int most(int from, int to) const { return m_most[index(from, to)]; }

    // True: as wanted. False: as near to it as the earlier bounds let it.
    bool setLeast(int from, int to, int distance) { return setMost(to, from, -distance); }
    bool setMost(int from, int to, int distance);
    bool fix(int from, int to, int distance);

private:
    std::size_t index(int from, int to) const { return std::size_t(from) * m_points + std::size_t(to); }

    std::size_t m_points;
    std::vector<int> m_most;
};
