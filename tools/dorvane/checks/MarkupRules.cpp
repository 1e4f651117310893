// Rules about rich text: tags and entities in a text that the application shows as HTML.
#include "Rule.h"

#include <QStringList>

#include <algorithm>

namespace {

// What rich text of Qt knows. Other names in angle brackets, "<none>", are words.
bool isKnownElement(const QString &name)
{
    static const QSet<QString> known = [] {
        const QString names = QStringLiteral(
            "a address b big blockquote body br center cite code dd del dfn div dl dt em font h1 h2 h3 h4 h5 "
            "h6 head hr html i img ins kbd li link mark meta nobr ol p pre qt s samp small span strike "
            "strong style sub sup table tbody td tfoot th thead title tr tt u ul var");
        const QStringList list = names.split(u' ');
        return QSet<QString>(list.begin(), list.end());
    }();
    return known.contains(name);
}

bool needsNoEnd(const QString &name)
{
    static const QSet<QString> known{QStringLiteral("br"), QStringLiteral("dd"),  QStringLiteral("dt"),
                                     QStringLiteral("hr"), QStringLiteral("img"), QStringLiteral("li"),
                                     QStringLiteral("p"),  QStringLiteral("td"),  QStringLiteral("meta"),
                                     QStringLiteral("th"), QStringLiteral("tr"),  QStringLiteral("link")};
    return known.contains(name);
}

struct Tag
{
    QString name; // lower case
    bool closes = false;
    bool isEmpty = false; // <br/>
    qsizetype begin = 0;
    qsizetype length = 0;
};

QString nameIn(QStringView tag)
{
    qsizetype end = 0;
    while (end < tag.size() && tag[end].unicode() < 0x80 && tag[end].isLetterOrNumber())
        ++end;
    const bool ends = end < tag.size() && (tag[end].isSpace() || tag[end] == u'>' || tag[end] == u'/');
    return ends ? tag.first(end).toString().toLower() : QString();
}

// Nobody writes more by hand; comparing them costs the square.
constexpr size_t mostTags = 500;

std::vector<Tag> tagsIn(QStringView text)
{
    std::vector<Tag> tags;
    qsizetype end = -1; // kept, since many "<" may stand before one ">"
    for (qsizetype at = text.indexOf(u'<'); at >= 0 && tags.size() <= mostTags;
         at = text.indexOf(u'<', at + 1)) {
        if (end < at)
            end = text.indexOf(u'>', at);
        if (end < 0)
            break;
        const QStringView whole = text.sliced(at, end - at + 1);
        Tag tag;
        tag.closes = whole.startsWith(u"</");
        tag.isEmpty = whole.endsWith(u"/>");
        tag.name = nameIn(whole.sliced(tag.closes ? 2 : 1));
        tag.begin = at;
        tag.length = whole.size();
        if (isKnownElement(tag.name))
            tags.push_back(tag);
    }
    return tags;
}

// The first tag that has no partner; nullptr when all are balanced.
const Tag *unbalanced(const std::vector<Tag> &tags)
{
    std::vector<const Tag *> open;
    for (const Tag &tag : tags) {
        if (tag.isEmpty || needsNoEnd(tag.name))
            continue;
        if (!tag.closes) {
            open.push_back(&tag);
            continue;
        }
        if (open.empty())
            return &tag;
        if (open.back()->name != tag.name)
            return open.back();
        open.pop_back();
    }
    return open.empty() ? nullptr : open.back();
}

QStringList startNames(const std::vector<Tag> &tags)
{
    QStringList names;
    for (const Tag &tag : tags)
        if (!tag.closes)
            names += tag.name;
    names.sort();
    return names;
}

QString shown(const Tag &tag)
{
    return (tag.closes ? QStringLiteral("</%1>") : QStringLiteral("<%1>")).arg(tag.name);
}

// What the first list has more often than the second.
QStringList surplus(QStringList names, const QStringList &others)
{
    for (const QString &name : others)
        names.removeOne(name);
    names.removeDuplicates();
    return names;
}

void reportDifference(const CheckContext &context, const CheckedUnit &unit, const std::vector<Tag> &source,
                      const std::vector<Tag> &target)
{
    const QStringList inSource = startNames(source);
    const QStringList inTarget = startNames(target);
    for (const QString &name : surplus(inSource, inTarget))
        context.add(RuleId::Markup, Severity::Warning, unit, context.document.placeOf(unit.target),
                    QStringLiteral("<%1> of the source is missing").arg(name));
    for (const QString &name : surplus(inTarget, inSource)) {
        const auto tag = std::ranges::find_if(target, [&name](const Tag &t) { return t.name == name; });
        context.add(RuleId::Markup, Severity::Warning, unit,
                    context.document.placeOf(unit.target, tag->begin, tag->length),
                    QStringLiteral("<%1> is not in the source, or not so often").arg(name));
    }
}

constexpr qsizetype mostEntities = 50;

// Names of entities in a text, "&amp;", and where "&" stands before one that lost its semicolon.
struct Entities
{
    QStringList names;
    qsizetype broken = -1;
};

Entities entitiesIn(QStringView text, const QStringList &expected)
{
    Entities found;
    for (qsizetype at = text.indexOf(u'&'); at >= 0; at = text.indexOf(u'&', at + 1)) {
        qsizetype begin = at + 1;
        while (begin < text.size() && text[begin] == u' ')
            ++begin;
        qsizetype end = begin;
        while (end < text.size() && (text[end].isLetterOrNumber() || text[end] == u'#'))
            ++end;
        const QString name = text.sliced(begin, end - begin).toString();
        const bool isWhole = begin == at + 1 && end < text.size() && text[end] == u';';
        if (isWhole && !name.isEmpty() && found.names.size() < mostEntities && !found.names.contains(name))
            found.names += name;
        else if (!isWhole && found.broken < 0 && expected.contains(name))
            found.broken = at;
    }
    return found;
}

void checkEntities(const CheckContext &context, const CheckedUnit &unit)
{
    if (!unit.source.text().contains(u'&'))
        return;
    const Entities source = entitiesIn(unit.source.text(), {});
    if (source.names.isEmpty())
        return;
    const Entities target = entitiesIn(unit.target.text(), source.names);
    if (target.broken >= 0)
        context.add(RuleId::Entity, Severity::Warning, unit,
                    context.document.placeOf(unit.target, target.broken, 1),
                    QStringLiteral("an entity of the source is damaged here"));
}

} // namespace

void checkMarkup(const CheckContext &context, const CheckedUnit &unit)
{
    checkEntities(context, unit);
    if (!unit.source.text().contains(u'<') && !unit.target.text().contains(u'<'))
        return;
    const std::vector<Tag> source = tagsIn(unit.source.text());
    const std::vector<Tag> target = tagsIn(unit.target.text());
    if (source.size() > mostTags || target.size() > mostTags)
        return;
    // A text that is put together with others may begin or end in the middle of an element.
    const Tag *lonely = unbalanced(source) ? nullptr : unbalanced(target);
    if (lonely)
        return context.add(RuleId::Markup, Severity::Error, unit,
                           context.document.placeOf(unit.target, lonely->begin, lonely->length),
                           QStringLiteral("%1 has no partner").arg(shown(*lonely)));
    reportDifference(context, unit, source, target);
}
