#include "DVMarkup.h"

#include "DVCue.h"
#include "DVTextMarks.h"

#include <QTextDocumentFragment>

#include <algorithm>
#include <array>
#include <optional>

namespace {

bool beginsTag(QStringView rest)
{
    return rest.size() > 1 && (rest[1].isLetter() || rest[1] == u'/' || rest[1] == u'!' || rest[1] == u'?');
}

// Behind the ">" of the tag that begins at `begin`; -1 when there is none.
qsizetype endOfTag(QStringView html, qsizetype begin)
{
    if (html.sliced(begin).startsWith(u"<!--")) {
        const qsizetype end = html.indexOf(u"-->", begin + 4);
        return end < 0 ? -1 : end + 3;
    }
    QChar quote;
    for (qsizetype i = begin + 1; i < html.size(); ++i) {
        const QChar c = html[i];
        if (!quote.isNull())
            quote = c == quote ? QChar() : quote;
        else if (c == u'"' || c == u'\'')
            quote = c;
        else if (c == u'>')
            return i + 1;
    }
    return -1;
}

QStringView nameOfTag(QStringView tag)
{
    qsizetype end = 0;
    while (end < tag.size() && (tag[end].isLetterOrNumber() || tag[end] == u'-'))
        ++end;
    return tag.first(end);
}

// Elements of HTML that hold nothing and are not closed.
bool isVoid(QStringView name)
{
    static constexpr std::array<QStringView, 10> names{u"br",   u"hr",   u"img", u"input", u"meta",
                                                       u"link", u"area", u"col", u"wbr",   u"base"};
    return std::any_of(names.begin(), names.end(),
                       [&](QStringView other) { return name.compare(other, Qt::CaseInsensitive) == 0; });
}

DVMarkupTag tagAt(QStringView html, qsizetype begin, qsizetype end)
{
    const bool closes = html[begin + 1] == u'/';
    const qsizetype nameBegin = begin + (closes ? 2 : 1);
    const QStringView name = nameOfTag(html.sliced(nameBegin, end - 1 - nameBegin));
    const bool stands = name.isEmpty() || html[end - 2] == u'/' || isVoid(name);
    return {begin, end, name,
            stands   ? DVMarkupTag::Stands
            : closes ? DVMarkupTag::Closes
                     : DVMarkupTag::Opens};
}

bool isSameElement(QStringView name, QStringView other)
{
    return name.compare(other, Qt::CaseInsensitive) == 0;
}

QString character(QStringView number)
{
    const bool hexadecimal = number.startsWith(u'x') || number.startsWith(u'X');
    bool isNumber = false;
    const uint code = hexadecimal ? number.sliced(1).toUInt(&isNumber, 16) : number.toUInt(&isNumber);
    if (!isNumber || code == 0 || code > 0x10FFFF)
        return {};
    const char32_t codePoint = code;
    return QString::fromUcs4(&codePoint, 1);
}

// What stands between "&" and ";"; null when it is no entity.
QString entity(QStringView name)
{
    struct Known
    {
        QStringView name;
        char16_t character;
    };
    static constexpr std::array<Known, 6> common{{{u"amp", u'&'},
                                                  {u"lt", u'<'},
                                                  {u"gt", u'>'},
                                                  {u"quot", u'"'},
                                                  {u"apos", u'\''},
                                                  {u"nbsp", u'\u00A0'}}};
    for (const Known &known : common) {
        if (known.name == name)
            return QChar(known.character);
    }
    if (name.startsWith(u'#'))
        return character(name.sliced(1));
    if (nameOfTag(name).size() != name.size())
        return {};
    const QString shown = DVMarkup::plainText(QString(u'&' % name % u';'));
    return shown.contains(name) ? QString() : shown;
}

void appendResolved(QString &text, QStringView source)
{
    constexpr qsizetype longestEntity = 12;
    qsizetype position = 0;
    for (qsizetype found = source.indexOf(u'&'); found >= 0; found = source.indexOf(u'&', position)) {
        text += source.sliced(position, found - position);
        const qsizetype end =
            source.sliced(found, std::min(longestEntity, source.size() - found)).indexOf(u';');
        const QString resolved = end > 1 ? entity(source.sliced(found + 1, end - 1)) : QString();
        text += resolved.isNull() ? QStringView(u"&") : QStringView(resolved);
        position = found + (resolved.isNull() ? 1 : end + 1);
    }
    text += source.sliced(position);
}

bool isBreak(QStringView name)
{
    static constexpr std::array<QStringView, 4> names{u"br", u"p", u"div", u"li"};
    return std::any_of(names.begin(), names.end(),
                       [&](QStringView other) { return isSameElement(name, other); });
}

// Brackets of a piece: its tags and its markers, each open until its other half.
class OpenBrackets
{
public:
    bool take(QStringView text)
    {
        return std::all_of(text.begin(), text.end(), [this](QChar c) { return takeMarker(c.unicode()); });
    }

