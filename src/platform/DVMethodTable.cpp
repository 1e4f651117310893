#include "DVMethodTable.h"

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

namespace {

using DVMethodTable::Kind;
using Slot = std::atomic<DVImp>;

struct Class
{
    const Class *superclass = nullptr;
    std::map<std::pair<Kind, std::string>, Slot *, std::less<>> methods;
};

// Never destroyed: methods are declared before main and called until the process ends.
struct Table
{
    std::mutex mutex;
    std::map<std::string, Class, std::less<>> classes; // a node stays where it is
};

Table &table()
{
    static auto *instance = new Table;
    return *instance;
}

Class *find(Table &t, const char *name)
{
    const auto found = name ? t.classes.find(name) : t.classes.end();
    return found == t.classes.end() ? nullptr : &found->second;
}

Slot *ownSlot(const Class &c, Kind kind, const char *selector)
{
    const auto found = c.methods.find({kind, selector});
    return found == c.methods.end() ? nullptr : found->second;
}

Slot *inheritedSlot(const Class *c, Kind kind, const char *selector)
{
    for (; c; c = c->superclass) {
        if (Slot *slot = ownSlot(*c, kind, selector))
            return slot;
    }
    return nullptr;
}

// Slots are as permanent as the table that refers to them.
Slot *newSlot(DVImp imp)
{
    return new Slot(imp);
}

} // namespace

void DVMethodTable::declareClass(const char *name, const char *superclass)
{
    auto &t = table();
    const std::lock_guard lock(t.mutex);
    const auto [position, added] = t.classes.try_emplace(name);
    if (added)
        position->second.superclass = find(t, superclass);
}

void DVMethodTable::declareMethod(const char *className, Kind kind, const char *selector, DVImp imp)
{
    auto &t = table();
    const std::lock_guard lock(t.mutex);
    Class *c = find(t, className);
    if (c && !ownSlot(*c, kind, selector))
        c->methods.emplace(std::pair(kind, std::string(selector)), newSlot(imp));
}

void DVMethodTable::declareMethod(const char *className, Kind kind, const char *selector, DVImp imp,
                                  std::atomic<DVImp> &slot)
{
    auto &t = table();
    const std::lock_guard lock(t.mutex);
    Class *c = find(t, className);
    if (!c || ownSlot(*c, kind, selector))
        return;
    slot.store(imp, std::memory_order_release);
    c->methods.emplace(std::pair(kind, std::string(selector)), &slot);
}

DVImp DVMethodTable::implementation(const char *className, Kind kind, const char *selector)
{
    auto &t = table();
    const std::lock_guard lock(t.mutex);
    const Slot *slot = inheritedSlot(find(t, className), kind, selector);
    return slot ? slot->load(std::memory_order_acquire) : nullptr;
}

DVImp DVMethodTable::replace(const char *className, Kind kind, const char *selector, DVImp imp)
{
    auto &t = table();
    const std::lock_guard lock(t.mutex);
    Class *c = find(t, className);
    Slot *slot = inheritedSlot(c, kind, selector);
    if (!slot)
        return nullptr;
    if (slot == ownSlot(*c, kind, selector))
        return slot->exchange(imp, std::memory_order_acq_rel);
    c->methods.emplace(std::pair(kind, std::string(selector)), newSlot(imp));
    return slot->load(std::memory_order_acquire);
}
