#include "DVBusGuard.h"

#include <QLibrary>

#include <mutex>

namespace {

// GLib's functions, found at run time as QtKeychain finds libsecret: nothing here links them.
struct Functions
{
    using GetBus = void *(*)(int type, void *cancellable, void **error);
    using SetExitOnClose = void (*)(void *connection, int exitOnClose);
    using Unref = void (*)(void *object);

    GetBus getBus = nullptr;
    SetExitOnClose setExitOnClose = nullptr;
    Unref unref = nullptr;

    Functions()
    {
        if (!QLibrary(QStringLiteral("secret-1"), 0).load())
            return;
        QLibrary gio(QStringLiteral("gio-2.0"), 0);
        QLibrary gobject(QStringLiteral("gobject-2.0"), 0);
        getBus = reinterpret_cast<GetBus>(gio.resolve("g_bus_get_sync"));
        setExitOnClose = reinterpret_cast<SetExitOnClose>(gio.resolve("g_dbus_connection_set_exit_on_close"));
        unref = reinterpret_cast<Unref>(gobject.resolve("g_object_unref"));
    }
    bool areThere() const { return getBus && setExitOnClose && unref; }
};

} // namespace

void dv_surviveEndOfBus()
{
    constexpr int sessionBus = 2; // G_BUS_TYPE_SESSION
    static const Functions functions;
    static std::mutex mutex;
    static void *told = nullptr; // held, so that the shared connection stays this one while it lives
    if (!functions.areThere())
        return;
    const std::lock_guard lock(mutex);
    void *connection = functions.getBus(sessionBus, nullptr, nullptr);
    if (!connection)
        return;
    if (connection == told)
        return functions.unref(connection);
    functions.setExitOnClose(connection, 0);
    if (told)
        functions.unref(told);
    told = connection;
}
