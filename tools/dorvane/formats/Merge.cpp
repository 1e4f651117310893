#include "Merge.h"

#include "NumerusForms.h"
#include "XmlCharacters.h"

#include <DocumentLines.h>

#include <algorithm>

namespace {

// Beyond, a tag would be longer than applications read.
constexpr qsizetype longestKey = 8 * 1024;
constexpr qsizetype longestText = 256 * 1024;

QString shortened(const QString &text)
{
    constexpr qsizetype enough = 60;
    const QString line = text.simplified();
    const QString cut = line.size() > enough ? QString(line.first(enough) + u"…") : line;
    return u'"' + forTerminal(cut) + u'"';
}

// "Window", or "Window (comment)"
QString whereUsed(const QString &context, const QString &comment)
{
    const QString addition = comment.isEmpty() ? QString() : QStringLiteral(" (%1)").arg(comment);
    return forTerminal(QString(context + addition).simplified());
}

QString at(const Message &message, const QString &what)
{
    return FormatError{what, message.position}.text(forTerminal(message.path));
}

QString firstText(const Message &message)
{
    return message.forms.isEmpty() ? QString() : message.forms.first();
}

class Merging
{
public:
    Merging(LocaleFile &file, const MergeOptions &options)
        : m_file(file)
        , m_options(options)
        , m_numerus(numerusCategories(options.locale))
        , m_filled(filledCategories(options.locale))
    {}

    MergeResult merge(const QList<Message> &messages, const std::function<void(qsizetype)> &progress)
    {
        const auto keyed = keyedMessages(messages, m_options.contexts,
                                         [this](const QString &key) { return m_file.has(key); });
        for (const KeyConflict &conflict : keyed.conflicts)
            report(conflict);
        for (const DuplicateMessage &duplicate : keyed.duplicates)
            report(duplicate);
        m_result.duplicates = int(keyed.duplicates.size());
        countStates(messages);
        qsizetype done = 0;
        for (const KeyedMessages &key : keyed.keys) {
            put(key);
            if (++done % reportEvery == 0 && progress)
                progress(done);
        }
        for (const QString &key : keyed.replacedKeys)
            m_file.remove(key);
        const QSet<QString> replaced(keyed.replacedKeys.cbegin(), keyed.replacedKeys.cend());
        for (const QString &key : m_file.keys()) {
            if (!m_put.contains(key) && !replaced.contains(key))
                ++m_result.kept;
        }
        return m_result;
    }

private:
    void countStates(const QList<Message> &messages)
    {
        for (const Message &message : messages) {
            m_result.obsolete += message.state == Message::Obsolete ? 1 : 0;
            m_result.unfinished += message.state == Message::Unfinished ? 1 : 0;
        }
    }

    void report(const KeyConflict &conflict)
    {
        const Message &first = *conflict.messages.constFirst();
        QString text = at(first, QStringLiteral("warning: %1 has %2 different translations:")
                                     .arg(shortened(first.source))
                                     .arg(conflict.messages.size()));
        for (const Message *message : conflict.messages) {
            text += QStringLiteral("\n    %1: %2, line %3")
                        .arg(whereUsed(message->context, message->comment), shortened(firstText(*message)))
                        .arg(message->position.line);
        }
        text +=
            m_options.contexts == ContextKeys::Never
                ? QStringLiteral("\n  The first one is used everywhere; --contexts auto keeps all of them.")
                : QStringLiteral("\n  Each is kept under a key with its context. Make them the same, or say "
                                 "--contexts never, to have one key.");
        m_result.warnings.append(text);
    }

    void report(const DuplicateMessage &duplicate)
    {
        const QString name =
            shortened(duplicate.second->id.isEmpty() ? duplicate.second->source : duplicate.second->id);
        m_result.warnings.append(
            at(*duplicate.second,
               QStringLiteral("warning: %1 is a duplicate with another translation:").arg(name)) +
            QStringLiteral("\n    %1\n    %2\n  The first one is kept. Remove one of them.")
                .arg(at(*duplicate.first, shortened(firstText(*duplicate.first))),
                     at(*duplicate.second, shortened(firstText(*duplicate.second)))));
    }

