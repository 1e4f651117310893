// CleanHost: an application whose texts are marked, and clean where it reads them itself.
#pragma once

#include "DVCleanTexts.h"
#include "DVCueMarkers.h"
#include "DVInAppTools.h"
#include "DVMarkedTexts.h"
#include "DVTestHost.h"
#include "DVView.h"

#include <QWidget>

#include <memory>

inline QString tr_(const char *text)
{
    return QCoreApplication::translate("Window", text);
}

inline bool isClean(const QString &text)
{
    return dv_stringByRemovingCues(text) == text;
}

inline bool isMarked(const QString &text)
{
    return !dv_localizedStringsInString(text).isEmpty();
}

inline void show(QWidget &widget)
{
    widget.show();
    QVERIFY(QTest::qWaitForWindowExposed(widget.window()));
}

class CleanHost : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        const QList<DVTestUnit> units{
            {QStringLiteral("1"), QStringLiteral("Name"), QStringLiteral("Name"), QStringLiteral("Nom")},
            {QStringLiteral("2"), QStringLiteral("&Save"), QStringLiteral("&amp;Save"),
             QStringLiteral("&amp;Enregistrer")},
            {QStringLiteral("3"), QStringLiteral("%1 of %2"), QStringLiteral("s"),
             QStringLiteral("<ph id=\"1\">%1</ph> sur <ph id=\"2\">%2</ph>")},
            {QStringLiteral("4"), QStringLiteral("Hello, <b>world</b>"), QStringLiteral("s"),
             QStringLiteral("Bonjour, &lt;b&gt;monde&lt;/b&gt;")}};
        m_server.setHandler(
            [units](const auto &) { return DVTestHost::publication(DVTestHost::xliff(units)); });
    }
    void init()
    {
        m_host = std::make_unique<DVTestHost>();
        m_host->package(QStringLiteral("en.lproj/Localizable.strings"),
                        "\"main-label.text\" = \"Packaged label\"; \"plain\" = \"Other label\"; "
                        "\"tab-1.title\" = \"First tab\"; \"bar-item.title\" = \"Bar item\";");
        start();
        QVERIFY2(isMarked(tr_("Name")), "the tests need marked texts");
    }
    void cleanup() { m_host.reset(); }

protected:
    void start(const QVariantMap &more = {{QStringLiteral("allowLocaleChange"), true}})
    {
        m_host->restart();
        QVariantMap options = m_host->servingOptions(m_server);
        options.insert(more);
        DVMainController::sharedInstance().setInAppTools(std::make_unique<Tools>());
        Dorvane::startWithProjectId(QStringLiteral("p"), options);
    }

    DVFaultServer m_server;
    std::unique_ptr<DVTestHost> m_host;

private:
    class Tools : public DVInAppTools
    {
    public:
        void setupEditionActions() override {}
        void setupContextActions() override {}
        void openLoginForm(std::function<void(bool)> completion) override { completion(true); }
        void captureWindow(QObject *, std::function<void(const DVErrorOr &)> completion) override
        {
            completion({});
        }
        void textsAreMarked(bool marked) override
        {
            m_clean = marked ? std::make_unique<DVCleanTexts>() : nullptr;
        }

    private:
        std::unique_ptr<DVCleanTexts> m_clean;
    };
};
