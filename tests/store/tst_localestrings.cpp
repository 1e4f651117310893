// A locale's store: its files in order of precedence, their dates, what a bad file costs, and what other
// versions left.
#include "DVBaseLocaleStrings.h"
#include "DVClock.h"
#include "DVCueMarkers.h"
#include "DVFolders.h"
#include "DVLocaleStrings.h"
#include "DVNetwork.h"
#include "DVReplacedFile.h"
#include "DVRows.h"
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

class tst_LocaleStrings : public QObject, private DVTestFiles
{
    Q_OBJECT

private Q_SLOTS:
    void init()
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

    void cleanup()
    {
        DVState::shared().editionMode = false;
        DVClock::reset();
    }

    void precedenceOfFiles()
    {
        package(u"fr_CA.xlf"_qs, xliff(u"k"_qs, u"s"_qs, u"packaged"_qs));
        const auto strings = store();
        QVERIFY(load(*strings));
        QCOMPARE(strings->localizedStringForKey(u"k"_qs), u"packaged"_qs);

        write(strings->publishedFilePath(), xliff(u"other"_qs, u"s"_qs, u"published"_qs));
        load(*strings);
        QCOMPARE(strings->localizedStringForKey(u"other"_qs), u"published"_qs);
        QVERIFY2(strings->localizedStringForKey(u"k"_qs).isNull(),
                 "the packaged file is not read beside a published one");

        write(strings->pendingFilePath(), xliff(u"other"_qs, u"s"_qs, u"pending"_qs));
        load(*strings);
        QCOMPARE(strings->localizedStringForKey(u"other"_qs), u"published"_qs);
        DVState::shared().editionMode = true;
        const auto review = store();
        load(*review);
        QCOMPARE(dv_stringByRemovingCues(review->localizedStringForKey(u"other"_qs)), u"pending"_qs);
        QFile::remove(review->publishedFilePath());
        const auto pendingOnly = store();
        load(*pendingOnly);
        QVERIFY2(pendingOnly->localizedStringForKey(u"k"_qs).isNull(),
                 "a pending file alone suffices in review");
    }

    void nothingToLoadKeepsWhatWasLoaded()
    {
        const auto strings = store();
        write(strings->publishedFilePath(), xliff(u"k"_qs, u"s"_qs, u"t"_qs));
        load(*strings);
        QFile::remove(strings->publishedFilePath());
        QVERIFY(load(*strings));
        QCOMPARE(strings->stringsDictionary(), (QHash<QString, QString>{{u"k"_qs, u"t"_qs}}));
        // And a load replaces, it does not merge.
        write(strings->publishedFilePath(), xliff(u"new"_qs, u"s"_qs, u"t"_qs));
        load(*strings);
        QCOMPARE(strings->stringsDictionary().keys(), QStringList{u"new"_qs});
    }

    void theUpdateNotification()
    {
        const auto strings = store();
        QObject context;
        int posted = 0;
        DVNotificationCenter::defaultCenter().addObserver(&context, u"DorvaneStringsUpdatedNotification"_qs,
                                                          strings.get(),
                                                          [&](const DVNotification &) { ++posted; });
        load(*strings);
        QCOMPARE(posted, 1);
    }

    void dates()
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

    void needsSync_data()
    {
        // expiresIn: seconds; -1000: no date
        const DVRows<bool, bool, int, DVNeedsSync> row("published", "packaged", "expiresIn", "answer");
        row("nothing at all", false, false, -1000, DVNeedsSync::Missing);
        row("a date without a file", false, false, 60, DVNeedsSync::Missing);
        row("packaged only", false, true, 60, DVNeedsSync::Stale);
        row("published without a date", true, true, -1000, DVNeedsSync::Missing);
        row("published and fresh", true, false, 60, DVNeedsSync::UpToDate);
        row("published and expiring in this second", true, false, 0, DVNeedsSync::Stale);
        row("published and expired", true, false, -1, DVNeedsSync::Stale);
    }
    void needsSync()
    {
        QFETCH(bool, published);
        QFETCH(bool, packaged);
        QFETCH(int, expiresIn);
        if (packaged)
            package(u"fr_CA.xlf"_qs, xliff(u"k"_qs, u"s"_qs, u"t"_qs));
        const auto strings = store();
        if (published)
            write(strings->publishedFilePath(), "not even looked at");
        if (expiresIn != -1000)
            strings->setExpirationDate(DVClock::now().addSecs(expiresIn));
        QTEST(strings->needsSync(), "answer");
    }

