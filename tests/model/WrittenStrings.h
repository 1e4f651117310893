// Strings for the tests of the XLIFF writer: chosen ones, and any number of generated ones.
#pragma once

#include <DVCue.h>
#include <DVXliffWriter.h>

#include <QMap>

#include <iterator>
#include <random>

// Texts are written as dv_stringShowingCues shows them.
inline QString withMarkers(QString shown)
{
    return shown.replace(u'[', QChar(DVCueMarker::stringStart))
        .replace(u']', QChar(DVCueMarker::stringEnd))
        .replace(u'{', QChar(DVCueMarker::argumentStart))
        .replace(u'}', QChar(DVCueMarker::argumentEnd));
}

inline DVStringPtr writtenForm(const QString &key, const QString &uid, const QString &text,
                               const QString &plural = {})
{
    const auto form = std::make_shared<DVString>();
    form->key = key;
    form->uid = uid;
    form->pluralForm = plural;
    if (text.isNull())
        form->localizedFormat = text;
    else
        form->extractFormatFromString(text);
    return form;
}

struct WrittenStrings
{
    DVStringGroups groups;
    QMap<std::pair<QString, QString>, DVStringPtr> base; // by key and category

    void add(const DVStringPtr &form)
    {
        auto &group = groups[form->key];
        if (!group)
            group = std::make_shared<DVStringGroup>();
        group->addStringForm(form);
    }
    void addBase(const DVStringPtr &form) { base.insert({form->key, form->pluralForm}, form); }

    DVXliffHeader header() const
    {
        return {QStringLiteral("en-US"), QStringLiteral("fr-CA"), QStringLiteral("step-7"),
                QStringLiteral("Review & \"sign-off\""), [this](const QString &key, const QString &plural) {
                    return base.value({key, plural});
                }};
    }

    static WrittenStrings generated(quint32 seed, int count);
};

// What hurts: the writer's own markup, XML's, markers, white space, and characters that XML has not.
class HostileText
{
public:
    explicit HostileText(quint32 seed)
        : m_random(seed)
    {}

    int below(int limit) { return std::uniform_int_distribution<int>(0, limit - 1)(m_random); }

    QString text()
    {
        QString result;
        for (int i = below(8); i > 0; --i)
            result += piece();
        return result.isNull() ? QStringLiteral("") : result;
    }

private:
    QString piece()
    {
        static const QStringList pieces =
            u"</target>|</trans-unit>|<target>|</xliff>|<source>(null)</source>|</ph>|<b>|&Save|&amp;|&#10;|"
            "<ph id=\"1\" ctype=\"x-dorvane-placeholder\">%@</ph>|&quot;|&lt;|]]>|]]|<![CDATA[|<!-- |-->|"
            "<?xml?>|<!DOCTYPE a>|\r\n|  |%@|%1|%%|\U0001F600|\U0001F469\u200D\U0001F680|\u05D0\u05D1|(null)|"
            "plain "_qs.split(u'|');
        // The zero at its end is one of them.
        static constexpr char16_t characters[] = u"&<>\"'\r\n\t %\uFF05\uFEFF\xD83D\xDE00\xFFFE\xFFFF\u0001"
                                                 "\u0004\u001F\u007F\u0085\u2028\u2404\u0130\u200Ea";
        // Every third piece is a marker: those decide what an argument is.
        if (below(3) == 0)
            return QString(QChar(u"\u200B\u2062\u2063\u2064"[below(4)]));
        const int chosen = below(int(pieces.size()) + int(std::size(characters)));
        return chosen < pieces.size() ? pieces.at(chosen) : QString(characters[chosen - pieces.size()]);
    }

    std::mt19937 m_random;
};

inline WrittenStrings WrittenStrings::generated(quint32 seed, int count)
{
    WrittenStrings strings;
    HostileText hostile(seed);
    const QStringList categories{u"zero"_qs, u"one"_qs, u"two"_qs, u"few"_qs, u"many"_qs, u"other"_qs};
    for (int i = 0; i < count; ++i) {
        // Keys that differ also when a document has made pictures of their control characters.
        const QString key = hostile.text() + QString::number(i);
        const QString uid = hostile.text().remove(u'[') + u'#';
        const auto add = [&](const QString &id, const QString &plural) {
            const bool fails = hostile.below(20) == 0;
            strings.add(writtenForm(key, fails ? QString() : id, hostile.text(), plural));
            if (hostile.below(4) != 0)
                strings.addBase(writtenForm(key, u"base"_qs, hostile.text(), plural));
        };
        if (hostile.below(3) != 0) {
            add(uid, {});
            continue;
        }
        for (const QString &category : categories) {
            if (category == u"other" || hostile.below(2) == 0)
                add(QString(uid + u'[' + category + u']'), category);
        }
    }
    return strings;
}
