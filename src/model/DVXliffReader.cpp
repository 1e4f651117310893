#include "DVXliffReader.h"

#include "DVMarkupScanner.h"
#include "DVXliffUnitStates.h"

#include <libxml/SAX2.h>
#include <libxml/parser.h>
#include <libxml/xmlerror.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <string>

namespace {

using std::string_view;

enum ErrorCode { Syntax = 1, Limit = 2, DocumentType = 3, Cancelled = 4 };

constexpr auto windowSize = size_t(DVXliffReader::maximumMarkupLength);

string_view viewOf(const xmlChar *begin, size_t length)
{
    return {reinterpret_cast<const char *>(begin), length};
}

struct Position
{
    int line = 1;
    qint64 column = 1;
};

qint64 characterCount(string_view text)
{
    return std::count_if(text.begin(), text.end(), [](char c) { return (c & 0xC0) != 0x80; });
}

DVError errorAt(ErrorCode code, QString text, Position position)
{
    constexpr qsizetype longestText = 200; // the parser quotes names, and those may be long
    text.truncate(longestText);
    return {QStringLiteral("dorvane.SDK.xliff"), code,
            QStringLiteral("%1 (line %2, column %3)").arg(text).arg(position.line).arg(position.column)};
}

// The parser leaves a copy of its last error in a variable of the thread that the host may look at.
class HostsLastError
{
public:
    HostsLastError()
    {
        if (const xmlError *error = xmlGetLastError())
            m_had = xmlCopyError(const_cast<xmlError *>(error), &m_error) == 0;
    }
    ~HostsLastError()
    {
        if (m_had)
            xmlCopyError(&m_error, xmlGetLastErrorToWrite());
        else
            xmlResetLastError();
        xmlResetError(&m_error);
    }
    HostsLastError(const HostsLastError &) = delete;
    HostsLastError &operator=(const HostsLastError &) = delete;

private:
    static xmlError *xmlGetLastErrorToWrite() { return &xmlLastError; }

    xmlError m_error{};
    bool m_had = false;
};

// The value of the pseudo-attribute "encoding" of an XML declaration, or nothing.
string_view declaredEncoding(string_view document)
{
    if (!document.starts_with("<?xml"))
        return {};
    const string_view declaration = document.substr(0, document.find("?>"));
    const size_t name = declaration.find("encoding");
    const size_t open = name == string_view::npos ? name : declaration.find_first_of("\"'", name);
    if (open == string_view::npos)
        return {};
    return declaration.substr(open + 1, declaration.find(declaration[open], open + 1) - open - 1);
}

bool equalsIgnoringCase(string_view text, string_view lower)
{
    return std::equal(text.begin(), text.end(), lower.begin(), lower.end(),
                      [](char a, char b) { return (a >= 'A' && a <= 'Z' ? char(a | 0x20) : a) == b; });
}

// UTF-16, UTF-32 and EBCDIC show within the first bytes. A declaration of anything that is no subset
// of UTF-8 is refused too: the parser would convert with tables that the host can replace.
bool isUtf8(string_view documentStart)
{
    constexpr string_view byteOrderMark = "\xEF\xBB\xBF";
    if (documentStart.starts_with(byteOrderMark))
        documentStart.remove_prefix(byteOrderMark.size());
    const string_view first = documentStart.substr(0, 4);
    if (first.find('\0') != string_view::npos || first.starts_with("\xFE\xFF") ||
        first.starts_with("\xFF\xFE") || first == "\x4C\x6F\xA7\x94")
        return false;
    const string_view encoding = declaredEncoding(documentStart);
    return encoding.empty() || equalsIgnoringCase(encoding, "utf-8") ||
           equalsIgnoringCase(encoding, "utf8") || equalsIgnoringCase(encoding, "us-ascii") ||
           equalsIgnoringCase(encoding, "ascii");
}

} // namespace

