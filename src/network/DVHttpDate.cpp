#include "DVHttpDate.h"

#include <QStringView>

#include <array>
#include <optional>

namespace {

constexpr std::array<QLatin1StringView, 7> days = {
    QLatin1StringView("Mon"), QLatin1StringView("Tue"), QLatin1StringView("Wed"), QLatin1StringView("Thu"),
    QLatin1StringView("Fri"), QLatin1StringView("Sat"), QLatin1StringView("Sun")};

constexpr std::array<QLatin1StringView, 12> months = {
    QLatin1StringView("Jan"), QLatin1StringView("Feb"), QLatin1StringView("Mar"), QLatin1StringView("Apr"),
    QLatin1StringView("May"), QLatin1StringView("Jun"), QLatin1StringView("Jul"), QLatin1StringView("Aug"),
    QLatin1StringView("Sep"), QLatin1StringView("Oct"), QLatin1StringView("Nov"), QLatin1StringView("Dec")};

QString digits(int value, int width)
{
    return QString::number(value).rightJustified(width, u'0');
}

// 1 for the first name, as QDate counts; 0 for a text that is none of them.
template<size_t Count> int positionIn(const std::array<QLatin1StringView, Count> &names, QStringView text)
{
    for (size_t i = 0; i < Count; ++i) {
        if (names[i] == text)
            return int(i) + 1;
    }
    return 0;
}

// QStringView::toInt() accepts signs, blanks and the digits of other scripts.
std::optional<int> numberIn(QStringView text)
{
    int value = 0;
    for (const QChar c : text) {
        if (c < u'0' || c > u'9')
            return std::nullopt;
        value = value * 10 + (c.unicode() - u'0');
    }
    return value;
}

// Whether `text` is `form`, where "?" stands for anything.
bool matches(QStringView text, QLatin1StringView form)
{
    if (text.size() != form.size())
        return false;
    for (qsizetype i = 0; i < form.size(); ++i) {
        if (form[i] != QLatin1Char('?') && text[i] != form[i])
            return false;
    }
    return true;
}

} // namespace

QString dv_httpHeaderString(const QDateTime &date)
{
    const QDateTime utc = date.toUTC();
    const QDate day = utc.date();
    if (!utc.isValid() || day.year() < 1 || day.year() > 9999)
        return {};
    const QTime time = utc.time();
    return QString(days[size_t(day.dayOfWeek() - 1)] % u", " % digits(day.day(), 2) % u' ' %
                   months[size_t(day.month() - 1)] % u' ' % digits(day.year(), 4) % u' ' %
                   digits(time.hour(), 2) % u':' % digits(time.minute(), 2) % u':' %
                   digits(time.second(), 2) % u" GMT");
}

QDateTime dv_dateFromHttpHeaderString(const QString &string)
{
    const QStringView text(string);
    if (!matches(text, QLatin1StringView("???, ?? ??? ???? ??:??:?? GMT")))
        return {};
    const auto dayOfMonth = numberIn(text.mid(5, 2));
    const auto year = numberIn(text.mid(12, 4));
    const auto hour = numberIn(text.mid(17, 2));
    const auto minute = numberIn(text.mid(20, 2));
    const auto second = numberIn(text.mid(23, 2));
    const int month = positionIn(months, text.mid(8, 3));
    if (!dayOfMonth || !year || !hour || !minute || !second || month == 0 || *year == 0)
        return {};
    const QDate day(*year, month, *dayOfMonth);
    const QTime time(*hour, *minute, *second == 60 ? 59 : *second);
    if (!day.isValid() || !time.isValid() || day.dayOfWeek() != positionIn(days, text.left(3)))
        return {};
    return QDateTime(day, time, Qt::UTC);
}
