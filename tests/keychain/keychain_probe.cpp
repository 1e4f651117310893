// keychain_probe ORGANIZATION COMMAND...: a process with the system's keychain, for tests that end it, end
// the keychain under it, or start it again. It writes what happens to standard output.
//
//   load KEY         "loaded VALUE" or "nothing", and with it how long the call took
//   await            until a value arrives late, "later VALUE", or ten seconds
//   save KEY VALUE   and until the service has answered: "saved" or "failed", or ten seconds: "silence"
//   hasten KEY VALUE the same without waiting
//   delete KEY       as save
//   turn             half a second of the event loop
//   ask              until a line arrives on standard input, "asked" before it
//   flood KEY COUNT  saves KEY as "value-1 ...", "value-2 ..." and so on, each once the one before is "saved"
#include "DVKeychain.h"
#include "DVState.h"
#include "DVSystemKeychain.h"

#include <Dorvane/DVKeychainSystem.h>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QSocketNotifier>
#include <QTimer>

#include <cstdio>
#include <utility>

#include <unistd.h>

namespace {

constexpr int patienceMs = 10000;
QEventLoop *waiting = nullptr;

void say(const QString &line)
{
    std::fputs(QString(line % u'\n').toUtf8().constData(), stdout);
    std::fflush(stdout);
}

void proceed()
{
    if (waiting)
        waiting->quit();
}

// Whether proceed() was called before.
bool turnLoop(int milliseconds)
{
    QEventLoop loop;
    waiting = &loop;
    QTimer timer;
    timer.setSingleShot(true);
    QObject::connect(&timer, &QTimer::timeout, &loop, [&loop] { loop.exit(1); });
    timer.start(milliseconds);
    const int result = loop.exec();
    waiting = nullptr;
    return result == 0;
}

// Says what the service answers to changes.
class Watched final : public DVKeychainService
{
public:
    void read(const QString &service, const QString &account,
              std::function<void(const DVErrorOr &, const QString &)> done) override
    {
        m_system.read(service, account, std::move(done));
    }
    void write(const QString &service, const QString &account, const QString &value,
               std::function<void(const DVErrorOr &)> done) override
    {
        m_system.write(service, account, value, reported(std::move(done)));
    }
    void remove(const QString &service, const QString &account,
                std::function<void(const DVErrorOr &)> done) override
    {
        m_system.remove(service, account, reported(std::move(done)));
    }

private:
    static std::function<void(const DVErrorOr &)> reported(std::function<void(const DVErrorOr &)> done)
    {
        return [done = std::move(done)](const DVErrorOr &error) {
            done(error);
            QMetaObject::invokeMethod(QCoreApplication::instance(), [error] {
                say(error ? QString(u"failed: " % error->description) : QStringLiteral("saved"));
                proceed();
            });
        };
    }
    DVSystemKeychain m_system;
};

void awaitAnswer()
{
    if (!turnLoop(patienceMs))
        say(QStringLiteral("silence"));
}

void load(const QString &key)
{
    QElapsedTimer timer;
    timer.start();
    const auto value = DVKeychain::loadValueForKey(key, {}, [](const QString &later) {
        say(u"later " % later);
        proceed();
    });
    say(QStringLiteral("took %1 ms").arg(timer.elapsed()));
    say(value ? QString(u"loaded " % *value) : QStringLiteral("nothing"));
}

void askAndWait()
{
    say(QStringLiteral("asked"));
    QSocketNotifier input(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&input, &QSocketNotifier::activated, [] {
        char line[64];
        static_cast<void>(::read(STDIN_FILENO, line, sizeof line));
        proceed();
    });
    turnLoop(60000);
}

void flood(const QString &key, int count)
{
    for (int number = 1; number <= count; ++number) {
        DVKeychain::saveValue(QString(QStringLiteral("value-%1 ").arg(number) % QString(20000, u'x')), key);
        awaitAnswer();
    }
}

void obey(QStringList words)
{
    while (!words.isEmpty()) {
        const QString command = words.takeFirst();
        const auto next = [&words] { return words.isEmpty() ? QString() : words.takeFirst(); };
        if (command == u"load") {
            load(next());
        } else if (command == u"await") {
            turnLoop(patienceMs);
        } else if (command == u"save" || command == u"hasten") {
            const QString key = next();
            DVKeychain::saveValue(next(), key);
            if (command == u"save")
                awaitAnswer();
        } else if (command == u"delete") {
            DVKeychain::deleteValueForKey(next());
            awaitAnswer();
        } else if (command == u"turn") {
            turnLoop(500);
        } else if (command == u"ask") {
            askAndWait();
        } else if (command == u"flood") {
            const QString key = next();
            flood(key, next().toInt());
        }
    }
    say(QStringLiteral("end"));
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    QStringList words = application.arguments().mid(1);
    QCoreApplication::setOrganizationName(words.takeFirst());
    QCoreApplication::setApplicationName(QStringLiteral("keychain_probe"));
    DVState::shared().log = true;
    DorvaneKeychain::useSystem();
    dv_setKeychainService(std::make_unique<Watched>());
    obey(words);
    return 0;
}
