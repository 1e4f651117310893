// The copy of a locale that a review pulls: read once, without a trace, and compared with the edits.
#include "DVReviewLocaleStrings.h"
#include "DVRows.h"
#include "ReviewDevice.h"

using namespace Qt::Literals::StringLiterals;

namespace {

using Device = ReviewDevice;
using Texts = Device::Targets;

QByteArray xliff(const Texts &texts)
{
    return Device::xliff(texts);
}

void editAs(DVLocaleStrings &strings, const QString &name, const QString &text)
{
    const QString form = name.contains(u'[') ? name.section(u'[', 1).chopped(1) : QString();
    Device::editInPlace(strings, name.section(u'[', 0, 0), text, form);
}

QStringList shown(const QList<DVStringConflict> &conflicts)
{
    const auto text = [](const QString &of) { return of.isNull() ? u"-"_qs : of; };
    QStringList lines;
    for (const auto &one : conflicts) {
        lines.append(QStringLiteral("%1[%2]: %3 | %4 -> %5")
                         .arg(one.key, one.form, one.edit, text(one.before), text(one.now)));
    }
    return lines;
}

} // namespace

class tst_ReviewStrings : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void filesAreReadOnce()
    {
        const ReviewDevice device;
        const auto strings = device.restarted();
        const auto review = DVReviewLocaleStrings::reviewLocaleStringsFromLocaleStrings(*strings);
        QCOMPARE(review->locale(), strings->locale());
        QCOMPARE(review->publishedFilePath(), device.file(u"fr_CA_published_review.xlf"_qs));
        QCOMPARE(review->pendingFilePath(), device.file(u"fr_CA_pending_review.xlf"_qs));
        QCOMPARE(review->dirtyFilePath(), device.file(u"fr_CA_edited_review.xlf"_qs));
        Device::write(review->publishedFilePath(), xliff({{u"k"_qs, u"published"_qs}, {u"p"_qs, u"p"_qs}}));
        Device::write(review->pendingFilePath(), xliff({{u"k"_qs, u"pending"_qs}}));
        Device::write(review->dirtyFilePath(), xliff({{u"k"_qs, u"of nobody"_qs}}));
        Device::write(QString(review->publishedFilePath() + u".previous"), "x");

        review->loadStrings();
        QCOMPARE(device.files(), QStringList());
        QCOMPARE(Device::served(*review, u"k"_qs), u"pending"_qs);
        QCOMPARE(Device::served(*review, u"p"_qs), u"p"_qs);
        QVERIFY(review->dirtyStrings().isEmpty());
        QVERIFY2(strings->loadedStrings().isEmpty(), "the store in use knows nothing of it");

        review->loadStrings();
        QVERIFY2(review->loadedStrings().isEmpty(), "a second reading finds nothing");
    }

    void filesThatDoNotParse()
    {
        const ReviewDevice device;
        const auto review = DVReviewLocaleStrings::reviewLocaleStringsFromLocaleStrings(*device.restarted());
        Device::write(review->publishedFilePath(), "<xliff");
        Device::write(review->pendingFilePath(), xliff({{u"k"_qs, u"pending"_qs}}));
        Device::write(review->dirtyFilePath(), "]]>");
        review->loadStrings();
        QCOMPARE(device.files(), QStringList());
        QCOMPARE(Device::served(*review, u"k"_qs), u"pending"_qs);
    }

    void withoutALocale()
    {
        const ReviewDevice device;
        const auto nowhere = DVLocaleStrings::localeStringsForLocale(DVLocale());
        const auto review = DVReviewLocaleStrings::reviewLocaleStringsFromLocaleStrings(*nowhere);
        Device::write(device.file(u"_published_review.xlf"_qs), xliff({{u"k"_qs, u"x"_qs}}));
        review->loadStrings();
        review->clearAllFiles();
        QVERIFY(review->loadedStrings().isEmpty());
        QCOMPARE(device.files(), QStringList(u"_published_review.xlf"_qs));
    }

    // Opening a review must not cost the decisions.
    void decisionsStay()
    {
        const ReviewDevice device;
        auto strings = device.restarted();
        const auto group = Device::group(u"k"_qs, u"edit"_qs);
        group->status = DVStringStatusAccepted;
        strings->setDirtyStrings(Device::groups({group}));
        strings->setAcceptedStrings(strings->dirtyStrings());
        strings->saveDirty();
        const auto review = DVReviewLocaleStrings::reviewLocaleStringsFromLocaleStrings(*strings);
        Device::write(review->dirtyFilePath(), xliff({{u"k"_qs, u"of nobody"_qs}}));
        review->clearDirtyStrings();
        review->clearDirtyStatuses();
        review->discardEdits();
        QVERIFY(review->discardedStrings().isEmpty());

        const auto next = device.restarted();
        QCOMPARE(next->dirtyStrings().keys(), QStringList(u"k"_qs));
        QCOMPARE(next->acceptedStrings().keys(), QStringList(u"k"_qs));
    }

    void conflicts_data()
    {
        const DVRows<Texts, Texts, Texts, QStringList> row("loaded", "edits", "platform", "expected");
        row("nothing changed there", {{u"k"_qs, u"old"_qs}}, {{u"k"_qs, u"mine"_qs}}, {{u"k"_qs, u"old"_qs}},
            {});
        row("changed there", {{u"k"_qs, u"old"_qs}}, {{u"k"_qs, u"mine"_qs}}, {{u"k"_qs, u"theirs"_qs}},
            {u"k[none]: mine | old -> theirs"_qs});
        row("changed there to the same", {{u"k"_qs, u"old"_qs}}, {{u"k"_qs, u"mine"_qs}},
            {{u"k"_qs, u"mine"_qs}}, {});
        row("another string changed", {{u"k"_qs, u"old"_qs}, {u"j"_qs, u"old"_qs}}, {{u"k"_qs, u"mine"_qs}},
            {{u"k"_qs, u"old"_qs}, {u"j"_qs, u"theirs"_qs}}, {});
        row("gone there", {{u"k"_qs, u"old"_qs}}, {{u"k"_qs, u"mine"_qs}}, {{u"j"_qs, u"x"_qs}},
            {u"k[none]: mine | old -> -"_qs});
        row("the other form changed, which the edit would put back",
            {{u"k[one]"_qs, u"1"_qs}, {u"k[other]"_qs, u"n"_qs}}, {{u"k[one]"_qs, u"mine"_qs}},
            {{u"k[one]"_qs, u"1"_qs}, {u"k[other]"_qs, u"theirs"_qs}}, {u"k[other]: n | n -> theirs"_qs});
        row("the edited form changed", {{u"k[one]"_qs, u"1"_qs}, {u"k[other]"_qs, u"n"_qs}},
            {{u"k[one]"_qs, u"mine"_qs}}, {{u"k[one]"_qs, u"theirs"_qs}, {u"k[other]"_qs, u"n"_qs}},
            {u"k[one]: mine | 1 -> theirs"_qs});
        row("a form that other forms stand in for", {{u"k[few]"_qs, u"f"_qs}, {u"k[other]"_qs, u"n"_qs}},
            {{u"k[few]"_qs, u"mine"_qs}}, {{u"k[other]"_qs, u"n"_qs}}, {u"k[few]: mine | f -> -"_qs});
    }
    void conflicts()
    {
        QFETCH(Texts, loaded);
        QFETCH(Texts, edits);
        QFETCH(Texts, platform);
        QFETCH(QStringList, expected);
        const ReviewDevice device;
        device.publish(loaded);
        auto strings = device.restarted();
        for (auto edit = edits.constBegin(); edit != edits.constEnd(); ++edit)
            editAs(*strings, edit.key(), *edit);
        strings->saveDirty();
        for (const auto &edited : {strings, device.restarted()}) {
            const auto review = DVReviewLocaleStrings::reviewLocaleStringsFromLocaleStrings(*edited);
            Device::write(review->publishedFilePath(), xliff(platform));
            review->loadStrings();
            QCOMPARE(shown(review->conflictsWith(*edited)), expected);
        }
    }

    void conflictsOfNewStrings()
    {
        const ReviewDevice device;
        device.publish({{u"j"_qs, u"x"_qs}});
        auto strings = device.restarted();
        Device::setEdits(*strings, {{u"k"_qs, u"mine"_qs}});
        const auto conflicts = [&](const Texts &published, const Texts &pending) {
            const auto review = DVReviewLocaleStrings::reviewLocaleStringsFromLocaleStrings(*strings);
            if (!published.isEmpty())
                Device::write(review->publishedFilePath(), xliff(published));
            Device::write(review->pendingFilePath(), xliff(pending));
            review->loadStrings();
            return shown(review->conflictsWith(*strings));
        };
        QCOMPARE(conflicts({{u"j"_qs, u"x"_qs}}, {}), QStringList());
        QCOMPARE(conflicts({{u"j"_qs, u"x"_qs}}, {{u"k"_qs, u"theirs"_qs}}),
                 QStringList(u"k[none]: mine | - -> theirs"_qs));
        // The download of the published strings failed: what is missing says nothing.
        Device::editInPlace(*strings, u"j"_qs, u"mine too"_qs);
        QCOMPARE(conflicts({}, {{u"other"_qs, u"x"_qs}}), QStringList());
        QCOMPARE(conflicts({}, {{u"j"_qs, u"theirs"_qs}}),
                 QStringList(u"j[none]: mine too | x -> theirs"_qs));
    }

    void nothingWasEverPublished()
    {
        const ReviewDevice device;
        auto strings = device.restarted();
        Device::setEdits(*strings, {{u"k"_qs, u"mine"_qs}});
        const auto review = DVReviewLocaleStrings::reviewLocaleStringsFromLocaleStrings(*strings);
        review->loadStrings();
        QCOMPARE(review->untoldConflictsWith(*strings), QSet<QString>());
        device.publish({{u"j"_qs, u"x"_qs}});
        QCOMPARE(review->untoldConflictsWith(*strings), QSet<QString>{u"k"_qs});
    }

    void interfaceFiles()
    {
        const ReviewDevice device;
        device.publish({{u"8aF-2.text"_qs, u"deux\nlignes"_qs},
                        {u"9aF-2.title"_qs, u"le même"_qs},
                        {u"1aF-2.title"_qs, u"le même"_qs},
                        {u"greeting"_qs, u"bonjour"_qs},
                        {u"a-b.c[one]"_qs, u"un"_qs},
                        {u"a-b.c[other]"_qs, u"des"_qs}});
        auto strings = device.restarted();
        QCOMPARE(strings->keyForIBString(u"deux\nlignes"_qs), u"8aF-2.text"_qs);
        QCOMPARE(strings->keyForIBString(u"deuxlignes"_qs), u"8aF-2.text"_qs);
        QCOMPARE(strings->keyForIBString(strings->localizedStringForKey(u"8aF-2.text"_qs)), u"8aF-2.text"_qs);
        QCOMPARE(strings->keyForIBString(u"le même"_qs), u"1aF-2.title"_qs);
        QVERIFY(strings->keyForIBString(u"bonjour"_qs).isNull());
        QVERIFY2(strings->keyForIBString(u"des"_qs).isNull(),
                 "a string with plurals is none of an interface file");
        QCOMPARE(strings->nibStrings().size(), 2);

        device.publish({{u"x-y.z"_qs, u"neuf"_qs}});
        strings->loadStringsWithBaseLocaleStrings(nullptr);
        QCOMPARE(strings->keyForIBString(u"neuf"_qs), u"x-y.z"_qs);
        QVERIFY2(strings->keyForIBString(u"le même"_qs).isNull(), "the texts of an earlier load are gone");

        const auto nothing = device.restarted(u"de"_qs);
        nothing->extractUIStrings();
        QVERIFY(nothing->nibStrings().isEmpty());
    }
};

QTEST_GUILESS_MAIN(tst_ReviewStrings)
#include "tst_reviewstrings.moc"
