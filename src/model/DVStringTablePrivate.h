// What a DVStringTable holds besides its block.
#pragma once

#include "DVStringTable.h"
#include "DVStringTableBlock.h"

#include <QHash>

#include <atomic>
#include <mutex>
#include <tuple>
#include <vector>

// The QStrings that a table has handed out, one for each text at most, made when first asked for.
// Thread-safe without a lock.
class DVSharedTexts
{
public:
    explicit DVSharedTexts(std::size_t count);
    ~DVSharedTexts();
    DVSharedTexts(const DVSharedTexts &) = delete;
    DVSharedTexts &operator=(const DVSharedTexts &) = delete;

    QString text(std::size_t index, const char16_t *text, qsizetype length) const
    {
        if (QArrayData *data = reference(index).load(std::memory_order_acquire))
            return share(data, length);
        return make(index, text, length);
    }
    void prefetch(std::size_t index) const { __builtin_prefetch(m_data.get() + index); }
    // Its reference count, to be written to.
    void prefetchText(std::size_t index) const
    {
        __builtin_prefetch(reference(index).load(std::memory_order_relaxed), 1);
    }

private:
    struct Free
    {
        void operator()(QArrayData **data) const { std::free(data); }
    };

    std::atomic_ref<QArrayData *> reference(std::size_t index) const
    {
        return std::atomic_ref(m_data.get()[index]);
    }
    static char16_t *dataOf(QArrayData *data)
    {
        using Data = QTypedArrayData<char16_t>;
        return Data::dataStart(data, alignof(Data::AlignmentDummy));
    }
    static QString share(QArrayData *data, qsizetype length)
    {
        data->ref();
        return QString(
            QString::DataPointer(static_cast<QTypedArrayData<char16_t> *>(data), dataOf(data), length));
    }
    QString make(std::size_t index, const char16_t *text, qsizetype length) const;

    std::unique_ptr<QArrayData *[], Free> m_data; // each owned by a reference of ours
    std::size_t m_count;
};

// The same for texts without markers, whose lengths stand nowhere else.
class DVPlainTexts
{
public:
    explicit DVPlainTexts(std::size_t count);
    ~DVPlainTexts();
    DVPlainTexts(const DVPlainTexts &) = delete;
    DVPlainTexts &operator=(const DVPlainTexts &) = delete;

    QString text(std::size_t index, const char16_t *marked, qsizetype length) const;

private:
    mutable std::vector<std::atomic<const QString *>> m_texts; // owned
};

struct DVStringTable::Private
{
    explicit Private(DVStringTableBlock &&built);

    const DVStringTableBlock::Record &record(Entry entry) const
    {
        return block.record(block.slots[entry].record);
    }
    uint32_t formOf(const DVStringTableBlock::Record &record, DVPluralCategory category) const;

    const DVStringTableBlock block;
    DVSharedTexts texts;
    DVSharedTexts formTexts;
    DVPlainTexts plainTexts;
    DVPlainTexts plainFormTexts;

    // One text of the reverse index: the hash of a localizedHash, and the form that has it.
    struct HashedForm
    {
        uint64_t hash;
        uint32_t record;
        uint32_t form; // of the key's forms
        bool operator<(const HashedForm &other) const
        {
            return std::tie(hash, record, form) < std::tie(other.hash, other.record, other.form);
        }
    };
    DVStringGroupPtr makeGroup(const DVStringTableBlock::Record &record) const;
    DVStringGroupPtr groupOf(uint32_t record);
    void indexLocalizedHashes();
    QString localizedHash(const DVStringTableBlock::Form &form) const;
    uint64_t hashOf(const QString &text) const;
    bool hasSameForms(const DVStringTableBlock::Record &record, const Private &other,
                      const DVStringTableBlock::Record &otherRecord) const;

    std::mutex mutex;                         // guards what follows
    QHash<uint32_t, DVStringGroupPtr> groups; // by record
    bool indexed = false;
    std::vector<HashedForm> hashedForms; // ordered by hash, then by first reading
};
