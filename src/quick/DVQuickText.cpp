#include "DVQuickText.h"

#include <QLocale>

#include <cmath>

namespace {

constexpr double largestExactInteger = 9007199254740992.0; // 2^53: JavaScript's numbers are doubles

QString written(const QVariant &value, bool localized)
{
    if (value.typeId() == QMetaType::Double) {
        const double number = value.toDouble();
        if (std::abs(number) <= largestExactInteger && number == std::trunc(number))
            return written(qint64(number), localized);
        return localized ? QLocale().toString(number, 'g', QLocale::FloatingPointShortest) : value.toString();
    }
    const bool integer = value.typeId() == QMetaType::Int || value.typeId() == QMetaType::LongLong;
    return localized && integer ? QLocale().toString(value.toLongLong()) : value.toString();
}

// A placeholder that begins at a percent sign; no size: there is none.
struct Placeholder
{
    qsizetype size = 0;
    bool localized = false;
    int number = 0;
};

bool isDigit(QChar character)
{
    return character >= u'0' && character <= u'9';
}

Placeholder placeholderIn(QStringView rest)
{
    Placeholder found;
    qsizetype at = 1;
    found.localized = at < rest.size() && rest[at] == u'L';
    at += qsizetype(found.localized);
    const qsizetype digits = at;
    while (at < rest.size() && at < digits + 2 && isDigit(rest[at]))
        found.number = found.number * 10 + rest[at++].digitValue();
    found.size = found.number > 0 ? at : 0;
    return found;
}

} // namespace

QString dv_textWithValues(const QString &text, const QVariantList &values)
{
    if (values.isEmpty())
        return text;
    QString result;
    qsizetype done = 0;
    for (qsizetype at = text.indexOf(u'%'); at >= 0; at = text.indexOf(u'%', at + 1)) {
        const Placeholder found = placeholderIn(QStringView(text).mid(at));
        if (found.size == 0 || found.number > values.size())
            continue;
        result += QStringView(text).mid(done, at - done) + written(values[found.number - 1], found.localized);
        done = at + found.size;
        at = done - 1;
    }
    return result + QStringView(text).mid(done);
}