    void aBadFileIsReadOnce()
    {
        const auto strings = store();
        for (const QByteArray &bad :
             {QByteArray("garbage"), QByteArray(), xliff(u"k"_qs, u"s"_qs, u"t"_qs).chopped(9),
              QByteArray("<!DOCTYPE x><xliff/>")}) {
            write(strings->publishedFilePath(), bad);
            load(*strings);
            QVERIFY2(!QFile::exists(strings->publishedFilePath()), bad.constData());
            QVERIFY(strings->loadedStrings().isEmpty());
        }
    }

    void filesThatAreNotOursStay()
    {
        const QString packaged = QString(m_bundle + u"/fr_CA.xlf");
        write(packaged, "garbage");
        DVBundle::setMainBundle(DVBundle(m_bundle));
        load(*store());
        QCOMPARE(read(packaged), QByteArray("garbage"));
    }

    void aFileThatCannotBeReadStays()
    {
        // A folder in the file's place fails to open for root too.
        const QString path = store()->publishedFilePath();
        QVERIFY(QDir().mkpath(path));
        load(*store());
        QVERIFY(QFileInfo(path).isDir());
    }

    void theReplacedFileComesBackWithItsDates()
    {
        const auto strings = store();
        const QString path = strings->publishedFilePath();
        const QByteArray good = xliff(u"k"_qs, u"s"_qs, u"good"_qs);
        write(path, "damaged");
        write(dv_previousFilePath(path), good);
        DVUserDefaults::standard().setObject(
            u"DVReplaced-1.0_fr_CA_published.xlf"_qs,
            {{u"DVLastDownload-1.0-fr-CA"_qs, 1000}, {u"DVExpiration-1.0-fr-CA"_qs, QJsonValue()}});
        strings->setLastDownloadDate(QDateTime::fromSecsSinceEpoch(5000, Qt::UTC));
        strings->setExpirationDate(QDateTime::fromSecsSinceEpoch(6000, Qt::UTC));
        load(*strings);
        QCOMPARE(strings->localizedStringForKey(u"k"_qs), u"good"_qs);
        QCOMPARE(read(path), good);
        QCOMPARE(strings->lastDownloadDate().toSecsSinceEpoch(), 1000);
        QVERIFY(!strings->expirationDate().isValid());
        QVERIFY(!QFile::exists(dv_previousFilePath(path)));

        // Two damaged files in a row: both go, and nothing hangs.
        write(path, "damaged");
        write(dv_previousFilePath(path), "damaged too");
        QVERIFY2(DVReplacedFile::deleteAndRestore(path, DVFileIdentity()) && read(path) == "damaged",
                 "a file that is not the one that failed to parse stays, and is read again");
        load(*store());
        QVERIFY(!QFile::exists(path) && !QFile::exists(dv_previousFilePath(path)));
    }

    void killedBetweenTheFileAndItsDates()
    {
        const auto strings = store();
        const QString path = strings->publishedFilePath();
        write(path, xliff(u"k"_qs, u"s"_qs, u"new"_qs));
        write(dv_previousFilePath(path), xliff(u"k"_qs, u"s"_qs, u"old"_qs));
        strings->setLastDownloadDate(QDateTime::fromSecsSinceEpoch(1000, Qt::UTC)); // still the old file's
        load(*strings);
        QCOMPARE(strings->localizedStringForKey(u"k"_qs), u"new"_qs);
        QVERIFY2(!QFile::exists(dv_previousFilePath(path)), "the new file has parsed; the old one may go");
        QCOMPARE(strings->lastDownloadDate().toSecsSinceEpoch(), 1000);
    }

