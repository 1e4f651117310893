#include "PluralNeeds.h"

#include <memory>

#include <unicode/uenum.h>
#include <unicode/upluralrules.h>

namespace {

constexpr int firstExamples = 3;

void countNumber(PluralNeeds &needs, DVPluralForm::Rule rule, int number)
{
    PluralNeeds::Form &form = needs.forms[size_t(rule(number, float(number)))];
    ++form.numbers;
    if (form.numbers <= firstExamples)
        form.examples += (form.numbers > 1 ? QStringLiteral(", ") : QString()) + QString::number(number);
    else if (form.numbers == firstExamples + 1)
        form.examples += QStringLiteral(", ...");
}

void addCldrForms(PluralNeeds &needs, QString locale)
{
    UErrorCode status = U_ZERO_ERROR;
    const std::unique_ptr<UPluralRules, decltype(&uplrules_close)> rules(
        uplrules_open(locale.replace(u'-', u'_').toLatin1().constData(), &status), &uplrules_close);
    const std::unique_ptr<UEnumeration, decltype(&uenum_close)> names(
        uplrules_getKeywords(rules.get(), &status), &uenum_close);
    while (U_SUCCESS(status)) {
        const char *name = uenum_next(names.get(), nullptr, &status);
        DVPluralCategory category{};
        if (!name)
            return;
        if (dv_pluralCategoryFromName(QString::fromLatin1(name), &category))
            needs.forms[size_t(category)].inCldr = true;
    }
}

} // namespace

PluralNeeds PluralNeeds::ofLocale(const QString &locale)
{
    PluralNeeds needs;
    const DVPluralForm::Rule rule = DVPluralForm::ruleForLocale(DVLocale(locale));
    for (int number = 0; number <= 1000; ++number)
        countNumber(needs, rule, number);
    countNumber(needs, rule, 1000000); // Breton counts whole millions apart
    addCldrForms(needs, locale);
    return needs;
}
