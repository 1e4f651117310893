// InputLines: standard input as lines, read from the event loop.
#pragma once

#include <QByteArray>
#include <QObject>
#include <QSocketNotifier>

#include <optional>

// Pipes, files and terminals. A line that is longer than `maximumLength` is dropped and counts as one
// line without content; beyond a full buffer reading pauses until lines are taken.
class InputLines : public QObject
{
    Q_OBJECT

public:
    static constexpr qsizetype maximumLength = 4 << 20;

    explicit InputLines(int descriptor);

    struct Line
    {
        QByteArray content;
        bool tooLong = false;
    };
    // Nothing when no whole line has arrived.
    std::optional<Line> take();
    // Everything was read and taken.
    bool atEnd() const { return m_ended && m_buffer.isEmpty(); }

Q_SIGNALS:
    // A line may have arrived, or the end.
    void arrived();

private:
    void read();
    std::optional<Line> takeRest();

    int m_descriptor;
    QSocketNotifier m_notifier;
    QByteArray m_buffer;
    qsizetype m_searched = 0; // so far there is no line end in the buffer
    bool m_dropping = false;  // inside a line that is too long
    bool m_ended = false;
};
