#include "AnswerChecks.h"

#include <DVHttpDate.h>
#include <DVStringsDelivery.h>

#include <cmath>

namespace {

constexpr qint64 tolerableSkewSeconds = 60;
constexpr qint64 shortestSeconds = 60;
constexpr qint64 longestSeconds = 7 * 86400;

QString headerText(const DVHttpResponse &answer, const char *name)
{
    return QString::fromLatin1(answer.header(name)).left(120);
}

QDateTime dateIn(const DVHttpResponse &answer, const char *name)
{
    return dv_dateFromHttpHeaderString(QString::fromLatin1(answer.header(name)));
}

QString duration(qint64 seconds)
{
    if (seconds < 120)
        return QStringLiteral("%1 s").arg(seconds);
    if (seconds < 7200)
        return QStringLiteral("%1 min").arg(seconds / 60);
    if (seconds < 172800)
        return QStringLiteral("%1 h").arg(seconds / 3600);
    return QStringLiteral("%1 days").arg(seconds / 86400);
}

// How a header that should hold a date does not.
QString notADate(const DVHttpResponse &answer, const char *name)
{
    const QString text = headerText(answer, name);
    return text.isEmpty() ? QStringLiteral("there is none")
                          : QStringLiteral("\"%1\" is no date as RFC 9110, 5.6.7 has it").arg(text);
}

} // namespace

void checkDate(const DVHttpResponse &answer, const QDateTime &sent, const QDateTime &received,
               const StepReport &report)
{
    const QString name = QStringLiteral("date");
    const QDateTime date = dateIn(answer, "Date");
    if (!date.isValid())
        return report({name, Verdict::Fail, notADate(answer, "Date"),
                       QStringLiteral("without it no date of the answer counts: each launch waits for a "
                                      "download. Let the server send \"Date\"")});
    const qint64 ahead = received.secsTo(date);
    const qint64 behind = date.secsTo(sent);
    const qint64 skew = qMax(ahead, behind);
    if (skew <= tolerableSkewSeconds)
        return report({name, Verdict::Ok, headerText(answer, "Date"), {}});
    report({name, Verdict::Warn,
            QStringLiteral("the server's clock is %1 %2 this one")
                .arg(duration(skew), ahead > behind ? QStringLiteral("ahead of") : QStringLiteral("behind")),
            QStringLiteral("devices make up for it in \"Expires\"; still, set the server's clock (NTP)")});
}

void checkFreshness(const DVHttpResponse &answer, const StepReport &report)
{
    const QString name = QStringLiteral("expiry");
    QDateTime expiration;
    const QDateTime now = QDateTime::currentDateTimeUtc();
    DVStringsDelivery::readDates(answer, nullptr, &expiration);
    if (!expiration.isValid())
        return report({name, Verdict::Fail,
                       QStringLiteral("neither \"Expires\" nor \"Cache-Control: max-age\" can be used"),
                       QStringLiteral("send one of them with a \"Date\": until then each launch waits for a "
                                      "download")});
    const QString header = dateIn(answer, "Expires").isValid() ? QStringLiteral("Expires")
                                                               : QStringLiteral("Cache-Control: max-age");
    const auto seconds = qint64(std::llround(double(now.msecsTo(expiration)) / 1000));
    if (seconds <= 0)
        return report(
            {name, Verdict::Warn, QStringLiteral("stale at once (%1)").arg(header),
             QStringLiteral("devices ask again at each start; say how long the strings are good, an "
                            "hour for example")});
    const QString seen = QStringLiteral("fresh for %1 (%2)").arg(duration(seconds), header);
    if (seconds > longestSeconds)
        return report({name, Verdict::Warn, seen,
                       QStringLiteral("a new publication reaches a device only after that time")});
    if (seconds < shortestSeconds)
        return report(
            {name, Verdict::Warn, seen, QStringLiteral("nearly each start of a device asks again")});
    report({name, Verdict::Ok, seen, {}});
}

void checkLastModified(const DVHttpResponse &answer, const StepReport &report)
{
    const QString name = QStringLiteral("last-modified");
    const QDateTime date = dateIn(answer, "Last-Modified");
    const QString etag = answer.header("ETag").isEmpty()
                             ? QString()
                             : QStringLiteral(" (devices make no use of the \"ETag\")");
    if (!date.isValid())
        return report(
            {name, Verdict::Warn, notADate(answer, "Last-Modified") + etag,
             QStringLiteral("let the server send the file's date; without it each refresh transfers "
                            "the whole file")});
    const QDateTime serverNow = dateIn(answer, "Date");
    if (serverNow.isValid() && date > serverNow)
        return report({name, Verdict::Warn,
                       headerText(answer, "Last-Modified") + QStringLiteral(" is to come"),
                       QStringLiteral("a publication before that date may not reach anybody; set the file's "
                                      "date")});
    report({name, Verdict::Ok, headerText(answer, "Last-Modified") + etag, {}});
}

void checkBodyHeaders(const DVHttpResponse &answer, const StepReport &report)
{
    const QString name = QStringLiteral("body");
    const QString type = headerText(answer, "Content-Type");
    const QString length = headerText(answer, "Content-Length");
    const QString coding = headerText(answer, "Content-Encoding");
    QString seen = QStringLiteral("%1 bytes").arg(answer.body.size());
    if (!type.isEmpty())
        seen += QString(u", " % type);
    if (!coding.isEmpty())
        seen += QStringLiteral(", Content-Encoding: %1").arg(coding);
    if (length.isEmpty())
        seen += QStringLiteral(", no Content-Length");
    if (answer.body.isEmpty())
        return report({name, Verdict::Fail, seen, QStringLiteral("the file is empty: publish it again")});
    if (type.startsWith(u"text/html"))
        return report({name, Verdict::Warn, seen,
                       QStringLiteral("this looks like a page, not like a delivered file: see what answers "
                                      "under this address")});
    if (!coding.isEmpty())
        return report({name, Verdict::Warn, seen,
                       QStringLiteral("an encrypted file cannot be compressed further: switch the server's "
                                      "compression off for it, and let no rule take the ending \"gz\" for a "
                                      "coding")});
    if (length.isEmpty())
        return report({name, Verdict::Warn, seen,
                       QStringLiteral("let the server send the length: without it nobody notices a file that "
                                      "is cut short")});
    report({name, Verdict::Ok, seen, {}});
}

void checkCookies(const DVHttpResponse &answer, const StepReport &report)
{
    if (!answer.header("Set-Cookie").isNull())
        report({QStringLiteral("cookies"), Verdict::Warn, QStringLiteral("the server sets one"),
                QStringLiteral("devices keep none, and caches may not keep such an answer: take it away")});
}

void checkConditional(const DVHttpResponse &answer, const StepReport &report)
{
    const QString name = QStringLiteral("conditional");
    if (answer.statusCode != 304)
        return report(
            {name, Verdict::Warn,
             QStringLiteral("answered %1 to an If-Modified-Since with its own date").arg(answer.statusCode),
             QStringLiteral("let the server answer 304 (RFC 9110, 13.1.3); now each refresh of each "
                            "device transfers the file")});
    QDateTime expiration;
    DVStringsDelivery::readDates(answer, nullptr, &expiration);
    if (!expiration.isValid())
        return report({name, Verdict::Warn, QStringLiteral("304, but without a usable expiry"),
                       QStringLiteral("send \"Date\" and \"Expires\" (or max-age) with a 304 too (RFC 9110, "
                                      "15.4.5); devices ask again at each start until then")});
    report({name, Verdict::Ok, QStringLiteral("304 Not Modified"), {}});
}
