#include "DVDevice.h"
#include "DVRows.h"

#include <QCoreApplication>
#include <QProcess>

#include <sys/utsname.h>

class TestDevice : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { DVDevice::setOverride({}); }

    // The likely regions are those of CLDR's likelySubtags.xml.
    void theFirstLanguageGetsItsRegion_data()
    {
        const DVRows<QStringList, QString, QStringList> row("languages", "locale", "expected");
        row("a region is kept", {u"fr-CA"_qs, u"en"_qs}, u"de_DE"_qs, {u"fr-CA"_qs, u"en"_qs});
        row("from the current locale of the same language", {u"de"_qs}, u"de_AT"_qs, {u"de-AT"_qs});
        row("from the likely subtags for another language", {u"de"_qs}, u"fr_CA"_qs, {u"de-DE"_qs});
        row("from the likely subtags without a current locale", {u"pl"_qs}, u"C"_qs, {u"pl-PL"_qs});
        row("from the likely subtags when the current locale has no region", {u"ja"_qs}, u"ja"_qs,
            {u"ja-JP"_qs});
        row("after a script", {u"zh-Hant"_qs}, u"en_US"_qs, {u"zh-Hant-TW"_qs});
        row("after a script, from the current locale", {u"sr-Latn"_qs}, u"sr_Latn_ME"_qs, {u"sr-Latn-ME"_qs});
        row("only the first is completed", {u"de-CH"_qs, u"it"_qs}, u"it_IT"_qs, {u"de-CH"_qs, u"it"_qs});
        row("a number of a region is one", {u"es-419"_qs}, u"es_MX"_qs, {u"es-419"_qs});
        row("the world is no region", {u"eo"_qs}, u"en_US"_qs, {u"eo"_qs});
        row("a language that nobody knows", {u"qqq"_qs}, u"en_US"_qs, {u"qqq"_qs});
        row("underscores and encodings of POSIX", {u"fr_CA.UTF-8"_qs, u"de_DE@euro"_qs}, u"C"_qs,
            {u"fr-CA"_qs, u"de-DE"_qs});
        row("C and POSIX are no preference",
            {u"C"_qs, u"POSIX"_qs, u"C.UTF-8"_qs, u"en-US-POSIX"_qs, QString()}, u"C"_qs, {});
        row("what follows C counts", {u"C"_qs, u"nl"_qs}, u"nl_BE"_qs, {u"nl-BE"_qs});
        row("rubbish passes and crashes nothing", {QString(5000, u'x'), u"-"_qs}, u"__"_qs,
            {QString(5000, u'x'), u"-"_qs});
    }
    void theFirstLanguageGetsItsRegion()
    {
        QFETCH(QStringList, languages);
        QFETCH(QString, locale);
        DVDevice::setOverride({.languages = languages, .locale = locale, .systemVersion = {}});
        QTEST(DVDevice::preferredLanguages(), "expected");
    }

    void regionsCameWithVersionNine()
    {
        for (const auto &[version, language] : {std::pair(u"8.4"_qs, u"de"_qs), {u"9.0"_qs, u"de-AT"_qs}}) {
            DVDevice::setOverride({QStringList{u"de"_qs}, u"de_AT"_qs, version});
            QCOMPARE(DVDevice::preferredLanguages(), QStringList{language});
        }
    }

    void currentLocaleIsInDeviceForm_data()
    {
        const DVRows<const char *, const char *> row("locale", "identifier");
        row("as it is", "sr_Latn_ME", "sr_Latn_ME");
        row("with hyphens", "fr-CA", "fr_CA");
        row("with an encoding", "pt_BR.UTF-8", "pt_BR");
        row("C", "C", "");
        row("POSIX", "POSIX", "");
        row("nothing", "", "");
    }
    void currentLocaleIsInDeviceForm()
    {
        QFETCH(QString, locale);
        QFETCH(QString, identifier);
        DVDevice::setOverride({.languages = {}, .locale = locale, .systemVersion = {}});
        QCOMPARE(DVDevice::currentLocale().identifier(), identifier);
        QCOMPARE(DVDevice::currentLocale().isValid(), !identifier.isEmpty());
    }

    // The system itself, in the environments that a login gives.
    void systemSettings_data()
    {
        const DVRows<QByteArray, QByteArray, const char *, const char *> row("lcAll", "language",
                                                                             "firstLanguage", "locale");
        row("nobody chose", "C", {}, "", "");
        row("French of Canada", "fr_CA.UTF-8", {}, "fr-CA", "fr_CA");
        row("a list of languages, the first without region", "de_AT.UTF-8", "de:en", "de-AT", "de_AT");
        row("a script that the region does not imply", "uz_Cyrl_UZ.UTF-8", {}, "uz-Cyrl-UZ", "uz_Cyrl_UZ");
    }
    void systemSettings()
    {
#if !defined(Q_OS_LINUX)
        QSKIP("other systems do not take their language from the environment");
#endif
        QFETCH(QByteArray, lcAll);
        QFETCH(QByteArray, language);
        QProcess login;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"LC_ALL"_qs, QString::fromLatin1(lcAll));
        environment.insert(u"LANGUAGE"_qs, QString::fromLatin1(language));
        login.setProcessEnvironment(environment);
        login.start(QCoreApplication::applicationFilePath(), {u"--print"_qs});
        QVERIFY(login.waitForFinished());
        const auto lines = QString::fromLatin1(login.readAllStandardOutput()).split(u'\n');
        QCOMPARE(lines.size(), 3);
        QTEST(lines[0].split(u' ').first(), "firstLanguage");
        QTEST(lines[1], "locale");
    }

    void versionAsANumber_data()
    {
        const DVRows<QString, double> row("version", "number");
        row("a whole number", u"12"_qs, 12.0);
        row("two parts", u"8.4"_qs, 8.4);
        row("three parts", u"9.3.1"_qs, 9.3);
        row("a word", u"unknown"_qs, 0.0);
        row("nothing", {}, 0.0);
        row("a number before a word", u"17 beta"_qs, 17.0);
        row("more digits than a number has", QString(400, u'9'), 999999999.0);
    }
    void versionAsANumber()
    {
        QFETCH(QString, version);
        DVDevice::setOverride({.languages = {}, .locale = {}, .systemVersion = version});
        QCOMPARE(DVDevice::systemVersion(), version);
        QTEST(DVDevice::systemVersionNumber(), "number");
    }

    void theRealDevice()
    {
        utsname names;
        QCOMPARE(uname(&names), 0);
        QCOMPARE(DVDevice::deviceName(), QString::fromLocal8Bit(names.machine));
        QVERIFY(DVDevice::systemVersionNumber() >= 9.0);
        QCOMPARE(DVDevice::likelyLanguage(u"zh-TW"_qs), u"zh-Hant-TW"_qs);
    }

    void partsOfALocale_data()
    {
        const DVRows<const char *, const char *> row("language", "country"); // by identifier
        row("fr", "fr", "");
        row("fr_CA", "fr", "CA");
        row("fr-CA", "fr", "CA");
        row("sr_Latn_ME", "sr", "ME");
        row("zh-Hans", "zh", "");
        row("es_419", "es", "419");
        row("ca_ES_VALENCIA", "ca", "ES");
        row("de_DE.UTF-8@euro", "de", "DE");
        row("en-u-ca-gregory", "en", "");
        row("fil_ph", "fil", "PH");
        row("_US", "", "US");
        row("", "", "");
    }
    void partsOfALocale()
    {
        const QString identifier = QString::fromLatin1(QTest::currentDataTag());
        const DVLocale locale(identifier);
        QCOMPARE(locale.identifier(), identifier);
        QTEST(locale.languageCode(), "language");
        QTEST(locale.countryCode(), "country");
    }
};

// The environment is read once per process.
static int printWhatTheSystemSays()
{
    const QString languages = DVDevice::preferredLanguages().join(u' ');
    return printf("%s\n%s\n", qPrintable(languages), qPrintable(DVDevice::currentLocale().identifier())) < 0;
}

int main(int argc, char **argv)
{
    const QCoreApplication app(argc, argv);
    if (argc == 2 && QByteArrayView(argv[1]) == "--print")
        return printWhatTheSystemSays();
    TestDevice test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_device.moc"
