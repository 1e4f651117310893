// DVSystemKeychain: the service of the library's keychain over QtKeychain.
#pragma once

#include <Dorvane/DVKeychainService.h>

// Requests are handed to one thread for the process, in order: some back ends block while they wait for
// D-Bus. It starts with the first request.
class DVSystemKeychain final : public DVKeychainService
{
public:
    void read(const QString &service, const QString &account,
              std::function<void(const DVErrorOr &, const QString &)> done) override;
    void write(const QString &service, const QString &account, const QString &value,
               std::function<void(const DVErrorOr &)> done) override;
    void remove(const QString &service, const QString &account,
                std::function<void(const DVErrorOr &)> done) override;

    // Ends the thread, after so many milliseconds at most in which changes may reach the keychain; one that
    // a dead service holds is left behind. A later request starts it again.
    static void finish(int milliseconds);
};