struct DVXliffReader::Private
{
    Private(bool needCues, UnitHandler handler);
    ~Private();
    Private(const Private &) = delete;
    Private &operator=(const Private &) = delete;

    size_t readWindow(string_view window, DVWindow kind);
    void parse(string_view piece, bool isLast);
    void fail(ErrorCode code, const QString &text);
    void stop(ErrorCode code, const QString &text);
    Position position() const;
    DVXliffUnitStates::Element elementOf(const xmlChar *name, const xmlChar *prefix) const;

    static const xmlSAXHandler &handlers();
    static void onStart(void *self, const xmlChar *name, const xmlChar *prefix, const xmlChar *uri,
                        int namespaceCount, const xmlChar **namespaces, int attributeCount,
                        int defaultedCount, const xmlChar **attributes);
    static void onEnd(void *self, const xmlChar *name, const xmlChar *prefix, const xmlChar *uri);
    static void onCharacters(void *self, const xmlChar *text, int length);
    static void onDocumentType(void *self, const xmlChar *name, const xmlChar *externalId,
                               const xmlChar *systemId);
    static void onError(void *self, xmlError *error);

    xmlParserCtxt *const parser;
    DVXliffUnitStates states;
    DVErrorOr error;
    const std::atomic<bool> *cancelled = nullptr;
    bool begun = false;
    bool insideCData = false;
    std::string pending; // read from its beginning once it is as long as a window

    // The parser keeps each name once, so that comparing pointers is enough.
    std::array<const xmlChar *, DVXliffUnitStates::Other> elementNames{};
    const xmlChar *idName = nullptr;
    const xmlChar *resnameName = nullptr;

    int depth = 0;
    std::array<quint16, maximumDepth> namespacesOfElement{};
    int namespacesInScope = 0;

    string_view piece; // what the parser is reading
    qint64 pieceOffset = 0;
    qint64 columnsBeforePiece = 0; // characters of the line that the piece begins in
};

const xmlSAXHandler &DVXliffReader::Private::handlers()
{
    static const xmlSAXHandler result = [] {
        xmlSAXHandler h{};
        h.initialized = XML_SAX2_MAGIC;
        h.internalSubset = onDocumentType;
        h.startElementNs = onStart;
        h.endElementNs = onEnd;
        h.characters = onCharacters;
        h.ignorableWhitespace = onCharacters;
        h.cdataBlock = onCharacters;
        h.serror = onError;
        return h;
    }();
    return result;
}

DVXliffReader::Private::Private(bool needCues, UnitHandler handler)
    : parser(xmlCreatePushParserCtxt(const_cast<xmlSAXHandler *>(&handlers()), this, nullptr, 0, nullptr))
    , states(needCues, std::move(handler))
{
    if (!parser) {
        error = errorAt(Limit, QStringLiteral("Out of memory"), {});
        return;
    }
    // Sets every option of this parser, whatever defaults the host has chosen. Without NOENT an "&amp;"
    // in an attribute arrives as "&#38;"; other entities than XML's five cannot be declared here.
    xmlCtxtUseOptions(parser, XML_PARSE_NOENT | XML_PARSE_NONET | XML_PARSE_IGNORE_ENC);
    const auto intern = [this](const char *name) {
        return xmlDictLookup(parser->dict, reinterpret_cast<const xmlChar *>(name), -1);
    };
    elementNames = {intern("trans-unit"), intern("source"), intern("target"), intern("note"), intern("ph")};
    idName = intern("id");
    resnameName = intern("resname");
}

DVXliffReader::Private::~Private()
{
    if (parser)
        xmlFreeParserCtxt(parser);
}

