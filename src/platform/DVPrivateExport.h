// Exports for Dorvane::Review, which is built on this library's inside.
#pragma once

#include <Dorvane/DorvaneGlobal.h>

// Marks a function that the library of in-app review calls across the border of the shared libraries. What it
// marks is no promise to anybody: it may change with every release. Mark functions and not classes, as few as
// there are callers for, and list them in cmake/exports/dorvane-private.symbols; data on the way of a lookup
// must not be marked, since exported data is reached through a table.
#define DORVANE_PRIVATE_EXPORT DORVANE_EXPORT

// Exists in this release only, by the release's number in its name. The library of in-app review refers to
// it, so it neither links nor loads with another release.
extern "C" DORVANE_PRIVATE_EXPORT const char DORVANE_PRIVATE_RELEASE;
