// A locale's store: its files in order of precedence, their dates, and what a bad file costs.
#include "DVBaseLocaleStrings.h"
#include "DVClock.h"
#include "DVCueMarkers.h"
#include "DVFolders.h"
#include "DVLocaleStrings.h"
#include "DVNetwork.h"
#include "DVReplacedFile.h"
#include "DVState.h"
#include "DVTestFiles.h"
#include "DVUserDefaults.h"

#include <Dorvane/DVBundle.h>
#include <Dorvane/DVNotificationCenter.h>

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

QByteArray xliff(const QString &key, const QString &source, const QString &target)
{
    return QStringLiteral(
               "<xliff version=\"1.2\"><file><body><trans-unit id=\"1\" resname=\"%1\"><source>%2</source>"
               "<target>%3</target></trans-unit></body></file></xliff>")
        .arg(key, source, target)
        .toUtf8();
}

} // namespace

class tst_LocaleStrings : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void precedenceOfFiles();
    void nothingToLoadKeepsWhatWasLoaded();
    void theUpdateNotification();
    void dates();
    void needsSync_data();
    void needsSync();
    void aBadFileIsReadOnce();
    void filesThatAreNotOursStay();
    void aFileThatCannotBeReadStays();
    void theReplacedFileComesBackWithItsDates();
    void killedBetweenTheFileAndItsDates();
    void baseStrings();
    void sourceTextsLieOverPackagedTexts();
    void shadowedTextsAreFoundUnderTheirOtherKeys();
    void borrowedLocale();
    void hostileIdentifiers_data();
    void hostileIdentifiers();

private:
    QString file(const QString &name) const { return QString(DVFolders::dorvaneFiles() + u'/' + name); }
    std::shared_ptr<DVLocaleStrings> store(const QString &identifier = u"fr_CA"_qs) const
    {
        return DVLocaleStrings::localeStringsForLocale(DVLocale(identifier));
    }

    std::unique_ptr<QTemporaryDir> m_folder;
    QString m_bundle;
};

void tst_LocaleStrings::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    m_bundle = m_folder->filePath(u"bundle"_qs);
    QDir().mkpath(m_bundle);
    DVFolders::setDocuments(m_folder->path());
    DVUserDefaults::standard().reload();
    DVBundle::setMainBundle(DVBundle(m_bundle));
    QCoreApplication::setApplicationVersion(u"1.0"_qs);
    DVState::shared().editionMode = false;
}

void tst_LocaleStrings::cleanup()
{
    DVState::shared().editionMode = false;
    DVClock::reset();
}

void tst_LocaleStrings::precedenceOfFiles()
{
    DVTestFiles::write(QString(m_bundle + u"/fr_CA.xlf"), xliff(u"k"_qs, u"s"_qs, u"packaged"_qs));
    DVBundle::setMainBundle(DVBundle(m_bundle));
    const auto strings = store();
    QVERIFY(strings->loadStringsWithBaseLocaleStrings(nullptr));
    QCOMPARE(strings->localizedStringForKey(u"k"_qs), u"packaged"_qs);

    DVTestFiles::write(strings->publishedFilePath(), xliff(u"other"_qs, u"s"_qs, u"published"_qs));
    strings->loadStringsWithBaseLocaleStrings(nullptr);
    QCOMPARE(strings->localizedStringForKey(u"other"_qs), u"published"_qs);
    QVERIFY2(strings->localizedStringForKey(u"k"_qs).isNull(),
             "the packaged file is not read beside a published one");

    DVTestFiles::write(strings->pendingFilePath(), xliff(u"other"_qs, u"s"_qs, u"pending"_qs));
    strings->loadStringsWithBaseLocaleStrings(nullptr);
    QCOMPARE(strings->localizedStringForKey(u"other"_qs), u"published"_qs);
    DVState::shared().editionMode = true;
    const auto review = store();
    review->loadStringsWithBaseLocaleStrings(nullptr);
    QCOMPARE(dv_stringByRemovingCues(review->localizedStringForKey(u"other"_qs)), u"pending"_qs);
    QFile::remove(review->publishedFilePath());
    const auto pendingOnly = store();
    pendingOnly->loadStringsWithBaseLocaleStrings(nullptr);
    QVERIFY2(pendingOnly->localizedStringForKey(u"k"_qs).isNull(), "a pending file alone suffices in review");
}

