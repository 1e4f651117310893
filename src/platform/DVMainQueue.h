// DVMainQueue: work for the main thread, the thread of the QCoreApplication.
#pragma once

#include "DVPrivateExport.h"

#include <functional>

namespace DVMainQueue {

bool isMainThread(); // false when there is no application object

// Runs `work` on the main thread, from the event loop, never from inside this call. Dropped when
// the application object ends before. Callable from any thread; without an application object the
// work is dropped.
DORVANE_PRIVATE_EXPORT void post(std::function<void()> work);

// The same, but not before the first turn of the event loop has passed: for requests that a start
// makes and that must not delay the first frame.
void postAfterFirstTurn(std::function<void()> work);

// Runs `work` once on the main thread after the delay, or drops it as above.
void postDelayed(int milliseconds, std::function<void()> work);

} // namespace DVMainQueue
