// DVXliffReader: streams the units of an XLIFF 1.2 document.
#pragma once

#include <Dorvane/DVError.h>

#include <QByteArrayView>
#include <QString>

#include <atomic>
#include <functional>
#include <memory>
#include <string_view>

// One <trans-unit>. The views are UTF-8 and live during the callback only.
struct DVXliffUnit
{
    std::string_view uid;        // attribute id
    std::string_view key;        // attribute resname
    std::string_view pluralForm; // from an id such as "x[one]"; data() null when there is none
    std::string_view source;     // with markers when they were asked for
    std::string_view target;
    std::string_view note;
    bool sourceIsEmptyMarked = false; // exactly string start and string end: an empty text with markers
    bool targetIsEmptyMarked = false;
};

// Feed the document, UTF-8, in pieces cut anywhere; the result does not depend on the cuts. Linear in
// the document whatever it holds. Document type declarations are refused, and with them every entity
// but XML's own five and character references. Errors: domain "dorvane.SDK.xliff", code 1 syntax, 2 limit,
// 3 document type declaration, 4 cancelled; the description ends in " (line L, column C)", both
// counted from 1, the column in characters. Units read before an error were handed out; an error may
// show up to maximumMarkupLength bytes late, at the end at the latest.
// Units without resname are skipped. Elements are known by their names as written. Reentrant.
class DVXliffReader
{
public:
    // Limits. Beyond them: an error of code 2.
    static constexpr qsizetype maximumMarkupLength = 64 * 1024; // one tag, comment or instruction, in bytes
    static constexpr int maximumAttributes = 256;               // of one tag
    static constexpr int maximumNamespaces = 1024;              // declared by the elements that are open
    static constexpr int maximumNames = 16 * 1024;              // different names in a document, about
    static constexpr int maximumDepth = 256;
    static constexpr qsizetype maximumTextLength =
        1024 * 1024; // one source, target or note as read, in bytes

    using UnitHandler = std::function<void(const DVXliffUnit &)>;

    DVXliffReader(bool needCues, UnitHandler handler);
    ~DVXliffReader();
    DVXliffReader(const DVXliffReader &) = delete;
    DVXliffReader &operator=(const DVXliffReader &) = delete;

    // After an error further calls return the same error.
    DVErrorOr feed(QByteArrayView piece);
    // The end of the document.
    DVErrorOr finish();

    // The whole document at once; stops with error 4 soon after `cancelled` (may be null) becomes true.
    static DVErrorOr read(QByteArrayView document, bool needCues, const UnitHandler &handler,
                          const std::atomic<bool> *cancelled = nullptr);

private:
    struct Private;
    std::unique_ptr<Private> d;
};
