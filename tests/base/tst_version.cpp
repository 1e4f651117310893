#include "DVLog.h"
#include "DVState.h"
#include "DVVersion.h"

#include <Dorvane/DVBundle.h>

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

class tst_Version : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { QTest::failOnWarning(QRegularExpression(QStringLiteral("."))); }

    void symbols();
    void missingVersionIsSaidOnce();
    void ofTheBundleOrTheApplication_data();
    void ofTheBundleOrTheApplication();
    void forNamesAndUrls_data();
    void forNamesAndUrls();

private:
    void useBundle(const QByteArray &version);

    QTemporaryDir m_folder;
    int m_bundles = 0;
};

void tst_Version::useBundle(const QByteArray &version)
{
    // A new folder each time: a bundle reads its list once.
    const QString path = m_folder.filePath(QString::number(++m_bundles));
    QVERIFY(QDir().mkpath(path));
    if (!version.isNull()) {
        QFile list(path + QStringLiteral("/Info.plist"));
        QVERIFY(list.open(QIODevice::WriteOnly));
        list.write("<?xml version=\"1.0\"?><plist version=\"1.0\"><dict>"
                   "<key>CFBundleShortVersionString</key>" +
                   version + "</dict></plist>");
    }
    DVBundle::setMainBundle(DVBundle(path));
}

void tst_Version::symbols()
{
    // The what-string of the build: found by what(1), so every byte counts.
    QCOMPARE(QByteArray(reinterpret_cast<const char *>(DorvaneVersionString)),
             QByteArray("@(#)PROGRAM:Dorvane  PROJECT:DorvaneFramework-1\n"));
    QCOMPARE(DorvaneVersionNumber, 1.0);
    QCOMPARE(dv_sdkVersion, QLatin1StringView("1.4.1"));
}

// Runs before any other that asks for a version.
void tst_Version::missingVersionIsSaidOnce()
{
    useBundle({});
    QVERIFY(dv_applicationVersion().isNull());
    DVState::shared().log = true;
    static QStringList lines;
    const auto handler = qInstallMessageHandler(
        [](QtMsgType, const QMessageLogContext &, const QString &line) { lines.append(line); });
    const QStringList versions{dv_versionForNames(), dv_versionForUrls()};
    qInstallMessageHandler(handler);
    QCOMPARE(versions, (QStringList{QStringLiteral("0"), QStringLiteral("0")}));
    QCOMPARE(lines, QStringList{QStringLiteral("[DV] The application has no version, using 0")});
    DVState::shared().log = false;
}

void tst_Version::ofTheBundleOrTheApplication_data()
{
    QTest::addColumn<QByteArray>("inBundle");
    QTest::addColumn<QString>("ofApplication");
    QTest::addColumn<QString>("version");

    QTest::newRow("the bundle's comes first") << QByteArray("<string>2.1</string>") << "1.0"
                                              << "2.1";
    QTest::newRow("without a list the application's") << QByteArray() << "1.0"
                                                      << "1.0";
    QTest::newRow("an empty one gives way") << QByteArray("<string></string>") << "1.0"
                                            << "1.0";
    QTest::newRow("one that is no text gives way") << QByteArray("<array/>") << "1.0"
                                                   << "1.0";
}

void tst_Version::ofTheBundleOrTheApplication()
{
    QFETCH(QByteArray, inBundle);
    QFETCH(QString, ofApplication);
    useBundle(inBundle);
    QCoreApplication::setApplicationVersion(ofApplication);
    QTEST(dv_applicationVersion(), "version");
}

void tst_Version::forNamesAndUrls_data()
{
    QTest::addColumn<QString>("version");
    QTest::addColumn<QString>("forNames");
    QTest::addColumn<QString>("forUrls");

    QTest::newRow("digits, dots and hyphens stay") << "1.2.3-rc1"
                                                   << "1.2.3-rc1"
                                                   << "1.2.3-rc1";
    QTest::newRow("a separator is no folder") << "../1/2"
                                              << "..%2F1%2F2"
                                              << "..%2F1%2F2";
    QTest::newRow("the sign between the parts of a name") << "1_2"
                                                          << "1%5F2"
                                                          << "1_2";
    QTest::newRow("a blank and a percent sign") << "1 %"
                                                << "1%20%25"
                                                << "1%20%25";
    QTest::newRow("a tilde") << "1~2"
                             << "1%7E2"
                             << "1~2";
    QTest::newRow("letters beyond ASCII as UTF-8") << QStringLiteral("é") << "%C3%A9"
                                                   << "%C3%A9";
}

void tst_Version::forNamesAndUrls()
{
    QFETCH(QString, version);
    useBundle({});
    QCoreApplication::setApplicationVersion(version);
    QTEST(dv_versionForNames(), "forNames");
    QTEST(dv_versionForUrls(), "forUrls");
}

QTEST_GUILESS_MAIN(tst_Version)
#include "tst_version.moc"