void tst_LocaleStrings::nothingToLoadKeepsWhatWasLoaded()
{
    const auto strings = store();
    DVTestFiles::write(strings->publishedFilePath(), xliff(u"k"_qs, u"s"_qs, u"t"_qs));
    strings->loadStringsWithBaseLocaleStrings(nullptr);
    QFile::remove(strings->publishedFilePath());
    QVERIFY(strings->loadStringsWithBaseLocaleStrings(nullptr));
    QCOMPARE(strings->stringsDictionary(), (QHash<QString, QString>{{u"k"_qs, u"t"_qs}}));
    // And a load replaces, it does not merge.
    DVTestFiles::write(strings->publishedFilePath(), xliff(u"new"_qs, u"s"_qs, u"t"_qs));
    strings->loadStringsWithBaseLocaleStrings(nullptr);
    QCOMPARE(strings->stringsDictionary().keys(), QStringList{u"new"_qs});
}

void tst_LocaleStrings::theUpdateNotification()
{
    const auto strings = store();
    QObject context;
    int posted = 0;
    DVNotificationCenter::defaultCenter().addObserver(&context, u"DorvaneStringsUpdatedNotification"_qs,
                                                      strings.get(),
                                                      [&](const DVNotification &) { ++posted; });
    strings->loadStringsWithBaseLocaleStrings(nullptr);
    QCOMPARE(posted, 1);
}