// Returns how much was read. Windows begin and end at the same bytes however the document was cut,
// and so the parser is fed the same pieces always.
size_t DVXliffReader::Private::readWindow(string_view window, DVWindow kind)
{
    if (cancelled && cancelled->load(std::memory_order_relaxed)) {
        fail(Cancelled, QStringLiteral("Cancelled"));
        return 0;
    }
    if (!std::exchange(begun, true) && !isUtf8(window)) {
        error = errorAt(Syntax, QStringLiteral("The document is not UTF-8"), {});
        return 0;
    }
    const DVMarkupScan scan = dv_scanMarkup(window, insideCData, kind);
    insideCData = scan.insideCData;
    parse(window.substr(0, scan.end), kind == DVWindow::Last && scan.problem == DVMarkupScan::None);
    if (error)
        return 0;
    switch (scan.problem) {
    case DVMarkupScan::None:
        break;
    case DVMarkupScan::DocumentType:
        fail(DocumentType, QStringLiteral("Document type declarations are not allowed"));
        break;
    case DVMarkupScan::MarkupTooLong:
        fail(Limit, QStringLiteral("Markup is longer than %1 bytes").arg(maximumMarkupLength));
        break;
    }
    return scan.end;
}

void DVXliffReader::Private::parse(string_view newPiece, bool isLast)
{
    const HostsLastError guard;
    piece = newPiece;
    if (!piece.empty())
        xmlParseChunk(parser, piece.data(), int(piece.size()), 0);
    if (isLast && !error)
        xmlParseChunk(parser, nullptr, 0, 1);
    if (!error && !parser->wellFormed)
        fail(Syntax, QStringLiteral("Malformed document"));
    if (!error && xmlDictSize(parser->dict) > maximumNames)
        fail(Limit, QStringLiteral("More than %1 different names").arg(maximumNames));
    const size_t lineStart = piece.rfind('\n');
    if (lineStart == string_view::npos)
        columnsBeforePiece += characterCount(piece);
    else
        columnsBeforePiece = characterCount(piece.substr(lineStart + 1));
    pieceOffset += qint64(piece.size());
    piece = {};
}

// Where the parser stands.
Position DVXliffReader::Private::position() const
{
    const qint64 consumed = std::max<qint64>(0, xmlByteConsumed(parser) - pieceOffset);
    const string_view before = piece.substr(0, size_t(consumed));
    const int line = parser->input ? parser->input->line : 1;
    const size_t lineStart = before.rfind('\n');
    if (lineStart == string_view::npos)
        return {line, columnsBeforePiece + characterCount(before) + 1};
    return {line, characterCount(before.substr(lineStart + 1)) + 1};
}

void DVXliffReader::Private::fail(ErrorCode code, const QString &text)
{
    if (!error)
        error = errorAt(code, text, position());
}

// From inside a callback: no further callback comes.
void DVXliffReader::Private::stop(ErrorCode code, const QString &text)
{
    fail(code, text);
    xmlStopParser(parser);
}

DVXliffUnitStates::Element DVXliffReader::Private::elementOf(const xmlChar *name, const xmlChar *prefix) const
{
    using Element = DVXliffUnitStates::Element;
    if (prefix)
        return Element::Other;
    const auto found = std::find(elementNames.begin(), elementNames.end(), name);
    return Element(found - elementNames.begin());
}

