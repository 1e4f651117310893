// HTTP dates and the parameters of URLs.
#include "DVHttpDate.h"
#include "DVRows.h"
#include "DVUrlParameters.h"

#include <QLocale>
#include <QTest>
#include <QTimeZone>

class tst_HttpDate : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void reads_data();
    void reads();
    void writesOnlyWhatFits_data();
    void writesOnlyWhatFits();
    void ignoresLocaleAndZone();
    void urlParameters_data();
    void urlParameters();
};

void tst_HttpDate::reads_data()
{
    // seconds: since 1970; -1: not a date
    const DVRows<QByteArray, qint64> row("text", "seconds");
    // Seconds from `date -u -d ... +%s`.
    row("the example of RFC 9110", "Sun, 06 Nov 1994 08:49:37 GMT", 784111777);
    row("the epoch", "Thu, 01 Jan 1970 00:00:00 GMT", 0);
    row("leap day", "Thu, 29 Feb 2024 23:59:59 GMT", 1709251199);
    row("beyond 32 bits", "Tue, 19 Jan 2038 03:14:08 GMT", 2147483648);
    row("the last year", "Fri, 31 Dec 9999 23:59:59 GMT", 253402300799);
    row("a leap second is the second before", "Sat, 31 Dec 2016 23:59:60 GMT", 1483228799);

    row("empty", "", -1);
    row("Expires: 0", "0", -1);
    row("Expires: -1", "-1", -1);
    row("the form of RFC 850", "Sunday, 06-Nov-94 08:49:37 GMT", -1);
    row("the form of asctime", "Sun Nov  6 08:49:37 1994", -1);
    row("another zone", "Sun, 06 Nov 1994 08:49:37 UTC", -1);
    row("an offset", "Sun, 06 Nov 1994 08:49:37 +0000", -1);
    row("wrong weekday", "Mon, 06 Nov 1994 08:49:37 GMT", -1);
    row("one digit of the day", "Sun, 6 Nov 1994 08:49:37 GMT", -1);
    row("blank before the day", "Sun,  6 Nov 1994 08:49:37 GMT", -1);
    row("no such day", "Fri, 30 Feb 2024 00:00:00 GMT", -1);
    row("no leap year", "Wed, 29 Feb 2023 00:00:00 GMT", -1);
    row("day 0", "Sun, 00 Nov 1994 08:49:37 GMT", -1);
    row("year 0", "Sat, 01 Jan 0000 00:00:00 GMT", -1);
    row("hour 24", "Sun, 06 Nov 1994 24:00:00 GMT", -1);
    row("minute 60", "Sun, 06 Nov 1994 08:60:00 GMT", -1);
    row("second 61", "Sun, 06 Nov 1994 08:49:61 GMT", -1);
    row("names in lower case", "sun, 06 nov 1994 08:49:37 gmt", -1);
    row("month of another language", "Sun, 06 Okt 1994 08:49:37 GMT", -1);
    row("a sign for a digit", "Sun, 06 Nov +994 08:49:37 GMT", -1);
    row("Arabic digits", "Sun, \xd9\xa0\xd9\xa6 Nov 1994 08:49:37 GMT", -1);
    row("blank at the end", "Sun, 06 Nov 1994 08:49:37 GMT ", -1);
    row("twice, as a repeated header reads", "Sun, 06 Nov 1994 08:49:37 GMT, Sun, 06 Nov 1994 08:49:37 GMT",
        -1);
    row("a line break", "Sun, 06 Nov 1994 08:49:37\nGMT", -1);
    row("a hundred thousand digits", QByteArray(100000, '9'), -1);
}

void tst_HttpDate::reads()
{
    QFETCH(QByteArray, text);
    QFETCH(qint64, seconds);
    const QDateTime date = dv_dateFromHttpHeaderString(QString::fromUtf8(text));
    QCOMPARE(date.isValid(), seconds >= 0);
    if (seconds < 0)
        return;
    QCOMPARE(date.toSecsSinceEpoch(), seconds);
    if (!text.endsWith("60 GMT"))
        QCOMPARE(dv_httpHeaderString(date), QString::fromUtf8(text));
}

