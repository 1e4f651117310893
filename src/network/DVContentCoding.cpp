#include "DVContentCoding.h"

#include "DVData.h"
#include "DVHttpTransport.h"

#include <QNetworkReply>
#include <QtEndian>

#include <algorithm>

namespace {

DVError protocolFailure(const QString &description)
{
    return {QStringLiteral("dorvane.network"), QNetworkReply::ProtocolFailure, description};
}

} // namespace

DVErrorOr dv_decodeContent(DVHttpResponse *response, qint64 maximumSize)
{
    QList<QByteArray> codings = response->header("Content-Encoding").toLower().split(',');
    const qsizetype maximumCodings = 4;
    if (codings.size() > maximumCodings)
        return protocolFailure(QStringLiteral("The answer has too many codings."));
    DVInflationLimits limits;
    limits.maximumSize = maximumSize;
    std::reverse(codings.begin(), codings.end());
    for (const QByteArray &coding : std::as_const(codings)) {
        const QByteArray name = coding.trimmed();
        if ((name != "gzip" && name != "x-gzip") || !dv_isGzippedData(response->body))
            continue;
        DVErrorOr error;
        const QByteArray decoded = dv_gunzippedData(response->body, limits, &error);
        if (error)
            return error;
        // RFC 1952: the last four bytes are the size; the inflation itself is lenient.
        const qsizetype end = response->body.size() - 4;
        if (end < 0 ||
            qFromLittleEndian<quint32>(response->body.constData() + end) != quint32(decoded.size()))
            return protocolFailure(QStringLiteral("The answer's coding is damaged."));
        response->body = decoded;
    }
    return {};
}
