// Rules about plural forms: which ones a language takes.
#include "Rule.h"

#include <algorithm>
#include <array>

namespace {

// Which unit holds each form of a key; nullptr: none does.
using Forms = std::array<const CheckedUnit *, DVPluralCategoryCount>;

void reportMissing(const CheckContext &context, const CheckedUnit &at, const Forms &forms,
                   DVPluralCategory category)
{
    const PluralNeeds::Form &form = context.plurals.form(category);
    const bool hasOther = forms[size_t(DVPluralCategory::Other)];
    const QString name = dv_pluralCategoryName(category);
    // A language that CLDR counts in fewer forms than lookups do has the right text under "other".
    const bool isRight = !form.inCldr && hasOther;
    context.add(RuleId::MissingPlural, isRight ? Severity::Warning : Severity::Error, at, at.tag,
                QStringLiteral("the form \"%1\" is missing, which stands for %2 in \"%3\"%4")
                    .arg(name, form.examples, context.locale,
                         isRight ? QStringLiteral("; \"other\" will be shown") : QString()));
}

void reportSuperfluous(const CheckContext &context, const CheckedUnit &unit, const PluralNeeds::Form &form)
{
    context.add(RuleId::SuperfluousPlural, form.inCldr ? Severity::Note : Severity::Warning, unit, unit.tag,
                QStringLiteral("the form \"%1\" stands for no whole number in \"%2\" and is never shown")
                    .arg(unit.form, context.locale));
}

void checkForms(const CheckContext &context, const CheckedUnit &first, const Forms &forms)
{
    for (size_t i = 0; i < size_t(DVPluralCategory::None); ++i) {
        const auto category = DVPluralCategory(i);
        const PluralNeeds::Form &form = context.plurals.form(category);
        if (form.numbers > 0 && !forms[i])
            reportMissing(context, first, forms, category);
        else if (form.numbers == 0 && category == DVPluralCategory::Other && !forms[i])
            context.add(RuleId::MissingPlural, Severity::Note, first, first.tag,
                        QStringLiteral("the form \"other\" is missing; a lookup without a number takes it"));
        else if (form.numbers == 0 && category != DVPluralCategory::Other && forms[i])
            reportSuperfluous(context, *forms[i], form);
    }
}

} // namespace

void checkPlurals(const CheckContext &context)
{
    for (const std::vector<qsizetype> &indexes : context.units) {
        Forms forms{};
        const CheckedUnit *first = nullptr;
        for (const qsizetype index : indexes) {
            const CheckedUnit &unit = context.document.units[size_t(index)];
            DVPluralCategory category{};
            if (unit.form.isNull())
                continue;
            if (!dv_pluralCategoryFromName(unit.form, &category) || category == DVPluralCategory::None) {
                context.add(RuleId::UnknownPlural, Severity::Warning, unit, unit.tag,
                            QStringLiteral("\"%1\" is no plural category; an id that ends in [...] names "
                                           "zero, one, two, few, many or other")
                                .arg(unit.form));
                continue;
            }
            first = first ? first : &unit;
            forms[size_t(category)] = &unit;
        }
        if (first && !context.locale.isEmpty())
            checkForms(context, *first, forms);
    }
}
