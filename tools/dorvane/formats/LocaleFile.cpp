#include "LocaleFile.h"

#include "CheckedDocument.h"
#include "ElementSpans.h"
#include "InlineText.h"
#include "XmlCharacters.h"

#include <QCryptographicHash>

#include <algorithm>
#include <utility>

namespace {

constexpr QByteArrayView bodyEndTag("</body>");
constexpr char16_t fromUnfinished[] = u"unfinished";

const QStringList &categoriesInOrder()
{
    static const QStringList names{QString(),
                                   QStringLiteral("zero"),
                                   QStringLiteral("one"),
                                   QStringLiteral("two"),
                                   QStringLiteral("few"),
                                   QStringLiteral("many"),
                                   QStringLiteral("other")};
    return names;
}

// Which notes an import brings, and so replaces.
bool isImported(const XliffNote &note)
{
    return note.from == u"developer" || note.from == u"translator" || note.from == fromUnfinished;
}

std::optional<QString> servedTarget(const XliffUnit &unit)
{
    return unit.target && !unit.target->isEmpty() ? unit.target : std::nullopt;
}

bool saySame(const XliffUnit &a, const XliffUnit &b)
{
    return a.source == b.source && servedTarget(a) == servedTarget(b) && a.notes == b.notes &&
           a.uses == b.uses;
}

QByteArray noteElement(const XliffNote &note)
{
    const QByteArray from = note.from.isEmpty() ? QByteArray() : " from=\"" + xmlAttribute(note.from) + '"';
    return "<note" + from + '>' + xmlContent(note.text) + "</note>";
}

QByteArray contextElement(QStringView type, const QString &text)
{
    return "<context context-type=\"" + xmlAttribute(type) + "\">" + xmlContent(text) + "</context>";
}

QByteArrayList linesOfUse(const XliffUse &use)
{
    QByteArrayList lines{"<context-group purpose=\"information\">"};
    lines.append("  " + contextElement(contextTypeOfContext, use.context));
    if (!use.comment.isEmpty())
        lines.append("  " + contextElement(contextTypeOfComment, use.comment));
    if (use.unfinished)
        lines.append("  " + contextElement(contextTypeOfUnfinished, *use.unfinished));
    if (!use.sourceFile.isEmpty()) {
        lines.append("  " + contextElement(u"sourcefile", use.sourceFile));
        lines.append("  " + contextElement(u"linenumber", use.sourceLine));
    }
    lines.append("</context-group>");
    return lines;
}

QByteArray freshStartTag(const XliffUnit &unit)
{
    return "<trans-unit id=\"" + xmlAttribute(unit.id) + "\" resname=\"" +
           xmlAttribute(unit.resname.value_or(QString())) + "\">";
}

// Without indentation before the first line and a line feed behind the last.
QByteArray unitElement(const XliffUnit &unit, const QByteArray &startTag, const QByteArray &indentation)
{
    QByteArrayList lines{"<source>" + inlineXliff(unit.source) + "</source>"};
    if (unit.target) {
        const QByteArray state =
            unit.state.isEmpty() ? QByteArray() : " state=\"" + xmlAttribute(unit.state) + '"';
        lines.append("<target" + state + '>' + inlineXliff(*unit.target, unit.source) + "</target>");
    }
    for (const XliffUse &use : unit.uses)
        lines += linesOfUse(use);
    for (const XliffNote &note : unit.notes)
        lines.append(noteElement(note));
    const QByteArray newLine = '\n' + indentation;
    return startTag + newLine + "  " + lines.join(newLine + "  ") + newLine + "</trans-unit>";
}

QString slug(const QString &key)
{
    constexpr qsizetype longest = 40;
    QString result;
    for (const QChar c : key) {
        const QChar lower = c.toLower();
        if ((lower >= u'a' && lower <= u'z') || (lower >= u'0' && lower <= u'9'))
            result += lower;
        else if (!result.isEmpty() && !result.endsWith(u'-'))
            result += u'-';
        if (result.size() >= longest)
            break;
    }
    return result.isEmpty() || result.endsWith(u'-') ? result : QString(result + u'-');
}

} // namespace

QString unitId(const QString &key)
{
    constexpr qsizetype digits = 12;
    const QByteArray hash = QCryptographicHash::hash(key.toUtf8(), QCryptographicHash::Sha1).toHex();
    return slug(key) + QString::fromLatin1(hash.first(digits));
}

