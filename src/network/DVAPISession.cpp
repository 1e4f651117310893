#include "DVAPISession.h"

DVAPISession &DVAPISession::sharedInstance()
{
    static auto *session = new DVAPISession; // never destroyed, as all that is shared
    return *session;
}
