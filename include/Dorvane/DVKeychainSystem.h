// DorvaneKeychain: a translator's sign-in in the system's own keychain. Link Dorvane::Keychain for it.
#pragma once

#include <QtGlobal>

#if defined(DORVANE_STATIC)
#define DORVANE_KEYCHAIN_EXPORT
#elif defined(DORVANE_KEYCHAIN_BUILDING)
#define DORVANE_KEYCHAIN_EXPORT Q_DECL_EXPORT
#else
#define DORVANE_KEYCHAIN_EXPORT Q_DECL_IMPORT
#endif

// For builds in which translators work. Others need no keychain, and link neither this library nor D-Bus.
class DORVANE_KEYCHAIN_EXPORT DorvaneKeychain
{
public:
    DorvaneKeychain() = delete;

    // Makes the system's keychain (Secret Service or KWallet, Apple's Keychain, the Credential Locker) the
    // one of dv_setKeychainService. Call it before the start, on the main thread, with an application
    // object; calling it again changes nothing. It talks to no service yet, and never holds the main
    // thread: a thread of its own, which starts with the first item, waits for the system. Where there is no
    // keychain or it is locked for good, a sign-in lives in memory; nothing is ever written in clear.
    //
    // Items are those of the application, by QCoreApplication's organizationName() and applicationName(): set
    // these before the start.
    //
    // QtKeychain does the work, and its queue of jobs is one for the process and not thread-safe. An
    // application that uses QtKeychain itself should not call this, but implement DVKeychainService with
    // jobs on its own thread.
    static void useSystem();
};
