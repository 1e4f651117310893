// PlatformTexts: what the platform's answers say of texts, read by readers that are not ours.
#pragma once

#include "PlatformProject.h"

#include <QMap>
#include <QXmlStreamReader>

// By the units' ids; placeholder elements as "{%1}".
using Texts = QMap<QString, QString>;

namespace PlatformTexts {

inline const QByteArray published = "retrievalType=PUBLISHED";
inline const QByteArray pending = "retrievalType=PENDING";

// The targets of an XLIFF document.
inline Texts targetsOf(const QByteArray &document)
{
    Texts targets;
    QString id;
    QString text;
    bool isTarget = false;
    QXmlStreamReader xml(document);
    while (!xml.atEnd()) {
        xml.readNext();
        if (xml.isStartElement() && xml.name() == u"trans-unit")
            id = xml.attributes().value(QLatin1StringView("id")).toString();
        else if (xml.isStartElement() && xml.name() == u"target")
            text = u""_qs;
        isTarget = (isTarget || xml.name() == u"target") && !(xml.isEndElement() && xml.name() == u"target");
        if (xml.isCharacters() && isTarget)
            text += xml.text();
        else if (isTarget && xml.name() == u"ph")
            text += xml.isStartElement() ? u'{' : u'}';
        else if (xml.isEndElement() && xml.name() == u"target")
            targets.insert(id, text);
    }
    return xml.hasError() ? Texts{{u"error"_qs, xml.errorString()}} : targets;
}

// What applications get, opened by programs that are not ours.
inline Texts delivered(const HttpPeer &server, const QByteArray &locale = "fr-CA")
{
    const QByteArray file = server.get("/projects/garden/1.0/" + locale + "/strings.gz").body;
    return targetsOf(Delivered::opened(file));
}

// Messages by hashcode.
inline QMap<QString, QStringList> importErrors(const HttpAnswer &answer)
{
    QMap<QString, QStringList> errors;
    const QJsonArray list = PlatformPeer::data(answer).value(u"translationImportErrors"_qs).toArray();
    for (const QJsonValue error : list) {
        const QJsonArray messages = error[u"messages"_qs].toArray();
        for (const QJsonValue message : messages)
            errors[error[u"stringHashCode"_qs].toString()].append(message.toString());
    }
    return errors;
}

// Reasons by hashcode.
inline Texts failures(const HttpAnswer &answer)
{
    Texts reasons;
    const QJsonArray list = PlatformPeer::data(answer).value(u"failures"_qs).toArray();
    for (const QJsonValue failure : list)
        reasons.insert(failure[u"hashcode"_qs].toString(), failure[u"reason"_qs].toString());
    return reasons;
}

// A unit as applications upload it.
inline QByteArray unit(const QByteArray &id, const QByteArray &target, const QByteArray &step = {})
{
    return PlatformProject::unit(id, "key", "source", target, " phase-name=\"" + step + '"');
}

} // namespace PlatformTexts
