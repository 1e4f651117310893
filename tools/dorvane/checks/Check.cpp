#include "Check.h"

#include "ReadingProblem.h"

#include <DVXliffReader.h>

#include <QRegularExpression>

#include <algorithm>
#include <cstring>

#include <unicode/uloc.h>

namespace {

Place placeOf(const ReadingProblem &problem, const QByteArray &document)
{
    qsizetype begin = 0;
    for (qint64 line = problem.line; line > 1; --line) {
        const qsizetype end = document.indexOf('\n', begin);
        if (end < 0)
            return {document.size(), 0};
        begin = end + 1;
    }
    for (qint64 column = problem.column; column > 1 && begin < document.size(); --column) {
        do
            ++begin;
        while (begin < document.size() && (document[begin] & 0xC0) == 0x80);
    }
    return {begin, 0};
}

Finding readingFinding(const DVError &error, const QByteArray &document)
{
    constexpr int limitCode = 2;
    const ReadingProblem problem = ReadingProblem::of(error);
    return {error.code == limitCode ? RuleId::Limit : RuleId::Xml,
            Severity::Error,
            placeOf(problem, document),
            problem.message,
            {},
            {}};
}

UnitsByKey unitsByKey(const CheckedDocument &document)
{
    UnitsByKey units;
    units.reserve(qsizetype(document.units.size()));
    for (size_t i = 0; i < document.units.size(); ++i)
        units[document.units[i].key].push_back(qsizetype(i));
    return units;
}

struct GuardedUnitCheck
{
    UnitCheck check;
    RuleSet rules;
};

struct GuardedDocumentCheck
{
    DocumentCheck check;
    RuleSet rules;
};

RuleSet setOf(std::initializer_list<RuleId> rules)
{
    RuleSet set;
    for (const RuleId rule : rules)
        set.set(size_t(rule));
    return set;
}

// What each function may report, so that one whose rules are off costs nothing.
void runDocumentChecks(const CheckContext &context)
{
    static const std::vector<GuardedDocumentCheck> checks{
        {checkRoot, setOf({RuleId::NotXliff})},
        {checkLanguages, setOf({RuleId::Language})},
        {checkStructure, setOf({RuleId::MissingKey, RuleId::InlineElement, RuleId::SeveralTargets})},
        {checkKeys, setOf({RuleId::DuplicateKey, RuleId::Untranslated, RuleId::UnknownKey})},
        {checkTargets, setOf({RuleId::EmptyTarget})},
        {checkPlurals, setOf({RuleId::MissingPlural, RuleId::SuperfluousPlural, RuleId::UnknownPlural})},
        {checkPercentSigns, setOf({RuleId::LoosePlaceholder, RuleId::StrayPercent})},
        {checkCharacters, setOf({RuleId::CueMarker, RuleId::ControlCharacter, RuleId::Bidi})},
    };
    for (const auto &[check, rules] : checks)
        if ((rules & context.rules).any())
            check(context);
}

void runUnitChecks(const CheckContext &context)
{
    static const std::vector<GuardedUnitCheck> checks{
        {checkPlaceholders, setOf({RuleId::MissingPlaceholder, RuleId::ExtraPlaceholder,
                                   RuleId::ChangedPlaceholder, RuleId::RepeatedPlaceholder})},
        {checkMarkup, setOf({RuleId::Markup, RuleId::Entity})},
        {checkShortcuts, setOf({RuleId::Mnemonic, RuleId::KeySequence})},
        {checkSpaces, setOf({RuleId::Space, RuleId::LineFeeds})},
        {checkPunctuation, setOf({RuleId::Punctuation})},
        {checkSameAsSource, setOf({RuleId::SameAsSource})},
    };
    for (const auto &[check, rules] : checks) {
        if ((rules & context.rules).none())
            continue;
        for (const CheckedUnit &unit : context.document.units)
            if (!QStringView(unit.source.text()).trimmed().isEmpty() &&
                !QStringView(unit.target.text()).trimmed().isEmpty())
                check(context, unit);
    }
}

QString attributeOf(const CheckedDocument &document, QString CheckedFile::*attribute)
{
    return document.files.empty() ? QString() : document.files.front().*attribute;
}

} // namespace

FindingList findingsIn(const QByteArray &bytes, const CheckOptions &options)
{
    if (const DVErrorOr error = DVXliffReader::read(bytes, false, [](const DVXliffUnit &) {}))
        return {readingFinding(*error, bytes)};
    const CheckedDocument document = checkedDocument(bytes);
    const UnitsByKey units = unitsByKey(document);
    FindingList findings;
    const QString locale =
        options.locale.isEmpty() ? attributeOf(document, &CheckedFile::targetLanguage) : options.locale;
    const CheckContext context{document,
                               units,
                               locale,
                               options.sourceLocale.isEmpty()
                                   ? attributeOf(document, &CheckedFile::sourceLanguage)
                                   : options.sourceLocale,
                               PluralNeeds::ofLocale(locale),
                               options.baseKeys,
                               options.rules,
                               [&findings](Finding finding) { findings.push_back(std::move(finding)); }};
    runDocumentChecks(context);
    runUnitChecks(context);
    std::ranges::stable_sort(findings, [](const Finding &a, const Finding &b) {
        return std::tie(a.place.begin, a.rule, a.key) < std::tie(b.place.begin, b.rule, b.key);
    });
    return findings;
}

QSet<QString> keysIn(const QByteArray &document)
{
    QSet<QString> keys;
    DVXliffReader::read(document, false, [&keys](const DVXliffUnit &unit) {
        keys.insert(QString::fromUtf8(unit.key.data(), qsizetype(unit.key.size())));
    });
    return keys;
}

bool isKnownLocale(const QString &name)
{
    static const QRegularExpression tag(
        QStringLiteral("\\A([a-z]{2,3})([-_][A-Z][a-z]{3})?([-_]([A-Z]{2}|\\d{3}))?\\z"));
    const auto match = tag.match(name);
    if (!match.hasMatch())
        return false;
    const QByteArray language = match.captured(1).toLatin1();
    for (const char *const *known = uloc_getISOLanguages(); *known; ++known)
        if (language == *known)
            return true;
    return false;
}

FindingCounts FindingCounts::of(const FindingList &findings)
{
    const auto count = [&findings](Severity severity) {
        return int(std::ranges::count(findings, severity, &Finding::severity));
    };
    return {count(Severity::Error), count(Severity::Warning), count(Severity::Note)};
}

FindingCounts &FindingCounts::operator+=(const FindingCounts &other)
{
    errors += other.errors;
    warnings += other.warnings;
    notes += other.notes;
    return *this;
}

QString FindingCounts::text() const
{
    QStringList parts;
    const auto add = [&parts](int count, const QString &name) {
        if (count > 0)
            parts +=
                QStringLiteral("%1 %2%3").arg(count).arg(name, count > 1 ? QStringLiteral("s") : QString());
    };
    add(errors, QStringLiteral("error"));
    add(warnings, QStringLiteral("warning"));
    add(notes, QStringLiteral("note"));
    return parts.join(QStringLiteral(", "));
}
