// FormFields: the fields of a query or of a form body.
#pragma once

#include <QByteArray>
#include <QMap>
#include <QString>
#include <QStringList>

class QHttpServerRequest;

// A value.
class FormFields
{
public:
    static constexpr qsizetype largestForm = 64 * 1024; // bytes

    // application/x-www-form-urlencoded, where "+" is a blank.
    static FormFields ofForm(const QByteArray &body);
    // A query, where "+" is a plus sign. Values may stand there as they are, brackets and blanks too.
    static FormFields ofQuery(const QHttpServerRequest &request);

    // Empty when there is none.
    QString value(const QString &name) const { return m_fields.value(name).value(0); }
    bool has(const QString &name) const { return m_fields.contains(name); }
    // The first name that stands there more than once; null when none does.
    QString repeatedName() const;

private:
    static FormFields of(const QByteArray &text);

    QMap<QString, QStringList> m_fields;
};
