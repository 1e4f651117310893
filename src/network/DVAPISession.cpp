#include "DVAPISession.h"

DVAPISession &DVAPISession::sharedInstance()
{
    static DVAPISession session;
    return session;
}
