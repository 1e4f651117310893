// Lookups through the bundle's door and through tr(), and back from texts on screen.
#include "DVCueMarkers.h"
#include "DVLookup.h"
#include "DVRows.h"
#include "ServedHost.h"

#include <QProcess>
#include <QRegularExpression>
#include <QTranslator>

using namespace Qt::Literals::StringLiterals;

namespace {

QString tr_(const char *context, const char *text, int n = -1)
{
    return QCoreApplication::translate(context, text, nullptr, n);
}

// A .qm made by Qt's own tools from key to translation.
bool makeQm(const QString &path, const QString &context, const QList<QPair<QString, QString>> &messages)
{
    QString ts =
        u"<?xml version=\"1.0\"?><!DOCTYPE TS><TS version=\"2.1\" language=\"de\"><context><name>"_qs +
        context + u"</name>"_qs;
    for (const auto &[source, translation] : messages)
        ts += u"<message><source>"_qs + source.toHtmlEscaped() + u"</source><translation>"_qs +
              translation.toHtmlEscaped() + u"</translation></message>"_qs;
    const QString tsPath = QString(path + u".ts");
    DVTestHost::write(tsPath, QString(ts + u"</context></TS>").toUtf8());
    return QProcess::execute(u"/usr/lib/qt6/bin/lrelease"_qs, {u"-silent"_qs, tsPath, u"-qm"_qs, path}) == 0;
}

} // namespace

