#include "DVStringTable.h"

#include "DVCueMarkers.h"
#include "DVStringTablePrivate.h"
#include "DVUtf8.h"

#include <QRandomGenerator>
#include <QVarLengthArray>

#include <algorithm>

using Block = DVStringTableBlock;

DVKeyHash DVKeyHash::random()
{
    DVKeyHash result;
    for (uint64_t &secret : result.m_secret)
        secret = QRandomGenerator::system()->generate64() | 1;
    return result;
}

DVSharedTexts::DVSharedTexts(std::size_t count)
    : m_data(static_cast<QArrayData **>(std::calloc(count ? count : 1, sizeof(void *))))
    , m_count(count)
{
    if (!m_data)
        throw std::bad_alloc();
}

DVSharedTexts::~DVSharedTexts()
{
    for (std::size_t i = 0; i < m_count; ++i) {
        if (QArrayData *data = m_data.get()[i]; data && !data->deref())
            QTypedArrayData<char16_t>::deallocate(data);
    }
}

// Another thread may do the same at the same time: the first one's text is everybody's.
QString DVSharedTexts::make(std::size_t index, const char16_t *text, qsizetype length) const
{
    if (length == 0)
        return QStringLiteral("");
    QString made(reinterpret_cast<const QChar *>(text), length);
    QArrayData *data = made.data_ptr().d_ptr();
    if (!data || made.data_ptr().data() != dataOf(data))
        return made;
    QArrayData *current = nullptr;
    if (reference(index).compare_exchange_strong(current, data, std::memory_order_acq_rel)) {
        data->ref();
        return made;
    }
    return share(current, length);
}

DVPlainTexts::DVPlainTexts(std::size_t count)
    : m_texts(count)
{}

DVPlainTexts::~DVPlainTexts()
{
    for (const auto &text : m_texts)
        delete text.load(std::memory_order_relaxed);
}

QString DVPlainTexts::text(std::size_t index, const char16_t *marked, qsizetype length) const
{
    auto &place = m_texts[index];
    if (const QString *text = place.load(std::memory_order_acquire))
        return *text;
    auto made = std::make_unique<const QString>(
        dv_stringByRemovingCues(QString(reinterpret_cast<const QChar *>(marked), length)));
    const QString *current = nullptr;
    if (place.compare_exchange_strong(current, made.get(), std::memory_order_acq_rel))
        current = made.release();
    return *current;
}

DVStringTable::Private::Private(Block &&built)
    : block(std::move(built))
    , texts(block.slots.size())
    , formTexts(block.forms.size())
    , plainTexts(block.marked ? block.slots.size() : 0)
    , plainFormTexts(block.marked ? block.forms.size() : 0)
{}

DVStringTable::DVStringTable(std::unique_ptr<Private> built)
    : d(std::move(built))
{}

DVStringTable::~DVStringTable() = default;

qsizetype DVStringTable::size() const
{
    return qsizetype(d->block.slots.size());
}

bool DVStringTable::isMarked() const
{
    return d->block.marked;
}

bool DVStringTable::hasPictureKeys() const
{
    return d->block.pictureKeys;
}

qsizetype DVStringTable::memoryUsage() const
{
    const Block &block = d->block;
    const std::size_t shared = (block.slots.size() + block.forms.size()) * sizeof(void *);
    const std::size_t bytes = block.buckets.bytes() + block.slots.bytes() + block.records.bytes() +
                              block.forms.bytes() + block.texts.bytes() + block.details.bytes();
    return qsizetype(bytes) + qsizetype((block.marked ? 2 : 1) * shared);
}

DVStringTable::Entry DVStringTable::find(const char *utf8Key) const
{
    return utf8Key ? find(utf8Key, qsizetype(std::strlen(utf8Key))) : notFound;
}

DVStringTable::Entry DVStringTable::find(const char *utf8Key, qsizetype length) const
{
    const Block &block = d->block;
    const auto size = std::size_t(length);
    const uint32_t hash = Block::shortHash(block.hash(utf8Key, size));
    const uint32_t *bucket = block.buckets.data() + (hash >> block.bucketShift);
    d->texts.prefetch(bucket[0]); // on its way while the slots and the record are
    for (uint32_t i = bucket[0]; i < bucket[1]; ++i) {
        const Block::Slot &slot = block.slots[i];
        if (slot.hash != hash)
            continue;
        d->texts.prefetchText(i); // while the key is compared
        const Block::Record &record = block.record(slot.record);
        if (record.keyLength == size && std::memcmp(Block::keyBytes(record), utf8Key, size) == 0)
            return i;
    }
    return notFound;
}

DVStringTable::Entry DVStringTable::find(QStringView key) const
{
    constexpr qsizetype onStack = 1024;
    QVarLengthArray<char, onStack> utf8(key.size() * 3);
    const char *end = dv_writeUtf8(key, utf8.data());
    return end ? find(utf8.constData(), end - utf8.constData()) : notFound;
}

QString DVStringTable::key(Entry entry) const
{
    return dv_stringFromUtf8(Block::key(d->record(entry)));
}

bool DVStringTable::hasPlurals(Entry entry) const
{
    return d->record(entry).has(Block::HasPlurals);
}

bool DVStringTable::textEqualsKey(Entry entry) const
{
    return d->record(entry).has(Block::TextEqualsKey);
}

QString DVStringTable::text(Entry entry) const
{
    const Block::Record &record = d->record(entry);
    return d->texts.text(entry, d->block.texts.data() + record.text, record.textLength);
}

QString DVStringTable::plainText(Entry entry) const
{
    if (!d->block.marked)
        return text(entry);
    const Block::Record &record = d->record(entry);
    return d->plainTexts.text(entry, d->block.texts.data() + record.text, record.textLength);
}

// Index of the form to give for a category, of a key with several.
uint32_t DVStringTable::Private::formOf(const Block::Record &record, DVPluralCategory category) const
{
    // The fallback, and then the known categories before the others.
    constexpr uint32_t mostKnown = DVPluralCategoryCount + 1;
    for (uint32_t i = record.form; i < record.form + mostKnown; ++i) {
        if (block.forms[i].category == uint8_t(category))
            return i;
        if (block.forms[i].isLast)
            break;
    }
    return record.form;
}

QString DVStringTable::text(Entry entry, DVPluralCategory category) const
{
    const Block::Record &record = d->record(entry);
    if (!record.has(Block::HasSeveralForms))
        return text(entry);
    const uint32_t index = d->formOf(record, category);
    const Block::Form &form = d->block.forms[index];
    return d->formTexts.text(index, d->block.texts.data() + form.text, form.textLength);
}

QString DVStringTable::plainText(Entry entry, DVPluralCategory category) const
{
    const Block::Record &record = d->record(entry);
    if (!d->block.marked || !record.has(Block::HasSeveralForms))
        return d->block.marked ? plainText(entry) : text(entry, category);
    const uint32_t index = d->formOf(record, category);
    const Block::Form &form = d->block.forms[index];
    return d->plainFormTexts.text(index, d->block.texts.data() + form.text, form.textLength);
}
