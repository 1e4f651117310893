// DVPendingIssues: rejected strings whose issue the platform has not got yet.
#pragma once

#include "DVString.h"

#include <Dorvane/DVError.h>
#include <Dorvane/DVLocale.h>

#include <QList>
#include <QString>

// Kept on the device, so that why a string was rejected survives a kill between the rejection and its issue.
// Class operations only, main thread.
class DVPendingIssues
{
public:
    struct Issue
    {
        QString project; // an issue is filed in the project and for the locale in which it arose
        QString locale;  // device form
        QString key;
        QString uid;
        QString reason;
        QString description;

        // A record that can be handed to the platform's client.
        DVStringGroupPtr string() const;
        friend bool operator==(const Issue &, const Issue &) = default;
    };

    // Of the current project and locale, in the order in which they were added.
    static QList<Issue> all();
    // For strings of the current project and a locale of it. One per string: a later one replaces an earlier
    // one.
    static void add(const QList<DVStringGroupPtr> &strings, const DVLocale &ofLocale);
    // One that was replaced meanwhile stays.
    static void remove(const Issue &issue);

    // Of every project and locale.
    static void clear();

    // Whether sending may succeed later: the network or the platform was not there, or nobody was signed in.
    static bool isWorthAnotherTry(const DVError &error);
};
