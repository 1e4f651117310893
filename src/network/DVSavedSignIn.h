// DVSavedSignIn: a translator's tokens in the keychain, and the log out that a keychain has not carried out
// yet.
#pragma once

#include <QJsonObject>

#include <functional>
#include <optional>

// Main thread. A log out leaves a mark on the device until the keychain has confirmed that it deleted or
// replaced the item; a sign-in that is saved meanwhile carries the mark, so that one of before is known.
namespace DVSavedSignIn {

void save(const QJsonObject &token);

// What the keychain holds, unless it is of before the last log out: that is deleted again. One that arrives
// late is given to `later`.
std::optional<QJsonObject> load(std::function<void(const QJsonObject &)> later);

// What is saved is none from now on, also when the process ends before remove().
void disown();
void remove();

} // namespace DVSavedSignIn
