#include "DVDevice.h"
#include "DVLocaleIdentifiers.h"

#include <QSet>
#include <QTest>

class tst_LocaleIdentifiers : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { QTest::failOnWarning(QRegularExpression(QStringLiteral("."))); }
    void cleanup() { DVDevice::setOverride({}); }

    void conversions_data();
    void conversions();
    void supportedLocales();
    void deviceLocale_data();
    void deviceLocale();
    void displayNames_data();
    void displayNames();
    void safeIdentifiers_data();
    void safeIdentifiers();
};

void tst_LocaleIdentifiers::conversions_data()
{
    QTest::addColumn<QString>("platform");
    QTest::addColumn<QString>("device");
    QTest::addColumn<bool>("backToo");

    QTest::newRow("a region is joined by the other sign") << "fr-CA"
                                                          << "fr_CA" << true;
    QTest::newRow("a bare language stays") << "eo"
                                           << "eo" << true;
    QTest::newRow("every sign is replaced") << "sr-Cyrl-RS"
                                            << "sr_Cyrl_RS" << true;
    QTest::newRow("Jamaican has a code of its own") << "jm-JM"
                                                    << "en_JM" << true;
    QTest::newRow("Montenegrin has a code of its own") << "me-ME"
                                                       << "sr_Latn_ME" << true;
    QTest::newRow("Mongolian has a code of its own") << "xc-MN"
                                                     << "mn_Cyrl_MN" << true;
    QTest::newRow("special codes are matched in their case") << "JM-JM"
                                                             << "JM_JM" << true;
    QTest::newRow("a device form is taken as it is") << "fr_CA"
                                                     << "fr_CA" << false;
    QTest::newRow("nothing gives nothing") << ""
                                           << "" << true;
}

void tst_LocaleIdentifiers::conversions()
{
    QFETCH(QString, platform);
    QFETCH(QString, device);
    QFETCH(bool, backToo);

    QCOMPARE(localeFromDorvneIdentifier(platform).identifier(), device);
    if (backToo) {
        QCOMPARE(dorvaneLocaleIdentifierFromId(device), platform);
        QCOMPARE(dorvaneLocaleIdentifier(DVLocale(device)), platform);
    }
}

void tst_LocaleIdentifiers::supportedLocales()
{
    const QStringList &locales = dv_supportedLocales();
    QCOMPARE(locales.size(), 214);
    QCOMPARE(QSet(locales.begin(), locales.end()).size(), 214);
    QVERIFY(std::is_sorted(locales.begin(), locales.end()));
    QVERIFY(std::all_of(locales.begin(), locales.end(), dv_isSafeLocaleIdentifier));
    QCOMPARE(locales.first(), QStringLiteral("af-ZA"));
    QCOMPARE(locales.last(), QStringLiteral("zu-ZA"));
}

void tst_LocaleIdentifiers::deviceLocale_data()
{
    QTest::addColumn<QString>("language");
    QTest::addColumn<QString>("current");
    QTest::addColumn<QString>("version");
    QTest::addColumn<QStringList>("attempts");

    const auto row = [](const char *name, const char *language, const char *current, const char *version,
                        const QStringList &attempts) {
        QTest::newRow(name) << language << current << version << attempts;
    };
    const auto u = [](const char *text) { return QString::fromLatin1(text); };
    row("language and formats agree", "fr-CA", "fr_CA", "17.0", {u("fr-CA"), u("fr-CA"), u("fr-CA")});
    row("formats of another region of the language come first", "fr-CA", "fr_FR", "17.0",
        {u("fr-FR"), u("fr-CA"), u("fr-CA")});
    row("formats of a region that is not supported give way", "fr-CA", "fr_SN", "17.0",
        {u("fr-CA"), u("fr-CA"), u("fr-CA")});
    row("formats of another language give way", "pt-BR", "en_US", "17.0",
        {u("pt-BR"), u("pt-BR"), u("pt-BR")});
    row("an unknown region falls back to the first of the language", "en-TO", "de_DE", "17.0",
        {u("en"), u("en"), u("en-TO")});
    row("the first of a language may carry a region", "hu-SK", "de_DE", "17.0",
        {u("hu-HU"), u("hu-HU"), u("hu-SK")});
    row("three parts are trimmed to two, which no entry has", "zh-Hans-CN", "zh_CN", "17.0",
        {u("zh-Hans-CN"), u("zh-Hans-CN"), u("zh-Hans-CN")});
    row("a language that nobody supports is asked for all the same", "fy-NL", "fy_NL", "17.0",
        {u("fy-NL"), u("fy-NL"), u("fy-NL")});
    row("a language is matched whole, not by its beginning", "enx-US", "en_US", "17.0",
        {u("enx-US"), u("enx-US"), u("enx-US")});
    row("before version 9 languages carry no region", "sv-XX", "sv_FI", "8.4",
        {u("sv-XX"), u("sv-XX"), u("sv-XX")});
    row("from version 9 on they do", "sv-XX", "sv_FI", "9.0", {u("sv-FI"), u("sv-FI"), u("sv-XX")});
    row("no preference gives no candidate", "C", "C", "17.0", {QString(), QString(), QString()});
}

