#include "FormFields.h"

#include <QHttpServerRequest>
#include <QUrl>

namespace {

QString decoded(const QByteArray &text)
{
    return QString::fromUtf8(QByteArray::fromPercentEncoding(text));
}

} // namespace

FormFields FormFields::of(const QByteArray &text)
{
    FormFields fields;
    for (const QByteArray &pair : text.split('&')) {
        const qsizetype equals = pair.indexOf('=');
        if (pair.isEmpty())
            continue;
        const QString name = decoded(equals < 0 ? pair : pair.left(equals));
        fields.m_fields[name].append(equals < 0 ? QString() : decoded(pair.mid(equals + 1)));
    }
    return fields;
}

FormFields FormFields::ofForm(const QByteArray &body)
{
    return of(QByteArray(body).replace('+', ' '));
}

FormFields FormFields::ofQuery(const QHttpServerRequest &request)
{
    return of(request.url().query(QUrl::FullyEncoded).toLatin1());
}

QString FormFields::repeatedName() const
{
    for (auto field = m_fields.begin(); field != m_fields.end(); ++field) {
        if (field->size() > 1)
            return field.key();
    }
    return {};
}
