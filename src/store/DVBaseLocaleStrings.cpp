#include "DVBaseLocaleStrings.h"

#include "DVCueMarkers.h"
#include "DVFolders.h"
#include "DVLocaleIdentifiers.h"
#include "DVLog.h"
#include "DVPrivateFile.h"
#include "DVPropertyList.h"
#include "DVState.h"
#include "DVVersion.h"

#include <Dorvane/DVBundle.h>

#include <QDir>
#include <QFileInfo>

std::shared_ptr<DVBaseLocaleStrings> DVBaseLocaleStrings::localeStringsForLocale(const DVLocale &locale)
{
    auto strings = std::shared_ptr<DVBaseLocaleStrings>(new DVBaseLocaleStrings(locale));
    strings->m_packaged = strings->readPackagedStrings();
    strings->setLoadedStrings(*strings->m_packaged);
    return strings;
}

DVBaseLocaleStrings::DVBaseLocaleStrings(const DVLocale &locale)
    : DVLocaleStrings(locale)
{}

QString DVBaseLocaleStrings::packagedStringsPath() const
{
    if (!dv_isSafeLocaleIdentifier(locale().identifier()))
        return {};
    return DVBundle::mainBundle().pathForResource(QStringLiteral("Localizable"), QStringLiteral("strings"),
                                                  locale().identifier());
}

DVStringLayers DVBaseLocaleStrings::readPackagedStrings() const
{
    DVStringLayers packaged;
    loadStringsFromLocalizableStringsAtPath(packagedStringsPath(), &packaged);
    return packaged;
}

bool DVBaseLocaleStrings::loadStringsFromLocalizableStringsAtPath(const QString &path,
                                                                  DVStringLayers *intoDict)
{
    if (path.isEmpty() || !QFileInfo::exists(path)) {
        dv_logDebugLazily([&] { return QString(u"No packaged strings file at " + path); });
        return false;
    }
    dv_logDebugLazily([&] { return QString(u"Loading strings from " + path); });
    QByteArray data;
    const DVErrorOr error = DVPrivateFile::read(path, &data);
    const auto texts = error ? std::nullopt : dv_stringsFileFromData(data);
    if (!texts) {
        dv_logDebugLazily([&] {
            return QStringLiteral("Error loading strings from %1: %2")
                .arg(path, error ? error->description : QStringLiteral("not a strings file"));
        });
        return false;
    }
    const bool needCues = DVState::shared().stringsNeedCues();
    DVStringTableBuilder builder(needCues, true);
    for (auto text = texts->constBegin(); text != texts->constEnd(); ++text) {
        const QByteArray key = text.key().toUtf8();
        const QByteArray value = (needCues ? dv_stringWithCuesOfQt(text.value()) : text.value()).toUtf8();
        DVStringTableBuilder::Form form;
        form.key = {key.constData(), size_t(key.size())};
        form.text = {value.constData(), size_t(value.size())};
        form.status = DVStringStatusUntranslated;
        form.statusAlways = true;
        builder.add(form);
    }
    intoDict->layOver(builder.build());
    return true;
}

void DVBaseLocaleStrings::setSourceStrings(const DVStringLayers &sources)
{
    if (!m_packaged)
        m_packaged = readPackagedStrings();
    DVStringLayers layers = *m_packaged;
    layers.layOver(sources);
    setLoadedStrings(layers);
}

void DVBaseLocaleStrings::loadStrings()
{
    if (!m_fetchedLocale.isValid()) {
        if (const QString found = dummyLocalePresentOnDevice(); !found.isNull()) {
            m_fetchedLocale = DVLocale(found);
            dv_logDebugLazily(
                [&] { return QString(u"Found downloaded strings on device for locale " + found); });
        }
    }
    DVStringLayers translations; // only their source texts count here
    DVStringLayers sources;
    if (m_fetchedLocale.isValid()) {
        loadStringsFromPath(publishedFilePath(), &translations, &sources, DVStringStatusPublished);
        loadStringsFromPath(pendingFilePath(), &translations, &sources, DVStringStatusNone);
    }
    if (!sources.isEmpty())
        setSourceStrings(sources);
    dv_logDebugLazily([&] {
        return QStringLiteral("Base locale strings %1: %2 keys")
            .arg(locale().identifier())
            .arg(loadedStrings().keyCount());
    });
}

QString DVBaseLocaleStrings::dummyLocalePresentOnDevice()
{
    const QDir folder(DVFolders::dorvaneFiles());
    if (!folder.exists())
        return {};
    const QString version = dv_versionForNames();
    const QStringList names = folder.entryList(QDir::Files, QDir::Name);
    for (const QString &name : names) {
        if (!name.startsWith(version))
            continue;
        if (!name.endsWith(QStringLiteral("_pending.xlf")) &&
            !name.endsWith(QStringLiteral("_published.xlf")))
            continue;
        const qsizetype first = name.indexOf(u'_');
        const qsizetype last = name.lastIndexOf(u'_');
        if (last <= first)
            continue;
        const QString identifier = name.mid(first + 1, last - first - 1);
        if (!dv_isSafeLocaleIdentifier(identifier))
            continue;
        const QString stem = QString(version + u'_' + identifier);
        if (folder.exists(QString(stem + u"_published.xlf")) &&
            folder.exists(QString(stem + u"_pending.xlf")))
            return identifier;
    }
    return {};
}

QString DVBaseLocaleStrings::publishedFilePath() const
{
    return filePath(m_fetchedLocale, u"_published.xlf");
}

QString DVBaseLocaleStrings::pendingFilePath() const
{
    return filePath(m_fetchedLocale, u"_pending.xlf");
}
