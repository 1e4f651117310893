#include "DVStringTable.h"
#include "DVStringTablePrivate.h"
#include "DVTextMarks.h"
#include "DVUtf8.h"

#include <algorithm>
#include <array>
#include <limits>

using std::string_view;
using Block = DVStringTableBlock;

namespace {

constexpr uint32_t none = ~uint32_t(0);
constexpr uint8_t noneCategory = uint8_t(DVPluralCategory::None);
constexpr std::array<string_view, DVPluralCategoryCount> categoryNames{"zero", "one",   "two", "few",
                                                                       "many", "other", "none"};

uint8_t categoryOf(string_view name)
{
    if (!name.data())
        return noneCategory;
    return uint8_t(std::find(categoryNames.begin(), categoryNames.end(), name) - categoryNames.begin());
}

void setFlag(Block::Record &record, Block::RecordFlag flag, bool on)
{
    record.flags = uint8_t(on ? record.flags | flag : record.flags & ~flag);
}

void setOnlyForm(Block::Record &record, const Block::Form &form)
{
    record.text = form.text;
    record.textLength = form.textLength;
    record.form = form.details;
    record.category = form.category;
    setFlag(record, Block::IsNamed, form.isNamed);
    setFlag(record, Block::HasSeveralForms, false);
}

// A form of a key with several, until the table is built.
struct Draft
{
    Block::Form form;
    uint32_t next = none; // named form of the same key
};

struct SeveralForms
{
    std::array<uint32_t, DVPluralCategoryCount> known = {none, none, none, none, none, none, none};
    uint32_t firstNamed = none;
};

} // namespace

struct DVStringTableBuilder::Private
{
    Private(bool marked, bool fromBase)
    {
        block.marked = marked;
        block.fromBase = fromBase;
        block.addDetails({}, false); // of a form that nobody filled
    }

    void add(const Form &form);
    bool hasRoomFor(const Form &form) const;
    uint32_t findOrAddRecord(string_view key);
    void growIndex();
    void addForm(Block::Record &record, const Form &form);
    Block::Form *draftFor(uint32_t key, uint8_t category, string_view name);
    Block::Form makeForm(const Form &form, const Block::Form &replaced);

    void finish();
    void layOutForms(Block::Record &record);
    std::vector<Block::Form> orderedForms(const SeveralForms &several) const;
    bool textEqualsKey(const Block::Record &record);
    void fillSlots();

    Block block;
    // Open addressing. While the table is built, the form of a key with several is an index of `several`.
    DVPool<Block::Slot> index;
    uint32_t keyCount = 0;
    std::vector<bool> seen; // keys of this file, by the smallest record's size
    DVPool<Draft> drafts;
    DVPool<SeveralForms> several;
    QHash<std::pair<uint32_t, QByteArray>, uint32_t> named; // (several, name) to its draft
    uint32_t maximumPoolSize = std::numeric_limits<uint32_t>::max();
    bool full = false;
    QStringDecoder decoder{QStringConverter::Utf8,
                           QStringConverter::Flag::Stateless | QStringConverter::Flag::ConvertInitialBom};
    std::u16string plain; // for comparisons
    std::string utf8;
};

bool DVStringTableBuilder::Private::hasRoomFor(const Form &form) const
{
    constexpr std::size_t numbers = 64; // beside the bytes: a record, the lengths of details
    const auto fits = [this](std::size_t used, std::size_t more) {
        return used + more + numbers <= maximumPoolSize;
    };
    return fits(block.records.bytes(), form.key.size()) &&
           fits(block.texts.bytes(), form.text.size() * sizeof(char16_t)) &&
           fits(block.details.bytes(), form.uid.size() + form.note.size() + form.pluralForm.size()) &&
           fits(drafts.bytes(), sizeof(Draft)) && fits(several.bytes(), sizeof(SeveralForms)) &&
           fits(index.bytes(), index.bytes());
}

void DVStringTableBuilder::Private::add(const Form &form)
{
    const uint32_t offset = findOrAddRecord(form.key);
    Block::Record &record = block.record(offset);
    const auto status = uint16_t(std::min<quint32>(form.status, std::numeric_limits<uint16_t>::max()));
    const std::size_t number = offset / Block::unitsOf(0);
    if (number >= seen.size())
        seen.resize(number + number / 2 + 64);
    if (!seen[number]) {
        seen[number] = true;
        record.status = form.statusAlways ? status : 0;
        setOnlyForm(record, makeForm(form, Block::onlyForm(record)));
    } else {
        record.status = status;
        addForm(record, form);
    }
    setFlag(record, Block::HasPlurals, form.pluralForm.data());
}

