// DVClock: the wall clock, which tests can move, and the monotonic one for deadlines.
#pragma once

#include <QDateTime>

namespace DVClock {

// Wall clock in UTC, including the offset below. Thread-safe.
QDateTime now();
// The same as seconds since 1970.
double secondsSince1970();
// Moves the wall clock forward (or back) from here on; for tests and the command-line tool.
void advance(qint64 milliseconds);
void reset();

// Nanoseconds of a clock that never goes back and is never moved.
qint64 monotonicNanoseconds();

} // namespace DVClock
