// What other versions of the application left on the device goes, to the letter of its name, and nothing
// else.
#include "DVFolders.h"
#include "DVLocaleStrings.h"
#include "DVReplacedFile.h"
#include "DVStringsFileName.h"
#include "DVUserDefaults.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::Literals::StringLiterals;
using Kind = DVStringsFileName::Kind;

namespace {

const QByteArray document =
    "<xliff version=\"1.2\"><file><body><trans-unit id=\"1\" resname=\"a\"><source>a</source>"
    "<target>b</target></trans-unit></body></file></xliff>";

} // namespace

class tst_OtherVersions : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void namesAreReadToTheLetter_data();
    void namesAreReadToTheLetter();
    void whatGoesAndWhatStays_data();
    void whatGoesAndWhatStays();
    void foldersAndLinksStay();
    void datesGoWithTheirFiles();
    void onlyAfterALoadOfOurOwnFile_data();
    void onlyAfterALoadOfOurOwnFile();

private:
    QString path(const QString &name) const { return QString(DVFolders::dorvaneFiles() + u'/' + name); }
    void put(const QString &name, const QByteArray &content = document) const
    {
        QDir().mkpath(DVFolders::dorvaneFiles());
        QFile file(path(name));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(content);
    }
    // As a launch does.
    static void load(const QString &locale)
    {
        const auto store = DVLocaleStrings::localeStringsForLocale(DVLocale(locale));
        store->loadStringsWithBaseLocaleStrings(nullptr);
        for (int turn = 0; turn < 5; ++turn)
            QCoreApplication::processEvents();
    }

    std::optional<QTemporaryDir> m_folder;
};

void tst_OtherVersions::init()
{
    m_folder.emplace();
    DVFolders::setDocuments(m_folder->path());
    DVUserDefaults::standard().reload();
    QCoreApplication::setApplicationVersion(u"2.0"_qs);
}

void tst_OtherVersions::cleanup()
{
    DVFolders::setDocuments({});
    m_folder.reset();
}

void tst_OtherVersions::namesAreReadToTheLetter_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<std::optional<DVStringsFileName>>("expected");

    const auto row = [](const char *title, const QString &name,
                        const std::optional<DVStringsFileName> &expected) {
        QTest::newRow(title) << name << expected;
    };
    row("published", u"1.0_fr_CA_published.xlf"_qs, {{u"1.0"_qs, u"fr_CA"_qs, Kind::Published, false}});
    row("the copy of what was replaced", u"1.0_en_published.xlf.previous"_qs,
        {{u"1.0"_qs, u"en"_qs, Kind::Published, true}});
    row("pending, a version with hyphens, a locale with a hyphen", u"1.0-beta_en-GB_pending.xlf"_qs,
        {{u"1.0-beta"_qs, u"en-GB"_qs, Kind::Pending, false}});
    row("the copy of what pending strings replaced", u"1.0_fr_pending.xlf.previous"_qs,
        {{u"1.0"_qs, u"fr"_qs, Kind::Pending, true}});
    row("an encoded version", u"2%200_pl_edited.xlf"_qs, {{u"2%200"_qs, u"pl"_qs, Kind::Edited, false}});
    row("a locale that ends like a kind", u"1_fr_published_edited.xlf"_qs,
        {{u"1"_qs, u"fr_published"_qs, Kind::Edited, false}});
    row("edits that a pull threw away", u"1.0_fr_CA_discarded.xlf"_qs,
        {{u"1.0"_qs, u"fr_CA"_qs, Kind::Discarded, false}});
    row("edits that could not be read", u"1.0_fr_CA_edited.xlf.damaged"_qs,
        {{u"1.0"_qs, u"fr_CA"_qs, Kind::Damaged, false}});
    row("no version", u"_fr_published.xlf"_qs, {});
    row("no locale", u"1.0__published.xlf"_qs, {});
    row("neither", u"published.xlf"_qs, {});
    row("a version that we would have encoded", u"1 0_fr_published.xlf"_qs, {});
    row("a locale that we would have refused", u"1.0_42_published.xlf"_qs, {});
    row("edited strings have no such copy", u"1.0_fr_edited.xlf.previous"_qs, {});
    row("something behind it", u"1.0_fr_published.xlf.bak"_qs, {});
    row("other letters", u"1.0_fr_Published.xlf"_qs, {});
    row("review files carry no version", u"fr_CA_published_review.xlf"_qs, {});
    row("a save that was killed", u"1.0_fr_published.xlf.aBc123"_qs, {});
}

void tst_OtherVersions::namesAreReadToTheLetter()
{
    QFETCH(QString, name);
    QFETCH(std::optional<DVStringsFileName>, expected);
    QVERIFY(DVStringsFileName::parse(name) == expected);
}