uint32_t DVStringTableBuilder::Private::findOrAddRecord(string_view key)
{
    if (keyCount * std::size_t(4) >= index.size() * 3)
        growIndex();
    const uint32_t hash = Block::shortHash(block.hash(key.data(), key.size()));
    const std::size_t mask = index.size() - 1;
    std::size_t place = hash & mask;
    for (; index[place].record != none; place = (place + 1) & mask) {
        const Block::Slot &slot = index[place];
        if (slot.hash == hash && Block::key(block.record(slot.record)) == key)
            return slot.record;
    }
    block.pictureKeys = block.pictureKeys || dv_hasControlPicture(key);
    const auto offset = uint32_t(block.recordUnits());
    const std::size_t size = Block::unitsOf(key.size()) * Block::recordUnit;
    char *const room = block.records.reserve(size);
    std::memset(room, 0, size);
    auto *const record = new (room) Block::Record;
    record->keyLength = uint32_t(key.size());
    if (!key.empty())
        std::memcpy(record + 1, key.data(), key.size());
    block.records.grow(size);
    index[place] = {hash, offset};
    ++keyCount;
    return offset;
}

void DVStringTableBuilder::Private::growIndex()
{
    constexpr std::size_t smallest = 64;
    DVPool<Block::Slot> larger;
    const std::size_t size = std::max(smallest, index.size() * 2);
    larger.resizeToZeros(size);
    std::memset(larger.data(), 0xFF, larger.bytes());
    for (std::size_t i = 0; i < index.size(); ++i) {
        if (index[i].record == none)
            continue;
        std::size_t place = index[i].hash & (size - 1);
        while (larger[place].record != none)
            place = (place + 1) & (size - 1);
        larger[place] = index[i];
    }
    index = std::move(larger);
}

void DVStringTableBuilder::Private::addForm(Block::Record &record, const Form &form)
{
    const uint8_t category = categoryOf(form.pluralForm);
    if (!record.has(Block::HasSeveralForms)) {
        const Block::Form only = Block::onlyForm(record);
        if (category == only.category && category != Block::namedCategory)
            return setOnlyForm(record, makeForm(form, only));
        const auto key = uint32_t(several.size());
        several.append({});
        *draftFor(key, only.category, block.detailsOf(only).categoryName) = only;
        setFlag(record, Block::HasSeveralForms, true);
        record.form = key;
    }
    Block::Form *draft = draftFor(record.form, category, form.pluralForm);
    *draft = makeForm(form, *draft);
}

// The place of a category among the forms of a key; an empty form when there was none.
Block::Form *DVStringTableBuilder::Private::draftFor(uint32_t key, uint8_t category, string_view name)
{
    const auto added = [this](uint32_t next) {
        drafts.append({Block::Form(), next});
        return uint32_t(drafts.size() - 1);
    };
    if (category != Block::namedCategory) {
        uint32_t &known = several[key].known[category];
        if (known == none)
            known = added(none);
        return &drafts[known].form;
    }
    const auto id = std::pair(key, QByteArray(name.data(), qsizetype(name.size())));
    auto found = named.constFind(id);
    if (found == named.constEnd()) {
        found = named.insert(id, added(several[key].firstNamed));
        several[key].firstNamed = *found;
    }
    return &drafts[*found].form;
}

// The text takes the place of the one it replaces where it fits: overlaid files mostly say the same.
Block::Form DVStringTableBuilder::Private::makeForm(const Form &form, const Block::Form &replaced)
{
    Block::Form result;
    auto *const out = reinterpret_cast<QChar *>(
        block.texts.reserve(std::size_t(decoder.requiredSpace(qsizetype(form.text.size()))) + 1));
    QChar *end = decoder.appendToBuffer(out, QByteArrayView(form.text.data(), qsizetype(form.text.size())));
    if (dv_endsInsideArgument(form.text))
        *end++ = QChar(DVCueMarker::argumentEnd);
    result.textLength = uint32_t(end - out);
    if (result.textLength <= replaced.textLength) {
        result.text = replaced.text;
        std::copy_n(block.texts.data() + block.texts.size(), result.textLength,
                    block.texts.data() + result.text);
    } else {
        result.text = uint32_t(block.texts.size());
        block.texts.grow(result.textLength);
    }
    result.category = categoryOf(form.pluralForm);
    result.isNamed = form.pluralForm.data() && result.category >= noneCategory;
    result.details = block.addDetails({form.uid, form.note, form.pluralForm}, result.isNamed);
    return result;
}

void DVStringTableBuilder::Private::finish()
{
    for (std::size_t offset = 0; offset < block.recordUnits();) {
        Block::Record &record = block.record(uint32_t(offset));
        if (record.has(Block::HasSeveralForms))
            layOutForms(record);
        setFlag(record, Block::TextEqualsKey, textEqualsKey(record));
        offset += Block::unitsOf(record.keyLength);
    }
    fillSlots();
    for (auto *pool : {&block.records, &block.details})
        pool->shrink();
    block.forms.shrink();
    block.texts.shrink();
}

// As DVStringGroup::stringForPluralForm() chooses, not strict.
void DVStringTableBuilder::Private::layOutForms(Block::Record &record)
{
    auto forms = orderedForms(several[record.form]);
    const auto single = std::find_if(forms.begin(), forms.end(),
                                     [](const Block::Form &form) { return form.category == noneCategory; });
    const Block::Form given =
        record.has(Block::HasPlurals) || single == forms.end() ? forms.front() : *single;
    if (forms.size() == 1)
        return setOnlyForm(record, given);
    record.text = given.text;
    record.textLength = given.textLength;
    record.form = uint32_t(block.forms.size());
    for (Block::Form &form : forms)
        form.isLast = &form == &forms.back();
    block.forms.append(forms.data(), forms.size());
}

