// DVLocale: a locale that keeps its identifier as it was given.
#pragma once

#include <Dorvane/DorvaneGlobal.h>

#include <QString>

// A value. The default is invalid. The identifier is kept to the letter ("sr_Latn_ME" stays so),
// in device form (underscores) or any other; only the queries below look inside it.
// Reentrant; safe to copy between threads.
class DORVANE_EXPORT DVLocale
{
public:
    DVLocale() = default;
    explicit DVLocale(const QString &localeIdentifier);

    bool isValid() const { return !m_identifier.isEmpty(); }
    QString identifier() const { return m_identifier; }

    // ISO 639 code: what stands before the first "_" or "-".
    QString languageCode() const;
    // ISO 3166 code (two letters or three digits), or empty when the identifier names none.
    QString countryCode() const;

    friend bool operator==(const DVLocale &, const DVLocale &) = default;

private:
    QString m_identifier;
};
