// Rule: what the checks look for, and how they say that they found it.
#pragma once

#include "CheckedDocument.h"
#include "Finding.h"
#include "PluralNeeds.h"

#include <QHash>
#include <QSet>
#include <QString>
#include <QStringList>

#include <bitset>
#include <functional>
#include <vector>

using RuleSet = std::bitset<size_t(RuleId::Count)>;

QString ruleName(RuleId rule);
// One line: what is wrong where the rule finds something.
QString ruleSummary(RuleId rule);
QStringList ruleNames();
// False when there is no rule of that name.
bool ruleFromName(QStringView name, RuleId *rule);

// Units that share a key: indexes into the document's units, in its order.
using UnitsByKey = QHash<QString, std::vector<qsizetype>>;

// What a rule may look at. All of it outlives the rule's call.
struct CheckContext
{
    const CheckedDocument &document;
    const UnitsByKey &units;
    QString locale;       // of the targets, as the file's name or an option gives it; null when unknown
    QString sourceLocale; // of the sources
    PluralNeeds plurals;  // of `locale`
    const QSet<QString> *baseKeys = nullptr; // of the base file; null when there is none, or it is this one
    RuleSet rules;
    std::function<void(Finding)> report;

    bool isOn(RuleId rule) const { return rules.test(size_t(rule)); }
    // Both are given, and they name different languages.
    bool isTranslation() const;

    // Reports about a unit, or about the document. A rule that is switched off reports nothing.
    void add(RuleId rule, Severity severity, const CheckedUnit &unit, Place place,
             const QString &message) const;
    void add(RuleId rule, Severity severity, Place place, const QString &message) const;
};

// "en" of "en-GB" and "en_GB".
QString languageOf(const QString &locale);

// A rule, or a few that share their work. Called once for each unit that has a source and a target
// with text, or once for the document.
using UnitCheck = void (*)(const CheckContext &, const CheckedUnit &);
using DocumentCheck = void (*)(const CheckContext &);

void checkPlaceholders(const CheckContext &context, const CheckedUnit &unit);

void checkMarkup(const CheckContext &context, const CheckedUnit &unit);
void checkShortcuts(const CheckContext &context, const CheckedUnit &unit);
void checkSpaces(const CheckContext &context, const CheckedUnit &unit);
void checkPunctuation(const CheckContext &context, const CheckedUnit &unit);
void checkSameAsSource(const CheckContext &context, const CheckedUnit &unit);

void checkRoot(const CheckContext &context);
void checkLanguages(const CheckContext &context);
void checkStructure(const CheckContext &context);
void checkKeys(const CheckContext &context);
void checkTargets(const CheckContext &context);
void checkPlurals(const CheckContext &context);
void checkPercentSigns(const CheckContext &context);
void checkCharacters(const CheckContext &context);
