// What a device shows in every state of its files and of the network, asked of the command-line tool
// against a web server that is not ours.
#include "StaticSite.h"
#include <DVRows.h>

using namespace Qt::Literals::StringLiterals;

namespace {

const QByteArray hoursLater = "{\"do\":\"clock\",\"advanceMs\":7200000}\n";

} // namespace

class tst_Fallbacks : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void freshThenCurrent();
    void staleThenRefreshed();
    void notModified();
    void nothingOnTheDevice_data();
    void nothingOnTheDevice();
    void somethingOnTheDevice_data();
    void somethingOnTheDevice();
    void packagedOnly();
    void corruptFileOnTheDevice();
};

void tst_Fallbacks::freshThenCurrent()
{
    StaticSite site;
    TryDevice device;
    site.publish("one", 60);
    QCOMPARE(device.texts(site.startCommand() + lookupCommands()), edition(u"one"_qs));
    QCOMPARE(site.requests(), QByteArrayList{"GET /projects/garden/1.0/fr-CA/strings.gz/force plain"});
    // Current strings ask nobody.
    site.publish("two");
    QCOMPARE(device.texts(site.startCommand() + lookupCommands()), edition(u"one"_qs));
    QCOMPARE(site.requests().size(), 1);
    QCOMPARE(device.files(), QStringList{u"1.0_fr_CA_published.xlf"_qs});
}

void tst_Fallbacks::staleThenRefreshed()
{
    StaticSite site;
    TryDevice device;
    site.publish("one", 60);
    device.texts(site.startCommand());
    site.publish("two", 30);
    QCOMPARE(
        device.texts(hoursLater + site.startCommand() + lookupCommands() + waitForUpdate + lookupCommands()),
        edition(u"one"_qs) + edition(u"two"_qs));
    QCOMPARE(site.requests().last(),
             QByteArray("GET /projects/garden/1.0/fr-CA/strings.gz/force conditional"));
    QCOMPARE(device.files(), QStringList{u"1.0_fr_CA_published.xlf"_qs});
}

void tst_Fallbacks::notModified()
{
    StaticSite site;
    TryDevice device;
    site.publish("one", 60);
    device.texts(site.startCommand());
    const QByteArray returns = "{\"do\":\"foreground\"}\n" + waitForUpdate;
    QCOMPARE(device.texts(site.startCommand() + hoursLater + returns + lookupCommands()), edition(u"one"_qs));
    QCOMPARE(site.requests().last(), QByteArray("GET /projects/garden/1.0/fr-CA/strings.gz conditional"));
    QVERIFY2(device.run().errors.contains("Response [304]"), device.run().errors.constData());
}

void tst_Fallbacks::nothingOnTheDevice_data()
{
    const DVRows<QByteArray, QString, QString, bool> row("status", "version", "key", "network");
    const QString key = Delivered::base64();
    const QString other = Delivered::base64("ABCDEFGHIJKLMNOP");
    row("404", "404", u"1.0"_qs, key, true);
    row("403", "403", u"1.0"_qs, key, true);
    row("500", "500", u"1.0"_qs, key, true);
    row("a version that was not published", {}, u"2.0"_qs, key, true);
    row("another key", {}, u"1.0"_qs, other, true);
    row("a key of a wrong length", {}, u"1.0"_qs, u"c2hvcnQ="_qs, true);
    row("no network", {}, u"1.0"_qs, key, false);
}

void tst_Fallbacks::nothingOnTheDevice()
{
    QFETCH(QByteArray, status);
    QFETCH(QString, version);
    QFETCH(QString, key);
    QFETCH(bool, network);
    StaticSite site;
    TryDevice device;
    site.publish("one");
    site.set("status", status);
    const QByteArray start = site.startCommand({{u"otaKey"_qs, key}});
    if (!network)
        site.stop();
    QCOMPARE(device.texts(start + lookupCommands(), version), nothing());
    QCOMPARE(device.run().status, 0);
    QCOMPARE(device.files(), QStringList());
    // With packaged base strings those are what remains.
    device.package(u"en.lproj/Localizable.strings"_qs, "\"hello\" = \"packaged hello\";");
    QCOMPARE(device.texts(start + lookupCommands(), version), (QStringList{u"packaged hello"_qs, u"bye"_qs}));
}

void tst_Fallbacks::somethingOnTheDevice_data()
{
    const DVRows<QByteArray, int, bool> row("status", "chopped", "network");
    row("404", "404", 0, true);
    row("403", "403", 0, true);
    row("500", "500", 0, true);
    row("a damaged publication", {}, 30, true);
    row("no network", {}, 0, false);
}

void tst_Fallbacks::somethingOnTheDevice()
{
    QFETCH(QByteArray, status);
    QFETCH(int, chopped);
    QFETCH(bool, network);
    StaticSite site;
    TryDevice device;
    site.publish("one", 60);
    QCOMPARE(device.texts(site.startCommand() + lookupCommands()), edition(u"one"_qs));
    site.publishBytes(StaticSite::document("two"), 30, chopped);
    site.set("status", status);
    const QByteArray start = site.startCommand();
    if (!network)
        site.stop();
    const QByteArray settle = "{\"do\":\"wait\",\"ms\":700}\n";
    QCOMPARE(device.texts(hoursLater + start + lookupCommands() + settle + lookupCommands()),
             edition(u"one"_qs) + edition(u"one"_qs));
    // And at the next start, whatever the last one left.
    QCOMPARE(device.texts(start + lookupCommands()), edition(u"one"_qs));
    QCOMPARE(device.files(), QStringList{u"1.0_fr_CA_published.xlf"_qs});
}

void tst_Fallbacks::packagedOnly()
{
    StaticSite site;
    TryDevice device;
    device.package(u"fr_CA.xlf"_qs, StaticSite::document("packaged"));
    const QByteArray start = site.startCommand();
    site.stop();
    QCOMPARE(device.texts(start + lookupCommands()), edition(u"packaged"_qs));
    site.publish("one");
    site.start();
    QCOMPARE(device.texts(site.startCommand() + lookupCommands() + waitForUpdate + lookupCommands()),
             edition(u"packaged"_qs) + edition(u"one"_qs));
}

void tst_Fallbacks::corruptFileOnTheDevice()
{
    StaticSite site;
    TryDevice device;
    site.publish("one", 60);
    device.texts(site.startCommand());
    const QString path = device.dataPath() + u"/Dorvane/1.0_fr_CA_published.xlf"_qs;
    QFile file(path);
    QVERIFY(file.resize(file.size() / 2));
    QCOMPARE(device.texts(site.startCommand() + lookupCommands()), nothing());
    QVERIFY(device.run().errors.contains("Deleting file"));
    QVERIFY(!QFile::exists(path));
    QCOMPARE(device.texts(site.startCommand() + lookupCommands()), edition(u"one"_qs));
    QVERIFY2(site.requests().last().endsWith("plain"), "a store whose file is gone downloads in full");
}

QTEST_GUILESS_MAIN(tst_Fallbacks)
#include "tst_fallbacks.moc"
