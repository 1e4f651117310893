#include <Dorvane/DVKeychainSystem.h>

#include "DVSystemKeychain.h"

#include <QCoreApplication>

namespace {

void applicationEnds()
{
    constexpr int forChangesMs = 300; // a token that was refreshed a moment ago
    DVSystemKeychain::finish(forChangesMs);
}

} // namespace

void DorvaneKeychain::useSystem()
{
    qAddPostRoutine(applicationEnds);
    dv_setKeychainService(std::make_unique<DVSystemKeychain>());
}
