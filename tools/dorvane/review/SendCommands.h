// SendCommands: what a translator sends to the platform.
#pragma once

#include "TryHandlers.h"

// save, submit, rejectAll, issue, push, upload. Each replies with what the platform said.
TryHandlers sendCommands(const TryLines &lines);