    void baseStrings()
    {
        QVERIFY(base()->loadedStrings().isEmpty());
        package(u"en.lproj/Localizable.strings"_qs, "\"k\" = \"Text %@\"; \"empty\" = \"\";");
        DVBundle::setMainBundle(DVBundle(m_bundle));
        const auto base = tst_LocaleStrings::base();
        QCOMPARE(base->localizedStringForKey(u"k"_qs), u"Text %@"_qs); // unmarked: nothing needs cues
        QVERIFY(!base->localizedStringForKey(u"empty"_qs).isNull());
        const DVStringPtr record = base->dorvaneStringForKey(u"k"_qs, {});
        QVERIFY(record && record->fromBase);
        QCOMPARE(base->dorvaneStringGroupForKey(u"k"_qs)->status, quint32(DVStringStatusUntranslated));
        QCOMPARE(base->dorvaneStringForKey(u"k"_qs, u"few"_qs), record); // kept, and found for any category
        QVERIFY(!base->dorvaneStringForKey(u"absent"_qs, {}));
    }

    void sourceTextsLieOverPackagedTexts()
    {
        package(u"en.lproj/Localizable.strings"_qs, "\"k\" = \"packaged\"; \"own\" = \"own\";");
        DVBundle::setMainBundle(DVBundle(m_bundle));
        const auto base = tst_LocaleStrings::base();
        const auto strings = store();
        write(strings->publishedFilePath(), xliff(u"k"_qs, u"from the file"_qs, u"t"_qs));
        strings->loadStringsWithBaseLocaleStrings(base.get());
        QCOMPARE(base->localizedStringForKey(u"k"_qs), u"from the file"_qs);
        QCOMPARE(base->localizedStringForKey(u"own"_qs), u"own"_qs);
        QCOMPARE(base->stringsDictionary().size(), 2);
        // Another locale's sources replace these; the packaged ones stay.
        const auto other = store(u"de"_qs);
        write(other->publishedFilePath(), xliff(u"z"_qs, u"zed"_qs, u"t"_qs));
        other->loadStringsWithBaseLocaleStrings(base.get());
        QCOMPARE(base->localizedStringForKey(u"k"_qs), u"packaged"_qs);
        QCOMPARE(base->localizedStringForKey(u"z"_qs), u"zed"_qs);
    }

    void shadowedTextsAreFoundUnderTheirOtherKeys()
    {
        package(u"en.lproj/Localizable.strings"_qs, "\"title\" = \"OK\"; \"button\" = \"OK\";");
        DVBundle::setMainBundle(DVBundle(m_bundle));
        const auto base = tst_LocaleStrings::base();
        for (const QString &shadowed : {u"title"_qs, u"button"_qs}) {
            const auto strings = store();
            write(strings->publishedFilePath(), xliff(shadowed, u"Okay"_qs, u"t"_qs));
            strings->loadStringsWithBaseLocaleStrings(base.get());
            const DVStringPtr found = base->dorvaneStringForLocalizedString(u"ok"_qs);
            QVERIFY(found);
            QCOMPARE(found->key, shadowed == u"title" ? u"button"_qs : u"title"_qs);
        }
    }

    void borrowedLocale()
    {
        QVERIFY(DVBaseLocaleStrings::dummyLocalePresentOnDevice().isNull());
        write(file(u"1.0_de_published.xlf"_qs), xliff(u"k"_qs, u"german file"_qs, u"t"_qs));
        write(file(u"0.9_es_published.xlf"_qs), "x");
        write(file(u"0.9_es_pending.xlf"_qs), "x");
        write(file(u"1.0_published.xlf"_qs), "x");
        QVERIFY2(DVBaseLocaleStrings::dummyLocalePresentOnDevice().isNull(),
                 "a published file alone does not qualify");
        write(file(u"1.0_sr_Latn_ME_published.xlf"_qs), xliff(u"k"_qs, u"published source"_qs, u"t"_qs));
        write(file(u"1.0_sr_Latn_ME_pending.xlf"_qs), xliff(u"p"_qs, u"pending source"_qs, u"t"_qs));
        QCOMPARE(DVBaseLocaleStrings::dummyLocalePresentOnDevice(), u"sr_Latn_ME"_qs);

        const auto base = tst_LocaleStrings::base();
        base->loadStrings();
        QCOMPARE(base->fetchedLocale().identifier(), u"sr_Latn_ME"_qs);
        QCOMPARE(base->publishedFilePath(), file(u"1.0_sr_Latn_ME_published.xlf"_qs));
        QCOMPARE(base->stringsDictionary(), (QHash<QString, QString>{{u"k"_qs, u"published source"_qs},
                                                                     {u"p"_qs, u"pending source"_qs}}));
    }

