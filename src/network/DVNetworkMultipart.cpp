// DVNetwork's multipart bodies (RFC 7578).
#include "DVNetwork.h"

#include "DVVersion.h"

#include <QFile>
#include <QFileInfo>
#include <QUuid>

namespace {

constexpr qint64 largestFile = qint64(256) << 20;

// "boundary", CR and LF in a name would end its header; browsers write them so too.
QString quotable(QString name)
{
    return name.replace(u'"', u"%22"_qs).replace(u'\r', u"%0D"_qs).replace(u'\n', u"%0A"_qs);
}

QString parameterPart(const QString &boundary, const QString &key, const QString &value)
{
    return u"--" % boundary % u"\r\nContent-Disposition: multipart/form-data; name=\"" % quotable(key) %
           u"\"\r\n\r\n" % value % u"\r\n";
}

QString fileHead(const QString &boundary, const QString &fieldName, const QString &path)
{
    const QString version = dv_applicationVersion();
    const QString name =
        u'/' % (version.isNull() ? QStringLiteral("(null)") : version) % u'/' % QFileInfo(path).fileName();
    return u"--" % boundary % u"\r\nContent-Disposition: form-data; name=\"" % quotable(fieldName) %
           u"\"; filename=\"" % quotable(name) % u"\"\r\nContent-Type: " %
           (name.endsWith(u"png") ? u"image/png"_qs : u"application/octet-stream"_qs) % u"\r\n\r\n";
}

DVErrorOr fileError(const QString &path, QFileDevice::FileError code, const QString &why)
{
    return DVError{QStringLiteral("dorvane.file"), code, u"Cannot read " % path % u": " % why};
}

// Its bytes go straight to where they are needed.
DVErrorOr appendFile(const QString &path, QByteArray *body)
{
    QFile file(path);
    // Opening a pipe would wait for somebody who writes.
    if (!QFileInfo(path).isFile())
        return fileError(path, QFileDevice::OpenError, QStringLiteral("no such file"));
    if (!file.open(QIODevice::ReadOnly))
        return fileError(path, file.error(), file.errorString());
    const qint64 size = file.size();
    if (size > largestFile)
        return fileError(path, QFileDevice::ResourceError, QStringLiteral("too large"));
    const qsizetype before = body->size();
    body->resize(before + size);
    const qint64 count = file.read(body->data() + before, size);
    if (count != size)
        return fileError(path, QFileDevice::ReadError, file.errorString());
    return {};
}

DVErrorOr appendContent(const DVFileAttachment &file, QByteArray *body)
{
    if (!file.content)
        return appendFile(file.path, body);
    if (file.content->size() > largestFile)
        return fileError(file.path, QFileDevice::ResourceError, QStringLiteral("too large"));
    *body += *file.content;
    return {};
}

qsizetype sizeOfFiles(const QList<DVFileAttachment> &files)
{
    qsizetype size = 0;
    for (const auto &file : files)
        size +=
            file.content ? file.content->size() : qsizetype(qMin(QFileInfo(file.path).size(), largestFile));
    return size;
}

// NOLINTNEXTLINE(readability-function-size): what a body consists of, and two forms of it
DVErrorOr createBody(const QString &boundary, const QVariantMap &parameters,
                     const QList<DVFileAttachment> &files, const QString &fieldName, QByteArray *body,
                     QString *debugString)
{
    QByteArray bytes;
    QString text;
    for (auto entry = parameters.begin(); entry != parameters.end(); ++entry)
        text += parameterPart(boundary, entry.key(), entry->toString());
    bytes = text.toUtf8();
    const qsizetype roomForHeads = 1024;
    if (!files.isEmpty())
        bytes.reserve(bytes.size() + sizeOfFiles(files) + files.size() * roomForHeads);
    for (const auto &file : files) {
        const QString head = fileHead(boundary, fieldName, file.path);
        bytes += head.toUtf8();
        if (const DVErrorOr error = appendContent(file, &bytes))
            return error;
        bytes += "\r\n";
        text += head % u"<file data>\r\n";
    }
    const QString end = u"--" % boundary % u"--\r\n";
    bytes += end.toUtf8();
    *body = std::move(bytes);
    if (debugString)
        *debugString = text % end;
    return {};
}

} // namespace

QString DVNetwork::generateBoundaryString()
{
    return u"Boundary-" % QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper();
}

// NOLINTNEXTLINE(readability-function-size): what a body consists of, and two forms of it
DVErrorOr DVNetwork::createBodyWithBoundary(const QString &boundary, const QVariantMap &parameters,
                                            const QStringList &paths, const QString &fieldName,
                                            QByteArray *body, QString *debugString)
{
    QList<DVFileAttachment> files;
    for (const QString &path : paths)
        files.append({path});
    return createBody(boundary, parameters, files, fieldName, body, debugString);
}

DVErrorOr DVNetwork::createBodyWithBoundary(const QString &boundary, const DVFileAttachment &file,
                                            const QString &fieldName, QByteArray *body, QString *debugString)
{
    return createBody(boundary, {}, {file}, fieldName, body, debugString);
}
