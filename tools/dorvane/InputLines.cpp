#include "InputLines.h"

#include <array>
#include <cerrno>
#include <unistd.h>

InputLines::InputLines(int descriptor)
    : m_descriptor(descriptor)
    , m_notifier(descriptor, QSocketNotifier::Read)
{
    connect(&m_notifier, &QSocketNotifier::activated, this, &InputLines::read);
}

void InputLines::read()
{
    std::array<char, 65536> chunk;
    const auto count = ::read(m_descriptor, chunk.data(), chunk.size());
    if (count < 0 && (errno == EINTR || errno == EAGAIN))
        return;
    if (count > 0)
        m_buffer.append(chunk.data(), count);
    m_ended = count <= 0;
    m_notifier.setEnabled(!m_ended && m_buffer.size() <= maximumLength);
    Q_EMIT arrived();
}

std::optional<InputLines::Line> InputLines::take()
{
    const qsizetype end = m_buffer.indexOf('\n', m_searched);
    if (end < 0)
        return takeRest();
    const Line line{m_dropping ? QByteArray() : m_buffer.left(end), m_dropping || end > maximumLength};
    m_buffer.remove(0, end + 1);
    m_searched = 0;
    m_dropping = false;
    m_notifier.setEnabled(!m_ended && m_buffer.size() <= maximumLength);
    return line;
}

// What stands in the buffer is no whole line, unless the input has ended.
std::optional<InputLines::Line> InputLines::takeRest()
{
    if (m_ended && !m_buffer.isEmpty()) {
        m_buffer.append('\n');
        return take();
    }
    m_searched = m_buffer.size();
    if (m_buffer.size() > maximumLength) {
        m_dropping = true;
        m_buffer.clear();
        m_searched = 0;
        m_notifier.setEnabled(!m_ended);
    }
    return {};
}
