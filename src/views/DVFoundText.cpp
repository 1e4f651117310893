#include "DVFoundText.h"

#include "DVLog.h"
#include "DVMainController.h"
#include "DVMarkup.h"
#include "DVPlaceholderPlaces.h"

#include <QHash>

#include <algorithm>

namespace {

// What fills one argument of a piece, with the strings inside it emptied.
struct Argument
{
    QStringView content;
    qsizetype firstChild = 0; // of the piece's children
    qsizetype children = 0;
};

QList<Argument> argumentsOf(const DVNestedPiece &piece)
{
    QList<Argument> arguments;
    const QStringView own(piece.text);
    qsizetype position = 1; // behind the piece's own start
    qsizetype child = 0;
    for (const QStringView content : dv_argumentsInString(own.chopped(1))) {
        const qsizetype begin = content.data() - own.data();
        child += own.sliced(position, begin - position).count(dv_emptyNestedString);
        const qsizetype inside = content.count(dv_emptyNestedString);
        arguments.append({content, child, inside});
        child += inside;
        position = begin + content.size();
    }
    return arguments;
}

QStringView displayed(const DVNestedPiece &piece)
{
    return QStringView(piece.item.text).sliced(piece.item.location, piece.item.length);
}

// Takes the tags outside of its arguments out of a piece's own text, and with them the strings in their
// attributes.
void removeTags(DVNestedPiece &piece)
{
    QString text;
    QList<qsizetype> children;
    bool inArgument = false;
    qsizetype position = 0;
    qsizetype child = 0;
    const QStringView own(piece.text);
    const auto copy = [&](qsizetype end) {
        const QStringView stretch = own.sliced(position, end - position);
        // The piece's own markers are no string inside it.
        qsizetype inside = stretch.count(dv_emptyNestedString) - (own == dv_emptyNestedString);
        for (; inside > 0 && child < piece.children.size(); --inside)
            children.append(piece.children.at(child++));
        for (const QChar c : stretch) {
            if (c == DVCueMarker::argumentStart || c == DVCueMarker::argumentEnd)
                inArgument = c == DVCueMarker::argumentStart;
        }
        text += stretch;
        position = end;
    };
    for (const DVMarkupTag &tag : DVMarkup::tagsIn(own)) {
        copy(tag.begin);
        if (inArgument) {
            copy(tag.end);
        } else {
            child += own.sliced(tag.begin, tag.end - tag.begin).count(dv_emptyNestedString);
            text += DVMarkup::textOf(own.sliced(tag.begin, tag.end - tag.begin)); // of a line break
            position = tag.end;
        }
    }
    copy(own.size());
    piece.text = text;
    piece.children = children;
}

bool isInTag(const QList<DVMarkupTag> &tags, qsizetype position)
{
    const auto behind = std::upper_bound(tags.begin(), tags.end(), position,
                                         [](qsizetype p, const DVMarkupTag &tag) { return p < tag.begin; });
    return behind != tags.begin() && position < std::prev(behind)->end;
}

// What is served now under the key of the string, in its form or the one that stands in for it.
DVStringPtr currentForm(const DVFoundPiece &found)
{
    const DVStringPtr form = found.group ? found.group->stringForPluralForm(found.pluralForm, true) : nullptr;
    if (!form)
        return nullptr;
    const auto &controller = DVMainController::sharedInstance();
    const std::shared_ptr<DVLocaleStrings> stores[] = {controller.localeStrings(),
                                                       controller.baseLocaleStrings()};
    for (const auto &store : stores) {
        const DVStringPtr current = store ? store->dorvaneStringForKey(form->key, form->pluralForm) : nullptr;
        if (current && !current->localizedFormat.isEmpty())
            return current;
    }
    return nullptr;
}

QString described(const QList<DVStringValue> &values)
{
    QStringList texts;
    for (const DVStringValue &value : values) {
        const DVStringPtr *string = std::get_if<DVStringPtr>(&value);
        texts.append(string && *string ? (*string)->description() : std::get<QString>(value));
    }
    return dv_stringShowingCues(QString(u'(' % texts.join(QStringLiteral(", ")) % u')'));
}

} // namespace

// Finding

DVFoundText DVFoundText::find(const QString &text, Kind kind)
{
    DVFoundText found;
    found.m_kind = kind;
    found.search(text);
    if (kind == Html && found.flattenSpreadPieces())
        found.search(QString(found.m_text));
    return found;
}

