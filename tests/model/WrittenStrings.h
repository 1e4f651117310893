// Strings for the tests of the XLIFF writer: chosen ones, and any number of generated ones.
#pragma once

#include <DVCue.h>
#include <DVXliffWriter.h>

#include <QMap>

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
        static const QStringList pieces{
            u"</target>"_qs,
            u"</trans-unit>"_qs,
            u"<target>"_qs,
            u"</xliff>"_qs,
            u"<source>(null)</source>"_qs,
            u"<ph id=\"1\" ctype=\"x-dorvane-placeholder\">%@</ph>"_qs,
            u"</ph>"_qs,
            u"<b>"_qs,
            u"&Save"_qs,
            u"&amp;"_qs,
            u"&#10;"_qs,
            u"&quot;"_qs,
            u"&lt;"_qs,
            u"&"_qs,
            u"<"_qs,
            u">"_qs,
            u"]]>"_qs,
            u"]]"_qs,
            u"<![CDATA["_qs,
            u"<!-- "_qs,
            u"-->"_qs,
            u"<?xml?>"_qs,
            u"<!DOCTYPE a>"_qs,
            u"\""_qs,
            u"'"_qs,
            u"\r"_qs,
            u"\n"_qs,
            u"\r\n"_qs,
            u"\t"_qs,
            u" "_qs,
            u"  "_qs,
            u"%"_qs,
            u"%@"_qs,
            u"%1"_qs,
            u"%%"_qs,
            u"\uFF05"_qs,
            u"\uFEFF"_qs,
            u"\U0001F600"_qs,
            u"\U0001F469\u200D\U0001F680"_qs,
            QString(QChar(0xD83D)),
            QString(QChar(0xDE00)),
            QString(QChar(0xFFFE)),
            QString(QChar(0xFFFF)),
            QString(QChar(0)),
            u"\u0001"_qs,
            u"\u0004"_qs,
            u"\u001F"_qs,
            u"\u007F"_qs,
            u"\u0085"_qs,
            u"\u2028"_qs,
            u"\u2404"_qs,
            u"\u0130"_qs,
            u"\u05D0\u05D1"_qs,
            u"\u200E"_qs,
            u"(null)"_qs,
            u"plain "_qs,
            u"a"_qs,
        };
        // Every third piece is a marker: those decide what an argument is.
        if (below(3) == 0)
            return QString(QChar(u"\u200B\u2062\u2063\u2064"[below(4)]));
        return pieces.at(below(int(pieces.size())));
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
