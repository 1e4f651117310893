// DVMethodTable: the replaceable methods of the library's own classes.
#pragma once

#include <Dorvane/DVRuntime.h>

#include <atomic>

namespace DVMethodTable {

enum class Kind { Instance, Class };

// Declares a class. `superclass` may be null; it must be declared before. Declaring again changes nothing.
void declareClass(const char *name, const char *superclass = nullptr);
// Gives a declared class its own implementation of a method, unless it has one already.
void declareMethod(const char *className, Kind kind, const char *selector, DVImp imp);
// The same, with the implementation kept in `slot`, which must live as long as the process: a caller
// then reaches it by one acquire load instead of a search by name.
void declareMethod(const char *className, Kind kind, const char *selector, DVImp imp,
                   std::atomic<DVImp> &slot);

// The implementation that a call would reach, searching superclasses; null when there is none.
DVImp implementation(const char *className, Kind kind, const char *selector);
// Replaces it; returns the one that a call reached before, or null when there is none (nothing is changed
// then). A class that only inherits the method gains its own. All of these are thread-safe and work before
// main.
DVImp replace(const char *className, Kind kind, const char *selector, DVImp imp);

} // namespace DVMethodTable
