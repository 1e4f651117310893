// Rules about arguments: what the target does with those of the source.
#include "Placeholder.h"
#include "Rule.h"

#include <algorithm>

namespace {

using Placeholders = std::vector<Placeholder>;

// A key has few forms; a document that repeats one a thousand times must not cost the square.
constexpr size_t mostForms = 12;

const Placeholder *find(const Placeholders &all, const Placeholder &wanted)
{
    const auto found = std::ranges::find_if(
        all, [&wanted](const Placeholder &candidate) { return sameArgument(candidate, wanted); });
    return found == all.end() ? nullptr : &*found;
}

Placeholders distinct(const Placeholders &all)
{
    Placeholders result;
    for (const Placeholder &placeholder : all) {
        if (placeholder.style != Placeholder::Literal && !find(result, placeholder))
            result.push_back(placeholder);
    }
    return result;
}

Placeholders without(Placeholders all, const Placeholders &these)
{
    std::erase_if(all, [&these](const Placeholder &placeholder) { return find(these, placeholder); });
    return all;
}

qsizetype count(const Placeholders &all, const Placeholder &wanted)
{
    return std::ranges::count_if(
        all, [&wanted](const Placeholder &candidate) { return sameArgument(candidate, wanted); });
}

// The sources of all forms of a string that has plural forms.
class PluralSources
{
public:
    PluralSources(const CheckContext &context, const CheckedUnit &unit)
    {
        if (unit.form.isNull())
            return;
        const std::vector<qsizetype> &indexes = *context.units.constFind(unit.key);
        for (size_t i = 0; i < std::min(indexes.size(), mostForms); ++i) {
            const CheckedUnit &form = context.document.units[size_t(indexes[i])];
            if (form.source.isPresent())
                m_sources.push_back(distinct(placeholdersIn(form.source)));
        }
        for (const Placeholders &source : m_sources)
            for (const Placeholder &placeholder : source)
                if (!find(all, placeholder))
                    all.push_back(placeholder);
    }

    Placeholders all;

    // Whether an argument may be the number that chooses the form: %n, else what some form does
    // without, else a whole number, else the only argument.
    bool mayBeNumber(const Placeholder &placeholder) const
    {
        const auto isCount = [](const Placeholder &p) { return p.style == Placeholder::Count; };
        if (std::ranges::any_of(all, isCount))
            return isCount(placeholder);
        const auto lacks = [&](const Placeholders &source) { return !find(source, placeholder); };
        return std::ranges::any_of(m_sources, lacks) || placeholder.kind == Placeholder::Integer ||
               all.size() == 1;
    }

private:
    std::vector<Placeholders> m_sources;
};

class Comparison
{
public:
    Comparison(const CheckContext &context, const CheckedUnit &unit)
        : m_context(context)
        , m_unit(unit)
        , m_plural(context, unit)
        , m_source(placeholdersIn(unit.source))
        , m_target(placeholdersIn(unit.target))
    {}

    void report()
    {
        const Placeholders source = distinct(m_source);
        const Placeholders target = distinct(m_target);
        m_missing = without(source, target);
        m_extra = without(without(target, source), m_plural.all);
        reportTypes(source, target);
        reportRenumbered();
        for (const Placeholder &placeholder : m_missing)
            reportMissing(placeholder);
        for (const Placeholder &placeholder : m_extra)
            add(RuleId::ExtraPlaceholder, Severity::Error, placeholder,
                QStringLiteral("%1 is not in the source"));
        reportRepeated(target);
    }

private:
    Place placeOf(const Placeholder &placeholder) const
    {
        return m_context.document.placeOf(m_unit.target, placeholder.begin, placeholder.written.size());
    }
    void add(RuleId rule, Severity severity, const Placeholder &placeholder, const QString &message) const
    {
        m_context.add(rule, severity, m_unit, placeOf(placeholder), message.arg(placeholder.written));
    }
    // With the number written, so that the arguments' order does not matter.
    static QString numbered(const Placeholder &placeholder)
    {
        return QStringLiteral("%%1$").arg(placeholder.number) + placeholder.written.mid(1);
    }
    void reportTypes(const Placeholders &source, const Placeholders &target)
    {
        for (const Placeholder &placeholder : target) {
            const Placeholder *same = find(source, placeholder);
            if (!same)
                same = find(m_plural.all, placeholder);
            if (!same || same->kind == placeholder.kind)
                continue;
            const auto meant = std::ranges::find(source, placeholder.kind, &Placeholder::kind);
            const bool isOrder = placeholder.ordered && meant != source.end();
            m_context.add(
                RuleId::ChangedPlaceholder, Severity::Error, m_unit, placeOf(placeholder),
                isOrder
                    ? QStringLiteral("%1 takes the argument of %2; write %3")
                          .arg(placeholder.written, same->written, numbered(*meant))
                    : QStringLiteral("%1 of the source became %2").arg(same->written, placeholder.written));
        }
    }
    // One for one: the same number in another style, or the only one with another number.
    void reportRenumbered()
    {
        for (qsizetype i = qsizetype(m_missing.size()) - 1; i >= 0; --i) {
            const Placeholder missing = m_missing[size_t(i)];
            const bool isOnly = m_missing.size() == 1 && m_extra.size() == 1;
            const auto extra = std::ranges::find_if(m_extra, [&](const Placeholder &candidate) {
                return isOnly || (missing.number > 0 && candidate.number == missing.number);
            });
            if (extra == m_extra.end())
                continue;
            m_context.add(RuleId::ChangedPlaceholder, Severity::Error, m_unit, placeOf(*extra),
                          QStringLiteral("%1 of the source became %2").arg(missing.written, extra->written));
            m_extra.erase(extra);
            m_missing.erase(m_missing.begin() + i);
        }
    }
    void reportMissing(const Placeholder &placeholder) const
    {
        const Place place = m_context.document.placeOf(m_unit.target);
        const QString message = QStringLiteral("%1 of the source is missing").arg(placeholder.written);
        DVPluralCategory category{};
        const bool isForm = dv_pluralCategoryFromName(m_unit.form, &category);
        if (!isForm || !m_plural.mayBeNumber(placeholder))
            return m_context.add(RuleId::MissingPlaceholder, Severity::Error, m_unit, place, message);
        const PluralNeeds::Form &form = m_context.plurals.form(category);
        if (form.numbers <= 1) // "One file" needs no number
            return;
        m_context.add(
            RuleId::MissingPlaceholder, severityOf(category, form), m_unit, place,
            message + QStringLiteral(", but this form stands for several numbers: %1").arg(form.examples));
    }
    // "Every day" for 0 and 1 is what people write; "one file" for 21 is a mistake.
    static Severity severityOf(DVPluralCategory category, const PluralNeeds::Form &form)
    {
        if (category >= DVPluralCategory::Few)
            return Severity::Error;
        return form.numbers <= 2 ? Severity::Note : Severity::Warning;
    }
    void reportRepeated(const Placeholders &target) const
    {
        for (const Placeholder &placeholder : target) {
            const qsizetype inSource = count(m_source, placeholder);
            if (inSource > 0 && count(m_target, placeholder) > inSource)
                add(RuleId::RepeatedPlaceholder, Severity::Warning, placeholder,
                    QStringLiteral("%1 stands in the target more often than in the source"));
        }
    }

