// The one logging rule of the library.
#pragma once

#include "DVPrivateExport.h"

#include <QString>

#include <utility>

// A message goes, whatever its level, as the notification "log" with {"msg": text} when the host's
// settings hold "appetize-host"; otherwise an info message is written as "[DV] text" while
// DVState::log is on, and a debug message while DVState::debug is on. Never with text that a user
// typed; secrets are taken out (DVSecrets). Thread-safe. Written through Qt's logging (category "dorvane",
// info), so the host's message handler may run: do not call these while holding a lock. What that handler, or
// an observer of "log", makes the library log in turn is dropped.
DORVANE_PRIVATE_EXPORT void dv_logInfo(const QString &message);
DORVANE_PRIVATE_EXPORT void dv_logDebug(const QString &message);

// Whether a debug message would reach anybody: two relaxed loads. Use it, or the form below, where
// making the text costs something.
DORVANE_PRIVATE_EXPORT bool dv_wantsDebugLog();

// `make` returns the text and is called only when somebody listens.
template<typename Make> void dv_logDebugLazily(Make &&make)
{
    if (dv_wantsDebugLog())
        dv_logDebug(std::forward<Make>(make)());
}

// Queued to the main thread: for places inside Qt's own locks (a translator), where the host's
// message handler must not run.
void dv_logDebugDeferred(const QString &message);

// Asks the host's settings for "appetize-host" again; every start does.
void dv_refreshLogSink();
