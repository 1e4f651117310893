#include "JsonMembers.h"

#include <QJsonArray>

#include <algorithm>

JsonMembers::JsonMembers(const QJsonObject &object, QString *error)
    : m_object(object)
    , m_error(error)
{}

bool JsonMembers::has(const char *name) const
{
    const QJsonValue member = value(name);
    return !member.isUndefined() && !member.isNull();
}

QString JsonMembers::text(const char *name, const QString &otherwise)
{
    if (has(name) && !value(name).isString())
        complain(name, QStringLiteral("must be a text"));
    return value(name).toString(otherwise);
}

QString JsonMembers::requiredText(const char *name)
{
    const QString given = text(name);
    if (given.isEmpty())
        complain(name, QStringLiteral("is missing or empty"));
    return given;
}

QStringList JsonMembers::texts(const char *name)
{
    const QJsonArray given = value(name).toArray();
    const bool allTexts =
        std::all_of(given.begin(), given.end(), [](const QJsonValue &element) { return element.isString(); });
    if (has(name) && (!value(name).isArray() || !allTexts))
        complain(name, QStringLiteral("must be a list of texts"));
    QStringList list;
    for (const QJsonValue element : given)
        list.append(element.toString());
    return list;
}

QJsonObject JsonMembers::object(const char *name)
{
    if (has(name) && !value(name).isObject())
        complain(name, QStringLiteral("must be an object"));
    return value(name).toObject();
}

void JsonMembers::eachObject(const char *name, const std::function<void(JsonMembers &)> &read)
{
    const QJsonArray given = value(name).toArray();
    const bool allObjects =
        std::all_of(given.begin(), given.end(), [](const QJsonValue &element) { return element.isObject(); });
    if (has(name) && (!value(name).isArray() || !allObjects))
        return complain(name, QStringLiteral("must be a list of objects"));
    for (qsizetype i = 0; i < given.size(); ++i) {
        QString error;
        JsonMembers element(given.at(i).toObject(), &error);
        read(element);
        if (!error.isEmpty())
            complain(name, QStringLiteral("entry %1: %2").arg(QString::number(i + 1), error));
    }
}

bool JsonMembers::flag(const char *name, bool otherwise)
{
    if (has(name) && !value(name).isBool())
        complain(name, QStringLiteral("must be true or false"));
    return value(name).toBool(otherwise);
}

qint64 JsonMembers::integer(const char *name, qint64 otherwise, qint64 limit)
{
    if (!has(name))
        return otherwise;
    const qint64 given = value(name).toInteger(limit + 1);
    if (given < -limit || given > limit)
        complain(name, QStringLiteral("must be a whole number, %1 at most").arg(limit));
    return given;
}

void JsonMembers::complain(const char *name, const QString &what)
{
    if (m_error->isEmpty())
        *m_error = QStringLiteral("\"%1\" %2").arg(QLatin1StringView(name), what);
}
