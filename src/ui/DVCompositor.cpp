#include "DVCompositor.h"

#include <QGuiApplication>
#include <QLibrary>
#include <QScreen>
#include <QString>

#include <cstdint>
#include <cstdlib>

namespace {

std::optional<bool> &fixedAnswer()
{
    static std::optional<bool> answer;
    return answer;
}

#if QT_CONFIG(xcb)

// libxcb is in the process when Qt's plugin for X11 is; asked by name, so that the library does not need it.
class Xcb
{
public:
    Xcb()
        : m_library(QStringLiteral("xcb"), 1)
    {}

    bool hasOwner(void *connection, const QByteArray &selection)
    {
        const auto internAtom =
            function<Cookie (*)(void *, std::uint8_t, std::uint16_t, const char *)>("xcb_intern_atom");
        const auto atomReply = function<AtomReply *(*)(void *, Cookie, void **)>("xcb_intern_atom_reply");
        const auto getOwner = function<Cookie (*)(void *, std::uint32_t)>("xcb_get_selection_owner");
        const auto ownerReply =
            function<OwnerReply *(*)(void *, Cookie, void **)>("xcb_get_selection_owner_reply");
        if (!internAtom || !atomReply || !getOwner || !ownerReply)
            return true;
        AtomReply *atom = atomReply(
            connection, internAtom(connection, 0, std::uint16_t(selection.size()), selection.constData()),
            nullptr);
        if (!atom)
            return true;
        OwnerReply *owner = ownerReply(connection, getOwner(connection, atom->atom), nullptr);
        const bool found = owner && owner->owner != 0;
        std::free(owner);
        std::free(atom);
        return found;
    }

private:
    // The X protocol's replies, as the wire has them.
    struct Cookie
    {
        unsigned int sequence;
    };
    struct AtomReply
    {
        std::uint8_t type;
        std::uint8_t pad;
        std::uint16_t sequence;
        std::uint32_t length;
        std::uint32_t atom;
    };
    struct OwnerReply
    {
        std::uint8_t type;
        std::uint8_t pad;
        std::uint16_t sequence;
        std::uint32_t length;
        std::uint32_t owner;
    };

    template<typename Function> Function function(const char *name)
    {
        return reinterpret_cast<Function>(m_library.resolve(name));
    }

    QLibrary m_library;
};

// EWMH: a compositing manager owns the selection _NET_WM_CM_S of its screen.
bool hasX11Compositor()
{
    auto *x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    return !x11 || !x11->connection() || Xcb().hasOwner(x11->connection(), "_NET_WM_CM_S0");
}

#endif

} // namespace

bool dv_hasCompositor()
{
    if (fixedAnswer())
        return *fixedAnswer();
#if QT_CONFIG(xcb)
    return hasX11Compositor();
#else
    return true; // every other window system of Qt blends windows
#endif
}

void dv_setHasCompositor(std::optional<bool> answer)
{
    fixedAnswer() = answer;
}
