// DVWrittenLog: the lines that the library writes to the log while a test program runs.
#pragma once

#include <QMutex>
#include <QStringList>
#include <QtGlobal>

#include <utility>

// Other lines go where they would have gone. Any thread.
class DVWrittenLog
{
public:
    static void begin()
    {
        const QMutexLocker lock(&shared().m_mutex);
        shared().m_before = qInstallMessageHandler(collect);
    }
    static void end()
    {
        const QMutexLocker lock(&shared().m_mutex);
        qInstallMessageHandler(shared().m_before);
    }

    // Those since the last time, without "[DV] ".
    static QStringList take()
    {
        const QMutexLocker lock(&shared().m_mutex);
        return std::exchange(shared().m_lines, {});
    }
    static qsizetype count()
    {
        const QMutexLocker lock(&shared().m_mutex);
        return shared().m_lines.size();
    }

private:
    static DVWrittenLog &shared()
    {
        static DVWrittenLog log;
        return log;
    }
    static void collect(QtMsgType type, const QMessageLogContext &context, const QString &text)
    {
        QMutexLocker lock(&shared().m_mutex);
        if (text.startsWith(u"[DV] ")) {
            shared().m_lines.append(text.mid(5));
            return;
        }
        const QtMessageHandler before = shared().m_before;
        lock.unlock();
        before(type, context, text);
    }

    QMutex m_mutex;
    QStringList m_lines;
    QtMessageHandler m_before = nullptr;
};
