#include "DVState.h"

#include "DVSecrets.h"

namespace {

// Made by the compiler and never destroyed: lookups read it before main() and after it.
union Storage {
    constexpr Storage()
        : state()
    {}
    ~Storage() {} // NOLINT(modernize-use-equals-default): a default one would be deleted

    DVState state;
};
constinit Storage storage;

} // namespace

DVState &DVState::shared()
{
    return storage.state;
}

void DVState::setAesKey(const QString &key)
{
    DVSecrets::remember(key, DVSecrets::Lifetime::Lasting);
    write(m_aesKey, key);
}
