#include <Dorvane/DVNotificationCenter.h>

#include <algorithm>
#include <atomic>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

namespace {

struct Entry
{
    int token = 0;
    QString name;
    const void *sender = nullptr;
    DVNotificationCenter::Observer observer;
    QMetaObject::Connection contextEnds;
    std::atomic<bool> removed = false;

    bool wants(const DVNotification &notification) const
    {
        return (name.isEmpty() || name == notification.name) && (!sender || sender == notification.sender);
    }
};

using Entries = std::vector<std::shared_ptr<Entry>>;

// Shared with the connections to the contexts, which may outlive the centre.
struct Registry
{
    std::mutex mutex;
    Entries entries; // in the order in which they were added
    int lastToken = 0;

    int newToken()
    {
        const std::lock_guard lock(mutex);
        return ++lastToken;
    }

    void add(std::shared_ptr<Entry> entry)
    {
        const std::lock_guard lock(mutex);
        entries.push_back(std::move(entry));
    }

    // The entry is returned so that what its observer holds is destroyed without the lock.
    std::shared_ptr<Entry> take(int token)
    {
        const std::lock_guard lock(mutex);
        const auto found = std::find_if(entries.begin(), entries.end(),
                                        [token](const auto &entry) { return entry->token == token; });
        if (found == entries.end())
            return nullptr;
        auto entry = std::move(*found);
        entries.erase(found);
        entry->removed = true;
        return entry;
    }

    Entries matching(const DVNotification &notification)
    {
        const std::lock_guard lock(mutex);
        Entries result;
        for (const auto &entry : entries) {
            if (entry->wants(notification))
                result.push_back(entry);
        }
        return result;
    }
};

} // namespace

struct DVNotificationCenter::Private
{
    std::shared_ptr<Registry> registry = std::make_shared<Registry>();
};

DVNotificationCenter::DVNotificationCenter()
    : d(new Private)
{}

DVNotificationCenter::~DVNotificationCenter()
{
    Entries entries;
    {
        const std::lock_guard lock(d->registry->mutex);
        entries.swap(d->registry->entries);
    }
    for (const auto &entry : entries)
        QObject::disconnect(entry->contextEnds);
    delete d;
}

DVNotificationCenter &DVNotificationCenter::defaultCenter()
{
    static auto *instance = new DVNotificationCenter; // never destroyed: threads may outlive static objects
    return *instance;
}

int DVNotificationCenter::addObserver(QObject *context, const QString &name, const void *sender,
                                      Observer observer)
{
    auto entry = std::make_shared<Entry>();
    const int token = d->registry->newToken();
    entry->token = token;
    entry->name = name;
    entry->sender = sender;
    entry->observer = std::move(observer);
    if (context) {
        const auto forget = [registry = std::weak_ptr(d->registry), token] {
            if (const auto r = registry.lock())
                r->take(token);
        };
        entry->contextEnds = QObject::connect(context, &QObject::destroyed, forget);
    }
    d->registry->add(std::move(entry)); // complete: from here on other threads may see it
    return token;
}

void DVNotificationCenter::removeObserver(int token)
{
    if (const auto entry = d->registry->take(token))
        QObject::disconnect(entry->contextEnds);
}

void DVNotificationCenter::postNotification(const QString &name, const void *sender,
                                            const QVariantMap &userInfo)
{
    const DVNotification notification{name, sender, userInfo};
    const Entries entries = d->registry->matching(notification);
    for (const auto &entry : entries) {
        if (!entry->removed && entry->observer)
            entry->observer(notification);
    }
}
