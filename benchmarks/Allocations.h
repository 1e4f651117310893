// Allocations: how often the calling thread has called operator new, in programs that link Allocations.cpp.
#pragma once

long allocationsOfThread();
