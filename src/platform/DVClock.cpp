#include "DVClock.h"

#include <atomic>
#include <chrono>

namespace {
std::atomic<qint64> offset = 0; // milliseconds
}

QDateTime DVClock::now()
{
    return QDateTime::currentDateTimeUtc().addMSecs(offset.load(std::memory_order_relaxed));
}

double DVClock::secondsSince1970()
{
    return double(QDateTime::currentMSecsSinceEpoch() + offset.load(std::memory_order_relaxed)) / 1000.0;
}

void DVClock::advance(qint64 milliseconds)
{
    offset.fetch_add(milliseconds, std::memory_order_relaxed);
}

void DVClock::reset()
{
    offset.store(0, std::memory_order_relaxed);
}

qint64 DVClock::monotonicNanoseconds()
{
    using namespace std::chrono;
    return duration_cast<nanoseconds>(steady_clock::now().time_since_epoch()).count();
}