void tst_LocaleIdentifiers::deviceLocale()
{
    QFETCH(QString, language);
    QFETCH(QString, current);
    QFETCH(QString, version);
    QFETCH(QStringList, attempts);

    DVDevice::setOverride({QStringList{language}, current, version});
    for (int attempt = 0; attempt < 3; ++attempt)
        QCOMPARE(dv_getDeviceLocaleAttempt(attempt), attempts[attempt]);
    QCOMPARE(dv_getDeviceLocaleAttempt(3), attempts[2]);
}

void tst_LocaleIdentifiers::displayNames_data()
{
    QTest::addColumn<QString>("current");
    QTest::addColumn<QString>("identifier");
    QTest::addColumn<QString>("name");

    QTest::newRow("language and country") << "en_US"
                                          << "fr_CA"
                                          << "French (Canada)";
    QTest::newRow("in the language of the current locale")
        << "fr_FR"
        << "de_AT" << QStringLiteral("allemand (Autriche)");
    QTest::newRow("in a language with another script") << "ru_RU"
                                                       << "ja_JP" << QStringLiteral("японский (Япония)");
    QTest::newRow("in English without a current locale") << "C"
                                                         << "pl_PL"
                                                         << "Polish (Poland)";
    QTest::newRow("a script is not named") << "en_US"
                                           << "sr_Latn_ME"
                                           << "Serbian (Montenegro)";
    QTest::newRow("without a country") << "en_US"
                                       << "eo"
                                       << "Esperanto (International)";
    QTest::newRow("with a country that has no name") << "en_US"
                                                     << "fr_XX"
                                                     << "French (International)";
    QTest::newRow("a language without a name") << "en_US"
                                               << "qx_MN"
                                               << "qx_MN";
    QTest::newRow("no identifier at all") << "en_US"
                                          << ""
                                          << "";
    QTest::newRow("an identifier out of all bounds") << "en_US" << QString(5000, u'x') << QString(5000, u'x');
    QTest::newRow("letters beyond ASCII")
        << "en_US" << QStringLiteral("日本_JP") << QStringLiteral("日本_JP");
}

void tst_LocaleIdentifiers::displayNames()
{
    QFETCH(QString, current);
    QFETCH(QString, identifier);
    QFETCH(QString, name);

    DVDevice::setOverride({{}, current, {}});
    QCOMPARE(dv_localizedLanguageName(DVLocale(identifier)), name);
}

void tst_LocaleIdentifiers::safeIdentifiers_data()
{
    QTest::addColumn<QString>("identifier");
    QTest::addColumn<bool>("safe");

    QTest::newRow("both forms") << "sr_Latn-ME" << true;
    QTest::newRow("digits") << "es_419" << true;
    QTest::newRow("64 characters") << QString(64, u'a') << true;
    QTest::newRow("65 characters") << QString(65, u'a') << false;
    QTest::newRow("nothing") << "" << false;
    QTest::newRow("a digit first") << "1a" << false;
    QTest::newRow("a sign first") << "-fr" << false;
    QTest::newRow("a folder") << "../fr" << false;
    QTest::newRow("a separator inside") << "fr/CA" << false;
    QTest::newRow("a backslash") << "fr\\CA" << false;
    QTest::newRow("a dot") << "fr.CA" << false;
    QTest::newRow("a percent sign") << "fr%2F" << false;
    QTest::newRow("a blank") << "fr CA" << false;
    QTest::newRow("a letter beyond ASCII") << QStringLiteral("fré") << false;
    QTest::newRow("a zero character") << QString(QStringLiteral("fr") + QChar(u'\0')) << false;
}

void tst_LocaleIdentifiers::safeIdentifiers()
{
    QFETCH(QString, identifier);
    QTEST(dv_isSafeLocaleIdentifier(identifier), "safe");
}

QTEST_GUILESS_MAIN(tst_LocaleIdentifiers)
#include "tst_localeidentifiers.moc"
