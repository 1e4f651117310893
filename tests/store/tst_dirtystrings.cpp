// Strings edited, accepted and rejected on this device: what a restart, a reload, damage and a kill leave of
// them.
#include "DVEditedFile.h"
#include "DVRows.h"
#include "ReviewDevice.h"

#include <QJsonArray>
#include <QProcess>
#include <QRandomGenerator>

#if defined(Q_OS_UNIX)
#include <sys/resource.h>

#include <csignal>
#endif

using namespace Qt::Literals::StringLiterals;

namespace {

using Device = ReviewDevice;
using Forms = Device::Forms;

QStringList infoLog;

void collect(QtMsgType, const QMessageLogContext &, const QString &message)
{
    infoLog.append(message);
}

QStringList logOf(const std::function<void()> &work)
{
    infoLog.clear();
    const auto before = qInstallMessageHandler(collect);
    work();
    qInstallMessageHandler(before);
    return infoLog;
}

QString none()
{
    return u"none"_qs;
}

} // namespace

class tst_DirtyStrings : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void textsSurviveARestart_data()
    {
        // read: where the reader's rule changes it
        const DVRows<QString, QString> row("text", "read");
        row("a mnemonic", "&Enregistrer && quitter", {});
        row("what looks like an entity", "&amp; &lt; &#65; &unknown; &", {});
        row("markup", "<b>gras</b> < 5 > 3 <br/>", {});
        row("what ends an XML section", "]]> <![CDATA[x]]> <!-- y --> <?z?>", {});
        row("the file's own elements", "</target></trans-unit> <ph id=\"1\">", {});
        row("quotes", "il dit \"oui\" et 'non' «»", {});
        row("line feeds and tabulators", "un\ndeux\n\n\tquatre", {});
        row("blanks around", "  deux  ", {});
        row("characters beyond the first plane", "\U0001F600 \U0001F469\u200D\U0001F467 \U00020BB7", {});
        row("right to left", "\u0645\u0631\u062D\u0628\u0627 (1)", {});
        row("a percent sign", "100 \u0025", "100 \uFF05");
        row("a fullwidth percent sign", "100 \uFF05 et 5\uFF05", {});
        row("arguments", "%@ a %1$d fichiers de %s", {});
    }
    void textsSurviveARestart()
    {
        QFETCH(QString, text);
        QFETCH(QString, read);
        read = read.isNull() ? text : read;
        const ReviewDevice device;
        DVStringGroups edits;
        // As a text and as a key: both are written, one as content and one as an attribute.
        for (const QString &key : {u"plain"_qs, text}) {
            auto group = std::make_shared<DVStringGroup>();
            auto record = std::make_shared<DVString>();
            record->key = key;
            record->uid = u"id"_qs;
            // A lone percent sign is no argument: an editor marks what it knows to be one.
            record->extractFormatFromString(text == read ? dv_stringWithCues(text)
                                                         : QString(u"\u200B" + text + u"\u2062"));
            group->addStringForm(record);
            edits.insert(key, group);
        }
        auto strings = device.restarted();
        strings->setDirtyStrings(edits);
        strings->saveDirty();

        const auto next = device.restarted();
        QCOMPARE(next->dirtyStrings().keys(), edits.keys());
        for (const QString &key : {u"plain"_qs, text}) {
            const DVStringGroupPtr group = next->dirtyStrings().value(key);
            const DVStringPtr record = group->stringForPluralForm({}, true);
            QVERIFY(record);
            QCOMPARE(Device::plain(record->localizedFormat), read);
            QCOMPARE(record->key, key);
            QCOMPARE(record->uid, u"id"_qs);
            QCOMPARE(record->dynamic, text.contains(u"%@"));
            QCOMPARE(record->group.lock(), group);
            if (text == read)
                QCOMPARE(record->localizedFormat, dv_stringWithCues(text));
        }
    }

    void formsSurviveARestart()
    {
        const ReviewDevice device;
        device.publish({{u"files[one]"_qs, u"un fichier"_qs},
                        {u"files[other]"_qs, u"des fichiers"_qs},
                        {u"quit"_qs, u"quitter"_qs}});
        auto strings = device.restarted();
        Device::editInPlace(*strings, u"files"_qs, u"un & un seul"_qs, u"one"_qs);
        Device::editInPlace(*strings, u"quit"_qs, u""_qs);
        strings->saveDirty();

        const auto next = device.restarted();
        QCOMPARE(next->dirtyStrings().keys(), QStringList({u"files"_qs, u"quit"_qs}));
        const DVStringGroupPtr files = next->dirtyStrings().value(u"files"_qs);
        QVERIFY(files->hasPlurals);
        QCOMPARE(Device::texts(files),
                 Forms({{u"one"_qs, u"un & un seul"_qs}, {u"other"_qs, u"des fichiers"_qs}}));
        QCOMPARE(files->pluralForms.value(u"one"_qs)->uid, u"id-files[one]"_qs);
        QCOMPARE(Device::texts(next->dirtyStrings().value(u"quit"_qs)), Forms({{none(), u""_qs}}));
        QCOMPARE(Device::served(*next, u"files"_qs, u"one"_qs), u"un & un seul"_qs);
        QCOMPARE(Device::served(*next, u"files"_qs, u"many"_qs), u"des fichiers"_qs);
    }

    // The platform does not know a string without an identifier: it cannot be sent, nor stand in the file.
    void whatCannotBeWrittenIsNamed()
    {
        const ReviewDevice device;
        auto strings = device.restarted();
        const auto unknown = Device::group(u"unknown"_qs, u"secret text"_qs);
        unknown->pluralForms.value(none())->uid = QString();
        strings->setDirtyStrings(Device::groups({unknown, Device::group(u"known"_qs, u"connu"_qs)}));
        const QStringList log = logOf([&] { strings->saveDirty(); });
        QCOMPARE(log, QStringList(u"[DV] Failed to save some strings: unknown"_qs));
        QCOMPARE(device.restarted()->dirtyStrings().keys(), QStringList(u"known"_qs));
    }

    void decisionsSurviveARestart()
    {
        const ReviewDevice device;
        Device::write(
            device.file(u"1.0_fr_CA_published.xlf"_qs),
            Device::xliff({{u"a"_qs, u"1"_qs}, {u"b"_qs, u"2"_qs}, {u"c"_qs, u"3"_qs}, {u"d"_qs, u"4"_qs}}));
        auto strings = device.restarted();
        const auto decide = [&](const QString &key, quint32 status) {
            const DVStringGroupPtr group = strings->dorvaneStringGroupForKey(key);
            group->status = status;
            return group;
        };
        Device::editInPlace(*strings, u"b"_qs, u"deux"_qs);
        strings->setAcceptedStrings(Device::groups(
            {decide(u"a"_qs, DVStringStatusAccepted), decide(u"b"_qs, DVStringStatusAccepted)}));
        const auto rejected = decide(u"c"_qs, DVStringStatusRejected);
        rejected->rejectReason = u"SPELLING"_qs;
        rejected->rejectDescription = u"an \"e\" is missing\n& more \U0001F600"_qs;
        strings->setRejectedStrings(Device::groups({rejected, decide(u"d"_qs, DVStringStatusRejected)}));
        strings->saveDirty();

        const auto next = device.restarted();
        QCOMPARE(next->acceptedStrings().keys(), QStringList({u"a"_qs, u"b"_qs}));
        QCOMPARE(next->rejectedStrings().keys(), QStringList({u"c"_qs, u"d"_qs}));
        QCOMPARE(next->acceptedStrings().value(u"a"_qs), next->loadedStrings().group(u"a"_qs));
        QVERIFY2(next->acceptedStrings().value(u"b"_qs) == next->dirtyStrings().value(u"b"_qs),
                 "an edited string is decided about as edited");
        QCOMPARE(next->loadedStrings().group(u"b"_qs)->status, quint32(DVStringStatusAccepted));
        const DVStringGroupPtr again = next->rejectedStrings().value(u"c"_qs);
        QCOMPARE(again->status, quint32(DVStringStatusRejected));
        QCOMPARE(again->rejectReason, rejected->rejectReason);
        QCOMPARE(again->rejectDescription, rejected->rejectDescription);
        QVERIFY(next->rejectedStrings().value(u"d"_qs)->rejectReason.isEmpty());

        next->clearDirtyStatuses();
        QVERIFY(next->acceptedStrings().isEmpty() && next->rejectedStrings().isEmpty());
        QCOMPARE(next->dorvaneStringGroupForKey(u"a"_qs)->status, quint32(DVStringStatusNone));
        const auto last = device.restarted();
        QVERIFY(last->acceptedStrings().isEmpty() && last->rejectedStrings().isEmpty());
        QVERIFY(!DVUserDefaults::standard().objectForKey(u"DVRejections"_qs));
    }

    void savingNothingStoresNothing()
    {
        const ReviewDevice device;
        device.restarted()->saveDirty();
        DVUserDefaults::standard().reload();
        QCOMPARE(DVUserDefaults::standard().objectForKey(u"DVStatuses"_qs), QJsonObject());
        const QStringList log = logOf([&] { QVERIFY(device.restarted()->dirtyStrings().isEmpty()); });
        QVERIFY2(log.isEmpty(), "a file of no strings is a good one");
    }

    void damagedStatuses_data()
    {
        // read: of the record; 0 as loaded
        const DVRows<QJsonValue, int> row("status", "read");
        row("accepted", QJsonValue(2), 2);
        row("a status of no name", QJsonValue(77), 77);
        row("a text", QJsonValue(u"2"_qs), 0);
        row("a fraction", QJsonValue(2.5), 0);
        row("below all", QJsonValue(-2), 0);
        row("a huge number", QJsonValue(1e300), 0);
        row("one that would wrap to accepted", QJsonValue(4294967298.0), 0);
        row("null", QJsonValue(), 0);
        row("an object", QJsonValue(QJsonObject{{u"status"_qs, 2}}), 0);
        row("a list", QJsonValue(QJsonArray{2}), 0);
        row("yes", QJsonValue(true), 0);
    }
    void damagedStatuses()
    {
        QFETCH(QJsonValue, status);
        QFETCH(int, read);
        const ReviewDevice device;
        device.publish({{u"a"_qs, u"1"_qs}, {u"b"_qs, u"2"_qs}});
        auto &defaults = DVUserDefaults::standard();
        defaults.setObject(u"DVStatuses"_qs, {{u"a"_qs, status}, {u"b"_qs, 3}, {u"gone"_qs, 2}});
        defaults.setObject(
            u"DVRejections"_qs,
            {{u"a"_qs, 1}, {u"b"_qs, QJsonObject{{u"reason"_qs, 5}, {u"description"_qs, u"d"_qs}}}});
        auto strings = device.restarted();
        QCOMPARE(strings->dorvaneStringGroupForKey(u"a"_qs)->status, quint32(read));
        QCOMPARE(strings->acceptedStrings().contains(u"a"_qs), read == DVStringStatusAccepted);
        const auto rejected = strings->rejectedStrings().value(u"b"_qs);
        QVERIFY2(rejected, "a damaged entry costs only itself");
        QCOMPARE(rejected->rejectReason, QString());
        QCOMPARE(rejected->rejectDescription, u"d"_qs);

        defaults.setInteger(u"DVStatuses"_qs, 2);
        QVERIFY(device.restarted()->rejectedStrings().isEmpty());
    }

    void precedence()
    {
        const ReviewDevice device;
        device.publish({{u"k"_qs, u"published"_qs}});
        Device::write(device.file(u"1.0_fr_CA_pending.xlf"_qs), Device::xliff({{u"k"_qs, u"pending"_qs}}));
        auto strings = device.restarted();
        QCOMPARE(Device::served(*strings, u"k"_qs), u"pending"_qs);

        int published = 0;
        DVLocaleStrings::setStringsObserver([&] { ++published; });
        const auto edited = Device::group(u"k"_qs, u"edited"_qs);
        strings->setDirtyStrings(Device::groups({edited, Device::group(u"new"_qs, u"neuf"_qs)}));
        QCOMPARE(published, 1);
        QCOMPARE(Device::served(*strings, u"k"_qs), u"edited"_qs);
        QCOMPARE(strings->dorvaneStringGroupForKey(u"k"_qs), edited);
        const auto layered = strings->dirtyLayers().find(u"k"_qs);
        QVERIFY(layered);
        QCOMPARE(layered.table->text(layered.entry), edited->pluralForms.value(none())->localizedFormat);
        QCOMPARE(Device::plain(strings->stringsDictionary().value(u"new"_qs)), u"neuf"_qs);
        QCOMPARE(strings->stringsDictionary().size(), 2);

        // Nobody who may translate is signed in any more.
        DVState::shared().loggedIn = false;
        QCOMPARE(Device::served(*strings, u"k"_qs), u"pending"_qs);
        QVERIFY(strings->dorvaneStringGroupForKey(u"k"_qs) != edited);
        QCOMPARE(strings->stringsDictionary().keys(), QStringList(u"k"_qs));
        QCOMPARE(strings->dirtyStrings().size(), 2);

        // Outside of review neither pending nor edited strings are read.
        strings->saveDirty();
        DVState::shared().editionMode = false;
        const auto serving = device.restarted();
        QCOMPARE(serving->localizedStringForKey(u"k"_qs), u"published"_qs);
        QVERIFY(serving->dirtyStrings().isEmpty());
    }

    void lookupsByText()
    {
        const ReviewDevice device;
        const auto hash = [](const QString &text) {
            return dv_localizedHash(dv_stringWithCues(text), false);
        };
        device.publish({{u"files[one]"_qs, u"un fichier"_qs},
                        {u"files[other]"_qs, u"des fichiers"_qs},
                        {u"k"_qs, u"texte"_qs}});
        auto strings = device.restarted();
        const auto edited =
            Device::group(u"files"_qs, {{u"one"_qs, u"Un seul"_qs}, {u"other"_qs, u"des fichiers"_qs}});
        strings->setDirtyStrings(Device::groups({edited}));
        QCOMPARE(strings->dorvaneStringForLocalizedString(hash(u"UN SEUL"_qs)),
                 edited->pluralForms.value(u"one"_qs));
        QVERIFY2(strings->dorvaneStringForLocalizedString(hash(u"un fichier"_qs)) ==
                     edited->pluralForms.value(u"one"_qs),
                 "a text shown before the edit leads to the edit");
        QCOMPARE(strings->dorvaneStringForLocalizedString(hash(u"texte"_qs))->key, u"k"_qs);
        QVERIFY(!strings->dorvaneStringForLocalizedString(hash(u"rien"_qs)));
        QVERIFY(!DVLocaleStrings::findLocalizedString(hash(u"texte"_qs), strings->dirtyStrings()));
    }

    // An edit changes the loaded record itself; cleared, both the texts and the records are as they were
    // loaded.
    void clearingGivesTheLoadedTextsBack()
    {
        const ReviewDevice device;
        device.publish({{u"k"_qs, u"loaded"_qs}, {u"other"_qs, u"x"_qs}});
        auto strings = device.restarted();
        const DVStringGroupPtr untouched = strings->dorvaneStringGroupForKey(u"other"_qs);
        Device::editInPlace(*strings, u"k"_qs, u"edited"_qs);
        strings->saveDirty();
        QVERIFY(QFile::exists(strings->dirtyFilePath()));

        strings->clearDirtyStrings();
        QVERIFY(!QFile::exists(strings->dirtyFilePath()));
        QVERIFY(strings->dirtyStrings().isEmpty() && strings->dirtyLayers().isEmpty());
        QCOMPARE(Device::served(*strings, u"k"_qs), u"loaded"_qs);
        QCOMPARE(Device::texts(strings->dorvaneStringGroupForKey(u"k"_qs)), Forms({{none(), u"loaded"_qs}}));
        QCOMPARE(strings->dorvaneStringGroupForKey(u"other"_qs), untouched);
        QVERIFY(device.restarted()->dirtyStrings().isEmpty());
    }

    void aReloadKeepsWhatIsNotSaved()
    {
        const ReviewDevice device;
        device.publish({{u"k"_qs, u"loaded"_qs}, {u"j"_qs, u"x"_qs}});
        auto strings = device.restarted();
        Device::editInPlace(*strings, u"k"_qs, u"saved"_qs);
        strings->saveDirty();
        Device::editInPlace(*strings, u"k"_qs, u"newer"_qs);
        const DVStringGroupPtr handedOut = strings->dirtyStrings().value(u"k"_qs);
        const DVStringGroupPtr accepted = strings->dorvaneStringGroupForKey(u"j"_qs);
        accepted->status = DVStringStatusAccepted;
        strings->setAcceptedStrings(Device::groups({accepted}));

        strings->loadStringsWithBaseLocaleStrings(nullptr);
        QCOMPARE(strings->dirtyStrings().value(u"k"_qs), handedOut);
        QCOMPARE(Device::served(*strings, u"k"_qs), u"newer"_qs);
        QCOMPARE(strings->dorvaneStringGroupForKey(u"j"_qs)->status, quint32(DVStringStatusAccepted));
        QVERIFY2(strings->acceptedStrings().value(u"j"_qs) == strings->dorvaneStringGroupForKey(u"j"_qs),
                 "the list holds the record that screens get now");
    }

    void savedStringsAreServedUntilTheNextLoad()
    {
        const ReviewDevice device;
        device.publish({{u"k"_qs, u"loaded"_qs}});
        auto strings = device.restarted();
        Device::editInPlace(*strings, u"k"_qs, u"taken"_qs);
        strings->keepSavedStrings(strings->dirtyStrings());
        strings->clearDirtyStrings();
        QCOMPARE(Device::served(*strings, u"k"_qs), u"taken"_qs);
        const auto group = strings->dorvaneStringGroupForKey(u"k"_qs);
        QCOMPARE(Device::texts(group), Forms({{none(), u"taken"_qs}}));
        QCOMPARE(group->uid(), u"id-k"_qs);
        strings->loadStringsWithBaseLocaleStrings(nullptr);
        QCOMPARE(Device::served(*strings, u"k"_qs), u"loaded"_qs);
    }

    void aDamagedFileIsKept()
    {
        const ReviewDevice device;
        auto strings = device.restarted();
        Device::setEdits(*strings, {{u"k"_qs, u"work"_qs}});
        strings->saveDirty();
        const QString path = strings->dirtyFilePath();
        const QByteArray cut = Device::read(path).chopped(10);
        QVERIFY(cut.contains("work"));
        Device::write(path, cut);

        const QString kept = DVEditedFile::damagedPath(path);
        const QStringList log = logOf([&] { QVERIFY(device.restarted()->dirtyStrings().isEmpty()); });
        QCOMPARE(log, QStringList(QString(u"[DV] Edited strings that can't be read are kept in " + kept)));
        QCOMPARE(Device::read(kept), cut);
        QVERIFY(!QFile::exists(path));

        strings = device.restarted();
        Device::setEdits(*strings, {{u"k"_qs, u"again"_qs}});
        strings->saveDirty();
        QCOMPARE(device.restarted()->dirtyStrings().size(), 1);
        strings->clearDirtyStrings();
        QCOMPARE(Device::read(kept), cut);
    }

    // A folder in its place: what is there does not read as a file, for root neither.
    void aFileThatCannotBeReadIsNotOverwritten()
    {
        const ReviewDevice device;
        const QString path = device.file(u"1.0_fr_CA_edited.xlf"_qs);
        Device::write(QString(path + u"/inside"), "x");
        auto strings = device.restarted();
        QVERIFY(QFileInfo(path).isDir());
        Device::setEdits(*strings, {{u"k"_qs, u"work"_qs}});
        strings->saveDirty();
        QCOMPARE(Device::read(QString(DVEditedFile::damagedPath(path) + u"/inside")), QByteArray("x"));
        QCOMPARE(device.restarted()->dirtyStrings().keys(), QStringList(u"k"_qs));

        // One that can be read by now comes first into the edits.
        QFile::remove(path);
        QVERIFY(QDir().mkdir(path));
        strings = device.restarted();
        QVERIFY(QDir().rmdir(path));
        Device::write(path, Device::xliff({{u"k"_qs, u"older"_qs}, {u"j"_qs, u"found"_qs}}));
        Device::setEdits(*strings, {{u"k"_qs, u"newer"_qs}});
        strings->saveDirty();
        const auto next = device.restarted();
        QCOMPARE(Device::served(*next, u"k"_qs), u"newer"_qs);
        QCOMPARE(Device::served(*next, u"j"_qs), u"found"_qs);
    }

    void statusesAreSavedWithoutAFile()
    {
        const ReviewDevice device;
        auto strings = device.restarted();
        const QString path = strings->dirtyFilePath();
        Device::write(QString(path + u"/inside"), "x"); // nothing can be moved onto it
        const auto group = Device::group(u"k"_qs, u"work"_qs);
        group->status = DVStringStatusAccepted;
        strings->setDirtyStrings(Device::groups({group}));
        strings->setAcceptedStrings(strings->dirtyStrings());
        const QStringList log = logOf([&] { strings->saveDirty(); });
        QCOMPARE(log.size(), 2);
        QVERIFY2(log[0].startsWith(u"[DV] Error saving dirty strings: "_qs), qPrintable(log[0]));
        QCOMPARE(log[1], u"[DV] Failed to save some strings: k"_qs);
        DVUserDefaults::standard().reload();
        QCOMPARE(DVUserDefaults::standard().objectForKey(u"DVStatuses"_qs), QJsonObject({{u"k"_qs, 2}}));
    }

    void discardedEdits()
    {
        const ReviewDevice device;
        auto strings = device.restarted();
        const auto discard = [&](std::initializer_list<DVStringGroupPtr> edits) {
            strings->setDirtyStrings(Device::groups(edits));
            strings->discardEdits();
            QVERIFY(strings->dirtyStrings().isEmpty());
            QVERIFY(!QFile::exists(strings->dirtyFilePath()));
        };
        const auto shows = [](const DVLocaleStrings &store, const QMap<QString, Forms> &expected) {
            QMap<QString, Forms> texts;
            const DVStringGroups discarded = store.discardedStrings();
            for (auto it = discarded.constBegin(); it != discarded.constEnd(); ++it)
                texts.insert(it.key(), Device::texts(*it));
            QCOMPARE(texts, expected);
        };
        const Forms files{{u"one"_qs, u"un"_qs}, {u"other"_qs, u"des & des"_qs}};
        const auto reused = Device::group(u"files"_qs, files);
        discard({Device::group(u"k"_qs, u"first"_qs), reused});
        reused->pluralForms.value(u"one"_qs)->localizedFormat = u"changed later"_qs;
        shows(*strings, {{u"k"_qs, {{none(), u"first"_qs}}}, {u"files"_qs, files}});
        shows(*device.restarted(), {{u"k"_qs, {{none(), u"first"_qs}}}, {u"files"_qs, files}});
        QVERIFY(device.restarted()->dirtyStrings().isEmpty());

        strings = device.restarted();
        discard({});
        discard({Device::group(u"k"_qs, u"second"_qs)});
        shows(*strings, {{u"k"_qs, {{none(), u"second"_qs}}}, {u"files"_qs, files}});
        shows(*device.restarted(), {{u"k"_qs, {{none(), u"second"_qs}}}, {u"files"_qs, files}});

        strings->clearDiscardedStrings();
        shows(*strings, {});
        shows(*device.restarted(), {});

        // Edits that are only on the device are discarded too, not deleted.
        Device::setEdits(*strings, {{u"k"_qs, u"saved"_qs}});
        strings->saveDirty();
        strings = DVLocaleStrings::localeStringsForLocale(strings->locale());
        strings->discardEdits();
        shows(*strings, {{u"k"_qs, {{none(), u"saved"_qs}}}});
    }

    void discardedOnAFullDisk()
    {
#if defined(Q_OS_UNIX)
        const ReviewDevice device;
        auto strings = device.restarted();
        Device::setEdits(*strings, {{ u"k"_qs, u"work"_qs }});
        strings->saveDirty();
        // Files can be moved and made, but no byte can be written.
        rlimit before{};
        QCOMPARE(getrlimit(RLIMIT_FSIZE, &before), 0);
        const auto ignored = std::signal(SIGXFSZ, SIG_IGN);
        const rlimit full{0, before.rlim_max};
        QCOMPARE(setrlimit(RLIMIT_FSIZE, &full), 0);
        const QStringList log = logOf([&] { strings->discardEdits(); });
        setrlimit(RLIMIT_FSIZE, &before);
        std::signal(SIGXFSZ, ignored);
        QVERIFY(!log.isEmpty());
        QVERIFY2(log[0].startsWith(u"[DV] Error keeping discarded strings: "_qs), qPrintable(log[0]));
        QVERIFY(strings->dirtyStrings().isEmpty());
        QCOMPARE(strings->discardedStrings().keys(), QStringList(u"k"_qs));
        const auto next = device.restarted();
        QVERIFY(next->dirtyStrings().isEmpty());
        QCOMPARE(Device::texts(next->discardedStrings().value(u"k"_qs)), Forms({{ none(), u"work"_qs }}));
#else
        QSKIP("No limit on file sizes here.");
#endif
    }

    // The next translator inherits nothing; what is not work of the last one stays.
    void loggingOut()
    {
        const ReviewDevice device;
        const QStringList gone{u"1.0_fr_CA_edited.xlf"_qs,        u"0.9_de_edited.xlf"_qs,
                               u"1.0_fr_CA_discarded.xlf"_qs,     u"1.0_fr_CA_edited.xlf.damaged"_qs,
                               u"1.0_fr_CA_edited.xlf.aBcDe1"_qs, u"fr_CA_published_review.xlf"_qs,
                               u"fr_CA_pending_review.xlf"_qs,    u"fr_CA_edited_review.xlf"_qs,
                               u"1.0_de_discarded.xlf.Zz9Zz9"_qs, u"saveFile.xlf"_qs,
                               u"saveFile.xlf.aBcDe1"_qs};
        const QStringList stay{u"1.0_fr_CA_published.xlf"_qs,
                               u"1.0_fr_CA_pending.xlf"_qs,
                               u"notes_edited.txt"_qs,
                               u"_edited.xlf"_qs,
                               u"analytics"_qs,
                               u"my_review.xlf"_qs};
        for (const QString &name : gone + stay)
            Device::write(device.file(name), "x");
        auto &defaults = DVUserDefaults::standard();
        defaults.setObject(u"DVStatuses"_qs, {{u"k"_qs, 2}});
        defaults.setObject(u"DVRejections"_qs, {});
        defaults.setString(u"DVLocale"_qs, u"fr_CA"_qs);
        DVLocaleStrings::removeReviewFromDevice();
        QStringList left = stay + QStringList(u"defaults.json"_qs);
        left.sort();
        QStringList found = device.files();
        found.sort();
        QCOMPARE(found, left);
        defaults.reload();
        QVERIFY(!defaults.objectForKey(u"DVStatuses"_qs) && !defaults.objectForKey(u"DVRejections"_qs));
        QCOMPARE(defaults.stringForKey(u"DVLocale"_qs), u"fr_CA"_qs);
    }

    // The probe saves two generations of edits again and again; each text names its generation.
    void killedWhileSaving()
    {
#if defined(DORVANE_THREAD_SANITIZER)
        QSKIP("The sanitizer ends a process that starts threads after it has forked.");
#endif
        QTemporaryDir folder;
        const ReviewDevice device(folder.path());
        QRandomGenerator generator(11);
        QSet<QString> generations;
        for (int i = 0; i < 20; ++i) {
            QProcess process;
            process.start(QStringLiteral(DORVANE_DIRTY_PROBE), {folder.path()});
            QVERIFY(process.waitForReadyRead(20000)); // something was saved
            QTest::qWait(int(generator.bounded(12)));
            process.kill();
            QVERIFY(process.waitForFinished());

            const auto strings = device.restarted();
            QCOMPARE(strings->dirtyStrings().size(), 200);
            const QString first = Device::served(*strings, u"key 0"_qs).section(u' ', 0, 0);
            QVERIFY(first == u"odd" || first == u"even");
            generations.insert(first);
            for (int key = 0; key < 200; ++key) {
                QCOMPARE(Device::served(*strings, QStringLiteral("key %1").arg(key)),
                         QStringLiteral("%1 & <%2>").arg(first).arg(key));
            }
            // The decisions of the generation before, or of this one: never some of each.
            const auto decided = strings->acceptedStrings().size();
            QVERIFY(decided == 200 || strings->rejectedStrings().size() == 200);
            QCOMPARE(decided + strings->rejectedStrings().size(), 200);
            for (const auto &rejected : strings->rejectedStrings())
                QCOMPARE(rejected->rejectReason, u"SPELLING"_qs);
        }
        QVERIFY(!generations.isEmpty());
    }
};

QTEST_GUILESS_MAIN(tst_DirtyStrings)
#include "tst_dirtystrings.moc"
