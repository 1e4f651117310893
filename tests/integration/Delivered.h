// Delivered: the files that devices get and the dates beside them, made and opened by programs that are not
// ours.
#pragma once

#include "ToolProcess.h"

#include <QDateTime>
#include <QLocale>

namespace Delivered {

// Of TestProject and StaticSite.
inline QByteArray key()
{
    return "0123456789abcdef";
}
inline QString base64(const QByteArray &key = Delivered::key())
{
    return QString::fromLatin1(key.toBase64());
}

inline QByteArray compressed(const QByteArray &content, const QString &level = u"-6"_qs)
{
    return ToolRun::program(u"gzip"_qs, {u"-c"_qs, level}, content).output;
}
inline QByteArray encrypted(const QByteArray &content, const QByteArray &key = Delivered::key())
{
    return ToolRun::program(
               u"openssl"_qs,
               {u"enc"_qs, u"-aes-%1-ecb"_qs.arg(key.size() * 8), u"-K"_qs, QString::fromLatin1(key.toHex())},
               content)
        .output;
}
inline QByteArray packed(const QByteArray &document)
{
    return encrypted(compressed(document));
}
// Null when it does not open.
inline QByteArray decrypted(const QByteArray &content, const QByteArray &key = Delivered::key())
{
    const ToolRun run = ToolRun::program(u"openssl"_qs,
                                         {u"enc"_qs, u"-d"_qs, u"-aes-%1-ecb"_qs.arg(key.size() * 8),
                                          u"-K"_qs, QString::fromLatin1(key.toHex())},
                                         content);
    return run.status == 0 ? run.output : QByteArray();
}
inline QByteArray opened(const QByteArray &delivered, const QByteArray &key = Delivered::key())
{
    const ToolRun run = ToolRun::program(u"gzip"_qs, {u"-dc"_qs}, decrypted(delivered, key));
    return run.status == 0 ? run.output : QByteArray();
}

inline QByteArray httpDate(const QDateTime &date)
{
    return QLocale::c().toString(date.toUTC(), u"ddd, dd MMM yyyy HH:mm:ss 'GMT'"_qs).toLatin1();
}
inline QDateTime fromHttpDate(const QByteArray &text)
{
    QDateTime date =
        QLocale::c().toDateTime(QString::fromLatin1(text), u"ddd, dd MMM yyyy HH:mm:ss 'GMT'"_qs);
    date.setTimeSpec(Qt::UTC);
    return date;
}

} // namespace Delivered
