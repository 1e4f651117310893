// Reachability: whether a server can be found and talked to, one layer after the other.
#pragma once

#include "Step.h"

#include <QUrl>

// Name, connection, TLS and a first answer, each reported; false when there is no going on. Each takes at
// most `timeoutMs`. Blocks the caller; no event loop. Connects directly: with a proxy between, that is said
// and the rest left out.
bool checkReachability(const QUrl &url, int timeoutMs, const StepReport &report);
