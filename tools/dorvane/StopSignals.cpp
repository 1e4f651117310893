#include "StopSignals.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace {

int pipeEnds[2] = {-1, -1};

// Only what is safe inside a signal handler: one write into the pipe. The code that it interrupts may
// be about to read errno.
void onSignal(int)
{
    const int interruptedError = errno;
    const char byte = 0;
    [[maybe_unused]] const auto written = ::write(pipeEnds[1], &byte, 1);
    errno = interruptedError;
}

void handle(int signal, void (*handler)(int))
{
    struct sigaction action = {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    ::sigaction(signal, &action, nullptr);
}

} // namespace

StopSignals::StopSignals(std::function<void()> stop)
{
    if (::pipe2(pipeEnds, O_CLOEXEC | O_NONBLOCK) != 0)
        return;
    m_notifier = std::make_unique<QSocketNotifier>(pipeEnds[0], QSocketNotifier::Read);
    connect(m_notifier.get(), &QSocketNotifier::activated, this, [stop = std::move(stop)] { stop(); });
    handle(SIGINT, onSignal);
    handle(SIGTERM, onSignal);
}

StopSignals::~StopSignals()
{
    handle(SIGINT, SIG_DFL);
    handle(SIGTERM, SIG_DFL);
    m_notifier.reset();
    for (int &end : pipeEnds)
        ::close(std::exchange(end, -1));
}

InputEnd::InputEnd(std::function<void()> ended)
    : m_notifier(STDIN_FILENO, QSocketNotifier::Read)
{
    connect(&m_notifier, &QSocketNotifier::activated, this, [this, ended = std::move(ended)] {
        std::array<char, 4096> ignored;
        const auto count = ::read(STDIN_FILENO, ignored.data(), ignored.size());
        if (count > 0 || (count < 0 && (errno == EINTR || errno == EAGAIN)))
            return;
        m_notifier.setEnabled(false);
        ended();
    });
}
