// DVRecentEvents: what the library did last, kept for Dorvane::diagnostics().
#pragma once

#include <Dorvane/DVDiagnostics.h>

#include <QMap>
#include <QMutex>

#include <optional>

// One for the process, never destroyed. Thread-safe. The moment of a note is DVClock's.
class DVRecentEvents
{
public:
    static DVRecentEvents &shared();

    void noteError(const DVError &error);
    // The last download to a strings file; its error counts as above.
    void noteDelivery(const QString &path, DVDiagnostics::Delivery delivery);

    std::optional<DVDiagnostics::Failure> lastError() const;
    // By the path of the strings file.
    QMap<QString, DVDiagnostics::Delivery> deliveries() const;

    // At the application's end.
    void clear();

private:
    mutable QMutex m_mutex;
    std::optional<DVDiagnostics::Failure> m_lastError;
    QMap<QString, DVDiagnostics::Delivery> m_deliveries;
};
