#include "DVXliffReader.h"

#include "DVMarkupScanner.h"
#include "DVXliffPlace.h"
#include "DVXliffUnitStates.h"
#include "DVXmlEncoding.h"
#include "DVXmlLastError.h"

#include <libxml/SAX2.h>
#include <libxml/parser.h>

#include <algorithm>
#include <array>
#include <string>

namespace {

using std::string_view;

enum ErrorCode { Syntax = 1, Limit = 2, DocumentType = 3, Cancelled = 4 };

constexpr auto windowSize = size_t(DVXliffReader::maximumMarkupLength);

string_view viewOf(const xmlChar *begin, size_t length)
{
    return {reinterpret_cast<const char *>(begin), length};
}

DVError errorAt(ErrorCode code, QString text, DVXliffPlace::Position position)
{
    constexpr qsizetype longestText = 200; // the parser quotes names, and those may be long
    text.truncate(longestText);
    return {QStringLiteral("dorvane.SDK.xliff"), code,
            QStringLiteral("%1 (line %2, column %3)").arg(text).arg(position.line).arg(position.column)};
}

} // namespace

struct DVXliffReader::Private
{
    Private(bool needCues, UnitHandler handler);
    ~Private();
    Private(const Private &) = delete;
    Private &operator=(const Private &) = delete;

    size_t readWindow(string_view window, DVWindow kind);
    void parse(string_view bytes);
    void parseCData(bool staysOpen);
    void parseEnd();
    void fail(ErrorCode code, const QString &text);
    void stop(ErrorCode code, const QString &text);
    void refuse(DVMarkupScan::Problem problem);
    void stopIfTooLong();
    bool enter(int namespaceCount, int attributeCount);
    DVXliffUnitStates::Element elementOf(const xmlChar *name, const xmlChar *prefix) const;

    static const xmlSAXHandler &handlers();
    static void onStart(void *self, const xmlChar *name, const xmlChar *prefix, const xmlChar *uri,
                        int namespaceCount, const xmlChar **namespaces, int attributeCount,
                        int defaultedCount, const xmlChar **attributes);
    static void onEnd(void *self, const xmlChar *name, const xmlChar *prefix, const xmlChar *uri);
    static void onCharacters(void *self, const xmlChar *text, int length);
    static void onCData(void *self, const xmlChar *text, int length);
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

    DVXliffPlace place;
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
        h.cdataBlock = onCData;
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
    if (!std::exchange(begun, true) && !dv_isUtf8Document(window)) {
        error = errorAt(Syntax, QStringLiteral("The document is not UTF-8"), {});
        return 0;
    }
    const DVMarkupScan scan = dv_scanMarkup(window, insideCData, kind);
    place.piece = window.substr(0, scan.end);
    if (insideCData || scan.insideCData)
        parseCData(scan.insideCData);
    else
        parse(place.piece);
    insideCData = scan.insideCData;
    if (kind == DVWindow::Last && scan.problem == DVMarkupScan::None)
        parseEnd();
    if (!error)
        refuse(scan.problem);
    place.endPiece();
    return error ? 0 : scan.end;
}

// What the scanner found where the piece ends.
void DVXliffReader::Private::refuse(DVMarkupScan::Problem problem)
{
    if (problem == DVMarkupScan::None)
        return;
    const DVXliffPlace::Position end = place.positionAt(parser, place.piece.size());
    if (problem == DVMarkupScan::DocumentType)
        error = errorAt(DocumentType, QStringLiteral("Document type declarations are not allowed"), end);
    else
        error =
            errorAt(Limit, QStringLiteral("Markup is longer than %1 bytes").arg(maximumMarkupLength), end);
}

void DVXliffReader::Private::parse(string_view bytes)
{
    const DVXmlLastError hosts;
    if (!bytes.empty())
        xmlParseChunk(parser, bytes.data(), int(bytes.size()), 0);
    place.bytesParsed += qint64(bytes.size());
    if (!error && xmlDictSize(parser->dict) > maximumNames)
        fail(Limit, QStringLiteral("More than %1 different names").arg(maximumNames));
    // It got nothing but whole markups, and still waits for the end of one.
    if (!error && parser->input->end - parser->input->cur > maximumMarkupLength)
        parseEnd();
}