void tst_HttpDate::writesOnlyWhatFits_data()
{
    const DVRows<QDateTime, QString> row("date", "text");
    row("an invalid date", {}, {});
    row("the year 10000", QDateTime(QDate(10000, 1, 1), QTime(0, 0), Qt::UTC), {});
    row("before the year 1", QDateTime(QDate(-1, 1, 1), QTime(0, 0), Qt::UTC), {});
    row("the year 1", QDateTime(QDate(1, 1, 1), QTime(0, 0), Qt::UTC), u"Mon, 01 Jan 0001 00:00:00 GMT"_qs);
    row("fractions are cut off", QDateTime(QDate(2017, 1, 2), QTime(10, 0, 0, 999), Qt::UTC),
        u"Mon, 02 Jan 2017 10:00:00 GMT"_qs);
    row("another zone", QDateTime(QDate(2017, 1, 2), QTime(1, 0), Qt::OffsetFromUTC, 3 * 3600),
        u"Sun, 01 Jan 2017 22:00:00 GMT"_qs);
}

void tst_HttpDate::writesOnlyWhatFits()
{
    QFETCH(QDateTime, date);
    QFETCH(QString, text);
    QCOMPARE(dv_httpHeaderString(date), text);
}

void tst_HttpDate::ignoresLocaleAndZone()
{
    const QString text = u"Mon, 02 Jan 2017 10:00:00 GMT"_qs;
    const QLocale before;
    QLocale::setDefault(QLocale(QLocale::Arabic, QLocale::Egypt));
    qputenv("TZ", "Pacific/Chatham");
    tzset();
    const QDateTime date = dv_dateFromHttpHeaderString(text);
    const QString written = dv_httpHeaderString(QDateTime(date.date(), date.time(), Qt::UTC).toLocalTime());
    QLocale::setDefault(before);
    qunsetenv("TZ");
    tzset();
    QCOMPARE(date.toSecsSinceEpoch(), qint64(1483351200));
    QCOMPARE(written, text);
}

void tst_HttpDate::urlParameters_data()
{
    using Parameters = QHash<QString, QString>;
    const DVRows<QByteArray, Parameters> row("url", "expected");
    row("a query", "https://a.test/x?code=1&state=2", {{u"code"_qs, u"1"_qs}, {u"state"_qs, u"2"_qs}});
    row("a fragment", "https://a.test/x#code=1&state=2", {{u"code"_qs, u"1"_qs}, {u"state"_qs, u"2"_qs}});
    row("neither", "https://a.test/x", {});
    row("a later key wins", "app:/x?a=1&a=2", {{u"a"_qs, u"2"_qs}});
    row("nothing is decoded", "app:/x?a=b%20c", {{u"a"_qs, u"b%20c"_qs}});
    row("a pair without an equals sign", "app:/x?a&b=1", {{u"b"_qs, u"1"_qs}});
    row("an empty value", "app:/x?a=", {{u"a"_qs, QString()}});
    row("the second piece of a value", "app:/x?a=b=c", {{u"a"_qs, u"b"_qs}});
    row("with both, the fragment sticks to the query", "app:/x?a=1#b=2", {{u"a"_qs, u"1#b"_qs}});
    row("an empty query", "app:/x?", {});
}

void tst_HttpDate::urlParameters()
{
    using Parameters = QHash<QString, QString>;
    QFETCH(QByteArray, url);
    QFETCH(Parameters, expected);
    QCOMPARE(dv_getParameters(QUrl::fromEncoded(url)), expected);
}

QTEST_GUILESS_MAIN(tst_HttpDate)
#include "tst_httpdate.moc"