    bool take(const DVMarkupTag &tag)
    {
        if (tag.kind == DVMarkupTag::Opens)
            m_open.append(tag.name);
        if (tag.kind != DVMarkupTag::Closes)
            return true;
        const bool fits = !m_open.isEmpty() && isSameElement(m_open.constLast(), tag.name);
        if (fits)
            m_open.removeLast();
        return fits;
    }

    bool isEmpty() const { return m_open.isEmpty(); }

private:
    bool takeMarker(char16_t c)
    {
        using namespace DVCueMarker;
        if (c == stringStart || c == argumentStart)
            m_open.append(c == stringStart ? QStringView(u"[") : QStringView(u"{"));
        if (c != stringEnd && c != argumentEnd)
            return true;
        const bool fits = !m_open.isEmpty() && m_open.constLast() == (c == stringEnd ? u"[" : u"{");
        if (fits)
            m_open.removeLast();
        return fits;
    }

    QList<QStringView> m_open;
};

// Tags whose other half is not among them, in order.
QString unmatched(QStringView html, const QList<DVMarkupTag> &tags)
{
    QList<qsizetype> open;
    QList<qsizetype> alone;
    for (qsizetype i = 0; i < tags.size(); ++i) {
        if (tags.at(i).kind == DVMarkupTag::Opens) {
            open.append(i);
        } else if (tags.at(i).kind == DVMarkupTag::Closes) {
            if (!open.isEmpty() && isSameElement(tags.at(open.constLast()).name, tags.at(i).name))
                open.removeLast();
            else
                alone.append(i);
        }
    }
    alone += open;
    std::sort(alone.begin(), alone.end());
    QString result;
    for (const qsizetype i : std::as_const(alone))
        result += html.sliced(tags.at(i).begin, tags.at(i).end - tags.at(i).begin);
    return result;
}

} // namespace

QList<DVMarkupTag> DVMarkup::tagsIn(QStringView html)
{
    QList<DVMarkupTag> tags;
    for (qsizetype begin = html.indexOf(u'<'); begin >= 0; begin = html.indexOf(u'<', begin)) {
        if (!beginsTag(html.sliced(begin))) {
            ++begin;
            continue;
        }
        const qsizetype end = endOfTag(html, begin);
        if (end < 0)
            break;
        tags.append(tagAt(html, begin, end));
        begin = end;
    }
    return tags;
}

QString DVMarkup::textOf(QStringView html)
{
    QString text;
    text.reserve(html.size());
    qsizetype position = 0;
    for (const DVMarkupTag &tag : tagsIn(html)) {
        appendResolved(text, html.sliced(position, tag.begin - position));
        if (isSameElement(tag.name, u"br"))
            text += u'\n';
        position = tag.end;
    }
    appendResolved(text, html.sliced(position));
    return text;
}

QString DVMarkup::plainText(const QString &html)
{
    return QTextDocumentFragment::fromHtml(html).toPlainText();
}

QString DVMarkup::escaped(const QString &text, bool inTag)
{
    QString source = text.toHtmlEscaped();
    if (inTag)
        source.replace(u'\'', QStringLiteral("&#39;"));
    return source;
}

bool DVMarkup::isBalanced(QStringView html)
{
    OpenBrackets open;
    qsizetype position = 0;
    for (const DVMarkupTag &tag : tagsIn(html)) {
        if (!open.take(html.sliced(position, tag.begin - position)) || !open.take(tag))
            return false;
        position = tag.end;
    }
    return open.take(html.sliced(position)) && open.isEmpty();
}

DVMarkup::Around DVMarkup::aroundFirstCharacter(QStringView piece)
{
    Around around;
    QList<QStringView> open;
    qsizetype position = piece.startsWith(QChar(DVCueMarker::stringStart)) ? 1 : 0;
    while (position < piece.size() && piece[position] == u'<' && beginsTag(piece.sliced(position))) {
        const qsizetype end = endOfTag(piece, position);
        if (end < 0)
            break;
        const DVMarkupTag tag = tagAt(piece, position, end);
        if (tag.kind != DVMarkupTag::Opens)
            break;
        around.before += piece.sliced(position, end - position);
        open.append(tag.name);
        position = end;
    }
    while (!open.isEmpty())
        around.after += QString(u"</" % open.takeLast() % u'>');
    return around;
}

QString DVMarkup::flattened(QStringView piece)
{
    const Around around = aroundFirstCharacter(piece);
    const bool breaks = breaksLines(piece);
    QString text = escaped(textOf(piece));
    if (breaks)
        text.replace(u'\n', QStringLiteral("<br/>"));
    if (text.startsWith(QChar(DVCueMarker::stringStart)))
        text.insert(1, around.before);
    text.insert(text.size() - 1, around.after);
    return text + unmatched(piece, tagsIn(piece));
}

bool DVMarkup::breaksLines(QStringView html)
{
    const QList<DVMarkupTag> tags = tagsIn(html);
    return std::any_of(tags.begin(), tags.end(), [](const DVMarkupTag &tag) { return isBreak(tag.name); });
}
