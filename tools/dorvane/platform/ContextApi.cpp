#include "ContextApi.h"

#include "Multipart.h"
#include "PngCheck.h"

#include <QDateTime>
#include <QFileInfo>
#include <QRegularExpression>
#include <QUuid>

#include <algorithm>
#include <cmath>

namespace {

constexpr double largestCoordinate = 1'000'000;
constexpr qsizetype mostBindings = 10000;

QString pictureName(const QString &contextUid)
{
    return QStringLiteral("contexts/%1.png").arg(contextUid);
}

// As this server makes them: such a name leads nowhere else.
bool isContextUid(const QString &uid)
{
    static const QRegularExpression digits(QStringLiteral("\\A[0-9a-f]{32}\\z"));
    return digits.match(uid).hasMatch();
}

QJsonObject checkedCoordinates(const QJsonObject &given, QStringList *errors)
{
    QJsonObject coordinates;
    for (const char *name : {"top", "left", "height", "width"}) {
        const double value = RestRequest::number(given, name, errors);
        if (!std::isfinite(value) || std::abs(value) > largestCoordinate)
            errors->append(QStringLiteral("\"%1\" is out of range").arg(QLatin1StringView(name)));
        coordinates.insert(QString::fromLatin1(name), value);
    }
    if (coordinates.value(QStringLiteral("height")).toDouble() < 0 ||
        coordinates.value(QStringLiteral("width")).toDouble() < 0)
        errors->append(QStringLiteral("\"height\" and \"width\" must not be negative"));
    return coordinates;
}

} // namespace

Answer ContextApi::createContext(const RestRequest &request)
{
    QString error;
    const auto parts = formParts(request.http.value("Content-Type"), request.http.body(), &error);
    if (!parts)
        return RestRequest::invalid({error});
    const auto picture = std::find_if(parts->begin(), parts->end(),
                                      [](const FormPart &part) { return part.name == u"content"; });
    if (picture == parts->end())
        return RestRequest::invalid({QStringLiteral("the part \"content\" is missing")});
    if (const QString problem = pngProblem(picture->content); !problem.isEmpty())
        return RestRequest::invalid({QStringLiteral("the picture cannot be used: ") + problem});

    const QString uid = QUuid::createUuid().toString(QUuid::Id128);
    if (!m_folder.change([&] { return m_folder.write(pictureName(uid), picture->content); }))
        return RestRequest::failed();
    return RestRequest::success(QJsonObject{{QStringLiteral("contextUid"), uid},
                                            {QStringLiteral("contextType"), QStringLiteral("IMAGE")}});
}

// The picture may have been taken in any language.
bool ContextApi::isKnownString(const Project &project, const QString &hashcode)
{
    return std::any_of(project.targetLocales.begin(), project.targetLocales.end(),
                       [&](const QString &locale) {
                           return m_catalogues.ofLocale(locale, project).find(hashcode) != nullptr;
                       });
}

QJsonObject ContextApi::checkedBinding(const RestRequest &request, const QJsonValue &given,
                                       QStringList *errors)
{
    const QJsonObject binding = given.toObject();
    const QString context = RestRequest::text(binding, "contextUid", errors);
    const QString hashcode = RestRequest::text(binding, "stringHashcode", errors);
    const QJsonObject frame = RestRequest::object(binding, "coordinates", errors);
    if (!errors->isEmpty())
        return {};
    const QJsonObject coordinates = checkedCoordinates(frame, errors);
    if (!isContextUid(context) || !QFileInfo(m_folder.path(pictureName(context))).isFile())
        errors->append(QStringLiteral("there is no context \"%1\"").arg(context));
    if (!isKnownString(request.project, hashcode))
        errors->append(QStringLiteral("there is no string with the hashcode \"%1\"").arg(hashcode));
    return {{QStringLiteral("bindingUid"), QUuid::createUuid().toString(QUuid::Id128)},
            {QStringLiteral("at"), QDateTime::currentDateTimeUtc().toString(Qt::ISODateWithMs)},
            {QStringLiteral("by"), request.caller.name},
            {QStringLiteral("contextUid"), context},
            {QStringLiteral("stringHashcode"), hashcode},
            {QStringLiteral("coordinates"), coordinates}};
}

Answer ContextApi::createBindings(const RestRequest &request)
{
    QStringList errors;
    const QJsonObject body = request.jsonBody(&errors);
    if (!errors.isEmpty())
        return RestRequest::invalid(errors);
    const QJsonArray given = RestRequest::list(body, "bindings", &errors);
    if (errors.isEmpty() && (given.isEmpty() || given.size() > mostBindings))
        errors.append(QStringLiteral("\"bindings\" must have 1 to %1 elements").arg(mostBindings));
    QList<QJsonObject> lines;
    for (const QJsonValue binding : given) {
        if (!errors.isEmpty())
            break;
        lines.append(checkedBinding(request, binding, &errors));
    }
    if (!errors.isEmpty())
        return RestRequest::invalid(errors);
    if (!m_folder.change([&] { return m_folder.append(QStringLiteral("contexts/bindings.jsonl"), lines); }))
        return RestRequest::failed();
    QJsonArray items;
    for (const QJsonObject &line : lines)
        items.append(QJsonObject{{QStringLiteral("bindingUid"), line.value(QStringLiteral("bindingUid"))},
                                 {QStringLiteral("contextUid"), line.value(QStringLiteral("contextUid"))}});
    return RestRequest::success(
        QJsonObject{{QStringLiteral("created"), QJsonObject{{QStringLiteral("totalCount"), items.size()},
                                                            {QStringLiteral("items"), items}}}});
}