void DVFoundText::search(const QString &text)
{
    const QList<DVEditionItem> items = dv_croppedToMarkers(dv_localizedStringsInString(text));
    m_text = items.isEmpty() ? text : items.front().text;
    m_pieces.clear();
    auto pieces = dv_nestedPieces(items);
    if (!pieces || pieces->isEmpty())
        return;
    const QList<DVMarkupTag> tags = m_kind == Html ? DVMarkup::tagsIn(m_text) : QList<DVMarkupTag>();
    m_pieces.reserve(pieces->size());
    for (DVNestedPiece &piece : *pieces) {
        DVFoundPiece found;
        found.piece = std::move(piece);
        found.inTag = isInTag(tags, found.piece.item.location);
        lookUp(found);
        m_pieces.append(std::move(found));
    }
}

void DVFoundText::lookUp(DVFoundPiece &found) const
{
    if (m_kind == Plain) {
        lookUpAs(found, found.piece.text);
        return;
    }
    const QString emptied =
        dv_enumerateCuesUsingBlock(found.piece.text, [](const QString &) { return std::nullopt; });
    if (!found.inTag && DVMarkup::textOf(emptied) != emptied) {
        lookUpAs(found, found.piece.text);
        found.use = DVFoundPiece::Source;
        if (found.string)
            return;
    }
    found.use = DVFoundPiece::Text;
    removeTags(found.piece);
    lookUpAs(found, DVMarkup::textOf(found.piece.text));
}

void DVFoundText::lookUpAs(DVFoundPiece &found, const QString &text) const
{
    std::optional<QList<DVStringValue>> values = nestedValues(found.piece);
    found.string = DVMainController::sharedInstance().dorvaneStringWithNonNestedString(text, &values);
    if (!found.string)
        return;
    found.values = std::move(*values);
    found.group = found.string->group.lock();
    found.pluralForm = found.string->pluralForm;
    found.foundFormat = found.string->localizedFormat;
    dv_logDebugLazily([&] {
        return QStringLiteral("Found string %1 for localized string %2")
            .arg(found.string->description(), dv_stringShowingCues(text));
    });
}

// A string that is all of an argument is its value. One that is unknown, or a part of it only, is a text.
QList<DVStringValue> DVFoundText::nestedValues(const DVNestedPiece &piece) const
{
    QList<DVStringValue> values;
    if (piece.children.isEmpty())
        return values;
    for (const Argument &argument : argumentsOf(piece)) {
        const qsizetype end = std::min(argument.firstChild + argument.children, piece.children.size());
        for (qsizetype i = argument.firstChild; i < end; ++i) {
            const DVFoundPiece &child = m_pieces.at(piece.children.at(i));
            if (child.string && argument.content == dv_emptyNestedString)
                values.append(child.string);
            else if (m_kind == Html)
                values.append(DVMarkup::textOf(displayed(child.piece)));
            else
                values.append(displayed(child.piece).toString());
        }
    }
    return values;
}

// An editor writes an element for each format: a string in which the format changes begins in one and ends in
// another.
bool DVFoundText::flattenSpreadPieces()
{
    QString text;
    qsizetype position = 0;
    for (qsizetype i = m_pieces.size() - 1; i >= 0; --i) {
        const DVFoundPiece &found = m_pieces.at(i);
        const DVEditionItem &item = found.piece.item;
        if (item.level != 1 || !found.string || found.use == DVFoundPiece::Source || found.inTag ||
            DVMarkup::isBalanced(displayed(found.piece)))
            continue;
        text += QStringView(m_text).sliced(position, item.location - position);
        text += DVMarkup::flattened(displayed(found.piece));
        position = item.location + item.length;
    }
    if (position == 0)
        return false;
    m_text = text + QStringView(m_text).sliced(position);
    return true;
}

// Rebuilding

// From the inside out, without recursion: a piece's children come before it.
class DVFoundText::Rebuilding
{
public:
    explicit Rebuilding(const DVFoundText &found)
        : m_found(found)
    {}

    void renderPiecesBefore(qsizetype end)
    {
        m_rendered.reserve(end);
        for (qsizetype i = m_rendered.size(); i < end; ++i) {
            const DVStringPtr current = currentForm(m_found.m_pieces.at(i));
            m_rendered.append(current ? filled(i, *current) : displayedText(i));
        }
    }

    const QString &rendered(qsizetype piece) const { return m_rendered.at(piece); }