class tst_Lookup : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void precedenceAtTheBundlesDoor()
    {
        ServedHost host;
        host.deliver({{u"1"_qs, u"both"_qs, u"both, source"_qs, u"les deux"_qs},
                      {u"2"_qs, u"src"_qs, u"source text"_qs, u"cible"_qs},
                      {u"3"_qs, u"empty"_qs, u"empty source"_qs, u""_qs}});
        host.package(
            u"en.lproj/Localizable.strings"_qs,
            "\"both\" = \"packaged both\"; \"base\" = \"packaged base\"; \"src\" = \"packaged src\";");
        host.package(u"fr.lproj/Localizable.strings"_qs, "\"own\" = \"propre\"; \"both\" = \"propre\";");
        host.restart();
        const DVBundle bundle = DVBundle::mainBundle();
        QCOMPARE(bundle.localizedStringForKey(u"both"_qs), u"propre"_qs);
        host.start();

        QCOMPARE(bundle.localizedStringForKey(u"both"_qs), u"les deux"_qs);
        QCOMPARE(bundle.localizedStringForKey(u"both"_qs, u"value"_qs, u"OtherTable"_qs), u"les deux"_qs);
        QCOMPARE(bundle.localizedStringForKey(u"base"_qs), u"packaged base"_qs);
        QCOMPARE(bundle.localizedStringForKey(u"own"_qs), u"propre"_qs);
        QCOMPARE(bundle.localizedStringForKey(u"nobody"_qs, u"value"_qs), u"value"_qs);
        QCOMPARE(bundle.localizedStringForKey(u"nobody"_qs), u"nobody"_qs);
        QVERIFY2(bundle.localizedStringForKey(u"empty"_qs, u"value"_qs).isEmpty(),
                 "an untranslated unit is an empty text at this door");
        // The source texts of the delivered file lie over the packaged base texts, which stay.
        const auto base = Dorvane::baseLocaleStrings().value();
        QCOMPARE(base.value(u"src"_qs), u"source text"_qs);
        QCOMPARE(base.value(u"base"_qs), u"packaged base"_qs);
        QCOMPARE(Dorvane::localizedStrings().value().size(), 3);
        const QStringList log = host.takeLog();
        QVERIFY(log.contains(u"both: \"les deux\" (from current locale strings)"_qs));
        QVERIFY(log.contains(u"base: \"packaged base\" (from base)"_qs));
    }

    void markersAtTheBundlesDoor()
    {
        ServedHost host;
        host.deliver({{u"1"_qs, u"k"_qs, u"Hi <ph id=\"1\">%@</ph>"_qs, u"Salut <ph id=\"1\">%@</ph>"_qs},
                      {u"2"_qs, u"empty"_qs, u"source"_qs, u""_qs}});
        host.package(u"en.lproj/Localizable.strings"_qs, "\"base\" = \"50 %d\";");
        host.restart();
        host.start({{u"allowLocaleChange"_qs, true}});
        const auto shown = [](const char *key) {
            return dv_stringShowingCues(
                DVBundle::mainBundle().localizedStringForKey(QString::fromLatin1(key)));
        };
        QCOMPARE(shown("k"), u"[Salut {%@}]"_qs);
        QCOMPARE(shown("base"), u"[50 {%d}]"_qs);
        QCOMPARE(shown("nobody"), u"[nobody]"_qs);
        QCOMPARE(shown("empty"), u"[source]"_qs); // with markers an empty target makes no form
        QCOMPARE(tr_("c", "k"), u"Salut %@"_qs);
        QCOMPARE(tr_("c", "base"), u"50 %d"_qs);
    }

    void answersAtTheQtDoor()
    {
        ServedHost host;
        host.deliver({{u"1"_qs, u"Save"_qs, u"Save"_qs, u"Enregistrer"_qs},
                      {u"2"_qs, u"Ctrl"_qs, u"Ctrl"_qs, u"Strg"_qs},
                      {u"3"_qs, u"Untranslated"_qs, u"Untranslated"_qs, u""_qs},
                      {u"4"_qs, u"btn.ok"_qs, u"All right"_qs, u""_qs},
                      {u"5"_qs, u"50 % off %1"_qs, u"s"_qs, u"-50 % <ph id=\"1\">%1</ph>"_qs},
                      {u"6"_qs, u"Zoë 你好"_qs, u"s"_qs, u"Zoé"_qs}});
        host.start();
        QCOMPARE(tr_("Window", "Save"), u"Enregistrer"_qs);
        QCOMPARE(tr_("Other", "Save"), u"Enregistrer"_qs);
        QCOMPARE(tr_(nullptr, "Save"), u"Enregistrer"_qs);
        QCOMPARE(qtTrId("Save"), u"Enregistrer"_qs);
        QCOMPARE(tr_("QShortcut", "Ctrl"), u"Ctrl"_qs);
        QCOMPARE(tr_("c", "Untranslated"), u"Untranslated"_qs);
        QCOMPARE(tr_("c", "btn.ok"), u"All right"_qs);
        QCOMPARE(tr_("c", "50 % off %1").arg(3), u"-50 \uFF05 3"_qs);
        QCOMPARE(tr_("c", "Zoë 你好"), u"Zoé"_qs);
        QCOMPARE(tr_("c", ""), QString());
        QCOMPARE(tr_("c", "\xff\xfe broken"), QString::fromUtf8("\xff\xfe broken"));
        QVERIFY(DVLookup::translation("c", "Untranslated", nullptr, -1).isNull());
        QVERIFY(DVLookup::translation("c", "unknown", nullptr, -1).isNull());
    }

    void countsAtTheQtDoor()
    {
        ServedHost host;
        host.setDevice({u"pl-PL"_qs}, u"pl_PL"_qs);
        host.deliver({{u"1[one]"_qs, u"%n file(s)"_qs, u"x"_qs, u"<ph id=\"1\">%n</ph> plik"_qs},
                      {u"1[few]"_qs, u"%n file(s)"_qs, u"x"_qs, u"<ph id=\"1\">%n</ph> pliki"_qs},
                      {u"1[many]"_qs, u"%n file(s)"_qs, u"x"_qs, u"<ph id=\"1\">%n</ph> plików"_qs},
                      {u"1[other]"_qs, u"%n file(s)"_qs, u"x"_qs, u"<ph id=\"1\">%n</ph> pliku"_qs},
                      {u"2"_qs, u"%n plain"_qs, u"x"_qs, u"<ph id=\"1\">%n</ph> zwykły"_qs}});
        host.start();
        QCOMPARE(tr_("c", "%n file(s)", 1), u"1 plik"_qs);
        QCOMPARE(tr_("c", "%n file(s)", 22), u"22 pliki"_qs);
        QCOMPARE(tr_("c", "%n file(s)", 12), u"12 plików"_qs);
        QCOMPARE(tr_("c", "%n file(s)", 0), u"0 plików"_qs);
        QCOMPARE(tr_("c", "%n plain", 5), u"5 zwykły"_qs);
        QCOMPARE(tr_("c", "%n file(s)"), u"%n pliku"_qs);
    }

    void keysWithContexts_data()
    {
        const DVRows<QByteArray, QByteArray, QByteArray, QString> row("context", "source", "disambiguation",
                                                                      "text");
        row("its own context", "Window", "Open", nullptr, "Ouvrir");
        row("another context of the same source", "Door", "Open", nullptr, "Ouvert");
        row("with its disambiguation", "Door", "Open", "shop", "Ouverte");
        row("a disambiguation that has no key takes the context's", "Door", "Open", "gate", "Ouvert");
        row("a context that has no key takes the plain source's", "Elsewhere", "Close", nullptr, "Fermer");
        row("a context whose own key comes before the plain source's", "Door", "Close", nullptr, "Clore");
        row("no context has an empty one", nullptr, "Open", nullptr, "Sans");
        row("untranslated in this context: not the plain text", "Till", "Close", nullptr, "Close");
        row("a context that nobody knows", "Elsewhere", "Open", nullptr, "Open");
        row("the source of a key with a context says nothing new", "Base", "50 % %1", nullptr, "50 % %1");
    }
    void keysWithContexts()
    {
        QFETCH(QByteArray, context);
        QFETCH(QByteArray, source);
        QFETCH(QByteArray, disambiguation);
        ServedHost host;
        host.deliver({{u"1"_qs, u"Window\u2404Open"_qs, u"Open"_qs, u"Ouvrir"_qs},
                      {u"2"_qs, u"Door\u2404Open"_qs, u"Open"_qs, u"Ouvert"_qs},
                      {u"3"_qs, u"Door\u2404Open\u2404shop"_qs, u"Open"_qs, u"Ouverte"_qs},
                      {u"4"_qs, u"Close"_qs, u"Close"_qs, u"Fermer"_qs},
                      {u"5"_qs, u"Door\u2404Close"_qs, u"Close"_qs, u"Clore"_qs},
                      {u"6"_qs, u"\u2404Open"_qs, u"Open"_qs, u"Sans"_qs},
                      {u"7"_qs, u"Till\u2404Close"_qs, u"Close"_qs, u""_qs},
                      {u"8"_qs, u"Base\u240450 % %1"_qs, u"50 % <ph id=\"1\">%1</ph>"_qs, u""_qs}});
        host.start();
        const auto orNull = [](const QByteArray &text) { return text.isNull() ? nullptr : text.constData(); };
        QTEST(QCoreApplication::translate(orNull(context), source.constData(), orNull(disambiguation)),
              "text");
    }

    // XML has no U+001B; its picture stands in the file.
    void controlCharactersInSources()
    {
        ServedHost host;
        host.deliver({{u"1"_qs, u"\u241B[1mHi\u241B[0m"_qs, u"s"_qs, u"Salut"_qs},
                      {u"2"_qs, u"\u2407"_qs, u"\u2407"_qs, u""_qs},
                      {u"3"_qs, u"\u2409 tab"_qs, u"s"_qs, u"image"_qs}});
        host.start();
        QCOMPARE(tr_("c", "\x1b[1mHi\x1b[0m"), u"Salut"_qs);
        QCOMPARE(tr_("c", "\a"), u"\a"_qs);
        QCOMPARE(tr_("c", "\t tab"), u"\t tab"_qs); // XML has it: no picture is looked for
        QCOMPARE(tr_("c", "\u2409 tab"), u"image"_qs);
    }

    // English sources of a delivered file: "one" differs from the key, "other" is the key.
    void baseFormsAtTheQtDoor()
    {
        ServedHost host;
        host.deliver({{u"1[one]"_qs, u"%n files"_qs, u"<ph id=\"1\">%n</ph> file"_qs, u""_qs},
                      {u"1[other]"_qs, u"%n files"_qs, u"<ph id=\"1\">%n</ph> files"_qs, u""_qs}});
        host.start();
        QCOMPARE(tr_("c", "%n files", 1), u"1 file"_qs);
        QVERIFY(DVLookup::translation("c", "%n files", nullptr, 2).isNull());
        QVERIFY(DVLookup::translation("c", "%n files", nullptr, -1).isNull());
    }

    void hostTranslators_data()
    {
        const DVRows<bool> row("beforeTheStart");
        row("a host's .qm installed before the start", true);
        row("a host's .qm installed after the start", false);
    }
    void hostTranslators()
    {
        QFETCH(bool, beforeTheStart);
        ServedHost host;
        host.deliver(
            {{u"1"_qs, u"Open"_qs, u"Open"_qs, u"Ouvrir"_qs}, {u"2"_qs, u"Close"_qs, u"Close"_qs, u""_qs}});
        QTemporaryDir folder;
        const QString path = folder.filePath(u"host.qm"_qs);
        QVERIFY(makeQm(
            path, u"Window"_qs,
            {{u"Open"_qs, u"Öffnen"_qs}, {u"Close"_qs, u"Schließen"_qs}, {u"Print"_qs, u"Drucken"_qs}}));
        QTranslator own;
        QVERIFY(own.load(path));
        if (beforeTheStart)
            QCoreApplication::installTranslator(&own);
        host.start();
        if (!beforeTheStart)
            QCoreApplication::installTranslator(&own);

        QCOMPARE(tr_("Window", "Open"), u"Ouvrir"_qs);
        QCOMPARE(tr_("Window", "Close"), u"Schließen"_qs); // untranslated over the air: the application's own
        QCOMPARE(tr_("Window", "Print"), u"Drucken"_qs);
        QCOMPARE(tr_("Elsewhere", "Print"), u"Print"_qs);

        // Toggled a hundred times, ours is still asked first, and still only once.
        for (int i = 0; i < 100; ++i) {
            QCoreApplication::removeTranslator(&own);
            QCOMPARE(tr_("Window", "Open"), u"Ouvrir"_qs);
            QCOMPARE(tr_("Window", "Close"), u"Close"_qs);
            QCoreApplication::installTranslator(&own);
        }
        QCOMPARE(tr_("Window", "Open"), u"Ouvrir"_qs);
        QVERIFY(own.load(path)); // loading again posts the change
        QCoreApplication::processEvents();
        QCOMPARE(tr_("Window", "Open"), u"Ouvrir"_qs);
    }

    void layoutDirection_data()
    {
        const DVRows<QString, QString> row("locale", "direction");
        row("Arabic", "ar-EG", "RTL");
        row("Hebrew", "he-IL", "RTL");
        row("Kurdish of Turkey is Latin", "ku-TR", "LTR");
        row("Punjabi of Pakistan is Arabic script", "pa-PK", "RTL");
        row("French", "fr-FR", "LTR");
    }
    void layoutDirection()
    {
        QFETCH(QString, locale);
        ServedHost host;
        host.deliver(u"a"_qs, u"b"_qs);
        QCOMPARE(tr_("QGuiApplication", "QT_LAYOUT_DIRECTION"), u"QT_LAYOUT_DIRECTION"_qs);
        host.start({{u"forceLocale"_qs, locale}});
        QTEST(tr_("QGuiApplication", "QT_LAYOUT_DIRECTION"), "direction");
    }

    void pluralizedStrings()
    {
        ServedHost host;
        host.deliver({{u"1[one]"_qs, u"days"_qs, u"day"_qs, u"jour"_qs},
                      {u"1[other]"_qs, u"days"_qs, u"days"_qs, u"jours"_qs},
                      {u"2[one]"_qs, u"base only"_qs, u"thing"_qs, u""_qs},
                      {u"2[other]"_qs, u"base only"_qs, u"things"_qs, u""_qs}});
        host.start({{u"allowLocaleChange"_qs, true}});
        const auto plural = [](const char *key, const DVNumber &n) {
            return dv_stringByRemovingCues(Dorvane::pluralizedStringWithKey(QString::fromLatin1(key), n));
        };
        QCOMPARE(plural("days", 0), u"jour"_qs);
        QCOMPARE(plural("days", 1.5), u"jour"_qs);
        QCOMPARE(plural("days", 2), u"jours"_qs);
        // The base store counts by its own locale: 0 is "other" in English.
        QCOMPARE(plural("base only", 0), u"things"_qs);
        QCOMPARE(plural("base only", 1), u"thing"_qs);
        QCOMPARE(plural("nobody", 1), u"nobody"_qs);
        const QStringList log = host.takeLog();
        QVERIFY(!log.filter(QRegularExpression(
                                u"^days\\[one\\]: \".*jour.*\" \\(from current locale strings\\)$"_qs))
                     .isEmpty());
        QVERIFY(
            !log.filter(QRegularExpression(u"^base only\\[other\\]: .*\\(from base locale strings\\)$"_qs))
                 .isEmpty());
    }

    void fromScreenToRecord()
    {
        ServedHost host;
        host.deliver({{u"1"_qs, u"k"_qs, u"Base Text"_qs, u"Traduit"_qs}});
        host.start({{u"allowLocaleChange"_qs, true}});
        const auto &controller = DVMainController::sharedInstance();
        const auto record = controller.dorvaneStringForLocalizedString(u"TRADUIT"_qs);
        QVERIFY(record);
        QCOMPARE(record->key, u"k"_qs);
        QVERIFY(!record->fromBase);
        QCOMPARE(
            controller.dorvaneStringForLocalizedString(DVBundle::mainBundle().localizedStringForKey(u"k"_qs)),
            record);
        const auto base = controller.dorvaneStringForLocalizedString(u"base text"_qs);
        QVERIFY(base && base->fromBase);
        QVERIFY(!controller.dorvaneStringForLocalizedString(u"unknown"_qs));
        QVERIFY(!controller.dorvaneStringForLocalizedString(QString()));
    }

    void valuesOfArguments()
    {
        ServedHost host;
        host.deliver({{u"1"_qs, u"k"_qs, u"s"_qs, u"<ph id=\"1\">%@</ph> de <ph id=\"2\">%@</ph>"_qs}});
        host.start({{u"allowLocaleChange"_qs, true}});
        const auto &controller = DVMainController::sharedInstance();
        const auto displayed = [](const QString &first, const QString &second) {
            return QStringLiteral("\u200B\u2063%1\u2064 de \u2063%2\u2064\u2062").arg(first, second);
        };
        const QString nested = u"\u200B\u2062"_qs;

        using Values = QList<DVStringValue>;
        std::optional<Values> values;
        QVERIFY(controller.dorvaneStringWithNonNestedString(displayed(u"un"_qs, u"deux"_qs), &values));
        QCOMPARE(values.value(), (Values{u"un"_qs, u"deux"_qs}));
        values = Values{u"imbriqué"_qs};
        QVERIFY(controller.dorvaneStringWithNonNestedString(displayed(u"un"_qs, nested), &values));
        QCOMPARE(values.value(), (Values{u"un"_qs, u"imbriqué"_qs}));
        const auto record = controller.dorvaneStringWithNonNestedString(displayed({}, {}), nullptr);
        values = Values{record, u"\u200Btexte\u2062"_qs, record};
        QVERIFY(controller.dorvaneStringWithNonNestedString(
            displayed(nested, u"(" % nested % u", " % nested % u")"), &values));
        QCOMPARE(values.value(),
                 (Values{record, QString(u"(\u200Btexte\u2062, " % record->localizedFormat % u")")}));
        values.reset(); // an empty argument has its place, too
        QVERIFY(controller.dorvaneStringWithNonNestedString(displayed({}, u"deux"_qs), &values));
        QCOMPARE(values.value(), (Values{QString(), u"deux"_qs}));
        values = Values{};
        QVERIFY(controller.dorvaneStringWithNonNestedString(displayed(nested, u"deux"_qs), &values));
        QCOMPARE(values.value(), Values{u"deux"_qs});
        QCOMPARE(host.takeLog().filter(u"Nested string out of bounds"_qs).size(), 1);
        QVERIFY(controller.dorvaneStringWithNonNestedString(displayed(u"un"_qs, u"deux"_qs), nullptr));
    }

    // A log handler of the host that calls tr() itself: no lock may be held, no recursion may start.
    void aLogHandlerThatTranslates()
    {
        static int handled = 0;
        ServedHost host;
        host.deliver(u"a"_qs, u"un"_qs);
        const auto before =
            qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {
                ++handled;
                Q_UNUSED(QCoreApplication::translate("Log", "a"))
            });
        host.start();
        QCOMPARE(tr_("c", "a"), u"un"_qs);
        QCOMPARE(DVBundle::mainBundle().localizedStringForKey(u"a"_qs), u"un"_qs);
        for (int i = 0; i < 100; ++i)
            QCoreApplication::processEvents();
        qInstallMessageHandler(before);
        QVERIFY(handled > 0);
        QVERIFY2(handled < 100, "each line of the log made another one");
    }
};

QTEST_GUILESS_MAIN(tst_Lookup)
#include "tst_lookup.moc"