std::optional<LocaleFile> LocaleFile::parse(const QByteArray &document, FormatError *error)
{
    auto read = readXliff(document, error);
    if (!read)
        return {};
    LocaleFile file;
    file.m_document = document;
    file.m_units = std::move(read->units);
    bool hasBody = false;
    for (const ElementSpan &span : elementSpans(document, {"trans-unit", "body"})) {
        if (span.name == 0) {
            file.m_places.append({span.begin, span.end, file.indentationBefore(span.begin)});
            continue;
        }
        hasBody = document.sliced(0, span.end).endsWith(bodyEndTag);
        file.m_bodyEnd = span.end - bodyEndTag.size();
    }
    if (!hasBody || file.m_places.size() != file.m_units.size()) {
        *error = {QStringLiteral("it has no <body> that strings could be added to; begin with a new file"),
                  {}};
        return {};
    }
    for (qsizetype i = 0; i < file.m_units.size(); ++i) {
        if (file.m_units[i].resname)
            file.m_unitsOfKey[*file.m_units[i].resname].append(i);
    }
    return file;
}

LocaleFile LocaleFile::empty(const QString &original, const QString &sourceLocale, const QString &locale)
{
    LocaleFile file;
    file.m_document = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                      "<xliff version=\"1.2\" xmlns=\"urn:oasis:names:tc:xliff:document:1.2\">\n"
                      "  <file original=\"" +
                      xmlAttribute(original) + "\" source-language=\"" + xmlAttribute(sourceLocale) +
                      "\" target-language=\"" + xmlAttribute(locale) +
                      "\" datatype=\"plaintext\">\n"
                      "    <body>\n"
                      "    </body>\n"
                      "  </file>\n"
                      "</xliff>\n";
    file.m_bodyEnd = file.m_document.indexOf(bodyEndTag);
    return file;
}

QList<LocaleString> LocaleFile::strings() const
{
    QList<LocaleString> result;
    QHash<QString, qsizetype> places;
    for (const XliffUnit &unit : m_units) {
        if (!unit.resname)
            continue;
        const auto known = places.constFind(*unit.resname);
        const qsizetype place = known == places.constEnd() ? result.size() : *known;
        if (place == result.size()) {
            places.insert(*unit.resname, place);
            result.append({*unit.resname, unit.source, {}, {}, unit.notes, unit.uses});
        }
        const QString category = formOfId(unit.id);
        result[place].forms.insert(category, servedTarget(unit));
        for (const XliffNote &note : unit.notes) {
            if (note.from == fromUnfinished)
                result[place].suggestions.insert(category, note.text);
        }
    }
    return result;
}

QString LocaleFile::target(const QString &key, const QString &category) const
{
    for (const qsizetype unit : m_unitsOfKey.value(key)) {
        if (formOfId(m_units[unit].id) == category)
            return m_units[unit].target.value_or(QString());
    }
    return {};
}

QList<XliffUse> LocaleFile::uses(const QString &key) const
{
    const auto units = m_unitsOfKey.constFind(key);
    return units == m_unitsOfKey.constEnd() ? QList<XliffUse>() : m_units[units->constFirst()].uses;
}

QByteArray LocaleFile::indentationBefore(qsizetype position) const
{
    qsizetype begin = position;
    while (begin > 0 && (m_document[begin - 1] == ' ' || m_document[begin - 1] == '\t'))
        --begin;
    return begin == 0 || m_document[begin - 1] == '\n' ? m_document.sliced(begin, position - begin)
                                                       : QByteArray();
}

std::optional<XliffUnit> LocaleFile::merged(const LocaleString &string, const QString &category,
                                            const XliffUnit *old) const
{
    XliffUnit unit = old ? *old : XliffUnit();
    if (!old) {
        unit.resname = string.key;
        unit.id = category.isEmpty() ? unitId(string.key)
                                     : QStringLiteral("%1[%2]").arg(unitId(string.key), category);
    }
    unit.source = string.source;
    unit.target = servedTarget(unit);
    if (const auto text = string.forms.value(category); text && text != unit.target) {
        unit.target = text;
        unit.state.clear();
    }
    if (!string.uses.isEmpty())
        unit.uses = string.uses;
    if (!string.notes.isEmpty())
        unit.notes.removeIf(isImported);
    else
        unit.notes.removeIf([](const XliffNote &note) { return note.from == fromUnfinished; });
    unit.notes = string.notes + unit.notes;
    if (const QString suggestion = string.suggestions.value(category); !suggestion.isEmpty() && !unit.target)
        unit.notes.append({QString::fromUtf16(fromUnfinished), suggestion});
    return old && saySame(*old, unit) ? std::nullopt : std::optional(unit);
}