    // The string's text with the values of the piece.
    QString filled(qsizetype number, const DVString &string)
    {
        const DVFoundPiece &found = m_found.m_pieces.at(number);
        const QString source = asSource(found, string.localizedFormat);
        const QList<QString> contents = contentsOf(found.piece);
        if (contents.isEmpty())
            return source;
        const QList<qsizetype> chosen = choice(found, string, contents.size());
        qsizetype size = source.size();
        for (const qsizetype content : chosen)
            size += content < 0 ? 0 : contents.at(content).size();
        if (size > m_left) // a translation that repeats its arguments, inside of another, and so on
            return displayedText(number);
        m_left -= size;

        qsizetype next = 0;
        return dv_enumerateCuesUsingBlock(source, [&](const QString &) -> std::optional<QString> {
            const qsizetype index = next++;
            if (index < chosen.size() && chosen.at(index) >= 0)
                return contents.at(chosen.at(index));
            dv_logDebugLazily([&] {
                return QStringLiteral("Not enough values for dorvane string %1 (index %2 values %3)")
                    .arg(string.description(), QString::number(index), described(found.values));
            });
            return std::nullopt;
        });
    }

private:
    QString displayedText(qsizetype number) const
    {
        return displayed(m_found.m_pieces.at(number).piece).toString();
    }

    QString asSource(const DVFoundPiece &found, const QString &format) const
    {
        if (m_found.m_kind == Plain || found.use == DVFoundPiece::Source)
            return format;
        QString source = DVMarkup::escaped(format, found.inTag);
        if (found.inTag)
            return source;
        const QStringView shown = displayed(found.piece);
        if (DVMarkup::breaksLines(shown))
            source.replace(u'\n', QStringLiteral("<br/>"));
        const auto around = DVMarkup::aroundFirstCharacter(shown);
        if (around.before.isEmpty())
            return source;
        source.insert(source.startsWith(QChar(DVCueMarker::stringStart)) ? 1 : 0, around.before);
        source.insert(source.size() - (source.endsWith(QChar(DVCueMarker::stringEnd)) ? 1 : 0), around.after);
        return source;
    }

    // What fills each argument now.
    QList<QString> contentsOf(const DVNestedPiece &piece) const
    {
        QList<QString> contents;
        for (const Argument &argument : argumentsOf(piece)) {
            QString content;
            QStringView rest = argument.content;
            qsizetype child = argument.firstChild;
            for (qsizetype found = rest.indexOf(dv_emptyNestedString);
                 found >= 0 && child < piece.children.size(); found = rest.indexOf(dv_emptyNestedString)) {
                content += rest.first(found);
                content += m_rendered.at(piece.children.at(child++));
                rest = rest.sliced(found + dv_emptyNestedString.size());
            }
            contents.append(QString(content + rest));
        }
        return contents;
    }

    // For each argument of the new text the number of the content that fills it, or -1.
    static QList<qsizetype> choice(const DVFoundPiece &found, const DVString &string, qsizetype contents)
    {
        QHash<int, qsizetype> byPlace;
        const QList<int> places = dv_placesOfSpecifiers(dv_argumentsInString(found.foundFormat));
        for (qsizetype i = 0; i < std::min(places.size(), contents); ++i) {
            if (!byPlace.contains(places.at(i)))
                byPlace.insert(places.at(i), i);
        }
        QList<qsizetype> chosen;
        const QList<int> newPlaces = dv_placesOfSpecifiers(dv_argumentsInString(string.localizedFormat));
        for (const int place : newPlaces) {
            if (place != dv_noPlace)
                chosen.append(byPlace.value(place, -1));
        }
        return chosen;
    }

    const DVFoundText &m_found;
    QList<QString> m_rendered;
    qsizetype m_left = dv_maximumSumOfPieces;
};

QString DVFoundText::rebuilt() const
{
    Rebuilding rebuilding(*this);
    rebuilding.renderPiecesBefore(m_pieces.size());
    QString text;
    qsizetype position = 0;
    for (qsizetype i = m_pieces.size() - 1; i >= 0; --i) {
        const DVEditionItem &item = m_pieces.at(i).piece.item;
        if (item.level != 1 || !m_pieces.at(i).string)
            continue;
        text += QStringView(m_text).sliced(position, item.location - position);
        text += rebuilding.rendered(i);
        position = item.location + item.length;
    }
    return text + QStringView(m_text).sliced(position);
}

QString DVFoundText::rebuiltPiece(qsizetype piece, const DVString &string) const
{
    Rebuilding rebuilding(*this);
    rebuilding.renderPiecesBefore(piece);
    return rebuilding.filled(piece, string);
}
