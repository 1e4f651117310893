// DVStringTable: all strings of one file, immutable, for lookups from any thread.
#pragma once

#include "DVPluralForm.h"
#include "DVString.h"

#include <Dorvane/DVError.h>

#include <QByteArrayView>
#include <QString>

#include <atomic>
#include <functional>
#include <memory>

class DVStringTable;
using DVStringTablePtr = std::shared_ptr<const DVStringTable>;

// One block: a hash index over the UTF-8 keys, entries, and a pool of UTF-16 texts. A hit is one
// hash, one probe and a shared QString: nothing is allocated once a text was handed out before, and
// a key that comes as a C string is not converted. Texts are real QStrings that outlive the table.
// Thread-safe but for the functions that hand out records.
class DVStringTable
{
public:
    // Index of a key's entry, from 0 to size() - 1 in no particular order, or notFound.
    using Entry = quint32;
    static constexpr Entry notFound = ~Entry(0);

    ~DVStringTable();
    DVStringTable(const DVStringTable &) = delete;
    DVStringTable &operator=(const DVStringTable &) = delete;

    qsizetype size() const;
    // Texts were read with cue markers.
    bool isMarked() const;
    // Some key holds the picture of a control character (U+2400 to U+241F): the separator of a context, or
    // what XML has not. Lookups through tr() then try more than the source text.
    bool hasPictureKeys() const;
    // Bytes held, without what was handed out.
    qsizetype memoryUsage() const;

    Entry find(const char *utf8Key) const; // zero-terminated
    Entry find(const char *utf8Key, qsizetype length) const;
    Entry find(QStringView key) const;

    QString key(Entry entry) const;
    bool hasPlurals(Entry entry) const;
    // The text that a lookup without a category gives (of the "none" form, or with plurals of
    // "other", else of the first form there is), as it was read; an argument that has no end marker
    // got one, as in records.
    QString text(Entry entry) const;
    // The same without cue markers.
    QString plainText(Entry entry) const;
    // The text of a category, falling back to "other", then to the first form there is.
    QString text(Entry entry, DVPluralCategory category) const;
    QString plainText(Entry entry, DVPluralCategory category) const;
    // Whether plainText(entry) equals the entry's key, apart from percent signs that the reader made
    // fullwidth: a base text that says nothing new.
    bool textEqualsKey(Entry entry) const;

    // The record of an entry, made when first asked for and then kept, so that identity holds.
    // Main thread only.
    DVStringGroupPtr group(Entry entry) const;
    // Gives up that record, which somebody may have changed: the next one asked for is as the table has it.
    void forgetGroup(Entry entry) const;
    // The first form whose localizedHash equals `hash` (markers included, lower case), in the order
    // in which keys were first read; null when there is none. It keeps its group. Main thread only. The index
    // behind it is built on first use; a search then does not depend on the number of strings. `accept` (may
    // be empty) says whether a key counts.
    using KeyFilter = std::function<bool(const QString &key)>;
    DVStringPtr stringForLocalizedHash(const QString &hash, const KeyFilter &accept = {}) const;

    // Whether both hold the same keys with the same forms and texts.
    bool hasSameContent(const DVStringTable &other) const;

private:
    friend class DVStringTableBuilder;
    struct Private;
    explicit DVStringTable(std::unique_ptr<Private> built);
    std::unique_ptr<Private> d;
};

// Collects entries; later entries of a key replace earlier ones whole, later forms of the same
// category within one file replace earlier forms.
class DVStringTableBuilder
{
public:
    // `marked`: texts carry cue markers. `fromBase`: records of the table have fromBase YES.
    explicit DVStringTableBuilder(bool marked, bool fromBase = false);
    ~DVStringTableBuilder();
    DVStringTableBuilder(const DVStringTableBuilder &) = delete;
    DVStringTableBuilder &operator=(const DVStringTableBuilder &) = delete;

    // Begins another file: its first form of a key replaces whatever earlier files gave for the key.
    void beginFile();

    // One form, UTF-8. `status` reaches the key's record as the XLIFF reader's rule has it: only with
    // a second form of the key in the same file, unless `statusAlways`.
    struct Form
    {
        std::string_view key;
        std::string_view uid;
        std::string_view pluralForm; // data() null: none
        std::string_view text;
        std::string_view note;
        quint32 status = 0;
        bool statusAlways = false;
    };
    void add(const Form &form);

    bool isEmpty() const;
    // Whether an addition was refused because the pools, which 32-bit offsets address, or the memory
    // that can be had would not have held it. Nothing is added from then on.
    bool isFull() const;
    // A smaller bound for each pool than the 4 GiB that there are.
    void setMaximumPoolSize(quint32 bytes);
    // The table of everything added; the builder is empty afterwards.
    DVStringTablePtr build();

private:
    struct Private;
    std::unique_ptr<Private> d;
};

// Reads an XLIFF document into one or two builders (`source` may be null), which begin another file.
// On an error the builders hold what was read before it. A full builder is an error of code 2.
DVErrorOr dv_readXliffIntoTables(QByteArrayView document, quint32 stringStatus, DVStringTableBuilder &strings,
                                 DVStringTableBuilder *source, bool needCues,
                                 const std::atomic<bool> *cancelled = nullptr);
