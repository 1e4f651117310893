// EditCommands: what a translator does to strings, before anything is sent.
#pragma once

#include "TryHandlers.h"

// edit, accept, reject, unsaved. They reply at once.
TryHandlers editCommands();
