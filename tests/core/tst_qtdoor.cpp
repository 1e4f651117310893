// Markers in what tr() answers while the review tools are there, and in what never.
#include "DVCueMarkers.h"
#include "DVLookup.h"
#include "DVRows.h"
#include "ReviewPlatform.h"
#include "ServedHost.h"

#include <QThread>

#include <atomic>

using namespace Qt::Literals::StringLiterals;

namespace {

// Tools that were told whether texts are marked, and may have no windows.
class WindowTools : public RememberingTools
{
public:
    WindowTools(QStringList *calls, bool haveWindows)
        : RememberingTools(calls)
        , m_calls(calls)
        , m_haveWindows(haveWindows)
    {}
    bool textsNeedMarkers() const override { return m_haveWindows; }
    void textsAreMarked(bool marked) override
    {
        m_calls->append(marked ? QStringLiteral("marked") : QStringLiteral("plain"));
    }

private:
    QStringList *m_calls;
    bool m_haveWindows;
};

QString shown(const char *context, const char *text, int n = -1)
{
    return dv_stringShowingCues(QCoreApplication::translate(context, text, nullptr, n));
}

DVTestUnit unit(const QString &key, const QString &target)
{
    return {key.toHtmlEscaped(), key, key.toHtmlEscaped(), target};
}

} // namespace

