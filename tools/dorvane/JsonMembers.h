// JsonMembers: typed reads of a JSON object that people write by hand.
#pragma once

#include <QJsonObject>
#include <QString>
#include <QStringList>

#include <functional>

// Each read gives the member, or `otherwise` when there is none (null counts as none). A member of
// another type is complained about; the first complaint stays in `error` and names the member.
class JsonMembers
{
public:
    JsonMembers(const QJsonObject &object, QString *error);

    bool has(const char *name) const;
    QString text(const char *name, const QString &otherwise = {});
    QString requiredText(const char *name); // empty is a complaint too
    QStringList texts(const char *name);
    QJsonObject object(const char *name);
    // Calls `read` for each element of a list of objects; complaints about an element say which it is.
    void eachObject(const char *name, const std::function<void(JsonMembers &)> &read);
    bool flag(const char *name, bool otherwise);
    // A whole number of -limit to limit.
    qint64 integer(const char *name, qint64 otherwise, qint64 limit);
    QJsonValue value(const char *name) const { return m_object.value(QLatin1StringView(name)); }

    void complain(const char *name, const QString &what);
    bool areGood() const { return m_error->isEmpty(); }

private:
    QJsonObject m_object;
    QString *m_error;
};
