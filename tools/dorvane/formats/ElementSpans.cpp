#include "ElementSpans.h"

#include <XmlScanner.h>

QList<ElementSpan> elementSpans(QByteArrayView document, const QList<QByteArrayView> &names)
{
    QList<ElementSpan> spans;
    QList<qsizetype> open; // indexes of spans
    XmlScanner scanner(document);
    for (auto kind = scanner.next(); kind != XmlScanner::End; kind = scanner.next()) {
        const bool isTag = kind != XmlScanner::Text && kind != XmlScanner::CData;
        const qsizetype name = isTag ? names.indexOf(scanner.name()) : -1;
        if (name < 0)
            continue;
        const qsizetype begin = scanner.place().begin;
        const qsizetype end = begin + scanner.place().length;
        if (kind != XmlScanner::EndTag) {
            open.append(spans.size());
            spans.append({name, begin, end});
        }
        if (kind != XmlScanner::StartTag && !open.isEmpty())
            spans[open.takeLast()].end = end;
    }
    return spans;
}

QByteArrayView firstTag(QByteArrayView element)
{
    XmlScanner scanner(element);
    scanner.next();
    return scanner.bytes();
}
