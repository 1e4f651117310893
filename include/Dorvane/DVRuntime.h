// Replacing methods and calling them by name.
#pragma once

#include <Dorvane/DorvaneGlobal.h>

#include <QObject>
#include <QVariant>

// A function pointer without its type; cast it back to the method's own type before a call.
using DVImp = void (*)();

// Replaces the implementation of the instance method `selector` of the class `className` and hands
// out the one that was replaced, which stays callable. A class that only inherits the method gains
// its own. Writes the old implementation to `store` unless that is null. Returns whether there was
// one; a selector that the class does not implement changes nothing and logs "Swizzle: Method not
// found" (debug). Thread-safe; calls that are under way finish in the old implementation.
//
// The library's replaceable methods: "DVBundle" "localizedStringForKey:value:table:"
// (DVLocalizedStringForKeyImp).
DORVANE_EXPORT bool dv_class_swizzleMethodAndStore(const char *className, const char *selector, DVImp newImp,
                                                   DVImp *store);

// The same with the class as receiver; the second form replaces a class method.
DORVANE_EXPORT bool dv_swizzleMethod(const char *className, const char *selector, DVImp imp, DVImp *store);
DORVANE_EXPORT bool dv_swizzleClassMethod(const char *className, const char *selector, DVImp imp,
                                          DVImp *store);

// Invokes the invokable method or slot without arguments that `selector` names, on the calling
// thread. Returns whether the receiver has one. A null receiver has none.
DORVANE_EXPORT bool dv_performSelector(QObject *receiver, const QString &selector);

// The value of the invokable method without arguments, or else of the property, that `selector`
// names; an invalid QVariant when the receiver has neither.
DORVANE_EXPORT QVariant dv_getObjectWithSelector(QObject *receiver, const QString &selector);
