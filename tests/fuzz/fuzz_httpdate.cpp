// Dates of HTTP: what is accepted is the instant that a formula of this file gives for its digits, and is
// written as it was read; every second of the years 1 to 9999 is written and read back. The dates of an
// answer follow from its headers. Input: a line taken as a date, eight bytes taken as an instant, a status of
// two bytes, and header lines "name:value".
#include "FuzzTarget.h"

#include <DVClock.h>
#include <DVHttpDate.h>
#include <DVStringsDelivery.h>

#include <cstdio>

namespace {

// Days from 1970-01-01 in the Gregorian calendar, counted in eras of 400 years that begin in March.
qint64 daysFromCivil(int year, int month, int day)
{
    constexpr qint64 daysOfEra = 146097;
    constexpr qint64 daysTo1970 = 719468; // from 0000-03-01
    const int y = month <= 2 ? year - 1 : year;
    const qint64 era = (y >= 0 ? y : y - 399) / 400;
    const qint64 yearOfEra = y - era * 400;
    const int monthFromMarch = (month + 9) % 12;
    const qint64 dayOfYear = (153 * monthFromMarch + 2) / 5 + day - 1;
    return era * daysOfEra + yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear - daysTo1970;
}

// 1970-01-01 was a Thursday.
const char *nameOfDay(qint64 days)
{
    constexpr const char *names[] = {"Thu", "Fri", "Sat", "Sun", "Mon", "Tue", "Wed"};
    return names[((days % 7) + 7) % 7];
}

int monthNamed(const char *name)
{
    constexpr std::string_view names = "JanFebMarAprMayJunJulAugSepOctNovDec";
    const auto found = names.find(name);
    FUZZ_CHECK(found != std::string_view::npos && found % 3 == 0);
    return int(found / 3) + 1;
}

void checkAccepted(const QString &text, const QDateTime &date)
{
    char weekday[4] = {};
    char month[4] = {};
    int day = 0;
    int year = 0;
    int hour = 0;
    int minute = 0;
    int second = 0;
    const QByteArray bytes = text.toLatin1();
    FUZZ_CHECK(text.size() == 29 && QString::fromLatin1(bytes) == text && bytes.endsWith(" GMT"));
    FUZZ_CHECK(std::sscanf(bytes.constData(), "%3s, %2d %3s %4d %2d:%2d:%2d", weekday, &day, month, &year,
                           &hour, &minute, &second) == 7);
    const qint64 days = daysFromCivil(year, monthNamed(month), day);
    const int readSecond = second == 60 ? 59 : second;
    FUZZ_CHECK(hour < 24 && minute < 60 && readSecond < 60);
    FUZZ_CHECK(date.toSecsSinceEpoch() == ((days * 24 + hour) * 60 + minute) * 60 + readSecond);
    FUZZ_CHECK(std::string_view(weekday) == nameOfDay(days));
    const QString written = dv_httpHeaderString(date);
    FUZZ_CHECK(second == 60 ? dv_dateFromHttpHeaderString(written) == date : written == text);
}

void checkInstant(quint64 number)
{
    constexpr qint64 first = -62135596800; // 0001-01-01T00:00:00Z
    constexpr qint64 behindLast = 253402300800;
    const qint64 seconds = first + qint64(number % quint64(behindLast - first));
    const QString written = dv_httpHeaderString(QDateTime::fromSecsSinceEpoch(seconds, Qt::UTC));
    const QDateTime date = dv_dateFromHttpHeaderString(written);
    FUZZ_CHECK(date.isValid() && date.toSecsSinceEpoch() == seconds);
    checkAccepted(written, date);
}

DVHttpResponse responseFrom(FuzzInput &in)
{
    DVHttpResponse response;
    response.statusCode = int(in.number(2) % 600);
    while (!in.isEmpty()) {
        const QByteArray line = in.line().toByteArray();
        const qsizetype colon = line.indexOf(':');
        response.headers.append({line.left(colon), colon < 0 ? QByteArray() : line.mid(colon + 1)});
    }
    return response;
}

QDateTime dateIn(const DVHttpResponse &response, const char *name)
{
    return dv_dateFromHttpHeaderString(QString::fromLatin1(response.header(name)));
}

void checkAnswer(const DVHttpResponse &response)
{
    const QDateTime before = QDateTime::fromSecsSinceEpoch(1, Qt::UTC);
    const QDateTime now = DVClock::now();
    QDateTime download = before;
    QDateTime expiration = before;
    DVStringsDelivery::readDates(response, &download, &expiration);
    const QDateTime date = dateIn(response, "Date");
    if (response.statusCode >= 500 || !date.isValid()) {
        FUZZ_CHECK(download == before && expiration == before);
        return;
    }
    FUZZ_CHECK(download == (response.statusCode == 304 ? before : dateIn(response, "Last-Modified")));
    const QDateTime expires = dateIn(response, "Expires");
    constexpr qint64 longest = (qint64(1) << 31) * 1000;
    constexpr qint64 tolerance = 60'000; // the clock runs
    FUZZ_CHECK(expiration.isValid());
    if (expires.isValid())
        FUZZ_CHECK(std::abs(now.msecsTo(expiration) - date.msecsTo(expires)) < tolerance);
    else if (expiration != before)
        FUZZ_CHECK(now <= expiration && now.msecsTo(expiration) <= longest + tolerance);
}

} // namespace

void fuzz_httpdate(QByteArrayView input)
{
    FuzzInput in(input);
    const auto line = in.line();
    for (const QString &text : {QString::fromLatin1(line), QString::fromUtf8(line)}) {
        if (const QDateTime date = dv_dateFromHttpHeaderString(text); date.isValid())
            checkAccepted(text, date);
    }
    checkInstant(in.number(8));
    checkAnswer(responseFrom(in));
}
