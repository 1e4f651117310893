#include "DVDevice.h"
#include "DVMethodTable.h"

#include <Dorvane/DVBundle.h>

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QScopeGuard>
#include <QTemporaryDir>
#include <QTest>

#include <atomic>
#include <thread>
#include <vector>

static void put(const QString &path, const QByteArray &content)
{
    QVERIFY(QDir().mkpath(QFileInfo(path).path()));
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(content), content.size());
}

static DVLocalizedStringForKeyImp original = nullptr;

static QString replacement(const DVBundle &bundle, const char *selector, const QString &key,
                           const QString &value, const QString &table)
{
    return u"[" % QString::fromLatin1(selector).left(9) % u' ' %
           original(bundle, selector, key, value, table) % u']';
}

// Before main, and maybe before the bundle's own static objects: the lookup must work there, too.
static const QString earlyLookup = DVBundle().localizedStringForKey(u"early"_qs);

class TestBundle : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_temporary;
    QString m_path;

    static void setLanguages(const QStringList &languages)
    {
        DVDevice::setOverride({.languages = languages, .locale = u"C"_qs, .systemVersion = {}});
    }

private Q_SLOTS:
    void initTestCase()
    {
        m_path = m_temporary.filePath(u"app"_qs);
        put(m_path + u"/Info.plist"_qs,
            "<plist><dict><key>CFBundleShortVersionString</key><string>2.5</string>"
            "<key>CFBundleDevelopmentRegion</key><string>en_GB</string></dict></plist>");
        put(m_path + u"/fr_CA.xlf"_qs, "<xliff/>");
        put(m_path + u"/Localizable.strings"_qs, "top = \"Top\"; yes = \"top yes\";");
        put(m_path + u"/en-GB.lproj/Localizable.strings"_qs, "yes = Yes; colour = Colour; empty = \"\";");
        put(m_path + u"/en-GB.lproj/Other.strings"_qs, "yes = \"Other yes\";");
        put(m_path + u"/fr.lproj/Localizable.strings"_qs, "yes = Oui;");
        put(m_path + u"/fr_CA.lproj/Localizable.strings"_qs, "yes = Ouais;");
        put(m_path + u"/zh_Hant.lproj/Localizable.strings"_qs, "\"yes\" = \"\xE6\x98\xAF\";");
        put(m_path + u"/de.lproj/Localizable.strings"_qs, "this is damaged");
        put(m_path + u"/un safe.lproj/Localizable.strings"_qs, "yes = no;");
        put(m_temporary.filePath(u"secret.strings"_qs), "yes = stolen;");
    }
    void cleanup()
    {
        DVDevice::setOverride({});
        DVBundle::setMainBundle({});
    }

    void aLookupBeforeMainWorks() { QCOMPARE(earlyLookup, u"early"_qs); }

    void packagedTexts_data()
    {
        QTest::addColumn<QStringList>("languages");
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("value");
        QTest::addColumn<QString>("table");
        QTest::addColumn<QString>("text");
        const auto row = [](const char *title, const QStringList &languages, const QString &key,
                            const QString &value, const QString &table, const QString &text) {
            QTest::newRow(title) << languages << key << value << table << text;
        };
        const QString yes = u"yes"_qs;
        row("the language and region", {u"fr-CA"_qs}, yes, {}, {}, u"Ouais"_qs);
        row("the language of another region", {u"fr-BE"_qs}, yes, {}, {}, u"Oui"_qs);
        row("the script that a region implies", {u"zh-TW"_qs}, yes, {}, {}, u"\u662f"_qs);
        row("another script is another language", {u"zh-CN"_qs}, yes, {}, {}, u"Yes"_qs);
        row("the second language, before the development region", {u"pl-PL"_qs, u"fr"_qs}, yes, {}, {},
            u"Oui"_qs);
        row("no language at all", {}, yes, {}, {}, u"Yes"_qs);
        row("a key that only the development region has", {u"fr-CA"_qs}, u"colour"_qs, {}, {}, u"Colour"_qs);
        row("a key that only the top folder has", {u"fr-CA"_qs}, u"top"_qs, {}, {}, u"Top"_qs);
        row("a damaged file counts as none", {u"de-DE"_qs}, yes, {}, {}, u"Yes"_qs);
        row("another table", {u"fr-CA"_qs}, yes, {}, u"Other"_qs, u"Other yes"_qs);
        row("an empty text is an answer", {}, u"empty"_qs, u"value"_qs, {}, QString());
        row("an unknown key gives the value", {}, u"unknown"_qs, u"value"_qs, {}, u"value"_qs);
        row("an unknown key without a value gives itself", {}, u"unknown"_qs, {}, {}, u"unknown"_qs);
        row("an unknown table", {}, yes, u"value"_qs, u"None"_qs, u"value"_qs);
        row("a table outside of the bundle", {}, yes, {}, u"../secret"_qs, yes);
        row("an empty key", {}, QString(), {}, {}, QString());
    }
    void packagedTexts()
    {
        QFETCH(QStringList, languages);
        QFETCH(QString, key);
        QFETCH(QString, value);
        QFETCH(QString, table);
        QFETCH(QString, text);
        setLanguages(languages);
        const DVBundle bundle(m_path);
        QCOMPARE(bundle.localizedStringForKey(key, value, table), text);
        QCOMPARE(bundle.localizedStringForKey(key, value, table), text); // from what is kept
    }

    void resources_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("type");
        QTest::addColumn<QString>("localization");
        QTest::addColumn<QString>("found");
        const QString strings = u"strings"_qs;
        const QString localizable = u"Localizable"_qs;
        QTest::newRow("in the top folder") << u"fr_CA"_qs << u"xlf"_qs << QString() << u"fr_CA.xlf"_qs;
        QTest::newRow("without a type") << u"Info.plist"_qs << QString() << QString() << u"Info.plist"_qs;
        QTest::newRow("of a localization")
            << localizable << strings << u"fr"_qs << u"fr.lproj/Localizable.strings"_qs;
        QTest::newRow("not of another localization") << u"Other"_qs << strings << u"fr"_qs << QString();
        QTest::newRow("missing") << u"de"_qs << u"xlf"_qs << QString() << QString();
        QTest::newRow("a folder is none") << u"fr"_qs << u"lproj"_qs << QString() << QString();
        QTest::newRow("a name that climbs out") << u"../secret"_qs << strings << QString() << QString();
        QTest::newRow("a localization that climbs out")
            << u"secret"_qs << strings << u"../x/.."_qs << QString();
        QTest::newRow("a type that climbs out")
            << u"x"_qs << u"/../../secret.strings"_qs << QString() << QString();
        QTest::newRow("an unsafe localization that exists")
            << localizable << strings << u"un safe"_qs << QString();
        QTest::newRow("no name") << QString() << strings << QString() << QString();
        QTest::newRow("a zero inside") << QString(u"fr\0x"_qs) << u"xlf"_qs << QString() << QString();
    }
    void resources()
    {
        QFETCH(QString, name);
        QFETCH(QString, type);
        QFETCH(QString, localization);
        QFETCH(QString, found);
        const DVBundle bundle(m_path);
        QCOMPARE(bundle.pathForResource(name, type, localization),
                 found.isEmpty() ? QString() : QString(m_path % u'/' % found));
        QVERIFY(DVBundle().pathForResource(name, type, localization).isNull());
    }

    void informationOfTheBundle()
    {
        const DVBundle bundle(m_path);
        QVERIFY(bundle.isValid());
        QCOMPARE(bundle.bundlePath(), m_path);
        QCOMPARE(bundle.objectForInfoDictionaryKey(u"CFBundleShortVersionString"_qs).toString(), u"2.5"_qs);
        QVERIFY(!bundle.objectForInfoDictionaryKey(u"missing"_qs).isValid());
        QCOMPARE(bundle.localizations(),
                 (QStringList{u"de"_qs, u"en-GB"_qs, u"fr"_qs, u"fr_CA"_qs, u"zh_Hant"_qs}));
        const QTemporaryDir empty;
        put(empty.filePath(u"Info.plist"_qs), "bplist00\xff\xff damaged");
        QVERIFY(!DVBundle(empty.path()).objectForInfoDictionaryKey(u"CFBundleName"_qs).isValid());
        QVERIFY(!DVBundle(empty.filePath(u"missing"_qs)).isValid());
        QVERIFY(!DVBundle().isValid());
    }

    void theMainBundleIsWhatWasSetOrTheApplicationSFolder()
    {
        QCOMPARE(DVBundle::mainBundle().bundlePath(), QCoreApplication::applicationDirPath());
        DVBundle::setMainBundle(DVBundle(m_path));
        QCOMPARE(DVBundle::mainBundle().bundlePath(), m_path);
        DVBundle::setMainBundle(DVBundle(m_path + u"/missing"_qs));
        QCOMPARE(DVBundle::mainBundle().bundlePath(), QCoreApplication::applicationDirPath());
    }

    void aResourceFolderOfTheSystemCountsWhenItHoldsResources()
    {
#if !defined(Q_OS_UNIX) || defined(Q_OS_DARWIN)
        QSKIP("other systems have their resources elsewhere");
#endif
        const QTemporaryDir share;
        const QByteArray oldFolders = qgetenv("XDG_DATA_DIRS");
        qputenv("XDG_DATA_DIRS", QFile::encodeName(share.path()));
        const auto restore = qScopeGuard([&] { qputenv("XDG_DATA_DIRS", oldFolders); });
        const QString folder = share.filePath(QCoreApplication::applicationName());
        put(folder + u"/icon.png"_qs, "");
        QCOMPARE(DVBundle::mainBundle().bundlePath(), QCoreApplication::applicationDirPath());
        put(folder + u"/fr.xlf"_qs, "<xliff/>");
        DVBundle::setMainBundle({}); // choose anew
        QCOMPARE(DVBundle::mainBundle().bundlePath(), folder);
    }

    void theLookupIsReplaceable()
    {
        setLanguages({u"fr"_qs});
        const DVBundle bundle(m_path);
        constexpr auto kind = DVMethodTable::Kind::Instance;
        const char selector[] = "localizedStringForKey:value:table:";
        const DVImp old =
            DVMethodTable::replace("DVBundle", kind, selector, reinterpret_cast<DVImp>(&replacement));
        QVERIFY(old);
        original = reinterpret_cast<DVLocalizedStringForKeyImp>(old);
        QCOMPARE(bundle.localizedStringForKey(u"yes"_qs), u"[localized Oui]"_qs);
        QCOMPARE(bundle.packagedStringForKey(u"yes"_qs, {}, {}), u"Oui"_qs);
        const DVImp back = DVMethodTable::replace("DVBundle", kind, selector, old);
        QVERIFY(back == reinterpret_cast<DVImp>(&replacement));
        QCOMPARE(bundle.localizedStringForKey(u"yes"_qs), u"Oui"_qs);
    }

    void methodsAreInheritedAndReplacedPerClass()
    {
        using namespace DVMethodTable;
        const auto a = reinterpret_cast<DVImp>(&replacement);
        const auto b = reinterpret_cast<DVImp>(&put);
        declareClass("Base");
        declareClass("Derived", "Base");
        declareMethod("Base", Kind::Instance, "run", a);
        declareMethod("Base", Kind::Instance, "run", b); // it has one already
        QVERIFY(implementation("Derived", Kind::Instance, "run") == a);
        QVERIFY(replace("Derived", Kind::Instance, "run", b) == a); // Derived gains its own
        QVERIFY(implementation("Derived", Kind::Instance, "run") == b);
        QVERIFY(implementation("Base", Kind::Instance, "run") == a);
        QVERIFY(!replace("Derived", Kind::Class, "run", b)); // the class side is another one
        QVERIFY(!replace("Derived", Kind::Instance, "other", b));
        QVERIFY(!replace("Nobody", Kind::Instance, "run", b));
        QVERIFY(!implementation("Derived", Kind::Instance, "other"));
    }

    void fourThreadsLookUpWhileTheMethodIsReplaced()
    {
        setLanguages({u"fr"_qs});
        const DVBundle bundle(m_path); // nothing is read yet: all threads read together
        const char selector[] = "localizedStringForKey:value:table:";
        std::atomic<bool> stop = false;
        std::atomic<bool> wrong = false;
        original = [](const DVBundle &receiver, const char *, const QString &key, const QString &value,
                      const QString &table) { return receiver.packagedStringForKey(key, value, table); };
        std::vector<std::thread> threads;
        for (int i = 0; i < 4; ++i) {
            threads.emplace_back([&] {
                while (!stop) {
                    const QString text = bundle.localizedStringForKey(u"yes"_qs);
                    if (text != u"Oui" && text != u"[localized Oui]")
                        wrong = true;
                    (void)bundle.localizedStringForKey(u"yes"_qs, {}, u"Other"_qs);
                }
            });
        }
        auto imp = reinterpret_cast<DVImp>(&replacement);
        for (int i = 0; i < 2000; ++i) // an even number puts the first one back
            imp = DVMethodTable::replace("DVBundle", DVMethodTable::Kind::Instance, selector, imp);
        stop = true;
        for (auto &thread : threads)
            thread.join();
        QVERIFY(!wrong);
        QCOMPARE(bundle.localizedStringForKey(u"yes"_qs), u"Oui"_qs);
    }
};

QTEST_GUILESS_MAIN(TestBundle)
#include "tst_bundle.moc"
