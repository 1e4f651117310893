#include "AuthorizationCodes.h"

#include "Secrets.h"

namespace {

// How long a used code is remembered behind its end.
constexpr qint64 memorySeconds = 600;

} // namespace

QByteArray AuthorizationCodes::issue(const QString &user, qint64 lifetimeSeconds)
{
    const QDateTime now = QDateTime::currentDateTimeUtc();
    m_entries.removeIf([&now](const QHash<QByteArray, Entry>::iterator &entry) {
        return entry->expires.addSecs(memorySeconds) < now;
    });
    const QByteArray code = freshSecret();
    m_entries.insert(fingerprint(code), {user, now.addSecs(lifetimeSeconds), false, {}});
    return code;
}

AuthorizationCodes::Use AuthorizationCodes::use(const QByteArray &code)
{
    const auto entry = m_entries.find(fingerprint(code));
    if (entry == m_entries.end())
        return {};
    if (entry->used)
        return {{}, entry->session};
    entry->used = true;
    const bool isGood = entry->expires > QDateTime::currentDateTimeUtc();
    return {isGood ? std::optional(entry->user) : std::nullopt, {}};
}

void AuthorizationCodes::setSession(const QByteArray &code, const QString &session)
{
    if (const auto entry = m_entries.find(fingerprint(code)); entry != m_entries.end())
        entry->session = session;
}
