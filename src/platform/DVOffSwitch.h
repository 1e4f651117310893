// DVOffSwitch: DORVANE_DISABLED in the environment, for whoever runs an application and must not rebuild it.
#pragma once

// Whether the library has to stay away altogether. The variable is read once per process. Not set, empty,
// "0", "false", "no" and "off" (in any case) do not count; every other value switches the library off.
// Thread-safe.
bool dv_isSwitchedOff();
