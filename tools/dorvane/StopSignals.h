// StopSignals: turns SIGINT and SIGTERM into a call from the event loop.
#pragma once

#include <QObject>
#include <QSocketNotifier>

#include <functional>
#include <memory>

// One at a time; for a program of ours, never for a host's process.
class StopSignals : public QObject
{
    Q_OBJECT

public:
    explicit StopSignals(std::function<void()> stop);
    ~StopSignals() override;

private:
    std::unique_ptr<QSocketNotifier> m_notifier;
};

// Calls `ended` from the event loop when standard input reaches its end.
class InputEnd : public QObject
{
    Q_OBJECT

public:
    explicit InputEnd(std::function<void()> ended);

private:
    QSocketNotifier m_notifier;
};