class tst_QtDoor : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_host = std::make_unique<ServedHost>();
        m_calls.clear();
    }

    void cleanup() { m_host.reset(); }

    void markedWhenTheToolsNeedIt_data()
    {
        const DVRows<bool, bool, bool, QString> row("haveTools", "haveWindows", "needed", "text");
        row("tools, and texts need markers", true, true, true, "[Enregistrer]");
        row("no tools", false, false, true, "Enregistrer");
        row("tools without windows", true, false, true, "Enregistrer");
        row("texts need none", true, true, false, "Enregistrer");
    }
    void markedWhenTheToolsNeedIt()
    {
        QFETCH(bool, haveTools);
        QFETCH(bool, haveWindows);
        QFETCH(bool, needed);
        serve({unit(u"Save"_qs, u"Enregistrer"_qs)}, haveTools, haveWindows, needed);
        QTEST(shown("Window", "Save"), "text");
        QCOMPARE(shown("Window", "nobody has it"), u"nobody has it"_qs);
        const bool marked = haveTools && haveWindows && needed;
        QCOMPARE(m_calls.count(u"marked"_qs), marked ? 1 : 0);
        QVERIFY(!m_calls.contains(u"plain"_qs));
        m_host->restart();
        QCOMPARE(m_calls.count(u"plain"_qs), 0); // the tools end before anything else does
        QCOMPARE(shown("Window", "Save"), u"Save"_qs);
    }

    void placeholdersAreArguments()
    {
        m_host->package(
            u"en.lproj/Localizable.strings"_qs,
            "\"copying\" = \"Copying %1 of %2, 100%\"; \"count\" = \"%n item(s)\"; "
            "\"local\" = \"%L1 days at 50% of %Ln\"; \"printf\" = \"%1$@ has %d\"; \"mixed\" = \"%1 / %d\";"
            "\"percent\" = \"50% off\";");
        m_host->restart();
        serve({unit(u"two of %1"_qs, u"deux de <ph id=\"1\">%1</ph>"_qs)});
        QCOMPARE(shown("c", "two of %1"), u"[deux de {%1}]"_qs);
        QCOMPARE(dv_stringShowingCues(QCoreApplication::translate("c", "two of %1").arg(7)),
                 u"[deux de {7}]"_qs);
        QCOMPARE(shown("c", "copying"), u"[Copying {%1} of {%2}, 100%]"_qs);
        QCOMPARE(shown("c", "count", 5), u"[{5} item(s)]"_qs);
        QCOMPARE(shown("c", "local"), u"[{%L1} days at 50% of {%Ln}]"_qs);
        QCOMPARE(shown("c", "printf"), u"[{%1$@} has {%d}]"_qs);
        QCOMPARE(shown("c", "mixed"), u"[{%1} / {%d}]"_qs);
        QCOMPARE(shown("c", "percent"), u"[50{% o}ff]"_qs); // without Qt's: as printf has it
    }

    void whatIsNotTranslatedIsMarkedToo()
    {
        m_host->package(u"en.lproj/Localizable.strings"_qs, "\"Open\" = \"Open\";");
        m_host->restart();
        serve({unit(u"Save"_qs, u""_qs)});
        QCOMPARE(shown("Window", "Open"), u"[Open]"_qs);
        QCOMPARE(shown("Window", "Save"), u"[Save]"_qs);
        QVERIFY(DVLookup::translation("QFileDialog", "Open", nullptr, -1).isNull());
    }

    void neverMarked_data()
    {
        const DVRows<QByteArray, QByteArray, QString> row("context", "key", "target");
        for (const char *context :
             {"QFileDialog", "QPlatformTheme", "QMessageBox", "CloseButton", "MAC_APPLICATION_MENU",
              "QQuickTextUtil", "QCocoaMenuItem", "QWizard", "QDialogButtonBox"})
            QTest::addRow("in the context %s", context)
                << QByteArray(context) << QByteArray("Save") << u"Enregistrer"_qs;
        row("a shortcut", "W", "Ctrl+S", "Strg+Entf");
        row("a file filter", "W", "Pictures (*.png)", "Images (*.png)");
        row("a format", "W", "MM/dd/yyyy", "dd/MM/yyyy");
        row("an id with a shortcut as its text", "W", "save.key", "Ctrl+S");
        row("an id with a filter as its text", "W", "open.filter", "Tout (*)");
        row("the key of the layout direction, translated by the project", "QGuiApplication",
            "QT_LAYOUT_DIRECTION", "LTR");
    }
    void neverMarked()
    {
        QFETCH(QByteArray, context);
        QFETCH(QByteArray, key);
        QFETCH(QString, target);
        serve({unit(QString::fromUtf8(key), target), unit(u"Other"_qs, u"Autre"_qs)});
        QCOMPARE(QCoreApplication::translate(context.constData(), key.constData()), target);
        for (const char *ofTheHost : {"Window", "QObject", "QCoreApplication", "QMainWindowOfMine", "Qute"})
            QCOMPARE(shown(ofTheHost, "Other"), u"[Autre]"_qs);
    }

    void neverMarkedByTheHost()
    {
        Dorvane::neverMark(u"Parser"_qs);
        Dorvane::neverMark(u"Window"_qs, {u"Größe"_qs});
        serve({unit(u"Größe"_qs, u"Taille"_qs), unit(u"Name"_qs, u"Nom"_qs)});
        QCOMPARE(shown("Parser", "Name"), u"Nom"_qs);
        QCOMPARE(shown("Window", "Größe"), u"Taille"_qs);
        QCOMPARE(shown("Window", "Name"), u"[Nom]"_qs);
        QCOMPARE(shown("Dialog", "Größe"), u"[Taille]"_qs);
        QCOMPARE(shown(nullptr, "Größe"), u"[Taille]"_qs);

        Dorvane::neverMark(QString(), {u"Größe"_qs});
        QCOMPARE(shown("Dialog", "Größe"), u"Taille"_qs);
        QCOMPARE(shown(nullptr, "Größe"), u"Taille"_qs);
        Dorvane::neverMark(QString());
        QCOMPARE(shown("Window", "Name"), u"[Nom]"_qs);
    }

    void theListChangesWhileTextsAreRead()
    {
        serve({unit(u"Name"_qs, u"Nom"_qs)});
        std::atomic<bool> ends = false;
        std::atomic<int> wrong = 0;
        const auto reader = std::unique_ptr<QThread>(QThread::create([&] {
            while (!ends) {
                const QString text = DVLookup::translation("Window", "Name", nullptr, -1);
                wrong += dv_stringByRemovingCues(text) == u"Nom" ? 0 : 1;
            }
        }));
        reader->start();
        constexpr int changes = 200;
        for (int i = 0; i < changes; ++i)
            Dorvane::neverMark(u"Context%1"_qs.arg(i), {u"key"_qs});
        ends = true;
        reader->wait();
        QCOMPARE(wrong.load(), 0);
        QCOMPARE(shown("Context7", "Name"), u"[Nom]"_qs);
    }

    void whatWasShownIsFound()
    {
        m_host->package(u"en.lproj/Localizable.strings"_qs, "\"copying\" = \"Copying %1 of %2\";");
        m_host->restart();
        serve({unit(u"two of %1"_qs, u"deux de <ph id=\"1\">%1</ph>"_qs)});
        const auto &controller = DVMainController::sharedInstance();
        std::optional<QList<DVStringValue>> values;
        const auto found = controller.dorvaneStringWithNonNestedString(
            QCoreApplication::translate("c", "copying").arg(3).arg(9), &values);
        QVERIFY(found);
        QCOMPARE(found->key, u"copying"_qs);
        QCOMPARE(values.value(), (QList<DVStringValue>{u"3"_qs, u"9"_qs}));
        values.reset();
        const auto delivered = controller.dorvaneStringWithNonNestedString(
            QCoreApplication::translate("c", "two of %1").arg(u"cent"_qs), &values);
        QVERIFY(delivered);
        QCOMPARE(delivered->key, u"two of %1"_qs);
        QCOMPARE(values.value(), (QList<DVStringValue>{u"cent"_qs}));
    }

    void theLogHasNoMarkers()
    {
        serve({unit(u"two of %1"_qs, u"deux de <ph id=\"1\">%1</ph>"_qs)});
        m_host->takeLog();
        QVERIFY(shown("c", "two of %1").startsWith(u'['));
        QVERIFY(dv_stringShowingCues(DVBundle::mainBundle().localizedStringForKey(u"two of %1"_qs))
                    .startsWith(u'['));
        Dorvane::pluralizedStringWithKey(u"two of %1"_qs, 1);
        QCoreApplication::sendPostedEvents();
        QCoreApplication::processEvents();
        const QString log = m_host->takeLog().join(u'\n');
        QVERIFY2(log.contains(u"deux de %1"), qPrintable(log));
        QCOMPARE(dv_stringByRemovingCues(log), log);
    }

private:
    // Delivers French texts; they are marked when the locale may change, or with a review mode.
    void serve(const QList<DVTestUnit> &units, bool haveTools = true, bool haveWindows = true,
               bool marked = true)
    {
        m_host->deliver(units);
        if (haveTools)
            DVMainController::sharedInstance().setInAppTools(
                std::make_unique<WindowTools>(&m_calls, haveWindows));
        m_host->start({{u"allowLocaleChange"_qs, marked}});
    }

    std::unique_ptr<ServedHost> m_host;
    QStringList m_calls;
};

QTEST_GUILESS_MAIN(tst_QtDoor)
#include "tst_qtdoor.moc"
