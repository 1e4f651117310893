#include <Dorvane/DVBundle.h>

#include "DVBundleData.h"
#include "DVMethodTable.h"
#include "DVQtUse.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>

#include <atomic>
#include <mutex>

namespace {

// --- The replaceable lookup

constexpr char lookupSelector[] = "localizedStringForKey:value:table:";

QString packagedLookup(const DVBundle &bundle, const char *, const QString &key, const QString &value,
                       const QString &table)
{
    return bundle.packagedStringForKey(key, value, table);
}

// Null until the class is declared, so that a lookup in another file's static initialiser works, too.
constinit std::atomic<DVImp> lookupImplementation = nullptr;

DVImp declareLookup()
{
    DVMethodTable::declareClass("DVBundle");
    DVMethodTable::declareMethod("DVBundle", DVMethodTable::Kind::Instance, lookupSelector,
                                 reinterpret_cast<DVImp>(&packagedLookup), lookupImplementation);
    return lookupImplementation.load(std::memory_order_acquire);
}

[[maybe_unused]] const DVImp declaredBeforeMain = declareLookup();

// --- The main bundle

struct MainBundle
{
    std::mutex mutex;
    DVBundle set;
    DVBundle chosen;
};

MainBundle &main()
{
    static auto *instance = new MainBundle; // never destroyed: threads may outlive static objects
    return *instance;
}

bool holdsResources(const QString &folder)
{
    const QDir dir(folder);
    return QFileInfo::exists(folder % u"/Info.plist") ||
           !dir.entryList({u"*.lproj"_qs}, QDir::Dirs).isEmpty() ||
           !dir.entryList({u"*.xlf"_qs}, QDir::Files).isEmpty();
}

// Where the platform puts what comes with the application, most specific first.
QStringList platformResourceFolders()
{
#if defined(Q_OS_ANDROID)
    return {u"assets:/dorvane"_qs};
#elif defined(Q_OS_MACOS)
    return {QCoreApplication::applicationDirPath() % u"/../Resources"};
#elif defined(Q_OS_UNIX) && !defined(Q_OS_DARWIN)
    // The first data folder is the user's own, where no resources are installed.
    QStringList folders = QStandardPaths::standardLocations(QStandardPaths::AppDataLocation).mid(1);
    const QString name = QCoreApplication::applicationName();
    if (!name.isEmpty() && !name.contains(u'/') && !name.startsWith(u'.'))
        folders.prepend(QCoreApplication::applicationDirPath() % u"/../share/" % name);
    return folders;
#else
    return {};
#endif
}

DVBundle chooseMainBundle()
{
    const DVQtUse use;
    if (!use)
        return {};
    if (QFileInfo(u":/dorvane"_qs).isDir())
        return DVBundle(u":/dorvane"_qs);
    for (const QString &folder : platformResourceFolders()) {
        if (holdsResources(folder))
            return DVBundle(QDir::cleanPath(folder));
    }
    return DVBundle(QCoreApplication::applicationDirPath());
}

} // namespace

DVBundle::DVBundle()
    : DVBundle(QString())
{}

DVBundle::DVBundle(const QString &path)
    : d(QSharedPointer<DVBundleData>::create(path))
{}

DVBundle DVBundle::mainBundle()
{
    auto &m = main();
    const std::lock_guard lock(m.mutex);
    if (m.set.isValid())
        return m.set;
    if (m.chosen.isValid() || !QCoreApplication::instance())
        return m.chosen;
    m.chosen = chooseMainBundle();
    return m.chosen;
}

void DVBundle::setMainBundle(const DVBundle &bundle)
{
    auto &m = main();
    const std::lock_guard lock(m.mutex);
    m.set = bundle;
    m.chosen = DVBundle();
}

bool DVBundle::isValid() const
{
    return d->exists();
}

QString DVBundle::bundlePath() const
{
    return d->path();
}

QVariant DVBundle::objectForInfoDictionaryKey(const QString &key) const
{
    return d->info().value(key);
}

QString DVBundle::pathForResource(const QString &name, const QString &type, const QString &localization) const
{
    return d->pathForResource(name, type, localization);
}

QStringList DVBundle::localizations() const
{
    return d->localizations();
}

QString DVBundle::localizedStringForKey(const QString &key, const QString &value, const QString &table) const
{
    DVImp imp = lookupImplementation.load(std::memory_order_acquire);
    if (!imp) [[unlikely]]
        imp = declareLookup();
    return reinterpret_cast<DVLocalizedStringForKeyImp>(imp)(*this, lookupSelector, key, value, table);
}

QString DVBundle::packagedStringForKey(const QString &key, const QString &value, const QString &table) const
{
    const QString text = d->packagedText(key, table);
    if (!text.isNull())
        return text;
    return value.isEmpty() ? key : value;
}
