// DVQtUse: a moment in which Qt's own shared objects are there.
#pragma once

#include <QtGlobal>

// Qt keeps the names of the application, its paths and the system's locale in objects that end with the
// process's static ones. A thread that was left behind, or a lookup in somebody's static destructor, comes
// later, and asking Qt for them then crashes. While a DVQtUse that is true lives they do not end. Keep it
// only around the question itself: no disk, no lock, no log. Any thread.
class DVQtUse
{
public:
    DVQtUse();
    ~DVQtUse();
    Q_DISABLE_COPY_MOVE(DVQtUse)

    explicit operator bool() const { return m_isThere; }

    // Ends all use, at the end of the process: waits for those who are at it, at most 50 ms.
    static void end();

private:
    const bool m_isThere;
};
