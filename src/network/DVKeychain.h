// DVKeychain: the items of the library in the system's keychain.
#pragma once

#include <Dorvane/DVKeychainService.h>

#include <QString>

#include <functional>
#include <optional>

// The copy in memory is the truth; the service is told in the background. Without a service, with one that is
// locked, dies or never answers, items live in memory only: one line at info level says so, nothing is
// written in clear, nothing waits. Each deletion that fails has a line of its own. Main thread only.
class DVKeychain
{
public:
    // Where an item stands: both are the key, under the application's own name, since one keychain serves all
    // applications of a user.
    struct Query
    {
        QString service;
        QString account;
        QString accessGroup; // empty: none
        friend bool operator==(const Query &, const Query &) = default;
    };

    // Called once the service has done what it was told, unless the item was saved or deleted again since;
    // never when it fails, dies, or there is none. May be null.
    using Done = std::function<void()>;

    // True: it is in memory, and on its way to the service.
    static bool saveValue(const QString &value, const QString &forKey, const QString &forAccessGroup = {},
                          Done done = {});
    // From memory; what the service holds is waited for at most `loadTimeoutMs`, without an event loop. Null
    // when there is none, or none yet: then `later` (may be null) is called on the main thread if one
    // arrives and nothing was saved or deleted meanwhile.
    static constexpr int loadTimeoutMs = 300;
    static std::optional<QString> loadValueForKey(const QString &key, const QString &forAccessGroup = {},
                                                  std::function<void(const QString &)> later = {});
    // Whether there was an item in memory.
    static bool deleteValueForKey(const QString &key, const QString &forAccessGroup = {}, Done done = {});

    static Query getKeychainQuery(const QString &key, const QString &forAccessGroup);
    // "seed.group" where a seed identifier is known and the group does not hold it, else the group.
    static QString getFullAppleIdentifier(const QString &group);
    // The application's identifier prefix on systems that have one; null elsewhere.
    static QString getBundleSeedIdentifier();

    // Forgets what is in memory, as a new process would; for tests.
    static void forget();
};
