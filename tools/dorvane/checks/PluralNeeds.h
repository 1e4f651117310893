// PluralNeeds: which plural forms a language takes.
#pragma once

#include <DVPluralForm.h>

#include <QString>

#include <array>

// By the rule that lookups apply to whole numbers (see docs/plural-rules.md), with what CLDR says beside it.
struct PluralNeeds
{
    struct Form
    {
        int numbers = 0;     // how many whole numbers from 0 to 1000 it stands for
        QString examples;    // the first of them: "0, 1"
        bool inCldr = false; // CLDR has it for some number, perhaps a fraction
    };
    std::array<Form, DVPluralCategoryCount> forms;

    const Form &form(DVPluralCategory category) const { return forms[size_t(category)]; }
    // For an identifier in any form: "fr-CA", "fr_CA".
    static PluralNeeds ofLocale(const QString &locale);
};
