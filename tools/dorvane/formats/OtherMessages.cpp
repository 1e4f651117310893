#include "OtherMessages.h"

#include "CheckedDocument.h"
#include "NumerusForms.h"
#include "XliffUnits.h"

#include <DVPluralForm.h>
#include <DVPropertyList.h>

#include <QFileInfo>

namespace {

// The states of a target that is no finished translation (XLIFF 1.2, 2.2.11).
bool isUnfinished(const QString &state)
{
    return state == u"new" || state.startsWith(u"needs-");
}

bool isStringsFile(const QString &original)
{
    static const QStringList suffixes{QStringLiteral("strings"), QStringLiteral("stringsdict"),
                                      QStringLiteral("storyboard"), QStringLiteral("xib"),
                                      QStringLiteral("plist")};
    return suffixes.contains(QFileInfo(original).suffix());
}

QString noteText(const XliffUnit &unit, bool ofTranslator)
{
    QStringList texts;
    for (const XliffNote &note : unit.notes) {
        if (note.from != u"unfinished" && (note.from == u"translator") == ofTranslator)
            texts.append(note.text);
    }
    return texts.join(u'\n');
}

class Conversion
{
public:
    Conversion(const QString &locale, XliffKeys keys)
        : m_numerus(numerusCategories(locale))
        , m_keys(keys)
    {}

    MessageFile convert(const XliffDocument &document)
    {
        for (const XliffUnit &unit : document.units)
            add(unit);
        m_file.sourceLocale = document.sourceLocale;
        m_file.locale = document.targetLocale;
        return std::move(m_file);
    }

private:
    // "one" of "x[one]"; of numbered forms the category that their number stands for.
    QString categoryOf(const XliffUnit &unit) const
    {
        const QString suffix = formOfId(unit.id);
        DVPluralCategory known = DVPluralCategory::None;
        if (dv_pluralCategoryFromName(suffix, &known) && known != DVPluralCategory::None)
            return suffix;
        bool isNumber = false;
        const int number = suffix.toInt(&isNumber);
        return unit.inPluralGroup && isNumber ? m_numerus.value(number) : QString();
    }

    void add(const XliffUnit &unit)
    {
        const QString category = categoryOf(unit);
        const QString suffix = formOfId(unit.id);
        const bool isPlural = !suffix.isEmpty() && (!category.isEmpty() || unit.inPluralGroup);
        const QString base = isPlural ? unit.id.chopped(suffix.size() + 2) : unit.id;
        const qsizetype place = isPlural ? m_plurals.value(unit.original + u'\n' + base, -1) : -1;
        if (place < 0) {
            if (isPlural)
                m_plurals.insert(unit.original + u'\n' + base, m_file.messages.size());
            m_file.messages.append(messageOf(unit, base));
        }
        Message &message = place < 0 ? m_file.messages.last() : m_file.messages[place];
        message.plural = isPlural;
        if (unit.target && !unit.target->isEmpty() && (!isPlural || !category.isEmpty()))
            message.forms.insert(category, *unit.target);
        if (message.state != Message::Obsolete && isUnfinished(unit.state))
            message.state = Message::Unfinished;
        if (unit.lostElements > 0) {
            m_file.warnings.append({QStringLiteral("an inline element without text or equiv-text is left "
                                                   "out of the text: %1")
                                        .arg(unit.source.simplified().left(60)),
                                    unit.position});
        }
    }

    Message messageOf(const XliffUnit &unit, const QString &base) const
    {
        Message message;
        message.source = unit.source;
        message.context = unit.context;
        if (!unit.uses.isEmpty()) {
            message.comment = unit.uses.constFirst().comment;
            if (message.context.isEmpty())
                message.context = unit.uses.constFirst().context;
        }
        if (m_keys == XliffKeys::Auto && unit.resname)
            message.id = *unit.resname;
        else if (m_keys == XliffKeys::Id || (m_keys == XliffKeys::Auto && isStringsFile(unit.original)))
            message.id = base;
        message.state = unit.translate ? Message::Finished : Message::Obsolete;
        message.developerNote = noteText(unit, false);
        message.translatorNote = noteText(unit, true);
        message.position = unit.position;
        return message;
    }

    const QStringList m_numerus;
    const XliffKeys m_keys;
    MessageFile m_file;
    QHash<QString, qsizetype> m_plurals; // file and id to the message
};

} // namespace

std::optional<MessageFile> readXliffMessages(const QByteArray &document, const QString &locale,
                                             XliffKeys keys, FormatError *error)
{
    const auto read = readXliff(document, error);
    if (!read)
        return {};
    if (!read->otherTargetLocale.isEmpty()) {
        *error = {QStringLiteral("the document has files for %1 and for %2: make it one document for each "
                                 "language and import them one by one")
                      .arg(read->targetLocale, read->otherTargetLocale),
                  read->otherTargetPosition};
        return {};
    }
    return Conversion(locale.isEmpty() ? read->targetLocale : locale, keys).convert(*read);
}

std::optional<MessageFile> readBaseStringsMessages(const QByteArray &document, FormatError *error)
{
    const auto texts = dv_stringsFileFromData(document);
    if (!texts) {
        *error = {
            QStringLiteral("this is no strings file: it must hold \"key\" = \"text\"; or a property list"),
            {}};
        return {};
    }
    MessageFile file;
    QStringList keys = texts->keys();
    keys.sort();
    for (const QString &key : std::as_const(keys)) {
        Message message;
        message.id = key;
        message.source = texts->value(key);
        message.forms.insert(QString(), message.source);
        file.messages.append(message);
    }
    return file;
}

std::optional<MessageFile> readStringsMessages(const QByteArray &document,
                                               const QHash<QString, QString> &sources, FormatError *error)
{
    auto file = readBaseStringsMessages(document, error);
    if (!file)
        return {};
    for (Message &message : file->messages)
        message.source = sources.value(message.id, message.id);
    return file;
}
