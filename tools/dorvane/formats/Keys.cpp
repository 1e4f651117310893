#include "Keys.h"

#include "XmlCharacters.h"

#include <QHash>
#include <QSet>

namespace {

QString plainKey(const Message &message)
{
    return withControlPictures(message.id.isEmpty() ? message.source : message.id);
}

QString contextKey(const Message &message)
{
    return QString(withControlPictures(message.context) + QChar(keySeparator) +
                   withControlPictures(message.source));
}

QString commentKey(const Message &message)
{
    return QString(contextKey(message) + QChar(keySeparator) + withControlPictures(message.comment));
}

bool isTranslated(const Message &message)
{
    return message.state == Message::Finished && !message.forms.isEmpty();
}

// All forms as one text, to be compared by.
QString fingerprint(const Message &message)
{
    QString result;
    for (auto form = message.forms.cbegin(); form != message.forms.cend(); ++form)
        result += form.key() + QChar(u'\0') + form.value() + QChar(u'\0');
    return result;
}

// All that a lookup can tell messages apart by.
QString identity(const Message &message)
{
    return message.id.isEmpty() ? commentKey(message) : QString(QChar(u'\0') + message.id);
}

// The messages of a plain key.
class Source
{
public:
    void add(const Message &message)
    {
        if (!m_first)
            m_first = &message;
        if (!isTranslated(message))
            return;
        const QString print = fingerprint(message);
        if (!m_known.contains(print))
            m_translations.append(&message);
        m_known.insert(print);
        m_knownOfContext[message.context].insert(print);
    }

    const Message *first() const { return m_first; }
    // The first message of each translation.
    const QList<const Message *> &translations() const { return m_translations; }
    // Whether the comment has to be part of a message's key.
    bool needsComment(const Message &message) const
    {
        return !message.comment.isEmpty() && m_knownOfContext.value(message.context).size() > 1;
    }

private:
    const Message *m_first = nullptr;
    QList<const Message *> m_translations;
    QSet<QString> m_known;
    QHash<QString, QSet<QString>> m_knownOfContext;
};

class Keying
{
public:
    Keying(ContextKeys contexts, const std::function<bool(const QString &)> &isInUse)
        : m_contexts(contexts)
        , m_isInUse(isInUse)
    {}

    KeyedFile keyed(const QList<Message> &messages)
    {
        for (const Message &message : messages) {
            if (message.state != Message::Obsolete && !isDuplicate(message))
                m_sources[plainKey(message)].add(message);
        }
        for (const Message &message : messages) {
            if (message.state != Message::Obsolete && !m_duplicates.contains(&message))
                place(message);
        }
        m_result.replacedKeys.removeIf([this](const QString &key) { return m_places.contains(key); });
        return std::move(m_result);
    }

private:
    bool isDuplicate(const Message &message)
    {
        if (!isTranslated(message))
            return false;
        const Message *&first = m_translated[identity(message)];
        if (!first)
            first = &message;
        if (first == &message || first->forms == message.forms)
            return false;
        m_result.duplicates.append(DuplicateMessage{first, &message});
        m_duplicates.insert(&message);
        return true;
    }

    void place(const Message &message)
    {
        const QString plain = plainKey(message);
        const Source &source = m_sources[plain];
        const bool isFirst = source.first() == &message;
        const bool differs = source.translations().size() > 1;
        if (isFirst && differs)
            m_result.conflicts.append({source.translations()});
        const QString key = keyOf(message, source, plain, differs);
        if (isFirst && key != plain)
            m_result.replacedKeys.append(plain);
        const auto known = m_places.constFind(key);
        if (known == m_places.constEnd()) {
            m_places.insert(key, m_result.keys.size());
            m_result.keys.append({key, {&message}});
        } else {
            m_result.keys[*known].messages.append(&message);
        }
    }

    QString keyOf(const Message &message, const Source &source, const QString &plain, bool differs) const
    {
        if (!message.id.isEmpty() || m_contexts == ContextKeys::Never)
            return plain;
        const bool needsContext = m_contexts == ContextKeys::Always || differs ||
                                  m_isInUse(contextKey(message)) || m_isInUse(commentKey(message));
        if (!needsContext)
            return plain;
        const bool needsComment =
            source.needsComment(message) || (!message.comment.isEmpty() && m_isInUse(commentKey(message)));
        return needsComment ? commentKey(message) : contextKey(message);
    }

    ContextKeys m_contexts;
    const std::function<bool(const QString &)> &m_isInUse;
    QHash<QString, Source> m_sources;
    QHash<QString, qsizetype> m_places;
    QHash<QString, const Message *> m_translated; // the first one of each identity
    QSet<const Message *> m_duplicates;
    KeyedFile m_result;
};

} // namespace

KeyedFile keyedMessages(const QList<Message> &messages, ContextKeys contexts,
                        const std::function<bool(const QString &)> &isInUse)
{
    return Keying(contexts, isInUse).keyed(messages);
}

QStringList possibleKeys(const Message &message)
{
    if (!message.id.isEmpty())
        return {plainKey(message)};
    QStringList keys;
    if (!message.comment.isEmpty())
        keys.append(commentKey(message));
    keys.append(contextKey(message));
    keys.append(plainKey(message));
    return keys;
}