void tst_LocaleStrings::dates()
{
    const auto strings = store();
    QVERIFY(!strings->lastDownloadDate().isValid() && !strings->expirationDate().isValid());
    const QDateTime date = QDateTime::fromMSecsSinceEpoch(1'700'000'000'900, Qt::UTC);
    strings->setLastDownloadDate(date);
    strings->setExpirationDate(date.addSecs(60));
    QCOMPARE(strings->lastDownloadDate().toMSecsSinceEpoch(), 1'700'000'000'000);
    QCOMPARE(DVUserDefaults::standard().integerForKey(u"DVExpiration-1.0-fr-CA"_qs), 1'700'000'060);
    DVUserDefaults::standard().reload();
    QCOMPARE(store()->expirationDate().toSecsSinceEpoch(), 1'700'000'060);
    QVERIFY(!store(u"fr"_qs)->expirationDate().isValid());
    DVLocaleStrings::clearDates();
    QVERIFY(strings->lastDownloadDate().isValid());

    QCoreApplication::setApplicationVersion(u"1.1"_qs);
    QVERIFY(!strings->lastDownloadDate().isValid());
    QVERIFY(strings->publishedFilePath().endsWith(u"/Dorvane/1.1_fr_CA_published.xlf"_qs));
    QCoreApplication::setApplicationVersion(u"../2 ü"_qs);
    QVERIFY(strings->publishedFilePath().endsWith(u"/Dorvane/..%2F2%20%C3%BC_fr_CA_published.xlf"_qs));
    QCoreApplication::setApplicationVersion(u"1.0"_qs);

    for (const qint64 stored : {qint64(0), qint64(-5)}) {
        DVUserDefaults::standard().setInteger(u"DVExpiration-1.0-fr-CA"_qs, stored);
        QVERIFY(!strings->expirationDate().isValid());
    }
    DVUserDefaults::standard().setString(u"DVExpiration-1.0-fr-CA"_qs, u"soon"_qs);
    QVERIFY(!strings->expirationDate().isValid());
}

void tst_LocaleStrings::needsSync_data()
{
    QTest::addColumn<bool>("published");
    QTest::addColumn<bool>("packaged");
    QTest::addColumn<int>("expiresIn"); // seconds; -1000: no date
    QTest::addColumn<DVNeedsSync>("answer");
    QTest::newRow("nothing at all") << false << false << -1000 << DVNeedsSync::Missing;
    QTest::newRow("a date without a file") << false << false << 60 << DVNeedsSync::Missing;
    QTest::newRow("packaged only") << false << true << 60 << DVNeedsSync::Stale;
    QTest::newRow("published without a date") << true << true << -1000 << DVNeedsSync::Missing;
    QTest::newRow("published and fresh") << true << false << 60 << DVNeedsSync::UpToDate;
    QTest::newRow("published and expiring in this second") << true << false << 0 << DVNeedsSync::Stale;
    QTest::newRow("published and expired") << true << false << -1 << DVNeedsSync::Stale;
}

void tst_LocaleStrings::needsSync()
{
    QFETCH(bool, published);
    QFETCH(bool, packaged);
    QFETCH(int, expiresIn);
    if (packaged)
        DVTestFiles::write(QString(m_bundle + u"/fr_CA.xlf"), xliff(u"k"_qs, u"s"_qs, u"t"_qs));
    DVBundle::setMainBundle(DVBundle(m_bundle));
    const auto strings = store();
    if (published)
        DVTestFiles::write(strings->publishedFilePath(), "not even looked at");
    if (expiresIn != -1000)
        strings->setExpirationDate(DVClock::now().addSecs(expiresIn));
    QTEST(strings->needsSync(), "answer");
}

void tst_LocaleStrings::aBadFileIsReadOnce()
{
    const auto strings = store();
    for (const QByteArray &bad :
         {QByteArray("garbage"), QByteArray(), xliff(u"k"_qs, u"s"_qs, u"t"_qs).chopped(9),
          QByteArray("<!DOCTYPE x><xliff/>")}) {
        DVTestFiles::write(strings->publishedFilePath(), bad);
        strings->loadStringsWithBaseLocaleStrings(nullptr);
        QVERIFY2(!QFile::exists(strings->publishedFilePath()), bad.constData());
        QVERIFY(strings->loadedStrings().isEmpty());
    }
}

void tst_LocaleStrings::filesThatAreNotOursStay()
{
    const QString packaged = QString(m_bundle + u"/fr_CA.xlf");
    DVTestFiles::write(packaged, "garbage");
    DVBundle::setMainBundle(DVBundle(m_bundle));
    store()->loadStringsWithBaseLocaleStrings(nullptr);
    QCOMPARE(DVTestFiles::read(packaged), QByteArray("garbage"));
}

void tst_LocaleStrings::aFileThatCannotBeReadStays()
{
    // A folder in the file's place fails to open for root too.
    const QString path = store()->publishedFilePath();
    QVERIFY(QDir().mkpath(path));
    store()->loadStringsWithBaseLocaleStrings(nullptr);
    QVERIFY(QFileInfo(path).isDir());
}

void tst_LocaleStrings::theReplacedFileComesBackWithItsDates()
{
    const auto strings = store();
    const QString path = strings->publishedFilePath();
    const QByteArray good = xliff(u"k"_qs, u"s"_qs, u"good"_qs);
    DVTestFiles::write(path, "damaged");
    DVTestFiles::write(dv_previousFilePath(path), good);
    DVUserDefaults::standard().setObject(
        u"DVReplaced-1.0_fr_CA_published.xlf"_qs,
        {{u"DVLastDownload-1.0-fr-CA"_qs, 1000}, {u"DVExpiration-1.0-fr-CA"_qs, QJsonValue()}});
    strings->setLastDownloadDate(QDateTime::fromSecsSinceEpoch(5000, Qt::UTC));
    strings->setExpirationDate(QDateTime::fromSecsSinceEpoch(6000, Qt::UTC));
    strings->loadStringsWithBaseLocaleStrings(nullptr);
    QCOMPARE(strings->localizedStringForKey(u"k"_qs), u"good"_qs);
    QCOMPARE(DVTestFiles::read(path), good);
    QCOMPARE(strings->lastDownloadDate().toSecsSinceEpoch(), 1000);
    QVERIFY(!strings->expirationDate().isValid());
    QVERIFY(!QFile::exists(dv_previousFilePath(path)));

    // Two damaged files in a row: both go, and nothing hangs.
    DVTestFiles::write(path, "damaged");
    DVTestFiles::write(dv_previousFilePath(path), "damaged too");
    QVERIFY2(DVReplacedFile::deleteAndRestore(path, DVFileIdentity()) && DVTestFiles::read(path) == "damaged",
             "a file that is not the one that failed to parse stays, and is read again");
    store()->loadStringsWithBaseLocaleStrings(nullptr);
    QVERIFY(!QFile::exists(path) && !QFile::exists(dv_previousFilePath(path)));
}

void tst_LocaleStrings::killedBetweenTheFileAndItsDates()
{
    const auto strings = store();
    const QString path = strings->publishedFilePath();
    DVTestFiles::write(path, xliff(u"k"_qs, u"s"_qs, u"new"_qs));
    DVTestFiles::write(dv_previousFilePath(path), xliff(u"k"_qs, u"s"_qs, u"old"_qs));
    strings->setLastDownloadDate(QDateTime::fromSecsSinceEpoch(1000, Qt::UTC)); // still the old file's
    strings->loadStringsWithBaseLocaleStrings(nullptr);
    QCOMPARE(strings->localizedStringForKey(u"k"_qs), u"new"_qs);
    QVERIFY2(!QFile::exists(dv_previousFilePath(path)), "the new file has parsed; the old one may go");
    QCOMPARE(strings->lastDownloadDate().toSecsSinceEpoch(), 1000);
}

void tst_LocaleStrings::baseStrings()
{
    QVERIFY(DVBaseLocaleStrings::localeStringsForLocale(DVLocale(u"en"_qs))->loadedStrings().isEmpty());
    DVTestFiles::write(QString(m_bundle + u"/en.lproj/Localizable.strings"),
                       "\"k\" = \"Text %@\"; \"empty\" = \"\";");
    DVBundle::setMainBundle(DVBundle(m_bundle));
    const auto base = DVBaseLocaleStrings::localeStringsForLocale(DVLocale(u"en"_qs));
    QCOMPARE(base->localizedStringForKey(u"k"_qs), u"Text %@"_qs); // unmarked: nothing needs cues
    QVERIFY(!base->localizedStringForKey(u"empty"_qs).isNull());
    const DVStringPtr record = base->dorvaneStringForKey(u"k"_qs, {});
    QVERIFY(record && record->fromBase);
    QCOMPARE(base->dorvaneStringGroupForKey(u"k"_qs)->status, quint32(DVStringStatusUntranslated));
    QCOMPARE(base->dorvaneStringForKey(u"k"_qs, u"few"_qs), record); // kept, and found for any category
    QVERIFY(!base->dorvaneStringForKey(u"absent"_qs, {}));
}

void tst_LocaleStrings::sourceTextsLieOverPackagedTexts()
{
    DVTestFiles::write(QString(m_bundle + u"/en.lproj/Localizable.strings"),
                       "\"k\" = \"packaged\"; \"own\" = \"own\";");
    DVBundle::setMainBundle(DVBundle(m_bundle));
    const auto base = DVBaseLocaleStrings::localeStringsForLocale(DVLocale(u"en"_qs));
    const auto strings = store();
    DVTestFiles::write(strings->publishedFilePath(), xliff(u"k"_qs, u"from the file"_qs, u"t"_qs));
    strings->loadStringsWithBaseLocaleStrings(base.get());
    QCOMPARE(base->localizedStringForKey(u"k"_qs), u"from the file"_qs);
    QCOMPARE(base->localizedStringForKey(u"own"_qs), u"own"_qs);
    QCOMPARE(base->stringsDictionary().size(), 2);
    // Another locale's sources replace these; the packaged ones stay.
    const auto other = store(u"de"_qs);
    DVTestFiles::write(other->publishedFilePath(), xliff(u"z"_qs, u"zed"_qs, u"t"_qs));
    other->loadStringsWithBaseLocaleStrings(base.get());
    QCOMPARE(base->localizedStringForKey(u"k"_qs), u"packaged"_qs);
    QCOMPARE(base->localizedStringForKey(u"z"_qs), u"zed"_qs);
}

void tst_LocaleStrings::shadowedTextsAreFoundUnderTheirOtherKeys()
{
    DVTestFiles::write(QString(m_bundle + u"/en.lproj/Localizable.strings"),
                       "\"title\" = \"OK\"; \"button\" = \"OK\";");
    DVBundle::setMainBundle(DVBundle(m_bundle));
    const auto base = DVBaseLocaleStrings::localeStringsForLocale(DVLocale(u"en"_qs));
    for (const QString &shadowed : {u"title"_qs, u"button"_qs}) {
        const auto strings = store();
        DVTestFiles::write(strings->publishedFilePath(), xliff(shadowed, u"Okay"_qs, u"t"_qs));
        strings->loadStringsWithBaseLocaleStrings(base.get());
        const DVStringPtr found = base->dorvaneStringForLocalizedString(u"ok"_qs);
        QVERIFY(found);
        QCOMPARE(found->key, shadowed == u"title" ? u"button"_qs : u"title"_qs);
    }
}

void tst_LocaleStrings::borrowedLocale()
{
    QVERIFY(DVBaseLocaleStrings::dummyLocalePresentOnDevice().isNull());
    DVTestFiles::write(file(u"1.0_de_published.xlf"_qs), xliff(u"k"_qs, u"german file"_qs, u"t"_qs));
    DVTestFiles::write(file(u"0.9_es_published.xlf"_qs), "x");
    DVTestFiles::write(file(u"0.9_es_pending.xlf"_qs), "x");
    DVTestFiles::write(file(u"1.0_published.xlf"_qs), "x");
    QVERIFY2(DVBaseLocaleStrings::dummyLocalePresentOnDevice().isNull(),
             "a published file alone does not qualify");
    DVTestFiles::write(file(u"1.0_sr_Latn_ME_published.xlf"_qs),
                       xliff(u"k"_qs, u"published source"_qs, u"t"_qs));
    DVTestFiles::write(file(u"1.0_sr_Latn_ME_pending.xlf"_qs), xliff(u"p"_qs, u"pending source"_qs, u"t"_qs));
    QCOMPARE(DVBaseLocaleStrings::dummyLocalePresentOnDevice(), u"sr_Latn_ME"_qs);

    const auto base = DVBaseLocaleStrings::localeStringsForLocale(DVLocale(u"en"_qs));
    base->loadStrings();
    QCOMPARE(base->fetchedLocale().identifier(), u"sr_Latn_ME"_qs);
    QCOMPARE(base->publishedFilePath(), file(u"1.0_sr_Latn_ME_published.xlf"_qs));
    QCOMPARE(base->stringsDictionary(),
             (QHash<QString, QString>{{u"k"_qs, u"published source"_qs}, {u"p"_qs, u"pending source"_qs}}));
}

void tst_LocaleStrings::hostileIdentifiers_data()
{
    QTest::addColumn<QString>("identifier");
    QTest::newRow("a path") << u"../../etc/passwd"_qs;
    QTest::newRow("a slash") << u"fr/CA"_qs;
    QTest::newRow("a zero") << QString(QChar(0));
    QTest::newRow("empty") << QString();
    QTest::newRow("huge") << QString(100'000, u'a');
}

void tst_LocaleStrings::hostileIdentifiers()
{
    QFETCH(QString, identifier);
    const auto strings = store(identifier);
    QVERIFY(strings->publishedFilePath().isNull() && strings->pendingFilePath().isNull());
    QVERIFY(strings->dirtyFilePath().isNull() && strings->packagedFilePath().isNull());
    QCOMPARE(strings->needsSync(), DVNeedsSync::Missing);
    QVERIFY(strings->pullSyncFromProdWithTimeout(1));
    strings->loadStringsWithBaseLocaleStrings(nullptr);
    QVERIFY(strings->loadedStrings().isEmpty());
}

QTEST_GUILESS_MAIN(tst_LocaleStrings)
#include "tst_localestrings.moc"