    const CheckContext &m_context;
    const CheckedUnit &m_unit;
    const PluralSources m_plural;
    const Placeholders m_source;
    const Placeholders m_target;
    Placeholders m_missing;
    Placeholders m_extra;
};

bool isLooseFormat(const Placeholder &placeholder)
{
    return !placeholder.inElement && placeholder.style == Placeholder::Format;
}

void reportLooseFormat(const CheckContext &context, const CheckedUnit &unit, const Placeholder &placeholder)
{
    const Placeholders source = placeholdersIn(unit.source);
    const Placeholder *argument = find(source, placeholder);
    const bool isLost = argument && argument->inElement;
    context.add(RuleId::LoosePlaceholder, isLost ? Severity::Error : Severity::Warning, unit,
                context.document.placeOf(unit.target, placeholder.begin, placeholder.written.size()),
                QStringLiteral("%1 outside a <ph> element takes no argument and is shown as \uFF05%2")
                    .arg(placeholder.written, placeholder.written.mid(1)));
}

// The first percent sign that is no part of a placeholder and in no element; -1 when there is none.
qsizetype strayPercent(const CheckedText &text, const Placeholders &placeholders)
{
    if (placeholders.size() == mostPlaceholders)
        return -1;
    const QString &content = text.text();
    auto element = text.placeholderElements.begin();
    for (qsizetype at = content.indexOf(u'%'); at >= 0; at = content.indexOf(u'%', at + 1)) {
        while (element != text.placeholderElements.end() && element->second <= at)
            ++element;
        const bool inElement = element != text.placeholderElements.end() && element->first <= at;
        const bool inPlaceholder = std::ranges::any_of(placeholders, [at](const Placeholder &p) {
            return p.begin <= at && at < p.begin + p.written.size();
        });
        if (!inElement && !inPlaceholder)
            return at;
    }
    return -1;
}

} // namespace

void checkPlaceholders(const CheckContext &context, const CheckedUnit &unit)
{
    if (!unit.source.text().contains(u'%') && !unit.target.text().contains(u'%') &&
        unit.source.placeholderElements.empty() && unit.target.placeholderElements.empty())
        return;
    Comparison(context, unit).report();
}

void checkPercentSigns(const CheckContext &context)
{
    const CheckedUnit *firstLoose = nullptr;
    Place firstPlace;
    int looseCount = 0;
    for (const CheckedUnit &unit : context.document.units) {
        if (!unit.target.text().contains(u'%'))
            continue;
        const Placeholders placeholders = placeholdersIn(unit.target);
        for (const Placeholder &placeholder : placeholders) {
            if (isLooseFormat(placeholder))
                reportLooseFormat(context, unit, placeholder);
            else if (!placeholder.inElement && looseCount++ == 0) {
                firstLoose = &unit;
                firstPlace =
                    context.document.placeOf(unit.target, placeholder.begin, placeholder.written.size());
            }
        }
        if (const qsizetype stray = strayPercent(unit.target, placeholders); stray >= 0)
            context.add(RuleId::StrayPercent, Severity::Note, unit,
                        context.document.placeOf(unit.target, stray, 1),
                        QStringLiteral("this percent sign will be shown as \uFF05 (U+FF05)"));
    }
    if (firstLoose)
        context.add(RuleId::LoosePlaceholder, Severity::Note, *firstLoose, firstPlace,
                    QStringLiteral("placeholders outside <ph> elements: %1; \"dorvane pack\" and \"dorvane "
                                   "serve\" put them into such elements, a file shipped with the "
                                   "application needs them there")
                        .arg(looseCount));
}
