#include "DVQtUse.h"

#include <atomic>
#include <chrono>
#include <thread>

namespace {

// Trivially destructible, and so still there behind everything else.
std::atomic<int> users = 0;
std::atomic<bool> ended = false;

bool begin()
{
    ++users; // before the look: whoever ends sees the user, or the user sees the end
    if (!ended)
        return true;
    --users;
    return false;
}

} // namespace

DVQtUse::DVQtUse()
    : m_isThere(begin())
{}

DVQtUse::~DVQtUse()
{
    if (m_isThere)
        --users;
}

void DVQtUse::end()
{
    ended = true;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(50);
    // In the child of a fork() somebody may have been at it who is not there any more.
    while (users > 0 && std::chrono::steady_clock::now() < deadline)
        std::this_thread::yield();
}
