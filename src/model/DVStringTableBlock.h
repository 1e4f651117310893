// DVStringTableBlock: how a DVStringTable lies in memory. For the table and its builder only.
//
// Sections of plain values that refer to each other by offsets, never by pointers, so that they can
// be written to a file one after the other and used from a mapping of it:
//
//   buckets   for each leading bits of a hash, the first of its slots; one more closes the last
//   slots     hash and record of each key, ordered by bucket; an entry is the index of a slot
//   records   for each key in the order of first reading a Record and the key's bytes
//   forms     of keys with several forms, those of a key together, the fallback first
//   texts     UTF-16
//   details   for each form its uid, note and, of an unknown category, its name
#pragma once

#include "DVKeyHash.h"
#include "DVPluralForm.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <string_view>

// A growing array of plain values, which large allocations let grow in place.
template<typename T> class DVPool
{
public:
    std::size_t size() const { return m_size; }
    T *data() { return m_data.get(); }
    const T *data() const { return m_data.get(); }
    T &operator[](std::size_t index) { return m_data.get()[index]; }
    const T &operator[](std::size_t index) const { return m_data.get()[index]; }
    std::size_t bytes() const { return m_size * sizeof(T); }

    // Room for `count` more; the caller writes there and then calls grow().
    T *reserve(std::size_t count)
    {
        if (m_size + count > m_capacity)
            reallocate(m_size + count + m_capacity / 2 + 64);
        return m_data.get() + m_size;
    }
    void grow(std::size_t count) { m_size += count; }
    void append(const T &value)
    {
        *reserve(1) = value;
        grow(1);
    }
    void append(const T *values, std::size_t count)
    {
        if (count > 0)
            std::memcpy(reserve(count), values, count * sizeof(T));
        grow(count);
    }
    void resizeToZeros(std::size_t count)
    {
        reallocate(count);
        std::memset(m_data.get(), 0, count * sizeof(T));
        m_size = count;
    }
    void shrink() { reallocate(m_size); }

private:
    struct Free
    {
        void operator()(T *data) const { std::free(data); }
    };

    void reallocate(std::size_t capacity)
    {
        void *data = std::realloc(m_data.get(), (capacity ? capacity : 1) * sizeof(T));
        if (!data)
            throw std::bad_alloc();
        (void)m_data.release();
        m_data.reset(static_cast<T *>(data));
        m_capacity = capacity;
    }

    std::unique_ptr<T, Free> m_data;
    std::size_t m_size = 0;
    std::size_t m_capacity = 0;
};

struct DVStringTableBlock
{
    // Beyond DVPluralCategory: a category that CLDR does not know. ("none" as the name of a category
    // shares the place of the forms without one, and so it is None with a name.)
    static constexpr uint8_t namedCategory = DVPluralCategoryCount;

    struct Slot
    {
        uint32_t hash;
        uint32_t record; // in units of recordUnit
    };

    struct Form
    {
        uint32_t text = 0;
        uint32_t textLength = 0; // UTF-16 units
        uint32_t details = 0;
        uint8_t category = 0;
        uint8_t isNamed = 0; // the details hold the category's name
        uint8_t isLast = 0;  // of the key's forms
        uint8_t reserved = 0;
    };

    enum RecordFlag : uint8_t { HasPlurals = 1, TextEqualsKey = 2, IsNamed = 4, HasSeveralForms = 8 };

    // The key follows.
    struct Record
    {
        uint32_t keyLength = 0;
        uint32_t text = 0; // that a lookup without a category gives
        uint32_t textLength = 0;
        uint32_t form = 0;    // of one form, its details; of several, the first in the section
        uint8_t category = 0; // of one form
        uint8_t flags = 0;
        uint16_t status = 0;
        bool has(RecordFlag flag) const { return flags & flag; }
    };
    static constexpr std::size_t recordUnit = 4;
    static_assert(sizeof(Record) % recordUnit == 0 && alignof(Record) <= recordUnit);

    DVKeyHash hash = DVKeyHash::random();
    bool marked = false;
    bool fromBase = false;
    bool pictureKeys = false; // a key holds the picture of a control character
    int bucketShift = 31;     // of a hash, to its bucket
    DVPool<uint32_t> buckets;
    DVPool<Slot> slots;
    DVPool<char> records;
    DVPool<Form> forms;
    DVPool<char16_t> texts;
    DVPool<char> details;

    static uint32_t shortHash(uint64_t hash) { return uint32_t(hash >> 32); }

    const Record &record(uint32_t offset) const
    {
        return *reinterpret_cast<const Record *>(records.data() + offset * recordUnit);
    }
    Record &record(uint32_t offset)
    {
        return *reinterpret_cast<Record *>(records.data() + offset * recordUnit);
    }
    static const char *keyBytes(const Record &record) { return reinterpret_cast<const char *>(&record + 1); }
    static std::string_view key(const Record &record) { return {keyBytes(record), record.keyLength}; }
    static uint32_t unitsOf(std::size_t keyLength)
    {
        return uint32_t((sizeof(Record) + keyLength + recordUnit - 1) / recordUnit);
    }

    // The only form of a key with one.
    static Form onlyForm(const Record &record)
    {
        return {record.text, record.textLength, record.form, record.category, record.has(IsNamed), true};
    }
    // Calls visit(form, number) for each form of a key, the fallback first.
    template<typename Visit> void forEachForm(const Record &record, const Visit &visit) const
    {
        if (!record.has(HasSeveralForms))
            return visit(onlyForm(record), 0u);
        for (uint32_t number = 0;; ++number) {
            const Form &form = forms[record.form + number];
            visit(form, number);
            if (form.isLast)
                return;
        }
    }
    Form formAt(const Record &record, uint32_t number) const
    {
        return record.has(HasSeveralForms) ? forms[record.form + number] : onlyForm(record);
    }

    // What only records need. Views of nothing where there was nothing.
    struct Details
    {
        std::string_view uid;
        std::string_view note;
        std::string_view categoryName; // with isNamed
    };
    Details detailsOf(const Form &form) const;
    // Appends them; returns where they stand.
    uint32_t addDetails(const Details &values, bool isNamed);

    std::size_t recordUnits() const { return records.size() / recordUnit; }
};
