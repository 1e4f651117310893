// Lookups from four threads while the main thread edits strings, discards the edits and signs in and out.
#include "DVTestHost.h"

#include <QElapsedTimer>
#include <QThread>

#include <atomic>
#include <memory>
#include <vector>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int keyCount = 50;

QString keyOf(int number)
{
    return QStringLiteral("key %1").arg(number);
}

// "loaded other key 7", or "edit 12 one key 7": of one string, one form and one edit.
struct Reader
{
    std::atomic<bool> stop = false;
    std::atomic<int> wrong = 0;
    std::atomic<qint64> edited = 0;

    void check(const QString &text, const QString &key, QLatin1StringView form)
    {
        QString plain = text;
        plain.remove(QChar(0x200B)).remove(QChar(0x2062));
        const QString ending = QString(u' ' + form + u' ' + key);
        const QString origin = plain.chopped(ending.size());
        const bool isEdit = origin.startsWith(u"edit "_qs);
        if (isEdit)
            ++edited;
        if ((!plain.endsWith(ending) || (!isEdit && origin != u"loaded"_qs)) && ++wrong == 1)
            qWarning("%s instead of %s", qPrintable(plain), qPrintable(ending));
    }
    void run()
    {
        for (int i = 0; !stop; ++i) {
            const QString key = keyOf(i % keyCount);
            const QByteArray source = key.toUtf8();
            check(QCoreApplication::translate("c", source.constData()), key, QLatin1StringView("other"));
            check(QCoreApplication::translate("c", source.constData(), nullptr, 1), key,
                  QLatin1StringView("one"));
            check(DVBundle::mainBundle().localizedStringForKey(key), key, QLatin1StringView("other"));
            check(Dorvane::pluralizedStringWithKey(key, 1), key, QLatin1StringView("one"));
        }
    }
};

DVStringGroups edits(int round)
{
    DVStringGroups result;
    for (int i = round % 3; i < keyCount; i += 2) {
        const QString key = keyOf(i);
        const auto group = std::make_shared<DVStringGroup>();
        for (const auto &form : {u"one"_qs, u"other"_qs}) {
            const auto record = std::make_shared<DVString>();
            record->key = key;
            record->pluralForm = form;
            record->extractFormatFromString(
                QStringLiteral("\u200Bedit %1 %2 %3\u2062").arg(round).arg(form, key));
            group->addStringForm(record);
        }
        result.insert(key, group);
    }
    return result;
}

} // namespace

class tst_EditThreads : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void lookupsWhileStringsAreEdited();
};

void tst_EditThreads::lookupsWhileStringsAreEdited()
{
    DVTestHost host;
    DVFaultServer server;
    QList<DVTestUnit> units;
    for (int i = 0; i < keyCount; ++i) {
        const QString key = keyOf(i);
        for (const auto &form : {u"one"_qs, u"other"_qs})
            units.append({QStringLiteral("%1[%2]").arg(i).arg(form), key, key,
                          QString(u"loaded " + form + u' ' + key)});
    }
    server.setHandler([units](const DVFaultServer::Request &) {
        return DVTestHost::publication(DVTestHost::xliff(units));
    });
    QVariantMap options = host.servingOptions(server);
    options.remove(u"logging"_qs);
    options[u"forceLocale"_qs] = u"fr_CA"_qs;
    Dorvane::startWithProjectId(u"p"_qs, options);
    const auto strings = DVMainController::sharedInstance().localeStrings();
    QVERIFY(strings);
    // What a review is to lookups.
    auto &state = DVState::shared();
    state.editionMode = state.loggedIn = state.canTranslate = true;
    strings->loadStringsWithBaseLocaleStrings(nullptr);

    Reader reader;
    std::vector<std::unique_ptr<QThread>> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back(QThread::create([&reader] { reader.run(); }));
        threads.back()->start();
    }
    QElapsedTimer timer;
    timer.start();
    for (int round = 0; round < 100 || (reader.edited == 0 && timer.elapsed() < 20000); ++round) {
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
    reader.stop = true;
    for (const auto &thread : threads)
        QVERIFY(thread->wait(20000));
    QCOMPARE(reader.wrong.load(), 0);
    QVERIFY2(reader.edited > 0, "no lookup met an edit");
    state.loggedIn = state.canTranslate = state.editionMode = false;
}

QTEST_GUILESS_MAIN(tst_EditThreads)
#include "tst_editthreads.moc"
