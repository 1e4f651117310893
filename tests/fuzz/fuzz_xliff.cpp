// XLIFF documents: read in any pieces they give the same units or the same error, and the records and
// the tables made of them say the same. Input: a byte (its lowest bit: with markers; the others choose the
// pieces), then the document.
#include "FuzzTarget.h"
#include "XliffUnits.h"

#include <DVStringTable.h>
#include <DVXliffParser.h>

#include <random>

namespace {

using Strings = DVXliffParser::Strings;

constexpr quint32 status = DVStringStatusPublished;

struct Tables
{
    DVStringTablePtr strings;
    DVStringTablePtr sources;
    DVErrorOr error;
};

// Reading a document again replaces each of its keys by the same.
Tables readIntoTables(QByteArrayView document, bool needCues, int times)
{
    Tables tables;
    DVStringTableBuilder strings(needCues);
    DVStringTableBuilder sources(needCues);
    for (int i = 0; i < times; ++i)
        tables.error = dv_readXliffIntoTables(document, status, strings, &sources, needCues);
    tables.strings = strings.build();
    tables.sources = sources.build();
    return tables;
}

void checkForms(const DVStringTable &table, DVStringTable::Entry entry, const DVStringGroup &group)
{
    FUZZ_CHECK(table.hasPlurals(entry) == group.hasPlurals);
    for (int i = 0; i < DVPluralCategoryCount; ++i) {
        const auto category = DVPluralCategory(i);
        const auto form = group.stringForPluralForm(dv_pluralCategoryName(category), false);
        FUZZ_CHECK(table.text(entry, category) == form->localizedFormat);
        FUZZ_CHECK(table.plainText(entry, category) == dv_stringByRemovingCues(form->localizedFormat) ||
                   !table.isMarked());
    }
    for (const auto &form : group.pluralForms) {
        const auto found = table.stringForLocalizedHash(form->localizedHash);
        FUZZ_CHECK(found && found->localizedHash == form->localizedHash);
    }
}

void checkTable(const DVStringTable &table, const Strings &strings)
{
    FUZZ_CHECK(table.size() == strings.size());
    for (auto it = strings.begin(); it != strings.end(); ++it) {
        const auto entry = table.find(QStringView(it.key()));
        FUZZ_CHECK(entry < DVStringTable::Entry(table.size()) && table.key(entry) == it.key());
        const auto group = table.group(entry);
        FUZZ_CHECK(group->description() == (*it)->description() && group->status == (*it)->status);
        FUZZ_CHECK(table.text(entry) == (*it)->stringForPluralForm({}, false)->localizedFormat);
        checkForms(table, entry, **it);
    }
}

bool haveSameForms(const DVStringGroup &group, const DVStringGroup &other)
{
    return group.pluralForms.size() == other.pluralForms.size() &&
           std::all_of(group.pluralForms.keyBegin(), group.pluralForms.keyEnd(), [&](const QString &name) {
               const auto form = other.pluralForms.value(name);
               return form && form->localizedFormat == group.pluralForms.value(name)->localizedFormat;
           });
}

bool haveSameContent(const Strings &strings, const Strings &others)
{
    return strings.size() == others.size() &&
           std::all_of(strings.keyBegin(), strings.keyEnd(), [&](const QString &key) {
               return others.contains(key) && haveSameForms(*strings.value(key), *others.value(key));
           });
}

void checkDoors(QByteArrayView document, bool needCues)
{
    DVErrorOr error;
    Strings sources;
    const auto strings = DVXliffParser::parseXliffData(document, &sources, status, &error, needCues);
    const Tables once = readIntoTables(document, needCues, 1);
    FUZZ_CHECK(once.error == error);
    checkTable(*once.strings, strings);
    checkTable(*once.sources, sources);
    FUZZ_CHECK(once.strings->hasSameContent(*once.sources) == haveSameContent(strings, sources));

    const Tables twice = readIntoTables(document, needCues, 2);
    FUZZ_CHECK(once.strings->hasSameContent(*twice.strings) && twice.sources->hasSameContent(*once.sources));
}

} // namespace

void fuzz_xliff(QByteArrayView input)
{
    FuzzInput in(input);
    const quint8 choice = in.byte();
    const bool needCues = choice & 1;
    const QByteArrayView document = in.rest();

    std::minstd_rand random(choice);
    std::uniform_int_distribution<qsizetype> length(1, qsizetype(1) << (choice / 2 % 12));
    const auto whole = XliffUnits::read(document, needCues);
    FUZZ_CHECK(XliffUnits::readInPieces(document, needCues, [&] { return length(random); }) == whole);
    checkDoors(document, needCues);
}
