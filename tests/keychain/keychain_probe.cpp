// keychain_probe COMMAND...: a process with the system's keychain, for tests that end it, end the keychain
// under it, or start it again. All is about one key. It writes what happens to standard output.
//
//   load         "loaded VALUE" or "nothing", and with it how long the call took
//   await        until a value arrives late, "later VALUE", or ten seconds
//   save VALUE   and until the service has answered: "saved" or "failed", or ten seconds: "silence"
//   hasten VALUE the same without waiting
//   delete       as save
//   turn         half a second of the event loop
//   ask          until a line arrives on standard input, "asked" before it
//   flood COUNT  saves "value-1 ...", "value-2 ..." and so on, each once the one before is "saved"
#include "DVKeychain.h"
#include "DVMainQueue.h"
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
const QString key = u"token"_qs;
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
            DVMainQueue::post([error] {
                say(error ? QString(u"failed: " % error->description) : u"saved"_qs);
                proceed();
            });
        };
    }
    DVSystemKeychain m_system;
};

void awaitAnswer()
{
    if (!turnLoop(patienceMs))
        say(u"silence"_qs);
}

void load()
{
    QElapsedTimer timer;
    timer.start();
    const auto value = DVKeychain::loadValueForKey(key, {}, [](const QString &later) {
        say(u"later " % later);
        proceed();
    });
    say(u"took %1 ms"_qs.arg(timer.elapsed()));
    say(value ? QString(u"loaded " % *value) : u"nothing"_qs);
}

void askAndWait()
{
    say(u"asked"_qs);
    QSocketNotifier input(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&input, &QSocketNotifier::activated, [] {
        char line[64];
        static_cast<void>(::read(STDIN_FILENO, line, sizeof line));
        proceed();
    });
    turnLoop(60000);
}

void flood(int count)
{
    for (int number = 1; number <= count; ++number) {
        DVKeychain::saveValue(QString(u"value-%1 "_qs.arg(number) % QString(20000, u'x')), key);
        awaitAnswer();
    }
}

void obey(QStringList words)
{
    while (!words.isEmpty()) {
        const QString command = words.takeFirst();
        if (command == u"load") {
            load();
        } else if (command == u"await") {
            turnLoop(patienceMs);
        } else if (command == u"save" || command == u"hasten") {
            DVKeychain::saveValue(words.takeFirst(), key);
            if (command == u"save")
                awaitAnswer();
        } else if (command == u"delete") {
            DVKeychain::deleteValueForKey(key);
            awaitAnswer();
        } else if (command == u"turn") {
            turnLoop(500);
        } else if (command == u"ask") {
            askAndWait();
        } else if (command == u"flood") {
            flood(words.takeFirst().toInt());
        }
    }
    say(u"end"_qs);
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    QCoreApplication::setOrganizationName(u"Seedlings"_qs);
    QCoreApplication::setApplicationName(u"keychain_probe"_qs);
    DVState::shared().log = true;
    DorvaneKeychain::useSystem();
    dv_setKeychainService(std::make_unique<Watched>());
    obey(application.arguments().mid(1));
    return 0;
}
