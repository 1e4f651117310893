#include "Multipart.h"

#include <QMap>

namespace {

constexpr qsizetype mostParts = 16;
constexpr qsizetype longestBoundary = 200;  // RFC 2046 says 70
constexpr qsizetype longestHeaders = 16384; // of one part

// The parameters behind the first ";" of a header's value; quoted values may hold any character.
QMap<QByteArray, QByteArray> parameters(const QByteArray &value)
{
    QMap<QByteArray, QByteArray> result;
    qsizetype at = value.indexOf(';');
    while (at >= 0) {
        const qsizetype equals = value.indexOf('=', at + 1);
        if (equals < 0)
            break;
        const QByteArray name = value.mid(at + 1, equals - at - 1).trimmed().toLower();
        QByteArray content;
        at = equals + 1;
        if (at < value.size() && value[at] == '"') {
            for (++at; at < value.size() && value[at] != '"'; ++at) {
                if (value[at] == '\\' && at + 1 < value.size())
                    ++at;
                content += value[at];
            }
            if (at >= value.size())
                break; // no quote ends it
            at = value.indexOf(';', at);
        } else {
            const qsizetype end = value.indexOf(';', at);
            content = value.mid(at, end < 0 ? -1 : end - at).trimmed();
            at = end;
        }
        result.insert(name, content);
    }
    return result;
}

bool readHeaders(const QByteArray &headers, FormPart *part)
{
    bool isFormData = false;
    for (const QByteArray &line : headers.split('\n')) {
        const qsizetype colon = line.indexOf(':');
        const QByteArray name = line.mid(0, colon).trimmed().toLower();
        const QByteArray value = line.mid(colon + 1).trimmed();
        if (name == "content-disposition") {
            const QByteArray type = mediaType(value);
            const auto given = parameters(value);
            isFormData = (type == "form-data" || type == "multipart/form-data") && given.contains("name");
            part->name = QString::fromUtf8(given.value("name"));
            if (given.contains("filename"))
                part->fileName = QString::fromUtf8(given.value("filename"));
        } else if (name == "content-type") {
            part->contentType = mediaType(value);
        }
    }
    return isFormData;
}

class Parser
{
public:
    Parser(const QByteArray &body, const QByteArray &boundary)
        : m_body(body)
        , m_delimiter("\r\n--" + boundary)
    {}

    // Null, or what is wrong.
    QString parse(QList<FormPart> *parts)
    {
        const QByteArray opening = m_delimiter.mid(2);
        if (m_body.startsWith(opening)) {
            m_at = opening.size();
        } else {
            const qsizetype first = m_body.indexOf(m_delimiter);
            if (first < 0)
                return QStringLiteral("the boundary does not occur in the body");
            m_at = first + m_delimiter.size();
        }
        while (m_body.mid(m_at, 2) != "--") {
            if (parts->size() == mostParts)
                return QStringLiteral("there are more than %1 parts").arg(mostParts);
            FormPart part;
            const QString problem = readPart(&part);
            if (!problem.isEmpty())
                return problem;
            parts->append(part);
        }
        return {};
    }

private:
    QString readPart(FormPart *part)
    {
        while (m_at < m_body.size() && (m_body[m_at] == ' ' || m_body[m_at] == '\t'))
            ++m_at;
        if (m_body.mid(m_at, 2) != "\r\n")
            return QStringLiteral("a boundary is not followed by a line end");
        const qsizetype headersEnd = m_body.indexOf("\r\n\r\n", m_at);
        const qsizetype end = m_body.indexOf(m_delimiter, m_at);
        if (end < 0)
            return QStringLiteral("the last part has no end");
        if (headersEnd < 0 || headersEnd > end || headersEnd - m_at > longestHeaders)
            return QStringLiteral("the headers of a part have no end");
        if (!readHeaders(m_body.mid(m_at, headersEnd - m_at), part))
            return QStringLiteral("a part has no Content-Disposition with a name");
        const qsizetype begin = headersEnd + 4;
        part->content = begin <= end ? m_body.mid(begin, end - begin) : QByteArray();
        m_at = end + m_delimiter.size();
        return {};
    }

    const QByteArray &m_body;
    QByteArray m_delimiter;
    qsizetype m_at = 0;
};

} // namespace

QByteArray mediaType(const QByteArray &contentType)
{
    const qsizetype end = contentType.indexOf(';');
    return contentType.mid(0, end).trimmed().toLower(); // all of it when there are no parameters
}

std::optional<QList<FormPart>> formParts(const QByteArray &contentType, const QByteArray &body,
                                         QString *error)
{
    const QByteArray boundary = parameters(contentType).value("boundary");
    if (mediaType(contentType) != "multipart/form-data" || boundary.isEmpty() ||
        boundary.size() > longestBoundary) {
        *error = QStringLiteral("the body must be multipart/form-data with a boundary");
        return {};
    }
    QList<FormPart> parts;
    *error = Parser(body, boundary).parse(&parts);
    return error->isEmpty() ? std::optional(parts) : std::nullopt;
}
