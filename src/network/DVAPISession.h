// DVAPISession: the API credentials of a project.
#pragma once

#include <QString>

// Main thread only. Kept in memory, never written or logged.
class DVAPISession
{
public:
    static DVAPISession &sharedInstance();

    QString userId;     // null until the options name one
    QString userSecret; // null until the options name one
};
