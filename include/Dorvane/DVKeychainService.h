// DVKeychainService: where the library keeps a translator's sign-in between two starts.
#pragma once

#include <Dorvane/DVError.h>
#include <Dorvane/DorvaneGlobal.h>

#include <QString>

#include <functional>
#include <memory>

// A store of small secrets. Dorvane::Keychain has one over the system's own (Secret Service, Keychain,
// Credential Locker); an application with another vault implements this and calls dv_setKeychainService. The
// library calls it on the main thread; an implementation must return at once, and call `done` later, once, on
// any thread. One that never calls it holds nothing up. Changes of one item take effect in the order of the
// calls. Items are told apart by `service` and `account`. Values are texts; they must not be logged.
class DORVANE_EXPORT DVKeychainService
{
public:
    virtual ~DVKeychainService();

    // No error and a null text: there is no such item.
    virtual void read(const QString &service, const QString &account,
                      std::function<void(const DVErrorOr &, const QString &value)> done) = 0;
    // Replaces the item whole: a process that is killed meanwhile leaves the old value or the new one.
    virtual void write(const QString &service, const QString &account, const QString &value,
                       std::function<void(const DVErrorOr &)> done) = 0;
    // Removing what is not there is no error.
    virtual void remove(const QString &service, const QString &account,
                        std::function<void(const DVErrorOr &)> done) = 0;
};

// Call it before the start, on the main thread. Without a service a sign-in lives in memory only. Null
// removes it.
DORVANE_EXPORT void dv_setKeychainService(std::unique_ptr<DVKeychainService> service);
