// DVPluralForm: which plural form fits a number (CLDR's integer rules, as the platform fixes them).
#pragma once

#include <Dorvane/DVLocale.h>
#include <Dorvane/DVNumber.h>

#include <QString>

// CLDR's categories in their order of presentation, and the name under which a group keeps the form
// of a string without plurals.
enum class DVPluralCategory : quint8 { Zero, One, Two, Few, Many, Other, None };
inline constexpr int DVPluralCategoryCount = 7;

// "zero" ... "other", "none".
QString dv_pluralCategoryName(DVPluralCategory category);
// Unknown names give None and false.
bool dv_pluralCategoryFromName(QStringView name, DVPluralCategory *category);

class DVPluralForm
{
public:
    // A rule, chosen once per locale and applied per number: for lookups.
    using Rule = DVPluralCategory (*)(qint64 n, float v);
    static Rule ruleForLocale(const DVLocale &locale);

    // One of "zero", "one", "two", "few", "many", "other".
    static QString pluralFormForValue(const DVNumber &value, const DVLocale &withLocale);
};