    void hostileIdentifiers_data()
    {
        const DVRows<QString> row("identifier");
        row("a path", "../../etc/passwd");
        row("a slash", "fr/CA");
        row("a zero", QString(QChar(0)));
        row("empty", {});
        row("huge", QString(100'000, u'a'));
    }
    void hostileIdentifiers()
    {
        QFETCH(QString, identifier);
        const auto strings = store(identifier);
        QVERIFY(strings->publishedFilePath().isNull() && strings->pendingFilePath().isNull());
        QVERIFY(strings->dirtyFilePath().isNull() && strings->packagedFilePath().isNull());
        QCOMPARE(strings->needsSync(), DVNeedsSync::Missing);
        QVERIFY(strings->pullSyncFromProdWithTimeout(1));
        load(*strings);
        QVERIFY(strings->loadedStrings().isEmpty());
    }

    // What other versions of the application left goes, to the letter of its name, and nothing else.
    void filesOfOtherVersionsGo_data()
    {
        const DVRows<QString, bool> row("name", "stays");
        row("this version", "2.0_en_published.xlf", true);
        row("this version, another locale", "2.0_pl_published.xlf", true);
        row("an earlier version", "1.0_en_published.xlf", false);
        row("an earlier version's en-GB", "1.0_en-GB_published.xlf", false);
        row("this version's en-GB", "2.0_en-GB_published.xlf", true);
        row("a later version", "3.0_en_published.xlf", false);
        row("a version that ours begins with", "2_en_published.xlf", false);
        row("a version that begins with ours", "2.0.1_en_published.xlf", false);
        row("what a download replaced", "1.0_en_published.xlf.previous", false);
        row("pending strings", "1.0_en_pending.xlf", false);
        row("what pending strings replaced", "1.0_en_pending.xlf.previous", false);
        row("edited strings of another version", "1.0_en_edited.xlf", true);
        row("discarded strings of another version", "1.0_en_discarded.xlf", true);
        row("damaged strings of another version", "1.0_en_edited.xlf.damaged", true);
        row("edited strings of this version", "2.0_en_edited.xlf", true);
        row("the settings", "other.json", true);
        row("usage events", "analytics", true);
        row("somebody else's strings", "notes_published.xlf", true);
        row("somebody's copy of ours", "1.0_en_published.xlf~", true);
        row("a hidden file", ".1.0_en_published.xlf", true);
        row("an encoded version", "2%200_pl_published.xlf", false);
        row("a version with hyphens", "1.0-beta_en-GB_pending.xlf", false);
        row("a locale that ends like a kind", "1_fr_published_edited.xlf", true);
        row("no version", "_fr_published.xlf", true);
        row("no locale", "1.0__published.xlf", true);
        row("neither", "published.xlf", true);
        row("a version that we would have encoded", "1 0_fr_published.xlf", true);
        row("a locale that we would have refused", "1.0_42_published.xlf", true);
        row("edited strings have no copy of what they replaced", "1.0_fr_edited.xlf.previous", true);
        row("something behind it", "1.0_fr_published.xlf.bak", true);
        row("other letters", "1.0_fr_Published.xlf", true);
        row("review files carry no version", "fr_CA_published_review.xlf", true);
        row("a save that was killed", "1.0_fr_published.xlf.aBc123", true);
    }
    void filesOfOtherVersionsGo()
    {
        QFETCH(QString, name);
        QFETCH(bool, stays);
        put(u"2.0_en_published.xlf"_qs);
        put(name);
        launch(u"en"_qs);
        QCOMPARE(QFile::exists(file(name)), stays);
        QVERIFY(QFile::exists(file(u"2.0_en_published.xlf"_qs)));
    }

    void foldersAndLinksOfOtherVersionsStay()
    {
        put(u"2.0_en_published.xlf"_qs);
        const QString elsewhere = m_folder->filePath(u"1.0_de_published.xlf"_qs);
        QVERIFY(QFile::copy(file(u"2.0_en_published.xlf"_qs), elsewhere));
        QVERIFY(QFile::link(elsewhere, file(u"1.0_de_published.xlf"_qs)));
        QVERIFY(QDir().mkdir(file(u"1.0_pl_published.xlf"_qs)));
        launch(u"en"_qs);
        QVERIFY(QFile::exists(elsewhere));
        QVERIFY(QFileInfo(file(u"1.0_de_published.xlf"_qs)).isSymLink());
        QVERIFY(QFileInfo(file(u"1.0_pl_published.xlf"_qs)).isDir());
    }

    void datesGoWithTheirFiles()
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
        launch(u"fr_CA"_qs);
        defaults.reload(); // as they are on the disk
        for (const QString &key : gone)
            QVERIFY2(!defaults.integerForKey(key), qPrintable(key));
        for (const QString &key : stay)
            QVERIFY2(defaults.integerForKey(key), qPrintable(key));
        QVERIFY(!defaults.objectForKey(u"DVReplaced-1.0_en_published.xlf"_qs));
        QVERIFY(defaults.objectForKey(u"DVReplaced-2.0_en_published.xlf"_qs));
    }

    void theyGoOnlyAfterALoadOfOurOwnFile_data()
    {
        const DVRows<QByteArray> row("content");
        row("no file of this version yet", {});
        row("a file that does not parse", xliff(u"k"_qs, u"s"_qs, u"t"_qs).left(60));
    }
    void theyGoOnlyAfterALoadOfOurOwnFile()
    {
        QFETCH(QByteArray, content);
        put(u"1.0_en_published.xlf"_qs);
        if (!content.isEmpty())
            put(u"2.0_en_published.xlf"_qs, content);
        launch(u"en"_qs);
        QVERIFY(QFile::exists(file(u"1.0_en_published.xlf"_qs)));
        put(u"2.0_en_published.xlf"_qs);
        launch(u"en"_qs);
        QVERIFY(!QFile::exists(file(u"1.0_en_published.xlf"_qs)));
    }

private:
    QString file(const QString &name) const { return QString(DVFolders::dorvaneFiles() + u'/' + name); }
    std::shared_ptr<DVLocaleStrings> store(const QString &identifier = u"fr_CA"_qs) const
    {
        return DVLocaleStrings::localeStringsForLocale(DVLocale(identifier));
    }

    static std::shared_ptr<DVBaseLocaleStrings> base()
    {
        return DVBaseLocaleStrings::localeStringsForLocale(DVLocale(u"en"_qs));
    }
    static bool load(DVLocaleStrings &strings) { return strings.loadStringsWithBaseLocaleStrings(nullptr); }
    void package(const QString &name, const QByteArray &content) const
    {
        write(QString(m_bundle + u'/' + name), content);
        DVBundle::setMainBundle(DVBundle(m_bundle));
    }

    void put(const QString &name, const QByteArray &content = xliff(u"k"_qs, u"s"_qs, u"t"_qs)) const
    {
        write(file(name), content);
    }
    // Of version 2.0.
    void launch(const QString &identifier) const
    {
        QCoreApplication::setApplicationVersion(u"2.0"_qs);
        load(*store(identifier));
        for (int turn = 0; turn < 5; ++turn)
            QCoreApplication::processEvents();
    }

    std::unique_ptr<QTemporaryDir> m_folder;
    QString m_bundle;
};

QTEST_GUILESS_MAIN(tst_LocaleStrings)
#include "tst_localestrings.moc"