LocaleFile::Change LocaleFile::put(const LocaleString &string)
{
    const QList<qsizetype> old = m_unitsOfKey.value(string.key);
    QMap<QString, qsizetype> oldOfCategory;
    QList<qsizetype> stale; // plural units of a text that has no plural any more, or the other way round
    for (const qsizetype unit : old) {
        const QString category = formOfId(m_units[unit].id);
        if (category.isEmpty() == string.isPlural())
            stale.append(unit);
        else
            oldOfCategory.insert(category, unit);
    }
    const bool hasText = std::any_of(string.forms.cbegin(), string.forms.cend(),
                                     [](const auto &text) { return text.has_value(); });
    if (!stale.isEmpty() && !hasText)
        return Unchanged; // until there is a translation that takes the place of the old one

    QList<XliffUnit> fresh;
    bool changed = !stale.isEmpty();
    for (const QString &category : categoriesInOrder()) {
        if (!string.forms.contains(category))
            continue;
        const auto place = oldOfCategory.constFind(category);
        if (place == oldOfCategory.constEnd()) {
            fresh.append(*merged(string, category, nullptr));
        } else if (const auto unit = merged(string, category, &m_units[*place])) {
            replace(*place, *unit);
            changed = true;
        }
    }
    for (const qsizetype unit : stale)
        removeUnit(unit);
    if (!fresh.isEmpty() && oldOfCategory.isEmpty())
        append(fresh, string.isPlural());
    else if (!fresh.isEmpty())
        insertBehind(*std::max_element(oldOfCategory.cbegin(), oldOfCategory.cend()), fresh);
    return old.isEmpty() ? New : changed || !fresh.isEmpty() ? Changed : Unchanged;
}

// The start tag stays as it is written: it may say what is not ours.
void LocaleFile::replace(qsizetype place, const XliffUnit &unit)
{
    const Place &old = m_places[place];
    const QByteArrayView element = QByteArrayView(m_document).sliced(old.begin, old.end - old.begin);
    const QByteArrayView tag = firstTag(element);
    const QByteArray startTag = tag.endsWith("/>") ? freshStartTag(unit) : tag.toByteArray();
    m_edits.append({old.begin, old.end, unitElement(unit, startTag, old.indentation)});
}

void LocaleFile::insertBehind(qsizetype place, const QList<XliffUnit> &units)
{
    const Place &old = m_places[place];
    QByteArray text;
    for (const XliffUnit &unit : units)
        text += '\n' + old.indentation + unitElement(unit, freshStartTag(unit), old.indentation);
    m_edits.append({old.end, old.end, text});
}

void LocaleFile::append(const QList<XliffUnit> &units, bool plural)
{
    const QByteArray outer(6, ' ');
    const QByteArray inner = plural ? outer + "  " : outer;
    if (plural) {
        const QByteArray id = xmlAttribute(unitId(*units.constFirst().resname));
        m_appended += outer + "<group id=\"" + id + "\" restype=\"x-cldr-plurals\">\n";
    }
    for (const XliffUnit &unit : units)
        m_appended += inner + unitElement(unit, freshStartTag(unit), inner) + '\n';
    if (plural)
        m_appended += outer + "</group>\n";
}

void LocaleFile::remove(const QString &key)
{
    for (const qsizetype unit : m_unitsOfKey.value(key))
        removeUnit(unit);
}

// With its line.
void LocaleFile::removeUnit(qsizetype unit)
{
    const Place &place = m_places[unit];
    qsizetype begin = place.begin - place.indentation.size();
    if (begin > 0 && m_document[begin - 1] == '\n')
        --begin;
    m_edits.append({begin, place.end, {}});
}

QByteArray LocaleFile::document() const
{
    QList<Edit> edits = m_edits;
    const qsizetype lineBegin = m_bodyEnd - indentationBefore(m_bodyEnd).size();
    if (!m_appended.isEmpty())
        edits.append({lineBegin, lineBegin, m_appended});
    // What is put in behind a unit comes before the removal of what follows it.
    std::stable_sort(edits.begin(), edits.end(), [](const Edit &a, const Edit &b) {
        return std::pair(a.begin, a.end) < std::pair(b.begin, b.end);
    });
    QByteArray result;
    result.reserve(m_document.size() + m_appended.size() + m_document.size() / 16);
    qsizetype done = 0;
    for (const Edit &edit : edits) {
        result += QByteArrayView(m_document).sliced(done, edit.begin - done);
        result += edit.text;
        done = edit.end;
    }
    return result + QByteArrayView(m_document).sliced(done);
}
