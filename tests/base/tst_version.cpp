#include "DVRows.h"
#include "DVState.h"
#include "DVTestFiles.h"
#include "DVVersion.h"
#include "DVWrittenLog.h"

#include <Dorvane/DVBundle.h>

#include <QTemporaryDir>

class tst_Version : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_folder;
    int m_bundles = 0;

    void useBundle(const QByteArray &version)
    {
        // A new folder each time: a bundle reads its list once.
        const QString path = m_folder.filePath(QString::number(++m_bundles));
        if (!version.isNull())
            DVTestFiles::write(path + u"/Info.plist", "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict>"
                                                      "<key>CFBundleShortVersionString</key>" +
                                                          version + "</dict></plist>");
        QVERIFY(QDir().mkpath(path));
        DVBundle::setMainBundle(DVBundle(path));
    }

private Q_SLOTS:
    void init() { QTest::failOnWarning(QRegularExpression(QStringLiteral("."))); }

    void symbols()
    {
        // The what-string of the build: found by what(1), so every byte counts.
        QCOMPARE(QByteArray(reinterpret_cast<const char *>(DorvaneVersionString)),
                 QByteArray("@(#)PROGRAM:Dorvane  PROJECT:DorvaneFramework-1\n"));
        QCOMPARE(DorvaneVersionNumber, 1.0);
        QCOMPARE(dv_sdkVersion, QLatin1StringView("1.4.1"));
    }

    // Runs before any other that asks for a version.
    void missingVersionIsSaidOnce()
    {
        useBundle({});
        QVERIFY(dv_applicationVersion().isNull());
        DVState::shared().log = true;
        DVWrittenLog::begin();
        const QStringList versions{dv_versionForNames(), dv_versionForUrls()};
        DVWrittenLog::end();
        QCOMPARE(versions, (QStringList{u"0"_qs, u"0"_qs}));
        QCOMPARE(DVWrittenLog::take(), QStringList{u"The application has no version, using 0"_qs});
        DVState::shared().log = false;
    }

    void ofTheBundleOrTheApplication_data()
    {
        const DVRows<QByteArray, const char *> row("inBundle", "version");
        row("the bundle's comes first", "<string>2.1</string>", "2.1");
        row("without a list the application's", {}, "1.0");
        row("an empty one gives way", "<string></string>", "1.0");
        row("one that is no text gives way", "<array/>", "1.0");
    }
    void ofTheBundleOrTheApplication()
    {
        QFETCH(QByteArray, inBundle);
        useBundle(inBundle);
        QCoreApplication::setApplicationVersion(u"1.0"_qs);
        QTEST(dv_applicationVersion(), "version");
    }

    void forNamesAndUrls_data()
    {
        const DVRows<const char *, const char *, const char *> row("version", "forNames", "forUrls");
        row("digits, dots and hyphens stay", "1.2.3-rc1", "1.2.3-rc1", "1.2.3-rc1");
        row("a separator is no folder", "../1/2", "..%2F1%2F2", "..%2F1%2F2");
        row("the sign between the parts of a name", "1_2", "1%5F2", "1_2");
        row("a blank and a percent sign", "1 %", "1%20%25", "1%20%25");
        row("a tilde", "1~2", "1%7E2", "1~2");
        row("letters beyond ASCII as UTF-8", "é", "%C3%A9", "%C3%A9");
    }
    void forNamesAndUrls()
    {
        QFETCH(QString, version);
        useBundle({});
        QCoreApplication::setApplicationVersion(version);
        QTEST(dv_versionForNames(), "forNames");
        QTEST(dv_versionForUrls(), "forUrls");
    }
};

QTEST_GUILESS_MAIN(tst_Version)
#include "tst_version.moc"