void DVXliffReader::Private::onStart(void *self, const xmlChar *name, const xmlChar *prefix, const xmlChar *,
                                     int namespaceCount, const xmlChar **, int attributeCount, int,
                                     const xmlChar **attributes)
{
    auto *const d = static_cast<Private *>(self);
    if (d->depth == maximumDepth)
        return d->stop(Limit, QStringLiteral("Elements are nested deeper than %1").arg(maximumDepth));
    d->namespacesOfElement[size_t(d->depth++)] = quint16(namespaceCount);
    d->namespacesInScope += namespaceCount;
    if (d->namespacesInScope > maximumNamespaces)
        return d->stop(Limit, QStringLiteral("More than %1 namespaces").arg(maximumNamespaces));

    // Attributes are compared with each other, namespaces with each name.
    if (attributeCount > maximumAttributes)
        return d->stop(Limit, QStringLiteral("A tag has more than %1 attributes").arg(maximumAttributes));

    const DVXliffUnitStates::Element element = d->elementOf(name, prefix);
    std::optional<string_view> id;
    std::optional<string_view> resname;
    if (element == DVXliffUnitStates::TransUnit) {
        // Five pointers for each attribute: local name, prefix, URI, begin and end of the value.
        for (const xmlChar **a = attributes; a != attributes + 5 * attributeCount; a += 5) {
            if (a[1])
                continue;
            if (a[0] == d->idName)
                id = viewOf(a[3], size_t(a[4] - a[3]));
            else if (a[0] == d->resnameName)
                resname = viewOf(a[3], size_t(a[4] - a[3]));
        }
    }
    d->states.startElement(element, id, resname);
    if (d->states.isTooLong())
        d->stop(Limit, QStringLiteral("A text is longer than %1 bytes").arg(maximumTextLength));
}

void DVXliffReader::Private::onEnd(void *self, const xmlChar *name, const xmlChar *prefix, const xmlChar *)
{
    auto *const d = static_cast<Private *>(self);
    d->namespacesInScope -= d->namespacesOfElement[size_t(--d->depth)];
    d->states.endElement(d->elementOf(name, prefix));
}

void DVXliffReader::Private::onCharacters(void *self, const xmlChar *text, int length)
{
    auto *const d = static_cast<Private *>(self);
    d->states.characters(viewOf(text, size_t(length)));
    if (d->states.isTooLong())
        d->stop(Limit, QStringLiteral("A text is longer than %1 bytes").arg(maximumTextLength));
}

// The scanner finds declarations first; this is for one that it would not recognise.
void DVXliffReader::Private::onDocumentType(void *self, const xmlChar *, const xmlChar *, const xmlChar *)
{
    static_cast<Private *>(self)->stop(DocumentType,
                                       QStringLiteral("Document type declarations are not allowed"));
}

void DVXliffReader::Private::onError(void *self, xmlError *error)
{
    auto *const d = static_cast<Private *>(self);
    if (error->level != XML_ERR_FATAL || d->error)
        return;
    const bool isLimit = error->code == XML_ERR_NAME_TOO_LONG || error->code == XML_ERR_NO_MEMORY;
    const auto text = QString::fromUtf8(error->message ? error->message : "Malformed document");
    d->fail(isLimit ? Limit : Syntax, text.section(u'\n', 0, 0));
}

DVXliffReader::DVXliffReader(bool needCues, UnitHandler handler)
    : d(std::make_unique<Private>(needCues, std::move(handler)))
{}

DVXliffReader::~DVXliffReader() = default;

DVErrorOr DVXliffReader::feed(QByteArrayView piece)
{
    string_view rest(piece.data(), size_t(piece.size()));
    while (!rest.empty() && !d->error) {
        if (d->pending.empty() && rest.size() >= windowSize) {
            rest.remove_prefix(d->readWindow(rest.substr(0, windowSize), DVWindow::Full));
            continue;
        }
        const string_view taken = rest.substr(0, windowSize - d->pending.size());
        d->pending.append(taken);
        rest.remove_prefix(taken.size());
        if (d->pending.size() == windowSize)
            d->pending.erase(0, d->readWindow(d->pending, DVWindow::Full));
    }
    return d->error;
}

DVErrorOr DVXliffReader::finish()
{
    if (!d->error) {
        d->readWindow(d->pending, DVWindow::Last);
        d->pending.clear();
    }
    return d->error;
}

DVErrorOr DVXliffReader::read(QByteArrayView document, bool needCues, const UnitHandler &handler,
                              const std::atomic<bool> *cancelled)
{
    DVXliffReader reader(needCues, handler);
    reader.d->cancelled = cancelled;
    reader.feed(document);
    return reader.finish();
}
