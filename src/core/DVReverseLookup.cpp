// The controller's reverse lookups: from a text on screen to its record.
#include "DVCueMarkers.h"
#include "DVLog.h"
#include "DVLookup.h"
#include "DVMainController.h"
#include "DVNestedPieces.h"

namespace {

QString textOf(const DVStringValue &value)
{
    const DVStringPtr *string = std::get_if<DVStringPtr>(&value);
    if (!string)
        return std::get<QString>(value);
    return *string ? (*string)->localizedFormat : QString();
}

// What fills the arguments of a text in which nested strings are empty.
class ArgumentValues
{
public:
    ArgumentValues(const QString &text, const std::optional<QList<DVStringValue>> &nested)
        : m_text(text)
        , m_nested(nested)
    {}

    QList<DVStringValue> all()
    {
        QList<DVStringValue> values;
        for (const QStringView argument : dv_argumentsInString(m_text)) {
            if (const auto value = valueOf(argument))
                values.append(*value);
        }
        return values;
    }

private:
    std::optional<DVStringValue> valueOf(QStringView argument)
    {
        if (!m_nested || !argument.contains(emptyNested))
            return argument.toString();
        if (argument == emptyNested)
            return nextNested();
        QString filled;
        for (qsizetype found = argument.indexOf(emptyNested); found >= 0;
             found = argument.indexOf(emptyNested)) {
            filled += argument.first(found);
            filled += textOf(nextNested().value_or(emptyNested.toString()));
            argument = argument.sliced(found + emptyNested.size());
        }
        return QString(filled + argument);
    }

    std::optional<DVStringValue> nextNested()
    {
        if (m_next < m_nested->size())
            return m_nested->at(m_next++);
        dv_logDebugLazily([this] {
            QStringList nested;
            for (const DVStringValue &value : *m_nested)
                nested.append(textOf(value));
            return QStringLiteral("Nested string out of bounds %1 (%2)")
                .arg(m_text, nested.join(QStringLiteral(", ")));
        });
        return {};
    }

    static constexpr QStringView emptyNested = dv_emptyNestedString;

    const QString &m_text;
    const std::optional<QList<DVStringValue>> &m_nested;
    qsizetype m_next = 0;
};

} // namespace

DVStringPtr DVMainController::dorvaneStringForLocalizedString(const QString &text) const
{
    QString marked = text;
    if (!marked.startsWith(QChar(DVCueMarker::stringStart)))
        marked.prepend(QChar(DVCueMarker::stringStart));
    if (!marked.endsWith(QChar(DVCueMarker::stringEnd)))
        marked.append(QChar(DVCueMarker::stringEnd));
    const QString hash = dv_lowerCased(marked);
    if (m_localeStrings) {
        if (const DVStringPtr string = m_localeStrings->dorvaneStringForLocalizedString(hash))
            return string;
    }
    return m_baseLocaleStrings ? m_baseLocaleStrings->dorvaneStringForLocalizedString(hash) : nullptr;
}

DVStringPtr
DVMainController::dorvaneStringWithNonNestedString(const QString &text,
                                                   std::optional<QList<DVStringValue>> *values) const
{
    const DVStringPtr string = dorvaneStringForLocalizedString(
        dv_enumerateCuesUsingBlock(text, [](const QString &) { return std::nullopt; }));
    if (values)
        *values = ArgumentValues(text, *values).all();
    return string;
}

QString DVMainController::pluralizedStringWithKey(const QString &key, const DVNumber &value) const
{
    return DVLookup::pluralizedString(key, value);
}
