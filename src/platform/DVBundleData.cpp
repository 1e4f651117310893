#include "DVBundleData.h"

#include "DVDevice.h"
#include "DVPrivateFile.h"
#include "DVPropertyList.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>
#include <optional>

namespace {

constexpr qint64 resourceLimit = qint64(256) << 20;
constexpr int emptyTableLimit = 64;
constexpr QLatin1StringView lprojSuffix{".lproj"};

// Names of resources come from the host, names of localizations may come from a server.
bool isSafeName(const QString &name)
{
    return !name.isEmpty() && !name.startsWith(u'.') && !name.contains(u'/') && !name.contains(u'\\') &&
           !name.contains(QChar::Null);
}

bool isSafeLocalization(const QString &name)
{
    const auto isAllowed = [](QChar c) {
        return c.unicode() < 128 && (c.isLetterOrNumber() || c == u'_' || c == u'-');
    };
    return !name.isEmpty() && name.size() <= 64 && name.front().isLetter() &&
           std::all_of(name.begin(), name.end(), isAllowed);
}

std::optional<QByteArray> contentOf(const QString &path)
{
    QByteArray content;
    if (path.isEmpty() || DVPrivateFile::read(path, &content, resourceLimit))
        return {};
    return content;
}

// Folders are called "fr_CA" or "fr-CA"; case does not count (BCP 47).
QString comparable(const QString &localization)
{
    return QString(localization).replace(u'_', u'-').toLower();
}

QString folderNamed(const QStringList &folders, const QString &language)
{
    const auto found =
        std::find_if(folders.begin(), folders.end(), [wanted = comparable(language)](const QString &folder) {
            return comparable(folder) == wanted;
        });
    return found == folders.end() ? QString() : *found;
}

// From the most particular to the most general: "zh-TW", "zh-Hant-TW", "zh-Hant", "zh".
QStringList fallbacksOf(const QString &language)
{
    QStringList names{language};
    for (QString name : {DVDevice::likelyLanguage(language), language}) {
        for (qsizetype end = name.size(); end > 0; end = name.lastIndexOf(u'-')) {
            name.truncate(end);
            names.append(name);
        }
    }
    // The language alone, in whatever script, comes last.
    const QString bare = DVLocale(language).languageCode();
    names.removeAll(bare);
    names.append(bare);
    return names;
}

QString folderForLanguage(const QStringList &folders, const QString &language)
{
    for (const QString &name : fallbacksOf(language)) {
        const QString folder = folderNamed(folders, name);
        if (!folder.isEmpty())
            return folder;
    }
    return {};
}

QString preferredFolder(const QStringList &folders)
{
    for (const QString &language : DVDevice::preferredLanguages()) {
        const QString folder = folderForLanguage(folders, language);
        if (!folder.isEmpty())
            return folder;
    }
    return {};
}

} // namespace

DVBundleData::DVBundleData(const QString &path)
    : m_path(path.isEmpty() ? path : QDir::cleanPath(QDir::current().absoluteFilePath(path)))
    , m_exists(!path.isEmpty() && QFileInfo(m_path).isDir())
{}

DVBundleData::~DVBundleData() = default;

QVariantMap DVBundleData::info()
{
    const std::lock_guard lock(m_mutex);
    if (!m_infoRead) {
        m_infoRead = true;
        if (const auto content = contentOf(pathForResource(u"Info"_qs, u"plist"_qs, {})))
            m_info = dv_propertyListFromData(*content).value_or(QVariantMap());
    }
    return m_info;
}

QStringList DVBundleData::localizations()
{
    if (!m_exists)
        return {};
    QStringList names;
    const auto folders =
        QDir(m_path).entryList({u"*.lproj"_qs}, QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name);
    for (const QString &folder : folders) {
        const QString name = folder.chopped(lprojSuffix.size());
        if (isSafeLocalization(name))
            names.append(name);
    }
    return names;
}

QString DVBundleData::pathForResource(const QString &name, const QString &type,
                                      const QString &localization) const
{
    if (!m_exists || !isSafeName(name) || (!type.isEmpty() && !isSafeName(type)))
        return {};
    QString path = m_path % u'/';
    if (!localization.isEmpty()) {
        if (!isSafeLocalization(localization))
            return {};
        path += localization % lprojSuffix % u'/';
    }
    path += name;
    if (!type.isEmpty())
        path += u'.' % type;
    return QFileInfo(path).isFile() ? path : QString();
}

QString DVBundleData::packagedText(const QString &key, const QString &table)
{
    const QString name = table.isEmpty() ? u"Localizable"_qs : table; // the literal is not copied
    const Table *found = findTable(name);
    if (!found)
        found = readTable(name);
    if (!found)
        return {};
    const auto text = found->texts.constFind(key);
    if (text == found->texts.cend())
        return {};
    return text->isNull() ? u""_qs : *text; // null is what an unknown key gives
}

const DVBundleData::Table *DVBundleData::findTable(const QString &name) const
{
    const Table *table = m_firstTable.load(std::memory_order_acquire);
    while (table && table->name != name)
        table = table->next.get();
    return table;
}

// Least preferred first, so that a later one's texts replace an earlier one's.
QStringList DVBundleData::searchedLocalizations()
{
    const QString region = info().value(u"CFBundleDevelopmentRegion"_qs).toString();
    const QStringList folders = localizations();
    QStringList searched{QString()}; // the top folder
    const QString development =
        folderForLanguage(folders, QString(region.isEmpty() ? u"en"_qs : region).replace(u'_', u'-'));
    if (!development.isEmpty())
        searched.append(development);
    const QString preferred = preferredFolder(folders);
    if (!preferred.isEmpty() && preferred != development)
        searched.append(preferred);
    return searched;
}

const DVBundleData::Table *DVBundleData::readTable(const QString &name)
{
    if (!m_exists || !isSafeName(name))
        return nullptr;
    QHash<QString, QString> texts;
    for (const QString &localization : searchedLocalizations()) {
        const auto content = contentOf(pathForResource(name, u"strings"_qs, localization));
        const auto entries = content ? dv_stringsFileFromData(*content) : std::nullopt;
        if (entries)
            texts.insert(*entries);
    }
    return keepTable(name, std::move(texts));
}

// A table that no file has is kept, too, so that its files are not looked for again; but not for
// ever more names, which a host may make up.
const DVBundleData::Table *DVBundleData::keepTable(const QString &name, QHash<QString, QString> texts)
{
    const std::lock_guard lock(m_mutex);
    if (const Table *known = findTable(name)) // another thread was faster
        return known;
    if (texts.isEmpty() && m_tableCount >= emptyTableLimit)
        return nullptr;
    auto table = std::make_unique<Table>();
    table->name = name;
    table->texts = std::move(texts);
    table->next = std::move(m_tables);
    m_tables = std::move(table);
    ++m_tableCount;
    m_firstTable.store(m_tables.get(), std::memory_order_release);
    return m_tables.get();
}
