#include "DVDevice.h"
#include "DVLocaleIdentifiers.h"
#include "DVRows.h"

#include <QSet>

class tst_LocaleIdentifiers : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { QTest::failOnWarning(QRegularExpression(QStringLiteral("."))); }
    void cleanup() { DVDevice::setOverride({}); }

    void conversions_data()
    {
        const DVRows<const char *, const char *, bool> row("platform", "device", "backToo");
        row("a region is joined by the other sign", "fr-CA", "fr_CA", true);
        row("a bare language stays", "eo", "eo", true);
        row("every sign is replaced", "sr-Cyrl-RS", "sr_Cyrl_RS", true);
        row("Jamaican has a code of its own", "jm-JM", "en_JM", true);
        row("Montenegrin has a code of its own", "me-ME", "sr_Latn_ME", true);
        row("Mongolian has a code of its own", "xc-MN", "mn_Cyrl_MN", true);
        row("special codes are matched in their case", "JM-JM", "JM_JM", true);
        row("a device form is taken as it is", "fr_CA", "fr_CA", false);
        row("nothing gives nothing", "", "", true);
    }
    void conversions()
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

    void supportedLocales()
    {
        const QStringList &locales = dv_supportedLocales();
        QCOMPARE(locales.size(), 214);
        QCOMPARE(QSet(locales.begin(), locales.end()).size(), 214);
        QVERIFY(std::is_sorted(locales.begin(), locales.end()));
        QVERIFY(std::all_of(locales.begin(), locales.end(), dv_isSafeLocaleIdentifier));
    }

    void deviceLocale_data()
    {
        const DVRows<const char *, const char *, const char *, const char *> row("language", "current",
                                                                                 "version", "attempts");
        row("language and formats agree", "fr-CA", "fr_CA", "17.0", "fr-CA, fr-CA, fr-CA");
        row("formats of another region come first", "fr-CA", "fr_FR", "17.0", "fr-FR, fr-CA, fr-CA");
        row("formats of an unsupported region give way", "fr-CA", "fr_SN", "17.0", "fr-CA, fr-CA, fr-CA");
        row("formats of another language give way", "pt-BR", "en_US", "17.0", "pt-BR, pt-BR, pt-BR");
        row("of an unknown region the first of the language", "en-TO", "de_DE", "17.0", "en, en, en-TO");
        row("the first of a language may carry a region", "hu-SK", "de_DE", "17.0", "hu-HU, hu-HU, hu-SK");
        row("three parts are trimmed to two, which no entry has", "zh-Hans-CN", "zh_CN", "17.0",
            "zh-Hans-CN, zh-Hans-CN, zh-Hans-CN");
        row("a language that nobody supports is asked for", "fy-NL", "fy_NL", "17.0", "fy-NL, fy-NL, fy-NL");
        row("a language is matched whole", "enx-US", "en_US", "17.0", "enx-US, enx-US, enx-US");
        row("before version 9 languages carry no region", "sv-XX", "sv_FI", "8.4", "sv-XX, sv-XX, sv-XX");
        row("from version 9 on they do", "sv-XX", "sv_FI", "9.0", "sv-FI, sv-FI, sv-XX");
        row("no preference gives no candidate", "C", "C", "17.0", ", , ");
    }
    void deviceLocale()
    {
        QFETCH(QString, language);
        QFETCH(QString, current);
        QFETCH(QString, version);
        DVDevice::setOverride({QStringList{language}, current, version});
        QStringList found;
        for (int attempt = 0; attempt < 3; ++attempt)
            found.append(dv_getDeviceLocaleAttempt(attempt));
        QTEST(found.join(u", "), "attempts");
        QCOMPARE(dv_getDeviceLocaleAttempt(3), found.last());
        QCOMPARE(found.last().isNull(), language == u"C");
    }

    void displayNames_data()
    {
        const DVRows<const char *, QString, QString> row("current", "identifier", "name");
        row("language and country", "en_US", u"fr_CA"_qs, u"French (Canada)"_qs);
        row("in the language of the current locale", "fr_FR", u"de_AT"_qs, u"allemand (Autriche)"_qs);
        row("in English without a current locale", "C", u"pl_PL"_qs, u"Polish (Poland)"_qs);
        row("a script is not named", "en_US", u"sr_Latn_ME"_qs, u"Serbian (Montenegro)"_qs);
        row("without a country", "en_US", u"eo"_qs, u"Esperanto (International)"_qs);
        row("with a country that has no name", "en_US", u"fr_XX"_qs, u"French (International)"_qs);
        row("a language without a name", "en_US", u"qx_MN"_qs, u"qx_MN"_qs);
        row("no identifier at all", "en_US", QString(), QString());
        row("an identifier out of all bounds", "en_US", QString(5000, u'x'), QString(5000, u'x'));
        row("letters beyond ASCII", "ru_RU", u"日本_JP"_qs, u"日本_JP"_qs);
    }
    void displayNames()
    {
        QFETCH(QString, current);
        QFETCH(QString, identifier);
        DVDevice::setOverride({{}, current, {}});
        QTEST(dv_localizedLanguageName(DVLocale(identifier)), "name");
    }

    void safeIdentifiers_data()
    {
        const DVRows<QString, bool> row("identifier", "safe");
        row("both forms", u"sr_Latn-ME"_qs, true);
        row("digits", u"es_419"_qs, true);
        row("64 characters", QString(64, u'a'), true);
        row("65 characters", QString(65, u'a'), false);
        row("nothing", QString(), false);
        row("a digit first", u"1a"_qs, false);
        row("a sign first", u"-fr"_qs, false);
        row("a folder", u"../fr"_qs, false);
        row("a separator inside", u"fr/CA"_qs, false);
        row("a percent sign", u"fr%2F"_qs, false);
        row("a letter beyond ASCII", u"fré"_qs, false);
        row("a zero character", u"fr\0"_qs, false);
    }
    void safeIdentifiers()
    {
        QFETCH(QString, identifier);
        QTEST(dv_isSafeLocaleIdentifier(identifier), "safe");
    }
};

QTEST_GUILESS_MAIN(tst_LocaleIdentifiers)
#include "tst_localeidentifiers.moc"
