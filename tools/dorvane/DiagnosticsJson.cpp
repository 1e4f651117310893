#include "DiagnosticsJson.h"

#include <QJsonArray>

using namespace Qt::Literals::StringLiterals;

namespace {

// Names in the order of the enumerations.
constexpr const char *starts[] = {"notStarted", "switchedOff", "disabled", "failed", "launched"};
constexpr const char *fallbacks[] = {"none", "laterCandidate", "baseLocale", "applicationsOwn"};
constexpr const char *fileSources[] = {"edited", "overTheAir", "packaged", "replaced"};
constexpr const char *outcomes[] = {"fresh",    "current", "notFound",      "refused",   "serverFailure",
                                    "noAnswer", "empty",   "undecryptable", "notStored", "unexpected"};
constexpr const char *textSources[] = {"nothing",  "edited", "overTheAir",
                                       "packaged", "base",   "applicationsOwn"};

template<typename Enumeration, size_t count>
QJsonValue name(const char *const (&names)[count], Enumeration value)
{
    return QLatin1StringView(names[size_t(value)]);
}

QJsonValue text(const QString &value)
{
    return value.isEmpty() ? QJsonValue() : QJsonValue(value);
}

QJsonValue date(const QDateTime &value)
{
    return value.isValid() ? QJsonValue(value.toUTC().toString(Qt::ISODate)) : QJsonValue();
}

QJsonValue error(const DVErrorOr &value)
{
    if (!value)
        return {};
    return QJsonObject{
        {u"domain"_qs, value->domain}, {u"code"_qs, value->code}, {u"description"_qs, value->description}};
}

QJsonObject json(const DVDiagnostics::File &file)
{
    return {{u"source"_qs, name(fileSources, file.source)},
            {u"locale"_qs, file.locale},
            {u"path"_qs, file.path},
            {u"size"_qs, file.size},
            {u"stored"_qs, date(file.stored)},
            {u"published"_qs, date(file.published)},
            {u"expires"_qs, date(file.expires)},
            {u"expired"_qs, file.expired},
            {u"loaded"_qs, file.loaded},
            {u"strings"_qs, file.strings}};
}

QJsonObject json(const DVDiagnostics::Attempt &attempt)
{
    return {{u"locale"_qs, attempt.locale}, {u"outcome"_qs, attempt.outcome}};
}

QJsonObject json(const DVDiagnostics::Delivery &delivery)
{
    return {{u"locale"_qs, delivery.locale},      {u"outcome"_qs, name(outcomes, delivery.outcome)},
            {u"status"_qs, delivery.status},      {u"atLaunch"_qs, delivery.atLaunch},
            {u"error"_qs, error(delivery.error)}, {u"when"_qs, date(delivery.when)}};
}

template<typename T> QJsonArray array(const QList<T> &values)
{
    QJsonArray result;
    for (const T &value : values)
        result.append(json(value));
    return result;
}

QJsonObject startJson(const DVDiagnostics &value)
{
    return {{u"start"_qs, name(starts, value.start)},
            {u"startInWords"_qs, text(value.startInWords)},
            {u"launched"_qs, value.launched},
            {u"mode"_qs, text(value.mode)},
            {u"libraryVersion"_qs, value.libraryVersion},
            {u"projectId"_qs, text(value.projectId)},
            {u"applicationVersion"_qs, text(value.applicationVersion)},
            {u"deviceLanguages"_qs, QJsonArray::fromStringList(value.deviceLanguages)},
            {u"deviceLocale"_qs, text(value.deviceLocale)},
            {u"servedLocale"_qs, text(value.servedLocale)},
            {u"baseLocale"_qs, text(value.baseLocale)},
            {u"textsAreMarked"_qs, value.textsAreMarked},
            {u"fallback"_qs, name(fallbacks, value.fallback)},
            {u"choice"_qs, text(value.choice)},
            {u"attempts"_qs, array(value.attempts)}};
}

} // namespace

QJsonObject jsonFromDiagnostics(const DVDiagnostics &value)
{
    QJsonObject object = startJson(value);
    object.insert(u"files"_qs, array(value.files));
    object.insert(u"deliveries"_qs, array(value.deliveries));
    object.insert(u"lastError"_qs, value.lastError ? error(value.lastError->error) : QJsonValue());
    object.insert(u"lastErrorWhen"_qs, value.lastError ? date(value.lastError->when) : QJsonValue());
    object.insert(u"servedStrings"_qs, value.servedStrings);
    object.insert(u"baseStrings"_qs, value.baseStrings);
    object.insert(u"requests"_qs, value.requests);
    object.insert(u"publications"_qs, value.publications);
    object.insert(u"languageChanges"_qs, value.languageChanges);
    object.insert(u"servers"_qs, QJsonObject{{u"api"_qs, text(value.servers.api)},
                                             {u"sso"_qs, text(value.servers.sso)},
                                             {u"delivery"_qs, text(value.servers.delivery)},
                                             {u"deliveryCdn"_qs, text(value.servers.deliveryCdn)}});
    const auto &waiting = value.analytics.waiting;
    object.insert(u"analytics"_qs,
                  QJsonObject{{u"enabled"_qs, value.analytics.enabled},
                              {u"waiting"_qs, waiting ? QJsonValue(qint64(*waiting)) : QJsonValue()},
                              {u"lastSent"_qs, date(value.analytics.lastSent)}});
    return object;
}

QJsonObject jsonFromTextOrigin(const DVTextOrigin &origin)
{
    return {{u"source"_qs, name(textSources, origin.source)},
            {u"locale"_qs, text(origin.locale)},
            {u"file"_qs, text(origin.file)},
            {u"because"_qs, origin.because}};
}
