// DVFakeKeychain: a keychain that answers as a test tells it to.
#pragma once

#include <Dorvane/DVKeychainService.h>

#include <QList>
#include <QMap>
#include <QStringList>

#include <functional>
#include <memory>
#include <thread>
#include <utility>

// What the keychain holds and how it behaves; outlives it, as the system's does a process.
struct DVFakeKeychainState
{
    enum Answers {
        AtOnce,     // from inside the call
        FromThread, // from another thread
        Held,       // when release() is called
        Never,      // and the completion is destroyed
        Failing     // with an error
    };

    Answers answers = AtOnce;
    QMap<QString, QString> items; // by service and account, a line break between them
    QStringList calls;            // "read", "write", "remove", in order
    QList<std::function<void()>> held;

    // Answers what was held, in order, as things were when it was asked.
    void release()
    {
        for (const auto &answer : std::exchange(held, {}))
            answer();
    }
};

class DVFakeKeychain final : public DVKeychainService
{
public:
    explicit DVFakeKeychain(std::shared_ptr<DVFakeKeychainState> state)
        : d(std::move(state))
    {}

    void read(const QString &service, const QString &account,
              std::function<void(const DVErrorOr &, const QString &)> done) override
    {
        const QString value = d->items.value(name(service, account));
        answer(QStringLiteral("read"), [done = std::move(done), value](const DVErrorOr &error) {
            done(error, error ? QString() : value);
        });
    }
    void write(const QString &service, const QString &account, const QString &value,
               std::function<void(const DVErrorOr &)> done) override
    {
        if (d->answers != DVFakeKeychainState::Failing)
            d->items.insert(name(service, account), value);
        answer(QStringLiteral("write"), std::move(done));
    }
    void remove(const QString &service, const QString &account,
                std::function<void(const DVErrorOr &)> done) override
    {
        if (d->answers != DVFakeKeychainState::Failing)
            d->items.remove(name(service, account));
        answer(QStringLiteral("remove"), std::move(done));
    }

private:
    static QString name(const QString &service, const QString &account)
    {
        return QString(service % u'\n' % account);
    }

    void answer(const QString &call, std::function<void(const DVErrorOr &)> done)
    {
        d->calls.append(call);
        switch (d->answers) {
        case DVFakeKeychainState::AtOnce:
            return done({});
        case DVFakeKeychainState::FromThread:
            return std::thread(std::move(done), DVErrorOr()).join();
        case DVFakeKeychainState::Held:
            return d->held.append([done = std::move(done)] { done({}); });
        case DVFakeKeychainState::Never:
            return;
        case DVFakeKeychainState::Failing:
            return done(DVError{QStringLiteral("dorvane.keychain"), 1, QStringLiteral("it is broken")});
        }
    }

    std::shared_ptr<DVFakeKeychainState> d;
};
