#include "Rule.h"

#include <algorithm>
#include <array>

namespace {

struct Rule
{
    RuleId id;
    const char *name;
    const char *summary;
};

// In the order of RuleId.
constexpr std::array rules{
    Rule{RuleId::Xml, "xml", "the document is not well-formed XML in UTF-8"},
    Rule{RuleId::NotXliff, "not-xliff", "the document is not XLIFF 1.2"},
    Rule{RuleId::Limit, "limit", "the document is beyond what applications read"},
    Rule{RuleId::MissingKey, "missing-key", "a unit has no resname, so no lookup finds it"},
    Rule{RuleId::DuplicateKey, "duplicate-key", "a key stands in the document twice"},
    Rule{RuleId::SeveralTargets, "several-targets", "a unit has several sources or targets"},
    Rule{RuleId::InlineElement, "inline-element", "an inline element other than <ph> is lost"},
    Rule{RuleId::MissingPlaceholder, "missing-placeholder", "the target lacks an argument of the source"},
    Rule{RuleId::ExtraPlaceholder, "extra-placeholder", "the target has an argument that the source has not"},
    Rule{RuleId::ChangedPlaceholder, "changed-placeholder", "an argument has another type or number"},
    Rule{RuleId::RepeatedPlaceholder, "repeated-placeholder", "the target shows an argument more often"},
    Rule{RuleId::LoosePlaceholder, "loose-placeholder", "an argument stands outside <ph>"},
    Rule{RuleId::StrayPercent, "stray-percent", "a percent sign will be shown fullwidth"},
    Rule{RuleId::MissingPlural, "missing-plural", "a plural form that the language needs is missing"},
    Rule{RuleId::SuperfluousPlural, "superfluous-plural", "a plural form is never chosen in the language"},
    Rule{RuleId::UnknownPlural, "unknown-plural", "an id names no plural category"},
    Rule{RuleId::Markup, "markup", "tags in a text are not balanced, or differ from the source's"},
    Rule{RuleId::Entity, "entity", "an entity of a rich text is damaged"},
    Rule{RuleId::CueMarker, "cue-marker", "a text holds the markers of a review build"},
    Rule{RuleId::EmptyTarget, "empty-target", "a string is not translated"},
    Rule{RuleId::SameAsSource, "same-as-source", "a translation equals its source"},
    Rule{RuleId::Mnemonic, "mnemonic", "a keyboard mnemonic is lost, doubled or new"},
    Rule{RuleId::KeySequence, "key-sequence", "a key sequence is changed"},
    Rule{RuleId::Space, "space", "blanks at the beginning or the end differ"},
    Rule{RuleId::LineFeeds, "line-feeds", "line feeds differ"},
    Rule{RuleId::Punctuation, "punctuation", "the end of the sentence differs"},
    Rule{RuleId::ControlCharacter, "control-character", "a text holds a character that nobody typed"},
    Rule{RuleId::Bidi, "bidi", "controls of the writing direction are not balanced"},
    Rule{RuleId::Untranslated, "untranslated", "a key of the base file is missing"},
    Rule{RuleId::UnknownKey, "unknown-key", "the base file does not have a key"},
    Rule{RuleId::Language, "language", "the target-language contradicts the file's name"},
};
static_assert(rules.size() == size_t(RuleId::Count));
static_assert(std::ranges::is_sorted(rules, {}, &Rule::id));

} // namespace

QString ruleName(RuleId rule)
{
    return QString::fromLatin1(rules[size_t(rule)].name);
}

QString ruleSummary(RuleId rule)
{
    return QString::fromLatin1(rules[size_t(rule)].summary);
}

QStringList ruleNames()
{
    QStringList names;
    for (const Rule &rule : rules)
        names += QString::fromLatin1(rule.name);
    return names;
}

bool ruleFromName(QStringView name, RuleId *rule)
{
    const auto found =
        std::ranges::find_if(rules, [name](const Rule &r) { return name == QLatin1StringView(r.name); });
    if (found == rules.end())
        return false;
    *rule = found->id;
    return true;
}

QString languageOf(const QString &locale)
{
    return DVLocale(locale).languageCode().toLower();
}

bool CheckContext::isTranslation() const
{
    return !locale.isEmpty() && !sourceLocale.isEmpty() && languageOf(locale) != languageOf(sourceLocale);
}

void CheckContext::add(RuleId rule, Severity severity, const CheckedUnit &unit, Place place,
                       const QString &message) const
{
    if (isOn(rule))
        report({rule, severity, place, message, unit.key, unit.form});
}

void CheckContext::add(RuleId rule, Severity severity, Place place, const QString &message) const
{
    if (isOn(rule))
        report({rule, severity, place, message, {}, {}});
}