// The fallback first: "other", or the first in the order of presentation, or the first by name. Then
// the known categories, then the named ones.
std::vector<Block::Form> DVStringTableBuilder::Private::orderedForms(const SeveralForms &key) const
{
    std::vector<Block::Form> forms;
    for (const uint32_t known : key.known) {
        if (known != none)
            forms.push_back(drafts[known].form);
    }
    for (uint32_t i = key.firstNamed; i != none; i = drafts[i].next)
        forms.push_back(drafts[i].form);

    const auto rank = [](const Block::Form &form) {
        return form.category == uint8_t(DVPluralCategory::Other) ? -1 : form.category;
    };
    const auto fallback = std::min_element(forms.begin(), forms.end(), [&](const auto &a, const auto &b) {
        if (rank(a) != rank(b))
            return rank(a) < rank(b);
        return dv_stringFromUtf8(block.detailsOf(a).categoryName) <
               dv_stringFromUtf8(block.detailsOf(b).categoryName);
    });
    std::rotate(forms.begin(), fallback, fallback + 1);
    return forms;
}

bool DVStringTableBuilder::Private::textEqualsKey(const Block::Record &record)
{
    constexpr char16_t fullwidthPercent = 0xFF05;
    const char16_t *const text = block.texts.data() + record.text;
    plain.clear();
    for (const char16_t c : std::u16string_view(text, record.textLength)) {
        if (!block.marked || !dv_isCue(c))
            plain.push_back(c == fullwidthPercent ? u'%' : c);
        // Most texts differ from their key at once.
        if (plain.size() == 1 && (record.keyLength == 0 || (plain[0] < 0x80 && plain[0] != u'%' &&
                                                            char(plain[0]) != *Block::keyBytes(record))))
            return false;
    }
    utf8.resize(plain.size() * 3);
    const char *end = dv_writeUtf8(plain, utf8.data());
    if (!end)
        return false;
    const string_view plainUtf8(utf8.data(), std::size_t(end - utf8.data()));
    const string_view key = Block::key(record);
    constexpr string_view fullwidthPercentUtf8 = "\xEF\xBC\x85";
    if (key.find(fullwidthPercentUtf8) == string_view::npos)
        return key == plainUtf8;
    return dv_stringFromUtf8(key).replace(QChar(fullwidthPercent), u'%') == QStringView(plain);
}

// By counting: the slots of a bucket stand together.
void DVStringTableBuilder::Private::fillSlots()
{
    constexpr uint32_t keysOfBucket = 4;
    int bits = 1;
    while (bits < 31 && (uint64_t(keysOfBucket) << bits) < keyCount)
        ++bits;
    block.bucketShift = 32 - bits;
    block.buckets.resizeToZeros((std::size_t(1) << bits) + 1);
    for (std::size_t i = 0; i < index.size(); ++i) {
        if (index[i].record != none)
            ++block.buckets[(index[i].hash >> block.bucketShift) + 1];
    }
    for (std::size_t i = 1; i < block.buckets.size(); ++i)
        block.buckets[i] += block.buckets[i - 1];

    block.slots.resizeToZeros(keyCount);
    for (std::size_t i = 0; i < index.size(); ++i) {
        if (index[i].record != none)
            block.slots[block.buckets[index[i].hash >> block.bucketShift]++] = index[i];
    }
    // Each bucket's start has moved to the next one's.
    for (std::size_t i = block.buckets.size() - 1; i > 0; --i)
        block.buckets[i] = block.buckets[i - 1];
    block.buckets[0] = 0;
}

DVStringTableBuilder::DVStringTableBuilder(bool marked, bool fromBase)
    : d(std::make_unique<Private>(marked, fromBase))
{}

DVStringTableBuilder::~DVStringTableBuilder() = default;

void DVStringTableBuilder::beginFile()
{
    d->seen.assign(d->seen.size(), false);
}

void DVStringTableBuilder::add(const Form &form)
{
    try {
        d->full = d->full || !d->hasRoomFor(form);
        if (!d->full)
            d->add(form);
    } catch (const std::bad_alloc &) {
        d->full = true;
    }
}

bool DVStringTableBuilder::isEmpty() const
{
    return d->keyCount == 0;
}

bool DVStringTableBuilder::isFull() const
{
    return d->full;
}

void DVStringTableBuilder::setMaximumPoolSize(quint32 bytes)
{
    d->maximumPoolSize = bytes;
}

DVStringTablePtr DVStringTableBuilder::build()
{
    d->finish();
    auto built = std::make_unique<DVStringTable::Private>(std::move(d->block));
    d = std::make_unique<Private>(built->block.marked, built->block.fromBase);
    return DVStringTablePtr(new DVStringTable(std::move(built)));
}
