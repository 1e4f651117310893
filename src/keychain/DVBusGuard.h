// Keeps a process alive whose D-Bus session ends.
#pragma once

// The library behind Secret Service shares a connection to the session's bus that, unless told otherwise,
// ends the process with SIGTERM when the bus goes away. Call it, on any thread but the main one since it may
// wait for the bus, before each use of the service: a new connection is told, too. Does nothing where that
// library is not there.
void dv_surviveEndOfBus();
