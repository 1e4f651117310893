#include "DVVisualFormat.h"

#include <algorithm>

namespace {

bool isNameCharacter(QChar character, bool first)
{
    const bool letter = (character >= u'a' && character <= u'z') || (character >= u'A' && character <= u'Z');
    return letter || character == u'_' || (!first && character >= u'0' && character <= u'9');
}

bool isDigit(QChar character)
{
    return character >= u'0' && character <= u'9';
}

class Reader
{
public:
    explicit Reader(const QString &text)
        : m_text(text)
    {}

    bool readFormat(DVVisualFormat &format);
    QString reason() const { return m_reason; }

private:
    bool atEnd() const { return m_at >= m_text.size(); }
    bool sees(QLatin1StringView token) const { return QStringView(m_text).mid(m_at).startsWith(token); }
    bool take(QLatin1StringView token);
    bool expect(QLatin1StringView token);
    bool fail(const QString &expected);
    bool readView(DVVisualFormat &format);
    bool readGap(DVVisualFormat::Gap &gap);
    bool readRules(QList<DVLengthRule> &rules);
    bool readRule(DVLengthRule &rule);
    bool readLength(DVLengthRule &rule, bool maySign);
    bool readNumber(double &points);
    QString readName();

    const QString &m_text;
    qsizetype m_at = 0;
    QString m_reason;
};

bool Reader::take(QLatin1StringView token)
{
    if (!sees(token))
        return false;
    m_at += token.size();
    return true;
}

bool Reader::fail(const QString &expected)
{
    const QString found = atEnd() ? QStringLiteral("it ends there")
                                  : QStringLiteral("found \"%1\"").arg(QStringView(m_text).mid(m_at, 1));
    m_reason = QStringLiteral("expected %1 at character %2, but %3").arg(expected).arg(m_at + 1).arg(found);
    return false;
}

bool Reader::expect(QLatin1StringView token)
{
    return take(token) || fail(QLatin1Char('"') + token + QLatin1Char('"'));
}

bool Reader::readFormat(DVVisualFormat &format)
{
    if (take(QLatin1StringView("V:")))
        format.orientation = Qt::Vertical;
    else
        take(QLatin1StringView("H:"));
    format.fromEdge = take(QLatin1StringView("|"));
    if (format.fromEdge && !readGap(format.gaps.emplaceBack()))
        return false;
    if (!readView(format))
        return false;
    while (!atEnd()) {
        DVVisualFormat::Gap gap;
        if (!readGap(gap))
            return false;
        format.gaps.append(gap);
        format.toEdge = take(QLatin1StringView("|"));
        if (format.toEdge)
            return atEnd() || fail(QStringLiteral("nothing after the edge"));
        if (!sees(QLatin1StringView("[")))
            return fail(QStringLiteral("a view in brackets, or the edge \"|\","));
        if (!readView(format))
            return false;
    }
    return true;
}

bool Reader::readView(DVVisualFormat &format)
{
    if (!sees(QLatin1StringView("[")))
        return fail(QStringLiteral("a view in brackets"));
    ++m_at;
    DVVisualFormat::View view;
    view.key = readName();
    if (view.key.isEmpty())
        return fail(QStringLiteral("the name of a view"));
    if (sees(QLatin1StringView("(")) && !readRules(view.rules))
        return false;
    format.views.append(view);
    return expect(QLatin1StringView("]"));
}

bool Reader::readGap(DVVisualFormat::Gap &gap)
{
    if (!take(QLatin1StringView("-")))
        return true;
    gap.standard = atEnd() || sees(QLatin1StringView("[")) || sees(QLatin1StringView("|"));
    if (gap.standard)
        return true;
    if (sees(QLatin1StringView("("))) {
        if (!readRules(gap.rules))
            return false;
    } else if (!readLength(gap.rules.emplaceBack(), false)) {
        return false;
    }
    return expect(QLatin1StringView("-"));
}

bool Reader::readRules(QList<DVLengthRule> &rules)
{
    ++m_at;
    do {
        if (!readRule(rules.emplaceBack()))
            return false;
    } while (take(QLatin1StringView(",")));
    return expect(QLatin1StringView(")"));
}

bool Reader::readRule(DVLengthRule &rule)
{
    if (take(QLatin1StringView(">=")))
        rule.relation = DVLengthRule::AtLeast;
    else if (take(QLatin1StringView("<=")))
        rule.relation = DVLengthRule::AtMost;
    else
        take(QLatin1StringView("=="));
    return readLength(rule, true);
}

bool Reader::readLength(DVLengthRule &rule, bool maySign)
{
    const bool negative = maySign && take(QLatin1StringView("-"));
    if (!atEnd() && (isDigit(m_text[m_at]) || m_text[m_at] == u'.')) {
        if (!readNumber(rule.points))
            return false;
        rule.points = negative ? -rule.points : rule.points;
        return true;
    }
    rule.name = negative ? QString() : readName();
    return !rule.name.isEmpty() || fail(QStringLiteral("a number or a name"));
}

bool Reader::readNumber(double &points)
{
    const qsizetype begin = m_at;
    while (!atEnd() && (isDigit(m_text[m_at]) || m_text[m_at] == u'.'))
        ++m_at;
    bool isNumber = false;
    points = QStringView(m_text).mid(begin, m_at - begin).toDouble(&isNumber);
    if (isNumber && points <= dv_longestPoints)
        return true;
    m_at = begin;
    return fail(QStringLiteral("a number up to %1").arg(qint64(dv_longestPoints)));
}

QString Reader::readName()
{
    const qsizetype begin = m_at;
    while (!atEnd() && isNameCharacter(m_text[m_at], m_at == begin))
        ++m_at;
    return m_text.mid(begin, m_at - begin);
}

} // namespace

DVError dv_visualFormatError(const QString &format, const QString &reason)
{
    return {QStringLiteral("dorvane.SDK"), 500,
            QStringLiteral("Visual format \"%1\": %2").arg(format, reason)};
}

DVErrorOr DVVisualFormat::parse(const QString &text, DVVisualFormat &format)
{
    format = {};
    Reader reader(text);
    if (reader.readFormat(format))
        return {};
    return dv_visualFormatError(text, reader.reason());
}
