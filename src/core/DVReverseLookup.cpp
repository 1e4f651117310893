// The controller's reverse lookups: from a text on screen to its record.
#include "DVCueMarkers.h"
#include "DVLog.h"
#include "DVLookup.h"
#include "DVMainController.h"

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

DVStringPtr DVMainController::dorvaneStringWithNonNestedString(const QString &text,
                                                               std::optional<QStringList> *values) const
{
    static const QString emptyNested = QStringLiteral("\u200B\u2062");
    const QStringList *supplied = values && *values ? &**values : nullptr;
    QStringList collected;
    qsizetype next = 0;
    const QString emptied =
        dv_enumerateCuesUsingBlock(text, [&](const QString &argument) -> std::optional<QString> {
            if (!supplied || argument != emptyNested)
                collected.append(argument);
            else if (next < supplied->size())
                collected.append(supplied->at(next++));
            else
                dv_logDebugLazily([&] {
                    return QStringLiteral("Nested string out of bounds %1 (%2)")
                        .arg(text, supplied->join(QStringLiteral(", ")));
                });
            return QString();
        });
    const DVStringPtr string = dorvaneStringForLocalizedString(emptied);
    if (values)
        *values = collected;
    return string;
}

QString DVMainController::pluralizedStringWithKey(const QString &key, const DVNumber &value) const
{
    return DVLookup::pluralizedString(key, value);
}
