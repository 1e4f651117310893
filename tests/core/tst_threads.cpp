// Lookups from four threads while the main thread changes locales, or edits strings, as fast as it can.
#include "DVCueMarkers.h"
#include "DVPublished.h"
#include "ServedHost.h"

#include <QElapsedTimer>
#include <QThread>

#include <atomic>
#include <functional>
#include <memory>
#include <vector>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int keyCount = 100;

QString keyOf(int number)
{
    return QStringLiteral("key %1").arg(number);
}

// Every text says where it is from, so that a mixture shows: "fr other key 7".
QByteArray stringsOf(const QString &origin)
{
    QList<DVTestUnit> units;
    for (int i = 0; i < keyCount; ++i) {
        for (const auto &form : {u"one"_qs, u"other"_qs})
            units.append({QStringLiteral("%1[%2]").arg(i).arg(form), keyOf(i), keyOf(i),
                          QString(origin % u' ' % form % u' ' % keyOf(i))});
    }
    return DVTestHost::xliff(units);
}

// Four threads that look texts up through every door until they are stopped.
class Readers
{
public:
    // Whether an origin is one that a text may have.
    using Check = std::function<bool(const QString &origin)>;

    explicit Readers(Check mayBe)
        : m_mayBe(std::move(mayBe))
    {
        for (int i = 0; i < 4; ++i) {
            m_threads.emplace_back(QThread::create([this] { read(); }));
            m_threads.back()->start();
        }
    }
    ~Readers() { stop(); }
    Q_DISABLE_COPY_MOVE(Readers)

    void stop()
    {
        m_stop = true;
        for (const auto &thread : m_threads)
            wrong += !thread->wait(20000);
    }

    std::atomic<int> wrong = 0;
    std::atomic<int> threadsThatRead = 0;

private:
    void check(const QString &text, const QString &form, const QString &key)
    {
        const QString plain = dv_stringByRemovingCues(text);
        const QString ending = QString(u' ' % form % u' ' % key);
        if ((!plain.endsWith(ending) || !m_mayBe(plain.chopped(ending.size()))) && ++wrong == 1)
            qWarning("%s instead of %s", qPrintable(plain), qPrintable(ending));
    }
    void read()
    {
        QList<std::pair<QString, QString>> kept; // texts outlive the tables that they came from
        for (int i = 0; !m_stop; ++i) {
            const QString key = keyOf(i % keyCount);
            const QByteArray source = key.toUtf8();
            kept.append({key, QCoreApplication::translate("c", source.constData())});
            check(kept.last().second, u"other"_qs, key);
            check(QCoreApplication::translate("c", source.constData(), nullptr, 1), u"one"_qs, key);
            check(DVBundle::mainBundle().localizedStringForKey(key), u"other"_qs, key);
            check(Dorvane::pluralizedStringWithKey(key, 1), u"one"_qs, key);
            if (kept.size() > 1000) {
                check(kept.first().second, u"other"_qs, kept.first().first);
                kept.clear();
            }
            threadsThatRead += i == 0;
        }
    }

    Check m_mayBe;
    std::atomic<bool> m_stop = false;
    std::vector<std::unique_ptr<QThread>> m_threads;
};

DVStringGroups edits(int round)
{
    DVStringGroups result;
    for (int i = round % 3; i < keyCount; i += 2) {
        const auto group = std::make_shared<DVStringGroup>();
        for (const auto &form : {u"one"_qs, u"other"_qs}) {
            const auto record = std::make_shared<DVString>();
            record->key = keyOf(i);
            record->pluralForm = form;
            record->extractFormatFromString(
                QStringLiteral("\u200Bedit %1 %2 %3\u2062").arg(round).arg(form, keyOf(i)));
            group->addStringForm(record);
        }
        result.insert(keyOf(i), group);
    }
    return result;
}

} // namespace

class tst_Threads : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void lookupsWhileLocalesChange()
    {
        ServedHost host;
        host.server.setHandler([](const DVFaultServer::Request &request) {
            return DVTestHost::publication(stringsOf(request.target.contains("/de/") ? u"de"_qs : u"fr"_qs));
        });
        // Both locales on the device, so that a change is served at once.
        host.start({{u"forceLocale"_qs, u"de"_qs}});
        host.restart();
        host.start({{u"forceLocale"_qs, u"fr"_qs}, {u"logging"_qs, u"DVLoggingInfo"_qs}});

        Readers readers([](const QString &origin) { return origin == u"fr" || origin == u"de"; });
        QElapsedTimer timer;
        timer.start();
        int changes = 0;
        while (timer.elapsed() < 2000 || (changes <= 10 && timer.elapsed() < 20000)) {
            DVMainController::sharedInstance().forceOTALocale(++changes % 2 ? u"de"_qs : u"fr"_qs, false, {});
            QCoreApplication::processEvents();
        }
        QTRY_COMPARE(readers.threadsThatRead.load(), 4);
        readers.stop();
        QCOMPARE(readers.wrong.load(), 0);
        QVERIFY(changes > 10);
        QCOMPARE(dv_reclaimRetired(), 0); // nobody reads any more: every old table has gone
    }

    void lookupsWhileStringsAreEdited()
    {
        ServedHost host;
        host.deliver(stringsOf(u"loaded"_qs));
        host.start({{u"forceLocale"_qs, u"fr_CA"_qs}, {u"logging"_qs, {}}});
        const auto strings = DVMainController::sharedInstance().localeStrings();
        QVERIFY(strings);
        // What a review is to lookups.
        auto &state = DVState::shared();
        state.editionMode = state.loggedIn = state.canTranslate = true;
        strings->loadStringsWithBaseLocaleStrings(nullptr);

        std::atomic<qint64> edited = 0;
        Readers readers([&edited](const QString &origin) {
            const bool isEdit = origin.startsWith(u"edit ");
            edited += isEdit;
            return isEdit || origin == u"loaded";
        });
        QElapsedTimer timer;
        timer.start();
        for (int round = 0; round < 100 || (edited == 0 && timer.elapsed() < 20000); ++round) {
            state.loggedIn = round % 5 != 4;
            if (round % 7 == 6)
                strings->discardEdits();
            else
                strings->setDirtyStrings(edits(round));
            if (round % 10 == 9)
                strings->loadStringsWithBaseLocaleStrings(nullptr);
            QCoreApplication::processEvents();
            QThread::yieldCurrentThread();
        }
        readers.stop();
        QCOMPARE(readers.wrong.load(), 0);
        QVERIFY2(edited > 0, "no lookup met an edit");
        state.loggedIn = state.canTranslate = state.editionMode = false;
    }
};

QTEST_GUILESS_MAIN(tst_Threads)
#include "tst_threads.moc"
