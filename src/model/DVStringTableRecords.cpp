// What DVStringTable makes of its block only when somebody asks: records and the reverse index.
#include "DVCue.h"
#include "DVStringTablePrivate.h"
#include "DVUtf8.h"

#include <algorithm>

using Block = DVStringTableBlock;

namespace {

QString pluralFormOf(const Block::Form &form, const Block::Details &details)
{
    if (form.isNamed)
        return dv_stringFromUtf8(details.categoryName);
    const auto category = DVPluralCategory(form.category);
    return category == DVPluralCategory::None ? QString() : dv_pluralCategoryName(category);
}

QString textOf(const Block &block, const Block::Form &form)
{
    return form.textLength == 0 ? QStringLiteral("")
                                : QString(reinterpret_cast<const QChar *>(block.texts.data() + form.text),
                                          qsizetype(form.textLength));
}

// Shares the block's characters: for what does not outlive the table.
QString viewOf(const Block &block, const Block::Form &form)
{
    return QString::fromRawData(reinterpret_cast<const QChar *>(block.texts.data() + form.text),
                                qsizetype(form.textLength));
}

} // namespace

DVStringGroupPtr DVStringTable::Private::makeGroup(const Block::Record &record) const
{
    const auto group = std::make_shared<DVStringGroup>();
    group->key = dv_stringFromUtf8(Block::key(record));
    block.forEachForm(record, [&](const Block::Form &form, uint32_t) {
        const Block::Details details = block.detailsOf(form);
        const auto string = std::make_shared<DVString>();
        string->key = group->key;
        string->uid = dv_stringFromUtf8(details.uid);
        string->pluralForm = pluralFormOf(form, details);
        string->fromBase = block.fromBase;
        string->note = dv_stringFromUtf8(details.note);
        string->extractFormatFromString(textOf(block, form));
        group->addStringForm(string);
    });
    group->hasPlurals = record.has(Block::HasPlurals);
    group->status = record.status;
    return group;
}

DVStringGroupPtr DVStringTable::group(Entry entry) const
{
    const std::lock_guard lock(d->mutex);
    return d->groupOf(d->block.slots[entry].record);
}

void DVStringTable::forgetGroup(Entry entry) const
{
    const std::lock_guard lock(d->mutex);
    d->groups.remove(d->block.slots[entry].record);
}

DVStringGroupPtr DVStringTable::Private::groupOf(uint32_t record)
{
    DVStringGroupPtr &group = groups[record];
    if (!group)
        group = makeGroup(block.record(record));
    return group;
}

// As the record has it, which is not made for that. What it returns may share the block's characters.
QString DVStringTable::Private::localizedHash(const Block::Form &form) const
{
    const QString text = viewOf(block, form);
    return dv_localizedHash(text, text.contains(QChar(DVCueMarker::argumentStart)));
}

uint64_t DVStringTable::Private::hashOf(const QString &text) const
{
    return block.hash(reinterpret_cast<const char *>(text.constData()),
                      std::size_t(text.size()) * sizeof(QChar));
}

void DVStringTable::Private::indexLocalizedHashes()
{
    hashedForms.reserve(block.slots.size() + block.forms.size());
    for (std::size_t i = 0; i < block.slots.size(); ++i) {
        const uint32_t record = block.slots[i].record;
        block.forEachForm(block.record(record), [&](const Block::Form &form, uint32_t number) {
            hashedForms.push_back({hashOf(localizedHash(form)), record, number});
        });
    }
    std::sort(hashedForms.begin(), hashedForms.end());
}

DVStringPtr DVStringTable::stringForLocalizedHash(const QString &hash, const KeyFilter &accept) const
{
    const std::lock_guard lock(d->mutex);
    if (!std::exchange(d->indexed, true))
        d->indexLocalizedHashes();
    const uint64_t wanted = d->hashOf(hash);
    auto found =
        std::lower_bound(d->hashedForms.begin(), d->hashedForms.end(), Private::HashedForm{wanted, 0, 0});
    for (; found != d->hashedForms.end() && found->hash == wanted; ++found) {
        const Block::Record &record = d->block.record(found->record);
        const Block::Form form = d->block.formAt(record, found->form);
        if (d->localizedHash(form) != hash)
            continue;
        if (accept && !accept(dv_stringFromUtf8(Block::key(record))))
            continue;
        const QString name = form.category == uint8_t(DVPluralCategory::None)
                                 ? dv_pluralCategoryName(DVPluralCategory::None)
                                 : pluralFormOf(form, d->block.detailsOf(form));
        const DVStringGroupPtr group = d->groupOf(found->record);
        return dv_sharedForm(group, group->pluralForms.value(name));
    }
    return nullptr;
}

bool DVStringTable::hasSameContent(const DVStringTable &other) const
{
    if (size() != other.size())
        return false;
    for (Entry entry = 0; entry < Entry(size()); ++entry) {
        const std::string_view key = Block::key(d->record(entry));
        const Entry same = other.find(key.data(), qsizetype(key.size()));
        if (same == notFound || !d->hasSameForms(d->record(entry), *other.d, other.d->record(same)))
            return false;
    }
    return true;
}

bool DVStringTable::Private::hasSameForms(const Block::Record &record, const Private &other,
                                          const Block::Record &otherRecord) const
{
    const auto contents = [](const Block &b, const Block::Record &of) {
        std::vector<std::tuple<uint8_t, std::string_view, std::u16string_view>> result;
        b.forEachForm(of, [&](const Block::Form &form, uint32_t) {
            const std::u16string_view text(b.texts.data() + form.text, form.textLength);
            result.emplace_back(form.category, b.detailsOf(form).categoryName, text);
        });
        std::sort(result.begin(), result.end());
        return result;
    };
    constexpr uint8_t plurals = Block::HasPlurals;
    return (record.flags & plurals) == (otherRecord.flags & plurals) &&
           contents(block, record) == contents(other.block, otherRecord);
}
