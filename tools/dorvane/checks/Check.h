// Check: all rules on one document.
#pragma once

#include "Rule.h"

#include <QByteArray>
#include <QSet>
#include <QString>

#include <atomic>

struct CheckOptions
{
    QString locale;                          // of the targets; null: the document's target-language
    QString sourceLocale;                    // null: the document's source-language
    const QSet<QString> *baseKeys = nullptr; // null: no base file
    RuleSet rules = RuleSet().set();
};

// What is wrong with the document, in the order of the places. A document that applications cannot read
// gives one finding and no other. Thread-safe.
FindingList findingsIn(const QByteArray &document, const CheckOptions &options);

// The keys of a document that can be read; those before the fault of one that cannot.
QSet<QString> keysIn(const QByteArray &document);

// Whether `name` looks like a locale that ICU knows: "fr", "fr-CA", "sr_Latn_ME".
bool isKnownLocale(const QString &name);

struct FindingCounts
{
    int errors = 0;
    int warnings = 0;
    int notes = 0;

    static FindingCounts of(const FindingList &findings);
    FindingCounts &operator+=(const FindingCounts &other);
    // "2 errors, 1 warning"; null when there is nothing.
    QString text() const;
};