    // The folder's text comes from contexts that these messages know nothing of, so from another file.
    void warnOfReplaced(const KeyedMessages &keyed, const LocaleString &string)
    {
        const QList<XliffUse> uses = m_file.uses(string.key);
        if (uses.isEmpty() || string.uses.isEmpty())
            return;
        const auto isHere = [&string](const XliffUse &use) {
            return std::any_of(string.uses.cbegin(), string.uses.cend(), [&use](const XliffUse &here) {
                return here.context == use.context && here.comment == use.comment;
            });
        };
        if (std::any_of(uses.cbegin(), uses.cend(), isHere))
            return;
        for (auto form = string.forms.cbegin(); form != string.forms.cend(); ++form) {
            const QString old = m_file.target(string.key, form.key());
            if (old.isEmpty() || !form.value() || *form.value() == old)
                continue;
            const Message &first = *keyed.messages.constFirst();
            m_result.warnings.append(
                at(first,
                   QStringLiteral("warning: %1 has 2 different translations:\n    %2: %3, in the folder"
                                  "\n    %4: %5, line %6\n  The last one is used everywhere. Import the "
                                  "files of both in one call, and each is kept under a key with its "
                                  "context.")
                       .arg(shortened(first.source),
                            whereUsed(uses.constFirst().context, uses.constFirst().comment), shortened(old),
                            whereUsed(first.context, first.comment), shortened(*form.value()))
                       .arg(first.position.line)));
            return;
        }
    }

    void put(const KeyedMessages &keyed)
    {
        if (!isUsable(keyed))
            return;
        const LocaleString string = stringOf(keyed);
        warnOfReplaced(keyed, string);
        m_put.insert(keyed.key);
        switch (m_file.put(string)) {
        case LocaleFile::New:
            ++m_result.fresh;
            break;
        case LocaleFile::Changed:
            ++m_result.changed;
            break;
        case LocaleFile::Unchanged:
            ++m_result.unchanged;
        }
    }

    bool isUsable(const KeyedMessages &keyed)
    {
        const Message &first = *keyed.messages.constFirst();
        if (keyed.key.isEmpty())
            return false;
        if (keyed.key.size() > longestKey) {
            m_result.warnings.append(
                at(first, QStringLiteral("warning: left out: applications read keys of at most %1 characters")
                              .arg(longestKey)));
            return false;
        }
        if (!isXmlText(keyed.key)) {
            m_result.warnings.append(
                at(first, QStringLiteral("warning: left out: its key holds a character that XML has not")));
            return false;
        }
        return true;
    }

    LocaleString stringOf(const KeyedMessages &keyed)
    {
        const auto firstIn = [&keyed](Message::State state) -> const Message * {
            const auto found =
                std::find_if(keyed.messages.cbegin(), keyed.messages.cend(), [state](const Message *message) {
                    return message->state == state && !message->forms.isEmpty();
                });
            return found == keyed.messages.cend() ? nullptr : *found;
        };
        const Message &first = *keyed.messages.constFirst();
        const Message *served = firstIn(Message::Finished);
        LocaleString string;
        string.key = keyed.key;
        string.source = withControlPictures(first.source.isEmpty() ? keyed.key : first.source);
        bool isPlural = false;
        for (const Message *message : keyed.messages) {
            isPlural = isPlural || message->plural;
            addUse(string, *message, served);
            addNotes(string, *message);
        }
        setForms(string, isPlural, served, first);
        if (const Message *suggested = firstIn(Message::Unfinished))
            string.suggestions = writableForms(*suggested);
        return string;
    }

