// RunningTransfer: progress lines and a time limit for a command that asks for them.
#pragma once

#include "TryHandlers.h"

#include <DVTransfer.h>

// "progress": true prints {"event": "progress", "done", "total"}; "timeoutMs" cancels what takes longer. Null
// with neither, or when a member is wrong.
DVTransferPtr transferFor(JsonMembers &members, const TryLines &lines);
