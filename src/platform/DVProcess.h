// DVProcess: which process this is.
#pragma once

#include <QtGlobal>

namespace DVProcess {

// A number of this process; the child of a fork() has another one than its parent. Threads do not survive a
// fork, so whoever keeps one compares the number of now with that of its start.
qint64 id();

} // namespace DVProcess
