#include "DVDevice.h"
#include "DVMethodTable.h"
#include "DVRows.h"
#include "DVTestFiles.h"

#include <Dorvane/DVBundle.h>

#include <QCoreApplication>
#include <QScopeGuard>
#include <QTemporaryDir>

#include <atomic>
#include <thread>
#include <vector>

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
        DVTestFiles::write(m_path + u"/Info.plist"_qs,
                           "<plist><dict><key>CFBundleShortVersionString</key><string>2.5</string>"
                           "<key>CFBundleDevelopmentRegion</key><string>en_GB</string></dict></plist>");
        const QList<std::pair<QString, QByteArray>> files{
            {u"fr_CA.xlf"_qs, "<xliff/>"},
            {u"Localizable.strings"_qs, "top = \"Top\"; yes = \"top yes\";"},
            {u"en-GB.lproj/Localizable.strings"_qs, "yes = Yes; colour = Colour; empty = \"\";"},
            {u"en-GB.lproj/Other.strings"_qs, "yes = \"Other yes\";"},
            {u"fr.lproj/Localizable.strings"_qs, "yes = Oui;"},
            {u"fr_CA.lproj/Localizable.strings"_qs, "yes = Ouais;"},
            {u"zh_Hant.lproj/Localizable.strings"_qs, "\"yes\" = \"\xE6\x98\xAF\";"},
            {u"de.lproj/Localizable.strings"_qs, "this is damaged"},
            {u"un safe.lproj/Localizable.strings"_qs, "yes = no;"},
            {u"../secret.strings"_qs, "yes = stolen;"}};
        for (const auto &[name, content] : files)
            DVTestFiles::write(m_path + u'/' + name, content);
    }
    void cleanup()
    {
        DVDevice::setOverride({});
        DVBundle::setMainBundle({});
    }

    void aLookupBeforeMainWorks() { QCOMPARE(earlyLookup, u"early"_qs); }

    void packagedTexts_data()
    {
        const DVRows<QStringList, QString, QString, QString, QString> row("languages", "key", "value",
                                                                          "table", "text");
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
        setLanguages(languages);
        const DVBundle bundle(m_path);
        QTEST(bundle.localizedStringForKey(key, value, table), "text");
        QTEST(bundle.localizedStringForKey(key, value, table), "text"); // from what is kept
    }

    void resources_data()
    {
        const DVRows<QString, QString, const char *, const char *> row("name", "type", "localization",
                                                                       "found");
        const QString strings = u"strings"_qs;
        const QString localizable = u"Localizable"_qs;
        row("in the top folder", u"fr_CA"_qs, u"xlf"_qs, "", "fr_CA.xlf");
        row("without a type", u"Info.plist"_qs, {}, "", "Info.plist");
        row("of a localization", localizable, strings, "fr", "fr.lproj/Localizable.strings");
        row("not of another localization", u"Other"_qs, strings, "fr", "");
        row("missing", u"de"_qs, u"xlf"_qs, "", "");
        row("a folder is none", u"fr"_qs, u"lproj"_qs, "", "");
        row("a name that climbs out", u"../secret"_qs, strings, "", "");
        row("a localization that climbs out", u"secret"_qs, strings, "../x/..", "");
        row("a type that climbs out", u"x"_qs, u"/../../secret.strings"_qs, "", "");
        row("an unsafe localization that exists", localizable, strings, "un safe", "");
        row("no name", {}, strings, "", "");
        row("a zero inside", QString(u"fr\0x"_qs), u"xlf"_qs, "", "");
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
        DVTestFiles::write(empty.filePath(u"Info.plist"_qs), "bplist00\xff\xff damaged");
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
        DVTestFiles::write(folder + u"/icon.png"_qs, "");
        QCOMPARE(DVBundle::mainBundle().bundlePath(), QCoreApplication::applicationDirPath());
        DVTestFiles::write(folder + u"/fr.xlf"_qs, "<xliff/>");
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