// A CDATA section that is longer than a window is given as several: the parser looks for the end of
// one again and again.
void DVXliffReader::Private::parseCData(bool staysOpen)
{
    constexpr string_view opening = "<![CDATA[";
    place.bytesAdded = insideCData ? opening.size() : 0;
    std::string section(opening.substr(0, place.bytesAdded));
    section += place.piece;
    if (staysOpen)
        section += "]]>";
    parse(section);
}

void DVXliffReader::Private::parseEnd()
{
    const DVXmlLastError hosts;
    if (!error)
        xmlParseChunk(parser, nullptr, 0, 1);
    if (!error && !parser->wellFormed)
        fail(Syntax, QStringLiteral("Malformed document"));
}

void DVXliffReader::Private::fail(ErrorCode code, const QString &text)
{
    if (!error)
        error = errorAt(code, text, place.position(parser));
}

// From inside a callback: no further callback comes.
void DVXliffReader::Private::stop(ErrorCode code, const QString &text)
{
    fail(code, text);
    xmlStopParser(parser);
}

void DVXliffReader::Private::stopIfTooLong()
{
    if (states.isTooLong())
        stop(Limit, QStringLiteral("A text is longer than %1 bytes").arg(maximumTextLength));
}

DVXliffUnitStates::Element DVXliffReader::Private::elementOf(const xmlChar *name, const xmlChar *prefix) const
{
    using Element = DVXliffUnitStates::Element;
    if (prefix)
        return Element::Other;
    const auto found = std::find(elementNames.begin(), elementNames.end(), name);
    return Element(found - elementNames.begin());
}

// Counts what costs the parser time or memory beyond a tag's length: it compares attributes with each
// other and looks every prefix up in all the namespaces in scope.
bool DVXliffReader::Private::enter(int namespaceCount, int attributeCount)
{
    if (depth == maximumDepth) {
        stop(Limit, QStringLiteral("Elements are nested deeper than %1").arg(maximumDepth));
        return false;
    }
    namespacesOfElement[size_t(depth++)] = quint16(namespaceCount);
    namespacesInScope += namespaceCount;
    if (namespacesInScope > maximumNamespaces)
        stop(Limit, QStringLiteral("More than %1 namespaces").arg(maximumNamespaces));
    else if (attributeCount > maximumAttributes)
        stop(Limit, QStringLiteral("A tag has more than %1 attributes").arg(maximumAttributes));
    return !error;
}

// NOLINTNEXTLINE(readability-function-size): the parameters are the parser's
void DVXliffReader::Private::onStart(void *self, const xmlChar *name, const xmlChar *prefix, const xmlChar *,
                                     int namespaceCount, const xmlChar **, int attributeCount, int,
                                     const xmlChar **attributes)
{
    auto *const d = static_cast<Private *>(self);
    if (d->error || !d->enter(namespaceCount, attributeCount))
        return;
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
    d->stopIfTooLong();
}

void DVXliffReader::Private::onEnd(void *self, const xmlChar *name, const xmlChar *prefix, const xmlChar *)
{
    auto *const d = static_cast<Private *>(self);
    if (d->error)
        return;
    d->namespacesInScope -= d->namespacesOfElement[size_t(--d->depth)];
    d->states.endElement(d->elementOf(name, prefix));
    d->stopIfTooLong();
}

void DVXliffReader::Private::onCharacters(void *self, const xmlChar *text, int length)
{
    auto *const d = static_cast<Private *>(self);
    if (d->error)
        return;
    d->states.characters(viewOf(text, size_t(length)));
    d->stopIfTooLong();
}

// The parser hands a section out as it stands, where XML has line ends made line feeds.
void DVXliffReader::Private::onCData(void *self, const xmlChar *text, int length)
{
    string_view rest = viewOf(text, size_t(length));
    for (size_t end = rest.find('\r'); end != string_view::npos; end = rest.find('\r')) {
        static constexpr xmlChar lineFeed = '\n';
        onCharacters(self, text, int(end));
        onCharacters(self, &lineFeed, 1);
        rest.remove_prefix(rest.substr(end).starts_with("\r\n") ? end + 2 : end + 1);
        text = reinterpret_cast<const xmlChar *>(rest.data());
    }
    onCharacters(self, text, int(rest.size()));
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