void tst_OtherVersions::whatGoesAndWhatStays_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("stays");
    QTest::newRow("this version") << u"2.0_en_published.xlf"_qs << true;
    QTest::newRow("this version, another locale") << u"2.0_pl_published.xlf"_qs << true;
    QTest::newRow("an earlier version") << u"1.0_en_published.xlf"_qs << false;
    QTest::newRow("an earlier version's en-GB") << u"1.0_en-GB_published.xlf"_qs << false;
    QTest::newRow("this version's en-GB") << u"2.0_en-GB_published.xlf"_qs << true;
    QTest::newRow("a later version") << u"3.0_en_published.xlf"_qs << false;
    QTest::newRow("a version that ours begins with") << u"2_en_published.xlf"_qs << false;
    QTest::newRow("a version that begins with ours") << u"2.0.1_en_published.xlf"_qs << false;
    QTest::newRow("what a download replaced") << u"1.0_en_published.xlf.previous"_qs << false;
    QTest::newRow("pending strings") << u"1.0_en_pending.xlf"_qs << false;
    QTest::newRow("what pending strings replaced") << u"1.0_en_pending.xlf.previous"_qs << false;
    QTest::newRow("edited strings of another version") << u"1.0_en_edited.xlf"_qs << true;
    QTest::newRow("discarded strings of another version") << u"1.0_en_discarded.xlf"_qs << true;
    QTest::newRow("damaged strings of another version") << u"1.0_en_edited.xlf.damaged"_qs << true;
    QTest::newRow("edited strings of this version") << u"2.0_en_edited.xlf"_qs << true;
    QTest::newRow("the settings") << u"other.json"_qs << true;
    QTest::newRow("usage events") << u"analytics"_qs << true;
    QTest::newRow("somebody else's strings") << u"notes_published.xlf"_qs << true;
    QTest::newRow("somebody's copy of ours") << u"1.0_en_published.xlf~"_qs << true;
    QTest::newRow("a hidden file") << u".1.0_en_published.xlf"_qs << true;
}

void tst_OtherVersions::whatGoesAndWhatStays()
{
    QFETCH(QString, name);
    QFETCH(bool, stays);
    put(u"2.0_en_published.xlf"_qs);
    put(name);
    load(u"en"_qs);
    QCOMPARE(QFile::exists(path(name)), stays);
    QVERIFY(QFile::exists(path(u"2.0_en_published.xlf"_qs)));
}

void tst_OtherVersions::foldersAndLinksStay()
{
    put(u"2.0_en_published.xlf"_qs);
    const QString elsewhere = m_folder->filePath(u"1.0_de_published.xlf"_qs);
    QVERIFY(QFile::copy(path(u"2.0_en_published.xlf"_qs), elsewhere));
    QVERIFY(QFile::link(elsewhere, path(u"1.0_de_published.xlf"_qs)));
    QVERIFY(QDir().mkdir(path(u"1.0_pl_published.xlf"_qs)));
    load(u"en"_qs);
    QVERIFY(QFile::exists(elsewhere));
    QVERIFY(QFileInfo(path(u"1.0_de_published.xlf"_qs)).isSymLink());
    QVERIFY(QFileInfo(path(u"1.0_pl_published.xlf"_qs)).isDir());
}

void tst_OtherVersions::datesGoWithTheirFiles()
{
    auto &defaults = DVUserDefaults::standard();
    const QStringList gone{u"DVLastDownload-1.0-en"_qs, u"DVExpiration-1.0-en"_qs,
                           u"DVExpiration-1.0-fr-CA"_qs};
    const QStringList stay{u"DVLastDownload-2.0-en"_qs,  u"DVExpiration-2.0-en"_qs,
                           u"DVExpiration-2.0-fr-CA"_qs, u"DVExpiration-1.0-en-GB"_qs,
                           u"DVExpiration-1.0-de"_qs,    u"DVDevice"_qs};
    for (const QString &key : gone + stay)
        defaults.setInteger(key, 5);
    defaults.setObject(u"DVReplaced-1.0_en_published.xlf"_qs, {});
    defaults.setObject(u"DVReplaced-2.0_en_published.xlf"_qs, {});
    put(u"2.0_fr_CA_published.xlf"_qs);
    put(u"1.0_en_published.xlf"_qs);
    put(u"1.0_fr_CA_published.xlf"_qs);
    put(u"1.0_de_edited.xlf"_qs);
    load(u"fr_CA"_qs);
    defaults.reload(); // as they are on the disk
    for (const QString &key : gone)
        QVERIFY2(!defaults.integerForKey(key), qPrintable(key));
    for (const QString &key : stay)
        QVERIFY2(defaults.integerForKey(key), qPrintable(key));
    QVERIFY(!defaults.objectForKey(u"DVReplaced-1.0_en_published.xlf"_qs));
    QVERIFY(defaults.objectForKey(u"DVReplaced-2.0_en_published.xlf"_qs));
}

void tst_OtherVersions::onlyAfterALoadOfOurOwnFile_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::newRow("no file of this version yet") << QByteArray();
    QTest::newRow("a file that does not parse") << document.left(60);
}

void tst_OtherVersions::onlyAfterALoadOfOurOwnFile()
{
    QFETCH(QByteArray, content);
    put(u"1.0_en_published.xlf"_qs);
    if (!content.isEmpty())
        put(u"2.0_en_published.xlf"_qs, content);
    load(u"en"_qs);
    QVERIFY(QFile::exists(path(u"1.0_en_published.xlf"_qs)));
    put(u"2.0_en_published.xlf"_qs);
    load(u"en"_qs);
    QVERIFY(!QFile::exists(path(u"1.0_en_published.xlf"_qs)));
}

QTEST_GUILESS_MAIN(tst_OtherVersions)
#include "tst_otherversions.moc"