    void addUse(LocaleString &string, const Message &message, bool isServed) const
    {
        if (message.context.isEmpty() && message.comment.isEmpty() && message.sourceFile.isEmpty())
            return;
        XliffUse use;
        use.context = withControlPictures(message.context);
        use.comment = withControlPictures(message.comment);
        if (m_options.locations && !message.sourceFile.isEmpty()) {
            use.sourceFile = message.sourceFile;
            use.sourceLine = QString::number(message.sourceLine);
        }
        if (isServed && message.state == Message::Unfinished) {
            const QString texts = message.texts.join(QChar(keySeparator));
            use.unfinished = hasControlCharacters(texts) || !isXmlText(texts) ? QString() : texts;
        }
        if (isXmlText(use.context) && isXmlText(use.comment) && !string.uses.contains(use))
            string.uses.append(use);
    }

    static void addNotes(LocaleString &string, const Message &message)
    {
        const auto add = [&string](const char16_t *from, const QString &text) {
            const XliffNote note{QString::fromUtf16(from), withControlPictures(text)};
            if (!text.isEmpty() && isXmlText(text) && !string.notes.contains(note))
                string.notes.append(note);
        };
        add(u"developer", message.developerNote);
        add(u"translator", message.translatorNote);
    }

    // Without texts that cannot stand in the file.
    QMap<QString, QString> writableForms(const Message &message)
    {
        QMap<QString, QString> forms = message.forms;
        const auto removed = forms.removeIf([](const auto &form) {
            return hasControlCharacters(form.value()) || !isXmlText(form.value()) ||
                   form.value().size() > longestText;
        });
        if (removed > 0) {
            m_result.warnings.append(
                at(message, QStringLiteral("warning: the translation of %1 is left out: it holds a character "
                                           "that XML has not, or is too long")
                                .arg(shortened(message.source))));
        }
        return forms;
    }

    void setForms(LocaleString &string, bool isPlural, const Message *served, const Message &first)
    {
        QMap<QString, QString> texts = served ? writableForms(*served) : QMap<QString, QString>();
        if (!m_file.has(string.key))
            takeOver(texts, first);
        if (!isPlural) {
            string.forms.insert(QString(), optional(texts.value(QString())));
            return;
        }
        texts.remove(QString());
        for (const QString &category : m_numerus)
            string.forms.insert(category, std::nullopt);
        for (auto text = texts.cbegin(); text != texts.cend(); ++text)
            string.forms.insert(text.key(), text.value());
        for (const FilledCategory &filled : m_filled) {
            if (!string.forms.contains(filled.category))
                string.forms.insert(filled.category, filledText(string.key, filled, texts));
        }
    }

    // What stands in the file for a category that no numerus form has stays when somebody gave it a
    // text of its own.
    std::optional<QString> filledText(const QString &key, const FilledCategory &filled,
                                      const QMap<QString, QString> &texts) const
    {
        const QString now = m_file.target(key, filled.category);
        if (!now.isEmpty() && now != m_file.target(key, filled.from))
            return {};
        return optional(texts.value(filled.from));
    }

    // A key that gets a context keeps the translation that it had without.
    void takeOver(QMap<QString, QString> &texts, const Message &message) const
    {
        if (!texts.isEmpty())
            return;
        for (const QString &key : possibleKeys(message)) {
            for (const QString &category : m_numerus + QStringList{QString(), QStringLiteral("other")}) {
                if (const QString text = m_file.target(key, category); !text.isEmpty())
                    texts.insert(category, text);
            }
            if (!texts.isEmpty())
                return;
        }
    }

    static std::optional<QString> optional(const QString &text)
    {
        return text.isEmpty() ? std::nullopt : std::optional(text);
    }

    static constexpr qsizetype reportEvery = 10'000;

    LocaleFile &m_file;
    const MergeOptions &m_options;
    const QStringList m_numerus;
    const QList<FilledCategory> m_filled;
    QSet<QString> m_put;
    MergeResult m_result;
};

} // namespace

MergeResult mergeMessages(LocaleFile &file, const QList<Message> &messages, const MergeOptions &options,
                          const std::function<void(qsizetype)> &progress)
{
    return Merging(file, options).merge(messages, progress);
}
