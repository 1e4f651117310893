#include "NumerusForms.h"

#include <DVPluralForm.h>

#include <array>
#include <string_view>

namespace {

struct Languages
{
    std::u16string_view categories; // separated by blanks, as the codes are
    std::u16string_view codes;
};

// Found by experiment with Qt 6.4's lupdate and lrelease, for every language code of
// two letters and those of three that Qt knows. A name is that of the category which the library gives most
// of the form's numbers, or where it has none, of the category that CLDR gives them.
constexpr std::array languagesByForms{
    Languages{u"one other", u"aa ab af am as ay az ba bg bn br ca co da de el en eo es et eu fi fil "
                            u"fo fr fur fy gl gu ha he hi hy ia ie is it iw ji ka kk kl km kn ks ku "
                            u"kw ky la lb ln lo mg ml mn mr nb ne nl nn no nso oc or pa ps pt qu rm "
                            u"rn rw sd si sn so sq ss st sv sw ta te tg ti tk tl tn to ts ug ur uz "
                            u"vo wa wo xh yi zu"},
    Languages{u"one few many", u"be bs hr pl ru sh sr uk"},
    Languages{u"one few other", u"cs lt mo ro sk"},
    Languages{u"one other zero", u"lv"},
    Languages{u"one two other", u"dv ga gv ik iu mi mk sa se sm"},
    Languages{u"one few many other", u"mt"},
    Languages{u"one two few other", u"gd sl"},
    Languages{u"zero one two many other", u"cy"},
    Languages{u"zero one two few many other", u"ar"},
};

QStringList words(std::u16string_view text)
{
    return QString::fromUtf16(text.data(), qsizetype(text.size())).split(u' ');
}

QString languageOf(const QString &locale)
{
    return DVLocale(locale).languageCode();
}

// What the library's rule can answer for whole numbers.
QStringList askedCategories(const QString &locale)
{
    constexpr int periodOfAllRules = 1000;
    constexpr int breton = 1'000'000; // its "many" are whole millions
    const DVPluralForm::Rule rule = DVPluralForm::ruleForLocale(DVLocale(locale));
    std::array<bool, DVPluralCategoryCount> asked{};
    for (int n = 0; n <= periodOfAllRules; ++n)
        asked[size_t(rule(n, float(n)))] = true;
    asked[size_t(rule(breton, float(breton)))] = true;
    asked[size_t(DVPluralCategory::Other)] = true;
    QStringList names;
    for (size_t i = 0; i < asked.size(); ++i) {
        if (asked[i])
            names.append(dv_pluralCategoryName(DVPluralCategory(i)));
    }
    return names;
}

} // namespace

QStringList numerusCategories(const QString &locale)
{
    const QString language = languageOf(locale);
    for (const Languages &languages : languagesByForms) {
        if (words(languages.codes).contains(language))
            return words(languages.categories);
    }
    return {QStringLiteral("other")};
}

QList<FilledCategory> filledCategories(const QString &locale)
{
    const QStringList forms = numerusCategories(locale);
    const QString other = QStringLiteral("other");
    const QString rest = forms.contains(other) ? other : forms.constLast();
    const bool isWelsh = languageOf(locale) == u"cy"; // 3 has the form of 2 there
    QList<FilledCategory> filled;
    for (const QString &category : askedCategories(locale)) {
        if (forms.contains(category))
            continue;
        filled.append({category, isWelsh && category == u"few" ? QStringLiteral("two") : rest});
    }
    return filled;
}
